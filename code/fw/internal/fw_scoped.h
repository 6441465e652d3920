#ifndef QZLIB_FW_SCOPED_H
#define QZLIB_FW_SCOPED_H

#include "fw/internal/fw_buffer.h"
#include "sys/sys_types.h"

/// Owners for the time of a scope: the destructor gives back what the owner holds. A lock is held for a scope
/// by QZCriticalGuard of fw_lock.h.

class QZCollection;
class QZData;
class QZDataCollection;
class QZDataFactory;
class QZString;
class QZStringCollection;
class QZStringFactory;

/// Owns an object that `Recycler::Recycle(T**)` takes back. The recycler is a factory, or any class with such
/// a static function; a source that uses the owner includes the header of the recycler.
///
/// A null pointer is allowed and is not recycled.
template <typename T, typename Recycler>
class QZScoped
{
public:
    /// Takes ownership of the object.
    explicit QZScoped(T* object = nullptr) : m_object(object) {}
    ~QZScoped()
    {
        if (m_object != nullptr) Recycler::Recycle(&m_object);
    }
    QZScoped(const QZScoped&) = delete;
    QZScoped& operator=(const QZScoped&) = delete;

    /// The object; the owner keeps it.
    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }

    /// Returns the object and hands its ownership to the caller; the owner is then empty.
    T* Release()
    {
        T* object = m_object;
        m_object = nullptr;
        return object;
    }

    /// Recycles the object that the owner holds, if any, and takes ownership of another one.
    void Reset(T* object = nullptr)
    {
        if (m_object != nullptr) Recycler::Recycle(&m_object);
        m_object = object;
    }

    /// The empty owner's variable, for a function that stores a new object through a pointer.
    T** Out() { return &m_object; }

private:
    T* m_object;
};

/// Deletes objects that were made with new.
struct QZDeleter
{
    template <typename T>
    static void Recycle(T** object)
    {
        delete *object;
        *object = nullptr;
    }
};

/// Objects of the factories. The users include fw_string_factory.h or fw_data_factory.h.
using QZScopedString = QZScoped<QZString, QZStringFactory>;
using QZScopedStringCollection = QZScoped<QZStringCollection, QZStringFactory>;
using QZScopedData = QZScoped<QZData, QZDataFactory>;
using QZScopedCollection = QZScoped<QZCollection, QZDataFactory>;

/// Owns a checked buffer of fw_buffer.h. A null pointer is allowed.
class QZScopedBuffer
{
public:
    /// Takes ownership of the buffer.
    explicit QZScopedBuffer(void* buffer = nullptr) : m_buffer(buffer) {}
    ~QZScopedBuffer()
    {
        if (m_buffer != nullptr) MemoryFree(m_buffer);
    }
    QZScopedBuffer(const QZScopedBuffer&) = delete;
    QZScopedBuffer& operator=(const QZScopedBuffer&) = delete;

    /// The buffer; the owner keeps it.
    void* Get() const { return m_buffer; }
    unsigned char* Bytes() const { return static_cast<unsigned char*>(m_buffer); }

    /// Returns the buffer and hands its ownership to the caller; the owner is then empty.
    void* Release()
    {
        void* buffer = m_buffer;
        m_buffer = nullptr;
        return buffer;
    }

    /// Frees the buffer that the owner holds, if any, and takes ownership of another one.
    void Reset(void* buffer = nullptr)
    {
        if (m_buffer != nullptr) MemoryFree(m_buffer);
        m_buffer = buffer;
    }

private:
    void* m_buffer;
};

#endif
