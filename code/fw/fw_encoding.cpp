#include "fw/fw_encoding.h"

#include <algorithm>

#include "fw/fw_block.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_encoding_convert.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_string_internal.h"

const QZInt64 QZEncodingType::ANSI;
const QZInt64 QZEncodingType::UTF16LE;
const QZInt64 QZEncodingType::UTF16BE;
const QZInt64 QZEncodingType::UTF8;
const QZInt64 QZEncodingType::UTF32LE;
const QZInt64 QZEncodingType::UTF32BE;

namespace
{
QZRaise Failure(QZInt64 code, const QZWChar* method, QZInt64 type)
{
    QZRaise raise(code, QZ_W("QZEncoding"), method);
    raise.Argument(QZ_W("QZInt64"), type);
    return raise;
}

/// Text in an encoding, not owned.
struct Text
{
    QZInt64 type;
    const void* bytes;
    QZInt64 size;
};

Text TextOf(QZString* text) { return {QZEncodingType::UTF16LE, text->GetPointer(), text->GetSize()}; }

/// The text of a raw block, without the terminator that the block's size includes.
Text TextOf(const void* b)
{
    Text text{block::Type(b), block::Data(b), block::Size(b)};
    QZInt64 unit = std::max<QZInt64>(encoding::UnitSize(text.type), 1);
    if (text.size < unit) return text;
    const unsigned char* last = QZAt(text.bytes, text.size - unit);
    if (std::all_of(last, last + unit, [](unsigned char byte) { return byte == 0; })) text.size -= unit;
    return text;
}

[[noreturn]] void ThrowNoData(QZInt64 type, const Text& text, const QZWChar* sourceType)
{
    Failure(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("GetData"), type)
        .Argument(sourceType, text.bytes, text.size)
        .Throw();
}

void FillData(QZInt64 type, const Text& text, QZData* target, const QZWChar* sourceType)
{
    QZInt64 size = encoding::Convert(text.type, text.bytes, text.size, type, nullptr, 0);
    if (size < 0) ThrowNoData(type, text, sourceType);
    target->NewSize(size);
    if (encoding::Convert(text.type, text.bytes, text.size, type, target->GetPointer(), size) < 0)
        ThrowNoData(type, text, sourceType);
}

[[noreturn]] void ThrowNull(const QZWChar* method, QZInt64 type, const QZWChar* sourceType)
{
    QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
    Failure(QZExceptionCode::ArgumentOutOfRange, method, type)
        .Argument(sourceType, static_cast<const QZWChar*>(nullptr))
        .Throw();
}
}  // namespace

QZData* QZEncoding::GetData(QZInt64 type, QZString* text)
{
    if (text == nullptr) ThrowNull(QZ_W("GetData"), type, QZ_W("QZString*"));
    QZScopedData data(QZDataFactory::CreateData());
    FillData(type, TextOf(text), data.Get(), QZ_W("QZString*"));
    return data.Release();
}

void QZEncoding::GetData(QZInt64 type, QZString* text, QZData* target)
{
    if (text == nullptr) ThrowNull(QZ_W("GetData"), type, QZ_W("QZString*"));
    FillData(type, TextOf(text), target, QZ_W("QZString*"));
}

QZData* QZEncoding::GetData(QZInt64 type, void* block)
{
    if (block == nullptr) ThrowNull(QZ_W("GetData"), type, QZ_W("QZPString"));
    QZScopedData data(QZDataFactory::CreateData());
    FillData(type, TextOf(block), data.Get(), QZ_W("QZPString"));
    return data.Release();
}

void QZEncoding::GetData(QZInt64 type, void* block, QZData* target)
{
    if (block == nullptr) ThrowNull(QZ_W("GetData"), type, QZ_W("QZPString"));
    if (block != target->GetStructPointer())
    {
        FillData(type, TextOf(block), target, QZ_W("QZPString"));
        return;
    }
    // The source is the target's own block: the target must not change while the source is read.
    QZScopedData data(QZDataFactory::CreateData());
    FillData(type, TextOf(block), data.Get(), QZ_W("QZPString"));
    target->Set(data.Get());
}

QZInt64 QZEncoding::GetBytes(QZInt64 type, QZString* text, void* buffer, QZInt64 size)
{
    if (text == nullptr) ThrowNull(QZ_W("GetBytes"), type, QZ_W("QZString*"));
    Text source = TextOf(text);
    return encoding::Convert(source.type, source.bytes, source.size, type, buffer, size);
}

QZInt64 QZEncoding::GetBytes(QZInt64 type, void* block, void* buffer, QZInt64 size)
{
    if (block == nullptr) ThrowNull(QZ_W("GetBytes"), type, QZ_W("QZPString"));
    Text source = TextOf(static_cast<const void*>(block));
    return encoding::Convert(source.type, source.bytes, source.size, type, buffer, size);
}

QZString* QZEncoding::GetString(QZInt64 type, const void* text, QZInt64 size)
{
    QZScopedString target(QZStringFactory::CreateString());
    GetString(type, text, size, target.Get());
    return target.Release();
}

void QZEncoding::GetString(QZInt64 type, const void* text, QZInt64 size, QZString* target)
{
    if (target->AssignEncoded(type, text, size)) return;
    Failure(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("GetString"), type)
        .Argument(QZ_W("QZPVoid"), text, std::max<QZInt64>(size, 0))
        .Argument(QZ_W("QZInt64"), size)
        .Throw();
}

QZString* QZEncoding::GetString(QZInt64 type, QZData* text)
{
    if (text == nullptr) ThrowNull(QZ_W("GetString"), type, QZ_W("QZData*"));
    return GetString(type, text->GetPointer(), text->GetSize());
}

void QZEncoding::GetString(QZInt64 type, QZData* text, QZString* target)
{
    if (text == nullptr) ThrowNull(QZ_W("GetString"), type, QZ_W("QZData*"));
    GetString(type, text->GetPointer(), text->GetSize(), target);
}

QZBool QZEncoding::IsLegalUTF8(const void* text, QZInt64 size)
{
    if (size < 1) return 1;
    if (text == nullptr)
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
        // The second byte shows overlong forms, surrogates, and values above U+10FFFF.
        if ((lead == 0xE0 && p[1] < 0xA0) || (lead == 0xED && p[1] > 0x9F)) return 0;
        if ((lead == 0xF0 && p[1] < 0x90) || (lead == 0xF4 && p[1] > 0x8F)) return 0;
        p += trailing + 1;
    }
    return 1;
}

QZInt64 QZEncoding::Convert(QZInt64 fromType, const void* from, QZInt64 fromSize, QZInt64 toType, void* to,
                            QZInt64 toSize)
{
    return encoding::Convert(fromType, from, fromSize, toType, to, toSize);
}

void QZEncoding::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZEncoding::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
