#include <cstring>

#include "fw/fw_data_factory.h"
#include "fw/fw_environment.h"
#include "fw/fw_library.h"
#include "fw/fw_memory.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_trace.h"
#include "graphics/gr_graphics_factory.h"
#include "net/net_http_constant.h"
#include "net/net_http_factory.h"
#include "net/net_json.h"
#include "os/os_system.h"
#include "os/os_thread.h"

QZInt32 QZLastError = 0;

namespace
{
bool g_libraryInitialised = false;
bool g_formInitialised = false;

/// Forward, in words where both sides lie on words and the count is worth it, else in bytes. Overlap is not
/// handled: what an overlapping copy leaves behind is what this order of steps leaves.
void CopyOverlapping(unsigned char* destination, const unsigned char* source, QZInt64 size)
{
    QZInt64 done = 0;
    bool words = reinterpret_cast<std::uintptr_t>(destination) % 8 == 0 &&
                 reinterpret_cast<std::uintptr_t>(source) % 8 == 0 && size >= 33;
    if (words)
    {
        for (; done + 8 <= size; done += 8)
        {
            QZUInt64 word;
            std::memcpy(&word, source + done, 8);
            std::memcpy(destination + done, &word, 8);
        }
    }
    for (; done < size; ++done)
    {
        // Byte by byte for real: the next read may have to see this write.
        *const_cast<volatile unsigned char*>(destination + done) = source[done];
    }
}

void DefaultMemCopy(void* destination, void* source, QZInt64 size)
{
    if (size <= 0) return;
    unsigned char* to = static_cast<unsigned char*>(destination);
    const unsigned char* from = static_cast<const unsigned char*>(source);
    // Copying forward smears only where the target begins inside the source.
    if (to > from && to < from + size)
        CopyOverlapping(to, from, size);
    else
        std::memmove(to, from, static_cast<std::size_t>(size));
}

void DefaultMemMove(void* destination, void* source, QZInt64 size)
{
    if (size > 0) std::memmove(destination, source, static_cast<std::size_t>(size));
}

void DefaultMemClean(void* destination, QZInt64 size)
{
    if (size > 0) std::memset(destination, 0, static_cast<std::size_t>(size));
}

void DefaultAssert(QZBool condition)
{
    if (condition) return;
    os::AssertReport("val", "code/qzlib", 510);
}

void (*g_qzAssert)(QZBool condition) = DefaultAssert;

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

void (*g_qzMemCopy)(void* destination, void* source, QZInt64 size) = DefaultMemCopy;
void (*g_qzMemMove)(void* destination, void* source, QZInt64 size) = DefaultMemMove;
void (*g_qzMemClean)(void* destination, QZInt64 size) = DefaultMemClean;

bool QZMemCopyIsOwn() { return g_qzMemCopy == DefaultMemCopy; }

QZBool QZLibInit()
{
    if (g_libraryInitialised) return 1;
    g_qzMemCopy = DefaultMemCopy;
    g_qzMemMove = DefaultMemMove;
    g_qzMemClean = DefaultMemClean;
    g_qzAssert = DefaultAssert;
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

void QZLibCollect(QZBool partial)
{
    QZHttpFactory::Collect(partial);
    QZJsonFactory::Collect(partial);
    QZExceptionFactory::Collect(partial);
    QZStringFactory::Collect(partial);
    QZDataFactory::Collect(partial);
}

void QZMemManager::Collect() { Collect(0); }

void QZMemManager::Collect(QZBool partial)
{
    // Another order than QZLibCollect's, and both are kept.
    QZDataFactory::Collect(partial);
    QZExceptionFactory::Collect(partial);
    QZStringFactory::Collect(partial);
    QZHttpFactory::Collect(partial);
    QZJsonFactory::Collect(partial);
}

void QZLibAssert(QZBool condition) { g_qzAssert(condition); }

void QZLibSetFunctionMemCopy(void (*function)(void* destination, void* source, QZInt64 size))
{
    g_qzMemCopy = function;
}

void QZLibSetFunctionMemMove(void (*function)(void* destination, void* source, QZInt64 size))
{
    g_qzMemMove = function;
}

void QZLibSetFunctionMemClean(void (*function)(void* destination, QZInt64 size)) { g_qzMemClean = function; }

void QZLibSetFunctionAssert(void (*function)(QZBool condition)) { g_qzAssert = function; }

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
