#ifndef QZLIB_NET_HTTP_CHUNK_H
#define QZLIB_NET_HTTP_CHUNK_H

#include "sys/sys_types.h"

class QZData;

/// Reading of chunked content. Internal.
namespace http
{
/// The largest chunk that is accepted.
inline constexpr QZInt64 kChunkLimit = 16777216;

/// Reads the size line at the front of the data. The line end of the previous chunk is removed from the data.
/// @param line  becomes the length of the size line, -1 when there is none
/// @return the size; -1 when more bytes are needed or the size is bad
QZInt64 ChunkSize(QZData* data, QZInt64* line);

/// Moves one whole chunk from the front of the data to the end of the target.
/// @return its size; 0 for the last chunk, which stays in the data; -1 when its size is bad, or when the
/// chunk and one
///         byte after it have not arrived yet
QZInt64 ChunkMove(QZData* data, QZData* target);
}  // namespace http

#endif
