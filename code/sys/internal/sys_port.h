#ifndef QZLIB_SYS_PORT_H
#define QZLIB_SYS_PORT_H

/// The completion port: threads wait on it for the completion of receives.
///
/// A socket is associated with a port under a key. At most one receive is outstanding on a socket. Its
/// completion wakes one waiting thread, which gets the key and the number of bytes. When the peer has ended
/// its stream, the receive completes with 0 bytes; when the connection broke, it fails with its key.

#include <cstddef>

#include "sys/sys_types.h"

namespace os
{

// The layout of a receive block, in bytes: the platform's part at the front, where the received bytes begin,
// how many there is room for, and the size of the whole block.
inline constexpr std::size_t kPortSystemSize = 32;
inline constexpr std::size_t kPortDataOffset = 60;
inline constexpr std::size_t kPortDataSize = 131072;
inline constexpr std::size_t kPortBlockSize = 131136;

/// One receive: the buffer and the platform's state of the receive. The layout is that of the Windows calls.
/// Clear the block before the first use, then set Length and Buffer.
struct PortBlock
{
    unsigned char System[kPortSystemSize];
    QZUInt32 Length;  ///< size of Buffer in bytes
    void* Buffer;
    QZUInt32 Received;  ///< written by the platform
    QZUInt32 Offset;    ///< for the caller, not used here
    QZUInt32 Flags;
    unsigned char Data[kPortDataSize];
};

static_assert(sizeof(PortBlock) == kPortBlockSize && offsetof(PortBlock, Data) == kPortDataOffset);

/// A completed receive: the key of its socket and the number of bytes received.
struct PortCompletion
{
    QZInt64 Key;
    QZUInt32 Bytes;
};

/// Makes a port; 0 with LastError set on failure. On Windows at most `concurrency` threads run at a time.
QZInt64 PortOpen(int concurrency);
/// Closes the port: every wait ends at once, and later waits fail. Its sockets are then associated with no
/// port. False for a port that is not open.
bool PortClose(QZInt64 port);
/// Associates a socket with a port. Allowed once in the life of a socket. False with LastError set on
/// failure.
bool PortAssociate(QZInt64 port, QZInt64 socket, QZInt64 key);
/// Starts a receive on an associated socket. The platform uses the block until the receive completes or the
/// socket is closed; after a close there is no completion. False with LastError set on failure.
bool PortReceive(QZInt64 socket, PortBlock* block);
/// Waits for the next completion. False, with *completion unchanged, on time-out and for a closed port;
/// false, with Key and 0 Bytes, for a receive that failed.
bool PortWait(QZInt64 port, QZUInt32 milliseconds, PortCompletion* completion);
/// Wakes one waiting thread with key 0 and 0 bytes. False with LastError set on failure.
bool PortPost(QZInt64 port);

/// Removes a socket that is about to be closed from its port: waiting threads no longer read from it, and the
/// completion of an outstanding receive is not mistaken for one of the next socket with the same handle.
/// SocketClose calls it.
void PortDetach(QZInt64 socket);

}  // namespace os

#endif
