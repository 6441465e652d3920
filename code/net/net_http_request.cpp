#include "net/net_http_request.h"

#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "net/internal/net_http_internal.h"
#include "net/net_http_constant.h"

const QZInt64 QZHttpRequest::Type;

namespace
{
using http::Pieces;
using http::Text;

const QZWChar* const kClass = QZ_W("QZHttpRequest");

QZHttpException* BadRequest()
{
    return QZExceptionFactory::CreateHttpException(QZHttpExceptionCode::BadRequestData);
}

void SetUrlText(QZUrl* url, const QZWChar* text)
{
    const text::Temporary address(QZStringFactory::CreateString(text));
    url->Set(address.Get());
}

/// The start of the head, method upper-cased, up to the last header.
void PutHead(JsonText* head, QZHttpRequest* request)
{
    request->GetMethod()->ToUpperThis();
    http::Put(head, request->GetMethod());
    head->Append(' ');
    http::Put(head, request->GetUrl()->GetPath());
    const text::Temporary params(request->GetUrl()->GetParamString());
    if (!QZString::IsNullOrWhiteSpace(params.Get()))
    {
        head->Append('?');
        http::Put(head, params.Get());
    }
    head->Append(' ');
    http::Put(head, request->GetVersion());
    http::Put(head, QZ_W("\r\n"));
    http::PutHeaders(head, request->GetHeaders());
    QZHttpCookieCollection* cookies = request->GetCookies();
    const QZInt64 count = cookies->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpCookie* cookie = cookies->GetElement(i);
        if (i == 0)
            http::Put(head, QZ_W("Cookie: "));
        else
            http::Put(head, QZ_W("; "));
        http::Put(head, cookie->GetName());
        head->Append('=');
        http::Put(head, cookie->GetValue());
    }
    if (count > 0) http::Put(head, QZ_W("\r\n"));
    http::Put(head, QZ_W("\r\n"));
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

QZInt64 QZHttpRequest::GetType() { return 0x8310019; }

/// What a request out of the cache is like: as a new one.
void QZHttpRequest::Reset()
{
    Clear();
    m_handle = 0;
    m_method.Set(QZ_W("GET"));
    // A text that begins with slashes takes the protocol off, which "/" alone would leave.
    if (m_url.GetProtocol()->GetSize() > 0) SetUrlText(&m_url, QZ_W("//"));
    if (!m_url.GetUrl()->Equals(QZ_W("/"))) SetUrlText(&m_url, QZ_W("/"));
    m_version.Set(QZ_W("HTTP/1.1"));
    m_clientIP.SetValue(0);
    m_clientIP.SetThePort(0);
}

void QZHttpRequest::Set(QZData* data)
{
    try
    {
        QZHttpContext::Set(data);
        const QZInt64 end = data->Find(QZHttpConstant::EmptyLine);
        if (end < 1) throw BadRequest();
        const auto* bytes = static_cast<const unsigned char*>(data->GetPointer());
        const text::Temporary head(QZEncoding::GetString(QZEncodingType::UTF8, bytes, end));
        ReadHead(head.Get());
        const QZInt64 start = end + QZHttpConstant::EmptyLine->GetSize();
        SetContent(bytes + start, data->GetSize() - start);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Set")).Argument(QZ_W("QZData*"), data->GetPointer(), data->GetSize());
        throw;
    }
}

void QZHttpRequest::SetHead(QZString* head)
{
    // A copy: the text may be one of the message's own, all of which change while it is read.
    const text::Temporary copy(QZStringFactory::CreateString(head));
    ReadHead(copy.Get());
}

void QZHttpRequest::ReadHead(QZString* head)
{
    try
    {
        Parse(head);
    }
    catch (QZException* e)
    {
        const Text text(head);
        QZTrace(e, kClass, QZ_W("SetHead")).Argument(QZ_W("QZString*"), text.units, text.count * 2);
        throw;
    }
}

void QZHttpRequest::Parse(QZString* head)
{
    Pieces lines(head, '\n');
    Text line(nullptr, 0);
    lines.Next(&line);
    Text forwarded(nullptr, 0);
    Pieces words(line, ' ');
    Text word(nullptr, 0);
    words.Next(&word);
    const bool proxy = word.Is(QZ_W("PROXY"));
    if (proxy)
    {
        // "PROXY", the family, and then the source address.
        if (!words.Next(&word) || !words.Next(&forwarded) || !lines.Next(&line)) throw BadRequest();
        words = Pieces(line, ' ');
        words.Next(&word);
    }
    http::Assign(&m_method, word);
    if (!words.Next(&word)) throw BadRequest();
    const text::Temporary address(QZStringFactory::CreateString(word.units, word.count * 2));
    SetUrl(address.Get());
    // The third word is not looked at: every request is one of HTTP/1.1.
    QZHttpFactory::Clear(&m_cookies);
    QZHttpFactory::Clear(&m_headers);
    while (lines.Next(&line))
    {
        line = line.Trimmed();
        if (line.IsEmpty()) break;
        ParseLine(line.units, line.count);
    }
    if (proxy && !http::HasHeader(&m_headers, QZHttpConstant::HeaderNameXFFString))
        http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameXFFString, forwarded);
}

void QZHttpRequest::ParseLine(const QZWChar* units, QZInt64 count)
{
    const Text line(units, count);
    if (!line.StartsWith("cookie:")) return http::AddHeader(&m_headers, line);
    Pieces pieces(line.From(7), ';');
    Text piece(nullptr, 0);
    while (pieces.Next(&piece)) http::AddCookie(&m_cookies, piece, false);
}

QZString* QZHttpRequest::GetHead()
{
    JsonText head;
    PutHead(&head, this);
    return head.ToString();
}

QZData* QZHttpRequest::ToData()
{
    http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameContentLengthString, m_content.GetSize());
    JsonText head;
    PutHead(&head, this);
    return http::ToBytes(head, &m_content);
}

QZString* QZHttpRequest::GetVersion() { return &m_version; }
QZUrl* QZHttpRequest::GetUrl() { return &m_url; }
void QZHttpRequest::SetUrl(QZString* url) { m_url.Set(url); }
QZString* QZHttpRequest::GetMethod() { return &m_method; }
void QZHttpRequest::SetMethod(QZString* method) { m_method.Set(method); }
void QZHttpRequest::SetMethod(const char* method) { m_method.Set(method); }
void QZHttpRequest::SetMethod(const QZWChar* method) { m_method.Set(method); }

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
