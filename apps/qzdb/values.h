#ifndef QZLIB_APPS_QZDB_VALUES_H
#define QZLIB_APPS_QZDB_VALUES_H

#include <qzlib.h>

#include <string>
#include <vector>

#include "common/owned.h"

namespace qzdb
{

// Values of table fields as text, by the library's conversions. An empty value is an empty text, whatever the
// type.

using qzapp::BytesOf;
using qzapp::OwnedData;
using qzapp::OwnedString;
using qzapp::OwnedTable;

/// The name of a type, as 0x number when it has none here.
std::string TypeName(QZInt64 type);

/// The type of a name; false when there is none.
bool ParseType(const std::string& name, QZInt64* type);

/// All type names, for messages.
std::string TypeNames();

/// A text of the library's of well-formed UTF-8.
OwnedString StringFromUtf8(const std::string& text);
std::string Utf8FromString(QZString* text);

/// The text of a value. Bytes that are no value of the type come as hex digits.
std::string TextOfValue(const std::string& bytes, QZInt64 type);

/// The value of a text.
OwnedData ValueOfText(const std::string& text, QZInt64 type);

/// The text is a value of the type.
bool IsValue(const std::string& text, QZInt64 type);

/// The text comes back as it is when it is stored as this type.
bool ComesBack(const std::string& text, QZInt64 type);

/// Finds the type that all values of a column come back from.
class TypeGuess
{
public:
    TypeGuess();
    void Take(const std::string& text);
    /// Text when nothing else fits, or when there was no value.
    QZInt64 Type() const;

private:
    std::vector<QZInt64> m_left;
    bool m_any = false;
};

}  // namespace qzdb

#endif
