#ifndef QZLIB_TESTS_NET_HTTP_ENGINE_FIXTURE_H
#define QZLIB_TESTS_NET_HTTP_ENGINE_FIXTURE_H

/// A running server on the loopback, and requests for it.

#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "fw/fw_environment.h"
#include "fw/fw_string_factory.h"
#include "net/http_server_support.h"
#include "net/http_support.h"
#include "net/net_http_server.h"
#include "net/net_json.h"
#include "os/os_thread.h"
#include "support/qz_hooks.h"

namespace qztest
{
/// A server at work.
class HttpEngine : public testing::Test
{
protected:
    TestServer& Run(TestServer::Page page = nullptr)
    {
        Make(std::move(page));
        m_server->Start();
        return *m_server;
    }
    TestServer& Make(TestServer::Page page = nullptr)
    {
        m_server = std::make_unique<TestServer>(&m_reports, std::move(page));
        m_server->GetServerName()->Set(QZ_W("test server"));
        return *m_server;
    }
    unsigned short PortNumber() { return m_server->GetPort(); }

    /// The only active connection's id.
    long long OnlyClient()
    {
        QZJsonValueCollection* info = m_server->GetConnectInfo();
        EXPECT_EQ(info->Count(), 1);
        m_server->Recycle(&info);
        for (long long id = 1; id < 100000; ++id)
            if (m_server->IsConnectAlive(id)) return id;
        return 0;
    }

    Reports m_reports;
    std::unique_ptr<TestServer> m_server;
};

inline std::string Get(const std::string& path, const std::string& headers = {})
{
    return "GET " + path + " HTTP/1.1\r\nHost: h\r\n" + headers + "\r\n";
}

inline std::string Post(const std::string& path, const std::string& body)
{
    return "POST " + path + " HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

inline std::string Head(std::size_t size)
{
    std::string head = "GET /x HTTP/1.1\r\nX-Fill: ";
    head.append(size - head.size(), 'f');
    return head;
}

}  // namespace qztest

#endif
