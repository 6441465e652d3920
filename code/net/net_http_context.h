#ifndef QZLIB_NET_HTTP_CONTEXT_H
#define QZLIB_NET_HTTP_CONTEXT_H

#include "fw/fw_data.h"
#include "net/net_http_cookie.h"
#include "net/net_http_header.h"

/// The times of a message, in milliseconds of QZEnvironment::GetCurrentTimestamp. The server that answers the
/// request sets them; the first stays 0.
struct QZHttpStamps
{
    QZInt64 zero = 0;
    QZInt64 begin = 0;
    QZInt64 ready = 0;
    QZInt64 process = 0;
    QZInt64 end = 0;
};

/// The common base of requests and responses: content, headers, cookies and the bytes they were read from.
///
/// All text in a message is wide text; sent and received text is UTF-8. Content, source and both collections
/// belong to the message and are locked with its object id. A new message has one header,
/// "Content-Length: 0". Only QZHttpFactory makes messages. One thread at a time.
class QZ_API QZHttpContext : public QZObject
{
public:
    static const QZInt64 Type = 0x8310017;

    QZHttpContext(const QZHttpContext&) = delete;
    QZHttpContext& operator=(const QZHttpContext&) = delete;
    ~QZHttpContext() override;

    QZInt64 GetType() override;

    QZData* GetContent();

    /// Copy the argument into the content and set the header "Content-Length". A text becomes UTF-8, and
    /// "Content-Type" becomes "text/html; charset=utf-8".
    void SetContent(const QZData* content);
    void SetContent(QZString* content);
    void SetContent(const void* content, QZInt64 size);

    /// The content, read as UTF-8: a new string, which the caller gives back to QZStringFactory.
    QZString* GetContentString();

    /// Empties the message. It then has no cookies, no content, no source, times of 0, and one header:
    /// "Content-Length: 0".
    void Clear();

    QZHttpHeaderCollection* GetHeaders();

    /// Merges headers into those of the message, as QZHttpFactory::CopyTo does. The collection still belongs
    /// to the caller. True.
    QZBool SetHeader(QZHttpHeaderCollection* headers);

    QZHttpCookieCollection* GetCookies();

    /// The bytes from which a request was read. A response frees its bytes while it is read.
    QZData* GetSource();

    /// Give back an object that a message returned. For an object that belongs to the message, or that
    /// somebody else has locked, only the variable is cleared. A null in the variable is a
    /// QZLibAssert(false).
    virtual void Recycle(QZData** data);
    void Recycle(QZHttpHeader** header);
    void Recycle(QZHttpHeaderCollection** headers);
    void Recycle(QZHttpCookie** cookie);
    void Recycle(QZHttpCookieCollection** cookies);

protected:
    QZHttpContext();

    /// Copies the bytes into the source.
    void Set(const QZData* source);

    friend struct QZHttpAccess;

    QZHttpStamps m_stamps;
    QZData m_content;
    QZHttpHeaderCollection m_headers;
    QZHttpCookieCollection m_cookies;
    QZData m_source;
};

#endif
