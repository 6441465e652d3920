#include "fw/fw_convert.h"

#include "fw/fw_collection.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_time.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_number_text.h"
#include "fw/internal/fw_string_internal.h"

namespace
{

const QZWChar* const kClass = QZ_W("QZConvert");

/// Text of either kind, not owned.
template <typename Unit>
struct Span
{
    const Unit* units;
    QZInt64 count;
    bool IsEmpty() const { return units == nullptr || count < 1; }
};

Span<QZWChar> SpanOf(QZString* text)
{
    const text::View view = text::ViewOf(text);
    return {view.units, view.count};
}
Span<QZWChar> SpanOf(const QZWChar* text) { return {text, text::Length(text)}; }
Span<char> SpanOf(const char* text) { return {text, text::Length(text)}; }

const QZWChar* TypeName(QZString*) { return QZ_W("QZString*"); }
const QZWChar* TypeName(const QZWChar*) { return QZ_W("QZWChar*"); }
const QZWChar* TypeName(const char*) { return QZ_W("QZChar*"); }

template <typename Text>
[[noreturn]] void ThrowBadText(Text text, const QZWChar* method)
{
    QZRaise(QZExceptionCode::ArgumentOutOfRange, kClass, method).Argument(TypeName(text), text).Throw();
}

template <typename Text>
auto SomeText(Text text, const QZWChar* method)
{
    const auto span = SpanOf(text);
    if (span.IsEmpty()) ThrowBadText(text, method);
    return span;
}

template <typename Unit>
Span<Unit> SomeText(const Unit* text, QZInt64 length, const QZWChar* method)
{
    const Span<Unit> span{text, length};
    if (span.IsEmpty())
        QZRaise(QZExceptionCode::ArgumentOutOfRange, kClass, method)
            .Argument(TypeName(text), text ? QZ_W("") : static_cast<const QZWChar*>(nullptr))
            .Argument(QZ_W("QZInt64"), length)
            .Throw();
    return span;
}

template <typename Unit>
QZInt64 Decimal(Span<Unit> text)
{
    return number::ReadInt64(text.units, text.count);
}

template <typename Unit>
QZUInt64 Hexadecimal(Span<Unit> text)
{
    return number::ReadUInt64Hex(text.units, text.count);
}

template <typename Unit>
double Real(Span<Unit> text)
{
    return number::ReadDouble(text.units, text.count);
}

/// Stores a number unless the text is empty.
template <typename Text, typename Value, typename Reader>
QZBool Try(Text text, Value* value, Reader read)
{
    const auto span = SpanOf(text);
    if (span.IsEmpty()) return 0;
    *value = static_cast<Value>(read(span));
    return 1;
}

/// 1 for "true", 0 for "false", both in any case, and -1 for any other text.
int Truth(QZString* text)
{
    if (text == nullptr) return -1;
    if (text->Equals(QZ_W("true"), 1)) return 1;
    return text->Equals(QZ_W("false"), 1) ? 0 : -1;
}

template <typename Text>
int Truth(Text text)
{
    if (text == nullptr) return -1;
    const QZScopedString copy(QZStringFactory::CreateString(text));
    return Truth(copy.Get());
}

template <typename Text>
QZBool Bool(Text text)
{
    const int truth = Truth(text);
    if (truth < 0) ThrowBadText(text, QZ_W("StringToBool"));
    return truth != 0;
}

template <typename Text>
QZBool TryBool(Text text, QZBool* value)
{
    const int truth = Truth(text);
    if (truth < 0) return 0;
    *value = truth != 0;
    return 1;
}

/// A new string with what a writer of fw_number_text.h wrote.
template <typename Writer>
QZString* Written(Writer write)
{
    QZWChar units[number::kBufferUnits];
    const int count = write(units);
    return QZStringFactory::CreateString(units, count * static_cast<QZInt64>(sizeof(QZWChar)));
}

/// The fields of a text between separators, read as numbers.
class NumberFields
{
public:
    NumberFields(QZString* text, QZWChar separator) : m_fields(text->Split(separator)) {}

    QZInt64 Count() const { return m_fields->Count(); }
    QZString* Text(QZInt64 index) const { return m_fields->GetElement(index); }
    QZInt64 Number(QZInt64 index) const { return QZConvert::StringToInt64(Text(index)); }

    /// Throws unless there are exactly `count` fields.
    void Expect(QZInt64 count) const
    {
        if (Count() != count) QZRaise(QZGeneralFailure(QZExceptionCode::ArgumentOutOfRange)).Throw();
    }

private:
    QZScopedStringCollection m_fields;
};

QZDateTime* ReadDateTime(QZString* text)
{
    const NumberFields parts(text, ' ');
    if (parts.Count() > 2) parts.Expect(2);
    const NumberFields date(parts.Text(0), '-');
    date.Expect(3);
    const QZInt64 year = date.Number(0);
    const QZInt64 month = date.Number(1);
    const QZInt64 day = date.Number(2);
    if (parts.Count() < 2) return new QZDateTime(year, month, day, 0, 0, 0, 0);
    const NumberFields time(parts.Text(1), ':');
    time.Expect(3);
    const QZInt64 hours = time.Number(0);
    const QZInt64 minutes = time.Number(1);
    if (!time.Text(2)->Contains(static_cast<QZWChar>('.')))
        return new QZDateTime(year, month, day, hours, minutes, time.Number(2), 0);
    const NumberFields seconds(time.Text(2), '.');
    seconds.Expect(2);
    return new QZDateTime(year, month, day, hours, minutes, seconds.Number(0), seconds.Number(1));
}

template <typename Text>
[[noreturn]] void ThrowBadDateTime(Text text)
{
    QZRaise(QZGeneralFailure(QZExceptionCode::ArgumentOutOfRange).With(QZ_W("Invalid datetime ")), kClass,
            QZ_W("StringToDateTime"))
        .Argument(TypeName(text), text)
        .Throw();
}

template <typename Text>
QZDateTime* DateTime(Text text)
{
    try
    {
        const QZScopedString copy(QZStringFactory::CreateString(text));
        return ReadDateTime(copy.Get());
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        ThrowBadDateTime(text);
    }
}

}  // namespace

// ---- Pointers

void* QZConvert::IntPtrToPVoid(QZInt64 value) { return UInt64ToPVoid(static_cast<QZUInt64>(value)); }
QZUInt64 QZConvert::IntPtrToUInt64(QZInt64 value) { return static_cast<QZUInt64>(value); }
QZUInt64 QZConvert::PVoidToUInt64(const void* value) { return reinterpret_cast<std::uintptr_t>(value); }
QZInt64 QZConvert::PVoidToIntPtr(const void* value) { return static_cast<QZInt64>(PVoidToUInt64(value)); }
QZInt64 QZConvert::UInt64ToIntPtr(QZUInt64 value) { return static_cast<QZInt64>(value); }
void* QZConvert::UInt64ToPVoid(QZUInt64 value)
{
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(value));
}

// ---- Numbers to text

QZString* QZConvert::UInt32ToString(QZUInt32 value)
{
    return Written([&](QZWChar* units) { return number::WriteUInt64(units, value); });
}

QZString* QZConvert::Int32ToString(QZInt32 value)
{
    return Written([&](QZWChar* units) { return number::WriteInt64(units, value); });
}

QZString* QZConvert::UInt32ToStringHex(QZUInt32 value)
{
    return Written([&](QZWChar* units) { return number::WriteUInt64Hex(units, value); });
}

QZString* QZConvert::UInt64ToString(QZUInt64 value)
{
    return Written([&](QZWChar* units) { return number::WriteUInt64(units, value); });
}

QZString* QZConvert::Int64ToString(QZInt64 value)
{
    return Written([&](QZWChar* units) { return number::WriteInt64(units, value); });
}

QZString* QZConvert::Int64ToStringHex(QZInt64 value)
{
    return Written([&](QZWChar* units) { return number::WriteInt64Hex(units, value); });
}

QZInt64 QZConvert::UInt64ToStringHex(QZUInt64 value, QZWChar* buffer)
{
    QZWChar units[number::kBufferUnits];
    const int count = number::WriteUInt64Hex(units, value);
    const QZInt64 size = count * static_cast<QZInt64>(sizeof(QZWChar));
    if (buffer != nullptr) QZMemCopy(buffer, units, size);
    return size;
}

QZString* QZConvert::DoubleToString(double value) { return DoubleToString(value, -1); }

QZString* QZConvert::DoubleToString(double value, QZInt64 precision)
{
    return Written([&](QZWChar* units) { return number::WriteDouble(units, value, precision); });
}

QZString* QZConvert::FloatToString(float value) { return DoubleToString(value, -1); }
QZString* QZConvert::FloatToString(float value, QZInt64 precision)
{
    return DoubleToString(value, precision);
}

// ---- Text to numbers

QZInt64 QZConvert::StringToInt64(QZString* text) { return Decimal(SomeText(text, QZ_W("StringToInt64"))); }
QZInt64 QZConvert::StringToInt64(const char* text) { return Decimal(SomeText(text, QZ_W("StringToInt64"))); }
QZInt64 QZConvert::StringToInt64(const QZWChar* text)
{
    return Decimal(SomeText(text, QZ_W("StringToInt64")));
}
QZInt64 QZConvert::StringToInt64(const char* text, QZInt64 length)
{
    return Decimal(SomeText(text, length, QZ_W("StringToInt64")));
}
QZInt64 QZConvert::StringToInt64(const QZWChar* text, QZInt64 length)
{
    return Decimal(SomeText(text, length, QZ_W("StringToInt64")));
}

QZInt64 QZConvert::StringToInt64Hex(QZString* text)
{
    return static_cast<QZInt64>(Hexadecimal(SomeText(text, QZ_W("StringToInt64Hex"))));
}
QZInt64 QZConvert::StringToInt64Hex(const char* text)
{
    return static_cast<QZInt64>(Hexadecimal(SomeText(text, QZ_W("StringToInt64Hex"))));
}
QZInt64 QZConvert::StringToInt64Hex(const QZWChar* text)
{
    return static_cast<QZInt64>(Hexadecimal(SomeText(text, QZ_W("StringToInt64Hex"))));
}

QZUInt64 QZConvert::StringToUInt64Hex(QZString* text)
{
    return Hexadecimal(SomeText(text, QZ_W("StringToUInt64Hex")));
}
QZUInt64 QZConvert::StringToUInt64Hex(const char* text)
{
    return Hexadecimal(SomeText(text, QZ_W("StringToUInt64Hex")));
}
QZUInt64 QZConvert::StringToUInt64Hex(const QZWChar* text)
{
    return Hexadecimal(SomeText(text, QZ_W("StringToUInt64Hex")));
}
QZUInt64 QZConvert::StringToUInt64Hex(const char* text, QZInt64 length)
{
    return Hexadecimal(SomeText(text, length, QZ_W("StringToUInt64Hex")));
}
QZUInt64 QZConvert::StringToUInt64Hex(const QZWChar* text, QZInt64 length)
{
    return Hexadecimal(SomeText(text, length, QZ_W("StringToUInt64Hex")));
}

QZUInt32 QZConvert::StringToUInt32(QZString* text)
{
    return static_cast<QZUInt32>(Decimal(SomeText(text, QZ_W("StringToUInt32"))));
}
QZUInt32 QZConvert::StringToUInt32(const char* text)
{
    return static_cast<QZUInt32>(Decimal(SomeText(text, QZ_W("StringToUInt32"))));
}
QZUInt32 QZConvert::StringToUInt32(const QZWChar* text)
{
    return static_cast<QZUInt32>(Decimal(SomeText(text, QZ_W("StringToUInt32"))));
}

QZInt32 QZConvert::StringToInt32(QZString* text)
{
    return static_cast<QZInt32>(Decimal(SomeText(text, QZ_W("StringToInt32"))));
}
QZInt32 QZConvert::StringToInt32(const char* text)
{
    return static_cast<QZInt32>(Decimal(SomeText(text, QZ_W("StringToInt32"))));
}
QZInt32 QZConvert::StringToInt32(const QZWChar* text)
{
    return static_cast<QZInt32>(Decimal(SomeText(text, QZ_W("StringToInt32"))));
}

double QZConvert::StringToDouble(QZString* text) { return Real(SomeText(text, QZ_W("StringToDouble"))); }
double QZConvert::StringToDouble(const char* text) { return Real(SomeText(text, QZ_W("StringToDouble"))); }
double QZConvert::StringToDouble(const QZWChar* text) { return Real(SomeText(text, QZ_W("StringToDouble"))); }

float QZConvert::StringToFloat(QZString* text)
{
    return static_cast<float>(Real(SomeText(text, QZ_W("StringToFloat"))));
}
float QZConvert::StringToFloat(const char* text)
{
    return static_cast<float>(Real(SomeText(text, QZ_W("StringToFloat"))));
}
float QZConvert::StringToFloat(const QZWChar* text)
{
    return static_cast<float>(Real(SomeText(text, QZ_W("StringToFloat"))));
}

QZBool QZConvert::StringToBool(QZString* text) { return Bool(text); }
QZBool QZConvert::StringToBool(const char* text) { return Bool(text); }
QZBool QZConvert::StringToBool(const QZWChar* text) { return Bool(text); }

// ---- Guarded forms

QZBool QZConvert::TryStringToInt64(QZString* text, QZInt64* value)
{
    return Try(text, value, [](auto span) { return Decimal(span); });
}
QZBool QZConvert::TryStringToInt64(const char* text, QZInt64* value)
{
    return Try(text, value, [](auto span) { return Decimal(span); });
}
QZBool QZConvert::TryStringToInt64(const QZWChar* text, QZInt64* value)
{
    return Try(text, value, [](auto span) { return Decimal(span); });
}

QZBool QZConvert::TryStringToInt64Hex(QZString* text, QZInt64* value)
{
    return Try(text, value, [](auto span) { return Hexadecimal(span); });
}
QZBool QZConvert::TryStringToInt64Hex(const char* text, QZInt64* value)
{
    return Try(text, value, [](auto span) { return Hexadecimal(span); });
}
QZBool QZConvert::TryStringToInt64Hex(const QZWChar* text, QZInt64* value)
{
    return Try(text, value, [](auto span) { return Hexadecimal(span); });
}

QZBool QZConvert::TryStringToUInt32(QZString* text, QZUInt32* value)
{
    return Try(text, value, [](auto span) { return Decimal(span); });
}
QZBool QZConvert::TryStringToUInt32(const char* text, QZUInt32* value)
{
    return Try(text, value, [](auto span) { return Decimal(span); });
}
QZBool QZConvert::TryStringToUInt32(const QZWChar* text, QZUInt32* value)
{
    return Try(text, value, [](auto span) { return Decimal(span); });
}

QZBool QZConvert::TryStringToUInt32Hex(QZString* text, QZUInt32* value)
{
    return Try(text, value, [](auto span) { return Hexadecimal(span); });
}
QZBool QZConvert::TryStringToUInt32Hex(const char* text, QZUInt32* value)
{
    return Try(text, value, [](auto span) { return Hexadecimal(span); });
}
QZBool QZConvert::TryStringToUInt32Hex(const QZWChar* text, QZUInt32* value)
{
    return Try(text, value, [](auto span) { return Hexadecimal(span); });
}

QZBool QZConvert::TryStringToInt32(QZString* text, QZInt32* value)
{
    return Try(text, value, [](auto span) { return Decimal(span); });
}
QZBool QZConvert::TryStringToInt32(const char* text, QZInt32* value)
{
    return Try(text, value, [](auto span) { return Decimal(span); });
}
QZBool QZConvert::TryStringToInt32(const QZWChar* text, QZInt32* value)
{
    return Try(text, value, [](auto span) { return Decimal(span); });
}

QZBool QZConvert::TryStringToDouble(QZString* text, double* value)
{
    return Try(text, value, [](auto span) { return Real(span); });
}
QZBool QZConvert::TryStringToDouble(const char* text, double* value)
{
    return Try(text, value, [](auto span) { return Real(span); });
}
QZBool QZConvert::TryStringToDouble(const QZWChar* text, double* value)
{
    return Try(text, value, [](auto span) { return Real(span); });
}

QZBool QZConvert::TryStringToUInt64Hex(QZString* text, QZUInt64* value)
{
    return Try(text, value, [](auto span) { return Hexadecimal(span); });
}
QZBool QZConvert::TryStringToUInt64Hex(const char* text, QZUInt64* value)
{
    return Try(text, value, [](auto span) { return Hexadecimal(span); });
}
QZBool QZConvert::TryStringToUInt64Hex(const QZWChar* text, QZUInt64* value)
{
    return Try(text, value, [](auto span) { return Hexadecimal(span); });
}

QZBool QZConvert::TryStringToBool(QZString* text, QZBool* value) { return TryBool(text, value); }
QZBool QZConvert::TryStringToBool(const char* text, QZBool* value) { return TryBool(text, value); }
QZBool QZConvert::TryStringToBool(const QZWChar* text, QZBool* value) { return TryBool(text, value); }

// ---- Dates

QZData* QZConvert::DateTimeToData(QZDateTime* time) { return time->ToData(); }
QZString* QZConvert::DateTimeToString(QZDateTime* time) { return time->ToString(); }

QZString* QZConvert::DateTimeToStringYMD(QZDateTime* time)
{
    QZScopedString text(time->ToString());
    // The date ends at the last blank; a blank after "BC." may come before that one.
    QZInt64 end = text->GetLength();
    while (end > 0 && text->CharAt(end - 1) != ' ') --end;
    text->SubStringThis(0, end - 1);
    return text.Release();
}

QZDateTime* QZConvert::StringToDateTime(QZString* text)
{
    try
    {
        if (text != nullptr) return ReadDateTime(text);
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
    ThrowBadDateTime(text);
}

QZDateTime* QZConvert::StringToDateTime(const char* text) { return DateTime(text); }
QZDateTime* QZConvert::StringToDateTime(const QZWChar* text) { return DateTime(text); }

// ---- Clean-up

void QZConvert::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
void QZConvert::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZConvert::Recycle(QZDateTime** time)
{
    if (*time == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    delete *time;
    *time = nullptr;
}
