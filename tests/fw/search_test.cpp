#include "fw/fw_search.h"

#include "fw/internal/fw_data_find.h"
#include "support/qz_test.h"

TEST(Search, FindsEveryMatchInOrder)
{
    QZSearch search("ab-ab-ab", 8, "ab", 2);
    EXPECT_EQ(search.GetType(), 0x81E0000);
    EXPECT_EQ(search.New(), 0);
    EXPECT_EQ(search.Continue(), 3);
    EXPECT_EQ(search.Continue(), 6);
    EXPECT_EQ(search.Continue(), -1);
    EXPECT_EQ(search.New(), 0);
}

TEST(Search, MatchesDoNotOverlap)
{
    QZSearch search("aaaaa", 5, "aa", 2);
    EXPECT_EQ(search.New(), 0);
    EXPECT_EQ(search.Continue(), 2);
    EXPECT_EQ(search.Continue(), -1);
}

TEST(Search, ContinueAfterAMissStartsAtPatternSizeMinusOne)
{
    QZSearch search("xab", 3, "ab", 2);
    EXPECT_EQ(search.New(), 1);
    EXPECT_EQ(search.Continue(), -1);
    EXPECT_EQ(search.Continue(), 1);
}

TEST(Search, StaticFormSearchesFromTheStart)
{
    EXPECT_EQ(QZSearch::New("abcabc", 6, "c", 1), 2);
    EXPECT_EQ(QZSearch::New("abcabc", 6, "d", 1), -1);
    EXPECT_EQ(QZSearch::New("abc", 3, "abcd", 4), -1);
    EXPECT_EQ(QZSearch::New("", 0, "a", 1), -1);
    EXPECT_EQ(QZSearch::New("a", 1, "", 0), -1);
}

TEST(Search, NullIsFoundAtZero)
{
    EXPECT_EQ(QZSearch::New(nullptr, 3, "a", 1), 0);
    EXPECT_EQ(QZSearch::New("abc", 3, nullptr, 1), 0);
}

TEST(Search, EndOfTheDataIsRespected)
{
    // The match at 4 begins inside the data and ends outside.
    EXPECT_EQ(QZSearch::New("xxxxab", 5, "ab", 2), -1);
    EXPECT_EQ(QZSearch::New("xxxxab", 6, "ab", 2), 4);
}

TEST(BytesFind, UnitOfTwoMatchesEvenPositionsOnly)
{
    EXPECT_EQ(QZBytesFind("xabxab", 6, "ab", 2, 1), 1);
    EXPECT_EQ(QZBytesFind("xabxab", 6, "ab", 2, 2), 4);
    EXPECT_EQ(QZBytesFind("xab", 3, "ab", 2, 2), -1);
}

TEST(BytesReplace, UnitOfTwoMatchesEvenPositionsOnly)
{
    char target[16] = {};
    EXPECT_EQ(QZBytesReplace(target, "xabxab", 6, "ab", 2, "--", 2, 2), 6);
    EXPECT_EQ(std::string(target, 6), "xabx--");
    EXPECT_EQ(QZBytesReplace(target, "xabxab", 6, "ab", 2, "", 0, 1), 2);
    EXPECT_EQ(std::string(target, 2), "xx");
}
