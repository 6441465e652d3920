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

using qzapp::NumberText;
using qzapp::ParseFinite;
using qzapp::ParseInteger;
using qzapp::TakeMessage;
using qzapp::TimeText;
using qzapp::Utf8;
using qzapp::Visible;

/// A string of the library of well-formed UTF-8.
QZString Text(std::string_view utf8);

/// "07:08:09" of a timestamp of the library.
std::string ClockText(QZInt64 timestamp);

/// A number with that many digits after the point.
std::string FixedText(double value, int digits);
/// "12.3 MB".
std::string SizeText(QZInt64 bytes);

/// Why an operation failed: the system's words where it has some. Returns the exception to the library.
std::string WhyOf(QZException* e);

/// The text with U+FFFD in the place of every byte that is no UTF-8.
std::string WellFormed(std::string_view text);

/// Text as it stands between the tags of a page, with its special characters escaped.
std::string HtmlText(std::string_view text);

}  // namespace qzmon

#endif
