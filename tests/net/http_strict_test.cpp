// A server in strict mode, with real connections.

#include "net/http_smuggling.h"
#include "net/http_strict_fixture.h"

namespace
{

using qztest::BodyOf;
using qztest::Close;
using qztest::Eventually;
using qztest::Get;
using qztest::HeaderIn;
using qztest::HttpEngine;
using qztest::HttpStrict;
using qztest::PostTo;
using qztest::RawClient;
using qztest::StatusOf;
using qztest::TestServer;

TEST_F(HttpEngine, StrictModeIsOffAtFirst)
{
    EXPECT_EQ(QZHttpServerEngine::Strict, 0);
    Run();
    RawClient client(PortNumber());
    EXPECT_EQ(BodyOf(client.Ask(Get("/%41") + Get("/second"))), "GET /%41 33")
        << "kept: the second is content";
}

TEST_F(HttpStrict, RequestsAreAnswered)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    EXPECT_EQ(client.Ask(Get("/hello")),
              "HTTP/1.1 200 OK\r\nContent-Length: 12\r\nConnection: keep-alive\r\n\r\nGET /hello 0");
    EXPECT_EQ(BodyOf(client.Ask(PostTo("/p", "12345"))), "POST /p 5");
    EXPECT_EQ(BodyOf(client.Ask(
                  "PUT /q HTTP/1.1\r\nHost: h\r\ntransfer-encoding: Chunked\r\n\r\n3\r\nabc\r\n4;x\r\n"
                  "defg\r\n0\r\n\r\n")),
              "PUT /q 7");
    EXPECT_EQ(server.ConnectCount(), 1);
}

TEST_F(HttpStrict, ShapesGetTheirStatuses)
{
    Run();
    for (const qztest::Shape& shape : qztest::Shapes())
        EXPECT_EQ(Statuses(shape.bytes), shape.statuses) << shape.name;
}

TEST_F(HttpStrict, ShapesGetTheirStatusesInPlace)
{
    QZHttpServerEngine::AnswerInPlace = 1;
    TestServer& server = Run();
    for (const qztest::Shape& shape : qztest::Shapes())
        EXPECT_EQ(Statuses(shape.bytes), shape.statuses) << shape.name;
    EXPECT_EQ(server.ThreadPoolCount(), 0);
}

TEST_F(HttpStrict, RequestsInOneSegmentAreAnsweredInOrder)
{
    Run([](QZHttpRequest* request) {
        const std::string path = qztest::Utf8(request->GetUrl()->GetPath());
        // Later pages are quicker.
        os::Sleep(static_cast<QZUInt32>(10 - std::stoi(path.substr(1))));
        return TestServer::Text(path);
    });
    RawClient client(PortNumber());
    std::string all;
    for (int i = 0; i < 10; ++i)
        all += i % 2 == 0 ? Get("/" + std::to_string(i)) : PostTo("/" + std::to_string(i), "b");
    ASSERT_TRUE(client.Send(all));
    for (int i = 0; i < 10; ++i) EXPECT_EQ(BodyOf(client.Receive()), "/" + std::to_string(i));
}

TEST_F(HttpStrict, ManyRequestsInPiecesOfAnySizeAreAnsweredInOrder)
{
    Run();
    std::string all;
    for (int i = 0; i < 2000; ++i) all += Get("/" + std::to_string(i));
    RawClient client(PortNumber());
    std::thread sender([&] {
        std::size_t step = 1;
        for (std::size_t at = 0; at < all.size(); at += step, step = step * 7 % 5000 + 1)
            if (!client.Send(std::string_view(all).substr(at, step))) return;
    });
    for (int i = 0; i < 2000; ++i) ASSERT_EQ(BodyOf(client.Receive()), "GET /" + std::to_string(i) + " 0");
    sender.join();
}

TEST_F(HttpStrict, RequestThatArrivesDuringAPageIsNotLost)
{
    std::atomic<int> pages{0};
    Run([&](QZHttpRequest*) {
        ++pages;
        os::Sleep(3);
        return TestServer::Text("page");
    });
    for (int round = 0; round < 100; ++round)
    {
        RawClient client(PortNumber());
        ASSERT_TRUE(client.Send(Get("/1")));
        if (round % 2 == 0) os::Sleep(1);
        ASSERT_TRUE(client.Send(Get("/2")));
        ASSERT_EQ(BodyOf(client.Receive()), "page") << round;
        ASSERT_EQ(BodyOf(client.Receive()), "page") << round;
    }
    EXPECT_EQ(pages, 200);
}

TEST_F(HttpStrict, HalfClosedClientsGetTheirAnswers)
{
    Run([](QZHttpRequest*) {
        os::Sleep(2);
        return TestServer::Text("page");
    });
    std::atomic<int> answered{0};
    std::vector<std::thread> clients;
    clients.reserve(16);
    for (int c = 0; c < 16; ++c)
        clients.emplace_back([&] {
            for (int i = 0; i < 50; ++i) answered += BodyOf(Exchange(Get("/"))) == "page" ? 1 : 0;
        });
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(answered, 800);
}

TEST_F(HttpStrict, NothingIsReadAfterARefusedRequest)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    ASSERT_TRUE(client.Send("BAD\r\n\r\n"));
    const std::string answer = client.ReceiveHead();
    EXPECT_EQ(StatusOf(answer), "HTTP/1.1 400 Bad Request");
    EXPECT_EQ(HeaderIn(answer, "Connection"), "close");
    const std::string flood(1 << 20, 'x');
    for (int i = 0; i < 20 && client.Send(flood); ++i)
    {}
    client.EndOutput();
    EXPECT_TRUE(Eventually([&] { return server.ConnectCount() + server.ConnectCloseWaitCount() == 0; }));
    EXPECT_EQ(server.finished, 1);
    EXPECT_LE(server.ThreadPoolCount(), 2);
}

TEST_F(HttpStrict, RefusedClientReadsItsAnswerWhileItSends)
{
    Run();
    Limits().body = 1000;
    const std::string body(8 << 20, 'x');
    RawClient client(PortNumber());
    client.Send("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 8388608\r\n\r\n" + body);
    client.EndOutput();
    EXPECT_EQ(StatusOf(client.Rest()), "HTTP/1.1 413 Content Too Large");
}

TEST_F(HttpStrict, HeadGetsTheHeadOfGet)
{
    std::atomic<int> posts{0};
    Run([&](QZHttpRequest* request) {
        posts += request->GetMethod()->Equals(QZ_W("GET")) != 0;
        return TestServer::Text("twelve bytes");
    });
    EXPECT_EQ(Exchange("HEAD /x HTTP/1.1\r\nHost: h\r\n\r\n" + Close("/x")),
              "HTTP/1.1 200 OK\r\nContent-Length: 12\r\nConnection: keep-alive\r\n\r\n"
              "HTTP/1.1 200 OK\r\nContent-Length: 12\r\nConnection: close\r\n\r\ntwelve bytes");
    EXPECT_EQ(posts, 2) << "the page sees GET";
}

TEST_F(HttpStrict, StatusWithoutContentHasNeitherBodyNorLength)
{
    Run([](QZHttpRequest* request) {
        if (request->GetUrl()->GetPath()->Equals(QZ_W("/304")))
        {
            QZHttpResponse* response = TestServer::Text("text");
            response->SetStatus(304);
            return response;
        }
        return QZHttpServer::Page204(QZ_W("name"));
    });
    const std::string answer = Exchange(Get("/204") + Close("/304"));
    EXPECT_EQ(HttpStrict::StatusesOf(answer), "204 304");
    EXPECT_EQ(answer.find("Content-Length"), std::string::npos);
    EXPECT_EQ(answer.find("Welcome"), std::string::npos);
    EXPECT_EQ(answer.substr(answer.size() - 4), "\r\n\r\n");
}

TEST_F(HttpStrict, MethodsOutsideTheListGet405WithAllow)
{
    Run();
    Limits().methods = "GET, HEAD, POST";
    std::string answer = Exchange(
        "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\nabBREW / HTTP/1.1\r\nHost: "
        "h\r\n\r\n" +
        Close("/"));
    EXPECT_EQ(StatusesOf(answer), "405 501 200") << "the connection stays usable";
    EXPECT_EQ(HeaderIn(answer, "Allow"), "GET, HEAD, POST");
    answer = Exchange("OPTIONS * HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(StatusesOf(answer), "405");
}

TEST_F(HttpStrict, OptionsOfTheServerNamesTheMethods)
{
    Run();
    const std::string answer = Exchange("OPTIONS * HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(StatusOf(answer), "HTTP/1.1 204 No Content");
    EXPECT_EQ(HeaderIn(answer, "Allow"), "GET, HEAD, POST, PUT, PATCH, DELETE, OPTIONS");
}

TEST_F(HttpStrict, Page405OfAHostGetsAllow)
{
    Run([](QZHttpRequest* request) {
        if (request->GetUrl()->GetPath()->Equals(QZ_W("/own")))
            return QZHttpServer::Page405(nullptr, QZ_W("GET"));
        return QZHttpServer::Page405(nullptr);
    });
    EXPECT_EQ(HeaderIn(Exchange(Get("/own")), "Allow"), "GET");
    EXPECT_EQ(HeaderIn(Exchange(Get("/")), "Allow"), "GET, HEAD, POST, PUT, PATCH, DELETE, OPTIONS");
}

TEST_F(HttpStrict, ExpectedContinueIsSentOnce)
{
    Run();
    RawClient client(PortNumber());
    ASSERT_TRUE(
        client.Send("PUT /u HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\nContent-Length: 4\r\n\r\n"));
    EXPECT_EQ(client.ReceiveHead(), "HTTP/1.1 100 Continue\r\n\r\n");
    ASSERT_TRUE(client.Send("ab"));
    os::Sleep(20);
    EXPECT_EQ(BodyOf(client.Ask("cd")), "PUT /u 4");
    // The body that comes with the head needs no invitation.
    EXPECT_EQ(StatusOf(client.Ask(
                  "PUT /u HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\nab")),
              "HTTP/1.1 200 OK");
    ASSERT_TRUE(client.Send(
        "PUT /u HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\nTransfer-Encoding: chunked\r\n\r\n"));
    EXPECT_EQ(client.ReceiveHead(), "HTTP/1.1 100 Continue\r\n\r\n");
    ASSERT_TRUE(client.Send("1"));
    os::Sleep(20);
    EXPECT_EQ(BodyOf(client.Ask("\r\na\r\n0\r\n\r\n")), "PUT /u 1");
}

TEST_F(HttpStrict, RefusalComesInPlaceOfContinue)
{
    Run();
    Limits().body = 10;
    RawClient client(PortNumber());
    EXPECT_EQ(StatusOf(client.Ask(
                  "PUT /u HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\nContent-Length: 11\r\n\r\n")),
              "HTTP/1.1 413 Content Too Large");
}

TEST_F(HttpStrict, PageSeesTheDecodedRequest)
{
    std::string seen;
    Run([&](QZHttpRequest* request) {
        seen = qztest::Utf8(request->GetUrl()->GetPath()) + "|" + qztest::Utf8(request->GetUrl()->GetUrl()) +
               "|" + qztest::Utf8(request->GetUrl()->GetParam(QZ_W("q"))) + "|" +
               qztest::Utf8(request->GetVersion()) + "|" + qztest::Utf8(request->GetUrl()->GetHost());
        QZHttpHeaderCollection* headers = request->GetHeaders();
        for (QZInt64 i = 0; i < headers->Count(); ++i)
            seen += "|" + qztest::Utf8(headers->GetElement(i)->GetName()) + "=" +
                    qztest::Utf8(headers->GetElement(i)->GetValue());
        for (QZInt64 i = 0; i < request->GetCookies()->Count(); ++i)
            seen += "|cookie " + qztest::Utf8(request->GetCookies()->GetElement(i)->GetName()) + "=" +
                    qztest::Utf8(request->GetCookies()->GetElement(i)->GetValue());
        return TestServer::Text(std::to_string(request->GetSource()->GetSize()));
    });
    const std::string request =
        "GET http://other:81//a%20b?q=%31 HTTP/1.0\r\nHOST: h\r\nX-A: 1\r\nx-a: \xC3\xA4\r\nCookie: c=1; "
        "d=2\r\n\r\n";
    EXPECT_EQ(BodyOf(Exchange(request)), std::to_string(request.size()));
    EXPECT_EQ(seen,
              "/a b|//a%20b?q=%31|%31|HTTP/1.0||HOST=other:81|X-A=1|x-a=\xC3\xA4|cookie c=1|cookie d=2");
}

TEST_F(HttpStrict, ProxyLineGivesEveryRequestItsAddress)
{
    Run([](QZHttpRequest* request) {
        QZHttpHeader* last = request->GetHeaders()->GetElement(request->GetHeaders()->Count() - 1);
        return TestServer::Text(qztest::Utf8(last->GetName()) + "=" + qztest::Utf8(last->GetValue()));
    });
    Limits().proxyLine = 1;
    m_server.reset();
    Make([](QZHttpRequest* request) {
        QZHttpHeader* last = request->GetHeaders()->GetElement(request->GetHeaders()->Count() - 1);
        return TestServer::Text(qztest::Utf8(last->GetName()) + "=" + qztest::Utf8(last->GetValue()));
    });
    Limits().proxyLine = 1;
    m_server->Start();
    RawClient client(PortNumber());
    EXPECT_EQ(BodyOf(client.Ask("PROXY TCP4 1.2.3.4 5.6.7.8 1 2\r\n" + Get("/"))), "X-Forwarded-For=1.2.3.4");
    EXPECT_EQ(BodyOf(client.Ask(Get("/", "X-Forwarded-For: 6.6.6.6\r\n"))), "X-Forwarded-For=1.2.3.4");
}

TEST_F(HttpStrict, FailingPageIsEscapedAndTheConnectionStays)
{
    Run([](QZHttpRequest* request) -> QZHttpResponse* {
        if (request->GetUrl()->GetPath()->Equals(QZ_W("/throw")))
            throw QZExceptionFactory::CreateException(QZ_W("<script>\"&'"), 7);
        return QZHttpServer::Page404(QZ_W("name"), request->GetUrl()->GetPath());
    });
    RawClient client(PortNumber());
    std::string answer = client.Ask(Get("/throw"));
    EXPECT_EQ(StatusOf(answer), "HTTP/1.1 500 Internal Server Error");
    EXPECT_NE(answer.find("&lt;script&gt;&quot;&amp;&#39;"), std::string::npos) << answer;
    EXPECT_TRUE(m_reports.Has("<script>"));
    answer = client.Ask(Get("/%3Cb%3E"));
    EXPECT_NE(answer.find("RequestPath:/&lt;b&gt;"), std::string::npos) << answer;
    EXPECT_NE(answer.find("<html lang=\"en\">"), std::string::npos);
    EXPECT_EQ(answer.find("\xE8\xBF\x94\xE5\x9B\x9E"), std::string::npos) << "English only";
}

TEST_F(HttpStrict, ResponseThatWouldSplitBecomesAFailure)
{
    Run([](QZHttpRequest* request) -> QZHttpResponse* {
        const std::string path = qztest::Utf8(request->GetUrl()->GetPath());
        QZHttpResponse* response = TestServer::Text("text");
        if (path == "/header") response->GetHeaders()->GetElement(0)->GetValue()->Set(QZ_W("1\r\nX: y"));
        if (path == "/status") response->GetStatus()->Set(QZ_W("200 OK\nX: y"));
        if (path == "/redirect")
        {
            QZHttpFactory::Recycle(&response);
            QZString to(QZ_W("/b\r\nSet-Cookie: a=b"));
            return QZHttpServer::Response302(&to);
        }
        return response;
    });
    RawClient client(PortNumber());
    for (const char* path : {"/header", "/status", "/redirect"})
    {
        const std::string answer = client.Ask(Get(path));
        EXPECT_EQ(StatusOf(answer), "HTTP/1.1 500 Internal Server Error") << path;
        EXPECT_EQ(answer.find("X: y"), std::string::npos);
        EXPECT_EQ(answer.find("Set-Cookie: a=b\r\n"), std::string::npos);
    }
    EXPECT_EQ(BodyOf(client.Ask(Get("/"))), "text");
}

TEST_F(HttpStrict, HostMayCloseTheConnection)
{
    Run([](QZHttpRequest*) {
        QZHttpResponse* response = TestServer::Text("text");
        QZString line(QZ_W("Connection: close"));
        QZHttpHeaderCollection* headers = QZHttpFactory::CreateHeaderCollection(&line);
        response->SetHeader(headers);
        QZHttpFactory::Recycle(&headers);
        return response;
    });
    RawClient client(PortNumber());
    EXPECT_EQ(HeaderIn(client.Ask(Get("/") + Get("/")), "Connection"), "close");
    EXPECT_TRUE(client.AtEnd());
}

TEST_F(HttpStrict, RecordHoldsTheRequestWhileItIsAnswered)
{
    qztest::TempDir folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    std::string recorded;
    Make([&](QZHttpRequest*) {
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path("LastRecord")))
        {
            std::ifstream file(entry.path(), std::ios::binary);
            recorded.assign(std::istreambuf_iterator<char>(file), {});
        }
        return TestServer::Text("page");
    }).SetLastRecord();
    m_server->Start();
    const std::string request = PostTo("/r", "body");
    RawClient client(PortNumber());
    EXPECT_EQ(BodyOf(client.Ask(request)), "page");
    EXPECT_EQ(recorded, request);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path("LastRecord")));
    m_server.reset();
    std::filesystem::current_path(before);
}

TEST_F(HttpStrict, VanishingClientsAreRemoved) { ExpectVanishingClientsAreRemoved(); }
TEST_F(HttpStrict, ShutdownDoesNotWaitForAClientThatDoesNotRead)
{
    ExpectShutdownDoesNotWaitForAStuckClient();
}
TEST_F(HttpStrict, ShutdownWaitsForAPage) { ExpectShutdownWaitsForAPage(); }

TEST_F(HttpStrict, LargeBodiesAreReceivedAndSent)
{
    Run([](QZHttpRequest* request) {
        return TestServer::Text({static_cast<const char*>(request->GetContent()->GetPointer()),
                                 static_cast<std::size_t>(request->GetContent()->GetSize())});
    });
    std::string body(5 << 20, '\0');
    for (std::size_t i = 0; i < body.size(); i += 997) body[i] = static_cast<char>(i % 251);
    RawClient client(PortNumber());
    EXPECT_TRUE(BodyOf(client.Ask(PostTo("/", body))) == body);
    EXPECT_EQ(BodyOf(client.Ask(PostTo("/", "small"))), "small");
}

TEST_F(HttpStrict, BytesFromTheHostAreProcessedLikeThoseOfTheClient)
{
    TestServer& server = Run();
    RawClient client(PortNumber());
    EXPECT_EQ(BodyOf(client.Ask(Get("/"))), "GET / 0");
    const long long id = OnlyClient();
    const std::string request = Get("/host");
    server.ProcessASync(id, request.data(), 0, static_cast<QZInt64>(request.size()));
    EXPECT_EQ(BodyOf(client.Receive()), "GET /host 0");
}

TEST_F(HttpStrict, KeepAliveFollowsTheVersionAndTheList)
{
    TestServer& server = Run();
    const auto keeps = [&](const QZWChar* version, const QZWChar* connection) {
        QZHttpRequest* request = QZHttpFactory::CreateRequest();
        request->GetVersion()->Set(version);
        QZString line(connection);
        QZHttpHeaderCollection* headers = QZHttpFactory::CreateHeaderCollection(&line);
        request->SetHeader(headers);
        const int result = server.IsKeepAlive(request);
        QZHttpFactory::Recycle(&headers);
        QZHttpFactory::Recycle(&request);
        return result;
    };
    EXPECT_EQ(keeps(QZ_W("HTTP/1.1"), QZ_W("")), 1);
    EXPECT_EQ(keeps(QZ_W("HTTP/1.1"), QZ_W("Connection: upgrade, CLOSE")), 0);
    EXPECT_EQ(keeps(QZ_W("HTTP/1.0"), QZ_W("")), 0);
    EXPECT_EQ(keeps(QZ_W("HTTP/1.0"), QZ_W("Connection: Keep-Alive")), 1);
}

}  // namespace
