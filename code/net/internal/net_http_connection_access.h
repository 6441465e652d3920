#ifndef QZLIB_NET_HTTP_CONNECTION_ACCESS_H
#define QZLIB_NET_HTTP_CONNECTION_ACCESS_H

#include "fw/fw_container.h"
#include "fw/fw_environment.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_hooks.h"
#include "net/net_http_connection.h"
#include "net/net_http_context.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_socket.h"

namespace http
{
/// Results of QZHttpConnect::AppendRequestData. Internal.
inline constexpr QZInt64 kNoError = 0;
inline constexpr QZInt64 kBadFirstByte = 512;
inline constexpr QZInt64 kHeadTooLarge = 547;

/// The clock of connections and messages, in milliseconds. Internal.
inline QZInt64 Now() { return QZEnvironment::GetCurrentTimestamp(); }
}  // namespace http

/// The library's way to the times of a message. Internal.
struct QZHttpAccess
{
    static QZHttpStamps& Stamps(QZHttpContext* context) { return context->m_stamps; }
    static QZData* Source(QZHttpContext* context) { return &context->m_source; }
};

namespace http
{
/// The times of a message. The server that answers the request sets them.
inline QZHttpStamps& StampsOf(QZHttpContext* context) { return QZHttpAccess::Stamps(context); }
}  // namespace http

/// What an engine does with connections and their collections, and hosts do not. Internal.
struct QZHttpConnectAccess
{
    /// The times that the housekeeping and GetConnectInfo read.
    struct Times
    {
        QZInt64 created;
        QZInt64 lastUse;
        QZInt64 receiveBegin;
        QZInt64 emptyLine;
    };

    /// One received piece: where it belongs in the request, which client it is from (the serial), and which
    /// of the client's pieces it is.
    struct Piece
    {
        QZUInt32 offset;
        QZUInt64 serial;
        QZUInt64 number;
    };

    // ---- State

    static Times TimesOf(const QZHttpConnect* connect)
    {
        return {connect->m_createTime.load(std::memory_order_relaxed),
                connect->m_lastUse.load(std::memory_order_relaxed),
                connect->m_recvBegin.load(std::memory_order_relaxed),
                connect->m_recvEmptyLine.load(std::memory_order_relaxed)};
    }

    /// Bytes in the cache. Does not wait for the request that is being answered.
    static QZInt64 CachedBytes(const QZHttpConnect* connect)
    {
        return connect->m_cacheSize.load(std::memory_order_relaxed);
    }

    /// Whether the connection stays open after the response.
    static bool KeepsAlive(const QZHttpConnect* connect) { return connect->m_keepAlive.load() != 0; }
    static void SetKeepAlive(QZHttpConnect* connect, bool keepAlive)
    {
        connect->m_keepAlive.store(keepAlive ? 1 : 0);
    }

    /// The largest head of a request, in bytes.
    static void SetHeadLimit(QZHttpConnect* connect, QZInt64 limit)
    {
        connect->m_headLimit.store(limit, std::memory_order_relaxed);
    }

    static bool IsClosing(const QZHttpConnect* connect) { return connect->m_closing.load() != 0; }
    /// Marks the connection as closing. True when it was not marked before.
    static bool BeginClosing(QZHttpConnect* connect) { return connect->m_closing.exchange(1) == 0; }

    static void SetPeerClosed(QZHttpConnect* connect)
    {
        connect->m_peerClosed.store(1, std::memory_order_relaxed);
    }

    // ---- Strict mode

    /// The state of a connection in strict mode; null before SetStrict.
    static http::StrictConnection* Strict(const QZHttpConnect* connect) { return connect->m_strict; }
    static void SetStrict(QZHttpConnect* connect, http::StrictConnection* state)
    {
        connect->m_strict = state;
    }
    static QZInt64 HeadLimit(const QZHttpConnect* connect)
    {
        return connect->m_headLimit.load(std::memory_order_relaxed);
    }
    /// The request object that all messages of the connection use.
    static QZHttpRequest* Request(QZHttpConnect* connect) { return connect->m_request; }
    /// The times that GetConnectInfo shows: the first byte of the current request, and the end of its head.
    static void SetReceiveTimes(QZHttpConnect* connect, QZInt64 begin, QZInt64 emptyLine)
    {
        connect->m_recvBegin.store(begin, std::memory_order_relaxed);
        connect->m_recvEmptyLine.store(emptyLine, std::memory_order_relaxed);
    }
    static bool IsPeerClosed(const QZHttpConnect* connect)
    {
        return connect->m_peerClosed.load(std::memory_order_relaxed) != 0;
    }
    /// Ends all traffic and leaves the socket open: a send that is under way fails.
    static void Abort(QZHttpConnect* connect)
    {
        QZCriticalGuard guard(connect->m_useLock);
        if (connect->m_socketOpen.load()) os::SocketShutdown(connect->GetClientID(), os::SocketSide::Both);
    }

    // ---- Receiving

    /// Clears the receive block, before the first receive.
    static void ClearBlock(QZHttpConnect* connect) { QZMemClean(connect->m_handle, os::kPortBlockSize); }

    /// The bytes of the last receive.
    static const unsigned char* ReceivedBytes(const QZHttpConnect* connect)
    {
        return connect->m_handle->Data;
    }

    /// Starts a receive, unless the socket is closed. False when the connection is broken.
    static bool Receive(QZHttpConnect* connect) { return connect->Receive(); }

    /// Counts a received piece. One thread at a time for each connection.
    static Piece NextPiece(QZHttpConnect* connect, QZUInt32 bytes)
    {
        Piece piece;
        piece.offset = connect->Advance(bytes, &piece.number);
        piece.serial = connect->m_serial.load(std::memory_order_relaxed);
        return piece;
    }

    /// True when the connection still serves the client with this serial; 0 stands for any client.
    static bool Serves(const QZHttpConnect* connect, QZUInt64 serial)
    {
        return serial == 0 || connect->m_serial.load(std::memory_order_relaxed) == serial;
    }

    /// Appends a piece after all earlier pieces of the client have been appended; after it the next piece
    /// may be appended.
    static QZInt64 AppendInTurn(QZHttpConnect* connect, QZUInt64 number, const void* data, QZInt64 offset,
                                QZInt64 size, QZHttpRequest** out)
    {
        struct Turn
        {
            Turn(QZHttpConnect* c, QZUInt64 n) : connect(c), number(n) { connect->AwaitTurn(number); }
            ~Turn() { connect->PassTurn(number); }
            Turn(const Turn&) = delete;
            Turn& operator=(const Turn&) = delete;
            QZHttpConnect* connect;
            QZUInt64 number;
        };
        const Turn turn(connect, number);
        return connect->AppendRequestData(data, offset, size, out);
    }

    // ---- Sending and closing

    /// Whoever holds this lock keeps the socket's handle from being closed, and so from going to another
    /// client.
    static QZCriticalSection* SendLock(QZHttpConnect* connect) { return connect->m_cacheLock; }

    static void ShutdownSend(QZHttpConnect* connect) { connect->ShutdownSend(); }
    static void CloseSocket(QZHttpConnect* connect) { connect->CloseSocket(); }
    static void ForgetSocket(QZHttpConnect* connect) { connect->ForgetSocket(); }

    // ---- Collections

    /// The connection of the id, not marked in use; null when there is none.
    static QZHttpConnect* Find(QZHttpConnectCollection* list, QZInt64 id)
    {
        QZCriticalGuard guard(list->m_lock);
        return list->Find(id);
    }

    /// Removes a connection. False when it was not in the list.
    static bool TakeOut(QZHttpConnectCollection* list, QZHttpConnect* connect)
    {
        return list->TakeOut(connect);
    }

    /// Marks the connection of this id, if there is one.
    static void SetPeerClosed(QZHttpConnectCollection* list, QZInt64 id) { list->SetPeerClosed(id); }

    /// Milliseconds of silence after which a connection may go.
    static QZInt64 FreeTime(const QZHttpConnectCollection* list) { return list->m_freeTime; }

    /// Calls visit(QZHttpConnect*) for every connection from head to tail. Nobody else may change the list
    /// meanwhile.
    template <typename Visit>
    static void ForEach(QZHttpConnectCollection* list, Visit visit)
    {
        for (QZHttpConnect* connect = list->m_list->GetFirst(); connect != nullptr;
             connect = static_cast<QZHttpConnect*>(connect->LinkNext()))
            visit(connect);
    }
};

#endif
