#include "net/net_http_response.h"

#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/internal/fw_number_text.h"
#include "net/internal/net_http_internal.h"
#include "net/net_http_constant.h"

const QZInt64 QZHttpResponse::Type;

namespace
{
using http::Pieces;
using http::Text;

const QZWChar* const kClass = QZ_W("QZHttpResponse");

QZHttpException* BadResponse()
{
    return QZExceptionFactory::CreateHttpException(QZHttpExceptionCode::BadResponseData);
}

void PutHead(JsonText* head, QZHttpResponse* response)
{
    http::Put(head, QZ_W("HTTP/1.1 "));
    http::Put(head, response->GetStatus());
    http::Put(head, QZ_W("\r\n"));
    http::PutHeaders(head, response->GetHeaders());
    QZHttpCookieCollection* cookies = response->GetCookies();
    const QZInt64 count = cookies->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpCookie* cookie = cookies->GetElement(i);
        http::Put(head, QZ_W("Set-Cookie: "));
        http::Put(head, cookie->GetName());
        head->Append('=');
        http::Put(head, cookie->GetValue());
        // All parts, the empty ones too.
        http::Put(head, QZ_W("; domain="));
        http::Put(head, cookie->GetDomain());
        http::Put(head, QZ_W("; expires="));
        http::Put(head, cookie->GetExpries());
        http::Put(head, QZ_W("; path="));
        http::Put(head, cookie->GetPath());
        http::Put(head, QZ_W("\r\n"));
    }
    http::Put(head, QZ_W("\r\n"));
}
}  // namespace

QZHttpResponse::QZHttpResponse()
{
    SetStatus(200);
    http::Own(&m_status, QZObject::GetObjectID());
}

QZHttpResponse::~QZHttpResponse() { http::Disown(&m_status, QZObject::GetObjectID()); }

QZInt64 QZHttpResponse::GetType() { return 0x8310018; }

void QZHttpResponse::Set(QZData* data)
{
    try
    {
        QZHttpContext::Set(data);
        // The source goes as well: callers find it empty behind every Set.
        Clear();
        if (data->GetSize() == 0) throw BadResponse();
        const QZInt64 end = data->Find(QZHttpConstant::EmptyLine);
        if (end < 1) return;
        const auto* bytes = static_cast<const unsigned char*>(data->GetPointer());
        const text::Temporary head(QZEncoding::GetString(QZEncodingType::UTF8, bytes, end));
        ReadHead(head.Get());
        const QZInt64 start = end + QZHttpConstant::EmptyLine->GetSize();
        m_content.Set(bytes + start, data->GetSize() - start);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Set")).Argument(QZ_W("QZData*"), data->GetPointer(), data->GetSize());
        throw;
    }
}

void QZHttpResponse::SetHead(QZString* head)
{
    // A copy: the text may be one of the message's own, all of which change while it is read.
    const text::Temporary copy(QZStringFactory::CreateString(head));
    ReadHead(copy.Get());
}

void QZHttpResponse::ReadHead(QZString* head)
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

void QZHttpResponse::Parse(QZString* head)
{
    Pieces lines(head, '\n');
    Text line(nullptr, 0);
    lines.Next(&line);
    const QZInt64 blank = line.Find(' ');
    if (blank < 0 || line.From(blank + 1).Find(' ') < 0) throw BadResponse();
    http::Assign(&m_status, line.From(blank + 1));
    // Every word is followed by a blank, the last one too: readers of the status count on it.
    m_status.Append(QZ_W(" "));
    QZHttpFactory::Clear(&m_cookies);
    QZHttpFactory::Clear(&m_headers);
    while (lines.Next(&line))
    {
        line = line.Trimmed();
        if (line.IsEmpty()) break;
        ParseLine(line.units, line.count);
    }
}

void QZHttpResponse::ParseLine(const QZWChar* units, QZInt64 count)
{
    const Text line(units, count);
    if (!line.Contains(": ")) return;
    if (!line.Contains("Set-Cookie")) return http::AddHeader(&m_headers, line);
    const text::Temporary text(QZStringFactory::CreateString(units, count * 2));
    text->ReplaceThis(QZ_W("Set-Cookie:"), QZ_W(""));
    http::AddCookie(&m_cookies, text.Get(), true);
}

QZString* QZHttpResponse::GetHead()
{
    JsonText head;
    PutHead(&head, this);
    return head.ToString();
}

QZData* QZHttpResponse::ToData()
{
    http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameContentLengthString, m_content.GetSize());
    JsonText head;
    PutHead(&head, this);
    return http::ToBytes(head, &m_content);
}

QZString* QZHttpResponse::GetStatus() { return &m_status; }
void QZHttpResponse::SetStatus(QZString* status) { m_status.Set(status); }
void QZHttpResponse::SetStatus(const char* status) { m_status.Set(status); }
void QZHttpResponse::SetStatus(const QZWChar* status) { m_status.Set(status); }

void QZHttpResponse::SetStatus(int code)
{
    QZWChar digits[number::kBufferUnits];
    const int count = number::WriteInt64(digits, code);
    m_status.Set(digits, count * 2);
    m_status.Append(QZ_W(" "));
    m_status.Append(QZHttpStatusCode::ToMessage(static_cast<float>(code)));
}

QZInt64 QZHttpResponse::GetHandle() { return m_handle; }
void QZHttpResponse::SetHandle(QZInt64 handle) { m_handle = handle; }

void QZHttpResponse::Clear()
{
    QZHttpContext::Clear();
    SetStatus(200);
}

void QZHttpResponse::Recycle(QZData** data) { QZHttpContext::Recycle(data); }

void QZHttpResponse::Recycle(QZString** text)
{
    http::RecycleForeign(text, *text == &m_status,
                         [](QZString** foreign) { QZStringFactory::Recycle(foreign); });
}

QZObject* QZHttpResponse::NewObject() { return new QZHttpResponse(); }
void QZHttpResponse::DeleteObject(QZObject* response) { delete response; }
