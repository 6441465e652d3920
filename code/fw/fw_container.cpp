#include "fw/fw_container.h"

#include "fw/internal/fw_raise.h"

const QZInt64 QZContainer::Type;

QZInt64 QZContainer::GetType() { return Type; }

QZInt64 QZContainer::Count() { return m_count; }

void QZContainer::Lock(QZObject* object, const QZWChar* method)
{
    if (object == nullptr)
        QZRaise(QZExceptionCode::NullPointer, QZ_W("QZContainer"), method)
            .Argument(QZ_W("QZObject*"), object, 0)
            .Throw();
    // A locked object is in a container or has an owner: SetDisposable throws then.
    if (!object->SetDisposable(GetObjectID(), 0))
        QZRaise(QZExceptionCode::ObjectIsLocked, QZ_W("QZContainer"), method)
            .Argument(QZ_W("QZObject*"), static_cast<QZInt64>(object->GetObjectID()))
            .Throw();
}

void QZContainer::Append(QZObject* object)
{
    object->m_previous = m_last;
    object->m_next = nullptr;
    if (m_last != nullptr) m_last->m_next = object;
    m_last = object;
    if (m_first == nullptr) m_first = object;
    ++m_count;
}

QZBool QZContainer::EnQueue(QZObject* object)
{
    Lock(object, QZ_W("EnQueue"));
    Append(object);
    return 1;
}

QZBool QZContainer::Push(QZObject* object)
{
    Lock(object, QZ_W("Push"));
    Append(object);
    return 1;
}

QZBool QZContainer::AddLast(QZObject* object) { return Push(object); }

QZBool QZContainer::AddFirst(QZObject* object)
{
    Lock(object, QZ_W("AddFirst"));
    object->m_previous = nullptr;
    object->m_next = m_first;
    if (m_first != nullptr) m_first->m_previous = object;
    m_first = object;
    if (m_last == nullptr) m_last = object;
    ++m_count;
    return 1;
}

void QZContainer::Unlink(QZObject* object)
{
    if (m_count == 1)
    {
        m_first = nullptr;
        m_last = nullptr;
    }
    else
    {
        if (object->m_previous != nullptr)
            object->m_previous->m_next = object->m_next;
        else
            m_first = object->m_next;
        if (object->m_next != nullptr)
            object->m_next->m_previous = object->m_previous;
        else
            m_last = object->m_previous;
        object->m_previous = nullptr;
        object->m_next = nullptr;
    }
    --m_count;
}

QZObject* QZContainer::TakeOut(QZObject* object)
{
    if (object == nullptr) return nullptr;
    Unlink(object);
    object->SetDisposable(GetObjectID(), 1);
    return object;
}

QZObject* QZContainer::DeQueue() { return TakeOut(m_first); }

QZObject* QZContainer::Pop() { return TakeOut(m_last); }

QZObject* QZContainer::GetFirst() { return m_first; }

QZObject* QZContainer::GetLast() { return m_last; }

QZBool QZContainer::RemoveElement(QZObject* object)
{
    if (object == nullptr || object->IsDisposable()) return 0;
    // The key of another container does not open this lock.
    if (!object->SetDisposable(GetObjectID(), 1)) return 0;
    Unlink(object);
    return 1;
}

QZBool QZContainer::RemoveElement(QZInt64 index) { return RemoveElement(GetElement(index)); }

QZObject* QZContainer::GetElement(QZInt64 index)
{
    if (index < 0 || index >= m_count)
        QZRaise(QZExceptionCode::ArgumentOutOfRange, QZ_W("QZContainer"), QZ_W("GetElement"))
            .Argument(QZ_W("QZInt64"), index)
            .Throw();
    QZObject* object = m_first;
    for (QZInt64 i = 0; object != nullptr && i < index; ++i) object = object->m_next;
    return object;
}

QZInt64 QZContainer::GetElementIndex(QZObject* object)
{
    QZInt64 index = 0;
    for (const QZObject* before = object->m_previous; before != nullptr; before = before->m_previous) ++index;
    return index;
}
