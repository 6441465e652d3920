#ifndef QZLIB_APPS_QZDB_FIELDS_H
#define QZLIB_APPS_QZDB_FIELDS_H

#include <qzlib.h>

#include <string>
#include <string_view>

namespace qzdb
{

// Every field that this tool writes begins with the code of its type, 4 bytes, low byte first, as the
// library's own nodes do with their marks. The low byte of a code is zero, and that matters: the engine tells
// a CD from a PD by the first byte of its content among others, and would take a CD whose content begins with
// the mark of a record for a PD.

std::string TypedBytes(std::string_view bytes);
std::string TypedNumber(QZInt64 value);

/// The value behind the code; false, and nothing is stored, when the code or the size is another.
bool ReadTypedBytes(const std::string& field, std::string* bytes);
bool ReadTypedNumber(const std::string& field, QZInt64* value);

/// The mark of a node with a name.
std::string TypedName(std::string_view name);
bool ReadTypedName(const std::string& mark, std::string* name);

}  // namespace qzdb

#endif
