#include "fields.h"

namespace qzdb
{

namespace
{

constexpr QZInt64 BytesCode = QZData::Type;
constexpr QZInt64 NameCode = QZEncodingType::UTF8;
/// The code of a 64-bit number among the library's value types.
constexpr QZInt64 NumberCode = 0x2080500;
constexpr std::size_t CodeSize = 4;

std::string Little(QZInt64 value, std::size_t width)
{
    std::string bytes;
    for (std::size_t i = 0; i < width; ++i)
        bytes.push_back(static_cast<char>(static_cast<QZUInt64>(value) >> (8 * i) & 0xFF));
    return bytes;
}

bool ReadTyped(QZInt64 code, const std::string& field, std::string* bytes)
{
    if (field.compare(0, CodeSize, Little(code, CodeSize)) != 0) return false;
    *bytes = field.substr(CodeSize);
    return true;
}

}  // namespace

std::string TypedBytes(std::string_view bytes) { return Little(BytesCode, CodeSize).append(bytes); }

std::string TypedNumber(QZInt64 value) { return Little(NumberCode, CodeSize) + Little(value, 8); }

std::string TypedName(std::string_view name) { return Little(NameCode, CodeSize).append(name); }

bool ReadTypedBytes(const std::string& field, std::string* bytes)
{
    return ReadTyped(BytesCode, field, bytes);
}

bool ReadTypedName(const std::string& mark, std::string* name) { return ReadTyped(NameCode, mark, name); }

bool ReadTypedNumber(const std::string& field, QZInt64* value)
{
    std::string bytes;
    if (field.size() != CodeSize + 8 || !ReadTyped(NumberCode, field, &bytes)) return false;
    QZUInt64 number = 0;
    for (std::size_t i = bytes.size(); i > 0; --i)
        number = number << 8 | static_cast<unsigned char>(bytes[i - 1]);
    *value = static_cast<QZInt64>(number);
    return true;
}

}  // namespace qzdb
