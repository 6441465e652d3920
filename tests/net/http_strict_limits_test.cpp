// The limits of a server in strict mode: times, connections, sizes, addresses, files, and texts that would
// split a message.

#include "fw/fw_data.h"
#include "net/http_strict_fixture.h"
#include "net/internal/net_http_guard.h"

namespace
{

using qztest::BodyOf;
using qztest::Close;
using qztest::Eventually;
using qztest::Get;
using qztest::HeaderIn;
using qztest::Hooks;
using qztest::HttpStrict;
using qztest::PostTo;
using qztest::RawClient;
using qztest::StatusOf;
using qztest::Str;
using qztest::TestServer;

class HttpStrictLimits : public HttpStrict
{
protected:
    /// Milliseconds until the server has ended the stream; what it sent is in m_answer.
    QZInt64 TimeToEnd(RawClient& client)
    {
        const auto begin = std::chrono::steady_clock::now();
        m_answer = client.Rest();
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin)
            .count();
    }

    std::string m_answer;
    // A limit of a second is noticed within another second; a busy machine needs more.
    static constexpr QZInt64 kLate = 20000;
};

TEST_F(HttpStrictLimits, InitialLimitsAreThoseOfTheReference)
{
    const QZHttpServerLimits limits;
    EXPECT_EQ(limits.body, 16777216);
    EXPECT_EQ(limits.headers, 100);
    EXPECT_EQ(limits.headTime, 30000);
    EXPECT_EQ(limits.bodyTime, 120000);
    EXPECT_EQ(limits.idleTime, 60000);
    EXPECT_EQ(limits.sendTime, 120000);
    EXPECT_EQ(limits.closeTime, 2000);
    EXPECT_EQ(limits.connections, 1000);
    EXPECT_EQ(limits.connectionsOfAddress, 0);
    EXPECT_EQ(limits.proxyLine, 0);
}

TEST_F(HttpStrictLimits, SlowHeadGets408)
{
    Make();
    Limits().headTime = 300;
    m_server->Start();
    RawClient client(PortNumber());
    ASSERT_TRUE(client.Send("GET / HTTP/1.1\r\nHo"));
    const QZInt64 time = TimeToEnd(client);
    EXPECT_EQ(StatusOf(m_answer), "HTTP/1.1 408 Request Timeout");
    EXPECT_GE(time, 250);
    EXPECT_LT(time, kLate);
}

TEST_F(HttpStrictLimits, DrippedHeadGets408)
{
    Make();
    Limits().headTime = 300;
    m_server->Start();
    RawClient client(PortNumber());
    // Each byte is traffic; the limit holds for the whole head.
    std::thread dripper([&] {
        for (const char* at =
                 "GET / HTTP/1.1\r\nHost: h\r\nX: "
                 "yyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyy";
             *at != 0 && client.Send(std::string(1, *at)); ++at)
            os::Sleep(50);
    });
    EXPECT_EQ(StatusOf(client.ReceiveHead()), "HTTP/1.1 408 Request Timeout");
    dripper.join();
}

TEST_F(HttpStrictLimits, TimesHoldForEveryRequestOfAConnection)
{
    Make();
    Limits().headTime = 300;
    Limits().bodyTime = 300;
    m_server->Start();
    for (const char* half : {"GET / HT", "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 4\r\n\r\nab",
                             "POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nab"})
    {
        RawClient client(PortNumber());
        EXPECT_EQ(BodyOf(client.Ask(Get("/one"))), "GET /one 0");
        EXPECT_EQ(BodyOf(client.Ask(Get("/two"))), "GET /two 0");
        ASSERT_TRUE(client.Send(half));
        EXPECT_LT(TimeToEnd(client), kLate);
        EXPECT_EQ(StatusOf(m_answer), "HTTP/1.1 408 Request Timeout") << half;
    }
}

TEST_F(HttpStrictLimits, IdleConnectionsAreClosedWithoutAResponse)
{
    Make();
    Limits().idleTime = 300;
    m_server->Start();
    RawClient silent(PortNumber());
    EXPECT_LT(TimeToEnd(silent), kLate);
    EXPECT_EQ(m_answer, "");
    RawClient client(PortNumber());
    EXPECT_EQ(BodyOf(client.Ask(Get("/"))), "GET / 0");
    EXPECT_LT(TimeToEnd(client), kLate);
    EXPECT_EQ(m_answer, "");
    EXPECT_TRUE(
        Eventually([&] { return m_server->ConnectCount() + m_server->ConnectCloseWaitCount() == 0; }));
}

TEST_F(HttpStrictLimits, PageMayTakeLongerThanEveryLimit)
{
    Make([](QZHttpRequest*) {
        os::Sleep(2500);
        return TestServer::Text("slow");
    });
    Limits().headTime = Limits().bodyTime = Limits().idleTime = Limits().closeTime = 200;
    m_server->Start();
    EXPECT_EQ(BodyOf(Exchange(Get("/"))), "slow");
}

TEST_F(HttpStrictLimits, ClientThatDoesNotReadIsCut)
{
    Make(qztest::EndlessOrSmall);
    Limits().sendTime = 300;
    m_server->Start();
    RawClient stuck(PortNumber());
    ASSERT_TRUE(stuck.Send(Get("/endless")));
    ASSERT_TRUE(Eventually([&] { return m_server->finished == 1; })) << "the send has ended";
    EXPECT_TRUE(
        Eventually([&] { return m_server->ConnectCount() + m_server->ConnectCloseWaitCount() == 0; }));
    EXPECT_LT(stuck.Rest().size(), std::size_t{48} << 20);
}

TEST_F(HttpStrictLimits, ClientThatDoesNotCloseIsClosed)
{
    Make();
    Limits().closeTime = 300;
    m_server->Start();
    RawClient client(PortNumber());
    EXPECT_EQ(StatusOf(client.Ask(Close("/"))), "HTTP/1.1 200 OK");
    EXPECT_TRUE(client.AtEnd());
    ASSERT_TRUE(Eventually([&] { return m_server->ConnectCloseWaitCount() == 1; }));
    EXPECT_TRUE(Eventually([&] { return m_server->ConnectCloseWaitCount() == 0; }));
}

TEST_F(HttpStrictLimits, ClientsAboveTheLimitGet503)
{
    Make();
    Limits().connections = 2;
    m_server->Start();
    {
        RawClient first(PortNumber());
        RawClient second(PortNumber());
        EXPECT_EQ(BodyOf(first.Ask(Get("/"))), "GET / 0");
        EXPECT_EQ(BodyOf(second.Ask(Get("/"))), "GET / 0");
        const std::string answer = Exchange(Get("/third"));
        EXPECT_EQ(StatusOf(answer), "HTTP/1.1 503 Service Unavailable");
        EXPECT_EQ(HeaderIn(answer, "Connection"), "close");
        EXPECT_EQ(BodyOf(first.Ask(Get("/"))), "GET / 0") << "the others are served";
    }
    ASSERT_TRUE(
        Eventually([&] { return m_server->ConnectCount() + m_server->ConnectCloseWaitCount() == 0; }));
    EXPECT_EQ(BodyOf(Exchange(Get("/later"))), "GET /later 0");
}

TEST_F(HttpStrictLimits, ConnectionsThatAreBeingClosedCount)
{
    Make();
    Limits().connections = 1;
    Limits().closeTime = 60000;
    m_server->Start();
    RawClient lingering(PortNumber());
    EXPECT_EQ(StatusOf(lingering.Ask(Close("/"))), "HTTP/1.1 200 OK");
    EXPECT_TRUE(lingering.AtEnd());
    EXPECT_EQ(StatusOf(Exchange(Get("/"))), "HTTP/1.1 503 Service Unavailable");
    lingering.Close();
    EXPECT_TRUE(Eventually([&] { return StatusOf(Exchange(Get("/"))) == "HTTP/1.1 200 OK"; }));
}

TEST_F(HttpStrictLimits, MaxClientCountsThemToo)
{
    Make().SetMaxClient(1);
    Limits().closeTime = 1000;
    m_server->Start();
    RawClient lingering(PortNumber());
    EXPECT_EQ(StatusOf(lingering.Ask(Close("/"))), "HTTP/1.1 200 OK");
    EXPECT_TRUE(lingering.AtEnd());
    RawClient waiting(PortNumber());
    ASSERT_TRUE(waiting.Send(Get("/")));
    os::Sleep(200);
    EXPECT_EQ(m_server->finished, 1) << "the second client waits in the backlog";
    EXPECT_EQ(BodyOf(waiting.Receive()), "GET / 0");
}

TEST_F(HttpStrictLimits, ClientsOfOneAddressAreLimited)
{
    Make();
    Limits().connectionsOfAddress = 2;
    m_server->Start();
    RawClient first(PortNumber());
    EXPECT_EQ(BodyOf(first.Ask(Get("/"))), "GET / 0");
    {
        RawClient second(PortNumber());
        EXPECT_EQ(BodyOf(second.Ask(Get("/"))), "GET / 0");
        EXPECT_EQ(StatusOf(Exchange(Get("/"))), "HTTP/1.1 503 Service Unavailable");
    }
    EXPECT_TRUE(Eventually([&] { return StatusOf(Exchange(Get("/"))) == "HTTP/1.1 200 OK"; }));
}

TEST_F(HttpStrictLimits, FloodOfClientsAboveTheLimitEnds)
{
    Make();
    Limits().connections = 1;
    m_server->Start();
    RawClient first(PortNumber());
    EXPECT_EQ(BodyOf(first.Ask(Get("/"))), "GET / 0");
    {
        std::vector<std::unique_ptr<RawClient>> flood;
        for (int i = 0; i < 200; ++i) flood.push_back(std::make_unique<RawClient>(PortNumber()));
        EXPECT_TRUE(Eventually([&] { return m_server->ConnectCloseWaitCount() > 0; }));
        EXPECT_LE(m_server->ConnectCloseWaitCount(), 64);
        EXPECT_EQ(BodyOf(first.Ask(Get("/"))), "GET / 0");
    }
    EXPECT_TRUE(Eventually([&] { return m_server->ConnectCloseWaitCount() == 0; }));
    EXPECT_EQ(BodyOf(first.Ask(Get("/"))), "GET / 0");
}

TEST_F(HttpStrictLimits, SizesOfHeadAndHeadersAreLimited)
{
    Make().SetHeadLimit(200);
    Limits().headers = 5;
    m_server->Start();
    EXPECT_EQ(Statuses(Get("/" + std::string(300, 'x'))), "414");
    EXPECT_EQ(Statuses(Get("/", "X: " + std::string(300, 'x') + "\r\n")), "431");
    EXPECT_EQ(Statuses(Get("/", "A: 1\r\nB: 2\r\nC: 3\r\nD: 4\r\n")), "200");
    EXPECT_EQ(Statuses(Get("/", "A: 1\r\nB: 2\r\nC: 3\r\nD: 4\r\nE: 5\r\n")), "431");
}

/// Lets accept fail while `broken` is set, as the system does without descriptors.
class BrokenAccept
{
public:
    BrokenAccept() { os::SetTestHooks(&m_table); }
    ~BrokenAccept() { os::SetTestHooks(nullptr); }
    BrokenAccept(const BrokenAccept&) = delete;
    BrokenAccept& operator=(const BrokenAccept&) = delete;

    std::atomic<bool> broken{false};
    std::atomic<int> failures{0};

private:
    static bool OnGate(void* context, os::Op operation, QZInt64*, QZUInt32* error)
    {
        auto* self = static_cast<BrokenAccept*>(context);
        if (operation != os::Op::Socket || !self->broken || std::this_thread::get_id() == self->m_test)
            return true;
        ++self->failures;
        *error = 24;
        return false;
    }

    std::thread::id m_test = std::this_thread::get_id();
    os::TestHooks m_table{this, nullptr, &OnGate, nullptr};
};

TEST_F(HttpStrictLimits, AcceptRestsWithoutDescriptorsAndReportsOnce)
{
    BrokenAccept accept;
    Run();
    EXPECT_EQ(BodyOf(Exchange(Get("/"))), "GET / 0");
    os::Sleep(300);
    accept.broken = true;
    // The accept that waits already succeeds; the next one fails.
    EXPECT_EQ(BodyOf(Exchange(Get("/"))), "GET / 0");
    ASSERT_TRUE(Eventually([&] { return accept.failures > 0; }));
    const int before = accept.failures;
    os::Sleep(1000);
    EXPECT_LE(accept.failures - before, 12) << "it rests for 100 ms";
    EXPECT_GE(accept.failures - before, 2);
    int lines = 0;
    for (const std::string& text : m_reports.All()) lines += text.find("accept failed") != std::string::npos;
    EXPECT_EQ(lines, 1);
    accept.broken = false;
    EXPECT_EQ(BodyOf(Exchange(Get("/"))), "GET / 0");
    m_server.reset();
}

TEST_F(HttpStrictLimits, EqualReportsAreCountedUntilAnotherOneComes)
{
    Run([](QZHttpRequest* request) -> QZHttpResponse* {
        throw QZExceptionFactory::CreateException(request->GetUrl()->GetPath()->GetPointer(), 7);
    });
    for (int i = 0; i < 5; ++i) EXPECT_EQ(Statuses(Get("/same")), "500");
    EXPECT_EQ(Statuses(Get("/other")), "500");
    const std::vector<std::string> all = m_reports.All();
    ASSERT_EQ(all.size(), 3u);
    EXPECT_NE(all[0].find("/same"), std::string::npos);
    EXPECT_EQ(all[1], "The last report came again this often: 4");
    EXPECT_NE(all[2].find("/other"), std::string::npos);
}

TEST_F(HttpStrictLimits, ListenerTakesAddressesAsText)
{
    Make([&](QZHttpRequest* request) {
        QZString text;
        const QZBool known = m_server->GetClientAddress(request, &text);
        return TestServer::Text(qztest::Utf8(text) + " " + std::to_string(known));
    });
    EXPECT_EQ(m_server->ListenOn("localhost"), 0);
    EXPECT_EQ(m_server->ListenOn("1.2.3"), 0);
    EXPECT_EQ(m_server->ListenOn("::g"), 0);
    EXPECT_EQ(m_server->ListenOn("127.0.0.1"), 1);
    m_server->Start();
    EXPECT_EQ(BodyOf(Exchange(Get("/"))), "127.0.0.1 1");
}

TEST_F(HttpStrictLimits, DualListenerShowsIpv4Clients)
{
    std::string value;
    Make([&](QZHttpRequest* request) {
        QZString text;
        m_server->GetClientAddress(request, &text);
        value = std::to_string(request->GetClientIP()->GetValue());
        return TestServer::Text(qztest::Utf8(text));
    });
    ASSERT_EQ(m_server->ListenOn("::", 1), 1);
    try
    {
        m_server->Start();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        GTEST_SKIP() << "this system has no IPv6";
    }
    EXPECT_EQ(BodyOf(Exchange(Get("/"))), "127.0.0.1");
    EXPECT_EQ(value, std::to_string(qztest::kLoopback));
}

// ---- Files

class HttpStrictFiles : public HttpStrict
{
protected:
    /// "type|content" of the response, "null" without one.
    static std::string Served(QZHttpResponse* response)
    {
        if (response == nullptr) return "null";
        std::string type = "none";
        for (QZInt64 i = 0; i < response->GetHeaders()->Count(); ++i)
            if (response->GetHeaders()->GetElement(i)->GetName()->Equals(QZ_W("Content-Type")))
                type = qztest::Utf8(response->GetHeaders()->GetElement(i)->GetValue());
        const std::string content(static_cast<const char*>(response->GetContent()->GetPointer()),
                                  static_cast<std::size_t>(response->GetContent()->GetSize()));
        QZHttpFactory::Recycle(&response);
        return type + "|" + content;
    }
    std::string Whole(const std::string& name)
    {
        Str path(m_folder.NarrowName(name));
        return Served(QZHttpServer::ResponseFile(path));
    }
    std::string Below(const std::string& path)
    {
        Str root(m_folder.NarrowName("site"));
        Str text(path);
        return Served(QZHttpServer::ResponseFile(root, text));
    }

    qztest::TempDir m_folder;
};

TEST_F(HttpStrictFiles, TypesNameTheirEncodingAndUnknownOnesAreServed)
{
    for (const char* name :
         {"a.html", "a.TXT", "a.css", "a.js", "a.svg", "a.xml", "a.png", "a.obj", "a.exe", "a"})
        m_folder.Write(name, "text");
    EXPECT_EQ(Whole("a.html"), "text/html; charset=utf-8|text");
    EXPECT_EQ(Whole("a.TXT"), "text/plain; charset=utf-8|text");
    EXPECT_EQ(Whole("a.css"), "text/css; charset=utf-8|text");
    EXPECT_EQ(Whole("a.js"), "application/javascript; charset=utf-8|text");
    EXPECT_EQ(Whole("a.svg"), "image/svg+xml; charset=utf-8|text");
    EXPECT_EQ(Whole("a.xml"), "text/xml; charset=utf-8|text");
    EXPECT_EQ(Whole("a.png"), "image/png|text");
    EXPECT_EQ(Whole("a.obj"), "application/octet-stream|text");
    EXPECT_EQ(Whole("a.exe"), "application/octet-stream|text");
    EXPECT_EQ(Whole("a"), "application/octet-stream|text");
    QZHttpServerEngine::Strict = 0;
    EXPECT_EQ(Whole("a.exe"), "none|");
    EXPECT_EQ(Whole("a.html"), "text/html|text");
}

TEST_F(HttpStrictFiles, PathsStayBelowTheirFolder)
{
    std::filesystem::create_directories(m_folder.Path("site/sub"));
    std::filesystem::create_directories(m_folder.Path("site2"));
    m_folder.Write("site/a.txt", "a");
    m_folder.Write("site/sub/b.txt", "b");
    m_folder.Write("secret.txt", "s");
    m_folder.Write("site2/c.txt", "c");
    EXPECT_EQ(Below("/a.txt"), "text/plain; charset=utf-8|a");
    EXPECT_EQ(Below("a.txt"), "text/plain; charset=utf-8|a");
    EXPECT_EQ(Below("/sub/b.txt"), "text/plain; charset=utf-8|b");
    for (const char* path : {"/../secret.txt", "/sub/../../secret.txt", "/..\\secret.txt", "/sub", "/", "",
                             "/missing", "/../site2/c.txt", "/a.txt:stream", "/a.txt\n"})
        EXPECT_EQ(Below(path), "null") << path;
}

TEST_F(HttpStrictFiles, LinksOutOfTheFolderNeedAPermission)
{
    std::filesystem::create_directories(m_folder.Path("site/sub"));
    m_folder.Write("site/a.txt", "a");
    m_folder.Write("secret.txt", "s");
    std::error_code error;
    std::filesystem::create_symlink(m_folder.Path("secret.txt"), m_folder.Path("site/out.txt"), error);
    if (error) GTEST_SKIP() << "this system makes no links: " << error.message();
    std::filesystem::create_directory_symlink(m_folder.Path(), m_folder.Path("site/up"), error);
    std::filesystem::create_symlink("../a.txt", m_folder.Path("site/sub/in.html"), error);
    EXPECT_EQ(Below("/sub/in.html"), "text/html; charset=utf-8|a")
        << "the type of the name that was asked for";
    EXPECT_EQ(Below("/out.txt"), "null");
    EXPECT_EQ(Below("/up/secret.txt"), "null");
    EXPECT_EQ(Below("/up/site/a.txt"), "text/plain; charset=utf-8|a") << "out and in again";
    QZHttpServer::FollowLinks = 1;
    EXPECT_EQ(Below("/out.txt"), "text/plain; charset=utf-8|s");
    QZHttpServer::FollowLinks = 0;
}

// ---- Texts that would split a message

class HttpStrictTexts : public HttpStrict
{
protected:
    /// The code that the call throws; 0 when it throws nothing.
    template <typename Call>
    static QZInt64 CodeOf(Call call)
    {
        try
        {
            call();
        }
        catch (QZException* e)
        {
            const QZInt64 code = e->GetCode();
            QZExceptionFactory::Recycle(&e);
            return code;
        }
        return 0;
    }

    /// Calls each setter with the text; returns how many refused it.
    static int Refusals(QZString* text)
    {
        constexpr QZInt64 kInvalid = 8192;
        qztest::Held<QZHttpRequest> request = qztest::NewRequest();
        qztest::Held<QZHttpResponse> response = qztest::NewResponse();
        qztest::Held<QZHttpHeader> header(QZHttpFactory::CreateHeader());
        qztest::Held<QZHttpCookie> cookie(QZHttpFactory::CreateCookie());
        QZString clean(QZ_W("a"));
        int count = 0;
        count += CodeOf([&] { header->Set(text); }) == kInvalid;
        count += CodeOf([&] { cookie->Set(text); }) == kInvalid;
        count += CodeOf([&] { cookie->Set(&clean, text, &clean, &clean, &clean); }) == kInvalid;
        count += CodeOf([&] { cookie->Set(&clean, &clean, &clean, &clean, text); }) == kInvalid;
        count += CodeOf([&] { response->SetStatus(text); }) == kInvalid;
        count += CodeOf([&] { request->SetMethod(text); }) == kInvalid;
        count += CodeOf([&] { request->SetUrl(text); }) == kInvalid;
        count += CodeOf([&] {
                     QZHttpResponse* redirect = QZHttpServer::Response302(text);
                     QZHttpFactory::Recycle(&redirect);
                 }) == kInvalid;
        return count;
    }
};

TEST_F(HttpStrictTexts, SettersRefuseLineEndsAndNul)
{
    QZString feed(QZ_W("a: b\nc"));
    QZString ret(QZ_W("a: b\rc"));
    constexpr QZWChar kUnits[] = {'a', ':', 0, 'c'};
    QZString nul(kUnits, sizeof(kUnits));
    EXPECT_EQ(Refusals(&feed), 8);
    EXPECT_EQ(Refusals(&ret), 8);
    EXPECT_EQ(Refusals(&nul), 8);
    QZString clean(QZ_W("a: b c"));
    EXPECT_EQ(Refusals(&clean), 0);
    QZHttpServerEngine::Strict = 0;
    EXPECT_EQ(Refusals(&feed), 0);
    EXPECT_EQ(Refusals(&ret), 0);
    EXPECT_EQ(Refusals(&nul), 0);
}

TEST_F(HttpStrictTexts, LinesOfHeadersEndWithBoth)
{
    QZString good(QZ_W("A: 1\r\nB: 2"));
    QZString bare(QZ_W("A: 1\nB: 2"));
    QZHttpHeaderCollection* headers = QZHttpFactory::CreateHeaderCollection(&good);
    EXPECT_EQ(headers->Count(), 2);
    QZHttpFactory::Recycle(&headers);
    EXPECT_EQ(CodeOf([&] { headers = QZHttpFactory::CreateHeaderCollection(&bare); }), 8192);
}

TEST_F(HttpStrictTexts, NothingSplitIsWritten)
{
    qztest::Held<QZHttpResponse> response = qztest::NewResponse();
    response->GetHeaders()->GetElement(0)->GetName()->Set(QZ_W("A\r\nB"));
    EXPECT_EQ(CodeOf([&] { qztest::HeadOf(response.Get()); }), 8192);
    qztest::Held<QZHttpRequest> request = qztest::NewRequest();
    request->GetMethod()->Set(QZ_W("GET / HTTP/1.1\r\nX: y"));
    EXPECT_EQ(CodeOf([&] { qztest::HeadOf(request.Get()); }), 8192);
}

TEST_F(HttpStrictTexts, StatusesHaveTheirTexts)
{
    qztest::Held<QZHttpResponse> response = qztest::NewResponse();
    response->SetStatus(413);
    EXPECT_EQ(qztest::Utf8(response->GetStatus()), "413 Content Too Large");
    response->SetStatus(301);
    EXPECT_EQ(qztest::Utf8(response->GetStatus()), "301 Permanently Moved");
    EXPECT_EQ(QZHttpStatusCode::ToMessage(413.0F), nullptr);
    QZHttpServerEngine::Strict = 0;
    response->SetStatus(413);
    EXPECT_EQ(qztest::Utf8(response->GetStatus()), "413 ");
}

}  // namespace
