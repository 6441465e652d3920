#include "fw/internal/fw_number_text.h"

#include <algorithm>
#include <iterator>

namespace number
{
namespace
{
constexpr double kNoFraction = 1e-12;
constexpr int kMostDigits = 12;
/// Doubles from here on have no signed 64-bit integer part.
constexpr double kIntegerLimit = 9223372036854775808.0;

constexpr double kScale[] = {1.0,    0.1,    0.01,   0.001,   0.0001,  0.00001, 0.000001,
                             1.0e-7, 1.0e-8, 1.0e-9, 1.0e-10, 1.0e-11, 1.0e-12};

constexpr QZUInt64 kPower[] = {
    1ull,           10ull,           100ull,           1000ull,          10000ull,
    100000ull,      1000000ull,      10000000ull,      100000000ull,     1000000000ull,
    10000000000ull, 100000000000ull, 1000000000000ull, 10000000000000ull};

QZUInt64 Magnitude(QZInt64 value)
{
    return value < 0 ? 0ull - static_cast<QZUInt64>(value) : static_cast<QZUInt64>(value);
}

template <unsigned Base>
int WriteUnsigned(QZWChar* to, QZUInt64 value)
{
    QZWChar digits[24];
    QZWChar* end = digits + 24;
    QZWChar* p = end;
    do {
        unsigned digit = static_cast<unsigned>(value % Base);
        *--p = static_cast<QZWChar>(digit < 10 ? '0' + digit : 'A' + digit - 10);
        value /= Base;
    } while (value != 0);
    std::copy(p, end, to);
    return static_cast<int>(end - p);
}

template <unsigned Base>
int WriteSigned(QZWChar* to, QZInt64 value)
{
    int sign = value < 0;
    if (sign) *to = '-';
    return sign + WriteUnsigned<Base>(to + sign, Magnitude(value));
}

/// The number of decimal digits that the fraction needs, at most one more than are written. Each step
/// multiplies the whole fraction by ten and keeps the digits before the point.
int CountDigits(double fraction)
{
    int count = 0;
    while (fraction - static_cast<double>(static_cast<QZInt64>(fraction)) > kNoFraction &&
           count < kMostDigits + 1)
    {
        fraction *= 10;
        ++count;
    }
    return count;
}

/// Units without sign: narrow bytes above 127 must not become negative.
template <typename Unit>
QZUInt64 UnitOf(Unit unit)
{
    if constexpr (sizeof(Unit) == 1)
        return static_cast<unsigned char>(unit);
    else
        return static_cast<QZUInt64>(unit);
}

template <typename Unit>
QZUInt64 ReadHex(const Unit* text, QZInt64 count)
{
    QZUInt64 value = 0;
    for (QZInt64 i = 0; text && i < count; ++i)
    {
        QZUInt64 unit = UnitOf(text[i]);
        if (unit >= '0' && unit <= '9')
            value = (value << 4) + (unit - '0');
        else if (unit >= 'a' && unit <= 'f')
            value = (value << 4) + (unit - 'a' + 10);
        else if (unit >= 'A' && unit <= 'F')
            value = (value << 4) + (unit - 'A' + 10);
    }
    return value;
}

template <typename Unit>
QZInt64 ReadInteger(const Unit* text, QZInt64 count)
{
    if (text == nullptr || count < 1) return 0;
    if (count >= 2 && UnitOf(text[0]) == '0' && UnitOf(text[1]) == 'x')
        return static_cast<QZInt64>(ReadHex(text + 2, count - 2));
    bool negative = UnitOf(text[0]) == '-';
    QZUInt64 value = 0;
    // Units that are not digits count too: callers get a number for any text, and never a failure.
    for (QZInt64 i = negative ? 1 : 0; i < count; ++i) value = value * 10 + (UnitOf(text[i]) - '0');
    return static_cast<QZInt64>(negative ? 0ull - value : value);
}

template <typename Unit>
double ReadReal(const Unit* text, QZInt64 count)
{
    if (text == nullptr || count < 1) return 0;
    QZInt64 point = count - 1;
    while (point >= 0 && UnitOf(text[point]) != '.') --point;
    if (point < 0) return static_cast<double>(ReadInteger(text, count));
    QZInt64 whole = ReadInteger(text, point);
    QZInt64 digits = std::min<QZInt64>(count - point - 1, kMostDigits);
    double fraction = static_cast<double>(ReadInteger(text + point + 1, digits)) * kScale[digits];
    // The sign is that of the integer part, which "-0" does not have: "-0.5" reads 0.5.
    if (whole < 0) return -(static_cast<double>(Magnitude(whole)) + fraction);
    return static_cast<double>(whole) + fraction;
}
}  // namespace

int WriteInt64(QZWChar* to, QZInt64 value) { return WriteSigned<10>(to, value); }
int WriteUInt64(QZWChar* to, QZUInt64 value) { return WriteUnsigned<10>(to, value); }
int WriteInt64Hex(QZWChar* to, QZInt64 value) { return WriteSigned<16>(to, value); }
int WriteUInt64Hex(QZWChar* to, QZUInt64 value) { return WriteUnsigned<16>(to, value); }

int WriteDouble(QZWChar* to, double value, QZInt64 precision)
{
    double magnitude = value < 0 ? -value : value;
    // A value without a 64-bit integer part (huge, infinite, not a number) is written as the smallest
    // integer, the processor's result of the conversion.
    if (!(magnitude < kIntegerLimit)) return WriteInt64(to, -0x7FFFFFFFFFFFFFFF - 1);
    QZUInt64 whole = static_cast<QZUInt64>(magnitude);
    double fraction = magnitude - static_cast<double>(whole);
    if (precision < 0 && fraction <= kNoFraction) return WriteInt64(to, static_cast<QZInt64>(value));
    int digits = precision < 0 ? std::min(CountDigits(fraction), kMostDigits)
                               : static_cast<int>(std::min<QZInt64>(precision, kMostDigits));

    // One digit more than is written: it rounds half up, with carry.
    QZUInt64 scaled = static_cast<QZUInt64>(fraction * static_cast<double>(kPower[digits + 1]));
    scaled = scaled / 10 + (scaled % 10 >= 5 ? 1 : 0);
    if (scaled >= kPower[digits])
    {
        scaled -= kPower[digits];
        ++whole;
    }
    int written = 0;
    if (value < 0) to[written++] = '-';
    written += WriteUInt64(to + written, whole);
    if (digits == 0) return written;
    to[written] = '.';
    for (int i = digits; i > 0; --i, scaled /= 10) to[written + i] = static_cast<QZWChar>('0' + scaled % 10);
    return written + 1 + digits;
}

QZInt64 ReadInt64(const QZWChar* text, QZInt64 count) { return ReadInteger(text, count); }
QZInt64 ReadInt64(const char* text, QZInt64 count) { return ReadInteger(text, count); }
QZUInt64 ReadUInt64Hex(const QZWChar* text, QZInt64 count) { return ReadHex(text, count); }
QZUInt64 ReadUInt64Hex(const char* text, QZInt64 count) { return ReadHex(text, count); }
double ReadDouble(const QZWChar* text, QZInt64 count) { return ReadReal(text, count); }
double ReadDouble(const char* text, QZInt64 count) { return ReadReal(text, count); }
}  // namespace number
