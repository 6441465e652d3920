#include "os/os_thread_pool.h"

#include "fw/fw_collection.h"
#include "fw/fw_lock.h"
#include "os/os_task.h"
#include "os/os_thread.h"
#include "sys/internal/sys_thread.h"

const QZInt64 QZThreadPool::Type;

QZThreadPool::QZThreadPool()
    : m_threads(new QZList<QZThread>()), m_lock(new QZCriticalSection()), m_list(new QZCriticalSection())
{}

QZThreadPool::~QZThreadPool()
{
    m_lock->Lock();
    while (QZThread* worker = m_threads->Pop()) delete worker;
    delete m_threads;
    m_lock->Unlock();
    delete m_list;
    delete m_lock;
}

QZInt64 QZThreadPool::GetType() { return Type; }

namespace
{

constexpr int kRestYields = 100;
constexpr int kRestSleeps = 20;

/// A worker that has just finished a task is about to suspend itself and could miss a task given now. This
/// waits until it is suspended, for a limited time.
void AwaitRest(QZThread* worker)
{
    for (int i = 0; i < kRestYields + kRestSleeps && !worker->IsWorking() && !worker->IsResting(); ++i)
        os::Sleep(i < kRestYields ? 0 : 1);
}

}  // namespace

void QZThreadPool::ExecOnceASyncPrivate(QZTask* task)
{
    QZThread* worker = m_threads->GetFirst();
    for (; worker != nullptr; worker = static_cast<QZThread*>(worker->LinkNext()))
    {
        if (worker->IsWorking()) continue;
        AwaitRest(worker);
        if (worker->ExecOrNot(task)) break;
    }
    if (worker != nullptr)
    {
        // Busy workers move to the tail, so that the walk finds an idle worker early.
        QZCriticalGuard guard(m_list);
        m_threads->RemoveElement(worker);
        m_threads->EnQueue(worker);
        return;
    }
    worker = new QZThread();
    while (!worker->ExecOrNot(task)) QZThread::Sleep(1);
    QZCriticalGuard guard(m_list);
    m_threads->EnQueue(worker);
}

void QZThreadPool::ExecOnceASync(QZTask* task)
{
    QZCriticalGuard guard(m_lock);
    ExecOnceASyncPrivate(task);
}

void QZThreadPool::ExecOnceASync(QZList<QZTask>* tasks)
{
    QZCriticalGuard guard(m_lock);
    for (QZTask* task = tasks->GetFirst(); task != nullptr; task = static_cast<QZTask*>(task->LinkNext()))
        ExecOnceASyncPrivate(task);
}

QZInt64 QZThreadPool::Count()
{
    QZCriticalGuard guard(m_list);
    return m_threads->Count();
}

QZInt64 QZThreadPool::WorkingCount()
{
    // Not m_lock: that one is held while the pool waits for a task that another worker has.
    QZCriticalGuard guard(m_list);
    QZInt64 working = 0;
    for (QZThread* worker = m_threads->GetFirst(); worker != nullptr;
         worker = static_cast<QZThread*>(worker->LinkNext()))
        if (worker->IsWorking()) ++working;
    return working;
}

QZThread* QZThreadPool::Take()
{
    QZCriticalGuard guard(m_list);
    QZThread* worker = m_threads->DeQueue();
    if (!worker->IsWorking()) return worker;
    m_threads->EnQueue(worker);
    return nullptr;
}

void QZThreadPool::WakeStalled()
{
    QZCriticalGuard guard(m_lock);
    for (QZThread* worker = m_threads->GetFirst(); worker != nullptr;
         worker = static_cast<QZThread*>(worker->LinkNext()))
        worker->WakeStalled();
}

void QZThreadPool::Collect()
{
    QZCriticalGuard guard(m_lock);
    for (QZInt64 left = m_threads->Count(); left > 0; --left) delete Take();
}
