#ifndef QZLIB_NET_HTTP_STRICT_SERVER_H
#define QZLIB_NET_HTTP_STRICT_SERVER_H

#include <mutex>
#include <string>
#include <unordered_map>

#include "net/internal/net_http_strict_connection.h"
#include "net/net_http_engine.h"
#include "net/net_http_limits.h"
#include "net/net_http_server.h"
#include "sys/internal/sys_socket.h"

namespace http
{
/// Milliseconds of silence before the system tests a connection, and between its tests. Internal.
inline constexpr QZUInt32 kKeepAliveTime = 180;
inline constexpr QZUInt32 kKeepAliveInterval = 10000;

/// What an engine has and does in strict mode only: it accepts clients within the limits, hands on what they
/// send, and ends connections. It is the engine's server object, so that the engine keeps its size. Internal.
class StrictServer : public QZHttpServer
{
public:
    explicit StrictServer(QZHttpServerEngine* engine) : m_engine(engine) {}

    static StrictServer& Of(const QZHttpServerEngine* engine)
    {
        return *static_cast<StrictServer*>(engine->m_server);
    }

    /// Binds the socket of the engine to the address of ListenOn, or to the engine's own. False with
    /// LastError set on failure.
    bool Bind();

    /// Accepts one client.
    void Accept();
    /// Takes a connection that leaves the engine out of the counts.
    void Forget(QZHttpConnect* connect);

    /// A receive has ended: with bytes, or because the client has ended its stream.
    void Received(QZInt64 id, QZUInt32 bytes);
    void PeerClosed(QZInt64 id);
    /// Processes the bytes in the receive block of a connection, starts its next receive, and ends the use of
    /// the connection that the caller began.
    void Serve(QZHttpConnect* connect, QZUInt32 bytes);

    /// The housekeeping, once a second.
    void Check();

    /// True for a report that is equal to the one before it: it is counted and not passed on.
    bool ReportsAgain(QZException* exception);

    /// QZHttpServerEngine::Strict when the engine was started.
    bool on = false;
    QZHttpServerLimits limits;

    /// The address of ListenOn.
    os::SocketAddress address = {};
    bool hasAddress = false;
    bool both = false;

private:
    bool MayTurnAway();
    bool HasRoomFor(const os::SocketAddress& peer);
    QZHttpConnect* MakeConnect(QZInt64 id, const os::SocketAddress& peer);
    void Welcome(QZHttpConnect* connect);
    void TurnAway(QZHttpConnect* connect);
    void BeginReceiving(QZHttpConnect* connect, QZHttpConnectCollection* list);
    bool TakeDone(QZHttpConnect* connect);
    void Continue(QZHttpConnect* connect);
    void EndOverdue();
    void CloseEnded();
    void ReportRepeats(bool now);

    QZHttpServerEngine* m_engine;
    /// The connections of each address, without those that were refused, and the number of the refused ones.
    /// Guarded by the engine's lock of the connections.
    std::unordered_map<std::string, QZInt64> m_addresses;
    QZInt64 m_refused = 0;
    /// The last report, and how often it came again. Guarded by the lock beside them.
    std::mutex m_reportLock;
    std::basic_string<QZWChar> m_lastReport;
    QZInt64 m_lastReportTime = 0;
    QZInt64 m_repeatedReports = 0;
};

/// Reads the bytes of one connection and answers the requests in them, one after another. Internal.
class StrictExchange
{
public:
    /// The caller has the connection in use.
    StrictExchange(QZHttpServerEngine* engine, QZHttpConnect* connect);

    /// Processes the next bytes of the client.
    void Run(const void* bytes, QZInt64 size);

    /// Refuses the request that has not arrived in its time, and ends the connection. The caller holds the
    /// turn of the connection.
    void TimeOut();

private:
    void Loop(const char* bytes, std::size_t size);
    bool MayGoOn() const;
    void SayContinue();
    void NoteProgress(bool newRequest);

    void Answer();
    void Fill();
    QZHttpResponse* Respond();
    QZHttpResponse* AnswerWithoutPage();
    QZHttpResponse* MakePage();
    QZHttpResponse* MakeFailurePage(QZException* exception);
    void Complete(QZHttpResponse* response);
    void Refuse(int status);
    void Send(QZHttpResponse* response);
    void Record(QZHttpRequest* request, QZHttpResponse* response);
    void WriteRecord();
    void End();

    QZHttpServerEngine* m_engine;
    QZHttpConnect* m_connect;
    QZInt64 m_id;
    StrictConnection& m_state;
    RequestReader& m_reader;
    QZHttpRequest* m_request;
    bool m_keepAlive = false;
    bool m_reachedPage = false;
    QZInt64 m_begin = 0;
};
}  // namespace http

#endif
