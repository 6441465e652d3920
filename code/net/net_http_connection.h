#ifndef QZLIB_NET_HTTP_CONNECTION_H
#define QZLIB_NET_HTTP_CONNECTION_H

#include <atomic>

#include "fw/fw_container.h"
#include "fw/fw_object.h"
#include "fw/fw_object_cache.h"

class QZCriticalSection;
class QZData;
class QZHttpRequest;
class QZIPAddress;

namespace os
{
struct PortBlock;
}

namespace http
{
struct StrictConnection;
}

/// The connection of one client to a server. It owns the block that the completion port writes into, the
/// cache in which the pieces of a request are put together, the request object, which all messages of the
/// connection use, and the times that the housekeeping reads.
///
/// Objects come from QZHttpFactory::CreateConnect and go back there with all their buffers. Several threads
/// may append pieces at the same time. AppendRequestData returns a complete request with the cache lock of
/// the connection held; Recycle on the same thread releases both.
class QZ_API QZHttpConnect : public QZObject
{
public:
    static const QZInt64 Type = 0x831001A;
    /// The largest head: bytes before the empty line.
    static const QZInt64 HttpHeadSizeLimitDefault = 4096;

    QZHttpConnect(const QZHttpConnect&) = delete;
    QZHttpConnect& operator=(const QZHttpConnect&) = delete;

    QZInt64 GetType() override;

    /// Puts a piece at its offset in the request. When that completes the message, *out is the request, valid
    /// until Recycle on this thread, and the cache lock stays held.
    /// @return 0; 512 when the message does not begin with a letter; 547 when its head is too large
    /// @throws QZException 256 for an offset or size that is negative or too large; what QZHttpRequest::Set
    ///         throws for a bad head and QZConvert::StringToInt64 for a bad length. The lock is free then.
    long long AppendRequestData(const void* data, long long offset, long long size, QZHttpRequest** out);

    /// The socket handle, 0 until set.
    long long GetClientID();
    /// Sets the handle of the request too.
    void SetClientID(long long id);

    /// The address of the receive block.
    void* GetHandle();

    /// Prepares the connection for its cache: empties request and cache, sets times and uses to 0.
    void Clear();

    /// Releases the connection's own request and the cache lock. Nothing happens for any other request.
    void Recycle(QZHttpRequest** request);
    /// Clear the variable when it holds the connection's own object; nothing else happens.
    void Recycle(QZIPAddress** address);
    void Recycle(QZData** data);

    /// Bytes in the cache; waits for the request that is being answered.
    long long GetCacheSize();
    QZData* GetCache();
    /// The position of the bytes in the cache, -1 when they are not there; waits like GetCacheSize.
    long long FindFromRequest(const void* pattern, long long size);

    /// Sets the client's address in the connection and in its request.
    void SetIP(unsigned int address, unsigned short port);
    QZIPAddress* GetIP();

    /// Begin and end one use. Both set the time of the last use.
    void InUse();
    void UseComplete();
    /// True when nobody uses the connection.
    unsigned char IsUseComplete();

    /// Prepares a connection that leaves its cache: its times begin now.
    void Reset();

protected:
    /// @throws QZException 4352 when there is no memory for the receive block
    QZHttpConnect();
    /// Waits until nobody uses the connection.
    ~QZHttpConnect() override;

    static QZObject* NewObject();
    static void DeleteObject(QZObject* connect);

private:
    friend class QZHttpConnectCollection;
    friend struct QZHttpConnectAccess;
    class CacheHold;

    void MemAlloc(QZInt64 size);
    void MemFree(QZInt64 size);
    void BufferReset();

    bool Put(const void* data, QZInt64 offset, QZInt64 size);
    QZInt64 Examine(bool* complete);
    bool BodyIsThere(QZInt64 emptyLine);
    void HandOut(QZHttpRequest** out);

    QZUInt32 Advance(QZUInt32 bytes, QZUInt64* piece);
    void AwaitTurn(QZUInt64 piece);
    void PassTurn(QZUInt64 piece);
    bool Receive();
    void CloseSocket();
    void ForgetSocket();
    void ShutdownSend();

    std::atomic<QZInt64> m_headLimit;
    std::atomic<QZByte> m_keepAlive;
    std::atomic<QZInt64> m_createTime;
    std::atomic<QZInt64> m_recvBegin;
    std::atomic<QZInt64> m_recvEmptyLine;
    std::atomic<QZInt64> m_lastUse;
    std::atomic<QZByte> m_peerClosed;
    std::atomic<QZByte> m_closing;
    QZData* m_cache;
    QZInt64 m_cacheCount;
    /// The size of the cache, for readers that do not hold the lock.
    std::atomic<QZInt64> m_cacheSize;
    std::atomic<QZInt64> m_clientId;
    os::PortBlock* m_handle;
    QZHttpRequest* m_request;
    QZCriticalSection* m_useLock;
    QZCriticalSection* m_cacheLock;
    QZInt64 m_useCount;
    QZIPAddress* m_ip;
    /// True while the socket is open and this connection has to close it. Changes under the use lock.
    std::atomic<bool> m_socketOpen;
    /// Counts the clients of this object. One object, and one handle, may serve several clients in turn.
    std::atomic<QZUInt64> m_serial;
    QZUInt64 m_pieces;
    /// The piece that may be appended next.
    std::atomic<QZUInt64> m_turn;
    /// The position in the index of the collection that holds the connection.
    int m_place;
    /// The next connection at the same position.
    QZHttpConnect* m_chained;
    static constexpr int kNotListed = -1;
    /// The state of a connection of a server in strict mode; null until such a server used the object.
    http::StrictConnection* m_strict;
};

/// A locked list of connections with their client ids as keys, and the rule by which an idle connection is
/// closed.
///
/// The collection does not own the connections. Any thread may call.
class QZ_API QZHttpConnectCollection : public QZObject
{
public:
    static const QZInt64 Type = 0x831001B;
    /// Milliseconds of silence.
    static const QZInt64 DefaultFreeConnectKeepAliveTime = 60000;

    QZHttpConnectCollection();
    ~QZHttpConnectCollection() override;
    QZHttpConnectCollection(const QZHttpConnectCollection&) = delete;
    QZHttpConnectCollection& operator=(const QZHttpConnectCollection&) = delete;

    QZInt64 GetType() override;

    /// Adds at the tail. Returns 0 and changes nothing when there is a connection with this client id.
    virtual unsigned char EnQueue(QZHttpConnect* connect);
    /// @throws QZException 256 for an index outside 0 to count - 1
    virtual QZHttpConnect* GetElement(long long index);
    /// Takes from the head; null when there is none.
    virtual QZHttpConnect* DeQueue();
    /// Takes out the connection nearest to the tail that may be closed; null when there is none. A connection
    /// may be closed
    /// - when it is closing and its peer has closed;
    /// - when nobody uses it and its peer has closed;
    /// - when nobody uses it and checkTime is 0 or its last use is older than the free time;
    /// - when its head began before the free time and is not complete;
    /// - when it exists longer than the free time and has received nothing.
    virtual QZHttpConnect* PopFreeConnect(unsigned char checkTime);

    /// Marks the connection as in use and returns it; the caller gives it back with Recycle. Null when there
    /// is none.
    QZHttpConnect* GetByClientID(long long id);
    /// Ends a use and clears the variable.
    void Recycle(QZHttpConnect** connect);
    /// Takes the connection out and returns it; null when there is none.
    QZHttpConnect* RemoveByClientID(long long id);
    void Remove(QZHttpConnect* connect);
    long long Count();
    unsigned char IsExists(long long id);

private:
    friend struct QZHttpConnectAccess;

    QZByte IsConnectExists(QZInt64 id);
    QZHttpConnect* Find(QZInt64 id);
    bool TakeOut(QZHttpConnect* connect);
    static int PlaceOf(QZInt64 id);
    void Enter(QZHttpConnect* connect);
    void Leave(QZHttpConnect* connect);
    void SetPeerClosed(QZInt64 id);

    QZInt64 m_freeTime;
    QZList<QZHttpConnect>* m_list;
    QZCriticalSection* m_lock;
    /// The number of connections, for readers that do not hold the lock.
    std::atomic<QZInt64> m_count;
    /// The connections of each hash of a client id as a chain, the newest first.
    static constexpr int kPlaces = 4096;
    QZHttpConnect* m_index[kPlaces];
};

/// The factory keeps one cache of connections; a host may have its own.
QZLIB_NAMED_CACHE(QZHttpConnectCache, QZHttpConnect);

#endif
