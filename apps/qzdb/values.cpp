#include "values.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
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
    const std::size_t digits = text[0] == '-' ? 1 : 0;
    if (digits == text.size() || text.find_first_not_of("0123456789", digits) != std::string::npos)
        return false;
    errno = 0;
    const QZInt64 value = std::strtoll(text.c_str(), nullptr, 10);
    return errno == 0 && value >= least && value <= most;
}

/// The shortest digits that make this number, without an exponent.
template <typename Number>
std::string WriteNumber(const std::string& bytes)
{
    Number value = 0;
    std::memcpy(&value, bytes.data(), sizeof value);
    char text[400];
    const std::to_chars_result result =
        std::to_chars(text, text + sizeof text, value, std::chars_format::fixed);
    return std::string(text, result.ptr);
}

bool IsDecimal(const std::string& text, QZInt64 type)
{
    double value = 0;
    float narrow = 0;
    return type == QZDataType::FLOAT ? qzapp::ParseWhole(text, &narrow) : qzapp::ParseWhole(text, &value);
}

bool IsHex(const std::string& text)
{
    return text.size() % 2 == 0 && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

/// Stores a text as a type and reads it back. False when the library refuses it.
bool Stored(const std::string& text, QZInt64 type, std::string* back)
{
    try
    {
        const OwnedData data = ValueOfText(text, type);
        *back = TextOfValue(BytesOf(data.get()), type);
        return true;
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        return false;
    }
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

std::string TextOfValue(const std::string& bytes, QZInt64 type)
{
    if (bytes.empty()) return {};
    if (type == QZDataType::TEXTUTF16LE) return Utf8FromUtf16(bytes.data(), bytes.size());
    if (type == QZDataType::DOUBLE && bytes.size() == sizeof(double)) return WriteNumber<double>(bytes);
    if (type == QZDataType::FLOAT && bytes.size() == sizeof(float)) return WriteNumber<float>(bytes);
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    try
    {
        const OwnedString text(QZConvert::DataToText(&data, type));
        return Utf8FromString(text.get());
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
    // The library's own conversions round differently and write a fixed number of digits; here a value has to
    // come back as it was written.
    double number = 0;
    float narrow = 0;
    if (type == QZDataType::DOUBLE && qzapp::ParseWhole(text, &number))
        return OwnedData(QZDataFactory::CreateDouble(number));
    if (type == QZDataType::FLOAT && qzapp::ParseWhole(text, &narrow))
        return OwnedData(QZDataFactory::CreateFloat(narrow));
    const OwnedString wide = StringFromUtf8(text);
    return OwnedData(QZConvert::TextToData(wide.get(), type));
}

bool ComesBack(const std::string& text, QZInt64 type)
{
    std::string back;
    return text.empty() || (Stored(text, type, &back) && back == text);
}

bool IsValue(const std::string& text, QZInt64 type)
{
    if (text.empty()) return true;
    std::string back;
    switch (type)
    {
        case QZDataType::BOOL: return text == "True" || text == "False" || text == "true" || text == "false";
        case QZDataType::INT8: return IsInteger(text, INT8_MIN, INT8_MAX);
        case QZDataType::BYTE: return IsInteger(text, 0, UINT8_MAX);
        case QZDataType::INT16: return IsInteger(text, INT16_MIN, INT16_MAX);
        case QZDataType::INT32: return IsInteger(text, INT32_MIN, INT32_MAX);
        case QZDataType::INT64:
        case QZDataType::TIMESTAMP: return IsInteger(text, INT64_MIN, INT64_MAX);
        case QZDataType::DOUBLE:
        case QZDataType::FLOAT: return IsDecimal(text, type);
        // A date without a time is accepted too.
        case QZDataType::DATETIME:
            return Stored(text, type, &back) && back.compare(0, text.size(), text) == 0;
        case QZDataType::ARRAYINT32:
        case QZDataType::ARRAYINT64:
        case QZDataType::ARRAYDOUBLE: return ComesBack(text, type);
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
    std::erase_if(m_left, [&text](QZInt64 type) { return !IsValue(text, type) || !ComesBack(text, type); });
}

QZInt64 TypeGuess::Type() const
{
    return m_any && !m_left.empty() ? m_left.front() : QZInt64{QZDataType::TEXTUTF16LE};
}

}  // namespace qzdb
