#include <string>

#include "sys/internal/sys_posix.h"
#include "sys/internal/sys_text.h"

namespace os
{

namespace
{

// Reads one code point from UTF-8; false for a byte that does not start a complete, shortest, legal form.
bool DecodeUtf8(std::string_view bytes, size_t* position, char32_t* code)
{
    auto at = [&](size_t index) { return static_cast<unsigned char>(bytes[index]); };
    unsigned char first = at(*position);
    if (first < 0x80)
    {
        *code = first;
        ++*position;
        return true;
    }
    size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || *position + length > bytes.size()) return false;
    char32_t value = first & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i)
    {
        if ((at(*position + i) & 0xC0) != 0x80) return false;
        value = value << 6 | (at(*position + i) & 0x3Fu);
    }
    bool legal = length == 2 || (length == 3 && value >= 0x800 && (value < 0xD800 || value > 0xDFFF)) ||
                 (length == 4 && value >= 0x10000 && value <= 0x10FFFF);
    if (!legal) return false;
    *code = value;
    *position += length;
    return true;
}

// Reads one code point from UTF-16; a lone surrogate is returned unchanged.
char32_t DecodeUtf16(const QZWChar* text, QZInt64 units, QZInt64* position)
{
    char32_t unit = text[(*position)++];
    if (unit < 0xD800 || unit > 0xDBFF || *position >= units) return unit;
    char32_t low = text[*position];
    if (low < 0xDC00 || low > 0xDFFF) return unit;
    ++*position;
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

int EncodeUtf8(char32_t code, char* out)
{
    auto byte = [](char32_t value) { return static_cast<char>(static_cast<unsigned char>(value)); };
    if (code < 0x80)
    {
        out[0] = byte(code);
        return 1;
    }
    if (code < 0x800)
    {
        out[0] = byte(0xC0 | code >> 6);
        out[1] = byte(0x80 | (code & 0x3F));
        return 2;
    }
    if (code < 0x10000)
    {
        out[0] = byte(0xE0 | code >> 12);
        out[1] = byte(0x80 | (code >> 6 & 0x3F));
        out[2] = byte(0x80 | (code & 0x3F));
        return 3;
    }
    out[0] = byte(0xF0 | code >> 18);
    out[1] = byte(0x80 | (code >> 12 & 0x3F));
    out[2] = byte(0x80 | (code >> 6 & 0x3F));
    out[3] = byte(0x80 | (code & 0x3F));
    return 4;
}

int EncodeUtf16(char32_t code, QZWChar* out)
{
    if (code < 0x10000)
    {
        out[0] = static_cast<QZWChar>(code);
        return 1;
    }
    out[0] = static_cast<QZWChar>(0xD800 + ((code - 0x10000) >> 10));
    out[1] = static_cast<QZWChar>(0xDC00 + ((code - 0x10000) & 0x3FF));
    return 2;
}

bool IsSurrogate(char32_t code) { return code >= 0xD800 && code <= 0xDFFF; }

}  // namespace

QZInt64 NarrowToWide(const char* text, QZInt64 bytes, QZWChar* out, QZInt64 capacity)
{
    if (text == nullptr || bytes <= 0) return 0;
    std::string_view view(text, static_cast<size_t>(bytes));
    QZInt64 written = 0;
    for (size_t position = 0; position < view.size();)
    {
        // Most narrow text is ASCII, one byte for each unit.
        if (static_cast<signed char>(view[position]) >= 0)
        {
            if (out != nullptr)
            {
                if (written >= capacity) break;
                out[written] = static_cast<QZWChar>(view[position]);
            }
            ++written;
            ++position;
            continue;
        }
        char32_t code;
        if (!DecodeUtf8(view, &position, &code))
        {
            code = 0xFFFD;
            ++position;
        }
        QZWChar units[2];
        int count = EncodeUtf16(code, units);
        if (out != nullptr)
        {
            if (written + count > capacity) break;
            out[written] = units[0];
            if (count == 2) out[written + 1] = units[1];
        }
        written += count;
    }
    return written;
}

QZInt64 WideToNarrow(const QZWChar* text, QZInt64 units, char* out, QZInt64 capacity)
{
    if (text == nullptr || units <= 0) return 0;
    QZInt64 written = 0;
    for (QZInt64 position = 0; position < units;)
    {
        if (text[position] < 0x80)
        {
            if (out != nullptr)
            {
                if (written >= capacity) break;
                out[written] = static_cast<char>(text[position]);
            }
            ++written;
            ++position;
            continue;
        }
        char32_t code = DecodeUtf16(text, units, &position);
        char bytes[4];
        int count = EncodeUtf8(IsSurrogate(code) ? 0xFFFD : code, bytes);
        if (out != nullptr)
        {
            if (written + count > capacity) break;
            for (int i = 0; i < count; ++i) out[written + i] = bytes[i];
        }
        written += count;
    }
    return written;
}

std::string ToBytes(const QZWChar* text, QZInt64 units)
{
    std::string result;
    for (QZInt64 position = 0; position < units;)
    {
        char32_t code = DecodeUtf16(text, units, &position);
        if (code >= 0xDC80 && code <= 0xDCFF)
        {
            result.push_back(static_cast<char>(static_cast<unsigned char>(code - 0xDC00)));
            continue;
        }
        char bytes[4];
        result.append(bytes, static_cast<size_t>(EncodeUtf8(code, bytes)));
    }
    return result;
}

std::string ToBytes(const QZWChar* text)
{
    return ToBytes(text, static_cast<QZInt64>(std::char_traits<QZWChar>::length(text)));
}

std::u16string ToText(std::string_view bytes)
{
    std::u16string result;
    for (size_t position = 0; position < bytes.size();)
    {
        char32_t code;
        if (!DecodeUtf8(bytes, &position, &code))
            code = 0xDC00u + static_cast<unsigned char>(bytes[position++]);
        QZWChar units[2];
        result.append(units, static_cast<size_t>(EncodeUtf16(code, units)));
    }
    return result;
}

}  // namespace os
