#ifndef QZLIB_OS_TASK_SCHEDULER_H
#define QZLIB_OS_TASK_SCHEDULER_H

#include <atomic>

#include "fw/fw_object.h"

class QZCriticalSection;
class QZErrorReport;
class QZTask;
template <typename T>
class QZList;

/// States of a QZTaskScheduler. The value 40, Dispose with Stopped in it, follows a Stop after the end.
class QZ_API QZTaskSchedulerStatus
{
public:
    static const QZInt64 TaskSchedulerWaiting = 1;
    static const QZInt64 TaskSchedulerRunning = 2;
    static const QZInt64 TaskSchedulerPause = 4;
    static const QZInt64 TaskSchedulerStopped = 8;
    /// Declared for hosts; no scheduler enters it.
    static const QZInt64 TaskSchedulerAbort = 16;
    static const QZInt64 TaskSchedulerDispose = 32;
};

/// Runs due tasks one after another on one thread of its own, which looks at its list once a millisecond.
///
/// Construct, AddTask any number of times, Start, then Pause and Resume, Stop, destroy; Reset brings a
/// scheduler back to the beginning. The tasks stay their makers'; the list has no lock, so add before Start
/// or accept the risk. Each transition may be asked for on any thread.
class QZ_API QZTaskScheduler : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF40;

    QZTaskScheduler();
    /// @param report  told of the exceptions that leave a task; stays the caller's
    explicit QZTaskScheduler(QZErrorReport* report);
    /// Stops and waits, without a limit, until the running task has returned. The tasks are left alone.
    ~QZTaskScheduler() override;
    QZTaskScheduler(const QZTaskScheduler&) = delete;
    QZTaskScheduler& operator=(const QZTaskScheduler&) = delete;

    QZInt64 GetType() override;

    /// Adds a task at the end of the list. A repeating task whose time has passed keeps its phase: it is due
    /// at the first multiple of its interval after now.
    /// @throws QZException 1280 for a task that stands in a list already
    void AddTask(QZTask* task);
    void RemoveTask(QZTask* task);

    /// The transitions. From a state that has none they throw.
    /// @throws QZTaskException 256
    void Start();
    void Stop();
    void Pause();
    void Resume();

    /// Stops a running scheduler (waiting at most about three seconds for its thread), ends its thread and
    /// goes back to waiting. No task is marked: one that ran once stays done.
    void Reset();

    /// A value of QZTaskSchedulerStatus, or 40.
    QZInt64 GetStatus();

private:
    static void Thread(void* self);
    void Run();
    void Pass();
    [[noreturn]] void Refuse(const QZWChar* method);

    std::atomic<QZInt64> m_status;
    QZList<QZTask>* m_tasks;
    QZCriticalSection* m_lock;
    QZErrorReport* m_report;
    QZInt64 m_thread;
};

#endif
