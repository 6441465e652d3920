#ifndef QZLIB_NET_HTTP_REQUEST_H
#define QZLIB_NET_HTTP_REQUEST_H

#include "fw/fw_object_cache.h"
#include "fw/fw_string.h"
#include "net/net_http_context.h"
#include "net/net_url.h"
#include "os/os_ip_address.h"

/// A request. A new one has the method "GET", the address "/" and the version "HTTP/1.1".
///
/// Method, address, version and client address belong to the request and are locked with its object id.
class QZ_API QZHttpRequest : public QZHttpContext
{
public:
    static const QZInt64 Type = 0x8310019;

    ~QZHttpRequest() override;

    QZInt64 GetType() override;

    /// Reads a whole request: head, empty line, and all following bytes as content, whatever the header
    /// "Content-Length" says.
    /// @throws QZHttpException BadRequestData when there is no empty line or nothing before it; what SetHead
    ///         throws
    void Set(QZData* data);

    /// Reads a head without its empty line. When the first line begins with PROXY, the request line is the
    /// second one, and the source address of the first line becomes a header "X-Forwarded-For" unless the
    /// request has one. Lines that are no header and cookies without a name are ignored.
    /// @throws QZHttpException BadRequestData for a request line of fewer than two words; QZException 256 for
    ///         an address whose host ends with a colon
    void SetHead(QZString* head);

    /// The head with its empty line, a new string, given back with Recycle. Changes the method to upper case.
    QZString* GetHead();

    /// Head and content as bytes, new data, given back with Recycle. Sets the header "Content-Length".
    QZData* ToData();

    /// Always "HTTP/1.1", also after reading a request line with another version.
    QZString* GetVersion();
    QZUrl* GetUrl();
    /// @throws QZException InvalidArgument in strict mode for a text with a line end or a NUL in it
    void SetUrl(QZString* url);
    QZString* GetMethod();
    /// @throws QZException InvalidArgument in strict mode for a text with a line end or a NUL in it
    void SetMethod(QZString* method);
    void SetMethod(const char* method);
    void SetMethod(const QZWChar* method);

    QZData* GetContent();
    /// Replace the content and do not change the headers. For a text, see QZHttpContext.
    void SetContent(const QZData* content);
    void SetContent(const void* content, QZInt64 size);
    using QZHttpContext::SetContent;

    QZIPAddress* GetClientIP();

    /// The client's socket.
    QZInt64 GetHandle();
    void SetHandle(QZInt64 handle);

    using QZHttpContext::Recycle;
    void Recycle(QZData** data) override;
    void Recycle(QZUrl** url);
    void Recycle(QZString** text);
    void Recycle(QZIPAddress** address);

protected:
    QZHttpRequest();

    static QZObject* NewObject();
    static void DeleteObject(QZObject* request);

private:
    friend class QZHttpFactory;

    void Reset();
    void ReadHead(QZString* head);
    void Parse(QZString* head);
    void ParseLine(const QZWChar* units, QZInt64 count);

    QZInt64 m_handle = 0;
    QZString m_method;
    QZUrl m_url;
    QZString m_version;
    QZIPAddress m_clientIP;
};

/// The factory keeps one cache of requests; a host may have its own.
QZLIB_NAMED_CACHE(QZHttpRequestCache, QZHttpRequest);

#endif
