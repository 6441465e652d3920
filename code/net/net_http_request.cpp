#include "net/net_http_request.h"

#include "net/internal/net_http_give_back.h"
#include "net/internal/net_http_guard.h"
#include "net/internal/net_http_head.h"
#include "net/internal/net_ownership.h"

const QZInt64 QZHttpRequest::Type;

namespace
{
using http::Text;
using http::TextSplitter;

constexpr const QZWChar* kClass = QZ_W("QZHttpRequest");

QZHttpException* BadRequest()
{
    return QZExceptionFactory::CreateHttpException(QZHttpExceptionCode::BadRequestData);
}

void SetUrlText(QZUrl* url, const QZWChar* text)
{
    const QZScopedString address(QZStringFactory::CreateString(text));
    url->Set(address.Get());
}

/// Appends the whole head. Puts the method in upper case.
void AppendHead(http::HeadBuilder* head, QZHttpRequest* request)
{
    for (QZString* text : {request->GetMethod(), request->GetUrl()->GetUrl(), request->GetVersion()})
        http::RequireOneLine(kClass, QZ_W("ToData"), text);
    request->GetMethod()->ToUpperThis();
    head->Append(request->GetMethod());
    head->Append(' ');
    head->Append(request->GetUrl()->GetPath());
    const QZScopedString params(request->GetUrl()->GetParamString());
    if (!QZString::IsNullOrWhiteSpace(params.Get()))
    {
        head->Append('?');
        head->Append(params.Get());
    }
    head->Append(' ');
    head->Append(request->GetVersion());
    head->Append(QZ_W("\r\n"));
    head->AppendHeaders(request->GetHeaders());
    QZHttpCookieCollection* cookies = request->GetCookies();
    const QZInt64 count = cookies->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpCookie* cookie = cookies->GetElement(i);
        for (QZString* text : {cookie->GetName(), cookie->GetValue()})
            http::RequireOneLine(kClass, QZ_W("ToData"), text);
        if (i == 0)
            head->Append(QZ_W("Cookie: "));
        else
            head->Append(QZ_W("; "));
        head->Append(cookie->GetName());
        head->Append('=');
        head->Append(cookie->GetValue());
    }
    if (count > 0) head->Append(QZ_W("\r\n"));
    head->Append(QZ_W("\r\n"));
}
}  // namespace

QZHttpRequest::QZHttpRequest() : m_method(QZ_W("GET")), m_url(QZ_W("/")), m_version(QZ_W("HTTP/1.1"))
{
    const QZUInt64 id = QZObject::GetObjectID();
    http::Own(&m_method, id);
    http::Own(&m_url, id);
    http::Own(&m_version, id);
    http::Own(&m_clientIP, id);
}

QZHttpRequest::~QZHttpRequest()
{
    const QZUInt64 id = QZObject::GetObjectID();
    http::Disown(&m_method, id);
    http::Disown(&m_url, id);
    http::Disown(&m_version, id);
    http::Disown(&m_clientIP, id);
}

QZInt64 QZHttpRequest::GetType() { return Type; }

/// Makes the request equal to a new one, before it goes back to its cache.
void QZHttpRequest::Reset()
{
    Clear();
    m_handle = 0;
    m_method.Set(QZ_W("GET"));
    // An address that begins with two slashes clears the protocol; "/" alone would keep it.
    if (m_url.GetProtocol()->GetSize() > 0) SetUrlText(&m_url, QZ_W("//"));
    if (!m_url.GetUrl()->Equals(QZ_W("/"))) SetUrlText(&m_url, QZ_W("/"));
    m_version.Set(QZ_W("HTTP/1.1"));
    m_clientIP.SetValue(0);
    m_clientIP.SetThePort(0);
}

void QZHttpRequest::Set(QZData* data)
{
    http::TraceSet(kClass, data, [=, this] {
        QZHttpContext::Set(data);
        const QZInt64 end = data->Find(QZHttpConstant::EmptyLine);
        if (end < 1) throw BadRequest();
        http::ReadMessage(data, end, &m_content, [this](QZString* head) { ReadHead(head); });
    });
}

void QZHttpRequest::SetHead(QZString* head)
{
    http::SetHead(head, [this](QZString* copy) { ReadHead(copy); });
}

void QZHttpRequest::ReadHead(QZString* head)
{
    http::TraceSetHead(kClass, head, [this](QZString* text) { Parse(text); });
}

void QZHttpRequest::Parse(QZString* head)
{
    TextSplitter lines(head, '\n');
    Text line(nullptr, 0);
    lines.Next(&line);
    Text forwarded(nullptr, 0);
    TextSplitter words(line, ' ');
    Text word(nullptr, 0);
    words.Next(&word);
    const bool proxy = word.Is(QZ_W("PROXY"));
    if (proxy)
    {
        // The line holds "PROXY", the address family, and then the source address.
        if (!words.Next(&word) || !words.Next(&forwarded) || !lines.Next(&line)) throw BadRequest();
        words = TextSplitter(line, ' ');
        words.Next(&word);
    }
    http::Assign(&m_method, word);
    if (!words.Next(&word)) throw BadRequest();
    const QZScopedString address(QZStringFactory::CreateString(word.units, word.count * 2));
    SetUrl(address.Get());
    // The third word, the version, is ignored: every request counts as HTTP/1.1.
    http::ReadLines(&lines, &m_headers, &m_cookies,
                    [this](Text field) { ParseLine(field.units, field.count); });
    if (proxy && !http::HasHeader(&m_headers, QZHttpConstant::HeaderNameXFFString))
        http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameXFFString, forwarded);
}

void QZHttpRequest::ParseLine(const QZWChar* units, QZInt64 count)
{
    const Text line(units, count);
    constexpr std::string_view kCookie = "cookie:";
    if (!line.StartsWith(kCookie)) return http::AddHeader(&m_headers, line);
    TextSplitter pieces(line.From(static_cast<QZInt64>(kCookie.size())), ';');
    Text piece(nullptr, 0);
    while (pieces.Next(&piece)) http::AddCookie(&m_cookies, piece, false);
}

QZString* QZHttpRequest::GetHead() { return http::HeadToString(this, AppendHead); }
QZData* QZHttpRequest::ToData() { return http::MessageToData(this, AppendHead); }

QZString* QZHttpRequest::GetVersion() { return &m_version; }
QZUrl* QZHttpRequest::GetUrl() { return &m_url; }

void QZHttpRequest::SetUrl(QZString* url)
{
    http::RequireOneLine(kClass, QZ_W("SetUrl"), url);
    m_url.Set(url);
}

QZString* QZHttpRequest::GetMethod() { return &m_method; }

void QZHttpRequest::SetMethod(QZString* method)
{
    http::RequireOneLine(kClass, QZ_W("SetMethod"), method);
    m_method.Set(method);
}

void QZHttpRequest::SetMethod(const char* method)
{
    http::RequireOneLine(kClass, QZ_W("SetMethod"), method);
    m_method.Set(method);
}

void QZHttpRequest::SetMethod(const QZWChar* method)
{
    http::RequireOneLine(kClass, QZ_W("SetMethod"), method);
    m_method.Set(method);
}

QZData* QZHttpRequest::GetContent() { return QZHttpContext::GetContent(); }
void QZHttpRequest::SetContent(const QZData* content) { m_content.Set(content); }
void QZHttpRequest::SetContent(const void* content, QZInt64 size) { m_content.Set(content, size); }

QZIPAddress* QZHttpRequest::GetClientIP() { return &m_clientIP; }
QZInt64 QZHttpRequest::GetHandle() { return m_handle; }
void QZHttpRequest::SetHandle(QZInt64 handle) { m_handle = handle; }

void QZHttpRequest::Recycle(QZData** data) { QZHttpContext::Recycle(data); }

void QZHttpRequest::Recycle(QZUrl** url)
{
    http::RecycleForeign(url, *url == &m_url, [](QZUrl** foreign) { http::Delete(foreign); });
}

void QZHttpRequest::Recycle(QZString** text)
{
    http::RecycleForeign(text, *text == &m_method || *text == &m_version,
                         [](QZString** foreign) { QZStringFactory::Recycle(foreign); });
}

void QZHttpRequest::Recycle(QZIPAddress** address)
{
    http::RecycleForeign(address, *address == &m_clientIP,
                         [](QZIPAddress** foreign) { http::Delete(foreign); });
}

QZObject* QZHttpRequest::NewObject() { return new QZHttpRequest(); }
void QZHttpRequest::DeleteObject(QZObject* request) { delete request; }

// ---- The factory's part for requests

QZHttpRequest* QZHttpFactory::CreateRequest() { return QZTake<QZHttpRequest>(m_requestCache); }

QZHttpRequest* QZHttpFactory::CreateRequest(QZData* data)
{
    return http::Filled<QZHttpFactory>(CreateRequest(), data, QZ_W("CreateRequest"),
                                       [=](QZHttpRequest* request) { request->Set(data); });
}

void QZHttpFactory::Recycle(QZHttpRequest** request)
{
    if (!http::IsThere(request)) return;
    // The lock is not tested before the request is emptied; the cache tests it.
    (*request)->Reset();
    http::PutBack(m_requestCache, request);
}
