#include "boxed_table.h"
#include "table.h"
#include "text.h"
#include "text_list.h"

namespace qzdb
{

namespace
{

QZInt64 RequireType(const std::string& name)
{
    QZInt64 type = 0;
    if (!ParseType(name, &type))
        throw Failure{kExitUsage, "no type \"" + Visible(name) + "\"; types are " + TypeNames()};
    return type;
}

/// Runs a change by the library, and reports an exception as a failure to write.
template <typename Change>
void Apply(Database& database, Change change)
{
    try
    {
        database.Grown(65536);
        change();
    }
    catch (QZException* e)
    {
        database.Fail(kExitAccess, "cannot write: " + TakeMessage(e));
    }
}

/// Takes the option --limit out of the words. Returns its number.
QZInt64 TakeLimit(Arguments* words)
{
    QZInt64 limit = INT64_MAX;
    for (std::size_t i = 0; i < words->size(); ++i)
    {
        if ((*words)[i] != "--limit") continue;
        const std::string number = i + 1 < words->size() ? (*words)[i + 1] : std::string();
        if (!qzapp::ParseInteger(number, &limit) || limit == INT64_MIN)
            throw Failure{kExitUsage, "select: --limit takes a number of rows, below 0 the last ones; \"" +
                                          Visible(number) + "\" is no whole number"};
        words->erase(words->begin() + static_cast<std::ptrdiff_t>(i),
                     words->begin() + static_cast<std::ptrdiff_t>(i) + 2);
        break;
    }
    if (words->size() != 2) throw qzapp::WrongCount("select", "qzdb");
    return limit;
}

/// Deletes a node of the directory and its fields. Its list, if it has one, is no longer reached from the
/// present state.
void RemoveNode(Database& database, QZInt64 pd)
{
    const QZInt64 ld = database.Field(pd, QZDatabaseInfo::PD_LD_A);
    if (database.Channel()->D_DATA(pd, QZDatabaseInfo::DELETE_PD) == 0 ||
        database.Channel()->D_DATA(ld, QZDatabaseInfo::DELETE_LD) == 0)
        database.FailRefused();
}

void RemoveTable(Database& database, Table& table)
{
    std::vector<QZInt64> rows;
    table.EachRow([&rows](QZInt64 row) {
        rows.push_back(row);
        return true;
    });
    Apply(database, [&] {
        for (const QZInt64 row : rows) table->DataRemove(row);
        // The library's Remove leaves the nodes of the table in the directory, so they are removed here.
        for (const QZInt64 node : {table.Types().pd, table.GetNode().pd}) RemoveNode(database, node);
    });
}

/// Removes the list of lines of that name. Returns in words what it was.
std::string RemoveList(Database& database, const std::string& name)
{
    const QZInt64 pd = FindList(database, Utf8FromNarrow(name));
    if (pd == 0)
        database.Fail(kExitUsage, "no table and no list of lines \"" + Visible(name) + "\"; see qzdb nodes");
    const QZInt64 lines = LineCount(database, database.Field(pd, QZDatabaseInfo::PD_HD_A));
    Apply(database, [&] { RemoveNode(database, pd); });
    return "list \"" + Visible(name) + "\" of " + std::to_string(lines) + (lines == 1 ? " line" : " lines");
}

}  // namespace

int CreateTableCommand(const Arguments& arguments, const Console& console)
{
    std::vector<TableField> fields;
    for (std::size_t i = 2; i < arguments.size(); ++i)
    {
        const std::size_t colon = arguments[i].rfind(':');
        TableField field;
        field.name = Utf8FromNarrow(arguments[i].substr(0, colon));
        field.type = colon == std::string::npos ? QZInt64{QZDataType::TEXTUTF16LE}
                                                : RequireType(arguments[i].substr(colon + 1));
        CheckFieldName(field.name);
        for (const TableField& other : fields)
        {
            if (SameField(other.name, field.name))
                throw Failure{kExitUsage, "create-table: two fields \"" + Visible(field.name) + "\""};
        }
        fields.push_back(field);
    }
    Database database(arguments[0]);
    database.RequireSound();
    Apply(database, [&] {
        MakeTable(database, arguments[1]);
        Table table(database, arguments[1]);
        for (const TableField& field : fields) table.AddField(field.name, field.type);
    });
    database.Close();
    std::fprintf(console.out, "%s: table \"%s\" with %zu fields\n", arguments[0].c_str(),
                 Visible(arguments[1]).c_str(), fields.size());
    return kExitGood;
}

int AddFieldCommand(const Arguments& arguments, const Console& console)
{
    const QZInt64 type = arguments.size() > 3 ? RequireType(arguments[3]) : QZInt64{QZDataType::TEXTUTF16LE};
    Database database(arguments[0]);
    database.RequireSound();
    {
        Table table(database, arguments[1]);
        Apply(database, [&] { table.AddField(Utf8FromNarrow(arguments[2]), type); });
    }
    database.Close();
    std::fprintf(console.out, "%s: field \"%s\" %s in \"%s\"\n", arguments[0].c_str(),
                 Visible(arguments[2]).c_str(), TypeName(type).c_str(), Visible(arguments[1]).c_str());
    return kExitGood;
}

int SelectCommand(const Arguments& arguments, const Console& console)
{
    Arguments words = arguments;
    const QZInt64 limit = TakeLimit(&words);
    Database database(words[0]);
    database.RequireSound();
    Table table(database, words[1]);
    // Checks everything that will be read.
    QZInt64 rows = 0;
    table.EachRow([&](QZInt64 row) {
        ++rows;
        if (limit < 0 || rows <= limit) table.Values(row);
        return true;
    });

    std::vector<std::string> names;
    for (const TableField& field : table.Fields()) names.push_back(field.name);
    BoxedTable box(names);
    const OwnedTable selected(table->Select(limit));
    for (QZInt64 i = 0; i < selected->Rows->Count(); ++i)
    {
        QZDataRow* row = selected->Rows->GetRow(i);
        std::vector<std::string> cells;
        for (std::size_t j = 0; j < table.Fields().size(); ++j)
            cells.push_back(
                TextOfValue(BytesOf(row->GetElement(static_cast<QZInt64>(j))), table.Fields()[j].type));
        box.Add(cells);
    }
    box.Show(console);
    std::fprintf(console.out, "%lld of %lld rows\n", box.Rows(), rows);
    return kExitGood;
}

int SetCommand(const Arguments& arguments, const Console& console)
{
    std::string stored;
    Database database(arguments[0]);
    database.RequireSound();
    {
        Table table(database, arguments[1]);
        const QZInt64 row = table.Row(arguments[2]);
        const std::size_t field = table.Require(Utf8FromNarrow(arguments[3]));
        const QZInt64 type = table.Fields()[field].type;
        const std::string text = Utf8FromNarrow(arguments[4]);
        if (!IsValue(text, type))
            throw Failure{kExitUsage, "\"" + Visible(text) + "\" is no " + TypeName(type)};
        Apply(database, [&] {
            const OwnedData value = ValueOfText(text, type);
            table->DataSetValue(row, static_cast<QZInt64>(field) + 1, value.get());
        });
        stored = TextOfValue(table.Values(row)[field], type);
    }
    database.Close();
    std::fprintf(console.out, "%s: row %s, \"%s\" is \"%s\"\n", arguments[0].c_str(), arguments[2].c_str(),
                 Visible(arguments[3]).c_str(), Visible(stored).c_str());
    return kExitGood;
}

int RemoveCommand(const Arguments& arguments, const Console& console)
{
    Database database(arguments[0]);
    database.RequireSound();
    std::string what = "table \"" + Visible(arguments[1]) + "\"";
    const bool path = arguments[1].find_first_not_of("/\\") != std::string::npos;
    if (arguments.size() == 2 && (!path || FindTable(database, arguments[1]).pd == 0))
    {
        what = RemoveList(database, arguments[1]);
    }
    else
    {
        Table table(database, arguments[1]);
        if (arguments.size() > 2)
        {
            const QZInt64 row = table.Row(arguments[2]);
            Apply(database, [&] { table->DataRemove(row); });
            what = "row " + arguments[2] + " of " + what;
        }
        else
        {
            RemoveTable(database, table);
        }
    }
    database.Close();
    std::fprintf(console.out, "%s: removed %s\n", arguments[0].c_str(), what.c_str());
    return kExitGood;
}

int MoveCommand(const Arguments& arguments, const Console& console)
{
    QZInt64 from = 0;
    QZInt64 to = 0;
    Database database(arguments[0]);
    database.RequireSound();
    {
        Table table(database, arguments[1]);
        const QZInt64 row = table.Row(arguments[2]);
        table.Row(arguments[3]);
        ParseNumber(arguments[2], &from);
        ParseNumber(arguments[3], &to);
        Apply(database, [&] {
            // The library's DataMove moves towards the end only. MoveUp moves in both directions, by the
            // sign.
            if (to > from) table->DataMove(row, to - from);
            if (to < from) QZNode::MoveUp(database.Channel(), row, to - from);
        });
        if (table.Row(arguments[3]) != row) database.Fail(kExitAccess, "the row did not move");
    }
    database.Close();
    std::fprintf(console.out, "%s: row %lld is row %lld of \"%s\"\n", arguments[0].c_str(), from, to,
                 Visible(arguments[1]).c_str());
    return kExitGood;
}

}  // namespace qzdb
