#ifndef QZLIB_OS_SOCKET_CLIENT_H
#define QZLIB_OS_SOCKET_CLIENT_H

#include "os/os_socket.h"

/// A socket that connects to an address.
///
/// It owns its handle; the destructor closes it. After a failed Connect the handle keeps the value of the
/// closed socket until the next Connect. One thread at a time.
class QZ_API QZSocketClient : public QZSocket
{
public:
    static const QZInt64 Type = 0x8310007;

    /// The send and receive limits of a Connect without limits, in milliseconds.
    static const int DefaultTimeout = 60000;

    QZSocketClient();
    QZSocketClient(const QZSocketClient& other);
    QZSocketClient& operator=(const QZSocketClient& other);
    ~QZSocketClient() override;

    QZInt64 GetType() override;

    using QZSocket::Recv;
    using QZSocket::Send;
    long long Send(const void* buffer, long long size) override;
    long long Recv(void* buffer, long long size) override;
    void Close() override;
    long long GetHandle() override;

    /// Closes an open socket and connects a new one. The limits of sends and receives are in milliseconds;
    /// with `blocking` 0 the socket does not block. A datagram socket is made but not connected.
    /// @param protocol  of QZSocketProtocol
    /// @throws QZSocketException 1280 when no socket can be made, 1792 when its mode cannot be set, 1536 when
    /// there is no connection at once
    virtual void Connect(QZIPAddress* address, unsigned short port, int sendTimeout, int recvTimeout,
                         unsigned char blocking, unsigned long long protocol);
    /// TCP.
    virtual void Connect(QZIPAddress* address, unsigned short port, int sendTimeout, int recvTimeout,
                         unsigned char blocking);
    /// TCP, blocking, with the default limits. Without a port: the port of the address.
    virtual void Connect(QZIPAddress* address);
    virtual void Connect(QZIPAddress* address, unsigned short port);

    /// Sets both limits of the open socket to the low 32 bits of the milliseconds.
    void SetTimeout(long long ms);

protected:
    /// Makes the socket and connects it.
    virtual void Init(QZIPAddress* address, unsigned short port, int sendTimeout, int recvTimeout,
                      unsigned char blocking, unsigned long long protocol);
};

#endif
