#ifndef QZLIB_TESTS_NET_HTTP_SERVER_SUPPORT_H
#define QZLIB_TESTS_NET_HTTP_SERVER_SUPPORT_H

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "fw/fw_report.h"
#include "net/net_http_connection.h"
#include "net/net_http_engine.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "support/qz_test.h"
#include "sys/internal/sys_socket.h"

namespace qztest
{

constexpr QZUInt32 kLoopback = 0x0100007F;

/// Collects the texts that an engine reports.
class Reports : public QZErrorReport
{
public:
    void Report(const QZWChar* text) override { Add(Utf8(text)); }
    void Report(const char* text) override { Add(text); }
    void Report(QZString* text) override { Add(Utf8(text)); }
    void Report(QZException* exception) override { Add(Utf8(exception->GetMsg())); }

    std::vector<std::string> All()
    {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_texts;
    }
    bool Has(std::string_view part)
    {
        for (const std::string& text : All())
            if (text.find(part) != std::string::npos) return true;
        return false;
    }

private:
    void Add(std::string text)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_texts.push_back(std::move(text));
    }

    std::mutex m_lock;
    std::vector<std::string> m_texts;
};

/// A server on the loopback interface whose pages come from a function. Without a function the content of a
/// page is "<method> <path> <number of bytes of the request's content>".
class TestServer : public QZHttpServerEngine
{
public:
    using Page = std::function<QZHttpResponse*(QZHttpRequest*)>;

    explicit TestServer(QZErrorReport* report, Page page = nullptr, long long efficiency = 2)
        : QZHttpServerEngine(efficiency, report, 0), m_page(std::move(page))
    {
        m_bindAddress = kLoopback;
    }
    ~TestServer() override { Shutdown(); }

    using QZHttpServerEngine::GetConnectInfo;
    using QZHttpServerEngine::Recycle;
    using QZHttpServerEngine::Shutdown;

    void SetMaxClient(int count) { m_maxClient = count; }
    void SetHeadLimit(QZInt64 bytes) { m_headLimit = bytes; }
    void SetLastRecord() { m_lastRecord = 1; }

    void ProcessRecord(QZHttpConnect*, QZHttpRequest* request, QZHttpResponse* response) override
    {
        ++finished;
        cutOff += request == nullptr && response == nullptr;
    }

    void SendResponse(long long id, QZHttpResponse* response) override
    {
        ++sending;
        QZHttpServerEngine::SendResponse(id, response);
    }

    static QZHttpResponse* Text(std::string_view text)
    {
        QZHttpResponse* response = QZHttpFactory::CreateResponse();
        response->SetStatus(200);
        response->SetContent(text.data(), static_cast<QZInt64>(text.size()));
        return response;
    }

    std::atomic<int> finished{0};
    std::atomic<int> cutOff{0};
    std::atomic<int> sending{0};

protected:
    QZHttpResponse* CreatePage(QZHttpRequest* request) override
    {
        if (m_page) return m_page(request);
        return Text(Utf8(request->GetMethod()) + " " + Utf8(request->GetUrl()->GetPath()) + " " +
                    std::to_string(request->GetContent()->GetSize()));
    }

private:
    Page m_page;
};

/// A client that sends and receives raw bytes.
class RawClient
{
public:
    explicit RawClient(unsigned short port) : m_socket(os::SocketOpen(os::SocketKind::Stream))
    {
        connected = os::SocketConnect(m_socket, kLoopback, port);
        os::SocketSetReceiveTimeout(m_socket, 60000);
        os::SocketNoDelay(m_socket);
    }
    ~RawClient() { Close(); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void Close()
    {
        if (m_socket != 0) os::SocketClose(m_socket);
        m_socket = 0;
    }
    void EndOutput() { os::SocketShutdown(m_socket, os::SocketSide::Send); }

    bool Send(std::string_view bytes)
    {
        while (!bytes.empty())
        {
            const QZInt64 sent = os::SocketSend(m_socket, bytes.data(), static_cast<QZInt64>(bytes.size()));
            if (sent <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    /// Returns the next complete response, or the bytes received when the server ends the stream before.
    std::string Receive()
    {
        for (;;)
        {
            const std::size_t size = WholeSize();
            if (size > 0 || !More())
            {
                std::string response = m_input.substr(0, size > 0 ? size : m_input.size());
                m_input.erase(0, response.size());
                return response;
            }
        }
    }

    /// Waits until the server ends its stream; false when bytes are left to read.
    bool AtEnd() { return m_input.empty() && !More(); }

    /// Returns all bytes until the server ends the stream.
    std::string Rest()
    {
        while (More())
        {}
        return std::move(m_input);
    }

    /// Returns the bytes up to the end of a head, whatever length it names.
    std::string ReceiveHead()
    {
        while (m_input.find("\r\n\r\n") == std::string::npos && More())
        {}
        const std::size_t end = m_input.find("\r\n\r\n");
        const std::string head = end == std::string::npos ? m_input : m_input.substr(0, end + 4);
        m_input.erase(0, head.size());
        return head;
    }

    std::string Ask(std::string_view request) { return Send(request) ? Receive() : std::string(); }

    bool connected = false;

private:
    bool More()
    {
        char buffer[65536];
        const QZInt64 count = os::SocketReceive(m_socket, buffer, sizeof(buffer));
        if (count > 0) m_input.append(buffer, static_cast<std::size_t>(count));
        return count > 0;
    }

    std::size_t WholeSize() const
    {
        const std::size_t head = m_input.find("\r\n\r\n");
        if (head == std::string::npos) return 0;
        const std::size_t at = m_input.find("Content-Length: ");
        if (at == std::string::npos || at > head) return 0;
        const std::size_t size = head + 4 + std::stoull(m_input.substr(at + 16));
        return m_input.size() >= size ? size : 0;
    }

    QZInt64 m_socket;
    std::string m_input;
};

inline std::string BodyOf(const std::string& response)
{
    const std::size_t head = response.find("\r\n\r\n");
    return head == std::string::npos ? "<no head>" : response.substr(head + 4);
}

inline std::string StatusOf(const std::string& response) { return response.substr(0, response.find("\r\n")); }

}  // namespace qztest

#endif
