#ifndef QZLIB_APPS_QZDB_LOG_H
#define QZLIB_APPS_QZDB_LOG_H

#include "database.h"

namespace qzdb
{

/// A snapshot mark, and what its own fields say.
struct Mark
{
    QZInt64 address = 0;
    /// The log record that it names.
    QZInt64 point = 0;
    std::string label;
    QZInt64 time = 0;
};

/// Marks the present state. Failure when the engine refuses, a QZException* when the disk does.
Mark TakeMark(Database& database, const std::string& label);

/// Goes to a mark. Failure when there is no way.
void GoToMark(Database& database, const Mark& mark);

/// The mark in words, for messages.
std::string MarkText(const Mark& mark);

}  // namespace qzdb

#endif
