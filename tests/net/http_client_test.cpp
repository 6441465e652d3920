#include "net/net_http_client.h"

#include "net/http_script.h"
#include "net/http_support.h"
#include "net/net_http.h"
#include "os/os_ip_address.h"
#include "support/qz_hooks.h"

namespace
{
using qztest::BytesOf;
using qztest::Catch;
using qztest::CookiesOf;
using qztest::HeadersOf;
using qztest::Held;
using qztest::Hooks;
using qztest::NewRequest;
using qztest::Pauses;
using qztest::Peer;
using qztest::ScriptedServer;
using qztest::Str;
using qztest::Utf8;
using Script = ScriptedServer::Script;

const char* const kOk = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok";

void Connect(QZHttpClient* client, const ScriptedServer& server)
{
    QZIPAddress address(qztest::kLoopback);
    client->Connect(&address, server.Port());
}

/// Status, headers and content, with "/" between them.
std::string Summary(QZHttpResponse* response)
{
    return Utf8(response->GetStatus()) + "/" + HeadersOf(response->GetHeaders()) + "/" +
           BytesOf(response->GetContent());
}

std::string Ask(QZHttpClient* client)
{
    const auto request = NewRequest();
    QZHttpResponse* response = client->Request(request.Get());
    std::string result = Summary(response);
    client->Recycle(&response);
    EXPECT_EQ(response, nullptr);
    return result;
}

/// Sends these bytes as a response, in pieces, and returns what the client reads. The server keeps the
/// connection open.
std::string ReadResponse(std::string_view bytes, std::size_t pieces = std::string::npos)
{
    const Pauses pauses;
    ScriptedServer server({[=](Peer& peer) {
        peer.Read();
        peer.SendPieces(bytes, pieces);
        peer.WaitForEnd();
    }});
    std::string result;
    {
        QZHttpClient client;
        Connect(&client, server);
        result = Ask(&client);
        EXPECT_EQ(client.GetFailCount(), 0);
    }
    EXPECT_EQ(server.Connections(), 1);
    return result;
}

Script Answering(std::string response)
{
    return [=](Peer& peer) { peer.Answer(response); };
}

TEST(HttpClient, RequestBeforeConnectThrowsUnconnected)
{
    QZHttpClient client;
    const auto request = NewRequest();
    EXPECT_QZ_THROW_MESSAGE(client.Request(request.Get()), 546, " Unconnected");
    EXPECT_EQ(client.GetRemoteAddress(), 0);
    EXPECT_EQ(client.GetPort(), 0);
    EXPECT_FALSE(client.IsWorking());
    EXPECT_EQ(client.GetType(), 0x831001C);
    EXPECT_EQ(client.GetFailCount(), 0);
}

TEST(HttpClient, StatusBitsHaveTheirValues)
{
    EXPECT_EQ(QZHttpClientStatus::InitializationCompleted, 1);
    EXPECT_EQ(QZHttpClientStatus::Connected, 2);
    EXPECT_EQ(QZHttpClientStatus::Working, 4);
    EXPECT_EQ(QZHttpClientStatus::Disposing, 8);
}

TEST(HttpClient, SendsTheRequestAndReceivesByLength)
{
    std::string seen;
    ScriptedServer server({[&](Peer& peer) {
        seen = peer.Read();
        peer.Send("HTTP/1.1 404 Not Found\r\nX: y\r\nContent-Length: 4\r\nSet-Cookie: a=b\r\n\r\nbody");
        peer.WaitForEnd();
    }});
    {
        QZHttpClient client;
        Connect(&client, server);
        EXPECT_EQ(client.GetRemoteAddress(), 0x0100007F);
        EXPECT_EQ(client.GetPort(), server.Port());
        const auto request = NewRequest();
        request->SetMethod("post");
        request->SetUrl(Str("/p?q=1"));
        request->SetContent("abc", 3);
        const Held<QZHttpResponse> response(client.Request(request.Get()));
        EXPECT_EQ(Summary(response.Get()), "404 Not Found /X: y|Content-Length: 4/body");
        EXPECT_EQ(CookiesOf(response->GetCookies()), "a=b path= domain= expires=");
        EXPECT_FALSE(client.IsWorking());
    }
    server.Stop();
    EXPECT_EQ(seen, "POST /p?q=1 HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc");
}

TEST(HttpClient, HeadAndContentMayArriveInAnyPieces)
{
    const std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n0123456789";
    for (std::size_t size : {1u, 3u, 41u, 1000u})
        EXPECT_EQ(ReadResponse(answer, size), "200 OK /Content-Length: 10/0123456789") << size;
}

TEST(HttpClient, ReceivesLargeContent)
{
    std::string content(3000000, 'x');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>('a' + i % 23);
    const std::string result = ReadResponse("HTTP/1.1 200 OK\r\nContent-Length: 3000000\r\n\r\n" + content);
    EXPECT_TRUE(result == "200 OK /Content-Length: 3000000/" + content) << result.size();
}

TEST(HttpClient, ContentLengthZeroEndsAfterTheHead)
{
    EXPECT_EQ(ReadResponse("HTTP/1.1 204 No Content\r\nContent-Length: 0\r\n\r\n"),
              "204 No Content /Content-Length: 0/");
}

TEST(HttpClient, ResponseWithoutLengthOrChunksEndsAfterTheHead)
{
    EXPECT_EQ(ReadResponse("HTTP/1.1 200 OK\r\nX: y\r\n\r\n"), "200 OK /X: y/");
    EXPECT_EQ(ReadResponse("HTTP/1.1 200 OK\r\n\r\nwhat came along"), "200 OK //what came along");
    // The name is compared with case, and only in the head.
    EXPECT_EQ(ReadResponse("HTTP/1.1 200 OK\r\ncontent-length: 9\r\n\r\nab"), "200 OK /content-length: 9/ab");
    EXPECT_EQ(ReadResponse("HTTP/1.1 200 OK\r\n\r\nContent-Length: 9"), "200 OK //Content-Length: 9");
}

TEST(HttpClient, BytesAfterTheLengthAreAddedToTheContent)
{
    EXPECT_EQ(ReadResponse("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nokHTTP/1.1"),
              "200 OK /Content-Length: 2/okHTTP/1.1");
    EXPECT_EQ(ReadResponse("HTTP/1.1 200 OK\r\nContent-Length: -7\r\n\r\nok"),
              "200 OK /Content-Length: -7/ok");
}

TEST(HttpClient, ChunksAreJoined)
{
    const std::string answer =
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
        "3\r\nabc\r\nA\r\n0123456789\r\n1\r\n!\r\n0\r\n\r\n";
    for (std::size_t size : {1u, 2u, 5u, 50u, 1000u})
        EXPECT_EQ(ReadResponse(answer, size),
                  "200 OK /Transfer-Encoding: chunked|Content-Length: 14/abc0123456789!")
            << size;
}

TEST(HttpClient, LastChunkNeedsNoEmptyLine)
{
    EXPECT_EQ(ReadResponse("HTTP/1.1 200 OK\r\nTransfer-Encoding: Chunked\r\n\r\n0\r\n"),
              "200 OK /Transfer-Encoding: Chunked|Content-Length: 0/");
}

TEST(HttpClient, ReceivesManyChunks)
{
    std::string answer = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    std::string content;
    for (int i = 0; i < 60; ++i)
    {
        const std::string chunk(0x10000, static_cast<char>('a' + i % 26));
        answer += "10000\r\n" + chunk + "\r\n";
        content += chunk;
    }
    const std::string result = ReadResponse(answer + "0\r\n\r\n");
    EXPECT_TRUE(result == "200 OK /Transfer-Encoding: chunked|Content-Length: 3932160/" + content)
        << result.size();
}

TEST(HttpClient, OtherTransferEncodingsAreNotDecoded)
{
    EXPECT_EQ(ReadResponse("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip\r\nContent-Length: 3\r\n\r\nabc"),
              "200 OK /Transfer-Encoding: gzip|Content-Length: 3/abc");
    EXPECT_EQ(ReadResponse("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip\r\n\r\nabc"),
              "200 OK /Transfer-Encoding: gzip/abc");
}

TEST(HttpClient, TransferEncodingInsideAnotherHeaderThrows)
{
    const Pauses pauses;
    const Script script = Answering("HTTP/1.1 200 OK\r\nX: Transfer-Encoding\r\nContent-Length: 0\r\n\r\n");
    ScriptedServer server({script, script, script, script});
    QZHttpClient client;
    Connect(&client, server);
    const auto request = NewRequest();
    EXPECT_QZ_THROW_MESSAGE(client.Request(request.Get()), 0,
                            "Response has TransferEncoding header, but miss.");
    EXPECT_EQ(client.GetFailCount(), 4);
}

TEST(HttpClient, ServesManyRequestsOverOneConnection)
{
    ScriptedServer server({[](Peer& peer) {
        for (int i = 0; i < 5; ++i) peer.Answer(kOk);
    }});
    QZHttpClient client;
    Connect(&client, server);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(Ask(&client), "200 OK /Content-Length: 2/ok");
    EXPECT_EQ(server.Connections(), 1);
}

TEST(HttpClient, RetriesOverANewConnection)
{
    const Pauses pauses;
    std::string first;
    std::string second;
    ScriptedServer server({[&](Peer& peer) { first = peer.Read(); },
                           [&](Peer& peer) {
                               second = peer.Read();
                               peer.Send(kOk);
                           }});
    {
        QZHttpClient client;
        Connect(&client, server);
        EXPECT_EQ(Ask(&client), "200 OK /Content-Length: 2/ok");
        EXPECT_EQ(client.GetFailCount(), 1);
        EXPECT_FALSE(client.IsWorking());
    }
    server.Stop();
    EXPECT_EQ(server.Connections(), 2);
    EXPECT_EQ(first, second);
    EXPECT_EQ(second, "GET / HTTP/1.1\r\nContent-Length: 0\r\n\r\n");
}

TEST(HttpClient, TruncatedResponseIsRetried)
{
    const Pauses pauses;
    for (const char* part :
         {"HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab",
          "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nab",
          "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n",
          "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1000001\r\nab", "HTTP/1.1 200\r\n\r\n"})
    {
        ScriptedServer server({Answering(part), Answering(kOk)});
        QZHttpClient client;
        Connect(&client, server);
        EXPECT_EQ(Ask(&client), "200 OK /Content-Length: 2/ok") << part;
        EXPECT_EQ(client.GetFailCount(), 1) << part;
    }
}

TEST(HttpClient, ThrowsAfterFourAttempts)
{
    const Pauses pauses(11, 13, 17);
    const Script silent = [](Peer& peer) { peer.Read(); };
    ScriptedServer server({silent, silent, silent, silent, Answering(kOk)});
    QZHttpClient client;
    Connect(&client, server);
    {
        Hooks hooks;
        const auto request = NewRequest();
        EXPECT_QZ_THROW(client.Request(request.Get()), QZSocketExceptionCode::SocketErrorConnectionClose);
        std::vector<QZInt64> slept;
        for (const auto& [event, value] : hooks.Events())
            if (event == os::Event::Sleep) slept.push_back(value);
        EXPECT_EQ(slept, (std::vector<QZInt64>{11, 13, 17}));
    }
    EXPECT_EQ(client.GetFailCount(), 4);
    EXPECT_EQ(server.Connections(), 4);
    EXPECT_FALSE(client.IsWorking());
    // The next request opens a new connection.
    EXPECT_EQ(Ask(&client), "200 OK /Content-Length: 2/ok");
    EXPECT_EQ(server.Connections(), 5);
}

TEST(HttpClient, RetryPausesAreOneThreeAndFiveSeconds)
{
    EXPECT_EQ(http::g_retryPauses[0], 1000);
    EXPECT_EQ(http::g_retryPauses[1], 3000);
    EXPECT_EQ(http::g_retryPauses[2], 5000);
}

TEST(HttpClient, FailureNamesItsFrames)
{
    const Pauses pauses;
    ScriptedServer server({});
    QZHttpClient client;
    Connect(&client, server);
    const auto request = NewRequest();
    const qztest::Thrown thrown = Catch([&] { client.Request(request.Get()); });
    EXPECT_EQ(thrown.type, QZSocketException::Type);
    EXPECT_NE(thrown.stackTrace.find("QZHttpClient::SendRequest(QZHttpRequest*)"), std::string::npos)
        << thrown.stackTrace;
    EXPECT_NE(thrown.stackTrace.find("QZHttpClient::Request(QZHttpRequest*)"), std::string::npos);
}

TEST(HttpClient, SilentServerTimesOut)
{
    const Pauses pauses;
    const Script silent = [](Peer& peer) { peer.WaitForEnd(); };
    ScriptedServer server({silent, silent, silent, silent});
    QZHttpClient client;
    Connect(&client, server);
    // The timeout applies to the open connection and to those of the retries.
    client.SetTimeout(50);
    const auto request = NewRequest();
    EXPECT_QZ_THROW(client.Request(request.Get()), QZSocketExceptionCode::SocketErrorTimeout);
    EXPECT_EQ(client.GetFailCount(), 4);
}

TEST(HttpClient, ConnectToAClosedPortThrows)
{
    const Pauses pauses;
    QZUInt16 port = 0;
    {
        ScriptedServer server({});
        port = server.Port();
    }
    QZHttpClient client;
    QZIPAddress address(qztest::kLoopback);
    EXPECT_QZ_THROW(client.Connect(&address, port), QZSocketExceptionCode::SocketConnectFailed);
    EXPECT_EQ(client.GetRemoteAddress(), 0);
    const auto request = NewRequest();
    EXPECT_QZ_THROW(client.Request(request.Get()), QZHttpExceptionCode::Unconnected);
    EXPECT_EQ(client.GetFailCount(), 0);
}

TEST(HttpClient, FailedReconnectBeforeTheFirstAttemptIsNotCounted)
{
    const Pauses pauses;
    QZHttpClient client;
    {
        ScriptedServer server({});
        Connect(&client, server);
        server.Stop();
    }
    const auto request = NewRequest();
    // The open connection fails, and so do the three reconnects.
    EXPECT_QZ_THROW(client.Request(request.Get()), QZSocketExceptionCode::SocketConnectFailed);
    EXPECT_EQ(client.GetFailCount(), 4);
    // Now the client has no connection. The reconnect before the first attempt fails and is not counted.
    EXPECT_QZ_THROW(client.Request(request.Get()), QZSocketExceptionCode::SocketConnectFailed);
    EXPECT_EQ(client.GetFailCount(), 4);
}

TEST(HttpClient, ConnectReplacesTheServer)
{
    ScriptedServer first({Answering(kOk)});
    ScriptedServer second({Answering("HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\n2")});
    QZHttpClient client;
    Connect(&client, first);
    Connect(&client, second);
    EXPECT_EQ(client.GetPort(), second.Port());
    EXPECT_EQ(Ask(&client), "200 OK /Content-Length: 1/2");
}

TEST(HttpClient, IsWorkingDuringARequest)
{
    std::atomic<bool> asked = false;
    std::atomic<bool> answer = false;
    ScriptedServer server({[&](Peer& peer) {
        peer.Read();
        asked = true;
        qztest::Eventually([&] { return answer.load(); });
        peer.Send(kOk);
    }});
    QZHttpClient client;
    Connect(&client, server);
    std::thread asking([&] { EXPECT_EQ(Ask(&client), "200 OK /Content-Length: 2/ok"); });
    EXPECT_TRUE(qztest::Eventually([&] { return asked.load(); }));
    EXPECT_TRUE(client.IsWorking());
    // SetTimeout does not wait for the request.
    client.SetTimeout(20000);
    answer = true;
    asking.join();
    EXPECT_FALSE(client.IsWorking());
    client.WorkNow();
    EXPECT_TRUE(client.IsWorking());
}

/// Counts the calls that a derived client may override.
class CountingClient : public QZHttpClient
{
public:
    ~CountingClient() override = default;
    int created = 0;
    int recycled = 0;

protected:
    QZSocketClient* CreateSocket(QZIPAddress* address, unsigned short port) override
    {
        ++created;
        return QZHttpClient::CreateSocket(address, port);
    }
    void SocketRecycle(QZSocketClient** socket) override
    {
        ++recycled;
        QZHttpClient::SocketRecycle(socket);
    }
};

TEST(HttpClient, DerivedClientCreatesAndRecyclesTheSockets)
{
    const Pauses pauses;
    ScriptedServer server({Answering(""), Answering(kOk)});
    CountingClient client;
    Connect(&client, server);
    Ask(&client);
    EXPECT_EQ(client.created, 2);
    EXPECT_EQ(client.recycled, 1);
}

// ---- QZHttp

std::string AddressOf(std::string_view name)
{
    QZIPAddress* address = QZHttp::GetHostByName(Str(name));
    QZString* text = address->ToString();
    std::string result = Utf8(text) + " " + std::to_string(address->GetThePort());
    QZIPAddress::Recycle(&text);
    QZHttp::Recycle(&address);
    EXPECT_EQ(address, nullptr);
    return result;
}

TEST(Http, ResolvesNames)
{
    EXPECT_EQ(AddressOf("127.0.0.1"), "127.0.0.1 0");
    EXPECT_EQ(AddressOf("127.1.2.3"), "127.1.2.3 0");
    // "localhost" needs no look-up, which would fail here.
    Hooks hooks;
    hooks.Fail(os::Op::System, 11001, 1, true);
    EXPECT_EQ(AddressOf("LocalHost"), "127.0.0.1 0");
}

TEST(Http, UnresolvedNamesThrow)
{
    {
        Hooks hooks;
        hooks.Fail(os::Op::System, 5);
        const qztest::Thrown thrown = Catch([] { QZHttp::GetHostByName(Str("somewhere")); });
        EXPECT_EQ(thrown.code, 545);
        EXPECT_EQ(thrown.type, QZHttpException::Type);
        EXPECT_NE(thrown.message.find("Host name not resolved"), std::string::npos) << thrown.message;
        EXPECT_GT(thrown.message.size(), std::string(" Host name not resolved").size()) << thrown.message;
    }
    EXPECT_QZ_THROW_MESSAGE(QZHttp::GetHostByName(Str(std::string(2049, 'a'))), 545,
                            " Host name not resolved");
    EXPECT_QZ_THROW(QZHttp::GetHostByName(Str(std::string(2048, 'a'))), 545);
    EXPECT_QZ_THROW(QZHttp::GetHostByName(nullptr), 545);
}

TEST(Http, RequestUsesItsOwnConnection)
{
    std::string seen;
    std::string end = "not yet";
    ScriptedServer server({[&](Peer& peer) {
                               seen = peer.Read();
                               peer.Send(kOk);
                               end = peer.Read();
                           },
                           Answering(kOk)});
    const auto request = NewRequest();
    request->SetUrl(Str(server.Url("/a?b=c")));
    {
        const Held<QZHttpResponse> response(QZHttp::Request(request.Get(), 30000));
        EXPECT_EQ(Summary(response.Get()), "200 OK /Content-Length: 2/ok");
    }
    request->SetUrl(Str("http://localhost:" + std::to_string(server.Port())));
    {
        const Held<QZHttpResponse> response(QZHttp::Request(request.Get()));
        EXPECT_EQ(Summary(response.Get()), "200 OK /Content-Length: 2/ok");
    }
    server.Stop();
    EXPECT_EQ(seen, "GET /a?b=c HTTP/1.1\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(end, "");
}

TEST(Http, FailedRequestNamesItsFrames)
{
    const Pauses pauses;
    ScriptedServer server({});
    const auto request = NewRequest();
    request->SetUrl(Str(server.Url("/")));
    const qztest::Thrown thrown = Catch([&] { QZHttp::Request(request.Get()); });
    EXPECT_EQ(thrown.type, QZSocketException::Type);
    EXPECT_NE(thrown.stackTrace.find("QZHttp::Request(QZHttpRequest*, QZInt32)"), std::string::npos)
        << thrown.stackTrace;
    EXPECT_EQ(server.Connections(), 4);
}

TEST(Http, SendsAndReceivesOnASocketHandle)
{
    std::string seen;
    ScriptedServer server({[&](Peer& peer) {
        seen = peer.Read();
        peer.Send("back");
        peer.WaitForEnd();
    }});
    const QZInt64 socket = os::SocketOpen(os::SocketKind::Stream);
    ASSERT_TRUE(os::SocketConnect(socket, qztest::kLoopback, server.Port()));
    const std::string request = "GET / HTTP/1.1\r\nContent-Length: 0\r\n\r\n";
    EXPECT_EQ(QZHttp::Send(socket, request.data(), static_cast<QZInt64>(request.size())),
              static_cast<QZInt64>(request.size()));
    char buffer[16] = {};
    QZInt64 received = 0;
    while (received < 4) received += QZHttp::Recv(socket, buffer + received, 16 - received);
    EXPECT_STREQ(buffer, "back");
    os::SocketClose(socket);
    server.Stop();
    EXPECT_EQ(seen, request);
    const qztest::Thrown thrown = Catch([&] { QZHttp::Send(socket, "x", 1); });
    EXPECT_EQ(thrown.code, QZSocketExceptionCode::SocketErrorNotConnect);
    EXPECT_NE(thrown.stackTrace.find("QZHttp::Send"), std::string::npos) << thrown.stackTrace;
    EXPECT_QZ_THROW(QZHttp::Recv(socket, buffer, 1), QZSocketExceptionCode::SocketErrorNotConnect);
}
}  // namespace
