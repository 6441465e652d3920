#ifndef QZLIB_NET_HTTP_ENGINE_H
#define QZLIB_NET_HTTP_ENGINE_H

#include <atomic>

#include "fw/fw_container.h"
#include "fw/fw_object.h"

class QZCriticalSection;
class QZErrorReport;
class QZException;
class QZHttpConnect;
class QZHttpConnectCollection;
class QZHttpRequest;
class QZHttpResponse;
class QZHttpServer;
class QZHttpServerProcessTask;
class QZHttpServerTaskPool;
class QZJsonValueCollection;
class QZString;
class QZTask;
class QZTaskScheduler;
class QZThreadPool;
struct QZHttpServerLimits;

namespace http
{
class StrictExchange;
class StrictServer;
}  // namespace http

/// The states of an engine. It passes through them once, in this order.
class QZ_API QZHttpServerEngineStatus
{
public:
    static const QZInt64 HttpServerInitialized = 0;
    static const QZInt64 HttpServerWorking = 1;
    static const QZInt64 HttpServerAbort = 2;
};

/// The states of the accepting thread, and of the completion threads as a group.
class QZ_API QZHttpServerEngineThreadStatus
{
public:
    static const QZInt64 Init = 0;
    static const QZInt64 Working = 1;
    static const QZInt64 Abort = 2;
};

/// The number of completion threads of an engine: one; two; or one for each processor, but at least three.
class QZ_API QZHttpServerEfficiencyOptions
{
public:
    static const QZInt64 QZHttpServerEfficiencyLow = 1;
    static const QZInt64 QZHttpServerEfficiencyNormal = 2;
    static const QZInt64 QZHttpServerEfficiencyHigh = 3;
};

/// An HTTP/1.1 server. A host derives from it and overrides CreatePage.
///
/// One thread accepts clients, and a few completion threads receive bytes through a completion port. The
/// workers of a thread pool, which grows with the load, put requests together, call CreatePage and send the
/// responses. A scheduler does the housekeeping. Requests of one connection are answered one after another,
/// those of different connections at the same time, so CreatePage is called on several threads.
///
/// The host constructs the engine, calls Start once, and deletes the engine. Deleting ends all threads, also
/// when the engine was not started, and waits for requests that are being answered. Start and deletion belong
/// to one thread of the host; any thread may call the other public operations.
class QZ_API QZHttpServerEngine : public QZObject
{
public:
    static const QZInt64 Type = 0x8310025;
    /// No limit.
    static const QZInt32 MaxClientDefault = -1;
    static const QZInt64 HttpHeadSizeLimitDefault = 4096;
    /// Milliseconds.
    static const QZInt64 FreeConnectKeepAliveTime = 180000;
    static const QZInt64 TaskConnectCheckInterval = 30000;
    static const QZInt64 TaskConnectCloseInterval = 1000;
    static const QZInt64 TaskCacheCollectInterval = 3600000;

    /// Milliseconds that a completion thread sleeps after each completion, which limits its rate; 0 for no
    /// sleep. The initial value is 1. Applies to all engines of the process.
    static int CompletionPause;
    /// 1: the completion threads answer requests themselves instead of handing them to workers, which saves
    /// two switches between threads for each request. The initial value is 0. Applies to all engines of the
    /// process; set it before Start. This is meant for hosts with quick pages whose clients take their
    /// responses at once, for example behind a proxy. A page that waits, or a client that reads slowly,
    /// blocks its completion thread and all clients that wait for that thread.
    static QZByte AnswerInPlace;
    /// 1: requests are read by the rules of RFC 9112 and within the limits of GetLimits, and messages and
    /// pages follow stricter rules; docs/http-server.md lists them. New servers should set it. The initial
    /// value is 0: the server behaves as earlier versions did. Applies to all engines and messages of the
    /// process; set it before Start.
    static QZByte Strict;

    /// QZHttpServerEfficiencyNormal.
    QZHttpServerEngine(QZErrorReport* report, unsigned short port);
    /// Creates threads and sockets; clients can connect after Start.
    /// @param report  receives all failures that no caller can catch; belongs to the caller, must not be null
    /// @param port    0 lets Start choose one; see GetPort
    /// @throws QZException with the system's number when there is no socket, or no thread, for it
    QZHttpServerEngine(long long efficiency, QZErrorReport* report, unsigned short port);
    ~QZHttpServerEngine() override;
    QZHttpServerEngine(const QZHttpServerEngine&) = delete;
    QZHttpServerEngine& operator=(const QZHttpServerEngine&) = delete;

    QZInt64 GetType() override;

    /// Binds the port, listens and starts to accept clients. Returns when all threads have started.
    /// @throws QZException when the engine was started before; QZIOException 5632 when the port is not
    /// available
    virtual void Start();

    /// Called after every request; does nothing here. Request and response are null for a client whose bytes
    /// were not HTTP; the request alone is null when the engine answered without CreatePage.
    virtual void ProcessRecord(QZHttpConnect* connect, QZHttpRequest* request, QZHttpResponse* response);

    /// Sends the whole response, with "Content-Length" and without chunks. Blocks until it is sent.
    /// @throws QZSocketException
    virtual void SendResponse(long long id, QZHttpResponse* response);

    /// Deletes idle tasks, threads and cached objects.
    virtual void Collect();

    /// Gives bytes received from a client to a worker. The bytes are copied.
    /// @param offset  their position in the client's request
    void Process(long long id, const void* data, long long offset, long long size);
    /// Does the same on the calling thread, without a copy.
    void ProcessASync(long long id, const void* data, long long offset, long long size);

    /// The connection of a client, marked as in use; the caller gives it back with Recycle. A connection that
    /// waits to be closed because it was idle becomes active again. Null when there is none.
    QZHttpConnect* GetConnectByID(long long id);
    void Recycle(QZHttpConnect** connect);

    /// Begins to close a connection: the client reads the end of the stream, and the socket is closed after
    /// the client has closed its side. The id -1 stands for all connections, whose sockets stay open until
    /// the housekeeping closes them.
    void ConnectClose(long long id);
    void ConnectClose(QZHttpConnect* connect);
    /// Closes every connection at once, after the requests that are being answered. A page may call it, but
    /// only one thread at a time: two pages that call it at the same moment wait for each other for ever.
    void CloseAll();

    /// The housekeeping, which the scheduler calls. The first closes the connections that may be closed; the
    /// second begins to close those that were silent for FreeConnectKeepAliveTime.
    void ConnectCloseFree();
    void ConnectCheck();

    /// A value of QZHttpServerEngineStatus.
    long long GetStatus();
    /// The completion port.
    long long GetHandle();
    /// The name shown on error pages. The string belongs to the engine; the host sets its text before Start.
    QZString* GetServerName();
    /// The port of the constructor; after Start the port that was bound.
    unsigned short GetPort();

    /// The limits of strict mode, to be changed before Start. They belong to the engine.
    QZHttpServerLimits* GetLimits();

    /// Chooses the address to listen on, in place of m_bindAddress: an IPv4 or IPv6 address as text, "::" for
    /// all IPv6 addresses of this host. Call it before Start.
    /// @param both  1: with "::" IPv4 clients can connect too
    /// @return 0, and nothing changes, for a text that is no address
    QZBool ListenOn(const char* address, QZBool both = 0);

    /// Stores the address of the client of a request as text, for example "127.0.0.1" or "::1", without a
    /// port. QZHttpRequest::GetClientIP holds IPv4 addresses only. Called from CreatePage.
    /// @return 0, and the text stays, when there is no such client
    QZBool GetClientAddress(QZHttpRequest* request, QZString* text);

    /// 0 for a request with "Connection: close", else 1. A request without the header gives 1, also from an
    /// HTTP/1.0 client. In strict mode "close" may be one of several members of a list, and HTTP/1.0 needs
    /// "keep-alive".
    unsigned char IsKeepAlive(QZHttpRequest* request);

    long long ThreadPoolCount();
    long long ThreadPoolWorkingCount();
    /// True when the connection is active and not waiting to be closed.
    unsigned char IsConnectAlive(long long id);
    long long ConnectCount();
    long long ConnectCloseWaitCount();

    /// Resets and starts the scheduler.
    void TaskReset();

protected:
    /// Makes the response to a request with QZHttpFactory or QZHttpServer; the engine gives it back. Here it
    /// is an empty page. An exception becomes a page 500 with its message.
    virtual QZHttpResponse* CreatePage(QZHttpRequest* request);

    /// A new array with one object for each active connection. The caller gives it back with Recycle.
    QZJsonValueCollection* GetConnectInfo();
    void Recycle(QZJsonValueCollection** info);

    /// Ends all traffic and every thread of the engine, as its destructor does. A derived class whose
    /// overrides use its own members calls this at the beginning of its destructor, while the members still
    /// exist.
    void Shutdown();

    // A derived class may set these before Start.
    /// The largest number of active connections. Further clients wait to be accepted.
    QZInt32 m_maxClient;
    /// The largest head of a request, in bytes.
    QZInt64 m_headLimit;
    /// 1: the bytes of each request are kept in a file under "LastRecord" while it is being answered.
    QZByte m_lastRecord;
    /// The address to listen on, in network order; 0 for any.
    QZUInt32 m_bindAddress;

private:
    friend class QZHttpServerProcessTask;
    friend class QZTaskConnectClose;
    friend class http::StrictServer;
    friend class http::StrictExchange;
    class Exchange;

    /// Where a piece comes from: the serial of its client (0 for any client with the id), the number of the
    /// piece, and the connection when the caller has it in use.
    struct Origin
    {
        QZUInt64 serial = 0;
        QZUInt64 piece = 0;
        QZHttpConnect* connect = nullptr;
    };

    static void AcceptThread(void* engine);
    static void WorkThread(void* port, void* engine);

    void MakeParts();
    void MakePort(QZInt64 efficiency);
    void MakeListener();
    void MakeScheduler();
    void ServerAbort();
    void StopScheduler();
    void DeleteParts();
    bool ThreadsHaveEnded();
    bool IsWorking() const;

    void AcceptLoop();
    void WaitForRoom();
    void Accept();
    void DropNamesakes(QZInt64 id);
    void Welcome(QZInt64 id, QZUInt32 address, QZUInt16 port);

    void WorkLoop(QZInt64 port);
    void WorkBegin();
    void WorkEnd();
    void Completed(QZInt64 id, QZUInt32 bytes, bool succeeded);
    void Received(QZInt64 id, QZUInt32 bytes);
    void PeerClosed(QZInt64 id);
    void Broken(QZHttpConnect* connect);

    void Process(QZInt64 id, const Origin& origin, const void* data, QZInt64 offset, QZInt64 size);
    void ProcessPiece(QZInt64 id, const Origin& origin, const void* data, QZInt64 offset, QZInt64 size);
    QZString* RecordPath(QZHttpConnect* connect);
    void WriteRecord(QZHttpConnect* connect, const void* data, QZInt64 offset, QZInt64 size);
    void RemoveRecord(QZHttpConnect* connect);

    void BeginClose(QZHttpConnect* connect);
    void BeginCloseAll();
    void Leave(QZHttpConnect* connect);
    void LeaveAll();
    void WakeStalled();
    void Report(QZException* exception);

    std::atomic<QZInt64> m_acceptStatus;
    std::atomic<QZInt64> m_workStatus;
    QZInt64 m_runningWorkers;
    QZInt64 m_workerCount;
    QZInt64 m_startStamp;
    QZErrorReport* m_report;
    QZString* m_serverName;
    QZTaskScheduler* m_scheduler;
    QZTask* m_taskConnectClose;
    QZTask* m_taskConnectCheck;
    QZTask* m_taskCacheCollect;
    QZHttpServerTaskPool* m_taskPool;
    QZThreadPool* m_threadPool;
    QZInt64 m_listen;
    QZUInt16 m_port;
    QZHttpConnectCollection* m_connects;
    /// Held while a connection enters, leaves or changes one of the two collections.
    QZCriticalSection* m_connectLock;
    QZHttpConnectCollection* m_closeWait;
    /// What only strict mode needs: an http::StrictServer.
    QZHttpServer* m_server;
    /// Closed connections that are still in use.
    QZList<QZHttpConnect>* m_leaving;
    QZInt64 m_handle;
    QZCriticalSection* m_statusLock;
    std::atomic<QZInt64> m_status;
    /// The threads of the engine. A thread counts from its creation until it uses the engine no more.
    std::atomic<int> m_threads;
};

#endif
