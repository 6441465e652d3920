#ifndef QZLIB_APPS_QZDB_MARKS_H
#define QZLIB_APPS_QZDB_MARKS_H

#include <vector>

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

/// The marks in the log's list of marks, oldest first. Failure when it is damaged.
std::vector<Mark> ReadMarks(Database& database, QZInt64 list);

/// Goes to a mark. Failure when there is no way.
void GoToMark(Database& database, const Mark& mark);

/// The mark in words, for messages.
std::string MarkText(const Mark& mark);

}  // namespace qzdb

#endif
