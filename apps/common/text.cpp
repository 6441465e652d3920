#include "common/text.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "common/owned.h"

namespace qzapp
{

namespace
{

/// The strict family takes texts that end at a zero byte: a text that has one inside is none of them.
bool HasZero(const std::string& text) { return text.find('\0') != std::string::npos; }

std::string Take(QZString* text) { return Utf8(OwnedString(text).get()); }

/// Moves the point of "-1.25e+300" by its exponent.
std::string WithoutExponent(const std::string& text)
{
    const std::size_t mark = text.find('e');
    QZInt64 exponent = 0;
    if (mark == std::string::npos || !ParseInteger(text.substr(mark + 1), &exponent)) return text;
    const std::string sign = text[0] == '-' ? "-" : "";
    std::string digits = text.substr(sign.size(), mark - sign.size());
    const std::size_t point = digits.find('.');
    QZInt64 place = static_cast<QZInt64>(std::min(point, digits.size())) + exponent;
    if (point != std::string::npos) digits.erase(point, 1);
    if (place <= 0)
    {
        digits.insert(0, static_cast<std::size_t>(1 - place), '0');
        place = 1;
    }
    if (place >= static_cast<QZInt64>(digits.size()))
        digits.resize(static_cast<std::size_t>(place), '0');
    else
        digits.insert(static_cast<std::size_t>(place), 1, '.');
    return sign + digits;
}

}  // namespace

std::string Utf8(QZString* text)
{
    std::string result;
    if (text == nullptr || text->GetSize() == 0) return result;
    const QZInt64 size = QZEncoding::Convert(QZEncodingType::UTF16LE, text->GetPointer(), text->GetSize(),
                                             QZEncodingType::UTF8, nullptr, 0);
    if (size <= 0) return result;
    result.resize(static_cast<std::size_t>(size));
    QZEncoding::Convert(QZEncodingType::UTF16LE, text->GetPointer(), text->GetSize(), QZEncodingType::UTF8,
                        result.data(), size);
    return result;
}

std::basic_string<QZWChar> Utf16(std::string_view utf8)
{
    std::basic_string<QZWChar> units;
    const QZInt64 length = static_cast<QZInt64>(utf8.size());
    if (length == 0) return units;
    const QZInt64 size =
        QZEncoding::Convert(QZEncodingType::UTF8, utf8.data(), length, QZEncodingType::UTF16LE, nullptr, 0);
    if (size <= 0) return units;
    units.resize(static_cast<std::size_t>(size) / sizeof(QZWChar));
    QZEncoding::Convert(QZEncodingType::UTF8, utf8.data(), length, QZEncodingType::UTF16LE, units.data(),
                        size);
    return units;
}

std::string OneLine(const std::string& message, QZInt64 code)
{
    std::string line;
    for (const char c : message) line.push_back(c == '\r' || c == '\n' ? ' ' : c);
    const std::size_t first = line.find_first_not_of(' ');
    if (first == std::string::npos) return "error " + std::to_string(code);
    return line.substr(first, line.find_last_not_of(' ') + 1 - first);
}

std::string TakeMessage(QZException* exception)
{
    const std::string line = OneLine(Utf8(exception->GetMsg()), exception->GetCode());
    QZExceptionFactory::Recycle(&exception);
    return line;
}

std::string Visible(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F)
        {
            text.push_back(c);
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02X", byte);
        text += escape;
    }
    return text;
}

bool ParseInteger(const std::string& text, QZInt64* value)
{
    return !HasZero(text) && QZConvert::ParseInt64(text.c_str(), value) != 0;
}

bool ParseAddress(const std::string& text, QZInt64* value)
{
    if (text.compare(0, 2, "0x") != 0 && text.compare(0, 2, "0X") != 0) return ParseInteger(text, value);
    // The strict family has no hexadecimal form. This one takes digits alone too.
    QZInt64 number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data() + 2, end, number, 16);
    if (text[2] == '-' || result.ec != std::errc() || result.ptr != end) return false;
    *value = number;
    return true;
}

bool ParseFinite(const std::string& text, double* value)
{
    double number = 0;
    if (HasZero(text) || QZConvert::ParseDouble(text.c_str(), &number) == 0 || !std::isfinite(number))
        return false;
    *value = number;
    return true;
}

bool ParseFinite(const std::string& text, float* value)
{
    double number = 0;
    if (!ParseFinite(text, &number) || std::fabs(number) > static_cast<double>(FLT_MAX)) return false;
    *value = static_cast<float>(number);
    return true;
}

bool ParseTime(const std::string& text, QZInt64* timestamp)
{
    return !HasZero(text) && QZConvert::ParseDateTime(text.c_str(), timestamp) != 0;
}

double Widen(float value)
{
    if (!std::isfinite(value)) return static_cast<double>(value);
    char text[32];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, value);
    double wide = 0;
    return ParseFinite(std::string(text, end.ptr), &wide) ? wide : static_cast<double>(value);
}

std::string PlainNumber(double value) { return WithoutExponent(Take(QZConvert::FormatDouble(value))); }

std::string NumberText(double value)
{
    const double size = std::fabs(value);
    return size < 1e21 && size >= 1e-6 ? PlainNumber(value) : Take(QZConvert::FormatDouble(value));
}

std::string TimeText(QZInt64 timestamp)
{
    const std::string text = Take(QZConvert::FormatDateTime(timestamp, 0));
    return text.empty() ? std::to_string(timestamp) : text;
}

}  // namespace qzapp
