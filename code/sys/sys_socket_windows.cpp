#include <winsock2.h>

#include <ws2tcpip.h>

#include <mstcpip.h>
#include <windows.h>

#include <algorithm>
#include <climits>

#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_socket.h"
#include "sys/internal/sys_thread.h"

namespace os
{

namespace
{

// 0 is no handle.
SOCKET ToSocket(QZInt64 value) { return value != 0 ? static_cast<SOCKET>(value) : INVALID_SOCKET; }

QZInt64 ToNumber(SOCKET socket) { return socket == INVALID_SOCKET ? 0 : static_cast<QZInt64>(socket); }

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
        memcpy(&four, &name, sizeof(four));
        memcpy(address->Bytes, &four.sin_addr, 4);
        address->Port = four.sin_port;
        return;
    }
    sockaddr_in6 six;
    memcpy(&six, &name, sizeof(six));
    address->Port = six.sin6_port;
    if (IN6_IS_ADDR_V4MAPPED(&six.sin6_addr))
    {
        memcpy(address->Bytes, six.sin6_addr.s6_addr + 12, 4);
        return;
    }
    memcpy(address->Bytes, &six.sin6_addr, 16);
    address->Six = true;
    address->Scope = six.sin6_scope_id;
}

bool SetTimeout(QZInt64 socket, int option, QZUInt32 milliseconds)
{
    DWORD time = milliseconds;
    return setsockopt(ToSocket(socket), SOL_SOCKET, option, reinterpret_cast<const char*>(&time),
                      sizeof(time)) == 0;
}

bool SizeFits(QZInt64 size)
{
    if (size < 0) WSASetLastError(WSAEFAULT);
    return size >= 0;
}

int Limited(QZInt64 size) { return static_cast<int>(std::min<QZInt64>(size, INT_MAX)); }

}  // namespace

// ---- The socket layer, and sleep in microseconds

int NetStart()
{
    if (!Gate(Op::NetStart)) return static_cast<int>(LastError());
    WSADATA data = {};
    return WSAStartup(MAKEWORD(2, 2), &data);
}

void NetEnd() { WSACleanup(); }

QZInt64 SleepSocketOpen()
{
    SOCKET made = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    return made == INVALID_SOCKET ? -1 : static_cast<QZInt64>(made);
}

void SleepSocketClose(QZInt64 socket)
{
    if (socket >= 0) closesocket(static_cast<SOCKET>(socket));
}

void SleepSocketWait(QZInt64 socket, int seconds, int microseconds)
{
    ThreadGate();
    Notify(Event::SleepMicro, static_cast<QZInt64>(seconds) * 1000000 + microseconds);
    fd_set exceptions;
    exceptions.fd_count = 1;
    exceptions.fd_array[0] = static_cast<SOCKET>(socket);
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
    return ToNumber(socket(AF_INET, stream ? SOCK_STREAM : SOCK_DGRAM, stream ? IPPROTO_TCP : IPPROTO_UDP));
}

bool SocketClose(QZInt64 socket)
{
    PortDetach(socket);
    if (closesocket(ToSocket(socket)) != 0) return false;
    Notify(Event::HandleClose, socket);
    return true;
}

bool SocketSetBlocking(QZInt64 socket, bool blocking)
{
    if (!Gate(Op::Socket)) return false;
    u_long mode = blocking ? 0 : 1;
    return ioctlsocket(ToSocket(socket), FIONBIO, &mode) == 0;
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
    sockaddr_in name = NameOf(address, port);
    return connect(ToSocket(socket), reinterpret_cast<sockaddr*>(&name), sizeof(name)) == 0;
}

bool SocketBind(QZInt64 socket, QZUInt16 port, QZUInt32 address)
{
    if (!Gate(Op::Socket)) return false;
    sockaddr_in name = NameOf(address, port);
    return bind(ToSocket(socket), reinterpret_cast<sockaddr*>(&name), sizeof(name)) == 0;
}

bool SocketListen(QZInt64 socket, int backlog)
{
    if (!Gate(Op::Socket)) return false;
    return listen(ToSocket(socket), backlog) == 0;
}

QZInt64 SocketAccept(QZInt64 socket, QZUInt32* address, QZUInt16* port)
{
    if (!Gate(Op::Socket)) return 0;
    sockaddr_in name = {};
    int size = sizeof(name);
    QZInt64 result = ToNumber(accept(ToSocket(socket), reinterpret_cast<sockaddr*>(&name), &size));
    if (result == 0) return 0;
    *address = name.sin_addr.s_addr;
    *port = name.sin_port;
    return result;
}

QZInt64 SocketSend(QZInt64 socket, const void* buffer, QZInt64 size)
{
    if (!Gate(Op::SocketSend, &size)) return -1;
    if (!SizeFits(size)) return -1;
    return send(ToSocket(socket), static_cast<const char*>(buffer), Limited(size), 0);
}

QZInt64 SocketReceive(QZInt64 socket, void* buffer, QZInt64 size)
{
    if (!Gate(Op::SocketReceive, &size)) return -1;
    if (!SizeFits(size)) return -1;
    return recv(ToSocket(socket), static_cast<char*>(buffer), Limited(size), 0);
}

bool SocketLocalName(QZInt64 socket, QZUInt32* address, QZUInt16* port)
{
    sockaddr_storage any = {};
    int size = sizeof(any);
    if (getsockname(ToSocket(socket), reinterpret_cast<sockaddr*>(&any), &size) != 0) return false;
    // The port lies at the same place in the addresses of both families.
    sockaddr_in name;
    memcpy(&name, &any, sizeof(name));
    *address = name.sin_addr.s_addr;
    *port = ntohs(name.sin_port);
    return true;
}

bool SocketShutdown(QZInt64 socket, SocketSide side)
{
    if (side == SocketSide::Send) return shutdown(ToSocket(socket), SD_SEND) == 0;
    const bool done = shutdown(ToSocket(socket), SD_BOTH) == 0;
    // Calls that wait already do not notice the shutdown by themselves.
    CancelIoEx(reinterpret_cast<HANDLE>(ToSocket(socket)), nullptr);
    return done;
}

bool SocketKeepAlive(QZInt64 socket, QZUInt32 time, QZUInt32 interval)
{
    if (!Gate(Op::Socket)) return false;
    tcp_keepalive values = {1, time, interval};
    DWORD answered = 0;
    return WSAIoctl(ToSocket(socket), SIO_KEEPALIVE_VALS, &values, sizeof(values), nullptr, 0, &answered,
                    nullptr, nullptr) == 0;
}

bool SocketNoDelay(QZInt64 socket)
{
    BOOL on = TRUE;
    return setsockopt(ToSocket(socket), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on),
                      sizeof(on)) == 0;
}

void SocketGather(QZInt64, bool) {}

// ---- Both families of addresses

QZInt64 SocketOpenSix()
{
    if (!Gate(Op::Socket)) return 0;
    return ToNumber(socket(AF_INET6, SOCK_STREAM, IPPROTO_TCP));
}

bool SocketBindSix(QZInt64 socket, const SocketAddress& address, bool both)
{
    if (!Gate(Op::Socket)) return false;
    const DWORD sixOnly = both ? 0 : 1;
    if (setsockopt(ToSocket(socket), IPPROTO_IPV6, IPV6_V6ONLY, reinterpret_cast<const char*>(&sixOnly),
                   sizeof(sixOnly)) != 0)
        return false;
    sockaddr_in6 name = {};
    name.sin6_family = AF_INET6;
    name.sin6_port = address.Port;
    name.sin6_scope_id = address.Scope;
    memcpy(&name.sin6_addr, address.Bytes, sizeof(name.sin6_addr));
    return bind(ToSocket(socket), reinterpret_cast<sockaddr*>(&name), sizeof(name)) == 0;
}

QZInt64 SocketAcceptAny(QZInt64 socket, SocketAddress* peer)
{
    if (!Gate(Op::Socket)) return 0;
    sockaddr_storage name = {};
    int size = sizeof(name);
    const QZInt64 result = ToNumber(accept(ToSocket(socket), reinterpret_cast<sockaddr*>(&name), &size));
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
    if (inet_ntop(address.Six ? AF_INET6 : AF_INET, address.Bytes, text, static_cast<size_t>(size)) ==
        nullptr)
        text[0] = 0;
}

// ---- Addresses of hosts

bool LocalAddress(QZUInt32* address)
{
    if (!Gate(Op::System)) return false;
    char name[256] = {};
    if (gethostname(name, sizeof(name) - 1) != 0) return false;
    const hostent* host = gethostbyname(name);
    if (host == nullptr || host->h_addrtype != AF_INET || host->h_addr_list[0] == nullptr) return false;
    memcpy(address, host->h_addr_list[0], sizeof(*address));
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
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(name, nullptr, &hints, &found);
    if (error != 0 || found == nullptr)
    {
        ErrorText(static_cast<QZUInt32>(error), failure);
        return false;
    }
    sockaddr_in first;
    memcpy(&first, found->ai_addr, sizeof(first));
    memcpy(address, &first.sin_addr, sizeof(*address));
    freeaddrinfo(found);
    return true;
}

}  // namespace os
