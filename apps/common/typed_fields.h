#ifndef QZLIB_APPS_COMMON_TYPED_FIELDS_H
#define QZLIB_APPS_COMMON_TYPED_FIELDS_H

#include <qzlib.h>

#include <string>
#include <string_view>

namespace qzapp
{

/// The fields of a snapshot mark: a typed text and a typed number.
constexpr QZInt64 kMarkLabelField = 1;
constexpr QZInt64 kMarkTimeField = 2;

// Fields that the programs write into a database by themselves: the label and the time of a snapshot mark,
// and the lines of a text list. Each begins with the code of its type, 4 bytes, low byte first, as the marks
// of the library's own nodes do. The low byte of a code has to be zero: the engine tells a CD from a PD by,
// among others, the first byte of its content, and would take a CD whose content begins with the mark of a
// record for a PD.

std::string TypedBytes(std::string_view bytes);
std::string TypedNumber(QZInt64 value);

/// Reads the value after the code. False, and *value stays, when the code or the size is another.
bool ReadTypedBytes(const std::string& field, std::string* bytes);
bool ReadTypedNumber(const std::string& field, QZInt64* value);

/// The mark of a node that has a name.
std::string TypedName(std::string_view name);
bool ReadTypedName(const std::string& mark, std::string* name);

}  // namespace qzapp

#endif
