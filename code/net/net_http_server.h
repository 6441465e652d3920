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
///
/// In strict mode (QZHttpServerEngine::Strict) the pages are in English, and details are escaped for HTML.
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
    /// With the header "Allow", a list of methods.
    static QZHttpResponse* Page405(const QZWChar* name, const QZWChar* allow);
    static QZHttpResponse* Page431(const QZWChar* name);
    /// With the message, which is not escaped.
    static QZHttpResponse* Page500(const QZWChar* name, QZString* message);
    /// The page of any status.
    static QZHttpResponse* PageOf(int status, const QZWChar* name);

    /// 200 with the whole file, cacheable for an hour. The extension determines the content type; a file with
    /// an extension that is not served gives neither type nor body. Null for a file that does not exist or
    /// cannot be read. The path is used as it is: the caller has to make sure that it stays inside its
    /// folder.
    ///
    /// In strict mode a file with another extension has the type "application/octet-stream" and its content,
    /// and the types of text have "; charset=utf-8".
    static QZHttpResponse* ResponseFile(QZString* path);

    /// ResponseFile of a file below a folder.
    /// @param root  the folder
    /// @param path  the path in the folder, with or without a slash at its start, as QZUrl::GetPath returns
    ///              it in strict mode
    /// @return null also for a path that leads out of the folder, by its text or by a symbolic link (see
    ///         FollowLinks), and for everything that is no plain file
    static QZHttpResponse* ResponseFile(QZString* root, QZString* path);

    /// 1: symbolic links below a folder may lead out of it. The initial value is 0. Applies to all servers of
    /// the process.
    static QZByte FollowLinks;
};

#endif
