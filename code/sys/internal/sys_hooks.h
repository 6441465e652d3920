#ifndef QZLIB_SYS_HOOKS_H
#define QZLIB_SYS_HOOKS_H

/// What tests can hook into below the library: the clock, and a gate that makes an operation of the system
/// fail or come back short. Without hooks each gate is one relaxed load.

#include <atomic>

#include "sys/sys_types.h"

namespace os
{

/// The kinds of operation that a test can make fail.
enum class Op
{
    Allocate,       ///< HeapAllocate, HeapResize
    Reserve,        ///< MemoryReserve, MemoryCommit
    ThreadCreate,   ///< ThreadCreate
    ThreadControl,  ///< ThreadSuspend, ThreadResume, ThreadTerminate
    MutexLock,      ///< MutexLock
    FileOpen,       ///< FileOpen, FileCreate
    FileRead,       ///< FileRead, may come back short
    FileWrite,      ///< FileWrite, may come back short
    FileSize,       ///< FileGetSize, FileSetSize
    FileSync,       ///< FileSync
    FileName,       ///< delete, rename, directory operations, working directory
    NetStart,       ///< NetStart
    Socket,         ///< making, setting the mode, connecting, binding, listening, accepting
    SocketReceive,  ///< may come back short
    SocketSend,     ///< may come back short
    Line,           ///< opening and setting a serial line
    LineRead,       ///< may come back short
    LineWrite,      ///< may come back short
    System,         ///< host, process and system figures
    Port,           ///< making a completion port, associating, posting
    PortReceive,    ///< starting a receive
};

/// What a test may be told of, where the effect itself cannot be seen.
enum class Event
{
    TimerBegin,   ///< value: period in ms
    TimerEnd,     ///< value: period in ms
    Sleep,        ///< value: ms asked of the platform
    SleepMicro,   ///< value: whole time in us asked of the platform
    HandleClose,  ///< value: handle given back to the platform
};

struct DateTime;
class Line;

/// One table of hooks. Every member may be null: the operation then goes to the system.
struct TestHooks
{
    /// Handed to every hook.
    void* Context;
    /// The clock, in ms from the start of year 1, local time.
    QZInt64 (*Clock)(void* context);
    /// Asked before an operation. False makes it fail with *error as the system's number. *size, where it is
    /// not null, is the number of bytes asked for; made smaller, the operation comes back short.
    bool (*Gate)(void* context, Op operation, QZInt64* size, QZUInt32* error);
    /// Told after the fact.
    void (*Notify)(void* context, Event event, QZInt64 value);
    /// Takes what would set the system's clock; false makes it fail.
    bool (*SetTime)(void* context, const DateTime& time) = nullptr;
    /// Asked with the path when a serial line is opened: a line of the test's own, which the caller then
    /// deletes, or null to let the system open it.
    Line* (*OpenLine)(void* context, const QZWChar* path) = nullptr;
};

/// Sets the table, null takes it away. The table stays the caller's and must outlive its use.
QZ_API void SetTestHooks(const TestHooks* hooks);

extern std::atomic<const TestHooks*> g_testHooks;

bool GateHooked(Op operation, QZInt64* size);
void NotifyHooked(Event event, QZInt64 value);
bool ClockHooked(QZInt64* timestamp);
bool SetTimeHooked(const DateTime& time, bool* done);
Line* OpenLineHooked(const QZWChar* path);

/// True when the operation may go on; false with LastError set when a test wants it to fail.
inline bool Gate(Op operation, QZInt64* size = nullptr)
{
    return g_testHooks.load(std::memory_order_relaxed) == nullptr || GateHooked(operation, size);
}

inline void Notify(Event event, QZInt64 value)
{
    if (g_testHooks.load(std::memory_order_relaxed) != nullptr) NotifyHooked(event, value);
}

/// True with *timestamp set when a test holds the clock.
inline bool TestClock(QZInt64* timestamp)
{
    return g_testHooks.load(std::memory_order_relaxed) != nullptr && ClockHooked(timestamp);
}

/// True with *done set when a test takes the setting of the clock.
inline bool TestSetTime(const DateTime& time, bool* done)
{
    return g_testHooks.load(std::memory_order_relaxed) != nullptr && SetTimeHooked(time, done);
}

}  // namespace os

#endif
