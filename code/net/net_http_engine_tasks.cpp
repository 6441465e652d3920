#include "net/net_http_engine_tasks.h"

#include "fw/fw_data.h"
#include "fw/fw_lock.h"

const QZInt64 QZHttpServerProcessTask::Type;
const QZInt64 QZHttpServerTaskPool::Type;

QZHttpServerProcessTask::QZHttpServerProcessTask(QZHttpServerTaskPool* pool, QZHttpServerEngine* engine)
    : m_pool(pool),
      m_data(new QZData()),
      m_engine(engine),
      m_clientId(0),
      m_offset(0),
      m_serial(0),
      m_piece(0),
      m_connect(nullptr),
      m_bytes(0)
{}

QZHttpServerProcessTask::~QZHttpServerProcessTask() { delete m_data; }

QZInt64 QZHttpServerProcessTask::GetType() { return Type; }

void QZHttpServerProcessTask::SetProcessData(long long id, const void* data, long long offset, long long size)
{
    m_clientId = id;
    m_offset = offset;
    m_serial = 0;
    m_piece = 0;
    m_connect = nullptr;
    m_bytes = 0;
    m_data->Set(data, size);
}

QZHttpServerTaskPool::QZHttpServerTaskPool(QZHttpServerEngine* engine)
    : m_lock(new QZCriticalSection()), m_tasks(new QZList<QZHttpServerProcessTask>()), m_engine(engine)
{}

QZHttpServerTaskPool::~QZHttpServerTaskPool()
{
    while (QZHttpServerProcessTask* task = m_tasks->DeQueue()) delete task;
    delete m_tasks;
    delete m_lock;
}

QZInt64 QZHttpServerTaskPool::GetType() { return Type; }

QZHttpServerProcessTask* QZHttpServerTaskPool::GetTask()
{
    QZCriticalGuard guard(m_lock);
    QZHttpServerProcessTask* task = m_tasks->DeQueue();
    if (task == nullptr) task = new QZHttpServerProcessTask(this, m_engine);
    task->SetDisposable(GetObjectID(), 0);
    task->SetStatus(QZTask::StatusNotExecuted);
    return task;
}

void QZHttpServerTaskPool::Recycle(QZHttpServerProcessTask** task)
{
    QZCriticalGuard guard(m_lock);
    (*task)->SetDisposable(GetObjectID(), 1);
    (*task)->SetStatus(QZTask::StatusNotExecuted);
    m_tasks->EnQueue(*task);
    *task = nullptr;
}

void QZHttpServerTaskPool::Collect()
{
    QZCriticalGuard guard(m_lock);
    for (QZInt64 left = m_tasks->Count(); left > 0; --left)
    {
        QZHttpServerProcessTask* task = m_tasks->DeQueue();
        // A worker that has just run the task still writes its times. Such a task is deleted the next time.
        if (task->Lock(static_cast<unsigned int>(-1)))
            delete task;
        else
            m_tasks->EnQueue(task);
    }
}
