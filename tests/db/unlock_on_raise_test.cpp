// An exception that passes through an operation of a database leaves its section entered, or, when the host
// has chosen so, leaves the section: other threads then go on.

#include <atomic>
#include <chrono>
#include <thread>

#include "db/database_fixture.h"
#include "support/qz_hooks.h"

namespace
{
using qztest::DatabaseTest;
using qztest::Info;

class UnlockOnRaise : public DatabaseTest
{
protected:
    void SetUp() override { Fresh(); }
    ~UnlockOnRaise() override { QZDatabase::UnlockOnRaise = 0; }

    /// Whether an operation of another thread returns while this thread does nothing. When it does not return
    /// in time, this leaves the section once, which lets it return.
    bool OthersGoOn()
    {
        std::atomic<bool> done{false};
        std::thread other([&] {
            m_channel->G_TA(Info::TREEASN);
            done = true;
        });
        for (int i = 0; i < 300 && !done; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const bool goOn = done;
        if (!goOn) m_channel->ConsoleUnlock();
        other.join();
        return goOn;
    }
};

TEST_F(UnlockOnRaise, ByDefaultABadAddressKeepsOtherThreadsOut)
{
    EXPECT_EQ(QZDatabase::UnlockOnRaise, 0);
    EXPECT_NE(QZ_TEST_CATCH(m_channel->G_A(3, Info::DATA_THIS)).code, 0);
    EXPECT_FALSE(OthersGoOn());
}

TEST_F(UnlockOnRaise, WhenChosenABadAddressIsOneFailure)
{
    QZDatabase::UnlockOnRaise = 1;
    for (int i = 0; i < 3; ++i) EXPECT_NE(QZ_TEST_CATCH(m_channel->G_A(3, Info::DATA_THIS)).code, 0);
    EXPECT_TRUE(OthersGoOn());
}

TEST_F(UnlockOnRaise, WhenChosenAListThatCannotBeGatheredIsOneFailure)
{
    QZDatabase::UnlockOnRaise = 1;
    const QZInt64 root = m_channel->G_TA(Info::TREESSN);
    m_channel->P_D(root, Info::DATA_PD);
    EXPECT_EQ(QZ_TEST_CATCH(m_channel->G_CN(root, Info::HD_NODE_COUNT_ALL, 0)).code, 1024);
    QZCollection found;
    EXPECT_EQ(QZ_TEST_CATCH(m_channel->G_AL(Info::ADDRESSARRAYCOPY_ALL_PD_FROM_HD, root, &found)).code, 1024);
    EXPECT_TRUE(OthersGoOn());
}

TEST_F(UnlockOnRaise, WhenChosenAFileThatFailsIsOneFailure)
{
    QZDatabase::UnlockOnRaise = 1;
    m_channel->P_D(m_channel->G_TA(Info::TREESSN), Info::DATA_PD);
    {
        qztest::Hooks hooks;
        hooks.Fail(os::Op::FileWrite, 28);
        EXPECT_EQ(QZ_TEST_CATCH(m_channel->SYNC()).code, 4352);
    }
    EXPECT_TRUE(OthersGoOn());
    m_channel->SYNC();
}

TEST_F(UnlockOnRaise, ABracketOfTheHostStaysUntilTheHostEndsIt)
{
    QZDatabase::UnlockOnRaise = 1;
    m_channel->ConsoleLock();
    EXPECT_NE(QZ_TEST_CATCH(m_channel->G_A(3, Info::DATA_THIS)).code, 0);
    // This ends the bracket.
    EXPECT_FALSE(OthersGoOn());
    EXPECT_TRUE(OthersGoOn());
}
}  // namespace
