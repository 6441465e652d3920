#include "compare.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>

namespace compare
{
QZUInt64 Hash(const void* bytes, std::size_t size)
{
    QZUInt64 hash = 0xCBF29CE484222325;
    const auto* at = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < size; ++i) hash = (hash ^ at[i]) * 0x100000001B3;
    return hash;
}

// SplitMix64.
QZUInt64 Random::Next()
{
    QZUInt64 z = m_state += 0x9E3779B97F4A7C15;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
}

QZInt64 Random::Below(QZInt64 limit)
{
    return limit < 1 ? 0 : static_cast<QZInt64>(Next() % static_cast<QZUInt64>(limit));
}

QZInt64 Random::Number()
{
    switch (Below(5))
    {
        case 0: return Range(-3, 300);
        case 1: return static_cast<QZInt64>(Next());
        case 2: return static_cast<QZInt64>(Next() >> Below(64));
        case 3: return static_cast<QZInt64>((1ULL << Below(64)) - static_cast<QZUInt64>(Below(2)));
        default: return -static_cast<QZInt64>(Next() >> Range(1, 63));
    }
}

double Random::Real()
{
    switch (Below(4))
    {
        case 0: return static_cast<double>(Range(-1000, 1000)) / 8;
        case 1: return static_cast<double>(Range(-1000000, 1000000)) / 1000;
        case 2: return static_cast<double>(Number() >> 12);
        default: return static_cast<double>(static_cast<QZInt64>(Next() >> 20)) / 1e9;
    }
}

std::string Random::Bytes(QZInt64 size)
{
    std::string bytes(static_cast<std::size_t>(size), 0);
    for (char& byte : bytes) byte = static_cast<char>(Next());
    return bytes;
}

std::string Random::FewBytes(QZInt64 size)
{
    std::string bytes(static_cast<std::size_t>(size), 0);
    const QZInt64 values = Range(1, 4);
    for (char& byte : bytes) byte = static_cast<char>('a' + Below(values));
    return bytes;
}

Wide Random::Text(QZInt64 longest)
{
    if (Chance(60)) return Ascii(longest);
    Wide text;
    for (QZInt64 i = Below(longest + 1); i > 0; --i)
    {
        switch (Below(6))
        {
            case 0: text += static_cast<QZWChar>(Range(0x80, 0x7FF)); break;
            case 1: text += static_cast<QZWChar>(Range(0x4E00, 0x9FFF)); break;
            case 2:
                text += static_cast<QZWChar>(Range(0xD800, 0xDBFF));
                if (!Chance(10)) text += static_cast<QZWChar>(Range(0xDC00, 0xDFFF));
                break;
            case 3: text += static_cast<QZWChar>(Range(1, 0xFFFF)); break;
            default: text += static_cast<QZWChar>(Range('a', 'z')); break;
        }
    }
    return text;
}

Wide Random::Ascii(QZInt64 longest)
{
    Wide text;
    const QZInt64 kind = Below(3);
    for (QZInt64 i = Below(longest + 1); i > 0; --i)
    {
        if (kind == 0)
            text += static_cast<QZWChar>("aAbB"[Below(4)]);
        else if (kind == 1)
            text += static_cast<QZWChar>("ab \t\r\n,;"[Below(8)]);
        else
            text += static_cast<QZWChar>(Range(' ', '~'));
    }
    return text;
}

Wide Random::Name(QZInt64 longest)
{
    Wide text(1, static_cast<QZWChar>(Range('a', 'z')));
    for (QZInt64 i = Below(longest); i > 0; --i)
        text += static_cast<QZWChar>(Chance(80) ? Range('A', 'Z') : Range('0', '9'));
    return text;
}

std::string Utf8(std::basic_string_view<QZWChar> text)
{
    std::string utf8;
    const auto put = [&utf8](QZUInt32 value) { utf8 += static_cast<char>(value); };
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        QZUInt32 unit = static_cast<QZUInt16>(text[i]);
        if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00)
        {
            unit = 0x10000 + ((unit & 0x3FF) << 10) + (static_cast<QZUInt16>(text[++i]) & 0x3FF);
        }
        if (unit < 0x80)
        {
            put(unit);
            continue;
        }
        if (unit < 0x800)
        {
            put(0xC0 | unit >> 6);
        }
        else if (unit < 0x10000)
        {
            put(0xE0 | unit >> 12);
            put(0x80 | (unit >> 6 & 0x3F));
        }
        else
        {
            put(0xF0 | unit >> 18);
            put(0x80 | (unit >> 12 & 0x3F));
            put(0x80 | (unit >> 6 & 0x3F));
        }
        put(0x80 | (unit & 0x3F));
    }
    return utf8;
}

Wide ToWide(std::string_view ascii)
{
    Wide text;
    for (const char unit : ascii) text += static_cast<QZWChar>(static_cast<unsigned char>(unit));
    return text;
}

void Release(QZString* text) { QZStringFactory::Recycle(&text); }
void Release(QZStringCollection* texts) { QZStringFactory::Recycle(&texts); }
void Release(QZData* data) { QZDataFactory::Recycle(&data); }
void Release(QZDataCollection* list) { QZData::Recycle(&list); }
void Release(QZCollection* words) { QZNodeHD::Recycle(&words); }
void Release(QZDateTime* time) { QZConvert::Recycle(&time); }

void Case::Line(std::string_view text)
{
    m_text += text;
    m_text += '\n';
    m_text += m_dump;
    m_dump.clear();
}

std::string Case::Number(double value)
{
    QZUInt64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    // The sign of a result that is no number differs between instructions for one formula.
    if (value != value) bits = 0x7FF8000000000000;
    char text[64];
    std::snprintf(text, sizeof text, "%.17g (%016llX)", value, bits);
    return text;
}

std::string Case::Bytes(const void* bytes, QZInt64 size)
{
    if (size <= 0) return "bytes[" + std::to_string(size) + "]";
    const auto* at = static_cast<const unsigned char*>(bytes);
    std::string text = "bytes[" + std::to_string(size) + "] ";
    char digits[24];
    if (size <= 48)
    {
        for (QZInt64 i = 0; i < size; ++i)
        {
            std::snprintf(digits, sizeof digits, "%02X", at[i]);
            text += digits;
        }
        return text;
    }
    std::snprintf(digits, sizeof digits, "#%016llX", Hash(at, static_cast<std::size_t>(size)));
    if (m_full) Dump(at, static_cast<std::size_t>(size));
    return text + digits;
}

/// Bytes too many for a line, sixteen to a line of their own.
void Case::Dump(const unsigned char* bytes, std::size_t size)
{
    constexpr std::size_t kMost = 1 << 20;
    char digits[24];
    for (std::size_t i = 0; i < size && i < kMost; ++i)
    {
        if (i % 16 == 0)
        {
            std::snprintf(digits, sizeof digits, "%s    %06llX:", i == 0 ? "" : "\n",
                          static_cast<QZUInt64>(i));
            m_dump += digits;
        }
        std::snprintf(digits, sizeof digits, " %02X", bytes[i]);
        m_dump += digits;
    }
    m_dump += '\n';
}

std::string Case::Text(std::basic_string_view<QZWChar> text)
{
    std::string shown = "\"";
    for (const QZWChar unit : text)
    {
        const auto value = static_cast<QZUInt16>(unit);
        if (value >= ' ' && value <= '~' && value != '"' && value != '\\')
        {
            shown += static_cast<char>(value);
            continue;
        }
        char escape[16];
        std::snprintf(escape, sizeof escape, "\\u%04X", value);
        shown += escape;
    }
    return shown + "\"";
}

std::string Case::Show(QZString* text)
{
    if (text == nullptr) return "<null>";
    return Text({text->GetPointer(), static_cast<std::size_t>(text->GetLength())});
}

std::string Case::Show(QZStringCollection* texts)
{
    if (texts == nullptr) return "<null>";
    std::string shown = "[";
    for (QZInt64 i = 0; i < texts->Count(); ++i) shown += (i == 0 ? "" : ", ") + Show(texts->GetElement(i));
    return shown + "]";
}

std::string Case::Show(QZData* data)
{
    return data == nullptr ? "<null>" : Bytes(data->GetPointer(), data->GetSize());
}

std::string Case::Show(QZDataCollection* list)
{
    if (list == nullptr) return "<null>";
    std::string shown = "[";
    for (QZInt64 i = 0; i < list->Count(); ++i) shown += (i == 0 ? "" : ", ") + Show(list->GetElement(i));
    return shown + "]";
}

std::string Case::Show(QZCollection* words)
{
    if (words == nullptr) return "<null>";
    std::string shown = "[";
    for (QZInt64 i = 0; i < words->Count(); ++i)
        shown += (i == 0 ? "" : ", ") + std::to_string(static_cast<QZInt64>(words->GetElement(i)));
    return shown + "]";
}

std::string Case::Show(QZDateTime* time)
{
    return time == nullptr ? "<null>" : std::to_string(time->ToTimestamp());
}

void Case::Done(std::string_view name, const std::string& result)
{
    std::string line = std::string(name) + " -> " + result;
    if (QZLastError != 0) line += " last error " + std::to_string(QZLastError);
    if (m_asserts != 0) line += " asserts " + std::to_string(m_asserts);
    QZLastError = 0;
    m_asserts = 0;
    Line(line);
}

namespace
{
std::vector<std::string> Parts(const std::string& text)
{
    std::vector<std::string> parts{""};
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text.compare(i, 2, ", ") != 0)
            parts.back() += text[i];
        else
            parts.emplace_back(), ++i;
    }
    return parts;
}

bool IsPointer(const std::string& type)
{
    return type == "QZPVoid" || type == "QZPString" || type == "QZPBuf" ||
           (!type.empty() && type.back() == '*');
}

/// The argument trace without what no two runs have in common: numbers that stand for a pointer or an object.
std::string WithoutPointers(const std::string& types, const std::string& values)
{
    // A frame is "Class::Method(...)"; frames stand on lines of their own in both.
    const std::vector<std::string> wanted = Parts(types);
    std::vector<std::string> given = Parts(values);
    if (wanted.size() != given.size()) return values;
    std::string text;
    for (std::size_t i = 0; i < given.size(); ++i)
    {
        std::string type = wanted[i];
        std::string value = given[i];
        const std::size_t open = i == 0 ? value.find('(') + 1 : 0;
        const std::size_t close =
            value.size() - (i + 1 == given.size() && !value.empty() && value.back() == ')' ? 1 : 0);
        if (i == 0 && type.find('(') != std::string::npos) type.erase(0, type.find('(') + 1);
        while (!type.empty() && type.back() == ')') type.pop_back();
        const bool number = close > open && value.find_first_not_of("-0123456789", open) >= close;
        // The key of a lock is an object id.
        const bool key = i == 0 && types.find("::SetDisposable(") != std::string::npos;
        if ((key || IsPointer(type)) && number && close - open > 1)
            value.replace(open, close - open, "<object>");
        text += (i == 0 ? "" : ", ") + value;
    }
    return text;
}

std::vector<std::string> Frames(const std::string& text)
{
    static const std::string end = "\\u000D\\u000A";
    std::vector<std::string> frames;
    std::size_t from = 0;
    for (std::size_t at; (at = text.find(end, from)) != std::string::npos; from = at + end.size())
        frames.push_back(text.substr(from, at - from));
    frames.push_back(text.substr(from));
    return frames;
}

std::string ArgumentsOf(const std::string& types, const std::string& values)
{
    const std::vector<std::string> wanted = Frames(types);
    const std::vector<std::string> given = Frames(values);
    if (wanted.size() != given.size()) return values;
    std::string text;
    for (std::size_t i = 0; i < given.size(); ++i)
        text += (i == 0 ? "" : " | ") + WithoutPointers(wanted[i], given[i]);
    return text;
}

std::string Unquoted(const std::string& text)
{
    return text.size() < 2 ? text : text.substr(1, text.size() - 2);
}
}  // namespace

void Case::Raised(std::string_view name, QZException* exception)
{
    const std::string types = Unquoted(Show(exception->GetStackTrace()));
    const std::string values = Unquoted(Show(exception->GetArgumentTrace()));
    const std::string text = "raised " + std::to_string(exception->GetType()) + " code " +
                             std::to_string(exception->GetCode()) + " " + Show(exception->GetMsg()) + " at " +
                             types + " with " + ArgumentsOf(types, values);
    QZExceptionFactory::Recycle(&exception);
    Done(name, text);
}

void Case::File(std::string_view name, const std::string& path)
{
    // Of a file with a large gap, which damage can bring about, the ends say enough.
    constexpr std::streamoff kMost = 1 << 24;
    constexpr std::streamoff kEnd = 1 << 16;
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = in ? static_cast<std::streamoff>(in.tellg()) : 0;
    const auto part = [&](std::streamoff from, std::streamoff count) {
        std::string bytes(static_cast<std::size_t>(count), 0);
        in.seekg(from);
        in.read(bytes.data(), count);
        return Bytes(bytes.data(), count);
    };
    if (size <= kMost) return Line(std::string(name) + " = " + part(0, size));
    Line(std::string(name) + " of " + std::to_string(size) + " = " + part(0, kEnd) + " " +
         part(size - kEnd, kEnd));
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteFile(const std::string& path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void DeleteFile(const std::string& path)
{
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

}  // namespace compare
