#include <limits>
#include <string_view>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/without_memory.h"
#include "support/qz_test.h"

namespace
{

QZData Of(std::string_view text) { return QZData(text.data(), static_cast<QZInt64>(text.size())); }

std::string Text(const QZData& data)
{
    return std::string(static_cast<const char*>(data.GetPointer()), static_cast<std::size_t>(data.GetSize()));
}

/// Calls Replace, returns the text of the result and recycles the result.
std::string Replaced(QZData& source, std::string_view find, std::string_view with)
{
    QZData pattern = Of(find);
    QZData substitute = Of(with);
    QZData* result = source.Replace(&pattern, &substitute);
    std::string text = Text(*result);
    QZData::Recycle(&result);
    return text;
}

/// The pieces with "|" between them.
std::string Pieces(std::string_view text, std::string_view separator)
{
    QZData source = Of(text);
    QZData mark = Of(separator);
    QZDataCollection* pieces = source.Split(&mark);
    std::string all;
    for (QZInt64 i = 0; i < pieces->Count(); ++i) all += (i ? "|" : "") + Text(*pieces->GetElement(i));
    QZData::Recycle(&pieces);
    EXPECT_EQ(pieces, nullptr);
    return all;
}

}  // namespace

// ---- Find

TEST(Data, FindReturnsTheFirstPosition)
{
    QZData data("abcabcabd", 9);
    QZData pattern("abd", 3);
    EXPECT_EQ(data.Find(&pattern), 6);
    EXPECT_EQ(data.Find("abc", 3), 0);
    EXPECT_EQ(data.Find("c", 1), 2);
    EXPECT_EQ(data.Find("x", 1), -1);
    EXPECT_EQ(data.Find("abcabcabdx", 10), -1);
    EXPECT_EQ(data.Find("", 0), -1);
    QZData empty;
    EXPECT_EQ(empty.Find("a", 1), -1);
}

TEST(Data, FindOfANullPatternIsZero)
{
    QZData data("abc", 3);
    EXPECT_EQ(data.Find(static_cast<void*>(nullptr), 2), 0);
    EXPECT_EQ(data.Find(static_cast<QZData*>(nullptr)), 0);
}

TEST(Data, FindNextContinuesAfterTheLastMatch)
{
    QZData data("aaaaa", 5);
    QZData pattern("aa", 2);
    EXPECT_EQ(data.Find(&pattern), 0);
    EXPECT_EQ(data.FindNext(&pattern), 2);
    EXPECT_EQ(data.FindNext(&pattern), -1);
}

TEST(Data, FindNextWithoutAMatchBeforeStartsAtPatternSizeMinusOne)
{
    QZData data("abab", 4);
    QZData pattern("ab", 2);
    EXPECT_EQ(data.FindNext(&pattern), 2);
    EXPECT_EQ(data.FindNext(&pattern), -1);
    EXPECT_EQ(data.FindNext(&pattern), 2);
    QZData single("b", 1);
    QZData other("bcb", 3);
    EXPECT_EQ(other.FindNext(&single), 0);
}

TEST(Data, FindNextSkipsByTheSizeOfItsOwnPattern)
{
    QZData data("abcdeabcde", 10);
    EXPECT_EQ(data.Find("a", 1), 0);
    QZData pattern("bcde", 4);
    EXPECT_EQ(data.FindNext(&pattern), 6);
}

TEST(Data, SetResetsTheSearchPosition)
{
    QZData data("aaaa", 4);
    QZData pattern("a", 1);
    data.Find(&pattern);
    data.FindNext(&pattern);
    EXPECT_EQ(data.FindNext(&pattern), 2);
    data.Set("aaaa", 4);
    EXPECT_EQ(data.FindNext(&pattern), 0);
}

// ---- Replace and split

TEST(Data, ReplaceReturnsANewBufferAndKeepsTheSource)
{
    QZData data("one two one", 11);
    EXPECT_EQ(Replaced(data, "one", "three"), "three two three");
    EXPECT_EQ(Replaced(data, "one", "1"), "1 two 1");
    EXPECT_EQ(Replaced(data, "one", ""), " two ");
    EXPECT_EQ(Replaced(data, "one two one", "x"), "x");
    EXPECT_EQ(Text(data), "one two one");
}

TEST(Data, ReplaceWithoutAMatchReturnsACopy)
{
    QZData data("abc", 3);
    EXPECT_EQ(Replaced(data, "x", "yyyy"), "abc");
    EXPECT_EQ(Replaced(data, "abcd", "y"), "abc");
}

TEST(Data, ReplacedMatchesDoNotOverlap)
{
    QZData data("aaaaa", 5);
    EXPECT_EQ(Replaced(data, "aa", "b"), "bba");
    EXPECT_EQ(Replaced(data, "aa", "aaa"), "aaaaaaa");
}

TEST(Data, ReplaceInEmptyDataIsEmpty)
{
    QZData data;
    EXPECT_EQ(Replaced(data, "a", "b"), "");
}

TEST(Data, ReplaceWithRawBytes)
{
    QZData data("a-b-c", 5);
    QZData* result = data.Replace("-", 1, "::", 2);
    EXPECT_EQ(Text(*result), "a::b::c");
    QZData::Recycle(&result);
    result = data.Replace("-", 1, nullptr, 0);
    EXPECT_EQ(Text(*result), "abc");
    QZData::Recycle(&result);
    EXPECT_EQ(result, nullptr);
}

TEST(Data, ReplaceWithNullPointersReturnsEmptyAndSetsTheLastError)
{
    QZData data("a-b", 3);
    QZLastError = 0;
    QZData* result = data.Replace("-", 1, nullptr, 2);
    EXPECT_EQ(result->GetSize(), 0);
    EXPECT_EQ(QZLastError, 256);
    QZData::Recycle(&result);
    QZLastError = 0;
    result = data.Replace(nullptr, 1, "x", 1);
    EXPECT_EQ(result->GetSize(), 0);
    EXPECT_EQ(QZLastError, 256);
    QZData::Recycle(&result);
    QZLastError = 0;
}

TEST(Data, ReplaceResetsTheSearchPosition)
{
    QZData data("abab", 4);
    QZData pattern("b", 1);
    EXPECT_EQ(data.Find(&pattern), 1);
    Replaced(data, "x", "y");
    EXPECT_EQ(data.FindNext(&pattern), 1);
}

TEST(Data, FailedReplaceNamesClassMethodAndTypes)
{
    QZData data("abc", 3);
    QZData empty;
    QZData with("\x01\xFF", 2);
    const qztest::Thrown thrown = qztest::Catch([&] { data.Replace(&empty, &with); });
    EXPECT_EQ(thrown.code, 256);
    EXPECT_EQ(thrown.stackTrace, "QZData::Replace(QZData*, QZData*)");
}

TEST(Data, SplitAlwaysAddsTheLastPiece)
{
    EXPECT_EQ(Pieces("a,b,", ","), "a|b|");
    EXPECT_EQ(Pieces(",", ","), "|");
    EXPECT_EQ(Pieces("abc", ","), "abc");
    EXPECT_EQ(Pieces("", ","), "");
    EXPECT_EQ(Pieces("a::b::::c", "::"), "a|b||c");
    EXPECT_EQ(Pieces("aaa", "aa"), "|a");
    EXPECT_EQ(Pieces("abc", ""), "abc");
}

TEST(Data, SplitOfEmptyDataIsOneEmptyPiece)
{
    QZData source;
    QZData mark(",", 1);
    QZDataCollection* pieces = source.Split(&mark);
    ASSERT_EQ(pieces->Count(), 1);
    EXPECT_EQ(pieces->GetElement(0)->GetSize(), 0);
    EXPECT_EQ(pieces->GetElement(0)->GetType(), QZData::Type);
    source.Recycle(&pieces);
}

TEST(Data, ReplaceWithoutMemoryNamesBothByteStrings)
{
    QZData data(8000);
    data.Fill(static_cast<QZByte>(0x01));
    QZData find("\x01\x02", 2);
    QZData with("\xFF\xFF\xFF\xFF", 4);
    QZData* idle = QZDataFactory::CreateData();
    QZDataFactory::Recycle(&idle);
    QZLastError = 0;
    const qztest::Thrown thrown = qztest::WithoutMemory([&] { data.Replace(&find, &with); });
    EXPECT_EQ(thrown.code, 4352);
    EXPECT_EQ(thrown.stackTrace, "QZData::Replace(QZData*, QZData*)");
    EXPECT_EQ(thrown.argumentTrace, "QZData::Replace(<HEX>0102, <HEX>FFFFFFFF)");
    QZLastError = 0;
    EXPECT_QZ_THROW(data.Replace("\x01", 1, "", std::numeric_limits<QZInt64>::max()), 4352);
    QZLastError = 0;
}

TEST(Data, SplitWithoutMemoryAddsItsFrameAndRecyclesThePieces)
{
    QZData data(20000);
    QZData mark(",", 1);
    QZDataFactory::Collect(0);
    QZLastError = 0;
    // The caches hold a collection and a piece, so that only the bytes of the piece need memory.
    QZDataCollection* pieces = QZDataFactory::CreateDataCollection();
    QZDataFactory::Recycle(&pieces);
    QZData* idle = QZDataFactory::CreateData();
    QZDataFactory::Recycle(&idle);
    const QZInt64 before = QZDataFactory::GetMemorySize();
    const qztest::Thrown thrown = qztest::WithoutMemory([&] { data.Split(&mark); });
    EXPECT_EQ(thrown.code, 4352);
    EXPECT_EQ(thrown.stackTrace, "QZData::NewSize(QZInt64)\r\nQZData::Split(QZData*)");
    EXPECT_EQ(thrown.argumentTrace, "QZData::NewSize(20000)\r\nQZData::Split(<HEX>2C)");
    EXPECT_EQ(QZDataFactory::GetMemorySize(), before);
    QZLastError = 0;
}

TEST(Data, FailedFindResetsTheSearchPosition)
{
    QZData data("abab", 4);
    QZData pattern("b", 1);
    EXPECT_EQ(data.Find("b", 1), 1);
    EXPECT_EQ(data.Find("x", 1), -1);
    EXPECT_EQ(data.FindNext(&pattern), 1);
    // A search for a null pattern finds it at 0.
    EXPECT_EQ(data.Find(static_cast<void*>(nullptr), 1), 0);
    EXPECT_EQ(data.FindNext(&pattern), 1);
    EXPECT_EQ(data.Find("ab", -1), -1);
}

TEST(Data, ReplaceWithNegativeLengthsIsEmptyOrOutOfMemory)
{
    QZData data("abcdefghij", 10);
    QZLastError = 0;
    // The buffer is sized as 10 + 10 / 1 * |-1 - 1|, and nothing is written into it.
    QZData* result = data.Replace("a", 1, "x", -1);
    EXPECT_EQ(result->GetSize(), 0);
    EXPECT_EQ(QZLastError, 256);
    QZData::Recycle(&result);
    QZLastError = 0;
    // 10 + 10 / -2 * |1 + 2| is negative, which no buffer can have as its size.
    EXPECT_QZ_THROW(data.Replace("a", -2, "x", 1), 4352);
    // 10 / -20 is 0: the buffer has the size of the source, and nothing is written into it.
    result = data.Replace("a", -20, "x", 1);
    EXPECT_EQ(result->GetSize(), 0);
    EXPECT_EQ(QZLastError, 256);
    QZData::Recycle(&result);
    QZLastError = 0;
}

TEST(Data, SplitAndReplaceCopyBinaryBytes)
{
    const std::string_view bytes("\0\1\0\0\1\2", 6);
    EXPECT_EQ(Pieces(bytes, std::string_view("\0\1", 2)), std::string("|\0|\2", 4));
    QZData data = Of(bytes);
    EXPECT_EQ(Replaced(data, std::string_view("\0", 1), ""), std::string("\1\1\2", 3));
}
