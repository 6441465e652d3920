#include <string>
#include <vector>

#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "support/qz_test.h"

namespace
{
constexpr const char* kNoNarrow = nullptr;
constexpr const QZWChar* kNoWide = nullptr;
QZString* const kNoString = nullptr;

constexpr QZWChar U(char c) { return static_cast<QZWChar>(c); }

using Texts = std::vector<std::string>;

/// Returns the pieces as UTF-8 and recycles them.
Texts Taken(QZStringCollection* pieces)
{
    Texts texts;
    for (QZInt64 i = 0; i < pieces->Count(); ++i) texts.push_back(qztest::Utf8(pieces->GetElement(i)));
    QZString::Recycle(&pieces);
    EXPECT_EQ(pieces, nullptr);
    return texts;
}

bool IsNumberic(const QZWChar* units)
{
    QZString text(units);
    return QZString::IsNumberic(&text);
}

bool IsWhite(const QZWChar* units)
{
    QZString text(units);
    return QZString::IsNullOrWhiteSpace(&text);
}
}  // namespace

TEST(StringEquals, ComparesUnits)
{
    QZString text(QZ_W("abc"));
    QZString same(QZ_W("abc"));
    QZString other(QZ_W("abd"));
    EXPECT_TRUE(text.Equals("abc"));
    EXPECT_TRUE(text.Equals(QZ_W("abc")));
    EXPECT_TRUE(text.Equals(&same));
    EXPECT_FALSE(text.Equals("abd"));
    EXPECT_FALSE(text.Equals("ab"));
    EXPECT_FALSE(text.Equals("abcd"));
    EXPECT_FALSE(text.Equals(QZ_W("ABC")));
    EXPECT_FALSE(text.Equals(&other));
    EXPECT_FALSE(text.Equals("ABC", 0));
}

TEST(StringEquals, NullEqualsNothing)
{
    QZString text;
    EXPECT_FALSE(text.Equals(kNoNarrow));
    EXPECT_FALSE(text.Equals(kNoWide));
    EXPECT_FALSE(text.Equals(kNoString));
    EXPECT_FALSE(text.Equals(kNoNarrow, 1));
    EXPECT_FALSE(text.Equals(kNoWide, 1));
    EXPECT_FALSE(text.Equals(kNoString, 1));
    EXPECT_TRUE(text.Equals(""));
    EXPECT_TRUE(text.Equals(QZ_W("")));
}

TEST(StringEquals, FoldsAsciiLettersOnly)
{
    QZString text(QZ_W("aZ9"));
    EXPECT_TRUE(text.Equals("Az9", 1));
    EXPECT_TRUE(text.Equals(QZ_W("AZ9"), 1));
    QZString lower(QZ_W("az9"));
    EXPECT_TRUE(text.Equals(&lower, 1));
    // "@" and "`", "[" and "{" differ by 32 as letters do, but are no letters.
    EXPECT_FALSE(QZString(QZ_W("@")).Equals(QZ_W("`"), 1));
    EXPECT_FALSE(QZString(QZ_W("[")).Equals("{", 1));
    EXPECT_FALSE(QZString(QZ_W("\u00E9")).Equals(QZ_W("\u00C9"), 1));
}

TEST(StringEquals, NarrowTextIsConverted)
{
    // Both sides are converted from the same ANSI code page.
    const char* narrow = "a\xC3\xA9";
    QZString text(narrow);
    EXPECT_TRUE(text.Equals(narrow));
    EXPECT_FALSE(text.Equals("a\xC3\xAA"));
    EXPECT_TRUE(text.Equals("A\xC3\xA9", 1));
}

TEST(StringIndexOf, FindsTheFirstOccurrence)
{
    QZString text(QZ_W("abcabc"));
    QZString bc(QZ_W("bc"));
    EXPECT_EQ(text.IndexOf(&bc), 1);
    EXPECT_EQ(text.IndexOf("ca"), 2);
    EXPECT_EQ(text.IndexOf(QZ_W("abc")), 0);
    EXPECT_EQ(text.IndexOf(U('c')), 2);
    EXPECT_EQ(text.IndexOf('c'), 2);
    EXPECT_EQ(text.IndexOf("x"), -1);
    EXPECT_EQ(text.IndexOf('x'), -1);
    EXPECT_EQ(text.IndexOf("abcabcd"), -1);
}

TEST(StringIndexOf, StartsAtAnIndex)
{
    QZString text(QZ_W("abcabc"));
    QZString bc(QZ_W("bc"));
    EXPECT_EQ(text.IndexOf(2, &bc), 4);
    EXPECT_EQ(text.IndexOf(1, &bc), 1);
    EXPECT_EQ(text.IndexOf(5, "bc"), -1);
    EXPECT_EQ(text.IndexOf(3, QZ_W("a")), 3);
    EXPECT_EQ(text.IndexOf(4, U('c')), 5);
    EXPECT_EQ(text.IndexOf(4, 'a'), -1);
    EXPECT_EQ(text.IndexOf(6, "c"), -1);
}

TEST(StringIndexOf, EmptyPatternIsFoundAtTheStart)
{
    QZString text(QZ_W("abc"));
    EXPECT_EQ(text.IndexOf(""), 0);
    EXPECT_EQ(text.IndexOf(2, QZ_W("")), 2);
    EXPECT_EQ(text.IndexOf(3, ""), 3);
    EXPECT_EQ(QZString().IndexOf(QZ_W("")), 0);
}

TEST(StringIndexOf, NullIsFoundNowhere)
{
    QZString text(QZ_W("abc"));
    EXPECT_EQ(text.IndexOf(kNoNarrow), -1);
    EXPECT_EQ(text.IndexOf(kNoWide), -1);
    EXPECT_EQ(text.IndexOf(kNoString), -1);
    EXPECT_EQ(text.IndexOf(3, kNoWide), -1);
    EXPECT_QZ_THROW(text.IndexOf(4, kNoWide), 256);
    EXPECT_QZ_THROW(text.IndexOf(-1, kNoNarrow), 256);
}

TEST(StringIndexOf, BadStartThrows256)
{
    QZString text(QZ_W("abc"));
    QZLastError = 0;
    EXPECT_QZ_THROW(text.IndexOf(4, "a"), 256);
    EXPECT_EQ(QZLastError, 256);
    EXPECT_QZ_THROW(text.IndexOf(-1, QZ_W("a")), 256);
    EXPECT_QZ_THROW(text.IndexOf(4, &text), 256);
    EXPECT_QZ_THROW(text.IndexOf(4, U('a')), 256);
    EXPECT_QZ_THROW(text.IndexOf(-5, 'a'), 256);
    qztest::Thrown thrown = QZ_TEST_CATCH(text.IndexOf(4, "a"));
    EXPECT_EQ(thrown.stackTrace, "QZString::IndexOf(QZInt64, QZChar*)");
    EXPECT_EQ(thrown.argumentTrace, "QZString::IndexOf(4, a)");
}

TEST(StringIndexOf, PatternsMatchWholeUnitsOnly)
{
    const QZWChar units[] = {0x6100, 0x6200, 0};
    EXPECT_EQ(QZString(units).IndexOf(static_cast<QZWChar>(0x0061)), -1);
}

TEST(StringContains, IsTrueWhenIndexOfFinds)
{
    QZString text(QZ_W("abc"));
    QZString b(QZ_W("b"));
    EXPECT_TRUE(text.Contains(&b));
    EXPECT_TRUE(text.Contains("bc"));
    EXPECT_TRUE(text.Contains(QZ_W("a")));
    EXPECT_TRUE(text.Contains(U('c')));
    EXPECT_TRUE(text.Contains('c'));
    EXPECT_TRUE(text.Contains(""));
    EXPECT_FALSE(text.Contains("x"));
    EXPECT_FALSE(text.Contains(kNoNarrow));
    EXPECT_FALSE(text.Contains(kNoWide));
    EXPECT_FALSE(text.Contains(kNoString));
}

TEST(StringStartsWith, ComparesTheStart)
{
    QZString text(QZ_W("Header: x"));
    QZString header(QZ_W("Header"));
    EXPECT_TRUE(text.StartsWith("Header"));
    EXPECT_TRUE(text.StartsWith(QZ_W("Header:")));
    EXPECT_TRUE(text.StartsWith(&header));
    EXPECT_FALSE(text.StartsWith("header"));
    EXPECT_TRUE(text.StartsWith("header", 1));
    EXPECT_TRUE(text.StartsWith(QZ_W("HEADER"), 1));
    EXPECT_FALSE(text.StartsWith(&header, 0) == 0);
    EXPECT_FALSE(text.StartsWith("Header: xy"));
    EXPECT_TRUE(text.StartsWith(""));
    EXPECT_FALSE(text.StartsWith(kNoNarrow));
    EXPECT_FALSE(text.StartsWith(kNoWide));
    EXPECT_FALSE(text.StartsWith(kNoString));
}

TEST(StringEndWith, ComparesTheEnd)
{
    QZString text(QZ_W("file.TXT"));
    QZString ending(QZ_W(".TXT"));
    EXPECT_TRUE(text.EndWith(".TXT"));
    EXPECT_TRUE(text.EndWith(QZ_W("TXT")));
    EXPECT_TRUE(text.EndWith(&ending));
    EXPECT_FALSE(text.EndWith(".txt"));
    EXPECT_TRUE(text.EndWith(".txt", 1));
    EXPECT_TRUE(text.EndWith(QZ_W("txt"), 1));
    EXPECT_TRUE(text.EndWith(&ending, 1));
    EXPECT_FALSE(text.EndWith("a file.TXT"));
    EXPECT_TRUE(text.EndWith(QZ_W("")));
    EXPECT_FALSE(text.EndWith(kNoNarrow));
    EXPECT_FALSE(text.EndWith(kNoWide));
    EXPECT_FALSE(text.EndWith(kNoString));
}

TEST(StringSplit, ReturnsTheTextBetweenTheSeparators)
{
    QZString text(QZ_W("a,b"));
    QZString comma(QZ_W(","));
    EXPECT_EQ(Taken(text.Split(U(','))), (Texts{"a", "b"}));
    EXPECT_EQ(Taken(text.Split(",")), (Texts{"a", "b"}));
    EXPECT_EQ(Taken(text.Split(QZ_W(","))), (Texts{"a", "b"}));
    EXPECT_EQ(Taken(text.Split(&comma)), (Texts{"a", "b"}));
}

TEST(StringSplit, KeepsEmptyPieces)
{
    EXPECT_EQ(Taken(QZString(QZ_W(",a,,b,")).Split(U(','))), (Texts{"", "a", "", "b", ""}));
    EXPECT_EQ(Taken(QZString().Split(U(','))), (Texts{""}));
    EXPECT_EQ(Taken(QZString(QZ_W("--")).Split(QZ_W("--"))), (Texts{"", ""}));
    EXPECT_EQ(Taken(QZString().Split(QZ_W("--"))), (Texts{""}));
    EXPECT_EQ(Taken(QZString().Split(kNoString)), (Texts{""}));
}

TEST(StringSplit, WithoutASeparatorReturnsOneCopy)
{
    QZString text(QZ_W("a,b"));
    EXPECT_EQ(Taken(text.Split(static_cast<QZWChar>(0))), (Texts{"a,b"}));
    EXPECT_EQ(Taken(text.Split(kNoNarrow)), (Texts{"a,b"}));
    EXPECT_EQ(Taken(text.Split(kNoWide)), (Texts{"a,b"}));
    EXPECT_EQ(Taken(text.Split(kNoString)), (Texts{"a,b"}));
    EXPECT_EQ(Taken(text.Split("")), (Texts{"a,b"}));
    EXPECT_EQ(Taken(text.Split("abcdef")), (Texts{"a,b"}));
}

TEST(StringSplit, ByItselfReturnsTwoEmptyPieces)
{
    QZString text(QZ_W("a,b"));
    EXPECT_EQ(Taken(text.Split(&text)), (Texts{"", ""}));
}

TEST(StringSplit, OverlappingSeparatorsGiveAnEmptyPiece)
{
    EXPECT_EQ(Taken(QZString(QZ_W("aaa")).Split(QZ_W("aa"))), (Texts{"", "", ""}));
    EXPECT_EQ(Taken(QZString(QZ_W("x---y")).Split(QZ_W("--"))), (Texts{"x", "", "y"}));
    EXPECT_EQ(Taken(QZString(QZ_W("xababay")).Split(QZ_W("aba"))), (Texts{"x", "", "y"}));
}

TEST(StringTests, NullOrEmpty)
{
    QZString empty;
    QZString blank(QZ_W(" "));
    EXPECT_TRUE(QZString::IsNullOrEmpty(nullptr));
    EXPECT_TRUE(QZString::IsNullOrEmpty(&empty));
    EXPECT_FALSE(QZString::IsNullOrEmpty(&blank));
}

TEST(StringTests, NullOrWhiteSpace)
{
    EXPECT_TRUE(QZString::IsNullOrWhiteSpace(nullptr));
    EXPECT_TRUE(IsWhite(QZ_W("")));
    EXPECT_TRUE(IsWhite(QZ_W(" \t\n\r\v\f")));
    EXPECT_FALSE(IsWhite(QZ_W(" a ")));
    EXPECT_FALSE(IsWhite(QZ_W("\u00A0")));
}

TEST(StringIsNumberic, DigitsWithPointsAndALeadingSign)
{
    EXPECT_TRUE(IsNumberic(QZ_W("0123456789")));
    EXPECT_TRUE(IsNumberic(QZ_W("-1.5")));
    EXPECT_TRUE(IsNumberic(QZ_W("1.2.3")));
    EXPECT_TRUE(IsNumberic(QZ_W("...")));
    EXPECT_TRUE(IsNumberic(QZ_W("-")));  // a sign alone is accepted
    EXPECT_TRUE(IsNumberic(QZ_W("-.")));
    EXPECT_FALSE(IsNumberic(QZ_W("abc")));
    EXPECT_FALSE(IsNumberic(QZ_W("1-2")));
    EXPECT_FALSE(IsNumberic(QZ_W("--1")));
    EXPECT_FALSE(IsNumberic(QZ_W("+1")));
    EXPECT_FALSE(IsNumberic(QZ_W(" 1")));
    EXPECT_FALSE(IsNumberic(QZ_W("1e5")));
}

TEST(StringIsNumberic, FirstHexadecimalDigitIsNotChecked)
{
    EXPECT_TRUE(IsNumberic(QZ_W("0x1F")));
    EXPECT_TRUE(IsNumberic(QZ_W("0xabcdef")));
    EXPECT_FALSE(IsNumberic(QZ_W("0x1G")));
    EXPECT_TRUE(IsNumberic(QZ_W("0xG1")));
    EXPECT_TRUE(IsNumberic(QZ_W("0xG")));
    EXPECT_TRUE(IsNumberic(QZ_W("0x")));
    EXPECT_FALSE(IsNumberic(QZ_W("0X1F")));
    EXPECT_FALSE(IsNumberic(QZ_W("-0x1F")));
}

TEST(StringIsNumberic, NullAndEmptySetTheLastError)
{
    QZString empty;
    QZLastError = 0;
    EXPECT_FALSE(QZString::IsNumberic(&empty));
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
    EXPECT_FALSE(QZString::IsNumberic(nullptr));
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
    EXPECT_FALSE(IsNumberic(QZ_W("x")));
    EXPECT_EQ(QZLastError, 0);
}
