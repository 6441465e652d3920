#include "json_writer.h"

#include <cmath>
#include <cstdio>

namespace qzmon
{

void JsonWriter::Escape(unsigned unit)
{
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", unit & 0xFFFF);
    m_text += escape;
}

void JsonWriter::Quote(std::string_view text)
{
    constexpr unsigned kReplacement = 0xFFFD;
    m_text.push_back('"');
    for (std::size_t at = 0; at < text.size();)
    {
        unsigned point = 0;
        const std::size_t length = TakeUtf8(text.substr(at), &point);
        const char c = text[at];
        const bool line = point == 0x2028 || point == 0x2029;
        if (length == 0)
            Escape(kReplacement);
        else if (c == '"' || c == '\\')
            m_text.append(1, '\\').push_back(c);
        else if (point < 0x20 || (point >= 0x7F && point < 0xA0) || line || c == '<' || c == '>' || c == '&')
            Escape(point);
        else
            m_text += text.substr(at, length);
        at += length == 0 ? 1 : length;
    }
    m_text.push_back('"');
}

void JsonWriter::Name(const char* name)
{
    if (!m_first) m_text.push_back(',');
    m_first = false;
    if (name == nullptr) return;
    Quote(name);
    m_text.push_back(':');
}

JsonWriter& JsonWriter::Begin(char bracket, const char* name)
{
    Name(name);
    m_text.push_back(bracket);
    m_first = true;
    return *this;
}

JsonWriter& JsonWriter::End(char bracket)
{
    m_text.push_back(bracket);
    m_first = false;
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, std::string_view text)
{
    Name(name);
    Quote(text);
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, QZInt64 value)
{
    Name(name);
    m_text += std::to_string(value);
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, double value)
{
    Name(name);
    m_text += std::isfinite(value) ? NumberText(value) : "null";
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, bool value)
{
    Name(name);
    m_text += value ? "true" : "false";
    return *this;
}

}  // namespace qzmon
