#include "os/os_thread.h"
#include "fw/fw_environment.h"
#include "fw/fw_exception.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "os/os_task.h"
#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_thread.h"

namespace
{

constexpr QZInt64 kResumePeriod = 5;

}  // namespace

QZThread::QZThread() : m_status(StatusWaitInit)
{
    m_lock = new QZCriticalSection;
    m_handle = Create(Proc, this);
    m_working.store(0, std::memory_order_relaxed);
    m_ending.store(0, std::memory_order_relaxed);
    m_timeout.store(5000, std::memory_order_relaxed);
    m_task = nullptr;
    Suspend();
}

QZThread::~QZThread()
{
    m_ending.store(1);
    if (!WaitForEnd()) Terminate(m_handle);
    Close(m_handle);
    delete m_lock;
}

bool QZThread::WaitForEnd()
{
    // The lock is not taken here: a worker holds it while it runs a task, and the timeout must work then too.
    m_status.store(StatusRun);
    if (!os::ThreadResume(m_handle))
    {
        QZLibAssert(0);
        return os::ThreadWait(m_handle, 0);
    }
    QZUInt32 timeout = static_cast<QZUInt32>(m_timeout.load(std::memory_order_relaxed));
    bool forever = timeout == 0xFFFFFFFF;
    QZInt64 start = os::MonotonicMicros();
    for (;;)
    {
        QZInt64 left = forever ? kResumePeriod : timeout - (os::MonotonicMicros() - start) / 1000;
        if (os::ThreadWait(m_handle, left < 0 ? 0 : left < kResumePeriod ? left : kResumePeriod)) return true;
        if (left <= 0) return false;
        // A worker that has just finished a task suspends itself again, so it is resumed until it has ended.
        os::ThreadResume(m_handle);
    }
}

QZInt64 QZThread::GetType() { return Type; }

void QZThread::SetTimeout(long long timeout) { m_timeout.store(timeout, std::memory_order_relaxed); }

QZByte QZThread::IsWorking() { return m_working.load(std::memory_order_acquire); }

QZByte QZThread::ExecOrNot(QZTask* task)
{
    {
        QZCriticalGuard guard(m_lock);
        if (m_working.load(std::memory_order_relaxed)) return 0;
        // 0 marks a task without an owner, so it is not used as an owner.
        QZUInt32 owner = static_cast<QZUInt32>(m_handle);
        if (owner == 0) owner = 1;
        while (!task->Lock(owner)) Sleep(1);
        m_working.store(1, std::memory_order_relaxed);
        m_stalled.store(false, std::memory_order_relaxed);
        task->SetStatus(QZTask::StatusNotExecuted);
        m_task = task;
    }
    // Known race with the worker's own suspend: a resume before that suspend has no effect until the next
    // resume.
    Resume();
    return 1;
}

bool QZThread::IsResting()
{
    return (m_working.load(std::memory_order_acquire) == 0) && os::ThreadIsSuspended(m_handle);
}

void QZThread::WakeStalled()
{
    if (!m_working.load(std::memory_order_relaxed) || !m_suspending.load()) return;
    // With the lock held the worker cannot start its task in the meantime.
    QZCriticalGuard guard(m_lock);
    if (!m_working.load(std::memory_order_relaxed) || !m_suspending.load()) return;
    // A single call may see an ExecOrNot that has not finished yet.
    if (m_stalled.exchange(true, std::memory_order_relaxed)) Resume();
}

void QZThread::Suspend()
{
    {
        QZCriticalGuard guard(m_lock);
        m_status.store(StatusStop);
    }
    if (!os::ThreadSuspend(m_handle)) QZLibAssert(0);
}

void QZThread::Resume()
{
    {
        QZCriticalGuard guard(m_lock);
        m_status.store(StatusRun);
    }
    if (!os::ThreadResume(m_handle)) QZLibAssert(0);
}

bool QZThread::MustLeave() { return m_ending.load() != 0 || IsThreadsAbort() != 0; }

void QZThread::RunTask()
{
    QZCriticalGuard guard(m_lock);
    QZTask* task = m_task;
    if (task != nullptr && m_status.load() == StatusRun && task->GetStstus() == QZTask::StatusNotExecuted)
    {
        try
        {
            task->Execute();
        }
        catch (QZException* exception)
        {
            // The exception is not reported, and the task counts as executed.
            QZExceptionFactory::Recycle(&exception);
        }
        task->SetExecTime(QZEnvironment::GetCurrentTimestamp());
        task->SetStatus(QZTask::StatusHaveExecuted);
        task->Unlock();
    }
    // A thread that sees the worker idle sees all effects of the task and may delete it.
    m_working.store(0, std::memory_order_release);
}

void QZThread::Proc(void* self)
{
    QZThread* thread = static_cast<QZThread*>(self);
    thread->m_lock->Lock();
    while (thread->m_status.load() == StatusWaitInit)
    {
        thread->m_lock->Unlock();
        Sleep(1);
        thread->m_lock->Lock();
    }
    thread->m_lock->Unlock();

    while (!thread->MustLeave())
    {
        // Waits here when the constructor has not suspended the worker yet, or when a resume came before a
        // suspend.
        while (!thread->MustLeave() && thread->m_status.load() != StatusRun) Sleep(1);
        thread->RunTask();
        thread->m_suspending.store(true);
        thread->Suspend();
        thread->m_suspending.store(false);
    }
    thread->m_status.store(StatusEnd);
}
