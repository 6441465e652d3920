#ifndef QZLIB_OS_THREAD_POOL_H
#define QZLIB_OS_THREAD_POOL_H

#include "fw/fw_object.h"

class QZCriticalSection;
class QZTask;
class QZThread;
template <typename T>
class QZList;

/// Hands each task at once to an idle worker, and grows by one worker when none is idle.
///
/// There is no upper limit: the pool grows to the greatest number of tasks that ever ran at a time, and
/// shrinks through Collect. It does not own the tasks: a task's maker keeps it alive until its status says
/// that it has run. Any thread may call.
class QZ_API QZThreadPool : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF50;

    QZThreadPool();
    /// Ends every worker; a task that runs longer than its worker's time-out is killed with it.
    ~QZThreadPool() override;
    QZThreadPool(const QZThreadPool&) = delete;
    QZThreadPool& operator=(const QZThreadPool&) = delete;

    QZInt64 GetType() override;

    /// Starts a task, whatever its status was, and returns. Waits while another worker has the very task.
    void ExecOnceASync(QZTask* task);
    /// The same for each task of the list, from the first to the last, under one lock.
    void ExecOnceASync(QZList<QZTask>* tasks);

    /// Workers, and those of them that have a task: snapshots, had at once while tasks are being handed out.
    QZInt64 Count();
    QZInt64 WorkingCount();

    /// Wakes workers that a task has not reached; for hosts whose tasks may not wait for the next one. To be
    /// called every now and then, a second apart or more.
    void WakeStalled();

    /// Ends the workers that are idle.
    void Collect();

private:
    void ExecOnceASyncPrivate(QZTask* task);
    QZThread* Take();

    QZList<QZThread>* m_threads;
    QZCriticalSection* m_lock;
    /// Held for single steps on the list, so that counting waits for no task; inside m_lock.
    QZCriticalSection* m_list;
};

#endif
