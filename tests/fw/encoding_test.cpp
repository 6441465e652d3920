#include "fw/fw_encoding.h"

#include <string>

#include "fw/fw_block.h"
#include "fw/fw_data.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "support/qz_test.h"

namespace
{
/// Returns the bytes as hex and recycles the object.
std::string Taken(QZData* data)
{
    std::string result = qztest::Hex(data->GetPointer(), static_cast<std::size_t>(data->GetSize()));
    QZEncoding::Recycle(&data);
    EXPECT_EQ(data, nullptr);
    return result;
}

std::string Taken(QZString* text)
{
    std::string result = qztest::Utf8(text);
    QZEncoding::Recycle(&text);
    EXPECT_EQ(text, nullptr);
    return result;
}

bool IsLegal(std::string_view hex)
{
    std::string bytes = qztest::Bytes(hex);
    return QZEncoding::IsLegalUTF8(bytes.data(), static_cast<QZInt64>(bytes.size()));
}

/// A raw block of a given type.
struct Block
{
    void* p;
    Block(QZInt64 type, std::string_view hex)
    {
        std::string bytes = qztest::Bytes(hex);
        p = block::Make(type, 64, static_cast<QZInt64>(bytes.size()), 0);
        std::copy(bytes.begin(), bytes.end(), block::Data(p));
    }
    ~Block() { block::Free(p); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
};
}  // namespace

TEST(Encoding, GetDataReturnsTheTextWithoutATerminator)
{
    QZString text(QZ_W("a\u20AC"));
    EXPECT_EQ(Taken(QZEncoding::GetData(QZEncodingType::UTF8, &text)), "61 E2 82 AC");
    EXPECT_EQ(Taken(QZEncoding::GetData(QZEncodingType::UTF16LE, &text)), "61 00 AC 20");
    EXPECT_EQ(Taken(QZEncoding::GetData(QZEncodingType::UTF16BE, &text)), "00 61 20 AC");
    EXPECT_EQ(Taken(QZEncoding::GetData(QZEncodingType::UTF32LE, &text)), "61 00 00 00 AC 20 00 00");
    QZString plain(QZ_W("ab"));
    EXPECT_EQ(Taken(QZEncoding::GetData(QZEncodingType::ANSI, &plain)), "61 62");
    QZString empty;
    EXPECT_EQ(Taken(QZEncoding::GetData(QZEncodingType::UTF8, &empty)), "");
}

TEST(Encoding, GetDataFillsTheGivenObject)
{
    QZString text(QZ_W("ab"));
    QZData data;
    data.Append("old content", 11);
    QZEncoding::GetData(QZEncodingType::UTF16BE, &text, &data);
    EXPECT_BYTES(data.GetPointer(), data.GetSize(), "0061 0062");
}

TEST(Encoding, GetDataReadsARawStringBlock)
{
    QZString text(QZ_W("a\u20AC"));
    EXPECT_EQ(Taken(QZEncoding::GetData(QZEncodingType::UTF8, text.GetStructPointer())), "61 E2 82 AC");
    QZData data;
    QZEncoding::GetData(QZEncodingType::UTF16LE, text.GetStructPointer(), &data);
    EXPECT_BYTES(data.GetPointer(), data.GetSize(), "6100 AC20");
}

TEST(Encoding, RawBlockIsReadInTheEncodingOfItsType)
{
    Block utf8(QZEncodingType::UTF8, "61 E282AC 00");
    EXPECT_EQ(Taken(QZEncoding::GetData(QZEncodingType::UTF16LE, utf8.p)), "61 00 AC 20");
    Block open(QZEncodingType::UTF16BE, "0061 20AC");
    EXPECT_EQ(Taken(QZEncoding::GetData(QZEncodingType::UTF16LE, open.p)), "61 00 AC 20");
    QZData plain;
    QZLastError = 0;
    EXPECT_QZ_THROW(QZEncoding::GetData(QZEncodingType::UTF8, plain.GetStructPointer()), 4352);
}

TEST(Encoding, GetDataIntoItsOwnBlock)
{
    QZData data;
    data.Append("x", 1);
    QZStore<QZInt64>(QZAt(data.GetStructPointer(), 8), QZEncodingType::UTF8);
    QZEncoding::GetData(QZEncodingType::UTF32LE, data.GetStructPointer(), &data);
    EXPECT_BYTES(data.GetPointer(), data.GetSize(), "78000000");
}

TEST(Encoding, GetDataOfAnEncodingWithoutConversionThrows)
{
    QZString text(QZ_W("ab"));
    QZLastError = 0;
    EXPECT_QZ_THROW(QZEncoding::GetData(QZEncodingType::UTF32BE, &text), 4352);
    QZData data;
    data.Append("kept", 4);
    EXPECT_QZ_THROW(QZEncoding::GetData(12345, &text, &data), 4352);
    EXPECT_BYTES(data.GetPointer(), data.GetSize(), "6B657074");
}

TEST(Encoding, NullTextThrows256)
{
    QZData data;
    QZString* noText = nullptr;
    void* noBlock = nullptr;
    QZData* noData = nullptr;
    EXPECT_QZ_THROW(QZEncoding::GetData(QZEncodingType::UTF8, noText), 256);
    EXPECT_QZ_THROW(QZEncoding::GetData(QZEncodingType::UTF8, noBlock), 256);
    EXPECT_QZ_THROW(QZEncoding::GetData(QZEncodingType::UTF8, noText, &data), 256);
    EXPECT_QZ_THROW(QZEncoding::GetBytes(QZEncodingType::UTF8, noText, nullptr, 0), 256);
    EXPECT_QZ_THROW(QZEncoding::GetString(QZEncodingType::UTF8, noData), 256);
    EXPECT_QZ_THROW(QZEncoding::GetString(QZEncodingType::UTF8, noBlock, 2), 256);
}

TEST(Encoding, GetBytesWritesIntoABuffer)
{
    QZString text(QZ_W("a\u20ACb"));
    unsigned char buffer[8] = {};
    EXPECT_EQ(QZEncoding::GetBytes(QZEncodingType::UTF8, &text, buffer, 8), 5);
    EXPECT_BYTES(buffer, 8, "61 E282AC 62 000000");
    EXPECT_EQ(QZEncoding::GetBytes(QZEncodingType::UTF8, &text, nullptr, 0), 5);
    EXPECT_EQ(QZEncoding::GetBytes(QZEncodingType::UTF8, &text, buffer, 3), 1);
    EXPECT_EQ(QZEncoding::GetBytes(QZEncodingType::UTF16BE, text.GetStructPointer(), buffer, 8), 6);
    EXPECT_BYTES(buffer, 6, "0061 20AC 0062");
    EXPECT_EQ(QZEncoding::GetBytes(QZEncodingType::UTF32BE, &text, buffer, 8), -1);
}

TEST(Encoding, GetStringTakesBytesOfAnyEncoding)
{
    EXPECT_EQ(Taken(QZEncoding::GetString(QZEncodingType::UTF8, "a\xE2\x82\xAC", 4)), "a\xE2\x82\xAC");
    EXPECT_EQ(Taken(QZEncoding::GetString(QZEncodingType::UTF16BE, "\0a\x20\xAC", 4)), "a\xE2\x82\xAC");
    EXPECT_EQ(Taken(QZEncoding::GetString(QZEncodingType::UTF32LE, "\xAC\x20\0\0", 4)), "\xE2\x82\xAC");
    EXPECT_EQ(Taken(QZEncoding::GetString(QZEncodingType::UTF16LE, "a\0b\0", 4)), "ab");
    EXPECT_EQ(Taken(QZEncoding::GetString(QZEncodingType::ANSI, "plain", 5)), "plain");
    EXPECT_EQ(Taken(QZEncoding::GetString(QZEncodingType::UTF8, "", 0)), "");
    EXPECT_EQ(Taken(QZEncoding::GetString(QZEncodingType::UTF8, static_cast<const void*>(nullptr), 0)), "");
}

TEST(Encoding, GetStringFillsTheGivenObject)
{
    QZString text(QZ_W("before"));
    QZEncoding::GetString(QZEncodingType::UTF8, "xy", 2, &text);
    EXPECT_QZ_TEXT(text, "xy");
    QZData data;
    data.Append("z", 1);
    QZEncoding::GetString(QZEncodingType::UTF8, &data, &text);
    EXPECT_QZ_TEXT(text, "z");
    EXPECT_EQ(Taken(QZEncoding::GetString(QZEncodingType::UTF8, &data)), "z");
    QZEncoding::GetString(QZEncodingType::UTF16BE, text.GetPointer(), 2, &text);
    EXPECT_EQ(text.GetPointer()[0], 0x7A00);
}

TEST(Encoding, GetStringThrowsWhenTheConversionIsEmptyOrUnknown)
{
    QZLastError = 0;
    EXPECT_QZ_THROW(QZEncoding::GetString(QZEncodingType::UTF8, "\xE2\x82", 2), 4352);
    EXPECT_QZ_THROW(QZEncoding::GetString(QZEncodingType::UTF32BE, "aaaa", 4), 4352);
    QZString text(QZ_W("kept"));
    EXPECT_QZ_THROW(QZEncoding::GetString(QZEncodingType::UTF32BE, "aaaa", 4, &text), 4352);
    EXPECT_QZ_TEXT(text, "kept");
    EXPECT_QZ_THROW(QZEncoding::GetString(QZEncodingType::UTF8, "a", -1), 256);
}

TEST(EncodingIsLegalUtf8, WellFormedText)
{
    EXPECT_TRUE(IsLegal(""));
    EXPECT_TRUE(IsLegal("61 00 7F"));
    EXPECT_TRUE(IsLegal("C280 DFBF E0A080 ED9FBF EE8080 EFBFBF F0908080 F48FBFBF"));
    EXPECT_TRUE(QZEncoding::IsLegalUTF8(nullptr, 0));
}

TEST(EncodingIsLegalUtf8, ByteOrderMarkIsSkipped)
{
    EXPECT_TRUE(IsLegal("EFBBBF"));
    EXPECT_TRUE(IsLegal("EFBBBF 61"));
    EXPECT_FALSE(IsLegal("EFBBBF 80"));
}

TEST(EncodingIsLegalUtf8, BadLeadBytes)
{
    for (int lead = 0x80; lead <= 0xC1; ++lead)
    {
        const unsigned char bytes[] = {static_cast<unsigned char>(lead), 0x80, 0x80, 0x80, 0x80, 0x80};
        EXPECT_FALSE(QZEncoding::IsLegalUTF8(bytes, 6)) << lead;
    }
    for (int lead = 0xF5; lead <= 0xFF; ++lead)
    {
        const unsigned char bytes[] = {static_cast<unsigned char>(lead), 0x80, 0x80, 0x80, 0x80, 0x80};
        EXPECT_FALSE(QZEncoding::IsLegalUTF8(bytes, 6)) << lead;
    }
}

TEST(EncodingIsLegalUtf8, BadTrailingBytes)
{
    EXPECT_FALSE(IsLegal("C27F"));
    EXPECT_FALSE(IsLegal("C2C0"));
    EXPECT_FALSE(IsLegal("E18041"));
    EXPECT_FALSE(IsLegal("F1808041"));
    EXPECT_FALSE(IsLegal("F1418080"));
}

TEST(EncodingIsLegalUtf8, SecondByteRange)
{
    EXPECT_FALSE(IsLegal("E09FBF"));
    EXPECT_FALSE(IsLegal("EDA080"));
    EXPECT_FALSE(IsLegal("F08FBFBF"));
    EXPECT_FALSE(IsLegal("F4908080"));
}

TEST(EncodingIsLegalUtf8, TruncatedTextIsNotLegal)
{
    EXPECT_FALSE(IsLegal("C2"));
    EXPECT_FALSE(IsLegal("61 E180"));
    EXPECT_FALSE(IsLegal("F18080"));
    EXPECT_FALSE(IsLegal("EFBB"));
}

TEST(EncodingIsLegalUtf8, NullWithASizeIsNotLegal)
{
    QZLastError = 0;
    EXPECT_FALSE(QZEncoding::IsLegalUTF8(nullptr, 3));
    EXPECT_EQ(QZLastError, 256);
}
