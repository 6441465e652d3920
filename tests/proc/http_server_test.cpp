// A server's whole life in a process of its own: nothing stays behind.

#include <filesystem>
#include <string>

#include "fw/fw_library.h"
#include "net/http_server_support.h"
#include "net/net_json.h"
#include "os/os_thread.h"
#include "qzlib.h"
#include "support/qz_hooks.h"

namespace
{

using qztest::BodyOf;
using qztest::Eventually;
using qztest::RawClient;
using qztest::Reports;
using qztest::TestServer;

/// Entries of a folder of the system's, 0 where it has none. What Wine keeps open for itself is its own.
long Entries(const char* folder)
{
    std::error_code error;
    long count = 0;
    if (qztest::OnWine()) return 0;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
        ++count;
    return count;
}

long Descriptors() { return Entries("/proc/self/fd"); }
long Threads() { return Entries("/proc/self/task"); }

std::string Idle(int cache)
{
    QZJsonObject* status = QZHttpFactory::GetStatus();
    const std::string count = qztest::Utf8(status->GetAttrValue(cache)->Val());
    QZHttpFactory::Recycle(&status);
    return count;
}

constexpr int kConnects = 6;

/// Clients of every kind, then the server goes under those that are still there.
void Live(QZErrorReport* report)
{
    TestServer server(report);
    server.Start();
    RawClient idle(server.GetPort());
    EXPECT_EQ(BodyOf(idle.Ask("GET /i HTTP/1.1\r\n\r\n")), "GET /i 0");
    RawClient half(server.GetPort());
    half.Send("GET /half");
    RawClient silent(server.GetPort());
    {
        RawClient closing(server.GetPort());
        closing.Ask("GET / HTTP/1.1\r\nConnection: close\r\n\r\n");
        RawClient noHttp(server.GetPort());
        noHttp.Ask("\r\n\r\n");
        RawClient large(server.GetPort());
        large.Ask("GET / HTTP/1.1\r\nX: " + std::string(5000, 'x') + "\r\n\r\n");
    }
    // In close wait, with its socket still open.
    RawClient ended(server.GetPort());
    ended.Ask("GET / HTTP/1.1\r\n\r\n");
    server.ConnectClose(-1);
}

TEST(HttpServerLife, LeavesNoDescriptorThreadOrConnectionBehind)
{
    QZLibInit();
    Reports reports;
    Live(&reports);
    const long descriptors = Descriptors();
    ASSERT_TRUE(Eventually([] { return Threads() <= 1; }));
    const std::string connects = Idle(kConnects);
    for (int round = 0; round < 3; ++round) Live(&reports);
    EXPECT_EQ(Descriptors(), descriptors);
    EXPECT_TRUE(Eventually([] { return Threads() <= 1; }));
    // The connections of the first life served the others.
    EXPECT_LE(std::stoi(Idle(kConnects)), std::stoi(connects) + 3);
    QZLibDispose();
}

TEST(HttpServerLife, AnEngineThatWasNotStartedLeavesNothingEither)
{
    QZLibInit();
    Reports reports;
    {
        TestServer first(&reports);
    }
    const long descriptors = Descriptors();
    for (int i = 0; i < 5; ++i) TestServer server(&reports, nullptr, 3);
    EXPECT_EQ(Descriptors(), descriptors);
    EXPECT_TRUE(Eventually([] { return Threads() <= 1; }));
    QZLibDispose();
}

TEST(HttpServerLife, AServerOutlivesTheCallToEndAllThreads)
{
    QZLibInit();
    {
        Reports reports;
        TestServer server(&reports);
        server.Start();
        RawClient client(server.GetPort());
        EXPECT_EQ(BodyOf(client.Ask("GET / HTTP/1.1\r\n\r\n")), "GET / 0");
        QZThread::ThreadsAbort();
    }
    QZLibDispose();
}

TEST(HttpServerLife, ConnectionsComeFromTheCacheAgain)
{
    QZLibInit();
    {
        Reports reports;
        TestServer server(&reports);
        server.Start();
        for (int i = 0; i < 3; ++i)
        {
            RawClient client(server.GetPort());
            EXPECT_EQ(BodyOf(client.Ask("GET / HTTP/1.1\r\n\r\n")), "GET / 0");
            client.Close();
            EXPECT_TRUE(Eventually([&] {
                return server.ConnectCount() + server.ConnectCloseWaitCount() == 0 && Idle(kConnects) == "1";
            }));
        }
    }
    EXPECT_EQ(Idle(kConnects), "1");
    QZLibDispose();
}

}  // namespace
