#include "fw/fw_environment.h"

#include "fw/fw_exception_code.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_calendar.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_memory_pool.h"
#include "fw/internal/fw_path_text.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_start.h"
#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_file.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_process.h"
#include "sys/internal/sys_socket.h"

namespace
{

constexpr QZInt64 kHostNameUnits = 30;
constexpr QZInt64 kFolderUnits = 1024;

QZInt64 SystemNumber() { return static_cast<QZInt64>(os::LastError()); }

}  // namespace

QZBool QZEnvironment::UseMemPoolCache = 0;
const QZBool* const kMemoryPoolSwitch = &QZEnvironment::UseMemPoolCache;
QZString* QZEnvironment::NewLine = nullptr;
const QZInt64 QZEnvironment::CurrentCharacterEncodingType;
const QZInt64 QZEnvironment::CurrentWideCharacterEncodingType;

QZBool QZEnvironment::IsCharacterEncodingType(QZInt64 type) { return type == CurrentCharacterEncodingType; }

QZBool QZEnvironment::IsWideCharacterEncodingType(QZInt64 type)
{
    return type == CurrentWideCharacterEncodingType;
}

QZUInt64 QZEnvironment::GetTickCount() { return os::TickCount(); }

QZInt64 QZEnvironment::GetCurrentTimestamp() { return calendar::LocalNow(); }

void QZEnvironment::SetCurrentTimestamp(QZInt64 timestamp)
{
    os::DateTime time;
    time.Year = static_cast<int>(calendar::YearOf(timestamp));
    time.Month = static_cast<int>(calendar::MonthOf(timestamp));
    time.Day = static_cast<int>(calendar::DayOf(timestamp));
    time.Hour = static_cast<int>(calendar::HoursOf(timestamp));
    time.Minute = static_cast<int>(calendar::MinutesOf(timestamp));
    time.Second = static_cast<int>(calendar::SecondsOf(timestamp));
    time.Millisecond = static_cast<int>(calendar::MilliSecondsOf(timestamp));
    if (os::SetLocalTime(time)) return;
    QZRaise(QZGeneralFailure(QZExceptionCode::OperationFailed, SystemNumber()), QZ_W("QZEnvironment"),
            QZ_W("SetCurrentTimestamp"))
        .Argument(QZ_W("QZInt64"), timestamp)
        .Throw();
}

QZBool QZEnvironment::GetLocalIP(unsigned int* address)
{
    if (os::LocalAddress(address)) return 1;
    QZSetLastError(static_cast<QZInt32>(QZExceptionCode::OperationFailed));
    return 0;
}

QZString* QZEnvironment::GetHostName()
{
    // A name that does not fit gives an empty string, and so does a failure of the system.
    QZWChar name[kHostNameUnits];
    if (!os::ComputerName(name, kHostNameUnits)) name[0] = 0;
    return QZStringFactory::CreateString(name);
}

QZString* QZEnvironment::GetCurrentWorkingDirectory()
{
    QZWChar path[kFolderUnits];
    if (os::WorkingDirectoryGet(path, kFolderUnits)) return QZStringFactory::CreateString(path);
    QZRaise(QZIOFailure(QZIOExceptionCode::OperationFailed, SystemNumber()), QZ_W("QZEnvironment"),
            QZ_W("GetCurrentWorkingDirectory"))
        .Throw();
}

void QZEnvironment::SetCurrentWorkingDirectory(QZString* path)
{
    QZPathText text(path);
    if (text.Length() > kFolderUnits)
        os::SetLastError(os::ErrorNameTooLong());
    else if (os::WorkingDirectorySet(text.Wide()))
        return;
    QZRaise(QZIOFailure(QZIOExceptionCode::OperationFailed, SystemNumber()), QZ_W("QZEnvironment"),
            QZ_W("SetCurrentWorkingDirectory"))
        .Argument(QZ_W("QZString*"), path)
        .Throw();
}

void QZEnvironment::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZEnvironmentInit()
{
    // After a start that failed later and is repeated, the text exists already.
    if (QZEnvironment::NewLine == nullptr) QZEnvironment::NewLine = new QZString(QZ_W("\r\n"));
    QZEnvironment::UseMemPoolCache = 0;
}

void QZEnvironmentEnd()
{
    delete QZEnvironment::NewLine;
    QZEnvironment::NewLine = nullptr;
}
