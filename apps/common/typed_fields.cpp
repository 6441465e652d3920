#include "common/typed_fields.h"

namespace qzapp
{

namespace
{

constexpr QZInt64 kBytesCode = QZData::Type;
constexpr QZInt64 kNameCode = QZEncodingType::UTF8;
constexpr QZInt64 kNumberCode = QZDataType::INT64;
constexpr std::size_t kCodeSize = 4;

std::string Little(QZInt64 value, std::size_t width)
{
    std::string bytes;
    for (std::size_t i = 0; i < width; ++i)
        bytes.push_back(static_cast<char>(static_cast<QZUInt64>(value) >> (8 * i) & 0xFF));
    return bytes;
}

bool ReadTyped(QZInt64 code, const std::string& field, std::string* bytes)
{
    if (field.compare(0, kCodeSize, Little(code, kCodeSize)) != 0) return false;
    *bytes = field.substr(kCodeSize);
    return true;
}

}  // namespace

std::string TypedBytes(std::string_view bytes) { return Little(kBytesCode, kCodeSize).append(bytes); }

std::string TypedNumber(QZInt64 value) { return Little(kNumberCode, kCodeSize) + Little(value, 8); }

std::string TypedName(std::string_view name) { return Little(kNameCode, kCodeSize).append(name); }

bool ReadTypedBytes(const std::string& field, std::string* bytes)
{
    return ReadTyped(kBytesCode, field, bytes);
}

bool ReadTypedName(const std::string& mark, std::string* name) { return ReadTyped(kNameCode, mark, name); }

bool ReadTypedNumber(const std::string& field, QZInt64* value)
{
    std::string bytes;
    if (field.size() != kCodeSize + 8 || !ReadTyped(kNumberCode, field, &bytes)) return false;
    QZUInt64 number = 0;
    for (std::size_t i = bytes.size(); i > 0; --i)
        number = number << 8 | static_cast<unsigned char>(bytes[i - 1]);
    *value = static_cast<QZInt64>(number);
    return true;
}

}  // namespace qzapp
