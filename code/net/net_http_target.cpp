#include "net/internal/net_http_target.h"

#include "net/internal/net_characters.h"

namespace http
{
namespace
{
/// The value of a hexadecimal digit.
unsigned DigitOf(unsigned char byte)
{
    return net::IsDigit(byte) ? byte - unsigned{'0'} : (byte | 32u) - unsigned{'a'} + 10;
}

/// One character of UTF-8 at the front of the bytes: its number and its length; length 0 when there is none.
struct Character
{
    unsigned number = 0;
    std::size_t length = 0;
};

Character FirstOf(std::string_view bytes)
{
    const auto first = static_cast<unsigned char>(bytes[0]);
    if (first < 0x80) return {first, 1};
    std::size_t length = 0;
    unsigned number = 0;
    unsigned least = 0;
    if (first >= 0xC2 && first < 0xE0)
        length = 2, number = first & 0x1Fu, least = 0x80;
    else if (first >= 0xE0 && first < 0xF0)
        length = 3, number = first & 0x0Fu, least = 0x800;
    else if (first >= 0xF0 && first < 0xF5)
        length = 4, number = first & 0x07u, least = 0x10000;
    if (length == 0 || bytes.size() < length) return {};
    for (std::size_t i = 1; i < length; ++i)
    {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if ((byte & 0xC0) != 0x80) return {};
        number = number << 6 | (byte & 0x3Fu);
    }
    const bool surrogate = number >= 0xD800 && number < 0xE000;
    if (number < least || number > 0x10FFFF || surrogate) return {};
    return {number, length};
}

/// True when the segment names a folder above, or a system might take it for one.
bool IsDots(std::string_view segment)
{
    return !segment.empty() && segment.find_first_not_of(". ") == std::string_view::npos;
}

bool HasDots(std::string_view path)
{
    while (!path.empty())
    {
        const std::size_t slash = path.find('/');
        if (IsDots(path.substr(0, slash))) return true;
        if (slash == std::string_view::npos) break;
        path.remove_prefix(slash + 1);
    }
    return false;
}

/// A path and query after a host, or alone.
void ReadPath(std::string_view text, Target* target)
{
    const std::size_t mark = text.find('?');
    target->path = text.substr(0, mark);
    if (mark != std::string_view::npos) target->query = text.substr(mark + 1);
}

bool IsPort(std::string_view text)
{
    constexpr std::size_t kMostDigits = 5;
    if (text.size() > kMostDigits) return false;
    for (const char byte : text)
        if (!net::IsDigit(static_cast<unsigned char>(byte))) return false;
    return true;
}

bool IsHostCharacter(unsigned char byte)
{
    return net::IsLetter(byte) || net::IsDigit(byte) ||
           std::string_view("-._~!$&'()*+;=%").find(static_cast<char>(byte)) != std::string_view::npos;
}

bool IsAbsolute(std::string_view text, Target* target)
{
    const std::size_t end = text.find("://");
    if (end == std::string_view::npos) return false;
    if (!IsWord(text.substr(0, end), "http") && !IsWord(text.substr(0, end), "https")) return false;
    text.remove_prefix(end + 3);
    const std::size_t path = text.find_first_of("/?");
    target->form = Target::Form::Absolute;
    target->authority = text.substr(0, path);
    if (path != std::string_view::npos) ReadPath(text.substr(path), target);
    if (target->path.empty()) target->path = "/";
    return IsAuthority(target->authority);
}
}  // namespace

bool IsTokenCharacter(unsigned char byte)
{
    return net::IsLetter(byte) || net::IsDigit(byte) ||
           (byte != 0 &&
            std::string_view("!#$%&'*+-.^_`|~").find(static_cast<char>(byte)) != std::string_view::npos);
}

bool IsToken(std::string_view text)
{
    for (const char byte : text)
        if (!IsTokenCharacter(static_cast<unsigned char>(byte))) return false;
    return !text.empty();
}

bool IsWord(std::string_view text, std::string_view lower)
{
    if (text.size() != lower.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (net::Lower(static_cast<unsigned char>(text[i])) != static_cast<unsigned char>(lower[i]))
            return false;
    return true;
}

std::string_view Stripped(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

bool HasMember(std::string_view list, std::string_view lower)
{
    for (;;)
    {
        const std::size_t comma = list.find(',');
        if (IsWord(Stripped(list.substr(0, comma)), lower)) return true;
        if (comma == std::string_view::npos) return false;
        list.remove_prefix(comma + 1);
    }
}

bool ReadTarget(std::string_view method, std::string_view text, Target* target)
{
    *target = {};
    for (const char unit : text)
    {
        const auto byte = static_cast<unsigned char>(unit);
        if (byte <= ' ' || byte >= 0x7F || byte == '#') return false;
    }
    if (text.empty()) return false;
    if (method == "CONNECT")
    {
        target->form = Target::Form::Authority;
        target->authority = text;
        return IsAuthority(text);
    }
    if (text == "*")
    {
        target->form = Target::Form::Asterisk;
        target->path = text;
        return method == "OPTIONS";
    }
    if (text[0] != '/') return IsAbsolute(text, target);
    ReadPath(text, target);
    return true;
}

PathVerdict DecodePath(std::string_view path, std::string* decoded)
{
    decoded->clear();
    std::string text;
    bool forbidden = false;
    for (std::size_t i = 0; i < path.size(); ++i)
    {
        auto byte = static_cast<unsigned char>(path[i]);
        const bool escaped = byte == '%';
        if (escaped)
        {
            if (path.size() - i < 3 || !net::IsHexDigit(static_cast<unsigned char>(path[i + 1])) ||
                !net::IsHexDigit(static_cast<unsigned char>(path[i + 2])))
                return PathVerdict::Malformed;
            byte = static_cast<unsigned char>(DigitOf(static_cast<unsigned char>(path[i + 1])) << 4 |
                                              DigitOf(static_cast<unsigned char>(path[i + 2])));
            i += 2;
        }
        if (byte < ' ' || byte == 0x7F) return PathVerdict::Malformed;
        forbidden = forbidden || byte == '\\' || (escaped && byte == '/');
        if (byte == '/' && !text.empty() && text.back() == '/') continue;
        text.push_back(static_cast<char>(byte));
    }
    if (!IsUtf8(text)) return PathVerdict::Malformed;
    if (forbidden || HasDots(text)) return PathVerdict::Forbidden;
    *decoded = std::move(text);
    return PathVerdict::Good;
}

bool IsAuthority(std::string_view text)
{
    if (text.empty()) return false;
    if (text[0] == '[')
    {
        const std::size_t end = text.find(']');
        if (end == std::string_view::npos || end < 3) return false;
        for (const char byte : text.substr(1, end - 1))
            if (!net::IsHexDigit(static_cast<unsigned char>(byte)) && byte != ':' && byte != '.')
                return false;
        const std::string_view rest = text.substr(end + 1);
        return rest.empty() || (rest[0] == ':' && IsPort(rest.substr(1)));
    }
    const std::size_t colon = text.find(':');
    if (colon == 0) return false;
    for (const char byte : text.substr(0, colon))
        if (!IsHostCharacter(static_cast<unsigned char>(byte))) return false;
    return colon == std::string_view::npos || IsPort(text.substr(colon + 1));
}

bool IsUtf8(std::string_view bytes)
{
    while (!bytes.empty())
    {
        const Character character = FirstOf(bytes);
        if (character.length == 0) return false;
        bytes.remove_prefix(character.length);
    }
    return true;
}

std::basic_string<QZWChar> WideOf(std::string_view bytes)
{
    std::basic_string<QZWChar> wide;
    wide.reserve(bytes.size());
    const bool utf8 = IsUtf8(bytes);
    while (!bytes.empty())
    {
        const Character character =
            utf8 ? FirstOf(bytes) : Character{static_cast<unsigned char>(bytes[0]), 1};
        bytes.remove_prefix(character.length);
        if (character.number < 0x10000)
        {
            wide.push_back(static_cast<QZWChar>(character.number));
            continue;
        }
        wide.push_back(static_cast<QZWChar>(0xD800 + ((character.number - 0x10000) >> 10)));
        wide.push_back(static_cast<QZWChar>(0xDC00 + ((character.number - 0x10000) & 0x3FF)));
    }
    return wide;
}
}  // namespace http
