// Tables in the database tool: files of comma separated values in and out, boxes, changes of rows.

#include "apps/qzdb_tool.h"
#include "qzdb/csv.h"
#include "qzdb/values.h"
#include "support/qz_hooks.h"

using namespace qzdbtest;
using qzdb::CsvField;
using qzdb::CsvReader;

namespace
{

/// Some thousand rows with everything that a field can hold.
std::string LargeCsv(int rows)
{
    const char* const names[] = {"plain", "\"Miller, Anna\"", "\"say \"\"hi\"\"\"", "\"two\nlines\"",
                                 "",      "\xE6\x9D\x8E",     "\xF0\x90\x80\x80",   "\xF0\x9F\x98\x80"};
    std::string text = "id,name,weight,when,code\r\n";
    for (int i = 1; i <= rows; ++i)
    {
        char line[96];
        std::snprintf(line, sizeof line, ",%d.%d5,2024-02-%02d 10:%02d:00,%05d\r\n", i % 97, i % 9,
                      i % 28 + 1, i % 60, i * 7);
        text += std::to_string(i) + "," + names[i % 8] + line;
    }
    return text;
}

/// Imports a text into a table; the file of values is "in.csv".
Result ImportCsv(const Tool& tool, const std::string& table, const std::string& csv,
                 const std::vector<std::string>& options = {})
{
    tool.Dir().Write("in.csv", csv);
    std::vector<std::string> words{"import-csv", "@a.db", table, "@in.csv"};
    words.insert(words.end(), options.begin(), options.end());
    return tool.Run(words);
}

std::string ExportCsv(const Tool& tool, const std::string& table)
{
    const Result result = tool.Run({"export-csv", "@a.db", table});
    EXPECT_EQ(result.code, 0) << result.err;
    return result.out;
}

/// A database with the table t: n int64, s text; three rows.
void MakeSmall(const Tool& tool)
{
    tool.Make("a.db");
    ASSERT_EQ(ImportCsv(tool, "t", "n,s\n1,one\n2,\xE4\xBA\x8C\n3,\n").code, 0);
}

std::vector<std::string> Texts(const std::vector<CsvField>& record)
{
    std::vector<std::string> texts;
    for (const CsvField& field : record) texts.push_back(field.text);
    return texts;
}

}  // namespace

// ---- Files of comma separated values

TEST(QzdbCsv, RecordsAndFieldsAreTakenApartByTheirRules)
{
    CsvReader reader(
        "\xEF\xBB\xBF"
        "a,\"b,\"\"c\"\"\r\nd\"\r\n,\n\"\",x",
        "f");
    std::vector<CsvField> record;
    ASSERT_TRUE(reader.Next(&record));
    EXPECT_EQ(Texts(record), (std::vector<std::string>{"a", "b,\"c\"\r\nd"}));
    ASSERT_TRUE(reader.Next(&record));
    EXPECT_EQ(Texts(record), (std::vector<std::string>{"", ""}));
    EXPECT_EQ(record[1].line, 3);
    EXPECT_EQ(record[1].column, 2);
    ASSERT_TRUE(reader.Next(&record));
    EXPECT_EQ(Texts(record), (std::vector<std::string>{"", "x"}));
    EXPECT_TRUE(record[0].quoted);
    EXPECT_FALSE(reader.Next(&record));
}

TEST(QzdbCsv, RecordsAreWrittenWithAsFewQuotesAsTheyNeed)
{
    std::string out;
    qzdb::CsvStyle style;
    qzdb::AppendRecord({"a", "b,c", "d\"e", "", "f\ng"}, style, &out);
    style.crlf = false;
    qzdb::AppendRecord({""}, style, &out);
    style.quoteAll = true;
    qzdb::AppendRecord({"x", ""}, style, &out);
    EXPECT_EQ(out, "a,\"b,c\",\"d\"\"e\",,\"f\ng\"\r\n\"\"\n\"x\",\"\"\n");
}

TEST(QzdbCsv, StylesComeBackFromTheirText)
{
    for (int bits = 0; bits < 16; ++bits)
    {
        const qzdb::CsvStyle style{(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0};
        qzdb::CsvStyle back;
        back.FromText(style.ToText());
        EXPECT_EQ(back.ToText(), style.ToText());
        EXPECT_EQ(back.crlf, style.crlf);
        EXPECT_EQ(back.byteOrderMark, style.byteOrderMark);
    }
}

TEST(QzdbValues, ATypeIsGuessedOnlyWhenEveryValueComesBackFromIt)
{
    const auto guess = [](const std::vector<std::string>& values) {
        qzdb::TypeGuess all;
        for (const std::string& value : values) all.Take(value);
        return qzdb::TypeName(all.Type());
    };
    EXPECT_EQ(guess({"1", "", "-7"}), "int64");
    EXPECT_EQ(guess({"1", "007"}), "text");
    EXPECT_EQ(guess({"9223372036854775807"}), "int64");
    EXPECT_EQ(guess({"9223372036854775809"}), "text");
    EXPECT_EQ(guess({"1", "-0.25", "840.35"}), "double");
    EXPECT_EQ(guess({"1.50"}), "text");
    EXPECT_EQ(guess({"True", "False"}), "bool");
    EXPECT_EQ(guess({"2024-05-06 07:08:09"}), "datetime");
    EXPECT_EQ(guess({"2024-05-06T07:08:09", "", "2024-12-31T23:59:59.125"}), "datetime");
    EXPECT_EQ(guess({"2024-05-06T07:08:09", "2024-05-06 07:08:10"}), "text");
    EXPECT_EQ(guess({"2024-05-06T07:08:09Z"}), "text");
    EXPECT_EQ(guess({"2024-02-30 07:08:09"}), "text");
    EXPECT_EQ(guess({"-0.5", "-0"}), "double");
    EXPECT_EQ(guess({"2024-05-06"}), "text");
    EXPECT_EQ(guess({"1", "x"}), "text");
    EXPECT_EQ(guess({"", ""}), "text");
}

TEST(QzdbValues, EveryValueIsReadWholeOrRefused)
{
    const auto back = [](const std::string& text, QZInt64 type) {
        if (!qzdb::IsValue(text, type)) return std::string("refused");
        const qzdb::OwnedData value = qzdb::ValueOfText(text, type);
        return qzdb::TextOfValue(qzdb::BytesOf(value.get()), type);
    };
    EXPECT_EQ(back("-0.5", QZDataType::DOUBLE), "-0.5");
    EXPECT_EQ(back("-0.1", QZDataType::FLOAT), "-0.1");
    EXPECT_EQ(back("1e300", QZDataType::FLOAT), "refused");
    EXPECT_EQ(back("0.1234567890123456", QZDataType::DOUBLE), "0.1234567890123456");
    EXPECT_EQ(back("1e22", QZDataType::DOUBLE), "10000000000000000000000");
    EXPECT_EQ(back("1.5e-7", QZDataType::DOUBLE), "0.00000015");
    EXPECT_EQ(back("-9223372036854775808", QZDataType::INT64), "-9223372036854775808");
    EXPECT_EQ(back("-0.5,1e-13,2", QZDataType::ARRAYDOUBLE), "-0.5,0.0000000000001,2");
    EXPECT_EQ(back("-2,x", QZDataType::ARRAYINT32), "refused");
    EXPECT_EQ(back("-2,,3", QZDataType::ARRAYINT64), "refused");
    EXPECT_EQ(back("2147483648", QZDataType::ARRAYINT32), "refused");
    for (const char* bad : {"1x", " 1", "1 ", "0x10", "--1", "", "1.5.2", "nan", "inf"})
        EXPECT_EQ(back(bad, QZDataType::DOUBLE), *bad == 0 ? "" : "refused") << bad;
    EXPECT_EQ(back(std::string("1\0", 2), QZDataType::INT64), "refused");
    EXPECT_EQ(back("2024-01-01 01:09:46", QZDataType::DATETIME), "2024-01-01T01:09:46");
    EXPECT_EQ(back("2024-01-01T01:09:46.007+02:00", QZDataType::DATETIME), "2023-12-31T23:09:46.007");
    EXPECT_EQ(back("2024-01-01", QZDataType::TIMESTAMP), "2024-01-01T00:00:00");
    EXPECT_EQ(back("0", QZDataType::TIMESTAMP), "0001-01-01T00:00:00");
    EXPECT_EQ(back("-5", QZDataType::TIMESTAMP), "-5");
    for (const char* bad :
         {"2024-13-01 00:00:00", "2023-02-29", "2024-01-01 24:00:00", "2024-01-01T00:00:00 x"})
        EXPECT_EQ(back(bad, QZDataType::DATETIME), "refused") << bad;
}

// ---- Round trips

TEST(QzdbTable, ThousandsOfRowsComeBackByteForByte)
{
    Tool tool;
    tool.Make("a.db");
    const std::string csv = LargeCsv(qztest::OnWine() ? 300 : 3000);
    const Result result = ImportCsv(tool, "stock/parts", csv);
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("  id int64\n  name text\n  weight double\n  when datetime\n  code text\n"),
              std::string::npos)
        << result.out;
    EXPECT_TRUE(ExportCsv(tool, "stock/parts") == csv);
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
}

TEST(QzdbTable, TimesComeBackInTheFormInWhichTheyWereRead)
{
    Tool tool;
    tool.Make("a.db");
    const std::string csv =
        "iso,blank,number,some\n"
        "2024-05-06T07:08:09,2024-01-01 01:09:46,63850000000000,\n"
        "2024-05-06T07:08:09.5,2024-01-01 01:09:46.125,-1,2024-01-01T00:00:00\n";
    const Result result = tool.Run(
        {"import-csv", "@a.db", "t", "-", "--type", "number=timestamp", "--type", "iso=timestamp"}, csv);
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.err.find(":3:1: \"2024-05-06T07:08:09.5\" will come back in another form"),
              std::string::npos)
        << result.err;
    EXPECT_NE(result.out.find("  blank datetime\n"), std::string::npos) << result.out;
    std::string expected = csv;
    expected.replace(expected.find("09.5,"), 5, "09.500,");
    EXPECT_EQ(ExportCsv(tool, "t"), expected);

    // A table that was not imported has its times in the standard's form, on paper and on the screen.
    ASSERT_EQ(tool.Run({"create-table", "@a.db", "u", "d:datetime", "t:timestamp"}).code, 0);
    ASSERT_EQ(ImportCsv(tool, "u", "t\n\"\"\n").code, 0);
    ASSERT_EQ(tool.Run({"set", "@a.db", "u", "1", "d", "2024-01-01 01:09:46"}).code, 0);
    ASSERT_EQ(tool.Run({"set", "@a.db", "u", "1", "t", "2024-01-01T01:09:46.007"}).code, 0);
    EXPECT_EQ(ExportCsv(tool, "u"), "d,t\r\n2024-01-01T01:09:46,2024-01-01T01:09:46.007\r\n");
    EXPECT_NE(tool.Run({"select", "@a.db", "u"}).out.find("\u25022024-01-01T01:09:46\u2502"),
              std::string::npos);
    ExpectFailure(tool.Run({"set", "@a.db", "u", "1", "d", "2024-02-30"}), 2,
                  "\"2024-02-30\" is no datetime");
    ExpectFailure(tool.Run({"set", "@a.db", "u", "1", "t", "12:00"}), 2, "\"12:00\" is no timestamp");

    // A table of an earlier version knows nothing of forms: it had a blank, and numbers.
    qzdb::CsvStyle earlier;
    earlier.FromText("csv lf");
    EXPECT_EQ(earlier.FormOfField(1, QZDataType::DATETIME), qzdb::TimeForm::Blank);
    EXPECT_EQ(earlier.FormOfField(1, QZDataType::TIMESTAMP), qzdb::TimeForm::Number);
    EXPECT_EQ(earlier.ToText(), "csv lf");
    earlier.FromText("csv lf times:3T12B99N");
    EXPECT_EQ(earlier.ToText(), "csv lf times:3T12B99N");
    EXPECT_EQ(earlier.FormOfField(4, QZDataType::DATETIME), std::nullopt);
}

TEST(QzdbTable, LineEndsQuotesAndTheEndOfTheFileComeBack)
{
    Tool tool;
    tool.Make("a.db");
    const std::string files[] = {"a\n1\n",
                                 "a\r\n1\r\n",
                                 "a\n1",
                                 "a\r\n1",
                                 "a\n",
                                 "a",
                                 "a\n\"\"\n",
                                 "\"a\",\"b\"\n\"1\",\"\"\n",
                                 "\"a\",\"b\"\r\n\"1\",\"x\"",
                                 "\xEF\xBB\xBFid,b\r\n1,\xC3\xA4\r\n"};
    int n = 0;
    for (const std::string& file : files)
    {
        const std::string table = "t" + std::to_string(++n);
        const Result result = ImportCsv(tool, table, file);
        ASSERT_EQ(result.code, 0) << result.err;
        EXPECT_EQ(result.err, "") << file;
        EXPECT_EQ(ExportCsv(tool, table), file);
    }
    const Result other = tool.Run({"export-csv", "@a.db", "t2", "--lf"});
    EXPECT_EQ(other.out, "a\n1\n");
}

TEST(QzdbTable, WhatWillNotComeBackIsTold)
{
    Tool tool;
    tool.Make("a.db");
    const Result quotes = ImportCsv(tool, "q", "a,b\n1,2\n3,\"4\"\n");
    EXPECT_EQ(quotes.code, 0);
    EXPECT_NE(quotes.err.find("in.csv:3:1: quotes or line end"), std::string::npos) << quotes.err;
    EXPECT_EQ(ExportCsv(tool, "q"), "a,b\n1,2\n3,4\n");
    const Result zeros = ImportCsv(tool, "z", "a\n007\n", {"--type", "a=int64"});
    EXPECT_NE(zeros.err.find("in.csv:2:1: \"007\" will come back in another form, as it is stored as int64"),
              std::string::npos)
        << zeros.err;
    EXPECT_EQ(ExportCsv(tool, "z"), "a\n7\n");
}

TEST(QzdbTable, TypesAreThoseGiven)
{
    Tool tool;
    tool.Make("a.db");
    EXPECT_EQ(ImportCsv(tool, "x", "a,b\n1,2\n", {"--text"}).out.find("int64"), std::string::npos);
    const Result given = ImportCsv(tool, "y", "a,b\n1,2\n", {"--type", "A=int16", "--type", "b=double"});
    EXPECT_NE(given.out.find("  a int16\n  b double\n"), std::string::npos) << given.out;
    ExpectFailure(ImportCsv(tool, "z", "a\n1\n", {"--type", "b=int16"}), 2, "\"b\"");
    ExpectFailure(ImportCsv(tool, "z", "a\n1\n", {"--type", "a=word"}), 2, "types are text");
    ExpectFailure(ImportCsv(tool, "z", "a\n1\n", {"--fast"}), 2, "--fast");
}

TEST(QzdbTable, ATableThatIsThereTakesMoreRowsByTheNamesOfItsFields)
{
    Tool tool;
    MakeSmall(tool);
    ASSERT_EQ(ImportCsv(tool, "t", "S,n\nfour,4\n").code, 0);
    ASSERT_EQ(ImportCsv(tool, "t", "s\nfive\n").code, 0);
    EXPECT_EQ(ExportCsv(tool, "t"), "n,s\n1,one\n2,\xE4\xBA\x8C\n3,\n4,four\n,five\n");
}

TEST(QzdbTable, RowsOfATableWithAKeyGetTheirKey)
{
    Tool tool;
    MakeSmall(tool);
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, tool.Path("a.db").c_str());
    QZDbTable* table = QZDbTable::Open(channel, "t");
    QZString key(QZ_W("n"));
    table->SetKey(&key);
    QZDbTable::Close(&table);
    QZChannel::Close(&channel);
    ASSERT_EQ(ImportCsv(tool, "t", "n,s\n4,four\n").code, 0);
    EXPECT_EQ(ExportCsv(tool, "t"), "n,s\n1,one\n2,\xE4\xBA\x8C\n3,\n4,four\n");
}

// ---- Nothing half imported

TEST(QzdbTable, FaultsInTheFileAreNamedByLineAndColumnAndNothingIsWritten)
{
    Tool tool;
    MakeSmall(tool);
    const std::string before = tool.Dir().Read("a.db");
    const struct
    {
        const char* csv;
        const char* about;
    } faults[] = {
        {"", "in.csv:1:1: no header"},
        {"a,\n", "in.csv:1:3: the name of a field"},
        {"a,A\n", "in.csv:1:3: a second field named \"A\""},
        {"a,b\n1,2\n3\n", "in.csv:3:1: 1 fields, the header has 2"},
        {"a,b\n1,2,3\n", "in.csv:2:5: 3 fields, the header has 2"},
        {"a,b\n1,\"x\ny\n", "in.csv:2:3: the quotes that begin here do not end"},
        {"a,b\n1,\"x\ny\" z\n", "in.csv:3:3: text behind the closing quotes"},
        {"a,b\n1,x\"y\n", "in.csv:2:4: quotes inside a field"},
        {"a,b\n1,\xC3\xA4\rx\n", "in.csv:2:4: a carriage return"},
        {"a,b\n1,\xC3\xA4\xFF\n", "in.csv:2:4: no UTF-8"},
        {"a,b\n1,\xED\xA0\x80\n", "in.csv:2:3: no UTF-8"},
    };
    for (const auto& fault : faults)
    {
        const Result result = ImportCsv(tool, "new", fault.csv);
        ExpectFailure(result, 4, fault.about);
        EXPECT_TRUE(tool.Dir().Read("a.db") == before) << fault.about;
    }
    ExpectFailure(ImportCsv(tool, "new", std::string("a\nx\0y\n", 6)), 4, "in.csv:2:2: a byte of value 0");
    ExpectFailure(ImportCsv(tool, "t", "n,s\n5,x\n6y,z\n"), 4,
                  "in.csv:3:1: \"6y\" in field \"n\" is no int64");
    ExpectFailure(ImportCsv(tool, "t", "n,u\n5,x\n"), 4, "in.csv:1:3: the table has no field \"u\"");
    ExpectFailure(ImportCsv(tool, "new", "b\n1\n300\n", {"--type", "b=byte"}), 4, "in.csv:3:1: \"300\"");
    EXPECT_TRUE(tool.Dir().Read("a.db") == before);
}

TEST(QzdbTable, AFailedWriteGoesBackToTheSnapshot)
{
    Tool tool;
    MakeSmall(tool);
    const std::string before = ExportCsv(tool, "t");
    std::string csv = "n,s\n";
    for (int i = 0; i < 90; ++i) csv += "1," + std::string(200000, 'x') + "\n";
    Result result;
    {
        // The buffer writes blocks away long before the last row.
        qztest::Hooks hooks;
        hooks.Fail(os::Op::FileWrite, 28, 3);
        result = ImportCsv(tool, "t", csv);
    }
    ExpectFailure(result, 3, "nothing is imported");
    EXPECT_EQ(ExportCsv(tool, "t"), before);
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
    EXPECT_NE(tool.Run({"log", "@a.db"}).out.find("before import-csv t"), std::string::npos);
}

TEST(QzdbTable, AnImportCanBeTakenBackByItsSnapshot)
{
    Tool tool;
    MakeSmall(tool);
    ASSERT_EQ(ImportCsv(tool, "u", "a\n1\n").code, 0);
    ASSERT_EQ(tool.Run({"restore", "@a.db", "before import-csv u"}).code, 0);
    ExpectFailure(tool.Run({"select", "@a.db", "u"}), 2, "no table \"u\"");
    EXPECT_EQ(tool.Run({"select", "@a.db", "t"}).code, 0);
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
}

TEST(QzdbTable, WithoutALogImportsWorkToo)
{
    Tool tool;
    ASSERT_EQ(tool.Run({"create", "@a.db", "--no-rollback", "--addresses", "32"}).code, 0);
    ASSERT_EQ(ImportCsv(tool, "t", "a\n1\n").code, 0);
    EXPECT_EQ(ExportCsv(tool, "t"), "a\n1\n");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
}

// ---- Looking and changing

TEST(QzdbTable, SelectDrawsABoxWithWideCharactersAligned)
{
    Tool tool;
    MakeSmall(tool);
    EXPECT_EQ(tool.Run({"select", "@a.db", "t"}).out,
              "\u250C\u2500\u252C\u2500\u2500\u2500\u2510\n"
              "\u2502n\u2502s  \u2502\n"
              "\u251C\u2500\u253C\u2500\u2500\u2500\u2524\n"
              "\u25021\u2502one\u2502\n"
              "\u251C\u2500\u253C\u2500\u2500\u2500\u2524\n"
              "\u25022\u2502\u4E8C \u2502\n"
              "\u251C\u2500\u253C\u2500\u2500\u2500\u2524\n"
              "\u25023\u2502   \u2502\n"
              "\u2514\u2500\u2534\u2500\u2500\u2500\u2518\n"
              "3 of 3 rows\n");
}

TEST(QzdbTable, LimitsShowTheFirstRowsOrTheLast)
{
    Tool tool;
    MakeSmall(tool);
    const std::string first = tool.Run({"select", "@a.db", "t", "--limit", "1"}).out;
    EXPECT_NE(first.find("\u25021\u2502one\u2502\n"), std::string::npos) << first;
    EXPECT_EQ(first.find("\u25022\u2502"), std::string::npos);
    EXPECT_NE(first.find("1 of 3 rows\n"), std::string::npos);
    const std::string last = tool.Run({"select", "@a.db", "t", "--limit", "-1"}).out;
    EXPECT_NE(last.find("\u25023\u2502"), std::string::npos) << last;
    EXPECT_EQ(last.find("\u25022\u2502"), std::string::npos);
    EXPECT_NE(tool.Run({"select", "@a.db", "t", "--limit", "0"}).out.find("0 of 3 rows"), std::string::npos);
    ExpectFailure(tool.Run({"select", "@a.db", "t", "--limit"}), 2, "--limit");
    ExpectFailure(tool.Run({"select", "@a.db", "t", "--limit", "x"}), 2, "--limit");
    ExpectFailure(tool.Run({"select", "@a.db", "nosuch"}), 2, "nosuch");
}

TEST(QzdbTable, TablesAreMadeAndGainFields)
{
    Tool tool;
    tool.Make("a.db", "notes", "a line\n");
    ASSERT_EQ(tool.Run({"create-table", "@a.db", "lab/runs", "n:int64", "what"}).code, 0);
    ASSERT_EQ(tool.Run({"add-field", "@a.db", "lab/runs", "when", "datetime"}).code, 0);
    ASSERT_EQ(tool.Run({"create-table", "@a.db", "lab/bare"}).code, 0);
    ASSERT_EQ(ImportCsv(tool, "lab/runs", "n,when\n5,2024-05-06 07:08:09\n").code, 0);
    EXPECT_EQ(ExportCsv(tool, "lab/runs"), "n,what,when\r\n5,,2024-05-06 07:08:09\r\n");
    const std::string tables = tool.Run({"tables", "@a.db"}).out;
    EXPECT_NE(tables.find("\u2502lab/runs\u25021   \u2502n int64, what text, when datetime\u2502"),
              std::string::npos)
        << tables;
    EXPECT_NE(tables.find("\u2502lab/bare\u25020   \u2502"), std::string::npos) << tables;
    ExpectFailure(tool.Run({"create-table", "@a.db", "lab/runs"}), 2, "there already");
    ExpectFailure(tool.Run({"create-table", "@a.db", "lab"}), 2, "there already");
    ExpectFailure(tool.Run({"create-table", "@a.db", "x", "a", "A:int64"}), 2, "two fields");
    ExpectFailure(tool.Run({"create-table", "@a.db", "x", "a:word"}), 2, "word");
    ExpectFailure(tool.Run({"create-table", "@a.db", "/"}), 2, "names no table");
    ExpectFailure(tool.Run({"add-field", "@a.db", "lab/runs", "WHAT"}), 2, "already");
    ExpectFailure(tool.Run({"export-csv", "@a.db", "lab/bare"}), 2, "without fields");
    ExpectFailure(ImportCsv(tool, "lab", "a\n1\n"), 2, "is no table");
    EXPECT_EQ(tool.Export("a.db", "notes"), "a line\n");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
}

TEST(QzdbTable, NodesShowsKindsContentsDatesAndStates)
{
    Tool tool;
    tool.Make("a.db", "notes", "a line\n");
    {
        qztest::Hooks hooks;
        hooks.SetClock(QZDateTime(2024, 5, 6, 7, 8, 9, 0).ToTimestamp());
        ASSERT_EQ(tool.Run({"create-table", "@a.db", "lab/runs"}).code, 0);
    }
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, tool.Path("a.db").c_str());
    const QZInt64 list = channel->G_TA(QZDatabaseInfo::TREESSN);
    QZString name(QZ_W("list"));
    const QZInt64 node = QZNodeFLD::Create(channel, list);
    QZSNode::PutName(channel, node, &name);
    QZNodeFLD::SetState(channel, node, 42);
    QZChannel::Close(&channel);
    const Result result = tool.Run({"nodes", "@a.db"});
    EXPECT_EQ(result.code, 0) << result.err;
    const std::string& out = result.out;
    EXPECT_NE(out.find("\u2502notes "), std::string::npos) << out;
    EXPECT_NE(out.find("\u2502lines    \u25021 line\u2502"), std::string::npos) << out;
    EXPECT_NE(out.find("\u2502text list\u25021 node\u25022024-05-06T07:08:09\u2502"), std::string::npos)
        << out;
    EXPECT_NE(out.find("\u2502  runs\u2502"), std::string::npos) << out;
    EXPECT_NE(out.find("\u2502table    \u25020 rows\u2502"), std::string::npos) << out;
    EXPECT_NE(out.find("\u2502data list\u2502      \u2502"), std::string::npos) << out;
    EXPECT_NE(out.find("\u250242   \u2502"), std::string::npos) << out;
}

TEST(QzdbTable, RowsAreChangedMovedAndRemovedByTheirPlace)
{
    Tool tool;
    MakeSmall(tool);
    ASSERT_EQ(tool.Run({"set", "@a.db", "t", "3", "S", "three, or so"}).code, 0);
    ASSERT_EQ(tool.Run({"set", "@a.db", "t", "1", "n", "-10"}).code, 0);
    EXPECT_EQ(ExportCsv(tool, "t"), "n,s\n-10,one\n2,\xE4\xBA\x8C\n3,\"three, or so\"\n");
    ASSERT_EQ(tool.Run({"move", "@a.db", "t", "3", "1"}).code, 0);
    ASSERT_EQ(tool.Run({"move", "@a.db", "t", "2", "3"}).code, 0);
    ASSERT_EQ(tool.Run({"move", "@a.db", "t", "2", "2"}).code, 0);
    EXPECT_EQ(ExportCsv(tool, "t"), "n,s\n3,\"three, or so\"\n2,\xE4\xBA\x8C\n-10,one\n");
    ASSERT_EQ(tool.Run({"remove", "@a.db", "t", "2"}).code, 0);
    ASSERT_EQ(tool.Run({"set", "@a.db", "t", "1", "s", ""}).code, 0);
    EXPECT_EQ(ExportCsv(tool, "t"), "n,s\n3,\n-10,one\n");
    ExpectFailure(tool.Run({"set", "@a.db", "t", "1", "n", "x"}), 2, "no int64");
    ExpectFailure(tool.Run({"set", "@a.db", "t", "1", "u", "x"}), 2, "no field \"u\" among n, s");
    ExpectFailure(tool.Run({"set", "@a.db", "t", "3", "n", "1"}), 2, "no row 3, there are 2");
    ExpectFailure(tool.Run({"set", "@a.db", "t", "0", "n", "1"}), 2, "count from 1");
    ExpectFailure(tool.Run({"move", "@a.db", "t", "1", "3"}), 2, "no row 3");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
}

TEST(QzdbTable, ATableIsRemovedWithItsRows)
{
    Tool tool;
    MakeSmall(tool);
    ASSERT_EQ(tool.Run({"remove", "@a.db", "t"}).code, 0);
    ExpectFailure(tool.Run({"select", "@a.db", "t"}), 2, "no table");
    EXPECT_EQ(tool.Run({"check", "@a.db"}).code, 0);
    ASSERT_EQ(ImportCsv(tool, "t", "a\n1\n").code, 0);
    EXPECT_EQ(ExportCsv(tool, "t"), "a\n1\n");
}

TEST(QzdbTable, FlippedBytesAnywhereAreSurvived)
{
    Tool tool;
    MakeSmall(tool);
    const std::string good = tool.Dir().Read("a.db");
    const std::size_t step = qztest::OnWine() ? 1999 : 331;
    for (std::size_t i = 31; i < good.size(); i += step)
    {
        std::string bad = good;
        bad[i] = static_cast<char>(bad[i] ^ (i % 2 ? 0xFF : 0x10));
        SCOPED_TRACE("byte " + std::to_string(i));
        tool.Dir().Write("bad.db", bad);
        ExpectSane(tool.Run({"nodes", "@bad.db"}));
        ExpectSane(tool.Run({"tables", "@bad.db"}));
        ExpectSane(tool.Run({"select", "@bad.db", "t"}));
        ExpectSane(tool.Run({"export-csv", "@bad.db", "t"}));
        EXPECT_TRUE(tool.Dir().Read("bad.db") == bad) << "a command that only reads has written";
        ExpectSane(tool.Run({"set", "@bad.db", "t", "2", "s", "x"}));
        ExpectSane(tool.Run({"move", "@bad.db", "t", "3", "1"}));
        ExpectSane(tool.Run({"remove", "@bad.db", "t", "1"}));
        ExpectSane(tool.Run({"add-field", "@bad.db", "t", "u"}));
        ExpectSane(tool.Run({"remove", "@bad.db", "t"}));
    }
}
