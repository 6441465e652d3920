#ifndef QZLIB_NET_HTTP_ENGINE_STRICTNESS_H
#define QZLIB_NET_HTTP_ENGINE_STRICTNESS_H

#include <mutex>
#include <string>
#include <unordered_map>

#include "net/internal/net_http_strict_connection.h"
#include "net/net_http_engine.h"
#include "net/net_http_limits.h"
#include "net/net_http_server.h"
#include "sys/internal/sys_socket.h"

/// What an engine has for strict mode only. It is the engine's server object, so that the engine keeps its
/// size. Internal.
class QZHttpServerEngine::Strictness : public QZHttpServer
{
public:
    /// QZHttpServerEngine::Strict when the engine was started.
    bool on = false;
    QZHttpServerLimits limits;

    /// The address of ListenOn.
    os::SocketAddress address = {};
    bool hasAddress = false;
    bool both = false;

    /// The connections of each address, without those that were refused, and the number of the refused ones.
    /// Guarded by the lock of the connections.
    std::unordered_map<std::string, QZInt64> addresses;
    QZInt64 refused = 0;

    /// The last report, and how often it came again. Guarded by the lock beside them.
    std::mutex reportLock;
    std::basic_string<QZWChar> lastReport;
    QZInt64 lastReportTime = 0;
    QZInt64 repeatedReports = 0;

    /// What counts as one address: an IPv4 address, or an IPv6 network with a prefix of 64 bits.
    static std::string KeyOf(const os::SocketAddress& peer)
    {
        constexpr std::size_t kFour = 4;
        constexpr std::size_t kNetwork = 8;
        return {reinterpret_cast<const char*>(peer.Bytes), peer.Six ? kNetwork : kFour};
    }
};

/// Reads the bytes of one connection and answers the requests in them, one after another. Internal.
class QZHttpServerEngine::StrictExchange
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
    http::StrictConnection& m_state;
    http::RequestReader& m_reader;
    QZHttpRequest* m_request;
    bool m_keepAlive = false;
    bool m_reachedPage = false;
    QZInt64 m_begin = 0;
};

#endif
