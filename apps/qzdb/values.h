#ifndef QZLIB_APPS_QZDB_VALUES_H
#define QZLIB_APPS_QZDB_VALUES_H

#include <qzlib.h>

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

/// The text of a value. Bytes that are no value of the type become hex digits.
std::string TextOfValue(const std::string& bytes, QZInt64 type);

/// The value of a text.
OwnedData ValueOfText(const std::string& text, QZInt64 type);

/// Whether the text is a value of the type.
bool IsValue(const std::string& text, QZInt64 type);

/// Whether the text is the same after it was stored as this type and read back.
bool ComesBack(const std::string& text, QZInt64 type);

/// Finds a type from which all values of a column come back unchanged.
class TypeGuess
{
public:
    TypeGuess();
    void Take(const std::string& text);
    /// The type; text when no other type fits, or when there was no value.
    QZInt64 Type() const;

private:
    std::vector<QZInt64> m_left;
    bool m_any = false;
};

}  // namespace qzdb

#endif
