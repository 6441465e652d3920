#ifndef QZLIB_SYS_TEXT_H
#define QZLIB_SYS_TEXT_H

/// Conversion between UTF-16 and the narrow page: the ANSI page on Windows, UTF-8 elsewhere.

#include "sys/sys_types.h"

namespace os
{

/// Converts bytes of the narrow page to UTF-16 and returns the number of units written: at most `capacity`,
/// whole characters only, no terminating zero. With `out` null it returns the number of units needed. Invalid
/// input becomes the platform's replacement character.
QZInt64 NarrowToWide(const char* text, QZInt64 bytes, QZWChar* out, QZInt64 capacity);
/// The other direction; `capacity` and the result count bytes.
QZInt64 WideToNarrow(const QZWChar* text, QZInt64 units, char* out, QZInt64 capacity);

}  // namespace os

#endif
