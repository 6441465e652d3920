#ifndef QZLIB_NET_JSON_CACHE_H
#define QZLIB_NET_JSON_CACHE_H

#include "fw/fw_object_cache.h"
#include "net/net_json.h"

// The caches of JSON values: the factory keeps one of each, a host may keep its own.
QZLIB_NAMED_CACHE(QZJsonValueCache, QZJsonValue);
QZLIB_NAMED_CACHE(QZJsonDecimalCache, QZJsonDecimal);
QZLIB_NAMED_CACHE(QZJsonBoolCache, QZJsonBool);
QZLIB_NAMED_CACHE(QZJsonObjectCache, QZJsonObject);
QZLIB_NAMED_CACHE(QZJsonNullCache, QZJsonNull);
QZLIB_NAMED_CACHE(QZJsonStringCache, QZJsonString);
QZLIB_NAMED_CACHE(QZJsonValueCollectionCache, QZJsonValueCollection);

#endif
