// The completion port of the platform seam: the behaviour that a server relies on, on both platforms.

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_socket.h"
#include "sys/internal/sys_thread.h"

namespace
{

constexpr QZUInt32 kLong = 20000;

/// Both ends of one loopback connection.
class Line
{
public:
    Line()
    {
        QZInt64 listener = os::SocketOpen(os::SocketKind::Stream);
        os::SocketBind(listener, 0, kLoopback);
        os::SocketListen(listener, 1);
        QZUInt32 address = 0;
        QZUInt16 port = 0;
        os::SocketLocalName(listener, &address, &port);
        near = os::SocketOpen(os::SocketKind::Stream);
        os::SocketConnect(near, kLoopback, port);
        far = os::SocketAccept(listener, &address, &port);
        os::SocketClose(listener);
    }
    ~Line()
    {
        if (near != 0) os::SocketClose(near);
        if (far != 0) os::SocketClose(far);
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    void Write(const std::string& bytes) const
    {
        ASSERT_EQ(os::SocketSend(far, bytes.data(), static_cast<QZInt64>(bytes.size())),
                  static_cast<QZInt64>(bytes.size()));
    }
    void CloseFar()
    {
        os::SocketClose(far);
        far = 0;
    }
    void CloseNear()
    {
        os::SocketClose(near);
        near = 0;
    }

    static constexpr QZUInt32 kLoopback = 0x0100007F;

    QZInt64 near;
    QZInt64 far;
};

/// A port, and one block for each socket.
class Port : public testing::Test
{
protected:
    void SetUp() override
    {
        m_port = os::PortOpen(2);
        ASSERT_NE(m_port, 0);
    }
    void TearDown() override
    {
        if (m_port != 0) os::PortClose(m_port);
    }

    os::PortBlock* Begin(QZInt64 socket, QZUInt32 length = 131072)
    {
        m_blocks.push_back(std::make_unique<os::PortBlock>());
        os::PortBlock* block = m_blocks.back().get();
        *block = {};
        block->Length = length;
        block->Buffer = block->Data;
        EXPECT_TRUE(os::PortReceive(socket, block));
        return block;
    }

    bool Wait(QZUInt32 milliseconds = kLong)
    {
        m_completion = {};
        return os::PortWait(m_port, milliseconds, &m_completion);
    }

    QZInt64 m_port = 0;
    os::PortCompletion m_completion = {};
    std::vector<std::unique_ptr<os::PortBlock>> m_blocks;
};

std::string TextOf(const os::PortBlock* block, QZUInt32 bytes)
{
    return {reinterpret_cast<const char*>(block->Data), bytes};
}

TEST_F(Port, ReceivedBytesArriveWithTheirKey)
{
    Line line;
    ASSERT_TRUE(os::PortAssociate(m_port, line.near, 77));
    os::PortBlock* block = Begin(line.near);
    line.Write("hello");
    ASSERT_TRUE(Wait());
    EXPECT_EQ(m_completion.Key, 77);
    EXPECT_EQ(m_completion.Bytes, 5u);
    EXPECT_EQ(TextOf(block, 5), "hello");
}

TEST_F(Port, BytesSentBeforeTheReceiveComplete)
{
    Line line;
    ASSERT_TRUE(os::PortAssociate(m_port, line.near, 1));
    line.Write("early");
    Begin(line.near);
    ASSERT_TRUE(Wait());
    EXPECT_EQ(m_completion.Bytes, 5u);
}

TEST_F(Port, NothingCompletesWithoutAReceive)
{
    Line line;
    ASSERT_TRUE(os::PortAssociate(m_port, line.near, 1));
    line.Write("unasked");
    EXPECT_FALSE(Wait(30));
    EXPECT_EQ(m_completion.Key, 0);
}

TEST_F(Port, OneReceiveHasOneCompletion)
{
    Line line;
    ASSERT_TRUE(os::PortAssociate(m_port, line.near, 1));
    Begin(line.near, 4);
    line.Write("abcdefgh");
    ASSERT_TRUE(Wait());
    EXPECT_EQ(m_completion.Bytes, 4u);
    EXPECT_FALSE(Wait(30));
    os::PortBlock* block = Begin(line.near, 4);
    ASSERT_TRUE(Wait());
    EXPECT_EQ(TextOf(block, m_completion.Bytes), "efgh");
}

TEST_F(Port, ClosedPeerCompletesWithZeroBytes)
{
    Line line;
    ASSERT_TRUE(os::PortAssociate(m_port, line.near, 9));
    Begin(line.near);
    line.Write("last");
    ASSERT_TRUE(Wait());
    Begin(line.near);
    line.CloseFar();
    ASSERT_TRUE(Wait());
    EXPECT_EQ(m_completion.Key, 9);
    EXPECT_EQ(m_completion.Bytes, 0u);
}

TEST_F(Port, PeerThatShutsDownItsSendsCompletesWithZeroBytes)
{
    Line line;
    ASSERT_TRUE(os::PortAssociate(m_port, line.near, 9));
    Begin(line.near);
    ASSERT_TRUE(os::SocketShutdown(line.far, os::SocketSide::Send));
    ASSERT_TRUE(Wait());
    EXPECT_EQ(m_completion.Bytes, 0u);
    char byte = 'x';
    EXPECT_EQ(os::SocketSend(line.near, &byte, 1), 1);
    EXPECT_EQ(os::SocketReceive(line.far, &byte, 1), 1);
}

TEST_F(Port, KeyIdentifiesTheSocket)
{
    Line first;
    Line second;
    ASSERT_TRUE(os::PortAssociate(m_port, first.near, 1));
    ASSERT_TRUE(os::PortAssociate(m_port, second.near, 2));
    Begin(first.near);
    Begin(second.near);
    second.Write("2");
    ASSERT_TRUE(Wait());
    EXPECT_EQ(m_completion.Key, 2);
    first.Write("1");
    ASSERT_TRUE(Wait());
    EXPECT_EQ(m_completion.Key, 1);
}

TEST_F(Port, WaitEndsAtItsTimeout)
{
    QZInt64 before = os::MonotonicMicros();
    m_completion = {5, 5};
    EXPECT_FALSE(os::PortWait(m_port, 50, &m_completion));
    EXPECT_GE(os::MonotonicMicros() - before, 45000);
    EXPECT_EQ(m_completion.Key, 5);
    EXPECT_EQ(m_completion.Bytes, 5u);
}

TEST_F(Port, PostWakesOneWaiterWithoutACompletion)
{
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] {
            os::PortCompletion completion = {5, 5};
            while (!os::PortWait(m_port, 100, &completion))
            {}
            EXPECT_EQ(completion.Key, 0);
            EXPECT_EQ(completion.Bytes, 0u);
            ++woken;
        });
    for (int expected = 1; expected <= 3; ++expected)
    {
        ASSERT_TRUE(os::PortPost(m_port));
        EXPECT_TRUE(qztest::Eventually([&] { return woken == expected; }));
    }
    for (std::thread& waiter : waiters) waiter.join();
}

TEST_F(Port, PostsAreCounted)
{
    ASSERT_TRUE(os::PortPost(m_port));
    ASSERT_TRUE(os::PortPost(m_port));
    EXPECT_TRUE(Wait());
    EXPECT_TRUE(Wait());
    EXPECT_FALSE(Wait(20));
}

TEST_F(Port, CloseEndsEveryWaitAndFailsLaterCalls)
{
    std::atomic<int> entered{0};
    std::vector<std::thread> waiters;
    const QZInt64 before = os::MonotonicMicros();
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] {
            os::PortCompletion completion = {};
            ++entered;
            EXPECT_FALSE(os::PortWait(m_port, 60000, &completion));
            EXPECT_EQ(completion.Key, 0);
        });
    EXPECT_TRUE(qztest::Eventually([&] { return entered == 3; }));
    os::Sleep(20);
    EXPECT_TRUE(os::PortClose(m_port));
    for (std::thread& waiter : waiters) waiter.join();
    EXPECT_LT(os::MonotonicMicros() - before, 50000000);
    EXPECT_FALSE(Wait(1));
    EXPECT_FALSE(os::PortPost(m_port));
    m_port = 0;
}

TEST_F(Port, EveryCompletionReachesExactlyOneWaiter)
{
    constexpr int kLines = 8;
    constexpr int kRounds = 50;
    std::vector<std::unique_ptr<Line>> lines;
    std::vector<os::PortBlock*> blocks;
    for (int i = 0; i < kLines; ++i)
    {
        lines.push_back(std::make_unique<Line>());
        ASSERT_TRUE(os::PortAssociate(m_port, lines.back()->near, i + 1));
        blocks.push_back(Begin(lines.back()->near));
    }
    std::atomic<int> received[kLines] = {};
    std::atomic<bool> stop{false};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] {
            while (!stop)
            {
                os::PortCompletion completion = {};
                if (!os::PortWait(m_port, 50, &completion) || completion.Key == 0) continue;
                const std::size_t line = static_cast<std::size_t>(completion.Key - 1);
                received[line] += static_cast<int>(completion.Bytes);
                os::PortReceive(lines[line]->near, blocks[line]);
            }
        });
    for (int round = 0; round < kRounds; ++round)
        for (auto& line : lines) line->Write("abc");
    for (std::atomic<int>& bytes : received)
        EXPECT_TRUE(qztest::Eventually([&] { return bytes == 3 * kRounds; })) << bytes;
    stop = true;
    for (std::thread& waiter : waiters) waiter.join();
}

TEST_F(Port, ReusedSocketHandleStartsFresh)
{
    for (int i = 0; i < 20; ++i)
    {
        Line line;
        ASSERT_TRUE(os::PortAssociate(m_port, line.near, 100 + i));
        os::PortBlock* block = Begin(line.near);
        line.Write("x");
        ASSERT_TRUE(Wait());
        ASSERT_EQ(m_completion.Key, 100 + i);
        EXPECT_EQ(TextOf(block, m_completion.Bytes), "x");
    }
}

TEST_F(Port, SocketClosedDuringAReceiveDoesNotComplete)
{
    Line line;
    ASSERT_TRUE(os::PortAssociate(m_port, line.near, 3));
    os::PortBlock* block = Begin(line.near);
    line.CloseNear();
    EXPECT_FALSE(Wait(50));
    EXPECT_EQ(m_completion.Key, 0);
    EXPECT_EQ(block->Data[0], 0);
}

TEST_F(Port, ReceiveOnAClosedSocketFails)
{
    Line line;
    ASSERT_TRUE(os::PortAssociate(m_port, line.near, 3));
    QZInt64 socket = line.near;
    line.CloseNear();
    auto block = std::make_unique<os::PortBlock>();
    *block = {};
    block->Length = 16;
    block->Buffer = block->Data;
    EXPECT_FALSE(os::PortReceive(socket, block.get()));
}

TEST_F(Port, FaultsFailOpenAssociateAndPost)
{
    Line line;
    qztest::Hooks hooks;
    hooks.Fail(os::Op::Port, 10024);
    EXPECT_EQ(os::PortOpen(1), 0);
    EXPECT_EQ(os::LastError(), 10024u);
    hooks.Fail(os::Op::Port, 10055);
    EXPECT_FALSE(os::PortAssociate(m_port, line.near, 1));
    EXPECT_EQ(os::LastError(), 10055u);
    hooks.Fail(os::Op::Port, 10055);
    EXPECT_FALSE(os::PortPost(m_port));
}

TEST_F(Port, AssociateWithAClosedPortFails)
{
    Line line;
    QZInt64 gone = os::PortOpen(1);
    ASSERT_TRUE(os::PortClose(gone));
    EXPECT_FALSE(os::PortAssociate(gone, line.near, 1));
}

TEST(SocketBinding, SocketIsBoundToTheGivenAddress)
{
    QZInt64 socket = os::SocketOpen(os::SocketKind::Stream);
    ASSERT_TRUE(os::SocketBind(socket, 0, Line::kLoopback));
    QZUInt32 address = 0;
    QZUInt16 port = 0;
    ASSERT_TRUE(os::SocketLocalName(socket, &address, &port));
    EXPECT_EQ(address, Line::kLoopback);
    EXPECT_TRUE(os::SocketKeepAlive(socket, 180, 10000));
    EXPECT_TRUE(os::SocketClose(socket));
    EXPECT_FALSE(os::SocketKeepAlive(socket, 180, 10000));
}

}  // namespace
