// The record file that a server keeps while it answers a request.

#include "net/http_engine_fixture.h"

namespace
{

using qztest::Eventually;
using qztest::Get;
using qztest::HttpEngine;
using qztest::Post;
using qztest::RawClient;
using qztest::StatusOf;
using qztest::TestServer;

class HttpRecord : public HttpEngine
{
protected:
    std::vector<std::string> Records()
    {
        std::vector<std::string> names;
        if (!std::filesystem::exists("LastRecord")) return names;
        for (const auto& entry : std::filesystem::directory_iterator("LastRecord"))
            names.push_back(entry.path().string());
        return names;
    }
    static std::string Read(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void SetUp() override { std::filesystem::remove_all("LastRecord"); }
    void TearDown() override
    {
        m_server.reset();
        std::filesystem::remove_all("LastRecord");
    }
};

TEST_F(HttpRecord, RequestIsRecordedWhileItIsAnswered)
{
    std::string seen;
    TestServer& server = Make([&](QZHttpRequest*) {
        const std::vector<std::string> records = Records();
        if (records.size() == 1) seen = Read(records[0]);
        return TestServer::Text("");
    });
    server.SetLastRecord();
    server.Start();
    RawClient client(PortNumber());
    const std::string request = Post("/r", "body");
    ASSERT_TRUE(client.Send(request.substr(0, 20)));
    os::Sleep(20);
    client.Ask(request.substr(20));
    EXPECT_EQ(seen, request);
    EXPECT_TRUE(Records().empty());
}

TEST_F(HttpRecord, NothingIsRecordedByDefault)
{
    bool any = true;
    Run([&](QZHttpRequest*) {
        any = !Records().empty();
        return TestServer::Text("");
    });
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    EXPECT_FALSE(any);
    EXPECT_FALSE(std::filesystem::exists("LastRecord"));
}

TEST_F(HttpRecord, RecordThatCannotBeRemovedIsA500)
{
    TestServer& server = Make([&](QZHttpRequest*) {
        for (const std::string& path : Records()) std::filesystem::remove(path);
        return TestServer::Text("");
    });
    server.SetLastRecord();
    server.Start();
    RawClient client(PortNumber());
    const std::string response = client.Ask(Get("/"));
    EXPECT_EQ(StatusOf(response), "HTTP/1.1 500 Internal Server Error");
    EXPECT_NE(response.find("Can not remove record file."), std::string::npos);
}

TEST_F(HttpRecord, RecordThatCannotBeWrittenIsReported)
{
    // A file with the name of the folder.
    std::ofstream("LastRecord") << "x";
    TestServer& server = Make();
    server.SetLastRecord();
    server.Start();
    RawClient client(PortNumber());
    client.Ask(Get("/"));
    EXPECT_TRUE(Eventually([&] { return !m_reports.All().empty(); }));
    EXPECT_TRUE(Eventually([&] { return server.finished == 1; }));
}

TEST_F(HttpRecord, PageThatThrowsLeavesItsRecord)
{
    TestServer& server = Make(
        [](QZHttpRequest*) -> QZHttpResponse* { throw QZExceptionFactory::CreateException(QZ_W("broken")); });
    server.SetLastRecord();
    server.Start();
    RawClient client(PortNumber());
    client.Ask(Get("/left"));
    ASSERT_EQ(Records().size(), 1u);
    EXPECT_EQ(Read(Records()[0]), Get("/left"));
}

}  // namespace
