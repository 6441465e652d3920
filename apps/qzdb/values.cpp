#include "values.h"

#include <algorithm>
#include <cstring>

#include "common/text.h"
#include "nodes.h"

namespace qzdb
{

namespace
{

struct TypeWord
{
    const char* name;
    QZInt64 type;
};

const TypeWord kTypes[] = {
    {"text", QZDataType::TEXTUTF16LE},    {"int64", QZDataType::INT64},
    {"int32", QZDataType::INT32},         {"int16", QZDataType::INT16},
    {"int8", QZDataType::INT8},           {"byte", QZDataType::BYTE},
    {"bool", QZDataType::BOOL},           {"double", QZDataType::DOUBLE},
    {"float", QZDataType::FLOAT},         {"datetime", QZDataType::DATETIME},
    {"timestamp", QZDataType::TIMESTAMP}, {"int32s", QZDataType::ARRAYINT32},
    {"int64s", QZDataType::ARRAYINT64},   {"doubles", QZDataType::ARRAYDOUBLE},
    {"binary", QZDataType::BINARY},
};

bool IsInteger(const std::string& text, QZInt64 least, QZInt64 most)
{
    QZInt64 value = 0;
    return qzapp::ParseInteger(text, &value) && value >= least && value <= most;
}

QZInt64 IntegerOf(const std::string& text)
{
    QZInt64 value = 0;
    qzapp::ParseInteger(text, &value);
    return value;
}

bool IsDecimal(const std::string& text, QZInt64 type)
{
    double value = 0;
    float narrow = 0;
    return type == QZDataType::FLOAT ? qzapp::ParseFinite(text, &narrow) : qzapp::ParseFinite(text, &value);
}

double DecimalOf(const std::string& text)
{
    double value = 0;
    qzapp::ParseFinite(text, &value);
    return value;
}

bool IsTime(const std::string& text)
{
    QZInt64 time = 0;
    return qzapp::ParseTime(text, &time);
}

/// The timestamp of a text that is a time or, for a TIMESTAMP, a number.
QZInt64 TimeOf(const std::string& text)
{
    QZInt64 time = 0;
    if (!qzapp::ParseTime(text, &time)) qzapp::ParseInteger(text, &time);
    return time;
}

std::string WriteTime(QZInt64 time, TimeForm form)
{
    if (form == TimeForm::Number) return std::to_string(time);
    std::string text = qzapp::TimeText(time);
    if (form == TimeForm::Blank) std::replace(text.begin(), text.end(), 'T', ' ');
    return text;
}

std::vector<std::string> Elements(const std::string& text)
{
    std::vector<std::string> all(1);
    for (const char c : text)
    {
        if (c == ',')
            all.emplace_back();
        else
            all.back().push_back(c);
    }
    return all;
}

bool AreElements(const std::string& text, QZInt64 type)
{
    const std::vector<std::string> all = Elements(text);
    return std::all_of(all.begin(), all.end(), [type](const std::string& element) {
        switch (type)
        {
            case QZDataType::ARRAYINT32: return IsInteger(element, INT32_MIN, INT32_MAX);
            case QZDataType::ARRAYINT64: return IsInteger(element, INT64_MIN, INT64_MAX);
            default: return IsDecimal(element, QZDataType::DOUBLE);
        }
    });
}

/// The layout of the library: the number of the elements, then these.
std::string DoublesOf(const std::string& text)
{
    std::vector<double> values(1);
    for (const std::string& element : Elements(text)) values.push_back(DecimalOf(element));
    values[0] = static_cast<double>(values.size() - 1);
    return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(double));
}

/// The text of an array of doubles; false when the bytes are none.
bool WriteDoubles(const std::string& bytes, std::string* text)
{
    std::vector<double> values(bytes.size() / sizeof(double));
    if (values.empty() || bytes.size() % sizeof(double) != 0) return false;
    std::memcpy(values.data(), bytes.data(), bytes.size());
    if (values[0] != static_cast<double>(values.size() - 1)) return false;
    for (std::size_t i = 1; i < values.size(); ++i)
        *text += (i > 1 ? "," : "") + qzapp::PlainNumber(values[i]);
    return true;
}

bool IsHex(const std::string& text)
{
    return text.size() % 2 == 0 && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

}  // namespace

std::string TypeName(QZInt64 type)
{
    for (const TypeWord& word : kTypes)
    {
        if (word.type == type) return word.name;
    }
    char text[32];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<QZUInt64>(type));
    return text;
}

bool ParseType(const std::string& name, QZInt64* type)
{
    for (const TypeWord& word : kTypes)
    {
        if (name != word.name) continue;
        *type = word.type;
        return true;
    }
    return false;
}

std::string TypeNames()
{
    std::string names;
    for (const TypeWord& word : kTypes) names += (names.empty() ? "" : ", ") + std::string(word.name);
    return names;
}

OwnedString StringFromUtf8(const std::string& text)
{
    const std::basic_string<QZWChar> units = qzapp::Utf16(text);
    return OwnedString(
        QZStringFactory::CreateString(units.data(), static_cast<QZInt64>(units.size() * sizeof(QZWChar))));
}

std::string Utf8FromString(QZString* text)
{
    return Utf8FromUtf16(text->GetPointer(), static_cast<std::size_t>(text->GetLength()) * sizeof(QZWChar));
}

bool IsTimeType(QZInt64 type) { return type == QZDataType::DATETIME || type == QZDataType::TIMESTAMP; }

TimeForm FormOf(const std::string& text)
{
    if (!IsTime(text)) return TimeForm::Number;
    return text.find(' ') == std::string::npos ? TimeForm::Iso : TimeForm::Blank;
}

std::string TextOfValue(const std::string& bytes, QZInt64 type, TimeForm form)
{
    if (bytes.empty()) return {};
    if (type == QZDataType::TEXTUTF16LE) return Utf8FromUtf16(bytes.data(), bytes.size());
    if (type == QZDataType::DOUBLE && bytes.size() == sizeof(double))
    {
        double value = 0;
        std::memcpy(&value, bytes.data(), sizeof value);
        return qzapp::PlainNumber(value);
    }
    if (type == QZDataType::FLOAT && bytes.size() == sizeof(float))
    {
        float value = 0;
        std::memcpy(&value, bytes.data(), sizeof value);
        return qzapp::PlainNumber(qzapp::Widen(value));
    }
    if (type == QZDataType::TIMESTAMP && bytes.size() == sizeof(QZInt64))
    {
        QZInt64 value = 0;
        std::memcpy(&value, bytes.data(), sizeof value);
        return WriteTime(value, form);
    }
    std::string doubles;
    if (type == QZDataType::ARRAYDOUBLE && WriteDoubles(bytes, &doubles)) return doubles;
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    try
    {
        const OwnedString text(QZConvert::DataToText(&data, type));
        const std::string value = Utf8FromString(text.get());
        // The words of a DATETIME need not be a date and time of the calendar.
        return type == QZDataType::DATETIME && IsTime(value) ? WriteTime(TimeOf(value), form) : value;
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
    const OwnedString digits(QZConvert::DataToText(&data));
    return Utf8FromString(digits.get());
}

OwnedData ValueOfText(const std::string& text, QZInt64 type)
{
    if (text.empty()) return OwnedData(QZDataFactory::CreateData());
    switch (type)
    {
        case QZDataType::INT8:
            return OwnedData(QZDataFactory::CreateInt8(static_cast<char>(IntegerOf(text))));
        case QZDataType::BYTE:
            return OwnedData(QZDataFactory::CreateByte(static_cast<QZByte>(IntegerOf(text))));
        case QZDataType::INT16:
            return OwnedData(QZDataFactory::CreateInt16(static_cast<QZInt16>(IntegerOf(text))));
        case QZDataType::INT32:
            return OwnedData(QZDataFactory::CreateInt32(static_cast<QZInt32>(IntegerOf(text))));
        case QZDataType::INT64: return OwnedData(QZDataFactory::CreateInt64(IntegerOf(text)));
        case QZDataType::DOUBLE: return OwnedData(QZDataFactory::CreateDouble(DecimalOf(text)));
        case QZDataType::FLOAT:
            return OwnedData(QZDataFactory::CreateFloat(static_cast<float>(DecimalOf(text))));
        case QZDataType::DATETIME: return OwnedData(QZDataFactory::CreateDateTime(TimeOf(text)));
        case QZDataType::TIMESTAMP: return OwnedData(QZDataFactory::CreateTimestamp(TimeOf(text)));
        case QZDataType::ARRAYDOUBLE:
        {
            const std::string bytes = DoublesOf(text);
            OwnedData data(QZDataFactory::CreateData());
            data->Set(bytes.data(), static_cast<QZInt64>(bytes.size()));
            return data;
        }
        default: break;
    }
    const OwnedString wide = StringFromUtf8(text);
    return OwnedData(QZConvert::TextToData(wide.get(), type));
}

bool ComesBack(const std::string& text, QZInt64 type, TimeForm form)
{
    if (text.empty()) return true;
    try
    {
        const OwnedData data = ValueOfText(text, type);
        return TextOfValue(BytesOf(data.get()), type, form) == text;
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        return false;
    }
}

bool IsValue(const std::string& text, QZInt64 type)
{
    if (text.empty()) return true;
    switch (type)
    {
        case QZDataType::BOOL: return text == "True" || text == "False" || text == "true" || text == "false";
        case QZDataType::INT8: return IsInteger(text, INT8_MIN, INT8_MAX);
        case QZDataType::BYTE: return IsInteger(text, 0, UINT8_MAX);
        case QZDataType::INT16: return IsInteger(text, INT16_MIN, INT16_MAX);
        case QZDataType::INT32: return IsInteger(text, INT32_MIN, INT32_MAX);
        case QZDataType::INT64: return IsInteger(text, INT64_MIN, INT64_MAX);
        case QZDataType::TIMESTAMP: return IsInteger(text, INT64_MIN, INT64_MAX) || IsTime(text);
        case QZDataType::DOUBLE:
        case QZDataType::FLOAT: return IsDecimal(text, type);
        case QZDataType::DATETIME: return IsTime(text);
        case QZDataType::ARRAYINT32:
        case QZDataType::ARRAYINT64:
        case QZDataType::ARRAYDOUBLE: return AreElements(text, type);
        case QZDataType::BINARY: return IsHex(text);
        default: return true;
    }
}

TypeGuess::TypeGuess() : m_left{QZDataType::INT64, QZDataType::DOUBLE, QZDataType::DATETIME, QZDataType::BOOL}
{}

void TypeGuess::Take(const std::string& text)
{
    if (text.empty()) return;
    m_any = true;
    // An export writes all values of a field in one form.
    if (!m_form) m_form = FormOf(text);
    std::erase_if(m_left,
                  [&](QZInt64 type) { return !IsValue(text, type) || !ComesBack(text, type, *m_form); });
}

QZInt64 TypeGuess::Type() const
{
    return m_any && !m_left.empty() ? m_left.front() : QZInt64{QZDataType::TEXTUTF16LE};
}

}  // namespace qzdb
