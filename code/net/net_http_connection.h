#ifndef QZLIB_NET_NET_HTTP_CONNECTION_H
#define QZLIB_NET_NET_HTTP_CONNECTION_H

#include <atomic>

#include "fw/fw_container.h"
#include "fw/fw_object.h"

class QZCriticalSection;
class QZData;
class QZHttpRequest;
class QZIPAddress;

namespace os
{
struct PortBlock;
}

/// One client of a server: the block that the completion port writes into, the cache in which the pieces of a
/// request are put together, the request object that every message of the connection reuses, and the times
/// that the housekeeping looks at.
///
/// It owns all of them. Objects come from QZHttpFactory::CreateConnect and go back there as a whole, buffers
/// included. Pieces may come in on several threads at a time; a complete request is handed out with the
/// connection's cache lock held, and Recycle on the same thread gives both back.
class QZ_API QZHttpConnect : public QZObject
{
public:
    static const QZInt64 Type = 0x831001A;
    /// Bytes up to the empty line.
    static const QZInt64 HttpHeadSizeLimitDefault = 4096;

    QZHttpConnect(const QZHttpConnect&) = delete;
    QZHttpConnect& operator=(const QZHttpConnect&) = delete;

    QZInt64 GetType() override;

    /// Puts a piece at its offset in the request. When that completes the message, *out is the request, good
    /// until Recycle on this thread, and the cache lock stays held.
    /// @return 0; 512 when the message does not begin with a letter; 547 when its head is too large
    /// @throws QZException family: what a head or a length that cannot be read raises; the lock is free then
    long long AppendRequestData(const void* data, long long offset, long long size, QZHttpRequest** out);

    /// The socket handle, 0 until set.
    long long GetClientID();
    /// The request gets the handle too.
    void SetClientID(long long id);

    /// The address of the receive block.
    void* GetHandle();

    /// As the connection goes back to its cache: request and cache empty, times and uses 0.
    void Clear();

    /// Gives the connection's own request back and frees the cache lock; a foreign one is left alone.
    void Recycle(QZHttpRequest** request);
    /// Only clear the variable, and only for the connection's own object.
    void Recycle(QZIPAddress** address);
    void Recycle(QZData** data);

    /// Bytes in the cache; waits for the request that is being answered.
    long long GetCacheSize();
    QZData* GetCache();
    /// The place of the bytes in the cache, -1 when they are not there; waits like GetCacheSize.
    long long FindFromRequest(const void* pattern, long long size);

    /// The client's address, for the connection and its request.
    void SetIP(unsigned int address, unsigned short port);
    QZIPAddress* GetIP();

    /// Begin and end of one use, both of which count as a sign of life.
    void InUse();
    void UseComplete();
    /// Nobody uses it.
    unsigned char IsUseComplete();

    /// As the connection leaves its cache: it begins now.
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
    friend class QZHttpServerEngine;
    class CacheHold;

    void MemAlloc(long long size);
    void MemFree(long long size);
    void BufferReset();

    bool Put(const void* data, long long offset, long long size);
    long long Examine(bool* complete);
    bool BodyIsThere(QZInt64 emptyLine);
    void HandOut(QZHttpRequest** out);

    /// Adds to the place of the next bytes; where they were to go. *piece counts the pieces.
    QZUInt32 Advance(QZUInt32 bytes, QZUInt64* piece);
    /// Waits until the pieces before this one have been put in, and lets those behind it go on.
    void AwaitTurn(QZUInt64 piece);
    void PassTurn(QZUInt64 piece);
    /// Starts a receive, unless the socket is closed. False when the connection is broken.
    bool Receive();
    /// Ends the traffic and, once no response is being sent, gives the socket back, once in its life.
    void CloseSocket();
    /// The handle has come to name another socket.
    void ForgetSocket();
    /// The peer reads the end of the stream.
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
    /// The size of the cache for readers without the lock.
    std::atomic<QZInt64> m_cacheSize;
    std::atomic<QZInt64> m_clientId;
    os::PortBlock* m_handle;
    QZHttpRequest* m_request;
    QZCriticalSection* m_useLock;
    QZCriticalSection* m_cacheLock;
    QZInt64 m_useCount;
    QZIPAddress* m_ip;
    /// The socket behind the client id is open and this connection's to close.
    /// Changes under the use lock.
    std::atomic<bool> m_socketOpen;
    /// Tells the clients apart that one object and one handle serve one after another.
    std::atomic<QZUInt64> m_serial;
    QZUInt64 m_pieces;
    /// The piece that may be put in next.
    std::atomic<QZUInt64> m_turn;
    /// The place in the index of the list that holds it.
    int m_place;
    /// The next one of this place.
    QZHttpConnect* m_chained;
    static constexpr int kNotListed = -1;
};

/// A locked list of connections, keyed by client id, with the rule that says which of them is free to go.
///
/// It owns the list and not the connections. Any thread may call.
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

    /// Adds at the tail. 0, and nothing changes, when a connection with this client id is there.
    virtual unsigned char EnQueue(QZHttpConnect* connect);
    /// @throws QZException 256 for an index outside 0 to count - 1
    virtual QZHttpConnect* GetElement(long long index);
    /// Takes from the head; null when there is none.
    virtual QZHttpConnect* DeQueue();
    /// Takes the connection nearest the tail that may go: closing with its peer closed; unused with its peer
    /// closed; unused and (with checkTime) silent for the free time; a head begun that long ago and never
    /// finished; nothing ever sent for that long. Null when there is none.
    virtual QZHttpConnect* PopFreeConnect(unsigned char checkTime);

    /// Marked in use, to be given back with Recycle; null when there is none.
    QZHttpConnect* GetByClientID(long long id);
    /// Ends a use and clears the variable.
    void Recycle(QZHttpConnect** connect);
    /// The connection taken out, or null.
    QZHttpConnect* RemoveByClientID(long long id);
    void Remove(QZHttpConnect* connect);
    long long Count();
    unsigned char IsExists(long long id);

private:
    friend class QZHttpServerEngine;

    unsigned char IsConnectExists(long long id);
    QZHttpConnect* Find(long long id);
    bool TakeOut(QZHttpConnect* connect);
    static int PlaceOf(QZInt64 id);
    void Enter(QZHttpConnect* connect);
    void Leave(QZHttpConnect* connect);
    /// Marks the connection of this id, if there is one.
    void SetPeerClosed(long long id);

    QZInt64 m_freeTime;
    QZList<QZHttpConnect>* m_list;
    QZCriticalSection* m_lock;
    /// The count for a look without the lock.
    std::atomic<QZInt64> m_count;
    /// The connections of each hash of a client id, chained, the last one that came in first.
    static constexpr int kPlaces = 4096;
    QZHttpConnect* m_index[kPlaces];
};

#endif
