#include "codec/cod_base64.h"

#include "fw/fw_data.h"
#include "fw/fw_string.h"
#include "support/qz_test.h"

using qztest::Text;
using qztest::Wide;

namespace
{

std::string Encoded(std::string_view bytes)
{
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    QZString* text = QZBase64::EnCode(&data);
    const std::string result = qztest::Utf8(text);
    QZBase64::Recycle(&text);
    EXPECT_EQ(text, nullptr);
    return result;
}

std::string Decoded(std::string_view base64)
{
    QZString text(Wide(base64).c_str());
    QZData* data = QZBase64::DeCode(&text);
    const std::string result(static_cast<const char*>(data->GetPointer()),
                             static_cast<std::size_t>(data->GetSize()));
    QZBase64::Recycle(&data);
    EXPECT_EQ(data, nullptr);
    return result;
}

bool Is(std::string_view text)
{
    QZString string(Wide(text).c_str());
    return QZBase64::IsBase64(&string) != 0;
}

constexpr std::pair<std::string_view, std::string_view> kVectors[] = {
    {"", ""},
    {"f", "Zg=="},
    {"fo", "Zm8="},
    {"foo", "Zm9v"},
    {"foob", "Zm9vYg=="},
    {"fooba", "Zm9vYmE="},
    {"foobar", "Zm9vYmFy"},
};

}  // namespace

TEST(Base64, EncodesTheRfcTestVectors)
{
    for (const auto& [bytes, text] : kVectors) EXPECT_EQ(Encoded(bytes), text);
}

TEST(Base64, DecodesTheRfcTestVectors)
{
    for (const auto& [bytes, text] : kVectors) EXPECT_EQ(Decoded(text), bytes);
}

TEST(Base64, UsesTheStandardAlphabetInOrder)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    // The 48 bytes whose 6-bit groups are 0, 1, 2 ... 63.
    const std::string bytes = qztest::Bytes(
        "00108310518720928B30D38F41149351559761969B71D79F8218A39259A7A29AABB2DBAFC31CB3D35DB7E39EBBF3DFBF");
    EXPECT_EQ(Encoded(bytes), alphabet);
    EXPECT_EQ(Decoded(alphabet), bytes);
}

TEST(Base64, EncodesStringsAsUtf16Bytes)
{
    QZString text(QZ_W("A\u00E9"));  // 41 00 E9 00
    QZString* encoded = QZBase64::EnCode(&text);
    EXPECT_QZ_TEXT(encoded, "QQDpAA==");
    QZString* back = QZBase64::DeCodeToString(encoded);
    EXPECT_QZ_TEXT(back, "A\xC3\xA9");
    QZBase64::Recycle(&back);
    QZBase64::Recycle(&encoded);
}

TEST(Base64, DecodingToTextIgnoresAnIncompleteUnit)
{
    QZString text(QZ_W("QQDp"));  // 41 00 E9
    QZString* back = QZBase64::DeCodeToString(&text);
    EXPECT_QZ_TEXT(back, "A");
    QZBase64::Recycle(&back);
}

TEST(Base64, EveryByteValueRoundTrips)
{
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
    for (std::size_t size = 250; size <= 256; ++size)
        EXPECT_EQ(Decoded(Encoded(bytes.substr(0, size))), bytes.substr(0, size));
}

TEST(Base64, DecodingIgnoresBitsAfterTheLastByte) { EXPECT_EQ(Decoded("Zh=="), "f"); }

TEST(Base64, IsBase64ChecksAlphabetAndLength)
{
    EXPECT_TRUE(Is(""));
    EXPECT_TRUE(Is("Zm9v"));
    EXPECT_TRUE(Is("+/09azAZ"));
    EXPECT_FALSE(Is("Zm9"));
    EXPECT_FALSE(Is("Zm9vY"));
    EXPECT_FALSE(Is("Zm-v"));
    EXPECT_FALSE(Is("Zm_v"));
    EXPECT_FALSE(Is("Zm v"));
    EXPECT_FALSE(Is("Zm9\xC3\xA9"));
}

TEST(Base64, IsBase64AcceptsAtMostTwoEqualSignsAtTheEnd)
{
    EXPECT_TRUE(Is("Zg=="));
    EXPECT_TRUE(Is("Zm8="));
    EXPECT_FALSE(Is("Z==="));
    EXPECT_FALSE(Is("===="));
    EXPECT_FALSE(Is("Z=g="));
    EXPECT_FALSE(Is("=Zg="));
    EXPECT_FALSE(Is("Zg==Zg=="));
}

TEST(Base64, IsBase64ExpectsTheLengthInBytes)
{
    EXPECT_TRUE(QZBase64::IsBase64(QZ_W("Zm9v!"), 8));
    EXPECT_FALSE(QZBase64::IsBase64(QZ_W("Zm9vZm9v"), 4));
    EXPECT_FALSE(QZBase64::IsBase64(QZ_W("Zm9v"), 7));
    EXPECT_TRUE(QZBase64::IsBase64(QZ_W("Zm9v"), 0));
    EXPECT_FALSE(QZBase64::IsBase64(QZ_W("Zm9v"), -8));
    EXPECT_FALSE(QZBase64::IsBase64(static_cast<const QZWChar*>(nullptr), 0));
    EXPECT_FALSE(QZBase64::IsBase64(static_cast<QZString*>(nullptr)));
}

TEST(Base64, InvalidArgumentsThrow)
{
    QZString text(QZ_W("Zm9"));
    EXPECT_QZ_THROW(QZBase64::DeCode(&text), QZExceptionCode::WrongFormat);
    EXPECT_QZ_THROW(QZBase64::DeCodeToString(&text), QZExceptionCode::WrongFormat);
    EXPECT_QZ_THROW(QZBase64::DeCode(nullptr), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZBase64::DeCodeToString(nullptr), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZBase64::EnCode(static_cast<QZData*>(nullptr)), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZBase64::EnCode(static_cast<QZString*>(nullptr)), QZExceptionCode::ArgumentOutOfRange);
}
