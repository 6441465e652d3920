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
/// Derived classes put their work into Execute. Neither a scheduler nor a pool owns the task: its maker keeps
/// it alive until it ended, which its status and its execution time show. Fields but the lock owner are read
/// and written without a lock.
class QZ_API QZTask : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF10;
    /// Finished; a scheduler does not run it again.
    static const QZInt64 StatusHaveExecuted = 1;
    /// Waiting or repeating.
    static const QZInt64 StatusNotExecuted = 2;

    /// Due at once, not repeating.
    QZTask();
    ~QZTask() override;
    QZTask(const QZTask&) = delete;
    QZTask& operator=(const QZTask&) = delete;

    QZInt64 GetType() override;

    /// The work; nothing here.
    virtual void Execute();

    /// When the task is due, and after a run by a QZThread when it ran. The object stays the task's and is
    /// locked with the task's id.
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

    /// Takes the task for an owner other than 0. False when it has one.
    QZByte Lock(unsigned int owner);
    /// Frees the task, whoever has it.
    void Unlock();

private:
    QZDateTime* m_execTime;
    std::atomic<QZInt64> m_status;
    std::atomic<QZInt64> m_interval;
    QZUInt32 m_owner;
    QZCriticalSection* m_lock;
};

#endif
