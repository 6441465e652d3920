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
    // The lock is left alone here: a worker inside a task holds it, and the timeout must hold all the same.
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
        // A worker that has just finished a task suspends itself once more; it is woken again until it is
        // gone.
        os::ThreadResume(m_handle);
    }
}

QZInt64 QZThread::GetType() { return 0x81FFF30; }

void QZThread::SetTimeout(long long timeout) { m_timeout.store(timeout, std::memory_order_relaxed); }

QZByte QZThread::IsWorking() { return m_working.load(std::memory_order_acquire); }

QZByte QZThread::ExecOrNot(QZTask* task)
{
    {
        QZCriticalGuard guard(m_lock);
        if (m_working.load(std::memory_order_relaxed)) return 0;
        // 0 is the value of a free task, so no owner may have it.
        QZUInt32 owner = static_cast<QZUInt32>(m_handle);
        if (owner == 0) owner = 1;
        while (!task->Lock(owner)) Sleep(1);
        m_working.store(1, std::memory_order_relaxed);
        m_stalled.store(false, std::memory_order_relaxed);
        task->SetStatus(QZTask::StatusNotExecuted);
        m_task = task;
    }
    // Between here and the worker's own suspend lies the known race: a resume that lands before it is lost
    // until the next one.
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
    // With the lock the worker cannot take its task up in the meantime.
    QZCriticalGuard guard(m_lock);
    if (!m_working.load(std::memory_order_relaxed) || !m_suspending.load()) return;
    // Found once, it may be a hand-over that is still going on.
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
            // Nobody is told; the task counts as executed all the same.
            QZExceptionFactory::Recycle(&exception);
        }
        task->SetExecTime(QZEnvironment::GetCurrentTimestamp());
        task->SetStatus(QZTask::StatusHaveExecuted);
        task->Unlock();
    }
    // Whoever sees the worker idle sees all that the task did, and may take the task away.
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
        // Catches a worker that the constructor's suspend has not reached, and a resume that outran a
        // suspend.
        while (!thread->MustLeave() && thread->m_status.load() != StatusRun) Sleep(1);
        thread->RunTask();
        thread->m_suspending.store(true);
        thread->Suspend();
        thread->m_suspending.store(false);
    }
    thread->m_status.store(StatusEnd);
}
