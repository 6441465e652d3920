#ifndef QZLIB_APPS_QZDB_NODES_H
#define QZLIB_APPS_QZDB_NODES_H

#include <vector>

#include "database.h"

namespace qzdb
{

// The directory of named nodes in tree S. Each record is checked before it is read. The library's own walks
// are not used: they throw at a list of lines (text_list.h), which is no semantic node.

/// A record of the directory.
struct Node
{
    QZInt64 pd = 0;
    QZInt64 ld = 0;
    /// A code of LDTYPE; 0 when the record is no semantic node.
    QZInt64 kind = 0;
    std::string name;
    /// The types of the fields by their number, from the format field.
    std::vector<QZInt64> format;
};

/// Reads a record. Its kind is 0 when it is no semantic node.
Node ReadNode(Database& database, QZInt64 pd);

/// "text list", "data list" and so on.
const char* NodeKindName(QZInt64 kind);

/// The child list of a node, or of the root for 0; 0 when there is none.
QZInt64 ChildList(Database& database, QZInt64 pd);

/// Calls visit for each semantic node in a list, in order. The walk ends when visit returns false.
void EachNode(Database& database, QZInt64 list, const std::function<bool(const Node& node)>& visit);

/// The first child of that name, 0 when there is none.
QZInt64 FindChild(Database& database, QZInt64 pd, const std::string& name);

/// The names along a path, UTF-8. Failure when there is none.
std::vector<std::string> SplitPath(const std::string& path);

/// The date in a field, "" when there is none.
std::string NodeDate(Database& database, const Node& node, bool changed);

/// The values of the state, with commas; "" when there is none.
std::string NodeState(Database& database, const Node& node);

/// Whether a node is a data table: a text list whose first child is a data list "TYPES".
bool IsTable(Database& database, const Node& node);

/// Reads the bytes as an array of 32-bit numbers.
std::vector<QZInt64> Int32Array(const std::string& bytes);

/// UTF-8 of the bytes of a UTF-16 text.
std::string Utf8FromUtf16(const void* bytes, std::size_t size);

}  // namespace qzdb

#endif
