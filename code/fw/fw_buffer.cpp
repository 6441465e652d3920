#include "fw/internal/fw_buffer.h"

#include "fw/fw_exception_code.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_memory_pool.h"
#include "fw/internal/fw_memory_raw.h"
#include "sys/internal/sys_memory.h"
#include "sys/sys_bytes.h"

namespace
{
constexpr QZInt64 kHeader = 32;
constexpr QZInt64 kMarker = 65535;
constexpr QZUInt64 kGuard = 0xFFFF000000000000ull;

/// Larger sizes have no block: the block size would overflow.
constexpr QZInt64 kLargestRequest = 0x7FFFFFFFFFFFFFFF - 2 * 4096;

/// The raw block's size for n requested bytes: n + 64 rounded up to a page.
QZInt64 BlockSizeOf(QZInt64 n)
{
    QZInt64 size = n + 64;
    return size % 4096 == 0 ? size : size - size % 4096 + 4096;
}

QZInt64 GuardPosition(QZInt64 n) { return ((n + kHeader + 7) / 8) * 8; }

void WriteHeader(unsigned char* raw, QZInt64 n, QZInt64 blockSize, QZInt64 trueSize)
{
    QZStore<QZInt64>(raw, n);
    QZStore<QZInt64>(raw + 8, kMarker);
    QZStore<QZInt64>(raw + 16, blockSize);
    // The reserved word holds the real size of the raw block; after a shrink header and block differ.
    QZStore<QZInt64>(raw + 24, trueSize);
    QZStore<QZUInt64>(raw + GuardPosition(n), kGuard);
}

bool HasMarker(const unsigned char* raw) { return QZLoad<QZInt64>(raw + 8) == kMarker; }

bool IsSound(const unsigned char* raw)
{
    if (!HasMarker(raw)) return false;
    QZInt64 n = QZLoad<QZInt64>(raw);
    // A damaged size must not make the guard test read outside the block.
    if (n < 0 || n > QZLoad<QZInt64>(raw + 24) - 64) return false;
    return QZLoad<QZUInt64>(raw + GuardPosition(n)) == kGuard;
}

void* Allocate(QZInt64 n, bool clean)
{
    if (n < 0)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return nullptr;
    }
    void* raw = nullptr;
    QZInt64 trueSize = 0;
    if (n <= kLargestRequest)
    {
        trueSize = BlockSizeOf(n);
        raw = MemoryPoolIsOn() ? MemoryPoolAllocate(trueSize, &trueSize) : MemoryRawAllocate(trueSize);
    }
    if (raw == nullptr)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::OutOfMemory));
        return nullptr;
    }
    QZInt64 blockSize = BlockSizeOf(n);
    if (clean) QZMemClean(raw, blockSize);
    WriteHeader(static_cast<unsigned char*>(raw), n, blockSize, trueSize);
    return static_cast<unsigned char*>(raw) + kHeader;
}
}  // namespace

void* MemoryAllocate(QZInt64 n) { return Allocate(n, false); }

void* MemoryAllocateClean(QZInt64 n) { return Allocate(n, true); }

QZInt64 MemoryGetSize(const void* buffer)
{
    if (buffer == nullptr)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return -1;
    }
    const unsigned char* raw = static_cast<const unsigned char*>(buffer) - kHeader;
    if (IsSound(raw)) return QZLoad<QZInt64>(raw);
    QZSetLastError(static_cast<QZInt32>(QZExceptionCode::StructuralFailure));
    return -1;
}

QZInt64 MemoryGetBlockSize(const void* buffer)
{
    if (buffer == nullptr)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return -1;
    }
    const unsigned char* raw = static_cast<const unsigned char*>(buffer) - kHeader;
    if (HasMarker(raw)) return QZLoad<QZInt64>(raw + 16);
    QZSetLastError(static_cast<QZInt32>(QZExceptionCode::StructuralFailure));
    return -1;
}

void* MemoryResize(void* buffer, QZInt64 n)
{
    if (buffer == nullptr || n < 0)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return nullptr;
    }
    unsigned char* raw = static_cast<unsigned char*>(buffer) - kHeader;
    QZInt64 oldSize = QZLoad<QZInt64>(raw);
    QZInt64 oldBlock = QZLoad<QZInt64>(raw + 16);
    QZInt64 trueSize = QZLoad<QZInt64>(raw + 24);
    if (n > kLargestRequest)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::OutOfMemory));
        return nullptr;
    }
    QZInt64 newBlock = BlockSizeOf(n);
    if (newBlock > oldBlock)
    {
        void* moved = MemoryPoolIsOn() ? MemoryPoolResize(raw, oldBlock, newBlock, &trueSize)
                                       : MemoryRawResize(raw, newBlock, oldBlock, &trueSize);
        if (moved == nullptr)
        {
            QZSetLastError(static_cast<QZInt32>(QZExceptionCode::OutOfMemory));
            return nullptr;
        }
        raw = static_cast<unsigned char*>(moved);
        QZMemClean(raw + oldSize + kHeader, newBlock - oldSize - kHeader);
    }
    // After a shrink the header names the smaller size while the block keeps its size. The figures count the
    // smaller size.
    WriteHeader(raw, n, newBlock, trueSize);
    return raw + kHeader;
}

bool MemoryFree(void* buffer)
{
    if (buffer == nullptr)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return false;
    }
    unsigned char* raw = static_cast<unsigned char*>(buffer) - kHeader;
    if (!IsSound(raw))
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::StructuralFailure));
        return false;
    }
    QZInt64 blockSize = QZLoad<QZInt64>(raw + 16);
    QZInt64 trueSize = QZLoad<QZInt64>(raw + 24);
    // A freed block must not pass the test when it is freed a second time while it waits in the pool.
    QZStore<QZInt64>(raw + 8, 0);
    if (MemoryPoolIsOn())
        MemoryPoolFree(raw, blockSize, trueSize);
    else
        MemoryRawFree(raw, blockSize);
    return true;
}
