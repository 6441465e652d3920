#ifndef QZLIB_FW_CONTAINER_H
#define QZLIB_FW_CONTAINER_H

#include <concepts>

#include "fw/fw_object.h"

/// A doubly linked list that chains objects through their own link words: adding allocates nothing.
///
/// An object in a container is locked with the container's object id, which proves membership: it cannot be
/// destroyed, recycled or added to a second container. The container does not own its elements, and its
/// destructor does not touch them: owners empty a container first. Users iterate from GetFirst through
/// QZObject::LinkNext. One thread at a time.
class QZ_API QZContainer : public QZObject
{
public:
    static const QZInt64 Type = 0x81F0000;

    QZContainer() = default;

    QZInt64 GetType() override;
    virtual QZInt64 Count();

    /// AddFirst adds at the front, the others add at the end. True.
    /// @throws QZException 1792 for null, 1280 for an object that is locked
    QZBool EnQueue(QZObject* object);
    QZBool Push(QZObject* object);
    QZBool AddLast(QZObject* object);
    QZBool AddFirst(QZObject* object);

    /// Removes and returns the first element; null when there is none.
    QZObject* DeQueue();

    /// Removes and returns the last element; null when there is none.
    QZObject* Pop();

    /// The first and the last element; null when there is none.
    QZObject* GetFirst();
    QZObject* GetLast();

    /// Removes the object. False for null and for an object that is not in this container.
    QZBool RemoveElement(QZObject* object);

    /// @throws QZException 256 for an index outside 0 to count - 1
    QZBool RemoveElement(QZInt64 index);
    template <std::integral I>
    QZBool RemoveElement(I index)
    {
        return RemoveElement(static_cast<QZInt64>(index));
    }

    /// Takes time proportional to the index.
    /// @throws QZException 256 for an index outside 0 to count - 1
    QZObject* GetElement(QZInt64 index);

    /// The number of objects before this one in the container that holds it, whichever that is.
    QZInt64 GetElementIndex(QZObject* object);

private:
    void Lock(QZObject* object, const QZWChar* method);
    void Append(QZObject* object);
    QZObject* TakeOut(QZObject* object);
    void Unlink(QZObject* object);

    QZObject* m_first = nullptr;
    QZObject* m_last = nullptr;
    QZInt64 m_count = 0;
};

/// QZContainer for objects of one class.
template <typename T>
class QZList : public QZContainer
{
public:
    static constexpr QZInt64 Type = 0x81F7000;

    QZInt64 GetType() override { return Type; }
    virtual QZBool Push(T* object) { return QZContainer::Push(object); }
    virtual T* Pop() { return static_cast<T*>(QZContainer::Pop()); }
    virtual QZBool AddLast(T* object) { return QZContainer::AddLast(object); }
    virtual QZBool AddFirst(T* object) { return QZContainer::AddFirst(object); }
    virtual T* GetFirst() { return static_cast<T*>(QZContainer::GetFirst()); }
    virtual T* GetLast() { return static_cast<T*>(QZContainer::GetLast()); }
    virtual T* GetElement(QZInt64 index) { return static_cast<T*>(QZContainer::GetElement(index)); }
    virtual QZBool RemoveElement(T* object)
    {
        return QZContainer::RemoveElement(static_cast<QZObject*>(object));
    }
    virtual QZBool RemoveElement(QZInt64 index) { return QZContainer::RemoveElement(index); }
    virtual QZBool EnQueue(T* object) { return QZContainer::EnQueue(object); }
    virtual T* DeQueue() { return static_cast<T*>(QZContainer::DeQueue()); }

    template <std::integral I>
    QZBool RemoveElement(I index)
    {
        return RemoveElement(static_cast<QZInt64>(index));
    }
};

#endif
