// The complete life of a server in its own process: all its resources are released.

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

/// Counts the entries of a system folder; 0 where there is none, and on Wine, which keeps entries of its own.
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

/// Runs a server with clients of every kind and destroys it while some are still connected.
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
    // This connection waits to be closed, with its socket still open.
    RawClient ended(server.GetPort());
    ended.Ask("GET / HTTP/1.1\r\n\r\n");
    server.ConnectClose(-1);
}

TEST(HttpServerLife, ReleasesDescriptorsThreadsAndConnections)
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
    // The later runs reuse the connection objects of the first.
    EXPECT_LE(std::stoi(Idle(kConnects)), std::stoi(connects) + 3);
    QZLibDispose();
}

TEST(HttpServerLife, EngineThatWasNotStartedReleasesEverything)
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

TEST(HttpServerLife, ServerCanBeDestroyedAfterThreadsAbort)
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

TEST(HttpServerLife, ConnectionObjectsAreReused)
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
