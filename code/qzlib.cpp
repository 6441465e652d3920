#include "qzlib.h"

#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_memory_pool.h"
#include "fw/internal/fw_start.h"
#include "fw/internal/fw_trace.h"
#include "graphics/internal/gr_start.h"
#include "net/internal/net_start.h"
#include "os/internal/os_start.h"
#include "sys/internal/sys_socket.h"

namespace
{
bool g_libraryInitialised = false;
bool g_formInitialised = false;

void StartSockets()
{
    if (os::NetStart() != 0)
    {
        throw QZTrace(QZExceptionFactory::CreateSocketException(QZSocketExceptionCode::SocketErrorOnStartup),
                      QZ_W("QZSocket"), QZ_W("Init"))
            .Exception();
    }
}
}  // namespace

QZBool QZLibInit()
{
    if (g_libraryInitialised) return 1;
    QZHooksInit();
    MemoryPoolInit();
    QZEnvironmentInit();
    StartSockets();
    QZThreadRuntimeInit();
    QZDataFactoryInit();
    QZStringFactoryInit();
    QZExceptionFactoryInit();
    QZJsonFactoryInit();
    QZHttpConstantInit();
    QZHttpFactoryInit();
    QZGraphicsFactoryInit();
    g_libraryInitialised = true;
    return 1;
}

QZBool QZLibDispose()
{
    if (!g_libraryInitialised) return 1;
    QZGraphicsFactoryEnd();
    QZHttpFactoryEnd();
    QZHttpConstantEnd();
    QZJsonFactoryEnd();
    QZExceptionFactoryEnd();
    QZStringFactoryEnd();
    QZDataFactoryEnd();
    QZThreadRuntimeEnd();
    QZEnvironmentEnd();
    MemoryPoolEnd();
    // Last, though it started before the thread runtime: the order is part of the contract.
    os::NetEnd();
    g_libraryInitialised = false;
    return 1;
}

QZBool QZFormInit()
{
    g_formInitialised = true;
    return 1;
}

QZBool QZFormDispose()
{
    g_formInitialised = false;
    return 1;
}
