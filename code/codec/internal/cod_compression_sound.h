#ifndef QZLIB_COD_COMPRESSION_SOUND_H
#define QZLIB_COD_COMPRESSION_SOUND_H

/// The decoder for streams that QZCompression::Check has found sound. Internal.

#include "sys/sys_types.h"

namespace compression
{

/// What a target needs behind the stated length: the decoder writes in whole lanes.
constexpr QZInt64 SoundSlack = 32;

/// Decodes a stream with its trailer, `length` bytes in all; how many bytes came out. The target has room for
/// the stated length and SoundSlack.
QZInt64 DecodeSound(const QZByte* stream, QZInt64 length, QZByte* target);

}  // namespace compression

#endif
