#ifndef QZLIB_DB_DB_FLAG_H
#define QZLIB_DB_DB_FLAG_H

#include <atomic>

#include "sys/sys_types.h"

/// A word of the engine's state that is read beside the database lock. Relaxed: it orders nothing else.
/// Internal.
class QZDbFlag
{
public:
    explicit QZDbFlag(QZInt64 value) : m_value(value) {}

    QZInt64 Get() const { return m_value.load(std::memory_order_relaxed); }
    void Set(QZInt64 value) { m_value.store(value, std::memory_order_relaxed); }

private:
    std::atomic<QZInt64> m_value;
};

#endif
