#include "text.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace qzmon
{

QZString Text(std::string_view utf8)
{
    const std::basic_string<QZWChar> units = qzapp::Utf16(utf8);
    if (units.empty()) return QZString();
    return QZString(units.data(), static_cast<QZInt64>(units.size() * sizeof(QZWChar)));
}

std::string TimeText(QZInt64 timestamp)
{
    const QZDateTime time(timestamp);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", static_cast<int>(time.GetYear()),
                  static_cast<int>(time.GetMonth()), static_cast<int>(time.GetDay()),
                  static_cast<int>(time.GetHours()), static_cast<int>(time.GetMinutes()),
                  static_cast<int>(time.GetSeconds()), static_cast<int>(time.GetMilliSeconds()));
    return text;
}

std::string ClockText(QZInt64 timestamp) { return TimeText(timestamp).substr(11, 8); }

std::string NumberText(double value)
{
    if (!std::isfinite(value)) return "0";
    char text[64];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, value);
    return std::string(text, end.ptr);
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

}  // namespace qzmon
