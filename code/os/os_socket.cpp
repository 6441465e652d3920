#include "os/os_socket.h"

#include <algorithm>

#include "fw/fw_environment.h"
#include "fw/internal/fw_trace.h"
#include "os/os_ip_address.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_socket.h"

const QZInt64 QZSocket::Type;
int QZSocket::Timeout = 2000;

const QZInt64 QZSocketProtocol::TCP;
const QZInt64 QZSocketProtocol::UDP;

namespace
{

constexpr const QZWChar* kClass = QZ_W("QZSocket");
constexpr const QZWChar* kSend = QZ_W("Send");
constexpr const QZWChar* kRecv = QZ_W("Recv");
constexpr QZInt64 kPiece = 4096;
constexpr int kRetries = 255;

QZInt64 AddressOf(const void* p) { return static_cast<QZInt64>(reinterpret_cast<QZUInt64>(p)); }

/// Adds the trace frame of an operation with a handle argument.
template <typename E>
E* Traced(E* exception, const QZWChar* method, QZInt64 handle, const void* buffer, QZInt64 size)
{
    return QZTrace(exception, kClass, method)
        .Argument(QZ_W("QZInt64"), handle)
        .Argument(QZ_W("QZPVoid"), AddressOf(buffer))
        .Argument(QZ_W("QZInt64"), size)
        .Exception();
}

/// Adds the trace frame of an operation on the socket's own handle.
template <typename E>
E* Traced(E* exception, const QZWChar* method, const void* buffer, QZInt64 size)
{
    return QZTrace(exception, kClass, method)
        .Argument(QZ_W("QZPVoid"), AddressOf(buffer))
        .Argument(QZ_W("QZInt64"), size)
        .Exception();
}

void RequireSize(const QZWChar* method, const void* buffer, QZInt64 size)
{
    if (size < 0)
        throw Traced(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange), method, buffer,
                     size);
}

/// The time limit of one Send while the system has no room.
class Retry
{
public:
    Retry() : m_start(QZEnvironment::GetCurrentTimestamp()) {}

    /// Called after an attempt without room; false when the time is over.
    bool Again()
    {
        if (--m_left > 0) return true;
        if (QZEnvironment::GetCurrentTimestamp() - m_start > QZSocket::Timeout) return false;
        m_left = kRetries;
        return true;
    }

private:
    QZInt64 m_start;
    int m_left = kRetries;
};

}  // namespace

/// The address, locked with the object id of the socket that made it.
struct QZSocket::Peer
{
    explicit Peer(QZUInt64 id) : owner(id) { address.SetDisposable(owner, 0); }
    ~Peer() { address.SetDisposable(owner, 1); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    QZUInt64 owner;
    QZIPAddress address;
};

QZSocket::QZSocket() : QZSocket(0) {}

QZSocket::QZSocket(long long handle) : m_peer(std::make_shared<Peer>(QZObject::GetObjectID()))
{
    QZSocket::SetHandle(handle);
}

QZSocket::QZSocket(const QZSocket& other) = default;
QZSocket& QZSocket::operator=(const QZSocket& other) = default;

// The handle stays open: the socket does not own it.
QZSocket::~QZSocket() = default;

QZInt64 QZSocket::GetType() { return Type; }

long long QZSocket::Send(const void* buffer, long long size)
{
    RequireSize(kSend, buffer, size);
    if (m_handle == 0) return -1;
    try
    {
        if (IsStale()) throw SysErrCodeToException(static_cast<int>(os::kSocketNotASocket));
        return Send(m_handle, buffer, size);
    }
    catch (QZException* e)
    {
        Traced(e, kSend, buffer, size);
        throw;
    }
}

long long QZSocket::Recv(void* buffer, long long size)
{
    RequireSize(kRecv, buffer, size);
    if (m_handle == 0) return -1;
    try
    {
        if (IsStale()) throw SysErrCodeToException(static_cast<int>(os::kSocketNotASocket));
        return Recv(m_handle, buffer, size);
    }
    catch (QZException* e)
    {
        Traced(e, kRecv, buffer, size);
        throw;
    }
}

void QZSocket::Close()
{
    if (m_handle == 0) return;
    CloseHandle();
    m_handle = 0;
}

QZIPAddress* QZSocket::GetIPAddress() { return &m_peer->address; }

long long QZSocket::GetHandle() { return m_handle; }

void QZSocket::SetHandle(long long handle)
{
    m_handle = handle;
    m_closed = handle != 0 ? std::make_shared<bool>(false) : nullptr;
}

void QZSocket::CloseHandle()
{
    if (m_closed == nullptr || *m_closed) return;
    *m_closed = true;
    os::SocketClose(m_handle);
}

bool QZSocket::IsStale() const { return m_closed != nullptr && *m_closed; }

long long QZSocket::Send(long long handle, const void* buffer, long long size)
{
    if (size == 0) return 0;
    Retry retry;
    QZInt64 sent = 0;
    while (sent < size)
    {
        const QZInt64 moved =
            os::SocketSend(handle, static_cast<const char*>(buffer) + sent, std::min(size - sent, kPiece));
        if (moved > 0)
        {
            sent += moved;
            continue;
        }
        QZSocketException* failure;
        if (moved == 0)
        {
            failure =
                QZExceptionFactory::CreateSocketException(QZSocketExceptionCode::SocketErrorConnectionClose);
        }
        else
        {
            const QZUInt32 error = os::LastError();
            const bool noRoom = error == os::kSocketNoBuffers || error == os::kSocketTryAgain;
            if (noRoom && retry.Again()) continue;
            failure =
                noRoom ? QZExceptionFactory::CreateSocketException(QZSocketExceptionCode::SocketErrorTimeout)
                       : SysErrCodeToException(static_cast<int>(error));
        }
        throw Traced(failure, kSend, handle, buffer, size);
    }
    return sent;
}

long long QZSocket::Recv(long long handle, void* buffer, long long size)
{
    if (size == 0) return 0;
    const QZInt64 received = os::SocketReceive(handle, buffer, size);
    if (received > 0) return received;
    if (received == 0)
    {
        throw Traced(
            QZExceptionFactory::CreateSocketException(QZSocketExceptionCode::SocketErrorConnectionClose),
            kRecv, handle, buffer, size);
    }
    const QZUInt32 error = os::LastError();
    if (error == os::kSocketTryAgain) return 0;
    throw Traced(SysErrCodeToException(static_cast<int>(error)), kRecv, handle, buffer, size);
}

QZSocketException* QZSocket::SysErrCodeToException(int code)
{
    using Code = QZSocketExceptionCode;
    switch (code)
    {
        case 10038:
        case 10057: return QZExceptionFactory::CreateSocketException(Code::SocketErrorNotConnect);
        case 10052:
        case 10054: return QZExceptionFactory::CreateSocketException(Code::SocketConnectReset);
        case 10053: return QZExceptionFactory::CreateSocketException(Code::SocketConnectAborted);
        case 10058: return QZExceptionFactory::CreateSocketException(Code::SocketErrorConnectionClose);
        case 10060: return QZExceptionFactory::CreateSocketException(Code::SocketErrorTimeout);
        case 10061: return QZExceptionFactory::CreateSocketException(Code::SocketConnectRefused);
        default: return QZExceptionFactory::CreateSocketException(Code::SystemError, code);
    }
}
