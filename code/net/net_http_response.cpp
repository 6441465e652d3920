#include "net/net_http_response.h"

#include "fw/internal/fw_number_text.h"
#include "net/internal/net_http_give_back.h"
#include "net/internal/net_http_guard.h"
#include "net/internal/net_http_head.h"
#include "net/internal/net_http_reason.h"
#include "net/internal/net_ownership.h"

const QZInt64 QZHttpResponse::Type;

namespace
{
using http::Text;
using http::TextSplitter;

constexpr const QZWChar* kClass = QZ_W("QZHttpResponse");

QZHttpException* BadResponse()
{
    return QZExceptionFactory::CreateHttpException(QZHttpExceptionCode::BadResponseData);
}

/// Appends the whole head.
void AppendHead(http::HeadBuilder* head, QZHttpResponse* response)
{
    http::RequireOneLine(kClass, QZ_W("ToData"), response->GetStatus());
    head->Append(QZ_W("HTTP/1.1 "));
    head->Append(response->GetStatus());
    head->Append(QZ_W("\r\n"));
    head->AppendHeaders(response->GetHeaders());
    QZHttpCookieCollection* cookies = response->GetCookies();
    const QZInt64 count = cookies->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpCookie* cookie = cookies->GetElement(i);
        for (QZString* text : {cookie->GetName(), cookie->GetValue(), cookie->GetDomain(),
                               cookie->GetExpries(), cookie->GetPath()})
            http::RequireOneLine(kClass, QZ_W("ToData"), text);
        head->Append(QZ_W("Set-Cookie: "));
        head->Append(cookie->GetName());
        head->Append('=');
        head->Append(cookie->GetValue());
        // All parts are written, the empty ones too.
        head->Append(QZ_W("; domain="));
        head->Append(cookie->GetDomain());
        head->Append(QZ_W("; expires="));
        head->Append(cookie->GetExpries());
        head->Append(QZ_W("; path="));
        head->Append(cookie->GetPath());
        head->Append(QZ_W("\r\n"));
    }
    head->Append(QZ_W("\r\n"));
}
}  // namespace

QZHttpResponse::QZHttpResponse()
{
    SetStatus(200);
    http::Own(&m_status, QZObject::GetObjectID());
}

QZHttpResponse::~QZHttpResponse() { http::Disown(&m_status, QZObject::GetObjectID()); }

QZInt64 QZHttpResponse::GetType() { return Type; }

void QZHttpResponse::Set(QZData* data)
{
    http::TraceSet(kClass, data, [=, this] {
        QZHttpContext::Set(data);
        // This empties the source too: callers find it empty after every Set.
        Clear();
        if (data->GetSize() == 0) throw BadResponse();
        const QZInt64 end = data->Find(QZHttpConstant::EmptyLine);
        if (end < 1) return;
        http::ReadMessage(data, end, &m_content, [this](QZString* head) { ReadHead(head); });
    });
}

void QZHttpResponse::SetHead(QZString* head)
{
    http::SetHead(head, [this](QZString* copy) { ReadHead(copy); });
}

void QZHttpResponse::ReadHead(QZString* head)
{
    http::TraceSetHead(kClass, head, [this](QZString* text) { Parse(text); });
}

void QZHttpResponse::Parse(QZString* head)
{
    TextSplitter lines(head, '\n');
    Text line(nullptr, 0);
    lines.Next(&line);
    const QZInt64 blank = line.Find(' ');
    if (blank < 0 || line.From(blank + 1).Find(' ') < 0) throw BadResponse();
    http::Assign(&m_status, line.From(blank + 1));
    // A blank follows every word of the status, the last one too: hosts compare with that text.
    m_status.Append(QZ_W(" "));
    http::ReadLines(&lines, &m_headers, &m_cookies,
                    [this](Text field) { ParseLine(field.units, field.count); });
}

void QZHttpResponse::ParseLine(const QZWChar* units, QZInt64 count)
{
    const Text line(units, count);
    if (!line.Contains(": ")) return;
    if (!line.Contains("Set-Cookie")) return http::AddHeader(&m_headers, line);
    const QZScopedString text(QZStringFactory::CreateString(units, count * 2));
    text->ReplaceThis(QZ_W("Set-Cookie:"), QZ_W(""));
    http::AddCookie(&m_cookies, text.Get(), true);
}

QZString* QZHttpResponse::GetHead() { return http::HeadToString(this, AppendHead); }
QZData* QZHttpResponse::ToData() { return http::MessageToData(this, AppendHead); }

QZString* QZHttpResponse::GetStatus() { return &m_status; }
void QZHttpResponse::SetStatus(QZString* status)
{
    http::RequireOneLine(kClass, QZ_W("SetStatus"), status);
    m_status.Set(status);
}

void QZHttpResponse::SetStatus(const char* status)
{
    http::RequireOneLine(kClass, QZ_W("SetStatus"), status);
    m_status.Set(status);
}

void QZHttpResponse::SetStatus(const QZWChar* status)
{
    http::RequireOneLine(kClass, QZ_W("SetStatus"), status);
    m_status.Set(status);
}

void QZHttpResponse::SetStatus(int code)
{
    QZWChar digits[number::kBufferUnits];
    const int count = number::WriteInt64(digits, code);
    m_status.Set(digits, count * 2);
    m_status.Append(QZ_W(" "));
    m_status.Append(http::ReasonOf(code));
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

// ---- The factory's part for responses

QZHttpResponse* QZHttpFactory::CreateResponse() { return QZTake<QZHttpResponse>(m_responseCache); }

QZHttpResponse* QZHttpFactory::CreateResponse(QZData* data)
{
    return http::Filled<QZHttpFactory>(CreateResponse(), data, QZ_W("CreateResponse"),
                                       [=](QZHttpResponse* response) { response->Set(data); });
}

void QZHttpFactory::Recycle(QZHttpResponse** response)
{
    http::GiveBack(m_responseCache, response, QZ_W("QZHttpResponse**"), [](QZHttpResponse* object) {
        object->Clear();
        object->SetHandle(0);
    });
}
