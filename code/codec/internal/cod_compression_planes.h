#ifndef QZLIB_CODEC_COMPRESSION_PLANES_H
#define QZLIB_CODEC_COMPRESSION_PLANES_H

/// The bytes of a buffer sorted into planes, and back. Internal.

#include "sys/sys_types.h"

namespace compression
{

/// Plane j has every count-th byte of the source, beginning with byte j. The planes follow one another.
/// Source and planes must not overlap.
void SplitPlanes(const QZByte* source, QZInt64 size, QZInt64 count, QZByte* planes);

/// Undoes SplitPlanes for four planes.
void JoinFourPlanes(const QZByte* planes, QZInt64 size, QZByte* target);

}  // namespace compression

#endif
