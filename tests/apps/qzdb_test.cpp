// The database tool as its user meets it: in this process through its command line, and as a program.

#include "apps/qzdb_tool.h"
#include "common/typed_fields.h"
#include "qzdb/database.h"
#include "qzdb/marks.h"
#include "qzdb/text.h"
#include "qzdb/text_list.h"
#include "support/qz_hooks.h"
#include "sys/internal/sys_hooks.h"

using qztest::TempDir;
using namespace qzdbtest;

namespace
{
std::string Word(QZInt64 value)
{
    std::string bytes;
    for (int i = 0; i < 8; ++i) bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
    return bytes;
}

std::string AllBytes()
{
    std::string bytes;
    for (int i = 0; i < 512; ++i) bytes.push_back(static_cast<char>(i * 37));
    return bytes;
}

/// The addresses of a list's lines.
std::vector<QZInt64> Lines(const std::string& path, const std::string& name, QZInt64* pd, QZInt64* hd)
{
    std::vector<QZInt64> lines;
    qzdb::Database database(path);
    *pd = qzdb::FindList(database, name);
    *hd = database.Field(*pd, QZDatabaseInfo::PD_HD_A);
    database.Walk(*hd, [&](QZInt64 record, QZInt64) {
        lines.push_back(record);
        return true;
    });
    return lines;
}

QZInt64 FieldOf(const std::string& path, QZInt64 record, QZInt64 selector)
{
    return qzdb::Database(path).Field(record, selector);
}

}  // namespace

TEST(Qzdb, HelpNamesEveryCommandAndExitCode)
{
    Tool tool;
    const Result help = tool.Run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.err, "");
    for (const char* word :
         {"create",     "info",       "import",  "export", "tree",        "show",          "check",
          "snapshot",   "log",        "restore", "tables", "nodes",       "create-table",  "add-field",
          "import-csv", "export-csv", "select",  "set",    "move",        "remove",        "--limit",
          "repair",     "compact",    "--keep",  "--type", "--addresses", "--no-rollback", "Exit codes"})
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
}

TEST(Qzdb, BadUsageIsExitCodeTwo)
{
    Tool tool;
    tool.Make("a.db");
    ExpectFailure(tool.Run({}), 2, "no command");
    ExpectFailure(tool.Run({"frobnicate"}), 2, "frobnicate");
    ExpectFailure(tool.Run({"info"}), 2, "info");
    ExpectFailure(tool.Run({"info", "@a.db", "x"}), 2, "info");
    ExpectFailure(tool.Run({"import", "@a.db"}), 2, "import");
    ExpectFailure(tool.Run({"import", "@a.db", ""}), 2, "name");
    ExpectFailure(tool.Run({"create", "--addresses", "16", "@b.db"}), 2, "--addresses");
    ExpectFailure(tool.Run({"create", "--addresses"}), 2, "--addresses");
    ExpectFailure(tool.Run({"create", "--fast", "@b.db"}), 2, "--fast");
    ExpectFailure(tool.Run({"create", "@b.db", "@c.db"}), 2, "create");
    ExpectFailure(tool.Run({"create", "--no-rollback"}), 2, "no file");
    ExpectFailure(tool.Run({"show", "@a.db", "twelve"}), 2, "twelve");
    ExpectFailure(tool.Run({"show", "@a.db", "12x"}), 2, "12x");
    ExpectFailure(tool.Run({"show", "@a.db", "99999999999999999999"}), 2, "address");
    ExpectFailure(tool.Run({"show", "@a.db", "32"}), 2, "no record");
    ExpectFailure(tool.Run({"show", "@a.db", "9223372036854775807"}), 2, "no record");
    ExpectFailure(tool.Run({"export", "@a.db", "none"}), 2, "none");
    ExpectFailure(tool.Run({"restore", "@a.db", "none"}), 2, "none");
    EXPECT_FALSE(tool.Dir().Exists("b.db"));
}

TEST(Qzdb, WhatCannotBeReadOrMadeIsExitCodeThree)
{
    Tool tool;
    tool.Make("a.db");
    for (const char* command : {"info", "tree", "check", "snapshot", "log"})
        ExpectFailure(tool.Run({command, "@none.db"}), 3, tool.Path("none.db") + ": no such file");
    ExpectFailure(tool.Run({"import", "@none.db", "x"}), 3, "none.db");
    ExpectFailure(tool.Run({"export", "@none.db", "x"}), 3, "none.db");
    ExpectFailure(tool.Run({"show", "@none.db", "31"}), 3, "none.db");
    ExpectFailure(tool.Run({"restore", "@none.db", "x"}), 3, "none.db");
    ExpectFailure(tool.Run({"info", tool.Path("")}), 3, "a folder");
    ExpectFailure(tool.Run({"create", "@a.db"}), 3, "exists");
    ExpectFailure(tool.Run({"create", "@no/such/folder.db"}), 3, "cannot create");
    EXPECT_FALSE(tool.Dir().Exists("none.db"));
}

TEST(Qzdb, FilesThatAreNoDatabasesAreExitCodeOne)
{
    Tool tool;
    tool.Dir().Write("empty", "");
    tool.Dir().Write("text", "This is a text file, and not a short one at that.\n");
    tool.Dir().Write("byte", "\5");
    tool.Dir().Write("old", std::string("\4\3\1\0\0\10", 6) + std::string(100, '\0'));
    tool.Dir().Write("zeros", std::string(4000, '\0'));
    for (const char* command : {"info", "tree", "check", "snapshot", "log"})
    {
        ExpectFailure(tool.Run({command, "@empty"}), 1, "empty: not a database");
        ExpectFailure(tool.Run({command, "@text"}), 1, "text: not a database");
        ExpectFailure(tool.Run({command, "@byte"}), 1, "byte: not a database");
        ExpectFailure(tool.Run({command, "@old"}), 1, "version 4");
        ExpectFailure(tool.Run({command, "@zeros"}), 1, "zeros: not a database");
    }
    ExpectFailure(tool.Run({"import", "@text", "x"}, "line\n"), 1, "text");
    EXPECT_EQ(tool.Dir().Read("text"), "This is a text file, and not a short one at that.\n");
}

TEST(Qzdb, CreateMakesWhatWasAskedFor)
{
    Tool tool;
    EXPECT_EQ(tool.Run({"create", "@a.db"}).code, 0);
    EXPECT_EQ(tool.Run({"create", "@b.db", "--addresses", "32", "--no-rollback"}).code, 0);
    EXPECT_EQ(tool.Dir().Read("a.db").substr(0, 3), "\5\3\3");
    EXPECT_EQ(tool.Dir().Read("a.db").size(), 1041u);
    EXPECT_EQ(tool.Dir().Read("b.db").substr(0, 3), "\5\2\2");

    const std::string a = tool.Run({"info", "@a.db"}).out;
    EXPECT_NE(a.find("length field    1040\n"), std::string::npos) << a;
    EXPECT_NE(a.find("version         5\n"), std::string::npos) << a;
    EXPECT_NE(a.find("address mode    3 (addresses of 8 bytes)\n"), std::string::npos) << a;
    EXPECT_NE(a.find("rollback        on\n"), std::string::npos) << a;
    EXPECT_NE(a.find("HD 8, LD 0, PD 0, AD 8, CD 0, RD 0"), std::string::npos) << a;
    EXPECT_NE(a.find("last error      none\n"), std::string::npos) << a;
    const std::string b = tool.Run({"info", "@b.db"}).out;
    EXPECT_NE(b.find("address mode    2 (addresses of 4 bytes)\n"), std::string::npos) << b;
    EXPECT_NE(b.find("rollback        off\n"), std::string::npos) << b;
    EXPECT_NE(b.find("HD 6, LD 0, PD 0, AD 5, CD 0, RD 0"), std::string::npos) << b;
    EXPECT_EQ(tool.Run({"check", "@b.db"}).code, 0);
}

TEST(Qzdb, ExportGivesTheBytesOfTheImport)
{
    Tool tool;
    const std::string texts[] = {"",
                                 "\n",
                                 "\n\n\n",
                                 "a",
                                 "a\n",
                                 "a\nb",
                                 "a\r\nb\r\n",
                                 "\r",
                                 std::string("\0\0\n\0", 4),
                                 "&\n&&\n\n&",
                                 "^\n^^",
                                 AllBytes(),
                                 AllBytes() + "\n",
                                 std::string(100000, 'x') + "\n" + std::string(3000000, 'y') + "\nz"};
    for (const char* width : {"32", "64"})
    {
        const std::string name = std::string(width) + ".db";
        ASSERT_EQ(tool.Run({"create", "@" + name, "--addresses", width}).code, 0);
        for (std::size_t i = 0; i < std::size(texts); ++i)
            tool.Import(name, "t" + std::to_string(i), texts[i]);
        for (std::size_t i = 0; i < std::size(texts); ++i)
            EXPECT_TRUE(tool.Export(name, "t" + std::to_string(i)) == texts[i]) << width << " " << i;
        const Result check = tool.Run({"check", "@" + name});
        EXPECT_EQ(check.code, 0) << check.out;
    }
}

TEST(Qzdb, ManyLinesComeBackInOrder)
{
    Tool tool;
    std::string text;
    for (int i = 0; i < 20000; ++i) text += "line " + std::to_string(i * 7919) + "\n";
    tool.Make("a.db", "many", text);
    EXPECT_TRUE(tool.Export("a.db", "many") == text);
    EXPECT_NE(tool.Run({"tree", "@a.db"}).out.find("\"many\": 20000 lines"), std::string::npos);
}

TEST(Qzdb, ImportTellsHowMuchItTook)
{
    Tool tool;
    tool.Make("a.db");
    const Result result = tool.Run({"import", "@a.db", "x"}, "one\ntwo\nthree");
    EXPECT_NE(result.out.find(": 3 lines, 13 bytes in \"x\", "), std::string::npos) << result.out;
    EXPECT_EQ(result.err, "");
}

TEST(Qzdb, ImportIntoANameReplacesWhatItHeld)
{
    Tool tool;
    tool.Make("a.db", "x", "old 1\nold 2\n");
    tool.Import("a.db", "y", "other\n");
    tool.Import("a.db", "x", "new\n");
    EXPECT_EQ(tool.Export("a.db", "x"), "new\n");
    EXPECT_EQ(tool.Export("a.db", "y"), "other\n");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
}

TEST(Qzdb, NamesMayHoldAnyText)
{
    Tool tool;
    tool.Make("a.db", "a name with blanks / and \\ & <>", "1\n");
    tool.Import("a.db", std::string(1000, 'n'), "2\n");
    EXPECT_EQ(tool.Export("a.db", "a name with blanks / and \\ & <>"), "1\n");
    EXPECT_EQ(tool.Export("a.db", std::string(1000, 'n')), "2\n");
    ExpectFailure(tool.Run({"import", "@a.db", std::string(1025, 'n')}), 2, "name");
}

TEST(Qzdb, TreeShowsTheFiveTrees)
{
    Tool tool;
    std::string text;
    for (int i = 1; i <= 13; ++i) text += "line " + std::to_string(i) + "\n";
    tool.Make("a.db", "list", text + "\x01 bell\x07");
    const std::string tree = tool.Run({"tree", "@a.db"}).out;
    for (const char* line :
         {"tree A, HD 79\n", "tree R, HD 127\n", "tree S, HD 175\n", "tree L, HD 223\n", "tree B, HD 271\n",
          "\"list\": 14 lines\n", "2 fields: line 10\n", "    ... 4 more, 14 in all\n", "  AD 767 -> 719\n"})
        EXPECT_NE(tree.find(line), std::string::npos) << line << tree;
    EXPECT_EQ(tree.find("line 11"), std::string::npos);
}

TEST(Qzdb, ShowGivesEveryFieldAndTheContentAsHex)
{
    Tool tool;
    tool.Make("a.db", "list", "Hello, world!\n");
    const std::string hd = tool.Run({"show", "@a.db", "31"}).out;
    EXPECT_EQ(hd,
              "HD at 31\n"
              "  THIS           31\n"
              "  PREV (owner)   0\n"
              "  FIRSTDATA      319\n"
              "  LASTDATA       688\n"
              "  LASTDATA_THIS  639\n"
              "  END            704\n");
    EXPECT_EQ(tool.Run({"show", "@a.db", "0x1F"}).out, hd);

    QZInt64 pd = 0;
    QZInt64 list = 0;
    const std::vector<QZInt64> lines = Lines(tool.Path("a.db"), "list", &pd, &list);
    ASSERT_EQ(lines.size(), 1u);
    const std::string line = tool.Run({"show", "@a.db", std::to_string(lines[0])}).out;
    EXPECT_NE(line.find("LD at " + std::to_string(lines[0]) + "\n"), std::string::npos) << line;
    EXPECT_NE(line.find("  field 2        17 bytes\n"
                        "    00000000  00 00 00 02 48 65 6C 6C 6F 2C 20 77 6F 72 6C 64  ....Hello, world\n"
                        "    00000010  21                                               !\n"),
              std::string::npos)
        << line;
    const std::string node = tool.Run({"show", "@a.db", std::to_string(pd)}).out;
    EXPECT_NE(node.find("  HD_A           " + std::to_string(list) + "\n"), std::string::npos) << node;
    EXPECT_NE(node.find("6C 69 73 74"), std::string::npos) << node;
    EXPECT_NE(tool.Run({"show", "@a.db", "319"}).out.find("  FREE           79\n"), std::string::npos);
}

TEST(Qzdb, SnapshotChangeAndRestore)
{
    Tool tool;
    tool.Make("a.db", "x", "first\n");
    EXPECT_EQ(tool.Run({"snapshot", "@a.db", "one"}).code, 0);
    tool.Import("a.db", "x", "second\n");
    tool.Import("a.db", "y", "late\n");
    EXPECT_EQ(tool.Run({"snapshot", "@a.db", "two"}).code, 0);

    EXPECT_EQ(tool.Run({"restore", "@a.db", "one"}).code, 0);
    EXPECT_EQ(tool.Export("a.db", "x"), "first\n");
    ExpectFailure(tool.Run({"export", "@a.db", "y"}), 2, "\"y\"");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);

    tool.Import("a.db", "z", "on a branch\n");
    EXPECT_EQ(tool.Run({"restore", "@a.db", "two"}).code, 0);
    EXPECT_EQ(tool.Export("a.db", "x"), "second\n");
    EXPECT_EQ(tool.Export("a.db", "y"), "late\n");
    ExpectFailure(tool.Run({"export", "@a.db", "z"}), 2, "\"z\"");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);

    const std::string log = tool.Run({"log", "@a.db"}).out;
    EXPECT_NE(log.find("write position 719, base\n"), std::string::npos) << log;
    EXPECT_NE(log.find("\"one\""), std::string::npos) << log;
    EXPECT_NE(log.find("\"two\""), std::string::npos) << log;
    EXPECT_NE(log.find("branch"), std::string::npos) << log;
    EXPECT_NE(log.find(", current\n"), std::string::npos) << log;
}

TEST(Qzdb, MarksAreNamedByAddressOrLabelAndTheLatestOfOneLabelCounts)
{
    Tool tool;
    tool.Make("a.db", "x", "1\n");
    const std::string first = tool.Run({"snapshot", "@a.db", "same"}).out;
    tool.Import("a.db", "x", "2\n");
    // The command refuses a label that is there; import-csv and other programs write such marks.
    ExpectFailure(tool.Run({"snapshot", "@a.db", "same"}), 2, "there is a mark \"same\" already");
    {
        qzdb::Database database(tool.Path("a.db"));
        qzdb::TakeMark(database, "same");
    }
    tool.Import("a.db", "x", "3\n");
    EXPECT_EQ(tool.Run({"restore", "@a.db", "same"}).code, 0);
    EXPECT_EQ(tool.Export("a.db", "x"), "2\n");
    const std::size_t at = first.find("mark ") + 5;
    const std::string address = first.substr(at, first.find(' ', at) - at);
    EXPECT_EQ(tool.Run({"restore", "@a.db", address}).code, 0);
    EXPECT_EQ(tool.Export("a.db", "x"), "1\n");
    ExpectFailure(tool.Run({"restore", "@a.db", "31"}), 2, "no mark");
}

TEST(Qzdb, ASnapshotOfAFreshDatabaseTakesBackEverything)
{
    Tool tool;
    tool.Make("a.db");
    EXPECT_EQ(tool.Run({"snapshot", "@a.db"}).code, 0);
    const std::string log = tool.Run({"log", "@a.db"}).out;
    const std::size_t at = log.find("mark ") + 5;
    const std::string mark = log.substr(at, log.find(',', at) - at);
    tool.Import("a.db", "x", "1\n2\n");
    EXPECT_EQ(tool.Run({"restore", "@a.db", mark}).code, 0);
    ExpectFailure(tool.Run({"export", "@a.db", "x"}), 2, "\"x\"");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
    tool.Import("a.db", "x", "3\n");
    EXPECT_EQ(tool.Export("a.db", "x"), "3\n");
}

TEST(Qzdb, WithoutRollbackThereAreNoMarks)
{
    Tool tool;
    ASSERT_EQ(tool.Run({"create", "@a.db", "--no-rollback"}).code, 0);
    tool.Import("a.db", "x", "1\n");
    EXPECT_EQ(tool.Export("a.db", "x"), "1\n");
    ExpectFailure(tool.Run({"snapshot", "@a.db"}), 2, "without rollback");
    ExpectFailure(tool.Run({"log", "@a.db"}), 2, "without rollback");
    ExpectFailure(tool.Run({"restore", "@a.db", "x"}), 2, "without rollback");
}

TEST(Qzdb, CheckPassesContentThatLooksLikeARecord)
{
    Tool tool;
    tool.Make("a.db");
    {
        // Another program's field: its content begins with the mark of a record, and the engine takes its CD
        // for a PD.
        qzdb::Database database(tool.Path("a.db"));
        const QZInt64 ld =
            database.PutRecord(database.Root(QZDatabaseInfo::TREELSN), QZDatabaseInfo::DATA_LD);
        database.PutContent(ld, 1, "& so on");
        database.PutContent(ld, 2, "plain");
        database.Close();
    }
    const Result check = tool.Run({"check", "@a.db"});
    EXPECT_EQ(check.code, 0) << check.out;
}

TEST(Qzdb, CheckNamesEachFaultWithItsAddress)
{
    Tool tool;
    tool.Make("a.db", "x", "1\n2\n3\n");
    QZInt64 pd = 0;
    QZInt64 hd = 0;
    const std::vector<QZInt64> lines = Lines(tool.Path("a.db"), "x", &pd, &hd);
    ASSERT_EQ(lines.size(), 3u);
    const std::string good = tool.Dir().Read("a.db");

    tool.Patch("a.db", static_cast<std::size_t>(lines[1]), "?");
    Result check = tool.Run({"check", "@a.db"});
    ExpectFailure(check, 1, "faults");
    EXPECT_NE(check.out.find(std::to_string(lines[1]) + ": "), std::string::npos) << check.out;
    ExpectFailure(tool.Run({"export", "@a.db", "x"}), 1, "damaged at " + std::to_string(lines[1]));

    tool.Dir().Write("a.db", good);
    tool.Patch("a.db", static_cast<std::size_t>(lines[2]) + 1, Word(lines[0]));  // its previous link
    check = tool.Run({"check", "@a.db"});
    EXPECT_EQ(check.code, 1);
    EXPECT_NE(check.out.find(std::to_string(lines[2]) + ": LD: previous link"), std::string::npos)
        << check.out;

    tool.Dir().Write("a.db", good);
    tool.Patch("a.db", static_cast<std::size_t>(pd) + 1 + 3 * 8, Word(31));  // its LD
    check = tool.Run({"check", "@a.db"});
    EXPECT_EQ(check.code, 1);

    tool.Dir().Write("a.db", good);
    tool.Patch("a.db", 2, "\2");
    check = tool.Run({"check", "@a.db"});
    EXPECT_EQ(check.code, 1);
    EXPECT_NE(check.out.find("2: file mode 2 does not go with address mode 3"), std::string::npos)
        << check.out;
}

TEST(Qzdb, ListsThatLeadInACircleEnd)
{
    Tool tool;
    tool.Make("a.db", "x", "1\n2\n3\n");
    EXPECT_EQ(tool.Run({"snapshot", "@a.db", "m"}).code, 0);
    const std::string path = tool.Path("a.db");
    QZInt64 pd = 0;
    QZInt64 hd = 0;
    const std::vector<QZInt64> lines = Lines(path, "x", &pd, &hd);
    ASSERT_EQ(lines.size(), 3u);
    const std::string good = tool.Dir().Read("a.db");
    auto circle = [&](QZInt64 record, QZInt64 to) {
        const QZInt64 end = FieldOf(path, record, QZDatabaseInfo::DATA_END);
        tool.Patch("a.db", static_cast<std::size_t>(end) - 8, Word(to));
    };
    auto last = [&](QZInt64 head) { return FieldOf(path, head, QZDatabaseInfo::HD_LASTDATA_THIS); };
    auto first = [&](QZInt64 head) { return FieldOf(path, head, QZDatabaseInfo::HD_FIRSTDATA); };

    const QZInt64 fields = FieldOf(path, lines[0], QZDatabaseInfo::LD_LDS);
    const QZInt64 marks = 847;
    const QZInt64 heads[] = {hd, fields, 31, 175, 223, 271, 719, marks};
    for (const QZInt64 head : heads)
    {
        for (const bool whole : {false, true})
        {
            tool.Dir().Write("a.db", good);
            const QZInt64 from = last(head);
            circle(from, whole ? first(head) : from);
            const Result check = tool.Run({"check", "@a.db"});
            EXPECT_EQ(check.code, 1) << head << check.out;
            ExpectSane(tool.Run({"info", "@a.db"}));
            ExpectSane(tool.Run({"tree", "@a.db"}));
            ExpectSane(tool.Run({"log", "@a.db"}));
            ExpectSane(tool.Run({"export", "@a.db", "x"}));
            ExpectSane(tool.Run({"show", "@a.db", std::to_string(lines[0])}));
            ExpectSane(tool.Run({"import", "@a.db", "new"}, "line\n"));
            ExpectSane(tool.Run({"snapshot", "@a.db"}));
            ExpectSane(tool.Run({"restore", "@a.db", "m"}));
        }
    }
}

TEST(Qzdb, ABranchThatLeadsBackIsTold)
{
    Tool tool;
    tool.Make("a.db", "x", "1\n");
    tool.Run({"snapshot", "@a.db", "m"});
    tool.Import("a.db", "x", "2\n");
    EXPECT_EQ(tool.Run({"restore", "@a.db", "m"}).code, 0);
    const std::string log = tool.Run({"log", "@a.db"}).out;
    const std::size_t at = log.find("branch ") + 7;
    const QZInt64 branch = std::stoll(log.substr(at));
    tool.Patch("a.db", static_cast<std::size_t>(branch) + 1 + 3 * 8, Word(719));
    ExpectFailure(tool.Run({"log", "@a.db"}), 1, "damaged at 719");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 1);
}

namespace
{

/// Every command on a file; `writes` too.
void RunAll(const Tool& tool, const std::string& name)
{
    const std::string file = tool.Dir().Read(name);
    const std::string at = "@" + name;
    ExpectSane(tool.Run({"info", at}));
    ExpectSane(tool.Run({"tree", at}));
    ExpectSane(tool.Run({"show", at, "31"}));
    ExpectSane(tool.Run({"show", at, "1103"}));
    ExpectSane(tool.Run({"log", at}));
    ExpectSane(tool.Run({"export", at, "x"}));
    EXPECT_TRUE(tool.Dir().Read(name) == file) << "a command that only reads has written";
    ExpectSane(tool.Run({"import", at, "x"}, "new\n"));
    tool.Dir().Write(name, file);
    ExpectSane(tool.Run({"snapshot", at}));
    tool.Dir().Write(name, file);
    ExpectSane(tool.Run({"restore", at, "m"}));
    tool.Dir().Write(name, file);
}

std::string SmallDatabase(const Tool& tool)
{
    tool.Make("small.db", "x", "one\ntwo");
    EXPECT_EQ(tool.Run({"snapshot", "@small.db", "m"}).code, 0);
    tool.Import("small.db", "x", "three\n");
    return tool.Dir().Read("small.db");
}

}  // namespace

TEST(Qzdb, EveryFlippedByteOfTheHeaderIsSurvivedAndFound)
{
    Tool tool;
    const std::string good = SmallDatabase(tool);
    for (std::size_t i = 0; i < 31; ++i)
    {
        for (const int flip : {0xFF, 0x01, 0x04})
        {
            if (flip != 0xFF && qztest::OnWine()) continue;
            std::string bad = good;
            bad[i] = static_cast<char>(bad[i] ^ flip);
            tool.Dir().Write("bad.db", bad);
            SCOPED_TRACE("byte " + std::to_string(i) + " flipped by " + std::to_string(flip));
            const Result check = tool.Run({"check", "@bad.db"});
            EXPECT_EQ(check.code, 1) << check.out;
            ExpectSane(check);
            RunAll(tool, "bad.db");
        }
    }
}

TEST(Qzdb, FlippedBytesAnywhereAreSurvived)
{
    Tool tool;
    const std::string good = SmallDatabase(tool);
    // Files are slow on Wine, and the code under test is the same.
    const std::size_t coarse = qztest::OnWine() ? 12 : 1;
    for (std::size_t i = 31; i < good.size(); i += (i < 1100 ? 3 : 11) * coarse)
    {
        std::string bad = good;
        bad[i] = static_cast<char>(bad[i] ^ (i % 2 ? 0xFF : 0x10));
        tool.Dir().Write("bad.db", bad);
        SCOPED_TRACE("byte " + std::to_string(i));
        ExpectSane(tool.Run({"check", "@bad.db"}));
        ExpectSane(tool.Run({"tree", "@bad.db"}));
        ExpectSane(tool.Run({"export", "@bad.db", "x"}));
        ExpectSane(tool.Run({"log", "@bad.db"}));
        ExpectSane(tool.Run({"restore", "@bad.db", "m"}));
    }
}

TEST(Qzdb, FilesCutOffAnywhereAreSurvivedAndFound)
{
    Tool tool;
    const std::string good = SmallDatabase(tool);
    for (std::size_t size = 0; size < good.size(); size += size < 40 ? 1 : 131)
    {
        tool.Dir().Write("cut.db", good.substr(0, size));
        SCOPED_TRACE("cut to " + std::to_string(size));
        const Result check = tool.Run({"check", "@cut.db"});
        EXPECT_EQ(check.code, 1) << check.out;
        ExpectSane(check);
        EXPECT_EQ(tool.Run({"info", "@cut.db"}).code, 1);
        RunAll(tool, "cut.db");
    }
}

TEST(Qzdb, LengthsThatCannotBeAreRefused)
{
    Tool tool;
    tool.Make("a.db", "x", "some text\n");
    QZInt64 pd = 0;
    QZInt64 hd = 0;
    const std::string path = tool.Path("a.db");
    const std::vector<QZInt64> lines = Lines(path, "x", &pd, &hd);
    const std::string good = tool.Dir().Read("a.db");
    // The length of the text stands in the 8 bytes before it.
    const std::size_t at = good.find("some text") - 4 - 8;
    for (const QZInt64 length : {-1LL, 0x7FFFFFFFFFFFFFFFLL, 0x100000000LL, 100000000LL})
    {
        tool.Dir().Write("a.db", good);
        tool.Patch("a.db", at, Word(length));
        ExpectFailure(tool.Run({"export", "@a.db", "x"}), 1, "damaged at " + std::to_string(lines[0]));
        EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 1);
    }
}

TEST(Qzdb, AFileOfNoiseIsSurvived)
{
    Tool tool;
    unsigned state = 12345;
    for (int round = 0; round < 40; ++round)
    {
        std::string noise;
        for (int i = 0; i < 3000; ++i)
        {
            state = state * 1103515245 + 12345;
            const char marks[] = {'^', '&', 0, 31};
            noise.push_back(round % 2 ? static_cast<char>(state >> 16) : marks[state >> 16 & 3]);
        }
        // With a header that passes, and a length field within the file.
        noise.replace(0, 31,
                      std::string("\5\3\3", 3) + std::string(13, '\0') + Word(2900) + std::string(7, '\0'));
        tool.Dir().Write("noise.db", noise);
        SCOPED_TRACE(round);
        EXPECT_EQ(tool.Run({"check", "@noise.db"}).code, 1);
        RunAll(tool, "noise.db");
    }
}

namespace
{

/// All writes from the n-th on fail, as if the process had ended there.
class DeadAfter
{
public:
    explicit DeadAfter(int writes) : m_left(writes), m_hooks{this, nullptr, Gate, nullptr}
    {
        os::SetTestHooks(&m_hooks);
    }
    ~DeadAfter() { os::SetTestHooks(nullptr); }
    DeadAfter(const DeadAfter&) = delete;
    DeadAfter& operator=(const DeadAfter&) = delete;

private:
    static bool Gate(void* context, os::Op operation, QZInt64*, QZUInt32* error)
    {
        if (operation != os::Op::FileWrite) return true;
        *error = 5;
        return static_cast<DeadAfter*>(context)->m_left-- > 0;
    }

    int m_left;
    os::TestHooks m_hooks;
};

}  // namespace

TEST(Qzdb, AnImportThatDiesLeavesTheOldLines)
{
    Tool tool;
    std::string text;
    for (int i = 0; i < 3000; ++i) text += "a line of some length, number " + std::to_string(i) + "\n";
    tool.Make("a.db", "x", "old\n");
    const std::string good = tool.Dir().Read("a.db");
    bool done = false;
    for (int writes = 0; !done; ++writes)
    {
        ASSERT_LT(writes, 100);
        SCOPED_TRACE("after writes: " + std::to_string(writes));
        tool.Dir().Write("a.db", good);
        {
            DeadAfter dead(writes);
            const Result result = tool.Run({"import", "@a.db", "x"}, text);
            done = result.code == 0;
            if (!done) ExpectFailure(result, 3, "cannot write: write failed");
        }
        const std::string now = tool.Export("a.db", "x");
        EXPECT_TRUE(done ? now == text : now == "old\n" || now == text);
        const Result check = tool.Run({"check", "@a.db"});
        EXPECT_EQ(check.code, 0) << check.out;
        tool.Import("a.db", "y", "and on it goes\n");
        EXPECT_EQ(tool.Export("a.db", "y"), "and on it goes\n");
    }
}

TEST(QzdbProgram, WorksFromTheCommandLine)
{
    Tool tool;
    EXPECT_EQ(tool.Spawn("create @a.db").code, 0);
    const std::string text = AllBytes() + "\r\n\n\x1A more\n";
    const Result import = tool.Spawn("import @a.db list", text);
    EXPECT_EQ(import.code, 0) << import.err;
    const Result back = tool.Spawn("export @a.db list");
    EXPECT_EQ(back.code, 0) << back.err;
    EXPECT_TRUE(back.out == text);
    EXPECT_EQ(tool.Spawn("check @a.db").code, 0);
    ExpectFailure(tool.Spawn("info @none.db"), 3, "no such file");
    ExpectFailure(tool.Spawn("export @a.db none"), 2, "none");
    tool.Dir().Write("text", "no database");
    ExpectFailure(tool.Spawn("check @text"), 1, "not a database");
    EXPECT_EQ(tool.Spawn("--help").code, 0);
}

TEST(QzdbText, NumbersAreDecimalOrHex)
{
    QZInt64 value = 0;
    EXPECT_TRUE(qzdb::ParseNumber("31", &value));
    EXPECT_EQ(value, 31);
    EXPECT_TRUE(qzdb::ParseNumber("0x1f", &value));
    EXPECT_EQ(value, 31);
    EXPECT_TRUE(qzdb::ParseNumber("010", &value));
    EXPECT_EQ(value, 10);
    for (const char* text : {"", "-1", " 1", "1 ", "0x", "0xg", "x", "9223372036854775808"})
        EXPECT_FALSE(qzdb::ParseNumber(text, &value)) << text;
}

TEST(QzdbText, ExcerptsKeepCharactersWhole)
{
    EXPECT_EQ(qzdb::Excerpt("abcdef", 6), "abcdef");
    EXPECT_EQ(qzdb::Excerpt("abcdef", 3), "abc...");
    EXPECT_EQ(qzdb::Excerpt("ab\xC3\xA9"
                            "d",
                            3),
              "ab...");
    EXPECT_EQ(qzdb::Excerpt("a\n\x7F", 9), "a\\x0A\\x7F");
}

TEST(QzdbText, AProgressBarShowsOnATerminalOnly)
{
    TempDir dir;
    for (const bool terminal : {false, true})
    {
        std::FILE* err = std::fopen(dir.NarrowName("err").c_str(), "wb");
        {
            qzdb::Progress progress(err, terminal, 200);
            progress.Show(100, 7);
        }
        std::fclose(err);
        const std::string shown = dir.Read("err");
        EXPECT_EQ(shown.find("[####################....................]  50%  7 lines") != std::string::npos,
                  terminal);
        EXPECT_EQ(shown.empty(), !terminal);
    }
}

TEST(Qzdb, AListIsRemovedAndComesBackWithItsMark)
{
    Tool tool;
    tool.Make("a.db", "notes", "one\ntwo\n");
    ASSERT_EQ(tool.Run({"import-csv", "@a.db", "t", "-"}, "n\n1\n").code, 0);
    ASSERT_EQ(tool.Run({"snapshot", "@a.db", "with"}).code, 0);
    const Result removed = tool.Run({"remove", "@a.db", "notes"});
    EXPECT_EQ(removed.code, 0) << removed.err;
    EXPECT_NE(removed.out.find("removed list \"notes\" of 2 lines"), std::string::npos) << removed.out;
    ExpectFailure(tool.Run({"export", "@a.db", "notes"}), 2, "notes");
    ExpectFailure(tool.Run({"remove", "@a.db", "notes"}), 2, "no list of lines \"notes\"");
    ExpectFailure(tool.Run({"remove", "@a.db", "notes", "1"}), 2, "no table \"notes\"");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
    tool.Import("a.db", "notes", "three\n");
    EXPECT_EQ(tool.Export("a.db", "notes"), "three\n");
    EXPECT_EQ(tool.Run({"restore", "@a.db", "with"}).code, 0);
    EXPECT_EQ(tool.Export("a.db", "notes"), "one\ntwo\n");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
}

TEST(Qzdb, EveryStateOfTheLogIsRestoredByItsAddress)
{
    Tool tool;
    tool.Make("a.db", "notes", "one\n");
    ASSERT_EQ(tool.Run({"snapshot", "@a.db", "one"}).code, 0);
    tool.Import("a.db", "notes", "two\n");
    tool.Import("a.db", "more", "three\n");
    const std::string log = tool.Run({"log", "@a.db", "--states"}).out;
    std::vector<std::string> states;
    for (std::size_t at = log.find('@'); at != std::string::npos; at = log.find('@', at + 1))
        states.push_back(log.substr(at, log.find('\n', at) - at));
    ASSERT_GT(states.size(), 5u);
    bool before = false;
    for (const std::string& state : states)
    {
        const Result result = tool.Run({"restore", "@a.db", state});
        ASSERT_EQ(result.code, 0) << state << " " << result.err;
        EXPECT_NE(result.out.find("restored state " + state), std::string::npos);
        before = before || (tool.Run({"export", "@a.db", "notes"}).out == "two\n" &&
                            tool.Run({"export", "@a.db", "more"}).code == 2);
    }
    // The state between the two imports has no mark.
    EXPECT_TRUE(before);
    EXPECT_EQ(tool.Run({"restore", "@a.db", states.back()}).code, 0);
    EXPECT_EQ(tool.Export("a.db", "more"), "three\n");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);

    const std::string mark =
        log.substr(log.find("mark ") + 5, log.find(' ', log.find("mark ") + 5) - log.find("mark ") - 5);
    for (const std::string& bad :
         {std::string("@0"), std::string("@31"), std::string("@99999999"), "@" + mark})
        ExpectFailure(tool.Run({"restore", "@a.db", bad}), 2, "no state " + bad);
    ExpectFailure(tool.Run({"restore", "@a.db", "@"}), 2, "no mark \"@\"");
    ExpectFailure(tool.Run({"log", "@a.db", "--more"}), 2, "--more");
}

TEST(Qzdb, TheLogShowsItsTimesByTheStandard)
{
    Tool tool;
    tool.Make("a.db");
    {
        qztest::Hooks hooks;
        hooks.SetClock(QZDateTime(2024, 5, 6, 7, 8, 9, 10).ToTimestamp());
        EXPECT_NE(tool.Run({"snapshot", "@a.db", "m"}).out.find("\"m\", 2024-05-06T07:08:09.010\n"),
                  std::string::npos);
    }
    EXPECT_NE(tool.Run({"log", "@a.db"}).out.find("\"m\", 2024-05-06T07:08:09.010\n"), std::string::npos);
}

TEST(Qzdb, TheProgramMakesFilesForItsUserAlone)
{
    if (std::filesystem::path::preferred_separator != '/')
        GTEST_SKIP() << "a file has the rights of its folder here";
    Tool tool;
    ASSERT_EQ(tool.Spawn("create @a.db").code, 0);
    EXPECT_EQ(static_cast<int>(std::filesystem::status(tool.Dir().Path("a.db")).permissions()) & 0777, 0600);
}
