// The thread of an engine that accepts clients, and its completion threads.

#include "net/net_http_engine.h"

#include <cstring>

#include "fw/fw_environment.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_connection_access.h"
#include "net/internal/net_http_strict_server.h"
#include "net/net_http_engine_tasks.h"
#include "net/net_http_factory.h"
#include "os/os_thread.h"
#include "os/os_thread_pool.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_socket.h"

namespace
{

using Access = QZHttpConnectAccess;
using http::StrictServer;
using Status = QZHttpServerEngineStatus;
using ThreadStatus = QZHttpServerEngineThreadStatus;

// Milliseconds of one wait for a completion.
constexpr QZUInt32 kWait = 3000;
// Milliseconds for which a server in strict mode accepts nobody after a failure.
constexpr int kRest = 100;
// A number of bytes that no receive can have; such a completion is ignored.
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
    // From here on the engine may be deleted.
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
            // Without descriptors the next try would fail at once.
            QZThread::Sleep(StrictServer::Of(this).on ? kRest : 1);
        }
    }
    QZCriticalGuard guard(m_statusLock);
    m_acceptStatus.store(ThreadStatus::Abort);
}

void QZHttpServerEngine::WaitForRoom()
{
    if (m_maxClient == MaxClientDefault) return;
    const auto open = [this] {
        return m_connects->Count() + (StrictServer::Of(this).on ? m_closeWait->Count() : 0);
    };
    while (open() >= m_maxClient && !QZThread::IsThreadsAbort() && IsWorking()) QZThread::Sleep(10);
}

void QZHttpServerEngine::Accept()
{
    WaitForRoom();
    if (!IsWorking()) return;
    if (StrictServer::Of(this).on) return StrictServer::Of(this).Accept();
    QZUInt32 address = 0;
    QZUInt16 port = 0;
    // Only a listener of ListenOn has clients of both families.
    os::SocketAddress peer = {};
    const bool any = StrictServer::Of(this).hasAddress;
    const QZInt64 socket =
        any ? os::SocketAcceptAny(m_listen, &peer) : os::SocketAccept(m_listen, &address, &port);
    if (any && !peer.Six)
    {
        std::memcpy(&address, peer.Bytes, sizeof(address));
        port = peer.Port;
    }
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

/// Drops the connections that had this handle before. The system reuses a handle only after its socket was
/// closed.
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
        Access::ForgetSocket(connect);
        Leave(connect);
    }
}

void QZHttpServerEngine::Welcome(QZInt64 id, QZUInt32 address, QZUInt16 port)
{
    // Responses are sent in pieces. The last piece must not wait until the client has confirmed the earlier
    // ones.
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
    Access::SetHeadLimit(connect, m_headLimit);
    connect->SetClientID(id);
    connect->SetIP(address, port);
    bool taken;
    {
        QZCriticalGuard guard(m_connectLock);
        taken = m_connects->EnQueue(connect) != 0;
    }
    if (!taken)
    {
        Access::CloseSocket(connect);
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
        Access::CloseSocket(connect);
        Leave(connect);
        throw failure;
    }
    Access::ClearBlock(connect);
    Access::Receive(connect);
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

/// The id 0 stands for a time-out or a wake-up.
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
    if (StrictServer::Of(this).on) return StrictServer::Of(this).Received(id, bytes);
    QZHttpConnect* connect = GetConnectByID(id);
    if (connect == nullptr) return;
    Access::Piece piece;
    {
        // A connection has one receive at a time, so the pieces are counted in the order of their arrival.
        QZCriticalGuard guard(m_connectLock);
        piece = Access::NextPiece(connect, bytes);
    }
    Origin origin;
    origin.serial = piece.serial;
    origin.piece = piece.number;
    try
    {
        if (AnswerInPlace)
        {
            // The connection is in use here, so the piece needs no second look-up. A worker needs one: while
            // the piece waits for it, the connection may be closed.
            origin.connect = connect;
            ProcessPiece(id, origin, Access::ReceivedBytes(connect), piece.offset, bytes);
        }
        else
        {
            Process(id, origin, Access::ReceivedBytes(connect), piece.offset, bytes);
        }
    }
    catch (QZException*)
    {
        Recycle(&connect);
        throw;
    }
    // When worker threads answer requests, a failed receive is noticed only by the next housekeeping pass.
    if (!Access::Receive(connect) && AnswerInPlace) Broken(connect);
    Recycle(&connect);
}

/// Moves a connection whose peer has closed to the connections that wait for their end.
///
/// When workers answer requests, the next receive is already running, and its completion shows that the
/// client has closed. When requests are answered in place, the next receive starts after the response and
/// fails.
void QZHttpServerEngine::Broken(QZHttpConnect* connect)
{
    QZCriticalGuard guard(m_connectLock);
    Access::SetPeerClosed(connect);
    if (Access::TakeOut(m_connects, connect)) m_closeWait->EnQueue(connect);
}

void QZHttpServerEngine::PeerClosed(QZInt64 id)
{
    if (StrictServer::Of(this).on) return StrictServer::Of(this).PeerClosed(id);
    QZCriticalGuard guard(m_connectLock);
    if (QZHttpConnect* connect = Access::Find(m_connects, id))
        Broken(connect);
    else
        Access::SetPeerClosed(m_closeWait, id);
}
