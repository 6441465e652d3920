#include "fw/fw_object_cache.h"

#include "fw/fw_container.h"
#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_calendar.h"
#include "fw/internal/fw_raise.h"
#include "sys/internal/sys_thread.h"

const QZInt64 QZObjectCache::Type;

struct QZObjectCache::Guarded
{
    QZCriticalSection section;
    QZInt64 bytesLimit = -1;
    /// The bytes of all idle objects; counted while there is a limit.
    QZInt64 idleBytes = 0;
};

QZObjectCache::QZObjectCache(QZInt64 createdLimit, QZInt64 idleLimit)
    : m_idle(new QZContainer()),
      m_guarded(new Guarded()),
      m_createdLimit(createdLimit),
      m_idleLimit(idleLimit)
{}

QZObjectCache::~QZObjectCache()
{
    QZObjectCache::Collect(0);
    delete m_idle;
    delete m_guarded;
}

QZInt64 QZObjectCache::GetType() { return Type; }

void QZObjectCache::DeleteObject(QZObject* object) { delete object; }

QZInt64 QZObjectCache::GetMemorySize()
{
    QZCriticalGuard guard(&m_guarded->section);
    QZInt64 sum = 8;
    for (QZObject* object = m_idle->GetFirst(); object != nullptr; object = object->LinkNext())
        sum += object->GetMemorySize();
    return sum;
}

bool QZObjectCache::IsExhausted()
{
    return m_createdLimit >= 0 && m_created >= m_createdLimit && m_idle->Count() == 0;
}

/// The most recently returned object, or a new one. Called with the section locked.
QZObject* QZObjectCache::Renew()
{
    const QZInt64 idle = m_idle->Count();
    if (idle > 0)
    {
        if (idle - 1 < m_lowMark) m_lowMark = idle - 1;
        QZObject* object = m_idle->Pop();
        m_guarded->idleBytes -= SizeOf(object);
        NoteCount();
        return object;
    }
    QZObject* object = NewObject();
    if (m_unitSize == 0) m_unitSize = object->GetMemorySize();
    ++m_created;
    return object;
}

void QZObjectCache::NoteCount() { m_count.store(m_idle->Count(), std::memory_order_relaxed); }

QZObject* QZObjectCache::Out()
{
    QZInt64 start = -1;
    for (;;)
    {
        {
            QZCriticalGuard guard(&m_guarded->section);
            if (!IsExhausted()) return Renew();
        }
        const QZInt64 timeout = m_timeout.load(std::memory_order_relaxed);
        if (timeout >= 0)
        {
            const QZInt64 now = calendar::LocalNow();
            if (start < 0) start = now;
            // A sum that overflows means that the time-out never ends.
            QZInt64 end = 0;
            if (!__builtin_add_overflow(start, timeout, &end) && end < now) return nullptr;
        }
        os::SleepPrecise(5);
    }
}

QZInt64 QZObjectCache::SizeOf(QZObject* object)
{
    return m_guarded->bytesLimit >= 0 ? object->GetMemorySize() : 0;
}

/// True when the cache cannot keep one more object of the size.
bool QZObjectCache::IsFull(QZInt64 size)
{
    return (m_idleLimit >= 0 && m_idle->Count() >= m_idleLimit) ||
           (m_guarded->bytesLimit >= 0 && size > m_guarded->bytesLimit - m_guarded->idleBytes);
}

void QZObjectCache::SetIdleLimit(QZInt64 objects, QZInt64 bytes)
{
    QZCriticalGuard guard(&m_guarded->section);
    m_idleLimit = objects;
    m_guarded->bytesLimit = bytes;
    m_guarded->idleBytes = 0;
    for (QZObject* object = m_idle->GetFirst(); object != nullptr; object = object->LinkNext())
        m_guarded->idleBytes += SizeOf(object);
    while (m_idle->Count() > 0 &&
           ((m_idleLimit >= 0 && m_idle->Count() > m_idleLimit) ||
            (m_guarded->bytesLimit >= 0 && m_guarded->idleBytes > m_guarded->bytesLimit)))
    {
        QZObject* object = m_idle->DeQueue();
        m_guarded->idleBytes -= SizeOf(object);
        DeleteObject(object);
        --m_created;
    }
    if (m_idle->Count() < m_lowMark) m_lowMark = m_idle->Count();
    NoteCount();
}

void QZObjectCache::In(QZObject** object)
{
    if (*object == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (!(*object)->IsDisposable())
    {
        QZRaise(QZExceptionCode::ObjectIsLocked, QZ_W("QZObjectCache"), QZ_W("In"))
            .Argument(QZ_W("QZObject**"), static_cast<QZInt64>((*object)->GetObjectID()))
            .Throw();
    }
    bool discard = false;
    {
        QZCriticalGuard guard(&m_guarded->section);
        const QZInt64 size = SizeOf(*object);
        discard = IsFull(size);
        if (!discard)
        {
            m_idle->Push(*object);
            m_guarded->idleBytes += size;
        }
        NoteCount();
    }
    // A discarded object stays in the created count: a cache with both limits has no objects left after
    // enough of them.
    if (discard) DeleteObject(*object);
    *object = nullptr;
}

void QZObjectCache::Collect(QZBool partial)
{
    QZCriticalGuard guard(&m_guarded->section);
    QZInt64 idle = m_idle->Count();
    QZInt64 remaining = partial ? m_lowMark : idle;
    if (partial)
    {
        // Objects that have grown beyond a new one go first, from the oldest end; they stay in the created
        // count.
        for (QZInt64 turn = 0; turn < idle && remaining > 0; ++turn)
        {
            QZObject* object = m_idle->DeQueue();
            if (object->GetMemorySize() <= m_unitSize)
            {
                m_idle->EnQueue(object);
                continue;
            }
            m_guarded->idleBytes -= SizeOf(object);
            DeleteObject(object);
            --remaining;
        }
    }
    for (; remaining > 0; --remaining)
    {
        QZObject* object = m_idle->Pop();
        m_guarded->idleBytes -= SizeOf(object);
        DeleteObject(object);
        --m_created;
    }
    m_lowMark = m_idle->Count();
    NoteCount();
}

QZInt64 QZObjectCache::Count() { return m_count.load(std::memory_order_relaxed); }

void QZObjectCache::SetTimeout(QZInt64 timeout) { m_timeout.store(timeout, std::memory_order_relaxed); }

QZInt64 QZObjectCache::GetTimeout() { return m_timeout.load(std::memory_order_relaxed); }
