#include "fw/fw_time.h"

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "support/qz_test.h"

namespace
{

constexpr QZInt64 kDay = 86400000;

std::string Shown(const QZDateTime& time)
{
    QZString* text = time.ToString();
    std::string shown = qztest::Utf8(text);
    QZDateTime::Recycle(&text);
    return shown;
}

std::string Shown(const QZTime& time)
{
    QZString* text = time.ToString();
    std::string shown = qztest::Utf8(text);
    QZTime::Recycle(&text);
    return shown;
}

TEST(Time, PartsAndText)
{
    QZTime time(13, 4, 5, 6);
    EXPECT_EQ(time.GetHours(), 13);
    EXPECT_EQ(time.GetMinutes(), 4);
    EXPECT_EQ(time.GetSeconds(), 5);
    EXPECT_EQ(time.GetMilliSeconds(), 6);
    EXPECT_EQ(Shown(time), "13:04:05:6");
    EXPECT_EQ(Shown(QZTime(123)), "00:00:00:123");
    EXPECT_EQ(time.GetType(), 0x81F3000);
}

TEST(Time, HoursWrapAtADay)
{
    EXPECT_EQ(QZTime(25, 0, 0, 0).GetHours(), 1);
    EXPECT_EQ(QZTime(0, 61, 0, 0).GetHours(), 1);
    EXPECT_EQ(QZTime(0, 61, 0, 0).GetMinutes(), 1);
}

TEST(Time, NegativeTimesCountBackFromMidnight)
{
    QZTime time(0, 0, 0, -1);
    EXPECT_EQ(time.GetHours(), 0);
    EXPECT_EQ(time.GetMinutes(), 0);
    EXPECT_EQ(time.GetSeconds(), 0);
    EXPECT_EQ(time.GetMilliSeconds(), 999);
    EXPECT_EQ(QZTime(-1, 0, 0, 0).GetHours(), 23);
    EXPECT_EQ(QZTime(0, -1, 0, 0).GetMinutes(), 59);
    EXPECT_EQ(QZTime(0, 0, -1, 0).GetSeconds(), 59);
}

TEST(Time, EachPartOfANegativeTimeCountsBackByItself)
{
    // One millisecond before midnight has zero hours, minutes and seconds, so only the milliseconds count
    // back.
    EXPECT_EQ(Shown(QZTime(-1)), "00:00:00:999");
    EXPECT_EQ(Shown(QZTime(-1, -1, -1, -1)), "23:59:59:999");
    EXPECT_EQ(Shown(QZTime(-24, 0, 0, 0)), "00:00:00:0");
}

TEST(Time, SumsAndComparisons)
{
    QZTime one(1, 0, 0, 0);
    QZTime other(&one);
    EXPECT_TRUE(one == other);
    other.AddHours(1);
    other.AddMinutes(2);
    other.AddSeconds(3);
    other.AddMilliSeconds(4);
    EXPECT_EQ(Shown(other), "02:02:03:4");
    EXPECT_TRUE(other > one);
    EXPECT_TRUE(one < other);
    EXPECT_TRUE(one <= other);
    EXPECT_FALSE(one >= other);
    EXPECT_EQ(other.GreaterThan(&one), 1);
    EXPECT_EQ(other.LessThan(&one), 0);
    EXPECT_EQ(one.GreaterThanOrEqual(&one), 1);
    EXPECT_EQ(one.LessThanOrEqual(&one), 1);
    EXPECT_EQ(Shown(one + other), "03:02:03:4");
    one.Add(&other);
    EXPECT_EQ(Shown(one), "03:02:03:4");
}

TEST(Date, FirstDayIsZero)
{
    EXPECT_EQ(QZDate(1, 1, 1).ToTimestamp(), 0);
    EXPECT_EQ(QZDate().ToTimestamp(), 0);
    EXPECT_EQ(QZDate(1, 1, 2).ToTimestamp(), kDay);
    EXPECT_EQ(QZDate().GetType(), 0x81F4000);
}

TEST(Date, LeapYears)
{
    EXPECT_EQ(QZDate::IsLeapYear(1900), 0);
    EXPECT_EQ(QZDate::IsLeapYear(2000), 1);
    EXPECT_EQ(QZDate::IsLeapYear(2023), 0);
    EXPECT_EQ(QZDate::IsLeapYear(2024), 1);
    EXPECT_EQ(QZDate::IsLeapYear(3100), 0);
    EXPECT_EQ(QZDate::IsLeapYear(0), 1);
    EXPECT_EQ(QZDate::IsLeapYear(-4), 1);
    EXPECT_EQ(QZDate::IsLeapYear(-100), 0);
}

TEST(Date, DaysBeforeAYear)
{
    EXPECT_EQ(QZDate::YearToDay(1), 0);
    EXPECT_EQ(QZDate::YearToDay(2), 365);
    EXPECT_EQ(QZDate::YearToDay(5), 1461);
    EXPECT_EQ(QZDate::YearToDay(2000), 730119);
    EXPECT_EQ(QZDate::YearToDay(2300), 839692);
    EXPECT_EQ(QZDate::YearToDay(3001), 1095727);
    EXPECT_EQ(QZDate::YearToDay(0), 366);
    EXPECT_EQ(QZDate::YearToDay(-1), 731);
    EXPECT_EQ(QZDate::YearToDay(-4), 1827);
}

TEST(Date, MillisecondsOfADate)
{
    EXPECT_EQ(QZDate::DateToMilliseconds(2000, 1, 1), 730119 * kDay);
    EXPECT_EQ(QZDate::DateToMilliseconds(2000, 3, 1), (730119 + 60) * kDay);
    EXPECT_EQ(QZDate::DateToMilliseconds(2001, 3, 1), (730119 + 366 + 59) * kDay);
    EXPECT_EQ(QZDate::DateToMilliseconds(0, 5, 6), 0);
    EXPECT_EQ(QZDate::DateToMilliseconds(-1, 1, 1), -731 * kDay);
    EXPECT_EQ(QZDate::DateToMilliseconds(-1, 12, 31), -367 * kDay);
}

TEST(DateTime, EveryDayOf3300YearsRoundTrips)
{
    // The expected dates come from counting day by day, independent of the library's formulas.
    static const int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    QZInt64 day = 0;
    int weekday = 1;
    QZDateTime time(0);
    for (int year = 1; year <= 3300; ++year)
    {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        ASSERT_EQ(QZDate::YearToDay(year), day);
        ASSERT_EQ(QZDate::IsLeapYear(year), leap);
        for (int month = 1; month <= 12; ++month)
        {
            const int length = kLengths[month - 1] + (leap && month == 2 ? 1 : 0);
            for (int d = 1; d <= length; ++d, ++day, weekday = (weekday + 1) % 7)
            {
                const QZInt64 timestamp = day * kDay;
                time.Set(timestamp + kDay - 1);
                const bool same =
                    QZDate::DateToMilliseconds(year, month, d) == timestamp &&
                    QZDateTime::GetYear(timestamp) == year && QZDateTime::GetMonth(timestamp) == month &&
                    QZDateTime::GetDay(timestamp) == d && time.GetYear() == year &&
                    time.GetMonth() == month && time.GetDay() == d && time.DayOfWeek() == weekday;
                ASSERT_TRUE(same) << year << "-" << month << "-" << d;
            }
        }
    }
    EXPECT_EQ(day, 3300 * 365 + 825 - 33 + 8);
}

/// Whether year, month and day of the timestamp are these.
bool HasDate(QZInt64 timestamp, QZInt64 year, QZInt64 month, QZInt64 day)
{
    return QZDateTime::GetYear(timestamp) == year && QZDateTime::GetMonth(timestamp) == month &&
           QZDateTime::GetDay(timestamp) == day;
}

TEST(DateTime, EveryDayBeforeYear1ReadsByTheFormulasForNegativeYears)
{
    // Counts back from year 1 and checks the start of each day and a moment inside it. Two kinds of days
    // differ from the calendar: inside its last day year -1 reads as day 0 of January of year 0, and the
    // start of a negative year reads as 32 December of the year before.
    static const int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    QZInt64 day = 0;
    for (int year = 0; year >= -3000; --year)
    {
        const bool leap = year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
        ASSERT_EQ(QZDate::IsLeapYear(year), leap);
        for (int month = 12; month >= 1; --month)
        {
            for (int d = kLengths[month - 1] + (leap && month == 2 ? 1 : 0); d >= 1; --d)
            {
                --day;
                const QZInt64 timestamp = day * kDay;
                const bool start = year < 0 && month == 1 && d == 1 ? HasDate(timestamp, year - 1, 12, 32)
                                                                    : HasDate(timestamp, year, month, d);
                const bool inside = year == -1 && month == 12 && d == 31
                                        ? HasDate(timestamp + 1, 0, 1, 0)
                                        : HasDate(timestamp + 1, year, month, d);
                ASSERT_TRUE(start && inside)
                    << year << "-" << month << "-" << d << " read as " << QZDateTime::GetYear(timestamp)
                    << "-" << QZDateTime::GetMonth(timestamp) << "-" << QZDateTime::GetDay(timestamp);
                ASSERT_EQ(QZDate::DateToMilliseconds(year, month, d), year == 0 ? 0 : timestamp);
            }
        }
        ASSERT_EQ(QZDate::YearToDay(year), -day);
    }
}

TEST(DateTime, AddMonthsFromTheFirstReachesTheNextFirst)
{
    for (int year = 1; year <= 3000; ++year)
    {
        for (int month = 1; month <= 12; ++month)
        {
            const QZInt64 first = QZDate::DateToMilliseconds(year, month, 1);
            const QZInt64 next = month < 12 ? QZDate::DateToMilliseconds(year, month + 1, 1)
                                            : QZDate::DateToMilliseconds(year + 1, 1, 1);
            ASSERT_EQ(QZDateTime::AddMonths(first, 1), next) << year << "-" << month;
            ASSERT_EQ(QZDateTime::AddMonths(next, -1), first) << year << "-" << month;
        }
    }
}

TEST(DateTime, DayIndexOfTheYear2000)
{
    QZDateTime time(2000, 1, 1, 0, 0, 0, 0);
    EXPECT_EQ(time.ToTimestamp(), 730119 * kDay);
    EXPECT_EQ(time.TotalDay(), 730119);
    EXPECT_EQ(time.DayOfWeek(), 6);
    EXPECT_EQ(time.IsLeapYear(), 1);
    EXPECT_EQ(time.GetType(), 0x81F5000);
}

TEST(DateTime, DayOfWeekCountsFromSunday)
{
    EXPECT_EQ(QZDateTime(0).DayOfWeek(), 1);
    EXPECT_EQ(QZDateTime(2024, 3, 3, 12, 0, 0, 0).DayOfWeek(), 0);
    EXPECT_EQ(QZDateTime(2024, 3, 5, 12, 0, 0, 0).DayOfWeek(), 2);
}

TEST(DateTime, JulianDayNumberBeginsAtNoon)
{
    EXPECT_EQ(QZDateTime(2000, 1, 1, 12, 0, 0, 0).GetJDN(), 2451545);
    EXPECT_EQ(QZDateTime(2000, 1, 1, 11, 59, 59, 999).GetJDN(), 2451544);
}

TEST(DateTime, DayCountsBeforeYear1)
{
    EXPECT_EQ(QZDateTime(-1).DayOfWeek(), 1) << "a part of a day counts as no day";
    EXPECT_EQ(QZDateTime(-kDay).DayOfWeek(), 0);
    EXPECT_EQ(QZDateTime(-2 * kDay).DayOfWeek(), -1) << "the remainder has the sign of the day";
    EXPECT_EQ(QZDateTime(-9 * kDay).DayOfWeek(), -1);
    EXPECT_EQ(QZDateTime(-1).TotalDay(), 0);
    EXPECT_EQ(QZDateTime(-367 * kDay).TotalDay(), 367);
    EXPECT_EQ(QZDateTime(0).GetJDN(), 1721426) << "half a day before day 0 still counts as day 0";
    EXPECT_EQ(QZDateTime(-kDay).GetJDN(), 1721425);
    EXPECT_EQ(QZDateTime(-kDay - kDay / 2).GetJDN(), 1721424);
    EXPECT_EQ(QZDateTime(-1).IsLeapYear(), 1);
}

TEST(DateTime, Text)
{
    EXPECT_EQ(Shown(QZDateTime(2024, 3, 5, 6, 7, 8, 0)), "2024-03-05 06:07:08");
    EXPECT_EQ(Shown(QZDateTime(2024, 3, 5, 6, 7, 8, 9)), "2024-03-05 06:07:08.009");
    EXPECT_EQ(Shown(QZDateTime(1, 1, 1, 0, 0, 0, 0)), "0001-01-01 00:00:00");
    EXPECT_EQ(Shown(QZDateTime(12345, 1, 1, 0, 0, 0, 0)), "12345-01-01 00:00:00");
    EXPECT_EQ(Shown(QZDateTime(-5, 6, 7, 0, 0, 0, 0)), "BC. 0005-06-07 00:00:00");
    EXPECT_EQ(Shown(QZDateTime(-366 * kDay + 1)), "0000-01-01 01:01:01.001")
        << "year 0 has no sign, and each part of the time counts back by itself";
    QZString* text = QZStringFactory::CreateString(QZ_W("old"));
    QZDateTime(2024, 3, 5, 6, 7, 8, 0).ToString(text);
    EXPECT_QZ_TEXT(text, "2024-03-05 06:07:08");
    QZStringFactory::Recycle(&text);
}

TEST(DateTime, YearBeforeYear1IsYear0)
{
    EXPECT_EQ(QZDateTime::GetYear(-1), 0);
    EXPECT_EQ(QZDateTime::GetMonth(-1), 12);
    EXPECT_EQ(QZDateTime::GetDay(-1), 31);
    EXPECT_EQ(QZDateTime::GetYear(-366 * kDay), 0);
    EXPECT_EQ(QZDateTime::GetMonth(-366 * kDay), 1);
    EXPECT_EQ(QZDateTime::GetDay(-366 * kDay), 1);
    EXPECT_EQ(QZDateTime::GetYear(-367 * kDay), -1);
    EXPECT_EQ(QZDateTime::GetMonth(-367 * kDay), 12);
    EXPECT_EQ(QZDateTime::GetDay(-367 * kDay), 31);
}

TEST(DateTime, StartOfANegativeYearReadsAsTheYearBefore)
{
    EXPECT_EQ(QZDateTime(-1, 1, 1, 0, 0, 0, 0).GetYear(), -2);
    EXPECT_EQ(QZDateTime(-1, 1, 2, 0, 0, 0, 0).GetYear(), -1);
}

TEST(DateTime, DataIsEightWords)
{
    QZDateTime time(2024, 3, 5, 6, 7, 8, 9);
    QZData* data = time.ToData();
    EXPECT_BYTES(
        data->GetPointer(), data->GetSize(),
        "07 00 00 00 E8 07 00 00 03 00 00 00 05 00 00 00 06 00 00 00 07 00 00 00 08 00 00 00 09 00 00 00");
    EXPECT_TRUE(QZDateTime(data) == time);
    data->NewSize(28);
    EXPECT_EQ(QZDateTime(data).GetMilliSeconds(), 0);
    EXPECT_EQ(QZDateTime(data).GetSeconds(), 8);
    time.ToData(data);
    EXPECT_EQ(data->GetSize(), 32);
    for (QZInt64 size : {0, 27, 29, 31, 33})
    {
        data->NewSize(size);
        EXPECT_QZ_THROW_MESSAGE(QZDateTime{data}, 256, " ArgumentOutOfRange");
    }
    EXPECT_QZ_THROW(QZDateTime{static_cast<QZData*>(nullptr)}, 256);
    QZDateTime::Recycle(&data);
    EXPECT_EQ(data, nullptr);
}

TEST(DateTime, AddYearsAddsTheLengthOfTheYearAfter)
{
    // A step adds the length of the year after the current one, so a step from 2023 adds 366 days.
    QZDateTime time(2023, 1, 1, 0, 0, 0, 0);
    time.AddYears(1);
    EXPECT_EQ(Shown(time), "2024-01-02 00:00:00");
    EXPECT_EQ(QZDateTime::AddYears(QZDateTime(2024, 1, 1, 0, 0, 0, 0).ToTimestamp(), 1),
              QZDateTime(2024, 12, 31, 0, 0, 0, 0).ToTimestamp());
    time.Set(2025, 6, 1, 0, 0, 0, 0);
    time.AddYears(-1);
    EXPECT_EQ(Shown(time), "2024-05-31 00:00:00");
    time.AddYears(0);
    EXPECT_EQ(Shown(time), "2024-05-31 00:00:00");
}

TEST(DateTime, AddMonthsAddsTheLengthsOfTheMonths)
{
    QZDateTime time(2024, 1, 31, 0, 0, 0, 0);
    time.AddMonths(1);
    EXPECT_EQ(Shown(time), "2024-03-02 00:00:00") << "31 days later";
    time.Set(2024, 1, 15, 0, 0, 0, 0);
    time.AddMonths(2);
    EXPECT_EQ(Shown(time), "2024-03-15 00:00:00");
    time.AddMonths(12);
    EXPECT_EQ(Shown(time), "2025-03-15 00:00:00");
    time.AddMonths(-13);
    EXPECT_EQ(Shown(time), "2024-02-15 00:00:00");
}

TEST(DateTime, StepsOfManyYearsAndMonths)
{
    const QZInt64 start = QZDateTime(2023, 7, 9, 0, 0, 0, 0).ToTimestamp();
    EXPECT_EQ(QZDateTime::AddYears(start, 400), start + 146097 * kDay);
    EXPECT_EQ(QZDateTime::AddYears(start, 801), start + (2 * 146097 + 366) * kDay);
    EXPECT_EQ(QZDateTime::AddYears(start, -399), start - (146097 - 365) * kDay);
    EXPECT_EQ(QZDateTime::AddMonths(start, 4800), start + 146097 * kDay);
    EXPECT_EQ(QZDateTime::AddMonths(start, -9601), start - (2 * 146097 + 30) * kDay);
    // A huge count returns at once.
    EXPECT_EQ(QZDateTime::AddYears(start, 4000000000000000), QZDateTime::AddMonths(start, 48000000000000000));
}

TEST(DateTime, AddYearsCountsYearsIndependentOfTheDateReached)
{
    // 2024-01-01 plus 365 days is 2024-12-31; the next step adds the length of 2026 all the same.
    const QZInt64 start = QZDateTime(2024, 1, 1, 0, 0, 0, 0).ToTimestamp();
    EXPECT_EQ(QZDateTime::AddYears(start, 4), start + (3 * 365 + 366) * kDay);
}

TEST(DateTime, OtherSteps)
{
    QZDateTime time(2024, 2, 28, 0, 0, 0, 0);
    time.AddDays(1);
    time.AddHours(1);
    time.AddMinutes(2);
    time.AddSeconds(3);
    time.AddMilliSeconds(4);
    EXPECT_EQ(Shown(time), "2024-02-29 01:02:03.004");
    QZDateTime more(kDay);
    time.Add(&more);
    EXPECT_EQ(Shown(time), "2024-03-01 01:02:03.004");
    EXPECT_EQ(QZDateTime::AddDays(5, -1), 5 - kDay);
    QZDateTime copy(&time);
    EXPECT_TRUE(copy == time);
    copy.Set(0);
    EXPECT_TRUE(copy < time);
    EXPECT_TRUE(copy <= time);
    EXPECT_TRUE(time > copy);
    EXPECT_TRUE(time >= copy);
}

TEST(Date, StepsOfADate)
{
    QZDate date(2024, 1, 31);
    date.AddMonths(1);
    date.AddDays(1);
    EXPECT_EQ(date.GetYear(), 2024);
    EXPECT_EQ(date.GetMonth(), 3);
    EXPECT_EQ(date.GetDay(), 3);
    date.AddYears(1);
    EXPECT_EQ(date.GetYear(), 2025);
    EXPECT_TRUE(date > QZDate(2024, 1, 1));
    EXPECT_TRUE(date >= QZDate(2024, 1, 1));
    EXPECT_FALSE(date < QZDate(2024, 1, 1));
    EXPECT_FALSE(date <= QZDate(2024, 1, 1));
    EXPECT_FALSE(date == QZDate(2024, 1, 1));
}

}  // namespace
