#ifndef QZLIB_NET_HTTP_FIND_H
#define QZLIB_NET_HTTP_FIND_H

#include "net/internal/net_http_text.h"
#include "net/net_http_cookie.h"
#include "net/net_http_header.h"

/// Looking up headers and cookies by name. Internal.
namespace http
{
/// The first element of the name, ignoring the case of A to Z; null when there is none.
template <typename Element, typename Collection>
Element* FindNamed(Collection* collection, Text name)
{
    const QZInt64 count = collection->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        Element* element = collection->GetElement(i);
        if (name.Is(element->GetName())) return element;
    }
    return nullptr;
}

inline QZHttpHeader* FindHeader(QZHttpHeaderCollection* headers, Text name)
{
    return FindNamed<QZHttpHeader>(headers, name);
}

inline bool HasHeader(QZHttpHeaderCollection* headers, Text name)
{
    return FindHeader(headers, name) != nullptr;
}

inline QZHttpCookie* FindCookie(QZHttpCookieCollection* cookies, Text name)
{
    return FindNamed<QZHttpCookie>(cookies, name);
}

/// What QZHttpHeader::Set and QZHttpCookie::Set do with their texts; the cookie is not emptied first.
inline void ReadHeader(QZHttpHeader* header, Text line)
{
    ReadHeader(header->GetName(), header->GetValue(), line);
}

inline void ReadCookie(QZHttpCookie* cookie, Text text)
{
    ReadCookie(
        {cookie->GetName(), cookie->GetValue(), cookie->GetDomain(), cookie->GetPath(), cookie->GetExpries()},
        text);
}
}  // namespace http

#endif
