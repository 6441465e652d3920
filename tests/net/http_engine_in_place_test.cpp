// A server whose completion threads answer requests themselves.

#include "net/http_engine_fixture.h"

namespace
{

using qztest::BodyOf;
using qztest::Eventually;
using qztest::Get;
using qztest::Head;
using qztest::HttpEngine;
using qztest::Post;
using qztest::RawClient;
using qztest::StatusOf;
using qztest::TestServer;

class HttpEngineInPlace : public HttpEngine
{
protected:
    void SetUp() override { QZHttpServerEngine::AnswerInPlace = 1; }
    void TearDown() override
    {
        m_server.reset();
        QZHttpServerEngine::AnswerInPlace = 0;
        QZHttpServerEngine::CompletionPause = 1;
    }
};

TEST_F(HttpEngine, WorkersAnswerByDefault)
{
    EXPECT_EQ(QZHttpServerEngine::AnswerInPlace, 0);
    TestServer& server = Run();
    RawClient client(PortNumber());
    EXPECT_EQ(BodyOf(client.Ask(Get("/"))), "GET / 0");
    EXPECT_EQ(server.ThreadPoolCount(), 1);
}

TEST_F(HttpEngineInPlace, RequestsAreAnsweredWithoutWorkers)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    EXPECT_EQ(client.Ask(Get("/hello")),
              "HTTP/1.1 200 OK\r\nContent-Length: 12\r\nConnection: keep-alive\r\n\r\nGET /hello 0");
    for (int i = 0; i < 50; ++i)
        ASSERT_EQ(BodyOf(client.Ask(Get("/" + std::to_string(i)))), "GET /" + std::to_string(i) + " 0");
    EXPECT_EQ(server.ThreadPoolCount(), 0);
    EXPECT_EQ(server.ConnectCount(), 1);
    EXPECT_TRUE(Eventually([&] { return server.finished == 51; }));
}

TEST_F(HttpEngineInPlace, RequestMayArriveInAnyPieces)
{
    QZHttpServerEngine::CompletionPause = 0;
    TestServer& server = Run();
    RawClient client(PortNumber());
    const std::string request = Post("/slow", "body");
    for (char byte : request) ASSERT_TRUE(client.Send(std::string(1, byte)));
    EXPECT_EQ(BodyOf(client.Receive()), "POST /slow 4");
    ASSERT_TRUE(client.Send("GET /split HT"));
    os::Sleep(30);
    EXPECT_EQ(BodyOf(client.Ask("TP/1.1\r\nHost: h\r\n\r\n")), "GET /split 0");
    EXPECT_TRUE(Eventually([&] { return server.finished == 2; }));
}

TEST_F(HttpEngineInPlace, LargeBodiesAreReceivedAndSent)
{
    Run([](QZHttpRequest* request) {
        return TestServer::Text({static_cast<const char*>(request->GetContent()->GetPointer()),
                                 static_cast<std::size_t>(request->GetContent()->GetSize())});
    });
    std::string body(5 << 20, '\0');
    for (std::size_t i = 0; i < body.size(); i += 997) body[i] = static_cast<char>(i % 251);
    RawClient client(PortNumber());
    EXPECT_TRUE(BodyOf(client.Ask(Post("/", body))) == body);
    EXPECT_EQ(BodyOf(client.Ask(Post("/", "small"))), "small");
}

TEST_F(HttpEngineInPlace, FailuresAreAnsweredAsWithWorkers)
{
    Run([](QZHttpRequest* request) -> QZHttpResponse* {
        if (request->GetUrl()->GetPath()->Equals(QZ_W("/throw")))
            throw QZExceptionFactory::CreateException(QZ_W("no such thing"), 7);
        return TestServer::Text("fine");
    });
    RawClient client(PortNumber());
    EXPECT_EQ(StatusOf(client.Ask(Get("/throw"))), "HTTP/1.1 500 Internal Server Error");
    EXPECT_TRUE(m_reports.Has("no such thing"));
    EXPECT_EQ(BodyOf(client.Ask(Get("/"))), "fine") << "the connection stays open";
    EXPECT_EQ(StatusOf(client.Ask(Head(4097))), "HTTP/1.1 431 Request Header Fields Too Large");
    RawClient rude(PortNumber());
    ASSERT_TRUE(rude.Send("\x16\x03\x01"));
    EXPECT_EQ(rude.Receive(), "");
    EXPECT_TRUE(Eventually([&] { return m_server->cutOff == 1; }));
}

TEST_F(HttpEngineInPlace, ConnectionCloseEndsTheConnectionAfterTheResponse)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    const std::string answer = client.Ask(Get("/", "Connection: close\r\n"));
    EXPECT_EQ(BodyOf(answer), "GET / 0");
    EXPECT_TRUE(client.AtEnd());
    client.Close();
    EXPECT_TRUE(Eventually([&] { return server.ConnectCount() + server.ConnectCloseWaitCount() == 0; }));
}

TEST_F(HttpEngineInPlace, VanishingClientsAreRemoved) { ExpectVanishingClientsAreRemoved(); }

/// Makes receives fail while `broken` is set.
class BrokenReceives
{
public:
    BrokenReceives() { os::SetTestHooks(&m_table); }
    ~BrokenReceives() { os::SetTestHooks(nullptr); }
    BrokenReceives(const BrokenReceives&) = delete;
    BrokenReceives& operator=(const BrokenReceives&) = delete;

    std::atomic<bool> broken{false};

private:
    static bool OnGate(void* context, os::Op operation, QZInt64*, QZUInt32* error)
    {
        if (operation != os::Op::PortReceive || !static_cast<BrokenReceives*>(context)->broken) return true;
        *error = 10054;
        return false;
    }

    os::TestHooks m_table{this, nullptr, &OnGate, nullptr};
};

TEST_F(HttpEngineInPlace, ConnectionThatBreaksDuringAPageIsRemovedAfterTheResponse)
{
    BrokenReceives receives;
    TestServer& server = Run([&](QZHttpRequest*) {
        receives.broken = true;
        return TestServer::Text("good bye");
    });
    RawClient client(PortNumber());
    EXPECT_EQ(BodyOf(client.Ask(Get("/"))), "good bye");
    EXPECT_TRUE(Eventually([&] { return server.ConnectCount() + server.ConnectCloseWaitCount() == 0; }));
    EXPECT_TRUE(client.AtEnd());
    m_server.reset();
}

TEST_F(HttpEngineInPlace, ShutdownDoesNotWaitForAClientThatDoesNotRead)
{
    ExpectShutdownDoesNotWaitForAStuckClient();
}

TEST_F(HttpEngineInPlace, ShutdownWaitsForAPage) { ExpectShutdownWaitsForAPage(); }

TEST_F(HttpEngineInPlace, ConcurrentClientsGetTheirOwnResponses)
{
    QZHttpServerEngine::CompletionPause = 0;
    TestServer& server = Run();
    std::atomic<int> wrong{0};
    std::vector<std::thread> clients;
    clients.reserve(8);
    for (int c = 0; c < 8; ++c)
        clients.emplace_back([&, c] {
            RawClient client(PortNumber());
            for (int i = 0; i < 100; ++i)
            {
                const std::string path = "/" + std::to_string(c) + "/" + std::to_string(i);
                wrong += BodyOf(client.Ask(Get(path))) != "GET " + path + " 0";
            }
        });
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(Eventually([&] { return server.finished == 800; }));
    EXPECT_EQ(server.ThreadPoolCount(), 0);
}

}  // namespace
