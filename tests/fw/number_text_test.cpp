#include "fw/internal/fw_number_text.h"

#include <cmath>
#include <limits>
#include <string>

#include "fw/fw_string.h"
#include "fw/internal/fw_number_format.h"
#include "support/qz_test.h"

namespace
{
template <typename Write, typename... Arguments>
std::string Written(Write write, Arguments... arguments)
{
    QZWChar units[number::kBufferUnits];
    int count = write(units, arguments...);
    return qztest::Utf8(qztest::TextView(units, static_cast<std::size_t>(count)));
}

std::string Int64(QZInt64 value) { return Written(number::WriteInt64, value); }
std::string Hex64(QZInt64 value) { return Written(number::WriteInt64Hex, value); }
std::string Double(double value, QZInt64 precision = -1)
{
    return Written(number::WriteDouble, value, precision);
}

QZInt64 Read(std::string text)
{
    QZInt64 narrow = number::ReadInt64(text.data(), static_cast<QZInt64>(text.size()));
    qztest::Text wide = qztest::Wide(text);
    EXPECT_EQ(number::ReadInt64(wide.data(), static_cast<QZInt64>(wide.size())), narrow);
    return narrow;
}

QZUInt64 ReadHex(std::string text)
{
    QZUInt64 narrow = number::ReadUInt64Hex(text.data(), static_cast<QZInt64>(text.size()));
    qztest::Text wide = qztest::Wide(text);
    EXPECT_EQ(number::ReadUInt64Hex(wide.data(), static_cast<QZInt64>(wide.size())), narrow);
    return narrow;
}

double ReadReal(std::string text)
{
    double narrow = number::ReadDouble(text.data(), static_cast<QZInt64>(text.size()));
    qztest::Text wide = qztest::Wide(text);
    EXPECT_EQ(number::ReadDouble(wide.data(), static_cast<QZInt64>(wide.size())), narrow);
    return narrow;
}

constexpr QZInt64 kLowest = std::numeric_limits<QZInt64>::min();
}  // namespace

TEST(NumberText, IntegersAreDecimalWithoutPadding)
{
    EXPECT_EQ(Int64(0), "0");
    EXPECT_EQ(Int64(7), "7");
    EXPECT_EQ(Int64(-1), "-1");
    EXPECT_EQ(Int64(1234567890123456789), "1234567890123456789");
    EXPECT_EQ(Int64(kLowest), "-9223372036854775808");
    EXPECT_EQ(Written(number::WriteUInt64, 18446744073709551615ull), "18446744073709551615");
}

TEST(NumberText, HexadecimalIsUpperCaseWithoutPrefix)
{
    EXPECT_EQ(Hex64(0), "0");
    EXPECT_EQ(Hex64(0xBEEF), "BEEF");
    EXPECT_EQ(Written(number::WriteUInt64Hex, 0xFFFFFFFFFFFFFFFFull), "FFFFFFFFFFFFFFFF");
}

TEST(NumberText, NegativeHexadecimalIsASignAndTheAbsoluteValue)
{
    EXPECT_EQ(Hex64(-255), "-FF");
    EXPECT_EQ(Hex64(kLowest), "-8000000000000000");
}

TEST(NumberText, DoubleWithoutFractionReadsAsAnInteger)
{
    EXPECT_EQ(Double(0.0), "0");
    EXPECT_EQ(Double(-0.0), "0");
    EXPECT_EQ(Double(3.0), "3");
    EXPECT_EQ(Double(-12.0), "-12");
    EXPECT_EQ(Double(1e15), "1000000000000000");
}

TEST(NumberText, DoubleFractionUpToTenToTheMinusTwelveIsDropped)
{
    EXPECT_EQ(Double(1e-12), "0");
    EXPECT_EQ(Double(-1e-13), "0");
    EXPECT_EQ(Double(2e-12), "0.000000000002");
}

TEST(NumberText, DoubleHasAsManyDigitsAsItsFractionNeeds)
{
    EXPECT_EQ(Double(0.5), "0.5");
    EXPECT_EQ(Double(0.25), "0.25");
    EXPECT_EQ(Double(-2.75), "-2.75");
    EXPECT_EQ(Double(-0.5), "-0.5");
    EXPECT_EQ(Double(1.0 / 1024), "0.0009765625");
    EXPECT_EQ(Double(0.1), "0.1");
    EXPECT_EQ(Double(3.14), "3.14");
    EXPECT_EQ(Double(100.0625), "100.0625");
    EXPECT_EQ(Double(0.12), "0.12");
    EXPECT_EQ(Double(0.29), "0.29");
}

TEST(NumberText, DoubleStopsAtTwelveDigitsAndRoundsHalfUp)
{
    EXPECT_EQ(Double(1.0 / 3), "0.333333333333");
    EXPECT_EQ(Double(2.0 / 3), "0.666666666667");
    // 2 to the power of -13 has thirteen digits, 0.0001220703125: the last one is rounded.
    EXPECT_EQ(Double(1.0 / 8192), "0.000122070313");
}

TEST(NumberText, DoubleKeepsTrailingZerosAfterRounding)
{
    // The binary value of 3.14159 is slightly smaller, so it needs thirteen digits; rounding turns the last
    // ones into zeros, which stay.
    EXPECT_EQ(Double(3.14159), "3.141590000000");
    EXPECT_EQ(Double(99.99), "99.990000000000");
}

TEST(NumberText, DoubleAtTheLimitsOfItsDigits)
{
    EXPECT_EQ(Double(1e-5), "0.00001");
    EXPECT_EQ(Double(1.005), "1.005000000000");
    EXPECT_EQ(Double(123456.789), "123456.789000000004");  // the binary fraction is 0.7890000000043
    EXPECT_EQ(Double(0.999999999999), "0.999999999999");
    EXPECT_EQ(Double(9.9999999999996), "10.000000000000");
    EXPECT_EQ(Double(-9.9999999999996), "-10.000000000000");
    EXPECT_EQ(Double(1.1e-12), "0.000000000001");
    EXPECT_EQ(Double(0.1f), "0.100000001490");
}

TEST(NumberText, DoubleRoundingCarriesThroughEveryNine)
{
    EXPECT_EQ(Double(0.96, 1), "1.0");
    EXPECT_EQ(Double(1.9996, 3), "2.000");
    EXPECT_EQ(Double(0.1296, 3), "0.130");
    EXPECT_EQ(Double(9.75, 0), "10");
}

TEST(NumberText, DoubleWithPrecisionHasExactlyThatManyDigits)
{
    EXPECT_EQ(Double(0.5, 3), "0.500");
    EXPECT_EQ(Double(3.0, 2), "3.00");
    EXPECT_EQ(Double(0.0, 1), "0.0");
    EXPECT_EQ(Double(-1.25, 1), "-1.3");
    EXPECT_EQ(Double(0.125, 20), "0.125000000000");
}

TEST(NumberText, DoubleWithPrecisionZeroHasNoPoint)
{
    EXPECT_EQ(Double(2.5, 0), "3");
    EXPECT_EQ(Double(2.25, 0), "2");
    EXPECT_EQ(Double(7.0, 0), "7");
    EXPECT_EQ(Double(-2.5, 0), "-3");
}

TEST(NumberText, DoubleOutside64BitsReadsAsTheLowestInteger)
{
    EXPECT_EQ(Double(1e300), "-9223372036854775808");
    EXPECT_EQ(Double(-1e300, 3), "-9223372036854775808");
    EXPECT_EQ(Double(std::numeric_limits<double>::infinity()), "-9223372036854775808");
    EXPECT_EQ(Double(std::nan("")), "-9223372036854775808");
    EXPECT_EQ(Double(-9223372036854775808.0), "-9223372036854775808");
    EXPECT_EQ(Double(9223372036854774784.0), "9223372036854774784");
}

TEST(NumberText, ReadsDecimalIntegers)
{
    EXPECT_EQ(Read("0"), 0);
    EXPECT_EQ(Read("42"), 42);
    EXPECT_EQ(Read("-42"), -42);
    EXPECT_EQ(Read("-9223372036854775808"), kLowest);
    EXPECT_EQ(Read(""), 0);
    EXPECT_EQ(number::ReadInt64(static_cast<const QZWChar*>(nullptr), 5), 0);
}

TEST(NumberText, NonDigitsCountByTheirDistanceFromZero)
{
    EXPECT_EQ(Read("A"), 17);               // 65 - 48
    EXPECT_EQ(Read("1 2"), 100 - 160 + 2);  // the blank counts as 32 - 48 = -16
    EXPECT_EQ(Read("1.5"), 100 - 20 + 5);
    EXPECT_EQ(Read("+7"), -50 + 7);
}

TEST(NumberText, PrefixSelectsHexadecimalInBothCases)
{
    EXPECT_EQ(Read("0xff"), 255);
    EXPECT_EQ(Read("0xFF"), 255);
    EXPECT_EQ(Read("0xFFFFFFFFFFFFFFFF"), -1);
    EXPECT_EQ(Read("0x"), 0);
}

TEST(NumberText, HexadecimalSkipsOtherCharacters)
{
    EXPECT_EQ(Read("0x1G-F"), 0x1F);
    EXPECT_EQ(ReadHex("12 34"), 0x1234u);
    EXPECT_EQ(ReadHex("xyz"), 0u);
    EXPECT_EQ(ReadHex("deadBEEF"), 0xDEADBEEFu);
}

TEST(NumberText, ReadsDoubles)
{
    EXPECT_EQ(ReadReal("0.5"), 0.5);
    EXPECT_EQ(ReadReal("-2.25"), -(2 + 25 * 0.01));
    EXPECT_EQ(ReadReal("17"), 17.0);
    EXPECT_EQ(ReadReal("0x10"), 16.0);
    EXPECT_EQ(ReadReal("3."), 3.0);
    EXPECT_EQ(ReadReal(".5"), 0.5);
    EXPECT_EQ(ReadReal(""), 0.0);
}

TEST(NumberText, LastPointSeparatesTheFraction)
{
    // "1.2" as an integer is 1 * 100 + ('.' - '0') * 10 + 2.
    EXPECT_EQ(ReadReal("1.2.5"), 82 + 0.5);
}

TEST(NumberText, NegativeFractionBelowOneLosesItsSign) { EXPECT_EQ(ReadReal("-0.5"), 0.5); }

TEST(NumberText, OnlyTwelveFractionDigitsAreRead)
{
    EXPECT_EQ(ReadReal("0.1234567890129999"), 123456789012 * 1e-12);
    EXPECT_EQ(ReadReal("0.123456789012"), 123456789012 * 1e-12);
}

TEST(NumberFormat, FormatFirstReplacesTheFirstPlaceholder)
{
    QZString text(QZ_W("a%b%c"));
    EXPECT_TRUE(QZFormatFirst(&text, 12345));
    EXPECT_QZ_TEXT(text, "a12345b%c");
    EXPECT_TRUE(QZFormatFirst(&text, -6));
    EXPECT_QZ_TEXT(text, "a12345b-6c");
    EXPECT_FALSE(QZFormatFirst(&text, 1));
    EXPECT_QZ_TEXT(text, "a12345b-6c");
}

TEST(NumberFormat, FormatLastReplacesTheLastPlaceholder)
{
    QZString text(QZ_W("%-%"));
    EXPECT_TRUE(QZFormatLast(&text, 7));
    EXPECT_QZ_TEXT(text, "%-7");
    EXPECT_TRUE(QZFormatLast(&text, 42));
    EXPECT_QZ_TEXT(text, "42-7");
    EXPECT_FALSE(QZFormatLast(&text, 1));
}

TEST(NumberFormat, FormatWithWidthAddsLeadingZeros)
{
    QZString text(QZ_W("%:%:%"));
    EXPECT_TRUE(QZFormatFirst(&text, 5, 2));
    EXPECT_TRUE(QZFormatFirst(&text, 123, 2));
    EXPECT_TRUE(QZFormatFirst(&text, -7, 3));
    EXPECT_QZ_TEXT(text, "05:123:-007");
}
