#ifndef QZLIB_FW_OBJECT_H
#define QZLIB_FW_OBJECT_H

#include "sys/sys_types.h"

/// The root of the library's object classes.
///
/// Gives each object a class identity (GetType and the static Type), a process-wide object id (256, 512,
/// ...), a lock against destruction and double ownership (SetDisposable), and the two link words with which
/// QZContainer chains objects without allocating.
///
/// There is no reference count: ownership is the lock, and its key is the owner's object id. Copying an
/// object copies every field, id and lock included; use the Set operations of a class or its factory to copy
/// the content. Not synchronised: the caller locks where an object needs it.
class QZ_API QZObject
{
public:
    static const QZInt64 Type = 0x8100000;

    QZObject();
    QZObject(const QZObject& other) = default;
    QZObject& operator=(const QZObject& other) = default;

    /// Destroying a locked object sets QZLastError to 1280 and calls the assert hook with false; the object
    /// is destroyed nevertheless.
    virtual ~QZObject();

    /// True when the object may be destroyed, recycled or added to a container.
    virtual QZBool IsDisposable();

    /// Locks (`disposable` false) or unlocks (`disposable` true) the object.
    /// @param key  the owner's key: unlocking needs the key of the lock
    /// @return false when unlocking with another key; the object then stays locked
    /// @throws QZException 1280 when a locked object is locked again, even with its own key
    virtual QZBool SetDisposable(QZUInt64 key, QZBool disposable);

    /// The process-wide id, a multiple of 256. An object from a cache keeps the id of its first construction.
    virtual QZUInt64 GetObjectID();

    /// Bytes that the object owns; object caches use this figure. QZObject: 8.
    virtual QZInt64 GetMemorySize();

    /// The class identity. The numbers are only compared for equality.
    virtual QZInt64 GetType();

    /// The neighbours in the container that holds the object; null at its ends and outside a container.
    QZObject* LinkPrevious() const { return m_previous; }
    QZObject* LinkNext() const { return m_next; }

private:
    friend class QZContainer;
    friend struct QZObjectLinks;

    QZObject* m_previous = nullptr;
    QZObject* m_next = nullptr;
    QZUInt64 m_lockKey = 0;
    /// Not used. It keeps the layout of the object, which hosts were compiled with.
    QZByte m_flag = 0;
    QZBool m_disposable = 1;
    QZUInt64 m_objectId;
};

#endif
