#include "fw/internal/fw_calendar.h"

#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_hooks.h"

namespace calendar
{

namespace
{

constexpr QZInt64 kDaysBeforeMonth[2][13] = {{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
                                             {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366}};

constexpr QZInt64 kDaysIn400Years = 146097;
constexpr QZInt64 kDaysIn100Years = 36524;
constexpr QZInt64 kDaysIn4Years = 1461;
constexpr QZInt64 kDaysInYear = 365;
// Year 0, the leap year before year 1.
constexpr QZInt64 kDaysInYear0 = 366;

// Sums wrap: hosts pass any number.
QZInt64 Sum(QZInt64 a, QZInt64 b)
{
    return static_cast<QZInt64>(static_cast<QZUInt64>(a) + static_cast<QZUInt64>(b));
}

QZInt64 Product(QZInt64 a, QZInt64 b)
{
    return static_cast<QZInt64>(static_cast<QZUInt64>(a) * static_cast<QZUInt64>(b));
}

QZInt64 Negative(QZInt64 value) { return static_cast<QZInt64>(0 - static_cast<QZUInt64>(value)); }

QZInt64 DaysBeforeMonth(QZInt64 year, QZInt64 month)
{
    QZInt64 index = month < 1 ? 0 : month > 13 ? 12 : month - 1;
    return kDaysBeforeMonth[IsLeapYear(year)][index];
}

QZInt64 DaysInMonth(QZInt64 year, QZInt64 month)
{
    return DaysBeforeMonth(year, month + 1) - DaysBeforeMonth(year, month);
}

/// Whole years in a number of days.
QZInt64 YearsIn(QZInt64 days)
{
    QZInt64 years = days / kDaysIn400Years * 400;
    days %= kDaysIn400Years;
    QZInt64 centuries = days / kDaysIn100Years;
    if (centuries > 3) centuries = 3;
    days -= centuries * kDaysIn100Years;
    years += centuries * 100 + days / kDaysIn4Years * 4;
    days %= kDaysIn4Years;
    QZInt64 single = days / kDaysInYear;
    return years + (single > 3 ? 3 : single);
}

/// The day of the year, from 0. A part of a day before year 1 counts as one day further back.
QZInt64 DayOfYear(QZInt64 timestamp)
{
    QZInt64 day = timestamp / kDay;
    QZInt64 start = YearToDay(YearOf(timestamp));
    if (timestamp >= 0) return day - start;
    if (timestamp % kDay != 0) --day;
    return start + day;
}

QZInt64 Mirror(QZInt64 part, QZInt64 whole) { return part == 0 ? 0 : whole - part; }

}  // namespace

bool IsLeapYear(QZInt64 year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

QZInt64 YearToDay(QZInt64 year)
{
    if (year >= 1)
    {
        QZInt64 y = year - 1;
        return Sum(Product(y, kDaysInYear), y / 4 - y / 100 + y / 400);
    }
    QZInt64 y = Negative(year);
    return Sum(Product(Sum(1, y), kDaysInYear), y / 4 - y / 100 + y / 400 + 1);
}

QZInt64 DateToMilliseconds(QZInt64 year, QZInt64 month, QZInt64 day)
{
    // Year 0 has no days of its own here; callers get the start of year 1.
    if (year == 0) return 0;
    QZInt64 within = Sum(DaysBeforeMonth(year, month), Sum(day, -1));
    if (year > 0) return Product(Sum(YearToDay(year), within), kDay);
    return Negative(Product(Sum(YearToDay(year), Negative(within)), kDay));
}

QZInt64 YearOf(QZInt64 timestamp)
{
    QZInt64 day = timestamp / kDay;
    if (timestamp >= 0) return YearsIn(day) + 1;
    if (day >= -kDaysInYear0) return 0;
    // The first millisecond of a year before year 1 reads as the year before it. Stored values were read this
    // way, so it stays.
    return -(YearsIn(-kDaysInYear0 - day) + 1);
}

QZInt64 MonthOf(QZInt64 timestamp)
{
    const QZInt64* before = kDaysBeforeMonth[IsLeapYear(YearOf(timestamp))];
    QZInt64 day = DayOfYear(timestamp);
    QZInt64 month = 12;
    while (month > 1 && day < before[month - 1]) --month;
    return month;
}

QZInt64 DayOf(QZInt64 timestamp)
{
    return DayOfYear(timestamp) - DaysBeforeMonth(YearOf(timestamp), MonthOf(timestamp)) + 1;
}

QZInt64 HoursOf(QZInt64 value)
{
    if (value > 0) return value / kHour % 24;
    return Mirror(-(value / kHour) % 24, 24);
}

QZInt64 MinutesOf(QZInt64 value)
{
    if (value > 0) return value / kSecond % 3600 / 60;
    return Mirror(-(value / kSecond) % 3600 / 60, 60);
}

QZInt64 SecondsOf(QZInt64 value)
{
    if (value > 0) return value / kSecond % 60;
    return Mirror(-(value / kSecond) % 60, 60);
}

QZInt64 MilliSecondsOf(QZInt64 value)
{
    if (value > 0) return value % 1000;
    return Mirror(-(value % 1000), 1000);
}

QZInt64 AddYears(QZInt64 timestamp, QZInt64 years)
{
    QZInt64 year = YearOf(timestamp);
    // The lengths repeat every 400 years, so no count takes more steps than that.
    timestamp = Sum(timestamp, Product(years / 400, kDaysIn400Years * kDay));
    years %= 400;
    for (; years > 0; --years)
        timestamp = Sum(timestamp, (IsLeapYear(++year) ? kDaysInYear + 1 : kDaysInYear) * kDay);
    for (; years < 0; ++years)
        timestamp = Sum(timestamp, -(IsLeapYear(--year) ? kDaysInYear + 1 : kDaysInYear) * kDay);
    return timestamp;
}

QZInt64 AddMonths(QZInt64 timestamp, QZInt64 months)
{
    QZInt64 year = YearOf(timestamp);
    QZInt64 month = MonthOf(timestamp);
    timestamp = Sum(timestamp, Product(months / 4800, kDaysIn400Years * kDay));
    months %= 4800;
    for (; months > 0; --months)
    {
        timestamp = Sum(timestamp, DaysInMonth(year, month) * kDay);
        if (++month <= 12) continue;
        month = 1;
        ++year;
    }
    for (; months < 0; ++months)
    {
        if (--month < 1)
        {
            month = 12;
            --year;
        }
        timestamp = Sum(timestamp, -DaysInMonth(year, month) * kDay);
    }
    return timestamp;
}

QZInt64 LocalNow()
{
    QZInt64 timestamp;
    if (os::TestClock(&timestamp)) return timestamp;
    os::DateTime now;
    os::LocalTime(&now);
    return DateToMilliseconds(now.Year, now.Month, now.Day) + now.Hour * kHour + now.Minute * kMinute +
           now.Second * kSecond + now.Millisecond;
}

}  // namespace calendar
