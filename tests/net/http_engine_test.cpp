// A running server and its clients on the loopback interface.

#include "net/http_engine_fixture.h"

namespace
{

using qztest::BodyOf;
using qztest::EndlessOrSmall;
using qztest::Eventually;
using qztest::Get;
using qztest::Head;
using qztest::HttpEngine;
using qztest::Post;
using qztest::RawClient;
using qztest::StatusOf;
using qztest::TestServer;

TEST_F(HttpEngine, ConstantsHaveTheirValues)
{
    EXPECT_EQ(QZHttpServerEngineStatus::HttpServerInitialized, 0);
    EXPECT_EQ(QZHttpServerEngineStatus::HttpServerWorking, 1);
    EXPECT_EQ(QZHttpServerEngineStatus::HttpServerAbort, 2);
    EXPECT_EQ(QZHttpServerEngineThreadStatus::Init, 0);
    EXPECT_EQ(QZHttpServerEngineThreadStatus::Working, 1);
    EXPECT_EQ(QZHttpServerEngineThreadStatus::Abort, 2);
    EXPECT_EQ(QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyLow, 1);
    EXPECT_EQ(QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyNormal, 2);
    EXPECT_EQ(QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyHigh, 3);
    EXPECT_EQ(QZHttpServerEngine::MaxClientDefault, -1);
    EXPECT_EQ(QZHttpServerEngine::HttpHeadSizeLimitDefault, 4096);
    EXPECT_EQ(QZHttpServerEngine::FreeConnectKeepAliveTime, 180000);
    EXPECT_EQ(QZHttpServerEngine::TaskConnectCheckInterval, 30000);
    EXPECT_EQ(QZHttpServerEngine::TaskConnectCloseInterval, 1000);
    EXPECT_EQ(QZHttpServerEngine::TaskCacheCollectInterval, 3600000);
    EXPECT_EQ(QZHttpServerEngine::CompletionPause, 1);
    EXPECT_EQ(QZHttpServerEngine::Type, 0x8310025);
}

TEST_F(HttpEngine, EngineThatWasNeverStartedShutsDown)
{
    for (long long efficiency : {0, 1, 2, 3})
    {
        TestServer server(&m_reports, nullptr, efficiency);
        EXPECT_EQ(server.GetStatus(), QZHttpServerEngineStatus::HttpServerInitialized);
        EXPECT_EQ(server.GetType(), 0x8310025);
        EXPECT_NE(server.GetHandle(), -1);
        EXPECT_EQ(server.ConnectCount(), 0);
        EXPECT_EQ(server.ThreadPoolCount(), 0);
    }
    EXPECT_TRUE(m_reports.All().empty());
}

TEST_F(HttpEngine, SecondStartThrows)
{
    TestServer& server = Run();
    EXPECT_EQ(server.GetStatus(), QZHttpServerEngineStatus::HttpServerWorking);
    QZHttpServerEngine& engine = server;
    qztest::Thrown thrown = qztest::Catch([&] { engine.Start(); });
    EXPECT_TRUE(thrown.thrown);
    EXPECT_EQ(thrown.message.substr(0, 15), "not initialized");
    EXPECT_EQ(server.GetStatus(), QZHttpServerEngineStatus::HttpServerWorking);
}

TEST_F(HttpEngine, StartOnAPortInUseThrows)
{
    TestServer& first = Run();
    class Second : public QZHttpServerEngine
    {
    public:
        Second(QZErrorReport* report, unsigned short port) : QZHttpServerEngine(report, port)
        {
            m_bindAddress = qztest::kLoopback;
        }
    } second(&m_reports, first.GetPort());
    qztest::Thrown thrown = qztest::Catch([&] { second.Start(); });
    EXPECT_EQ(thrown.code, 5632);
    EXPECT_EQ(thrown.type, QZIOException::Type);
    EXPECT_EQ(thrown.message.substr(0, 22), "bind failed with error");
    EXPECT_EQ(second.GetStatus(), QZHttpServerEngineStatus::HttpServerInitialized);
}

TEST_F(HttpEngine, RequestIsAnswered)
{
    Run();
    RawClient client(PortNumber());
    EXPECT_EQ(client.Ask(Get("/hello")),
              "HTTP/1.1 200 OK\r\nContent-Length: 12\r\nConnection: keep-alive\r\n\r\nGET /hello 0");
}

TEST_F(HttpEngine, DefaultPageIsEmpty)
{
    class Plain : public QZHttpServerEngine
    {
    public:
        explicit Plain(QZErrorReport* report) : QZHttpServerEngine(1, report, 0)
        {
            m_bindAddress = qztest::kLoopback;
        }
    } server(&m_reports);
    server.Start();
    RawClient client(server.GetPort());
    EXPECT_EQ(client.Ask(Get("/")),
              "HTTP/1.1 200 OK\r\nContent-Length: 69\r\nContent-Type: text/html; charset=utf-8\r\n"
              "Connection: keep-alive\r\n\r\n"
              "<!DOCTYPE html><html><head><title></title></head><body></body></html>");
}

TEST_F(HttpEngine, RequestsOfOneConnectionAreAnsweredInOrder)
{
    Run();
    RawClient client(PortNumber());
    for (int i = 0; i < 50; ++i)
        ASSERT_EQ(BodyOf(client.Ask(Get("/" + std::to_string(i)))), "GET /" + std::to_string(i) + " 0");
    EXPECT_EQ(m_server->ConnectCount(), 1);
}

TEST_F(HttpEngine, RequestInTwoSegmentsIsAnsweredOnce)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    ASSERT_TRUE(client.Send("GET /split HT"));
    os::Sleep(30);
    EXPECT_EQ(BodyOf(client.Ask("TP/1.1\r\nHost: h\r\n\r\n")), "GET /split 0");
    EXPECT_TRUE(Eventually([&] { return server.finished == 1; }));
}

TEST_F(HttpEngine, RequestInSingleBytesIsAnswered)
{
    Run();
    RawClient client(PortNumber());
    const std::string request = Post("/slow", "body");
    for (char byte : request) ASSERT_TRUE(client.Send(std::string(1, byte)));
    EXPECT_EQ(BodyOf(client.Receive()), "POST /slow 4");
}

TEST_F(HttpEngine, SecondRequestInASegmentIsContentOfTheFirst)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    const std::string second = Get("/b");
    EXPECT_EQ(BodyOf(client.Ask(Get("/a") + second)), "GET /a " + std::to_string(second.size()));
    EXPECT_EQ(BodyOf(client.Ask(Get("/c"))), "GET /c 0");
    EXPECT_TRUE(Eventually([&] { return server.finished == 2; }));
}

TEST_F(HttpEngine, FirstByteThatIsNoLetterClosesTheConnection)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    EXPECT_EQ(client.Ask("0 is no letter\r\n\r\n"), "");
    EXPECT_TRUE(Eventually([&] { return server.cutOff == 1; }));
    EXPECT_TRUE(Eventually([&] { return server.ConnectCount() + server.ConnectCloseWaitCount() == 0; }));
}

TEST_F(HttpEngine, HeadOf4096BytesIsAcceptedAnd4097IsA431)
{
    Run();
    RawClient fits(PortNumber());
    EXPECT_EQ(BodyOf(fits.Ask(Head(4096) + "\r\n\r\n")), "GET /x 0");
    RawClient large(PortNumber());
    const std::string response = large.Ask(Head(4097) + "\r\n\r\n");
    EXPECT_EQ(StatusOf(response), "HTTP/1.1 431 Request Header Fields Too Large");
    EXPECT_NE(response.find("\r\nConnection: close\r\n"), std::string::npos);
    EXPECT_NE(response.find("test server"), std::string::npos);
    EXPECT_TRUE(large.AtEnd());
}

TEST_F(HttpEngine, UnfinishedHeadAboveTheLimitIsA431)
{
    Run();
    RawClient client(PortNumber());
    EXPECT_EQ(StatusOf(client.Ask(Head(5000))), "HTTP/1.1 431 Request Header Fields Too Large");
    EXPECT_TRUE(client.AtEnd());
}

TEST_F(HttpEngine, DerivedServerSetsTheHeadLimit)
{
    Make().SetHeadLimit(100);
    m_server->Start();
    RawClient fits(PortNumber());
    EXPECT_EQ(BodyOf(fits.Ask(Head(100) + "\r\n\r\n")), "GET /x 0");
    RawClient large(PortNumber());
    EXPECT_EQ(StatusOf(large.Ask(Head(101) + "\r\n\r\n")), "HTTP/1.1 431 Request Header Fields Too Large");
}

TEST_F(HttpEngine, ConnectionCloseEndsTheConnectionAfterTheResponse)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    const std::string response = client.Ask(Get("/", "Connection: Close\r\n"));
    EXPECT_NE(response.find("\r\nConnection: close\r\n"), std::string::npos);
    EXPECT_TRUE(client.AtEnd());
    EXPECT_TRUE(Eventually([&] { return server.ConnectCount() == 0; }));
    client.Close();
    EXPECT_TRUE(Eventually([&] { return server.ConnectCloseWaitCount() == 0; }));
}

TEST_F(HttpEngine, Http10ConnectionStaysOpen)
{
    Run();
    RawClient client(PortNumber());
    EXPECT_NE(client.Ask("GET /1 HTTP/1.0\r\n\r\n").find("Connection: keep-alive"), std::string::npos);
    EXPECT_EQ(BodyOf(client.Ask("GET /2 HTTP/1.0\r\n\r\n")), "GET /2 0");
}

TEST_F(HttpEngine, PageThatThrowsIsA500AndTheConnectionStays)
{
    Run([](QZHttpRequest* request) -> QZHttpResponse* {
        if (request->GetUrl()->GetPath()->Equals(QZ_W("/bad")))
            throw QZExceptionFactory::CreateException(QZ_W("page is broken"));
        return TestServer::Text("fine");
    });
    RawClient client(PortNumber());
    EXPECT_EQ(BodyOf(client.Ask(Get("/good"))), "fine");
    const std::string response = client.Ask(Get("/bad"));
    EXPECT_EQ(StatusOf(response), "HTTP/1.1 500 Internal Server Error");
    EXPECT_NE(response.find("page is broken"), std::string::npos);
    EXPECT_NE(response.find("test server"), std::string::npos);
    EXPECT_EQ(response.find("Connection:"), std::string::npos);
    EXPECT_EQ(BodyOf(client.Ask(Get("/good"))), "fine");
    EXPECT_TRUE(m_reports.Has("page is broken"));
}

TEST_F(HttpEngine, NullPageIsA500)
{
    Run([](QZHttpRequest*) -> QZHttpResponse* { return nullptr; });
    RawClient client(PortNumber());
    EXPECT_EQ(StatusOf(client.Ask(Get("/"))), "HTTP/1.1 500 Internal Server Error");
}

TEST_F(HttpEngine, MalformedRequestIsA500AndStaysInTheConnection)
{
    Run();
    RawClient client(PortNumber());
    EXPECT_EQ(StatusOf(client.Ask("GET\r\n\r\n")), "HTTP/1.1 500 Internal Server Error");
    // The received bytes stay in the connection, so the next request is appended to them.
    EXPECT_EQ(StatusOf(client.Ask(Get("/"))), "HTTP/1.1 500 Internal Server Error");
}

TEST_F(HttpEngine, ProxyLineGivesTheClientsAddress)
{
    Run([](QZHttpRequest* request) { return TestServer::Text(qztest::HeadersOf(request->GetHeaders())); });
    RawClient client(PortNumber());
    EXPECT_EQ(BodyOf(client.Ask("PROXY TCP4 1.2.3.4 5.6.7.8 100 80\r\nGET / HTTP/1.1\r\nHost: h\r\n\r\n")),
              "Host: h|X-Forwarded-For: 1.2.3.4");
}

TEST_F(HttpEngine, RequestHasAddressAndIdOfItsClient)
{
    std::atomic<unsigned> address{0};
    std::atomic<long long> handle{0};
    TestServer& server = Run([&](QZHttpRequest* request) {
        address = request->GetClientIP()->GetValue();
        handle = request->GetHandle();
        return TestServer::Text("");
    });
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    EXPECT_EQ(address, qztest::kLoopback);
    EXPECT_TRUE(server.IsConnectAlive(handle));
}

TEST_F(HttpEngine, CookiesAreSentWithoutTheirDomains)
{
    Run([](QZHttpRequest*) {
        QZHttpResponse* response = TestServer::Text("");
        QZHttpCookie* cookie = QZHttpFactory::CreateCookie();
        cookie->Set(qztest::Str("n=v; Domain=d.example; Path=/p"));
        response->GetCookies()->Push(cookie);
        return response;
    });
    RawClient client(PortNumber());
    EXPECT_NE(client.Ask(Get("/")).find("Set-Cookie: n=v; domain=; expires=; path=/p\r\n"),
              std::string::npos);
}

TEST_F(HttpEngine, ChunkedHeaderIsRemovedFromResponses)
{
    Run([](QZHttpRequest*) {
        QZHttpResponse* response = TestServer::Text("abc");
        QZHttpHeaderCollection* headers =
            QZHttpFactory::CreateHeaderCollection(qztest::Str("Transfer-Encoding: chunked"));
        response->SetHeader(headers);
        QZHttpFactory::Recycle(&headers);
        return response;
    });
    RawClient client(PortNumber());
    const std::string response = client.Ask(Get("/"));
    EXPECT_EQ(response.find("Transfer-Encoding"), std::string::npos);
    EXPECT_EQ(BodyOf(response), "abc");
}

TEST_F(HttpEngine, LargeBodiesAreReceivedAndSent)
{
    Run([](QZHttpRequest* request) {
        QZHttpResponse* response = QZHttpFactory::CreateResponse();
        response->SetContent(request->GetContent());
        return response;
    });
    std::string body(20 << 20, '\0');
    for (std::size_t i = 0; i < body.size(); i += 997) body[i] = static_cast<char>(i % 251);
    RawClient client(PortNumber());
    EXPECT_TRUE(BodyOf(client.Ask(Post("/", body))) == body);
    EXPECT_EQ(BodyOf(client.Ask(Post("/", "small"))), "small");
}

TEST_F(HttpEngine, ClientThatShutsDownItsSendsGetsItsResponse)
{
    TestServer& server = Run([](QZHttpRequest*) {
        os::Sleep(50);
        return TestServer::Text("late");
    });
    RawClient client(PortNumber());
    ASSERT_TRUE(client.Send(Get("/")));
    client.EndOutput();
    EXPECT_EQ(BodyOf(client.Receive()), "late");
    EXPECT_TRUE(client.AtEnd());
    EXPECT_TRUE(Eventually([&] { return server.ConnectCount() + server.ConnectCloseWaitCount() == 0; }));
}

TEST_F(HttpEngine, VanishingClientsAreRemoved) { ExpectVanishingClientsAreRemoved(); }

TEST_F(HttpEngine, ClientThatDoesNotReadDoesNotBlockOthers)
{
    TestServer& server = Run(EndlessOrSmall);
    RawClient stuck(PortNumber());
    ASSERT_TRUE(stuck.Send(Get("/endless")));
    ASSERT_TRUE(Eventually([&] { return server.ThreadPoolWorkingCount() == 1; }));
    RawClient other(PortNumber());
    for (int i = 0; i < 10; ++i) EXPECT_EQ(BodyOf(other.Ask(Get("/"))), "small");
    EXPECT_GE(server.ThreadPoolWorkingCount(), 1);
    stuck.Close();
    EXPECT_TRUE(Eventually([&] { return server.ThreadPoolWorkingCount() == 0; }));
    EXPECT_TRUE(
        Eventually([&] { return server.ConnectCount() == 1 && server.ConnectCloseWaitCount() == 0; }));
}

TEST_F(HttpEngine, ShutdownDoesNotWaitForAClientThatDoesNotRead)
{
    ExpectShutdownDoesNotWaitForAStuckClient();
}

TEST_F(HttpEngine, ClientAboveTheMaximumWaitsUntilAnotherCloses)
{
    TestServer& server = Make();
    server.SetMaxClient(1);
    server.Start();
    auto first = std::make_unique<RawClient>(PortNumber());
    EXPECT_EQ(BodyOf(first->Ask(Get("/1"))), "GET /1 0");
    RawClient second(PortNumber());
    ASSERT_TRUE(second.Send(Get("/2")));
    EXPECT_TRUE(Eventually([&] { return server.finished == 1; }));
    os::Sleep(100);
    EXPECT_EQ(server.ConnectCount(), 1);
    EXPECT_EQ(server.finished, 1);
    first->Close();
    EXPECT_EQ(BodyOf(second.Receive()), "GET /2 0");
}

TEST_F(HttpEngine, HundredsOfClientsConnectAndClose)
{
    TestServer& server = Run();
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 25; ++i)
            {
                RawClient client(server.GetPort());
                const std::string path = "/" + std::to_string(t) + "-" + std::to_string(i);
                for (int k = 0; k < 3; ++k) good += BodyOf(client.Ask(Get(path))) == "GET " + path + " 0";
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(good, 600);
    EXPECT_TRUE(Eventually([&] { return server.ConnectCount() + server.ConnectCloseWaitCount() == 0; }));
    EXPECT_TRUE(m_reports.All().empty()) << m_reports.All().front();
}

TEST_F(HttpEngine, ManyConnectionsStayOpen)
{
    TestServer& server = Run();
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 200; ++i) clients.push_back(std::make_unique<RawClient>(PortNumber()));
    for (int round = 0; round < 2; ++round)
    {
        for (auto& client : clients) ASSERT_TRUE(client->Send(Get("/m")));
        for (auto& client : clients) ASSERT_EQ(BodyOf(client->Receive()), "GET /m 0");
    }
    EXPECT_EQ(server.ConnectCount(), 200);
}

TEST_F(HttpEngine, ShutdownClosesItsConnections)
{
    Run();
    RawClient idle(PortNumber());
    RawClient half(PortNumber());
    EXPECT_EQ(BodyOf(idle.Ask(Get("/"))), "GET / 0");
    ASSERT_TRUE(half.Send("GET /ha"));
    EXPECT_TRUE(Eventually([&] { return m_server->ConnectCount() == 2; }));
    m_server.reset();
    EXPECT_TRUE(idle.AtEnd());
    EXPECT_TRUE(half.AtEnd());
}

TEST_F(HttpEngine, ShutdownWaitsForAPage) { ExpectShutdownWaitsForAPage(); }

TEST_F(HttpEngine, ConnectCloseShutsDownTheConnection)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    const long long id = OnlyClient();
    ASSERT_NE(id, 0);
    server.ConnectClose(id);
    EXPECT_EQ(server.ConnectCount(), 0);
    EXPECT_EQ(server.ConnectCloseWaitCount(), 1);
    EXPECT_FALSE(server.IsConnectAlive(id));
    EXPECT_TRUE(client.AtEnd());
    server.ConnectClose(id);
    EXPECT_EQ(server.ConnectCloseWaitCount(), 1);
    client.Close();
    EXPECT_TRUE(Eventually([&] { return server.ConnectCloseWaitCount() == 0; }));
}

TEST_F(HttpEngine, ConnectCloseOfMinusOneLeavesTheSocketsOpen)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    server.ConnectClose(-1);
    EXPECT_EQ(server.ConnectCount(), 0);
    EXPECT_EQ(server.ConnectCloseWaitCount(), 1);
    // The client's socket is still open. A request makes the connection active again, but no response is sent
    // on a connection that is closing.
    ASSERT_TRUE(client.Send(Get("/again")));
    EXPECT_TRUE(Eventually([&] { return server.finished == 2; }));
    EXPECT_EQ(server.ConnectCount(), 1);
}

TEST_F(HttpEngine, CloseAllClosesEveryConnection)
{
    TestServer& server = Run();
    RawClient first(PortNumber());
    RawClient second(PortNumber());
    first.Ask(Get("/"));
    second.Ask(Get("/"));
    server.CloseAll();
    EXPECT_EQ(server.ConnectCount(), 0);
    EXPECT_EQ(server.ConnectCloseWaitCount(), 0);
    EXPECT_TRUE(first.AtEnd());
    EXPECT_TRUE(second.AtEnd());
}

TEST_F(HttpEngine, PageMayCallCloseAll)
{
    TestServer& server = Run([&](QZHttpRequest*) {
        m_server->CloseAll();
        return TestServer::Text("never sent");
    });
    RawClient client(PortNumber());
    EXPECT_EQ(client.Ask(Get("/")), "");
    EXPECT_TRUE(Eventually([&] { return server.finished == 1; }));
    EXPECT_EQ(server.ConnectCount(), 0);
}

TEST_F(HttpEngine, GetConnectByIDMarksTheConnectionInUse)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    const long long id = OnlyClient();
    QZHttpConnect* connect = server.GetConnectByID(id);
    ASSERT_NE(connect, nullptr);
    EXPECT_EQ(connect->GetClientID(), id);
    EXPECT_FALSE(connect->IsUseComplete());
    QZHttpServerEngine& engine = server;
    engine.Recycle(&connect);
    EXPECT_EQ(connect, nullptr);
    EXPECT_EQ(server.GetConnectByID(id + 100000), nullptr);
}

TEST_F(HttpEngine, GetConnectByIDRevivesAClosingConnection)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    const long long id = OnlyClient();
    server.ConnectClose(id);
    QZHttpConnect* connect = server.GetConnectByID(id);
    ASSERT_NE(connect, nullptr);
    EXPECT_EQ(server.ConnectCount(), 1);
    EXPECT_EQ(server.ConnectCloseWaitCount(), 0);
    QZHttpServerEngine& engine = server;
    engine.Recycle(&connect);
}

TEST_F(HttpEngine, IdleConnectionsCloseAfter60Seconds)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    ASSERT_TRUE(Eventually([&] { return server.finished == 1; }));
    ASSERT_TRUE(Eventually([&] { return server.ThreadPoolWorkingCount() == 0; }));
    const QZInt64 now = QZEnvironment::GetCurrentTimestamp();
    {
        qztest::Hooks clock;
        clock.SetClock(now + 50000);
        server.ConnectCloseFree();
        EXPECT_EQ(server.ConnectCount(), 1);
        clock.SetClock(now + 62000);
        server.ConnectCloseFree();
        EXPECT_EQ(server.ConnectCount(), 0);
        server.ConnectCloseFree();
        EXPECT_EQ(server.ConnectCloseWaitCount(), 0);
    }
    EXPECT_TRUE(client.AtEnd());
}

TEST_F(HttpEngine, ConnectCheckClosesConnectionsInUseAfter180Seconds)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    QZHttpConnect* connect = server.GetConnectByID(OnlyClient());
    const QZInt64 now = QZEnvironment::GetCurrentTimestamp();
    {
        qztest::Hooks clock;
        clock.SetClock(now + 170000);
        server.ConnectCheck();
        EXPECT_EQ(server.ConnectCount(), 1);
        clock.SetClock(now + 181000);
        server.ConnectCheck();
        EXPECT_EQ(server.ConnectCount(), 0);
    }
    EXPECT_TRUE(client.AtEnd());
    QZHttpServerEngine& engine = server;
    engine.Recycle(&connect);
}

TEST_F(HttpEngine, ConnectInfoDescribesEachActiveConnection)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    ASSERT_TRUE(client.Send("GET /h"));
    auto cacheSize = [&](QZJsonValueCollection* info) {
        return qztest::Utf8(static_cast<QZJsonObject*>(info->GetElement(0))->GetAttrValue(6)->Val());
    };
    EXPECT_TRUE(Eventually([&] {
        QZJsonValueCollection* info = server.GetConnectInfo();
        const bool there = info->Count() == 1 && cacheSize(info) == "6";
        server.Recycle(&info);
        return there;
    }));
    QZJsonValueCollection* info = server.GetConnectInfo();
    auto* object = static_cast<QZJsonObject*>(info->GetElement(0));
    const char* names[] = {"IP",        "TimeStart", "LastUse", "RecvBegin", "RecvEmptyLine",
                           "KeepAlive", "CacheSize"};
    ASSERT_EQ(object->AttrCount(), 7);
    for (int i = 0; i < 7; ++i) EXPECT_QZ_TEXT(object->GetAttrName(i), names[i]);
    EXPECT_EQ(qztest::Utf8(object->GetAttrValue(0)->Val()).substr(0, 9), "127.0.0.1");
    EXPECT_QZ_TEXT(object->GetAttrValue(5)->Val(), "True");
    EXPECT_EQ(object->GetAttrValue(6)->GetType(), QZJsonDecimal::Type);
    server.Recycle(&info);
    EXPECT_EQ(info, nullptr);
}

TEST_F(HttpEngine, BytesOfAnUnknownClientAreReportedAndDropped)
{
    TestServer& server = Run();
    server.ProcessASync(987654, "GET / HTTP/1.1\r\n\r\n", 0, 18);
    EXPECT_TRUE(m_reports.Has("QZHttpServerEngine::ProcessASync Can not find connect 987654"));
    server.Process(987653, "x", 0, 1);
    EXPECT_TRUE(Eventually([&] { return m_reports.Has("Can not find connect 987653"); }));
    EXPECT_EQ(server.finished, 0);
}

TEST_F(HttpEngine, CollectDeletesIdleWorkers)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    EXPECT_GE(server.ThreadPoolCount(), 1);
    EXPECT_TRUE(Eventually([&] { return server.ThreadPoolWorkingCount() == 0; }));
    server.Collect();
    EXPECT_EQ(server.ThreadPoolCount(), 0);
    EXPECT_EQ(BodyOf(client.Ask(Get("/after"))), "GET /after 0");
}

TEST_F(HttpEngine, SchedulerCanBeRestarted)
{
    TestServer& server = Run();
    server.TaskReset();
    RawClient client(PortNumber());
    client.Ask(Get("/", "Connection: close\r\n"));
    client.Close();
    EXPECT_TRUE(Eventually([&] { return server.ConnectCount() + server.ConnectCloseWaitCount() == 0; }));
}

TEST_F(HttpEngine, CompletionThreadsWorkWithoutAPause)
{
    QZHttpServerEngine::CompletionPause = 0;
    Run();
    RawClient client(PortNumber());
    for (int i = 0; i < 200; ++i) ASSERT_EQ(BodyOf(client.Ask(Get("/"))), "GET / 0");
    QZHttpServerEngine::CompletionPause = 1;
}

}  // namespace
