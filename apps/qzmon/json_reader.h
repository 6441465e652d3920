#ifndef QZLIB_APPS_QZMON_JSON_READER_H
#define QZLIB_APPS_QZMON_JSON_READER_H

#include <map>

#include "text.h"

namespace qzmon
{

/// Values by their names.
using Fields = std::map<std::string, std::string>;

/// Reads the JSON object (RFC 8259) of a request: names with texts, numbers, true, false or null. A text is
/// given without its escapes, a number as it is written; a name with null is left out. The library's own
/// reader is for the texts of its hosts: it passes over what it does not understand.
///
/// Throws Failure 400 that says what is wrong and where: for a text that is no object, for a value that is
/// an object or a list, and for a name that occurs twice.
Fields ReadJsonObject(std::string_view text);

}  // namespace qzmon

#endif
