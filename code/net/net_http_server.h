#ifndef QZLIB_NET_NET_HTTP_SERVER_H
#define QZLIB_NET_NET_HTTP_SERVER_H

#include "fw/fw_object.h"

class QZHttpResponse;
class QZString;

/// Ready-made responses for an application's CreatePage: status pages, redirects, files.
///
/// Each operation makes a new response, which is the caller's until it is given back to QZHttpFactory; an
/// engine that gets one from CreatePage does that. `name` is the server's name at the foot of the page; null
/// texts add nothing. Any thread.
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
    /// With "RequestPath:" and the path, which goes in as it stands.
    static QZHttpResponse* Page404(const QZWChar* name, QZString* path);
    static QZHttpResponse* Page405(const QZWChar* name);
    static QZHttpResponse* Page431(const QZWChar* name);
    /// With the message, which goes in as it stands.
    static QZHttpResponse* Page500(const QZWChar* name, QZString* message);

    /// 200 with the whole file, cacheable for an hour; its type follows from the extension, and a file of an
    /// extension that is not served has neither type nor body. Null for a file that is not there or cannot be
    /// read. The path goes to the system as it stands: keeping it inside a folder is the caller's task.
    static QZHttpResponse* ResponseFile(QZString* path);
};

#endif
