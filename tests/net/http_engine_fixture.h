#ifndef QZLIB_TESTS_NET_HTTP_ENGINE_FIXTURE_H
#define QZLIB_TESTS_NET_HTTP_ENGINE_FIXTURE_H

/// A running server on the loopback interface, and requests for it.

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

/// A page whose content at /endless is larger than the system's send buffers for a client that does not read.
inline QZHttpResponse* EndlessOrSmall(QZHttpRequest* request)
{
    static const std::string endless(48 << 20, 'x');
    return TestServer::Text(request->GetUrl()->GetPath()->Equals(QZ_W("/endless")) ? endless : "small");
}

/// A running server.
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

    /// The id of the only active connection.
    long long OnlyClient()
    {
        QZJsonValueCollection* info = m_server->GetConnectInfo();
        EXPECT_EQ(info->Count(), 1);
        m_server->Recycle(&info);
        for (long long id = 1; id < 100000; ++id)
            if (m_server->IsConnectAlive(id)) return id;
        return 0;
    }

    // The following checks hold with worker threads and with completion threads that answer in place.
    void ExpectVanishingClientsAreRemoved()
    {
        std::string large(4 << 20, 'x');
        TestServer& server = Run([&](QZHttpRequest*) { return TestServer::Text(large); });
        for (int i = 0; i < 20; ++i)
        {
            RawClient client(PortNumber());
            if (i % 4 == 1) client.Send("GET /half");
            if (i % 4 == 2) client.Send(Get("/"));
            if (i % 4 == 3) client.Send(Post("/", "abc").substr(0, 40));
        }
        // Clients are accepted in order, so all earlier ones have been accepted once this one is answered.
        {
            RawClient last(PortNumber());
            EXPECT_EQ(BodyOf(last.Ask(Get("/"))).size(), large.size());
        }
        EXPECT_TRUE(Eventually([&] { return server.ConnectCount() + server.ConnectCloseWaitCount() == 0; }));
    }

    void ExpectShutdownDoesNotWaitForAStuckClient()
    {
        TestServer& server = Run(EndlessOrSmall);
        RawClient stuck(PortNumber());
        ASSERT_TRUE(stuck.Send(Get("/endless")));
        ASSERT_TRUE(Eventually([&] { return server.sending == 1; }));
        os::Sleep(100);
        m_server.reset();
        EXPECT_LT(stuck.Receive().size(), std::size_t{48} << 20);
    }

    void ExpectShutdownWaitsForAPage()
    {
        std::atomic<int> step{0};
        Run([&](QZHttpRequest*) {
            step = 1;
            os::Sleep(200);
            step = 2;
            return TestServer::Text("done");
        });
        RawClient client(PortNumber());
        ASSERT_TRUE(client.Send(Get("/")));
        ASSERT_TRUE(Eventually([&] { return step == 1; }));
        m_server.reset();
        EXPECT_EQ(step, 2);
    }

    Reports m_reports;
    std::unique_ptr<TestServer> m_server;
};

}  // namespace qztest

#endif
