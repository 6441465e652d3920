#ifndef QZLIB_FW_NUMBER_FORMAT_H
#define QZLIB_FW_NUMBER_FORMAT_H

#include "sys/sys_types.h"

/// Numbers put into text templates.

class QZString;

/// Replaces the first or the last "%" of a text by a decimal number, the rest staying as it is. With `width`
/// above 0 the number is filled up with leading zeros to that many digits, behind the "-" of a negative one.
/// @return false when the text holds no "%"
/// @throws QZException with QZLastError when there is no memory
bool QZFormatFirst(QZString* text, QZInt64 value, int width = 0);
bool QZFormatLast(QZString* text, QZInt64 value, int width = 0);

#endif
