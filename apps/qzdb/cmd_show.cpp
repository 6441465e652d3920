#include <set>

#include "common/typed_fields.h"
#include "nodes.h"
#include "text.h"
#include "text_list.h"

namespace qzdb
{

namespace
{

/// How many records of a list `tree` shows; the rest are only counted.
constexpr QZInt64 kShownPerList = 10;
constexpr std::size_t kExcerptSize = 60;
/// How many levels of nested lists `tree` shows.
constexpr int kDeepestLevel = 100;

const char* const kTreeNames[] = {"A", "R", "S", "L", "B"};

/// Prints nested lists. Each HD is printed once, because the links of a damaged file may form a circle.
class TreePrinter
{
public:
    TreePrinter(Database& database, std::FILE* out) : m_database(database), m_out(out) {}

    void Print(QZInt64 hd, int depth)
    {
        if (!m_seen.insert(hd).second) m_database.FailDamaged(hd, "a list that holds itself");
        QZInt64 count = 0;
        m_database.Walk(hd, [&](QZInt64 record, QZInt64 kind) {
            if (++count <= kShownPerList) PrintRecord(record, kind, depth);
            return true;
        });
        if (count > kShownPerList)
            std::fprintf(m_out, "%*s... %lld more, %lld in all\n", 2 * depth, "", count - kShownPerList,
                         count);
    }

private:
    void PrintRecord(QZInt64 record, QZInt64 kind, int depth)
    {
        std::fprintf(m_out, "%*s%s %lld", 2 * depth, "", KindName(kind), record);
        switch (kind)
        {
            case QZDatabaseInfo::DATA_PD: PrintNode(record, depth); return;
            case QZDatabaseInfo::DATA_LD: PrintFields(record); break;
            case QZDatabaseInfo::DATA_AD:
                std::fprintf(m_out, " -> %lld", m_database.Field(record, QZDatabaseInfo::AD_FREE));
                break;
            case QZDatabaseInfo::DATA_CD:
                std::fprintf(m_out, " %lld bytes", m_database.ContentLength(record, QZDatabaseInfo::CD_DATA));
                break;
            default: break;
        }
        std::fputc('\n', m_out);
    }

    void PrintNode(QZInt64 pd, int depth)
    {
        const std::string name = ListName(m_database, pd);
        const QZInt64 hd = m_database.Field(pd, QZDatabaseInfo::PD_HD_A);
        const bool hasList = m_database.Kind(hd) == QZDatabaseInfo::TABLE_HD;
        if (!name.empty())
        {
            std::fprintf(m_out, " \"%s\": %lld lines\n", Visible(name).c_str(), LineCount(m_database, hd));
        }
        else if (const Node node = ReadNode(m_database, pd); node.kind != 0)
        {
            std::fprintf(m_out, " %s \"%s\", LD %lld\n",
                         IsTable(m_database, node) ? "table" : NodeKindName(node.kind),
                         Visible(node.name).c_str(), node.ld);
        }
        else
        {
            std::fprintf(m_out, " mark of %lld bytes, LD %lld\n",
                         m_database.ContentLength(pd, QZDatabaseInfo::PD_DATA),
                         m_database.Field(pd, QZDatabaseInfo::PD_LD_A));
        }
        if (hasList && depth < kDeepestLevel) Print(hd, depth + 1);
        if (hasList && depth >= kDeepestLevel) std::fprintf(m_out, "%*s...\n", 2 * depth + 2, "");
    }

    void PrintFields(QZInt64 ld)
    {
        const QZInt64 lds = m_database.Field(ld, QZDatabaseInfo::LD_LDS);
        QZInt64 fields = 0;
        m_database.Walk(lds, [&](QZInt64, QZInt64) {
            ++fields;
            return true;
        });
        std::fprintf(m_out, " %lld fields", fields);
        // The part that a person can read: its text.
        std::string text;
        if (!qzapp::ReadTypedBytes(m_database.Content(ld, 2), &text))
            qzapp::ReadTypedBytes(m_database.Content(ld, 1), &text);
        if (!text.empty()) std::fprintf(m_out, ": %s", Excerpt(text, kExcerptSize).c_str());
    }

    Database& m_database;
    std::FILE* m_out;
    std::set<QZInt64> m_seen;
};

struct ShownField
{
    const char* name;
    QZInt64 selector;
};

const ShownField kHeadFields[] = {{"THIS", QZDatabaseInfo::HD_THIS},
                                  {"PREV (owner)", QZDatabaseInfo::HD_PREV},
                                  {"FIRSTDATA", QZDatabaseInfo::HD_FIRSTDATA},
                                  {"LASTDATA", QZDatabaseInfo::HD_LASTDATA},
                                  {"LASTDATA_THIS", QZDatabaseInfo::HD_LASTDATA_THIS},
                                  {"END", QZDatabaseInfo::HD_END}};
const ShownField kDataFields[] = {{"THIS", QZDatabaseInfo::DATA_THIS},
                                  {"PREV", QZDatabaseInfo::DATA_PREV},
                                  {"PREV_THIS", QZDatabaseInfo::DATA_PREV_THIS},
                                  {"NEXT", QZDatabaseInfo::DATA_NEXT},
                                  {"END", QZDatabaseInfo::DATA_END},
                                  {"HDA", QZDatabaseInfo::DATA_HDA}};
const ShownField kLdFields[] = {{"LDS", QZDatabaseInfo::LD_LDS},
                                {"TREE_A", QZDatabaseInfo::LD_TREE_A},
                                {"TREE_R", QZDatabaseInfo::LD_TREE_R},
                                {"TREE_S", QZDatabaseInfo::LD_TREE_S}};
const ShownField kPdFields[] = {{"LD_A", QZDatabaseInfo::PD_LD_A}, {"HD_A", QZDatabaseInfo::PD_HD_A}};
const ShownField kAdFields[] = {{"FREE", QZDatabaseInfo::AD_FREE}};
const ShownField kRdFields[] = {
    {"P", QZDatabaseInfo::RD_P}, {"O", QZDatabaseInfo::RD_O}, {"N", QZDatabaseInfo::RD_N}};

class RecordPrinter
{
public:
    RecordPrinter(Database& database, QZInt64 address, std::FILE* out)
        : m_database(database), m_address(address), m_out(out)
    {}

    void Print(QZInt64 kind)
    {
        std::fprintf(m_out, "%s at %lld\n", KindName(kind), m_address);
        if (kind == QZDatabaseInfo::TABLE_HD)
        {
            Fields(kHeadFields);
            return;
        }
        Fields(kDataFields);
        switch (kind)
        {
            case QZDatabaseInfo::DATA_LD:
                Fields(kLdFields);
                LdContent();
                break;
            case QZDatabaseInfo::DATA_PD:
                Fields(kPdFields);
                Content("DATA", QZDatabaseInfo::PD_DATA);
                break;
            case QZDatabaseInfo::DATA_AD: Fields(kAdFields); break;
            case QZDatabaseInfo::DATA_CD: Content("DATA", QZDatabaseInfo::CD_DATA); break;
            case QZDatabaseInfo::DATA_RD: Fields(kRdFields); break;
            default: break;
        }
    }

private:
    template <std::size_t N>
    void Fields(const ShownField (&fields)[N])
    {
        for (const ShownField& field : fields)
        {
            std::fprintf(m_out, "  %-14s %lld\n", field.name, m_database.Field(m_address, field.selector));
        }
    }

    void Content(const std::string& name, QZInt64 field)
    {
        const std::string bytes = m_database.Content(m_address, field);
        std::fprintf(m_out, "  %-14s %zu bytes\n", name.c_str(), bytes.size());
        PrintHex(m_out, bytes, "    ");
    }

    void LdContent()
    {
        QZInt64 fields = 0;
        m_database.Walk(m_database.Field(m_address, QZDatabaseInfo::LD_LDS), [&](QZInt64, QZInt64) {
            ++fields;
            Content("field " + std::to_string(fields), fields);
            return true;
        });
    }

    Database& m_database;
    QZInt64 m_address;
    std::FILE* m_out;
};

}  // namespace

int TreeCommand(const Arguments& arguments, const Console& console)
{
    Database database(arguments[0]);
    database.RequireSound();
    TreePrinter printer(database, console.out);
    for (QZInt64 tree = QZDatabaseInfo::TREEASN; tree <= QZDatabaseInfo::TREEBSN; ++tree)
    {
        const QZInt64 root = database.Root(tree);
        std::fprintf(console.out, "tree %s, HD %lld\n", kTreeNames[tree - 1], root);
        printer.Print(root, 1);
    }
    return kExitGood;
}

int ShowCommand(const Arguments& arguments, const Console& console)
{
    QZInt64 address = 0;
    if (!ParseNumber(arguments[1], &address))
        throw Failure{kExitUsage, "\"" + Visible(arguments[1]) + "\" is no address: a decimal or 0x number"};
    Database database(arguments[0]);
    const QZInt64 kind = database.Kind(address);
    if (kind == QZDatabaseInfo::UNKNOWN || kind == QZDatabaseInfo::DATA_UNKNOWN)
        database.Fail(kExitUsage, "no record begins at " + std::to_string(address));
    RecordPrinter(database, address, console.out).Print(kind);
    return kExitGood;
}

}  // namespace qzdb
