#ifndef QZLIB_FW_ENCODING_CONVERT_H
#define QZLIB_FW_ENCODING_CONVERT_H

#include "sys/sys_types.h"

/// The primitive conversions of QZEncoding. Internal.
///
/// Each takes a source and a target in bytes, at any alignment. With a null target it returns the bytes
/// needed, else it stops at the target's end and returns the bytes written. Bytes after the source's last
/// whole unit are ignored.
namespace encoding
{
using Converter = QZInt64 (*)(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);

QZInt64 Utf8ToUtf16(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);
QZInt64 Utf8ToUtf32(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);
QZInt64 Utf16ToUtf8(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);
QZInt64 Utf16ToUtf32(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);
QZInt64 Utf32ToUtf8(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);
QZInt64 Utf32ToUtf16(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);
QZInt64 SwapUtf16(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);

/// -1 with QZLastError 4352 when there is no memory for a copy that the platform needs.
QZInt64 AnsiToUtf16(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);
/// A leading U+FEFF is dropped.
QZInt64 Utf16ToAnsi(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize);

/// Bytes of one unit of a convertible encoding of QZEncodingType; 0 for every other number.
QZInt64 UnitSize(QZInt64 type);

/// What QZEncoding::Convert does.
QZInt64 Convert(QZInt64 fromType, const void* from, QZInt64 fromSize, QZInt64 toType, void* to,
                QZInt64 toSize);

/// The number of bytes that follow a UTF-8 lead byte: 0 to 5, and 0 for a byte that is not a lead byte.
int TrailingCount(unsigned char lead);
}  // namespace encoding

#endif
