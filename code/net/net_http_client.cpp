#include "net/net_http_client.h"

#include "fw/fw_lock.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_retry.h"
#include "net/internal/net_http_round_trip.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "os/os_ip_address.h"
#include "os/os_socket_client.h"
#include "os/os_thread.h"

const QZInt64 QZHttpClient::Type;
const QZInt64 QZHttpClientStatus::InitializationCompleted;
const QZInt64 QZHttpClientStatus::Connected;
const QZInt64 QZHttpClientStatus::Working;
const QZInt64 QZHttpClientStatus::Disposing;

namespace
{
using Status = QZHttpClientStatus;

constexpr const QZWChar* kClass = QZ_W("QZHttpClient");

QZHttpException* Unconnected()
{
    return QZExceptionFactory::CreateHttpException(QZHttpExceptionCode::Unconnected);
}
}  // namespace

QZHttpClient::QZHttpClient() : m_lock(new QZCriticalSection()), m_socketLock(new QZCriticalSection()) {}

QZHttpClient::~QZHttpClient()
{
    SetStatus(Status::Disposing);
    CloseSocket();
    delete m_address.load();
    delete m_socketLock;
    delete m_lock;
}

QZInt64 QZHttpClient::GetType() { return Type; }

void QZHttpClient::SetStatus(QZInt64 bits) { m_status.fetch_or(bits, std::memory_order_relaxed); }
void QZHttpClient::ClearStatus(QZInt64 bits) { m_status.fetch_and(~bits, std::memory_order_relaxed); }

bool QZHttpClient::Has(QZInt64 bits) const { return (m_status.load(std::memory_order_relaxed) & bits) != 0; }

QZSocketClient* QZHttpClient::CreateSocket(QZIPAddress* address, unsigned short port)
{
    auto* socket = new QZSocketClient();
    try
    {
        const int timeout = m_timeout.load(std::memory_order_relaxed);
        socket->Connect(address, port, timeout, timeout, 1);
    }
    catch (QZException* e)
    {
        delete socket;
        QZTrace(e, kClass, QZ_W("CreateSocket"))
            .Argument(QZ_W("QZIPAddress*"), static_cast<QZInt64>(address->GetValue()))
            .Argument(QZ_W("QZUInt16"), static_cast<QZInt64>(port));
        throw;
    }
    return socket;
}

void QZHttpClient::SocketRecycle(QZSocketClient** socket)
{
    delete *socket;
    *socket = nullptr;
}

void QZHttpClient::CloseSocket()
{
    const QZCriticalGuard guard(m_socketLock);
    if (m_socket == nullptr) return;
    m_socket->Close();
    ClearStatus(Status::Connected);
    SocketRecycle(&m_socket);
    m_socket = nullptr;
}

void QZHttpClient::Close()
{
    if (m_socket == nullptr) return;
    CloseSocket();
    ClearStatus(Status::Working);
}

/// Replaces the old socket by a new one. The bit Working does not change: a pool must not lend the client to
/// another caller between two attempts.
void QZHttpClient::Open(QZIPAddress* address, unsigned short port)
{
    CloseSocket();
    QZSocketClient* socket = CreateSocket(address, port);
    const QZCriticalGuard guard(m_socketLock);
    m_socket = socket;
}

void QZHttpClient::Connect(QZIPAddress* address, unsigned short port)
{
    const QZCriticalGuard guard(m_lock);
    try
    {
        Open(address, port);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Connect"))
            .Argument(QZ_W("QZIPAddress*"), static_cast<QZInt64>(address->GetValue()))
            .Argument(QZ_W("QZUInt16"), static_cast<QZInt64>(port));
        throw;
    }
    Note(address);
    m_port = port;
    SetStatus(Status::Connected);
}

/// Notes the address. The object made for the first address stays and takes the values of later ones, so that
/// readers need no lock.
void QZHttpClient::Note(QZIPAddress* address)
{
    QZIPAddress* own = m_address;
    if (own == nullptr)
    {
        m_address = new QZIPAddress(address);
        return;
    }
    own->SetValue(address->GetValue());
    own->SetThePort(address->GetThePort());
}

void QZHttpClient::Reconnect()
{
    try
    {
        if (m_address == nullptr) throw Unconnected();
        Open(m_address, m_port);
        SetStatus(Status::Connected);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Reconnect"));
        throw;
    }
}

QZHttpResponse* QZHttpClient::Request(QZHttpRequest* request)
{
    try
    {
        if (m_address == nullptr) throw Unconnected();
        const QZCriticalGuard guard(m_lock);
        if (!Has(Status::Connected)) Reconnect();
        SetStatus(Status::Working);
        for (int failed = 0;; ++failed)
        {
            try
            {
                if (failed > 0) Reconnect();
                QZHttpResponse* response = SendRequest(request);
                ClearStatus(Status::Working);
                return response;
            }
            catch (QZException* e)
            {
                m_failCount.fetch_add(1, std::memory_order_relaxed);
                if (failed == http::kRetries)
                {
                    Close();
                    ClearStatus(Status::Connected | Status::Working);
                    throw;
                }
                QZExceptionFactory::Recycle(&e);
            }
            QZThread::Sleep(http::g_retryPauses[failed]);
        }
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Request"))
            .Argument(QZ_W("QZHttpRequest*"), static_cast<QZInt64>(request->GetObjectID()));
        throw;
    }
}

QZHttpResponse* QZHttpClient::SendRequest(QZHttpRequest* request)
{
    try
    {
        http::RoundTrip trip(m_socket);
        trip.Send(request);
        return trip.Receive();
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("SendRequest"))
            .Argument(QZ_W("QZHttpRequest*"), static_cast<QZInt64>(request->GetObjectID()));
        throw;
    }
}

void QZHttpClient::ReportError(QZHttpException* exception) { throw exception; }

long long QZHttpClient::GetRemoteAddress()
{
    QZIPAddress* address = m_address;
    return address != nullptr ? address->GetValue() : 0;
}

unsigned short QZHttpClient::GetPort() { return m_port; }
QZBool QZHttpClient::IsWorking() { return Has(Status::Working); }

void QZHttpClient::WorkNow()
{
    const QZCriticalGuard guard(m_lock);
    SetStatus(Status::Working);
}

void QZHttpClient::Recycle(QZHttpResponse** response) { QZHttpFactory::Recycle(response); }

void QZHttpClient::SetTimeout(int ms)
{
    m_timeout.store(ms, std::memory_order_relaxed);
    const QZCriticalGuard guard(m_socketLock);
    if (m_socket != nullptr) m_socket->SetTimeout(ms);
}

QZInt64 QZHttpClient::GetFailCount() { return m_failCount.load(std::memory_order_relaxed); }
