#ifndef QZLIB_APPS_COMMON_TEXT_H
#define QZLIB_APPS_COMMON_TEXT_H

#include <qzlib.h>

#include <string>
#include <string_view>

namespace qzapp
{

/// UTF-8 of a string; empty for null. The string stays with its owner.
std::string Utf8(QZString* text);

/// UTF-16 of well-formed UTF-8.
std::basic_string<QZWChar> Utf16(std::string_view utf8);

/// A message as one line: line ends become blanks, blanks at both ends go. "error <code>" for an empty
/// message.
std::string OneLine(const std::string& message, QZInt64 code);

/// The message of an exception as one line. Returns the exception to the library.
std::string TakeMessage(QZException* exception);

/// Text for a terminal: control bytes as \xNN.
std::string Visible(std::string_view bytes);

// Numbers and times go through the strict family of QZConvert: a text is read as a whole or refused, and what
// is written reads back.

/// Reads a whole number; false, and *value stays, for any other text.
bool ParseInteger(const std::string& text, QZInt64* value);

/// The same, and a number in hexadecimal digits behind "0x".
bool ParseAddress(const std::string& text, QZInt64* value);

/// Reads a number; false, and *value stays, for any other text and for a number that is not finite.
bool ParseFinite(const std::string& text, double* value);
/// The same for a number that a float can hold.
bool ParseFinite(const std::string& text, float* value);

/// Reads a date and time by ISO 8601; false, and *timestamp stays, for any other text.
bool ParseTime(const std::string& text, QZInt64* timestamp);

/// The double with the shortest digits of a float, so that 1.1 stays 1.1.
double Widen(float value);

/// The shortest digits that read back as the number, without an exponent; "inf", "-inf" or "nan" for what is
/// no finite number.
std::string PlainNumber(double value);
/// The same, with an exponent for numbers from 1e21 on and below 1e-6.
std::string NumberText(double value);

/// "2024-05-06T07:08:09.123" of a timestamp of the library, without the point where there are no
/// milliseconds; the number itself for a timestamp outside the years 1 to 9999.
std::string TimeText(QZInt64 timestamp);

}  // namespace qzapp

#endif
