#ifndef QZLIB_TESTS_NET_JSON_SUPPORT_H
#define QZLIB_TESTS_NET_JSON_SUPPORT_H

#include <string>
#include <string_view>

#include "fw/fw_string_factory.h"
#include "net/net_json.h"
#include "support/qz_test.h"

namespace qztest
{

/// Parses a JSON text; the caller recycles the value.
inline QZJsonValue* Parse(std::string_view json)
{
    const Text wide = Wide(json);
    QZString text(wide.data(), static_cast<QZInt64>(wide.size() * 2));
    return QZJsonFactory::DeserializeObject(&text);
}

template <typename T>
T* ParseAs(std::string_view json)
{
    QZJsonValue* value = Parse(json);
    EXPECT_NE(value, nullptr);
    EXPECT_EQ(value->GetType(), T::Type);
    return static_cast<T*>(value);
}

/// Returns the text as UTF-8 and recycles the string.
inline std::string Taken(QZString* text)
{
    std::string utf8 = Utf8(text);
    QZStringFactory::Recycle(&text);
    return utf8;
}

/// Parses the text and returns the value as text again.
inline std::string Reread(std::string_view json)
{
    QZJsonValue* value = Parse(json);
    if (value == nullptr) return "<nothing>";
    std::string text = Taken(QZJsonFactory::SerializeObject(value));
    QZJsonFactory::Recycle(&value);
    return text;
}

}  // namespace qztest

/// Expects that parsing the text throws a QZJsonException with this code and message.
#define EXPECT_JSON_THROW(json, codeExpected, messageExpected)                           \
    do {                                                                                 \
        const ::qztest::Thrown thrown = ::qztest::Catch([] { ::qztest::Reread(json); }); \
        EXPECT_EQ(thrown.code, codeExpected) << json;                                    \
        EXPECT_EQ(thrown.type, QZJsonException::Type) << json;                           \
        EXPECT_EQ(thrown.message, messageExpected) << json;                              \
    } while (false)

#endif
