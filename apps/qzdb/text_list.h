#ifndef QZLIB_APPS_QZDB_TEXT_LIST_H
#define QZLIB_APPS_QZDB_TEXT_LIST_H

#include "database.h"

namespace qzdb
{

// A named list of lines is a PD in tree S. The PD's mark is the name; its LD (in tree L) says in field 1 what
// the node is; its child HD holds one LD per line:
//
//   field 1  the line's number, from 1
//   field 2  its text, any bytes, without the line feed
//   field 3  only on a last line that does not end with a line feed, and empty
//
// All of them are typed fields (common/typed_fields.h).
//
// The lines of an import are built in an HD that nothing refers to, with the log switched off. Then one
// logged change makes them the list. So an earlier state has the old lines or none, and never a part of the
// new ones.

/// The name of a list of lines; empty when the PD of tree S is none.
std::string ListName(Database& database, QZInt64 pd);

/// The PD of the list, 0 when there is none.
QZInt64 FindList(Database& database, const std::string& name);

/// The count of lines in the list of an HD, read from its last line.
QZInt64 LineCount(Database& database, QZInt64 hd);

/// Makes a list of lines.
class ListWriter
{
public:
    ListWriter(Database& database, std::string name);

    /// Adds a line at the end. The cost does not depend on the count of lines.
    void Add(std::string_view text, bool ended);

    /// Replaces the lines of the list by those that were added.
    void Commit();

    QZInt64 Count() const { return m_count; }

private:
    QZInt64 BuildNode();

    Database& m_database;
    std::string m_name;
    LogPause m_pause;
    QZInt64 m_hd;
    QZInt64 m_count = 0;
};

/// Makes a list readable from which a repair has left lines out: takes out the lines without a text and
/// numbers the others again. Returns how many lines it changed or took out.
QZInt64 MendList(Database& database, QZInt64 pd);

/// Calls take(text, ended) for each line of the list in order. Failure when the list is damaged.
void ReadLines(Database& database, QZInt64 pd,
               const std::function<void(const std::string& text, bool ended)>& take);

}  // namespace qzdb

#endif
