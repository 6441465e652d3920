#ifndef QZLIB_SYS_SOCKET_H
#define QZLIB_SYS_SOCKET_H

/// The start of the socket layer, IPv4 sockets, the addresses of hosts, and the sleep in microseconds that a
/// socket gives.

#include "sys/sys_types.h"

namespace os
{

// ---- The socket layer

/// Starts the socket layer; 0 or the system's number.
int NetStart();
void NetEnd();

// ---- Sleep in microseconds

/// A TCP socket over IPv4 that is never connected; -1 on failure.
QZInt64 SleepSocketOpen();
void SleepSocketClose(QZInt64 socket);
/// Waits that long for an exception on the sleeping socket. A negative part returns at once.
void SleepSocketWait(QZInt64 socket, int seconds, int microseconds);

// ---- Sockets

/// IPv4 sockets. Their failures have one set of numbers on both platforms, that of Windows (10054 for a
/// connection that was reset), which is what LastError then answers; a number given by a test's gate counts
/// as one of these. Addresses are in network order as they lie in memory. The handle is the system's own,
/// never 0.

enum class SocketKind
{
    Stream,
    Datagram,
};

/// A new socket, nobody's child inherits it on Linux; 0 on failure.
QZInt64 SocketOpen(SocketKind kind);
/// Gives the socket back and ends an accept that waits on it. 0 is no socket and fails.
bool SocketClose(QZInt64 socket);
bool SocketSetBlocking(QZInt64 socket, bool blocking);
/// Limits of one blocking send and receive in ms, 0 for none. They hold for no other operation.
bool SocketSetSendTimeout(QZInt64 socket, QZUInt32 milliseconds);
bool SocketSetReceiveTimeout(QZInt64 socket, QZUInt32 milliseconds);
bool SocketConnect(QZInt64 socket, QZUInt32 address, QZUInt16 port);
/// Binds to an address of this host, 0 for any; port 0 lets the system choose. A port that a connection of an
/// earlier listener still lingers on can be bound.
bool SocketBind(QZInt64 socket, QZUInt16 port, QZUInt32 address = 0);
bool SocketListen(QZInt64 socket, int backlog);
/// The next connection, which blocks or not like the socket that listens; 0 on failure. *port is in network
/// order as it lies in memory.
QZInt64 SocketAccept(QZInt64 socket, QZUInt32* address, QZUInt16* port);
/// Bytes that went, fewer than asked for when there is less room; -1 on failure.
QZInt64 SocketSend(QZInt64 socket, const void* buffer, QZInt64 size);
/// Bytes that came, 0 when the peer has ended its stream; -1 on failure.
QZInt64 SocketReceive(QZInt64 socket, void* buffer, QZInt64 size);
/// The socket's own address and port, the port as a number.
bool SocketLocalName(QZInt64 socket, QZUInt32* address, QZUInt16* port);

enum class SocketSide
{
    Send,  ///< the peer reads the end of the stream
    Both,  ///< and what waits on the socket ends too
};

/// Ends traffic on a connection; the handle stays.
bool SocketShutdown(QZInt64 socket, SocketSide side);

/// Has the system test silent connections, those that a listener accepts among them: after `time` ms of
/// silence, then every `interval` ms. Linux counts in whole seconds, at least 1.
bool SocketKeepAlive(QZInt64 socket, QZUInt32 time, QZUInt32 interval);

/// Bytes go out as they are sent, without waiting for those before to be confirmed.
bool SocketNoDelay(QZInt64 socket);

/// While `gather` is on, bytes wait for more until a packet is full; off sends what is left. Nothing where
/// the platform has no such switch.
void SocketGather(QZInt64 socket, bool gather);

// ---- Addresses of hosts

/// The first IPv4 address of this host's own name, in network order as it lies in memory.
bool LocalAddress(QZUInt32* address);
/// The first IPv4 address of a host by its UTF-8 name, in network order as it lies in memory. On failure
/// false and the system's text of it in *failure, given back with ErrorTextFree; null where it has none.
bool HostAddress(const char* name, QZUInt32* address, QZWChar** failure);

}  // namespace os

#endif
