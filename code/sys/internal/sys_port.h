#ifndef QZLIB_SYS_PORT_H
#define QZLIB_SYS_PORT_H

/// The completion port: receives that complete on whichever thread waits.

#include <cstddef>

#include "sys/sys_types.h"

namespace os
{

/// Receives that complete on whichever thread waits. Sockets are associated with a port under a key; on each
/// at most one receive is outstanding; its completion reaches one waiter, with the bytes and the key. A peer
/// that has ended its stream completes with 0 bytes, a connection that broke fails with its key.

// The layout of a receive block, in bytes: the platform's part at the front, where the received bytes begin,
// how many there is room for, and the size of the whole block.
inline constexpr std::size_t kPortSystemSize = 32;
inline constexpr std::size_t kPortDataOffset = 60;
inline constexpr std::size_t kPortDataSize = 131072;
inline constexpr std::size_t kPortBlockSize = 131136;

/// One receive: the buffer and what the platform keeps beside it. The layout is that of the Windows calls;
/// Offset belongs to the owner. Zero it before the first use, then set Length and Buffer.
struct PortBlock
{
    unsigned char System[kPortSystemSize];
    QZUInt32 Length;  ///< bytes that Buffer takes
    void* Buffer;
    QZUInt32 Received;  ///< the platform's note
    QZUInt32 Offset;
    QZUInt32 Flags;
    unsigned char Data[kPortDataSize];
};

static_assert(sizeof(PortBlock) == kPortBlockSize && offsetof(PortBlock, Data) == kPortDataOffset);

struct PortCompletion
{
    QZInt64 Key;
    QZUInt32 Bytes;
};

/// A new port, on Windows for that many threads that run at a time; 0 on failure.
QZInt64 PortOpen(int concurrency);
/// Ends every wait at once, and fails those to come. Sockets stay associated with nothing.
bool PortClose(QZInt64 port);
/// Once in the life of a socket.
bool PortAssociate(QZInt64 port, QZInt64 socket, QZInt64 key);
/// Starts a receive on an associated socket. The block stays the platform's until the completion came, or
/// until the socket is closed: then nothing more is told of it.
bool PortReceive(QZInt64 socket, PortBlock* block);
/// The next completion. False with *completion as it was on time-out and for a closed port; false with Key
/// and 0 Bytes for a receive that failed.
bool PortWait(QZInt64 port, QZUInt32 milliseconds, PortCompletion* completion);
/// Wakes one waiter with key 0 and 0 bytes.
bool PortPost(QZInt64 port);

/// Takes a socket that is about to be closed from its port: a waiter no longer reads from it, and the end of
/// a receive that is outstanding on it is not taken for that of the next socket with this handle. SocketClose
/// calls this.
void PortDetach(QZInt64 socket);

}  // namespace os

#endif
