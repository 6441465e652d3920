#ifndef QZLIB_OS_SOCKET_SERVER_H
#define QZLIB_OS_SOCKET_SERVER_H

#include <atomic>
#include <memory>

#include "fw/fw_object.h"

class QZSocket;

/// A socket that listens on a port of every address of this host.
///
/// It owns its handle and gives it back to the system once: with CloseServer, or when it goes. One thread at
/// a time, but CloseServer may end an Accept that waits on another thread.
class QZ_API QZSocketServer : public QZObject
{
public:
    static const QZInt64 Type = 0x8310008;

    /// TCP, blocking, limits of 60000 ms, up to 511 connections in waiting.
    explicit QZSocketServer(unsigned short port);
    QZSocketServer(unsigned short port, int sendTimeout, int recvTimeout, unsigned char blocking,
                   int backlog);
    /// @param protocol  of QZSocketProtocol; a datagram socket is bound and does not listen
    /// @throws QZSocketException, with the system's text, 1280 when there is no such socket, 1792 when its
    /// mode
    ///         cannot be set, 2048 when the port cannot be had
    QZSocketServer(unsigned short port, int sendTimeout, int recvTimeout, unsigned char blocking, int backlog,
                   unsigned long long protocol);
    QZSocketServer(const QZSocketServer& other);
    QZSocketServer& operator=(const QZSocketServer& other);
    ~QZSocketServer() override;

    QZInt64 GetType() override;

    /// Takes the next connection: the target gets its handle and its peer's address. The port of that address
    /// is in network order, byte-swapped. On failure nothing happens.
    void Accept(QZSocket* target);

    /// Keeps its value after CloseServer.
    long long GetHandle();

    void CloseServer();

private:
    void Init(unsigned short port, int sendTimeout, int recvTimeout, unsigned char blocking, int backlog,
              unsigned long long protocol);

    long long m_handle = 0;
    QZUInt16 m_port = 0;
    /// Tells all copies that the handle is gone; null before there is one.
    std::shared_ptr<std::atomic<bool>> m_closed;
};

#endif
