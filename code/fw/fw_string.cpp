#include "fw/fw_string.h"

#include <algorithm>

#include "fw/fw_block.h"
#include "fw/fw_encoding_type.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_encoding_convert.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_number_text.h"
#include "fw/internal/fw_string_internal.h"

const QZInt64 QZString::Type;

namespace
{
constexpr QZInt64 kTerminator = 2;
/// More than memory can hold, and safe to calculate with.
constexpr QZInt64 kLargestText = 1ll << 60;

void* MakeBlock() { return block::Make(QZEncodingType::UTF16LE, block::kDefaultOffset, kTerminator, 0); }

/// The bytes of text in a raw block: its size without the terminator at the end.
QZInt64 TextSizeOf(const void* b)
{
    QZInt64 size = block::Size(b);
    bool terminated =
        size >= kTerminator && QZLoad<std::uint16_t>(QZAt(block::Data(b), size - kTerminator)) == 0;
    return terminated ? size - kTerminator : size;
}

/// Refuses a negative size, and a null text with another size than 0.
bool IsTextSize(const void* text, QZInt64 size)
{
    if (size >= 0 && (text != nullptr || size == 0)) return true;
    QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
    return false;
}

/// Throws with the text and its size as arguments.
[[noreturn]] void ThrowSized(const QZWChar* method, const QZWChar* type, const void* text, QZInt64 size)
{
    text::NoMemory(method)
        .Argument(type, text, std::max<QZInt64>(size, 0))
        .Argument(QZ_W("QZInt64"), size)
        .Throw();
}

[[noreturn]] void ThrowText(const QZWChar* method, const QZWChar* type, const void* text, QZInt64 size)
{
    text::NoMemory(method).Argument(type, text, size).Throw();
}

constexpr const QZWChar* kNarrow = QZ_W("QZChar*");
constexpr const QZWChar* kWide = QZ_W("QZWChar*");
constexpr const QZWChar* kString = QZ_W("QZString*");
}  // namespace

// ---- Making and storage

QZString::QZString() : m_block(MakeBlock())
{
    if (m_block == nullptr) text::NoMemory(QZ_W("QZString")).Throw();
}

QZString::QZString(const QZString& other) : QZObject(other), m_block(block::Copy(other.m_block))
{
    if (m_block == nullptr)
        ThrowText(QZ_W("QZString"), QZ_W("QZString&"), other.GetPointer(), other.GetSize());
}

QZString::QZString(QZString* text) : QZString()
{
    if (text != nullptr && !Assign(text->GetPointer(), text->GetSize()))
        ThrowText(QZ_W("QZString"), kString, text->GetPointer(), text->GetSize());
}

QZString::QZString(const char* text) : QZString()
{
    QZInt64 size = text::Length(text);
    if (!AssignEncoded(QZEncodingType::ANSI, text, size)) ThrowText(QZ_W("QZString"), kNarrow, text, size);
}

QZString::QZString(const QZWChar* text) : QZString()
{
    QZInt64 size = text::Length(text) * 2;
    if (!AssignEncoded(QZEncodingType::UTF16LE, text, size)) ThrowText(QZ_W("QZString"), kWide, text, size);
}

QZString::QZString(const char* text, QZInt64 size) : QZString()
{
    if (!AssignEncoded(QZEncodingType::ANSI, text, size)) ThrowSized(QZ_W("QZString"), kNarrow, text, size);
}

QZString::QZString(const QZWChar* text, QZInt64 size) : QZString()
{
    if (!AssignEncoded(QZEncodingType::UTF16LE, text, size)) ThrowSized(QZ_W("QZString"), kWide, text, size);
}

QZString::QZString(void* block) : m_block(block != nullptr ? block::Copy(block) : MakeBlock())
{
    // A block from another class may lack the terminator that every reader of a string needs.
    bool sound = m_block != nullptr &&
                 (block == nullptr || TextSizeOf(block) < block::Size(block) || Resize(block::Size(block)));
    if (sound) return;
    if (m_block != nullptr) block::Free(m_block);
    text::NoMemory(QZ_W("QZString")).Argument(QZ_W("QZPString"), block).Throw();
}

QZString& QZString::operator=(const QZString& other)
{
    if (this == &other) return *this;
    if (!Assign(other.GetPointer(), other.GetSize()))
        ThrowText(QZ_W("operator="), QZ_W("QZString&"), other.GetPointer(), other.GetSize());
    QZObject::operator=(other);
    return *this;
}

QZString::~QZString()
{
    if (m_block == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (block::Free(m_block)) return;
    QZSetLastError(static_cast<QZInt32>(QZExceptionCode::StructuralFailure));
    QZLibAssert(0);
}

QZInt64 QZString::GetMemorySize() { return MemoryGetBlockSize(m_block) + 8; }

QZInt64 QZString::GetType() { return Type; }

QZWChar* QZString::GetPointer() const { return reinterpret_cast<QZWChar*>(block::Data(m_block)); }

QZInt64 QZString::GetSize() const { return block::Size(m_block) - kTerminator; }

QZInt64 QZString::GetLength() const { return GetSize() / 2; }

QZBool QZString::Check() const { return block::Check(m_block); }

void QZString::Clear()
{
    block::Reset(m_block);
    Resize(0);
}

/// Sets the size of the text and writes the terminator after it. False with QZLastError set when there is no
/// memory.
bool QZString::Resize(QZInt64 size)
{
    if (size < 0) size = 0;
    if (size > kLargestText)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::OutOfMemory));
        return false;
    }
    if (!block::Resize(&m_block, size + kTerminator)) return false;
    QZStore<std::uint16_t>(block::Data(m_block) + size, 0);
    return true;
}

/// True when the position lies in this string's own storage, which may move when it grows.
bool QZString::Owns(const void* position) const
{
    const unsigned char* begin = static_cast<const unsigned char*>(m_block);
    const unsigned char* p = static_cast<const unsigned char*>(position);
    return p >= begin && p < begin + block::Length(m_block);
}

/// Replaces the text by `size` bytes of UTF-16; an odd last byte is ignored.
bool QZString::Assign(const void* text, QZInt64 size)
{
    size -= size % 2;
    if (text == nullptr || !Owns(text))
    {
        if (!Resize(size)) return false;
        if (size > 0) QZMemCopy(block::Data(m_block), text, size);
        return true;
    }
    // A part of this string's own text is moved to the front before the size shrinks.
    QZInt64 position = static_cast<const unsigned char*>(text) - block::Data(m_block);
    if (size > GetSize() && !Resize(size)) return false;
    QZMemMove(block::Data(m_block), block::Data(m_block) + position, size);
    return Resize(size);
}

bool QZString::AssignEncoded(QZInt64 encoding, const void* text, QZInt64 size)
{
    if (!IsTextSize(text, size)) return false;
    if (size == 0) return Resize(0);
    if (encoding == QZEncodingType::UTF16LE) return size >= 2 && Assign(text, size);
    QZInt64 needed = encoding::Convert(encoding, text, size, QZEncodingType::UTF16LE, nullptr, 0);
    if (needed < 1) return false;
    if (Owns(text))
    {
        QZScopedString copy(QZStringFactory::CreateString());
        return copy->AssignEncoded(encoding, text, size) && Assign(copy->GetPointer(), copy->GetSize());
    }
    if (!Resize(needed)) return false;
    QZInt64 written =
        encoding::Convert(encoding, text, size, QZEncodingType::UTF16LE, block::Data(m_block), needed);
    return Resize(written) && written > 0;
}

// ---- Set

void QZString::Set(const char* text)
{
    QZInt64 size = text::Length(text);
    if (!AssignEncoded(QZEncodingType::ANSI, text, size)) ThrowText(QZ_W("Set"), kNarrow, text, size);
}

void QZString::Set(const QZWChar* text)
{
    QZInt64 size = text::Length(text) * 2;
    if (!AssignEncoded(QZEncodingType::UTF16LE, text, size)) ThrowText(QZ_W("Set"), kWide, text, size);
}

void QZString::Set(const char* text, QZInt64 size)
{
    if (!AssignEncoded(QZEncodingType::ANSI, text, size)) ThrowSized(QZ_W("Set"), kNarrow, text, size);
}

void QZString::Set(const QZWChar* text, QZInt64 size)
{
    if (!AssignEncoded(QZEncodingType::UTF16LE, text, size)) ThrowSized(QZ_W("Set"), kWide, text, size);
}

void QZString::Set(QZString* text)
{
    if (text == this) return;
    text::View view = text::ViewOf(text);
    if (!Assign(view.units, view.count * 2)) ThrowText(QZ_W("Set"), kString, view.units, view.count * 2);
}

void QZString::Set(void* block)
{
    if (block == m_block) return;
    bool done = block != nullptr ? Assign(block::Data(block), TextSizeOf(block)) : Resize(0);
    if (!done) text::NoMemory(QZ_W("Set")).Argument(QZ_W("QZPString"), block).Throw();
}

// ---- Append and Prepend

bool QZString::AppendBytes(const void* text, QZInt64 size)
{
    if (!IsTextSize(text, size)) return false;
    size -= size % 2;
    if (size == 0) return true;
    QZInt64 old = GetSize();
    bool own = Owns(text);
    QZInt64 position =
        own ? static_cast<const unsigned char*>(text) - static_cast<unsigned char*>(m_block) : 0;
    if (size > kLargestText || !Resize(old + size)) return false;
    if (own)
        QZMemMove(block::Data(m_block) + old, QZAt(m_block, position), size);
    else
        QZMemCopy(block::Data(m_block) + old, text, size);
    return true;
}

bool QZString::PrependBytes(const void* text, QZInt64 size)
{
    if (!IsTextSize(text, size)) return false;
    size -= size % 2;
    if (size == 0) return true;
    if (Owns(text))
    {
        QZScopedString copy(QZStringFactory::CreateString());
        return copy->Assign(text, size) && PrependBytes(copy->GetPointer(), size);
    }
    QZInt64 offset = block::Offset(m_block);
    if (offset > size)
    {
        block::SetOffset(&m_block, offset - size);
    }
    else
    {
        QZInt64 old = GetSize();
        if (size > kLargestText || !Resize(old + size)) return false;
        QZMemMove(block::Data(m_block) + size, block::Data(m_block), old);
    }
    QZMemCopy(block::Data(m_block), text, size);
    return true;
}

void QZString::Append(QZString* text)
{
    text::View view = text::ViewOf(text);
    if (!AppendBytes(view.units, view.count * 2))
        ThrowText(QZ_W("Append"), kString, view.units, view.count * 2);
}

void QZString::Append(const char* text)
{
    text::Wide wide(text);
    if (!AppendBytes(wide.View().units, wide.View().count * 2))
        ThrowText(QZ_W("Append"), kNarrow, text, text::Length(text));
}

void QZString::Append(const char* text, QZInt64 size)
{
    QZScopedString wide(QZStringFactory::CreateString());
    if (!wide->AssignEncoded(QZEncodingType::ANSI, text, size) ||
        !AppendBytes(wide->GetPointer(), wide->GetSize()))
        ThrowSized(QZ_W("Append"), kNarrow, text, size);
}

void QZString::Append(const QZWChar* text)
{
    QZInt64 size = text::Length(text) * 2;
    if (!AppendBytes(text, size)) ThrowText(QZ_W("Append"), kWide, text, size);
}

void QZString::Append(const QZWChar* text, QZInt64 size)
{
    if (!AppendBytes(text, size)) ThrowSized(QZ_W("Append"), kWide, text, size);
}

void QZString::Prepend(QZString* text)
{
    text::View view = text::ViewOf(text);
    if (!PrependBytes(view.units, view.count * 2))
        ThrowText(QZ_W("Prepend"), kString, view.units, view.count * 2);
}

void QZString::Prepend(const char* text)
{
    text::Wide wide(text);
    if (!PrependBytes(wide.View().units, wide.View().count * 2))
        ThrowText(QZ_W("Prepend"), kNarrow, text, text::Length(text));
}

void QZString::Prepend(const char* text, QZInt64 size)
{
    QZScopedString wide(QZStringFactory::CreateString());
    if (!wide->AssignEncoded(QZEncodingType::ANSI, text, size) ||
        !PrependBytes(wide->GetPointer(), wide->GetSize()))
        ThrowSized(QZ_W("Prepend"), kNarrow, text, size);
}

void QZString::Prepend(const QZWChar* text)
{
    QZInt64 size = text::Length(text) * 2;
    if (!PrependBytes(text, size)) ThrowText(QZ_W("Prepend"), kWide, text, size);
}

void QZString::Prepend(const QZWChar* text, QZInt64 size)
{
    if (!PrependBytes(text, size)) ThrowSized(QZ_W("Prepend"), kWide, text, size);
}

namespace
{
/// The text of a number, with the name of its type for the trace.
struct Number
{
    QZWChar units[number::kBufferUnits];
    QZInt64 size;
    const QZWChar* type;

    explicit Number(int value) : size(2 * number::WriteInt64(units, value)), type(QZ_W("QZInt32")) {}
    explicit Number(unsigned int value) : size(2 * number::WriteUInt64(units, value)), type(QZ_W("QZUInt32"))
    {}
    explicit Number(QZInt64 value) : size(2 * number::WriteInt64(units, value)), type(QZ_W("QZInt64")) {}
    explicit Number(QZUInt64 value) : size(2 * number::WriteUInt64(units, value)), type(QZ_W("QZUInt64")) {}
    explicit Number(float value) : size(2 * number::WriteDouble(units, value)), type(QZ_W("QZFloat")) {}
    explicit Number(double value) : size(2 * number::WriteDouble(units, value)), type(QZ_W("QZDouble")) {}
};

template <typename T>
[[noreturn]] void ThrowNumber(const QZWChar* method, const Number& text, const T& value)
{
    text::NoMemory(method).Argument(text.type, &value, sizeof value).Throw();
}
}  // namespace

template <typename T>
void QZString::AppendNumber(T value)
{
    Number text(value);
    if (!AppendBytes(text.units, text.size)) ThrowNumber(QZ_W("Append"), text, value);
}

template <typename T>
void QZString::PrependNumber(T value)
{
    Number text(value);
    if (!PrependBytes(text.units, text.size)) ThrowNumber(QZ_W("Prepend"), text, value);
}

void QZString::Append(int value) { AppendNumber(value); }
void QZString::Append(unsigned int value) { AppendNumber(value); }
void QZString::Append(QZInt64 value) { AppendNumber(value); }
void QZString::Append(QZUInt64 value) { AppendNumber(value); }
void QZString::Append(float value) { AppendNumber(value); }
void QZString::Append(double value) { AppendNumber(value); }

void QZString::Prepend(int value) { PrependNumber(value); }
void QZString::Prepend(unsigned int value) { PrependNumber(value); }
void QZString::Prepend(QZInt64 value) { PrependNumber(value); }
void QZString::Prepend(QZUInt64 value) { PrependNumber(value); }
void QZString::Prepend(float value) { PrependNumber(value); }
void QZString::Prepend(double value) { PrependNumber(value); }

// ---- Insert and single units

/// No index is refused, and callers rely on it. After the end of the text it still grows by `count` units,
/// and only the units that fall inside the text are stored; before the start the head room's units enter at
/// the front.
bool QZString::InsertUnits(QZInt64 index, const QZWChar* text, QZInt64 count)
{
    if (count == 0) return true;
    if (Owns(text))
    {
        QZScopedString copy(QZStringFactory::CreateString());
        return copy->Assign(text, count * 2) && InsertUnits(index, copy->GetPointer(), count);
    }
    QZInt64 old = GetLength();
    if (count > kLargestText / 2 || !Resize((old + count) * 2)) return false;
    index = std::clamp(index, -count, old + count);
    unsigned char* data = block::Data(m_block);
    // The tail is moved to the new end, wherever it begins; units of the head room read as zeros.
    QZInt64 tail = std::max<QZInt64>(index, 0);
    if (tail < old) QZMemMove(data + (tail + count) * 2, data + tail * 2, (old - tail) * 2);
    if (index < 0) QZMemClean(data, count * 2);
    QZInt64 first = std::max<QZInt64>(index, 0);
    QZInt64 last = std::min(index + count, old + count);
    if (last > first) QZMemCopy(data + first * 2, text + (first - index), (last - first) * 2);
    return true;
}

void QZString::Insert(QZInt64 index, QZString* text)
{
    text::View view = text::ViewOf(text);
    if (InsertUnits(index, view.units, view.count)) return;
    text::NoMemory(QZ_W("Insert"))
        .Argument(QZ_W("QZInt64"), index)
        .Argument(kString, view.units, view.count * 2)
        .Throw();
}

void QZString::Insert(QZInt64 index, QZWChar unit)
{
    if (InsertUnits(index, &unit, 1)) return;
    text::NoMemory(QZ_W("Insert"))
        .Argument(QZ_W("QZInt64"), index)
        .Argument(QZ_W("QZWChar"), &unit, 2)
        .Throw();
}

void QZString::Insert(QZInt64 index, const char* text)
{
    text::Wide wide(text);
    if (InsertUnits(index, wide.View().units, wide.View().count)) return;
    text::NoMemory(QZ_W("Insert"))
        .Argument(QZ_W("QZInt64"), index)
        .Argument(kNarrow, text, text::Length(text))
        .Throw();
}

void QZString::Insert(QZInt64 index, const QZWChar* text)
{
    QZInt64 count = text::Length(text);
    if (InsertUnits(index, text, count)) return;
    text::NoMemory(QZ_W("Insert")).Argument(QZ_W("QZInt64"), index).Argument(kWide, text, count * 2).Throw();
}

QZWChar QZString::CharAt(QZInt64 index) const
{
    if (index >= 0 && index <= GetLength()) return GetPointer()[index];
    // An index outside the text reads the units around it, as far as this string's storage reaches.
    if (index < -kLargestText || index > kLargestText) return 0;
    QZInt64 position = block::Data(m_block) - static_cast<unsigned char*>(m_block) + index * 2;
    if (position < 0 || position + 2 > block::Capacity(m_block)) return 0;
    return QZLoad<QZWChar>(QZAt(m_block, position));
}

void QZString::Recycle(QZStringCollection** collection) { QZStringFactory::Recycle(collection); }

void QZString::Recycle(QZString** text) { QZStringFactory::Recycle(text); }
