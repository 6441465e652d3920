#ifndef QZLIB_DEV_SERIAL_DEVICE_INTERNAL_H
#define QZLIB_DEV_SERIAL_DEVICE_INTERNAL_H

/// What the sources of QZSerialDevice share. Internal.

#include <atomic>

#include "device/dev_serial_device.h"
#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_trace.h"
#include "os/os_thread.h"

namespace serialdevice
{

constexpr const QZWChar* Class = QZ_W("QZSerialDevice");
constexpr QZInt64 BufferSize = 16;
constexpr QZInt64 KeySize = 4;
constexpr QZInt64 ResultRoom = sizeof(QZSerialDeviceBuffer);
constexpr QZByte VerifyFailed = 210;

/// The command bytes.
enum Command : QZByte
{
    LoadModel = 0x01,
    LoadSN = 0x02,
    LoadVersion = 0x03,
    LoadInit = 0x10,
    Init = 0x11,
    Synchronise = 0x12,
    Reset = 0x13,
    TakeAddress = 0x21,
    CommitBlock = 0x22,
    OpenForReading = 0x23,
    OpenForWriting = 0x24,
    StartReadOut = 0x25,
    NextByte = 0x26,
    EndBlock = 0x27,
    BlockChecksum = 0x28,
    LoadBlockSize = 0x29,
    Nibble = 0x30,
    ReturnByte = 0x40,
    CleanParameters = 0x51,
    CleanReturn = 0x52,
    StoreSN = 0x54,
    Execute = 0x56,
    PutIncremental = 0x57,
    PutMagnification = 0x58,
    TakeIncremental = 0x59,
    TakeMagnification = 0x5A,
    Erase = 0x5B,
    AskLastError = 0x5C,
    ForgetLastError = 0x5D,
    ParameterChecksum = 0x5E,
    ReturnChecksum = 0x5F,
    PutKey = 0x61,
    PutValue = 0x62,
    TakeKey = 0x63,
    TakeValue = 0x64
};

/// CRC-8, polynomial 0x31, from 0xFF on, most significant bit first. The length is counted in a byte, so that
/// 256 bytes are none and 300 are 44: devices count the same way.
QZByte Crc(const QZByte* bytes, QZUInt16 length);

inline QZByte LowNibble(QZByte byte) { return static_cast<QZByte>(Nibble | (byte & 15)); }
inline QZByte HighNibble(QZByte byte) { return static_cast<QZByte>(Nibble | byte >> 4); }

/// A pointer as traces show it.
inline QZInt64 AddressOf(const void* p) { return static_cast<QZInt64>(reinterpret_cast<QZUInt64>(p)); }

/// Holds the device's mutex for the time of a scope.
class MutexGuard
{
public:
    explicit MutexGuard(QZMutex* mutex) : m_mutex(mutex) { m_mutex->Lock(); }
    ~MutexGuard() { m_mutex->Unlock(); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;

private:
    QZMutex* m_mutex;
};

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

/// Runs the call; an exception gets a frame of the method and goes on.
template <typename Call, typename... V>
auto Traced(const QZWChar* method, Call call, Named<V>... arguments)
{
    try
    {
        return call();
    }
    catch (QZException* e)
    {
        QZTrace trace(e, Class, method);
        (trace.Argument(arguments.type, arguments.value), ...);
        throw;
    }
}

/// The same with the mutex held for the whole of the call.
template <typename Call, typename... V>
auto Locked(QZMutex* mutex, const QZWChar* method, Call call, Named<V>... arguments)
{
    const MutexGuard guard(mutex);
    return Traced(method, call, arguments...);
}

}  // namespace serialdevice

/// What copies of a device share.
struct QZSerialDevice::Shared
{
    explicit Shared(QZUInt64 id);
    ~Shared();
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    QZUInt64 owner;
    QZString* model;
    QZString* sn;
    QZString* version;
    QZMutex* mutex;
    QZList<QZSerialFunData>* queue;
    QZList<QZSerialFunData>* unused;
    QZCriticalSection* lock;
};

/// The flags of the queue thread. They are read in loops without a lock.
struct QZSerialDevice::Worker
{
    std::atomic<QZByte> stop{0};
    std::atomic<QZByte> alive{1};
};

#endif
