#include "codec/cod_base64.h"

#include "fw/fw_bytes.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_trace.h"

namespace
{

constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The value of a character, or -1.
int ValueOf(QZWChar unit)
{
    if (unit >= 'A' && unit <= 'Z') return unit - 'A';
    if (unit >= 'a' && unit <= 'z') return unit - 'a' + 26;
    if (unit >= '0' && unit <= '9') return unit - '0' + 52;
    if (unit == '+') return 62;
    if (unit == '/') return 63;
    return -1;
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
    if (object) return;
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
        *out++ = static_cast<QZWChar>(Alphabet[group >> 18]);
        *out++ = static_cast<QZWChar>(Alphabet[group >> 12 & 63]);
        *out++ = static_cast<QZWChar>(left > 1 ? Alphabet[group >> 6 & 63] : '=');
        *out++ = static_cast<QZWChar>(left > 2 ? Alphabet[group & 63] : '=');
    }
    return QZStringFactory::CreateString(static_cast<const QZWChar*>(units.GetPointer()), units.GetSize());
}

void Decode(QZString* text, const QZWChar* method, QZData* target)
{
    CheckObject(text, method, QZ_W("QZString*"));
    if (!QZBase64::IsBase64(text))
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::WrongFormat), QZ_W("QZBase64"),
                      method)
            .Argument(QZ_W("QZString*"), text)
            .Exception();
    const QZWChar* units = text->GetPointer();
    const QZInt64 length = text->GetLength();
    const QZInt64 size = length / 4 * 3 - PaddingOf(units, length);
    target->NewSize(size);
    QZByte* bytes = static_cast<QZByte*>(target->GetPointer());
    for (QZInt64 i = 0, at = 0; i < length; i += 4)
    {
        unsigned group = 0;
        for (int j = 0; j < 4; ++j)
            group = group << 6 | (units[i + j] == '=' ? 0u : static_cast<unsigned>(ValueOf(units[i + j])));
        for (int shift = 16; shift >= 0 && at < size; shift -= 8)
            bytes[at++] = static_cast<QZByte>(group >> shift);
    }
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
    if (!text) return 0;
    return IsBase64(text->GetPointer(), text->GetSize());
}

QZBool QZBase64::IsBase64(const QZWChar* text, QZInt64 size)
{
    if (!text || size < 0 || size % 8 != 0) return 0;
    const QZInt64 units = size / 2;
    const QZInt64 coded = units - PaddingOf(text, units);
    for (QZInt64 i = 0; i < coded; ++i)
        if (ValueOf(text[i]) < 0) return 0;
    return 1;
}

void QZBase64::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZBase64::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
