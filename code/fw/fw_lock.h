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

/// Holds a critical section from construction to the end of the scope.
class QZCriticalGuard
{
public:
    explicit QZCriticalGuard(QZCriticalSection* section) : m_section(section) { m_section->Lock(); }
    ~QZCriticalGuard() { m_section->Unlock(); }
    QZCriticalGuard(const QZCriticalGuard&) = delete;
    QZCriticalGuard& operator=(const QZCriticalGuard&) = delete;

private:
    QZCriticalSection* m_section;
};

#endif
