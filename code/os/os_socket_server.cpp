#include "os/os_socket_server.h"

#include "fw/internal/fw_raise.h"
#include "os/os_ip_address.h"
#include "os/os_socket.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_socket.h"

const QZInt64 QZSocketServer::Type;

namespace
{

constexpr int kTimeout = 60000;
constexpr int kBacklog = 511;

}  // namespace

QZSocketServer::QZSocketServer(unsigned short port)
    : QZSocketServer(port, kTimeout, kTimeout, 1, kBacklog, QZSocketProtocol::TCP)
{}

QZSocketServer::QZSocketServer(unsigned short port, int sendTimeout, int recvTimeout, unsigned char blocking,
                               int backlog)
    : QZSocketServer(port, sendTimeout, recvTimeout, blocking, backlog, QZSocketProtocol::TCP)
{}

QZSocketServer::QZSocketServer(unsigned short port, int sendTimeout, int recvTimeout, unsigned char blocking,
                               int backlog, unsigned long long protocol)
{
    Init(port, sendTimeout, recvTimeout, blocking, backlog, protocol);
}

QZSocketServer::QZSocketServer(const QZSocketServer& other) = default;
QZSocketServer& QZSocketServer::operator=(const QZSocketServer& other) = default;

QZSocketServer::~QZSocketServer() { QZSocketServer::CloseServer(); }

QZInt64 QZSocketServer::GetType() { return Type; }

void QZSocketServer::Init(unsigned short port, int sendTimeout, int recvTimeout, unsigned char blocking,
                          int backlog, unsigned long long protocol)
{
    auto fail = [&](QZInt64 code, QZUInt32 error) {
        QZRaise(QZSocketFailure(code, error), QZ_W("QZSocketServer"), QZ_W("Init"))
            .Argument(QZ_W("QZUInt16"), static_cast<int>(port))
            .Argument(QZ_W("QZInt32"), sendTimeout)
            .Argument(QZ_W("QZInt32"), recvTimeout)
            .Argument(QZ_W("QZBool"), static_cast<int>(blocking))
            .Argument(QZ_W("QZInt32"), backlog)
            .Argument(QZ_W("QZUInt64"), static_cast<QZInt64>(protocol))
            .Throw();
    };
    auto closeAndFail = [&](QZInt64 code) {
        const QZUInt32 error = os::LastError();
        CloseServer();
        fail(code, error);
    };

    const bool tcp = protocol == QZSocketProtocol::TCP;
    const bool udp = protocol == QZSocketProtocol::UDP;
    if (!tcp && !udp) fail(QZSocketExceptionCode::SocketErrorInvalidSocket, 0);
    const QZInt64 made = os::SocketOpen(tcp ? os::SocketKind::Stream : os::SocketKind::Datagram);
    if (made == 0) fail(QZSocketExceptionCode::SocketErrorInvalidSocket, os::LastError());
    m_handle = made;
    m_closed = std::make_shared<std::atomic<bool>>(false);

    if (!os::SocketSetBlocking(m_handle, blocking != 0))
        closeAndFail(QZSocketExceptionCode::SocketErrorOnOperation);
    os::SocketSetSendTimeout(m_handle, static_cast<QZUInt32>(sendTimeout));
    os::SocketSetReceiveTimeout(m_handle, static_cast<QZUInt32>(recvTimeout));
    if (!os::SocketBind(m_handle, port)) closeAndFail(QZSocketExceptionCode::SocketBindFailed);
    // A failure to listen is not reported; such a server accepts no connection.
    if (tcp) os::SocketListen(m_handle, backlog);
    m_port = port;
}

void QZSocketServer::Accept(QZSocket* target)
{
    if (m_closed == nullptr || *m_closed) return;
    QZUInt32 address = 0;
    QZUInt16 port = 0;
    const QZInt64 handle = os::SocketAccept(m_handle, &address, &port);
    if (handle == 0) return;
    target->SetHandle(handle);
    target->GetIPAddress()->SetValue(address);
    // The port stays in network order: callers swap its bytes.
    target->GetIPAddress()->SetThePort(port);
}

long long QZSocketServer::GetHandle() { return m_handle; }

void QZSocketServer::CloseServer()
{
    // The field keeps its value; the handle is closed once.
    if (m_closed == nullptr || m_closed->exchange(true)) return;
    os::SocketClose(m_handle);
}
