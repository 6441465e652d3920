#include "db/engine_fixture.h"

using qztest::EngineTest;
using qztest::kSideThis;
using Info = QZDatabaseInfo;
using Records = std::vector<QZInt64>;

namespace
{

/// Each test runs with 4-byte and with 8-byte addresses.
class LinkTest : public EngineTest, public ::testing::WithParamInterface<QZInt64>
{
protected:
    void SetUp() override
    {
        Fresh(GetParam());
        m_hd = Data()->NewHD(0);
        for (const char* text : {"one", "two", "three", "four", "five"})
            m_records.push_back(Data()->NewCD(m_hd, text, 3));
    }

    /// The records with these numbers, counted from 1.
    Records Of(std::initializer_list<int> numbers)
    {
        Records records;
        for (const int number : numbers) records.push_back(m_records[static_cast<std::size_t>(number - 1)]);
        return records;
    }

    QZInt64 Record(int number) { return m_records[static_cast<std::size_t>(number - 1)]; }
    QZInt64 End(QZInt64 record) { return Read()->ReadData(kSideThis, record, Info::DATA_END); }
    QZInt64 A() { return Address()->Length(); }

    QZInt64 m_hd = 0;
    Records m_records;
};

INSTANTIATE_TEST_SUITE_P(Modes, LinkTest, ::testing::Values(2, 3));

}  // namespace

TEST_P(LinkTest, UnlinkInTheMiddle)
{
    Link()->Unlink(Record(3));
    ExpectConsistent(m_hd, Of({1, 2, 4, 5}));
    EXPECT_EQ(Read()->ReadData(kSideThis, Record(3), Info::DATA_PREV), End(Record(2)))
        << "the fields of the removed record must not change";
    EXPECT_EQ(Read()->Next(Record(3)), Record(4));
}

TEST_P(LinkTest, UnlinkFirstAndLast)
{
    Link()->Unlink(Record(1));
    ExpectConsistent(m_hd, Of({2, 3, 4, 5}));
    Link()->Unlink(Record(5));
    ExpectConsistent(m_hd, Of({2, 3, 4}));
}

TEST_P(LinkTest, UnlinkOfAllRecordsLeavesAnEmptyHead)
{
    for (const int number : {2, 3, 4, 5, 1}) Link()->Unlink(Record(number));
    ExpectConsistent(m_hd, {});
    EXPECT_EQ(Read()->ReadHD(kSideThis, m_hd, Info::HD_END), m_hd + 4 * A() + 1);
    EXPECT_EQ(Read()->ReadHD(kSideThis, m_hd, Info::HD_LASTDATA), 0);
    // The closing frame of the longer list stays in the file.
    EXPECT_EQ(Read()->Mark(End(Record(5)) + 2 * A()), '^');
    EXPECT_EQ(Console()->GetErrorCount(), 0);
    const QZInt64 again = Data()->NewCD(m_hd, "", 0);
    ExpectConsistent(m_hd, {again});
}

TEST_P(LinkTest, AppendAfterUnlinkOfTheLastRecord)
{
    Link()->Unlink(Record(5));
    const QZInt64 added = Data()->NewAD(m_hd, 1);
    Records expected = Of({1, 2, 3, 4});
    expected.push_back(added);
    ExpectConsistent(m_hd, expected);
}

// ---------------------------------------------------------------------------------------------------------------------
// Join by marks

TEST_P(LinkTest, JoinOfARecordWithZeroEndsTheList)
{
    Link()->Join(End(Record(2)), 0);
    ExpectConsistent(m_hd, Of({1, 2}));
}

TEST_P(LinkTest, JoinOfARecordWithAHeadEndsTheList)
{
    Link()->Join(End(Record(2)), 31);
    ExpectConsistent(m_hd, Of({1, 2}));
}

TEST_P(LinkTest, JoinOfAHeadWithZeroOrAHeadEmptiesTheList)
{
    Link()->Join(m_hd, 31);
    ExpectConsistent(m_hd, {});
    m_records.clear();
    m_records.push_back(Data()->NewCD(m_hd, "", 0));
    Link()->Join(m_hd, 0);
    ExpectConsistent(m_hd, {});
}

TEST_P(LinkTest, JoinOfAHeadWithARecordMakesTheRecordFirst)
{
    Link()->Join(m_hd, Record(4));
    ExpectConsistent(m_hd, Of({4, 5}));
}

TEST_P(LinkTest, JoinOfTwoRecordsLinksBothWays)
{
    Link()->Join(End(Record(1)), Record(5));
    ExpectConsistent(m_hd, Of({1, 5}));
}

TEST_P(LinkTest, JoinOfOtherMarksRecordsTheCode256)
{
    const std::string before = File();
    Link()->Join(m_hd + 1 + A(), Record(1));
    EXPECT_EQ(Console()->GetErrorCount(), 1);
    EXPECT_EQ(Console()->GetLastError(), 256);
    Link()->Join(m_hd, 3);
    Link()->Join(End(Record(1)), 3);
    EXPECT_EQ(Console()->GetErrorCount(), 3);
    EXPECT_EQ(File(), before);
}

TEST_P(LinkTest, ResetHeadAcceptsAFrameOneAddressLater)
{
    const QZInt64 closing = m_hd + 4 * A() + 1;
    Binary()->PutByte(closing, 0);
    Binary()->PutByte(closing + A(), '^');
    Link()->ResetHD(m_hd);
    EXPECT_EQ(Read()->ReadHD(kSideThis, m_hd, Info::HD_END), closing + A());
    EXPECT_EQ(Read()->ReadHD(kSideThis, m_hd, Info::HD_FIRSTDATA), 0);
    EXPECT_EQ(Console()->GetErrorCount(), 0);
    Binary()->PutByte(closing + A(), 0);
    Link()->ResetHD(m_hd);
    EXPECT_EQ(Console()->GetErrorCount(), 1);
    EXPECT_EQ(Console()->GetLastError(), 256);
    EXPECT_EQ(Read()->ReadHD(kSideThis, m_hd, Info::HD_END), closing + A());
}

// ---------------------------------------------------------------------------------------------------------------------
// Moving

TEST_P(LinkTest, MoveDown)
{
    Link()->MoveDown(Record(2), 1);
    ExpectConsistent(m_hd, Of({1, 3, 2, 4, 5}));
    Link()->MoveDown(Record(1), 3);
    ExpectConsistent(m_hd, Of({3, 2, 4, 1, 5}));
    Link()->MoveDown(Record(3), 4);
    ExpectConsistent(m_hd, Of({2, 4, 1, 5, 3}));
}

TEST_P(LinkTest, MoveDownStopsAtTheEnd)
{
    Link()->MoveDown(Record(2), 1000);
    ExpectConsistent(m_hd, Of({1, 3, 4, 5, 2}));
    const std::string before = File();
    Link()->MoveDown(Record(2), 1);
    EXPECT_EQ(File(), before) << "the last record must not move";
}

TEST_P(LinkTest, MoveUp)
{
    Link()->MoveUp(Record(5), 1);
    ExpectConsistent(m_hd, Of({1, 2, 3, 5, 4}));
    Link()->MoveUp(Record(4), 2);
    ExpectConsistent(m_hd, Of({1, 2, 4, 3, 5}));
    Link()->MoveUp(Record(4), 2);
    ExpectConsistent(m_hd, Of({4, 1, 2, 3, 5}));
    Link()->MoveUp(Record(5), 3);
    ExpectConsistent(m_hd, Of({4, 5, 1, 2, 3}));
}

TEST_P(LinkTest, MoveUpStopsAtTheFront)
{
    Link()->MoveUp(Record(4), 1000);
    ExpectConsistent(m_hd, Of({4, 1, 2, 3, 5}));
    const std::string before = File();
    Link()->MoveUp(Record(4), 1);
    EXPECT_EQ(File(), before) << "the first record must not move";
}

TEST_P(LinkTest, MoveByZeroStepsDoesNothing)
{
    const std::string before = File();
    Link()->MoveUp(Record(3), 0);
    Link()->MoveDown(Record(3), 0);
    EXPECT_EQ(File(), before);
}

TEST_P(LinkTest, OnlyRecordOfAListDoesNotMove)
{
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 only = Data()->NewCD(hd, "", 0);
    const std::string before = File();
    Link()->MoveUp(only, 1);
    Link()->MoveDown(only, 1);
    EXPECT_EQ(File(), before);
}

TEST_P(LinkTest, MoveToAnEmptyHead)
{
    const QZInt64 other = Data()->NewHD(0);
    EXPECT_EQ(Link()->MoveToHD(Record(3), other), Record(3));
    ExpectConsistent(m_hd, Of({1, 2, 4, 5}));
    ExpectConsistent(other, Of({3}));
    Link()->MoveToHD(Record(5), other);
    ExpectConsistent(m_hd, Of({1, 2, 4}));
    ExpectConsistent(other, Of({3, 5}));
}

TEST_P(LinkTest, MoveToItsOwnHeadMovesToTheEnd)
{
    Link()->MoveToHD(Record(2), m_hd);
    ExpectConsistent(m_hd, Of({1, 3, 4, 5, 2}));
    Link()->MoveToHD(Record(2), m_hd);
    ExpectConsistent(m_hd, Of({1, 3, 4, 5, 2}));
}

TEST_P(LinkTest, OnlyRecordMovesToItsOwnHead)
{
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 only = Data()->NewCD(hd, "", 0);
    Link()->MoveToHD(only, hd);
    ExpectConsistent(hd, {only});
}

TEST_P(LinkTest, MoveDownInACircularListCountsEveryStep)
{
    // Records 2 to 5 form a circle, so every 4 steps lead back to the same record.
    Data()->PutField(Record(5), Info::DATA_NEXT, Record(2));
    Link()->MoveDown(Record(1), (1LL << 60) + 1);
    EXPECT_EQ(Read()->ReadHD(kSideThis, m_hd, Info::HD_FIRSTDATA), Record(2));
    EXPECT_EQ(Read()->Next(Record(2)), Record(1));
    EXPECT_EQ(Read()->Next(Record(1)), Record(3));
}

TEST_P(LinkTest, MoveUpInACircularListCountsEveryStep)
{
    Address()->PutRaw(Record(2) + 1, End(Record(5)));
    Link()->MoveUp(Record(4), (1LL << 60) + 1);
    EXPECT_EQ(Read()->Next(Record(2)), Record(4));
    EXPECT_EQ(Read()->Next(Record(4)), Record(3));
    EXPECT_EQ(Read()->Next(Record(3)), Record(5));
}

// ---------------------------------------------------------------------------------------------------------------------
// Removing

TEST_P(LinkTest, RemoveChildClearsTheFieldOfThePlaceRecord)
{
    const QZInt64 ld = Data()->NewLD(Read()->TreeRoot(31, 4));
    const QZInt64 pd = Data()->NewPD(m_hd, ld, "", 0);
    const QZInt64 child = Data()->NewHDForPD(pd);
    const QZInt64 inside = Data()->NewCD(child, "", 0);
    Link()->RemoveChild(child);
    EXPECT_EQ(Read()->ReadPD(kSideThis, pd, Info::PD_HD_A), 0);
    ExpectConsistent(child, {inside});
    EXPECT_EQ(Read()->ReadHD(kSideThis, child, Info::HD_PREV), pd);
}

TEST_P(LinkTest, RemoveChildOfAHeadWithoutAPlaceRecordWritesNothing)
{
    const QZInt64 ld = Data()->NewLD(m_hd);
    const std::string before = File();
    Link()->RemoveChild(m_hd);
    Link()->RemoveChild(Read()->ReadLD(kSideThis, ld, Info::LD_TREE_A));
    Link()->RemoveChild(Read()->TreeRoot(31, 3));
    EXPECT_EQ(File(), before);
}

namespace
{

/// One LD of tree L, and PDs of trees A, R and S that use it. The tree lists of the LD refer to these PDs.
class RemoveTest : public LinkTest
{
protected:
    void SetUp() override
    {
        Fresh(GetParam());
        m_lds = Read()->TreeRoot(31, 4);
        m_before = Data()->NewLD(m_lds);
        m_ld = Data()->NewLD(m_lds);
        m_after = Data()->NewLD(m_lds);
    }

    /// Adds a PD to tree n that uses the LD, and the AD of the LD that refers to it.
    QZInt64 Use(QZInt64 n)
    {
        static const QZInt64 kSelectors[] = {Info::LD_TREE_A, Info::LD_TREE_R, Info::LD_TREE_S};
        const QZInt64 pd = Data()->NewPD(Read()->TreeRoot(31, n), m_ld, "", 0);
        Data()->NewAD(Read()->ReadLD(kSideThis, m_ld, kSelectors[n - 1]), pd);
        return pd;
    }

    /// The PDs that the LD's list for tree n refers to.
    Records Named(QZInt64 n)
    {
        static const QZInt64 kSelectors[] = {Info::LD_TREE_A, Info::LD_TREE_R, Info::LD_TREE_S};
        Records named;
        for (const QZInt64 ad : List(Read()->ReadLD(kSideThis, m_ld, kSelectors[n - 1])))
            named.push_back(Read()->ReadAD(kSideThis, ad, Info::AD_FREE));
        return named;
    }

    QZInt64 Root(QZInt64 n) { return Read()->TreeRoot(31, n); }

    QZInt64 m_lds = 0;
    QZInt64 m_before = 0;
    QZInt64 m_ld = 0;
    QZInt64 m_after = 0;
};

INSTANTIATE_TEST_SUITE_P(Modes, RemoveTest, ::testing::Values(2, 3));

}  // namespace

TEST_P(RemoveTest, RemovePDRemovesItsADFromTheLD)
{
    for (const QZInt64 n : {1, 2, 3})
    {
        const QZInt64 first = Use(n);
        const QZInt64 second = Use(n);
        const QZInt64 third = Use(n);
        Link()->RemovePD(second);
        ExpectConsistent(Root(n), {first, third});
        EXPECT_EQ(Named(n), (Records{first, third}));
    }
    ExpectConsistent(m_lds, {m_before, m_ld, m_after});
}

TEST_P(RemoveTest, RemovePDRemovesOnlyTheFirstADThatRefersToIt)
{
    const QZInt64 pd = Use(3);
    const QZInt64 list = Read()->ReadLD(kSideThis, m_ld, Info::LD_TREE_S);
    Data()->NewAD(list, pd);
    Link()->RemovePD(pd);
    EXPECT_EQ(Named(3), Records{pd});
    ExpectConsistent(Root(3), {});
}

TEST_P(RemoveTest, RemovePDWithoutAnADOnlyUnlinksThePD)
{
    const QZInt64 named = Use(3);
    const QZInt64 pd = Data()->NewPD(Root(3), m_ld, "", 0);
    Link()->RemovePD(pd);
    ExpectConsistent(Root(3), {named});
    EXPECT_EQ(Named(3), Records{named});
}

TEST_P(RemoveTest, RemovePDWithoutAnLD)
{
    const QZInt64 pd = Data()->NewPD(Root(3), 0, "", 0);
    Link()->RemovePD(pd);
    ExpectConsistent(Root(3), {});
    EXPECT_EQ(Console()->GetErrorCount(), 0);
}

TEST_P(RemoveTest, RemoveLDRemovesEveryPDThatUsesIt)
{
    for (const QZInt64 n : {1, 2, 3})
    {
        Use(n);
        Use(n);
    }
    const QZInt64 unrelated = Data()->NewPD(Root(3), m_after, "", 0);
    Link()->RemoveLD(m_ld);
    ExpectConsistent(m_lds, {m_before, m_after});
    ExpectConsistent(Root(1), {});
    ExpectConsistent(Root(2), {});
    ExpectConsistent(Root(3), {unrelated});
    EXPECT_TRUE(Named(1).empty());
    EXPECT_TRUE(Named(2).empty());
    EXPECT_TRUE(Named(3).empty());
    EXPECT_EQ(Console()->GetErrorCount(), 0);
}

TEST_P(RemoveTest, RemoveLDOfZeroWritesNothingAndRecordsTheCode256)
{
    const std::string before = File();
    Link()->RemoveLD(0);
    EXPECT_EQ(Console()->GetErrorCount(), 1);
    EXPECT_EQ(Console()->GetLastError(), 256);
    EXPECT_EQ(File(), before);
}

TEST_P(RemoveTest, RemoveInACircularListEnds)
{
    const QZInt64 pd = Use(3);
    const QZInt64 list = Read()->ReadLD(kSideThis, m_ld, Info::LD_TREE_S);
    const QZInt64 ad = List(list).front();
    Data()->PutField(ad, Info::DATA_NEXT, ad);
    Link()->RemovePD(pd);
    Link()->RemoveLD(m_ld);
    ExpectConsistent(m_lds, {m_before, m_after});
}

TEST_P(RemoveTest, RemoveInAListThatLeadsIntoTheLogEnds)
{
    Close();
    std::filesystem::remove(m_dir.Path("test.db"));
    Fresh(GetParam(), 1);
    m_ld = Data()->NewLD(Read()->TreeRoot(31, 4));
    // The list of tree S leads to the first record of the log, and every removal appends to the log.
    const QZInt64 last = List(Read()->TreeRoot(Read()->TreeRoot(31, 5), 3)).front();
    Data()->PutField(Read()->ReadLD(kSideThis, m_ld, Info::LD_TREE_S), Info::HD_FIRSTDATA, last);
    const QZInt64 length = Console()->GetLength();
    Link()->RemoveLD(m_ld);
    EXPECT_LT(Console()->GetLength(), length + 100000);
}
