#ifndef QZLIB_NET_HTTP_RESPONSE_H
#define QZLIB_NET_HTTP_RESPONSE_H

#include "fw/fw_object_cache.h"
#include "fw/fw_string.h"
#include "net/net_http_context.h"

/// A response. A new one has the status "200 OK".
///
/// The status is the whole text after the version, with its number. It belongs to the response and is locked
/// with its object id.
class QZ_API QZHttpResponse : public QZHttpContext
{
public:
    static const QZInt64 Type = 0x8310018;

    ~QZHttpResponse() override;

    QZInt64 GetType() override;

    /// Reads a whole response: head, empty line, and all following bytes as content. GetSource is empty
    /// afterwards. Without an empty line the response is an empty "200 OK".
    /// @throws QZHttpException BadResponseData for empty data, and what SetHead throws
    void Set(QZData* data);

    /// Reads a head without its empty line. The status then ends with a blank. Lines without a colon followed
    /// by a blank are ignored; lines that contain "Set-Cookie" are cookies.
    /// @throws QZHttpException BadResponseData for a first line of fewer than three words
    void SetHead(QZString* head);

    /// The head with its empty line, a new string, given back with Recycle.
    QZString* GetHead();

    /// Head and content as bytes, new data, given back with Recycle. Sets the header "Content-Length".
    QZData* ToData();

    QZString* GetStatus();
    /// Sets the whole text.
    /// @throws QZException InvalidArgument in strict mode for a text with a line end or a NUL in it
    void SetStatus(QZString* status);
    void SetStatus(const char* status);
    void SetStatus(const QZWChar* status);
    /// Sets the number, a blank, and the text of QZHttpStatusCode, if there is one. In strict mode the other
    /// codes of RFC 9110 have a text too.
    void SetStatus(int code);

    QZInt64 GetHandle();
    void SetHandle(QZInt64 handle);

    /// Does what QZHttpContext::Clear does, and sets the status to 200.
    void Clear();

    using QZHttpContext::Recycle;
    void Recycle(QZData** data) override;
    void Recycle(QZString** text);

protected:
    QZHttpResponse();

    static QZObject* NewObject();
    static void DeleteObject(QZObject* response);

private:
    void ReadHead(QZString* head);
    void Parse(QZString* head);
    void ParseLine(const QZWChar* units, QZInt64 count);

    QZString m_status;
    QZInt64 m_handle = 0;
};

/// The factory keeps one cache of responses; a host may have its own.
QZLIB_NAMED_CACHE(QZHttpResponseCache, QZHttpResponse);

#endif
