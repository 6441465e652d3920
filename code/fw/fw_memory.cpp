#include "fw/fw_memory.h"

#include <cstring>

#include "fw/fw_library.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_collect.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_memory_pool.h"
#include "fw/internal/fw_memory_raw.h"
#include "fw/internal/fw_raise.h"
#include "sys/internal/sys_memory.h"
#include "sys/sys_bytes.h"

QZBool QZMemory::MemoryTest = 0;
const QZBool* const kMemoryTestSwitch = &QZMemory::MemoryTest;

void QZMemory::Copy(void* destination, const void* source, QZInt64 size)
{
    QZMemCopy(destination, source, size);
}

void QZMemory::Clean(void* destination, QZInt64 size) { QZMemClean(destination, size); }

QZBool QZMemory::Equals(const void* a, const void* b, QZInt64 size)
{
    if (a == nullptr || b == nullptr)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return 0;
    }
    if (size < 1) return 1;
    // First and last byte first: texts that differ mostly differ there, and the call of memcmp is saved.
    const unsigned char* left = static_cast<const unsigned char*>(a);
    const unsigned char* right = static_cast<const unsigned char*>(b);
    if (left[0] != right[0] || left[size - 1] != right[size - 1]) return 0;
    return std::memcmp(a, b, static_cast<std::size_t>(size)) == 0;
}

void* QZMemory::CreateBuffer(QZInt64 size) { return MemoryAllocateClean(size); }

void QZMemory::RecycleBuffer(void* buffer)
{
    if (buffer == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    MemoryFree(buffer);
}

void QZMemory::Protect(QZInt64 option, void* p, QZInt64 size)
{
    if (p != nullptr && size == 0) return;
    if (p == nullptr || size < 0 || option < 1 || option > 3)
    {
        QZRaise(QZExceptionCode::ArgumentOutOfRange, QZ_W("QZMemory"), QZ_W("Protect"))
            .Argument(QZ_W("QZInt64"), option)
            .Argument(QZ_W("QZPVoid"), static_cast<QZInt64>(reinterpret_cast<std::intptr_t>(p)))
            .Argument(QZ_W("QZInt64"), size)
            .Throw();
    }
    constexpr os::Protection kProtection[] = {os::Protection::ReadWrite, os::Protection::ReadOnly,
                                              os::Protection::NoAccess};
    os::MemoryProtect(p, size, kProtection[option - 1]);
}

QZInt64 QZMemory::BigendianToLittleendian(void* destination, const void* source, QZInt64 size)
{
    unsigned char* to = static_cast<unsigned char*>(destination);
    const unsigned char* from = static_cast<const unsigned char*>(source);
    for (QZInt64 i = 0; i < size; ++i) to[i] = from[size - 1 - i];
    return size;
}

void QZMemory::AllocInfo(QZInt64* count, QZInt64* bytes) { MemoryRawInfo(count, bytes); }

void QZMemory::OccupiedInfo(QZInt64* count, QZInt64* bytes) { MemoryOccupiedInfo(count, bytes); }

// ---- QZMemManager

QZInt64 QZMemManager::GetMemPoolCacheLayer1Size() { return MemoryPoolBlockSize(1); }
QZInt64 QZMemManager::GetMemPoolCacheLayer2Size() { return MemoryPoolBlockSize(2); }
QZInt64 QZMemManager::GetMemPoolCacheLayer3Size() { return MemoryPoolBlockSize(3); }

QZInt64 QZMemManager::GetMemPoolCacheLayer1ArrSizeMax() { return MemoryPoolMaximum(1); }
QZInt64 QZMemManager::GetMemPoolCacheLayer2ArrSizeMax() { return MemoryPoolMaximum(2); }
QZInt64 QZMemManager::GetMemPoolCacheLayer3ArrSizeMax() { return MemoryPoolMaximum(3); }

void QZMemManager::SetMemPoolCacheLayer1ArrSizeMax(QZInt64 maximum) { MemoryPoolSetMaximum(1, maximum); }
void QZMemManager::SetMemPoolCacheLayer2ArrSizeMax(QZInt64 maximum) { MemoryPoolSetMaximum(2, maximum); }
void QZMemManager::SetMemPoolCacheLayer3ArrSizeMax(QZInt64 maximum) { MemoryPoolSetMaximum(3, maximum); }

void QZMemManager::Collect() { Collect(0); }

void QZMemManager::Collect(QZBool partial)
{
    // This order differs from that of QZLibCollect; both are kept.
    static constexpr QZCollector kOrder[] = {QZCollector::Data, QZCollector::Exception, QZCollector::String,
                                             QZCollector::Http, QZCollector::Json};
    for (QZCollector collector : kOrder) QZCollect(collector, partial);
}
