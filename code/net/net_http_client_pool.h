#ifndef QZLIB_NET_HTTP_CLIENT_POOL_H
#define QZLIB_NET_HTTP_CLIENT_POOL_H

#include <atomic>

#include "fw/fw_object.h"

class QZCriticalSection;
class QZHttpClient;
class QZHttpRequest;
class QZHttpResponse;
class QZIPAddress;
template <typename T>
class QZList;

/// Open clients, kept for the next request to the same address and port.
///
/// A request takes an idle client of its server or opens another one; there is no upper limit. The pool owns
/// its clients. It does not hold its lock during a network call. Any thread may call; the pool must exist
/// until all its requests have ended.
class QZ_API QZHttpClientPool : public QZObject
{
public:
    QZHttpClientPool();
    ~QZHttpClientPool() override;
    QZHttpClientPool(const QZHttpClientPool&) = delete;
    QZHttpClientPool& operator=(const QZHttpClientPool&) = delete;

    /// Sets the milliseconds of one send or receive for existing and later clients; the initial value is
    /// 60000.
    void SetTimeout(int ms);

    /// Sends the request to the host in its address or, when the address has none, in its header "Host".
    /// @return a new response, given back to QZHttpFactory
    /// @throws QZHttpException NameNotResolved, QZSocketException without a connection, and what the client
    ///         throws; the client is closed then
    QZHttpResponse* SendRequest(QZHttpRequest* request);

    QZInt64 Count();

    /// Closes all clients. A client with a running request is closed when the request ends.
    void CloseAll();

    /// Closes the clients that are idle.
    void Collect();

    /// The number of failed attempts of all clients.
    QZInt64 GetFailCount();

protected:
    virtual QZHttpClient* CreateClient();
    virtual void RecycleClient(QZHttpClient* client);

private:
    QZHttpClient* Borrow(QZIPAddress* address, unsigned short port);
    QZHttpClient* OpenClient(QZIPAddress* address, unsigned short port);
    void GiveBack(QZHttpClient* client);
    void CloseClient(QZHttpClient*& client);

    std::atomic<QZInt64> m_failCount = 0;
    QZList<QZHttpClient>* m_clients;
    QZCriticalSection* m_lock;
    std::atomic<int> m_timeout = 60000;
};

#endif
