#include "net/net_http_context.h"

#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "net/internal/net_http_fields.h"
#include "net/internal/net_ownership.h"
#include "net/net_http_constant.h"
#include "net/net_http_factory.h"

const QZInt64 QZHttpContext::Type;

namespace
{
template <typename Collection>
bool Holds(Collection* collection, QZObject* element)
{
    for (QZInt64 i = collection->Count() - 1; i >= 0; --i)
        if (collection->GetElement(i) == element) return true;
    return false;
}
}  // namespace

QZHttpContext::QZHttpContext()
{
    const QZUInt64 id = QZObject::GetObjectID();
    http::Own(&m_content, id);
    http::Own(&m_headers, id);
    http::Own(&m_cookies, id);
    http::Own(&m_source, id);
    http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameContentLengthString, 0);
}

QZHttpContext::~QZHttpContext()
{
    QZHttpFactory::Clear(&m_cookies);
    QZHttpFactory::Clear(&m_headers);
    const QZUInt64 id = QZObject::GetObjectID();
    http::Disown(&m_content, id);
    http::Disown(&m_headers, id);
    http::Disown(&m_cookies, id);
    http::Disown(&m_source, id);
}

QZInt64 QZHttpContext::GetType() { return Type; }

QZData* QZHttpContext::GetContent() { return &m_content; }

void QZHttpContext::SetContent(const QZData* content)
{
    m_content.Set(content);
    http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameContentLengthString, m_content.GetSize());
}

void QZHttpContext::SetContent(QZString* content)
{
    http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameContentTypeString,
                         QZ_W("text/html; charset=utf-8"));
    QZEncoding::GetData(QZEncodingType::UTF8, content, &m_content);
    http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameContentLengthString, m_content.GetSize());
}

void QZHttpContext::SetContent(const void* content, QZInt64 size)
{
    m_content.Set(content, size);
    http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameContentLengthString, m_content.GetSize());
}

QZString* QZHttpContext::GetContentString()
{
    return QZEncoding::GetString(QZEncodingType::UTF8, &m_content);
}

void QZHttpContext::Clear()
{
    QZHttpFactory::Clear(&m_cookies);
    QZHttpFactory::Clear(&m_headers);
    m_content.Clear();
    m_source.Clear();
    m_stamps = {};
    http::SetHeaderValue(&m_headers, QZHttpConstant::HeaderNameContentLengthString, 0);
}

QZHttpHeaderCollection* QZHttpContext::GetHeaders() { return &m_headers; }

QZBool QZHttpContext::SetHeader(QZHttpHeaderCollection* headers)
{
    return QZHttpFactory::CopyTo(headers, &m_headers);
}

QZHttpCookieCollection* QZHttpContext::GetCookies() { return &m_cookies; }
QZData* QZHttpContext::GetSource() { return &m_source; }

void QZHttpContext::Recycle(QZData** data)
{
    http::RecycleForeign(data, *data == &m_content || *data == &m_source,
                         [](QZData** foreign) { QZDataFactory::Recycle(foreign); });
}

void QZHttpContext::Recycle(QZHttpHeader** header)
{
    http::RecycleForeign(header, Holds(&m_headers, *header),
                         [](QZHttpHeader** foreign) { QZHttpFactory::Recycle(foreign); });
}

void QZHttpContext::Recycle(QZHttpHeaderCollection** headers)
{
    http::RecycleForeign(headers, *headers == &m_headers,
                         [](QZHttpHeaderCollection** foreign) { QZHttpFactory::Recycle(foreign); });
}

void QZHttpContext::Recycle(QZHttpCookie** cookie)
{
    http::RecycleForeign(cookie, Holds(&m_cookies, *cookie),
                         [](QZHttpCookie** foreign) { QZHttpFactory::Recycle(foreign); });
}

void QZHttpContext::Recycle(QZHttpCookieCollection** cookies)
{
    http::RecycleForeign(cookies, *cookies == &m_cookies,
                         [](QZHttpCookieCollection** foreign) { QZHttpFactory::Recycle(foreign); });
}

void QZHttpContext::Set(const QZData* source) { m_source.Set(source); }
