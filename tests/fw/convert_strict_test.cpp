// The strict readers and writers of QZConvert: what they take, what they refuse, and that a refusal leaves
// the target alone.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "fw/fw_convert.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"

namespace
{

constexpr QZInt64 kUntouched = 4711;

QZInt64 Int64Of(const char* text)
{
    QZInt64 value = kUntouched;
    EXPECT_EQ(QZConvert::ParseInt64(text, &value), 1) << text;
    return value;
}

bool RefusesInt64(const char* text)
{
    QZInt64 value = kUntouched;
    return QZConvert::ParseInt64(text, &value) == 0 && value == kUntouched;
}

double DoubleOf(const char* text)
{
    double value = 4711.0;
    EXPECT_EQ(QZConvert::ParseDouble(text, &value), 1) << text;
    return value;
}

bool RefusesDouble(const char* text)
{
    double value = 4711.0;
    return QZConvert::ParseDouble(text, &value) == 0 && value == 4711.0;
}

std::string Narrow(QZString* text)
{
    std::string narrow;
    for (QZInt64 i = 0; i < text->GetLength(); ++i) narrow += static_cast<char>(text->GetPointer()[i]);
    QZConvert::Recycle(&text);
    return narrow;
}

QZInt64 TimeOf(const char* text)
{
    QZInt64 value = kUntouched;
    EXPECT_EQ(QZConvert::ParseDateTime(text, &value), 1) << text;
    return value;
}

bool RefusesTime(const char* text)
{
    QZInt64 value = kUntouched;
    return QZConvert::ParseDateTime(text, &value) == 0 && value == kUntouched;
}

// 1970-01-01 in milliseconds from the start of year 1: 719162 days.
constexpr QZInt64 kEpoch = 62135596800000;

}  // namespace

TEST(ConvertStrict, Int64TakesSignsAndBothEnds)
{
    EXPECT_EQ(Int64Of("0"), 0);
    EXPECT_EQ(Int64Of("-0"), 0);
    EXPECT_EQ(Int64Of("+17"), 17);
    EXPECT_EQ(Int64Of("-17"), -17);
    EXPECT_EQ(Int64Of("007"), 7);
    EXPECT_EQ(Int64Of("9223372036854775807"), std::numeric_limits<QZInt64>::max());
    EXPECT_EQ(Int64Of("-9223372036854775808"), std::numeric_limits<QZInt64>::min());
}

TEST(ConvertStrict, Int64RefusesWhatIsNoWholeNumber)
{
    for (const char* text :
         {"", " ", " 1", "1 ", "1\n", "-", "+", "+-1", "-+1", "--1", "1.0", "1e3", "0x10", "1_000", "1,000",
          "twelve", "9223372036854775808", "-9223372036854775809", "99999999999999999999999"})
        EXPECT_TRUE(RefusesInt64(text)) << "'" << text << "'";
    EXPECT_TRUE(RefusesInt64(nullptr));
}

TEST(ConvertStrict, UInt64HasNoMinus)
{
    QZUInt64 value = 3;
    EXPECT_EQ(QZConvert::ParseUInt64("18446744073709551615", &value), 1);
    EXPECT_EQ(value, 18446744073709551615ull);
    value = 3;
    EXPECT_EQ(QZConvert::ParseUInt64("18446744073709551616", &value), 0);
    EXPECT_EQ(QZConvert::ParseUInt64("-1", &value), 0);
    EXPECT_EQ(QZConvert::ParseUInt64("-0", &value), 0);
    EXPECT_EQ(value, 3u);
}

TEST(ConvertStrict, WideTextAndStringObjectsReadTheSame)
{
    QZInt64 value = 0;
    EXPECT_EQ(QZConvert::ParseInt64(QZ_W("-42"), &value), 1);
    EXPECT_EQ(value, -42);
    // A digit of another script is no digit, and neither is a unit whose low byte is one.
    EXPECT_EQ(QZConvert::ParseInt64(QZ_W("4\u0662"), &value), 0);
    EXPECT_EQ(QZConvert::ParseInt64(QZ_W("\u0131"), &value), 0);
    QZString* text = QZStringFactory::CreateString("-0.5");
    double number = 0;
    EXPECT_EQ(QZConvert::ParseDouble(text, &number), 1);
    EXPECT_EQ(number, -0.5);
    QZStringFactory::Recycle(&text);
    EXPECT_EQ(QZConvert::ParseDouble(static_cast<QZString*>(nullptr), &number), 0);
    EXPECT_EQ(QZConvert::ParseDouble(static_cast<const QZWChar*>(nullptr), &number), 0);
    EXPECT_EQ(number, -0.5);
}

TEST(ConvertStrict, StringObjectWithATerminatorInsideIsRefused)
{
    QZString* text = QZStringFactory::CreateString("12");
    text->Append(QZ_W("3"));
    const_cast<QZWChar*>(text->GetPointer())[1] = 0;
    QZInt64 value = kUntouched;
    EXPECT_EQ(QZConvert::ParseInt64(text, &value), 0);
    EXPECT_EQ(value, kUntouched);
    QZStringFactory::Recycle(&text);
}

TEST(ConvertStrict, DoubleKeepsTheSignOfAFraction)
{
    EXPECT_EQ(DoubleOf("-0.5"), -0.5);
    EXPECT_EQ(DoubleOf("+0.5"), 0.5);
    EXPECT_EQ(DoubleOf("-.5"), -0.5);
    EXPECT_EQ(DoubleOf("5."), 5.0);
    EXPECT_EQ(DoubleOf("1e3"), 1000.0);
    EXPECT_EQ(DoubleOf("1E+3"), 1000.0);
    EXPECT_EQ(DoubleOf("-12.5e-1"), -1.25);
    EXPECT_TRUE(std::signbit(DoubleOf("-0")));
}

TEST(ConvertStrict, DoubleRoundsToTheNearest)
{
    EXPECT_EQ(std::bit_cast<QZUInt64>(DoubleOf("0.1")), 0x3FB999999999999Aull);
    EXPECT_EQ(DoubleOf("9007199254740993"), 9007199254740992.0);
    // Half way between 1 and the next double, and then a digit far to the right: only the whole text decides.
    EXPECT_EQ(DoubleOf("1.00000000000000011102230246251565404236316680908203125"), 1.0);
    EXPECT_EQ(
        std::bit_cast<QZUInt64>(DoubleOf("1.000000000000000111022302462515654042363166809082031250001")),
        0x3FF0000000000001ull);
}

TEST(ConvertStrict, DoubleInfinitiesNanAndRange)
{
    EXPECT_EQ(DoubleOf("inf"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(DoubleOf("-Infinity"), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(DoubleOf("NaN")));
    EXPECT_EQ(DoubleOf("1.7976931348623157e308"), std::numeric_limits<double>::max());
    EXPECT_EQ(DoubleOf("5e-324"), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(DoubleOf("1e-400"), 0.0);
    EXPECT_TRUE(std::signbit(DoubleOf("-1e-400")));
    EXPECT_EQ(DoubleOf("1e-99999999999999999999"), 0.0);
    EXPECT_EQ(DoubleOf(("0." + std::string(400, '0') + "1").c_str()), 0.0);
    EXPECT_TRUE(RefusesDouble("1e309"));
    EXPECT_TRUE(RefusesDouble("-1e309"));
    EXPECT_TRUE(RefusesDouble("1e99999999999999999999"));
    EXPECT_TRUE(RefusesDouble(("1" + std::string(400, '0')).c_str()));
}

TEST(ConvertStrict, DoubleRefusesWhatIsNoNumber)
{
    for (const char* text : {"", " ", " 1", "1 ", "1.5 ", ".", "-", "+", "e5", "1e", "1e+", "1.2.3", "1,5",
                             "0x1p3", "+-1", "-+1", "1.5V", "infinit", "1e5.5"})
        EXPECT_TRUE(RefusesDouble(text)) << "'" << text << "'";
}

TEST(ConvertStrict, BoolTakesWordsAndDigits)
{
    QZBool value = 9;
    EXPECT_EQ(QZConvert::ParseBool("true", &value), 1);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(QZConvert::ParseBool("FALSE", &value), 1);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(QZConvert::ParseBool(QZ_W("1"), &value), 1);
    EXPECT_EQ(value, 1);
    value = 9;
    for (const char* text : {"", "yes", "2", "true ", "tru", "truee", "01"})
        EXPECT_EQ(QZConvert::ParseBool(text, &value), 0) << text;
    EXPECT_EQ(value, 9);
}

TEST(ConvertStrict, DoubleTextReadsBackToTheSameBits)
{
    EXPECT_EQ(Narrow(QZConvert::FormatDouble(0.1)), "0.1");
    EXPECT_EQ(Narrow(QZConvert::FormatDouble(-0.5)), "-0.5");
    EXPECT_EQ(Narrow(QZConvert::FormatDouble(-0.0)), "-0");
    EXPECT_EQ(Narrow(QZConvert::FormatDouble(1e300)), "1e+300");
    EXPECT_EQ(Narrow(QZConvert::FormatDouble(std::numeric_limits<double>::infinity())), "inf");
    EXPECT_EQ(Narrow(QZConvert::FormatDouble(std::numeric_limits<double>::quiet_NaN())), "nan");
    std::mt19937_64 random(20);
    for (int i = 0; i < 20000; ++i)
    {
        const double value = std::bit_cast<double>(random());
        if (std::isnan(value)) continue;
        QZString* text = QZConvert::FormatDouble(value);
        double back = 0;
        ASSERT_EQ(QZConvert::ParseDouble(text, &back), 1) << value;
        ASSERT_EQ(std::bit_cast<QZUInt64>(back), std::bit_cast<QZUInt64>(value)) << value;
        QZConvert::Recycle(&text);
    }
}

TEST(ConvertStrict, DateTimeTakesTheFormsOfIso8601)
{
    EXPECT_EQ(TimeOf("1970-01-01"), kEpoch);
    EXPECT_EQ(TimeOf("1970-01-01T00:00"), kEpoch);
    EXPECT_EQ(TimeOf("1970-01-01 00:00:01"), kEpoch + 1000);
    EXPECT_EQ(TimeOf("1970-01-01T00:00:00.5"), kEpoch + 500);
    EXPECT_EQ(TimeOf("1970-01-01T00:00:00.123456789"), kEpoch + 123);
    EXPECT_EQ(TimeOf("1970-01-01t00:00:00,25z"), kEpoch + 250);
    // 2024-02-29: 19782 days after the epoch; 13:14:15.016 is 47655016 ms.
    EXPECT_EQ(TimeOf("2024-02-29T13:14:15.016"), kEpoch + 19782 * 86400000ll + 47655016);
    EXPECT_EQ(TimeOf("0001-01-01"), 0);
}

TEST(ConvertStrict, DateTimeWithAnOffsetIsUtc)
{
    EXPECT_EQ(TimeOf("1970-01-01T02:00:00+02:00"), kEpoch);
    EXPECT_EQ(TimeOf("1969-12-31T19:30:00-0430"), kEpoch);
    EXPECT_EQ(TimeOf("1970-01-01 01:00:00+01"), kEpoch);
    QZInt64 value = 0;
    QZBool offset = 7;
    EXPECT_EQ(QZConvert::ParseDateTime("1970-01-01T00:00:00Z", &value, &offset), 1);
    EXPECT_EQ(offset, 1);
    EXPECT_EQ(QZConvert::ParseDateTime("1970-01-01T00:00:00", &value, &offset), 1);
    EXPECT_EQ(offset, 0);
}

TEST(ConvertStrict, DateTimeRefusesWhatNoCalendarHas)
{
    for (const char* text : {"",
                             "1970",
                             "1970-01",
                             "1970-1-1",
                             "1970-13-01",
                             "1970-00-01",
                             "1970-01-32",
                             "1970-01-00",
                             "2023-02-29",
                             "1900-02-29",
                             "1970-04-31",
                             "0000-01-01",
                             "1970-01-01T",
                             "1970-01-01T1",
                             "1970-01-01T24:00",
                             "1970-01-01T23:60",
                             "1970-01-01T23:59:60",
                             "1970-01-01T00:00:00.",
                             "1970-01-01T00:00:00.1234567890",
                             "1970-01-01T00:00Q",
                             "1970-01-01T00:00+2",
                             "1970-01-01T00:00+24:00",
                             "1970-01-01Z",
                             " 1970-01-01",
                             "1970-01-01 ",
                             "1970-01-01  00:00",
                             "19700101",
                             "0001-01-01T00:00+01:00",
                             "9999-12-31T23:59:59-01:00"})
        EXPECT_TRUE(RefusesTime(text)) << "'" << text << "'";
    EXPECT_TRUE(RefusesTime(nullptr));
}

TEST(ConvertStrict, DateTimeTextReadsBack)
{
    EXPECT_EQ(Narrow(QZConvert::FormatDateTime(kEpoch, 1)), "1970-01-01T00:00:00Z");
    EXPECT_EQ(Narrow(QZConvert::FormatDateTime(kEpoch + 19782 * 86400000ll + 47655016, 0)),
              "2024-02-29T13:14:15.016");
    EXPECT_EQ(Narrow(QZConvert::FormatDateTime(-1, 0)), "");
    EXPECT_EQ(Narrow(QZConvert::FormatDateTime(0, 0)), "0001-01-01T00:00:00");
    std::mt19937_64 random(21);
    for (int i = 0; i < 5000; ++i)
    {
        const QZInt64 value = static_cast<QZInt64>(random() % 315537897600000ull);
        QZString* text = QZConvert::FormatDateTime(value, 0);
        QZInt64 back = -1;
        ASSERT_EQ(QZConvert::ParseDateTime(text, &back), 1) << value;
        ASSERT_EQ(back, value);
        QZConvert::Recycle(&text);
    }
}
