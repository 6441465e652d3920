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
using qztest::NewResponse;
using qztest::Read;
using qztest::Str;
using qztest::TakenFrom;
using qztest::WireOf;

void SetHead(QZHttpResponse* response, std::string_view head) { response->SetHead(Str(head)); }

std::string HeadersFor(std::string_view lines)
{
    const auto response = NewResponse();
    SetHead(response.Get(), "HTTP/1.1 200 OK\r\n" + std::string(lines));
    return HeadersOf(response->GetHeaders());
}

std::string CookiesFor(std::string_view lines)
{
    const auto response = NewResponse();
    SetHead(response.Get(), "HTTP/1.1 200 OK\r\n" + std::string(lines));
    return CookiesOf(response->GetCookies());
}

TEST(HttpResponse, NewResponseIsAnEmptyOk)
{
    QZHttpFactory::Collect(0);
    const auto response = NewResponse();
    EXPECT_EQ(response->GetType(), 0x8310018);
    EXPECT_QZ_TEXT(response->GetStatus(), "200 OK");
    EXPECT_FALSE(response->GetStatus()->IsDisposable());
    EXPECT_EQ(response->GetHandle(), 0);
    EXPECT_EQ(WireOf(response.Get()), "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
}

TEST(HttpResponse, IsParsedFromBytes)
{
    const auto response = NewResponse();
    Read(response.Get(), "HTTP/1.1 404 Not Found\r\nContent-Length: 9\r\nX: y\r\n\r\nbody\r\n\r\n");
    EXPECT_QZ_TEXT(response->GetStatus(), "404 Not Found ");
    EXPECT_EQ(HeadersOf(response->GetHeaders()), "Content-Length: 9|X: y");
    EXPECT_EQ(BytesOf(response->GetContent()), "body\r\n\r\n");
}

TEST(HttpResponse, KeepsNoSource)
{
    const auto response = NewResponse();
    Read(response.Get(), "HTTP/1.1 200 OK\r\n\r\nbody");
    EXPECT_EQ(response->GetSource()->GetSize(), 0);
}

TEST(HttpResponse, BytesWithoutAnEmptyLineAreAnEmptyOk)
{
    for (const char* bytes : {"HTTP/1.1 404 Not Found\r\nX: y\r\n", "\r\n\r\nbody", "x"})
    {
        const auto response = NewResponse();
        response->SetStatus(500);
        response->SetContent("old", 3);
        Read(response.Get(), bytes);
        EXPECT_QZ_TEXT(response->GetStatus(), "200 OK");
        EXPECT_EQ(response->GetContent()->GetSize(), 0);
        EXPECT_EQ(HeadersOf(response->GetHeaders()), "Content-Length: 0");
    }
}

TEST(HttpResponse, RefusesEmptyData)
{
    const auto response = NewResponse();
    response->SetStatus(500);
    EXPECT_QZ_THROW_MESSAGE(Read(response.Get(), ""), 784, " Bad response data");
    EXPECT_QZ_TEXT(response->GetStatus(), "200 OK");
}

TEST(HttpResponse, RefusesAFirstLineOfTwoWords)
{
    const auto response = NewResponse();
    for (const char* head : {"", "HTTP/1.1", "HTTP/1.1 200", "HTTP/1.1 200\r\nA: b c"})
        EXPECT_QZ_THROW(SetHead(response.Get(), head), QZHttpExceptionCode::BadResponseData) << head;
    EXPECT_QZ_THROW(response->SetHead(nullptr), QZHttpExceptionCode::BadResponseData);
    const qztest::Thrown thrown = Catch([&] { Read(response.Get(), "HTTP/1.1 200\r\n\r\n"); });
    EXPECT_EQ(thrown.type, QZHttpException::Type);
    EXPECT_NE(thrown.stackTrace.find("QZHttpResponse"), std::string::npos) << thrown.stackTrace;
    EXPECT_NE(thrown.argumentTrace.find("<HEX>"), std::string::npos) << thrown.argumentTrace;
}

TEST(HttpResponse, ParsedStatusEndsWithABlank)
{
    const auto response = NewResponse();
    SetHead(response.Get(), "HTTP/1.1 404 Not Found");
    EXPECT_QZ_TEXT(response->GetStatus(), "404 Not Found ");
    EXPECT_EQ(HeadOf(response.Get()), "HTTP/1.1 404 Not Found \r\n\r\n");
    SetHead(response.Get(), "HTTP/1.0 200 ");
    EXPECT_QZ_TEXT(response->GetStatus(), "200  ");
    SetHead(response.Get(), "x  y");
    EXPECT_QZ_TEXT(response->GetStatus(), " y ");
}

TEST(HttpResponse, KeepsHeaderLinesWithColonAndBlank)
{
    EXPECT_EQ(HeadersFor("X-A:1\r\nB: 2\r\nC: \r\n: 3\r\n D :x: y\r\nA: 1"), "B: 2|D: x: y|A: 1");
    EXPECT_EQ(HeadersFor("A: 1\r\n \r\nB: 2"), "A: 1");
    EXPECT_EQ(HeadersFor("set-cookie: a=b"), "set-cookie: a=b");
}

TEST(HttpResponse, LinesWithSetCookieAreCookies)
{
    EXPECT_EQ(CookiesFor("Set-Cookie: a=b=c; Path=/x\r\nSet-Cookie: d=e; domain=f; expires=g h"),
              "a=b=c path=/x domain= expires=|d=e path= domain=f expires=g h");
    // "Set-Cookie:" may be anywhere in the line, and every occurrence is removed.
    EXPECT_EQ(CookiesFor("X-Set-Cookie: a=b"), "X- a=b path= domain= expires=");
    EXPECT_EQ(CookiesFor("Set-Cookie: a=Set-Cookie:b"), "a=b path= domain= expires=");
    EXPECT_EQ(CookiesFor("Set-Cookie:a=b"), "");
    // Cookies without a name are kept.
    EXPECT_EQ(CookiesFor("Set-Cookie: lonely\r\nSet-Cookie: a=b"),
              "= path= domain= expires=|a=b path= domain= expires=");
}

TEST(HttpResponse, IsWrittenAsHeadAndContent)
{
    const auto response = NewResponse();
    response->SetStatus(302);
    http::SetHeaderValue(response->GetHeaders(), QZHttpConstant::HeaderNameLocationString, QZ_W("/x"));
    http::AddCookie(response->GetCookies(), QZ_W("a=b"), true);
    response->GetCookies()->GetElement(0)->GetPath()->Set("/");
    http::AddCookie(response->GetCookies(), QZ_W("c=5"), true);
    response->SetContent("abc", 3);
    const std::string head =
        "HTTP/1.1 302 Temporarily Moved\r\nContent-Length: 3\r\nLocation: /x\r\n"
        "Set-Cookie: a=b; domain=; expires=; path=/\r\nSet-Cookie: c=5; domain=; expires=; path=\r\n\r\n";
    EXPECT_EQ(HeadOf(response.Get()), head);
    EXPECT_EQ(WireOf(response.Get()), head + "abc");
}

TEST(HttpResponse, SetContentSetsTheLength)
{
    const auto response = NewResponse();
    QZData data("abcd", 4);
    response->SetContent(&data);
    EXPECT_EQ(HeadersOf(response->GetHeaders()), "Content-Length: 4");
    response->SetContent(Str("\xE4\xB8\xAD"));
    EXPECT_EQ(HeadersOf(response->GetHeaders()), "Content-Length: 3|Content-Type: text/html; charset=utf-8");
    EXPECT_EQ(TakenFrom(response.Get(), response->GetContentString()), "\xE4\xB8\xAD");
    response->SetContent("x", 1);
    EXPECT_EQ(WireOf(response.Get()),
              "HTTP/1.1 200 OK\r\nContent-Length: 1\r\nContent-Type: text/html; "
              "charset=utf-8\r\n\r\nx");
    response->SetContent(Str(""));
    EXPECT_EQ(TakenFrom(response.Get(), response->GetContentString()), "");
}

TEST(HttpResponse, StatusMayBeANumberOrAnyText)
{
    const auto response = NewResponse();
    response->SetStatus(431);
    EXPECT_QZ_TEXT(response->GetStatus(), "431 Request Header Fields Too Large");
    response->SetStatus(418);
    EXPECT_QZ_TEXT(response->GetStatus(), "418 ");
    response->SetStatus(-1);
    EXPECT_QZ_TEXT(response->GetStatus(), "-1 ");
    response->SetStatus("a");
    EXPECT_QZ_TEXT(response->GetStatus(), "a");
    response->SetStatus(QZ_W("b"));
    EXPECT_QZ_TEXT(response->GetStatus(), "b");
    response->SetStatus(Str("c"));
    EXPECT_EQ(HeadOf(response.Get()), "HTTP/1.1 c\r\nContent-Length: 0\r\n\r\n");
}

TEST(HttpResponse, ClearedResponseIsAnEmptyOk)
{
    const auto response = NewResponse();
    Read(response.Get(), "HTTP/1.1 404 Not Found\r\nX: y\r\nSet-Cookie: a=b\r\n\r\nbody");
    http::StampsOf(response.Get()).end = 5;
    response->Clear();
    EXPECT_EQ(WireOf(response.Get()), "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(http::StampsOf(response.Get()).end, 0);
}

TEST(HttpResponse, RecycledResponseIsReusedAsNew)
{
    QZHttpResponse* first = QZHttpFactory::CreateResponse();
    QZHttpResponse* address = first;
    Read(first, "HTTP/1.1 404 Not Found\r\nX: y\r\nSet-Cookie: a=b\r\n\r\nbody");
    first->SetHandle(9);
    QZHttpFactory::Recycle(&first);
    const auto again = NewResponse();
    EXPECT_EQ(again.Get(), address);
    EXPECT_EQ(again->GetHandle(), 0);
    EXPECT_EQ(WireOf(again.Get()), "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
}

TEST(HttpResponse, SetHeadTakesItsOwnStatus)
{
    const auto response = NewResponse();
    response->SetStatus(Str("HTTP/1.1 404 Not Found\r\nHost: h\r\nSet-Cookie: k=v"));
    response->SetHead(response->GetStatus());
    EXPECT_EQ(HeadOf(response.Get()),
              "HTTP/1.1 404 Not Found \r\nHost: h\r\nSet-Cookie: k=v; domain=; expires=; path=\r\n\r\n");
}

TEST(HttpResponse, SetOfItsOwnContentThrowsBecauseItIsCleared)
{
    const auto response = NewResponse();
    response->SetContent("HTTP/1.1 404 Not Found\r\n\r\n", 26);
    EXPECT_QZ_THROW(response->Set(response->GetContent()), QZHttpExceptionCode::BadResponseData);
    EXPECT_QZ_TEXT(response->GetStatus(), "200 OK");
}

TEST(HttpResponse, FactoryParsesTheData)
{
    QZData data("HTTP/1.1 204 No Content\r\n\r\n", 27);
    const Held<QZHttpResponse> response(QZHttpFactory::CreateResponse(&data));
    EXPECT_QZ_TEXT(response->GetStatus(), "204 No Content ");
    QZData empty;
    EXPECT_QZ_THROW(QZHttpFactory::CreateResponse(&empty), QZHttpExceptionCode::BadResponseData);
}

TEST(HttpResponse, RecycleKeepsItsOwnParts)
{
    const auto response = NewResponse();
    QZString* status = response->GetStatus();
    QZData* content = response->GetContent();
    response->Recycle(&status);
    response->Recycle(&content);
    EXPECT_EQ(status, nullptr);
    EXPECT_EQ(content, nullptr);
    EXPECT_QZ_TEXT(response->GetStatus(), "200 OK");
    // A string with another lock is not recycled.
    QZString locked("x");
    locked.SetDisposable(1, 0);
    QZString* variable = &locked;
    response->Recycle(&variable);
    EXPECT_EQ(variable, nullptr);
    EXPECT_QZ_TEXT(locked, "x");
    locked.SetDisposable(1, 1);
}
}  // namespace
