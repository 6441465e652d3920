#ifndef QZLIB_FW_HEX_TEXT_H
#define QZLIB_FW_HEX_TEXT_H

#include "sys/sys_types.h"

/// Hexadecimal dumps of bytes: writing and reading. Internal to QZConvert, QZText and QZException. Nothing
/// throws.
namespace hex
{
/// How a dump looks.
struct Layout
{
    /// The offset in the label of the first line.
    QZInt64 firstOffset = 0;
    /// Bytes in a line; 0 or less: one line without labels.
    QZInt64 width = 0;
    /// A label "[0x...]  " in front of each line.
    bool offsets = false;
    /// A blank after each byte.
    bool spaced = false;
};

/// Writes a dump without terminator. With `out` null it only measures.
/// @return the units written, or needed
QZInt64 Write(QZWChar* out, const void* data, QZInt64 size, const Layout& layout);

/// Reads the bytes that a dump of `count` units shows. Labels in square brackets and all units that are not
/// hexadecimal digits are skipped, a last digit without partner is dropped. There are at most count / 2
/// bytes.
/// @return the bytes stored
QZInt64 Read(void* out, const QZWChar* text, QZInt64 count);
}  // namespace hex

#endif
