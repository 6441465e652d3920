#ifndef QZLIB_FW_NUMBER_TEXT_H
#define QZLIB_FW_NUMBER_TEXT_H

#include "sys/sys_types.h"

/// Numbers to text and back. Internal to QZString, QZConvert and QZDateTime.
namespace number
{
/// Units that each of the writers below needs at most.
inline constexpr int kBufferUnits = 48;

/// Decimal without padding; "-" in front of a negative value. Each writer returns the number of units
/// written, without terminator.
int WriteInt64(QZWChar* to, QZInt64 value);
int WriteUInt64(QZWChar* to, QZUInt64 value);

/// Upper-case hexadecimal digits without prefix; a negative value is "-" and the digits of its absolute
/// value.
int WriteInt64Hex(QZWChar* to, QZInt64 value);
int WriteUInt64Hex(QZWChar* to, QZUInt64 value);

/// @param precision  digits after the point, at most 12; 0 drops the point. -1 writes as many as the fraction
/// needs, and none for a fraction of at most 1e-12
int WriteDouble(QZWChar* to, double value, QZInt64 precision = -1);

/// Reads `count` units. "0x" in front selects hexadecimal, else a leading "-" and decimal digits. A unit that
/// is not a decimal digit counts as its distance from "0": the number is meaningless then, but nothing fails.
/// Null and empty text give 0.
QZInt64 ReadInt64(const QZWChar* text, QZInt64 count);
QZInt64 ReadInt64(const char* text, QZInt64 count);

/// Hexadecimal digits of both cases; other units are skipped without shifting.
QZUInt64 ReadUInt64Hex(const QZWChar* text, QZInt64 count);
QZUInt64 ReadUInt64Hex(const char* text, QZInt64 count);

/// The integer part, and at most 12 digits after the last point. The sign is the integer part's, so "-0.5"
/// reads 0.5.
double ReadDouble(const QZWChar* text, QZInt64 count);
double ReadDouble(const char* text, QZInt64 count);
}  // namespace number

#endif
