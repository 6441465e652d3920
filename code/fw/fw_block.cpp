#include "fw/fw_block.h"

#include "fw/fw_exception_code.h"
#include "fw/fw_memory.h"

namespace block
{
namespace
{

/// Above this no sum of header, offset and size can overflow; the memory manager refuses far earlier.
constexpr QZInt64 kSizeLimit = QZInt64{1} << 60;

QZInt64 RoundToStep(QZInt64 length) { return (length + kCapacityStep - 1) / kCapacityStep * kCapacityStep; }

bool InLimits(QZInt64 structSize, QZInt64 offset, QZInt64 size)
{
    return structSize >= 0 && structSize <= kSizeLimit && offset >= 0 && offset <= kSizeLimit && size >= 0 &&
           size <= kSizeLimit;
}

void SetSize(void* b, QZInt64 size) { QZStore(QZAt(b, 16), size); }

/// Makes the buffer hold a whole block of this length.
bool Reserve(void** b, QZInt64 length)
{
    if (length <= Capacity(*b)) return true;
    void* moved = MemoryResize(*b, RoundToStep(length));
    if (!moved)
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
    if (!b) return nullptr;
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
    if (copy) QZMemCopy(copy, b, length);
    return copy;
}

bool Free(void* b)
{
    if (b && !Check(b))
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
    if (!Reserve(b, Length(StructSize(*b), Offset(*b), size))) return false;
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
    // Past the end of the data the guard has to move along, and there must be room for it.
    if (end < start && !Reserve(b, Length(StructSize(*b), start, 0))) return false;
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
    if (!b || QZLoad<QZInt64>(b) != kMarker || !InLimits(StructSize(b), Offset(b), Size(b))) return false;
    // A damaged header must not lead the look at the guard outside of the buffer.
    const QZInt64 length = Length(b);
    QZInt64 capacity = Capacity(b);
    if (capacity < 0) capacity = MemoryGetBlockSize(b) - 64;
    return length <= capacity && QZLoad<QZUInt64>(QZAt(b, length - 8)) == kGuard;
}

QZInt64 Capacity(const void* b) { return MemoryGetSize(b); }

}  // namespace block
