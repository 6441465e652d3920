#ifndef QZLIB_SYS_HOOKS_H
#define QZLIB_SYS_HOOKS_H

/// Hooks for tests: they replace the clock, and let an operation of the system fail or transfer fewer bytes.
/// Without hooks each check is one relaxed load.

#include <atomic>

#include "sys/sys_types.h"

namespace os
{

/// The kinds of operations that a test can let fail. "Partly": the test can shorten the transfer.
enum class Op
{
    Allocate,       ///< HeapAllocate, HeapResize
    Reserve,        ///< MemoryReserve, MemoryCommit
    ThreadCreate,   ///< ThreadCreate
    ThreadControl,  ///< ThreadSuspend, ThreadResume, ThreadTerminate
    MutexLock,      ///< MutexLock
    FileOpen,       ///< FileOpen, FileCreate
    FileRead,       ///< FileRead, partly
    FileWrite,      ///< FileWrite, partly
    FileSize,       ///< FileGetSize, FileSetSize
    FileSync,       ///< FileSync
    FileName,       ///< delete, rename, directory operations, working directory
    NetStart,       ///< NetStart
    Socket,         ///< all other operations on sockets that can fail, and the addresses of hosts
    SocketReceive,  ///< SocketReceive, partly
    SocketSend,     ///< SocketSend, partly
    Line,           ///< opening and setting a serial line
    LineRead,       ///< LineRead, partly
    LineWrite,      ///< LineWrite, partly
    System,         ///< figures of hosts, processes and the machine
    Port,           ///< PortOpen, PortAssociate, PortPost
    PortReceive,    ///< PortReceive
};

/// Operations that a test is notified of, since it cannot see their effect.
enum class Event
{
    TimerBegin,   ///< value: period in ms
    TimerEnd,     ///< value: period in ms
    Sleep,        ///< value: time in ms passed to the platform
    SleepMicro,   ///< value: whole time in us passed to the platform
    HandleClose,  ///< value: the handle that is closed
};

/// A change that an operation has made to a file or to a folder.
struct FileEvent
{
    enum class Kind
    {
        Opened,         ///< file, path
        Created,        ///< file, path
        Closed,         ///< file
        Written,        ///< file, offset, bytes, size
        Resized,        ///< file, size
        Flushed,        ///< file
        Deleted,        ///< path
        Renamed,        ///< from, to
        FolderFlushed,  ///< path: of a file in the folder
    };

    Kind kind;
    QZInt64 file = 0;
    const QZWChar* path = nullptr;
    const char* from = nullptr;
    const char* to = nullptr;
    QZInt64 offset = 0;
    const void* bytes = nullptr;
    QZInt64 size = 0;
};

struct DateTime;
class Line;

/// The table of hooks. A member may be null: the system then does the operation.
struct TestHooks
{
    /// Passed to every hook.
    void* Context;
    /// The clock: local time in milliseconds since the start of year 1.
    QZInt64 (*Clock)(void* context);
    /// Called before an operation. When it returns false, the operation fails with *error as LastError.
    /// *size, if not null, is the number of bytes to transfer; the hook may make it smaller.
    bool (*Gate)(void* context, Op operation, QZInt64* size, QZUInt32* error);
    /// Called for each event.
    void (*Notify)(void* context, Event event, QZInt64 value);
    /// Called instead of setting the system's clock. When it returns false, SetLocalTime fails.
    bool (*SetTime)(void* context, const DateTime& time) = nullptr;
    /// Called when a serial line is opened. Returns a line of the test's own, which the caller then deletes,
    /// or null to let the system open the line.
    Line* (*OpenLine)(void* context, const QZWChar* path) = nullptr;
    /// Called after an operation that opened, closed or changed a file.
    void (*Changed)(void* context, const FileEvent& event) = nullptr;
};

/// Sets the table; null removes it. The caller owns the table and keeps it while it is set.
QZ_API void SetTestHooks(const TestHooks* hooks);

extern std::atomic<const TestHooks*> g_testHooks;

// What the inline functions below call when a table is set.
bool GateHooked(Op operation, QZInt64* size);
void NotifyHooked(Event event, QZInt64 value);
bool ClockHooked(QZInt64* timestamp);
bool SetTimeHooked(const DateTime& time, bool* done);
Line* OpenLineHooked(const QZWChar* path);
void ChangedHooked(const FileEvent& event);

/// Calls the gate. False with LastError set when the test lets the operation fail; *size may become smaller.
inline bool Gate(Op operation, QZInt64* size = nullptr)
{
    return g_testHooks.load(std::memory_order_relaxed) == nullptr || GateHooked(operation, size);
}

/// Notifies the test of an event.
inline void Notify(Event event, QZInt64 value)
{
    if (g_testHooks.load(std::memory_order_relaxed) != nullptr) NotifyHooked(event, value);
}

/// Tells the test of a change to a file.
inline void Changed(const FileEvent& event)
{
    if (g_testHooks.load(std::memory_order_relaxed) != nullptr) ChangedHooked(event);
}

/// True, with *timestamp set, when a test replaces the clock.
inline bool TestClock(QZInt64* timestamp)
{
    return g_testHooks.load(std::memory_order_relaxed) != nullptr && ClockHooked(timestamp);
}

/// True, with the result of the hook in *done, when a test replaces the setting of the clock.
inline bool TestSetTime(const DateTime& time, bool* done)
{
    return g_testHooks.load(std::memory_order_relaxed) != nullptr && SetTimeHooked(time, done);
}

}  // namespace os

#endif
