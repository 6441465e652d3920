#include "net/http_support.h"
#include "net/internal/net_http_fields.h"
#include "net/internal/net_http_stamps.h"

namespace
{
using qztest::BytesOf;
using qztest::Catch;
using qztest::CookiesOf;
using qztest::HeadersOf;
using qztest::HeadOf;
using qztest::Held;
using qztest::NewRequest;
using qztest::Read;
using qztest::Str;
using qztest::TakenFrom;
using qztest::Thrown;
using qztest::Utf8;
using qztest::WireOf;

void SetHead(QZHttpRequest* request, std::string_view head) { request->SetHead(Str(head)); }

/// The headers of a request with a valid request line and these header lines.
std::string HeadersFor(std::string_view lines)
{
    const auto request = NewRequest();
    SetHead(request.Get(), "GET / HTTP/1.1\r\n" + std::string(lines));
    return HeadersOf(request->GetHeaders());
}

TEST(HttpRequest, NewRequestIsAGetOfTheRoot)
{
    QZHttpFactory::Collect(0);
    const auto request = NewRequest();
    EXPECT_EQ(request->GetType(), 0x8310019);
    EXPECT_QZ_TEXT(request->GetMethod(), "GET");
    EXPECT_QZ_TEXT(request->GetUrl()->GetUrl(), "/");
    EXPECT_QZ_TEXT(request->GetVersion(), "HTTP/1.1");
    EXPECT_EQ(request->GetClientIP()->GetValue(), 0u);
    EXPECT_EQ(request->GetHandle(), 0);
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Content-Length: 0");
    EXPECT_EQ(request->GetCookies()->Count(), 0);
    EXPECT_EQ(request->GetContent()->GetSize(), 0);
    EXPECT_EQ(request->GetSource()->GetSize(), 0);
    EXPECT_EQ(WireOf(request.Get()), "GET / HTTP/1.1\r\nContent-Length: 0\r\n\r\n");
}

TEST(HttpRequest, OwnsItsParts)
{
    const auto request = NewRequest();
    EXPECT_FALSE(request->GetMethod()->IsDisposable());
    EXPECT_FALSE(request->GetUrl()->IsDisposable());
    EXPECT_FALSE(request->GetVersion()->IsDisposable());
    EXPECT_FALSE(request->GetClientIP()->IsDisposable());
    EXPECT_FALSE(request->GetContent()->IsDisposable());
    EXPECT_FALSE(request->GetHeaders()->IsDisposable());
    EXPECT_FALSE(request->GetCookies()->IsDisposable());
    EXPECT_FALSE(request->GetSource()->IsDisposable());
}

TEST(HttpRequest, IsParsedFromBytes)
{
    const auto request = NewRequest();
    const std::string bytes =
        "post /a/b?x=1&y=2 HTTP/1.1\r\nHost: a.b\r\nContent-Length: 2\r\nCookie: s=1; t=2\r\n\r\nbody";
    Read(request.Get(), bytes);
    EXPECT_QZ_TEXT(request->GetMethod(), "post");
    EXPECT_QZ_TEXT(request->GetUrl()->GetPath(), "/a/b");
    EXPECT_QZ_TEXT(request->GetUrl()->GetParam("y"), "2");
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Host: a.b|Content-Length: 2");
    EXPECT_EQ(CookiesOf(request->GetCookies()), "s=1 path= domain= expires=|t=2 path= domain= expires=");
    EXPECT_EQ(BytesOf(request->GetSource()), bytes);
}

TEST(HttpRequest, ContentIsAllThatFollowsTheEmptyLine)
{
    const auto request = NewRequest();
    Read(request.Get(), "GET / HTTP/1.1\r\nContent-Length: 2\r\n\r\nbody\r\n\r\nmore");
    EXPECT_EQ(BytesOf(request->GetContent()), "body\r\n\r\nmore");
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Content-Length: 2");
    Read(request.Get(), "GET / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(request->GetContent()->GetSize(), 0);
    EXPECT_EQ(request->GetHeaders()->Count(), 0);
}

TEST(HttpRequest, VersionInTheRequestLineIsIgnored)
{
    const auto request = NewRequest();
    SetHead(request.Get(), "GET /a HTTP/1.0");
    EXPECT_QZ_TEXT(request->GetVersion(), "HTTP/1.1");
    SetHead(request.Get(), "GET /b");
    EXPECT_QZ_TEXT(request->GetUrl()->GetPath(), "/b");
    EXPECT_EQ(HeadOf(request.Get()), "GET /b HTTP/1.1\r\n\r\n");
}

TEST(HttpRequest, RefusesABadRequestLine)
{
    const auto request = NewRequest();
    for (const char* head : {"", "GET", "\r\nGET / HTTP/1.1", "PROXY", "PROXY TCP4 1.2.3.4",
                             "PROXY TCP4\r\nGET / HTTP/1.1", "PROXY TCP4 1.2.3.4\r\nGET"})
        EXPECT_QZ_THROW(SetHead(request.Get(), head), QZHttpExceptionCode::BadRequestData) << head;
    EXPECT_QZ_THROW(request->SetHead(nullptr), QZHttpExceptionCode::BadRequestData);
    EXPECT_QZ_THROW_MESSAGE(SetHead(request.Get(), "GET"), 800, " Bad request data");
    // The line is split at each blank, so the URL is empty here.
    SetHead(request.Get(), "GET  /a HTTP/1.1");
    EXPECT_QZ_TEXT(request->GetUrl()->GetPath(), "/");
    EXPECT_QZ_THROW(SetHead(request.Get(), "GET http://a:/ HTTP/1.1"), QZExceptionCode::ArgumentOutOfRange);
}

TEST(HttpRequest, RefusesBytesWithoutAHead)
{
    const auto request = NewRequest();
    for (const char* bytes : {"", "GET / HTTP/1.1\r\n", "\r\n\r\nGET / HTTP/1.1\r\n\r\n", "GET / \n\n"})
        EXPECT_QZ_THROW(Read(request.Get(), bytes), QZHttpExceptionCode::BadRequestData) << bytes;
    EXPECT_EQ(BytesOf(request->GetSource()), "GET / \n\n");
}

TEST(HttpRequest, RefusedTextIsInTheTrace)
{
    const auto request = NewRequest();
    const Thrown thrown = Catch([&] { Read(request.Get(), "A\r\n\r\n"); });
    EXPECT_EQ(thrown.type, QZHttpException::Type);
    EXPECT_NE(thrown.stackTrace.find("QZHttpRequest"), std::string::npos) << thrown.stackTrace;
    EXPECT_NE(thrown.stackTrace.find("SetHead"), std::string::npos) << thrown.stackTrace;
    EXPECT_NE(thrown.stackTrace.find("QZData*"), std::string::npos) << thrown.stackTrace;
    EXPECT_NE(thrown.argumentTrace.find("<HEX>"), std::string::npos) << thrown.argumentTrace;
}

TEST(HttpRequest, ProxyLineBecomesAForwardedHeader)
{
    const auto request = NewRequest();
    SetHead(request.Get(), "PROXY TCP4 1.2.3.4 5.6.7.8 100 80\r\nGET /a HTTP/1.1\r\nHost: h");
    EXPECT_QZ_TEXT(request->GetMethod(), "GET");
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Host: h|X-Forwarded-For: 1.2.3.4");
    SetHead(request.Get(),
            "proxy TCP4 1.2.3.4 5.6.7.8 100 80\r\nGET /a HTTP/1.1\r\nx-forwarded-for: 9.9.9.9");
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "x-forwarded-for: 9.9.9.9");
    SetHead(request.Get(), "GET /a HTTP/1.1");
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "");
}

TEST(HttpRequest, KeepsHeadersWithAName)
{
    EXPECT_EQ(HeadersFor("X-A:1\r\n  B : 2 \r\nnothing\r\n: 3\r\n : 4\r\nC:\r\nA: x\r\na: y"),
              "X-A: 1|B: 2|C: |A: x|a: y");
    EXPECT_EQ(HeadersFor("A: 1\r\n \t \r\nB: 2"), "A: 1");
    EXPECT_EQ(HeadersFor("A: 1\nB: 2\r\n"), "A: 1\nB: 2");
    EXPECT_EQ(HeadersFor("A: 1\r\r\nB: 2"), "A: 1|B: 2");
    EXPECT_EQ(HeadersFor("Name: \xE4\xB8\xAD"), "Name: \xE4\xB8\xAD");
}

TEST(HttpRequest, KeepsCookiesWithAName)
{
    const auto request = NewRequest();
    SetHead(request.Get(), "GET / HTTP/1.1\r\n cOOKIE:a=b=c;; lonely;=x; d = e \r\nCookie: f=g");
    EXPECT_EQ(CookiesOf(request->GetCookies()),
              "a=b=c path= domain= expires=|d=e path= domain= expires=|"
              "f=g path= domain= expires=");
    EXPECT_EQ(request->GetHeaders()->Count(), 0);
    EXPECT_EQ(HeadOf(request.Get()), "GET / HTTP/1.1\r\nCookie: a=b=c; d=e; f=g\r\n\r\n");
}

TEST(HttpRequest, ParsesUtf8)
{
    const auto request = NewRequest();
    Read(request.Get(), "GET /\xC3\xA9 HTTP/1.1\r\nX: \xE4\xB8\xAD\xF0\x9F\x98\x80\r\n\r\n");
    EXPECT_QZ_TEXT(request->GetUrl()->GetPath(), "/\xC3\xA9");
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "X: \xE4\xB8\xAD\xF0\x9F\x98\x80");
    EXPECT_EQ(WireOf(request.Get()),
              "GET /\xC3\xA9 HTTP/1.1\r\nX: \xE4\xB8\xAD\xF0\x9F\x98\x80\r\nContent-Length: 0\r\n\r\n");
}

TEST(HttpRequest, IsWrittenAsHeadAndContent)
{
    const auto request = NewRequest();
    request->SetMethod("post");
    request->SetUrl(Str("http://a.b:81/p/q?k=v&l=w#f"));
    http::SetHeaderValue(request->GetHeaders(), QZ_W("Host"), QZ_W("a.b"));
    http::AddCookie(request->GetCookies(), QZ_W("s=1"), false);
    http::AddCookie(request->GetCookies(), QZ_W("t=x y"), false);
    request->SetContent("abc", 3);
    EXPECT_EQ(HeadOf(request.Get()),
              "POST /p/q?k=v&l=w HTTP/1.1\r\nContent-Length: 0\r\nHost: a.b\r\n"
              "Cookie: s=1; t=x y\r\n\r\n");
    // The method object itself is changed to upper case.
    EXPECT_QZ_TEXT(request->GetMethod(), "POST");
    EXPECT_EQ(WireOf(request.Get()),
              "POST /p/q?k=v&l=w HTTP/1.1\r\nContent-Length: 3\r\nHost: a.b\r\n"
              "Cookie: s=1; t=x y\r\n\r\nabc");
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Content-Length: 3|Host: a.b");
}

TEST(HttpRequest, LongHeadIsWrittenCompletely)
{
    const auto request = NewRequest();
    const std::string value(5000, 'v');
    http::SetHeaderValue(request->GetHeaders(), QZ_W("X"), qztest::Wide(value).c_str());
    EXPECT_EQ(WireOf(request.Get()), "GET / HTTP/1.1\r\nContent-Length: 0\r\nX: " + value + "\r\n\r\n");
}

TEST(HttpRequest, SetContentOfDataKeepsTheHeaders)
{
    const auto request = NewRequest();
    QZData data("abcd", 4);
    request->SetContent(&data);
    EXPECT_EQ(BytesOf(request->GetContent()), "abcd");
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Content-Length: 0");
    request->SetContent(Str("\xC3\xA9"));
    EXPECT_EQ(BytesOf(request->GetContent()), "\xC3\xA9");
    EXPECT_EQ(TakenFrom(request.Get(), request->GetContentString()), "\xC3\xA9");
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Content-Length: 2|Content-Type: text/html; charset=utf-8");
    QZHttpContext* base = request.Get();
    base->SetContent(&data);
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Content-Length: 4|Content-Type: text/html; charset=utf-8");
}

TEST(HttpRequest, ClearKeepsMethodAndUrl)
{
    const auto request = NewRequest();
    Read(request.Get(), "PUT /x HTTP/1.1\r\nA: b\r\nCookie: c=d\r\n\r\nbody");
    http::StampsOf(request.Get()) = {1, 2, 3, 4, 5};
    request->Clear();
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Content-Length: 0");
    EXPECT_EQ(request->GetCookies()->Count(), 0);
    EXPECT_EQ(request->GetContent()->GetSize(), 0);
    EXPECT_EQ(request->GetSource()->GetSize(), 0);
    const QZHttpStamps& stamps = http::StampsOf(request.Get());
    EXPECT_EQ(stamps.zero + stamps.begin + stamps.ready + stamps.process + stamps.end, 0);
    EXPECT_QZ_TEXT(request->GetMethod(), "PUT");
    EXPECT_QZ_TEXT(request->GetUrl()->GetPath(), "/x");
}

TEST(HttpRequest, RecycledRequestIsReusedAsNew)
{
    QZHttpRequest* first = QZHttpFactory::CreateRequest();
    QZHttpRequest* address = first;
    Read(first, "PUT /x HTTP/1.1\r\nA: b\r\nCookie: c=d\r\n\r\nbody");
    first->SetHandle(7);
    first->GetClientIP()->Set("1.2.3.4:5");
    QZHttpFactory::Recycle(&first);
    EXPECT_EQ(first, nullptr);
    const auto again = NewRequest();
    EXPECT_EQ(again.Get(), address);
    EXPECT_EQ(WireOf(again.Get()), "GET / HTTP/1.1\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(again->GetHandle(), 0);
    EXPECT_EQ(again->GetClientIP()->GetValue(), 0u);
    EXPECT_EQ(again->GetClientIP()->GetThePort(), 0);
}

TEST(HttpRequest, FactoryParsesTheData)
{
    QZData data("GET /z HTTP/1.1\r\n\r\nc", 20);
    const Held<QZHttpRequest> request(QZHttpFactory::CreateRequest(&data));
    EXPECT_QZ_TEXT(request->GetUrl()->GetPath(), "/z");
    EXPECT_EQ(BytesOf(request->GetContent()), "c");
    QZData bad("nothing", 7);
    EXPECT_QZ_THROW(QZHttpFactory::CreateRequest(&bad), QZHttpExceptionCode::BadRequestData);
}

TEST(HttpRequest, FailureNamesItsFramesAndBytes)
{
    QZData bad("GET\r\n\r\n", 7);
    const qztest::Thrown thrown = qztest::Catch([&] { QZHttpFactory::CreateRequest(&bad); });
    EXPECT_EQ(thrown.stackTrace,
              "QZHttpRequest::SetHead(QZString*)\r\nQZHttpRequest::Set(QZData*)\r\n"
              "QZHttpFactory::CreateRequest(QZData*)");
    EXPECT_EQ(thrown.argumentTrace,
              "QZHttpRequest::SetHead(<HEX>470045005400)\r\n"
              "QZHttpRequest::Set(<HEX>4745540D0A0D0A)\r\nQZHttpFactory::CreateRequest(<HEX>4745540D0A0D0A)");
}

TEST(HttpRequest, RecycleKeepsItsOwnParts)
{
    const auto request = NewRequest();
    QZHttpRequest* r = request.Get();
    QZData* content = r->GetContent();
    QZData* source = r->GetSource();
    QZString* method = r->GetMethod();
    QZString* version = r->GetVersion();
    QZUrl* url = r->GetUrl();
    QZIPAddress* address = r->GetClientIP();
    QZHttpHeader* header = r->GetHeaders()->GetElement(0);
    QZHttpHeaderCollection* headers = r->GetHeaders();
    QZHttpCookieCollection* cookies = r->GetCookies();
    r->Recycle(&content);
    r->Recycle(&source);
    r->Recycle(&method);
    r->Recycle(&version);
    r->Recycle(&url);
    r->Recycle(&address);
    r->Recycle(&header);
    r->Recycle(&headers);
    r->Recycle(&cookies);
    EXPECT_TRUE(content == nullptr && source == nullptr && method == nullptr && version == nullptr &&
                url == nullptr && address == nullptr && header == nullptr && headers == nullptr &&
                cookies == nullptr);
    EXPECT_EQ(WireOf(r), "GET / HTTP/1.1\r\nContent-Length: 0\r\n\r\n");

    QZHttpFactory::Collect(0);
    url = new QZUrl("/");
    address = new QZIPAddress();
    header = QZHttpFactory::CreateHeader();
    headers = QZHttpFactory::CreateHeaderCollection();
    QZHttpCookie* cookie = QZHttpFactory::CreateCookie();
    cookies = QZHttpFactory::CreateCookieCollection();
    QZHttpHeader* cached = header;
    r->Recycle(&url);
    r->Recycle(&address);
    r->Recycle(&header);
    r->Recycle(&headers);
    r->Recycle(&cookie);
    r->Recycle(&cookies);
    EXPECT_TRUE(!url && !address && !header && !headers && !cookie && !cookies);
    const Held<QZHttpHeader> again(QZHttpFactory::CreateHeader());
    EXPECT_EQ(again.Get(), cached);
}

TEST(HttpRequest, SetHeadTakesItsOwnTexts)
{
    const auto request = NewRequest();
    request->SetMethod(Str("PUT /a?b=c HTTP/1.1\r\nHost: h\r\nCookie: k=v"));
    request->SetHead(request->GetMethod());
    EXPECT_EQ(HeadOf(request.Get()), "PUT /a?b=c HTTP/1.1\r\nHost: h\r\nCookie: k=v\r\n\r\n");
    QZString* value = request->GetHeaders()->GetElement(0)->GetValue();
    value->Set(Str("GET /of/a/header HTTP/1.1\r\nX-First: 1\r\nX-Second: 2"));
    request->SetHead(value);
    EXPECT_EQ(HeadOf(request.Get()), "GET /of/a/header HTTP/1.1\r\nX-First: 1\r\nX-Second: 2\r\n\r\n");
}

TEST(HttpRequest, SetTakesItsOwnContent)
{
    const auto request = NewRequest();
    const std::string inner = "POST /inner HTTP/1.1\r\nContent-Length: 4\r\n\r\nbody";
    request->SetContent(inner.data(), static_cast<QZInt64>(inner.size()));
    request->Set(request->GetContent());
    EXPECT_EQ(WireOf(request.Get()), inner);
    EXPECT_EQ(BytesOf(request->GetSource()), inner);
}

TEST(HttpRequest, SetHeaderMergesHeaders)
{
    const auto request = NewRequest();
    const Held<QZHttpHeaderCollection> headers(
        QZHttpFactory::CreateHeaderCollection(Str("content-length: 9\r\nHost: h")));
    EXPECT_EQ(request->SetHeader(headers.Get()), 1);
    EXPECT_EQ(HeadersOf(request->GetHeaders()), "Content-Length: 9|Host: h");
    EXPECT_EQ(headers->Count(), 2);
}

TEST(HttpRequest, AnyMethodIsAccepted)
{
    const auto request = NewRequest();
    request->SetMethod(QZ_W("delete"));
    EXPECT_QZ_TEXT(request->GetMethod(), "delete");
    request->SetMethod(Str("X y"));
    EXPECT_QZ_TEXT(request->GetMethod(), "X y");
    request->SetHandle(77);
    EXPECT_EQ(request->GetHandle(), 77);
    EXPECT_EQ(HeadOf(request.Get()), "X Y / HTTP/1.1\r\nContent-Length: 0\r\n\r\n");
}
}  // namespace
