#include "fw/fw_value.h"

#include <bit>

#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_time.h"
#include "fw/internal/fw_datetime_text.h"
#include "fw/internal/fw_number_text.h"
#include "fw/internal/fw_scoped.h"

const QZInt64 QZDataBool::Type;
const QZInt64 QZDataInt8::Type;
const QZInt64 QZDataByte::Type;
const QZInt64 QZDataInt16::Type;
const QZInt64 QZDataInt32::Type;
const QZInt64 QZDataFloat::Type;
const QZInt64 QZDataInt64::Type;
const QZInt64 QZDataDouble::Type;
const QZInt64 QZDataTimestamp::Type;
const QZInt64 QZDataDatetime::Type;

namespace
{

constexpr QZInt64 kDatetimeSize = 32;
constexpr QZInt32 kDatetimeFields = 7;

/// Sets a value object that came from a cache or was resized to its own size.
void SetSizeBack(QZData* data, QZInt64 size)
{
    if (data->GetSize() != size) data->NewSize(size);
}

const QZData* Source(QZData* source) { return source; }

/// A field with an impossible value counts as 0.
QZInt64 Possible(QZInt64 field, QZInt64 lowest, QZInt64 highest)
{
    return field >= lowest && field <= highest ? field : 0;
}

/// Appends a number with leading zeros up to the width.
void AppendPadded(QZString* text, QZInt32 value, int width)
{
    QZWChar digits[number::kBufferUnits];
    const QZInt64 magnitude = value < 0 ? -static_cast<QZInt64>(value) : value;
    const int count = number::WriteInt64(digits, magnitude);
    digits[count] = 0;
    if (value < 0) text->Append(QZ_W("-"));
    for (int i = count; i < width; ++i) text->Append(QZ_W("0"));
    text->Append(digits);
}

}  // namespace

// ---- QZDataBool

QZDataBool::QZDataBool() : QZData(QZInt64{1}) {}
QZDataBool::QZDataBool(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataBool::GetType() { return Type; }
QZBool QZDataBool::GetValue() { return GetValueByte(0); }

void QZDataBool::SetValue(QZBool value)
{
    SetSizeBack(this, 1);
    SetValueByte(0, value);
}

// ---- QZDataInt8

QZDataInt8::QZDataInt8() : QZData(QZInt64{1}) {}
QZDataInt8::QZDataInt8(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataInt8::GetType() { return Type; }
char QZDataInt8::GetValue() { return static_cast<char>(GetValueByte(0)); }

void QZDataInt8::SetValue(char value)
{
    SetSizeBack(this, 1);
    SetValueByte(0, static_cast<QZByte>(value));
}

// ---- QZDataByte

QZDataByte::QZDataByte() : QZData(QZInt64{1}) {}
QZDataByte::QZDataByte(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataByte::GetType() { return Type; }
QZByte QZDataByte::GetValue() { return GetValueByte(0); }

void QZDataByte::SetValue(QZByte value)
{
    SetSizeBack(this, 1);
    SetValueByte(0, value);
}

// ---- QZDataInt16

QZDataInt16::QZDataInt16() : QZData(QZInt64{2}) {}
QZDataInt16::QZDataInt16(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataInt16::GetType() { return Type; }
QZInt16 QZDataInt16::GetValue() { return GetValueInt16(0); }

void QZDataInt16::SetValue(QZInt16 value)
{
    SetSizeBack(this, 2);
    SetValueInt16(0, value);
}

// ---- QZDataInt32

QZDataInt32::QZDataInt32() : QZData(QZInt64{4}) {}
QZDataInt32::QZDataInt32(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataInt32::GetType() { return Type; }
QZInt32 QZDataInt32::GetValue() { return GetValueInt32(0); }

void QZDataInt32::SetValue(QZInt32 value)
{
    SetSizeBack(this, 4);
    SetValueInt32(0, value);
}

// ---- QZDataFloat

QZDataFloat::QZDataFloat() : QZData(QZInt64{4}) {}
QZDataFloat::QZDataFloat(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataFloat::GetType() { return Type; }
float QZDataFloat::GetValue() { return std::bit_cast<float>(GetValueUInt32(0)); }

void QZDataFloat::SetValue(float value)
{
    SetSizeBack(this, 4);
    SetValueUInt32(0, std::bit_cast<QZUInt32>(value));
}

// ---- QZDataInt64

QZDataInt64::QZDataInt64() : QZData(QZInt64{8}) {}
QZDataInt64::QZDataInt64(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataInt64::GetType() { return Type; }
QZInt64 QZDataInt64::GetValue() { return GetValueInt64(0); }

void QZDataInt64::SetValue(QZInt64 value)
{
    SetSizeBack(this, 8);
    SetValueInt64(0, value);
}

// ---- QZDataDouble

QZDataDouble::QZDataDouble() : QZData(QZInt64{8}) {}
QZDataDouble::QZDataDouble(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataDouble::GetType() { return Type; }
double QZDataDouble::GetValue() { return GetValueDouble(0); }

void QZDataDouble::SetValue(double value)
{
    SetSizeBack(this, 8);
    SetValueDouble(0, value);
}

// ---- QZDataTimestamp

QZDataTimestamp::QZDataTimestamp() : QZData(QZInt64{8}) {}
QZDataTimestamp::QZDataTimestamp(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataTimestamp::GetType() { return Type; }
QZInt64 QZDataTimestamp::GetValue() { return GetValueInt64(0); }

void QZDataTimestamp::SetValue(QZInt64 value)
{
    SetSizeBack(this, 8);
    SetValueInt64(0, value);
}

// ---- QZDataDatetime

QZDataDatetime::QZDataDatetime() : QZData(kDatetimeSize) { SetValueInt32(0, kDatetimeFields); }
QZDataDatetime::QZDataDatetime(QZData* source) : QZData(Source(source)) {}
QZInt64 QZDataDatetime::GetType() { return Type; }

QZInt64 QZDataDatetime::GetValue()
{
    // This counts bytes, not words: for a stored time it gives the field count and parts of the year. Callers
    // rely on these results.
    QZDateTime time(GetValueByte(0), Possible(GetValueByte(1), 1, 12), Possible(GetValueByte(2), 1, 31),
                    Possible(GetValueByte(3), 0, 23), Possible(GetValueByte(4), 0, 59),
                    Possible(GetValueByte(5), 0, 59), 0);
    return time.ToTimestamp();
}

void QZDataDatetime::SetValue(QZDateTime* time)
{
    const QZInt64 fields[] = {time->GetYear(),        time->GetMonth(),   time->GetDay(),
                              time->GetHours(),       time->GetMinutes(), time->GetSeconds(),
                              time->GetMilliSeconds()};
    SetSizeBack(this, kDatetimeSize);
    SetValueInt32(0, kDatetimeFields);
    for (QZInt64 i = 0; i < kDatetimeFields; ++i) SetValueInt32(i + 1, static_cast<QZInt32>(fields[i]));
}

void QZDataDatetime::SetValue(QZInt64 timestamp)
{
    QZDateTime time(timestamp);
    SetValue(&time);
}

void QZDatetimeText(const QZData* words, QZString* target)
{
    struct Field
    {
        int width;
        const QZWChar* after;
    };
    static const Field kFields[] = {{4, QZ_W("-")}, {2, QZ_W("-")}, {2, QZ_W(" ")},
                                    {2, QZ_W(":")}, {2, QZ_W(":")}, {2, QZ_W("")}};
    QZInt64 index = 1;
    // The last word is read first: nothing is written when a word is missing.
    words->GetValueInt32(6);
    for (const Field& field : kFields)
    {
        AppendPadded(target, words->GetValueInt32(index++), field.width);
        target->Append(field.after);
    }
    if (words->GetSize() < kDatetimeSize || words->GetValueInt32(7) == 0) return;
    target->Append(QZ_W("."));
    AppendPadded(target, words->GetValueInt32(7), 3);
}

void QZDataDatetime::ToString(QZString* target) { QZDatetimeText(this, target); }

QZString* QZDataDatetime::ToString()
{
    QZScopedString text(QZStringFactory::CreateString());
    ToString(text.Get());
    return text.Release();
}

void QZDataDatetime::Recycle(QZString** text) { QZStringFactory::Recycle(text); }
