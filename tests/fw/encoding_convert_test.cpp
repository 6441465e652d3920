#include <string>

#include "fw/fw_encoding.h"
#include "fw/fw_library.h"
#include "support/qz_test.h"

namespace
{
constexpr QZInt64 kAnsi = QZEncodingType::ANSI;
constexpr QZInt64 kLe = QZEncodingType::UTF16LE;
constexpr QZInt64 kBe = QZEncodingType::UTF16BE;
constexpr QZInt64 kU8 = QZEncodingType::UTF8;
constexpr QZInt64 kU32 = QZEncodingType::UTF32LE;
constexpr QZInt64 kU32Be = QZEncodingType::UTF32BE;

/// Returns the converted bytes as hex. Expects that the call without a target returns the number of bytes
/// written.
std::string Converted(QZInt64 from, QZInt64 to, std::string_view hex)
{
    std::string source = qztest::Bytes(hex);
    QZInt64 size = static_cast<QZInt64>(source.size());
    QZInt64 needed = QZEncoding::Convert(from, source.data(), size, to, nullptr, 0);
    if (needed < 0) return "failed";
    std::string target(static_cast<std::size_t>(needed) + 8, '\x55');
    QZInt64 written = QZEncoding::Convert(from, source.data(), size, to, target.data(), needed + 8);
    EXPECT_EQ(written, needed);
    std::string exact(static_cast<std::size_t>(needed) + 1, '\x55');
    EXPECT_EQ(QZEncoding::Convert(from, source.data(), size, to, exact.data(), needed), needed);
    EXPECT_EQ(target.substr(0, static_cast<std::size_t>(needed)),
              exact.substr(0, static_cast<std::size_t>(needed)));
    EXPECT_EQ(target.substr(static_cast<std::size_t>(needed)), std::string(8, '\x55'));
    return qztest::Hex(target.data(), static_cast<std::size_t>(needed));
}

/// Returns the bytes converted into a target of `room` bytes, as hex.
std::string Limited(QZInt64 from, QZInt64 to, std::string_view hex, QZInt64 room)
{
    std::string source = qztest::Bytes(hex);
    std::string target(static_cast<std::size_t>(room) + 8, '\x55');
    QZInt64 written = QZEncoding::Convert(from, source.data(), static_cast<QZInt64>(source.size()), to,
                                          target.data(), room);
    if (written < 0 || written > room) return "bad size";
    EXPECT_EQ(target.substr(static_cast<std::size_t>(room)), std::string(8, '\x55'));
    return qztest::Hex(target.data(), static_cast<std::size_t>(written));
}

std::string Bytes(std::string_view hex) { return qztest::Hex(qztest::Bytes(hex)); }

// A, e acute, euro, grinning face.
constexpr const char* kUtf8 = "41 C3A9 E282AC F09F9880";
constexpr const char* kUtf16Le = "4100 E900 AC20 3DD8 00DE";
constexpr const char* kUtf16Be = "0041 00E9 20AC D83D DE00";
constexpr const char* kUtf32 = "41000000 E9000000 AC200000 00F60100";
}  // namespace

TEST(EncodingConvert, NamesOfTheEncodings)
{
    EXPECT_EQ(kAnsi, 0x2010100);
    EXPECT_EQ(kLe, 0x2010200);
    EXPECT_EQ(kBe, 0x2010300);
    EXPECT_EQ(kU8, 0x2010400);
    EXPECT_EQ(kU32, 0x2010500);
    EXPECT_EQ(kU32Be, 0x2010600);
}

TEST(EncodingConvert, ConvertsBetweenAllUnicodeEncodings)
{
    const std::pair<QZInt64, const char*> forms[] = {
        {kU8, kUtf8}, {kLe, kUtf16Le}, {kBe, kUtf16Be}, {kU32, kUtf32}};
    for (auto [from, source] : forms)
        for (auto [to, target] : forms)
            EXPECT_EQ(Converted(from, to, source), Bytes(target)) << from << " to " << to;
}

TEST(EncodingConvert, AsciiToAndFromTheAnsiCodePage)
{
    EXPECT_EQ(Converted(kAnsi, kAnsi, "61 62"), "61 62");
    EXPECT_EQ(Converted(kAnsi, kLe, "61 62"), "61 00 62 00");
    EXPECT_EQ(Converted(kAnsi, kBe, "61 62"), "00 61 00 62");
    EXPECT_EQ(Converted(kAnsi, kU8, "61 62"), "61 62");
    EXPECT_EQ(Converted(kAnsi, kU32, "61 62"), "61 00 00 00 62 00 00 00");
    EXPECT_EQ(Converted(kLe, kAnsi, "6100 6200"), "61 62");
    EXPECT_EQ(Converted(kBe, kAnsi, "0061 0062"), "61 62");
    EXPECT_EQ(Converted(kU8, kAnsi, "61 62"), "61 62");
    EXPECT_EQ(Converted(kU32, kAnsi, "61000000 62000000"), "61 62");
}

TEST(EncodingConvert, AnsiTextRoundTrips)
{
    // e acute exists in every ANSI code page that the tests run with; its number of bytes depends on the
    // page.
    std::string narrow = Converted(kLe, kAnsi, "6100 E900 6200");
    EXPECT_EQ(Converted(kAnsi, kLe, narrow), "61 00 E9 00 62 00");
    EXPECT_EQ(Converted(kAnsi, kBe, narrow), "00 61 00 E9 00 62");
    EXPECT_EQ(Converted(kAnsi, kU8, narrow), "61 C3 A9 62");
    EXPECT_EQ(Converted(kAnsi, kU32, narrow), Bytes("61000000 E9000000 62000000"));
    EXPECT_EQ(Converted(kU8, kAnsi, "61 C3A9 62"), narrow);
    EXPECT_EQ(Converted(kU32, kAnsi, "61000000 E9000000 62000000"), narrow);
    EXPECT_EQ(Converted(kBe, kAnsi, "0061 00E9 0062"), narrow);
}

TEST(EncodingConvert, ByteOrderMarkIsDroppedForTheAnsiCodePage)
{
    EXPECT_EQ(Converted(kLe, kAnsi, "FFFE 6100"), "61");
    EXPECT_EQ(Converted(kBe, kAnsi, "FEFF 0061"), "61");
    EXPECT_EQ(Converted(kU8, kAnsi, "EFBBBF 61"), "61");
    EXPECT_EQ(Converted(kU32, kAnsi, "FFFE0000 61000000"), "61");
    EXPECT_EQ(Converted(kLe, kAnsi, "FFFE"), "");
}

TEST(EncodingConvert, ByteOrderMarkIsKeptElsewhere)
{
    EXPECT_EQ(Converted(kLe, kU8, "FFFE 6100"), "EF BB BF 61");
    EXPECT_EQ(Converted(kU8, kLe, "EFBBBF 61"), "FF FE 61 00");
    EXPECT_EQ(Converted(kAnsi, kAnsi, "EFBBBF 61"), "EF BB BF 61");
}

TEST(EncodingConvert, Utf32BeHasNoConversion)
{
    for (QZInt64 other : {kAnsi, kLe, kBe, kU8, kU32, kU32Be})
    {
        EXPECT_EQ(QZEncoding::Convert(other, "aaaa", 4, kU32Be, nullptr, 0), -1) << other;
        EXPECT_EQ(QZEncoding::Convert(kU32Be, "aaaa", 4, other, nullptr, 0), -1) << other;
    }
}

TEST(EncodingConvert, UnknownEncodingReturnsMinusOne)
{
    EXPECT_EQ(QZEncoding::Convert(kU8, "a", 1, 0, nullptr, 0), -1);
    EXPECT_EQ(QZEncoding::Convert(0xFF000000, "a", 1, kU8, nullptr, 0), -1);
    EXPECT_EQ(QZEncoding::Convert(0, nullptr, 0, kU8, nullptr, 0), -1);
}

TEST(EncodingConvert, EmptyAndNullSources)
{
    EXPECT_EQ(QZEncoding::Convert(kU8, "", 0, kLe, nullptr, 0), 0);
    EXPECT_EQ(QZEncoding::Convert(kU8, nullptr, 0, kLe, nullptr, 0), 0);
    QZLastError = 0;
    EXPECT_EQ(QZEncoding::Convert(kU8, nullptr, 1, kLe, nullptr, 0), -1);
    EXPECT_EQ(QZLastError, 256);
    EXPECT_EQ(QZEncoding::Convert(kU8, "a", -1, kLe, nullptr, 0), -1);
}

TEST(EncodingConvert, SameEncodingIsAPlainCopy)
{
    EXPECT_EQ(Converted(kU8, kU8, "FF C0 80 61"), "FF C0 80 61");
    EXPECT_EQ(Converted(kLe, kLe, "00D8 61"), "00 D8 61");
    EXPECT_EQ(Converted(kU32, kU32, "FFFFFFFF"), "FF FF FF FF");
}

TEST(EncodingConvert, Utf8RangesFromOneToThreeBytes)
{
    EXPECT_EQ(Converted(kU8, kLe, "00 7F"), "00 00 7F 00");
    EXPECT_EQ(Converted(kU8, kLe, "C280 DFBF"), "80 00 FF 07");
    EXPECT_EQ(Converted(kU8, kLe, "E0A080 EFBFBF"), "00 08 FF FF");
    EXPECT_EQ(Converted(kLe, kU8, "7F00 8000 FF07 0008 FFFF"), Bytes("7F C280 DFBF E0A080 EFBFBF"));
}

TEST(EncodingConvert, Utf8FourByteRange)
{
    EXPECT_EQ(Converted(kU8, kLe, "F0908080 F48FBFBF"), Bytes("00D8 00DC FFDB FFDF"));
    EXPECT_EQ(Converted(kU8, kU32, "F0908080 F48FBFBF"), Bytes("00000100 FFFF1000"));
    EXPECT_EQ(Converted(kU32, kU8, "00000100 FFFF1000"), Bytes("F0908080 F48FBFBF"));
    EXPECT_EQ(Converted(kU32, kLe, "00000100 FFFF1000"), Bytes("00D8 00DC FFDB FFDF"));
}

TEST(EncodingConvert, InvalidCodePointsBecomeTheReplacementCharacter)
{
    // U+110000, then sequences of five and six bytes.
    EXPECT_EQ(Converted(kU8, kLe, "F4908080"), "FD FF");
    EXPECT_EQ(Converted(kU8, kLe, "F888808080 61"), "FD FF 61 00");
    EXPECT_EQ(Converted(kU8, kLe, "FC8480808080 61"), "FD FF 61 00");
    EXPECT_EQ(Converted(kU8, kU32, "FDBFBFBFBFBF"), Bytes("FDFF0000"));
    EXPECT_EQ(Converted(kU8, kLe, "EDA080 EDBFBF"), "FD FF FD FF");
    EXPECT_EQ(Converted(kU32, kLe, "00D80000 FFDF0000 00001100 FFFFFFFF"), Bytes("FDFF FDFF FDFF FDFF"));
    EXPECT_EQ(Converted(kU32, kU8, "00D80000 00001100"), Bytes("EFBFBD EFBFBD"));
}

TEST(EncodingConvert, OverlongFiveByteFormIsDecoded)
{
    EXPECT_EQ(Converted(kU8, kLe, "F880808081"), "01 00");
    EXPECT_EQ(Converted(kU8, kLe, "FC8080808081"), "01 00");
    EXPECT_EQ(Converted(kU8, kLe, "F888808080"), "FD FF");  // U+200000
    EXPECT_EQ(Converted(kU8, kLe, "C080 E08080"), "00 00 00 00");
}

TEST(EncodingConvert, TrailingBytesAreNotChecked)
{
    // C3 41: (0xC3 << 6) + 0x41 - 0x3080 = 0x81.
    EXPECT_EQ(Converted(kU8, kLe, "C3 41 42"), "81 00 42 00");
    // C3 FF: 0x30C0 + 0xFF - 0x3080 = 0x13F.
    EXPECT_EQ(Converted(kU8, kLe, "C3 FF"), "3F 01");
    // C0 00: 0x3000 - 0x3080 is below zero, which is no character.
    EXPECT_EQ(Converted(kU8, kLe, "C0 00"), "FD FF");
}

TEST(EncodingConvert, LoneTrailingByteIsDecodedAsItsValue)
{
    EXPECT_EQ(Converted(kU8, kLe, "80 BF 61"), "80 00 BF 00 61 00");
    EXPECT_EQ(Converted(kU8, kU32, "9F"), "9F 00 00 00");
}

TEST(EncodingConvert, TruncatedUtf8StopsBeforeTheIncompleteCharacter)
{
    EXPECT_EQ(Converted(kU8, kLe, "61 C3"), "61 00");
    EXPECT_EQ(Converted(kU8, kLe, "61 E282"), "61 00");
    EXPECT_EQ(Converted(kU8, kU32, "61 F09F98"), "61 00 00 00");
    EXPECT_EQ(Converted(kU8, kLe, "FC80808080"), "");
    EXPECT_EQ(Converted(kU8, kBe, "E2"), "");
}

TEST(EncodingConvert, IncompleteLastUnitIsIgnored)
{
    EXPECT_EQ(Converted(kLe, kU8, "6100 62"), "61");
    EXPECT_EQ(Converted(kLe, kBe, "6100 62"), "00 61");
    EXPECT_EQ(Converted(kBe, kU8, "00"), "");
    EXPECT_EQ(Converted(kU32, kU8, "61000000 620000"), "61");
    EXPECT_EQ(Converted(kLe, kU32, "3DD8 00"), Bytes("FDFF0000"));
}

TEST(EncodingConvert, LoneSurrogatesBecomeThreeBytesInUtf8)
{
    EXPECT_EQ(Converted(kLe, kU8, "3DD8 6100"), Bytes("EDA0BD 61"));
    EXPECT_EQ(Converted(kLe, kU8, "00DE 6100"), Bytes("EDB880 61"));
    EXPECT_EQ(Converted(kLe, kU8, "3DD8"), Bytes("EDA0BD"));
    EXPECT_EQ(Converted(kLe, kU8, "3DD8 3DD8 00DE"), Bytes("EDA0BD F09F9880"));
}

TEST(EncodingConvert, PairWithHighSurrogateD800BecomesSixBytesInUtf8)
{
    EXPECT_EQ(Converted(kLe, kU8, "00D8 00DC"), Bytes("EDA080 EDB080"));
    EXPECT_EQ(Converted(kBe, kU8, "D800 DC00"), Bytes("EDA080 EDB080"));
    EXPECT_EQ(Converted(kLe, kU8, "01D8 00DC"), Bytes("F0909080"));
}

TEST(EncodingConvert, LoneSurrogatesBecomeTheReplacementCharacterInUtf32)
{
    EXPECT_EQ(Converted(kLe, kU32, "3DD8 6100 00DE"), Bytes("FDFF0000 61000000 FDFF0000"));
    EXPECT_EQ(Converted(kLe, kU32, "00D8 00DC"), Bytes("00000100"));
}

TEST(EncodingConvert, LongAsciiRunsConvertUnchanged)
{
    std::string utf8;
    std::string utf16;
    for (int i = 0; i < 200; ++i)
    {
        std::string run(static_cast<std::size_t>(i % 19), static_cast<char>('a' + i % 26));
        utf8 += run + "\xC3\xA9";
        for (char c : run) utf16 += {c, '\0'};
        utf16 += {'\xE9', '\0'};
    }
    EXPECT_EQ(Converted(kU8, kLe, qztest::Hex(utf8)), qztest::Hex(utf16));
    EXPECT_EQ(Converted(kLe, kU8, qztest::Hex(utf16)), qztest::Hex(utf8));
}

TEST(EncodingConvert, FullTargetEndsTheConversion)
{
    EXPECT_EQ(Limited(kU8, kLe, "61 62 63", 4), "61 00 62 00");
    EXPECT_EQ(Limited(kU8, kLe, "61 62 63", 5), "61 00 62 00");
    EXPECT_EQ(Limited(kU8, kLe, "61 62 63", 1), "");
    EXPECT_EQ(Limited(kU8, kU32, "61 62", 7), "61 00 00 00");
    EXPECT_EQ(Limited(kLe, kBe, "6100 6200", 3), "00 61");
    EXPECT_EQ(Limited(kLe, kLe, "6100 6200", 3), "61 00");
    EXPECT_EQ(Limited(kU32, kU32, "61000000 62000000", 7), "61 00 00 00");
    EXPECT_EQ(Limited(kU8, kU8, "C3A9", 1), "C3");
    EXPECT_EQ(Limited(kU8, kLe, "6162636465666768 6162636465666768", 18),
              Bytes("6100 6200 6300 6400 6500 6600 6700 6800 6100"));
    EXPECT_EQ(Limited(kLe, kU8, "6100 6200 6300 6400", 3), "61 62 63");
}

TEST(EncodingConvert, CharactersAreNotSplitAtTheEndOfTheTarget)
{
    EXPECT_EQ(Limited(kLe, kU8, "6100 AC20 6200", 3), "61");
    EXPECT_EQ(Limited(kLe, kU8, "6100 AC20 6200", 4), "61 E2 82 AC");
    EXPECT_EQ(Limited(kLe, kU8, "3DD8 00DE", 3), "");
    EXPECT_EQ(Limited(kU32, kU8, "E9000000", 1), "");
    EXPECT_EQ(Limited(kBe, kU8, "20AC", 2), "");
}

TEST(EncodingConvert, HighSurrogateIsWrittenWhenTheLowOneDoesNotFit)
{
    EXPECT_EQ(Limited(kU8, kLe, "F09F9880", 2), "3D D8");
    EXPECT_EQ(Limited(kU8, kLe, "F09F9880 61", 3), "3D D8");
    EXPECT_EQ(Limited(kU32, kLe, "00F60100", 2), "3D D8");
    EXPECT_EQ(Limited(kU8, kBe, "F09F9880", 2), "D8 3D");
}

TEST(EncodingConvert, AnsiConversionStopsAtAFullTarget)
{
    EXPECT_EQ(Limited(kAnsi, kLe, "61 62 63", 4), "61 00 62 00");
    EXPECT_EQ(Limited(kLe, kAnsi, "6100 6200 6300", 2), "61 62");
    std::string narrow = Converted(kLe, kAnsi, "E900 E900");
    EXPECT_EQ(Limited(kAnsi, kLe, narrow, 3), "E9 00");
    EXPECT_EQ(Limited(kAnsi, kLe, narrow, 2), "E9 00");
    EXPECT_EQ(Limited(kAnsi, kLe, narrow, 0), "");
}

TEST(EncodingConvert, UnalignedBuffersConvert)
{
    alignas(8) unsigned char source[9] = {0, 0xE9, 0, 0x62, 0};
    alignas(8) unsigned char target[16] = {};
    QZInt64 size = QZEncoding::Convert(kLe, source + 1, 4, kAnsi, target + 1, 8);
    ASSERT_GT(size, 1);
    unsigned char wide[16] = {};
    EXPECT_EQ(QZEncoding::Convert(kAnsi, target + 1, size, kLe, wide + 1, 8), 4);
    EXPECT_BYTES(wide + 1, 4, "E900 6200");
    EXPECT_EQ(QZEncoding::Convert(kLe, source + 1, 4, kU8, target + 1, 8), 3);
    EXPECT_BYTES(target + 1, 3, "C3A9 62");
    EXPECT_EQ(QZEncoding::Convert(kLe, source + 1, 4, kU32, target + 3, 8), 8);
    EXPECT_BYTES(target + 3, 8, "E9000000 62000000");
}
