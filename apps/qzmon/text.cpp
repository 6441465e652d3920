#include "text.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <vector>

namespace qzmon
{

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

QZString Text(std::string_view utf8)
{
    const QZInt64 length = static_cast<QZInt64>(utf8.size());
    if (length == 0) return QZString();
    const QZInt64 size =
        QZEncoding::Convert(QZEncodingType::UTF8, utf8.data(), length, QZEncodingType::UTF16LE, nullptr, 0);
    if (size <= 0) return QZString();
    std::vector<QZWChar> units(static_cast<std::size_t>(size) / sizeof(QZWChar) + 1);
    QZEncoding::Convert(QZEncodingType::UTF8, utf8.data(), length, QZEncodingType::UTF16LE, units.data(),
                        size);
    return QZString(units.data(), size);
}

std::string TakeMessage(QZException* exception)
{
    std::string line;
    for (const char c : Utf8(exception->GetMsg())) line.push_back(c == '\r' || c == '\n' ? ' ' : c);
    if (line.find_first_not_of(' ') == std::string::npos)
        line = "error " + std::to_string(static_cast<long long>(exception->GetCode()));
    QZExceptionFactory::Recycle(&exception);
    const std::size_t first = line.find_first_not_of(' ');
    return line.substr(first, line.find_last_not_of(' ') + 1 - first);
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

bool ParseNumber(const std::string& text, double* value)
{
    const std::from_chars_result end = std::from_chars(text.data(), text.data() + text.size(), *value);
    return end.ec == std::errc() && end.ptr == text.data() + text.size() && std::isfinite(*value);
}

bool ParseInteger(const std::string& text, QZInt64* value)
{
    long long number = 0;
    const std::from_chars_result end = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end.ec != std::errc() || end.ptr != text.data() + text.size()) return false;
    *value = number;
    return true;
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

void Json::Quote(std::string_view text)
{
    m_text.push_back('"');
    for (const char c : text)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            m_text.append(1, '\\').push_back(c);
        else if (byte >= 0x20)
            m_text.push_back(c);
        else
        {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            m_text += escape;
        }
    }
    m_text.push_back('"');
}

void Json::Name(const char* name)
{
    if (!m_first) m_text.push_back(',');
    m_first = false;
    if (name == nullptr) return;
    Quote(name);
    m_text.push_back(':');
}

Json& Json::Begin(char bracket, const char* name)
{
    Name(name);
    m_text.push_back(bracket);
    m_first = true;
    return *this;
}

Json& Json::End(char bracket)
{
    m_text.push_back(bracket);
    m_first = false;
    return *this;
}

Json& Json::Add(const char* name, std::string_view text)
{
    Name(name);
    Quote(text);
    return *this;
}

Json& Json::Add(const char* name, QZInt64 value)
{
    Name(name);
    m_text += std::to_string(value);
    return *this;
}

Json& Json::Add(const char* name, double value)
{
    Name(name);
    m_text += NumberText(value);
    return *this;
}

Json& Json::Add(const char* name, bool value)
{
    Name(name);
    m_text += value ? "true" : "false";
    return *this;
}

}  // namespace qzmon
