#include "fw/fw_block.h"

#include "fw/fw_exception_code.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_hooks.h"

namespace block
{
namespace
{

/// Above this size no sum of header, offset and size can overflow; the memory manager refuses much smaller
/// ones.
constexpr QZInt64 kSizeLimit = QZInt64{1} << 60;

/// The bytes of a buffer that the memory manager uses for its own header and guard.
constexpr QZInt64 kBufferFrame = 64;

QZInt64 RoundToStep(QZInt64 length) { return (length + kCapacityStep - 1) / kCapacityStep * kCapacityStep; }

bool InLimits(QZInt64 structSize, QZInt64 offset, QZInt64 size)
{
    return structSize >= 0 && structSize <= kSizeLimit && offset >= 0 && offset <= kSizeLimit && size >= 0 &&
           size <= kSizeLimit;
}

void SetSize(void* b, QZInt64 size) { QZStore(QZAt(b, 16), size); }

/// Makes the buffer hold at least this many bytes.
bool Request(void** b, QZInt64 bytes)
{
    void* moved = MemoryResize(*b, bytes);
    if (moved == nullptr)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::OutOfMemory));
        return false;
    }
    *b = moved;
    return true;
}

}  // namespace

void* Make(QZInt64 type, QZInt64 offset, QZInt64 size, QZInt64 structSize)
{
    if (size < 0) return nullptr;
    if (!InLimits(structSize, offset, size))
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::OutOfMemory));
        return nullptr;
    }
    void* b = MemoryAllocateClean(RoundToStep(Length(structSize, offset, size)));
    if (b == nullptr) return nullptr;
    QZStore(QZAt(b, 0), kMarker);
    QZStore(QZAt(b, 8), type);
    QZStore(QZAt(b, 16), size);
    QZStore(QZAt(b, 24), offset);
    QZStore(QZAt(b, 32), structSize);
    WriteGuard(b);
    return b;
}

void* Copy(const void* b)
{
    if (QZLoad<QZInt64>(b) != kMarker || !InLimits(StructSize(b), Offset(b), Size(b)))
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::StructuralFailure));
        return nullptr;
    }
    const QZInt64 length = Length(b);
    void* copy = MemoryAllocateClean(RoundToStep(length));
    if (copy != nullptr) QZMemCopy(copy, b, length);
    return copy;
}

bool Free(void* b)
{
    if (b != nullptr && !Check(b))
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::StructuralFailure));
        return false;
    }
    return MemoryFree(b);
}

bool Resize(void** b, QZInt64 size)
{
    if (size == Size(*b)) return true;
    if (size > kSizeLimit)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::OutOfMemory));
        return false;
    }
    const QZInt64 length = Length(StructSize(*b), Offset(*b), size);
    if (length > Capacity(*b) && !Request(b, RoundToStep(length))) return false;
    SetSize(*b, size);
    WriteGuard(*b);
    return true;
}

bool SetOffset(void** b, QZInt64 offset)
{
    if (offset < 0) return true;
    const QZInt64 end = Size(*b) + Offset(*b);
    const QZInt64 capacity = Capacity(*b);
    const QZInt64 start = offset < capacity ? offset : capacity;
    // Past the end of the data the guard has to move too, and the block must have room for it. The request is
    // not rounded up, so that the capacity, which is the request in whole steps, does not change.
    const QZInt64 length = Length(StructSize(*b), start, 0);
    if (end < start && length > MemoryGetSize(*b) && !Request(b, length)) return false;
    SetSize(*b, end > start ? end - start : 0);
    QZStore(QZAt(*b, 24), start);
    if (end < start) WriteGuard(*b);
    return true;
}

void Reset(void* b)
{
    QZStore(QZAt(b, 24), kDefaultOffset);
    SetSize(b, 0);
    WriteGuard(b);
}

void WriteGuard(void* b) { QZStore(QZAt(b, Length(b) - 8), kGuard); }

bool Check(const void* b)
{
    if (b == nullptr || QZLoad<QZInt64>(b) != kMarker || !InLimits(StructSize(b), Offset(b), Size(b)))
        return false;
    // A damaged header must not make the test read a guard outside the buffer.
    const QZInt64 length = Length(b);
    return length <= MemoryGetBlockSize(b) - kBufferFrame && QZLoad<QZUInt64>(QZAt(b, length - 8)) == kGuard;
}

QZInt64 Capacity(const void* b)
{
    const QZInt64 requested = MemoryGetSize(b);
    return requested < 0 ? requested : requested / kCapacityStep * kCapacityStep;
}

bool Holds(const void* b, const void* p)
{
    const auto begin = reinterpret_cast<std::uintptr_t>(b);
    const auto address = reinterpret_cast<std::uintptr_t>(p);
    return address >= begin &&
           address < begin + static_cast<std::uintptr_t>(MemoryGetBlockSize(b) - kBufferFrame);
}

}  // namespace block
