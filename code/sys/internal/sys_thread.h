#ifndef QZLIB_SYS_THREAD_H
#define QZLIB_SYS_THREAD_H

/// Threads, sleeping, and locks.

#include "sys/sys_types.h"

namespace os
{

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

/// Sleeps; a place where a suspend from outside takes hold.
void Sleep(QZUInt32 milliseconds);

/// Sleeps with the timer resolution raised for the time of the sleep: to 1 ms below 100 ms, to 10 ms below
/// 1000 ms. A negative time returns at once.
void SleepPrecise(int milliseconds);

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

}  // namespace os

#endif
