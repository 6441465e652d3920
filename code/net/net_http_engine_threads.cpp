// The accepting thread and the completion threads of an engine.

#include "net/net_http_engine.h"
#include "fw/fw_environment.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_trace.h"
#include "net/net_http_connection.h"
#include "net/net_http_engine_tasks.h"
#include "net/net_http_factory.h"
#include "os/os_thread.h"
#include "os/os_thread_pool.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_socket.h"

namespace
{

using Status = QZHttpServerEngineStatus;
using ThreadStatus = QZHttpServerEngineThreadStatus;

constexpr QZUInt32 kWait = 3000;
constexpr QZUInt32 kNoCount = 0xFFFFFFFF;

QZException* SystemFailure(const QZWChar* text)
{
    return QZExceptionFactory::CreateException(text, static_cast<QZInt64>(os::LastError()));
}

}  // namespace

// ---- Accepting

void QZHttpServerEngine::AcceptThread(void* engine)
{
    QZHttpServerEngine* self = static_cast<QZHttpServerEngine*>(engine);
    self->AcceptLoop();
    // The engine may go from here on.
    --self->m_threads;
}

void QZHttpServerEngine::AcceptLoop()
{
    {
        QZCriticalGuard guard(m_statusLock);
        m_acceptStatus.store(ThreadStatus::Working);
    }
    while (m_status.load() == Status::HttpServerInitialized && !QZThread::IsThreadsAbort())
        QZThread::Sleep(10);
    while (!QZThread::IsThreadsAbort() && IsWorking())
    {
        try
        {
            Accept();
        }
        catch (QZException* e)
        {
            QZTrace(e, QZ_W("QZHttpServerEngine"), QZ_W("Accept"));
            Report(e);
            QZExceptionFactory::Recycle(&e);
            // Out of descriptors, the next try would fail at once.
            QZThread::Sleep(1);
        }
    }
    QZCriticalGuard guard(m_statusLock);
    m_acceptStatus.store(ThreadStatus::Abort);
}

void QZHttpServerEngine::WaitForRoom()
{
    if (m_maxClient == MaxClientDefault) return;
    while (m_connects->Count() >= m_maxClient && !QZThread::IsThreadsAbort() && IsWorking())
        QZThread::Sleep(10);
}

void QZHttpServerEngine::Accept()
{
    WaitForRoom();
    if (!IsWorking()) return;
    QZUInt32 address = 0;
    QZUInt16 port = 0;
    const QZInt64 socket = os::SocketAccept(m_listen, &address, &port);
    if (socket == 0)
    {
        if (!IsWorking()) return;
        throw SystemFailure(QZ_W("QZHttpServerEngine accept failed"));
    }
    if (m_status.load() == Status::HttpServerAbort)
    {
        os::SocketClose(socket);
        return;
    }
    DropNamesakes(socket);
    Welcome(socket, address, port);
}

/// The system gives handles out again: whoever had this one before is gone.
void QZHttpServerEngine::DropNamesakes(QZInt64 id)
{
    for (QZHttpConnectCollection* list : {m_connects, m_closeWait})
    {
        QZHttpConnect* connect;
        {
            QZCriticalGuard guard(m_connectLock);
            connect = list->RemoveByClientID(id);
        }
        if (connect == nullptr) continue;
        connect->ForgetSocket();
        Leave(connect);
    }
}

void QZHttpServerEngine::Welcome(QZInt64 id, QZUInt32 address, QZUInt16 port)
{
    // Responses go out in pieces; the last one must not wait for the client to confirm those before.
    os::SocketNoDelay(id);
    QZHttpConnect* connect;
    try
    {
        connect = QZHttpFactory::CreateConnect();
    }
    catch (QZException*)
    {
        os::SocketClose(id);
        throw;
    }
    connect->m_headLimit.store(m_headLimit, std::memory_order_relaxed);
    connect->SetClientID(id);
    connect->SetIP(address, port);
    bool taken;
    {
        QZCriticalGuard guard(m_connectLock);
        taken = m_connects->EnQueue(connect) != 0;
    }
    if (!taken)
    {
        connect->CloseSocket();
        Leave(connect);
        return;
    }
    if (!os::PortAssociate(m_handle, id, id))
    {
        QZException* failure = SystemFailure(QZ_W("CreateIoCompletionPort associate failed"));
        {
            QZCriticalGuard guard(m_connectLock);
            m_connects->Remove(connect);
        }
        connect->CloseSocket();
        Leave(connect);
        throw failure;
    }
    QZMemClean(connect->m_handle, sizeof(os::PortBlock));
    connect->Receive();
}

// ---- Completions

void QZHttpServerEngine::WorkThread(void* port, void* engine)
{
    QZHttpServerEngine* self = static_cast<QZHttpServerEngine*>(engine);
    self->WorkLoop(reinterpret_cast<std::intptr_t>(port));
    --self->m_threads;
}

void QZHttpServerEngine::WorkBegin()
{
    QZCriticalGuard guard(m_statusLock);
    if (++m_runningWorkers == m_workerCount) m_workStatus.store(ThreadStatus::Working);
}

void QZHttpServerEngine::WorkEnd()
{
    QZCriticalGuard guard(m_statusLock);
    if (--m_runningWorkers == 0) m_workStatus.store(ThreadStatus::Abort);
}

void QZHttpServerEngine::WorkLoop(QZInt64 port)
{
    WorkBegin();
    while (m_status.load() == Status::HttpServerInitialized && !QZThread::IsThreadsAbort())
        QZThread::Sleep(10);
    while (!QZThread::IsThreadsAbort() && IsWorking())
    {
        os::PortCompletion completion = {};
        const bool succeeded = os::PortWait(port, kWait, &completion);
        try
        {
            Completed(completion.Key, completion.Bytes, succeeded);
        }
        catch (QZException* e)
        {
            QZTrace(e, QZ_W("QZHttpServerEngine"), QZ_W("WorkThread"));
            Report(e);
            QZExceptionFactory::Recycle(&e);
        }
        if (CompletionPause > 0) QZThread::Sleep(CompletionPause);
    }
    WorkEnd();
}

/// Key 0 is a time-out or a wake-up.
void QZHttpServerEngine::Completed(QZInt64 id, QZUInt32 bytes, bool succeeded)
{
    if (id == 0) return;
    if (!succeeded || bytes == 0)
        PeerClosed(id);
    else if (bytes != kNoCount)
        Received(id, bytes);
}

void QZHttpServerEngine::Received(QZInt64 id, QZUInt32 bytes)
{
    QZHttpConnect* connect = GetConnectByID(id);
    if (connect == nullptr) return;
    QZUInt32 offset;
    Origin origin;
    {
        // Receives of one connection come one after another, so pieces get their places in their order.
        QZCriticalGuard guard(m_connectLock);
        offset = connect->Advance(bytes, &origin.piece);
        origin.serial = connect->m_serial.load(std::memory_order_relaxed);
    }
    try
    {
        if (AnswerInPlace)
            ProcessPiece(id, origin, connect->m_handle->Data, offset, bytes);
        else
            Process(id, origin, connect->m_handle->Data, offset, bytes);
    }
    catch (QZException*)
    {
        Recycle(&connect);
        throw;
    }
    // By workers, a receive that fails shows through the housekeeping.
    if (!connect->Receive() && AnswerInPlace) Broken(connect);
    Recycle(&connect);
}

/// A client that goes while its answer is made is told of by the receive under way. In place there is none,
/// and the next one fails.
void QZHttpServerEngine::Broken(QZHttpConnect* connect)
{
    QZCriticalGuard guard(m_connectLock);
    connect->m_peerClosed.store(1, std::memory_order_relaxed);
    if (m_connects->TakeOut(connect)) m_closeWait->EnQueue(connect);
}

void QZHttpServerEngine::PeerClosed(QZInt64 id)
{
    QZCriticalGuard guard(m_connectLock);
    QZHttpConnect* connect = m_connects->RemoveByClientID(id);
    if (connect == nullptr)
    {
        m_closeWait->SetPeerClosed(id);
        return;
    }
    connect->m_peerClosed.store(1, std::memory_order_relaxed);
    m_closeWait->EnQueue(connect);
}
