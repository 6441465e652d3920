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

/// Marks the present state. Throws Failure when the engine refuses, QZException* when the disk fails.
Mark TakeMark(Database& database, const std::string& label);

/// The marks in the log's list of marks, oldest first. Failure when it is damaged.
std::vector<Mark> ReadMarks(Database& database, QZInt64 list);

/// Goes to the state right after a record of the log. Throws Failure when the engine finds no way there.
void GoToPoint(Database& database, QZInt64 point);

/// The mark in words, for messages.
std::string MarkText(const Mark& mark);

}  // namespace qzdb

#endif
