#ifndef QZLIB_NET_HTTP_FIELDS_H
#define QZLIB_NET_HTTP_FIELDS_H

#include "net/internal/net_http_find.h"

/// Changing the headers and cookies of a message. Internal.
namespace http
{
/// Makes a header or cookie of a text and adds it, locked, at the collection's end. Headers without a name
/// are dropped; cookies without a name are dropped unless `nameless` is true.
void AddHeader(QZHttpHeaderCollection* headers, Text line);
void AddCookie(QZHttpCookieCollection* cookies, Text text, bool nameless);

/// Adds a locked header at the collection's end, also when there is one of the name.
void PushHeader(QZHttpHeaderCollection* headers, Text name, Text value);

/// Removes the first header of the name and gives it back to the factory. False when there was none.
bool RemoveHeader(QZHttpHeaderCollection* headers, Text name);

/// Gives the first header of the name its value, or adds a locked header at the end. A number is written as
/// decimal text.
/// @throws QZException InvalidArgument in strict mode for a text that would split the message
void SetHeaderValue(QZHttpHeaderCollection* headers, Text name, Text value);
void SetHeaderValue(QZHttpHeaderCollection* headers, Text name, QZInt64 value);
}  // namespace http

#endif
