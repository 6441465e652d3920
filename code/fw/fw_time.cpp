#include "fw/fw_time.h"

#include <string>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_calendar.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "sys/sys_bytes.h"

const QZInt64 QZTime::Type;
const QZInt64 QZDate::Type;
const QZInt64 QZDateTime::Type;

namespace
{

// Sums wrap: hosts add any number.
void AddTo(QZInt64* value, QZInt64 count, QZInt64 unit)
{
    *value = static_cast<QZInt64>(static_cast<QZUInt64>(*value) +
                                  static_cast<QZUInt64>(count) * static_cast<QZUInt64>(unit));
}

QZInt64 ValueOf(QZInt64 hours, QZInt64 minutes, QZInt64 seconds, QZInt64 milliseconds)
{
    QZInt64 value = milliseconds;
    AddTo(&value, hours, calendar::kHour);
    AddTo(&value, minutes, calendar::kMinute);
    AddTo(&value, seconds, calendar::kSecond);
    return value;
}

/// Appends a number with leading zeros up to the width.
void AppendNumber(std::string* text, QZInt64 number, std::size_t width)
{
    std::string digits = std::to_string(number);
    if (digits.size() < width) text->append(width - digits.size(), '0');
    text->append(digits);
}

}  // namespace

// ---- QZTime

QZTime::QZTime(QZInt64 hours, QZInt64 minutes, QZInt64 seconds, QZInt64 milliseconds)
    : m_value(ValueOf(hours, minutes, seconds, milliseconds))
{}
QZTime::QZTime(QZTime* time) : m_value(time->m_value) {}
QZTime::QZTime(QZInt64 milliseconds) : m_value(milliseconds) {}

QZInt64 QZTime::GetType() { return Type; }

void QZTime::Add(QZTime* time) { AddTo(&m_value, time->m_value, 1); }
void QZTime::AddHours(QZInt64 hours) { AddTo(&m_value, hours, calendar::kHour); }
void QZTime::AddMinutes(QZInt64 minutes) { AddTo(&m_value, minutes, calendar::kMinute); }
void QZTime::AddSeconds(QZInt64 seconds) { AddTo(&m_value, seconds, calendar::kSecond); }
void QZTime::AddMilliSeconds(QZInt64 milliseconds) { AddTo(&m_value, milliseconds, 1); }

QZInt64 QZTime::GetHours() const { return calendar::HoursOf(m_value); }
QZInt64 QZTime::GetMinutes() const { return calendar::MinutesOf(m_value); }
QZInt64 QZTime::GetSeconds() const { return calendar::SecondsOf(m_value); }
QZInt64 QZTime::GetMilliSeconds() const { return calendar::MilliSecondsOf(m_value); }

QZBool QZTime::GreaterThan(const QZTime* time) const { return *this > *time; }
QZBool QZTime::LessThan(const QZTime* time) const { return *this < *time; }
QZBool QZTime::GreaterThanOrEqual(const QZTime* time) const { return *this >= *time; }
QZBool QZTime::LessThanOrEqual(const QZTime* time) const { return *this <= *time; }

QZTime QZTime::operator+(const QZTime& other) const
{
    QZInt64 sum = m_value;
    AddTo(&sum, other.m_value, 1);
    return QZTime(sum);
}

QZString* QZTime::ToString() const
{
    std::string text;
    AppendNumber(&text, GetHours(), 2);
    text += ':';
    AppendNumber(&text, GetMinutes(), 2);
    text += ':';
    AppendNumber(&text, GetSeconds(), 2);
    // With a colon and without a fixed width, unlike the text of a date and time.
    text += ':';
    AppendNumber(&text, GetMilliSeconds(), 1);
    return QZStringFactory::CreateString(text.c_str());
}

void QZTime::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

// ---- QZDate

QZDate::QZDate() : QZDate(1, 1, 1) {}
QZDate::QZDate(QZInt64 year, QZInt64 month, QZInt64 day) : m_value(DateToMilliseconds(year, month, day)) {}

QZInt64 QZDate::GetType() { return Type; }

QZBool QZDate::IsLeapYear(QZInt64 year) { return calendar::IsLeapYear(year); }
QZInt64 QZDate::YearToDay(QZInt64 year) { return calendar::YearToDay(year); }
QZInt64 QZDate::DateToMilliseconds(QZInt64 year, QZInt64 month, QZInt64 day)
{
    return calendar::DateToMilliseconds(year, month, day);
}

void QZDate::AddYears(QZInt64 years) { m_value = calendar::AddYears(m_value, years); }
void QZDate::AddMonths(QZInt64 months) { m_value = calendar::AddMonths(m_value, months); }
void QZDate::AddDays(QZInt64 days) { AddTo(&m_value, days, calendar::kDay); }

QZInt64 QZDate::GetDay() const { return calendar::DayOf(m_value); }
QZInt64 QZDate::GetMonth() const { return calendar::MonthOf(m_value); }
QZInt64 QZDate::GetYear() const { return calendar::YearOf(m_value); }

// ---- QZDateTime

QZDateTime::QZDateTime(QZData* data) : m_value(0)
{
    constexpr QZInt64 kWithoutMilliseconds = 28;
    constexpr QZInt64 kWhole = 32;
    const QZInt64 size = data != nullptr ? data->GetSize() : -1;
    if (size != kWithoutMilliseconds && size != kWhole)
    {
        QZRaise(QZExceptionCode::ArgumentOutOfRange, QZ_W("QZDateTime"), QZ_W("QZDateTime"))
            .Argument(QZ_W("QZData*"), data != nullptr ? data->GetPointer() : nullptr, size)
            .Throw();
    }
    const void* bytes = data->GetPointer();
    auto word = [&](int index) { return static_cast<QZInt64>(QZLoad<QZInt32>(QZAt(bytes, index * 4))); };
    Set(word(1), word(2), word(3), word(4), word(5), word(6), size == kWhole ? word(7) : 0);
}

QZDateTime::QZDateTime(QZInt64 year, QZInt64 month, QZInt64 day, QZInt64 hours, QZInt64 minutes,
                       QZInt64 seconds, QZInt64 milliseconds)
{
    Set(year, month, day, hours, minutes, seconds, milliseconds);
}
QZDateTime::QZDateTime(QZDateTime* time) : m_value(time->m_value) {}
QZDateTime::QZDateTime(QZInt64 timestamp) : m_value(timestamp) {}

QZInt64 QZDateTime::GetType() { return Type; }

QZData* QZDateTime::ToData() const
{
    QZScopedData data(QZDataFactory::CreateData());
    try
    {
        ToData(data.Get());
    }
    catch (...)
    {
        QZPassOn(QZ_W("QZDateTime"), QZ_W("ToData"));
        throw;
    }
    return data.Release();
}

void QZDateTime::ToData(QZData* target) const
{
    const QZInt64 words[8] = {7,          GetYear(),    GetMonth(),   GetDay(),
                              GetHours(), GetMinutes(), GetSeconds(), GetMilliSeconds()};
    unsigned char bytes[32];
    for (int i = 0; i < 8; ++i) QZStore(QZAt(bytes, i * 4), static_cast<QZInt32>(words[i]));
    target->Set(bytes, sizeof(bytes));
}

QZString* QZDateTime::ToString() const
{
    QZString* text = QZStringFactory::CreateString();
    ToString(text);
    return text;
}

void QZDateTime::ToString(QZString* target) const
{
    std::string text;
    QZInt64 year = GetYear();
    if (year < 0)
    {
        text += "BC. ";
        year = -year;
    }
    AppendNumber(&text, year, 4);
    text += '-';
    AppendNumber(&text, GetMonth(), 2);
    text += '-';
    AppendNumber(&text, GetDay(), 2);
    text += ' ';
    AppendNumber(&text, GetHours(), 2);
    text += ':';
    AppendNumber(&text, GetMinutes(), 2);
    text += ':';
    AppendNumber(&text, GetSeconds(), 2);
    if (GetMilliSeconds() > 0)
    {
        text += '.';
        AppendNumber(&text, GetMilliSeconds(), 3);
    }
    target->Set(text.c_str());
}

void QZDateTime::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
void QZDateTime::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZDateTime::AddYears(QZInt64 years) { m_value = calendar::AddYears(m_value, years); }
void QZDateTime::AddMonths(QZInt64 months) { m_value = calendar::AddMonths(m_value, months); }
void QZDateTime::AddDays(QZInt64 days) { AddTo(&m_value, days, calendar::kDay); }
void QZDateTime::AddHours(QZInt64 hours) { AddTo(&m_value, hours, calendar::kHour); }
void QZDateTime::AddMinutes(QZInt64 minutes) { AddTo(&m_value, minutes, calendar::kMinute); }
void QZDateTime::AddSeconds(QZInt64 seconds) { AddTo(&m_value, seconds, calendar::kSecond); }
void QZDateTime::AddMilliSeconds(QZInt64 milliseconds) { AddTo(&m_value, milliseconds, 1); }
void QZDateTime::Add(QZDateTime* time) { AddTo(&m_value, time->m_value, 1); }

QZInt64 QZDateTime::GetDay() const { return calendar::DayOf(m_value); }
QZInt64 QZDateTime::GetMonth() const { return calendar::MonthOf(m_value); }
QZInt64 QZDateTime::GetYear() const { return calendar::YearOf(m_value); }
QZInt64 QZDateTime::GetHours() const { return calendar::HoursOf(m_value); }
QZInt64 QZDateTime::GetMinutes() const { return calendar::MinutesOf(m_value); }
QZInt64 QZDateTime::GetSeconds() const { return calendar::SecondsOf(m_value); }
QZInt64 QZDateTime::GetMilliSeconds() const { return calendar::MilliSecondsOf(m_value); }

QZInt64 QZDateTime::AddYears(QZInt64 timestamp, QZInt64 years)
{
    return calendar::AddYears(timestamp, years);
}
QZInt64 QZDateTime::AddMonths(QZInt64 timestamp, QZInt64 months)
{
    return calendar::AddMonths(timestamp, months);
}
QZInt64 QZDateTime::AddDays(QZInt64 timestamp, QZInt64 days)
{
    AddTo(&timestamp, days, calendar::kDay);
    return timestamp;
}
QZInt64 QZDateTime::GetDay(QZInt64 timestamp) { return calendar::DayOf(timestamp); }
QZInt64 QZDateTime::GetMonth(QZInt64 timestamp) { return calendar::MonthOf(timestamp); }
QZInt64 QZDateTime::GetYear(QZInt64 timestamp) { return calendar::YearOf(timestamp); }

QZInt64 QZDateTime::DayOfWeek() const { return (m_value / calendar::kDay + 1) % 7; }

QZInt64 QZDateTime::TotalDay() const
{
    QZInt64 days = m_value / calendar::kDay;
    return days < 0 ? -days : days;
}

QZBool QZDateTime::IsLeapYear() const { return calendar::IsLeapYear(GetYear()); }

QZInt64 QZDateTime::GetJDN() const
{
    constexpr QZInt64 kHalfDay = calendar::kDay / 2;
    constexpr QZInt64 kFirstDay = 1721426;
    QZInt64 fromNoon = m_value;
    AddTo(&fromNoon, -kHalfDay, 1);
    return fromNoon / calendar::kDay + kFirstDay;
}

void QZDateTime::Set(QZInt64 timestamp) { m_value = timestamp; }

void QZDateTime::Set(QZInt64 year, QZInt64 month, QZInt64 day, QZInt64 hours, QZInt64 minutes,
                     QZInt64 seconds, QZInt64 milliseconds)
{
    m_value = calendar::DateToMilliseconds(year, month, day);
    AddTo(&m_value, ValueOf(hours, minutes, seconds, milliseconds), 1);
}
