// A server with clients that connect, send requests, stall and disconnect at the same time; under
// ThreadSanitizer the tests show data races.

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "net/http_server_support.h"
#include "net/net_json.h"
#include "support/qz_hooks.h"

namespace
{

using qztest::BodyOf;
using qztest::Eventually;
using qztest::RawClient;
using qztest::Reports;
using qztest::TestServer;

constexpr int kClients = 6;
constexpr int kRounds = 20;

std::string Post(const std::string& path, std::size_t size)
{
    return "POST " + path + " HTTP/1.1\r\nContent-Length: " + std::to_string(size) + "\r\n\r\n" +
           std::string(size, 'b');
}

/// Runs one client: requests of several sizes, in pieces, with and without keep-alive, and every way to end a
/// connection. Returns the number of wrong answers.
int RunClient(unsigned short port, int client)
{
    int wrong = 0;
    for (int round = 0; round < kRounds; ++round)
    {
        RawClient line(port);
        const std::string path = "/" + std::to_string(client) + "/" + std::to_string(round);
        wrong += BodyOf(line.Ask("GET " + path + " HTTP/1.1\r\n\r\n")) != "GET " + path + " 0";
        const std::size_t size = static_cast<std::size_t>(round) * 9973;
        const std::string request = Post(path, size);
        const std::size_t half = request.size() / 2;
        line.Send(request.substr(0, half));
        line.Send(request.substr(half));
        wrong += BodyOf(line.Receive()) != "POST " + path + " " + std::to_string(size);
        switch (round % 5)
        {
            case 0: wrong += line.Ask("GET / HTTP/1.1\r\nConnection: close\r\n\r\n").empty(); break;
            case 1: line.Send("GET /never-finished"); break;
            case 2: line.Send("1 is no letter"); break;
            case 3: line.Send("GET /unread HTTP/1.1\r\n\r\n"); break;
            default: line.EndOutput(); break;
        }
    }
    return wrong;
}

/// Calls the status and maintenance functions of the server, as a host does, until done is set.
void Watch(TestServer& server, const std::atomic<bool>& done)
{
    while (!done)
    {
        QZJsonValueCollection* info = server.GetConnectInfo();
        server.Recycle(&info);
        server.ConnectCloseFree();
        server.ConnectCheck();
        server.Collect();
        server.ThreadPoolWorkingCount();
        os::Sleep(5);
    }
}

TEST(HttpStress, ServesClientsOfAllKindsAtTheSameTime)
{
    Reports reports;
    TestServer server(&reports, nullptr, QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyHigh);
    server.Start();
    std::atomic<int> wrong{0};
    std::atomic<bool> done{false};
    std::thread watcher([&] { Watch(server, done); });
    std::vector<std::thread> clients;
    for (int i = 0; i < kClients; ++i)
        clients.emplace_back([&, i] { wrong += RunClient(server.GetPort(), i); });
    for (std::thread& client : clients) client.join();
    done = true;
    watcher.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(Eventually([&] { return server.ConnectCount() + server.ConnectCloseWaitCount() == 0; }));
}

TEST(HttpStress, ServerCanBeDestroyedWhileClientsSendRequests)
{
    for (int round = 0; round < 3; ++round)
    {
        Reports reports;
        auto server = std::make_unique<TestServer>(&reports);
        server->Start();
        const unsigned short port = server->GetPort();
        std::atomic<bool> stop{false};
        std::atomic<int> answers{0};
        std::vector<std::thread> clients;
        for (int i = 0; i < 4; ++i)
            clients.emplace_back([&] {
                while (!stop)
                {
                    RawClient line(port);
                    while (!stop && !line.Ask(Post("/x", 3000)).empty()) ++answers;
                }
            });
        EXPECT_TRUE(Eventually([&] { return answers > 20; }));
        server.reset();
        stop = true;
        for (std::thread& client : clients) client.join();
    }
}

}  // namespace
