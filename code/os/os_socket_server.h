#ifndef QZLIB_OS_SOCKET_SERVER_H
#define QZLIB_OS_SOCKET_SERVER_H

#include <atomic>
#include <memory>

#include "fw/fw_object.h"

class QZSocket;

/// A socket that listens on a port of every address of this host.
///
/// It owns its handle; CloseServer or the destructor closes it. One thread at a time, but CloseServer may end
/// an Accept that waits on another thread.
class QZ_API QZSocketServer : public QZObject
{
public:
    static const QZInt64 Type = 0x8310008;

    /// TCP, blocking, limits of 60000 ms, at most 511 waiting connections.
    explicit QZSocketServer(unsigned short port);
    QZSocketServer(unsigned short port, int sendTimeout, int recvTimeout, unsigned char blocking,
                   int backlog);
    /// @param protocol  of QZSocketProtocol; a datagram socket is bound and does not listen
    /// @throws QZSocketException with the system's text: 1280 when no socket can be made, 1792 when its mode
    /// cannot be set, 2048 when the port cannot be bound
    QZSocketServer(unsigned short port, int sendTimeout, int recvTimeout, unsigned char blocking, int backlog,
                   unsigned long long protocol);
    QZSocketServer(const QZSocketServer& other);
    QZSocketServer& operator=(const QZSocketServer& other);
    ~QZSocketServer() override;

    QZInt64 GetType() override;

    /// Waits for the next connection. The target gets its handle and its peer's address. The port of that
    /// address is in network order, byte-swapped. On failure the target is unchanged.
    void Accept(QZSocket* target);

    /// The handle. It keeps its value after CloseServer.
    long long GetHandle();

    void CloseServer();

private:
    void Init(unsigned short port, int sendTimeout, int recvTimeout, unsigned char blocking, int backlog,
              unsigned long long protocol);

    long long m_handle = 0;
    QZUInt16 m_port = 0;
    /// Shared by all copies: true when the handle has been closed. Null before there is one.
    std::shared_ptr<std::atomic<bool>> m_closed;
};

#endif
