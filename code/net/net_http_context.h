#ifndef QZLIB_NET_HTTP_CONTEXT_H
#define QZLIB_NET_HTTP_CONTEXT_H

#include "fw/fw_data.h"
#include "net/net_http_cookie.h"
#include "net/net_http_header.h"

/// Milliseconds of QZEnvironment::GetCurrentTimestamp in a message's life. Whoever serves the message fills
/// them; the first stays 0.
struct QZHttpStamps
{
    QZInt64 zero = 0;
    QZInt64 begin = 0;
    QZInt64 ready = 0;
    QZInt64 process = 0;
    QZInt64 end = 0;
};

/// What requests and responses have in common: content, headers, cookies and the bytes they came from.
///
/// All text in a message is wide text; the wire is UTF-8. Content, source and both collections belong to the
/// message and are locked with its object id. A new message holds one header, "Content-Length: 0". Message
/// objects come from QZHttpFactory alone. One thread at a time.
class QZ_API QZHttpContext : public QZObject
{
public:
    static const QZInt64 Type = 0x8310017;

    QZHttpContext(const QZHttpContext&) = delete;
    QZHttpContext& operator=(const QZHttpContext&) = delete;
    ~QZHttpContext() override;

    QZInt64 GetType() override;

    QZData* GetContent();

    /// Take a copy as the content and set the header "Content-Length". A text goes in as UTF-8, and
    /// "Content-Type" becomes "text/html; charset=utf-8".
    void SetContent(const QZData* content);
    void SetContent(QZString* content);
    void SetContent(const void* content, QZInt64 size);

    /// The content read as UTF-8, a new string, given back with Recycle.
    QZString* GetContentString();

    /// Empties the message: no cookies, no content, no source, stamps of 0, and one header, "Content-Length:
    /// 0".
    void Clear();

    QZHttpHeaderCollection* GetHeaders();

    /// Merges headers into the message's own, as QZHttpFactory::CopyTo does. The collection stays the
    /// caller's.
    QZBool SetHeader(QZHttpHeaderCollection* headers);

    QZHttpCookieCollection* GetCookies();

    /// The bytes that a request was made of. A response gives them up while it is parsed.
    QZData* GetSource();

    /// Give back what the message handed out. For what belongs to the message, and for what somebody else has
    /// locked, only the variable is cleared. A null in the variable is a QZLibAssert(false).
    virtual void Recycle(QZData** data);
    void Recycle(QZHttpHeader** header);
    void Recycle(QZHttpHeaderCollection** headers);
    void Recycle(QZHttpCookie** cookie);
    void Recycle(QZHttpCookieCollection** cookies);

protected:
    QZHttpContext();

    /// Takes a copy of the bytes as the source.
    void Set(const QZData* source);

    friend struct QZHttpAccess;

    QZHttpStamps m_stamps;
    QZData m_content;
    QZHttpHeaderCollection m_headers;
    QZHttpCookieCollection m_cookies;
    QZData m_source;
};

#endif
