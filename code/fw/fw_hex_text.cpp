#include "fw/internal/fw_hex_text.h"

namespace hex
{
namespace
{

/// Stores characters, or only counts them.
class Writer
{
public:
    explicit Writer(QZWChar* out) : m_out(out) {}
    void Put(char character)
    {
        if (m_out != nullptr) m_out[m_count] = static_cast<QZWChar>(character);
        ++m_count;
    }
    void Put(const char* text)
    {
        while (*text != 0) Put(*text++);
    }
    void PutHex(QZUInt64 value, int digits)
    {
        for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
            Put("0123456789ABCDEF"[value >> shift & 15]);
    }
    QZInt64 Count() const { return m_count; }

private:
    QZWChar* m_out;
    QZInt64 m_count = 0;
};

int DigitsOf(QZUInt64 value)
{
    int digits = 1;
    while (digits < 16 && value >> (digits * 4) != 0) ++digits;
    return digits;
}

int DigitValue(QZWChar character)
{
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    return -1;
}

}  // namespace

QZInt64 Write(QZWChar* out, const void* data, QZInt64 size, const Layout& layout)
{
    const QZByte* bytes = static_cast<const QZByte*>(data);
    Writer writer(out);
    for (QZInt64 i = 0; i < size; ++i)
    {
        if (layout.width > 0 && i % layout.width == 0)
        {
            if (i > 0) writer.Put("\r\n");
            if (layout.offsets)
            {
                const QZUInt64 offset = static_cast<QZUInt64>(layout.firstOffset) + static_cast<QZUInt64>(i);
                writer.Put("[0x");
                writer.PutHex(offset, DigitsOf(offset));
                writer.Put("]  ");
            }
        }
        writer.PutHex(out != nullptr ? bytes[i] : 0, 2);
        if (layout.spaced) writer.Put(' ');
    }
    return writer.Count();
}

QZInt64 Read(void* out, const QZWChar* text, QZInt64 count)
{
    QZByte* bytes = static_cast<QZByte*>(out);
    QZInt64 stored = 0;
    int high = -1;
    for (QZInt64 i = 0; i < count; ++i)
    {
        if (text[i] == '[')
        {
            while (i < count && text[i] != ']') ++i;
            continue;
        }
        const int value = DigitValue(text[i]);
        if (value < 0) continue;
        if (high < 0)
        {
            high = value;
            continue;
        }
        bytes[stored++] = static_cast<QZByte>(high << 4 | value);
        high = -1;
    }
    return stored;
}

}  // namespace hex
