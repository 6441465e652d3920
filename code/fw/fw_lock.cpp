#include "fw/fw_lock.h"

#include "fw/internal/fw_memory_raw.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_thread.h"

const QZInt64 QZMutex::Type;
const QZInt64 QZCriticalSection::Type;

// ---- QZMutex

QZMutex::QZMutex() : m_handle(os::MutexCreate()) {}

QZMutex::~QZMutex()
{
    Lock();
    os::MutexClose(m_handle);
}

QZInt64 QZMutex::GetType() { return Type; }

void QZMutex::Lock()
{
    // Lock returns normally even if the wait failed: callers rely on it.
    if (!os::MutexLock(m_handle)) static_cast<void>(os::LastError());
}

void QZMutex::Unlock() { os::MutexUnlock(m_handle); }

// ---- QZCriticalSection

QZCriticalSection::QZCriticalSection() : m_section(MemoryRawAllocate(os::CriticalSize()))
{
    if (m_section != nullptr) os::CriticalInit(m_section);
}

QZCriticalSection::~QZCriticalSection()
{
    if (m_section == nullptr) return;
    os::CriticalDelete(m_section);
    MemoryRawFree(m_section, os::CriticalSize());
}

QZInt64 QZCriticalSection::GetType() { return Type; }

void QZCriticalSection::Lock()
{
    if (m_section != nullptr) os::CriticalEnter(m_section);
}

void QZCriticalSection::Unlock()
{
    if (m_section != nullptr) os::CriticalLeave(m_section);
}
