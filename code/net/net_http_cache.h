#ifndef QZLIB_NET_NET_HTTP_CACHE_H
#define QZLIB_NET_NET_HTTP_CACHE_H

#include "fw/fw_object_cache.h"
#include "net/net_http_cookie.h"
#include "net/net_http_header.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"

// The caches of HTTP messages and their parts: the factory keeps one of each, a host may keep its own.
QZLIB_NAMED_CACHE(QZHttpHeaderCache, QZHttpHeader);
QZLIB_NAMED_CACHE(QZHttpCookieCache, QZHttpCookie);
QZLIB_NAMED_CACHE(QZHttpHeaderCollectionCache, QZHttpHeaderCollection);
QZLIB_NAMED_CACHE(QZHttpCookieCollectionCache, QZHttpCookieCollection);
QZLIB_NAMED_CACHE(QZHttpRequestCache, QZHttpRequest);
QZLIB_NAMED_CACHE(QZHttpResponseCache, QZHttpResponse);

#endif
