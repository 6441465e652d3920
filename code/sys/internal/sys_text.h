#ifndef QZLIB_SYS_TEXT_H
#define QZLIB_SYS_TEXT_H

/// Narrow text (the ANSI page on Windows, UTF-8 elsewhere) to UTF-16 and back.

#include "sys/sys_types.h"

namespace os
{

/// Converts bytes of the narrow page (the ANSI page on Windows, UTF-8 elsewhere) to UTF-16. With out null
/// answers the units needed, else the units written, never more than capacity and only whole characters.
/// Broken input gives the replacement the platform uses. No terminator.
QZInt64 NarrowToWide(const char* text, QZInt64 bytes, QZWChar* out, QZInt64 capacity);
/// The other way, sizes of out in bytes.
QZInt64 WideToNarrow(const QZWChar* text, QZInt64 units, char* out, QZInt64 capacity);

}  // namespace os

#endif
