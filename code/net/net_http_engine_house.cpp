// How the connections of an engine come to their end.

#include "net/net_http_engine.h"
#include "fw/fw_collection.h"
#include "fw/fw_environment.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_trace.h"
#include "net/net_http_connection.h"
#include "net/net_http_factory.h"
#include "os/os_thread.h"

namespace
{

constexpr const QZWChar* kClass = QZ_W("QZHttpServerEngine");
// Milliseconds that CloseAll gives users of a connection for their last steps.
constexpr int kLastSteps = 100;

QZInt64 Now() { return QZEnvironment::GetCurrentTimestamp(); }

}  // namespace

QZHttpConnect* QZHttpServerEngine::GetConnectByID(long long id)
{
    QZCriticalGuard guard(m_connectLock);
    QZHttpConnect* connect = m_connects->GetByClientID(id);
    if (connect != nullptr) return connect;
    connect = m_closeWait->RemoveByClientID(id);
    if (connect == nullptr) return nullptr;
    if (connect->m_lastUse.load(std::memory_order_relaxed) + m_closeWait->m_freeTime / 2 <= Now())
    {
        m_closeWait->EnQueue(connect);
        return nullptr;
    }
    connect->InUse();
    m_connects->EnQueue(connect);
    return connect;
}

void QZHttpServerEngine::Recycle(QZHttpConnect** connect) { m_connects->Recycle(connect); }

/// Under the connect lock, with the connection out of the active list.
void QZHttpServerEngine::BeginClose(QZHttpConnect* connect)
{
    if (connect->m_closing.exchange(1) == 0) connect->ShutdownSend();
    m_closeWait->EnQueue(connect);
}

void QZHttpServerEngine::BeginCloseAll()
{
    // The sockets are not shut down on this path; clients see the end when the housekeeping closes them.
    while (QZHttpConnect* connect = m_connects->DeQueue())
    {
        connect->m_closing.store(1);
        m_closeWait->EnQueue(connect);
    }
}

void QZHttpServerEngine::ConnectClose(long long id)
{
    try
    {
        QZCriticalGuard guard(m_connectLock);
        if (id == -1)
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
        if (m_connects->TakeOut(connect)) BeginClose(connect);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("ConnectClose"))
            .Argument(QZ_W("QZPVoid"), static_cast<QZInt64>(reinterpret_cast<QZUInt64>(connect)));
        Report(e);
        QZExceptionFactory::Recycle(&e);
    }
}

/// Gives a connection that is closed and in no list back to the cache, at once or when its last user is
/// through with it.
void QZHttpServerEngine::Leave(QZHttpConnect* connect)
{
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
    try
    {
        LeaveAll();
        const auto pop = [this](QZHttpConnectCollection* list) {
            QZCriticalGuard guard(m_connectLock);
            return list->PopFreeConnect(1);
        };
        while (QZHttpConnect* connect = pop(m_closeWait))
        {
            connect->CloseSocket();
            Leave(connect);
        }
        for (;;)
        {
            QZCriticalGuard guard(m_connectLock);
            QZHttpConnect* connect = m_connects->PopFreeConnect(1);
            if (connect == nullptr) break;
            // Out of the list already, so it gets no shutdown: a silent client sees its end with the
            // socket's.
            ConnectClose(connect->GetClientID());
            connect->m_closing.store(1);
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
    try
    {
        QZCollection silent;
        QZCriticalGuard guard(m_connectLock);
        const QZInt64 now = Now();
        QZList<QZHttpConnect>* list = m_connects->m_list;
        for (QZHttpConnect* connect = list->GetFirst(); connect != nullptr;
             connect = static_cast<QZHttpConnect*>(connect->LinkNext()))
            if (connect->m_lastUse.load(std::memory_order_relaxed) + FreeConnectKeepAliveTime < now)
                silent.Push(static_cast<QZUInt64>(connect->GetClientID()));
        for (QZInt64 i = 0; i < silent.Count(); ++i)
            ConnectClose(static_cast<long long>(silent.GetElement(i)));
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
        // Waits, without any other lock, for a request that is being answered. A page that closes all has its
        // own connection in use and is not waited for.
        connect->CloseSocket();
        for (int i = 0; i < kLastSteps && !connect->IsUseComplete(); ++i) QZThread::Sleep(1);
        Leave(connect);
    }
    LeaveAll();
}
