#ifndef QZLIB_FW_LOCK_H
#define QZLIB_FW_LOCK_H

#include "fw/fw_object.h"

/// A recursive lock of the platform, for waits that may be long. Destruction waits for the holder.
/// Nothing here throws; any thread may call.
class QZ_API QZMutex : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFD00;

    QZMutex();
    /// Acquires the mutex, without limit, and then releases it to the system.
    ~QZMutex() override;
    QZMutex(const QZMutex&) = delete;
    QZMutex& operator=(const QZMutex&) = delete;

    QZInt64 GetType() override;

    /// Waits without limit. A wait that fails is not reported.
    void Lock();
    /// Undoes one Lock of the calling thread; without one it does nothing.
    void Unlock();

private:
    void* m_handle;
};

/// A recursive lock of this process, the library's usual one. Nothing here throws; any thread may call.
class QZ_API QZCriticalSection : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFE00;

    QZCriticalSection();
    ~QZCriticalSection() override;
    QZCriticalSection(const QZCriticalSection&) = delete;
    QZCriticalSection& operator=(const QZCriticalSection&) = delete;

    QZInt64 GetType() override;

    /// Waits without limit.
    virtual void Lock();
    /// Undoes one Lock of the calling thread; without one it does nothing.
    virtual void Unlock();

private:
    void* m_section;
};

/// Holds a lock, anything with Lock and Unlock, from construction to the end of the scope. The lock is not
/// null.
template <typename T>
class QZLockGuard
{
public:
    explicit QZLockGuard(T* lock) : m_lock(lock) { m_lock->Lock(); }
    ~QZLockGuard() { m_lock->Unlock(); }
    QZLockGuard(const QZLockGuard&) = delete;
    QZLockGuard& operator=(const QZLockGuard&) = delete;

private:
    T* m_lock;
};

using QZCriticalGuard = QZLockGuard<QZCriticalSection>;

#endif
