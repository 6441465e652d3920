#ifndef QZLIB_FW_DATA_FIND_H
#define QZLIB_FW_DATA_FIND_H

#include "sys/sys_types.h"

/// Search and replace on raw bytes, shared by QZData, QZSearch and QZString. Internal.

/// The first position of the pattern, or -1. Only multiples of `unit` count as positions.
/// A null pointer on either side gives 0; an empty pattern or empty data -1.
QZInt64 QZBytesFind(const void* data, QZInt64 size, const void* pattern, QZInt64 patternSize,
                    QZInt64 unit = 1);

/// Bytes that the result of a replacement needs at most. `findSize` is not 0.
QZInt64 QZBytesReplaceBound(QZInt64 size, QZInt64 findSize, QZInt64 withSize);

/// Writes source with every occurrence of `find` replaced to target, from the front and without overlap. Only
/// multiples of `unit` count as positions. Target has room for QZBytesReplaceBound bytes and overlaps with
/// nothing.
/// @return the bytes written. 0 with QZLastError 256 for a null source or pattern, a null substitute of
/// positive length, a negative length; 0 for an empty source or pattern
QZInt64 QZBytesReplace(void* target, const void* source, QZInt64 size, const void* find, QZInt64 findSize,
                       const void* with, QZInt64 withSize, QZInt64 unit = 1);

#endif
