#include "qzlib.h"

#include "fw/fw_exception_factory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_memory_pool.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_start.h"
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
        QZRaise(QZSocketFailure(QZSocketExceptionCode::SocketErrorOnStartup), QZ_W("QZSocket"), QZ_W("Init"))
            .Throw();
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
