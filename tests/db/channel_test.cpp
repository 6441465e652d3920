#include "db/db_channel.h"

#include <cstdlib>

#include "db/database_fixture.h"
#include "fw/fw_library.h"

namespace qztest
{
namespace
{
class Channel : public DatabaseTest
{};

/// Counts failed assertions while it lives.
class AssertCount
{
public:
    AssertCount()
    {
        m_count = 0;
        QZLibSetFunctionAssert([](QZBool condition) { m_count += condition ? 0 : 1; });
    }
    ~AssertCount()
    {
        QZLibSetFunctionAssert([](QZBool condition) {
            if (!condition) std::abort();
        });
    }
    AssertCount(const AssertCount&) = delete;
    AssertCount& operator=(const AssertCount&) = delete;
    int Count() const { return m_count; }

private:
    static inline int m_count = 0;
};

TEST_F(Channel, TypesAndModes)
{
    Fresh();
    EXPECT_EQ(m_channel->GetType(), 0x81FFFFE);
    EXPECT_EQ(QZChannel::Type, 0x81FFFFE);
    EXPECT_EQ(QZDatabase::Type, 0x81FFFFD);
    EXPECT_EQ(QZDbSysInfo::Type, 0x81FFFFC);
    EXPECT_EQ(QZChannel::MODE_FILE, 0x100);
    EXPECT_EQ(QZChannel::MODE_PROCESS, 0x200);
}

TEST_F(Channel, CreateAndOpenTakeEveryKindOfText)
{
    const std::string narrow = m_dir.NarrowName("narrow.db");
    EXPECT_TRUE(QZChannel::Create(narrow.c_str(), 5, 1, 0));
    m_channel = QZChannel::Open(QZChannel::MODE_FILE, narrow.c_str());
    EXPECT_EQ(m_channel->GetAddrLength(), 4);
    Close();

    const Text wide = m_dir.Name("wide.db");
    EXPECT_TRUE(QZChannel::Create(wide.c_str(), 5, 2, 0));
    m_channel = QZChannel::Open(QZChannel::MODE_FILE, wide.c_str());
    EXPECT_EQ(m_channel->GetAddrLength(), 4);
    Close();

    QZString path(m_dir.Name("string.db").c_str());
    EXPECT_TRUE(QZChannel::Create(&path, 5, 3, 0));
    m_channel = QZChannel::Open(QZChannel::MODE_FILE, &path);
    EXPECT_EQ(m_channel->GetAddrLength(), 8);
    Close();

    EXPECT_TRUE(QZChannel::Create(m_dir.NarrowName("default.db").c_str()));
    EXPECT_TRUE(QZChannel::Create(m_dir.Name("default2.db").c_str()));
    QZString third(m_dir.Name("default3.db").c_str());
    EXPECT_TRUE(QZChannel::Create(&third));
    EXPECT_EQ(m_dir.Read("default.db"), m_dir.Read("default3.db"));
}

TEST_F(Channel, AddressLengthFollowsTheMode)
{
    Fresh(1);
    EXPECT_EQ(m_channel->GetAddrLength(), 4);
    EXPECT_EQ(m_channel->G_AS(), 4);
}

TEST_F(Channel, CollectAndSyncReturn0)
{
    Fresh();
    MakePD();
    EXPECT_EQ(m_channel->SYNC(), 0);
    EXPECT_EQ(m_channel->COLLECT(), 0);
    // The second call has nothing left to release.
    EXPECT_EQ(m_channel->COLLECT(), 0);
}

TEST_F(Channel, CloseWritesTheFileAndClearsTheVariable)
{
    Fresh();
    const QZInt64 pd = MakePD();
    QZChannel::Close(&m_channel);
    EXPECT_EQ(m_channel, nullptr);
    Open();
    EXPECT_EQ(m_channel->G_T(1, pd), Info::DATA_PD);
}

TEST_F(Channel, NullArgumentsCallTheAssertHook)
{
    Fresh();
    const AssertCount asserts;
    QZChannel* none = nullptr;
    QZChannel::Close(&none);
    EXPECT_EQ(asserts.Count(), 1);
    QZDbSysInfo* info = nullptr;
    m_channel->Recycle(&info);
    EXPECT_EQ(asserts.Count(), 2);
    QZDatabase* database = nullptr;
    QZDatabase::Close(&database);
    EXPECT_EQ(asserts.Count(), 3);
}

TEST_F(Channel, OpenThrowsTheExceptionInEveryMode)
{
    m_dir.Write("test.db", std::string(64, 'x'));
    EXPECT_QZ_THROW(Open(QZChannel::MODE_FILE), Info::BAD_STRUCT);
    EXPECT_QZ_THROW(Open(QZChannel::MODE_PROCESS), Info::BAD_STRUCT);
}

TEST_F(Channel, ProcessModeReturns0AndChangesNothing)
{
    ASSERT_TRUE(Create(3, 1));
    Open(QZChannel::MODE_PROCESS);
    const std::string before = m_dir.Read("test.db");
    QZCollection collection;
    char byte = 'x';
    EXPECT_EQ(m_channel->G_TA(1), 0);
    EXPECT_EQ(m_channel->GetAddrLength(), 0);
    EXPECT_EQ(m_channel->CallFun(4, 1, 0, 0, 0, 0), 0);
    EXPECT_EQ(m_channel->COLLECT(), 0);
    EXPECT_EQ(m_channel->SYNC(), 0);
    EXPECT_EQ(m_channel->G_AS(), 0);
    EXPECT_EQ(m_channel->G_EN(), 0);
    EXPECT_EQ(m_channel->G_LE(), 0);
    EXPECT_EQ(m_channel->G_WS(), 0);
    EXPECT_EQ(m_channel->G_A(0, Info::DATA_NEXT), 0);
    EXPECT_EQ(m_channel->G_HD_A(1, 31, Info::HD_THIS), 0);
    EXPECT_EQ(m_channel->G_T(1, 31), 0);
    EXPECT_EQ(m_channel->G_CN(31, Info::HD_NODE_COUNT, 0), 0);
    EXPECT_EQ(m_channel->G_AL(Info::ADDRESSARRAYCOPY_PD_FROM_HD, 31, &collection), 0);
    EXPECT_EQ(m_channel->A_G(31, 0, &byte, 1, &collection), 0);
    EXPECT_EQ(m_channel->CK(1, 31), 0);
    EXPECT_EQ(m_channel->P_D(31, Info::DATA_AD), 0);
    EXPECT_EQ(m_channel->P_HD(), 0);
    EXPECT_EQ(m_channel->P_HD(31), 0);
    EXPECT_EQ(m_channel->P_A(31, Info::HD_PREV, 1), 0);
    EXPECT_EQ(m_channel->P_C(31, 1, &byte, 1), 0);
    EXPECT_EQ(m_channel->G_C(31, 1, &byte), 0);
    EXPECT_EQ(m_channel->G_C_L(31, 1), 0);
    EXPECT_EQ(m_channel->E_C(31, 1), 0);
    EXPECT_EQ(m_channel->ERASE(31, 5), 0);
    EXPECT_FALSE(m_channel->D_DATA(31, Info::HD_RESET));
    EXPECT_EQ(m_channel->MV(31, 1), 0);
    EXPECT_EQ(m_channel->MT(31, 31), 0);
    m_channel->CheckParam(1);
    EXPECT_FALSE(m_channel->CheckParam());
    EXPECT_FALSE(m_channel->RB_ON());
    EXPECT_FALSE(m_channel->RB_OFF());
    EXPECT_EQ(m_channel->AD_TS(), 0);
    EXPECT_FALSE(m_channel->AB_CB(1055));
    EXPECT_EQ(m_channel->G_WPS(), 0);
    m_channel->ConsoleLock();
    m_channel->ConsoleUnlock();
    EXPECT_EQ(byte, 'x');
    EXPECT_EQ(collection.Count(), 0);
    Close();
    EXPECT_EQ(m_channel, nullptr);
    EXPECT_EQ(m_dir.Read("test.db"), before);
}

TEST_F(Channel, ProcessModeSysInfoIsZeroAndRecycleFreesNothing)
{
    ASSERT_TRUE(Create(3, 1));
    Open(QZChannel::MODE_PROCESS);
    QZDbSysInfo* info = m_channel->GetSysInfo();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->Version, 0);
    EXPECT_EQ(info->AddrMode, 0);
    EXPECT_EQ(info->Rollback, 0);
    QZDbSysInfo* const record = info;
    const QZInt32 error = QZLastError;
    m_channel->Recycle(&info);
    EXPECT_EQ(info, record);
    EXPECT_EQ(QZLastError, 512);
    QZLastError = error;
    delete record;
}

TEST_F(Channel, UnknownModeReturns0)
{
    ASSERT_TRUE(Create(3, 1));
    Open(0x300);
    EXPECT_EQ(m_channel->G_TA(1), 0);
    EXPECT_EQ(m_channel->GetAddrLength(), 0);
    EXPECT_EQ(m_channel->G_T(1, 31), 0);
    EXPECT_FALSE(m_channel->CheckParam());
    EXPECT_EQ(m_channel->GetSysInfo(), nullptr);
    EXPECT_EQ(m_channel->COLLECT(), 0);
}

}  // namespace
}  // namespace qztest
