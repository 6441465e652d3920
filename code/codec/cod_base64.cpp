#include "codec/cod_base64.h"

#include <array>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_trace.h"

namespace
{

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Marks a character outside the alphabet; no value has this bit.
constexpr QZByte kStranger = 0x80;

/// The values of the characters up to 127.
constexpr std::array<QZByte, 128> kValues = [] {
    std::array<QZByte, 128> values{};
    values.fill(kStranger);
    for (QZByte i = 0; i < 64; ++i) values[static_cast<std::size_t>(kAlphabet[i])] = i;
    return values;
}();

/// The value of a character, or kStranger.
QZByte ValueOf(QZWChar unit)
{
    const auto code = static_cast<QZUInt16>(unit);
    return code < kValues.size() ? kValues[code] : kStranger;
}

/// Characters of padding at the end of a text of that many units: 0 to 2.
QZInt64 PaddingOf(const QZWChar* text, QZInt64 units)
{
    QZInt64 padding = 0;
    while (padding < 2 && padding < units && text[units - 1 - padding] == '=') ++padding;
    return padding;
}

template <typename T>
void CheckObject(const T* object, const QZWChar* method, const QZWChar* type)
{
    if (object != nullptr) return;
    throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange), QZ_W("QZBase64"),
                  method)
        .Argument(type, static_cast<const QZWChar*>(nullptr))
        .Exception();
}

QZString* Encode(const QZByte* bytes, QZInt64 size)
{
    QZData units;
    units.NewSize((size + 2) / 3 * 4 * static_cast<QZInt64>(sizeof(QZWChar)));
    QZWChar* out = static_cast<QZWChar*>(units.GetPointer());
    for (QZInt64 i = 0; i < size; i += 3)
    {
        const QZInt64 left = size - i;
        const unsigned group = static_cast<unsigned>(bytes[i] << 16) |
                               static_cast<unsigned>(left > 1 ? bytes[i + 1] << 8 : 0) |
                               static_cast<unsigned>(left > 2 ? bytes[i + 2] : 0);
        *out++ = static_cast<QZWChar>(kAlphabet[group >> 18]);
        *out++ = static_cast<QZWChar>(kAlphabet[group >> 12 & 63]);
        *out++ = static_cast<QZWChar>(left > 1 ? kAlphabet[group >> 6 & 63] : '=');
        *out++ = static_cast<QZWChar>(left > 2 ? kAlphabet[group & 63] : '=');
    }
    return QZStringFactory::CreateString(static_cast<const QZWChar*>(units.GetPointer()), units.GetSize());
}

/// Decodes into `bytes`, which has room for `size` bytes. False for units that are not Base64; the written
/// bytes are then meaningless.
bool Decode(const QZWChar* units, QZInt64 size, QZByte* bytes)
{
    // The test of all units is collected and there is no early exit, since nearly all texts are Base64.
    unsigned strange = 0;
    const auto value = [&strange](QZWChar unit) {
        const unsigned code = static_cast<QZUInt16>(unit);
        const unsigned found = kValues[code & 127];
        strange |= found | (code & ~127u);
        return found;
    };
    const QZByte* const end = bytes + size / 3 * 3;
    for (; bytes != end; bytes += 3, units += 4)
    {
        const unsigned bits =
            value(units[0]) << 18 | value(units[1]) << 12 | value(units[2]) << 6 | value(units[3]);
        bytes[0] = static_cast<QZByte>(bits >> 16);
        bytes[1] = static_cast<QZByte>(bits >> 8);
        bytes[2] = static_cast<QZByte>(bits);
    }
    // A last group with padding: one character more than it has bytes.
    const QZInt64 left = size % 3;
    unsigned bits = 0;
    for (QZInt64 i = 0; i <= left && left > 0; ++i) bits |= value(units[i]) << (18 - 6 * i);
    for (QZInt64 i = 0; i < left; ++i) bytes[i] = static_cast<QZByte>(bits >> (16 - 8 * i));
    return strange < kStranger;
}

void Decode(QZString* text, const QZWChar* method, QZData* target)
{
    CheckObject(text, method, QZ_W("QZString*"));
    const QZWChar* units = text->GetPointer();
    const QZInt64 length = text->GetLength();
    if (length % 4 == 0)
    {
        const QZInt64 size = length / 4 * 3 - PaddingOf(units, length);
        target->NewSize(size);
        if (Decode(units, size, static_cast<QZByte*>(target->GetPointer()))) return;
    }
    throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::WrongFormat), QZ_W("QZBase64"), method)
        .Argument(QZ_W("QZString*"), text)
        .Exception();
}

}  // namespace

QZString* QZBase64::EnCode(QZData* data)
{
    CheckObject(data, QZ_W("EnCode"), QZ_W("QZData*"));
    return Encode(static_cast<const QZByte*>(data->GetPointer()), data->GetSize());
}

QZString* QZBase64::EnCode(QZString* text)
{
    CheckObject(text, QZ_W("EnCode"), QZ_W("QZString*"));
    return Encode(reinterpret_cast<const QZByte*>(text->GetPointer()), text->GetSize());
}

QZData* QZBase64::DeCode(QZString* text)
{
    QZData* result = QZDataFactory::CreateData();
    try
    {
        Decode(text, QZ_W("DeCode"), result);
    }
    catch (QZException*)
    {
        QZDataFactory::Recycle(&result);
        throw;
    }
    return result;
}

QZString* QZBase64::DeCodeToString(QZString* text)
{
    QZData bytes;
    Decode(text, QZ_W("DeCodeToString"), &bytes);
    // Whole units only: half a unit is no text.
    return QZStringFactory::CreateString(static_cast<const QZWChar*>(bytes.GetPointer()),
                                         bytes.GetSize() / 2 * 2);
}

QZBool QZBase64::IsBase64(QZString* text)
{
    if (text == nullptr) return 0;
    return IsBase64(text->GetPointer(), text->GetSize());
}

QZBool QZBase64::IsBase64(const QZWChar* text, QZInt64 size)
{
    if (text == nullptr || size < 0 || size % 8 != 0) return 0;
    const QZInt64 units = size / 2;
    const QZInt64 coded = units - PaddingOf(text, units);
    unsigned seen = 0;
    for (QZInt64 i = 0; i < coded; ++i) seen |= ValueOf(text[i]);
    return seen < kStranger ? 1 : 0;
}

void QZBase64::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZBase64::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
