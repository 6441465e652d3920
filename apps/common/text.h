#ifndef QZLIB_APPS_COMMON_TEXT_H
#define QZLIB_APPS_COMMON_TEXT_H

#include <qzlib.h>

#include <charconv>
#include <cmath>
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

/// Reads a number that fills the whole text, in decimal and independent of the locale. False for anything
/// else, and for a number that is not finite.
template <typename Number>
bool ParseWhole(const std::string& text, Number* value)
{
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, *value);
    return result.ec == std::errc() && result.ptr == end && std::isfinite(static_cast<double>(*value));
}

}  // namespace qzapp

#endif
