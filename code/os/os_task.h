#ifndef QZLIB_OS_TASK_H
#define QZLIB_OS_TASK_H

#include <atomic>
#include <concepts>

#include "fw/fw_object.h"

class QZCriticalSection;
class QZDateTime;

/// Intervals of repeating tasks in milliseconds.
class QZ_API QZTaskInterval
{
public:
    static const QZInt64 Hourly = 3600000;
    static const QZInt64 Daily = 86400000;
    static const QZInt64 Weekly = 604800000;
};

/// A unit of work with a time at which it is due, an interval and a status.
///
/// Derived classes implement Execute. Neither a scheduler nor a pool owns the task: the caller keeps it alive
/// until its status and its execution time show that it has run. All fields except the lock owner are read
/// and written without a lock.
class QZ_API QZTask : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF10;
    /// Finished; a scheduler does not run it again.
    static const QZInt64 StatusHaveExecuted = 1;
    /// Waiting or repeating.
    static const QZInt64 StatusNotExecuted = 2;

    /// A task that is due at once and does not repeat.
    QZTask();
    ~QZTask() override;
    QZTask(const QZTask&) = delete;
    QZTask& operator=(const QZTask&) = delete;

    QZInt64 GetType() override;

    /// The work. Does nothing here.
    virtual void Execute();

    /// The time at which the task is due; after a run by a QZThread, the time of the run. The task owns the
    /// object and has locked it with its id.
    QZDateTime* GetExecTime();
    /// Copies the fields into the task's own object.
    void SetExecTime(QZDateTime* time);
    void SetExecTime(long long timestamp);
    // A literal 0 is a timestamp here, never a null time.
    template <std::integral I>
    void SetExecTime(I timestamp)
    {
        SetExecTime(static_cast<long long>(timestamp));
    }

    void SetStatus(long long status);
    long long GetStstus();

    /// Milliseconds between runs; below 1 the task runs once.
    long long GetInterval();
    void SetInterval(long long interval);

    /// Locks the task for an owner other than 0. False when it has an owner.
    QZByte Lock(unsigned int owner);
    /// Unlocks the task for any owner.
    void Unlock();

private:
    QZDateTime* m_execTime;
    std::atomic<QZInt64> m_status;
    std::atomic<QZInt64> m_interval;
    QZUInt32 m_owner;
    QZCriticalSection* m_lock;
};

#endif
