#ifndef QZLIB_NET_NET_HTTP_CLIENT_H
#define QZLIB_NET_NET_HTTP_CLIENT_H

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

/// One connection to one server, kept open from request to request and opened anew when it fails.
///
/// The client owns its socket and a copy of the address. It serves one request at a time: its lock is held
/// for the whole of Request, retries and their pauses included. Any thread may call.
class QZ_API QZHttpClient : public QZObject
{
public:
    static const QZInt64 Type = 0x831001C;

    QZHttpClient();
    /// Closes the connection. No request may be under way.
    ~QZHttpClient() override;
    QZHttpClient(const QZHttpClient&) = delete;
    QZHttpClient& operator=(const QZHttpClient&) = delete;

    QZInt64 GetType() override;

    /// Sends the request and receives its response. A failure is tried again three times, after 1, 3 and 5
    /// seconds, each time over a new connection: the request must be one that may reach the server twice.
    /// @return a new response, given back with Recycle
    /// @throws QZHttpException Unconnected before the first Connect; when all tries failed, what the last one
    ///         threw
    virtual QZHttpResponse* Request(QZHttpRequest* request);

    /// Opens a connection; one that was open is closed.
    /// @throws QZSocketException when there is no connection
    void Connect(QZIPAddress* address, unsigned short port);

    /// The value of the server's address; 0 before the first Connect.
    long long GetRemoteAddress();
    unsigned short GetPort();

    /// True from WorkNow or the start of a request to the request's end.
    QZBool IsWorking();
    /// Marks the client as working. Waits for a request that is under way.
    void WorkNow();

    void Recycle(QZHttpResponse** response);

    /// Milliseconds of one send or receive, 60000 at first. Holds for an open connection too.
    void SetTimeout(int ms);

    /// Attempts that failed since construction.
    QZInt64 GetFailCount();

protected:
    /// Opens a socket to the server.
    virtual QZSocketClient* CreateSocket(QZIPAddress* address, unsigned short port);
    /// Gives a closed socket up.
    virtual void SocketRecycle(QZSocketClient** socket);

private:
    friend class QZHttpClientPool;

    /// One try: the request out and the response in.
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
    /// Guards the exchange of the socket against SetTimeout, which does not wait for requests.
    QZCriticalSection* m_socketLock;
    /// The pool's marks, under the pool's lock: in somebody's hands, and no longer in the list.
    bool m_lent = false;
    bool m_dropped = false;
};

#endif
