#ifndef QZLIB_OS_THREAD_H
#define QZLIB_OS_THREAD_H

#include <atomic>

#include "fw/fw_lock.h"
#include "fw/fw_object.h"

class QZTask;

/// A worker thread that runs one QZTask at a time and is suspended between tasks. The static operations are
/// the library's general thread interface.
///
/// The worker does not own its tasks. It holds the object's lock while Execute runs. An exception that leaves
/// a task is recycled and not reported. Any thread may call; a task may call its own worker.
class QZ_API QZThread : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF30;
    /// The worker is suspended or about to suspend.
    static const QZInt64 StatusStop = 0;
    /// The worker was resumed to run a task.
    static const QZInt64 StatusRun = 1;
    /// The worker thread has ended.
    static const QZInt64 StatusEnd = 2;
    /// The constructor has not finished.
    static const QZInt64 StatusWaitInit = 3;

    /// Starts the worker and suspends it.
    QZThread();
    /// Waits for the worker up to the timeout. A task that runs longer is terminated together with its
    /// thread; what it holds stays held.
    ~QZThread() override;
    QZThread(const QZThread&) = delete;
    QZThread& operator=(const QZThread&) = delete;

    QZInt64 GetType() override;

    /// Sets how long the destructor waits for the worker, in milliseconds; 5000 by default.
    void SetTimeout(long long timeout);

    /// Gives the worker a task and returns 1; returns 0 when the worker has a task. Blocks while Execute
    /// runs, and while another worker has the task.
    QZByte ExecOrNot(QZTask* task);

    /// 1 from ExecOrNot until the worker has finished the task. Read without the lock.
    QZByte IsWorking();

    /// True when the worker has no task and is suspended: a task given now wakes it.
    bool IsResting();

    /// Wakes a worker that suspended itself at the moment in which it got a task. It does so when two calls
    /// in a row find the worker in this state. It does not wait for a worker that runs a task.
    void WakeStalled();

    /// Starts a thread that runs the routine. Returns its handle, which the caller gives back with Close; 0
    /// on failure. WaitForThreadsEnd waits for the thread until the routine returns.
    static long long Create(void (*routine)());
    static long long Create(void (*routine)(void*), void* argument);
    static long long Create(void (*routine)(void*, void*), void* first, void* second);

    /// Sleeps. Below 1000 milliseconds the timer resolution is raised during the call. A negative time
    /// returns at once.
    static void Sleep(int milliseconds);
    /// Sleeps as exactly as the platform's select.
    static void SleepUs(int microseconds);

    /// Lock and unlock the process-wide mutex. Lock waits without limit.
    static void Lock();
    static void Unlock();

    /// Ends the thread at once: its stack is not unwound, and its locks stay held. 1 on success.
    static QZByte Terminate(long long handle);
    /// Gives the handle back. The thread goes on running.
    static void Close(long long handle);

    /// Sets the abort flag, which nothing clears. Every worker and every loop of the library ends when it
    /// next tests the flag.
    static void ThreadsAbort();
    static QZByte IsThreadsAbort();
    /// Waits until no thread made by Create runs.
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
    /// True while the worker suspends itself.
    std::atomic<bool> m_suspending{false};
    std::atomic<bool> m_stalled{false};
};

#endif
