// The part of an engine that closes connections, and its housekeeping.

#include "net/net_http_engine.h"
#include "fw/fw_collection.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_connection_access.h"
#include "net/internal/net_http_strict_server.h"
#include "net/net_http_engine_tasks.h"
#include "net/net_http_factory.h"
#include "os/os_thread.h"

namespace
{

using Access = QZHttpConnectAccess;

constexpr const QZWChar* kClass = QZ_W("QZHttpServerEngine");
// Milliseconds for which CloseAll waits until nobody uses a connection.
constexpr int kLastSteps = 100;
// The id that ConnectClose takes for all connections.
constexpr QZInt64 kAllConnections = -1;

using http::Now;
using http::StrictServer;

}  // namespace

QZHttpConnect* QZHttpServerEngine::GetConnectByID(long long id)
{
    QZCriticalGuard guard(m_connectLock);
    QZHttpConnect* connect = m_connects->GetByClientID(id);
    if (connect != nullptr) return connect;
    connect = m_closeWait->RemoveByClientID(id);
    if (connect == nullptr) return nullptr;
    if (Access::TimesOf(connect).lastUse + Access::FreeTime(m_closeWait) / 2 <= Now())
    {
        m_closeWait->EnQueue(connect);
        return nullptr;
    }
    connect->InUse();
    m_connects->EnQueue(connect);
    return connect;
}

void QZHttpServerEngine::Recycle(QZHttpConnect** connect) { m_connects->Recycle(connect); }

/// The caller holds the connect lock and has taken the connection out of m_connects.
void QZHttpServerEngine::BeginClose(QZHttpConnect* connect)
{
    if (Access::BeginClosing(connect)) Access::ShutdownSend(connect);
    m_closeWait->EnQueue(connect);
}

void QZHttpServerEngine::BeginCloseAll()
{
    // The sockets are not shut down here. The clients see the end when the housekeeping closes the sockets.
    while (QZHttpConnect* connect = m_connects->DeQueue())
    {
        Access::BeginClosing(connect);
        m_closeWait->EnQueue(connect);
    }
}

void QZHttpServerEngine::ConnectClose(long long id)
{
    try
    {
        QZCriticalGuard guard(m_connectLock);
        if (id == kAllConnections)
            BeginCloseAll();
        else if (QZHttpConnect* connect = m_connects->RemoveByClientID(id))
            BeginClose(connect);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("ConnectClose")).Argument(QZ_W("QZInt64"), QZInt64{id});
        Report(e);
        QZExceptionFactory::Recycle(&e);
    }
}

void QZHttpServerEngine::ConnectClose(QZHttpConnect* connect)
{
    try
    {
        QZCriticalGuard guard(m_connectLock);
        if (Access::TakeOut(m_connects, connect)) BeginClose(connect);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("ConnectClose"))
            .Argument(QZ_W("QZPVoid"), static_cast<QZInt64>(reinterpret_cast<QZUInt64>(connect)));
        Report(e);
        QZExceptionFactory::Recycle(&e);
    }
}

/// Gives a closed connection, which is in no list, back to the cache: at once when nobody uses it, else later
/// in LeaveAll.
void QZHttpServerEngine::Leave(QZHttpConnect* connect)
{
    if (StrictServer::Of(this).on) StrictServer::Of(this).Forget(connect);
    if (connect->IsUseComplete())
    {
        QZHttpFactory::Recycle(&connect);
        return;
    }
    QZCriticalGuard guard(m_connectLock);
    m_leaving->EnQueue(connect);
}

void QZHttpServerEngine::LeaveAll()
{
    QZCriticalGuard guard(m_connectLock);
    for (QZInt64 left = m_leaving->Count(); left > 0; --left) Leave(m_leaving->DeQueue());
}

void QZHttpServerEngine::ConnectCloseFree()
{
    if (StrictServer::Of(this).on) return StrictServer::Of(this).Check();
    try
    {
        LeaveAll();
        const auto pop = [this](QZHttpConnectCollection* list) {
            QZCriticalGuard guard(m_connectLock);
            return list->PopFreeConnect(1);
        };
        while (QZHttpConnect* connect = pop(m_closeWait))
        {
            Access::CloseSocket(connect);
            Leave(connect);
        }
        for (;;)
        {
            QZCriticalGuard guard(m_connectLock);
            QZHttpConnect* connect = m_connects->PopFreeConnect(1);
            if (connect == nullptr) break;
            // The connection has left the list, so ConnectClose does not shut down its socket. A silent
            // client sees the end when the socket is closed.
            ConnectClose(connect->GetClientID());
            Access::BeginClosing(connect);
            m_closeWait->EnQueue(connect);
        }
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("ConnectCloseFree"));
        Report(e);
        QZExceptionFactory::Recycle(&e);
    }
}

void QZHttpServerEngine::ConnectCheck()
{
    // In strict mode each stage of a connection has a limit of its own.
    if (StrictServer::Of(this).on) return;
    try
    {
        QZCollection silent;
        QZCriticalGuard guard(m_connectLock);
        const QZInt64 now = Now();
        Access::ForEach(m_connects, [&](QZHttpConnect* connect) {
            if (Access::TimesOf(connect).lastUse + FreeConnectKeepAliveTime < now)
                silent.Push(static_cast<QZUInt64>(connect->GetClientID()));
        });
        for (QZInt64 i = 0; i < silent.Count(); ++i) ConnectClose(static_cast<QZInt64>(silent.GetElement(i)));
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("ConnectCheck"));
        Report(e);
        QZExceptionFactory::Recycle(&e);
    }
}

void QZHttpServerEngine::CloseAll()
{
    for (;;)
    {
        QZHttpConnect* connect;
        {
            QZCriticalGuard guard(m_connectLock);
            connect = m_connects->DeQueue();
            if (connect == nullptr) connect = m_closeWait->DeQueue();
        }
        if (connect == nullptr) break;
        // CloseSocket waits for a request that is being answered, so no other lock is held here. A page that
        // calls CloseAll holds the cache lock of its own connection and does not wait for itself.
        Access::CloseSocket(connect);
        for (int i = 0; i < kLastSteps && !connect->IsUseComplete(); ++i) QZThread::Sleep(1);
        Leave(connect);
    }
    LeaveAll();
}

// ---- The tasks of the scheduler

// They stand here because the source of their header knows the engine only by name: including the engine
// there would close a circle.

void QZTaskConnectClose::Execute()
{
    m_engine->ConnectCloseFree();
    m_engine->WakeStalled();
}

void QZTaskConnectCheck::Execute() { m_engine->ConnectCheck(); }

void QZTaskCacheCollect::Execute() { m_engine->Collect(); }
