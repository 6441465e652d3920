// A server whose system calls fail.

#include "net/http_engine_fixture.h"

namespace
{

using qztest::BodyOf;
using qztest::Eventually;
using qztest::Get;
using qztest::HttpEngine;
using qztest::RawClient;
using qztest::Reports;
using qztest::TestServer;

/// Fails the n-th operation of a kind, counted on this thread or on all other threads.
class FailAnywhere
{
public:
    FailAnywhere(os::Op operation, QZUInt32 error, int n, bool elsewhere = true)
        : m_table{this, nullptr, &FailAnywhere::OnGate, nullptr},
          m_operation(operation),
          m_error(error),
          m_left(n),
          m_elsewhere(elsewhere)
    {
        os::SetTestHooks(&m_table);
    }
    ~FailAnywhere() { os::SetTestHooks(nullptr); }
    FailAnywhere(const FailAnywhere&) = delete;
    FailAnywhere& operator=(const FailAnywhere&) = delete;

private:
    static bool OnGate(void* context, os::Op operation, QZInt64*, QZUInt32* error)
    {
        FailAnywhere* self = static_cast<FailAnywhere*>(context);
        const bool here = std::this_thread::get_id() == self->m_thread;
        if (operation != self->m_operation || here == self->m_elsewhere || --self->m_left != 0) return true;
        *error = self->m_error;
        return false;
    }

    os::TestHooks m_table;
    os::Op m_operation;
    QZUInt32 m_error;
    std::atomic<int> m_left;
    bool m_elsewhere;
    std::thread::id m_thread = std::this_thread::get_id();
};

std::string FailureOfConstruction(os::Op operation, int n)
{
    Reports reports;
    FailAnywhere fail(operation, 10024, n, false);
    return qztest::Catch([&] { TestServer server(&reports); }).message;
}

TEST_F(HttpEngine, FailedConstructionThrowsItsReason)
{
    EXPECT_EQ(FailureOfConstruction(os::Op::Socket, 1).substr(0, 30), "Create of listen socket failed");
    EXPECT_EQ(FailureOfConstruction(os::Op::Socket, 2).substr(0, 15), "WSAIoctl failed");
    EXPECT_EQ(FailureOfConstruction(os::Op::Port, 1).substr(0, 29), "CreateIoCompletionPort failed");
    EXPECT_EQ(FailureOfConstruction(os::Op::ThreadCreate, 1).substr(0, 28), "Create of work thread failed");
    EXPECT_EQ(FailureOfConstruction(os::Op::ThreadCreate, 2).substr(0, 28), "Create of work thread failed");
}

TEST_F(HttpEngine, FailedAcceptIsReportedAndTheServerContinues)
{
    TestServer& server = Run();
    auto first = std::make_unique<RawClient>(PortNumber());
    ASSERT_EQ(BodyOf(first->Ask(Get("/1"))), "GET /1 0");
    // The waiting accept has passed the gate already, so the next one fails.
    FailAnywhere fail(os::Op::Socket, 10024, 1);
    RawClient second(server.GetPort());
    RawClient third(server.GetPort());
    EXPECT_EQ(BodyOf(third.Ask(Get("/3"))), "GET /3 0");
    EXPECT_EQ(BodyOf(second.Ask(Get("/2"))), "GET /2 0");
    EXPECT_TRUE(Eventually([&] { return m_reports.Has("QZHttpServerEngine accept failed"); }));
}

TEST_F(HttpEngine, SocketRefusedByThePortIsClosedAndReported)
{
    TestServer& server = Run();
    FailAnywhere fail(os::Op::Port, 10055, 1);
    RawClient client(server.GetPort());
    EXPECT_TRUE(client.AtEnd());
    EXPECT_TRUE(Eventually([&] { return m_reports.Has("CreateIoCompletionPort associate failed"); }));
    EXPECT_EQ(server.ConnectCount(), 0);
    RawClient next(server.GetPort());
    EXPECT_EQ(BodyOf(next.Ask(Get("/"))), "GET / 0");
}

TEST_F(HttpEngine, ClosedClientEndsItsConnectionOnly)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    EXPECT_EQ(server.ConnectCount(), 1);
    RawClient other(PortNumber());
    other.Ask(Get("/"));
    client.Close();
    EXPECT_TRUE(
        Eventually([&] { return server.ConnectCount() == 1 && server.ConnectCloseWaitCount() == 0; }));
}

}  // namespace
