// The strict readers and writers of QZConvert: numbers through the standard library's from_chars and
// to_chars, which know no locale and round to the nearest double; dates and times by ISO 8601.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

#include "fw/fw_convert.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_calendar.h"

namespace
{

/// Longer texts of a number do occur (a double has up to 767 digits that matter), longer texts of anything
/// else do not.
constexpr QZInt64 kLongestText = 4096;

/// A text argument as ASCII. Text that is null, longer than kLongestText or not ASCII throughout has no view.
class Ascii
{
public:
    explicit Ascii(const char* text)
    {
        if (text != nullptr && std::strlen(text) <= kLongestText) m_view = text;
    }
    explicit Ascii(const QZWChar* text)
    {
        if (text != nullptr) Narrow(text, static_cast<QZInt64>(std::char_traits<QZWChar>::length(text)));
    }
    explicit Ascii(QZString* text)
    {
        if (text != nullptr) Narrow(text->GetPointer(), text->GetLength());
    }
    Ascii(const Ascii&) = delete;
    Ascii& operator=(const Ascii&) = delete;

    std::string_view View() const { return m_view; }

private:
    void Narrow(const QZWChar* text, QZInt64 units)
    {
        if (units > kLongestText) return;
        char* to = m_short;
        if (units > kShort)
        {
            m_long.resize(static_cast<std::size_t>(units));
            to = m_long.data();
        }
        for (QZInt64 i = 0; i < units; ++i)
        {
            // A unit that is no ASCII character is part of no number and no time.
            if (text[i] == 0 || text[i] > 0x7F) return;
            to[i] = static_cast<char>(text[i]);
        }
        m_view = std::string_view(to, static_cast<std::size_t>(units));
    }

    static constexpr QZInt64 kShort = 64;

    std::string_view m_view;
    char m_short[kShort];
    std::string m_long;
};

/// Takes a leading plus away, which from_chars does not read. A sign after it makes the text empty.
std::string_view WithoutPlus(std::string_view text)
{
    if (text.empty() || text[0] != '+') return text;
    text.remove_prefix(1);
    return !text.empty() && (text[0] == '-' || text[0] == '+') ? std::string_view() : text;
}

/// The whole of the text as a number of type T.
template <typename T>
QZBool ParseInteger(std::string_view text, T* value)
{
    text = WithoutPlus(text);
    T parsed = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (error != std::errc() || end != text.data() + text.size()) return 0;
    *value = parsed;
    return 1;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// True when the magnitude of a well-formed number is below 1: what from_chars calls out of range is then too
/// small, not too large.
bool IsBelowOne(std::string_view text)
{
    const std::size_t mark = text.find_first_of("eE");
    long exponent = 0;
    if (mark != std::string_view::npos)
    {
        std::string_view digits = WithoutPlus(text.substr(mark + 1));
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
        // An exponent that does not fit decides alone.
        if (error == std::errc::result_out_of_range) return digits[0] == '-';
    }
    const std::string_view mantissa = text.substr(0, mark);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t first = mantissa.find_first_of("123456789");
    if (first == std::string_view::npos) return true;
    const long places = static_cast<long>(point) - static_cast<long>(first);
    return (first < point ? places - 1 : places) + exponent < 0;
}

QZBool ParseFloating(std::string_view text, double* value)
{
    text = WithoutPlus(text);
    double parsed = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (end != text.data() + text.size() || end == text.data()) return 0;
    if (error == std::errc::result_out_of_range && IsBelowOne(text))
        parsed = text[0] == '-' ? -0.0 : 0.0;
    else if (error != std::errc())
        return 0;
    *value = parsed;
    return 1;
}

bool EqualsIgnoringCase(std::string_view text, std::string_view lower)
{
    if (text.size() != lower.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] - 'A' + 'a') : text[i];
        if (c != lower[i]) return false;
    }
    return true;
}

QZBool ParseTruth(std::string_view text, QZBool* value)
{
    const bool isTrue = text == "1" || EqualsIgnoringCase(text, "true");
    if (!isTrue && text != "0" && !EqualsIgnoringCase(text, "false")) return 0;
    *value = isTrue ? 1 : 0;
    return 1;
}

/// Reads the parts of a date and time one after the other; each step is false at the first part that is not
/// there.
class TimeReader
{
public:
    explicit TimeReader(std::string_view text) : m_text(text) {}

    bool AtEnd() const { return m_text.empty(); }
    char Next() const { return m_text.empty() ? '\0' : m_text[0]; }

    /// Exactly `count` digits.
    bool Digits(int count, int* value)
    {
        if (m_text.size() < static_cast<std::size_t>(count)) return false;
        int number = 0;
        for (int i = 0; i < count; ++i)
        {
            if (!IsDigit(m_text[static_cast<std::size_t>(i)])) return false;
            number = number * 10 + (m_text[static_cast<std::size_t>(i)] - '0');
        }
        m_text.remove_prefix(static_cast<std::size_t>(count));
        *value = number;
        return true;
    }

    bool Take(char c)
    {
        if (Next() != c || m_text.empty()) return false;
        m_text.remove_prefix(1);
        return true;
    }

    /// One to nine digits of a fraction of a second, cut to milliseconds.
    bool Fraction(int* milliseconds)
    {
        int count = 0;
        int number = 0;
        for (; count < 9 && IsDigit(Next()); ++count)
        {
            if (count < 3) number = number * 10 + (Next() - '0');
            m_text.remove_prefix(1);
        }
        for (int i = count; i < 3; ++i) number *= 10;
        *milliseconds = number;
        return count > 0;
    }

private:
    std::string_view m_text;
};

struct TimeParts
{
    int Year = 0;
    int Month = 0;
    int Day = 0;
    int Hour = 0;
    int Minute = 0;
    int Second = 0;
    int Millisecond = 0;
    int OffsetMinutes = 0;
    bool HasOffset = false;
};

int DaysOfMonth(int year, int month)
{
    if (month == 2) return calendar::IsLeapYear(year) ? 29 : 28;
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

/// "Z", "+hh:mm", "+hhmm", "+hh" and the same with a minus sign.
bool ReadOffset(TimeReader* reader, TimeParts* parts)
{
    parts->HasOffset = true;
    if (reader->Take('Z') || reader->Take('z')) return true;
    const bool west = reader->Next() == '-';
    if (!reader->Take('+') && !reader->Take('-')) return false;
    int hours = 0;
    int minutes = 0;
    if (!reader->Digits(2, &hours)) return false;
    if (!reader->AtEnd())
    {
        reader->Take(':');
        if (!reader->Digits(2, &minutes)) return false;
    }
    if (hours > 23 || minutes > 59) return false;
    parts->OffsetMinutes = (hours * 60 + minutes) * (west ? -1 : 1);
    return true;
}

bool ReadClock(TimeReader* reader, TimeParts* parts)
{
    if (!reader->Digits(2, &parts->Hour) || !reader->Take(':') || !reader->Digits(2, &parts->Minute))
        return false;
    if (reader->Take(':'))
    {
        if (!reader->Digits(2, &parts->Second)) return false;
        if ((reader->Take('.') || reader->Take(',')) && !reader->Fraction(&parts->Millisecond)) return false;
    }
    return parts->Hour <= 23 && parts->Minute <= 59 && parts->Second <= 59;
}

QZBool ParseTime(std::string_view text, QZInt64* timestamp, QZBool* hasOffset)
{
    TimeReader reader(text);
    TimeParts parts;
    if (!reader.Digits(4, &parts.Year) || !reader.Take('-') || !reader.Digits(2, &parts.Month) ||
        !reader.Take('-') || !reader.Digits(2, &parts.Day))
        return 0;
    if (parts.Year < 1 || parts.Month < 1 || parts.Month > 12) return 0;
    if (parts.Day < 1 || parts.Day > DaysOfMonth(parts.Year, parts.Month)) return 0;
    if (!reader.AtEnd())
    {
        if (!reader.Take('T') && !reader.Take('t') && !reader.Take(' ')) return 0;
        if (!ReadClock(&reader, &parts)) return 0;
        if (!reader.AtEnd() && !ReadOffset(&reader, &parts)) return 0;
        if (!reader.AtEnd()) return 0;
    }
    const QZInt64 result = calendar::DateToMilliseconds(parts.Year, parts.Month, parts.Day) +
                           parts.Hour * calendar::kHour + parts.Minute * calendar::kMinute +
                           parts.Second * calendar::kSecond + parts.Millisecond -
                           parts.OffsetMinutes * calendar::kMinute;
    // An offset can lead out of the years 1 to 9999.
    if (result < 0 || result >= calendar::DateToMilliseconds(9999, 12, 31) + calendar::kDay) return 0;
    *timestamp = result;
    if (hasOffset != nullptr) *hasOffset = parts.HasOffset ? 1 : 0;
    return 1;
}

void AppendDigits(std::string* text, QZInt64 value, int count)
{
    char digits[20];
    for (int i = count - 1; i >= 0; --i)
    {
        digits[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    text->append(digits, static_cast<std::size_t>(count));
}

}  // namespace

QZBool QZConvert::ParseInt64(const char* text, QZInt64* value)
{
    return ParseInteger(Ascii(text).View(), value);
}
QZBool QZConvert::ParseInt64(const QZWChar* text, QZInt64* value)
{
    return ParseInteger(Ascii(text).View(), value);
}
QZBool QZConvert::ParseInt64(QZString* text, QZInt64* value)
{
    return ParseInteger(Ascii(text).View(), value);
}

QZBool QZConvert::ParseUInt64(const char* text, QZUInt64* value)
{
    return ParseInteger(Ascii(text).View(), value);
}
QZBool QZConvert::ParseUInt64(const QZWChar* text, QZUInt64* value)
{
    return ParseInteger(Ascii(text).View(), value);
}
QZBool QZConvert::ParseUInt64(QZString* text, QZUInt64* value)
{
    return ParseInteger(Ascii(text).View(), value);
}

QZBool QZConvert::ParseDouble(const char* text, double* value)
{
    return ParseFloating(Ascii(text).View(), value);
}
QZBool QZConvert::ParseDouble(const QZWChar* text, double* value)
{
    return ParseFloating(Ascii(text).View(), value);
}
QZBool QZConvert::ParseDouble(QZString* text, double* value)
{
    return ParseFloating(Ascii(text).View(), value);
}

QZBool QZConvert::ParseBool(const char* text, QZBool* value) { return ParseTruth(Ascii(text).View(), value); }
QZBool QZConvert::ParseBool(const QZWChar* text, QZBool* value)
{
    return ParseTruth(Ascii(text).View(), value);
}
QZBool QZConvert::ParseBool(QZString* text, QZBool* value) { return ParseTruth(Ascii(text).View(), value); }

QZBool QZConvert::ParseDateTime(const char* text, QZInt64* timestamp, QZBool* hasOffset)
{
    return ParseTime(Ascii(text).View(), timestamp, hasOffset);
}

QZBool QZConvert::ParseDateTime(const QZWChar* text, QZInt64* timestamp, QZBool* hasOffset)
{
    return ParseTime(Ascii(text).View(), timestamp, hasOffset);
}

QZBool QZConvert::ParseDateTime(QZString* text, QZInt64* timestamp, QZBool* hasOffset)
{
    return ParseTime(Ascii(text).View(), timestamp, hasOffset);
}

QZString* QZConvert::FormatDouble(double value)
{
    char text[32];
    if (std::isnan(value)) return QZStringFactory::CreateString("nan");
    const std::to_chars_result result = std::to_chars(text, text + sizeof(text) - 1, value);
    *result.ptr = '\0';
    return QZStringFactory::CreateString(text);
}

QZString* QZConvert::FormatDateTime(QZInt64 timestamp, QZBool utc)
{
    if (timestamp < 0 || timestamp >= calendar::DateToMilliseconds(9999, 12, 31) + calendar::kDay)
        return QZStringFactory::CreateString("");
    std::string text;
    AppendDigits(&text, calendar::YearOf(timestamp), 4);
    text += '-';
    AppendDigits(&text, calendar::MonthOf(timestamp), 2);
    text += '-';
    AppendDigits(&text, calendar::DayOf(timestamp), 2);
    text += 'T';
    AppendDigits(&text, timestamp / calendar::kHour % 24, 2);
    text += ':';
    AppendDigits(&text, timestamp / calendar::kMinute % 60, 2);
    text += ':';
    AppendDigits(&text, timestamp / calendar::kSecond % 60, 2);
    if (timestamp % calendar::kSecond != 0)
    {
        text += '.';
        AppendDigits(&text, timestamp % calendar::kSecond, 3);
    }
    if (utc) text += 'Z';
    return QZStringFactory::CreateString(text.c_str());
}
