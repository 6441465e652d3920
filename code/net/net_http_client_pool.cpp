#include "net/net_http_client_pool.h"

#include <memory>

#include "fw/fw_container.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_find.h"
#include "net/net_http.h"
#include "net/net_http_client.h"
#include "net/net_http_constant.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "os/os_ip_address.h"

namespace
{
constexpr const QZWChar* kClass = QZ_W("QZHttpClientPool");

/// The address that a request goes to; null when it names none.
std::unique_ptr<QZIPAddress> AddressOf(QZHttpRequest* request, unsigned short* port)
{
    QZUrl url(request->GetUrl()->GetUrl());
    if (url.GetHost()->GetSize() == 0)
    {
        QZHttpHeader* host = http::FindHeader(request->GetHeaders(), QZHttpConstant::HeaderNameHostString);
        if (host == nullptr) return nullptr;
        url.Set(host->GetValue());
    }
    *port = url.GetPort();
    return std::unique_ptr<QZIPAddress>(QZHttp::GetHostByName(url.GetHost()));
}
}  // namespace

QZHttpClientPool::QZHttpClientPool() : m_clients(new QZList<QZHttpClient>()), m_lock(new QZCriticalSection())
{}

QZHttpClientPool::~QZHttpClientPool()
{
    CloseAll();
    delete m_clients;
    delete m_lock;
}

QZHttpClient* QZHttpClientPool::CreateClient() { return new QZHttpClient(); }
void QZHttpClientPool::RecycleClient(QZHttpClient* client) { delete client; }

void QZHttpClientPool::SetTimeout(int ms)
{
    const QZCriticalGuard guard(m_lock);
    m_timeout.store(ms, std::memory_order_relaxed);
    for (QZObject* client = m_clients->GetFirst(); client != nullptr; client = client->LinkNext())
        static_cast<QZHttpClient*>(client)->SetTimeout(ms);
}

QZHttpResponse* QZHttpClientPool::SendRequest(QZHttpRequest* request)
{
    QZHttpClient* client = nullptr;
    QZInt64 before = 0;
    try
    {
        {
            unsigned short port = 0;
            const std::unique_ptr<QZIPAddress> address = AddressOf(request, &port);
            if (address == nullptr)
                throw QZExceptionFactory::CreateHttpException(QZHttpExceptionCode::NameNotResolved);
            client = Borrow(address.get(), port);
            if (client == nullptr) client = OpenClient(address.get(), port);
        }
        before = client->GetFailCount();
        QZHttpResponse* response = client->Request(request);
        m_failCount.fetch_add(client->GetFailCount() - before, std::memory_order_relaxed);
        GiveBack(client);
        return response;
    }
    catch (QZException* e)
    {
        if (client != nullptr)
        {
            m_failCount.fetch_add(client->GetFailCount() - before, std::memory_order_relaxed);
            CloseClient(client);
        }
        QZTrace(e, kClass, QZ_W("SendRequest"))
            .Argument(QZ_W("QZHttpRequest*"), static_cast<QZInt64>(request->GetObjectID()));
        throw;
    }
}

/// The first idle client of the server, marked as working; null when there is none.
QZHttpClient* QZHttpClientPool::Borrow(QZIPAddress* address, unsigned short port)
{
    const QZCriticalGuard guard(m_lock);
    for (QZObject* object = m_clients->GetFirst(); object != nullptr; object = object->LinkNext())
    {
        auto* client = static_cast<QZHttpClient*>(object);
        if (client->m_lent || client->GetRemoteAddress() != static_cast<long long>(address->GetValue()) ||
            client->GetPort() != port || client->IsWorking())
            continue;
        client->m_lent = true;
        client->WorkNow();
        return client;
    }
    return nullptr;
}

/// Opens another client of the server and adds it to the list.
QZHttpClient* QZHttpClientPool::OpenClient(QZIPAddress* address, unsigned short port)
{
    QZHttpClient* client = CreateClient();
    try
    {
        client->SetTimeout(m_timeout.load(std::memory_order_relaxed));
        client->Connect(address, port);
    }
    catch (QZException*)
    {
        m_failCount.fetch_add(1, std::memory_order_relaxed);
        RecycleClient(client);
        throw;
    }
    const QZCriticalGuard guard(m_lock);
    client->m_lent = true;
    m_clients->AddLast(client);
    return client;
}

/// Ends the use of a client, and deletes the client when CloseAll was called meanwhile.
void QZHttpClientPool::GiveBack(QZHttpClient* client)
{
    const QZCriticalGuard guard(m_lock);
    client->m_lent = false;
    if (client->m_dropped) RecycleClient(client);
}

void QZHttpClientPool::CloseClient(QZHttpClient*& client)
{
    const QZCriticalGuard guard(m_lock);
    if (!client->m_dropped) m_clients->RemoveElement(client);
    RecycleClient(client);
    client = nullptr;
}

QZInt64 QZHttpClientPool::Count()
{
    const QZCriticalGuard guard(m_lock);
    return m_clients->Count();
}

void QZHttpClientPool::CloseAll()
{
    const QZCriticalGuard guard(m_lock);
    while (m_clients->Count() > 0)
    {
        QZHttpClient* client = m_clients->Pop();
        // A client with a running request is deleted by its sender when the request ends.
        client->m_dropped = true;
        if (!client->m_lent) RecycleClient(client);
    }
}

void QZHttpClientPool::Collect()
{
    const QZCriticalGuard guard(m_lock);
    for (QZObject* object = m_clients->GetFirst(); object != nullptr;)
    {
        auto* client = static_cast<QZHttpClient*>(object);
        object = object->LinkNext();
        if (client->m_lent || client->IsWorking()) continue;
        m_clients->RemoveElement(client);
        RecycleClient(client);
    }
}

QZInt64 QZHttpClientPool::GetFailCount() { return m_failCount.load(std::memory_order_relaxed); }
