#ifndef QZLIB_APPS_QZMON_JSON_READER_H
#define QZLIB_APPS_QZMON_JSON_READER_H

#include <map>

#include "text.h"

namespace qzmon
{

/// Values by their names.
using Fields = std::map<std::string, std::string>;

/// Reads the JSON object of a request with QZJson: names with texts, numbers, true, false or null. A text is
/// given without its escapes, a number as its shortest digits; a name with null is left out.
///
/// Throws Failure 400 that says what is wrong and where: for a text that is no JSON or no object, for a value
/// that is an object or a list, and for a name that occurs twice.
Fields ReadJsonObject(std::string_view text);

}  // namespace qzmon

#endif
