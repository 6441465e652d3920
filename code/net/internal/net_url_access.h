#ifndef QZLIB_NET_URL_ACCESS_H
#define QZLIB_NET_URL_ACCESS_H

#include "net/internal/net_http_text.h"
#include "net/net_url.h"

/// The library's way to the parts of a URL. Internal.
struct QZUrlAccess
{
    /// Sets a request target that was taken apart before: its whole text, its decoded path and its query.
    /// Protocol and host become empty.
    static void SetTarget(QZUrl* url, http::Text whole, http::Text path, http::Text query)
    {
        url->SetTarget(whole.units, whole.count, path.units, path.count, query.units, query.count);
    }
};

#endif
