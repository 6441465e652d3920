#include <set>

#include "boxed_table.h"
#include "table.h"
#include "text.h"
#include "text_list.h"

namespace qzdb
{

namespace
{

/// How many levels of nested nodes are shown.
constexpr int kDeepestLevel = 100;

std::string Counted(QZInt64 count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// Visits each node of the directory once, because the links of a damaged file may form a circle.
class Directory
{
public:
    using Visit = std::function<void(const Node& node, const std::string& path, int depth)>;

    Directory(Database& database, Visit visit) : m_database(database), m_visit(std::move(visit)) {}

    /// Visits the nodes below a node, 0 for the root. Rows are nodes too; they are not visited.
    void Run(QZInt64 pd = 0, const std::string& path = {}, int depth = 0)
    {
        const QZInt64 list = ChildList(m_database, pd);
        if (list == 0 || depth > kDeepestLevel) return;
        if (!m_seen.insert(list).second) m_database.FailDamaged(list, "a list that holds itself");
        m_database.Walk(list, [&](QZInt64 record, QZInt64 kind) {
            if (kind != QZDatabaseInfo::DATA_PD) return true;
            const Node node = ReadNode(m_database, record);
            const std::string inner = path.empty() ? node.name : path + "/" + node.name;
            m_visit(node, inner, depth);
            if (node.kind != 0 && !IsTable(m_database, node)) Run(record, inner, depth + 1);
            return true;
        });
    }

private:
    Database& m_database;
    Visit m_visit;
    std::set<QZInt64> m_seen;
};

}  // namespace

int NodesCommand(const Arguments& arguments, const Console& console)
{
    Database database(arguments[0]);
    database.RequireSound();
    BoxedTable box({"node", "address", "kind", "holds", "created", "changed", "state"});
    Directory directory(database, [&](const Node& node, const std::string&, int depth) {
        const std::string indent(static_cast<std::size_t>(2 * depth), ' ');
        const std::string address = std::to_string(node.pd);
        if (node.kind == 0)
        {
            const std::string name = ListName(database, node.pd);
            if (name.empty()) return box.Add({indent + "?", address, "no named node"});
            const QZInt64 lines = LineCount(database, database.Field(node.pd, QZDatabaseInfo::PD_HD_A));
            return box.Add({indent + name, address, "lines", Counted(lines, "line")});
        }
        const bool table = IsTable(database, node);
        const QZInt64 list = ChildList(database, node.pd);
        std::string holds;
        if (table) holds = Counted(RowsOf(database, node), "row");
        if (!table && list != 0) holds = Counted(RowsOf(database, node) + 1, "node");
        // The library does not yet write the date of change; a date that is in the file is shown.
        box.Add({indent + node.name, address, table ? "table" : NodeKindName(node.kind), holds,
                 NodeDate(database, node, false), NodeDate(database, node, true), NodeState(database, node)});
    });
    directory.Run();
    box.Show(console);
    return kExitGood;
}

int TablesCommand(const Arguments& arguments, const Console& console)
{
    Database database(arguments[0]);
    database.RequireSound();
    BoxedTable box({"table", "rows", "fields", "created"});
    Directory directory(database, [&](const Node& node, const std::string& path, int) {
        if (!IsTable(database, node)) return;
        std::string fields;
        for (const TableField& field : FieldsOf(database, node))
            fields += (fields.empty() ? "" : ", ") + field.name + " " + TypeName(field.type);
        box.Add({path, std::to_string(RowsOf(database, node)), fields, NodeDate(database, node, false)});
    });
    directory.Run();
    box.Show(console);
    return kExitGood;
}

}  // namespace qzdb
