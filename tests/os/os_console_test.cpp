#include "os/os_console.h"
#include "os/internal/os_console_table.h"

#include <string>

#include "fw/fw_collection.h"
#include "fw/fw_data.h"
#include "fw/fw_data_type.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_table.h"
#include "support/qz_test.h"

namespace
{
/// Returns what the body writes to standard output, without CR: on Windows the capture reads a text file,
/// which drops the CR.
template <typename Body>
std::string Written(Body body)
{
    testing::internal::CaptureStdout();
    body();
    std::string text = testing::internal::GetCapturedStdout();
    std::erase(text, '\r');
    return text;
}

class ConsoleOutput : public ::testing::Test
{
protected:
    QZConsole m_console;
};

TEST_F(ConsoleOutput, WritesTextsAndNumbers)
{
    QZString text(QZ_W("object \u00b5"));
    QZData bytes("\x01\xAB", 2);
    EXPECT_EQ(Written([&] { m_console.Write("narrow"); }), "narrow");
    EXPECT_EQ(Written([&] { m_console.Write(QZ_W("wide")); }), "wide");
    EXPECT_EQ(Written([&] { m_console.Write(&text); }), "object \xC2\xB5");
    EXPECT_EQ(Written([&] { m_console.Write(QZInt64{-42}); }), "-42");
    EXPECT_EQ(Written([&] { m_console.Write(&bytes); }), "01AB");
    EXPECT_EQ(m_console.GetType(), 0x81FF000);
}

TEST_F(ConsoleOutput, NullWritesNothing)
{
    EXPECT_EQ(Written([&] {
                  m_console.Write(static_cast<const char*>(nullptr));
                  m_console.Write(static_cast<QZString*>(nullptr));
                  m_console.Write(static_cast<QZDataTable*>(nullptr));
                  m_console.Write(static_cast<QZException*>(nullptr));
              }),
              "");
}

TEST_F(ConsoleOutput, SharedConsoleWritesTheSame)
{
    QZConsoleT console;
    EXPECT_EQ(console.GetType(), 0x81FFC00);
    QZString text(QZ_W("t"));
    EXPECT_EQ(Written([&] {
                  console.Write("a");
                  console.Write(QZ_W("b"));
                  console.Write(&text);
                  console.Write(QZInt64{7});
              }),
              "abt7");
}

TEST(ConsoleTable, ColumnsAreAsWideAsTheirWidestCell)
{
    QZDataTable table;
    table.Columns->Add(QZ_W("id"), QZDataType::INT32);
    table.Columns->Add(QZ_W("name"), QZDataType::TEXTUTF16LE);
    QZDataRow* row = table.Rows->NewRow();
    QZString number(QZ_W("12345"));
    QZString name(QZ_W("\u6d4b\u91cf\u5668"));
    row->SetElement(QZInt64{0}, &number);
    row->SetElement(QZInt64{1}, &name);
    table.Rows->NewRow();
    QZString out;
    QZConsoleTableText(&table, &out);
    // Three wide characters take six columns of the terminal. Empty values are empty cells.
    EXPECT_QZ_TEXT(
        out,
        "\u250c\u2500\u2500\u2500\u2500\u2500\u252c\u2500\u2500\u2500\u2500\u2500\u2500\u2510\r\n"
        "\u2502id   \u2502name  \u2502\r\n"
        "\u251c\u2500\u2500\u2500\u2500\u2500\u253c\u2500\u2500\u2500\u2500\u2500\u2500\u2524\r\n"
        "\u250212345\u2502\u6d4b\u91cf\u5668\u2502\r\n"
        "\u251c\u2500\u2500\u2500\u2500\u2500\u253c\u2500\u2500\u2500\u2500\u2500\u2500\u2524\r\n"
        "\u2502     \u2502      \u2502\r\n"
        "\u2514\u2500\u2500\u2500\u2500\u2500\u2534\u2500\u2500\u2500\u2500\u2500\u2500\u2518\r\n");
}

TEST(ConsoleTable, WidthsOfCharacters)
{
    EXPECT_EQ(QZConsoleWidth('a'), 1);
    EXPECT_EQ(QZConsoleWidth(0x6D4B), 2);
    EXPECT_EQ(QZConsoleWidth(0x301), 0);
    EXPECT_EQ(QZConsoleWidth(0x1F600), 2);
    EXPECT_EQ(QZConsoleWidth(0x2500), 1);
    EXPECT_EQ(QZConsoleWidth(0x1F680), 2);
    EXPECT_EQ(QZConsoleWidth(0x2705), 2);
    EXPECT_EQ(QZConsoleWidth(0x1F321), 1);
    EXPECT_EQ(QZConsoleWidth(0x200D), 0);
    EXPECT_EQ(QZConsoleWidth(0x0E31), 0);
    EXPECT_EQ(QZConsoleWidth(0x20000), 2);
    EXPECT_EQ(QZConsoleWidth(0x10FFFF), 1);
    EXPECT_EQ(QZConsoleWidth(0x3400), 2);
    EXPECT_EQ(QZConsoleWidth(0xFF61), 1);
}

TEST(ConsoleTable, EmptyValueOfAnyTypeIsABlankCell)
{
    QZDataTable table;
    table.Columns->Add(QZ_W("n"), QZDataType::INT64);
    QZData empty;
    table.Rows->NewRow()->SetElement(QZInt64{0}, &empty);
    QZString text;
    QZConsoleTableText(&table, &text);
    EXPECT_QZ_TEXT(&text,
                   "\u250c\u2500\u2510\r\n"
                   "\u2502n\u2502\r\n"
                   "\u251c\u2500\u2524\r\n"
                   "\u2502 \u2502\r\n"
                   "\u2514\u2500\u2518\r\n");
}

TEST_F(ConsoleOutput, WritesCollectionsLineByLine)
{
    QZCollection numbers;
    numbers.Push(5);
    numbers.Push(static_cast<QZUInt64>(-1));
    EXPECT_EQ(Written([&] { m_console.Write(&numbers); }), "5\n-1\n");
    QZKeyValueCollection entries;
    QZString value(QZ_W("v"));
    entries.Add(QZ_W("Key"), &value);
    EXPECT_EQ(Written([&] { m_console.Write(&entries); }), "Key: v\n");
    entries.Clear();
}

TEST_F(ConsoleOutput, WritesAnExceptionWithItsTraces)
{
    QZException* e = QZExceptionFactory::CreateException(QZ_W("Bad"), 256);
    EXPECT_EQ(Written([&] { m_console.Write(e); }), "Bad ArgumentOutOfRange\n)\n)\n");
    QZExceptionFactory::Recycle(&e);
}
}  // namespace
