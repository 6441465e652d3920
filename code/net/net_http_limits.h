#ifndef QZLIB_NET_HTTP_LIMITS_H
#define QZLIB_NET_HTTP_LIMITS_H

#include "sys/sys_types.h"

/// The limits of one server in strict mode; see QZHttpServerEngine::Strict and docs/http-server.md.
///
/// A host changes the members that QZHttpServerEngine::GetLimits returns before it calls Start. Times are in
/// milliseconds and checked once a second. A value of 0 or less stands for no limit, except where a member
/// says otherwise. The limit of heads is QZHttpServerEngine::m_headLimit: a request line that does not fit
/// gets the status 414, other heads get 431.
struct QZHttpServerLimits
{
    /// Bytes of a body, without the framing of chunks. Status 413.
    QZInt64 body = QZInt64{16} << 20;
    /// Header lines of a request. Status 431.
    QZInt64 headers = 100;
    /// From the first byte of a head to its last. Status 408.
    QZInt64 headTime = 30000;
    /// From the last byte of a head to the last byte of its body. Status 408.
    QZInt64 bodyTime = 120000;
    /// From a response, or from the connection, to the first byte of the next request. The connection is
    /// closed without a response.
    QZInt64 idleTime = 60000;
    /// From the first byte of a response to the last one that the system takes. The connection is cut.
    QZInt64 sendTime = 120000;
    /// From the end of the server's stream to the end of the client's. The connection is closed. A value of 0
    /// or less closes at the next check.
    QZInt64 closeTime = 2000;
    /// Connections, those that are being closed included. Further clients get the status 503.
    QZInt64 connections = 1000;
    /// Connections of one IPv4 address, or of one IPv6 network with a prefix of 64 bits. Further clients get
    /// the status 503. There is no limit at first, because behind a proxy all connections have its address.
    QZInt64 connectionsOfAddress = 0;
    /// The methods that reach CreatePage, with ", " between them; also the value of the header "Allow". Other
    /// methods of RFC 9110 get the status 405, all others 501. The text must live as long as the server.
    const char* methods = "GET, HEAD, POST, PUT, PATCH, DELETE, OPTIONS";
    /// 1: a connection may begin with the line of the PROXY protocol, version 1. Its address becomes the
    /// header "X-Forwarded-For" of every request of the connection. Only for servers that no client can reach
    /// without the proxy. 0: the line gets the status 400.
    QZByte proxyLine = 0;
};

#endif
