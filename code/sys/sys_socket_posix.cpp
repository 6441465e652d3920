#include <arpa/inet.h>
#include <fcntl.h>
#include <limits.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_posix.h"
#include "sys/internal/sys_socket.h"
#include "sys/internal/sys_thread.h"

namespace os
{

namespace
{

// The handle is the descriptor itself, so that hosts can pass sockets of their own. 0 is no handle.
int DescriptorOf(QZInt64 socket) { return socket > 0 && socket <= INT_MAX ? static_cast<int>(socket) : -1; }

bool Failed()
{
    errno = static_cast<int>(SocketNumberOf(errno));
    return false;
}

bool Succeeded(int result) { return result == 0 || Failed(); }

// Replaces a descriptor 0 by another one.
QZInt64 HandleOf(int descriptor)
{
    if (descriptor == 0)
    {
        descriptor = fcntl(0, F_DUPFD_CLOEXEC, 1);
        int error = errno;
        close(0);
        errno = error;
    }
    if (descriptor < 0)
    {
        Failed();
        return 0;
    }
    return descriptor;
}

sockaddr_in NameOf(QZUInt32 address, QZUInt16 port)
{
    sockaddr_in name = {};
    name.sin_family = AF_INET;
    name.sin_addr.s_addr = address;
    name.sin_port = htons(port);
    return name;
}

/// Stores the address of a peer of either family.
void Store(const sockaddr_storage& name, SocketAddress* address)
{
    *address = {};
    if (name.ss_family != AF_INET6)
    {
        sockaddr_in four;
        std::memcpy(&four, &name, sizeof(four));
        std::memcpy(address->Bytes, &four.sin_addr, 4);
        address->Port = four.sin_port;
        return;
    }
    sockaddr_in6 six;
    std::memcpy(&six, &name, sizeof(six));
    address->Port = six.sin6_port;
    if (IN6_IS_ADDR_V4MAPPED(&six.sin6_addr))
    {
        std::memcpy(address->Bytes, six.sin6_addr.s6_addr + 12, 4);
        return;
    }
    std::memcpy(address->Bytes, &six.sin6_addr, 16);
    address->Six = true;
    address->Scope = six.sin6_scope_id;
}

bool Blocks(int descriptor)
{
    int flags = fcntl(descriptor, F_GETFL);
    return flags >= 0 && (flags & O_NONBLOCK) == 0;
}

int WaitFor(int descriptor, short events)
{
    pollfd wait = {descriptor, events, 0};
    int result;
    do result = poll(&wait, 1, -1);
    while (result < 0 && errno == EINTR);
    return result;
}

bool SetTimeout(QZInt64 socket, int option, QZUInt32 milliseconds)
{
    timeval time;
    time.tv_sec = milliseconds / 1000;
    time.tv_usec = static_cast<suseconds_t>(milliseconds % 1000) * 1000;
    return Succeeded(setsockopt(DescriptorOf(socket), SOL_SOCKET, option, &time, sizeof(time)));
}

/// Connecting has no time limit here, but the system applies the send limit to it. This removes the limit for
/// a scope.
class NoSendLimit
{
public:
    explicit NoSendLimit(int descriptor) : m_descriptor(descriptor)
    {
        socklen_t size = sizeof(m_time);
        m_known = getsockopt(m_descriptor, SOL_SOCKET, SO_SNDTIMEO, &m_time, &size) == 0;
        if (m_known) Set(timeval{});
    }
    ~NoSendLimit()
    {
        int error = errno;
        if (m_known) Set(m_time);
        errno = error;
    }
    NoSendLimit(const NoSendLimit&) = delete;
    NoSendLimit& operator=(const NoSendLimit&) = delete;

private:
    void Set(timeval time) { setsockopt(m_descriptor, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof(time)); }

    int m_descriptor;
    bool m_known;
    timeval m_time = {};
};

// After an interruption the connection is still being made; this waits for its result.
bool ConnectEnd(int descriptor)
{
    if (WaitFor(descriptor, POLLOUT) < 0) return false;
    int error = 0;
    socklen_t size = sizeof(error);
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return false;
    errno = error;
    return error == 0;
}

// On a blocking socket "try again" means a timeout.
QZInt64 Moved(int descriptor, ssize_t count)
{
    if (count >= 0) return count;
    Failed();
    if (static_cast<QZUInt32>(errno) == kSocketTryAgain && Blocks(descriptor))
        errno = static_cast<int>(SocketNumberOf(ETIMEDOUT));
    return -1;
}

bool SizeFits(QZInt64 size)
{
    if (size < 0) errno = static_cast<int>(kSocketBadAddress);
    return size >= 0;
}

}  // namespace

// ---- The socket layer, and sleep in microseconds

int NetStart()
{
    if (!Gate(Op::NetStart)) return static_cast<int>(LastError());
    return 0;
}

void NetEnd() {}

QZInt64 SleepSocketOpen() { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP); }

void SleepSocketClose(QZInt64 socket)
{
    if (socket >= 0) close(static_cast<int>(socket));
}

void SleepSocketWait(QZInt64 socket, int seconds, int microseconds)
{
    ThreadGate();
    Notify(Event::SleepMicro, static_cast<QZInt64>(seconds) * 1000000 + microseconds);
    fd_set exceptions;
    FD_ZERO(&exceptions);
    // The set is not used: with a first argument of 0 the system does not read it.
    if (socket >= 0 && socket < FD_SETSIZE) FD_SET(static_cast<int>(socket), &exceptions);
    timeval time;
    time.tv_sec = seconds;
    time.tv_usec = microseconds;
    select(0, nullptr, nullptr, &exceptions, &time);
    ThreadGate();
}

// ---- Sockets

QZInt64 SocketOpen(SocketKind kind)
{
    if (!Gate(Op::Socket)) return 0;
    bool stream = kind == SocketKind::Stream;
    return HandleOf(socket(AF_INET, (stream ? SOCK_STREAM : SOCK_DGRAM) | SOCK_CLOEXEC,
                           stream ? IPPROTO_TCP : IPPROTO_UDP));
}

bool SocketClose(QZInt64 socket)
{
    int descriptor = DescriptorOf(socket);
    int listens = 0;
    socklen_t size = sizeof(listens);
    if (getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) != 0) return Failed();
    // A close alone would not end a waiting accept.
    if (listens != 0) shutdown(descriptor, SHUT_RDWR);
    PortDetach(socket);
    Notify(Event::HandleClose, socket);
    return Succeeded(close(descriptor));
}

bool SocketSetBlocking(QZInt64 socket, bool blocking)
{
    if (!Gate(Op::Socket)) return false;
    int descriptor = DescriptorOf(socket);
    int flags = fcntl(descriptor, F_GETFL);
    if (flags < 0) return Failed();
    return Succeeded(fcntl(descriptor, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK));
}

bool SocketSetSendTimeout(QZInt64 socket, QZUInt32 milliseconds)
{
    return SetTimeout(socket, SO_SNDTIMEO, milliseconds);
}

bool SocketSetReceiveTimeout(QZInt64 socket, QZUInt32 milliseconds)
{
    return SetTimeout(socket, SO_RCVTIMEO, milliseconds);
}

bool SocketConnect(QZInt64 socket, QZUInt32 address, QZUInt16 port)
{
    if (!Gate(Op::Socket)) return false;
    int descriptor = DescriptorOf(socket);
    sockaddr_in name = NameOf(address, port);
    NoSendLimit unlimited(descriptor);
    if (connect(descriptor, reinterpret_cast<sockaddr*>(&name), sizeof(name)) == 0) return true;
    if (errno == EINTR && ConnectEnd(descriptor)) return true;
    return Failed();
}

bool SocketBind(QZInt64 socket, QZUInt16 port, QZUInt32 address)
{
    if (!Gate(Op::Socket)) return false;
    int descriptor = DescriptorOf(socket);
    int type = 0;
    socklen_t size = sizeof(type);
    // For datagrams the option would let two sockets share the port.
    if (getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM)
    {
        int on = 1;
        setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    }
    sockaddr_in name = NameOf(address, port);
    return Succeeded(bind(descriptor, reinterpret_cast<sockaddr*>(&name), sizeof(name)));
}

bool SocketListen(QZInt64 socket, int backlog)
{
    if (!Gate(Op::Socket)) return false;
    return Succeeded(listen(DescriptorOf(socket), backlog));
}

namespace
{

/// Waits for the next connection. Returns its descriptor, or -1 with errno set.
int AcceptInto(int descriptor, sockaddr_storage* name)
{
    const bool blocks = Blocks(descriptor);
    int made;
    do {
        socklen_t size = sizeof(*name);
        made = accept4(descriptor, reinterpret_cast<sockaddr*>(name), &size,
                       SOCK_CLOEXEC | (blocks ? 0 : SOCK_NONBLOCK));
        // A time limit of the listener is for its connections, not for accept.
    } while (made < 0 && (errno == EINTR || (errno == EAGAIN && blocks)));
    return made;
}

}  // namespace

QZInt64 SocketAccept(QZInt64 socket, QZUInt32* address, QZUInt16* port)
{
    if (!Gate(Op::Socket)) return 0;
    sockaddr_storage any = {};
    const QZInt64 result = HandleOf(AcceptInto(DescriptorOf(socket), &any));
    if (result == 0) return 0;
    sockaddr_in name;
    std::memcpy(&name, &any, sizeof(name));
    *address = name.sin_addr.s_addr;
    *port = name.sin_port;
    return result;
}

QZInt64 SocketSend(QZInt64 socket, const void* buffer, QZInt64 size)
{
    if (!Gate(Op::SocketSend, &size)) return -1;
    if (!SizeFits(size)) return -1;
    int descriptor = DescriptorOf(socket);
    ssize_t count;
    do count = send(descriptor, buffer, static_cast<size_t>(std::min<QZInt64>(size, INT_MAX)), MSG_NOSIGNAL);
    while (count < 0 && errno == EINTR);
    // The socket is not connected and the call names no destination.
    if (count < 0 && errno == EDESTADDRREQ) errno = ENOTCONN;
    return Moved(descriptor, count);
}

QZInt64 SocketReceive(QZInt64 socket, void* buffer, QZInt64 size)
{
    if (!Gate(Op::SocketReceive, &size)) return -1;
    if (!SizeFits(size)) return -1;
    int descriptor = DescriptorOf(socket);
    ssize_t count;
    do count = recv(descriptor, buffer, static_cast<size_t>(std::min<QZInt64>(size, INT_MAX)), 0);
    while (count < 0 && errno == EINTR);
    return Moved(descriptor, count);
}

bool SocketLocalName(QZInt64 socket, QZUInt32* address, QZUInt16* port)
{
    sockaddr_storage any = {};
    socklen_t size = sizeof(any);
    if (getsockname(DescriptorOf(socket), reinterpret_cast<sockaddr*>(&any), &size) != 0) return Failed();
    // The port lies at the same place in the addresses of both families.
    sockaddr_in name;
    std::memcpy(&name, &any, sizeof(name));
    *address = name.sin_addr.s_addr;
    *port = ntohs(name.sin_port);
    return true;
}

bool SocketShutdown(QZInt64 socket, SocketSide side)
{
    return Succeeded(shutdown(DescriptorOf(socket), side == SocketSide::Send ? SHUT_WR : SHUT_RDWR));
}

bool SocketKeepAlive(QZInt64 socket, QZUInt32 time, QZUInt32 interval)
{
    if (!Gate(Op::Socket)) return false;
    int descriptor = DescriptorOf(socket);
    int on = 1;
    int idle = static_cast<int>(std::max<QZUInt32>((time + 999) / 1000, 1));
    int between = static_cast<int>(std::max<QZUInt32>((interval + 999) / 1000, 1));
    return Succeeded(setsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on))) &&
           Succeeded(setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, &idle, sizeof(idle))) &&
           Succeeded(setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, &between, sizeof(between)));
}

bool SocketNoDelay(QZInt64 socket)
{
    int on = 1;
    return Succeeded(setsockopt(DescriptorOf(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)));
}

void SocketGather(QZInt64 socket, bool gather)
{
    int on = gather ? 1 : 0;
    setsockopt(DescriptorOf(socket), IPPROTO_TCP, TCP_CORK, &on, sizeof(on));
}

// ---- Both families of addresses

QZInt64 SocketOpenSix()
{
    if (!Gate(Op::Socket)) return 0;
    return HandleOf(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP));
}

bool SocketBindSix(QZInt64 socket, const SocketAddress& address, bool both)
{
    if (!Gate(Op::Socket)) return false;
    const int descriptor = DescriptorOf(socket);
    const int on = 1;
    const int sixOnly = both ? 0 : 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (setsockopt(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, &sixOnly, sizeof(sixOnly)) != 0) return Failed();
    sockaddr_in6 name = {};
    name.sin6_family = AF_INET6;
    name.sin6_port = address.Port;
    name.sin6_scope_id = address.Scope;
    std::memcpy(&name.sin6_addr, address.Bytes, sizeof(name.sin6_addr));
    return Succeeded(bind(descriptor, reinterpret_cast<sockaddr*>(&name), sizeof(name)));
}

QZInt64 SocketAcceptAny(QZInt64 socket, SocketAddress* peer)
{
    if (!Gate(Op::Socket)) return 0;
    sockaddr_storage name = {};
    const QZInt64 result = HandleOf(AcceptInto(DescriptorOf(socket), &name));
    if (result != 0) Store(name, peer);
    return result;
}

bool SocketAddressRead(const char* text, SocketAddress* address)
{
    *address = {};
    if (inet_pton(AF_INET, text, address->Bytes) == 1) return true;
    address->Six = inet_pton(AF_INET6, text, address->Bytes) == 1;
    return address->Six;
}

void SocketAddressWrite(const SocketAddress& address, char* text, int size)
{
    if (inet_ntop(address.Six ? AF_INET6 : AF_INET, address.Bytes, text, static_cast<socklen_t>(size)) ==
        nullptr)
        text[0] = 0;
}

// ---- Addresses of hosts

bool LocalAddress(QZUInt32* address)
{
    if (!Gate(Op::System)) return false;
    TerminationHold hold;
    char name[256] = {};
    if (gethostname(name, sizeof(name) - 1) != 0) return false;
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(name, nullptr, &hints, &found) != 0 || found == nullptr)
    {
        errno = ENOENT;
        return false;
    }
    sockaddr_in first;
    std::memcpy(&first, found->ai_addr, sizeof(first));
    std::memcpy(address, &first.sin_addr, sizeof(*address));
    freeaddrinfo(found);
    return true;
}

bool HostAddress(const char* name, QZUInt32* address, QZWChar** failure)
{
    *failure = nullptr;
    if (!Gate(Op::System))
    {
        ErrorText(LastError(), failure);
        return false;
    }
    TerminationHold hold;
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(name, nullptr, &hints, &found);
    if (error != 0 || found == nullptr)
    {
        const char* text = gai_strerror(error);
        const size_t length = std::strlen(text);
        *failure = static_cast<QZWChar*>(std::malloc((length + 1) * sizeof(QZWChar)));
        for (size_t i = 0; *failure != nullptr && i <= length; ++i)
            (*failure)[i] = static_cast<unsigned char>(text[i]);
        return false;
    }
    sockaddr_in first;
    std::memcpy(&first, found->ai_addr, sizeof(first));
    std::memcpy(address, &first.sin_addr, sizeof(*address));
    freeaddrinfo(found);
    return true;
}

}  // namespace os
