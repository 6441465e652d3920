#ifndef QZLIB_SYS_THREAD_H
#define QZLIB_SYS_THREAD_H

/// Threads, sleeps, events and locks.
///
/// A thread can be suspended by another thread only at a gate, so that it is not stopped inside a lock or
/// inside the heap. Gates are Sleep, MutexLock, CriticalEnter and ThreadGate.

#include "sys/sys_types.h"

namespace os
{

// ---- Threads

/// Starts a thread with the default stack size and returns its handle; 0 with LastError set on failure. Give
/// the handle back with ThreadClose.
QZInt64 ThreadCreate(void (*routine)(void*), void* argument);
/// Raises the suspend count of a thread. A thread that suspends itself stops here until another thread
/// resumes it. Another thread stops at its next gate; when it reaches the gate with a lock held, it stops
/// with the lock. False with LastError set on failure.
bool ThreadSuspend(QZInt64 thread);
/// Lowers the suspend count of a thread; at 0 it does nothing and returns true. The thread runs on when the
/// count becomes 0. False with LastError set on failure.
bool ThreadResume(QZInt64 thread);
/// True while the suspend count is above 0: the thread is stopped or stops at its next gate. Only for threads
/// that ThreadCreate started.
bool ThreadIsSuspended(QZInt64 thread);
/// Ends a thread at once: its stack is not unwound and no destructor runs. On return the thread has ended. A
/// thread that terminates itself does not return. False with LastError set on failure.
bool ThreadTerminate(QZInt64 thread);
/// Waits for the end of a thread and returns true when it ended in the time. A negative time has no limit.
bool ThreadWait(QZInt64 thread, QZInt64 milliseconds);
/// Gives the handle back. The thread goes on running. 0 is allowed.
void ThreadClose(QZInt64 thread);
/// The id of the calling thread, never 0. It is not the handle.
QZUInt64 ThreadCurrentId();
/// The id of the thread with this handle, 0 for an invalid handle.
QZUInt64 ThreadIdOf(QZInt64 thread);
/// Stops here while the calling thread is suspended.
void ThreadGate();
/// The number of processors, at least 1.
int ProcessorCount();

/// Sleeps. A gate, before and after the sleep.
void Sleep(QZUInt32 milliseconds);

/// Sleeps with a finer timer resolution: 1 ms for sleeps below 100 ms, 10 ms for sleeps below 1000 ms. A
/// negative time returns at once.
void SleepPrecise(int milliseconds);

// ---- Events

/// Makes an event that is not set; null on failure. An event wakes one waiting thread and is then not set
/// again.
void* EventCreate();
/// Sets the event. A set that nobody waits for is kept for the next wait. Null is allowed.
void EventSet(void* event);
/// Waits until the event is set, at most for the time, and returns whether it was set. Null is never set. A
/// gate, before and after the wait.
bool EventWait(void* event, QZUInt32 milliseconds);
/// Deletes the event. Nobody may wait for it. Null is allowed.
void EventClose(void* event);

// ---- Locks

/// Makes a recursive mutex; null on failure. When its holder is terminated, the next thread gets it.
void* MutexCreate();
/// Waits without limit for the mutex. False on failure, for example for null. A gate.
bool MutexLock(void* mutex);
/// Gives one lock back. False, without effect, when the calling thread does not hold the mutex.
bool MutexUnlock(void* mutex);
/// Deletes the mutex. Null is allowed.
void MutexClose(void* mutex);

/// The size of a recursive critical section. The caller provides this many bytes, aligned to 16.
QZInt64 CriticalSize();
/// Makes a critical section in these bytes.
void CriticalInit(void* section);
/// Waits without limit for the section. A gate.
void CriticalEnter(void* section);
/// Gives one Enter back. Does nothing when the calling thread does not hold the section.
void CriticalLeave(void* section);
/// Ends the section. Its bytes are free again.
void CriticalDelete(void* section);

}  // namespace os

#endif
