#include "fw/internal/fw_encoding_convert.h"

#include <algorithm>
#include <array>
#include <bit>

#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_scoped.h"
#include "sys/internal/sys_text.h"
#include "sys/sys_bytes.h"

namespace encoding
{
namespace
{
using Byte = unsigned char;

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint32_t kLargest = 0x10FFFF;

/// The sum of the marker bits of a sequence, by the number of trailing bytes.
constexpr std::uint32_t kMarkers[6] = {0, 0x3080, 0xE2080, 0x3C82080, 0xFA082080, 0x82082080};

constexpr std::array<Byte, 256> MakeTrailing()
{
    std::array<Byte, 256> table{};
    for (int lead = 0xC0; lead < 0x100; ++lead)
        table[lead] = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF8 ? 3 : lead < 0xFC ? 4 : 5;
    return table;
}
constexpr std::array<Byte, 256> kTrailing = MakeTrailing();

bool IsSurrogate(std::uint32_t value) { return value >= 0xD800 && value <= 0xDFFF; }
bool IsLow(std::uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

std::uint32_t Legal(std::uint32_t value)
{
    return value > kLargest || IsSurrogate(value) ? kReplacement : value;
}

std::uint32_t Pair(std::uint32_t high, std::uint32_t low)
{
    return ((high - 0xD800) << 10) + (low - 0xDC00) + 0x10000;
}

/// A target counts (Sizer) or stores (Writer). Put returns false when the target is full; nothing is written
/// then.
struct Sizer
{
    QZInt64 done = 0;
    bool Room(QZInt64) const { return true; }
    void AsciiToUtf16(QZUInt64, int count) { done += 2 * count; }
    void Ascii4ToUtf8(QZUInt64) { done += 4; }
    bool PutUtf16(std::uint32_t value)
    {
        done += value > 0xFFFF ? 4 : 2;
        return true;
    }
    bool PutUtf32(std::uint32_t)
    {
        done += 4;
        return true;
    }
    bool PutUtf8(std::uint32_t value)
    {
        done += value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
        return true;
    }
};

struct Writer
{
    Byte* to;
    QZInt64 size;
    QZInt64 done = 0;

    bool Room(QZInt64 bytes) const { return size - done >= bytes; }

    /// The first `count` of eight bytes, each as a unit.
    void AsciiToUtf16(QZUInt64 bytes, int count)
    {
        if (count == 8)
        {
            QZStore<QZUInt64>(to + done, Spread(bytes & 0xFFFFFFFF));
            QZStore<QZUInt64>(to + done + 8, Spread(bytes >> 32));
        }
        else
        {
            for (int i = 0; i < count; ++i, bytes >>= 8)
                QZStore<std::uint16_t>(to + done + 2 * i, static_cast<std::uint16_t>(bytes & 0xFF));
        }
        done += 2 * count;
    }

    /// Four bytes as four units.
    static QZUInt64 Spread(QZUInt64 bytes)
    {
        bytes = (bytes | bytes << 16) & 0x0000FFFF0000FFFFull;
        return (bytes | bytes << 8) & 0x00FF00FF00FF00FFull;
    }

    void Ascii4ToUtf8(QZUInt64 units)
    {
        units |= units >> 8;
        QZStore<std::uint16_t>(to + done, static_cast<std::uint16_t>(units));
        QZStore<std::uint16_t>(to + done + 2, static_cast<std::uint16_t>(units >> 32));
        done += 4;
    }

    bool PutUnit(std::uint32_t unit)
    {
        if (!Room(2)) return false;
        QZStore<std::uint16_t>(to + done, static_cast<std::uint16_t>(unit));
        done += 2;
        return true;
    }

    /// A high surrogate is written even if there is no room for its low surrogate.
    bool PutUtf16(std::uint32_t value)
    {
        if (value <= 0xFFFF) return PutUnit(value);
        value -= 0x10000;
        return PutUnit(0xD800 + (value >> 10)) && PutUnit(0xDC00 + (value & 0x3FF));
    }

    bool PutUtf32(std::uint32_t value)
    {
        if (!Room(4)) return false;
        QZStore<std::uint32_t>(to + done, value);
        done += 4;
        return true;
    }

    bool PutUtf8(std::uint32_t value)
    {
        QZInt64 bytes = value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
        if (!Room(bytes)) return false;
        Byte* p = to + done;
        done += bytes;
        if (bytes == 1)
        {
            *p = static_cast<Byte>(value);
            return true;
        }
        for (QZInt64 i = bytes - 1; i > 0; --i, value >>= 6) p[i] = static_cast<Byte>(0x80 | (value & 0x3F));
        constexpr Byte kLead[5] = {0, 0, 0xC0, 0xE0, 0xF0};
        *p = static_cast<Byte>(kLead[bytes] | value);
        return true;
    }
};

/// Reads one character at *i and moves *i past it. False when the source ends inside it.
inline bool DecodeUtf8(const Byte* from, QZInt64 size, QZInt64* i, std::uint32_t* value)
{
    const Byte* p = from + *i;
    std::uint32_t lead = *p;
    QZInt64 left = size - *i;
    // Sequences of two and three bytes are the most frequent ones and need no loop.
    if (lead >= 0xC0 && lead < 0xE0 && left > 1)
    {
        *value = Legal((lead << 6) + p[1] - kMarkers[1]);
        *i += 2;
        return true;
    }
    if (lead >= 0xE0 && lead < 0xF0 && left > 2)
    {
        *value = Legal((lead << 12) + (static_cast<std::uint32_t>(p[1]) << 6) + p[2] - kMarkers[2]);
        *i += 3;
        return true;
    }
    int trailing = kTrailing[lead];
    if (left <= trailing) return false;
    std::uint32_t sum = 0;
    for (int k = 0; k <= trailing; ++k) sum = (sum << 6) + p[k];
    *value = Legal(sum - kMarkers[trailing]);
    *i += trailing + 1;
    return true;
}

template <typename Target>
QZInt64 FromUtf8ToUtf16(const Byte* from, QZInt64 size, Target target)
{
    QZInt64 i = 0;
    while (i < size)
    {
        if (from[i] < 0x80 && size - i >= 8 && target.Room(16))
        {
            QZUInt64 bytes = QZLoad<QZUInt64>(from + i);
            QZUInt64 others = bytes & 0x8080808080808080ull;
            int run = others == 0 ? 8 : std::countr_zero(others) / 8;
            target.AsciiToUtf16(bytes, run);
            i += run;
            continue;
        }
        std::uint32_t value;
        if (!DecodeUtf8(from, size, &i, &value) || !target.PutUtf16(value)) break;
    }
    return target.done;
}

template <typename Target>
QZInt64 FromUtf8ToUtf32(const Byte* from, QZInt64 size, Target target)
{
    QZInt64 i = 0;
    std::uint32_t value;
    while (i < size && DecodeUtf8(from, size, &i, &value) && target.PutUtf32(value))
    {}
    return target.done;
}

template <typename Target>
QZInt64 FromUtf16ToUtf8(const Byte* from, QZInt64 size, Target target)
{
    QZInt64 count = size / 2;
    QZInt64 i = 0;
    while (i < count)
    {
        while (count - i >= 4 && target.Room(4))
        {
            QZUInt64 units = QZLoad<QZUInt64>(from + 2 * i);
            if (units & 0xFF80FF80FF80FF80ull) break;
            target.Ascii4ToUtf8(units);
            i += 4;
        }
        if (i == count) break;
        std::uint32_t value = QZLoad<std::uint16_t>(from + 2 * i);
        ++i;
        // A pair begins at 0xD801: 0xD800 and its low surrogate become two characters of three bytes.
        if (value >= 0xD801 && value <= 0xDBFF && i < count)
        {
            std::uint32_t low = QZLoad<std::uint16_t>(from + 2 * i);
            if (IsLow(low))
            {
                value = Pair(value, low);
                ++i;
            }
        }
        if (!target.PutUtf8(value)) break;
    }
    return target.done;
}

template <typename Target>
QZInt64 FromUtf16ToUtf32(const Byte* from, QZInt64 size, Target target)
{
    QZInt64 count = size / 2;
    for (QZInt64 i = 0; i < count;)
    {
        std::uint32_t value = QZLoad<std::uint16_t>(from + 2 * i);
        ++i;
        if (value >= 0xD800 && value <= 0xDBFF && i < count && IsLow(QZLoad<std::uint16_t>(from + 2 * i)))
        {
            value = Pair(value, QZLoad<std::uint16_t>(from + 2 * i));
            ++i;
        }
        if (!target.PutUtf32(Legal(value))) break;
    }
    return target.done;
}

template <typename Target>
QZInt64 FromUtf32ToUtf8(const Byte* from, QZInt64 size, Target target)
{
    for (QZInt64 i = 0; i + 4 <= size; i += 4)
        if (!target.PutUtf8(Legal(QZLoad<std::uint32_t>(from + i)))) break;
    return target.done;
}

template <typename Target>
QZInt64 FromUtf32ToUtf16(const Byte* from, QZInt64 size, Target target)
{
    for (QZInt64 i = 0; i + 4 <= size; i += 4)
        if (!target.PutUtf16(Legal(QZLoad<std::uint32_t>(from + i)))) break;
    return target.done;
}

const Byte* Bytes(const void* p) { return static_cast<const Byte*>(p); }

bool IsAligned(const void* p) { return reinterpret_cast<std::uintptr_t>(p) % alignof(QZWChar) == 0; }

/// Every narrow page maps ASCII to itself, so that plain ASCII needs no system call.
bool IsAscii(const void* from, QZInt64 size)
{
    QZUInt64 all = 0;
    QZInt64 i = 0;
    for (; i + 8 <= size; i += 8) all |= QZLoad<QZUInt64>(QZAt(from, i));
    for (; i < size; ++i) all |= *QZAt(from, i);
    return (all & 0x8080808080808080ull) == 0;
}

bool IsAsciiUtf16(const void* from, QZInt64 units)
{
    std::uint16_t all = 0;
    for (QZInt64 i = 0; i < units; ++i) all |= QZLoad<std::uint16_t>(QZAt(from, i * 2));
    return all < 0x80;
}

QZWChar* Units(const QZScopedBuffer& buffer) { return static_cast<QZWChar*>(buffer.Get()); }
}  // namespace

int TrailingCount(unsigned char lead) { return kTrailing[lead]; }

QZInt64 Utf8ToUtf16(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize)
{
    return to != nullptr ? FromUtf8ToUtf16(Bytes(from), fromSize, Writer{static_cast<Byte*>(to), toSize})
                         : FromUtf8ToUtf16(Bytes(from), fromSize, Sizer{});
}

QZInt64 Utf8ToUtf32(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize)
{
    return to != nullptr ? FromUtf8ToUtf32(Bytes(from), fromSize, Writer{static_cast<Byte*>(to), toSize})
                         : FromUtf8ToUtf32(Bytes(from), fromSize, Sizer{});
}

QZInt64 Utf16ToUtf8(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize)
{
    return to != nullptr ? FromUtf16ToUtf8(Bytes(from), fromSize, Writer{static_cast<Byte*>(to), toSize})
                         : FromUtf16ToUtf8(Bytes(from), fromSize, Sizer{});
}

QZInt64 Utf16ToUtf32(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize)
{
    return to != nullptr ? FromUtf16ToUtf32(Bytes(from), fromSize, Writer{static_cast<Byte*>(to), toSize})
                         : FromUtf16ToUtf32(Bytes(from), fromSize, Sizer{});
}

QZInt64 Utf32ToUtf8(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize)
{
    return to != nullptr ? FromUtf32ToUtf8(Bytes(from), fromSize, Writer{static_cast<Byte*>(to), toSize})
                         : FromUtf32ToUtf8(Bytes(from), fromSize, Sizer{});
}

QZInt64 Utf32ToUtf16(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize)
{
    return to != nullptr ? FromUtf32ToUtf16(Bytes(from), fromSize, Writer{static_cast<Byte*>(to), toSize})
                         : FromUtf32ToUtf16(Bytes(from), fromSize, Sizer{});
}

QZInt64 SwapUtf16(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize)
{
    QZInt64 size = fromSize - fromSize % 2;
    if (to == nullptr) return size;
    size = std::min(size, toSize - toSize % 2);
    for (QZInt64 i = 0; i < size; i += 2)
    {
        std::uint16_t unit = QZLoad<std::uint16_t>(QZAt(from, i));
        QZStore<std::uint16_t>(QZAt(to, i), static_cast<std::uint16_t>(unit << 8 | unit >> 8));
    }
    return size;
}

QZInt64 AnsiToUtf16(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize)
{
    if (IsAscii(from, fromSize))
        return to != nullptr ? Utf8ToUtf16(from, fromSize, to, toSize) : fromSize * 2;
    const char* text = static_cast<const char*>(from);
    // Every byte becomes at most one unit: with room for that many the text is converted into the target
    // directly.
    if (to != nullptr && toSize / 2 >= fromSize && IsAligned(to))
        return os::NarrowToWide(text, fromSize, static_cast<QZWChar*>(to), toSize / 2) * 2;
    QZInt64 units = os::NarrowToWide(text, fromSize, nullptr, 0);
    if (to == nullptr) return units * 2;
    if (toSize / 2 >= units && IsAligned(to))
        return os::NarrowToWide(text, fromSize, static_cast<QZWChar*>(to), units) * 2;
    QZScopedBuffer whole(MemoryAllocate(units * 2));
    if (whole.Get() == nullptr) return -1;
    units = std::min(os::NarrowToWide(text, fromSize, Units(whole), units), toSize / 2);
    QZMemCopy(to, Units(whole), units * 2);
    return units * 2;
}

QZInt64 Utf16ToAnsi(const void* from, QZInt64 fromSize, void* to, QZInt64 toSize)
{
    QZInt64 units = fromSize / 2;
    if (units > 0 && QZLoad<std::uint16_t>(from) == 0xFEFF)
    {
        from = QZAt(from, 2);
        --units;
    }
    if (IsAsciiUtf16(from, units)) return to != nullptr ? Utf16ToUtf8(from, units * 2, to, toSize) : units;
    char* bytes = static_cast<char*>(to);
    if (IsAligned(from))
        return os::WideToNarrow(static_cast<const QZWChar*>(from), units, bytes, to != nullptr ? toSize : 0);
    QZScopedBuffer aligned(MemoryAllocate(units * 2));
    if (aligned.Get() == nullptr) return -1;
    QZMemCopy(Units(aligned), from, units * 2);
    return os::WideToNarrow(Units(aligned), units, bytes, to != nullptr ? toSize : 0);
}
}  // namespace encoding
