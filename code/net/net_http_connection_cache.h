#ifndef QZLIB_NET_NET_HTTP_CONNECTION_CACHE_H
#define QZLIB_NET_NET_HTTP_CONNECTION_CACHE_H

#include "fw/fw_object_cache.h"
#include "net/net_http_connection.h"

// The cache of connections: the factory keeps one, a host may keep its own.
QZLIB_NAMED_CACHE(QZHttpConnectCache, QZHttpConnect);

#endif
