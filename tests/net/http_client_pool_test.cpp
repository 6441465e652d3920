#include "net/net_http_client_pool.h"

#include "net/http_script.h"
#include "net/http_support.h"
#include "net/internal/net_http_fields.h"
#include "net/net_http_client.h"
#include "os/os_ip_address.h"
#include "os/os_socket_client.h"
#include "support/qz_hooks.h"

namespace
{
using qztest::BytesOf;
using qztest::Eventually;
using qztest::Held;
using qztest::NewRequest;
using qztest::Pauses;
using qztest::Peer;
using qztest::ScriptedServer;
using qztest::Str;
using Script = ScriptedServer::Script;

std::string Response(std::string_view content)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(content.size()) + "\r\n\r\n" +
           std::string(content);
}

std::string Ask(QZHttpClientPool* pool, const std::string& url)
{
    const auto request = NewRequest();
    request->SetUrl(Str(url));
    const Held<QZHttpResponse> response(pool->SendRequest(request.Get()));
    return BytesOf(response->GetContent());
}

/// A server script that answers `times` requests with this content.
Script Answering(std::string content, int times)
{
    return [=](Peer& peer) {
        for (int i = 0; i < times; ++i) peer.Answer(Response(content));
        peer.WaitForEnd();
    };
}

/// Counts the clients that it creates and recycles.
class CountingPool : public QZHttpClientPool
{
public:
    ~CountingPool() override { CloseAll(); }
    std::atomic<int> created = 0;
    std::atomic<int> recycled = 0;

protected:
    QZHttpClient* CreateClient() override
    {
        ++created;
        return QZHttpClientPool::CreateClient();
    }
    void RecycleClient(QZHttpClient* client) override
    {
        ++recycled;
        QZHttpClientPool::RecycleClient(client);
    }
};

/// Sends a request on its own thread.
class RequestThread
{
public:
    RequestThread(QZHttpClientPool* pool, const std::string& url)
        : m_thread([this, pool, url] { m_content = Ask(pool, url); })
    {}
    /// Waits for the response and returns its content.
    std::string Content()
    {
        m_thread.join();
        return m_content;
    }

private:
    std::string m_content;
    std::thread m_thread;
};

/// A server script that holds its responses back until `open` is set.
struct Gate
{
    std::atomic<int> asked = 0;
    std::atomic<bool> open = false;

    Script Holding(std::string content)
    {
        return [this, content](Peer& peer) {
            peer.Read();
            ++asked;
            Eventually([this] { return open.load(); });
            peer.Send(Response(content));
            peer.WaitForEnd();
        };
    }
    bool Asked(int count)
    {
        return Eventually([=, this] { return asked == count; });
    }
};

TEST(HttpClientPool, ReusesAConnection)
{
    ScriptedServer server({Answering("a", 3)});
    CountingPool pool;
    EXPECT_EQ(pool.Count(), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(Ask(&pool, server.Url("/")), "a");
    EXPECT_EQ(pool.Count(), 1);
    EXPECT_EQ(pool.created, 1);
    EXPECT_EQ(server.Connections(), 1);
    EXPECT_EQ(pool.GetFailCount(), 0);
}

TEST(HttpClientPool, OpensASecondClientWhileTheFirstIsWorking)
{
    Gate gate;
    ScriptedServer server({gate.Holding("a"), Answering("b", 2)});
    CountingPool pool;
    RequestThread busy(&pool, server.Url("/"));
    ASSERT_TRUE(gate.Asked(1));
    EXPECT_EQ(Ask(&pool, server.Url("/")), "b");
    EXPECT_EQ(pool.Count(), 2);
    EXPECT_EQ(Ask(&pool, server.Url("/")), "b");
    EXPECT_EQ(pool.Count(), 2);
    gate.open = true;
    EXPECT_EQ(busy.Content(), "a");
    EXPECT_EQ(server.Connections(), 2);
}

TEST(HttpClientPool, UsesADifferentClientForEachServer)
{
    ScriptedServer first({Answering("a", 2)});
    ScriptedServer second({Answering("b", 2)});
    CountingPool pool;
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(Ask(&pool, first.Url("/")), "a");
        EXPECT_EQ(Ask(&pool, second.Url("/")), "b");
    }
    EXPECT_EQ(pool.Count(), 2);
}

TEST(HttpClientPool, UrlWithoutAHostIsSentToTheHostHeader)
{
    std::string seen;
    ScriptedServer server({[&](Peer& peer) {
        seen = peer.Read();
        peer.Send(Response("a"));
        peer.WaitForEnd();
    }});
    const std::string host = "127.0.0.1:" + std::to_string(server.Port());
    {
        CountingPool pool;
        const auto request = NewRequest();
        request->SetUrl(Str("/path"));
        http::SetHeaderValue(request->GetHeaders(), QZ_W("host"), qztest::Wide(host).c_str());
        const Held<QZHttpResponse> response(pool.SendRequest(request.Get()));
        EXPECT_EQ(BytesOf(response->GetContent()), "a");
    }
    server.Stop();
    EXPECT_EQ(seen, "GET /path HTTP/1.1\r\nContent-Length: 0\r\nhost: " + host + "\r\n\r\n");
}

TEST(HttpClientPool, RequestWithoutAHostIsNotResolved)
{
    CountingPool pool;
    EXPECT_QZ_THROW(Ask(&pool, "/path"), QZHttpExceptionCode::NameNotResolved);
    qztest::Hooks hooks;
    hooks.Fail(os::Op::System, 5);
    EXPECT_QZ_THROW(Ask(&pool, "http://somewhere/"), QZHttpExceptionCode::NameNotResolved);
    EXPECT_EQ(pool.created, 0);
}

TEST(HttpClientPool, ClientThatCannotConnectIsRecycled)
{
    std::string url;
    {
        const ScriptedServer server({});
        url = server.Url("/");
    }
    CountingPool pool;
    EXPECT_QZ_THROW(Ask(&pool, url), QZSocketExceptionCode::SocketConnectFailed);
    EXPECT_EQ(pool.Count(), 0);
    EXPECT_EQ(pool.created, 1);
    EXPECT_EQ(pool.recycled, 1);
    EXPECT_EQ(pool.GetFailCount(), 1);
}

TEST(HttpClientPool, ClientThatFailsIsRecycled)
{
    const Pauses pauses;
    const Script silent = [](Peer& peer) { peer.Read(); };
    ScriptedServer server({silent, silent, silent, silent});
    CountingPool pool;
    EXPECT_QZ_THROW(Ask(&pool, server.Url("/")), QZSocketExceptionCode::SocketErrorConnectionClose);
    EXPECT_EQ(pool.Count(), 0);
    EXPECT_EQ(pool.recycled, 1);
    EXPECT_EQ(pool.GetFailCount(), 4);
    EXPECT_EQ(server.Connections(), 4);
}

TEST(HttpClientPool, RetriesOfASuccessCountAsFailures)
{
    const Pauses pauses;
    ScriptedServer server({[](Peer& peer) { peer.Read(); }, Answering("a", 1)});
    CountingPool pool;
    EXPECT_EQ(Ask(&pool, server.Url("/")), "a");
    EXPECT_EQ(pool.GetFailCount(), 1);
    EXPECT_EQ(pool.Count(), 1);
}

TEST(HttpClientPool, CollectClosesIdleClientsOnly)
{
    Gate gate;
    ScriptedServer server({gate.Holding("a"), Answering("b", 1)});
    CountingPool pool;
    RequestThread busy(&pool, server.Url("/"));
    ASSERT_TRUE(gate.Asked(1));
    EXPECT_EQ(Ask(&pool, server.Url("/")), "b");
    pool.Collect();
    EXPECT_EQ(pool.Count(), 1);
    EXPECT_EQ(pool.recycled, 1);
    gate.open = true;
    EXPECT_EQ(busy.Content(), "a");
    pool.Collect();
    EXPECT_EQ(pool.Count(), 0);
    EXPECT_EQ(pool.recycled, 2);
}

TEST(HttpClientPool, CloseAllLetsAPendingRequestFinish)
{
    Gate gate;
    ScriptedServer server({gate.Holding("a"), Answering("b", 1), Answering("c", 1)});
    CountingPool pool;
    RequestThread busy(&pool, server.Url("/"));
    ASSERT_TRUE(gate.Asked(1));
    EXPECT_EQ(Ask(&pool, server.Url("/")), "b");
    pool.CloseAll();
    EXPECT_EQ(pool.Count(), 0);
    EXPECT_EQ(pool.recycled, 1);
    gate.open = true;
    EXPECT_EQ(busy.Content(), "a");
    EXPECT_EQ(pool.recycled, 2);
    EXPECT_EQ(Ask(&pool, server.Url("/")), "c");
    EXPECT_EQ(pool.created, 3);
}

TEST(HttpClientPool, TimeoutAppliesToExistingAndLaterClients)
{
    const Pauses pauses;
    const Script silent = [](Peer& peer) { peer.WaitForEnd(); };
    const Script once = [](Peer& peer) {
        peer.Answer(Response("a"));
        peer.WaitForEnd();
    };
    ScriptedServer server({once, silent, silent, silent, silent, silent, silent, silent});
    CountingPool pool;
    EXPECT_EQ(Ask(&pool, server.Url("/")), "a");
    pool.SetTimeout(40);
    EXPECT_QZ_THROW(Ask(&pool, server.Url("/")), QZSocketExceptionCode::SocketErrorTimeout);
    EXPECT_EQ(pool.Count(), 0);
    EXPECT_QZ_THROW(Ask(&pool, server.Url("/")), QZSocketExceptionCode::SocketErrorTimeout);
    EXPECT_EQ(server.Connections(), 8);
    EXPECT_EQ(pool.GetFailCount(), 8);
}

TEST(HttpClientPool, ServesManyThreads)
{
    std::vector<Script> scripts(8, Answering("a", 1000));
    ScriptedServer server(scripts);
    CountingPool pool;
    std::vector<std::thread> threads;
    std::atomic<int> answered = 0;
    for (int t = 0; t < 4; ++t)
    {
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) answered += Ask(&pool, server.Url("/")) == "a" ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(answered, 200);
    EXPECT_GE(pool.Count(), 1);
    EXPECT_LE(pool.Count(), 4);
    EXPECT_EQ(pool.GetFailCount(), 0);
}

/// A client that returns the path of its request as content, without a server.
class EchoClient : public QZHttpClient
{
public:
    QZHttpResponse* Request(QZHttpRequest* request) override
    {
        QZHttpResponse* response = QZHttpFactory::CreateResponse();
        response->SetContent(request->GetUrl()->GetPath());
        return response;
    }

protected:
    QZSocketClient* CreateSocket(QZIPAddress*, unsigned short) override { return new QZSocketClient(); }
};

class EchoPool : public QZHttpClientPool
{
protected:
    QZHttpClient* CreateClient() override { return new EchoClient(); }
};

TEST(HttpClientPool, ClientIsIdleOnlyAfterItsOwnRequestEnds)
{
    EchoPool pool;
    EXPECT_EQ(Ask(&pool, "http://127.0.0.1/x"), "/x");
    EXPECT_EQ(pool.Count(), 1);
    // The pool marks the client as working when it takes it. This client's Request does not clear the mark.
    EXPECT_EQ(Ask(&pool, "http://127.0.0.1/y"), "/y");
    EXPECT_EQ(pool.Count(), 1);
    EXPECT_EQ(Ask(&pool, "http://127.0.0.1/z"), "/z");
    EXPECT_EQ(pool.Count(), 2);
}
}  // namespace
