#include "os/os_task_scheduler.h"

#include <algorithm>

#include "fw/fw_collection.h"
#include "fw/fw_environment.h"
#include "fw/fw_lock.h"
#include "fw/fw_report.h"
#include "fw/fw_time.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_trace.h"
#include "os/os_task.h"
#include "os/os_thread.h"
#include "sys/internal/sys_thread.h"

const QZInt64 QZTaskScheduler::Type;
QZInt64 QZTaskScheduler::LongestPause = 1;
const QZInt64 QZTaskSchedulerStatus::TaskSchedulerWaiting;
const QZInt64 QZTaskSchedulerStatus::TaskSchedulerRunning;
const QZInt64 QZTaskSchedulerStatus::TaskSchedulerPause;
const QZInt64 QZTaskSchedulerStatus::TaskSchedulerStopped;
const QZInt64 QZTaskSchedulerStatus::TaskSchedulerAbort;
const QZInt64 QZTaskSchedulerStatus::TaskSchedulerDispose;

namespace
{
using Status = QZTaskSchedulerStatus;

constexpr int kResetRounds = 3000;
constexpr QZInt64 kLastSteps = 1000;

/// The largest value of LongestPause that counts. Reset waits three times as long for the thread.
constexpr QZInt64 kLongestPauseMax = 1000;

/// Intervals may have any length: a time past the largest number wraps around.
QZInt64 Later(QZInt64 time, QZUInt64 milliseconds)
{
    return static_cast<QZInt64>(static_cast<QZUInt64>(time) + milliseconds);
}
}  // namespace

QZTaskScheduler::QZTaskScheduler() : QZTaskScheduler(nullptr) {}

QZTaskScheduler::QZTaskScheduler(QZErrorReport* report)
    : m_status(Status::TaskSchedulerWaiting),
      m_tasks(new QZList<QZTask>()),
      m_lock(new QZCriticalSection()),
      m_report(report),
      m_thread(0)
{}

QZTaskScheduler::~QZTaskScheduler()
{
    QZTaskScheduler::Stop();
    while (m_status.load() != Status::TaskSchedulerWaiting &&
           !(m_status.load() & Status::TaskSchedulerDispose))
        QZThread::Sleep(10);
    // The thread writes its last status under the lock, so once the lock was free, it no longer uses this
    // object.
    m_lock->Lock();
    m_lock->Unlock();
    delete m_tasks;
    delete m_lock;
}

QZInt64 QZTaskScheduler::GetType() { return Type; }

void QZTaskScheduler::AddTask(QZTask* task)
{
    const QZInt64 due = task->GetExecTime()->ToTimestamp();
    const QZInt64 now = QZEnvironment::GetCurrentTimestamp();
    const QZInt64 interval = task->GetInterval();
    if (due < now && interval > 0)
    {
        const QZUInt64 step = static_cast<QZUInt64>(interval);
        const QZUInt64 missed = static_cast<QZUInt64>(now) - static_cast<QZUInt64>(due);
        task->SetExecTime(Later(due, step * (missed / step + 1)));
    }
    m_tasks->Push(task);
}

void QZTaskScheduler::RemoveTask(QZTask* task) { m_tasks->RemoveElement(task); }

void QZTaskScheduler::Refuse(const QZWChar* method)
{
    QZRaise(QZTaskFailure(256), QZ_W("QZTaskScheduler"), method).Throw();
}

void QZTaskScheduler::Start()
{
    {
        QZCriticalGuard guard(m_lock);
        if (m_status.load() == Status::TaskSchedulerWaiting)
        {
            m_status.store(Status::TaskSchedulerRunning);
            m_thread = QZThread::Create(&QZTaskScheduler::Thread, this);
            return;
        }
    }
    Refuse(QZ_W("Start"));
}

void QZTaskScheduler::Pause()
{
    {
        QZCriticalGuard guard(m_lock);
        const QZInt64 status = m_status.load();
        if (status == Status::TaskSchedulerRunning || status == Status::TaskSchedulerPause)
        {
            m_status.store(Status::TaskSchedulerPause);
            return;
        }
    }
    Refuse(QZ_W("Pause"));
}

void QZTaskScheduler::Resume()
{
    {
        QZCriticalGuard guard(m_lock);
        const QZInt64 status = m_status.load();
        if (status == Status::TaskSchedulerRunning || status == Status::TaskSchedulerPause)
        {
            m_status.store(Status::TaskSchedulerRunning);
            return;
        }
    }
    Refuse(QZ_W("Resume"));
}

void QZTaskScheduler::Stop()
{
    {
        QZCriticalGuard guard(m_lock);
        const QZInt64 status = m_status.load();
        if (status == Status::TaskSchedulerWaiting)
        {
            // No thread was started, so there is none to wait for.
            m_status.store(Status::TaskSchedulerDispose);
            return;
        }
        if (status == Status::TaskSchedulerRunning || status == Status::TaskSchedulerPause ||
            status == Status::TaskSchedulerStopped)
        {
            m_status.store(Status::TaskSchedulerStopped);
            return;
        }
        if (status & Status::TaskSchedulerDispose)
        {
            // A stop after the end is allowed and adds its bit to the status.
            m_status.store(status | Status::TaskSchedulerStopped);
            return;
        }
    }
    Refuse(QZ_W("Stop"));
}

void QZTaskScheduler::Reset()
{
    if (m_status.load() == Status::TaskSchedulerRunning)
    {
        Stop();
        for (int round = 0; round < kResetRounds && m_status.load() != Status::TaskSchedulerDispose; ++round)
            QZThread::Sleep(1);
    }
    // The handle is kept, so a thread that has ended is terminated again. A thread that is about to end gets
    // time to do so: terminated there it could leave a lock held.
    if (m_thread != 0)
    {
        if (m_status.load() & Status::TaskSchedulerDispose) os::ThreadWait(m_thread, kLastSteps);
        QZThread::Terminate(m_thread);
    }
    QZCriticalGuard guard(m_lock);
    m_status.store(Status::TaskSchedulerWaiting);
    // Tasks that have run are not marked again: only a running scheduler does that.
}

QZInt64 QZTaskScheduler::GetStatus() { return m_status.load(); }

void QZTaskScheduler::Thread(void* self) { static_cast<QZTaskScheduler*>(self)->Run(); }

void QZTaskScheduler::Run()
{
    for (QZInt64 status = m_status.load();
         !QZThread::IsThreadsAbort() &&
         (status == Status::TaskSchedulerRunning || status == Status::TaskSchedulerPause);
         status = m_status.load())
    {
        if (status == Status::TaskSchedulerRunning)
        {
            try
            {
                Pass();
            }
            catch (QZException* exception)
            {
                // The rest of the list is tested in the next pass.
                QZTrace(exception, QZ_W("QZTaskScheduler"), QZ_W("Thread"))
                    .Argument(
                        QZ_W("QZPVoid"),
                        static_cast<QZInt64>(reinterpret_cast<std::intptr_t>(static_cast<void*>(this))));
                if (m_report != nullptr) m_report->Report(exception);
                QZExceptionFactory::Recycle(&exception);
            }
        }
        QZThread::Sleep(PauseUntilDue());
    }
    QZCriticalGuard guard(m_lock);
    m_status.store(Status::TaskSchedulerDispose);
}

void QZTaskScheduler::Pass()
{
    const QZInt64 count = m_tasks->Count();
    for (QZInt64 i = 0; i < count && m_status.load() == Status::TaskSchedulerRunning; ++i)
    {
        const QZInt64 now = QZEnvironment::GetCurrentTimestamp();
        QZTask* task = m_tasks->GetElement(i);
        // Another thread has removed the task during the walk.
        if (task == nullptr) continue;
        if (task->GetExecTime()->ToTimestamp() > now || task->GetStstus() != QZTask::StatusNotExecuted)
            continue;
        // Both are set before the run: the interval counts from its start, also for a task that throws.
        if (task->GetInterval() >= 1)
            task->SetExecTime(Later(now, static_cast<QZUInt64>(task->GetInterval())));
        else
            task->SetStatus(QZTask::StatusHaveExecuted);
        task->Execute();
    }
}

/// The milliseconds to sleep before the next pass: 1, or up to LongestPause when no task is due before.
int QZTaskScheduler::PauseUntilDue() const
{
    QZInt64 pause = std::min(LongestPause, kLongestPauseMax);
    if (pause <= 1) return 1;
    const QZInt64 now = QZEnvironment::GetCurrentTimestamp();
    const QZInt64 count = m_tasks->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZTask* task = m_tasks->GetElement(i);
        if (task == nullptr || task->GetStstus() != QZTask::StatusNotExecuted) continue;
        const QZInt64 due = task->GetExecTime()->ToTimestamp();
        pause = due <= now ? 1 : std::min(pause, due - now);
    }
    return static_cast<int>(std::max<QZInt64>(pause, 1));
}
