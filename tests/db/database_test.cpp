#include "db/db_database.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <limits>
#include <thread>

#include "db/database_fixture.h"
#include "sys/internal/sys_hooks.h"

namespace qztest
{
namespace
{
class Database : public DatabaseTest
{
protected:
    /// Returns whether another thread finishes an operation of the channel within 200 ms. If not, `release`
    /// must free the lock that it waits for.
    template <typename Release>
    bool OtherThreadCanEnter(Release release)
    {
        std::atomic<bool> through{false};
        std::thread other([&] {
            m_channel->G_EN();
            through = true;
        });
        for (int i = 0; i < 40 && !through; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const bool inTime = through;
        if (!inTime) release();
        other.join();
        return inTime;
    }

    /// While it lives, reads from the disk fail.
    class ReadFault
    {
    public:
        ReadFault() : m_hooks{this, nullptr, Gate, nullptr} { os::SetTestHooks(&m_hooks); }
        ~ReadFault() { os::SetTestHooks(nullptr); }
        ReadFault(const ReadFault&) = delete;
        ReadFault& operator=(const ReadFault&) = delete;

    private:
        static bool Gate(void*, os::Op operation, QZInt64*, QZUInt32* error)
        {
            *error = 5;
            return operation != os::Op::FileRead;
        }

        os::TestHooks m_hooks;
    };
};

TEST_F(Database, CreateKeepsAnExistingFile)
{
    m_dir.Write("test.db", "something else");
    EXPECT_FALSE(Create(3, 1));
    EXPECT_EQ(m_dir.Read("test.db"), "something else");
}

TEST_F(Database, CreateRefusesOtherVersionsAndModesWithoutAFile)
{
    for (const QZInt64 version : {0, 1, 4, 6, 9})
    {
        EXPECT_FALSE(QZChannel::Create(Path().c_str(), version, 3, 1)) << version;
    }
    for (const QZInt64 mode : {0, 4, 7, -1})
        EXPECT_FALSE(QZChannel::Create(Path().c_str(), 5, mode, 1)) << mode;
    EXPECT_FALSE(m_dir.Exists("test.db"));
}

TEST_F(Database, CreateByPathUsesVersion5With64BitAddressesAndRollback)
{
    QZString path(Path().c_str());
    EXPECT_TRUE(QZDatabase::Create(&path));
    EXPECT_EQ(Hex(m_dir.Read("test.db").substr(0, 3)), "05 03 03");
    Open();
    EXPECT_EQ(Length(), 1040);
    QZDbSysInfo* info = m_channel->GetSysInfo();
    EXPECT_EQ(info->Rollback, 1);
    m_channel->Recycle(&info);
}

TEST_F(Database, CreateInMode1WritesModes1And2AndNoRollbackStructure)
{
    ASSERT_TRUE(Create(1, 0));
    EXPECT_EQ(Hex(m_dir.Read("test.db").substr(0, 3)), "05 01 02");
    Open();
    EXPECT_EQ(m_channel->G_AS(), 4);
    EXPECT_EQ(Length(), 448);
    EXPECT_TRUE(List(m_channel->G_TA(Info::TREEBSN)).empty());
    EXPECT_FALSE(m_channel->RB_ON());
}

TEST_F(Database, OpenOfAnUnknownVersionThrowsBadStructAndClosesTheFile)
{
    ASSERT_TRUE(Create(3, 0));
    std::string file = m_dir.Read("test.db");
    file[0] = 2;
    m_dir.Write("test.db", file);
    EXPECT_QZ_THROW_MESSAGE(Open(), Info::BAD_STRUCT, " BadStruct");
    EXPECT_EQ(Catch([&] { Open(); }).type, QZException::Type);
    EXPECT_TRUE(std::filesystem::remove(m_dir.Path("test.db")));
}

TEST_F(Database, OpenOfAnUnknownAddressModeThrowsBadStruct)
{
    ASSERT_TRUE(Create(3, 0));
    std::string file = m_dir.Read("test.db");
    file[1] = 4;
    m_dir.Write("test.db", file);
    EXPECT_QZ_THROW(Open(), Info::BAD_STRUCT);
}

TEST_F(Database, OpenOfAMissingFileThrowsAndCreatesNone)
{
    EXPECT_TRUE(Catch([&] { Open(); }).thrown);
    EXPECT_FALSE(m_dir.Exists("test.db"));
}

TEST_F(Database, DamagedMainHeadOpensWithBadStructAsLastError)
{
    Fresh(3, 1);
    Damage(31, "x");
    EXPECT_EQ(m_channel->G_LE(), Info::BAD_STRUCT);
    EXPECT_EQ(m_channel->G_EN(), 1);
}

TEST_F(Database, BadFileModeByteOpensWithBadStructAndWithoutRollback)
{
    Fresh(3, 1);
    Damage(2, std::string_view("\x09", 1));
    EXPECT_EQ(m_channel->G_LE(), Info::BAD_STRUCT);
    EXPECT_EQ(m_channel->G_EN(), 1);
    EXPECT_EQ(m_channel->AD_TS(), 0);
    EXPECT_EQ(m_channel->G_LE(), Info::ROLLBACK_ERROR_ROLLBACKOFF);
}

TEST_F(Database, FileModeOfAnOpenDatabaseIsItsAddressMode)
{
    Fresh(1);
    ASSERT_EQ(Hex(Bytes(0, 3)), "05 01 02");
    QZDbSysInfo* info = m_channel->GetSysInfo();
    EXPECT_EQ(info->FileMode, 1);
    EXPECT_EQ(info->AddrMode, 1);
    EXPECT_EQ(info->Version, 5);
    EXPECT_EQ(info->WriteProtect, 0);
    EXPECT_EQ(info->Rollback, 0);
    EXPECT_EQ(info->GetType(), 0x81FFFFC);
    m_channel->Recycle(&info);
    EXPECT_EQ(info, nullptr);

    Damage(2, std::string_view("\x03", 1));
    info = m_channel->GetSysInfo();
    EXPECT_EQ(info->FileMode, 1);
    m_channel->Recycle(&info);
}

TEST_F(Database, SysInfoCopiesAndMoves)
{
    QZDbSysInfo info;
    EXPECT_EQ(info.Version, 0);
    info.Version = 5;
    info.Rollback = 1;
    const QZDbSysInfo copy(info);
    EXPECT_EQ(copy.Version, 5);
    QZDbSysInfo other;
    other = std::move(info);
    EXPECT_EQ(other.Rollback, 1);
}

TEST_F(Database, TreeNumberBelow1IsTheFirstRootAndAbove5IsNone)
{
    Fresh();
    EXPECT_EQ(m_channel->G_TA(1), 79);
    EXPECT_EQ(m_channel->G_TA(0), 79);
    EXPECT_EQ(m_channel->G_TA(-5), 79);
    EXPECT_EQ(m_channel->G_TA(5), 271);
    EXPECT_EQ(m_channel->G_TA(6), 0);
}

TEST_F(Database, CheckParamIsOnByDefaultAndForAllValuesExcept0)
{
    Fresh();
    EXPECT_TRUE(m_channel->CheckParam());
    m_channel->CheckParam(0);
    EXPECT_FALSE(m_channel->CheckParam());
    m_channel->CheckParam(256);
    EXPECT_EQ(m_channel->CheckParam(), 1);
}

// ---- G_A

TEST_F(Database, GetAddressOfAnotherKindThrowsBadStructAndRecordsNothing)
{
    Fresh();
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    EXPECT_RECORDS_NOTHING({
        const Thrown thrown = Catch([&] { A(cd, Info::PD_LD_A); });
        EXPECT_EQ(thrown.code, Info::BAD_STRUCT);
        EXPECT_EQ(thrown.message, " BadStruct");
    });
    m_channel->ConsoleUnlock();
}

TEST_F(Database, GetAddressThrowsWithTheLockHeld)
{
    Fresh();
    EXPECT_QZ_THROW(A(0, Info::DATA_NEXT), Info::BAD_STRUCT);
    // The throwing thread can still enter the lock.
    EXPECT_EQ(m_channel->G_TA(1), 79);
    EXPECT_FALSE(OtherThreadCanEnter([&] { m_channel->ConsoleUnlock(); }));
    EXPECT_TRUE(OtherThreadCanEnter([] {}));
}

TEST_F(Database, GetAddressAcceptsGenericSelectorsOnEveryDataRecord)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 ad = m_channel->P_D(hd, Info::DATA_AD);
    const QZInt64 rd = m_channel->P_D(hd, Info::DATA_RD);
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 ld = m_channel->P_D(hd, Info::DATA_LD);
    const QZInt64 pd = MakePD(hd);
    for (const QZInt64 record : {ad, rd, cd, ld, pd}) EXPECT_EQ(A(record, Info::DATA_HDA), hd);
    EXPECT_EQ(A(ad, Info::DATA_PREV_THIS), 0);
    EXPECT_EQ(A(rd, Info::DATA_PREV_THIS), ad);
    EXPECT_EQ(A(ad, Info::AD_NEXT), rd);
    EXPECT_EQ(A(cd, Info::CD_NEXT), ld);
    EXPECT_EQ(A(pd, Info::PD_PREV), A(ld, Info::LD_END));
    EXPECT_EQ(A(hd, Info::HD_FIRSTDATA), ad);
    EXPECT_EQ(A(hd, Info::HD_LASTDATA_THIS), pd);
}

TEST_F(Database, GetAddressWithoutChecksReadsAnyBytes)
{
    Fresh();
    const QZInt64 ad = m_channel->P_D(m_channel->P_HD(), Info::DATA_AD);
    m_channel->P_A(ad, Info::AD_FREE, 4711);
    m_channel->CheckParam(0);
    EXPECT_EQ(A(ad, Info::PD_LD_A), 4711);
}

TEST_F(Database, GetAddressRecordsUnknownSelectors)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    m_channel->CheckParam(0);
    for (const QZInt64 selector : {QZInt64{0x7000001}, QZInt64{0x7030001}, QZInt64{1}, QZInt64{0x7020601}})
    {
        EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(A(cd, selector), -1));
    }
    // The table class without the HD kind is no valid selector.
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(A(hd, 0x7010001), -1));
    EXPECT_RECORDS(Info::BAD_PARAMETER, EXPECT_EQ(A(cd, Info::CD_DATA), -1));
    EXPECT_RECORDS(Info::BAD_PARAMETER, EXPECT_EQ(A(cd, Info::PD_DATA), -1));
    // The HD reader records the code 256.
    EXPECT_RECORDS(256, EXPECT_EQ(A(hd, Info::TABLE_HD + 0x20), 0));
}

TEST_F(Database, TableClassWithoutTheHDKindIsRefused)
{
    Fresh();
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(A(31, 0x7010001), -1));
}

TEST_F(Database, GetHeadAddressDoesNotCheckTheRecord)
{
    Fresh();
    EXPECT_EQ(m_channel->G_HD_A(1, 31, Info::HD_FIRSTDATA), 319);
    EXPECT_EQ(m_channel->G_HD_A(2, 704, Info::HD_THIS), 31);
    EXPECT_RECORDS(Info::BAD_PARAMETER, EXPECT_EQ(m_channel->G_HD_A(3, 31, Info::HD_THIS), 0));
}

// ---- Counts and lists

TEST_F(Database, NthRecordPastTheEndReturns0AndRecordsBadStruct)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 first = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 second = m_channel->P_D(hd, Info::DATA_CD);
    EXPECT_EQ(m_channel->G_CN(hd, Info::SN_GET_DATA_FROM_HD, 0), first);
    EXPECT_EQ(m_channel->G_CN(hd, Info::SN_GET_DATA_FROM_HD, 1), first);
    EXPECT_EQ(m_channel->G_CN(hd, Info::SN_GET_DATA_FROM_HD, 2), second);
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_CN(hd, Info::SN_GET_DATA_FROM_HD, 3), 0));
    m_channel->CheckParam(0);
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_CN(hd, Info::SN_GET_DATA_FROM_HD, 3), 0));
}

TEST_F(Database, CountsCheckTheirRecords)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 ld = m_channel->P_D(hd, Info::DATA_LD);
    EXPECT_EQ(m_channel->G_CN(hd, Info::HD_NODE_COUNT, 0), 2);
    EXPECT_EQ(m_channel->G_CN(ld, Info::HD_NODE_SN, 0), 2);
    EXPECT_EQ(m_channel->G_CN(ld, Info::LD_LDS_COUNT, 0), 0);
    Put(ld, 3, "x");
    EXPECT_EQ(m_channel->G_CN(ld, Info::LD_LDS_COUNT, 0), 3);
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_CN(cd, Info::HD_NODE_COUNT, 0), -1));
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_CN(cd, Info::HD_NODE_COUNT_ALL, 0), -1));
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_CN(cd, Info::SN_GET_DATA_FROM_HD, 1), -1));
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_CN(hd, Info::HD_NODE_SN, 0), -1));
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_CN(cd, Info::LD_LDS_COUNT, 0), -1));
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->G_CN(hd, 12345, 0), -1));
}

TEST_F(Database, CountAllOfANonEmptyListThrowsWithTheLockHeld)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    EXPECT_EQ(m_channel->G_CN(hd, Info::HD_NODE_COUNT_ALL, 0), 0);
    MakePD(hd);
    EXPECT_QZ_THROW(m_channel->G_CN(hd, Info::HD_NODE_COUNT_ALL, 0), 0x400);
    EXPECT_FALSE(OtherThreadCanEnter([&] { m_channel->ConsoleUnlock(); }));
}

TEST_F(Database, ListsReturnMinus1AndFillTheCollection)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    QZCollection collection;
    EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_PD_FROM_HD, hd, &collection), -1);
    EXPECT_EQ(collection.Count(), 0);
    const QZInt64 first = MakePD(hd);
    const QZInt64 second = MakePD(hd);
    EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_PD_FROM_HD, hd, &collection), -1);
    EXPECT_EQ(Words(collection), (Addresses{first, second}));
}

TEST_F(Database, ListsOfARecordThatIsNoHead)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    QZCollection collection;
    EXPECT_RECORDS_NOTHING(
        EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_PD_FROM_HD, cd, &collection), -1));
    EXPECT_RECORDS(Info::BAD_PARAMETER,
                   EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_ALL_PD_FROM_HD, cd, &collection), -1));
    EXPECT_RECORDS(Info::BAD_PARAMETER, EXPECT_EQ(m_channel->G_AL(77, hd, &collection), -1));
    m_channel->CheckParam(0);
    EXPECT_RECORDS(Info::BAD_PARAMETER,
                   EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_ALL_PD_FROM_HD, cd, &collection), -1));
    EXPECT_EQ(collection.Count(), 0);
}

TEST_F(Database, ListsWithoutACollectionReturn0AndRecordNothing)
{
    Fresh();
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->G_AL(77, 0, nullptr), 0));
}

TEST_F(Database, CollectAllOfANonEmptyListThrowsAndCollectsNothing)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    QZCollection collection;
    EXPECT_RECORDS_NOTHING(
        EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_ALL_PD_FROM_HD, hd, &collection), -1));
    MakePD(hd);
    EXPECT_QZ_THROW(m_channel->G_AL(Info::ADDRESSARRAYCOPY_ALL_PD_FROM_HD, hd, &collection), 0x400);
    m_channel->ConsoleUnlock();
    EXPECT_EQ(collection.Count(), 0);
}

TEST_F(Database, SearchByValueFindsNothing)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    Put(cd, Info::CD_DATA, "here");
    QZCollection collection;
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->A_G(hd, Info::CD_DATA, "here", 4, &collection), 0));
    EXPECT_EQ(collection.Count(), 0);
    EXPECT_RECORDS(Info::BAD_STRUCT,
                   EXPECT_EQ(m_channel->A_G(cd, Info::CD_DATA, "here", 4, &collection), -1));
    m_channel->CheckParam(0);
    EXPECT_EQ(m_channel->A_G(cd, Info::CD_DATA, "here", 4, &collection), 0);
}

// ---- Writing

TEST_F(Database, PutDataOfAnUnknownKindIsABadParameter)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    EXPECT_RECORDS(Info::BAD_PARAMETER, EXPECT_EQ(m_channel->P_D(hd, Info::TABLE_HD), -1));
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->P_D(0, Info::DATA_CD), -1));
    EXPECT_TRUE(List(hd).empty());
}

TEST_F(Database, PDWithoutLDHasTheTypeOfACD)
{
    Fresh();
    const QZInt64 pd = m_channel->P_D(m_channel->P_HD(), Info::DATA_PD);
    EXPECT_EQ(m_channel->G_T(1, pd), Info::DATA_CD);
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->P_HD(pd), -1));
    EXPECT_EQ(m_channel->P_A(pd, Info::PD_LD_A, m_channel->P_D(m_channel->G_TA(4), Info::DATA_LD)), 1);
    EXPECT_EQ(m_channel->G_T(1, pd), Info::DATA_PD);
    const QZInt64 hd = m_channel->P_HD(pd);
    EXPECT_EQ(A(pd, Info::PD_HD_A), hd);
    EXPECT_EQ(A(hd, Info::HD_PREV), pd);
}

TEST_F(Database, PutAddressReturns0ForReadOnlySelectors)
{
    Fresh();
    const QZInt64 pd = MakePD();
    const QZInt64 next = A(pd, Info::PD_NEXT);
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->P_A(pd, Info::PD_NEXT, 99), 0));
    EXPECT_EQ(A(pd, Info::PD_NEXT), next);
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->P_A(0, Info::PD_LD_A, 99), -1));
}

TEST_F(Database, PutContentOfAFieldAddsEmptyFieldsBeforeIt)
{
    Fresh();
    const QZInt64 ld = m_channel->P_D(m_channel->G_TA(4), Info::DATA_LD);
    EXPECT_EQ(Put(ld, 3, "third"), 1);
    EXPECT_EQ(m_channel->G_C_L(ld, 1), 0);
    EXPECT_EQ(m_channel->G_C_L(ld, 2), 0);
    EXPECT_EQ(Get(ld, 3), "third");
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->G_C_L(ld, 4), 0));
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->E_C(ld, 4), 0));
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->G_C(ld, 4, nullptr), 0));
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(Put(ld, 0, "none"), 0));
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(Put(ld, -1, "none"), 0));
}

TEST_F(Database, PutContentWithoutAFieldListWritesNothing)
{
    Fresh();
    const QZInt64 ld = m_channel->P_D(m_channel->G_TA(4), Info::DATA_LD);
    m_channel->P_A(ld, Info::LD_LDS, 0);
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(Put(ld, 1, "x"), 0));
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->G_C_L(ld, 1), 0));
    EXPECT_EQ(m_channel->G_CN(ld, Info::LD_LDS_COUNT, 0), 0);
}

TEST_F(Database, ReplacedContentStaysInTheFile)
{
    Fresh();
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    const QZInt64 before = Length();
    Put(cd, Info::CD_DATA, "0123456789");
    const QZInt64 between = Length();
    Put(cd, Info::CD_DATA, "abc");
    EXPECT_GT(between, before);
    EXPECT_GT(Length(), between);
    EXPECT_EQ(m_channel->G_C_L(cd, Info::CD_DATA), 3);
    EXPECT_EQ(Get(cd, Info::CD_DATA), "abc");
    EXPECT_NE(File().find("0123456789"), std::string::npos);
}

TEST_F(Database, GetContentReturnsThePositionOfTheLastByte)
{
    Fresh();
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "abcd");
    char buffer[4];
    const QZInt64 last = m_channel->G_C(cd, Info::CD_DATA, buffer);
    EXPECT_EQ(Bytes(last - 3, 4), "abcd");
}

TEST_F(Database, ErasedContentHasLength0AndKeepsItsTrailingLength)
{
    Fresh();
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "abcd");
    char buffer[4];
    const QZInt64 last = m_channel->G_C(cd, Info::CD_DATA, buffer);
    EXPECT_EQ(m_channel->E_C(cd, Info::CD_DATA), 12);
    EXPECT_EQ(m_channel->G_C_L(cd, Info::CD_DATA), 0);
    EXPECT_EQ(Hex(Bytes(last - 11, 12)), "00 00 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(AddressAt(last + 1), 4);
}

TEST_F(Database, WrongContentSelectorsAreRefused)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 ad = m_channel->P_D(hd, Info::DATA_AD);
    const QZInt64 pd = MakePD(hd);
    for (const auto& wrong : {std::pair{cd, Info::CD_LN1}, std::pair{cd, Info::PD_DATA},
                              std::pair{pd, Info::PD_LN1}, std::pair{pd, Info::CD_DATA}})
    {
        const QZInt64 record = wrong.first;
        const QZInt64 selector = wrong.second;
        EXPECT_RECORDS(Info::BAD_PARAMETER, EXPECT_EQ(Put(record, selector, "x"), -1));
        EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_C(record, selector, nullptr), -1));
        EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_C_L(record, selector), -1));
        EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->E_C(record, selector), -1));
    }
    for (const QZInt64 record : {ad, hd, QZInt64{0}})
    {
        EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(Put(record, 1, "x"), -1));
        EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->G_C_L(record, 1), -1));
    }
}

TEST_F(Database, EraseClearsAnyBytesAndReturnsTheCount)
{
    Fresh();
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "abcd");
    char buffer[4];
    const QZInt64 last = m_channel->G_C(cd, Info::CD_DATA, buffer);
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->ERASE(last - 1, 2), 2));
    EXPECT_EQ(Get(cd, Info::CD_DATA), std::string("ab\0\0", 4));
    EXPECT_EQ(m_channel->ERASE(last, -3), -3);
    EXPECT_EQ(Get(cd, Info::CD_DATA), std::string("ab\0\0", 4));
}

TEST_F(Database, FailedReadInLengthAndEraseRecordsAnAbort)
{
    Fresh();
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "abcd");
    const auto failing = [&](auto call) {
        m_channel->COLLECT();
        const ReadFault fault;
        return call();
    };
    EXPECT_RECORDS(Info::ERROR_ABORT,
                   EXPECT_EQ(failing([&] { return m_channel->G_C_L(cd, Info::CD_DATA); }), -1));
    EXPECT_RECORDS(Info::ERROR_ABORT,
                   EXPECT_EQ(failing([&] { return m_channel->E_C(cd, Info::CD_DATA); }), -1));
    EXPECT_RECORDS(Info::ERROR_ABORT, EXPECT_EQ(failing([&] { return m_channel->ERASE(cd, 3); }), 3));
    // These operations released the lock.
    EXPECT_TRUE(OtherThreadCanEnter([] {}));
    EXPECT_EQ(Get(cd, Info::CD_DATA), "abcd");
}

TEST_F(Database, FailedReadInOtherOperationsThrowsWithTheLockHeld)
{
    Fresh();
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "abcd");
    m_channel->COLLECT();
    char buffer[4];
    {
        const ReadFault fault;
        EXPECT_EQ(Catch([&] { m_channel->G_C(cd, Info::CD_DATA, buffer); }).type, QZIOException::Type);
    }
    EXPECT_FALSE(OtherThreadCanEnter([&] { m_channel->ConsoleUnlock(); }));
    EXPECT_EQ(m_channel->G_EN(), 0);
    EXPECT_EQ(Get(cd, Info::CD_DATA), "abcd");
}

TEST_F(Database, ContentWithoutRoomRecordsWriteFailed)
{
    Fresh(2);
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "ab");
    DamageAddress(16, 0xFFFFFFE0);
    EXPECT_EQ(Put(cd, Info::CD_DATA, "longer"), 0);
    EXPECT_EQ(m_channel->G_LE(), Info::WRITE_FAILED);
    EXPECT_EQ(Get(cd, Info::CD_DATA), "ab");
}

// ---- Moving and deleting

TEST_F(Database, MovesStopAtTheEnds)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 a = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 b = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 c = m_channel->P_D(hd, Info::DATA_CD);
    EXPECT_EQ(m_channel->MV(a, 1), 0);
    EXPECT_EQ(List(hd), (Addresses{b, a, c}));
    m_channel->MV(b, 99);
    EXPECT_EQ(List(hd), (Addresses{a, c, b}));
    m_channel->MV(b, -99);
    EXPECT_EQ(List(hd), (Addresses{b, a, c}));
    m_channel->MV(c, 0);
    m_channel->MV(b, std::numeric_limits<QZInt64>::min());
    EXPECT_EQ(List(hd), (Addresses{b, a, c}));
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->MV(0, 1), -1));
}

TEST_F(Database, MoveToAListPutsARecordLast)
{
    Fresh();
    const QZInt64 from = m_channel->P_HD();
    const QZInt64 to = m_channel->P_HD();
    const QZInt64 a = m_channel->P_D(from, Info::DATA_CD);
    const QZInt64 b = m_channel->P_D(from, Info::DATA_CD);
    EXPECT_EQ(m_channel->MT(a, to), a);
    EXPECT_EQ(List(from), (Addresses{b}));
    EXPECT_EQ(List(to), (Addresses{a}));
    EXPECT_EQ(A(a, Info::DATA_HDA), to);
    EXPECT_EQ(m_channel->MT(b, to), b);
    EXPECT_TRUE(List(from).empty());
    EXPECT_EQ(m_channel->MT(a, to), a);
    EXPECT_EQ(List(to), (Addresses{b, a}));
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->MT(a, b), -1));
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(m_channel->MT(0, to), -1));
}

TEST_F(Database, UnknownDeleteCodesDoNothing)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    for (const QZInt64 code : {Info::DATA_UNKNOWN, Info::DATA_LD, Info::DELETE_TREE_A, Info::DELETE_TREE_R,
                               Info::DELETE_TREE_S, Info::DELETE_TREE_L, Info::DELETE_TREE_B})
    {
        EXPECT_RECORDS_NOTHING(EXPECT_FALSE(m_channel->D_DATA(cd, code)));
    }
    EXPECT_EQ(List(hd), (Addresses{cd}));
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_FALSE(m_channel->D_DATA(0, Info::DELETE_DATA)));
}

TEST_F(Database, DeleteDataRemovesTheOnlyRecord)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 length = Length();
    EXPECT_TRUE(m_channel->D_DATA(cd, Info::DELETE_DATA));
    EXPECT_TRUE(List(hd).empty());
    EXPECT_EQ(A(hd, Info::HD_END), hd + 33);
    EXPECT_EQ(A(hd, Info::HD_LASTDATA), 0);
    EXPECT_EQ(Length(), length);
}

TEST_F(Database, ResetEmptiesAList)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    for (const QZInt64 code : {Info::DELETE_HD_ALL, Info::HD_RESET})
    {
        m_channel->P_D(hd, Info::DATA_CD);
        EXPECT_TRUE(m_channel->D_DATA(hd, code));
        EXPECT_TRUE(List(hd).empty());
        EXPECT_EQ(A(hd, Info::HD_END), hd + 33);
    }
}

TEST_F(Database, DeleteHeadClearsTheChildOfItsPD)
{
    Fresh();
    const QZInt64 pd = MakePD();
    const QZInt64 hd = m_channel->P_HD(pd);
    EXPECT_TRUE(m_channel->D_DATA(hd, Info::DELETE_HD));
    EXPECT_EQ(A(pd, Info::PD_HD_A), 0);
    EXPECT_EQ(A(hd, Info::HD_PREV), pd);
}

TEST_F(Database, DeletePDAllRemovesPDAndLDAndThrowsAtTheChildList)
{
    Fresh();
    const QZInt64 root = m_channel->G_TA(3);
    const QZInt64 parent = MakePD();
    const QZInt64 other = MakePD();
    const QZInt64 child = MakeChild(parent);
    const QZInt64 childList = A(parent, Info::PD_HD_A);
    const QZInt64 parentLD = A(parent, Info::PD_LD_A);
    EXPECT_QZ_THROW(m_channel->D_DATA(parent, Info::DELETE_PD_ALL), 0x400);
    EXPECT_FALSE(OtherThreadCanEnter([&] { m_channel->ConsoleUnlock(); }));
    EXPECT_EQ(List(root), (Addresses{other}));
    EXPECT_EQ(List(m_channel->G_TA(4)), (Addresses{A(other, Info::PD_LD_A), A(child, Info::PD_LD_A)}));
    EXPECT_NE(parentLD, 0);
    EXPECT_EQ(List(childList), (Addresses{child}));
}

TEST_F(Database, DeletePDAllOfALeafRemovesPDAndLD)
{
    Fresh();
    const QZInt64 pd = MakePD();
    m_channel->P_HD(pd);
    EXPECT_TRUE(m_channel->D_DATA(pd, Info::DELETE_PD_ALL));
    EXPECT_TRUE(List(m_channel->G_TA(3)).empty());
    EXPECT_TRUE(List(m_channel->G_TA(4)).empty());
}

TEST_F(Database, DeletePDAllOfAPDWithoutLDRecordsTheCode256)
{
    Fresh();
    const QZInt64 pd = m_channel->P_D(m_channel->G_TA(3), Info::DATA_PD);
    EXPECT_RECORDS(256, EXPECT_TRUE(m_channel->D_DATA(pd, Info::DELETE_PD_ALL)));
    EXPECT_TRUE(List(m_channel->G_TA(3)).empty());
}

// ---- Locking

TEST_F(Database, ConsoleLockExcludesOtherThreadsAndIsRecursive)
{
    Fresh();
    m_channel->ConsoleLock();
    EXPECT_EQ(m_channel->G_TA(1), 79);
    EXPECT_FALSE(OtherThreadCanEnter([&] { m_channel->ConsoleUnlock(); }));
    EXPECT_TRUE(OtherThreadCanEnter([] {}));
}

TEST_F(Database, RollbackOperationsDoNotTakeTheLock)
{
    Fresh(3, 1);
    m_channel->ConsoleLock();
    QZInt64 mark = 0;
    QZInt64 state = 0;
    std::thread other([&] {
        m_channel->RB_OFF();
        m_channel->RB_ON();
        mark = m_channel->AD_TS();
        state = m_channel->G_WPS();
        m_channel->G_WS();
        m_channel->G_AS();
        QZDbSysInfo* info = m_channel->GetSysInfo();
        m_channel->Recycle(&info);
    });
    other.join();
    m_channel->ConsoleUnlock();
    EXPECT_NE(mark, 0);
    EXPECT_EQ(state, Info::ROLLBACK_WRITEPOSITION_STATE_NOTEMPTY);
}

TEST_F(Database, ConcurrentAppendsLoseNoRecord)
{
    Fresh();
    const QZInt64 hd = m_channel->P_HD();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back([&] {
            for (int n = 0; n < 50; ++n) m_channel->P_D(hd, Info::DATA_CD);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(m_channel->G_CN(hd, Info::HD_NODE_COUNT, 0), 200);
    EXPECT_EQ(m_channel->G_EN(), 0);
}

// ---- Write protection

TEST_F(Database, ExhaustedAddressSpaceRefusesAllWrites)
{
    Fresh(2);
    DamageAddress(16, 0xFFFFFFE0);
    EXPECT_EQ(m_channel->G_WS(), 0);
    EXPECT_EQ(m_channel->P_HD(), 0);
    EXPECT_NE(m_channel->G_WS(), 0);
    EXPECT_EQ(m_channel->G_LE(), Info::WRITE_ERROR_WRITEPROTECT);
    QZDbSysInfo* info = m_channel->GetSysInfo();
    EXPECT_NE(info->WriteProtect, 0);
    m_channel->Recycle(&info);
    EXPECT_EQ(m_channel->P_D(m_channel->G_TA(3), Info::DATA_CD), -1);
    EXPECT_TRUE(List(m_channel->G_TA(3)).empty());
    Reopen();
    EXPECT_EQ(m_channel->G_WS(), 0);
}

TEST_F(Database, EachRefusedWriteOfAReplacementRecordsAnError)
{
    Fresh(2);
    const QZInt64 cd = m_channel->P_D(m_channel->G_TA(3), Info::DATA_CD);
    DamageAddress(16, 0xFFFFFFE0);
    // Two errors for the head, four for the framed bytes, two for the record, one for the pointer, and one
    // because the length read back is not the length written.
    EXPECT_EQ(Errors([&] { EXPECT_EQ(Put(cd, Info::CD_DATA, "abc"), 0); }), 10);
    EXPECT_EQ(m_channel->G_LE(), Info::WRITE_FAILED);
    EXPECT_EQ(m_channel->G_C_L(cd, Info::CD_DATA), 0);
    EXPECT_EQ(m_channel->G_EN(), 10);
}

TEST_F(Database, FieldWithoutRoomIsNotAdded)
{
    Fresh(2);
    const QZInt64 ld = m_channel->P_D(m_channel->G_TA(4), Info::DATA_LD);
    DamageAddress(16, 0xFFFFFFE0);
    // The first refused write turns write protection on and records no error. Errors come from three more
    // writes of the framed bytes, the file length, the mark, and from the length read back that is not the
    // length written.
    EXPECT_EQ(Errors([&] { EXPECT_EQ(Put(ld, 2, "abc"), 0); }), 6);
    EXPECT_EQ(m_channel->G_LE(), Info::WRITE_FAILED);
    EXPECT_EQ(m_channel->G_CN(ld, Info::LD_LDS_COUNT, 0), 0);
}

TEST_F(Database, FieldWithoutRoomForItsLogIsNotInTheList)
{
    Fresh(2, 1);
    const QZInt64 ld = m_channel->P_D(m_channel->G_TA(4), Info::DATA_LD);
    DamageAddress(16, 0xFFFFFF90);
    // The record still fits, but the log record of its first link does not. That gives two times 15 errors
    // for the log record and one for the link, with one for the head field and one for the mark between them.
    // A second record is refused with 6 errors, and the length read back that is not the length written is
    // the last.
    EXPECT_EQ(Errors([&] { EXPECT_EQ(Put(ld, 1, "abc"), 0); }), 2 * 16 + 2 + 6 + 1);
    EXPECT_EQ(m_channel->G_LE(), Info::WRITE_FAILED);
    EXPECT_EQ(m_channel->G_CN(ld, Info::LD_LDS_COUNT, 0), 0);
}

TEST_F(Database, FieldThatMakesItsLDInvalidRecordsWriteFailed)
{
    Fresh();
    const QZInt64 ld = m_channel->P_D(m_channel->G_TA(4), Info::DATA_LD);
    // The selector belongs to another kind of record. It is accepted and damages this LD once a field exists.
    EXPECT_EQ(m_channel->P_A(ld, Info::PD_LD_A, ld), 1);
    EXPECT_EQ(m_channel->G_T(Info::ADDRESS_MARK_THIS, ld), Info::DATA_LD);
    EXPECT_EQ(Errors([&] { EXPECT_EQ(Put(ld, 6, "abc"), 1); }), 2);
    EXPECT_EQ(m_channel->G_LE(), Info::WRITE_FAILED);
    EXPECT_EQ(m_channel->G_C_L(ld, 6), -1);
}

TEST_F(Database, WritesAreKeptAfterReopening)
{
    Fresh();
    const QZInt64 pd = MakePD();
    Put(A(pd, Info::PD_LD_A), 2, "kept");
    Put(pd, Info::PD_DATA, "mark");
    Reopen();
    EXPECT_EQ(Get(A(pd, Info::PD_LD_A), 2), "kept");
    EXPECT_EQ(Get(pd, Info::PD_DATA), "mark");
    EXPECT_EQ(m_channel->COLLECT(), 0);
    EXPECT_EQ(Get(pd, Info::PD_DATA), "mark");
}

}  // namespace
}  // namespace qztest
