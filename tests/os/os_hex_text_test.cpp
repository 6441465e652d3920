#include "os/os_hex_text.h"

#include <cstring>

#include "support/qz_test.h"

namespace
{

using qztest::Text;

/// Returns a dump as text. Expects that the measuring pass and the writing pass agree.
std::string Dump(long long firstOffset, std::string_view bytes, long long perLine, int offsets, int spaced)
{
    long long size = static_cast<long long>(bytes.size());
    auto o = static_cast<unsigned char>(offsets);
    auto s = static_cast<unsigned char>(spaced);
    long long needed = QZText::QZDataToText(firstOffset, nullptr, bytes.data(), size, perLine, o, s);
    Text out(static_cast<std::size_t>(needed / 2) + 1, QZWChar('~'));
    long long written = QZText::QZDataToText(firstOffset, out.data(), bytes.data(), size, perLine, o, s);
    EXPECT_EQ(written, needed);
    EXPECT_EQ(out.back(), QZWChar('~')) << "no terminator is written";
    out.pop_back();
    return qztest::Utf8(out);
}

std::string Parse(const Text& text)
{
    std::string out(text.size(), '~');
    long long stored = QZText::TextToQZData(out.data(), text.data(), static_cast<long long>(text.size()) * 2);
    out.resize(static_cast<std::size_t>(stored));
    return qztest::Hex(out);
}

TEST(Text, DumpWritesTwoUpperCaseDigitsForEachByte)
{
    EXPECT_EQ(Dump(0, qztest::Bytes("00 0F AB"), 0, 0, 0), "000FAB");
}

TEST(Text, DumpWritesABlankAfterEachByte) { EXPECT_EQ(Dump(0, qztest::Bytes("01 02"), 0, 0, 1), "01 02 "); }

TEST(Text, DumpOnOneLineHasNoLabels)
{
    EXPECT_EQ(Dump(7, qztest::Bytes("01 02"), 0, 1, 0), "0102");
    EXPECT_EQ(Dump(7, qztest::Bytes("01 02"), -5, 1, 0), "0102");
}

TEST(Text, DumpBreaksLinesAndLabelsThem)
{
    EXPECT_EQ(Dump(0, qztest::Bytes("01 02 03"), 2, 1, 1), "[0x0]  01 02 \r\n[0x2]  03 ");
    EXPECT_EQ(Dump(0xFE, qztest::Bytes("01 02 03"), 2, 1, 0), "[0xFE]  0102\r\n[0x100]  03");
    EXPECT_EQ(Dump(0, qztest::Bytes("01 02 03"), 2, 0, 0), "0102\r\n03");
    EXPECT_EQ(Dump(-1, qztest::Bytes("01"), 2, 1, 0), "[0xFFFFFFFFFFFFFFFF]  01");
}

TEST(Text, DumpOfZeroBytesIsEmpty) { EXPECT_EQ(Dump(0, "", 16, 1, 1), ""); }

TEST(Text, MeasuringTextReturnsTheSizeItself) { EXPECT_EQ(QZText::TextToQZData(nullptr, QZ_W("0A"), 7), 7); }

TEST(Text, LabelsAreSkipped) { EXPECT_EQ(Parse(QZ_W("[0x10]  0A0b")), "0A 0B"); }

TEST(Text, NonDigitsAreSkipped) { EXPECT_EQ(Parse(QZ_W("f g-F\r\n0x1")), "FF 01"); }

TEST(Text, OddLastDigitIsDropped) { EXPECT_EQ(Parse(QZ_W("123")), "12"); }

TEST(Text, UnclosedBracketSkipsTheRest) { EXPECT_EQ(Parse(QZ_W("01[02 03")), "01"); }

TEST(Text, OddLastByteOfTheTextIsIgnored)
{
    char out[4] = {};
    EXPECT_EQ(QZText::TextToQZData(out, QZ_W("0102"), 5), 1);
}

TEST(Text, DumpRoundTrips)
{
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
    std::string dump = Dump(0x1000, bytes, 16, 1, 1);
    EXPECT_EQ(Parse(qztest::Wide(dump)), qztest::Hex(bytes));
}

TEST(Text, HasItsType)
{
    QZText text;
    EXPECT_EQ(text.GetType(), 0x81FFF00);
    EXPECT_EQ(QZText::Type, 0x81FFF00);
}

}  // namespace
