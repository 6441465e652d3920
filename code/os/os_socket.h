#ifndef QZLIB_OS_SOCKET_H
#define QZLIB_OS_SOCKET_H

#include <memory>

#include "fw/fw_object.h"

class QZIPAddress;
class QZSocketException;

/// The protocols of QZSocketClient and QZSocketServer.
class QZ_API QZSocketProtocol
{
public:
    static const QZInt64 TCP = 1;
    static const QZInt64 UDP = 2;
};

/// A socket handle with the address of its peer.
///
/// The socket owns the address, not the handle: the destructor of a plain QZSocket leaves the handle open;
/// Close closes it. A handle is closed only once. A copy made by value shares address and handle. One thread
/// at a time; the static operations have no state.
///
/// Failures are QZSocketException objects. Socket failures have the numbers of Windows on every platform.
class QZ_API QZSocket : public QZObject
{
public:
    static const QZInt64 Type = 0x8310006;

    /// How long Send tries again while the system has no room, in milliseconds.
    static int Timeout;

    /// A socket without a handle.
    QZSocket();
    explicit QZSocket(long long handle);
    QZSocket(const QZSocket& other);
    QZSocket& operator=(const QZSocket& other);
    ~QZSocket() override;

    QZInt64 GetType() override;

    /// The static Send with the socket's handle; -1 without a handle.
    /// @throws QZException 256 for a negative size
    virtual long long Send(const void* buffer, long long size);

    /// The static Recv with the socket's handle; -1 without a handle.
    /// @throws QZException 256 for a negative size
    virtual long long Recv(void* buffer, long long size);

    virtual void Close();

    /// The peer's address. The socket owns it.
    virtual QZIPAddress* GetIPAddress();

    /// The handle; 0 when closed.
    virtual long long GetHandle();
    /// Sets another handle. The old one stays open.
    virtual void SetHandle(long long handle);

    /// Sends all bytes, in pieces of at most 4096. While the system has no room it tries again without a
    /// pause.
    /// @return size
    /// @throws QZSocketException 512 when there was no room for Timeout milliseconds or a blocking send took
    /// too long, 4096 when the connection is closed, and the codes of the system's failures
    static long long Send(long long handle, const void* buffer, long long size);

    /// Receives once, up to `size` bytes. 0 means that no bytes have been received yet; the end of the stream
    /// is an exception.
    /// @throws QZSocketException 4096 at the end of the stream, 512 when a blocking receive took too long,
    /// and the codes of the system's failures
    static long long Recv(long long handle, void* buffer, long long size);

protected:
    /// Makes the exception for a failure number of the system. The caller throws it.
    static QZSocketException* SysErrCodeToException(int code);

    /// Closes the handle if it is open. The field keeps its value.
    void CloseHandle();
    /// True when the handle in the field has been closed.
    bool IsStale() const;

    long long m_handle = 0;

private:
    struct Peer;

    std::shared_ptr<Peer> m_peer;
    /// Shared by all copies: true when the handle has been closed. Null without a handle.
    std::shared_ptr<bool> m_closed;
};

#endif
