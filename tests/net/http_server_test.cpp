// Ready-made pages, files, the page table and the sites.

#include <string>
#include <thread>

#include "fw/fw_library.h"
#include "net/http_support.h"
#include "net/net_http_page.h"
#include "net/net_http_server.h"
#include "net/net_http_site.h"
#include "net/net_json.h"
#include "support/qz_test.h"

namespace
{

using qztest::Held;
using qztest::Str;
using qztest::TempDir;

std::string ContentOf(QZHttpResponse* response) { return qztest::BytesOf(response->GetContent()); }

/// The expected page, written independently of the library's template.
std::string PageText(const std::string& big, const std::string& message, const std::string& detail,
                     const std::string& server, const std::string& bigStyle = "font-size:10vw",
                     const std::string& messageStyle = "font-size:3vw")
{
    return "<!DOCTYPE html><html lang=\"zh-CN\"><head><title>" + big + " " + message +
           "</title></head><body "
           "style=\"width:100%;height:100%;background-color:#1682d8;color:#fefefe;\"><div "
           "style=\"width:30vw;height:auto;margin: 20vh auto  0 auto;\"><div style=\"width:100%; "
           "text-align:center;" +
           bigStyle + "\">" + big +
           "</div></div><div style=\"width:100%;border-top: 1px solid #ccc;\"><div style=\"width:100%; "
           "text-align:center;" +
           messageStyle + "\">" + message +
           "</div></div><div style=\"width:25vw; height:3vw; margin: 0 auto; text-align:center; "
           "font-size:1vw; "
           "line-height: 3vw; \">" +
           detail +
           "</div><div style=\"width:25vw;height:auto;margin:0 auto;margin-top:2vw;\"><div "
           "style=\"width:100%; "
           "text-align:center;\"><div style=\"float:left;font-size:1vw;\">" +
           server +
           "</div><a href=\"javascript:history.go(-1);\" "
           "style=\"float:right;font-size:1vw;color:#fefefe\"><div "
           "style=\"float:right;font-size:1vw;margin:0 3px;\">Back</div><div "
           "style=\"float:right;font-size:1vw;margin:0 "
           "3px;\">\xE8\xBF\x94\xE5\x9B\x9E</div></a></div></div></body></"
           "html>";
}

struct StatusPage
{
    QZHttpResponse* (*make)(const QZWChar*);
    const char* code;
    const char* text;
};

TEST(HttpServerPages, EachStatusHasItsPage)
{
    const StatusPage pages[] = {
        {QZHttpServer::Page204, "204", "No Content"},
        {QZHttpServer::Page400, "400", "Bad Request"},
        {QZHttpServer::Page401, "401", "Unauthorized"},
        {QZHttpServer::Page403, "403", "Forbidden"},
        {QZHttpServer::Page404, "404", "Not Found"},
        {QZHttpServer::Page405, "405", "Method Not Allowed"},
        {QZHttpServer::Page431, "431", "Request Header Fields Too Large"},
    };
    for (const StatusPage& page : pages)
    {
        Held<QZHttpResponse> response(page.make(QZ_W("srv")));
        EXPECT_QZ_TEXT(response->GetStatus(), std::string(page.code) + " " + page.text);
        EXPECT_EQ(ContentOf(response.Get()), PageText(page.code, page.text, "", "srv"));
        EXPECT_EQ(qztest::HeadersOf(response->GetHeaders()),
                  "Content-Length: " + std::to_string(ContentOf(response.Get()).size()) +
                      "|Content-Type: text/html; charset=utf-8");
    }
}

TEST(HttpServerPages, DetailLineHasThePathOfA404AndTheMessageOfA500)
{
    Str path("/x");
    Held<QZHttpResponse> missing(QZHttpServer::Page404(QZ_W("srv"), path));
    EXPECT_EQ(ContentOf(missing.Get()), PageText("404", "Not Found", "RequestPath:/x", "srv"));
    Str message("it broke");
    Held<QZHttpResponse> broken(QZHttpServer::Page500(QZ_W("srv"), message));
    EXPECT_QZ_TEXT(broken->GetStatus(), "500 Internal Server Error");
    EXPECT_EQ(ContentOf(broken.Get()), PageText("500", "Internal Server Error", "it broke", "srv"));
}

TEST(HttpServerPages, NullTextsAddNothing)
{
    Held<QZHttpResponse> plain(QZHttpServer::Page403(nullptr));
    EXPECT_EQ(ContentOf(plain.Get()), PageText("403", "Forbidden", "", ""));
    Held<QZHttpResponse> broken(QZHttpServer::Page500(nullptr, nullptr));
    EXPECT_EQ(ContentOf(broken.Get()), PageText("500", "Internal Server Error", "", ""));
}

TEST(HttpServerPages, DefaultIndexIsAWelcomePage)
{
    Held<QZHttpResponse> response(QZHttpServer::DefaultIndex(QZ_W("srv")));
    EXPECT_QZ_TEXT(response->GetStatus(), "200 OK");
    EXPECT_EQ(ContentOf(response.Get()), PageText("Welcome!", "web server is working", "", "srv",
                                                  "font-size:5vw;line-height: 8vw;", "font-size:1.5vw"));
}

TEST(HttpServerPages, RedirectsHaveALocationAndNoBody)
{
    Str url("http://b/");
    Held<QZHttpResponse> forGood(QZHttpServer::Response301(url));
    EXPECT_QZ_TEXT(forGood->GetStatus(), "301 Permanently Moved");
    EXPECT_EQ(qztest::WireOf(forGood.Get()),
              "HTTP/1.1 301 Permanently Moved\r\nContent-Length: 0\r\nLocation: http://b/\r\n\r\n");
    Held<QZHttpResponse> forNow(QZHttpServer::Response302(url));
    EXPECT_QZ_TEXT(forNow->GetStatus(), "302 Temporarily Moved");
}

// ---- Files

struct FileType
{
    const char* name;
    const char* type;
};

TEST(HttpServerFiles, ExtensionDecidesTheType)
{
    const FileType files[] = {
        {"a.png", "image/png"},
        {"a.PNG", "image/png"},
        {"a.gif", "image/gif"},
        {"a.jpeg", "image/jpeg"},
        {"a.jpg", "image/jpeg"},
        {"a.ico", "image/x-icon"},
        {"a.mp4", "video/mp4"},
        {"a.rar", "application/rar"},
        {"a.pdf", "application/pdf"},
        {"a.zip", "application/zip"},
        {"a.svg", "image/svg+xml"},
        {"a.html", "text/html"},
        {"a.HtM", "text/html"},
        {"a.css", "text/css"},
        {"a.js", "application/javascript"},
        {"a.xml", "text/xml"},
        {"a.txt", "text/plain"},
        {"a.otf", "font/otf"},
        {"a.woff", "application/font-woff"},
        {"a.woff2", "application/font-woff2"},
        {"a.eot", "application/vnd.ms-fontobject"},
        {"a.ttf", "application/x-font-ttf"},
    };
    TempDir folder;
    for (const FileType& file : files)
    {
        folder.Write(file.name, "abc");
        QZString path(folder.Name(file.name).c_str());
        Held<QZHttpResponse> response(QZHttpServer::ResponseFile(&path));
        ASSERT_NE(response.Get(), nullptr) << file.name;
        EXPECT_QZ_TEXT(response->GetStatus(), "200 OK");
        EXPECT_EQ(ContentOf(response.Get()), "abc");
        EXPECT_EQ(qztest::HeadersOf(response->GetHeaders()), std::string("Content-Length: 3|Content-Type: ") +
                                                                 file.type + "|Cache-Control: max-age=3600");
    }
}

TEST(HttpServerFiles, ObjFileHasABodyAndNoType)
{
    TempDir folder;
    folder.Write("m.obj", "v 0 0 0");
    QZString path(folder.Name("m.obj").c_str());
    Held<QZHttpResponse> response(QZHttpServer::ResponseFile(&path));
    EXPECT_EQ(ContentOf(response.Get()), "v 0 0 0");
    EXPECT_EQ(qztest::HeadersOf(response->GetHeaders()), "Content-Length: 7|Cache-Control: max-age=3600");
}

TEST(HttpServerFiles, OtherExtensionsGiveAnEmptyResponse)
{
    TempDir folder;
    for (const char* name : {"a.exe", "a", "a.pngx", "a.pn", "a.html.bak"})
    {
        folder.Write(name, "secret");
        QZString path(folder.Name(name).c_str());
        Held<QZHttpResponse> response(QZHttpServer::ResponseFile(&path));
        ASSERT_NE(response.Get(), nullptr);
        EXPECT_QZ_TEXT(response->GetStatus(), "200 OK");
        EXPECT_EQ(ContentOf(response.Get()), "");
        EXPECT_EQ(qztest::HeadersOf(response->GetHeaders()), "Content-Length: 0|Cache-Control: max-age=3600");
    }
}

TEST(HttpServerFiles, EmptyFileIsServed)
{
    TempDir folder;
    folder.Write("e.txt", "");
    QZString path(folder.Name("e.txt").c_str());
    Held<QZHttpResponse> response(QZHttpServer::ResponseFile(&path));
    EXPECT_EQ(qztest::HeadersOf(response->GetHeaders()),
              "Content-Length: 0|Content-Type: text/plain|Cache-Control: max-age=3600");
}

TEST(HttpServerFiles, UnreadableFileReturnsNull)
{
    TempDir folder;
    QZString missing(folder.Name("none.txt").c_str());
    EXPECT_EQ(QZHttpServer::ResponseFile(&missing), nullptr);
    QZString directory(folder.Name().c_str());
    EXPECT_EQ(QZHttpServer::ResponseFile(&directory), nullptr);
    QZString longer(qztest::Wide(std::string(300, 'x') + ".txt").c_str());
    EXPECT_EQ(QZHttpServer::ResponseFile(&longer), nullptr);
}

// ---- Pages

class TextPage : public QZHttpPage
{
public:
    TextPage(const QZWChar* path, const char* text) : QZHttpPage(path), m_text(text) {}
    QZHttpResponse* ToResponse(QZHttpRequest*) override
    {
        QZHttpResponse* response = QZHttpFactory::CreateResponse();
        response->SetContent(m_text.data(), static_cast<QZInt64>(m_text.size()));
        return response;
    }
    QZHttpResponse* Verification(QZHttpRequest*) override
    {
        return closed ? QZHttpServer::Page401(nullptr) : nullptr;
    }

    bool closed = false;

private:
    std::string m_text;
};

/// Status and content of the response to a request for a path, "<null>" for no response.
std::string Answer(QZHttpPageContainer& pages, const char* url)
{
    Held<QZHttpRequest> request = qztest::NewRequest();
    request->SetUrl(Str(url));
    QZHttpResponse* response = pages.ToResponse(request.Get());
    if (response == nullptr) return "<null>";
    std::string text = qztest::Utf8(response->GetStatus()).substr(0, 4) + ContentOf(response);
    QZHttpFactory::Recycle(&response);
    return text;
}

TEST(HttpPages, PageIsFoundByItsPathIgnoringCase)
{
    TextPage page(QZ_W("/index"), "here");
    QZHttpPageContainer pages;
    pages.AddPage(&page);
    EXPECT_EQ(Answer(pages, "/index"), "200 here");
    EXPECT_EQ(Answer(pages, "/Index?a=b"), "200 here");
    EXPECT_EQ(Answer(pages, "/index/"), "<null>");
    EXPECT_EQ(Answer(pages, "/"), "<null>");
}

TEST(HttpPages, FirstPageOfAPathIsUsed)
{
    TextPage first(QZ_W("/p"), "first");
    TextPage second(QZ_W("/P"), "second");
    QZHttpPageContainer pages;
    pages.AddPage(&first);
    pages.AddPage(&second);
    EXPECT_EQ(Answer(pages, "/p"), "200 first");
    pages.RemovePage(&first);
    EXPECT_EQ(Answer(pages, "/p"), "200 second");
}

TEST(HttpPages, VerificationReplacesTheResponse)
{
    TextPage page(QZ_W("/p"), "inside");
    page.closed = true;
    QZHttpPageContainer pages;
    pages.AddPage(&page);
    EXPECT_EQ(Answer(pages, "/p").substr(0, 4), "401 ");
    page.closed = false;
    EXPECT_EQ(Answer(pages, "/p"), "200 inside");
}

TEST(HttpPages, ContainerUnlocksItsPagesAndDoesNotDeleteThem)
{
    TextPage page(QZ_W("/p"), "text");
    {
        QZHttpPageContainer pages;
        pages.AddPage(&page);
        EXPECT_FALSE(page.IsDisposable());
        EXPECT_QZ_THROW(pages.AddPage(&page), 1280);
    }
    EXPECT_TRUE(page.IsDisposable());
    EXPECT_QZ_TEXT(page.GetPath(), "/p");
}

TEST(HttpPages, BasePageReturnsNoResponse)
{
    QZHttpPage page(Str("/p"));
    EXPECT_EQ(page.GetType(), 0x831001F);
    EXPECT_FALSE(page.GetPath()->IsDisposable());
    EXPECT_EQ(page.ToResponse(nullptr), nullptr);
    EXPECT_EQ(page.Verification(nullptr), nullptr);
    QZHttpPageContainer pages;
    EXPECT_EQ(pages.GetType(), 0x8310020);
    pages.AddPage(&page);
    EXPECT_EQ(Answer(pages, "/p"), "<null>");
}

// ---- Sites

/// A site parsed from JSON text, recycled at the end of its scope.
class ParsedSite
{
public:
    explicit ParsedSite(const char* text)
    {
        QZString json(qztest::Wide(text).c_str());
        QZJsonValue* value = QZJsonFactory::DeserializeObject(&json);
        try
        {
            m_site = QZSite::Parse(static_cast<QZJsonObject*>(value));
        }
        catch (QZException*)
        {
            QZJsonFactory::Recycle(&value);
            throw;
        }
        QZJsonFactory::Recycle(&value);
    }
    ~ParsedSite() { QZSite::Recycle(&m_site); }
    ParsedSite(const ParsedSite&) = delete;
    ParsedSite& operator=(const ParsedSite&) = delete;
    QZSite* operator->() const { return m_site; }

private:
    QZSite* m_site = nullptr;
};

TEST(HttpSites, SiteIsParsedFromItsConfiguration)
{
    ParsedSite site(R"({"host":" a.example ","SITESTATUS":"redirect302","PhyLocation":"/srv/a",)"
                    R"("Location":"http://b ","IndexPage":" index.html"})");
    EXPECT_QZ_TEXT(site->GetHost(), "a.example");
    EXPECT_EQ(site->GetStatus(), QZSiteStatus::Redirect302);
    EXPECT_QZ_TEXT(site->GetPhyLocation(), "/srv/a");
    EXPECT_QZ_TEXT(site->GetLocation(), "http://b");
    EXPECT_QZ_TEXT(site->GetIndex(), "index.html");
    EXPECT_EQ(site->GetType(), 0x8310021);
}

TEST(HttpSites, MissingKeysAreEmptyAndTheStatusIsLocal)
{
    ParsedSite site(R"({"Other":"x"})");
    EXPECT_QZ_TEXT(site->GetHost(), "");
    EXPECT_EQ(site->GetStatus(), 1);
    EXPECT_QZ_TEXT(site->GetIndex(), "");
}

TEST(HttpSites, EachStatusHasItsName)
{
    EXPECT_EQ(ParsedSite(R"({"SiteStatus":"Local"})")->GetStatus(), 1);
    EXPECT_EQ(ParsedSite(R"({"SiteStatus":"remote"})")->GetStatus(), 2);
    EXPECT_EQ(ParsedSite(R"({"SiteStatus":"Redirect301"})")->GetStatus(), 3);
    EXPECT_EQ(ParsedSite(R"({"SiteStatus":"REDIRECT302"})")->GetStatus(), 4);
    EXPECT_EQ(ParsedSite(R"({"SiteStatus":"else"})")->GetStatus(), 1);
}

TEST(HttpSites, ValueThatIsNoStringThrowsForEveryKey)
{
    const char* message =
        "\xE4\xBC\xA0\xE5\x85\xA5\xE7\x9A\x84Json\xE5\xAD\x98\xE5\x9C\xA8\xE9\x9D\x9E\xE7\xBA\xAF\xE5\xAD\x97"
        "\xE7\xAC\xA6\xE4\xB8\xB2KeyValue";
    EXPECT_QZ_THROW_MESSAGE(ParsedSite(R"({"Host":1})"), 0, message);
    EXPECT_QZ_THROW_MESSAGE(ParsedSite(R"({"Skipped":null})"), 0, message);
}

TEST(HttpSites, StringObjectsAreTrimmedAndRawTextIsNot)
{
    QZSite trimmed(Str(" h "), Str(" l "), Str(" p "), 7, Str(" i "));
    EXPECT_QZ_TEXT(trimmed.GetHost(), "h");
    EXPECT_QZ_TEXT(trimmed.GetLocation(), "l");
    EXPECT_QZ_TEXT(trimmed.GetPhyLocation(), "p");
    EXPECT_EQ(trimmed.GetStatus(), 7);
    EXPECT_QZ_TEXT(trimmed.GetIndex(), "i");
    QZSite raw(QZ_W(" h "), QZ_W(" l "), QZ_W(" p "), 2, QZ_W(" i "));
    EXPECT_QZ_TEXT(raw.GetHost(), " h ");
    EXPECT_QZ_TEXT(raw.GetIndex(), " i ");
}

TEST(HttpSites, HostsAreUniqueWithCase)
{
    QZSite first(QZ_W("a"), nullptr, nullptr, 1, nullptr);
    QZSite twin(QZ_W("a"), nullptr, nullptr, 1, nullptr);
    QZSite other(QZ_W("A"), nullptr, nullptr, 1, nullptr);
    QZSiteList list;
    EXPECT_EQ(list.GetType(), 0x8310022);
    EXPECT_EQ(list.Push(&first), 1);
    EXPECT_EQ(list.Push(&twin), 0);
    EXPECT_EQ(list.Count(), 1);
    EXPECT_EQ(list.Push(&other), 1);
    EXPECT_EQ(list.GetSiteByHost(Str("a")), &first);
    EXPECT_EQ(list.GetSiteByHost(Str("A")), &other);
    EXPECT_EQ(list.GetSiteByHost(Str("b")), nullptr);
    EXPECT_EQ(list.GetElement(1), &other);
    EXPECT_EQ(list.Pop(), &other);
    EXPECT_EQ(list.Pop(), &first);
}

}  // namespace
