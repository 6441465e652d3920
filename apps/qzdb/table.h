#ifndef QZLIB_APPS_QZDB_TABLE_H
#define QZLIB_APPS_QZDB_TABLE_H

#include <optional>

#include "csv.h"
#include "nodes.h"

namespace qzdb
{

struct TableField
{
    std::string name;
    QZInt64 type = 0;
    /// How an imported file had its times.
    std::optional<TimeForm> form = {};
};

/// Fields of a table node, without opening it. Failure when their list is damaged.
std::vector<TableField> FieldsOf(Database& database, const Node& node);

/// The style that a table's types node holds; the initial one where no file was imported.
CsvStyle StoredStyle(Database& database, const Node& types);

/// Rows of a table node.
QZInt64 RowsOf(Database& database, const Node& node);

/// A data table. It is checked before the library opens it.
class Table
{
public:
    /// The table at a path. Failure when there is none.
    Table(Database& database, const std::string& path);
    ~Table();
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    QZDbTable* operator->() const { return m_table; }
    const Node& GetNode() const { return m_node; }
    const Node& Types() const { return m_types; }
    const std::vector<TableField>& Fields() const { return m_fields; }

    /// The index of a field; upper and lower case of A to Z are the same. Fields().size() when there is none.
    std::size_t Find(const std::string& name) const;
    /// The same. Throws Failure when there is none.
    std::size_t Require(const std::string& name) const;

    void AddField(const std::string& name, QZInt64 type);

    /// The row at a place, which is given as text and counts from 1. Throws Failure when there is none.
    QZInt64 Row(const std::string& place);

    /// Calls visit for each row in order. The walk ends when visit returns false.
    void EachRow(const std::function<bool(QZInt64 row)>& visit);

    /// The bytes of a row's values.
    std::vector<std::string> Values(QZInt64 row);

private:
    Database& m_database;
    Node m_node;
    Node m_types;
    std::vector<TableField> m_fields;
    QZDbTable* m_table = nullptr;
};

/// The table node at a path; its pd is 0 when there is none.
Node FindTable(Database& database, const std::string& path);

/// Whether there is a node at the path, of any kind.
bool PathExists(Database& database, const std::string& path);

/// Makes a table without fields, and the text lists on the way to it. Failure when the path is taken.
void MakeTable(Database& database, const std::string& path);

/// Throws Failure for a name that a field cannot have.
void CheckFieldName(const std::string& name);

/// Whether the library takes the two names for the same field.
bool SameField(const std::string& a, const std::string& b);

}  // namespace qzdb

#endif
