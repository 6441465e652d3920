#ifndef QZLIB_SYS_SOCKET_H
#define QZLIB_SYS_SOCKET_H

/// Start of the socket layer, sockets, addresses of hosts, and sleeps in microseconds, which wait on a
/// socket.
///
/// A socket is the system's own handle, never 0. A number as address is an IPv4 address in network order, as
/// it lies in memory. A function that returns bool returns false with LastError set on failure. LastError
/// then is a number of Windows on both platforms (10054 for a connection that was reset); the gate of the
/// test hooks sets one of these too.

#include "sys/sys_types.h"

namespace os
{

// ---- The socket layer

/// Starts the socket layer. Returns 0, or the system's number of the failure.
int NetStart();
/// Ends the socket layer.
void NetEnd();

// ---- Sleep in microseconds

/// Makes a TCP socket that is never connected; -1 on failure.
QZInt64 SleepSocketOpen();
void SleepSocketClose(QZInt64 socket);
/// Sleeps: waits that long for an exception on the socket. Returns at once when a part is negative.
void SleepSocketWait(QZInt64 socket, int seconds, int microseconds);

// ---- Sockets

enum class SocketKind
{
    Stream,
    Datagram,
};

/// Makes a socket; 0 with LastError set on failure. On Linux child processes do not inherit it.
QZInt64 SocketOpen(SocketKind kind);
/// Closes the socket and ends an accept that waits on it. Fails for 0.
bool SocketClose(QZInt64 socket);
/// Switches between blocking and non-blocking mode.
bool SocketSetBlocking(QZInt64 socket, bool blocking);
/// Set the time limit of one blocking send or receive in milliseconds, 0 for none. Other operations are not
/// limited.
bool SocketSetSendTimeout(QZInt64 socket, QZUInt32 milliseconds);
bool SocketSetReceiveTimeout(QZInt64 socket, QZUInt32 milliseconds);
/// Connects to an address.
bool SocketConnect(QZInt64 socket, QZUInt32 address, QZUInt16 port);
/// Binds to an address of this host, 0 for any; for port 0 the system chooses one. A port on which
/// connections of an earlier listener are still being closed can be bound.
bool SocketBind(QZInt64 socket, QZUInt16 port, QZUInt32 address = 0);
/// Starts to accept connections, at most `backlog` of which wait for SocketAccept.
bool SocketListen(QZInt64 socket, int backlog);
/// Waits for the next connection and returns its socket, which has the blocking mode of the listening socket;
/// 0 with LastError set on failure. *port is in network order, as it lies in memory.
QZInt64 SocketAccept(QZInt64 socket, QZUInt32* address, QZUInt16* port);
/// Sends and returns the number of bytes sent, fewer than `size` when the system has less room; -1 with
/// LastError set on failure.
QZInt64 SocketSend(QZInt64 socket, const void* buffer, QZInt64 size);
/// Receives and returns the number of bytes received, 0 when the peer has ended its stream; -1 with LastError
/// set on failure.
QZInt64 SocketReceive(QZInt64 socket, void* buffer, QZInt64 size);
/// Stores the socket's own address, and its port as a number.
bool SocketLocalName(QZInt64 socket, QZUInt32* address, QZUInt16* port);

enum class SocketSide
{
    Send,  ///< no more sends: the peer reads the end of the stream
    Both,  ///< no more sends and receives: waits on the socket end
};

/// Ends the traffic of a connection. The socket stays open.
bool SocketShutdown(QZInt64 socket, SocketSide side);

/// Lets the system test a silent connection after `time` milliseconds, then every `interval` milliseconds.
/// Connections that a listener accepts inherit the setting. Linux counts in whole seconds, at least 1.
bool SocketKeepAlive(QZInt64 socket, QZUInt32 time, QZUInt32 interval);

/// Sends bytes at once, without waiting until the peer has confirmed the bytes before.
bool SocketNoDelay(QZInt64 socket);

/// While `gather` is on, the system collects bytes until a packet is full; switching it off sends the rest.
/// Does nothing on Windows.
void SocketGather(QZInt64 socket, bool gather);

// ---- Both families of addresses

/// An address of a listener or a peer. IPv4 uses the first four bytes.
struct SocketAddress
{
    unsigned char Bytes[16];
    bool Six;
    /// The interface of a link-local IPv6 address; else 0.
    QZUInt32 Scope;
    /// In network order, as it lies in memory.
    QZUInt16 Port;
};

/// Makes an IPv6 socket for streams; 0 with LastError set on failure. On Linux child processes do not inherit
/// it.
QZInt64 SocketOpenSix();
/// Binds an IPv6 socket to an address of this host; Port is in network order, and with 0 the system chooses
/// one. With `both`, a socket that is bound to "::" also accepts IPv4 clients.
bool SocketBindSix(QZInt64 socket, const SocketAddress& address, bool both);
/// SocketAccept for listeners of both families. The address of an IPv4 client of an IPv6 listener is stored
/// as an IPv4 address.
QZInt64 SocketAcceptAny(QZInt64 socket, SocketAddress* peer);
/// Reads "127.0.0.1" or "::1"; the port and the scope become 0. False when the text is no address.
bool SocketAddressRead(const char* text, SocketAddress* address);
/// Writes the address without its port as text with a terminator. `size` is at least 64.
void SocketAddressWrite(const SocketAddress& address, char* text, int size);

// ---- Addresses of hosts

/// Stores the first IPv4 address of this host's own name.
bool LocalAddress(QZUInt32* address);
/// Stores the first IPv4 address of the host with this UTF-8 name. On failure false, and in *failure the
/// system's text of the failure, or null; free it with ErrorTextFree.
bool HostAddress(const char* name, QZUInt32* address, QZWChar** failure);

}  // namespace os

#endif
