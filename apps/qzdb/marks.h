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

/// The three parts of the log, to which the ADs of tree B lead in this order.
struct Log
{
    QZInt64 base = 0;
    QZInt64 marks = 0;
    QZInt64 current = 0;
};

/// Failure when the database has no log, or a damaged one.
Log OpenLog(Database& database);

/// Marks the present state. Throws Failure when the engine refuses, QZException* when the disk fails.
Mark TakeMark(Database& database, const std::string& label);

/// The marks in the log's list of marks, oldest first. Failure when it is damaged.
std::vector<Mark> ReadMarks(Database& database, QZInt64 list);

/// The mark that the words name by its address or its label. Of several marks with one label it is the
/// latest. Failure when there is none, and when the words are the address of one mark and the label of
/// another.
Mark RequireMark(const Database& database, const std::vector<Mark>& marks, const std::string& words);

/// Throws Failure for a label that another mark has, or that names a mark or a state by its address.
void CheckLabel(const std::string& label, const std::vector<Mark>& marks);

/// Goes to the state right after a record of the log. Throws Failure when the engine finds no way there.
void GoToPoint(Database& database, QZInt64 point);

/// The mark in words, for messages.
std::string MarkText(const Mark& mark);

}  // namespace qzdb

#endif
