#ifndef QZLIB_FW_CONTAINER_H
#define QZLIB_FW_CONTAINER_H

#include <concepts>

#include "fw/fw_object.h"

/// A doubly linked list that chains objects through their own link words: adding allocates nothing.
///
/// An object in a container is locked with the container's object id, which is the proof of membership: it
/// cannot be destroyed, recycled or put into a second container. The container does not own its elements, and
/// its destructor does not touch them: owners empty a container first. Users walk it from GetFirst through
/// QZObject::LinkNext. One thread at a time.
class QZ_API QZContainer : public QZObject
{
public:
    static const QZInt64 Type = 0x81F0000;

    QZContainer() = default;

    QZInt64 GetType() override;
    virtual QZInt64 Count();

    /// Adds at the end; AddFirst in front. True.
    /// @throws QZException 1792 for null, 1280 for an object that is locked
    QZBool EnQueue(QZObject* object);
    QZBool Push(QZObject* object);
    QZBool AddLast(QZObject* object);
    QZBool AddFirst(QZObject* object);

    /// Takes the first element out; null when there is none.
    QZObject* DeQueue();

    /// Takes the last element out; null when there is none.
    QZObject* Pop();

    /// The ends; null when there is none.
    QZObject* GetFirst();
    QZObject* GetLast();

    /// Takes the object out. False for null and for an object that does not stand in this container.
    QZBool RemoveElement(QZObject* object);

    /// @throws QZException 256 for an index outside 0 to count - 1
    QZBool RemoveElement(QZInt64 index);
    template <std::integral I>
    QZBool RemoveElement(I index)
    {
        return RemoveElement(static_cast<QZInt64>(index));
    }

    /// The cost is the index.
    /// @throws QZException 256 for an index outside 0 to count - 1
    QZObject* GetElement(QZInt64 index);

    /// How many objects stand before this one in whatever container holds it.
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

/// The typed face of QZContainer: the same list, with T in and out.
template <typename T>
class QZList : public QZContainer
{
public:
    static constexpr QZInt64 Type = 0x81F7000;

    QZInt64 GetType() override { return 0x81F7000; }
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
