#ifndef QZLIB_OS_THREAD_POOL_H
#define QZLIB_OS_THREAD_POOL_H

#include "fw/fw_object.h"

class QZCriticalSection;
class QZTask;
class QZThread;
template <typename T>
class QZList;

/// Gives each task at once to an idle worker, and makes a new worker when none is idle.
///
/// There is no upper limit: the pool grows to the largest number of tasks that ran at the same time. Collect
/// makes it smaller. The pool does not own the tasks: the caller keeps a task alive until its status says
/// that it has run. Any thread may call.
class QZ_API QZThreadPool : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF50;

    QZThreadPool();
    /// Ends every worker. A task that runs longer than its worker's timeout is terminated.
    ~QZThreadPool() override;
    QZThreadPool(const QZThreadPool&) = delete;
    QZThreadPool& operator=(const QZThreadPool&) = delete;

    QZInt64 GetType() override;

    /// Starts a task, also one that has run, and returns. Waits while another worker has the same task.
    void ExecOnceASync(QZTask* task);
    /// Starts each task of the list, from the first to the last, under one lock.
    void ExecOnceASync(QZList<QZTask>* tasks);

    /// The number of workers, and of workers with a task. They do not wait while tasks are started.
    QZInt64 Count();
    QZInt64 WorkingCount();

    /// Wakes workers that missed their task, see QZThread::WakeStalled. For hosts whose tasks must not wait
    /// until the next task; to be called at intervals of a second or more.
    void WakeStalled();

    /// Ends the idle workers.
    void Collect();

private:
    void ExecOnceASyncPrivate(QZTask* task);
    QZThread* Take();

    QZList<QZThread>* m_threads;
    QZCriticalSection* m_lock;
    /// Held for single operations on the list, so that counting does not wait for tasks. Locked after m_lock.
    QZCriticalSection* m_list;
};

#endif
