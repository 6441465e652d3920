#ifndef QZLIB_NET_HTTP_STAMPS_H
#define QZLIB_NET_HTTP_STAMPS_H

#include "net/net_http_context.h"

/// The library's way to the times of a message. Internal.
struct QZHttpAccess
{
    static QZHttpStamps& Stamps(QZHttpContext* context) { return context->m_stamps; }
};

namespace http
{
/// The times of a message. The server that answers the request sets them.
inline QZHttpStamps& StampsOf(QZHttpContext* context) { return QZHttpAccess::Stamps(context); }
}  // namespace http

#endif
