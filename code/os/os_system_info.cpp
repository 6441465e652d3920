#include "os/os_system_info.h"

#include <atomic>

#include "fw/fw_exception_code.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_raise.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_file.h"
#include "sys/internal/sys_process.h"

namespace
{

/// One reading of the processors' times. Threads that read at the same time may mix their figures.
struct Look
{
    std::atomic<QZUInt64> idle;
    std::atomic<QZUInt64> kernel;
    std::atomic<QZUInt64> user;

    void Take()
    {
        os::SystemTimes times{};
        if (!os::SystemTimesGet(&times)) return;
        idle.store(times.Idle, std::memory_order_relaxed);
        kernel.store(times.Kernel, std::memory_order_relaxed);
        user.store(times.User, std::memory_order_relaxed);
    }
    os::SystemTimes Times() const
    {
        return {idle.load(std::memory_order_relaxed), kernel.load(std::memory_order_relaxed),
                user.load(std::memory_order_relaxed)};
    }
};

constinit Look g_first{};
constinit Look g_second{};

os::MemoryStatus Memory()
{
    os::MemoryStatus status;
    os::MemoryStatusGet(&status);
    return status;
}

}  // namespace

int QZSystem::GetCPUInUse()
{
    g_first.Take();
    g_second.Take();
    return os::SystemLoad(g_first.Times(), g_second.Times());
}

unsigned long long QZSystem::GetMemoryAvailPhys() { return Memory().AvailPhys; }

unsigned long long QZSystem::GetMemoryTotalPhys() { return Memory().TotalPhys; }

unsigned long long QZSystem::GetMemoryAvailSwap() { return Memory().AvailSwap; }

unsigned long long QZSystem::GetMemoryTotalSwap() { return Memory().TotalSwap; }

int QZSystem::GetMemoryInUse() { return Memory().Load; }

unsigned long long QZSystem::GetDiskFreeBytes(const QZWChar* path, long long number)
{
    QZUInt64 bytes;
    if (os::DiskFreeBytes(path, &bytes)) return bytes;
    QZRaise(QZGeneralFailure(QZExceptionCode::UnknownType, static_cast<QZInt64>(os::LastError())),
            QZ_W("QZSystem"), QZ_W("GetDiskFreeBytes"))
        .Argument(QZ_W("QZWChar*"), path)
        .Argument(QZ_W("QZInt64"), number)
        .Throw();
}

void QZSystem::Recycle(QZString** text) { QZStringFactory::Recycle(text); }
