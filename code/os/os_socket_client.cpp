#include "os/os_socket_client.h"

#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_trace.h"
#include "os/os_ip_address.h"
#include "sys/internal/sys_socket.h"

const QZInt64 QZSocketClient::Type;
const int QZSocketClient::DefaultTimeout;

namespace
{

constexpr const QZWChar* kClass = QZ_W("QZSocketClient");

QZInt64 AddressOf(const void* p) { return static_cast<QZInt64>(reinterpret_cast<QZUInt64>(p)); }

void Trace(QZException* exception, const QZWChar* method, const void* buffer, QZInt64 size)
{
    QZTrace(exception, kClass, method)
        .Argument(QZ_W("QZPVoid"), AddressOf(buffer))
        .Argument(QZ_W("QZInt64"), size);
}

}  // namespace

QZSocketClient::QZSocketClient() = default;
QZSocketClient::QZSocketClient(const QZSocketClient& other) = default;
QZSocketClient& QZSocketClient::operator=(const QZSocketClient& other) = default;

QZSocketClient::~QZSocketClient()
{
    if (m_handle != 0) CloseHandle();
}

QZInt64 QZSocketClient::GetType() { return Type; }

long long QZSocketClient::Send(const void* buffer, long long size)
{
    try
    {
        return QZSocket::Send(buffer, size);
    }
    catch (QZException* e)
    {
        Trace(e, QZ_W("Send"), buffer, size);
        throw;
    }
}

long long QZSocketClient::Recv(void* buffer, long long size)
{
    try
    {
        return QZSocket::Recv(buffer, size);
    }
    catch (QZException* e)
    {
        Trace(e, QZ_W("Recv"), buffer, size);
        throw;
    }
}

void QZSocketClient::Close()
{
    CloseHandle();
    m_handle = 0;
}

long long QZSocketClient::GetHandle() { return QZSocket::GetHandle(); }

void QZSocketClient::Connect(QZIPAddress* address, unsigned short port, int sendTimeout, int recvTimeout,
                             unsigned char blocking, unsigned long long protocol)
{
    if (m_handle != 0) Close();
    Init(address, port, sendTimeout, recvTimeout, blocking, protocol);
}

void QZSocketClient::Connect(QZIPAddress* address, unsigned short port, int sendTimeout, int recvTimeout,
                             unsigned char blocking)
{
    if (m_handle != 0) Close();
    Init(address, port, sendTimeout, recvTimeout, blocking, QZSocketProtocol::TCP);
}

void QZSocketClient::Connect(QZIPAddress* address)
{
    if (m_handle != 0) Close();
    Init(address, address->GetThePort(), DefaultTimeout, DefaultTimeout, 1, QZSocketProtocol::TCP);
}

void QZSocketClient::Connect(QZIPAddress* address, unsigned short port)
{
    if (m_handle != 0) Close();
    Init(address, port, DefaultTimeout, DefaultTimeout, 1, QZSocketProtocol::TCP);
}

void QZSocketClient::SetTimeout(long long ms)
{
    if (IsStale()) return;
    os::SocketSetSendTimeout(m_handle, static_cast<QZUInt32>(ms));
    os::SocketSetReceiveTimeout(m_handle, static_cast<QZUInt32>(ms));
}

void QZSocketClient::Init(QZIPAddress* address, unsigned short port, int sendTimeout, int recvTimeout,
                          unsigned char blocking, unsigned long long protocol)
{
    auto fail = [&](QZInt64 code) {
        QZRaise(QZSocketFailure(code), kClass, QZ_W("Init"))
            .Argument(QZ_W("QZIPAddress*"), AddressOf(address))
            .Argument(QZ_W("QZUInt16"), static_cast<int>(port))
            .Argument(QZ_W("QZInt32"), sendTimeout)
            .Argument(QZ_W("QZInt32"), recvTimeout)
            .Argument(QZ_W("QZBool"), static_cast<int>(blocking))
            .Argument(QZ_W("QZUInt64"), static_cast<QZInt64>(protocol))
            .Throw();
    };
    // After a failure the field keeps the closed handle; callers read it there.
    auto closeAndFail = [&](QZInt64 code) {
        CloseHandle();
        fail(code);
    };

    const bool tcp = protocol == QZSocketProtocol::TCP;
    const bool udp = protocol == QZSocketProtocol::UDP;
    const QZInt64 made =
        tcp || udp ? os::SocketOpen(tcp ? os::SocketKind::Stream : os::SocketKind::Datagram) : 0;
    if (made == 0) fail(QZSocketExceptionCode::SocketErrorInvalidSocket);
    QZSocket::SetHandle(made);

    if (!os::SocketSetBlocking(m_handle, blocking != 0))
        closeAndFail(QZSocketExceptionCode::SocketErrorOnOperation);
    os::SocketSetSendTimeout(m_handle, static_cast<QZUInt32>(sendTimeout));
    os::SocketSetReceiveTimeout(m_handle, static_cast<QZUInt32>(recvTimeout));

    if (udp) return;
    if (!tcp) closeAndFail(QZSocketExceptionCode::SocketErrorInvalidProtocol);
    // A connection that is not made at once counts as failed, also on a non-blocking socket.
    if (!os::SocketConnect(m_handle, address->ToUInt32(), port))
        closeAndFail(QZSocketExceptionCode::SocketConnectFailed);
}
