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

/// Runs due tasks one after another on a thread of its own, which tests its list once a millisecond, or less
/// often as LongestPause allows.
///
/// The usual order is: construct, AddTask, Start, Pause and Resume, Stop, destroy. Reset returns the
/// scheduler to the state before Start. The caller owns the tasks. The list has no lock: tasks are to be
/// added before Start. Any thread may call the transitions.
class QZ_API QZTaskScheduler : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF40;

    /// The longest time between two tests of the list, in milliseconds. With a value above 1 a scheduler
    /// sleeps until its next task is due, but not longer than this, so that it takes next to no processor
    /// time while nothing is due. What a host changes meanwhile (a task's time or status, Pause, Resume,
    /// Stop, the clock) takes effect up to this time later. 1, the default, and lower values: the list is
    /// tested once a millisecond.
    static QZInt64 LongestPause;

    QZTaskScheduler();
    /// @param report  receives the exceptions that leave a task; the caller owns it
    explicit QZTaskScheduler(QZErrorReport* report);
    /// Stops and waits without limit until the running task has returned. The tasks are not changed.
    ~QZTaskScheduler() override;
    QZTaskScheduler(const QZTaskScheduler&) = delete;
    QZTaskScheduler& operator=(const QZTaskScheduler&) = delete;

    QZInt64 GetType() override;

    /// Adds a task at the end of the list. A repeating task whose time has passed is due at its time plus the
    /// smallest multiple of its interval that lies after now.
    /// @throws QZException 1280 for a task that is in a list
    void AddTask(QZTask* task);
    void RemoveTask(QZTask* task);

    /// The transitions between states.
    /// @throws QZTaskException 256 in a state that does not allow the transition
    void Start();
    void Stop();
    void Pause();
    void Resume();

    /// Stops a running scheduler (it waits about three seconds at most for its thread), ends its thread and
    /// enters the state TaskSchedulerWaiting. The status of the tasks stays: a task that has run is not run
    /// again.
    void Reset();

    /// A value of QZTaskSchedulerStatus, or 40.
    QZInt64 GetStatus();

private:
    static void Thread(void* self);
    void Run();
    void Pass();
    int PauseUntilDue() const;
    [[noreturn]] void Refuse(const QZWChar* method);

    std::atomic<QZInt64> m_status;
    QZList<QZTask>* m_tasks;
    QZCriticalSection* m_lock;
    QZErrorReport* m_report;
    QZInt64 m_thread;
};

#endif
