#ifndef QZLIB_FW_CALENDAR_H
#define QZLIB_FW_CALENDAR_H

/// The arithmetic of the time classes: milliseconds from the start of 1 January of year 1, proleptic
/// Gregorian. Internal. Negative values are years before year 1; their formulas keep all their
/// irregularities, since stored values were computed with them.

#include "sys/sys_types.h"

namespace calendar
{

inline constexpr QZInt64 kSecond = 1000;
inline constexpr QZInt64 kMinute = 60 * kSecond;
inline constexpr QZInt64 kHour = 60 * kMinute;
inline constexpr QZInt64 kDay = 24 * kHour;

bool IsLeapYear(QZInt64 year);

/// Days from year 1 to the start of the year; for years below 1 days from there back to the start of the
/// year.
QZInt64 YearToDay(QZInt64 year);

/// The first millisecond of a day. Year 0 gives 0.
QZInt64 DateToMilliseconds(QZInt64 year, QZInt64 month, QZInt64 day);

QZInt64 YearOf(QZInt64 timestamp);
QZInt64 MonthOf(QZInt64 timestamp);
QZInt64 DayOf(QZInt64 timestamp);

/// Parts of the day; values below 1 read backward from midnight.
QZInt64 HoursOf(QZInt64 value);
QZInt64 MinutesOf(QZInt64 value);
QZInt64 SecondsOf(QZInt64 value);
QZInt64 MilliSecondsOf(QZInt64 value);

/// Year by year and month by month, each step by the length of a year or month: no calendar add, so days can
/// move.
QZInt64 AddYears(QZInt64 timestamp, QZInt64 years);
QZInt64 AddMonths(QZInt64 timestamp, QZInt64 months);

/// The local wall clock, or the test clock while a test sets one.
QZInt64 LocalNow();

}  // namespace calendar

#endif
