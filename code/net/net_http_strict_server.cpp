#include "net/internal/net_http_strict_server.h"

#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "fw/fw_exception_factory.h"
#include "fw/fw_lock.h"
#include "fw/fw_report.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_connection_access.h"
#include "net/internal/net_http_fields.h"
#include "net/net_http_engine_tasks.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "os/os_ip_address.h"
#include "os/os_thread_pool.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_port.h"

namespace
{

using Access = QZHttpConnectAccess;
using Stage = http::StrictConnection::Stage;

constexpr const QZWChar* kClass = QZ_W("QZHttpServerEngine");
constexpr int kServiceUnavailable = 503;
// Clients without room that get a response at the same time; further ones get none.
constexpr QZInt64 kMostTurnedAway = 64;
// Milliseconds for which the response to a client without room may block.
constexpr QZUInt32 kFarewellTime = 100;
// Milliseconds for which equal reports are counted and not passed on.
constexpr QZInt64 kReportTime = 10000;

QZException* SystemFailure(const QZWChar* text)
{
    return QZExceptionFactory::CreateException(text, static_cast<QZInt64>(os::LastError()));
}

/// The limit of time of a stage; 0 for none.
QZInt64 TimeOf(Stage stage, const QZHttpServerLimits& limits)
{
    switch (stage)
    {
        case Stage::Idle: return limits.idleTime;
        case Stage::Head: return limits.headTime;
        case Stage::Body: return limits.bodyTime;
        case Stage::Sending: return limits.sendTime;
        default: return 0;
    }
}

bool IsOverdue(const http::StrictConnection& state, const QZHttpServerLimits& limits)
{
    const QZInt64 time = TimeOf(state.At(), limits);
    return time > 0 && state.Age() > time;
}

/// What counts as one address: an IPv4 address, or an IPv6 network with a prefix of 64 bits.
std::string KeyOf(const os::SocketAddress& peer)
{
    constexpr std::size_t kFour = 4;
    constexpr std::size_t kNetwork = 8;
    return {reinterpret_cast<const char*>(peer.Bytes), peer.Six ? kNetwork : kFour};
}

}  // namespace

namespace http
{

// ---- Listening

bool StrictServer::Bind()
{
    if (!hasAddress) return os::SocketBind(m_engine->m_listen, m_engine->m_port, m_engine->m_bindAddress);
    if (!address.Six)
    {
        QZUInt32 four;
        std::memcpy(&four, address.Bytes, sizeof(four));
        return os::SocketBind(m_engine->m_listen, m_engine->m_port, four);
    }
    const QZInt64 socket = os::SocketOpenSix();
    if (socket == 0) return false;
    os::SocketClose(m_engine->m_listen);
    m_engine->m_listen = socket;
    if (!os::SocketKeepAlive(m_engine->m_listen, kKeepAliveTime, kKeepAliveInterval)) return false;
    os::PortAssociate(m_engine->m_handle, m_engine->m_listen, 0);
    os::SocketAddress bound = address;
    // The bytes of a port in network order, as they lie in memory.
    const unsigned char port[] = {static_cast<unsigned char>(m_engine->m_port >> 8),
                                  static_cast<unsigned char>(m_engine->m_port & 0xFF)};
    std::memcpy(&bound.Port, port, sizeof(port));
    return os::SocketBindSix(m_engine->m_listen, bound, both);
}

// ---- Accepting

void StrictServer::Accept()
{
    os::SocketAddress peer = {};
    const QZInt64 socket = os::SocketAcceptAny(m_engine->m_listen, &peer);
    if (socket == 0)
    {
        if (!m_engine->IsWorking()) return;
        throw SystemFailure(QZ_W("QZHttpServerEngine accept failed"));
    }
    if (!m_engine->IsWorking())
    {
        os::SocketClose(socket);
        return;
    }
    m_engine->DropNamesakes(socket);
    const bool room = HasRoomFor(peer);
    if (!room && !MayTurnAway())
    {
        os::SocketClose(socket);
        return;
    }
    os::SocketNoDelay(socket);
    QZHttpConnect* connect = MakeConnect(socket, peer);
    if (room)
        Welcome(connect);
    else
        TurnAway(connect);
}

/// True when a client without room gets a response.
bool StrictServer::MayTurnAway()
{
    QZCriticalGuard guard(m_engine->m_connectLock);
    return m_refused < kMostTurnedAway;
}

/// True when the limits allow one more connection of this address. Only the accepting thread adds
/// connections.
bool StrictServer::HasRoomFor(const os::SocketAddress& peer)
{
    QZCriticalGuard guard(m_engine->m_connectLock);
    const QZInt64 open = m_engine->m_connects->Count() + m_engine->m_closeWait->Count() +
                         m_engine->m_leaving->Count() - m_refused;
    if (limits.connections > 0 && open >= limits.connections) return false;
    if (limits.connectionsOfAddress <= 0) return true;
    const auto found = m_addresses.find(KeyOf(peer));
    return found == m_addresses.end() || found->second < limits.connectionsOfAddress;
}

/// A connection in no list. Closes the socket when there is no memory for it.
QZHttpConnect* StrictServer::MakeConnect(QZInt64 id, const os::SocketAddress& peer)
{
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
    Access::SetHeadLimit(connect, m_engine->m_headLimit);
    connect->SetClientID(id);
    if (Access::Strict(connect) == nullptr) Access::SetStrict(connect, new http::StrictConnection);
    http::StrictConnection& state = *Access::Strict(connect);
    state.peer = peer;
    state.counted = state.refused = false;
    state.reader.Start({m_engine->m_headLimit, limits.headers, limits.body, limits.proxyLine != 0});
    state.since.store(http::Ticks(), std::memory_order_relaxed);
    state.stage.store(Stage::Idle, std::memory_order_release);
    QZUInt32 value = 0;
    if (!state.peer.Six) std::memcpy(&value, state.peer.Bytes, sizeof(value));
    connect->SetIP(value, state.peer.Port);
    return connect;
}

void StrictServer::Welcome(QZHttpConnect* connect)
{
    {
        QZCriticalGuard guard(m_engine->m_connectLock);
        ++m_addresses[KeyOf(Access::Strict(connect)->peer)];
        Access::Strict(connect)->counted = true;
    }
    BeginReceiving(connect, m_engine->m_connects);
}

/// Answers a client for which there is no room, and waits for it to leave.
void StrictServer::TurnAway(QZHttpConnect* connect)
{
    {
        QZCriticalGuard guard(m_engine->m_connectLock);
        ++m_refused;
        Access::Strict(connect)->refused = true;
    }
    Access::Strict(connect)->Enter(Stage::Ended);
    Access::BeginClosing(connect);
    QZHttpResponse* response =
        QZHttpServer::PageOf(kServiceUnavailable, m_engine->m_serverName->GetPointer());
    http::SetHeaderValue(response->GetHeaders(), QZ_W("Connection"), QZ_W("close"));
    QZData* bytes = response->ToData();
    const QZInt64 id = connect->GetClientID();
    os::SocketSetSendTimeout(id, kFarewellTime);
    // The response fits into the buffer of a new socket.
    os::SocketSend(id, bytes->GetPointer(), bytes->GetSize());
    Access::ShutdownSend(connect);
    response->Recycle(&bytes);
    QZHttpFactory::Recycle(&response);
    BeginReceiving(connect, m_engine->m_closeWait);
}

/// Puts a new connection into a list and starts its first receive.
void StrictServer::BeginReceiving(QZHttpConnect* connect, QZHttpConnectCollection* list)
{
    bool taken;
    {
        QZCriticalGuard guard(m_engine->m_connectLock);
        taken = list->EnQueue(connect) != 0;
    }
    QZException* failure = nullptr;
    if (taken)
    {
        const QZInt64 id = connect->GetClientID();
        Access::ClearBlock(connect);
        if (os::PortAssociate(m_engine->m_handle, id, id))
        {
            if (!Access::Receive(connect)) m_engine->Broken(connect);
            return;
        }
        failure = SystemFailure(QZ_W("CreateIoCompletionPort associate failed"));
        QZCriticalGuard guard(m_engine->m_connectLock);
        list->Remove(connect);
    }
    Access::CloseSocket(connect);
    m_engine->Leave(connect);
    if (failure != nullptr) throw failure;
}

void StrictServer::Forget(QZHttpConnect* connect)
{
    http::StrictConnection* state = Access::Strict(connect);
    if (state == nullptr) return;
    QZCriticalGuard guard(m_engine->m_connectLock);
    if (state->refused) --m_refused;
    if (state->counted)
    {
        const auto found = m_addresses.find(KeyOf(state->peer));
        if (found != m_addresses.end() && --found->second == 0) m_addresses.erase(found);
    }
    state->counted = state->refused = false;
    // A connection in the cache needs no memory for a body.
    if (connect->IsUseComplete() != 0) state->reader.Next();
}

// ---- Receiving

void StrictServer::Received(QZInt64 id, QZUInt32 bytes)
{
    QZHttpConnect* connect;
    {
        QZCriticalGuard guard(m_engine->m_connectLock);
        connect = Access::Find(m_engine->m_connects, id);
        if (connect == nullptr) connect = Access::Find(m_engine->m_closeWait, id);
        if (connect == nullptr) return;
        connect->InUse();
    }
    if (Access::Strict(connect)->At() == Stage::Ended || Access::IsClosing(connect))
    {
        // The bytes are dropped. They are received all the same: a socket that is closed with bytes unread
        // takes the last response away from its client.
        return Continue(connect);
    }
    if (QZHttpServerEngine::AnswerInPlace) return Serve(connect, bytes);
    QZHttpServerProcessTask* task = nullptr;
    try
    {
        task = m_engine->m_taskPool->GetTask();
        task->m_clientId = id;
        task->m_connect = connect;
        task->m_bytes = bytes;
    }
    catch (QZException*)
    {
        m_engine->ConnectClose(connect);
        m_engine->Recycle(&connect);
        throw;
    }
    m_engine->m_threadPool->ExecOnceASync(task);
}

/// The client has ended its stream, and all its requests are answered, because the receive began after them.
void StrictServer::PeerClosed(QZInt64 id)
{
    QZHttpConnect* connect;
    {
        QZCriticalGuard guard(m_engine->m_connectLock);
        connect = Access::Find(m_engine->m_connects, id);
        if (connect == nullptr) connect = Access::Find(m_engine->m_closeWait, id);
        if (connect == nullptr) return;
        m_engine->Broken(connect);
        if (!TakeDone(connect)) return;
    }
    Access::CloseSocket(connect);
    m_engine->Leave(connect);
}

/// Takes a connection out of its list when its client has gone and nobody uses it. The caller holds the lock
/// of the connections.
bool StrictServer::TakeDone(QZHttpConnect* connect)
{
    return Access::IsPeerClosed(connect) && connect->IsUseComplete() != 0 &&
           Access::TakeOut(m_engine->m_closeWait, connect);
}

void StrictServer::Serve(QZHttpConnect* connect, QZUInt32 bytes)
{
    StrictExchange(m_engine, connect).Run(Access::ReceivedBytes(connect), bytes);
    Continue(connect);
}

/// Starts the next receive and ends the use of the connection.
void StrictServer::Continue(QZHttpConnect* connect)
{
    if (!Access::Receive(connect)) m_engine->Broken(connect);
    {
        // Under the lock nobody else can close the connection and give it to another client.
        QZCriticalGuard guard(m_engine->m_connectLock);
        connect->UseComplete();
        if (!TakeDone(connect)) return;
    }
    Access::CloseSocket(connect);
    m_engine->Leave(connect);
}

// ---- Housekeeping

void StrictServer::Check()
{
    try
    {
        m_engine->LeaveAll();
        EndOverdue();
        CloseEnded();
        ReportRepeats(false);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("ConnectCloseFree"));
        m_engine->Report(e);
        QZExceptionFactory::Recycle(&e);
    }
}

/// Ends the connections whose stage lasts too long.
void StrictServer::EndOverdue()
{
    std::vector<QZHttpConnect*> overdue;
    {
        QZCriticalGuard guard(m_engine->m_connectLock);
        Access::ForEach(m_engine->m_connects, [&](QZHttpConnect* connect) {
            const http::StrictConnection& state = *Access::Strict(connect);
            if (!IsOverdue(state, limits)) return;
            // Bytes that have arrived are processed first. A response is sent by somebody who uses the
            // connection.
            if (state.At() != Stage::Sending && connect->IsUseComplete() == 0) return;
            overdue.push_back(connect);
            connect->InUse();
        });
    }
    for (QZHttpConnect* connect : overdue)
    {
        http::StrictConnection& state = *Access::Strict(connect);
        if (state.At() == Stage::Sending)
        {
            if (IsOverdue(state, limits)) Access::Abort(connect);
        }
        else if (const std::unique_lock<std::recursive_mutex> turn(state.turn, std::try_to_lock);
                 turn.owns_lock() && IsOverdue(state, limits))
        {
            if (state.At() == Stage::Idle)
                state.Enter(Stage::Ended);
            else
                StrictExchange(m_engine, connect).TimeOut();
            m_engine->ConnectClose(connect);
        }
        m_engine->Recycle(&connect);
    }
}

/// Closes the connections whose client has ended its stream too, or has not done so in its time.
void StrictServer::CloseEnded()
{
    std::vector<QZHttpConnect*> ended;
    {
        QZCriticalGuard guard(m_engine->m_connectLock);
        Access::ForEach(m_engine->m_closeWait, [&](QZHttpConnect* connect) {
            http::StrictConnection& state = *Access::Strict(connect);
            const bool unused = connect->IsUseComplete() != 0;
            // The host has closed the connection.
            if (unused && state.At() != Stage::Ended) state.Enter(Stage::Ended);
            const bool late = state.At() == Stage::Ended && state.Age() > limits.closeTime;
            if (late || (unused && Access::IsPeerClosed(connect))) ended.push_back(connect);
        });
        for (QZHttpConnect* connect : ended) m_engine->m_closeWait->Remove(connect);
    }
    for (QZHttpConnect* connect : ended)
    {
        Access::CloseSocket(connect);
        m_engine->Leave(connect);
    }
}

// ---- Reports

bool StrictServer::ReportsAgain(QZException* exception)
{
    const std::basic_string<QZWChar> text(exception->GetMsg()->GetPointer());
    {
        const std::lock_guard<std::mutex> guard(m_reportLock);
        if (text == m_lastReport && http::Ticks() - m_lastReportTime < kReportTime)
        {
            ++m_repeatedReports;
            return true;
        }
    }
    ReportRepeats(true);
    const std::lock_guard<std::mutex> guard(m_reportLock);
    m_lastReport = text;
    m_lastReportTime = http::Ticks();
    return false;
}

/// Reports how often the last report came again.
/// @param now  false: only when the time of the last report is over
void StrictServer::ReportRepeats(bool now)
{
    QZString text(QZ_W("The last report came again this often: "));
    {
        const std::lock_guard<std::mutex> guard(m_reportLock);
        const bool over = http::Ticks() - m_lastReportTime >= kReportTime;
        if (m_repeatedReports == 0 || !(now || over)) return;
        text.Append(m_repeatedReports);
        m_repeatedReports = 0;
    }
    if (m_engine->m_report != nullptr) m_engine->m_report->Report(&text);
}

}  // namespace http
