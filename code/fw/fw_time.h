#ifndef QZLIB_FW_TIME_H
#define QZLIB_FW_TIME_H

#include <concepts>

#include "fw/fw_object.h"

class QZData;
class QZString;

/// A duration or a time of day in milliseconds. One thread at a time.
class QZ_API QZTime : public QZObject
{
public:
    static const QZInt64 Type = 0x81F3000;

    QZTime(QZInt64 hours, QZInt64 minutes, QZInt64 seconds, QZInt64 milliseconds);
    explicit QZTime(QZTime* time);
    explicit QZTime(QZInt64 milliseconds);
    template <std::integral T>
    explicit QZTime(T milliseconds) : QZTime(static_cast<QZInt64>(milliseconds))
    {}

    QZInt64 GetType() override;

    void Add(QZTime* time);
    void AddHours(QZInt64 hours);
    void AddMinutes(QZInt64 minutes);
    void AddSeconds(QZInt64 seconds);
    void AddMilliSeconds(QZInt64 milliseconds);

    /// Parts of the day. Values below 1 read backward from midnight.
    QZInt64 GetHours() const;
    QZInt64 GetMinutes() const;
    QZInt64 GetSeconds() const;
    QZInt64 GetMilliSeconds() const;

    QZBool GreaterThan(const QZTime* time) const;
    QZBool LessThan(const QZTime* time) const;
    QZBool GreaterThanOrEqual(const QZTime* time) const;
    QZBool LessThanOrEqual(const QZTime* time) const;
    bool operator>(const QZTime& other) const { return m_value > other.m_value; }
    bool operator>=(const QZTime& other) const { return m_value >= other.m_value; }
    bool operator<(const QZTime& other) const { return m_value < other.m_value; }
    bool operator<=(const QZTime& other) const { return m_value <= other.m_value; }
    bool operator==(const QZTime& other) const { return m_value == other.m_value; }
    QZTime operator+(const QZTime& other) const;

    /// "hh:mm:ss:" and the milliseconds at no fixed width, a new string given back with Recycle.
    QZString* ToString() const;
    static void Recycle(QZString** text);

private:
    QZInt64 m_value;
};

/// A day, proleptic Gregorian. One thread at a time.
class QZ_API QZDate : public QZObject
{
public:
    static const QZInt64 Type = 0x81F4000;

    /// 1 January of year 1.
    QZDate();
    QZDate(QZInt64 year, QZInt64 month, QZInt64 day);

    QZInt64 GetType() override;

    static QZBool IsLeapYear(QZInt64 year);
    /// Days from year 1 to the start of the year; below year 1 days back to it.
    static QZInt64 YearToDay(QZInt64 year);
    /// Milliseconds from the start of year 1 to the start of the day; 0 for year 0.
    static QZInt64 DateToMilliseconds(QZInt64 year, QZInt64 month, QZInt64 day);

    /// Steps of whole year and month lengths: the day can move.
    void AddYears(QZInt64 years);
    void AddMonths(QZInt64 months);
    void AddDays(QZInt64 days);

    QZInt64 GetDay() const;
    QZInt64 GetMonth() const;
    QZInt64 GetYear() const;
    /// Milliseconds from the start of year 1.
    QZInt64 ToTimestamp() const { return m_value; }

    bool operator>(const QZDate& other) const { return m_value > other.m_value; }
    bool operator>=(const QZDate& other) const { return m_value >= other.m_value; }
    bool operator<(const QZDate& other) const { return m_value < other.m_value; }
    bool operator<=(const QZDate& other) const { return m_value <= other.m_value; }
    bool operator==(const QZDate& other) const { return m_value == other.m_value; }

private:
    QZInt64 m_value;
};

/// A moment in local time, in milliseconds from the start of 1 January of year 1. One thread at a time.
class QZ_API QZDateTime : public QZObject
{
public:
    static const QZInt64 Type = 0x81F5000;

    /// Reads the layout of ToData, with or without milliseconds.
    /// @throws QZException 256 for any other size and for null
    explicit QZDateTime(QZData* data);
    QZDateTime(QZInt64 year, QZInt64 month, QZInt64 day, QZInt64 hours, QZInt64 minutes, QZInt64 seconds,
               QZInt64 milliseconds);
    explicit QZDateTime(QZDateTime* time);
    explicit QZDateTime(QZInt64 timestamp);
    template <std::integral T>
    explicit QZDateTime(T timestamp) : QZDateTime(static_cast<QZInt64>(timestamp))
    {}

    QZInt64 GetType() override;

    /// 32 bytes: the 32-bit words 7, year, month, day, hours, minutes, seconds, milliseconds.
    QZData* ToData() const;
    void ToData(QZData* target) const;
    /// "yyyy-mm-dd hh:mm:ss", with ".mmm" where there are milliseconds and "BC. " before a negative year.
    QZString* ToString() const;
    void ToString(QZString* target) const;
    QZInt64 ToTimestamp() const { return m_value; }
    static void Recycle(QZData** data);
    static void Recycle(QZString** text);

    /// Steps of whole year and month lengths: the day can move.
    void AddYears(QZInt64 years);
    void AddMonths(QZInt64 months);
    void AddDays(QZInt64 days);
    void AddHours(QZInt64 hours);
    void AddMinutes(QZInt64 minutes);
    void AddSeconds(QZInt64 seconds);
    void AddMilliSeconds(QZInt64 milliseconds);
    void Add(QZDateTime* time);

    QZInt64 GetDay() const;
    QZInt64 GetMonth() const;
    QZInt64 GetYear() const;
    QZInt64 GetHours() const;
    QZInt64 GetMinutes() const;
    QZInt64 GetSeconds() const;
    QZInt64 GetMilliSeconds() const;

    static QZInt64 AddYears(QZInt64 timestamp, QZInt64 years);
    static QZInt64 AddMonths(QZInt64 timestamp, QZInt64 months);
    static QZInt64 AddDays(QZInt64 timestamp, QZInt64 days);
    static QZInt64 GetDay(QZInt64 timestamp);
    static QZInt64 GetMonth(QZInt64 timestamp);
    static QZInt64 GetYear(QZInt64 timestamp);

    /// 0 is Sunday.
    QZInt64 DayOfWeek() const;
    /// Whole days from year 1, without sign.
    QZInt64 TotalDay() const;
    QZBool IsLeapYear() const;
    /// The Julian day number.
    QZInt64 GetJDN() const;

    void Set(QZInt64 timestamp);
    void Set(QZInt64 year, QZInt64 month, QZInt64 day, QZInt64 hours, QZInt64 minutes, QZInt64 seconds,
             QZInt64 milliseconds);

    bool operator>(const QZDateTime& other) const { return m_value > other.m_value; }
    bool operator>=(const QZDateTime& other) const { return m_value >= other.m_value; }
    bool operator<(const QZDateTime& other) const { return m_value < other.m_value; }
    bool operator<=(const QZDateTime& other) const { return m_value <= other.m_value; }
    bool operator==(const QZDateTime& other) const { return m_value == other.m_value; }

private:
    QZInt64 m_value;
};

#endif
