#ifndef QZLIB_DEVICE_CALL_H
#define QZLIB_DEVICE_CALL_H

/// The trace and the lock around the operations of QZSerialDevice. Internal.

#include "fw/fw_lock.h"
#include "fw/internal/fw_trace.h"

namespace serialdevice
{

/// The class name in traces.
constexpr const QZWChar* kClass = QZ_W("QZSerialDevice");

/// A pointer as traces show it: as a number.
inline QZInt64 AddressOf(const void* p) { return static_cast<QZInt64>(reinterpret_cast<QZUInt64>(p)); }

/// Holds the device's mutex for the time of a scope.
using MutexGuard = QZLockGuard<QZMutex>;

/// An argument of an operation as its trace shows it.
template <typename V>
struct Named
{
    const QZWChar* type;
    V value;
};

template <typename V>
Named<V> Arg(const QZWChar* type, V value)
{
    return {type, value};
}

/// Runs the call. An exception gets a trace frame with the method and the arguments, and is thrown on.
template <typename Call, typename... V>
auto Traced(const QZWChar* method, Call call, Named<V>... arguments)
{
    try
    {
        return call();
    }
    catch (QZException* e)
    {
        QZTrace trace(e, kClass, method);
        (trace.Argument(arguments.type, arguments.value), ...);
        throw;
    }
}

/// Traced, with the mutex held during the call.
template <typename Call, typename... V>
auto Locked(QZMutex* mutex, const QZWChar* method, Call call, Named<V>... arguments)
{
    const MutexGuard guard(mutex);
    return Traced(method, call, arguments...);
}

}  // namespace serialdevice

#endif
