#ifndef QZLIB_OS_THREAD_H
#define QZLIB_OS_THREAD_H

#include <atomic>

#include "fw/fw_lock.h"
#include "fw/fw_object.h"

class QZTask;

/// A worker that runs one QZTask at a time and is suspended in between; its static operations are the
/// library's general thread interface.
///
/// Tasks are not owned. The worker holds the object's lock for the whole of a task's Execute. Exceptions of a
/// task are recycled without report. Any thread may call; a task may call its own worker.
class QZ_API QZThread : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF30;
    /// The worker is suspended or about to suspend.
    static const QZInt64 StatusStop = 0;
    /// The worker was resumed and has work.
    static const QZInt64 StatusRun = 1;
    /// The worker routine has left.
    static const QZInt64 StatusEnd = 2;
    /// The object is being constructed.
    static const QZInt64 StatusWaitInit = 3;

    /// Starts the worker and suspends it.
    QZThread();
    /// Waits for the worker up to the timeout; a task that runs longer is killed with its thread, whatever it
    /// holds.
    ~QZThread() override;
    QZThread(const QZThread&) = delete;
    QZThread& operator=(const QZThread&) = delete;

    QZInt64 GetType() override;

    /// Milliseconds that the destructor waits for the worker, 5000 at first.
    void SetTimeout(long long timeout);

    /// Hands a task over: 0 when the worker is marked as working, else 1. Blocks while the worker is inside
    /// Execute and while another worker has the task.
    QZByte ExecOrNot(QZTask* task);

    /// 1 from a task's hand-over until the worker has finished it; read without the lock.
    QZByte IsWorking();

    /// Has no task and is suspended, not merely about to be: a task handed over now reaches it.
    bool IsResting();

    /// Wakes a worker that suspended itself in the very moment in which a task was handed to it, once two
    /// calls in a row have found it so. Nobody waits for a worker that is at work.
    void WakeStalled();

    /// Starts a thread on the routine, at once runnable. The handle is the caller's, to be given back with
    /// Close; 0 on failure. The thread counts as running until the routine returns.
    static long long Create(void (*routine)());
    static long long Create(void (*routine)(void*), void* argument);
    static long long Create(void (*routine)(void*, void*), void* first, void* second);

    /// Sleeps for that many milliseconds, truly: below 1000 the timer resolution is raised for the time of
    /// the call. A negative time returns at once.
    static void Sleep(int milliseconds);
    /// Sleeps for that many microseconds, as exact as the platform's select.
    static void SleepUs(int microseconds);

    /// The process-wide mutex; waits without limit.
    static void Lock();
    static void Unlock();

    /// Kills the thread where it stands: nothing is unwound and what it holds stays held. 1 on success.
    static QZByte Terminate(long long handle);
    /// Gives the handle back; the thread goes on running.
    static void Close(long long handle);

    /// Sets the abort flag. Nothing clears it: every worker and every loop of the library leaves at its next
    /// check.
    static void ThreadsAbort();
    static QZByte IsThreadsAbort();
    /// Returns when no thread made by Create runs.
    static void WaitForThreadsEnd();

private:
    void Suspend();
    void Resume();
    void RunTask();
    bool MustLeave();
    bool WaitForEnd();
    static void Proc(void* self);

    std::atomic<QZByte> m_working;
    QZInt64 m_handle;
    QZTask* m_task;
    QZCriticalSection* m_lock;
    std::atomic<QZInt64> m_timeout;
    std::atomic<QZByte> m_ending;
    std::atomic<QZInt64> m_status;
    /// Set around the worker's own suspend.
    std::atomic<bool> m_suspending{false};
    std::atomic<bool> m_stalled{false};
};

#endif
