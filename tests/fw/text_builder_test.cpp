#include "fw/internal/fw_text_builder.h"

#include <string>

#include "fw/fw_exception.h"
#include "fw/fw_string_factory.h"
#include "fw/without_memory.h"
#include "support/qz_test.h"

namespace
{
std::string TextOf(const TextBuilder& builder)
{
    return qztest::Utf8(qztest::TextView(builder.Units(), static_cast<std::size_t>(builder.Count())));
}

TEST(TextBuilder, AppendsUnitsTextsLiteralsAndStrings)
{
    TextBuilder builder(QZ_W("QZClass"), QZ_W("Method"));
    QZString string(QZ_W("four"));
    builder.Append('1');
    builder.Append(QZ_W("two"));
    builder.Append(QZ_W("three-"), 5);
    builder.Append(&string);
    builder.Append(std::basic_string_view<QZWChar>(QZ_W("5")));
    EXPECT_EQ(TextOf(builder), "1twothreefour5");
    QZString* result = builder.ToString();
    EXPECT_QZ_TEXT(result, "1twothreefour5");
    QZStringFactory::Recycle(&result);
}

// 512 units lie in the object; the next one moves the text to a buffer of its own.
TEST(TextBuilder, KeepsItsTextWhileItGrows)
{
    TextBuilder builder(QZ_W("QZClass"), QZ_W("Method"));
    std::string expected;
    for (int i = 0; i < 3000; ++i)
    {
        builder.Append(static_cast<QZWChar>('a' + i % 26));
        expected.push_back(static_cast<char>('a' + i % 26));
    }
    EXPECT_EQ(builder.Count(), 3000);
    EXPECT_EQ(TextOf(builder), expected);
}

TEST(TextBuilder, WritesUtf8)
{
    TextBuilder builder(QZ_W("QZClass"), QZ_W("Method"));
    builder.Append(QZ_W("aé€"));
    ASSERT_EQ(builder.Utf8Size(), 6);
    std::string bytes(8, '#');
    builder.WriteUtf8(bytes.data(), 6);
    EXPECT_EQ(bytes, "a\xC3\xA9\xE2\x82\xAC##");
}

TEST(TextBuilder, NamesItsUserWhenThereIsNoMemory)
{
    TextBuilder builder(QZ_W("QZClass"), QZ_W("Method"));
    builder.Append(QZ_W("abc"));
    const std::basic_string<QZWChar> large(600, 'x');
    const QZByte traces = QZException::IsStackTrace;
    QZException::IsStackTrace = 1;
    const qztest::Thrown thrown = qztest::WithoutMemory([&] { builder.Append(large); });
    QZException::IsStackTrace = traces;
    EXPECT_EQ(thrown.code, 4352);
    EXPECT_NE(thrown.stackTrace.find("QZClass"), std::string::npos) << thrown.stackTrace;
    EXPECT_NE(thrown.stackTrace.find("Method"), std::string::npos) << thrown.stackTrace;
    EXPECT_EQ(TextOf(builder), "abc");
}
}  // namespace
