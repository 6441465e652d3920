// The part of QZConvert between typed data and text.

#include <string>
#include <vector>

#include "fw/fw_convert.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_data_type.h"
#include "fw/fw_encoding.h"
#include "fw/fw_time.h"
#include "fw/fw_value.h"
#include "fw/internal/fw_datetime_text.h"
#include "fw/internal/fw_hex_text.h"
#include "fw/internal/fw_number_text.h"
#include "fw/internal/fw_string_internal.h"
#include "sys/sys_bytes.h"

namespace
{

const QZWChar* const kClass = QZ_W("QZConvert");
constexpr QZInt64 kUnit = sizeof(QZWChar);

[[noreturn]] void ThrowNull(const QZWChar* method, const QZWChar* type)
{
    QZRaise(QZExceptionCode::ArgumentOutOfRange, kClass, method)
        .Argument(type, static_cast<const QZWChar*>(nullptr))
        .Throw();
}

void CheckData(const QZData* data)
{
    if (data == nullptr) ThrowNull(QZ_W("DataToText"), QZ_W("QZData*"));
}

void CheckText(const void* text, const QZWChar* type)
{
    if (text == nullptr) ThrowNull(QZ_W("TextToData"), type);
}

QZString* HexText(const void* bytes, QZInt64 size, const hex::Layout& layout)
{
    const QZInt64 units = hex::Write(nullptr, bytes, size, layout);
    QZScopedData text(QZDataFactory::CreateData());
    text->NewSize(units * kUnit);
    hex::Write(static_cast<QZWChar*>(text->GetPointer()), bytes, size, layout);
    return QZStringFactory::CreateString(static_cast<const QZWChar*>(text->GetPointer()), units * kUnit);
}

QZData* HexBytes(const QZWChar* text, QZInt64 count)
{
    QZScopedData data(QZDataFactory::CreateData());
    data->NewSize(count / 2);
    data->NewSize(hex::Read(data->GetPointer(), text, count));
    return data.Release();
}

// ---- Arrays

/// How the elements of an array type are read and written, as values and as text.
struct Int32Element
{
    using Value = QZInt32;
    static Value Get(const QZData* data, QZInt64 index) { return data->GetValueInt32(index); }
    static int Write(QZWChar* units, Value value) { return number::WriteInt64(units, value); }
    static Value Read(const QZWChar* units, QZInt64 count, bool negative)
    {
        const auto value = static_cast<QZUInt32>(number::ReadInt64(units, count));
        return static_cast<Value>(negative ? 0u - value : value);
    }
    static constexpr bool kPoint = false;
};

struct Int64Element
{
    using Value = QZInt64;
    static Value Get(const QZData* data, QZInt64 index) { return data->GetValueInt64(index); }
    static int Write(QZWChar* units, Value value) { return number::WriteInt64(units, value); }
    static Value Read(const QZWChar* units, QZInt64 count, bool negative)
    {
        const auto value = static_cast<QZUInt64>(number::ReadInt64(units, count));
        return static_cast<Value>(negative ? 0ull - value : value);
    }
    static constexpr bool kPoint = false;
};

struct DoubleElement
{
    using Value = double;
    static Value Get(const QZData* data, QZInt64 index) { return data->GetValueDouble(index); }
    static int Write(QZWChar* units, Value value) { return number::WriteDouble(units, value); }
    static Value Read(const QZWChar* units, QZInt64 count, bool negative)
    {
        const double value = number::ReadDouble(units, count);
        return negative ? -value : value;
    }
    static constexpr bool kPoint = true;
};

template <typename Element>
QZString* ArrayText(const QZData* data)
{
    const auto count = Element::Get(data, 0);
    std::basic_string<QZWChar> text;
    // The count may be too large: the first missing element throws.
    for (QZInt64 i = 1; static_cast<typename Element::Value>(i) <= count; ++i)
    {
        QZWChar units[number::kBufferUnits];
        const int length = Element::Write(units, Element::Get(data, i));
        if (i > 1) text += static_cast<QZWChar>(',');
        text.append(units, static_cast<std::size_t>(length));
    }
    return QZStringFactory::CreateString(text.data(), static_cast<QZInt64>(text.size()) * kUnit);
}

/// The first half of a full-width comma that was read in the wrong encoding; the other half follows.
constexpr QZWChar kHalfComma = 0xA3;

/// Walks over the elements of an array's text.
class Elements
{
public:
    Elements(const QZWChar* units, QZInt64 count) : m_next(units), m_end(units + count), m_done(count < 1) {}

    /// Reads the next element: its digits, also points if `point` is set, and whether it contained a "-".
    bool Next(bool point)
    {
        if (m_done) return false;
        m_digits.clear();
        m_negative = false;
        m_done = true;
        while (m_next < m_end)
        {
            const QZWChar unit = *m_next++;
            if (unit == kHalfComma && m_next < m_end) ++m_next;
            if (unit == ',' || unit == kHalfComma)
            {
                m_done = false;
                break;
            }
            if (unit == '-') m_negative = true;
            if ((unit >= '0' && unit <= '9') || (point && unit == '.')) m_digits += unit;
        }
        return true;
    }
    const QZWChar* Digits() const { return m_digits.data(); }
    QZInt64 Count() const { return static_cast<QZInt64>(m_digits.size()); }
    bool IsNegative() const { return m_negative; }

private:
    const QZWChar* m_next;
    const QZWChar* m_end;
    bool m_done;
    std::basic_string<QZWChar> m_digits;
    bool m_negative = false;
};

template <typename Element>
QZData* ArrayData(QZString* text)
{
    using Value = typename Element::Value;
    constexpr QZInt64 kWidth = sizeof(Value);
    std::vector<Value> values(1);
    for (Elements elements(text->GetPointer(), text->GetLength()); elements.Next(Element::kPoint);)
        values.push_back(Element::Read(elements.Digits(), elements.Count(), elements.IsNegative()));
    values[0] = static_cast<Value>(values.size() - 1);
    QZScopedData data(QZDataFactory::CreateData());
    data->Set(values.data(), static_cast<QZInt64>(values.size()) * kWidth);
    return data.Release();
}

// ---- Texts

/// The encoding of a text type; 0 for all other types. TEXTUTF8 means UTF-8 here, although its number is that
/// of UTF16BE.
QZInt64 EncodingOf(QZInt64 type)
{
    switch (type)
    {
        case QZDataType::TEXTGB2312: return QZEncodingType::ANSI;
        case QZDataType::TEXTUTF16LE: return QZEncodingType::UTF16LE;
        case QZDataType::TEXTUTF8: return QZEncodingType::UTF8;
        default: return 0;
    }
}

QZString* DatetimeText(const QZData* data)
{
    QZScopedString text(QZStringFactory::CreateString());
    QZDatetimeText(data, text.Get());
    return text.Release();
}

QZData* DatetimeData(QZString* text)
{
    const QZDateTime* time = QZConvert::StringToDateTime(text);
    const QZInt64 timestamp = time->ToTimestamp();
    delete time;
    return QZDataFactory::CreateDateTime(timestamp);
}

}  // namespace

QZString* QZConvert::DataToText(QZData* data, QZInt64 type)
{
    CheckData(data);
    if (EncodingOf(type) != 0) return QZEncoding::GetString(EncodingOf(type), data);
    switch (type)
    {
        case QZDataType::BOOL:
            return QZStringFactory::CreateString(data->GetValueByte(0) ? QZ_W("True") : QZ_W("False"));
        case QZDataType::INT8: return Int32ToString(static_cast<signed char>(data->GetValueByte(0)));
        case QZDataType::BYTE: return Int32ToString(data->GetValueByte(0));
        case QZDataType::INT16: return Int32ToString(data->GetValueInt16(0));
        case QZDataType::INT32: return Int32ToString(data->GetValueInt32(0));
        case QZDataType::INT64:
        case QZDataType::TIMESTAMP: return Int64ToString(data->GetValueInt64(0));
        case QZDataType::DOUBLE: return DoubleToString(data->GetValueDouble(0));
        case QZDataType::FLOAT:
            data->GetValueUInt32(0);
            return DoubleToString(QZLoad<float>(data->GetPointer()));
        case QZDataType::DATETIME: return DatetimeText(data);
        case QZDataType::ARRAYINT32: return ArrayText<Int32Element>(data);
        case QZDataType::ARRAYINT64: return ArrayText<Int64Element>(data);
        case QZDataType::ARRAYDOUBLE: return ArrayText<DoubleElement>(data);
        default: return DataToText(data);
    }
}

QZString* QZConvert::DataToText(QZData* data)
{
    CheckData(data);
    return HexText(data->GetPointer(), data->GetSize(), {});
}

QZString* QZConvert::DataToText(QZInt64 offset, QZData* data) { return DataToText(offset, data, 0, 0, 0); }

QZString* QZConvert::DataToText(QZInt64 offset, QZData* data, QZInt64 width, QZBool showOffset, QZBool spaced)
{
    CheckData(data);
    return HexText(data->GetPointer(), data->GetSize(), {offset, width, showOffset != 0, spaced != 0});
}

QZString* QZConvert::DataToText(QZInt64 offset, const void* bytes, QZInt64 size, QZInt64 width,
                                QZBool showOffset, QZBool spaced)
{
    if (bytes == nullptr && size > 0) ThrowNull(QZ_W("DataToText"), QZ_W("QZPVoid"));
    return HexText(bytes, size, {offset, width, showOffset != 0, spaced != 0});
}

QZData* QZConvert::TextToData(QZString* text, QZInt64 type)
{
    CheckText(text, QZ_W("QZString*"));
    if (EncodingOf(type) != 0) return QZEncoding::GetData(EncodingOf(type), text);
    switch (type)
    {
        case QZDataType::BOOL: return QZDataFactory::CreateBool(text->Equals(QZ_W("True"), 1));
        case QZDataType::INT8: return QZDataFactory::CreateInt8(static_cast<char>(StringToInt64(text)));
        case QZDataType::BYTE: return QZDataFactory::CreateByte(static_cast<QZByte>(StringToInt64(text)));
        case QZDataType::INT16: return QZDataFactory::CreateInt16(static_cast<QZInt16>(StringToInt64(text)));
        case QZDataType::INT32: return QZDataFactory::CreateInt32(StringToInt32(text));
        case QZDataType::INT64: return QZDataFactory::CreateInt64(StringToInt64(text));
        case QZDataType::TIMESTAMP: return QZDataFactory::CreateTimestamp(StringToInt64(text));
        case QZDataType::DOUBLE: return QZDataFactory::CreateDouble(StringToDouble(text));
        case QZDataType::FLOAT: return QZDataFactory::CreateFloat(StringToFloat(text));
        case QZDataType::DATETIME: return DatetimeData(text);
        case QZDataType::ARRAYINT32: return ArrayData<Int32Element>(text);
        case QZDataType::ARRAYINT64: return ArrayData<Int64Element>(text);
        case QZDataType::ARRAYDOUBLE: return ArrayData<DoubleElement>(text);
        default: return TextToData(text);
    }
}

QZData* QZConvert::TextToData(QZString* text)
{
    CheckText(text, QZ_W("QZString*"));
    return HexBytes(text->GetPointer(), text->GetLength());
}

QZData* QZConvert::TextToData(const QZWChar* text)
{
    CheckText(text, QZ_W("QZWChar*"));
    return HexBytes(text, text::Length(text));
}
