#ifndef QZLIB_CODEC_COMPRESSION_DECODE_H
#define QZLIB_CODEC_COMPRESSION_DECODE_H

/// The fast decoder, for streams that QZCompression::Check has accepted. Internal.

#include "sys/sys_types.h"

namespace compression
{

/// Bytes that a target needs after the stated length, since the decoder writes 16 bytes at a time.
constexpr QZInt64 kDecodeSlack = 32;

/// Decodes a stream of `length` bytes, trailer included, and returns the number of decoded bytes. The target
/// has room for
/// the stated length and kDecodeSlack.
QZInt64 DecodeChecked(const QZByte* stream, QZInt64 length, QZByte* target);

}  // namespace compression

#endif
