#include "json_writer.h"

#include <cstdio>

namespace qzmon
{

void JsonWriter::Quote(std::string_view text)
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
    m_text += NumberText(value);
    return *this;
}

JsonWriter& JsonWriter::Add(const char* name, bool value)
{
    Name(name);
    m_text += value ? "true" : "false";
    return *this;
}

}  // namespace qzmon
