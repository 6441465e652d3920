#ifndef QZLIB_NET_HTTP_SERVER_H
#define QZLIB_NET_HTTP_SERVER_H

#include "fw/fw_object.h"

class QZHttpResponse;
class QZString;

/// Ready-made responses for CreatePage of a host: status pages, redirects, files.
///
/// Each operation makes a new response. The caller gives it back to QZHttpFactory; an engine does that with a
/// response from CreatePage. `name` is the name of the server at the foot of the page. A null text adds
/// nothing. Any thread may call.
class QZ_API QZHttpServer : public QZObject
{
public:
    static const QZInt64 Type = 0x831001D;

    QZInt64 GetType() override;

    /// 200, "Welcome!".
    static QZHttpResponse* DefaultIndex(const QZWChar* name);
    static QZHttpResponse* Page204(const QZWChar* name);
    /// Redirects without a body.
    static QZHttpResponse* Response301(QZString* url);
    static QZHttpResponse* Response302(QZString* url);
    static QZHttpResponse* Page400(const QZWChar* name);
    static QZHttpResponse* Page401(const QZWChar* name);
    static QZHttpResponse* Page403(const QZWChar* name);
    static QZHttpResponse* Page404(const QZWChar* name);
    /// With "RequestPath:" and the path, which is not escaped.
    static QZHttpResponse* Page404(const QZWChar* name, QZString* path);
    static QZHttpResponse* Page405(const QZWChar* name);
    static QZHttpResponse* Page431(const QZWChar* name);
    /// With the message, which is not escaped.
    static QZHttpResponse* Page500(const QZWChar* name, QZString* message);

    /// 200 with the whole file, cacheable for an hour. The extension determines the content type; a file with
    /// an extension that is not served gives neither type nor body. Null for a file that does not exist or
    /// cannot be read. The path is used as it is: the caller has to make sure that it stays inside its
    /// folder.
    static QZHttpResponse* ResponseFile(QZString* path);
};

#endif
