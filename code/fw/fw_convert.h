#ifndef QZLIB_FW_CONVERT_H
#define QZLIB_FW_CONVERT_H

#include "sys/sys_types.h"

class QZData;
class QZDateTime;
class QZString;

/// Conversions between numbers, text and typed data. All static, any thread.
///
/// Every QZString*, QZData* and QZDateTime* that is returned is new and belongs to the caller, who gives it
/// back with Recycle. Text may be narrow, wide or a QZString; lengths count its units.
///
/// Numbers are read leniently: "0x" in front selects hexadecimal, a leading "-" counts, and a unit that is
/// not a digit gives a meaningless number and no failure. The plain forms throw QZException 256 only for null
/// and empty text; the Try forms return false there and leave the value unchanged. A wrong number from
/// text that people, files or networks supply is therefore not noticed: read such text with the strict
/// family, ParseInt64 to ParseDateTime.
class QZ_API QZConvert
{
public:
    /// Bit copies.
    static void* IntPtrToPVoid(QZInt64 value);
    static QZUInt64 IntPtrToUInt64(QZInt64 value);
    static QZUInt64 PVoidToUInt64(const void* value);
    static QZInt64 PVoidToIntPtr(const void* value);
    static QZInt64 UInt64ToIntPtr(QZUInt64 value);
    static void* UInt64ToPVoid(QZUInt64 value);

    /// Decimal without padding. Hexadecimal: upper-case digits without prefix or leading zeros; a negative
    /// value is "-" and its absolute value.
    static QZString* UInt32ToString(QZUInt32 value);
    static QZString* Int32ToString(QZInt32 value);
    static QZString* UInt32ToStringHex(QZUInt32 value);
    static QZString* UInt64ToString(QZUInt64 value);
    static QZString* Int64ToString(QZInt64 value);
    static QZString* Int64ToStringHex(QZInt64 value);

    /// Writes the digits, at most 16 units, without terminator; the units after them are not written.
    /// @return the bytes written; with a null buffer the bytes needed
    static QZInt64 UInt64ToStringHex(QZUInt64 value, QZWChar* buffer);

    /// Not every text reads back as the same number; FormatDouble writes one that does.
    /// As many digits after the point as the fraction needs, at most 12, and none for a whole number; or
    /// exactly `precision` digits, at most 12, and no point for 0. A negative precision is the same as none.
    static QZString* DoubleToString(double value);
    static QZString* DoubleToString(double value, QZInt64 precision);
    static QZString* FloatToString(float value);
    static QZString* FloatToString(float value, QZInt64 precision);

    /// "12x" is read as some number and not refused. Strict: ParseInt64.
    static QZInt64 StringToInt64(QZString* text);
    static QZInt64 StringToInt64(const char* text);
    static QZInt64 StringToInt64(const QZWChar* text);
    static QZInt64 StringToInt64(const char* text, QZInt64 length);
    static QZInt64 StringToInt64(const QZWChar* text, QZInt64 length);

    /// Hexadecimal digits of both cases; every other unit is skipped, a "-" too.
    static QZInt64 StringToInt64Hex(QZString* text);
    static QZInt64 StringToInt64Hex(const char* text);
    static QZInt64 StringToInt64Hex(const QZWChar* text);
    static QZUInt64 StringToUInt64Hex(QZString* text);
    static QZUInt64 StringToUInt64Hex(const char* text);
    static QZUInt64 StringToUInt64Hex(const QZWChar* text);
    static QZUInt64 StringToUInt64Hex(const char* text, QZInt64 length);
    static QZUInt64 StringToUInt64Hex(const QZWChar* text, QZInt64 length);

    /// The 64-bit number, cut to 32 bits: "4294967297" reads as 1. Strict: ParseUInt64 and ParseInt64.
    static QZUInt32 StringToUInt32(QZString* text);
    static QZUInt32 StringToUInt32(const char* text);
    static QZUInt32 StringToUInt32(const QZWChar* text);
    static QZInt32 StringToInt32(QZString* text);
    static QZInt32 StringToInt32(const char* text);
    static QZInt32 StringToInt32(const QZWChar* text);

    /// The last "." is the point; at most 12 digits after it count. The sign is the integer part's, so "-0.5"
    /// reads as 0.5. Strict: ParseDouble.
    static double StringToDouble(QZString* text);
    static double StringToDouble(const char* text);
    static double StringToDouble(const QZWChar* text);
    static float StringToFloat(QZString* text);
    static float StringToFloat(const char* text);
    static float StringToFloat(const QZWChar* text);

    /// "true" and "false" in any case. Strict, without an exception and with "1" and "0": ParseBool.
    /// @throws QZException 256 for any other text
    static QZBool StringToBool(QZString* text);
    static QZBool StringToBool(const char* text);
    static QZBool StringToBool(const QZWChar* text);

    /// The result 0 means null or empty text; a text that is no number gives 1 and a meaningless value.
    /// Strict: ParseInt64.
    static QZBool TryStringToInt64(QZString* text, QZInt64* value);
    static QZBool TryStringToInt64(const char* text, QZInt64* value);
    static QZBool TryStringToInt64(const QZWChar* text, QZInt64* value);
    static QZBool TryStringToInt64Hex(QZString* text, QZInt64* value);
    static QZBool TryStringToInt64Hex(const char* text, QZInt64* value);
    static QZBool TryStringToInt64Hex(const QZWChar* text, QZInt64* value);
    /// Cut to 32 bits like StringToUInt32. Strict: ParseUInt64.
    static QZBool TryStringToUInt32(QZString* text, QZUInt32* value);
    static QZBool TryStringToUInt32(const char* text, QZUInt32* value);
    static QZBool TryStringToUInt32(const QZWChar* text, QZUInt32* value);
    static QZBool TryStringToUInt32Hex(QZString* text, QZUInt32* value);
    static QZBool TryStringToUInt32Hex(const char* text, QZUInt32* value);
    static QZBool TryStringToUInt32Hex(const QZWChar* text, QZUInt32* value);
    /// Cut to 32 bits like StringToInt32. Strict: ParseInt64.
    static QZBool TryStringToInt32(QZString* text, QZInt32* value);
    static QZBool TryStringToInt32(const char* text, QZInt32* value);
    static QZBool TryStringToInt32(const QZWChar* text, QZInt32* value);
    /// "-0.5" reads as 0.5, as for StringToDouble. Strict: ParseDouble.
    static QZBool TryStringToDouble(QZString* text, double* value);
    static QZBool TryStringToDouble(const char* text, double* value);
    static QZBool TryStringToDouble(const QZWChar* text, double* value);
    /// Strict, with "1" and "0": ParseBool.
    static QZBool TryStringToBool(QZString* text, QZBool* value);
    static QZBool TryStringToBool(const char* text, QZBool* value);
    static QZBool TryStringToBool(const QZWChar* text, QZBool* value);
    static QZBool TryStringToUInt64Hex(QZString* text, QZUInt64* value);
    static QZBool TryStringToUInt64Hex(const char* text, QZUInt64* value);
    static QZBool TryStringToUInt64Hex(const QZWChar* text, QZUInt64* value);

    /// The 32 bytes of QZDateTime::ToData.
    static QZData* DateTimeToData(QZDateTime* time);
    /// The text of QZDateTime::ToString, and its date alone. ISO 8601: FormatDateTime.
    static QZString* DateTimeToString(QZDateTime* time);
    static QZString* DateTimeToStringYMD(QZDateTime* time);

    /// Reads "year-month-day", or that, a blank and "hours:minutes:seconds" with or without ".milliseconds".
    /// The fields are read like StringToInt64, so they may be meaningless. Strict: ParseDateTime.
    /// @throws QZException 256 beginning "Invalid datetime " for anything else
    static QZDateTime* StringToDateTime(QZString* text);
    static QZDateTime* StringToDateTime(const char* text);
    static QZDateTime* StringToDateTime(const QZWChar* text);

    /// The text of a value of a type of QZDataType: "True" or "False", numbers, a date and time, the text in
    /// its encoding, an array's elements with "," between them; hexadecimal text for every other type.
    /// @throws QZException 1024 when there are fewer bytes than the type needs, 256 for null
    static QZString* DataToText(QZData* data, QZInt64 type);

    /// Hexadecimal text: two upper-case digits a byte, and with `spaced` a blank after each byte. With a
    /// width above 0 lines of that many bytes with CR LF between them, and with `showOffset` "[0x", offset
    /// and index in hexadecimal, "]  " in front of each line. The short forms use none of these.
    /// @throws QZException 256 for null
    static QZString* DataToText(QZData* data);
    static QZString* DataToText(QZInt64 offset, QZData* data);
    static QZString* DataToText(QZInt64 offset, QZData* data, QZInt64 width, QZBool showOffset,
                                QZBool spaced);
    static QZString* DataToText(QZInt64 offset, const void* bytes, QZInt64 size, QZInt64 width,
                                QZBool showOffset, QZBool spaced);

    /// The value of a text that DataToText wrote. Elements of arrays are separated by "," or by U+00A3, whose
    /// next character is skipped; a "-" anywhere in an element makes it negative, all other units that are
    /// not digits are ignored.
    /// @throws QZException 256 for null, for empty text of a number and for text that is no date and time
    static QZData* TextToData(QZString* text, QZInt64 type);

    /// The bytes of hexadecimal text: labels in square brackets and all units that are not digits are
    /// skipped.
    /// @throws QZException 256 for null
    static QZData* TextToData(QZString* text);
    static QZData* TextToData(const QZWChar* text);

    // ---- The strict family, an addition: for text that comes from people, files or networks.

    /// The whole text as a decimal number: digits with an optional sign, nothing before and nothing after
    /// them, no white space, no hexadecimal form. No memory is taken for texts of up to 64 units.
    /// @param value  set only when the result is 1
    /// @return 1, or 0 for null, for any other text and for a number that does not fit the type
    static QZBool ParseInt64(const char* text, QZInt64* value);
    static QZBool ParseInt64(const QZWChar* text, QZInt64* value);
    static QZBool ParseInt64(QZString* text, QZInt64* value);
    /// The same without a minus sign.
    static QZBool ParseUInt64(const char* text, QZUInt64* value);
    static QZBool ParseUInt64(const QZWChar* text, QZUInt64* value);
    static QZBool ParseUInt64(QZString* text, QZUInt64* value);

    /// The whole text as the nearest double: an optional sign, digits with an optional "." and an optional
    /// exponent, or "inf", "infinity" and "nan" in any case. The "." is the point in every locale. A number
    /// that is too small for a double is 0 with its sign; one that is too large is refused.
    /// @param value  set only when the result is 1
    /// @return 1, or 0 for null and for any other text
    static QZBool ParseDouble(const char* text, double* value);
    static QZBool ParseDouble(const QZWChar* text, double* value);
    static QZBool ParseDouble(QZString* text, double* value);

    /// "true", "false" in any case, "1" and "0".
    /// @param value  set only when the result is 1
    /// @return 1, or 0 for null and for any other text
    static QZBool ParseBool(const char* text, QZBool* value);
    static QZBool ParseBool(const QZWChar* text, QZBool* value);
    static QZBool ParseBool(QZString* text, QZBool* value);

    /// A date and time by ISO 8601: "YYYY-MM-DD", or that, "T" or a blank, and "hh:mm", "hh:mm:ss" or
    /// "hh:mm:ss.fff" with one to nine digits of a fraction, which is cut to milliseconds; after a time "Z"
    /// or an offset from UTC ("+02:00", "+0200", "+02"). Every field is checked against the calendar; years
    /// are 1 to 9999.
    /// @param timestamp  milliseconds from the start of year 1, set only when the result is 1. With "Z" or an
    /// offset in the text it is UTC, else the date and time as they are written
    /// @param hasOffset  where it is not null, 1 when the text has "Z" or an offset, else 0
    /// @return 1, or 0 for null and for any other text
    static QZBool ParseDateTime(const char* text, QZInt64* timestamp, QZBool* hasOffset = nullptr);
    static QZBool ParseDateTime(const QZWChar* text, QZInt64* timestamp, QZBool* hasOffset = nullptr);
    static QZBool ParseDateTime(QZString* text, QZInt64* timestamp, QZBool* hasOffset = nullptr);

    /// The shortest text from which ParseDouble reads the same bits: "0.1", "1e+300", "-0", "inf", "-inf",
    /// "nan" for every NaN. A new string, given back with Recycle.
    static QZString* FormatDouble(double value);

    /// "YYYY-MM-DDThh:mm:ss", with ".fff" where there are milliseconds, and with "Z" where `utc` is not 0.
    /// Empty for what lies outside the years 1 to 9999. A new string, given back with Recycle.
    /// @param timestamp  milliseconds from the start of year 1
    static QZString* FormatDateTime(QZInt64 timestamp, QZBool utc);

    /// Give objects back to their factory; the variable is cleared. A null in it is a QZLibAssert(false).
    static void Recycle(QZData** data);
    static void Recycle(QZString** text);
    static void Recycle(QZDateTime** time);
};

#endif
