// The part of an engine in strict mode that accepts clients within the limits and ends connections.

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
#include "net/internal/net_http_engine_strictness.h"
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

}  // namespace

QZHttpServerEngine::Strictness* QZHttpServerEngine::Strictly() const
{
    return static_cast<Strictness*>(m_server);
}

bool QZHttpServerEngine::IsStrict() const { return Strictly()->on; }

QZHttpServerLimits* QZHttpServerEngine::GetLimits() { return &Strictly()->limits; }

QZBool QZHttpServerEngine::ListenOn(const char* address, QZBool both)
{
    os::SocketAddress read;
    if (address == nullptr || !os::SocketAddressRead(address, &read)) return 0;
    Strictly()->address = read;
    Strictly()->hasAddress = true;
    Strictly()->both = both != 0;
    return 1;
}

QZBool QZHttpServerEngine::GetClientAddress(QZHttpRequest* request, QZString* text)
{
    os::SocketAddress peer = {};
    {
        QZCriticalGuard guard(m_connectLock);
        QZHttpConnect* connect = Access::Find(m_connects, request->GetHandle());
        if (connect == nullptr) connect = Access::Find(m_closeWait, request->GetHandle());
        if (connect == nullptr) return 0;
        const QZUInt32 value = connect->GetIP()->GetValue();
        std::memcpy(peer.Bytes, &value, sizeof(value));
        if (IsStrict()) peer = Access::Strict(connect)->peer;
    }
    char characters[64];
    os::SocketAddressWrite(peer, characters, sizeof(characters));
    text->Set(characters);
    return 1;
}

// ---- Accepting

void QZHttpServerEngine::StrictAccept()
{
    os::SocketAddress peer = {};
    const QZInt64 socket = os::SocketAcceptAny(m_listen, &peer);
    if (socket == 0)
    {
        if (!IsWorking()) return;
        throw SystemFailure(QZ_W("QZHttpServerEngine accept failed"));
    }
    if (!IsWorking())
    {
        os::SocketClose(socket);
        return;
    }
    DropNamesakes(socket);
    const bool room = HasRoomFor(&peer);
    if (!room && Strictly()->refused >= kMostTurnedAway)
    {
        os::SocketClose(socket);
        return;
    }
    os::SocketNoDelay(socket);
    QZHttpConnect* connect = MakeStrictConnect(socket, &peer);
    if (room)
        StrictWelcome(connect);
    else
        StrictTurnAway(connect);
}

/// True when the limits allow one more connection of this address, an os::SocketAddress. Only the accepting
/// thread adds connections.
bool QZHttpServerEngine::HasRoomFor(const void* peer)
{
    const Strictness& strictness = *Strictly();
    const QZHttpServerLimits& limits = strictness.limits;
    QZCriticalGuard guard(m_connectLock);
    const QZInt64 open = m_connects->Count() + m_closeWait->Count() + m_leaving->Count() - strictness.refused;
    if (limits.connections > 0 && open >= limits.connections) return false;
    if (limits.connectionsOfAddress <= 0) return true;
    const auto found =
        strictness.addresses.find(Strictness::KeyOf(*static_cast<const os::SocketAddress*>(peer)));
    return found == strictness.addresses.end() || found->second < limits.connectionsOfAddress;
}

/// A connection in no list. Closes the socket when there is no memory for it.
QZHttpConnect* QZHttpServerEngine::MakeStrictConnect(QZInt64 id, const void* peer)
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
    Access::SetHeadLimit(connect, m_headLimit);
    connect->SetClientID(id);
    if (Access::Strict(connect) == nullptr) Access::SetStrict(connect, new http::StrictConnection);
    http::StrictConnection& state = *Access::Strict(connect);
    state.peer = *static_cast<const os::SocketAddress*>(peer);
    state.counted = state.refused = false;
    const QZHttpServerLimits& limits = Strictly()->limits;
    state.reader.Start({m_headLimit, limits.headers, limits.body, limits.proxyLine != 0});
    state.since.store(http::Ticks(), std::memory_order_relaxed);
    state.stage.store(Stage::Idle, std::memory_order_release);
    QZUInt32 address = 0;
    if (!state.peer.Six) std::memcpy(&address, state.peer.Bytes, sizeof(address));
    connect->SetIP(address, state.peer.Port);
    return connect;
}

void QZHttpServerEngine::StrictWelcome(QZHttpConnect* connect)
{
    {
        QZCriticalGuard guard(m_connectLock);
        ++Strictly()->addresses[Strictness::KeyOf(Access::Strict(connect)->peer)];
        Access::Strict(connect)->counted = true;
    }
    BeginReceiving(connect, m_connects);
}

/// Answers a client for which there is no room, and waits for it to leave.
void QZHttpServerEngine::StrictTurnAway(QZHttpConnect* connect)
{
    {
        QZCriticalGuard guard(m_connectLock);
        ++Strictly()->refused;
        Access::Strict(connect)->refused = true;
    }
    Access::Strict(connect)->Enter(Stage::Ended);
    Access::BeginClosing(connect);
    QZHttpResponse* response = QZHttpServer::PageOf(kServiceUnavailable, m_serverName->GetPointer());
    http::SetHeaderValue(response->GetHeaders(), QZ_W("Connection"), QZ_W("close"));
    QZData* bytes = response->ToData();
    const QZInt64 id = connect->GetClientID();
    os::SocketSetSendTimeout(id, kFarewellTime);
    // The response fits into the buffer of a new socket.
    os::SocketSend(id, bytes->GetPointer(), bytes->GetSize());
    Access::ShutdownSend(connect);
    response->Recycle(&bytes);
    QZHttpFactory::Recycle(&response);
    BeginReceiving(connect, m_closeWait);
}

/// Puts a new connection into a list and starts its first receive.
void QZHttpServerEngine::BeginReceiving(QZHttpConnect* connect, QZHttpConnectCollection* list)
{
    bool taken;
    {
        QZCriticalGuard guard(m_connectLock);
        taken = list->EnQueue(connect) != 0;
    }
    QZException* failure = nullptr;
    if (taken)
    {
        const QZInt64 id = connect->GetClientID();
        Access::ClearBlock(connect);
        if (os::PortAssociate(m_handle, id, id))
        {
            if (!Access::Receive(connect)) Broken(connect);
            return;
        }
        failure = SystemFailure(QZ_W("CreateIoCompletionPort associate failed"));
        QZCriticalGuard guard(m_connectLock);
        list->Remove(connect);
    }
    Access::CloseSocket(connect);
    Leave(connect);
    if (failure != nullptr) throw failure;
}

/// Takes a connection that leaves the engine out of the counts.
void QZHttpServerEngine::Forget(QZHttpConnect* connect)
{
    http::StrictConnection* state = Access::Strict(connect);
    if (state == nullptr) return;
    QZCriticalGuard guard(m_connectLock);
    if (state->refused) --Strictly()->refused;
    if (state->counted)
    {
        auto& addresses = Strictly()->addresses;
        const auto found = addresses.find(Strictness::KeyOf(state->peer));
        if (found != addresses.end() && --found->second == 0) addresses.erase(found);
    }
    state->counted = state->refused = false;
}

// ---- Receiving

void QZHttpServerEngine::StrictReceived(QZInt64 id, QZUInt32 bytes)
{
    QZHttpConnect* connect;
    {
        QZCriticalGuard guard(m_connectLock);
        connect = Access::Find(m_connects, id);
        if (connect == nullptr) connect = Access::Find(m_closeWait, id);
        if (connect == nullptr) return;
        connect->InUse();
    }
    if (Access::Strict(connect)->At() == Stage::Ended || Access::IsClosing(connect))
    {
        // The bytes are dropped. They are received all the same: a socket that is closed with bytes unread
        // takes the last response away from its client.
        return StrictContinue(connect);
    }
    if (AnswerInPlace) return StrictServe(connect, bytes);
    QZHttpServerProcessTask* task = nullptr;
    try
    {
        task = m_taskPool->GetTask();
        task->m_clientId = id;
        task->m_connect = connect;
        task->m_bytes = bytes;
    }
    catch (QZException*)
    {
        ConnectClose(connect);
        Recycle(&connect);
        throw;
    }
    m_threadPool->ExecOnceASync(task);
}

/// The client has ended its stream, and all its requests are answered, because the receive began after them.
void QZHttpServerEngine::StrictPeerClosed(QZInt64 id)
{
    QZHttpConnect* connect;
    {
        QZCriticalGuard guard(m_connectLock);
        connect = Access::Find(m_connects, id);
        if (connect == nullptr) connect = Access::Find(m_closeWait, id);
        if (connect == nullptr) return;
        Broken(connect);
        if (!TakeDone(connect)) return;
    }
    Access::CloseSocket(connect);
    Leave(connect);
}

/// Takes a connection out of its list when its client has gone and nobody uses it. The caller holds the lock
/// of the connections.
bool QZHttpServerEngine::TakeDone(QZHttpConnect* connect)
{
    return Access::IsPeerClosed(connect) && connect->IsUseComplete() != 0 &&
           Access::TakeOut(m_closeWait, connect);
}

/// Processes the bytes in the receive block of a connection, starts its next receive, and ends the use of the
/// connection that the caller began.
void QZHttpServerEngine::StrictServe(QZHttpConnect* connect, QZUInt32 bytes)
{
    StrictExchange(this, connect).Run(Access::ReceivedBytes(connect), bytes);
    StrictContinue(connect);
}

/// Starts the next receive and ends the use of the connection.
void QZHttpServerEngine::StrictContinue(QZHttpConnect* connect)
{
    if (!Access::Receive(connect)) Broken(connect);
    {
        // Under the lock nobody else can close the connection and give it to another client.
        QZCriticalGuard guard(m_connectLock);
        connect->UseComplete();
        if (!TakeDone(connect)) return;
    }
    Access::CloseSocket(connect);
    Leave(connect);
}

// ---- Housekeeping

void QZHttpServerEngine::StrictCheck()
{
    try
    {
        LeaveAll();
        EndOverdue();
        CloseEnded();
        ReportRepeats(false);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("ConnectCloseFree"));
        Report(e);
        QZExceptionFactory::Recycle(&e);
    }
}

/// Ends the connections whose stage lasts too long.
void QZHttpServerEngine::EndOverdue()
{
    const QZHttpServerLimits& limits = Strictly()->limits;
    std::vector<QZHttpConnect*> overdue;
    {
        QZCriticalGuard guard(m_connectLock);
        Access::ForEach(m_connects, [&](QZHttpConnect* connect) {
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
                StrictExchange(this, connect).TimeOut();
            ConnectClose(connect);
        }
        Recycle(&connect);
    }
}

/// Closes the connections whose client has ended its stream too, or has not done so in its time.
void QZHttpServerEngine::CloseEnded()
{
    std::vector<QZHttpConnect*> ended;
    {
        QZCriticalGuard guard(m_connectLock);
        Access::ForEach(m_closeWait, [&](QZHttpConnect* connect) {
            http::StrictConnection& state = *Access::Strict(connect);
            const bool unused = connect->IsUseComplete() != 0;
            // The host has closed the connection.
            if (unused && state.At() != Stage::Ended) state.Enter(Stage::Ended);
            const bool late = state.At() == Stage::Ended && state.Age() > Strictly()->limits.closeTime;
            if (late || (unused && Access::IsPeerClosed(connect))) ended.push_back(connect);
        });
        for (QZHttpConnect* connect : ended) m_closeWait->Remove(connect);
    }
    for (QZHttpConnect* connect : ended)
    {
        Access::CloseSocket(connect);
        Leave(connect);
    }
}

// ---- Reports

/// True for a report that is equal to the one before it: it is counted and not passed on.
bool QZHttpServerEngine::ReportsAgain(QZException* exception)
{
    Strictness& strictness = *Strictly();
    const std::basic_string<QZWChar> text(exception->GetMsg()->GetPointer());
    {
        const std::lock_guard<std::mutex> guard(strictness.reportLock);
        if (text == strictness.lastReport && http::Ticks() - strictness.lastReportTime < kReportTime)
        {
            ++strictness.repeatedReports;
            return true;
        }
    }
    ReportRepeats(true);
    const std::lock_guard<std::mutex> guard(strictness.reportLock);
    strictness.lastReport = text;
    strictness.lastReportTime = http::Ticks();
    return false;
}

/// Reports how often the last report came again.
/// @param now  false: only when the time of the last report is over
void QZHttpServerEngine::ReportRepeats(bool now)
{
    Strictness& strictness = *Strictly();
    QZString text(QZ_W("The last report came again this often: "));
    {
        const std::lock_guard<std::mutex> guard(strictness.reportLock);
        const bool over = http::Ticks() - strictness.lastReportTime >= kReportTime;
        if (strictness.repeatedReports == 0 || !(now || over)) return;
        text.Append(strictness.repeatedReports);
        strictness.repeatedReports = 0;
    }
    if (m_report != nullptr) m_report->Report(&text);
}
