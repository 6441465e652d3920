#include "fw/internal/fw_encoding_convert.h"
#include "fw/fw_encoding_type.h"
#include "fw/fw_exception_code.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_scoped.h"

// The choice of the conversion for a pair of encodings.

namespace encoding
{
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

namespace
{
Converter ToUtf16(QZInt64 type)
{
    switch (type)
    {
        case QZEncodingType::ANSI: return AnsiToUtf16;
        case QZEncodingType::UTF16BE: return SwapUtf16;
        case QZEncodingType::UTF8: return Utf8ToUtf16;
        default: return Utf32ToUtf16;
    }
}

Converter FromUtf16(QZInt64 type)
{
    switch (type)
    {
        case QZEncodingType::ANSI: return Utf16ToAnsi;
        case QZEncodingType::UTF16BE: return SwapUtf16;
        case QZEncodingType::UTF8: return Utf16ToUtf8;
        default: return Utf16ToUtf32;
    }
}

/// The direct conversion of a pair of encodings; null when there is none.
Converter Direct(QZInt64 fromType, QZInt64 toType)
{
    if (toType == QZEncodingType::UTF16LE) return ToUtf16(fromType);
    if (fromType == QZEncodingType::UTF16LE) return FromUtf16(toType);
    if (fromType == QZEncodingType::UTF8 && toType == QZEncodingType::UTF32LE) return Utf8ToUtf32;
    if (fromType == QZEncodingType::UTF32LE && toType == QZEncodingType::UTF8) return Utf32ToUtf8;
    return nullptr;
}

QZInt64 CopyText(const void* from, QZInt64 fromSize, QZInt64 unit, void* to, QZInt64 toSize)
{
    if (to == nullptr) return fromSize;
    QZInt64 size = fromSize <= toSize ? fromSize : toSize - toSize % unit;
    QZMemCopy(to, from, size);
    return size;
}

QZInt64 ThroughUtf16(Converter in, Converter out, const void* from, QZInt64 fromSize, void* to,
                     QZInt64 toSize)
{
    QZInt64 size = in(from, fromSize, nullptr, 0);
    if (size < 0) return -1;
    const QZScopedBuffer between(MemoryAllocate(size));
    if (between.Get() == nullptr) return -1;
    size = in(from, fromSize, between.Get(), size);
    return size < 0 ? -1 : out(between.Get(), size, to, toSize);
}
}  // namespace

QZInt64 Convert(QZInt64 fromType, const void* from, QZInt64 fromSize, QZInt64 toType, void* to,
                QZInt64 toSize)
{
    if (UnitSize(fromType) == 0 || UnitSize(toType) == 0) return -1;
    if (fromSize < 0 || (from == nullptr && fromSize > 0))
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return -1;
    }
    if (fromSize == 0) return 0;
    if (toSize < 0) toSize = 0;
    if (fromType == toType) return CopyText(from, fromSize, UnitSize(toType), to, toSize);
    if (Converter direct = Direct(fromType, toType)) return direct(from, fromSize, to, toSize);
    return ThroughUtf16(ToUtf16(fromType), FromUtf16(toType), from, fromSize, to, toSize);
}
}  // namespace encoding
