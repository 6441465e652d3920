#ifndef QZLIB_FW_NUMBER_FORMAT_H
#define QZLIB_FW_NUMBER_FORMAT_H

#include "sys/sys_types.h"

/// Numbers written into text templates. The library itself writes no number this way and does not export
/// these functions; its tests use them. They have a header of their own because they need QZString, which
/// needs fw_number_text.h.

class QZString;

/// Replaces the first or the last "%" of a text by a decimal number; the rest of the text stays. With `width`
/// above 0 the number gets leading zeros up to that many digits, after the "-" of a negative one.
/// @return false when the text holds no "%"
/// @throws QZException with QZLastError when there is no memory
bool QZFormatFirst(QZString* text, QZInt64 value, int width = 0);
bool QZFormatLast(QZString* text, QZInt64 value, int width = 0);

#endif
