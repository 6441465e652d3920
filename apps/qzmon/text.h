#ifndef QZLIB_APPS_QZMON_TEXT_H
#define QZLIB_APPS_QZMON_TEXT_H

#include <qzlib.h>

#include <string>
#include <string_view>

#include "common/text.h"

namespace qzmon
{

/// A request that cannot be fulfilled: the HTTP status and a sentence that says why.
struct Failure
{
    int status;
    std::string text;
};

using qzapp::TakeMessage;
using qzapp::Utf8;

/// A string of the library of well-formed UTF-8.
QZString Text(std::string_view utf8);

/// "2024-05-06 07:08:09.123" and "07:08:09" of a timestamp of the library.
std::string TimeText(QZInt64 timestamp);
std::string ClockText(QZInt64 timestamp);

/// The shortest digits that read back as the number; "0" for one that is not finite.
std::string NumberText(double value);
/// A number with that many digits after the point.
std::string FixedText(double value, int digits);
/// "12.3 MB".
std::string SizeText(QZInt64 bytes);

/// Reads a number that fills the whole text; false for anything else.
inline bool ParseNumber(const std::string& text, double* value) { return qzapp::ParseWhole(text, value); }
inline bool ParseInteger(const std::string& text, QZInt64* value) { return qzapp::ParseWhole(text, value); }

/// Text as it stands between the tags of a page, with its special characters escaped.
std::string HtmlText(std::string_view text);

}  // namespace qzmon

#endif
