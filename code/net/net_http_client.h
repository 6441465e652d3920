#ifndef QZLIB_NET_HTTP_CLIENT_H
#define QZLIB_NET_HTTP_CLIENT_H

#include <atomic>

#include "fw/fw_object.h"

class QZCriticalSection;
class QZHttpException;
class QZHttpRequest;
class QZHttpResponse;
class QZIPAddress;
class QZSocketClient;

/// Bits of a client's state.
class QZ_API QZHttpClientStatus
{
public:
    static const QZInt64 InitializationCompleted = 1;
    static const QZInt64 Connected = 2;
    static const QZInt64 Working = 4;
    static const QZInt64 Disposing = 8;
};

/// A connection to one server. It stays open between requests and is opened again when it fails.
///
/// The client owns its socket and a copy of the address. It serves one request at a time: Request holds the
/// lock of the client, also during retries and their pauses. Any thread may call.
class QZ_API QZHttpClient : public QZObject
{
public:
    static const QZInt64 Type = 0x831001C;

    QZHttpClient();
    /// Closes the connection. No request may be running.
    ~QZHttpClient() override;
    QZHttpClient(const QZHttpClient&) = delete;
    QZHttpClient& operator=(const QZHttpClient&) = delete;

    QZInt64 GetType() override;

    /// Sends the request and receives its response. After a failure there are three further attempts, after
    /// 1, 3 and 5 seconds, each over a new connection: the request may reach the server more than once.
    /// @return a new response, given back with Recycle
    /// @throws QZHttpException Unconnected before the first Connect; the exception of the last attempt when
    /// all failed
    virtual QZHttpResponse* Request(QZHttpRequest* request);

    /// Opens a connection and closes an open one before that.
    /// @throws QZSocketException when there is no connection
    void Connect(QZIPAddress* address, unsigned short port);

    /// The value of the server's address; 0 before the first Connect.
    long long GetRemoteAddress();
    unsigned short GetPort();

    /// True from WorkNow or the start of a request to the request's end.
    QZBool IsWorking();
    /// Marks the client as working. Waits for a running request.
    void WorkNow();

    void Recycle(QZHttpResponse** response);

    /// Sets the milliseconds of one send or receive; the initial value is 60000. Applies to an open
    /// connection too.
    void SetTimeout(int ms);

    /// The number of failed attempts since construction.
    QZInt64 GetFailCount();

protected:
    /// Opens a socket to the server.
    virtual QZSocketClient* CreateSocket(QZIPAddress* address, unsigned short port);
    /// Deletes a closed socket.
    virtual void SocketRecycle(QZSocketClient** socket);

private:
    friend class QZHttpClientPool;

    /// One attempt: sends the request and receives the response.
    virtual QZHttpResponse* SendRequest(QZHttpRequest* request);

    void Reconnect();
    void Close();
    void CloseSocket();
    void Note(QZIPAddress* address);
    void Open(QZIPAddress* address, unsigned short port);
    void ReportError(QZHttpException* exception);
    void SetStatus(QZInt64 bits);
    void ClearStatus(QZInt64 bits);
    bool Has(QZInt64 bits) const;

    std::atomic<QZInt64> m_failCount = 0;
    std::atomic<QZInt64> m_status = QZHttpClientStatus::InitializationCompleted;
    std::atomic<int> m_timeout = 60000;
    std::atomic<QZIPAddress*> m_address = nullptr;
    std::atomic<QZUInt16> m_port = 0;
    QZSocketClient* m_socket = nullptr;
    QZCriticalSection* m_lock;
    /// Held while the socket is replaced, for SetTimeout, which does not wait for requests.
    QZCriticalSection* m_socketLock;
    /// Set by the pool under its lock: the client serves a caller of the pool; the client has left the pool's
    /// list.
    bool m_lent = false;
    bool m_dropped = false;
};

#endif
