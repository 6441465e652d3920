#ifndef QZLIB_APPS_QZDB_VALUES_H
#define QZLIB_APPS_QZDB_VALUES_H

#include <qzlib.h>

#include <optional>
#include <string>
#include <vector>

#include "common/owned.h"

namespace qzdb
{

// Conversion of values of table fields to text and back. An empty value of any type is an empty text.

using qzapp::BytesOf;
using qzapp::OwnedData;
using qzapp::OwnedString;
using qzapp::OwnedTable;

/// The name of a type; a 0x number for a type that this tool has no name for.
std::string TypeName(QZInt64 type);

/// Finds the type of a name. False when there is none.
bool ParseType(const std::string& name, QZInt64* type);

/// All type names, for messages.
std::string TypeNames();

/// A string of the library of well-formed UTF-8.
OwnedString StringFromUtf8(const std::string& text);
std::string Utf8FromString(QZString* text);

/// How a field of a type for times is written.
enum class TimeForm
{
    Iso,    ///< "2024-05-06T07:08:09", with ".123" behind it where there are milliseconds
    Blank,  ///< the same with a blank for the "T"
    Number  ///< the number of a timestamp: milliseconds from the start of year 1
};

/// Whether a type is DATETIME or TIMESTAMP, whose values have a form.
bool IsTimeType(QZInt64 type);

/// The form that a text has which is a value of a type for times.
TimeForm FormOf(const std::string& text);

/// The text of a value. Bytes that are no value of the type become hex digits.
std::string TextOfValue(const std::string& bytes, QZInt64 type, TimeForm form = TimeForm::Iso);

/// The value of a text for which IsValue is true.
OwnedData ValueOfText(const std::string& text, QZInt64 type);

/// Whether the text is a value of the type. Numbers and times are read by the strict family of QZConvert;
/// times may have every form.
bool IsValue(const std::string& text, QZInt64 type);

/// Whether the text, a value of the type, is the same after it was stored and read back in a form.
bool ComesBack(const std::string& text, QZInt64 type, TimeForm form);

/// Finds a type from which all values of a column come back unchanged.
class TypeGuess
{
public:
    TypeGuess();
    void Take(const std::string& text);
    /// The type; text when no other type fits, or when there was no value.
    QZInt64 Type() const;
    /// The form of the first value that could be a time.
    std::optional<TimeForm> Form() const { return m_form; }

private:
    std::vector<QZInt64> m_left;
    std::optional<TimeForm> m_form;
    bool m_any = false;
};

}  // namespace qzdb

#endif
