#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "support/qz_test.h"
#include "sys/sys_bytes.h"

namespace
{
/// Returns the text as UTF-8 and recycles the string.
std::string Taken(QZString* text)
{
    std::string result = qztest::Utf8(text);
    QZString::Recycle(&text);
    return result;
}

template <typename T>
std::string Appended(T value)
{
    QZString text(QZ_W("="));
    text.Append(value);
    return qztest::Utf8(text);
}

template <typename T>
std::string Prepended(T value)
{
    QZString text(QZ_W("="));
    text.Prepend(value);
    return qztest::Utf8(text);
}

QZInt64 Offset(QZString& text) { return QZLoad<QZInt64>(QZAt(text.GetStructPointer(), 24)); }

constexpr const char* kNoNarrow = nullptr;
constexpr const QZWChar* kNoWide = nullptr;
QZString* const kNoString = nullptr;
}  // namespace

TEST(StringAppend, TakesEveryKindOfText)
{
    QZString text;
    QZString other(QZ_W("other"));
    text.Append(&other);
    text.Append("|n");
    text.Append("|narrow", 3);
    text.Append(QZ_W("|w"));
    text.Append(QZ_W("|wide"), 6);
    EXPECT_QZ_TEXT(text, "other|n|na|w|wi");
}

TEST(StringAppend, OfAStringToItselfDoublesIt)
{
    QZString text(QZ_W("ab"));
    text.Append(&text);
    EXPECT_QZ_TEXT(text, "abab");
    text.Append(text.GetPointer());
    EXPECT_QZ_TEXT(text, "abababab");
    for (int i = 0; i < 10; ++i) text.Append(&text);
    EXPECT_EQ(text.GetLength(), 8192);
    EXPECT_EQ(text.CharAt(8190), 'a');
    EXPECT_EQ(text.CharAt(8191), 'b');
}

TEST(StringAppend, OfNullDoesNothing)
{
    QZString text(QZ_W("ab"));
    text.Append(kNoString);
    text.Append(kNoNarrow);
    text.Append(kNoWide);
    text.Append(kNoNarrow, 0);
    text.Append(kNoWide, 0);
    text.Prepend(kNoString);
    text.Prepend(kNoNarrow);
    text.Prepend(kNoWide);
    EXPECT_QZ_TEXT(text, "ab");
}

TEST(StringAppend, OfNullWithASizeThrows256)
{
    QZString text;
    EXPECT_QZ_THROW(text.Append(kNoWide, 2), 256);
    EXPECT_QZ_THROW(text.Append(kNoNarrow, 2), 256);
    EXPECT_QZ_THROW(text.Append(QZ_W("a"), -1), 256);
    EXPECT_QZ_THROW(text.Prepend(kNoWide, 2), 256);
    EXPECT_QZ_THROW(text.Prepend(kNoNarrow, 2), 256);
}

TEST(StringAppend, NumbersAreDecimal)
{
    EXPECT_EQ(Appended(-5), "=-5");
    EXPECT_EQ(Appended(4294967295u), "=4294967295");
    EXPECT_EQ(Appended(-9223372036854775807ll - 1), "=-9223372036854775808");
    EXPECT_EQ(Appended(18446744073709551615ull), "=18446744073709551615");
    EXPECT_EQ(Appended(0.25), "=0.25");
    EXPECT_EQ(Appended(2.0), "=2");
    EXPECT_EQ(Appended(1.5f), "=1.5");
    EXPECT_EQ(Appended(0), "=0");
}

TEST(StringAppend, OfASingleUnitAppendsItsNumber)
{
    QZString text;
    text.Append('a');
    text.Append(QZ_W('b'));
    EXPECT_QZ_TEXT(text, "9798");
}

TEST(StringPrepend, TakesEveryKindOfText)
{
    QZString text;
    QZString other(QZ_W("other"));
    text.Prepend(&other);
    text.Prepend("n|");
    text.Prepend("a|narrow", 2);
    text.Prepend(QZ_W("w|"));
    text.Prepend(QZ_W("i|wide"), 4);
    EXPECT_QZ_TEXT(text, "i|w|a|n|other");
    EXPECT_TRUE(text.Check());
}

TEST(StringPrepend, NumbersAreDecimal)
{
    EXPECT_EQ(Prepended(-5), "-5=");
    EXPECT_EQ(Prepended(7u), "7=");
    EXPECT_EQ(Prepended(-7ll), "-7=");
    EXPECT_EQ(Prepended(7ull), "7=");
    EXPECT_EQ(Prepended(0.25), "0.25=");
    EXPECT_EQ(Prepended(0.5f), "0.5=");
}

TEST(StringPrepend, UsesTheHeadRoomUntilTwoBytesAreLeft)
{
    QZString text(QZ_W("end"));
    const QZWChar* before = text.GetPointer();
    text.Prepend(QZ_W("0123456789012345678901234567890"));  // 31 units, 62 bytes
    EXPECT_EQ(Offset(text), 2);
    EXPECT_EQ(text.GetPointer() + 31, before);
    text.Prepend(QZ_W("x"));  // needs 2 bytes, and more than 2 must be left
    EXPECT_EQ(Offset(text), 2);
    EXPECT_QZ_TEXT(text, "x0123456789012345678901234567890end");
    EXPECT_TRUE(text.Check());
}

TEST(StringPrepend, OfAStringToItselfDoublesIt)
{
    QZString text(QZ_W("ab"));
    text.Prepend(&text);
    EXPECT_QZ_TEXT(text, "abab");
    for (int i = 0; i < 6; ++i) text.Prepend(&text);
    EXPECT_EQ(text.GetLength(), 256);
    EXPECT_TRUE(text.Check());
    text.SubStringThis(252, 4);
    EXPECT_QZ_TEXT(text, "abab");
}

TEST(StringInsert, InsertsBeforeTheUnit)
{
    QZString text(QZ_W("ad"));
    QZString other(QZ_W("b"));
    text.Insert(1, &other);
    text.Insert(2, static_cast<QZWChar>('c'));
    text.Insert(0, "<");
    text.Insert(5, QZ_W(">"));
    EXPECT_QZ_TEXT(text, "<abcd>");
}

TEST(StringInsert, OfNullDoesNothing)
{
    QZString text(QZ_W("ab"));
    text.Insert(1, kNoString);
    text.Insert(1, kNoNarrow);
    text.Insert(1, kNoWide);
    text.Insert(1, QZ_W(""));
    EXPECT_QZ_TEXT(text, "ab");
}

TEST(StringInsert, OfAStringIntoItself)
{
    QZString text(QZ_W("abc"));
    text.Insert(1, &text);
    EXPECT_QZ_TEXT(text, "aabcbc");
}

TEST(StringInsert, IndexOutOfRangeIsNotRefused)
{
    QZString pastEnd(QZ_W("abc"));
    pastEnd.Insert(4, QZ_W("xyz"));
    EXPECT_EQ(pastEnd.GetLength(), 6);
    EXPECT_BYTES(pastEnd.GetPointer(), 14, "6100 6200 6300 0000 7800 7900 0000");
    EXPECT_TRUE(pastEnd.Check());

    QZString before(QZ_W("abc"));
    before.Insert(-1, QZ_W("xy"));
    EXPECT_EQ(before.GetLength(), 5);
    EXPECT_BYTES(before.GetPointer(), 12, "7900 0000 6100 6200 6300 0000");

    QZString far(QZ_W("abc"));
    far.Insert(0x7FFFFFFFFFFFFFFF, QZ_W("x"));
    EXPECT_EQ(far.GetLength(), 4);
    far.Insert(-0x7FFFFFFFFFFFFFFF, QZ_W("x"));
    EXPECT_EQ(far.GetLength(), 5);
    EXPECT_TRUE(far.Check());
}

TEST(StringReplace, MakesANewString)
{
    QZString text(QZ_W("one two one"));
    EXPECT_EQ(Taken(text.Replace(QZ_W("one"), QZ_W("1"))), "1 two 1");
    EXPECT_EQ(Taken(text.Replace("two", "zwei")), "one zwei one");
    QZString find(QZ_W("o"));
    QZString with(QZ_W("00"));
    EXPECT_EQ(Taken(text.Replace(&find, &with)), "00ne tw00 00ne");
    EXPECT_QZ_TEXT(text, "one two one");
}

TEST(StringReplace, MatchesDoNotOverlap)
{
    QZString text(QZ_W("aaaaa"));
    EXPECT_EQ(Taken(text.Replace(QZ_W("aa"), QZ_W("b"))), "bba");
}

TEST(StringReplace, MatchesWholeUnitsOnly)
{
    // The bytes 61 00 lie across the units 6100 and 6200 and must not match the unit 0061.
    const QZWChar units[] = {0x6100, 0x6200, 0};
    QZString text(units);
    const QZWChar find[] = {0x0061, 0};
    QZString* copy = text.Replace(find, QZ_W("x"));
    EXPECT_TRUE(copy->Equals(&text));
    QZString::Recycle(&copy);
}

TEST(StringReplace, NullOrEmptyFindReturnsACopy)
{
    QZString text(QZ_W("abc"));
    EXPECT_EQ(Taken(text.Replace(kNoWide, QZ_W("x"))), "abc");
    EXPECT_EQ(Taken(text.Replace(QZ_W(""), QZ_W("x"))), "abc");
    EXPECT_EQ(Taken(text.Replace(kNoNarrow, kNoNarrow)), "abc");
    EXPECT_EQ(Taken(text.Replace(kNoString, &text)), "abc");
    text.ReplaceThis(kNoString, &text);
    EXPECT_QZ_TEXT(text, "abc");
}

TEST(StringReplace, NullOrEmptyWithRemovesTheMatches)
{
    QZString text(QZ_W("a-b-c"));
    EXPECT_EQ(Taken(text.Replace(QZ_W("-"), kNoWide)), "abc");
    EXPECT_EQ(Taken(text.Replace("-", "")), "abc");
    EXPECT_EQ(Taken(text.Replace(QZ_W("a-b-c"), QZ_W(""))), "");
}

TEST(StringReplace, EmptyStringStaysEmpty)
{
    QZString text;
    EXPECT_EQ(Taken(text.Replace(QZ_W("a"), QZ_W("b"))), "");
    EXPECT_EQ(Taken(text.Replace(kNoWide, kNoWide)), "");
    text.ReplaceThis("a", "b");
    EXPECT_EQ(text.GetLength(), 0);
}

TEST(StringReplace, InPlaceWithoutAMatchKeepsTheAddress)
{
    QZString text(QZ_W("abc"));
    const QZWChar* before = text.GetPointer();
    text.ReplaceThis(QZ_W("x"), QZ_W("yy"));
    text.ReplaceThis(kNoWide, QZ_W("yy"));
    text.ReplaceThis(QZ_W(""), QZ_W("yy"));
    EXPECT_QZ_TEXT(text, "abc");
    EXPECT_EQ(text.GetPointer(), before);
}

TEST(StringReplace, InPlace)
{
    QZString text(QZ_W("a.b.c"));
    text.ReplaceThis(QZ_W("."), QZ_W("::"));
    EXPECT_QZ_TEXT(text, "a::b::c");
    text.ReplaceThis("::", ",");
    EXPECT_QZ_TEXT(text, "a,b,c");
    QZString comma(QZ_W(","));
    text.ReplaceThis(&comma, &text);
    EXPECT_QZ_TEXT(text, "aa,b,cba,b,cc");
    text.ReplaceThis(&text, &comma);
    EXPECT_QZ_TEXT(text, ",");
}

TEST(StringSubString, CountsUnits)
{
    QZString text(QZ_W("abcdef"));
    EXPECT_EQ(Taken(text.SubString(0, 6)), "abcdef");
    EXPECT_EQ(Taken(text.SubString(2, 3)), "cde");
    EXPECT_EQ(Taken(text.SubString(0, 0)), "");
    EXPECT_EQ(Taken(text.SubString(6, 0)), "");
    text.SubStringThis(1, 4);
    EXPECT_QZ_TEXT(text, "bcde");
    text.SubStringThis(0, 0);
    EXPECT_QZ_TEXT(text, "");
}

TEST(StringSubString, OutsideTheTextThrows256)
{
    QZString text(QZ_W("ab"));
    EXPECT_QZ_THROW(text.SubString(2, 1), 256);
    EXPECT_QZ_THROW(text.SubString(-1, 1), 256);
    EXPECT_QZ_THROW(text.SubString(0, -1), 256);
    EXPECT_QZ_THROW(text.SubString(3, 0), 256);
    EXPECT_QZ_THROW(text.SubString(1, 0x7FFFFFFFFFFFFFFF), 256);
    EXPECT_QZ_THROW(text.SubStringThis(2, 1), 256);
    EXPECT_QZ_TEXT(text, "ab");
    qztest::Thrown thrown = QZ_TEST_CATCH(text.SubString(2, 1));
    EXPECT_EQ(thrown.message, " ArgumentOutOfRange");
    EXPECT_EQ(thrown.stackTrace, "QZString::SubString(QZInt64, QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZString::SubString(2, 1)");
}

TEST(StringCase, ConvertsAsciiLettersOnly)
{
    QZString text("aZ[`{@\xC3\xA9\xC3\x89", 6);
    text.Append(QZ_W("\u00E9\u00C9"));
    EXPECT_EQ(Taken(text.ToUpper()), "AZ[`{@\xC3\xA9\xC3\x89");
    EXPECT_EQ(Taken(text.ToLower()), "az[`{@\xC3\xA9\xC3\x89");
    EXPECT_QZ_TEXT(text, "aZ[`{@\xC3\xA9\xC3\x89");
    text.ToUpperThis();
    EXPECT_QZ_TEXT(text, "AZ[`{@\xC3\xA9\xC3\x89");
    text.ToLowerThis();
    EXPECT_QZ_TEXT(text, "az[`{@\xC3\xA9\xC3\x89");
}

TEST(StringTrim, RemovesSevenKindsOfWhiteSpace)
{
    const QZWChar units[] = {0, ' ', '\t', '\n', '\r', '\v', '\f', 'a', ' ', 'b', '\f', 0, ' '};
    QZString text(units, sizeof units);
    EXPECT_EQ(Taken(text.Trim()), "a b");
    EXPECT_EQ(text.GetLength(), 13);
    text.TrimThis();
    EXPECT_QZ_TEXT(text, "a b");
}

TEST(StringTrim, KeepsOtherSpaces)
{
    QZString text(QZ_W("\u00A0a\u3000"));
    text.TrimThis();
    EXPECT_EQ(text.GetLength(), 3);
}

TEST(StringTrim, OfWhiteSpaceAloneIsEmpty)
{
    QZString text(QZ_W(" \t "));
    EXPECT_EQ(Taken(text.Trim()), "");
    text.TrimThis();
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_EQ(Taken(text.Trim()), "");
}

TEST(StringTrim, OfADamagedStringThrows512)
{
    QZString text(QZ_W(" abc "));
    unsigned char* guard = QZAt(text.GetStructPointer(), 120);
    QZUInt64 kept = QZLoad<QZUInt64>(guard);
    ASSERT_EQ(kept, 0xFFFF000000000000ull);
    QZStore<QZUInt64>(guard, 0);
    EXPECT_QZ_THROW(text.Trim(), 512);
    EXPECT_QZ_THROW(text.TrimThis(), 512);
    QZStore<QZUInt64>(guard, kept);
    EXPECT_EQ(Taken(text.Trim()), "abc");
}
