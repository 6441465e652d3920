#include "net/internal/net_http_text.h"

#include "net/internal/net_characters.h"

namespace http
{
namespace
{
bool ContainsLower(Text text, std::string_view ascii)
{
    for (QZInt64 i = 0; i + static_cast<QZInt64>(ascii.size()) <= text.count; ++i)
        if (text.From(i).StartsWith(ascii)) return true;
    return false;
}

/// Reads a piece after the first one.
void ReadAttribute(const CookieStrings& cookie, Text name, Text value)
{
    QZString* target = nullptr;
    if (ContainsLower(name, "domain"))
        target = cookie.domain;
    else if (ContainsLower(name, "path"))
        target = cookie.path;
    else if (ContainsLower(name, "expires"))
        target = cookie.expires;
    if (target == nullptr) return;
    // The value ends at a second equals sign.
    const QZInt64 end = value.Find('=');
    Assign(target, (end < 0 ? value : value.Front(end)).Trimmed());
}
}  // namespace

QZInt64 Text::Find(char unit) const
{
    const QZWChar* found =
        count > 0 ? std::char_traits<QZWChar>::find(units, static_cast<std::size_t>(count),
                                                    static_cast<QZWChar>(static_cast<unsigned char>(unit)))
                  : nullptr;
    return found != nullptr ? found - units : -1;
}

bool Text::Contains(std::string_view ascii) const
{
    const auto size = static_cast<QZInt64>(ascii.size());
    for (Text rest = *this; rest.count >= size; rest = rest.From(1))
    {
        const QZInt64 found = rest.Front(rest.count - size + 1).Find(ascii[0]);
        if (found < 0) return false;
        rest = rest.From(found);
        bool same = true;
        for (QZInt64 i = 1; same && i < size; ++i)
            same = rest.units[i] == static_cast<QZWChar>(ascii[static_cast<std::size_t>(i)]);
        if (same) return true;
    }
    return false;
}

bool Text::Is(Text other) const
{
    if (count != other.count) return false;
    for (QZInt64 i = 0; i < count; ++i)
        if (net::Lower(units[i]) != net::Lower(other.units[i])) return false;
    return true;
}

bool Text::StartsWith(std::string_view ascii) const
{
    if (count < static_cast<QZInt64>(ascii.size())) return false;
    for (std::size_t i = 0; i < ascii.size(); ++i)
        if (net::Lower(units[i]) != static_cast<QZWChar>(ascii[i])) return false;
    return true;
}

Text Text::Trimmed() const
{
    QZInt64 start = 0;
    QZInt64 end = count;
    while (start < end && net::IsWhiteSpace(units[start])) ++start;
    while (end > start && net::IsWhiteSpace(units[end - 1])) --end;
    return {units + start, end - start};
}

bool Pieces::Next(Text* piece)
{
    if (m_done) return false;
    QZInt64 end = m_rest.Find(m_separator);
    QZInt64 length = 1;
    if (m_separator == '\n')
    {
        // A line feed alone ends no line.
        while (end == 0 || (end > 0 && m_rest.units[end - 1] != '\r'))
        {
            const QZInt64 next = m_rest.From(end + 1).Find('\n');
            end = next < 0 ? -1 : end + 1 + next;
        }
        if (end > 0) --end;
        length = 2;
    }
    if (end < 0)
    {
        *piece = m_rest;
        m_done = true;
        return true;
    }
    *piece = m_rest.Front(end);
    m_rest = m_rest.From(end + length);
    return true;
}

void ReadHeader(QZString* name, QZString* value, Text line)
{
    const QZInt64 colon = line.Find(':');
    if (colon < 1) return;
    Assign(name, line.Front(colon).Trimmed());
    Assign(value, line.From(colon + 1).Trimmed());
}

void ReadCookie(const CookieStrings& cookie, Text text)
{
    Pieces pieces(text, ';');
    Text piece(nullptr, 0);
    for (QZInt64 i = 0; pieces.Next(&piece); ++i)
    {
        const QZInt64 equals = piece.Find('=');
        if (equals < 0) continue;
        const Text name = piece.Front(equals);
        const Text value = piece.From(equals + 1);
        if (i > 0)
        {
            ReadAttribute(cookie, name, value);
            continue;
        }
        Assign(cookie.name, name.Trimmed());
        Assign(cookie.value, value.Trimmed());
    }
}
}  // namespace http
