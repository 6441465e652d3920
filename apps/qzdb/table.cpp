#include "table.h"

#include <algorithm>

#include "text.h"
#include "values.h"

namespace qzdb
{

namespace
{

constexpr std::size_t kLengthIndex = 2;
/// Item i of a list stands in field i + 7.
constexpr QZInt64 kFirstItem = 7;
/// How many fields of a list are no items.
constexpr QZInt64 kFixedFields = 5;

QZInt64 FirstChild(Database& database, const Node& node)
{
    return database.Field(ChildList(database, node.pd), QZDatabaseInfo::HD_FIRSTDATA);
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

}  // namespace

bool SameField(const std::string& a, const std::string& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Lower(x) == Lower(y); });
}

void CheckFieldName(const std::string& name)
{
    if (name.empty() || name.size() > 1024)
        throw Failure{kExitUsage, "the name of a field has 1 to 1024 bytes"};
}

CsvStyle StoredStyle(Database& database, const Node& types)
{
    CsvStyle style;
    const std::string stored = database.Content(types.ld, FLDTYPE::TEXT);
    style.FromText(Utf8FromUtf16(stored.data(), stored.size()));
    return style;
}

std::vector<TableField> FieldsOf(Database& database, const Node& node)
{
    const Node types = ReadNode(database, FirstChild(database, node));
    const QZInt64 count = node.format.size() > kLengthIndex ? node.format[kLengthIndex] - kFixedFields : -1;
    if (count < 0 || count + kFirstItem >= static_cast<QZInt64>(node.format.size()))
        database.FailDamaged(node.pd, "a table with an impossible number of fields");
    const CsvStyle style = StoredStyle(database, types);
    std::vector<TableField> fields;
    for (QZInt64 i = 1; i <= count; ++i)
    {
        TableField field;
        const std::string name = database.Content(node.ld, i + kFirstItem);
        field.name = Utf8FromUtf16(name.data(), name.size());
        const std::size_t slot = static_cast<std::size_t>(i + kFirstItem);
        if (slot < types.format.size()) field.type = types.format[slot];
        if (IsTimeType(field.type)) field.form = style.FormOfField(i, field.type);
        fields.push_back(field);
    }
    return fields;
}

QZInt64 RowsOf(Database& database, const Node& node)
{
    QZInt64 count = -1;
    database.Walk(ChildList(database, node.pd), [&count](QZInt64, QZInt64) {
        ++count;
        return true;
    });
    return count;
}

namespace
{

/// The node at a path, 0 when there is none.
QZInt64 FindNode(Database& database, const std::string& path)
{
    QZInt64 pd = 0;
    for (const std::string& name : SplitPath(path))
    {
        pd = FindChild(database, pd, name);
        if (pd == 0) return 0;
    }
    return pd;
}

}  // namespace

bool PathExists(Database& database, const std::string& path) { return FindNode(database, path) != 0; }

Node FindTable(Database& database, const std::string& path)
{
    const QZInt64 pd = FindNode(database, path);
    if (pd == 0) return {};
    Node node = ReadNode(database, pd);
    return IsTable(database, node) ? node : Node{};
}

Table::Table(Database& database, const std::string& path)
    : m_database(database), m_node(FindTable(database, path))
{
    if (m_node.pd == 0) database.Fail(kExitUsage, "no table \"" + Visible(path) + "\"; see qzdb tables");
    m_types = ReadNode(database, FirstChild(database, m_node));
    m_fields = FieldsOf(database, m_node);
    m_table = QZDbTable::Open(database.Channel(), m_node.pd);
}

Table::~Table() { QZDbTable::Close(&m_table); }

std::size_t Table::Find(const std::string& name) const
{
    const auto found = std::find_if(m_fields.begin(), m_fields.end(),
                                    [&name](const TableField& field) { return SameField(field.name, name); });
    return static_cast<std::size_t>(found - m_fields.begin());
}

std::size_t Table::Require(const std::string& name) const
{
    const std::size_t index = Find(name);
    if (index < m_fields.size()) return index;
    std::string names;
    for (const TableField& field : m_fields) names += (names.empty() ? "" : ", ") + Visible(field.name);
    m_database.Fail(kExitUsage, "no field \"" + Visible(name) + "\" among " + names);
}

void Table::AddField(const std::string& name, QZInt64 type)
{
    CheckFieldName(name);
    if (Find(name) < m_fields.size())
        m_database.Fail(kExitUsage, "the table has a field \"" + Visible(name) + "\" already");
    const OwnedString text = StringFromUtf8(name);
    m_table->FieldAdd(text.get(), type);
    m_fields.push_back({name, type, {}});
}

QZInt64 Table::Row(const std::string& place)
{
    QZInt64 number = 0;
    if (!ParseNumber(place, &number) || number < 1)
        throw Failure{kExitUsage, "\"" + Visible(place) + "\" is no place of a row: they count from 1"};
    QZInt64 row = 0;
    QZInt64 count = 0;
    EachRow([&](QZInt64 candidate) {
        if (++count == number) row = candidate;
        return row == 0;
    });
    if (row == 0)
        m_database.Fail(kExitUsage,
                        "no row " + std::to_string(number) + ", there are " + std::to_string(count));
    return row;
}

void Table::EachRow(const std::function<bool(QZInt64 row)>& visit)
{
    bool types = true;
    m_database.Walk(ChildList(m_database, m_node.pd), [&](QZInt64 record, QZInt64) {
        if (types)
        {
            types = false;
            return true;
        }
        if (ReadNode(m_database, record).kind != LDTYPE::FLDTYPE)
            m_database.FailDamaged(record, "no row where a table goes on");
        return visit(record);
    });
}

std::vector<std::string> Table::Values(QZInt64 row)
{
    const QZInt64 ld = m_database.Field(row, QZDatabaseInfo::PD_LD_A);
    std::vector<std::string> values;
    QZInt64 size = 0;
    for (std::size_t i = 0; i < m_fields.size(); ++i)
    {
        values.push_back(m_database.Content(ld, static_cast<QZInt64>(i) + 1 + kFirstItem));
        size += static_cast<QZInt64>(values.back().size());
        // Each value has its own bytes in the file, so the values together are not longer than the file.
        if (size > m_database.MostBytes())
            m_database.FailDamaged(row, "more content than the file has room for");
    }
    return values;
}

void MakeTable(Database& database, const std::string& path)
{
    QZChannel* channel = database.Channel();
    QZInt64 node = 0;
    bool made = false;
    for (const std::string& name : SplitPath(path))
    {
        if (name.size() > 1024) throw Failure{kExitUsage, "a name has 1 to 1024 bytes"};
        const QZInt64 there = made ? 0 : FindChild(database, node, name);
        made = there == 0;
        if (!made)
        {
            node = there;
            continue;
        }
        // Does what QZDbTable::Create does. That cannot be used here: its walk along the path throws at a
        // list of lines.
        QZInt64 list = ChildList(database, node);
        if (list == 0) list = QZNodeHD::Create(channel, node);
        database.Grown(4096);
        node = QZNodeTLD::Create(channel, list);
        if (node <= 0) database.FailRefused();
        const OwnedString text = StringFromUtf8(name);
        QZSNode::PutName(channel, node, text.get());
    }
    if (!made) database.Fail(kExitUsage, "\"" + Visible(path) + "\" is there already");
    const QZInt64 types = QZNodeFLD::Create(channel, QZNodeHD::Create(channel, node));
    if (types <= 0) database.FailRefused();
    const OwnedString name = StringFromUtf8("TYPES");
    QZSNode::PutName(channel, types, name.get());
    QZNodeFLD::SetState(channel, types, 0, QZDbTable::KeyIndexInState);
}

}  // namespace qzdb
