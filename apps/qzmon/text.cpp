#include "text.h"

#include <cstdio>
#include <system_error>

namespace qzmon
{

QZString Text(std::string_view utf8)
{
    const std::basic_string<QZWChar> units = qzapp::Utf16(utf8);
    if (units.empty()) return QZString();
    return QZString(units.data(), static_cast<QZInt64>(units.size() * sizeof(QZWChar)));
}

std::string ClockText(QZInt64 timestamp)
{
    const std::string text = TimeText(timestamp);
    return text.size() < 19 ? text : text.substr(11, 8);
}

std::string FixedText(double value, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string SizeText(QZInt64 bytes)
{
    if (bytes < 1024) return std::to_string(bytes) + " B";
    const char* const units[] = {"KB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes) / 1024;
    int unit = 0;
    for (; value >= 1024 && unit < 3; ++unit) value /= 1024;
    return FixedText(value, value < 10 ? 2 : 1) + " " + units[unit];
}

namespace
{
/// The length in bytes of the first character of UTF-8; 0 when it is not well-formed.
std::size_t CharacterLength(std::string_view text)
{
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    unsigned point = first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((byte(i) & 0xC0) != 0x80) return 0;
        point = point << 6 | (byte(i) & 0x3Fu);
    }
    // Not well-formed: overlong forms, surrogates, and code points after the last character.
    const unsigned least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = point >= 0xD800 && point < 0xE000;
    return point < least[length] || point > 0x10FFFF || surrogate ? 0 : length;
}
}  // namespace

std::string WellFormed(std::string_view text)
{
    std::string result;
    while (!text.empty())
    {
        const std::size_t length = CharacterLength(text);
        result += length == 0 ? std::string_view("\xEF\xBF\xBD") : text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result;
}

std::string HtmlText(std::string_view text)
{
    std::string result;
    for (const char c : text)
    {
        switch (c)
        {
            case '&': result += "&amp;"; break;
            case '<': result += "&lt;"; break;
            case '>': result += "&gt;"; break;
            case '"': result += "&quot;"; break;
            case '\'': result += "&#39;"; break;
            default: result.push_back(c);
        }
    }
    return result;
}

std::string WhyOf(QZException* e)
{
    const int number = static_cast<int>(e->GetSystemError());
    const std::string message = TakeMessage(e);
    return number == 0 ? message : std::error_code(number, std::system_category()).message();
}

}  // namespace qzmon
