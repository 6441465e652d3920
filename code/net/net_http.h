#ifndef QZLIB_NET_HTTP_H
#define QZLIB_NET_HTTP_H

#include "fw/fw_object.h"

class QZHttpRequest;
class QZHttpResponse;
class QZIPAddress;
class QZString;

/// Simple HTTP operations: host names, one request over one connection, and the sending and receiving that
/// server and clients share. The class has no state. Any thread may call.
class QZ_API QZHttp : public QZObject
{
public:
    static const QZInt64 Type = 0x8310011;

    QZInt64 GetType() override;

    /// QZSocket::Send and QZSocket::Recv on a bare handle.
    static long long Send(long long handle, const void* data, long long size);
    static long long Recv(long long handle, void* data, long long size);

    /// Sends a request to the host in its address over a new connection, with the retries of QZHttpClient.
    /// @param timeout  milliseconds of one send or receive, 60000 in the short form
    /// @return a new response, given back to QZHttpFactory
    /// @throws QZHttpException NameNotResolved, and what QZHttpClient throws
    static QZHttpResponse* Request(QZHttpRequest* request, int timeout);
    static QZHttpResponse* Request(QZHttpRequest* request);

    /// The first IPv4 address of a host, with port 0; a new object, given back with Recycle. "localhost"
    /// gives 127.0.0.1 without asking the system.
    /// @throws QZHttpException NameNotResolved with the text of the system
    static QZIPAddress* GetHostByName(QZString* name);

    static void Recycle(QZIPAddress** address);
};

#endif
