#include "codec/cod_unique.h"

#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "fw/fw_data.h"
#include "fw/fw_string.h"
#include "fw/fw_time.h"
#include "support/qz_test.h"

namespace
{

std::string Code(QZUniqueCode& code, QZInt64 length)
{
    QZString* text = code.GetCode(length);
    const std::string result = qztest::Utf8(text);
    QZUniqueCode::Recycle(&text);
    EXPECT_EQ(text, nullptr);
    return result;
}

}  // namespace

TEST(UniqueCode, TypeIsUniqueCode)
{
    QZUniqueCode code;
    EXPECT_EQ(code.GetType(), 0x8300008);
    EXPECT_EQ(QZUniqueCode::Type, 0x8300008);
}

TEST(UniqueCode, NoInputGivesZeros)
{
    QZUniqueCode code;
    EXPECT_EQ(Code(code, 4), "0000");
    EXPECT_EQ(Code(code, 10), "0000000000");
}

TEST(UniqueCode, EachByteIsASumOfEightInputBytes)
{
    QZUniqueCode code;
    code.Append("\x02\x03\x05", 3);
    // Two sums over the sixteen input bytes 2 3 5 2 3 5 ...: 2+5+3+2+5+3+2+5 = 27, 3+2+5+3+2+5+3+2 = 25.
    EXPECT_EQ(Code(code, 4), "1B19");
}

TEST(UniqueCode, SingleDigitSumIsFollowedByAZero)
{
    QZUniqueCode code;
    code.Append("\x01\x20", 2);
    // 8 * 1 = 8, and 8 * 0x20 = 0x100, which wraps to 0.
    EXPECT_EQ(Code(code, 4), "8000");
    code.Clear();
    code.Append("\x02\x01", 2);
    EXPECT_EQ(Code(code, 4), "1080") << "16 has two digits, 8 has one";
}

TEST(UniqueCode, OnlyTheFirstBytesOfALongInputAreUsed)
{
    QZUniqueCode code;
    const std::string head(16, '\x03');
    code.Append(head.data(), 16);
    EXPECT_EQ(Code(code, 4), "1818");
    code.Append("anything", 8);
    EXPECT_EQ(Code(code, 4), "1818");
    EXPECT_NE(Code(code, 6), "181818");
}

TEST(UniqueCode, OddLengthsAreRoundedDown)
{
    QZUniqueCode code;
    code.Append("\x03", 1);
    EXPECT_EQ(Code(code, 5), "1818");
    EXPECT_EQ(Code(code, 7), "181818");
}

TEST(UniqueCode, SameInputGivesTheSameCode)
{
    QZUniqueCode code;
    QZString text(QZ_W("device 17"));
    code.Append(&text);
    const std::string first = Code(code, 8);
    EXPECT_EQ(first.size(), 8u);
    EXPECT_EQ(Code(code, 8), first);
    QZUniqueCode other;
    other.Append(&text);
    EXPECT_EQ(Code(other, 8), first);
}

TEST(UniqueCode, TextNumbersAndTimesAreUsedAsUtf16Text)
{
    QZUniqueCode text;
    QZString digits(QZ_W("-15"));
    text.Append(&digits);
    QZUniqueCode number;
    number.Append(-15);
    QZUniqueCode bytes;
    bytes.Append(
        "-\0"
        "1\0"
        "5\0",
        6);
    QZUniqueCode data;
    QZData raw(
        "-\0"
        "1\0"
        "5\0",
        6);
    data.Append(&raw);
    QZUniqueCode moment;
    QZDateTime time(-15);
    moment.Append(&time);
    // The bytes 2D 00 31 00 35 00 give three sums: (2D + 00) * 4 = B4, (00 + 31) * 4 = C4 and D4.
    // Sum 0 takes bytes 0 3 0 3 ..., sum 1 takes 1 4 1 4 ..., sum 2 takes 2 5 2 5 ...
    const std::string expected = "B4D4C4";
    for (QZUniqueCode* code : {&text, &number, &bytes, &data, &moment}) EXPECT_EQ(Code(*code, 6), expected);
}

TEST(UniqueCode, InputAccumulates)
{
    QZUniqueCode pieces;
    pieces.Append("ab", 2);
    pieces.Append("c", 1);
    QZUniqueCode whole;
    whole.Append("abc", 3);
    EXPECT_EQ(Code(pieces, 12), Code(whole, 12));
    pieces.Clear();
    EXPECT_EQ(Code(pieces, 4), "0000");
}

TEST(UniqueCode, SaltStaysInTheInput)
{
    QZUniqueCode salted;
    QZUniqueCode plain;
    plain.Append(144);
    for (const QZInt64 salt : {12, -12})
    {
        salted.Clear();
        QZString* code = salted.GetCode(16, salt);
        EXPECT_QZ_TEXT(code, Code(plain, 16));
        QZUniqueCode::Recycle(&code);
        EXPECT_EQ(Code(salted, 16), Code(plain, 16));
    }
    QZString* again = salted.GetCode(16, 12);
    plain.Append(144);
    EXPECT_QZ_TEXT(again, Code(plain, 16));
    QZUniqueCode::Recycle(&again);
}

TEST(UniqueCode, SaltIsAppendedEvenWhenTheLengthIsInvalid)
{
    QZUniqueCode salted;
    EXPECT_QZ_THROW(salted.GetCode(3, 12), QZExceptionCode::ArgumentOutOfRange);
    QZUniqueCode plain;
    plain.Append(144);
    EXPECT_EQ(Code(salted, 16), Code(plain, 16));
}

TEST(UniqueCode, SquaresOfLargeSaltsWrap)
{
    QZUniqueCode salted;
    QZString* code = salted.GetCode(16, 0x100000001LL);
    QZUniqueCode plain;
    plain.Append(0x200000001LL);
    EXPECT_QZ_TEXT(code, Code(plain, 16));
    QZUniqueCode::Recycle(&code);
}

TEST(UniqueCode, LengthsBelowFourThrow)
{
    QZUniqueCode code;
    char buffer[8] = "before.";
    for (const QZInt64 length : {3, 0, -4})
    {
        EXPECT_QZ_THROW(code.GetCode(length), QZExceptionCode::ArgumentOutOfRange);
        EXPECT_QZ_THROW(code.GetCode(buffer, length), QZExceptionCode::ArgumentOutOfRange);
    }
    EXPECT_STREQ(buffer, "before.");
}

TEST(UniqueCode, WritingToABufferAddsNoTerminator)
{
    QZUniqueCode code;
    code.Append("\x02\x03\x05", 3);
    char buffer[8];
    std::memset(buffer, '.', sizeof(buffer));
    code.GetCode(buffer, 5);
    EXPECT_EQ(std::string(buffer, 8), "1B19....");
}

TEST(UniqueCode, NullTextAddsNothingAndOtherNullPointersThrow)
{
    QZUniqueCode code;
    code.Append(static_cast<QZString*>(nullptr));
    EXPECT_EQ(Code(code, 4), "0000");
    EXPECT_QZ_THROW(code.Append(static_cast<QZData*>(nullptr)), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_QZ_THROW(code.Append(static_cast<QZDateTime*>(nullptr)), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_QZ_THROW(code.Append("a", -1), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_EQ(Code(code, 4), "0000");
}

TEST(UniqueCode, CopiesHaveTheirOwnInput)
{
    QZUniqueCode code;
    code.Append("\x03", 1);
    QZUniqueCode copy(code);
    QZUniqueCode assigned;
    assigned.Append("x", 1);
    assigned = code;
    code.Clear();
    EXPECT_EQ(Code(copy, 4), "1818");
    EXPECT_EQ(Code(assigned, 4), "1818");
    EXPECT_EQ(Code(code, 4), "0000");
}

TEST(UniqueCode, ThreadsMayAppendToOneInput)
{
    QZUniqueCode code;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&code]() {
            for (int j = 0; j < 1000; ++j) code.Append("\x01", 1);
        });
    for (std::thread& thread : threads) thread.join();
    // 500 sums over 4000 bytes of value 1: each is 8.
    std::string expected;
    for (int i = 0; i < 500; ++i) expected += "80";
    EXPECT_EQ(Code(code, 1000), expected);
    // 4001 bytes: one of the 501 sums ends with the byte after the ones.
    code.Append("\x02", 1);
    EXPECT_EQ(Code(code, 1002).substr(0, 4), "8080");
}
