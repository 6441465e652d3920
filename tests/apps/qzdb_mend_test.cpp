// qzdb repair and qzdb compact: sound files before and after, and thousands of damaged ones.

#include <chrono>
#include <cstdlib>
#include <random>
#include <sstream>

#include "apps/qzdb_tool.h"
#include "qzdb/database.h"
#include "qzdb/marks.h"
#include "qzdb/table.h"
#include "qzdb/text.h"
#include "qzmon/store.h"
#include "support/qz_database_text.h"

using namespace qzdbtest;

namespace
{
const char kCsv[] =
    "id,name,weight,when,flag,bytes\r\n"
    "1,\"M\xC3\xBCller, Anna\",840.35,2024-01-01T01:09:46,true,00FF\r\n"
    "2,\xE6\x9D\x8E\xE5\xB0\x8F\xE9\xBE\x8D \xF0\x9F\x8E\x89,469.07,2024-01-01T01:52:36,false,26\r\n"
    "3,,-1e-300,1999-12-31T23:59:59,true,\r\n"
    "4,\"a\"\"b\",0.1,2024-02-29T00:00:00,true,5E5E\r\n";

std::string TextOfFile(const std::string& path)
{
    QZString name(path.c_str());
    return qztest::DatabaseTextOf(&name);
}

/// A database with everything that the tool can put into one.
void MakeFull(const Tool& tool, const std::string& name, const std::vector<std::string>& options)
{
    std::vector<std::string> create{"create", "@" + name};
    create.insert(create.end(), options.begin(), options.end());
    ASSERT_EQ(tool.Run(create).code, 0);
    const bool logged = options.empty() || options.back() != "--no-rollback";
    std::string lines;
    for (int i = 0; i < 60; ++i) lines += "line " + std::to_string(i) + std::string(i, '&') + "\n";
    tool.Import(name, "long", lines + "open end");
    tool.Import(name, "\xD0\x96\xD7\x90", "&\n\n^\n");
    if (logged)
    {
        ASSERT_EQ(tool.Run({"snapshot", "@" + name, "one"}).code, 0);
    }
    tool.Dir().Write("full.csv", kCsv);
    ASSERT_EQ(tool.Run({"import-csv", "@" + name, "stock/parts", tool.Path("full.csv")}).code, 0);
    ASSERT_EQ(tool.Run({"import-csv", "@" + name, "stock/old/all", tool.Path("full.csv"), "--text"}).code, 0);
    ASSERT_EQ(tool.Run({"create-table", "@" + name, "empty", "a:int32s", "b:doubles", "c:binary"}).code, 0);
    ASSERT_EQ(tool.Run({"set", "@" + name, "stock/parts", "2", "name", "Z\xC3\xBCrich"}).code, 0);
    ASSERT_EQ(tool.Run({"move", "@" + name, "stock/parts", "4", "1"}).code, 0);
    if (logged)
    {
        ASSERT_EQ(tool.Run({"snapshot", "@" + name, "two"}).code, 0);
    }
    ASSERT_EQ(tool.Run({"remove", "@" + name, "stock/parts", "3"}).code, 0);
    tool.Import(name, "long", lines);
    ASSERT_EQ(tool.Run({"check", "@" + name}).code, 0);
}

/// Everything that the tool shows of a file, in which no address appears.
std::string Exported(const Tool& tool, const std::string& name)
{
    std::string text = TextOfFile(tool.Path(name));
    text += tool.Export(name, "long") + tool.Export(name, "\xD0\x96\xD7\x90");
    for (const char* table : {"stock/parts", "stock/old/all", "empty"})
    {
        const Result csv = tool.Run({"export-csv", "@" + name, table});
        EXPECT_EQ(csv.code, 0) << csv.err;
        text += csv.out;
    }
    return text + tool.Run({"tables", "@" + name}).out;
}
}  // namespace

TEST(QzdbMend, CompactAndRepairKeepEverythingThatCanBeExported)
{
    Tool tool;
    const std::vector<std::vector<std::string>> kinds{
        {}, {"--no-rollback"}, {"--addresses", "32"}, {"--addresses", "32", "--no-rollback"}};
    for (const std::vector<std::string>& options : kinds)
    {
        MakeFull(tool, "a.db", options);
        const std::string before = Exported(tool, "a.db");
        const std::string bytes = tool.Dir().Read("a.db");
        Result result = tool.Run({"compact", "@a.db", "@c.db"});
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_NE(result.out.find(" bytes of " + std::to_string(bytes.size())), std::string::npos)
            << result.out;
        EXPECT_EQ(Exported(tool, "c.db"), before);
        result = tool.Run({"repair", "@a.db", "@r.db"});
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_NE(result.out.find("0 left out, 0 mended"), std::string::npos) << result.out;
        EXPECT_EQ(Exported(tool, "r.db"), before);
        EXPECT_EQ(tool.Dir().Read("a.db"), bytes);
        result = tool.Run({"compact", "@a.db"});
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_EQ(Exported(tool, "a.db"), before);
        EXPECT_EQ(tool.Dir().Read("a.db"), tool.Dir().Read("c.db"));
        for (const char* name : {"a.db", "c.db", "r.db"})
        {
            EXPECT_EQ(tool.Run({"check", std::string("@") + name}).code, 0);
            std::filesystem::remove(tool.Dir().Path(name));
        }
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(tool.Dir().Path()),
                                std::filesystem::directory_iterator()),
                  4);  // the CSV file and the three streams
    }
}

TEST(QzdbMend, CompactKeepsTheStatesAtMarks)
{
    Tool tool;
    MakeFull(tool, "a.db", {});
    const std::string present = Exported(tool, "a.db");
    const std::string bytes = tool.Dir().Read("a.db");
    const auto at = [&](const std::string& name, const std::string& mark) {
        tool.Dir().Write("state.db", tool.Dir().Read(name));
        const Result result = tool.Run({"restore", "@state.db", mark});
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_EQ(tool.Run({"check", "@state.db"}).code, 0);
        return TextOfFile(tool.Path("state.db"));
    };
    const std::string one = at("a.db", "one");
    const std::string two = at("a.db", "two");
    EXPECT_NE(one, two);
    Result result = tool.Run({"compact", "@a.db", "@c.db", "--keep", "two", "one"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.out.find("2 of 4 marks"), std::string::npos) << result.out;
    EXPECT_EQ(tool.Run({"check", "@c.db"}).code, 0);
    EXPECT_EQ(Exported(tool, "c.db"), present);
    EXPECT_EQ(at("c.db", "one"), one);
    EXPECT_EQ(at("c.db", "two"), two);
    // From a restored state as well.
    ASSERT_EQ(tool.Run({"restore", "@c.db", "one"}).code, 0);
    result = tool.Run({"compact", "@c.db", "--keep", "two"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(TextOfFile(tool.Path("c.db")), one);
    EXPECT_EQ(at("c.db", "two"), two);
    ExpectFailure(tool.Run({"restore", "@c.db", "one"}), 2, "no mark");
    EXPECT_EQ(tool.Dir().Read("a.db"), bytes);
}

TEST(QzdbMend, BadInputIsNamedAndChangesNothing)
{
    Tool tool;
    MakeFull(tool, "a.db", {});
    tool.Dir().Write("text", "This is a text file.");
    tool.Dir().Write("there", "mine");
    tool.Dir().Write("empty", "");
    const std::string bytes = tool.Dir().Read("a.db");
    for (const char* command : {"repair", "compact"})
    {
        ExpectFailure(tool.Run({command, "@none", "@new"}), 3, "none: no such file");
        ExpectFailure(tool.Run({command, tool.Path(""), "@new"}), 3, "a folder");
        ExpectFailure(tool.Run({command, "@a.db", "@there"}), 3, "there: the file exists already");
        ExpectFailure(tool.Run({command, "@a.db", "@a.db"}), 3, "a.db: the file exists already");
        ExpectFailure(tool.Run({command, "@a.db", "@no/folder/new"}), 3, "a.db");
        ExpectFailure(tool.Run({command, "@text", "@new"}), 1, "text: not a database");
        ExpectFailure(tool.Run({command, "@empty", "@new"}), 1, "empty: not a database");
        ExpectFailure(tool.Run({command}), 2, command);
    }
    ExpectFailure(tool.Run({"repair", "@a.db"}), 2, "repair");
    ExpectFailure(tool.Run({"compact", "@a.db", "@b", "@c"}), 2, "one file and one new file");
    ExpectFailure(tool.Run({"compact", "@a.db", "--fast"}), 2, "--fast");
    ExpectFailure(tool.Run({"compact", "@a.db", "--keep"}), 2, "--keep needs a mark");
    ExpectFailure(tool.Run({"compact", "@a.db", "--keep", "one", "none"}), 2, "no mark \"none\"");
    ExpectFailure(tool.Run({"compact", "--keep", "one"}), 2, "no file");
    EXPECT_EQ(tool.Dir().Read("a.db"), bytes);
    EXPECT_EQ(tool.Dir().Read("there"), "mine");
    EXPECT_FALSE(tool.Dir().Exists("new"));
    ASSERT_EQ(tool.Run({"create", "@plain.db", "--no-rollback"}).code, 0);
    ExpectFailure(tool.Run({"compact", "@plain.db", "--keep", "one"}), 2, "without rollback");
    EXPECT_EQ(tool.Run({"compact", "@plain.db"}).code, 0);
}

TEST(QzdbMend, ADamagedFileIsNotCompactedAndSaysSo)
{
    Tool tool;
    MakeFull(tool, "a.db", {});
    {
        qzdb::Database database(tool.Path("a.db"));
        const qzdb::Node node = qzdb::FindTable(database, "stock/parts");
        const QZInt64 list = qzdb::ChildList(database, node.pd);
        const QZInt64 first = database.Field(list, QZDatabaseInfo::HD_FIRSTDATA);
        const QZInt64 second = database.Field(first, QZDatabaseInfo::DATA_NEXT);
        tool.Dir().Write("at", std::to_string(second));
    }
    tool.Patch("a.db", std::stoul(tool.Dir().Read("at")), std::string(60, '\0'));
    const std::string bytes = tool.Dir().Read("a.db");
    ExpectFailure(tool.Run({"compact", "@a.db"}), 1, "a.db: damaged, nothing has changed");
    ExpectFailure(tool.Run({"compact", "@a.db", "@b.db"}), 1, "see qzdb repair");
    EXPECT_EQ(tool.Dir().Read("a.db"), bytes);
    EXPECT_FALSE(tool.Dir().Exists("b.db"));
    EXPECT_FALSE(tool.Dir().Exists("a.db.part"));
    // The row before the damage, the one after it, and everything else.
    const Result result = tool.Run({"repair", "@a.db", "@b.db"});
    ExpectFailure(result, 1, "left out");
    EXPECT_NE(result.out.find(": left out: no record where a list goes on"), std::string::npos) << result.out;
    EXPECT_EQ(tool.Run({"check", "@b.db"}).code, 0);
    const std::string csv = tool.Run({"export-csv", "@b.db", "stock/parts"}).out;
    EXPECT_EQ(csv.find("\r\n4,"), std::string::npos) << csv;
    EXPECT_NE(csv.find("\r\n1,"), std::string::npos) << csv;
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 3) << csv;
    EXPECT_EQ(tool.Export("b.db", "long"), tool.Export("a.db", "long"));
}

TEST(QzdbMend, LinesOfADamagedListAreNumberedAgain)
{
    Tool tool;
    tool.Make("a.db", "x", "1\n2\n3\n4\n5\n");
    QZInt64 third = 0;
    {
        qzdb::Database database(tool.Path("a.db"));
        const QZInt64 pd = database.Field(database.Root(3), QZDatabaseInfo::HD_FIRSTDATA);
        QZInt64 n = 0;
        database.Walk(database.Field(pd, QZDatabaseInfo::PD_HD_A), [&](QZInt64 line, QZInt64) {
            if (++n == 3) third = line;
            return true;
        });
    }
    tool.Patch("a.db", static_cast<std::size_t>(third), std::string(90, '\0'));
    EXPECT_EQ(tool.Run({"export", "@a.db", "x"}).out, "1\n2\n");
    const Result result = tool.Run({"repair", "@a.db", "@b.db"});
    EXPECT_EQ(result.code, 1) << result.out;
    EXPECT_EQ(tool.Export("b.db", "x"), "1\n2\n4\n5\n");
}

TEST(QzdbMend, AFileThatAnotherProgramWritesIsNotCompacted)
{
    Tool tool;
    tool.Make("a.db", "x", "1\n");
    const std::string bytes = tool.Dir().Read("a.db");
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, tool.Path("a.db").c_str());
    const Result result = tool.Run({"compact", "@a.db"});
    QZChannel::Close(&channel);
    ExpectFailure(result, 3, "a.db");
    EXPECT_EQ(tool.Dir().Read("a.db"), bytes);
    EXPECT_EQ(tool.Run({"compact", "@a.db"}).code, 0);
}

TEST(QzdbMend, AMarkIsNamedWithoutDoubt)
{
    Tool tool;
    tool.Make("a.db", "x", "1\n");
    const std::string first = tool.Run({"snapshot", "@a.db", "first"}).out;
    const std::size_t at = first.find("mark ") + 5;
    const std::string address = first.substr(at, first.find(' ', at) - at);
    tool.Import("a.db", "x", "2\n");
    ExpectFailure(tool.Run({"snapshot", "@a.db", "first"}), 2, "there is a mark \"first\" already");
    ExpectFailure(tool.Run({"snapshot", "@a.db", address}), 2, "is the address of a mark");
    ExpectFailure(tool.Run({"snapshot", "@a.db", "@" + address}), 2, "would name a state of the log");
    EXPECT_EQ(tool.Run({"snapshot", "@a.db", "2024"}).code, 0);
    EXPECT_EQ(tool.Run({"snapshot", "@a.db"}).code, 0);
    EXPECT_EQ(tool.Run({"snapshot", "@a.db"}).code, 0);
    // Other programs may have written such a label.
    QZInt64 second = 0;
    {
        qzdb::Database database(tool.Path("a.db"));
        second = qzdb::TakeMark(database, address).address;
    }
    tool.Import("a.db", "x", "3\n");
    ExpectFailure(tool.Run({"restore", "@a.db", address}), 2, "is the address of mark " + address);
    char hex[32];
    std::snprintf(hex, sizeof hex, "0x%llX", static_cast<unsigned long long>(second));
    EXPECT_EQ(tool.Run({"restore", "@a.db", hex}).code, 0);
    EXPECT_EQ(tool.Export("a.db", "x"), "2\n");
    std::snprintf(hex, sizeof hex, "0x%llX", std::stoull(address));
    EXPECT_EQ(tool.Run({"restore", "@a.db", hex}).code, 0);
    EXPECT_EQ(tool.Export("a.db", "x"), "1\n");
}

TEST(QzdbMend, SetReportsWhatIsStored)
{
    Tool tool;
    tool.Make("a.db");
    ASSERT_EQ(tool.Run({"create-table", "@a.db", "t", "when:datetime", "x:double"}).code, 0);
    tool.Dir().Write("t.csv", "when,x\n2024-01-01T00:00:00,1\n");
    ASSERT_EQ(tool.Run({"import-csv", "@a.db", "t", tool.Path("t.csv")}).code, 0);
    Result result = tool.Run({"set", "@a.db", "t", "1", "when", "2024-05-06 07:08:09"});
    EXPECT_NE(result.out.find("\"when\" is \"2024-05-06T07:08:09\""), std::string::npos)
        << result.out << result.err;
    result = tool.Run({"set", "@a.db", "t", "1", "x", "1.50"});
    EXPECT_NE(result.out.find("\"x\" is \"1.5\""), std::string::npos) << result.out << result.err;
}

TEST(QzdbMend, CheckEndsOnADamagedListOfBackReferences)
{
    Tool tool;
    MakeFull(tool, "a.db", {});
    QZInt64 ld = 0;
    QZInt64 line = 0;
    {
        qzdb::Database database(tool.Path("a.db"));
        const qzdb::Node node = qzdb::FindTable(database, "stock/parts");
        ld = node.ld;
        line = database.Field(qzdb::ChildList(database, node.pd), QZDatabaseInfo::HD_FIRSTDATA);
    }
    const std::string good = tool.Dir().Read("a.db");
    const auto word = [](QZInt64 value) {
        std::string bytes;
        for (int i = 0; i < 8; ++i) bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
        return bytes;
    };
    // Each of the four lists leads to a record that is no list: to the LD itself, to a PD, into a content.
    for (QZInt64 list = 0; list < 4; ++list)
    {
        for (const QZInt64 to : {ld, line, line + 1, ld + 16, QZInt64{31}, QZInt64{719}, QZInt64{0}})
        {
            tool.Dir().Write("a.db", good);
            tool.Patch("a.db", static_cast<std::size_t>(ld + 25 + 8 * list), word(to));
            const auto start = std::chrono::steady_clock::now();
            const Result check = tool.Run({"check", "@a.db"});
            EXPECT_EQ(check.code, 1) << list << " " << to << check.out;
            EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 20);
        }
    }
    // A list of references whose first record is its own HD's owner, and so on for ever.
    tool.Dir().Write("a.db", good);
    QZInt64 head = 0;
    {
        qzdb::Database database(tool.Path("a.db"));
        head = database.Field(ld, QZDatabaseInfo::LD_TREE_S);
    }
    tool.Patch("a.db", static_cast<std::size_t>(head) + 9, word(ld));
    tool.Patch("a.db", static_cast<std::size_t>(ld) + 65, word(ld));
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 1);
    // A content that begins near the largest address.
    tool.Dir().Write("a.db", good);
    tool.Patch("a.db", static_cast<std::size_t>(line) + 41, word(INT64_MAX - 1));
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 1);
}

// ---- Damaged copies

namespace
{
/// How many damaged copies of each file are tried.
int Copies(int usual)
{
    const char* set = std::getenv("QZ_DAMAGED_COPIES");
    return set != nullptr ? std::atoi(set) : usual;
}

/// A copy with bytes flipped, blocks zeroed, swapped, or the end cut off.
std::string Damaged(const std::string& good, std::mt19937& random)
{
    std::string bytes = good;
    const auto below = [&](std::size_t most) { return most == 0 ? 0 : random() % most; };
    const std::size_t size = std::size_t{1} << (4 + below(9));
    const std::size_t block = std::min(size, bytes.size() / 4);
    switch (below(4))
    {
        case 0:
            for (std::size_t i = below(12) + 1; i > 0; --i)
                bytes[below(bytes.size())] = static_cast<char>(random());
            break;
        case 1: bytes.replace(below(bytes.size() - block), block, block, '\0'); break;
        case 2: bytes.resize(below(bytes.size()) + 1); break;
        default:
        {
            const std::size_t a = below(bytes.size() - block);
            const std::size_t b = below(bytes.size() - block);
            const std::string first = bytes.substr(a, block);
            bytes.replace(a, block, bytes.substr(b, block));
            bytes.replace(b, block, first);
        }
    }
    return bytes;
}

double Since(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Checks, shows and repairs a damaged file. Every command ends in time, and the repaired file is sound.
/// @return whether there is a repaired file
bool TryDamaged(const Tool& tool, const std::string& note)
{
    constexpr double kMostSeconds = 20;
    std::filesystem::remove(tool.Dir().Path("new.db"));
    const std::string damaged = tool.Dir().Read("bad.db");
    for (const char* command : {"check", "info", "log"})
    {
        const auto start = std::chrono::steady_clock::now();
        ExpectSane(tool.Run({command, "@bad.db"}));
        EXPECT_LT(Since(start), kMostSeconds) << command << note;
    }
    const auto start = std::chrono::steady_clock::now();
    const Result result = tool.Run({"repair", "@bad.db", "@new.db"});
    EXPECT_LT(Since(start), kMostSeconds) << note;
    EXPECT_EQ(tool.Dir().Read("bad.db"), damaged) << note;
    EXPECT_TRUE(result.code == 0 || result.code == 1) << note << result.err;
    EXPECT_FALSE(tool.Dir().Exists("new.db.part")) << note;
    const bool made = tool.Dir().Exists("new.db");
    if (!made) ExpectFailure(result, 1, "not a database");
    if (!made) return false;
    const Result check = tool.Run({"check", "@new.db"});
    EXPECT_EQ(check.code, 0) << note << check.out << check.err << result.out;
    return true;
}

/// The lines that a command can read in the damaged list stand in the repaired one, in the same order.
void ExpectLinesKept(const Tool& tool, const std::string& list, const std::string& note)
{
    const Result before = tool.Run({"export", "@bad.db", list});
    const Result after = tool.Run({"export", "@new.db", list});
    std::istringstream lines(before.out);
    std::string line;
    std::size_t at = 0;
    while (std::getline(lines, line))
    {
        // A text that is damaged itself may be read in another way. Then its line is another one.
        const bool own =
            line.compare(0, 5, "line ") == 0 && line.find_first_not_of("&", 7) == std::string::npos;
        if (!own || lines.eof()) continue;
        const std::size_t found = after.out.find(line + "\n", at);
        EXPECT_NE(found, std::string::npos) << note << line << "\n" << before.err << after.err;
        if (found != std::string::npos) at = found + line.size();
    }
}
}  // namespace

TEST(QzdbMend, DamagedCopiesAreCheckedAndRepaired)
{
    Tool tool;
    MakeFull(tool, "0.db", {});
    MakeFull(tool, "1.db", {"--addresses", "32"});
    MakeFull(tool, "2.db", {"--no-rollback"});
    ASSERT_EQ(tool.Run({"compact", "@0.db", "@3.db", "--keep", "one", "two"}).code, 0);
    ASSERT_EQ(tool.Run({"compact", "@0.db", "@4.db"}).code, 0);
    ASSERT_EQ(tool.Run({"create", "@5.db"}).code, 0);
    {
        qzmon::Store store(tool.Path("6.db"));
        store.Open(3);
        for (int i = 0; i < 20; ++i) store.Append({i * 1000, {i * 1.0, i * 2.0, i * 3.0}});
        store.TakeSnapshot("m");
        store.Close();
    }
    const int copies = Copies(25);
    for (int file = 0; file < 7; ++file)
    {
        const std::string good = tool.Dir().Read(std::to_string(file) + ".db");
        std::mt19937 random(static_cast<unsigned>(1000 + file));
        int repaired = 0;
        for (int copy = 0; copy < copies; ++copy)
        {
            tool.Dir().Write("bad.db", Damaged(good, random));
            const std::string note = "file " + std::to_string(file) + ", copy " + std::to_string(copy) + "\n";
            if (!TryDamaged(tool, note)) continue;
            ++repaired;
            if (file >= 5) continue;
            ExpectLinesKept(tool, "long", note);
            ExpectLinesKept(tool, "\xD0\x96\xD7\x90", note);
        }
        // Some copies are cut to less than a header, or lose it.
        EXPECT_GT(repaired, copies / 2) << file;
    }
}
