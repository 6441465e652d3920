#ifndef QZLIB_TESTS_NET_HTTP_STRICT_FIXTURE_H
#define QZLIB_TESTS_NET_HTTP_STRICT_FIXTURE_H

/// A running server in strict mode on the loopback interface.

#include "net/http_engine_fixture.h"
#include "net/net_http_limits.h"

namespace qztest
{

class HttpStrict : public HttpEngine
{
protected:
    void SetUp() override
    {
        QZHttpServerEngine::Strict = 1;
        QZHttpServerEngine::CompletionPause = 0;
    }
    void TearDown() override
    {
        m_server.reset();
        QZHttpServerEngine::Strict = 0;
        QZHttpServerEngine::AnswerInPlace = 0;
        QZHttpServerEngine::CompletionPause = 1;
    }

    QZHttpServerLimits& Limits() { return *m_server->GetLimits(); }

    /// Sends bytes and ends the stream; returns everything the server sends.
    std::string Exchange(const std::string& bytes)
    {
        RawClient client(PortNumber());
        client.Send(bytes);
        client.EndOutput();
        return client.Rest();
    }

    /// The statuses of the responses in the bytes, with blanks between them.
    static std::string StatusesOf(const std::string& bytes)
    {
        std::string all;
        constexpr std::string_view kStart = "HTTP/1.1 ";
        for (std::size_t at = bytes.find(kStart); at != std::string::npos; at = bytes.find(kStart, at + 1))
            all += (all.empty() ? "" : " ") + bytes.substr(at + kStart.size(), 3);
        return all;
    }

    std::string Statuses(const std::string& bytes) { return StatusesOf(Exchange(bytes)); }
};

inline std::string Close(const std::string& path) { return Get(path, "Connection: close\r\n"); }

inline std::string PostTo(const std::string& path, const std::string& body)
{
    return "POST " + path + " HTTP/1.1\r\nHost: h\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

/// The value of a header in a response; "<none>" without it.
inline std::string HeaderIn(const std::string& response, const std::string& name)
{
    const std::size_t head = response.find("\r\n\r\n");
    const std::size_t at = response.find("\r\n" + name + ": ");
    if (at == std::string::npos || at > head) return "<none>";
    const std::size_t start = at + name.size() + 4;
    return response.substr(start, response.find("\r\n", start) - start);
}

}  // namespace qztest

#endif
