#ifndef QZLIB_NET_CHARACTERS_H
#define QZLIB_NET_CHARACTERS_H

#include "sys/sys_types.h"

/// Classes of characters that the protocols and formats of this folder know. Only ASCII counts. Internal.
namespace net
{
/// The lower-case form of A to Z; every other unit as it is.
constexpr QZWChar Lower(QZWChar unit)
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<QZWChar>(unit + ('a' - 'A')) : unit;
}

/// What QZString::Trim removes: blanks, the control characters from tab to carriage return, and units of 0.
constexpr bool IsWhiteSpace(QZWChar unit)
{
    return unit == 0 || unit == ' ' || (unit >= '\t' && unit <= '\r');
}

constexpr bool IsDigit(unsigned unit) { return unit >= '0' && unit <= '9'; }
constexpr bool IsLetter(unsigned unit) { return (unit | 32) >= 'a' && (unit | 32) <= 'z'; }
constexpr bool IsHexDigit(unsigned unit)
{
    return IsDigit(unit) || ((unit | 32) >= 'a' && (unit | 32) <= 'f');
}
}  // namespace net

#endif
