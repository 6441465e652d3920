#include "db/internal/db_rollback.h"

#include <algorithm>
#include <random>

#include "db/database_fixture.h"
#include "db/engine_fixture.h"

namespace qztest
{
namespace
{
/// A database with a rollback log and one address field; each write of the field appends one log record.
class Rollback : public DatabaseTest
{
protected:
    void SetUp() override { Start(3); }

    void Start(QZInt64 addressMode)
    {
        Fresh(addressMode, 1);
        m_register = m_channel->P_D(m_channel->P_HD(), Info::DATA_AD);
    }

    void Set(QZInt64 value) { ASSERT_EQ(m_channel->P_A(m_register, Info::AD_FREE, value), 1); }
    QZInt64 Value() { return A(m_register, Info::AD_FREE); }

    /// Takes a snapshot and returns the log record that it refers to.
    QZInt64 Snapshot() { return A(m_channel->AD_TS(), Info::RD_P); }

    QZInt64 Base() { return 719; }
    QZInt64 Marks() { return 847; }
    QZInt64 WritePosition() { return A(975, Info::AD_FREE); }

    QZInt64 m_register = 0;
};

TEST_F(Rollback, DatabaseWithoutRollbackRefusesItsOperations)
{
    Close();
    std::filesystem::remove(m_dir.Path("test.db"));
    Fresh(3, 0);
    EXPECT_RECORDS_NOTHING(EXPECT_FALSE(m_channel->RB_ON()));
    EXPECT_RECORDS(Info::ROLLBACK_ERROR_ROLLBACKOFF, EXPECT_EQ(m_channel->AD_TS(), 0));
    EXPECT_RECORDS(Info::ROLLBACK_ERROR_ROLLBACKOFF, EXPECT_FALSE(m_channel->AB_CB(31)));
    EXPECT_RECORDS(Info::ROLLBACK_ERROR_ROLLBACKOFF,
                   EXPECT_EQ(m_channel->G_WPS(), Info::ROLLBACK_WRITEPOSITION_STATE_EMPTY));
    QZCollection collection;
    EXPECT_RECORDS(Info::ROLLBACK_ERROR_ROLLBACKOFF,
                   EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_SHNAPSHOTS, 0, &collection), -1));
    EXPECT_RECORDS(Info::ROLLBACK_ERROR_ROLLBACKOFF,
                   EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_ROLLBACKMARKS, 0, &collection), -1));
    EXPECT_EQ(collection.Count(), 0);
    EXPECT_TRUE(m_channel->RB_OFF());
}

TEST_F(Rollback, OffAndOnChangeTheMemoryStateOnly)
{
    EXPECT_TRUE(m_channel->RB_OFF());
    const QZInt64 length = Length();
    Set(5);
    EXPECT_EQ(Length(), length);
    EXPECT_TRUE(m_channel->RB_ON());
    Set(6);
    EXPECT_GT(Length(), length);
    m_channel->RB_OFF();
    Reopen();
    QZDbSysInfo* info = m_channel->GetSysInfo();
    EXPECT_EQ(info->Rollback, 1);
    m_channel->Recycle(&info);
}

TEST_F(Rollback, EachLoggedWriteAppendsPositionOldAndNewValue)
{
    const QZInt64 place = m_register + 25;
    Set(5);
    Set(9);
    const Addresses log = List(Base());
    const QZInt64 first = log[log.size() - 2];
    const QZInt64 second = log.back();
    EXPECT_EQ((Addresses{A(first, Info::RD_P), A(first, Info::RD_O), A(first, Info::RD_N)}),
              (Addresses{place, 0, 5}));
    EXPECT_EQ((Addresses{A(second, Info::RD_P), A(second, Info::RD_O), A(second, Info::RD_N)}),
              (Addresses{place, 5, 9}));
    // 10 addresses and 2 marks, rounded up to a multiple of 16.
    EXPECT_EQ(second - first, 96);
}

TEST_F(Rollback, ContentAndErasureAreNotLogged)
{
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    const std::size_t before = List(Base()).size();
    Put(cd, Info::CD_DATA, "abcd");
    // The link and the end of the new list, and the pointer to the content.
    EXPECT_EQ(List(Base()).size(), before + 3);
    m_channel->E_C(cd, Info::CD_DATA);
    m_channel->ERASE(cd + 2000, 4);
    EXPECT_EQ(List(Base()).size(), before + 3);
}

TEST_F(Rollback, RestoreDoesNotBringErasedBytesBack)
{
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "abcd");
    const QZInt64 point = Snapshot();
    m_channel->E_C(cd, Info::CD_DATA);
    ASSERT_TRUE(m_channel->AB_CB(point));
    EXPECT_EQ(m_channel->G_C_L(cd, Info::CD_DATA), 0);
}

TEST_F(Rollback, RestoreBringsBackTheStateOfTheSnapshot)
{
    const QZInt64 pd = MakePD();
    Put(pd, Info::PD_DATA, "before");
    const QZInt64 point = Snapshot();
    Put(pd, Info::PD_DATA, "after");
    const QZInt64 second = MakePD();
    m_channel->MV(second, -1);
    EXPECT_EQ(List(m_channel->G_TA(3)), (Addresses{second, pd}));
    ASSERT_TRUE(m_channel->AB_CB(point));
    EXPECT_EQ(List(m_channel->G_TA(3)), (Addresses{pd}));
    EXPECT_EQ(Get(pd, Info::PD_DATA), "before");
}

TEST_F(Rollback, SnapshotOfAnEmptyWritePositionAppendsAnEmptyChange)
{
    Close();
    std::filesystem::remove(m_dir.Path("test.db"));
    Fresh(3, 1);
    EXPECT_EQ(m_channel->G_WPS(), Info::ROLLBACK_WRITEPOSITION_STATE_EMPTY);
    const QZInt64 mark = m_channel->AD_TS();
    EXPECT_EQ(m_channel->G_WPS(), Info::ROLLBACK_WRITEPOSITION_STATE_NOTEMPTY);
    ASSERT_EQ(List(Base()).size(), 1u);
    const QZInt64 record = List(Base())[0];
    EXPECT_EQ(A(mark, Info::RD_P), record);
    EXPECT_EQ((Addresses{A(record, Info::RD_P), A(record, Info::RD_O), A(record, Info::RD_N)}),
              (Addresses{record + 9, record, record}));
}

TEST_F(Rollback, TwoSnapshotsInARowReferToTheSameRecord)
{
    Set(1);
    const QZInt64 first = m_channel->AD_TS();
    const QZInt64 second = m_channel->AD_TS();
    EXPECT_NE(first, second);
    EXPECT_EQ(A(first, Info::RD_P), A(second, Info::RD_P));
    QZCollection marks;
    EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_SHNAPSHOTS, 0, &marks), -1);
    EXPECT_EQ(Words(marks), (Addresses{first, second}));
}

TEST_F(Rollback, SnapshotHasAnLDForItsOwnFields)
{
    Set(1);
    const QZInt64 mark = m_channel->AD_TS();
    const QZInt64 head = A(mark, Info::RD_O);
    const QZInt64 ld = A(mark, Info::RD_N);
    EXPECT_EQ(A(head, Info::HD_PREV), mark);
    EXPECT_EQ(List(head), (Addresses{ld}));
    EXPECT_EQ(m_channel->CK(1, ld), Info::NORMAL);
    EXPECT_EQ(Put(ld, 1, "name of the snapshot"), 1);
    EXPECT_EQ(A(mark, Info::DATA_HDA), Marks());
}

TEST_F(Rollback, RestoreToTheLastRecordKeepsTheFieldsAndOpensABranch)
{
    Set(7);
    const QZInt64 length = Length();
    const QZInt64 last = A(Base(), Info::HD_LASTDATA_THIS);
    ASSERT_TRUE(m_channel->AB_CB(last));
    EXPECT_EQ(Value(), 7);
    EXPECT_GT(Length(), length);
    EXPECT_NE(WritePosition(), Base());
    EXPECT_EQ(m_channel->G_WPS(), Info::ROLLBACK_WRITEPOSITION_STATE_EMPTY);
    const QZInt64 branch = A(last, Info::DATA_NEXT);
    EXPECT_EQ(m_channel->G_T(1, branch), Info::DATA_AD);
    EXPECT_EQ(A(branch, Info::AD_FREE), WritePosition());
    EXPECT_EQ(A(WritePosition(), Info::HD_PREV), branch);
}

TEST_F(Rollback, BranchIsInsertedDirectlyAfterItsTarget)
{
    Set(1);
    const QZInt64 point = Snapshot();
    Set(2);
    const QZInt64 later = A(Base(), Info::HD_LASTDATA_THIS);
    Set(3);
    ASSERT_TRUE(m_channel->AB_CB(point));
    const QZInt64 branch = A(point, Info::DATA_NEXT);
    EXPECT_EQ(A(branch, Info::AD_FREE), WritePosition());
    EXPECT_EQ(A(branch, Info::DATA_NEXT), later);
    EXPECT_EQ(A(later, Info::DATA_PREV_THIS), branch);
}

TEST_F(Rollback, WritesAfterARestoreGoToANewBranch)
{
    Set(1);
    const QZInt64 one = Snapshot();
    Set(2);
    const QZInt64 two = Snapshot();
    Set(3);
    ASSERT_TRUE(m_channel->AB_CB(one));
    EXPECT_EQ(Value(), 1);
    Set(10);
    EXPECT_EQ(List(WritePosition()).size(), 1u);
    const QZInt64 ten = Snapshot();
    Set(11);
    // Restore to the old branch, to the new one, and to their common beginning.
    ASSERT_TRUE(m_channel->AB_CB(two));
    EXPECT_EQ(Value(), 2);
    Set(20);
    ASSERT_TRUE(m_channel->AB_CB(ten));
    EXPECT_EQ(Value(), 10);
    ASSERT_TRUE(m_channel->AB_CB(two));
    EXPECT_EQ(Value(), 2);
    ASSERT_TRUE(m_channel->AB_CB(one));
    EXPECT_EQ(Value(), 1);
    EXPECT_EQ(m_channel->G_EN(), 0);
}

TEST_F(Rollback, BranchesAreKeptAfterReopening)
{
    Set(1);
    const QZInt64 one = Snapshot();
    Set(2);
    const QZInt64 two = Snapshot();
    ASSERT_TRUE(m_channel->AB_CB(one));
    Set(10);
    const QZInt64 here = WritePosition();
    Reopen();
    EXPECT_EQ(WritePosition(), here);
    Set(11);
    EXPECT_EQ(List(here).size(), 2u);
    ASSERT_TRUE(m_channel->AB_CB(two));
    EXPECT_EQ(Value(), 2);
}

TEST_F(Rollback, LaterSnapshotOfABranchThatWasLeftCannotBeRestored)
{
    // The base is long, so the branch has a later position in the base than its records have in the branch.
    for (QZInt64 i = 1; i <= 10; ++i) Set(i);
    ASSERT_TRUE(m_channel->AB_CB(Snapshot()));
    Set(20);
    const QZInt64 early = Snapshot();
    Set(21);
    const QZInt64 late = Snapshot();
    ASSERT_TRUE(m_channel->AB_CB(early));
    Set(30);
    const std::string before = File();
    EXPECT_RECORDS(Info::ROLLBACK_ERROR_INVALIDADDR, EXPECT_FALSE(m_channel->AB_CB(late)));
    EXPECT_EQ(File(), before);
    EXPECT_EQ(Value(), 30);
    // The earlier snapshot can be restored.
    EXPECT_TRUE(m_channel->AB_CB(early));
    EXPECT_EQ(Value(), 20);
}

TEST_F(Rollback, RestoreToOtherRecordsChangesNothing)
{
    Set(1);
    const QZInt64 pd = MakePD();
    const QZInt64 mark = m_channel->AD_TS();
    Set(2);
    const std::string before = File();
    for (const QZInt64 target :
         {QZInt64{0}, QZInt64{-1}, QZInt64{31}, QZInt64{1} << 40, pd, mark, m_register + 1})
    {
        EXPECT_RECORDS(Info::ROLLBACK_ERROR_INVALIDADDR, EXPECT_FALSE(m_channel->AB_CB(target)));
    }
    EXPECT_EQ(File(), before);
}

TEST_F(Rollback, RollbackMarksReturn8BytesPlus8PerSnapshot)
{
    QZCollection collection;
    EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_ROLLBACKMARKS, 0, &collection), 8);
    m_channel->AD_TS();
    m_channel->AD_TS();
    EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_ROLLBACKMARKS, 0, &collection), 24);
    EXPECT_EQ(collection.Count(), 0);
}

TEST_F(Rollback, MissingRollbackStructureTurnsRollbackOffWithBadStruct)
{
    DamageAddress(895 + 25, 0);
    EXPECT_EQ(m_channel->G_EN(), 1);
    EXPECT_EQ(m_channel->G_LE(), Info::BAD_STRUCT);
    EXPECT_EQ(m_channel->AD_TS(), 0);
    EXPECT_FALSE(m_channel->RB_ON());
}

TEST_F(Rollback, LongLogIsReplayedCompletely)
{
    Set(1);
    const QZInt64 point = Snapshot();
    for (QZInt64 i = 0; i < 3000; ++i) Set(i);
    const QZInt64 end = Snapshot();
    ASSERT_TRUE(m_channel->AB_CB(point));
    EXPECT_EQ(Value(), 1);
    ASSERT_TRUE(m_channel->AB_CB(end));
    EXPECT_EQ(Value(), 2999);
}

TEST_F(Rollback, RestoreWith32BitAddresses)
{
    Close();
    std::filesystem::remove(m_dir.Path("test.db"));
    Start(2);
    Set(1);
    const QZInt64 one = Snapshot();
    Set(2);
    const QZInt64 two = Snapshot();
    ASSERT_TRUE(m_channel->AB_CB(one));
    EXPECT_EQ(Value(), 1);
    ASSERT_TRUE(m_channel->AB_CB(two));
    EXPECT_EQ(Value(), 2);
}

// ---- Restores into the middle of the engine's own writes

/// A new database with one LD, at 1055.
class RollbackOfAnLD : public DatabaseTest
{
protected:
    void SetUp() override
    {
        Fresh(3, 1);
        ASSERT_EQ(m_channel->P_D(223, Info::DATA_LD), 1055);
    }
};

TEST_F(RollbackOfAnLD, FieldIsWrittenAfterTheEndOfTheFieldListWasTakenBack)
{
    Put(1055, 1, "one");
    Put(1055, 2, "two");
    // The field list has both links again, but still ends after the first field.
    ASSERT_TRUE(m_channel->AB_CB(2399));
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(Put(1055, 3, "three"), 1));
    EXPECT_EQ(List(A(1055, Info::LD_LDS)).size(), 3u);
    EXPECT_EQ(Get(1055, 1), "one");
    EXPECT_EQ(Get(1055, 3), "three");
}

TEST_F(RollbackOfAnLD, FieldIsWrittenAfterTheFieldListWasTakenBackToItsFirstLink)
{
    Put(1055, 1, "one");
    ASSERT_TRUE(m_channel->AB_CB(1647));
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(Put(1055, 3, "three"), 1));
    EXPECT_EQ(List(A(1055, Info::LD_LDS)).size(), 3u);
    EXPECT_EQ(Get(1055, 3), "three");
}

TEST_F(RollbackOfAnLD, FieldOfAListThatNoAppendReachesIsRefused)
{
    Put(1055, 1, "one");
    Put(1055, 2, "two");
    const QZInt64 fields = A(1055, Info::LD_LDS);
    // The first field leads nowhere, and appends go after the second one.
    ASSERT_EQ(m_channel->P_A(List(fields)[0], Info::DATA_NEXT, 0), 1);
    EXPECT_RECORDS(Info::WRITE_FAILED, EXPECT_EQ(Put(1055, 5, "five"), 0));
    EXPECT_EQ(List(fields).size(), 1u);
    EXPECT_EQ(Get(1055, 1), "one");
}

TEST_F(RollbackOfAnLD, RestoreThroughABranchWithoutAnOwnerWritesOnlyWhatTheLogTells)
{
    const std::string zeros(10708, '\0');
    Put(1055, 2, zeros);
    for (const QZInt64 record : {1743, 13711, 14895}) ASSERT_TRUE(m_channel->AB_CB(record));
    Put(1055, 1, "0");
    // The first eight bytes of the address space hold no log record, though with a length from 16640 to 16895
    // they look like one.
    EXPECT_RECORDS_NOTHING(EXPECT_TRUE(m_channel->AB_CB(14415)));
    const std::string file = File();
    EXPECT_EQ(AddressAt(16), static_cast<QZInt64>(file.size()) - 1);
    Reopen();
    EXPECT_EQ(m_channel->G_EN(), 0);
    EXPECT_EQ(File(), file);
}

TEST_F(RollbackOfAnLD, BranchIsPutByThePlacesThatTheListHolds)
{
    Put(1055, 1, "8");
    for (const QZInt64 record : {1151, 1247, 3983, 3327}) ASSERT_TRUE(m_channel->AB_CB(record));
    // The list no longer holds 3327: its place is 0.
    EXPECT_EQ(A(5311, Info::DATA_PREV_THIS), 2991);
}

TEST_F(RollbackOfAnLD, RestoreBehindACutInTheLogIsRefused)
{
    for (int i = 0; i < 4; ++i) Put(1055, 1, "text");
    m_channel->RB_OFF();
    ASSERT_EQ(m_channel->P_A(1247, Info::DATA_NEXT, 0), 1);
    m_channel->RB_ON();
    const std::string before = File();
    EXPECT_RECORDS(Info::ROLLBACK_ERROR_INVALIDADDR, EXPECT_FALSE(m_channel->AB_CB(3087)));
    EXPECT_EQ(File(), before);
}

TEST_F(RollbackOfAnLD, CutOfALongLogIsSeenAlsoAfterEarlierRestores)
{
    for (int i = 0; i < 40; ++i) Put(1055, 1, "text");
    const QZInt64 target = A(719, Info::HD_LASTDATA_THIS);
    const QZInt64 before = A(target, Info::DATA_PREV_THIS);
    ASSERT_TRUE(m_channel->AB_CB(target));
    m_channel->RB_OFF();
    ASSERT_EQ(m_channel->P_A(1247, Info::DATA_NEXT, 0), 1);
    m_channel->RB_ON();
    EXPECT_RECORDS(Info::ROLLBACK_ERROR_INVALIDADDR, EXPECT_FALSE(m_channel->AB_CB(before)));
}

/// A host that works on a database with rollback at random, restores to any log record included.
class RandomHost : public DatabaseTest
{
protected:
    void Act(std::mt19937& random)
    {
        const auto below = [&random](QZInt64 n) { return static_cast<QZInt64>(random() % n); };
        const QZInt64 what = below(20);
        if (what < 9) Put(1055, 1 + below(3), std::string(static_cast<std::size_t>(below(40)), 'x'));
        const Addresses log = List(A(975, Info::AD_FREE));
        if (what >= 9 && what < 17 && !log.empty())
            Restore(log[log.size() - 1 - static_cast<std::size_t>(below(std::min(8, int(log.size()))))]);
        const Addresses base = List(719);
        const QZInt64 any = base[static_cast<std::size_t>(below(static_cast<QZInt64>(base.size())))];
        if (what == 17 || what == 18) Restore(any);
        if (what == 19 && below(4) == 0)
        {
            m_channel->RB_OFF();
            m_channel->P_A(any, Info::DATA_NEXT, base[base.size() / 2]);
            m_channel->RB_ON();
        }
    }

    void Restore(QZInt64 record)
    {
        if (m_reopens) Reopen();
        m_channel->AB_CB(record);
    }

    std::string FileAfter(unsigned seed, bool reopens)
    {
        Close();
        std::filesystem::remove(m_dir.Path("test.db"));
        Fresh(3, 1);
        m_reopens = reopens;
        m_channel->P_D(223, Info::DATA_LD);
        std::mt19937 random(seed);
        for (int i = 0; i < 30; ++i) Put(1055, 1, "text");
        for (int i = 0; i < 60; ++i) Act(random);
        return File();
    }

    bool m_reopens = false;
};

TEST_F(RandomHost, RestoresDoTheSameInADatabaseThatWasJustOpened)
{
    for (unsigned seed = 0; seed < 40; ++seed)
        ASSERT_EQ(Difference(FileAfter(seed, false), FileAfter(seed, true)), "") << "seed " << seed;
}

// ---- Bytes

TEST_F(Rollback, BytesOfANewFileWith64BitAddresses)
{
    Close();
    std::filesystem::remove(m_dir.Path("test.db"));
    ASSERT_TRUE(Create(3, 1));
    Image image(1041, 8);
    image.Byte(0, 5).Byte(1, 3).Byte(2, 3).Addresses(16, 1040);
    image.HeadMark(31).Addresses(32, 0, 319, 704, 31).HeadMark(64);
    for (QZInt64 n = 0; n < 5; ++n)
    {
        const QZInt64 hd = 79 + 48 * n;
        const QZInt64 ad = 319 + 80 * n;
        if (n < 4)
            image.HeadMark(hd).Addresses(hd + 1, ad, 0, hd + 33, hd).HeadMark(hd + 33);
        else
            image.HeadMark(271).Addresses(272, 639, 767, 1040, 271).HeadMark(304);
        const QZInt64 previous = n == 0 ? 31 : ad - 31;
        const QZInt64 next = n == 4 ? 0 : ad + 80;
        image.DataMark(ad).Addresses(ad + 1, previous, ad, ad + 49, hd, ad, next).DataMark(ad + 49);
        image.Addresses(ad + 57, 31).HeadMark(ad + 65);
    }
    image.HeadMark(719).Addresses(720, 767, 0, 752, 719).HeadMark(752);
    image.DataMark(767).Addresses(768, 271, 767, 816, 719, 767, 895).DataMark(816);
    image.Addresses(824, 271).HeadMark(832);
    image.HeadMark(847).Addresses(848, 895, 0, 880, 847).HeadMark(880);
    image.DataMark(895).Addresses(896, 816, 895, 944, 847, 895, 975).DataMark(944);
    image.Addresses(952, 271).HeadMark(960);
    image.DataMark(975).Addresses(976, 944, 975, 1024, 719, 975, 0).DataMark(1024);
    image.Addresses(1032, 271).HeadMark(1040);
    EXPECT_FILE(m_dir.Read("test.db"), image);
}

TEST_F(Rollback, BytesOfANewFileWith32BitAddresses)
{
    Close();
    std::filesystem::remove(m_dir.Path("test.db"));
    ASSERT_TRUE(Create(2, 1));
    Image image(657, 4);
    image.Byte(0, 5).Byte(1, 2).Byte(2, 2).Addresses(16, 656);
    image.HeadMark(31).Addresses(32, 0, 223, 448, 31).HeadMark(48);
    for (QZInt64 n = 0; n < 5; ++n)
    {
        const QZInt64 hd = 63 + 32 * n;
        const QZInt64 ad = 223 + 48 * n;
        if (n < 4)
            image.HeadMark(hd).Addresses(hd + 1, ad, 0, hd + 17, hd).HeadMark(hd + 17);
        else
            image.HeadMark(191).Addresses(192, 415, 495, 656, 191).HeadMark(208);
        const QZInt64 previous = n == 0 ? 31 : ad - 23;
        const QZInt64 next = n == 4 ? 0 : ad + 48;
        image.DataMark(ad).Addresses(ad + 1, previous, ad, ad + 25, hd, ad, next).DataMark(ad + 25);
        image.Addresses(ad + 29, 31).HeadMark(ad + 33);
    }
    image.HeadMark(463).Addresses(464, 495, 0, 480, 463).HeadMark(480);
    image.DataMark(495).Addresses(496, 191, 495, 520, 463, 495, 575).DataMark(520);
    image.Addresses(524, 191).HeadMark(528);
    image.HeadMark(543).Addresses(544, 575, 0, 560, 543).HeadMark(560);
    image.DataMark(575).Addresses(576, 520, 575, 600, 543, 575, 623).DataMark(600);
    image.Addresses(604, 191).HeadMark(608);
    image.DataMark(623).Addresses(624, 600, 623, 648, 463, 623, 0).DataMark(648);
    image.Addresses(652, 191).HeadMark(656);
    EXPECT_FILE(m_dir.Read("test.db"), image);
}

/// Adds the bytes from 1055 to 1568 that a snapshot of an empty base appends to a new 64-bit file.
void AddSnapshot(Image& image)
{
    // The log record of an empty change, the head, its LD with four heads, the mark.
    image.DataMark(1055).Addresses(1056, 719, 1055, 1120, 1064, 1055, 1055, 1055, 0).DataMark(1120);
    image.Addresses(1128, 719).HeadMark(1136);
    image.HeadMark(1151).Addresses(1152, 1487, 1199, 1288, 1151).HeadMark(1184);
    image.DataMark(1199).Addresses(1200, 1151, 1199, 1272, 1295, 1343, 1391, 1439, 1199, 0).DataMark(1272);
    image.Addresses(1280, 1151).HeadMark(1288);
    for (const QZInt64 hd : {1295, 1343, 1391, 1439})
    {
        image.HeadMark(hd).Addresses(hd + 1, 1199, 0, hd + 33, hd).HeadMark(hd + 33);
    }
    image.DataMark(1487).Addresses(1488, 847, 1487, 1552, 1055, 1151, 1199, 1487, 0).DataMark(1552);
    image.Addresses(1560, 847).HeadMark(1568);
    image.Addresses(16, 1568).Addresses(728, 1055, 1136).Addresses(856, 1487, 1568);
}

TEST_F(Rollback, BytesOfASnapshotAndOfARestore)
{
    Close();
    std::filesystem::remove(m_dir.Path("test.db"));
    Fresh(3, 1);
    const std::string fresh = File();
    ASSERT_EQ(m_channel->AD_TS(), 1487);
    Image image(1569, 8);
    for (std::size_t i = 0; i < fresh.size(); ++i) image.Byte(static_cast<QZInt64>(i), fresh[i]);
    AddSnapshot(image);
    EXPECT_FILE(File(), image);

    // Restores to the record of the empty change, the last of the base. The branch is inserted after it: its
    // head is at 1583, its AD at 1631. The three writes that link the branch are logged after that in the
    // base, which is still the write position.
    ASSERT_TRUE(m_channel->AB_CB(1055));
    Image after(2017, 8);
    for (QZInt64 i = 0; i < 1569; ++i) after.Byte(i, image.Bytes()[static_cast<std::size_t>(i)]);
    after.HeadMark(1583).Addresses(1584, 1631, 0, 1616, 1583).HeadMark(1616);
    after.DataMark(1631).Addresses(1632, 1120, 1631, 1680, 1583, 1631, 1903).DataMark(1680);
    after.Addresses(1688, 719).HeadMark(1696);
    // The link from 1055. Its log record is appended to the base through that same link, which is then
    // overwritten.
    after.DataMark(1711).Addresses(1712, 1120, 1711, 1776, 1112, 0, 1631, 1711, 1807).DataMark(1776);
    after.Addresses(1784, 719).HeadMark(1792);
    // The end field of the base.
    after.DataMark(1807).Addresses(1808, 1776, 1807, 1872, 736, 1792, 1696, 1807, 0).DataMark(1872);
    after.Addresses(1880, 719).HeadMark(1888);
    // The owner field of the new head. This log record stays in the list, after the AD.
    after.DataMark(1903).Addresses(1904, 1680, 1903, 1968, 1584, 0, 1631, 1903, 0).DataMark(1968);
    after.Addresses(1976, 719).HeadMark(1984);
    after.Addresses(16, 1984).Addresses(1112, 1631).Addresses(736, 1984).Addresses(1000, 1583);
    std::string file = File();
    EXPECT_EQ(file.size(), 1985u);
    file.resize(2017);
    EXPECT_FILE(file, after);
}

// ---- The component ROLLBACK

class RollbackComponent : public EngineTest
{
protected:
    void SetUp() override
    {
        Fresh(3, 1);
        m_register = Data()->NewAD(Data()->NewHD(0), 0);
        m_rollback = m_objects->Rollback();
    }
    void TearDown() override { Close(); }

    QZInt64 Base() { return 719; }
    QZInt64 Write(QZInt64 value)
    {
        Data()->PutField(m_register, QZDatabaseInfo::AD_FREE, value);
        return Last();
    }
    QZInt64 Last()
    {
        const QZInt64 position = Read()->TreeRoot(271, 3);
        return Read()->ReadHD(kSideThis, position, QZDatabaseInfo::HD_LASTDATA_THIS);
    }
    static std::vector<QZInt64> Words(QZCollection& collection)
    {
        std::vector<QZInt64> words;
        for (QZInt64 i = 0; i < collection.Count(); ++i)
            words.push_back(static_cast<QZInt64>(collection.GetElement(i)));
        return words;
    }

    QZInt64 m_register = 0;
    ROLLBACK* m_rollback = nullptr;
};

TEST_F(RollbackComponent, KindOfALogRecordFollowsFromItsLength)
{
    const QZInt64 record = Write(1);
    EXPECT_EQ(m_rollback->KindOf(record), QZDatabaseInfo::DATA_RD);
    EXPECT_EQ(m_rollback->KindOf(767), QZDatabaseInfo::DATA_AD);
    EXPECT_EQ(m_rollback->KindOf(Data()->NewCD(Data()->NewHD(0), "", 0)), QZDatabaseInfo::UNKNOWN);
}

TEST_F(RollbackComponent, UserMarksAreLogRecordsWithPosition0)
{
    Write(1);
    const QZInt64 first = m_rollback->AddUserMark(11, 12);
    Write(2);
    const QZInt64 second = m_rollback->AddUserMark(21, 22);
    EXPECT_EQ(Read()->ReadRD(kSideThis, first, QZDatabaseInfo::RD_P), 0);
    EXPECT_EQ(Read()->ReadRD(kSideThis, first, QZDatabaseInfo::RD_O), 11);
    EXPECT_EQ(Read()->ReadRD(kSideThis, first, QZDatabaseInfo::RD_N), 12);
    QZCollection all;
    m_rollback->CollectMarks(&all, 0);
    EXPECT_EQ(Words(all), (std::vector<QZInt64>{second, first}));
    QZCollection one;
    m_rollback->CollectMarks(&one, 1);
    EXPECT_EQ(Words(one), (std::vector<QZInt64>{second}));

    // After a restore the write position is empty, and no mark is found.
    ASSERT_TRUE(m_rollback->Restore(first));
    QZCollection past;
    m_rollback->CollectMarks(&past, 0);
    EXPECT_EQ(Words(past), (std::vector<QZInt64>{}));
    m_rollback->TurnOff();
    EXPECT_EQ(m_rollback->AddUserMark(1, 2), 0);
    EXPECT_EQ(Console()->GetLastError(), QZDatabaseInfo::ROLLBACK_ERROR_ROLLBACKOFF);
}

TEST_F(RollbackComponent, BranchAtAUserMarkIsInsertedBeforeIt)
{
    const QZInt64 before = Write(1);
    const QZInt64 mark = m_rollback->AddUserMark(11, 12);
    Write(2);
    ASSERT_TRUE(m_rollback->Restore(mark));
    const QZInt64 branch = Read()->Next(before);
    EXPECT_EQ(m_rollback->KindOf(branch), QZDatabaseInfo::DATA_AD);
    EXPECT_EQ(Read()->Next(branch), mark);
    EXPECT_EQ(Read()->ReadAD(kSideThis, m_register, QZDatabaseInfo::AD_FREE), 1);
}

TEST_F(RollbackComponent, BranchAtABranchIsInsertedBeforeItWhenNothingIsRedone)
{
    const QZInt64 one = Write(1);
    ASSERT_TRUE(m_rollback->Restore(one));
    const QZInt64 first = Read()->Next(one);
    ASSERT_EQ(m_rollback->KindOf(first), QZDatabaseInfo::DATA_AD);
    ASSERT_TRUE(m_rollback->Restore(first));
    const QZInt64 second = Read()->Next(one);
    EXPECT_NE(second, first);
    EXPECT_EQ(m_rollback->KindOf(second), QZDatabaseInfo::DATA_AD);
    EXPECT_EQ(Read()->Next(second), first);
}

TEST_F(RollbackComponent, OtherRecordsInTheLogRecordAnErrorAndAreSkipped)
{
    const QZInt64 mark = m_rollback->AddUserMark(11, 12);
    m_rollback->TurnOff();
    Data()->NewCD(Base(), "", 0);
    m_rollback->TurnOn();
    QZCollection marks;
    const QZInt64 errors = Console()->GetErrorCount();
    m_rollback->CollectMarks(&marks, 0);
    EXPECT_EQ(Words(marks), (std::vector<QZInt64>{mark}));
    EXPECT_EQ(Console()->GetErrorCount(), errors + 1);
    EXPECT_EQ(Console()->GetLastError(), 0x7020000);
}

TEST_F(RollbackComponent, PutRawAddressIsNotLogged)
{
    const QZInt64 record = Write(1);
    const QZInt64 length = Console()->GetLength();
    m_rollback->PutRawAddress(record, 4711);
    EXPECT_EQ(Read()->ReadRD(kSideThis, record, QZDatabaseInfo::RD_N), 4711);
    EXPECT_EQ(Console()->GetLength(), length);
}

TEST_F(RollbackComponent, ForkOfTwoRecordsOfAListIsTheEarlier)
{
    const QZInt64 one = Write(1);
    const QZInt64 two = Write(2);
    const QZInt64 three = Write(3);
    EXPECT_EQ(m_rollback->ForkPoint(one, three), one);
    EXPECT_EQ(m_rollback->ForkPoint(three, one), one);
    EXPECT_EQ(m_rollback->ForkPoint(two, two), two);
}

TEST_F(RollbackComponent, ForkOfARecordAndABranchOfItsListIsTheHookOfTheList)
{
    const QZInt64 one = Write(1);
    const QZInt64 two = Write(2);
    ASSERT_TRUE(m_rollback->Restore(one));
    const QZInt64 ten = Write(10);
    // The base is the nearest common list. Its own AD at 767, not the AD of the branch, represents the record
    // in the branch.
    EXPECT_EQ(m_rollback->ForkPoint(two, ten), 767);
    EXPECT_EQ(m_rollback->ForkPoint(ten, two), 767);
}

TEST_F(RollbackComponent, ForkOfTwoBranchesOfOneListIsTheHookOfTheList)
{
    const QZInt64 one = Write(1);
    ASSERT_TRUE(m_rollback->Restore(one));
    const QZInt64 ten = Write(10);
    ASSERT_TRUE(m_rollback->Restore(one));
    const QZInt64 twenty = Write(20);
    EXPECT_EQ(m_rollback->ForkPoint(ten, twenty), 767);
}

TEST_F(RollbackComponent, UndoAndRedoListsBothContainTheFork)
{
    const QZInt64 one = Write(1);
    const QZInt64 two = Write(2);
    const QZInt64 three = Write(3);
    QZCollection undo;
    QZCollection redo;
    EXPECT_TRUE(m_rollback->UndoList(&undo, one));
    EXPECT_TRUE(m_rollback->RedoList(&redo, one));
    EXPECT_EQ(Words(undo), (std::vector<QZInt64>{three, two, one}));
    EXPECT_EQ(Words(redo), (std::vector<QZInt64>{one}));
}

TEST_F(RollbackComponent, StateOfTheWritePosition)
{
    // Creating the register was logged already.
    EXPECT_EQ(m_rollback->WritePositionState(), QZDatabaseInfo::ROLLBACK_WRITEPOSITION_STATE_NOTEMPTY);
    ASSERT_TRUE(m_rollback->Restore(Last()));
    EXPECT_EQ(m_rollback->WritePositionState(), QZDatabaseInfo::ROLLBACK_WRITEPOSITION_STATE_EMPTY);
}

TEST_F(RollbackComponent, SecondPrepareDoesNothing)
{
    const QZInt64 length = Console()->GetLength();
    m_rollback->Prepare();
    EXPECT_EQ(Console()->GetLength(), length);
    EXPECT_FALSE(m_rollback->IsOn());
}

}  // namespace
}  // namespace qztest
