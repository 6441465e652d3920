#include "fw/fw_data.h"

#include <limits>
#include <type_traits>

#include "fw/fw_library.h"
#include "fw/fw_memory.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_data_find.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"

const QZInt64 QZData::Type;

namespace
{

const QZWChar* const kClass = QZ_W("QZData");

[[noreturn]] void ThrowNoStorage(const QZWChar* method, QZInt64 size)
{
    QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), kClass, method)
        .Argument(QZ_W("QZInt64"), size)
        .Throw();
}

/// Throws for a negative size and for a null pointer with a size.
void CheckBytes(const void* p, QZInt64 size, const QZWChar* method)
{
    if (size < 0 || (p == nullptr && size > 0))
        QZRaise(QZExceptionCode::ArgumentOutOfRange, kClass, method)
            .Argument(QZ_W("QZPVoid"), p, 0)
            .Argument(QZ_W("QZInt64"), size)
            .Throw();
}

void CheckObject(const QZData* data, const QZWChar* method)
{
    if (data == nullptr)
        QZRaise(QZExceptionCode::ArgumentOutOfRange, kClass, method)
            .Argument(QZ_W("QZData*"), static_cast<const void*>(nullptr), 0)
            .Throw();
}

/// A private copy of bytes, for a source that lies in the buffer that is about to change.
class ByteCopy
{
public:
    ByteCopy(const void* p, QZInt64 size, const QZWChar* method)
        : m_block(block::Make(block::kPlainType, 0, size, 0))
    {
        if (m_block == nullptr) ThrowNoStorage(method, size);
        QZMemCopy(block::Data(m_block), p, size);
    }
    ~ByteCopy() { block::Free(m_block); }
    ByteCopy(const ByteCopy&) = delete;
    ByteCopy& operator=(const ByteCopy&) = delete;

    const void* Pointer() const { return block::Data(static_cast<const void*>(m_block)); }

private:
    void* m_block;
};

}  // namespace

QZData::QZData() : QZData(QZInt64{0}) {}

QZData::QZData(QZInt64 size) : m_block(block::Make(block::kPlainType, block::kDefaultOffset, size, 0))
{
    if (m_block == nullptr) ThrowNoStorage(kClass, size);
}

QZData::QZData(const void* p, QZInt64 size)
    : m_block(p == nullptr && size > 0 ? nullptr
                                       : block::Make(block::kPlainType, block::kDefaultOffset, size, 0))
{
    if (m_block == nullptr)
    {
        // A null source throws code 256; a failure to allocate throws QZLastError.
        if (size >= 0) CheckBytes(p, size, kClass);
        QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), kClass, kClass)
            .Argument(QZ_W("QZPVoid"), p, 0)
            .Argument(QZ_W("QZInt64"), size)
            .Throw();
    }
    if (size > 0) QZMemCopy(GetPointer(), p, size);
}

QZData::QZData(const void* raw) : m_block(nullptr)
{
    if (raw == nullptr) QZRaise(0, kClass, kClass).Argument(QZ_W("QZPVoid"), raw, 0).Throw();
    m_block = block::Copy(raw);
    if (m_block == nullptr) ThrowNoStorage(kClass, block::Size(raw));
}

QZData::QZData(const QZData* other)
    : QZData(other != nullptr ? static_cast<const void*>(other->m_block) : nullptr)
{}

QZData::QZData(const QZData& other)
    : QZObject(other), m_block(block::Copy(other.m_block)), m_findPosition(other.m_findPosition)
{
    if (m_block == nullptr) ThrowNoStorage(kClass, other.GetSize());
}

QZData& QZData::operator=(const QZData& other)
{
    if (this == &other) return *this;
    void* copy = block::Copy(other.m_block);
    if (copy == nullptr) ThrowNoStorage(QZ_W("operator="), other.GetSize());
    QZObject::operator=(other);
    ReleaseBlock();
    m_block = copy;
    m_findPosition = other.m_findPosition;
    return *this;
}

QZData::~QZData() { ReleaseBlock(); }

void QZData::ReleaseBlock()
{
    if (m_block == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (!block::Free(m_block))
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::StructuralFailure));
        QZLibAssert(0);
    }
}

QZInt64 QZData::GetMemorySize() { return MemoryGetBlockSize(m_block) + 8; }

QZInt64 QZData::GetType() { return Type; }

void QZData::Clear()
{
    if (GetOffset() + GetSize() < block::kDefaultOffset) QZData::NewSize(block::kDefaultOffset);
    QZData::SetOffset(block::kDefaultOffset);
    QZData::NewSize(0);
}

void QZData::SetOffset(QZInt64 offset)
{
    if (!block::SetOffset(&m_block, offset)) ThrowNoStorage(QZ_W("SetOffset"), offset);
}

void QZData::NewSize(QZInt64 size)
{
    if (size < 0 || !block::Resize(&m_block, size)) ThrowNoStorage(QZ_W("NewSize"), size);
}

void QZData::NewSize(QZInt64 size, QZByte fill)
{
    const QZInt64 old = GetSize();
    QZData::NewSize(size);
    if (size > old) std::memset(QZAt(GetPointer(), old), fill, static_cast<std::size_t>(size - old));
}

QZBool QZData::Equals(const QZData* other) const
{
    return other != nullptr && block::Type(m_block) == block::Type(other->m_block) &&
           Equals(other->GetPointer(), other->GetSize());
}

QZBool QZData::Equals(const void* p, QZInt64 size) const
{
    return size == GetSize() && QZMemory::Equals(GetPointer(), p, size);
}

void QZData::Fill(int value)
{
    unsigned char* data = block::Data(m_block);
    const QZInt64 size = GetSize();
    for (QZInt64 i = 0; i + 4 <= size; i += 4) QZStore(data + i, value);
    const QZInt64 tail = size % 4;
    for (QZInt64 i = 0; i < tail; ++i)
        data[size - tail + i] = static_cast<unsigned char>(static_cast<QZUInt32>(value) >> (8 * i));
}

void QZData::Fill(QZByte value) { std::memset(GetPointer(), value, static_cast<std::size_t>(GetSize())); }

QZInt64 QZData::Find(const QZData* pattern)
{
    return pattern != nullptr ? Find(pattern->GetPointer(), pattern->GetSize()) : Find(nullptr, 0);
}

QZInt64 QZData::Find(const void* pattern, QZInt64 size)
{
    m_findPosition = QZBytesFind(GetPointer(), GetSize(), pattern, size);
    return m_findPosition;
}

QZInt64 QZData::FindNext(const QZData* pattern)
{
    if (pattern == nullptr) return Find(nullptr, 0);
    const QZInt64 size = GetSize();
    const QZInt64 start = m_findPosition + pattern->GetSize();
    m_findPosition = -1;
    if (start < 0 || start >= size) return -1;
    const QZInt64 found =
        QZBytesFind(QZAt(GetPointer(), start), size - start, pattern->GetPointer(), pattern->GetSize());
    if (found >= 0) m_findPosition = start + found;
    return m_findPosition;
}

/// A sum that overflows is a size for which there is no memory.
void QZData::GrowBy(QZInt64 size)
{
    QZInt64 sum = 0;
    if (__builtin_add_overflow(GetSize(), size, &sum)) sum = std::numeric_limits<QZInt64>::max();
    QZData::NewSize(sum);
}

void QZData::AppendBytes(const void* p, QZInt64 size)
{
    const QZInt64 old = GetSize();
    GrowBy(size);
    QZMemCopy(QZAt(GetPointer(), old), p, size);
}

void QZData::Append(const QZData* source)
{
    CheckObject(source, QZ_W("Append"));
    Append(source->GetPointer(), source->GetSize());
}

void QZData::Append(QZData source) { Append(source.GetPointer(), source.GetSize()); }

void QZData::Append(const void* p, QZInt64 size)
{
    CheckBytes(p, size, QZ_W("Append"));
    if (size == 0) return;
    if (!block::Holds(m_block, p)) return AppendBytes(p, size);
    const ByteCopy copy(p, size, QZ_W("Append"));
    AppendBytes(copy.Pointer(), size);
}

void QZData::PrependBytes(const void* p, QZInt64 size)
{
    const QZInt64 offset = GetOffset();
    if (offset > size)
    {
        QZData::SetOffset(offset - size);
    }
    else
    {
        const QZInt64 old = GetSize();
        GrowBy(size);
        unsigned char* data = block::Data(m_block);
        if (old > 0) QZMemMove(data + size, data, old);
    }
    QZMemCopy(GetPointer(), p, size);
}

void QZData::Prepend(const QZData* source)
{
    CheckObject(source, QZ_W("Prepend"));
    Prepend(source->GetPointer(), source->GetSize());
}

void QZData::Prepend(QZData source) { Prepend(source.GetPointer(), source.GetSize()); }

void QZData::Prepend(const void* p, QZInt64 size)
{
    CheckBytes(p, size, QZ_W("Prepend"));
    if (size == 0) return;
    if (!block::Holds(m_block, p)) return PrependBytes(p, size);
    const ByteCopy copy(p, size, QZ_W("Prepend"));
    PrependBytes(copy.Pointer(), size);
}

QZBool QZData::Check() const { return block::Check(m_block); }

void QZData::Set(const QZData* source)
{
    CheckObject(source, QZ_W("Set"));
    if (source != this) Set(source->GetPointer(), source->GetSize());
}

void QZData::Set(const void* raw)
{
    if (raw == m_block) return;
    CheckBytes(raw, 1, QZ_W("Set"));
    const QZInt64 remembered = m_findPosition;
    Set(block::Data(raw), block::Size(raw));
    m_findPosition = remembered;
}

void QZData::Set(const void* p, QZInt64 size)
{
    if (size < 0) ThrowNoStorage(QZ_W("Set"), size);
    CheckBytes(p, size, QZ_W("Set"));
    m_findPosition = -1;
    if (size > 0 && block::Holds(m_block, p))
    {
        const ByteCopy copy(p, size, QZ_W("Set"));
        QZData::NewSize(size);
        QZMemCopy(GetPointer(), copy.Pointer(), size);
        return;
    }
    QZData::NewSize(size);
    if (size > 0) QZMemCopy(GetPointer(), p, size);
}

/// @return null for a bad index
unsigned char* QZData::Element(QZInt64 index, QZInt64 width) const
{
    const auto places = static_cast<QZUInt32>(static_cast<QZUInt64>(index) + 1);
    const auto size = static_cast<QZUInt32>(GetSize());
    // The test uses 32-bit values, so that -1 passes: callers read the end of the head room with it. Other
    // indices that pass the test and lie outside the buffer are refused too.
    if (QZUInt64{places} * static_cast<QZUInt64>(width) > size || index < -1 ||
        (index >= 0 && index >= GetSize() / width))
        return nullptr;
    return block::Data(m_block) + index * width;
}

template <typename T>
T QZData::Load(QZInt64 index, const QZWChar* method) const
{
    const unsigned char* place = Element(index, sizeof(T));
    if (place == nullptr)
        QZRaise(QZExceptionCode::MemoryInaccessible, kClass, method).Argument(QZ_W("QZInt64"), index).Throw();
    return QZLoad<T>(place);
}

template <typename T>
void QZData::Store(QZInt64 index, T value, const QZWChar* method, const QZWChar* type)
{
    using Shown = std::conditional_t<std::is_floating_point_v<T>, double, QZInt64>;
    unsigned char* place = Element(index, sizeof(T));
    if (place == nullptr)
        QZRaise(QZExceptionCode::MemoryInaccessible, kClass, method)
            .Argument(QZ_W("QZInt64"), index)
            .Argument(type, static_cast<Shown>(value))
            .Throw();
    const unsigned char* first = QZAt(m_block, block::kHeaderSize);
    if (place >= first) return QZStore(place, value);
    // With too little head room the block's own header lies in front of the data; bytes there are not
    // written.
    unsigned char bytes[sizeof(T)];
    QZStore(bytes, value);
    for (std::size_t i = 0; i < sizeof(T); ++i)
        if (place + i >= first) place[i] = bytes[i];
}

// The forms are exported symbols of the library, whether the compiler inlines them or not.
template void QZData::Store<QZInt64>(QZInt64 index, QZInt64 value, const QZWChar* method,
                                     const QZWChar* type);
template void QZData::Store<QZUInt64>(QZInt64 index, QZUInt64 value, const QZWChar* method,
                                      const QZWChar* type);
template void QZData::Store<double>(QZInt64 index, double value, const QZWChar* method, const QZWChar* type);
template void QZData::Store<QZInt32>(QZInt64 index, QZInt32 value, const QZWChar* method,
                                     const QZWChar* type);
template void QZData::Store<QZUInt32>(QZInt64 index, QZUInt32 value, const QZWChar* method,
                                      const QZWChar* type);
template void QZData::Store<QZInt16>(QZInt64 index, QZInt16 value, const QZWChar* method,
                                     const QZWChar* type);
template void QZData::Store<QZUInt16>(QZInt64 index, QZUInt16 value, const QZWChar* method,
                                      const QZWChar* type);
template void QZData::Store<QZByte>(QZInt64 index, QZByte value, const QZWChar* method, const QZWChar* type);

QZInt64 QZData::GetValueInt64(QZInt64 index) const { return Load<QZInt64>(index, QZ_W("GetValueInt64")); }

QZUInt64 QZData::GetValueUInt64(QZInt64 index) const { return Load<QZUInt64>(index, QZ_W("GetValueUInt64")); }

double QZData::GetValueDouble(QZInt64 index) const { return Load<double>(index, QZ_W("GetValueDouble")); }

QZInt32 QZData::GetValueInt32(QZInt64 index) const { return Load<QZInt32>(index, QZ_W("GetValueInt32")); }

QZUInt32 QZData::GetValueUInt32(QZInt64 index) const { return Load<QZUInt32>(index, QZ_W("GetValueUInt32")); }

QZInt16 QZData::GetValueInt16(QZInt64 index) const { return Load<QZInt16>(index, QZ_W("GetValueInt16")); }

QZUInt16 QZData::GetValueUInt16(QZInt64 index) const { return Load<QZUInt16>(index, QZ_W("GetValueUInt16")); }

QZByte QZData::GetValueByte(QZInt64 index) const { return Load<QZByte>(index, QZ_W("GetValueByte")); }

void QZData::SetValueInt64(QZInt64 index, QZInt64 value)
{
    Store(index, value, QZ_W("SetValueInt64"), QZ_W("QZInt64"));
}

void QZData::SetValueUInt64(QZInt64 index, QZUInt64 value)
{
    Store(index, value, QZ_W("SetValueUInt64"), QZ_W("QZUInt64"));
}

void QZData::SetValueDouble(QZInt64 index, double value)
{
    Store(index, value, QZ_W("SetValueDouble"), QZ_W("QZDouble"));
}

void QZData::SetValueInt32(QZInt64 index, QZInt32 value)
{
    Store(index, value, QZ_W("SetValueInt32"), QZ_W("QZInt32"));
}

void QZData::SetValueUInt32(QZInt64 index, QZUInt32 value)
{
    Store(index, value, QZ_W("SetValueUInt32"), QZ_W("QZUInt32"));
}

void QZData::SetValueInt16(QZInt64 index, QZInt16 value)
{
    Store(index, value, QZ_W("SetValueInt16"), QZ_W("QZInt16"));
}

void QZData::SetValueUInt16(QZInt64 index, QZUInt16 value)
{
    Store(index, value, QZ_W("SetValueUInt16"), QZ_W("QZUInt16"));
}

void QZData::SetValueByte(QZInt64 index, QZByte value)
{
    Store(index, value, QZ_W("SetValueByte"), QZ_W("QZByte"));
}
