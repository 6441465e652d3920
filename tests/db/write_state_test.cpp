// A host can ask whether the changes of a database reach its file.

#include "db/database_fixture.h"
#include "os/os_file_buffer.h"
#include "support/qz_hooks.h"

namespace
{
using qztest::DatabaseTest;
using qztest::Info;

/// Runs with changes written in place, and with whole syncs.
class WriteState : public DatabaseTest, public testing::WithParamInterface<bool>
{
protected:
    void SetUp() override
    {
        QZFileBuffer::AtomicSync = GetParam() ? 1 : 0;
        Fresh();
    }
    ~WriteState() override { QZFileBuffer::AtomicSync = 0; }

    void Change() { m_channel->P_D(m_channel->G_TA(Info::TREESSN), Info::DATA_PD); }
};

INSTANTIATE_TEST_SUITE_P(Modes, WriteState, testing::Bool());

TEST_P(WriteState, WithoutAFailureOnlyTheChangesInMemoryAreTold)
{
    EXPECT_EQ(m_channel->TrySync().Unwritten, 0);
    Change();
    QZWriteState state = m_channel->GetWriteState();
    EXPECT_EQ(state.Failures, 0);
    EXPECT_EQ(state.Code, 0);
    EXPECT_EQ(state.SystemError, 0);
    EXPECT_GT(state.Unwritten, 0);
    EXPECT_LE(state.Unwritten, 8192);
    EXPECT_EQ(m_channel->TrySync().Unwritten, 0);
}

TEST_P(WriteState, AFailedWriteIsToldUntilOneSucceeds)
{
    m_channel->SYNC();
    Change();
    {
        qztest::Hooks hooks;
        hooks.Fail(os::Op::FileWrite, 28, 1, true);
        for (int i = 1; i <= 2; ++i)
        {
            const QZWriteState state = i == 1 ? m_channel->TrySync() : m_channel->TryCollect();
            EXPECT_EQ(state.Failures, i);
            EXPECT_EQ(state.Code, QZIOExceptionCode::WriteFailed);
            EXPECT_EQ(state.SystemError, 28);
            EXPECT_GT(state.Unwritten, 0);
        }
        // The kept operations throw, and their failures count too.
        EXPECT_QZ_THROW(m_channel->SYNC(), QZIOExceptionCode::WriteFailed);
        EXPECT_EQ(m_channel->GetWriteState().Failures, 3);
        m_channel->ConsoleUnlock();
    }
    const QZWriteState state = m_channel->TrySync();
    EXPECT_EQ(state.Failures, 3);
    EXPECT_EQ(state.Code, 0);
    EXPECT_EQ(state.SystemError, 0);
    EXPECT_EQ(state.Unwritten, 0);
}

TEST_P(WriteState, AFailedCloseIsToldToo)
{
    m_channel->SYNC();
    Change();
    {
        qztest::Hooks hooks;
        hooks.Fail(os::Op::FileWrite, 28, 1, true);
        const QZWriteState state = QZChannel::TryClose(&m_channel);
        EXPECT_EQ(state.Code, QZIOExceptionCode::WriteFailed);
        EXPECT_EQ(state.SystemError, 28);
        EXPECT_GT(state.Unwritten, 0);
    }
    EXPECT_EQ(m_channel, nullptr);
    Open();
    EXPECT_EQ(m_channel->G_CN(m_channel->G_TA(Info::TREESSN), Info::HD_NODE_COUNT, 0), 0);
    Change();
    EXPECT_EQ(QZChannel::TryClose(&m_channel).Unwritten, 0);
    Open();
    EXPECT_EQ(m_channel->G_CN(m_channel->G_TA(Info::TREESSN), Info::HD_NODE_COUNT, 0), 1);
}

TEST_P(WriteState, AFailedFlushIsTold)
{
    m_channel->SYNC();
    Change();
    {
        qztest::Hooks hooks;
        hooks.Fail(os::Op::FileSync, 5);
        EXPECT_EQ(m_channel->TrySync().SystemError, 5);
    }
    // Written in place, the bytes may be lost although the next flush succeeds. A whole sync is repeated.
    EXPECT_EQ(m_channel->TrySync().SystemError, GetParam() ? 0 : 5);
}

TEST_P(WriteState, TheFileIsNamed) { EXPECT_EQ(qztest::Utf8(m_channel->GetPath()), qztest::Utf8(Path())); }
}  // namespace
