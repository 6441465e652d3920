#include "os/os_task.h"

#include "fw/fw_lock.h"
#include "fw/fw_time.h"

const QZInt64 QZTaskInterval::Hourly;
const QZInt64 QZTaskInterval::Daily;
const QZInt64 QZTaskInterval::Weekly;
const QZInt64 QZTask::Type;
const QZInt64 QZTask::StatusHaveExecuted;
const QZInt64 QZTask::StatusNotExecuted;

QZTask::QZTask()
    : m_execTime(new QZDateTime(QZInt64{0})), m_status(StatusNotExecuted), m_interval(0), m_owner(0)
{
    m_execTime->SetDisposable(GetObjectID(), 0);
    m_lock = new QZCriticalSection;
}

QZTask::~QZTask()
{
    m_execTime->SetDisposable(QZTask::GetObjectID(), 1);
    delete m_execTime;
    delete m_lock;
}

QZInt64 QZTask::GetType() { return Type; }

void QZTask::Execute() {}

QZDateTime* QZTask::GetExecTime() { return m_execTime; }

void QZTask::SetExecTime(QZDateTime* time)
{
    m_execTime->Set(time->GetYear(), time->GetMonth(), time->GetDay(), time->GetHours(), time->GetMinutes(),
                    time->GetSeconds(), time->GetMilliSeconds());
}

void QZTask::SetExecTime(long long timestamp) { m_execTime->Set(timestamp); }

void QZTask::SetStatus(long long status) { m_status.store(status); }

long long QZTask::GetStstus() { return m_status.load(); }

long long QZTask::GetInterval() { return m_interval.load(std::memory_order_relaxed); }

void QZTask::SetInterval(long long interval) { m_interval.store(interval, std::memory_order_relaxed); }

QZByte QZTask::Lock(unsigned int owner)
{
    QZCriticalGuard guard(m_lock);
    if (m_owner != 0) return 0;
    m_owner = owner;
    return 1;
}

void QZTask::Unlock()
{
    QZCriticalGuard guard(m_lock);
    m_owner = 0;
}
