#include "fw/fw_library.h"
#include "net/http_support.h"
#include "net/internal/net_http_fields.h"
#include "net/net_json.h"
#include "support/qz_hooks.h"

namespace
{
using qztest::Bytes;
using qztest::CookiesOf;
using qztest::CookieText;
using qztest::HeadersOf;
using qztest::Held;
using qztest::Str;
using qztest::Utf8;

std::string HeaderOf(std::string_view line)
{
    Held<QZHttpHeader> header(QZHttpFactory::CreateHeader());
    header->Set(Str(line));
    return Utf8(header->GetName()) + "|" + Utf8(header->GetValue());
}

std::string CookieOf(std::string_view text)
{
    Held<QZHttpCookie> cookie(QZHttpFactory::CreateCookie(Str(text)));
    return CookieText(cookie.Get());
}

TEST(HttpConstant, ConstantsAreHeldAsBytesAndAsText)
{
    EXPECT_BYTES(QZHttpConstant::NewLine->GetPointer(), QZHttpConstant::NewLine->GetSize(), "0D 0A");
    EXPECT_QZ_TEXT(QZHttpConstant::NewLineString, "\r\n");
    EXPECT_BYTES(QZHttpConstant::EmptyLine->GetPointer(), QZHttpConstant::EmptyLine->GetSize(),
                 "0D 0A 0D 0A");
    const std::tuple<QZData*, QZString*, const char*> names[] = {
        {QZHttpConstant::HeaderNameLocation, QZHttpConstant::HeaderNameLocationString, "Location"},
        {QZHttpConstant::HeaderNameContentType, QZHttpConstant::HeaderNameContentTypeString, "Content-Type"},
        {QZHttpConstant::HeaderNameContentLength, QZHttpConstant::HeaderNameContentLengthString,
         "Content-Length"},
        {QZHttpConstant::HeaderNameCacheControl, QZHttpConstant::HeaderNameCacheControlString,
         "Cache-Control"},
        {QZHttpConstant::HeaderNameHost, QZHttpConstant::HeaderNameHostString, "Host"},
        {QZHttpConstant::HeaderNameXFF, QZHttpConstant::HeaderNameXFFString, "X-Forwarded-For"},
        {QZHttpConstant::HeaderNameTransferEncoding, QZHttpConstant::HeaderNameTransferEncodingString,
         "Transfer-Encoding"},
    };
    for (const auto& [data, text, expected] : names)
    {
        EXPECT_EQ(qztest::BytesOf(data), expected);
        EXPECT_QZ_TEXT(text, expected);
    }
}

TEST(HttpConstant, ConstantsAreLockedWithTheirKey)
{
    EXPECT_FALSE(QZHttpConstant::NewLine->IsDisposable());
    EXPECT_FALSE(QZHttpConstant::NewLineString->IsDisposable());
    QZString* name = QZHttpConstant::HeaderNameHostString;
    EXPECT_QZ_THROW(QZStringFactory::Recycle(&name), QZExceptionCode::ObjectIsLocked);
    QZHttpConstant::HeaderNameHostString->Set("Host");
    EXPECT_FALSE(QZHttpConstant::HeaderNameHost->SetDisposable(123455, 1));
    EXPECT_TRUE(QZHttpConstant::HeaderNameHost->SetDisposable(123456, 1));
    QZHttpConstant::HeaderNameHost->SetDisposable(123456, 0);
}

TEST(HttpStatusCode, HasTextsForElevenCodes)
{
    const std::pair<float, const char*> texts[] = {
        {200.0F, "OK"},
        {204.0F, "No Content"},
        {301.0F, "Permanently Moved"},
        {302.0F, "Temporarily Moved"},
        {400.0F, "Bad Request"},
        {401.0F, "Unauthorized"},
        {403.0F, "Forbidden"},
        {404.0F, "Not Found"},
        {405.0F, "Method Not Allowed"},
        {431.0F, "Request Header Fields Too Large"},
        {500.0F, "Internal Server Error"},
    };
    for (const auto& [code, text] : texts) EXPECT_QZ_TEXT(QZHttpStatusCode::ToMessage(code), text);
    for (float code : {418.0F, 0.0F, 200.5F, -200.0F}) EXPECT_EQ(QZHttpStatusCode::ToMessage(code), nullptr);
}

TEST(HttpHeader, SplitsALineAtItsFirstColon)
{
    EXPECT_EQ(HeaderOf("Host: a.b:80"), "Host|a.b:80");
    EXPECT_EQ(HeaderOf(" \t Host \t:\r\n a b \v"), "Host|a b");
    EXPECT_EQ(HeaderOf("X-A:1"), "X-A|1");
    EXPECT_EQ(HeaderOf("X-A:"), "X-A|");
    EXPECT_EQ(HeaderOf(" : x"), "|x");
}

TEST(HttpHeader, LineWithoutANameChangesNothing)
{
    Held<QZHttpHeader> header(QZHttpFactory::CreateHeader());
    header->Set(Str("A: 1"));
    header->Set(Str("no colon"));
    header->Set(Str(": 2"));
    header->Set(Str(""));
    EXPECT_QZ_TEXT(header->GetName(), "A");
    EXPECT_QZ_TEXT(header->GetValue(), "1");
    header->Clear();
    EXPECT_QZ_TEXT(header->GetName(), "");
    EXPECT_QZ_TEXT(header->GetValue(), "");
    EXPECT_EQ(header->GetType(), 0x8310015);
}

TEST(HttpHeader, SetTakesItsOwnText)
{
    Held<QZHttpHeader> header(QZHttpFactory::CreateHeader());
    header->GetName()->Set("B: long enough to move");
    header->Set(header->GetName());
    EXPECT_QZ_TEXT(header->GetName(), "B");
    EXPECT_QZ_TEXT(header->GetValue(), "long enough to move");
}

TEST(HttpHeader, RecycleKeepsItsOwnStrings)
{
    Held<QZHttpHeader> header(QZHttpFactory::CreateHeader());
    header->Set(Str("A: 1"));
    QZString* own = header->GetName();
    header->Recycle(&own);
    EXPECT_EQ(own, nullptr);
    EXPECT_QZ_TEXT(header->GetName(), "A");
    EXPECT_FALSE(header->GetName()->IsDisposable());
    QZString* foreign = QZStringFactory::CreateString("x");
    QZString* address = foreign;
    header->Recycle(&foreign);
    EXPECT_EQ(foreign, nullptr);
    QZString* again = QZStringFactory::CreateString();
    EXPECT_EQ(again, address);
    QZStringFactory::Recycle(&again);
}

TEST(HttpCookie, IsParsedFromPairAndAttributes)
{
    EXPECT_EQ(CookieOf("a=b=c; Path=/x"), "a=b=c path=/x domain= expires=");
    EXPECT_EQ(CookieOf(" a = b ;DOMAIN= d.e ; Expires=Wed, 21 Oct 2015 07:28:00 GMT;HttpOnly"),
              "a=b path= domain=d.e expires=Wed, 21 Oct 2015 07:28:00 GMT");
    EXPECT_EQ(CookieOf("a="), "a= path= domain= expires=");
    EXPECT_EQ(CookieOf("=v"), "=v path= domain= expires=");
    EXPECT_EQ(CookieOf(""), "= path= domain= expires=");
}

TEST(HttpCookie, SkipsPiecesWithoutAnEqualsSign)
{
    EXPECT_EQ(CookieOf("lonely"), "= path= domain= expires=");
    // Only the first piece can be the pair of name and value.
    EXPECT_EQ(CookieOf("lonely; b=c; path=/p"), "= path=/p domain= expires=");
    EXPECT_EQ(CookieOf("a=b; Secure; path=/p"), "a=b path=/p domain= expires=");
}

TEST(HttpCookie, AttributesAreRecognisedByAPartOfTheirName)
{
    EXPECT_EQ(CookieOf("a=b; x-Domain-path=1"), "a=b path= domain=1 expires=");
    EXPECT_EQ(CookieOf("a=b; my-path-expires=1"), "a=b path=1 domain= expires=");
    EXPECT_EQ(CookieOf("a=b; expires2=1"), "a=b path= domain= expires=1");
    EXPECT_EQ(CookieOf("a=b; max-age=1"), "a=b path= domain= expires=");
    // The value of an attribute ends at the second equals sign. The last attribute of a kind wins.
    EXPECT_EQ(CookieOf("a=b; path=/x=y; path= /z =1"), "a=b path=/z domain= expires=");
}

TEST(HttpCookie, SetClearsTheOldParts)
{
    Held<QZHttpCookie> cookie(QZHttpFactory::CreateCookie());
    cookie->Set(Str("n"), Str("v"), Str("p"), Str("d"), Str("e"));
    EXPECT_EQ(CookieText(cookie.Get()), "n=v path=p domain=d expires=e");
    cookie->Set(Str("a=b"));
    EXPECT_EQ(CookieText(cookie.Get()), "a=b path= domain= expires=");
    cookie->GetValue()->Set("c=d");
    cookie->Set(cookie->GetValue());
    EXPECT_EQ(CookieText(cookie.Get()), "= path= domain= expires=");
    cookie->Set(Str("n"), nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(CookieText(cookie.Get()), "n= path= domain= expires=");
    cookie->Clear();
    EXPECT_EQ(CookieText(cookie.Get()), "= path= domain= expires=");
    EXPECT_EQ(cookie->GetType(), 0x8310013);
}

TEST(HttpCookie, RecycleKeepsItsOwnStrings)
{
    Held<QZHttpCookie> cookie(QZHttpFactory::CreateCookie(Str("a=b; path=/")));
    for (QZString* own : {cookie->GetDomain(), cookie->GetName(), cookie->GetPath(), cookie->GetValue(),
                          cookie->GetExpries()})
    {
        cookie->Recycle(&own);
        EXPECT_EQ(own, nullptr);
    }
    EXPECT_EQ(CookieText(cookie.Get()), "a=b path=/ domain= expires=");
    QZString* foreign = QZStringFactory::CreateString("x");
    cookie->Recycle(&foreign);
    EXPECT_EQ(foreign, nullptr);
}

TEST(HttpFactory, CreatesOneHeaderForEachLineThatSplits)
{
    Held<QZHttpHeaderCollection> headers(
        QZHttpFactory::CreateHeaderCollection(Str("A: 1\r\nnothing\r\nB:2\n3\r\n")));
    EXPECT_EQ(HeadersOf(headers.Get()), "A: 1|B: 2\n3");
    EXPECT_EQ(headers->GetType(), 0x8310016);
    // Names of 1 unit each, values of 1 and 3 units: 6 units are 12 bytes.
    EXPECT_EQ(headers->GetHeadersSize(), 12);
}

TEST(HttpFactory, LineWithoutANameBeforeAColonMakesNoHeader)
{
    Held<QZHttpHeaderCollection> headers(
        QZHttpFactory::CreateHeaderCollection(Str("A: 1\r\nnothing\r\nB: 2")));
    EXPECT_EQ(headers->Count(), 2);
    Held<QZHttpHeaderCollection> none(QZHttpFactory::CreateHeaderCollection(Str(":x\r\n\r\nnothing")));
    EXPECT_EQ(none->Count(), 0);
    // A blank before the colon is enough to split the line; the name is then empty.
    Held<QZHttpHeaderCollection> blank(QZHttpFactory::CreateHeaderCollection(Str(" : x")));
    EXPECT_EQ(HeadersOf(blank.Get()), ": x");
}

TEST(HttpFactory, CreatesOneCookieForEachPiece)
{
    QZHttpFactory factory;
    Held<QZHttpCookieCollection> cookies(factory.CreateCookieCollection(Str("Cookie: a=1; b=22;lonely")));
    EXPECT_EQ(CookiesOf(cookies.Get()),
              "a=1 path= domain= expires=|b=22 path= domain= expires=|= path= domain= expires=");
    EXPECT_EQ(cookies->GetCookiesSize(), 10);
    EXPECT_EQ(cookies->GetType(), 0x8310014);
    Held<QZHttpCookieCollection> bare(factory.CreateCookieCollection(Str("  a=1;b=2  ")));
    EXPECT_EQ(CookiesOf(bare.Get()), "a=1 path= domain= expires=|b=2 path= domain= expires=");
    Str text("Cookie:a=Cookie:1");
    Held<QZHttpCookieCollection> twice(factory.CreateCookieCollection(text));
    EXPECT_EQ(CookiesOf(twice.Get()), "a=1 path= domain= expires=");
    EXPECT_QZ_TEXT(text, "Cookie:a=Cookie:1");
}

TEST(HttpFactory, MergesHeadersByNameIgnoringCase)
{
    Held<QZHttpHeaderCollection> from(
        QZHttpFactory::CreateHeaderCollection(Str("host: x\r\nNew: y\r\nnew: z")));
    Held<QZHttpHeaderCollection> to(QZHttpFactory::CreateHeaderCollection(Str("A: 1\r\nHost: a")));
    EXPECT_EQ(QZHttpFactory::CopyTo(from.Get(), to.Get()), 1);
    EXPECT_EQ(HeadersOf(to.Get()), "A: 1|Host: x|New: z");
    EXPECT_EQ(HeadersOf(from.Get()), "host: x|New: y|new: z");
    EXPECT_EQ(QZHttpFactory::CopyTo(to.Get(), to.Get()), 1);
    EXPECT_EQ(HeadersOf(to.Get()), "A: 1|Host: x|New: z");
}

TEST(HttpFactory, MergesCookiesByNameIgnoringCase)
{
    QZHttpFactory factory;
    Held<QZHttpCookieCollection> from(QZHttpFactory::CreateCookieCollection());
    from->Push(QZHttpFactory::CreateCookie());
    from->GetElement(0)->Set(Str("A"), Str(" v "), Str("/new"), Str("d"), Str("e"));
    from->Push(QZHttpFactory::CreateCookie());
    from->GetElement(1)->Set(Str("B"), Str(" w "), Str("/p"), Str("d"), Str("e"));
    Held<QZHttpCookieCollection> to(factory.CreateCookieCollection(Str("a=1")));
    EXPECT_EQ(QZHttpFactory::CopyTo(from.Get(), to.Get()), 1);
    // A replaced value is trimmed, an added one is not.
    EXPECT_EQ(CookiesOf(to.Get()), "a=v path= domain= expires=|B= w  path=/p domain=d expires=e");
}

TEST(HttpFactory, RecycleOfNullFailsAnAssertion)
{
    QZHttpHeader* header = nullptr;
    QZHttpCookie* cookie = nullptr;
    QZHttpHeaderCollection* headers = nullptr;
    QZHttpCookieCollection* cookies = nullptr;
    QZHttpRequest* request = nullptr;
    QZHttpResponse* response = nullptr;
    static int failed;
    failed = 0;
    QZLibSetFunctionAssert([](QZBool condition) { failed += condition ? 0 : 1; });
    QZHttpFactory::Recycle(&header);
    QZHttpFactory::Recycle(&cookie);
    QZHttpFactory::Recycle(&headers);
    QZHttpFactory::Recycle(&cookies);
    QZHttpFactory::Recycle(&request);
    QZHttpFactory::Recycle(&response);
    qztest::SetStandardHooks();
    EXPECT_EQ(failed, 6);
}

template <typename T>
void ExpectLockedIsRefused(T* object)
{
    T* variable = object;
    object->SetDisposable(7, 0);
    EXPECT_QZ_THROW(QZHttpFactory::Recycle(&variable), QZExceptionCode::ObjectIsLocked);
    EXPECT_EQ(variable, object);
    object->SetDisposable(7, 1);
    QZHttpFactory::Recycle(&variable);
    EXPECT_EQ(variable, nullptr);
}

TEST(HttpFactory, RefusesLockedObjects)
{
    ExpectLockedIsRefused(QZHttpFactory::CreateHeader());
    ExpectLockedIsRefused(QZHttpFactory::CreateCookie());
    ExpectLockedIsRefused(QZHttpFactory::CreateHeaderCollection());
    ExpectLockedIsRefused(QZHttpFactory::CreateCookieCollection());
    ExpectLockedIsRefused(QZHttpFactory::CreateRequest());
    ExpectLockedIsRefused(QZHttpFactory::CreateResponse());
}

TEST(HttpFactory, RecycleClearsALockedRequestButNotALockedResponse)
{
    Held<QZHttpResponse> response(QZHttpFactory::CreateResponse());
    response->SetStatus(404);
    response->SetDisposable(7, 0);
    QZHttpResponse* variable = response.Get();
    EXPECT_QZ_THROW(QZHttpFactory::Recycle(&variable), QZExceptionCode::ObjectIsLocked);
    EXPECT_QZ_TEXT(response->GetStatus(), "404 Not Found");
    response->SetDisposable(7, 1);

    Held<QZHttpRequest> request(QZHttpFactory::CreateRequest());
    request->SetContent("abc", 3);
    request->SetDisposable(7, 0);
    QZHttpRequest* locked = request.Get();
    EXPECT_QZ_THROW(QZHttpFactory::Recycle(&locked), QZExceptionCode::ObjectIsLocked);
    EXPECT_EQ(request->GetContent()->GetSize(), 0);
    request->SetDisposable(7, 1);
}

std::string StatusText()
{
    QZJsonObject* status = QZHttpFactory::GetStatus();
    QZString* text = QZJsonFactory::SerializeObject(status);
    std::string utf8 = Utf8(text);
    QZStringFactory::Recycle(&text);
    QZHttpFactory::Recycle(&status);
    EXPECT_EQ(status, nullptr);
    return utf8;
}

TEST(HttpFactory, GetStatusCountsIdleObjects)
{
    QZHttpFactory::Collect(0);
    EXPECT_EQ(StatusText(),
              R"({"RequestCache":0,"ResponseCache":0,"HeaderCache":0,"HeaderCollection":0,"CookieCache":0,)"
              R"("CookieCollectionCache":0,"ConnectCache":0})");
    {
        Held<QZHttpHeaderCollection> headers(QZHttpFactory::CreateHeaderCollection(Str("A: 1\r\nB: 2")));
        Held<QZHttpRequest> request(QZHttpFactory::CreateRequest());
        Held<QZHttpResponse> response(QZHttpFactory::CreateResponse());
        Held<QZHttpCookie> cookie(QZHttpFactory::CreateCookie());
        Held<QZHttpCookieCollection> cookies(QZHttpFactory::CreateCookieCollection());
    }
    EXPECT_EQ(StatusText(),
              R"({"RequestCache":1,"ResponseCache":1,"HeaderCache":2,"HeaderCollection":1,"CookieCache":1,)"
              R"("CookieCollectionCache":1,"ConnectCache":0})");
    QZLibCollect(0);
    EXPECT_EQ(StatusText(),
              R"({"RequestCache":0,"ResponseCache":0,"HeaderCache":0,"HeaderCollection":0,"CookieCache":0,)"
              R"("CookieCollectionCache":0,"ConnectCache":0})");
}

TEST(HttpCache, HostMayUseItsOwnCache)
{
    QZHttpResponseCache cache(1, -1);
    cache.SetTimeout(1);
    QZObject* response = cache.Out();
    EXPECT_EQ(response->GetType(), QZHttpResponse::Type);
    EXPECT_EQ(cache.Out(), nullptr);
    cache.In(&response);
    EXPECT_EQ(cache.Count(), 1);
    EXPECT_EQ(cache.GetType(), QZObjectCache::Type);
}

TEST(HttpHeaderCollection, RemovedHeadersAreUnlocked)
{
    Held<QZHttpHeaderCollection> headers(QZHttpFactory::CreateHeaderCollection());
    http::SetHeaderValue(headers.Get(), QZ_W("A"), QZ_W("1"));
    http::SetHeaderValue(headers.Get(), QZ_W("B"), -7);
    http::SetHeaderValue(headers.Get(), QZ_W("a"), QZ_W("2"));
    EXPECT_EQ(HeadersOf(headers.Get()), "A: 2|B: -7");
    QZHttpHeader* first = headers->GetElement(0);
    EXPECT_FALSE(first->IsDisposable());
    QZHttpHeader* locked = first;
    EXPECT_QZ_THROW(QZHttpFactory::Recycle(&locked), QZExceptionCode::ObjectIsLocked);
    EXPECT_TRUE(headers->RemoveElement(0));
    QZHttpFactory::Recycle(&first);
    QZHttpHeader* last = headers->Pop();
    EXPECT_QZ_TEXT(last->GetName(), "B");
    QZHttpFactory::Recycle(&last);
    EXPECT_EQ(headers->Count(), 0);
    EXPECT_QZ_THROW(headers->Pop(), QZExceptionCode::MemoryInaccessible);
    EXPECT_QZ_THROW(headers->RemoveElement(0), QZExceptionCode::MemoryInaccessible);
}

TEST(HttpHeaderCollection, HeaderWithoutMemoryIsNotAdded)
{
    Held<QZHttpHeaderCollection> headers(QZHttpFactory::CreateHeaderCollection());
    const qztest::Text large = qztest::Wide(std::string(100000, 'x'));
    {
        // With an idle header in the cache, only the value needs memory.
        const Held<QZHttpHeader> idle(QZHttpFactory::CreateHeader());
    }
    {
        qztest::Hooks hooks;
        hooks.Fail(os::Op::Allocate, 12);
        EXPECT_QZ_THROW(http::SetHeaderValue(headers.Get(), QZ_W("A"), large.c_str()),
                        QZExceptionCode::OutOfMemory);
    }
    EXPECT_EQ(headers->Count(), 0);
    http::SetHeaderValue(headers.Get(), QZ_W("A"), large.c_str());
    EXPECT_EQ(headers->GetHeadersSize(), 200002);
}

TEST(HttpHeaderCollection, IsSearchedByNameIgnoringCase)
{
    Held<QZHttpHeaderCollection> headers(QZHttpFactory::CreateHeaderCollection(Str("A: 1\r\nB: 2\r\na: 3")));
    EXPECT_QZ_TEXT(http::FindHeader(headers.Get(), QZ_W("a"))->GetValue(), "1");
    EXPECT_EQ(http::FindHeader(headers.Get(), QZ_W("C")), nullptr);
    EXPECT_TRUE(http::HasHeader(headers.Get(), QZ_W("b")));
    EXPECT_FALSE(http::HasHeader(headers.Get(), QZ_W("")));
    EXPECT_TRUE(http::RemoveHeader(headers.Get(), QZ_W("a")));
    EXPECT_EQ(HeadersOf(headers.Get()), "B: 2|a: 3");
    EXPECT_FALSE(http::RemoveHeader(headers.Get(), QZ_W("C")));
}

TEST(HttpCookieCollection, IsSearchedByNameIgnoringCase)
{
    QZHttpFactory factory;
    Held<QZHttpCookieCollection> cookies(factory.CreateCookieCollection(Str("A=1;B=2")));
    http::FindCookie(cookies.Get(), QZ_W("b"))->GetValue()->Set("3");
    http::AddCookie(cookies.Get(), QZ_W("C=44"), false);
    EXPECT_QZ_TEXT(http::FindCookie(cookies.Get(), QZ_W("B"))->GetValue(), "3");
    EXPECT_QZ_TEXT(http::FindCookie(cookies.Get(), QZ_W("c"))->GetValue(), "44");
    EXPECT_EQ(http::FindCookie(cookies.Get(), QZ_W("d")), nullptr);
    QZHttpCookie* locked = cookies->GetElement(2);
    EXPECT_FALSE(locked->IsDisposable());
    EXPECT_TRUE(cookies->RemoveElement(2));
    EXPECT_TRUE(locked->IsDisposable());
    QZHttpFactory::Recycle(&locked);
    QZHttpCookie* last = cookies->Pop();
    EXPECT_QZ_TEXT(last->GetName(), "B");
    QZHttpFactory::Recycle(&last);
}
}  // namespace
