#include "fw/fw_object_cache.h"
#include "net/net_http_internal.h"

// The connections' part of the factory.

QZObjectCache* http::NewConnectCache(QZInt64 limit)
{
    static_cast<void>(limit);
    return nullptr;
}
