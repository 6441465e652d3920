#ifndef QZLIB_NET_JSON_STRICT_H
#define QZLIB_NET_JSON_STRICT_H

#include <concepts>
#include <type_traits>

#include "sys/sys_types.h"

class QZData;
class QZJsonDecimal;
class QZJsonValue;
class QZString;

/// What QZJson does with a name that an object has already. Names are compared exactly, with their case.
enum class QZJsonDuplicates
{
    Refuse,
    LastWins,  ///< the last value, in the place of the first
    KeepAll
};

/// The limits of reading, and what it accepts beyond RFC 8259.
struct QZJsonReadOptions
{
    /// How many arrays and objects may be open at the same time; negative: any number.
    QZInt64 MaxDepth = 128;
    /// How long a text may be, in bytes of UTF-8 or in units of UTF-16; negative: any length.
    QZInt64 MaxLength = -1;
    QZJsonDuplicates Duplicates = QZJsonDuplicates::Refuse;
    /// 1: a byte order mark in front of the text is skipped; 0: it is refused.
    QZBool ByteOrderMark = 0;
};

/// What QZJson writes for a surrogate without its other half, which is no character.
enum class QZJsonLoneSurrogates
{
    Replace,  ///< U+FFFD, so that every reader can read the text
    Escape,   ///< its escape, for instance \uD800; QZJson::Parse refuses that
    Refuse
};

/// How QZJson writes.
struct QZJsonWriteOptions
{
    /// Blanks per level. 0: everything on one line, without blanks.
    QZInt64 Indent = 0;
    /// 1: the text can stand in a script element of HTML: "<", ">", "&", U+2028 and U+2029 are written as
    /// escapes.
    QZBool HtmlSafe = 0;
    /// 1: infinities and what is no number are written as null; 0: they are refused.
    QZBool NotFiniteAsNull = 0;
    QZJsonLoneSurrogates LoneSurrogates = QZJsonLoneSurrogates::Replace;
};

/// The reasons for which QZJson refuses a text.
enum class QZJsonErrorCode
{
    None,
    UnexpectedEnd,  ///< the text ends before its value does; also for empty text
    Syntax,         ///< a character that the grammar does not allow at its place
    Trailing,       ///< a character behind the value
    Number,         ///< a number against the grammar, or one that is too large for a double
    String,         ///< a control character in a string
    Escape,         ///< an escape that does not exist, or a surrogate escape without its other half
    Encoding,       ///< bytes that are no UTF-8; a surrogate of UTF-16 without its other half
    DuplicateName,
    Depth,
    Length,
    ByteOrderMark
};

/// Where and why QZJson refused a text.
struct QZJsonError
{
    QZJsonErrorCode Code = QZJsonErrorCode::None;
    /// Bytes of UTF-8 or units of UTF-16 in front of the fault.
    QZInt64 Offset = 0;
    /// From 1. A line ends with LF, CR or both.
    QZInt64 Line = 0;
    /// Characters from 1.
    QZInt64 Column = 0;
    /// The reason in words, a static text.
    const QZWChar* Reason = QZ_W("");
};

/// Reads and writes JSON as RFC 8259 defines it, an addition to QZJsonFactory, whose grammar differs. Any
/// thread may call.
///
/// Values are those of QZJsonFactory: they belong to the caller, who gives them back with
/// QZJsonFactory::Recycle. Reading and writing take linear time; the names of an object with n names take
/// n log n. Neither uses recursion.
///
/// Numbers: a whole number without point and exponent that fits 64 bits keeps all its digits, in
/// QZJsonDecimal::GetInt64 or GetUInt64. Every other number is the nearest double; one that is too large for
/// a double and one of more than 4096 characters are refused.
class QZ_API QZJson
{
public:
    /// Reads the whole text as one value; blanks, tabs, line feeds and carriage returns may surround it.
    /// The size of UTF-8 counts bytes, the length of wide text counts units. Null is an empty text, which is
    /// refused.
    /// @throws QZJsonException JsonFormatException, with position and reason in its message
    /// @throws QZException 256 for a negative size, 4352 when there is no memory
    static QZJsonValue* Parse(const char* utf8, QZInt64 size,
                              const QZJsonReadOptions& options = QZJsonReadOptions());
    static QZJsonValue* Parse(const QZWChar* text, QZInt64 length,
                              const QZJsonReadOptions& options = QZJsonReadOptions());
    static QZJsonValue* Parse(QZString* text, const QZJsonReadOptions& options = QZJsonReadOptions());
    /// Bytes of UTF-8.
    static QZJsonValue* Parse(QZData* utf8, const QZJsonReadOptions& options = QZJsonReadOptions());

    /// The same without an exception for a text that is refused.
    /// @param value  set only when the result is 1
    /// @param error  set only when the result is 0; may be null
    /// @return 1, or 0 for a text that is refused
    static QZBool TryParse(const char* utf8, QZInt64 size, QZJsonValue** value, QZJsonError* error = nullptr,
                           const QZJsonReadOptions& options = QZJsonReadOptions());
    static QZBool TryParse(const QZWChar* text, QZInt64 length, QZJsonValue** value,
                           QZJsonError* error = nullptr,
                           const QZJsonReadOptions& options = QZJsonReadOptions());
    static QZBool TryParse(QZString* text, QZJsonValue** value, QZJsonError* error = nullptr,
                           const QZJsonReadOptions& options = QZJsonReadOptions());
    static QZBool TryParse(QZData* utf8, QZJsonValue** value, QZJsonError* error = nullptr,
                           const QZJsonReadOptions& options = QZJsonReadOptions());

    /// The value as text that Parse reads back to an equal value. A new string; names keep their order.
    /// @throws QZException 1792 for null
    /// @throws QZJsonException ArgumentOutOfRange with the reason in its message: a number that is not
    /// finite, a lone surrogate, both where the options refuse them; a QZJsonDecimal or QZJsonBool whose text
    /// is no such value; a plain QZJsonValue; a value of a host's own class whose ToString is no JSON
    static QZString* Write(QZJsonValue* value, const QZJsonWriteOptions& options = QZJsonWriteOptions());
    /// The same as UTF-8 without a byte order mark, in a new buffer of QZDataFactory.
    static QZData* WriteUtf8(QZJsonValue* value, const QZJsonWriteOptions& options = QZJsonWriteOptions());

    /// A new number, kept exactly.
    static QZJsonDecimal* CreateNumber(double value);
    static QZJsonDecimal* CreateInt64(QZInt64 value);
    static QZJsonDecimal* CreateUInt64(QZUInt64 value);
    template <std::integral I>
    static QZJsonDecimal* CreateNumber(I value)
    {
        if constexpr (std::is_signed_v<I>)
            return CreateInt64(value);
        else
            return CreateUInt64(value);
    }
};

#endif
