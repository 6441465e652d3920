// The example programs, run as a user would run them.

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "net/http_server_support.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"

namespace
{

using qztest::BodyOf;
using qztest::RawClient;
using qztest::StatusOf;

/// A path with slashes, which stand in JSON as they are.
std::string Slashes(const std::string& path) { return std::filesystem::path(path).generic_string(); }

std::string Path(const char* program) { return std::filesystem::path(program).make_preferred().string(); }

std::string Get(const std::string& host, const std::string& path)
{
    return "GET " + path + " HTTP/1.1\r\nHost: " + host + "\r\n\r\n";
}

/// An example server that runs during a test.
class Example : public testing::Test
{
protected:
    /// The port that the server prints; 0 when it does not run.
    unsigned short Start(const std::string& program, const std::string& arguments)
    {
        m_program =
            std::make_unique<qztest::Program>(program + " 0 " + arguments + " >" + m_dir.NarrowName("port"));
        qztest::Eventually(
            [&] { return m_dir.Exists("port") && m_dir.Read("port").find('\n') != std::string::npos; });
        return static_cast<unsigned short>(std::atoi(m_dir.Read("port").c_str()));
    }

    qztest::TempDir m_dir;
    std::unique_ptr<qztest::Program> m_program;
};

class FilesExample : public Example
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directory(m_dir.Path("site"));
        m_dir.Write("site/index.html", "<p>index</p>");
        m_dir.Write("site/a.txt", "text of a");
        m_dir.Write("secret.txt", "secret");
        m_dir.Write(
            "sites.json",
            R"([{"Host":"here","SiteStatus":"Local","PhyLocation":")" + Slashes(m_dir.NarrowName("site")) +
                R"(","IndexPage":"index.html"},{"Host":"moved","SiteStatus":"Redirect301","Location":)"
                R"("http://here/"},{"Host":"far","SiteStatus":"Remote","Location":"elsewhere"}])");
        m_port = Start(Path(QZ_TEST_HTTP_FILES), m_dir.NarrowName("sites.json"));
        ASSERT_NE(m_port, 0);
    }

    unsigned short m_port = 0;
};

TEST_F(FilesExample, ServesTheSitesOfItsList)
{
    RawClient client(m_port);
    EXPECT_EQ(BodyOf(client.Ask(Get("here", "/"))), "<p>index</p>");
    EXPECT_EQ(BodyOf(client.Ask(Get("here:80", "/a.txt"))), "text of a");
    EXPECT_EQ(StatusOf(client.Ask(Get("here", "/b.txt"))), "HTTP/1.1 404 Not Found");
    EXPECT_EQ(StatusOf(client.Ask(Get("nowhere", "/"))), "HTTP/1.1 404 Not Found");
    EXPECT_NE(client.Ask(Get("moved", "/")).find("Location: http://here/\r\n"), std::string::npos);
    EXPECT_EQ(StatusOf(client.Ask(Get("far", "/"))), "HTTP/1.1 403 Forbidden");
    EXPECT_EQ(m_program->End(), 0);
}

TEST_F(FilesExample, KeepsToItsFolders)
{
    RawClient client(m_port);
    for (const char* path : {"/../secret.txt", "/..\\secret.txt", "/x/../../secret.txt"})
        EXPECT_EQ(StatusOf(client.Ask(Get("here", path))), "HTTP/1.1 403 Forbidden") << path;
}

TEST_F(FilesExample, IsReadByTheClientExample)
{
    const std::string url = "http://127.0.0.1:" + std::to_string(m_port);
    const std::string out = " >" + m_dir.NarrowName("out");
    const std::string get = Path(QZ_TEST_HTTP_GET) + " ";
    EXPECT_EQ(std::system((get + url + "/a.txt here" + out).c_str()), 0);
    EXPECT_EQ(m_dir.Read("out"), "text of a");
    EXPECT_NE(std::system((get + url + "/none.txt here" + out).c_str()), 0);
}

/// Runs a program and returns its exit code; what it prints on the error stream goes to a file.
int RunFor(const std::string& line, const std::string& errors)
{
    const int status = std::system((line + " 2>" + errors).c_str());
    return status >= 256 ? status / 256 : status;
}

TEST(GetExample, SaysInWordsWhyThereIsNoResponse)
{
    qztest::TempDir dir;
    const std::string get = Path(QZ_TEST_HTTP_GET) + " ";
    const auto words = [&](const std::string& url) {
        EXPECT_EQ(RunFor(get + url, dir.NarrowName("err")), 2) << url;
        return dir.Read("err");
    };
    EXPECT_EQ(
        words("http://no-such-host.invalid/").find("http_get: host \"no-such-host.invalid\" not found: "),
        0u);
    EXPECT_EQ(
        words("http://127.0.0.1:1/").find("http_get: cannot connect to 127.0.0.1 port 1: connection refused"),
        0u);
    EXPECT_EQ(words("http://x:/").find("http_get: \"http://x:/\" is no URL: ArgumentOutOfRange"), 0u);
    EXPECT_EQ(words("/a.txt").find("http_get: \"/a.txt\" names no host"), 0u);
}

TEST(ServerExamples, RefuseAPortThatIsNone)
{
    qztest::TempDir dir;
    for (const char* program : {QZ_TEST_HTTP_FILES, QZ_TEST_HTTP_STATUS})
    {
        for (const char* port : {"x", "80x", "65536", "-1", "0x50"})
        {
            EXPECT_EQ(RunFor(Path(program) + " " + port + " more", dir.NarrowName("err")), 2) << port;
            EXPECT_NE(
                dir.Read("err").find("PORT \"" + std::string(port) + "\" is no whole number from 0 to 65535"),
                std::string::npos);
        }
    }
    EXPECT_EQ(RunFor(Path(QZ_TEST_HTTP_FILES) + " 0 " + dir.NarrowName("none.json"), dir.NarrowName("err")),
              1);
    EXPECT_EQ(dir.Read("err").find("http_files: Operation Failed"), 0u) << dir.Read("err");
}

TEST(ServerExamples, RefuseAListOfSitesThatIsNone)
{
    qztest::TempDir dir;
    const auto words = [&](const std::string& sites) {
        dir.Write("sites.json", sites);
        const std::string line = Path(QZ_TEST_HTTP_FILES) + " 0 " + dir.NarrowName("sites.json");
        EXPECT_EQ(RunFor(line, dir.NarrowName("err")), 1) << sites;
        return dir.Read("err");
    };
    EXPECT_NE(words("{}").find("no list of sites"), std::string::npos);
    EXPECT_NE(words("[1]").find("no list of sites"), std::string::npos);
    EXPECT_EQ(words("[{\"Host\":\"a\",}]").find("http_files: "), 0u);
    EXPECT_EQ(words("").find("http_files: "), 0u);
}

class StatusExample : public Example
{};

TEST_F(StatusExample, TellsItsStateAndTheClientsToThoseWithTheKey)
{
    const unsigned short port = Start(Path(QZ_TEST_HTTP_STATUS), "sesame");
    ASSERT_NE(port, 0);
    RawClient client(port);
    const std::string status = client.Ask(Get("h", "/status"));
    EXPECT_NE(status.find("Content-Type: application/json; charset=utf-8\r\n"), std::string::npos);
    EXPECT_EQ(BodyOf(status).substr(0, 27), "{\"connections\":1,\"workers\":");
    EXPECT_EQ(StatusOf(client.Ask(Get("h", "/clients"))), "HTTP/1.1 401 Unauthorized");
    EXPECT_EQ(BodyOf(client.Ask(Get("h", "/clients?key=sesame"))).substr(0, 27),
              "{\"clients\":[{\"IP\":\"127.0.0.");
    EXPECT_EQ(StatusOf(client.Ask(Get("h", "/else"))), "HTTP/1.1 404 Not Found");
    EXPECT_EQ(m_program->End(), 0);
}

}  // namespace
