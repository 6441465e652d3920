#include "os/os_process.h"

#include "fw/fw_collection.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_path_text.h"
#include "fw/internal/fw_raise.h"
#include "os/os_file.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_process.h"
#include "sys/internal/sys_text.h"

const QZInt64 QZProcess::Type;

namespace
{

constexpr QZInt64 kNarrowPathBytes = 1024;
constexpr QZInt64 kImagePathUnits = 260;

QZInt64 SystemNumber() { return static_cast<QZInt64>(os::LastError()); }

/// A walk over the processes for the time of a call; false when the system gives no list.
class Walk
{
public:
    Walk() : m_walk(os::ProcessWalkOpen()) {}
    ~Walk() { os::ProcessWalkClose(m_walk); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    explicit operator bool() const { return m_walk != nullptr; }
    bool Next(QZInt64* pid) { return m_walk != nullptr && os::ProcessNext(m_walk, pid); }
    /// Goes to the process with this id; false when there is none.
    bool Find(QZInt64 pid)
    {
        QZInt64 found;
        while (Next(&found))
            if (found == pid) return true;
        return false;
    }
    const QZWChar* Name() { return os::ProcessName(m_walk); }
    bool IsProgram(const QZPathText& name) { return os::ProcessIsProgram(m_walk, name.Wide()); }

private:
    os::ProcessWalk* m_walk;
};

}  // namespace

QZProcess::QZProcess(long long pid) : m_pid(pid), m_handle(os::ProcessOpen(pid)) {}

QZProcess::~QZProcess() { os::ProcessClose(m_handle); }

QZInt64 QZProcess::GetType() { return Type; }

long long QZProcess::GetPID() { return m_pid; }

long long QZProcess::Read(unsigned int address, void* buffer, long long size)
{
    // Passes the id instead of the handle, so nothing is read. Callers rely on the result 0.
    return os::ProcessMemoryRead(m_pid, address, buffer, size);
}

long long QZProcess::Write(unsigned int address, const void* buffer, long long size)
{
    // Passes the id as in Read, so nothing is written.
    return os::ProcessMemoryWrite(m_pid, address, buffer, size);
}

QZCollection* QZProcess::GetIDByExeName(QZString* name)
{
    QZPathText wanted(name);
    QZCollection* pids = QZDataFactory::CreateCollection();
    Walk walk;
    QZInt64 pid;
    while (walk.Next(&pid))
        if (walk.IsProgram(wanted)) pids->Push(static_cast<QZUInt64>(pid));
    return pids;
}

QZCollection* QZProcess::GetIDList()
{
    QZCollection* pids = QZDataFactory::CreateCollection();
    Walk walk;
    QZInt64 pid;
    while (walk.Next(&pid)) pids->Push(static_cast<QZUInt64>(pid));
    return pids;
}

QZString* QZProcess::GetProcessName(long long pid)
{
    Walk walk;
    return walk.Find(pid) ? QZStringFactory::CreateString(walk.Name()) : nullptr;
}

QZByte QZProcess::Exists(long long pid) { return Walk().Find(pid); }

QZByte QZProcess::Exists(QZString* name)
{
    QZPathText wanted(name);
    Walk walk;
    if (!walk)
        QZRaise(QZGeneralFailure(QZExceptionCode::OperationFailed, SystemNumber()), QZ_W("QZProcess"),
                QZ_W("Exists"))
            .Argument(QZ_W("QZString*"), name)
            .Throw();
    QZInt64 pid;
    while (walk.Next(&pid))
        if (walk.IsProgram(wanted)) return 1;
    return 0;
}

QZProcess* QZProcess::Create(QZString* path)
{
    if (!QZFile::Exists(path)) return nullptr;
    QZPathText wide(path);
    char narrow[kNarrowPathBytes + 1];
    narrow[os::WideToNarrow(wide.Wide(), wide.Length(), narrow, kNarrowPathBytes)] = 0;
    QZInt64 pid = os::ProcessStart(narrow);
    return pid != 0 ? new QZProcess(pid) : nullptr;
}

long long QZProcess::GetCurrentPID() { return os::ProcessCurrentId(); }

QZString* QZProcess::GetCurrentExeFilePath()
{
    QZWChar path[kImagePathUnits];
    if (os::ProcessImagePath(path, kImagePathUnits)) return QZStringFactory::CreateString(path);
    QZRaise(QZGeneralFailure(QZExceptionCode::SystemError, SystemNumber()), QZ_W("QZProcess"),
            QZ_W("GetCurrentExeFilePath"))
        .Throw();
}

QZByte QZProcess::Kill(long long pid)
{
    if (os::ProcessTerminate(pid)) return 1;
    QZRaise(QZIOFailure(QZIOExceptionCode::OperationFailed, SystemNumber()), QZ_W("QZProcess"), QZ_W("Kill"))
        .Argument(QZ_W("QZInt64"), pid)
        .Throw();
}

long long QZProcess::GetMemoryUsage(long long pid)
{
    os::ProcessMemory memory;
    return os::ProcessMemoryGet(pid, &memory) ? static_cast<QZInt64>(memory.WorkingSet) : -1;
}

long long QZProcess::GetSwapUsage(long long pid)
{
    os::ProcessMemory memory;
    return os::ProcessMemoryGet(pid, &memory) ? static_cast<QZInt64>(memory.Swap) : -1;
}

void QZProcess::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZProcess::Recycle(QZCollection** collection) { QZDataFactory::Recycle(collection); }

void QZProcess::Recycle(QZProcess** process)
{
    if (process == nullptr || *process == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    delete *process;
    *process = nullptr;
}
