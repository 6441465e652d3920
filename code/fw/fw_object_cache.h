#ifndef QZLIB_FW_OBJECT_CACHE_H
#define QZLIB_FW_OBJECT_CACHE_H

#include <atomic>

#include "fw/fw_object.h"

class QZContainer;
class QZCriticalSection;
/// A typed cache of idle objects: Out returns the most recently returned object, or a new one; In takes it
/// back.
///
/// The idle list is intrusive, so the reuse path allocates nothing. One critical section per cache; objects
/// may be returned on another thread than the one that took them.
class QZ_API QZObjectCache : public QZObject
{
public:
    static const QZInt64 Type = 0x85F0000;

    /// @param createdLimit  how many objects the cache may make; negative: no limit
    /// @param idleLimit     how many idle objects it keeps; negative: no limit
    QZObjectCache(QZInt64 createdLimit, QZInt64 idleLimit);

    /// Deletes the idle list and the section. A derived class collects in its own destructor, where its
    /// DeleteObject can still be called.
    ~QZObjectCache() override;

    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;

    /// An object, reused or new. When the created limit is reached it waits for In, at most the time-out.
    /// @return null only on time-out
    QZObject* Out();

    /// Takes an object back and clears the variable. A null in the variable is a QZLibAssert(false).
    /// @throws QZException 1280 for a locked object; the variable keeps its value
    void In(QZObject** object);

    /// Full: deletes every idle object. Partial: deletes as many as stayed idle since the last collection,
    /// objects that have grown beyond a new one first.
    void Collect(QZBool partial);

    /// Idle objects, read without the section.
    QZInt64 Count();

    /// Milliseconds that Out waits when the created limit is reached; negative: for ever.
    void SetTimeout(QZInt64 timeout);
    QZInt64 GetTimeout();

    /// An addition: bounds what the cache keeps idle, for hosts whose load has peaks; by default the idle
    /// limit of the constructor holds, and no limit of bytes. Idle objects above a limit are deleted at once,
    /// the oldest first; later In deletes an object that would exceed one. An object counts with its
    /// GetMemorySize.
    /// @param objects  how many idle objects it keeps; negative: no limit
    /// @param bytes    how many bytes they may have together; negative: no limit
    void SetIdleLimit(QZInt64 objects, QZInt64 bytes);

    /// Objects made by this cache and not counted as destroyed.
    QZInt64 Created() const { return m_created.load(std::memory_order_relaxed); }

protected:
    virtual QZObject* NewObject() = 0;
    virtual void DeleteObject(QZObject* object);

private:
    QZObjectCache(const QZObjectCache& other) = delete;
    QZObjectCache& operator=(const QZObjectCache& other) = delete;

    /// The section and the limit of bytes. They lie outside the object, whose size hosts were compiled with.
    struct Guarded;

    bool IsExhausted();
    QZObject* Renew();
    void NoteCount();
    bool IsFull(QZInt64 size);
    QZInt64 SizeOf(QZObject* object);

    QZContainer* m_idle;
    Guarded* m_guarded;
    QZInt64 m_lowMark = 0;
    std::atomic<QZInt64> m_created = 0;
    QZInt64 m_createdLimit;
    QZInt64 m_idleLimit;
    QZInt64 m_unitSize = 0;
    std::atomic<QZInt64> m_timeout = -1;
    /// The idle list's count, for readers without the section.
    std::atomic<QZInt64> m_count = 0;
};

/// The cache of a class with a public constructor.
template <typename T>
class QZCache : public QZObjectCache
{
public:
    static const QZInt64 Type = 0x85F7001;
    QZCache(QZInt64 createdLimit, QZInt64 idleLimit) : QZObjectCache(createdLimit, idleLimit) {}
    ~QZCache() override { Collect(0); }
    QZInt64 GetType() override { return Type; }

protected:
    QZObject* NewObject() override { return new T(); }
    void DeleteObject(QZObject* object) override { delete object; }
};

/// A named cache of a class whose NewObject and DeleteObject are protected. It derives from that class only
/// to reach these two functions; the object of the base class is complete and unused.
#define QZLIB_NAMED_CACHE(Cache, Class)                                                            \
    class QZ_API Cache : public QZObjectCache, private Class                                       \
    {                                                                                              \
    public:                                                                                        \
        Cache(QZInt64 createdLimit, QZInt64 idleLimit) : QZObjectCache(createdLimit, idleLimit) {} \
        ~Cache() override { QZObjectCache::Collect(0); }                                           \
        QZInt64 GetType() override { return QZObjectCache::GetType(); }                            \
        QZInt64 GetMemorySize() override { return QZObjectCache::GetMemorySize(); }                \
                                                                                                   \
    protected:                                                                                     \
        QZObject* NewObject() override { return Class::NewObject(); }                              \
        void DeleteObject(QZObject* object) override { Class::DeleteObject(object); }              \
    }

#endif
