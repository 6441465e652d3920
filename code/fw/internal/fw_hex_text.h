#ifndef QZLIB_FW_HEX_TEXT_H
#define QZLIB_FW_HEX_TEXT_H

#include "sys/sys_types.h"

/// Hexadecimal dumps of bytes, there and back. Internal: behind QZConvert and QZText. Nothing throws.
namespace hex
{
/// How a dump looks.
struct Layout
{
    /// What the label of the first byte shows.
    QZInt64 firstOffset = 0;
    /// Bytes in a line; 0 or less: one line without labels.
    QZInt64 width = 0;
    /// A label "[0x...]  " in front of each line.
    bool offsets = false;
    /// A blank behind each byte.
    bool spaced = false;
};

/// Writes a dump without terminator. With `out` null it only measures.
/// @return the units written, or needed
QZInt64 Write(QZWChar* out, const void* data, QZInt64 size, const Layout& layout);

/// Reads the bytes that a dump of `count` units shows: labels in square brackets and everything that is no
/// hexadecimal digit are passed over, a last digit without partner is dropped. There are at most count / 2.
/// @return the bytes stored
QZInt64 Read(void* out, const QZWChar* text, QZInt64 count);
}  // namespace hex

#endif
