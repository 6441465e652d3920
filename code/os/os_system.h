#ifndef QZLIB_OS_SYSTEM_H
#define QZLIB_OS_SYSTEM_H

/// What the library asks of the operating system: small functions named for what the logic above needs.
///
/// os_system_*_windows.cpp and os_system_*_posix.cpp implement it; everything else in the library is one
/// source for both platforms. A function that fails says so with its result and leaves the system's own
/// number in os::LastError (GetLastError there, errno here). Paths are UTF-16 with a terminator. Handles
/// travel as 64-bit integers; 0 is no handle, and a stale handle fails instead of touching anything.

#include <atomic>
#include <cstddef>

#include "fw/fw_types.h"

namespace os
{

// ---- Hooks for tests

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

// ---- Errors

/// The calling thread's last error, the system's own number.
QZ_API QZUInt32 LastError();
QZ_API void SetLastError(QZUInt32 error);

/// The number with which an exclusive creation finds its file there.
QZUInt32 ErrorFileExists();
/// The number for "not enough memory".
QZUInt32 ErrorNoMemory();
/// The number with which making a directory finds it there.
QZUInt32 ErrorDirectoryExists();
/// The number for memory that the caller does not have.
QZUInt32 ErrorBadAddress();
/// The number for a path that is too long.
QZUInt32 ErrorNameTooLong();
/// The number for something that is not there.
QZUInt32 ErrorNotFound();

/// The system's text of an error number with a terminator, in *text; give it back with ErrorTextFree. Null in
/// *text and false with LastError set when the system knows no such number.
bool ErrorText(QZUInt32 error, QZWChar** text);
void ErrorTextFree(QZWChar* text);

/// The platform's report of a broken assertion, in the form of its C library. Does not come back on Linux.
void AssertReport(const char* expression, const char* file, int line);

// ---- Narrow text

/// Converts bytes of the narrow page (the ANSI page on Windows, UTF-8 elsewhere) to UTF-16. With out null
/// answers the units needed, else the units written, never more than capacity and only whole characters.
/// Broken input gives the replacement the platform uses. No terminator.
QZInt64 NarrowToWide(const char* text, QZInt64 bytes, QZWChar* out, QZInt64 capacity);
/// The other way, sizes of out in bytes.
QZInt64 WideToNarrow(const QZWChar* text, QZInt64 units, char* out, QZInt64 capacity);

// ---- Memory

/// The process heap. Null with LastError set on failure; a failed resize leaves the old block as it was.
void* HeapAllocate(QZInt64 size);
void* HeapResize(void* block, QZInt64 size);
void HeapFree(void* block);

enum class Protection
{
    ReadWrite,
    ReadOnly,
    NoAccess,
};

/// Address space of whole 64 KiB units without storage; null on failure.
void* MemoryReserve(QZInt64 size);
/// Puts readable and writable, zeroed storage behind a reserved range.
bool MemoryCommit(void* position, QZInt64 size);
/// Sets the protection of every page that the range touches.
bool MemoryProtect(void* position, QZInt64 size, Protection protection);
/// Gives a whole reserved range back.
void MemoryRelease(void* position, QZInt64 size);
/// The granularity of MemoryProtect.
QZInt64 MemoryPageSize();

/// The resident bytes of this process.
bool ProcessWorkingSet(QZUInt64* bytes);

// ---- Time

struct DateTime
{
    int Year;
    int Month;
    int Day;
    int Hour;
    int Minute;
    int Second;
    int Millisecond;
};

/// Local wall time.
void LocalTime(DateTime* time);
bool SetLocalTime(const DateTime& time);
/// Milliseconds since the system started; wraps after 2 to the 32.
QZUInt32 TickCount();
/// Microseconds of a clock that never goes back, from any start.
QZInt64 MonotonicMicros();

/// Sleeps; a place where a suspend from outside takes hold.
void Sleep(QZUInt32 milliseconds);
/// Raise and restore the timer resolution; nothing where sleeps are exact anyway.
void TimerBegin(QZUInt32 period);
void TimerEnd(QZUInt32 period);

// ---- Threads

/// Starts a thread at once with the default stack; 0 with LastError set on failure.
QZInt64 ThreadCreate(void (*routine)(void*), void* argument);
/// Raises the suspend count. A thread that suspends itself stops here until another resumes it; a
/// suspend from outside takes hold at the thread's next gate (Sleep, a lock, ThreadGate), so that it is not
/// stopped in the middle of a lock's or the heap's own work. One that takes a second lock or sleeps with one
/// held stops with it. False on failure.
bool ThreadSuspend(QZInt64 thread);
/// Lowers the suspend count; at 0 it does nothing and is no failure.
bool ThreadResume(QZInt64 thread);
/// True while the thread is stopped, or is to stop at its next gate; for threads started here.
bool ThreadIsSuspended(QZInt64 thread);
/// Ends the thread where it stands: nothing is unwound, no destructor runs. On return the thread is gone.
/// Does not come back when a thread ends itself.
bool ThreadTerminate(QZInt64 thread);
/// True when the thread ended within the time; a negative time waits without limit.
bool ThreadWait(QZInt64 thread, QZInt64 milliseconds);
/// Gives the handle back; the thread goes on.
void ThreadClose(QZInt64 thread);
/// Identity of a thread, never 0 for a live one; not the handle.
QZUInt64 ThreadCurrentId();
/// The identity behind a handle, 0 for a stale handle.
QZUInt64 ThreadIdOf(QZInt64 thread);
/// A place where a suspend from outside takes hold.
void ThreadGate();
/// Processors that can run threads, at least 1.
int ProcessorCount();

// ---- Locks

/// A recursive mutex. One whose holder was terminated passes to the next taker. Null on failure.
void* MutexCreate();
/// Waits without limit. False (at once) on failure, a null mutex among them.
bool MutexLock(void* mutex);
/// False when the caller does not hold it; nothing changes then.
bool MutexUnlock(void* mutex);
void MutexClose(void* mutex);

/// A recursive critical section lives in CriticalSize() bytes that the caller provides, 16-byte aligned.
QZInt64 CriticalSize();
void CriticalInit(void* section);
void CriticalEnter(void* section);
/// Leaving one that the caller does not hold changes nothing.
void CriticalLeave(void* section);
void CriticalDelete(void* section);

// ---- Network start and the microsecond sleep

/// Starts the socket layer; 0 or the system's number.
int NetStart();
void NetEnd();
/// A TCP socket over IPv4 that is never connected; -1 on failure.
QZInt64 SleepSocketOpen();
void SleepSocketClose(QZInt64 socket);
/// Waits that long for an exception on the sleeping socket. A negative part returns at once.
void SleepSocketWait(QZInt64 socket, int seconds, int microseconds);

// ---- Sockets

/// IPv4 sockets. Their failures have one set of numbers on both platforms, that of Windows (10054 for a
/// connection that was reset), which is what LastError then answers; a number given by a test's gate counts
/// as one of these. Addresses are in network order as they lie in memory. The handle is the system's own,
/// never 0.

enum class SocketKind
{
    Stream,
    Datagram,
};

/// "Try again": nothing to receive, or no room to send, on a socket that does not block.
constexpr QZUInt32 kSocketTryAgain = 11002;
constexpr QZUInt32 kSocketNoBuffers = 10055;
constexpr QZUInt32 kSocketNotASocket = 10038;
constexpr QZUInt32 kSocketBadAddress = 10014;

/// A new socket, nobody's child inherits it on Linux; 0 on failure.
QZInt64 SocketOpen(SocketKind kind);
/// Gives the socket back and ends an accept that waits on it. 0 is no socket and fails.
bool SocketClose(QZInt64 socket);
bool SocketSetBlocking(QZInt64 socket, bool blocking);
/// Limits of one blocking send and receive in ms, 0 for none. They hold for no other operation.
bool SocketSetSendTimeout(QZInt64 socket, QZUInt32 milliseconds);
bool SocketSetReceiveTimeout(QZInt64 socket, QZUInt32 milliseconds);
bool SocketConnect(QZInt64 socket, QZUInt32 address, QZUInt16 port);
/// Binds to an address of this host, 0 for any; port 0 lets the system choose. A port that a connection of an
/// earlier listener still lingers on can be bound.
bool SocketBind(QZInt64 socket, QZUInt16 port, QZUInt32 address = 0);
bool SocketListen(QZInt64 socket, int backlog);
/// The next connection, which blocks or not like the socket that listens; 0 on failure. *port is in network
/// order as it lies in memory.
QZInt64 SocketAccept(QZInt64 socket, QZUInt32* address, QZUInt16* port);
/// Bytes that went, fewer than asked for when there is less room; -1 on failure.
QZInt64 SocketSend(QZInt64 socket, const void* buffer, QZInt64 size);
/// Bytes that came, 0 when the peer has ended its stream; -1 on failure.
QZInt64 SocketReceive(QZInt64 socket, void* buffer, QZInt64 size);
/// The socket's own address and port, the port as a number.
bool SocketLocalName(QZInt64 socket, QZUInt32* address, QZUInt16* port);

enum class SocketSide
{
    Send,  ///< the peer reads the end of the stream
    Both,  ///< and what waits on the socket ends too
};

/// Ends traffic on a connection; the handle stays.
bool SocketShutdown(QZInt64 socket, SocketSide side);

/// Has the system test silent connections, those that a listener accepts among them: after `time` ms of
/// silence, then every `interval` ms. Linux counts in whole seconds, at least 1.
bool SocketKeepAlive(QZInt64 socket, QZUInt32 time, QZUInt32 interval);

/// Bytes go out as they are sent, without waiting for those before to be confirmed.
bool SocketNoDelay(QZInt64 socket);

/// While `gather` is on, bytes wait for more until a packet is full; off sends what is left. Nothing where
/// the platform has no such switch.
void SocketGather(QZInt64 socket, bool gather);

// ---- Completion port

/// Receives that complete on whichever thread waits. Sockets are associated with a port under a key; on each
/// at most one receive is outstanding; its completion reaches one waiter, with the bytes and the key. A peer
/// that has ended its stream completes with 0 bytes, a connection that broke fails with its key.

/// One receive: the buffer and what the platform keeps beside it. The layout is that of the Windows calls;
/// Offset belongs to the owner. Zero it before the first use, then set Length and Buffer.
struct PortBlock
{
    unsigned char System[32];
    QZUInt32 Length;  ///< bytes that Buffer takes
    void* Buffer;
    QZUInt32 Received;  ///< the platform's note
    QZUInt32 Offset;
    QZUInt32 Flags;
    unsigned char Data[131072];
};

static_assert(sizeof(PortBlock) == 131136 && offsetof(PortBlock, Data) == 60);

struct PortCompletion
{
    QZInt64 Key;
    QZUInt32 Bytes;
};

/// A new port, on Windows for that many threads that run at a time; 0 on failure.
QZInt64 PortOpen(int concurrency);
/// Ends every wait at once, and fails those to come. Sockets stay associated with nothing.
bool PortClose(QZInt64 port);
/// Once in the life of a socket.
bool PortAssociate(QZInt64 port, QZInt64 socket, QZInt64 key);
/// Starts a receive on an associated socket. The block stays the platform's until the completion came, or
/// until the socket is closed: then nothing more is told of it.
bool PortReceive(QZInt64 socket, PortBlock* block);
/// The next completion. False with *completion as it was on time-out and for a closed port; false with Key
/// and 0 Bytes for a receive that failed.
bool PortWait(QZInt64 port, QZUInt32 milliseconds, PortCompletion* completion);
/// Wakes one waiter with key 0 and 0 bytes.
bool PortPost(QZInt64 port);

// ---- Serial lines

/// How a transfer on a line ended.
enum class LineResult
{
    Done,     ///< with the count that was moved
    Timeout,  ///< nothing came, or not everything went, within the time
    Failed,   ///< LastError tells why
};

/// An open serial line. Deleting it gives it back to the system. One thread at a time.
///
/// The functions below it ask the tests' gate first; the library calls these.
class Line
{
public:
    Line() = default;
    virtual ~Line() = default;
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// 8 data bits, no parity, one stop bit, at that speed.
    virtual bool Setup(QZInt64 speed) = 0;
    /// Another speed and nothing else.
    virtual bool SetSpeed(QZInt64 speed) = 0;
    /// Lets the system announce input bytes.
    virtual bool WatchInput() = 0;
    /// Waits until `size` bytes have come or the time is over, whatever came first; what came counts as done.
    /// A negative time has no limit. Nothing is left behind that would take bytes that come later.
    virtual LineResult Read(void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) = 0;
    /// Waits until all bytes are handed to the system or the time is over. A negative time has no limit.
    virtual LineResult Write(const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) = 0;
    /// Bytes that came and were not read yet.
    virtual bool Queued(QZInt64* count) = 0;
    /// Drops what came and was not read yet.
    virtual void CleanInput() = 0;
};

/// Opens a line by a path with the device prefix "\\.\"; null with LastError set on failure. Behind the
/// prefix Linux takes an absolute path as it stands and any other name under /dev.
Line* LineOpen(const QZWChar* path);
bool LineSetup(Line* line, QZInt64 speed);
bool LineSetSpeed(Line* line, QZInt64 speed);
bool LineWatchInput(Line* line);
LineResult LineRead(Line* line, void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count);
LineResult LineWrite(Line* line, const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count);
bool LineQueued(Line* line, QZInt64* count);

/// What LineOpen goes to.
Line* SystemLineOpen(const QZWChar* path);

/// The names of the serial ports of this machine, without the prefix; null with LastError set on failure,
/// ErrorNotFound where the system keeps no list of them.
struct LineWalk;
LineWalk* LineWalkOpen();
/// The next port. *name stays valid until the next call; false at the end.
bool LineNext(LineWalk* walk, const QZWChar** name);
void LineWalkClose(LineWalk* walk);

// ---- Files

/// Opens an existing file; 0 with LastError set on failure. Sharing has no counterpart on Linux and is not
/// looked at.
QZInt64 FileOpen(const QZWChar* path, bool read, bool write, bool shareRead, bool shareWrite);
/// Makes a new file for reading and writing; a file that is there fails with ErrorFileExists.
QZInt64 FileCreate(const QZWChar* path);
void FileClose(QZInt64 file);
/// Bytes read at the offset, fewer at the end of the file; -1 with LastError set on failure.
QZInt64 FileRead(QZInt64 file, QZInt64 offset, void* buffer, QZUInt32 size);
/// Bytes written at the offset; -1 with LastError set on failure.
QZInt64 FileWrite(QZInt64 file, QZInt64 offset, const void* buffer, QZUInt32 size);
/// -1 on failure.
QZInt64 FileGetSize(QZInt64 file);
bool FileSetSize(QZInt64 file, QZInt64 size);
bool FileSync(QZInt64 file);

enum class FileKind
{
    Missing,
    File,
    Directory,
};

FileKind FileKindOf(const QZWChar* path);
bool FileDelete(const QZWChar* path);
/// Both paths in the narrow page. A target that is there is a failure.
bool FileRename(const char* from, const char* to);
bool DirectoryCreate(const QZWChar* path);
/// Only an empty directory can go.
bool DirectoryDelete(const QZWChar* path);

/// The entries of a directory, "." and ".." left out, in the system's order; null with LastError set on
/// failure.
struct DirectoryWalk;
DirectoryWalk* DirectoryOpen(const QZWChar* path);
/// The next entry. *name stays valid until the next call; *link tells that the entry only leads to another
/// place; false at the end.
bool DirectoryNext(DirectoryWalk* walk, const QZWChar** name, bool* directory, bool* link);
void DirectoryClose(DirectoryWalk* walk);

/// The separator that the platform writes.
QZWChar PathSeparator();

/// The working directory with a terminator. False when it does not fit into capacity units, or on any
/// failure.
bool WorkingDirectoryGet(QZWChar* path, QZInt64 capacity);
bool WorkingDirectorySet(const QZWChar* path);

// ---- Host

/// The name of this computer with a terminator; false when it does not fit into capacity units.
bool ComputerName(QZWChar* name, QZInt64 capacity);
/// The first IPv4 address of this host's own name, in network order as it lies in memory.
bool LocalAddress(QZUInt32* address);
/// The first IPv4 address of a host by its UTF-8 name, in network order as it lies in memory. On failure
/// false and the system's text of it in *failure, given back with ErrorTextFree; null where it has none.
bool HostAddress(const char* name, QZUInt32* address, QZWChar** failure);

// ---- Processes

QZInt64 ProcessCurrentId();

/// Opens a process for questions about it and for its memory; 0 with LastError set on failure. The handle
/// keeps the process's number from being given to another.
QZInt64 ProcessOpen(QZInt64 pid);
void ProcessClose(QZInt64 process);

/// Move bytes from and to the memory of the process behind a handle, which goes to the platform as it stands;
/// the bytes moved, 0 with LastError set on failure. Linux knows no process by such a handle.
QZInt64 ProcessMemoryRead(QZInt64 process, QZUInt32 address, void* buffer, QZInt64 size);
QZInt64 ProcessMemoryWrite(QZInt64 process, QZUInt32 address, const void* buffer, QZInt64 size);

/// Starts a program without arguments, with a console of its own, nothing inherited and open to everyone; its
/// number, 0 with LastError set on failure. The path is in the narrow page.
QZInt64 ProcessStart(const char* path);

/// Ends a process at once. False for one that is not there.
bool ProcessTerminate(QZInt64 pid);

/// What a process has in memory and in the page file, in bytes. False for one that is not there.
struct ProcessMemory
{
    QZUInt64 WorkingSet;
    QZUInt64 Swap;
};
bool ProcessMemoryGet(QZInt64 pid, ProcessMemory* memory);

/// The processes of this machine at one time; null with LastError set on failure.
struct ProcessWalk;
ProcessWalk* ProcessWalkOpen();
/// The next process; false at the end.
bool ProcessNext(ProcessWalk* walk, QZInt64* pid);
/// The file name of its program, good until the next step.
const QZWChar* ProcessName(ProcessWalk* walk);
/// True when that file is the program `name`, which is called name + ".exe" on Windows. On Linux programs go
/// without the ending, and one that has it is compared without.
bool ProcessIsProgram(ProcessWalk* walk, const QZWChar* name);
void ProcessWalkClose(ProcessWalk* walk);

/// The path of this process's program with a terminator, cut off where capacity units are full. False on
/// failure.
bool ProcessImagePath(QZWChar* path, QZInt64 capacity);

// ---- Figures of the machine

struct MemoryStatus
{
    QZUInt64 TotalPhys;
    QZUInt64 AvailPhys;
    QZUInt64 TotalSwap;
    QZUInt64 AvailSwap;
    int Load;  ///< percent of the physical memory
};
/// Zeros where the system tells nothing.
void MemoryStatusGet(MemoryStatus* status);

/// Time that the processors have spent, in units of the platform; the kernel's share includes the idle one.
struct SystemTimes
{
    QZUInt64 Idle;
    QZUInt64 Kernel;
    QZUInt64 User;
};
bool SystemTimesGet(SystemTimes* times);

/// The free bytes of the disk that holds the path, null for the current one. False with LastError set on
/// failure.
bool DiskFreeBytes(const QZWChar* path, QZUInt64* bytes);

// ---- Console

/// Writes text to the standard output at once: to a terminal as text, to a file or pipe as UTF-8.
void ConsoleWrite(const QZWChar* text, QZInt64 units);
/// The next line of the standard input without its line end, with a terminator; null at the end of the input.
/// Given back with ConsoleTextFree.
QZWChar* ConsoleReadLine();
void ConsoleTextFree(QZWChar* text);

}  // namespace os

#endif
