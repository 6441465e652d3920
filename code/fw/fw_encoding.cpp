#include "fw/fw_encoding.h"

#include <algorithm>

#include "fw/fw_block.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_encoding_convert.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_string_internal.h"
#include "fw/internal/fw_trace.h"

const QZInt64 QZEncodingType::ANSI;
const QZInt64 QZEncodingType::UTF16LE;
const QZInt64 QZEncodingType::UTF16BE;
const QZInt64 QZEncodingType::UTF8;
const QZInt64 QZEncodingType::UTF32LE;
const QZInt64 QZEncodingType::UTF32BE;

namespace
{
/// Bytes of one unit of a convertible encoding; 0 for everything else.
QZInt64 UnitSize(QZInt64 type)
{
    switch (type)
    {
        case QZEncodingType::ANSI:
        case QZEncodingType::UTF8: return 1;
        case QZEncodingType::UTF16LE:
        case QZEncodingType::UTF16BE: return 2;
        case QZEncodingType::UTF32LE: return 4;
        default: return 0;
    }
}

encoding::Converter ToUtf16(QZInt64 type)
{
    switch (type)
    {
        case QZEncodingType::ANSI: return encoding::AnsiToUtf16;
        case QZEncodingType::UTF16BE: return encoding::SwapUtf16;
        case QZEncodingType::UTF8: return encoding::Utf8ToUtf16;
        default: return encoding::Utf32ToUtf16;
    }
}

encoding::Converter FromUtf16(QZInt64 type)
{
    switch (type)
    {
        case QZEncodingType::ANSI: return encoding::Utf16ToAnsi;
        case QZEncodingType::UTF16BE: return encoding::SwapUtf16;
        case QZEncodingType::UTF8: return encoding::Utf16ToUtf8;
        default: return encoding::Utf16ToUtf32;
    }
}

/// The primitive of a pair that has one, else null.
encoding::Converter Direct(QZInt64 fromType, QZInt64 toType)
{
    if (toType == QZEncodingType::UTF16LE) return ToUtf16(fromType);
    if (fromType == QZEncodingType::UTF16LE) return FromUtf16(toType);
    if (fromType == QZEncodingType::UTF8 && toType == QZEncodingType::UTF32LE) return encoding::Utf8ToUtf32;
    if (fromType == QZEncodingType::UTF32LE && toType == QZEncodingType::UTF8) return encoding::Utf32ToUtf8;
    return nullptr;
}

QZInt64 CopyText(const void* from, QZInt64 fromSize, QZInt64 unit, void* to, QZInt64 toSize)
{
    if (!to) return fromSize;
    QZInt64 size = fromSize <= toSize ? fromSize : toSize - toSize % unit;
    QZMemCopy(to, from, size);
    return size;
}

QZInt64 ThroughUtf16(encoding::Converter in, encoding::Converter out, const void* from, QZInt64 fromSize,
                     void* to, QZInt64 toSize)
{
    QZInt64 size = in(from, fromSize, nullptr, 0);
    if (size < 0) return -1;
    void* between = MemoryAllocate(size);
    if (!between) return -1;
    size = in(from, fromSize, between, size);
    QZInt64 result = size < 0 ? -1 : out(between, size, to, toSize);
    MemoryFree(between);
    return result;
}

QZTrace<QZException> Failure(QZInt64 code, const QZWChar* method, QZInt64 type)
{
    QZTrace<QZException> trace(QZExceptionFactory::CreateException(code), QZ_W("QZEncoding"), method);
    trace.Argument(QZ_W("QZInt64"), type);
    return trace;
}

/// Text in an encoding, wherever it lies.
struct Text
{
    QZInt64 type;
    const void* bytes;
    QZInt64 size;
};

Text TextOf(QZString* text) { return {QZEncodingType::UTF16LE, text->GetPointer(), text->GetSize()}; }

/// The text of a raw block, without the terminator that counts in its size.
Text TextOf(const void* b)
{
    Text text{block::Type(b), block::Data(b), block::Size(b)};
    QZInt64 unit = std::max<QZInt64>(UnitSize(text.type), 1);
    if (text.size < unit) return text;
    const unsigned char* last = QZAt(text.bytes, text.size - unit);
    if (std::all_of(last, last + unit, [](unsigned char byte) { return byte == 0; })) text.size -= unit;
    return text;
}

/// A QZData out of the factory that goes back when its filling fails.
class NewData
{
public:
    NewData() : m_data(QZDataFactory::CreateData()) {}
    ~NewData()
    {
        if (m_data) QZDataFactory::Recycle(&m_data);
    }
    NewData(const NewData&) = delete;
    NewData& operator=(const NewData&) = delete;
    QZData* Get() const { return m_data; }
    QZData* Release()
    {
        QZData* data = m_data;
        m_data = nullptr;
        return data;
    }

private:
    QZData* m_data;
};

[[noreturn]] void ThrowNoData(QZInt64 type, const Text& text, const QZWChar* sourceType)
{
    throw Failure(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("GetData"), type)
        .Argument(sourceType, text.bytes, text.size)
        .Exception();
}

void FillData(QZInt64 type, const Text& text, QZData* target, const QZWChar* sourceType)
{
    QZInt64 size = QZEncoding::Convert(text.type, text.bytes, text.size, type, nullptr, 0);
    if (size < 0) ThrowNoData(type, text, sourceType);
    target->NewSize(size);
    if (QZEncoding::Convert(text.type, text.bytes, text.size, type, target->GetPointer(), size) < 0)
        ThrowNoData(type, text, sourceType);
}

[[noreturn]] void ThrowNull(const QZWChar* method, QZInt64 type, const QZWChar* sourceType)
{
    QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
    throw Failure(QZExceptionCode::ArgumentOutOfRange, method, type)
        .Argument(sourceType, static_cast<const QZWChar*>(nullptr))
        .Exception();
}
}  // namespace

QZData* QZEncoding::GetData(QZInt64 type, QZString* text)
{
    if (!text) ThrowNull(QZ_W("GetData"), type, QZ_W("QZString*"));
    NewData data;
    FillData(type, TextOf(text), data.Get(), QZ_W("QZString*"));
    return data.Release();
}

void QZEncoding::GetData(QZInt64 type, QZString* text, QZData* target)
{
    if (!text) ThrowNull(QZ_W("GetData"), type, QZ_W("QZString*"));
    FillData(type, TextOf(text), target, QZ_W("QZString*"));
}

QZData* QZEncoding::GetData(QZInt64 type, void* block)
{
    if (!block) ThrowNull(QZ_W("GetData"), type, QZ_W("QZPString"));
    NewData data;
    FillData(type, TextOf(block), data.Get(), QZ_W("QZPString"));
    return data.Release();
}

void QZEncoding::GetData(QZInt64 type, void* block, QZData* target)
{
    if (!block) ThrowNull(QZ_W("GetData"), type, QZ_W("QZPString"));
    if (block != target->GetStructPointer())
    {
        FillData(type, TextOf(block), target, QZ_W("QZPString"));
        return;
    }
    // The source is the target's own block: its bytes must not go while they are read.
    NewData data;
    FillData(type, TextOf(block), data.Get(), QZ_W("QZPString"));
    target->Set(data.Get());
}

QZInt64 QZEncoding::GetBytes(QZInt64 type, QZString* text, void* buffer, QZInt64 size)
{
    if (!text) ThrowNull(QZ_W("GetBytes"), type, QZ_W("QZString*"));
    Text source = TextOf(text);
    return Convert(source.type, source.bytes, source.size, type, buffer, size);
}

QZInt64 QZEncoding::GetBytes(QZInt64 type, void* block, void* buffer, QZInt64 size)
{
    if (!block) ThrowNull(QZ_W("GetBytes"), type, QZ_W("QZPString"));
    Text source = TextOf(static_cast<const void*>(block));
    return Convert(source.type, source.bytes, source.size, type, buffer, size);
}

QZString* QZEncoding::GetString(QZInt64 type, const void* text, QZInt64 size)
{
    text::Temporary target(QZStringFactory::CreateString());
    GetString(type, text, size, target.Get());
    return target.Release();
}

void QZEncoding::GetString(QZInt64 type, const void* text, QZInt64 size, QZString* target)
{
    if (target->AssignEncoded(type, text, size)) return;
    throw Failure(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("GetString"), type)
        .Argument(QZ_W("QZPVoid"), text, std::max<QZInt64>(size, 0))
        .Argument(QZ_W("QZInt64"), size)
        .Exception();
}

QZString* QZEncoding::GetString(QZInt64 type, QZData* text)
{
    if (!text) ThrowNull(QZ_W("GetString"), type, QZ_W("QZData*"));
    return GetString(type, text->GetPointer(), text->GetSize());
}

void QZEncoding::GetString(QZInt64 type, QZData* text, QZString* target)
{
    if (!text) ThrowNull(QZ_W("GetString"), type, QZ_W("QZData*"));
    GetString(type, text->GetPointer(), text->GetSize(), target);
}

QZBool QZEncoding::IsLegalUTF8(const void* text, QZInt64 size)
{
    if (size < 1) return 1;
    if (!text)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return 0;
    }
    const unsigned char* p = static_cast<const unsigned char*>(text);
    const unsigned char* end = p + size;
    if (size >= 3 && p[0] == 0xEF && p[1] == 0xBB && p[2] == 0xBF) p += 3;
    while (p < end)
    {
        unsigned char lead = *p;
        int trailing = encoding::TrailingCount(lead);
        if ((lead >= 0x80 && lead <= 0xC1) || lead > 0xF4 || end - p <= trailing) return 0;
        for (int i = trailing; i > 0; --i)
            if (p[i] < 0x80 || p[i] > 0xBF) return 0;
        // Overlong forms, surrogates, and values above U+10FFFF show in the second byte.
        if ((lead == 0xE0 && p[1] < 0xA0) || (lead == 0xED && p[1] > 0x9F)) return 0;
        if ((lead == 0xF0 && p[1] < 0x90) || (lead == 0xF4 && p[1] > 0x8F)) return 0;
        p += trailing + 1;
    }
    return 1;
}

QZInt64 QZEncoding::Convert(QZInt64 fromType, const void* from, QZInt64 fromSize, QZInt64 toType, void* to,
                            QZInt64 toSize)
{
    if (UnitSize(fromType) == 0 || UnitSize(toType) == 0) return -1;
    if (fromSize < 0 || (!from && fromSize > 0))
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return -1;
    }
    if (fromSize == 0) return 0;
    if (toSize < 0) toSize = 0;
    if (fromType == toType) return CopyText(from, fromSize, UnitSize(toType), to, toSize);
    if (encoding::Converter direct = Direct(fromType, toType)) return direct(from, fromSize, to, toSize);
    return ThroughUtf16(ToUtf16(fromType), FromUtf16(toType), from, fromSize, to, toSize);
}

void QZEncoding::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZEncoding::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
