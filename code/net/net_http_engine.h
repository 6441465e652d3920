#ifndef QZLIB_NET_NET_HTTP_ENGINE_H
#define QZLIB_NET_NET_HTTP_ENGINE_H

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

/// The states of an engine, in the order in which it goes through them, once.
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

/// How many completion threads an engine has: one; two; or one for each processor, three at least.
class QZ_API QZHttpServerEfficiencyOptions
{
public:
    static const QZInt64 QZHttpServerEfficiencyLow = 1;
    static const QZInt64 QZHttpServerEfficiencyNormal = 2;
    static const QZInt64 QZHttpServerEfficiencyHigh = 3;
};

/// An HTTP/1.1 server. A host derives from it and overrides CreatePage.
///
/// One thread accepts, a few take what was received from a completion port, a pool that grows with the work
/// in hand puts requests together, has them answered and sends, and a scheduler keeps house. Requests of one
/// connection are answered one at a time, those of different connections at the same time, so CreatePage is
/// called on several threads.
///
/// The host constructs, calls Start once, and deletes; deleting ends all of it, whether it was started or
/// not, and waits for requests that are being answered. Start and deletion are for the host's own thread, the
/// other public operations for any.
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

    /// Milliseconds that a completion thread rests after each completion, which is its pace; 1 at first, 0
    /// for none. For all engines of the process.
    static int CompletionPause;
    /// 1: the completion threads answer requests themselves instead of handing them to workers, which saves
    /// two changes of threads a request; 0 at first. For all engines of the process, set before Start. For
    /// hosts whose pages are quick and whose clients take their responses at once, as a proxy does: a page
    /// that waits, or a client that reads slowly, holds up its completion thread and all who wait for that.
    static QZByte AnswerInPlace;

    /// QZHttpServerEfficiencyNormal.
    QZHttpServerEngine(QZErrorReport* report, unsigned short port);
    /// Sets everything up and opens nothing to the outside yet.
    /// @param report  told of all failures that have no caller; stays the caller's, must not be null
    /// @param port    0 lets Start choose one; see GetPort
    /// @throws QZException with the system's number when there is no socket, or no thread, for it
    QZHttpServerEngine(long long efficiency, QZErrorReport* report, unsigned short port);
    ~QZHttpServerEngine() override;
    QZHttpServerEngine(const QZHttpServerEngine&) = delete;
    QZHttpServerEngine& operator=(const QZHttpServerEngine&) = delete;

    QZInt64 GetType() override;

    /// Binds, listens and starts accepting; returns when all threads are at work.
    /// @throws QZException when the engine was started before; QZIOException 5632 when the port cannot be had
    virtual void Start();

    /// Sees every finished exchange; nothing here. Request and response are null for a client that was cut
    /// off, the request alone is null for one that got no page made.
    virtual void ProcessRecord(QZHttpConnect* connect, QZHttpRequest* request, QZHttpResponse* response);

    /// Sends the whole response, with "Content-Length" and never in chunks. Blocks.
    /// @throws QZSocketException
    virtual void SendResponse(long long id, QZHttpResponse* response);

    /// Deletes idle tasks, threads and cached objects.
    virtual void Collect();

    /// Puts bytes received from a client on a task of the pool; they are copied.
    /// @param offset  their place in the client's request
    void Process(long long id, const void* data, long long offset, long long size);
    /// Does the work of one task.
    void ProcessASync(long long id, const void* data, long long offset, long long size);

    /// A client's connection, marked in use, to be given back with Recycle; one that was on its way out for
    /// being idle comes back. Null when there is none.
    QZHttpConnect* GetConnectByID(long long id);
    void Recycle(QZHttpConnect** connect);

    /// Ends a connection in good order: the client reads the end of the stream, and the socket is closed when
    /// the client has gone too. -1 is for all, whose sockets stay open for now.
    void ConnectClose(long long id);
    void ConnectClose(QZHttpConnect* connect);
    /// Drops every connection at once.
    void CloseAll();

    /// The housekeeping, which the scheduler does: closes what may go, and ends what has been silent too
    /// long.
    void ConnectCloseFree();
    void ConnectCheck();

    /// A value of QZHttpServerEngineStatus.
    long long GetStatus();
    /// The completion port.
    long long GetHandle();
    /// Shown on error pages. The engine's own, to be set before Start.
    QZString* GetServerName();
    /// The port of the constructor, after Start the one that was bound.
    unsigned short GetPort();

    /// 0 for a request that asks to close. Without the header it is 1, for clients of HTTP/1.0 too.
    unsigned char IsKeepAlive(QZHttpRequest* request);

    long long ThreadPoolCount();
    long long ThreadPoolWorkingCount();
    /// The connection is not on its way out.
    unsigned char IsConnectAlive(long long id);
    long long ConnectCount();
    long long ConnectCloseWaitCount();

    /// Starts the scheduler anew.
    void TaskReset();

protected:
    /// Makes the answer to a request, a response from QZHttpFactory or QZHttpServer, which the engine gives
    /// back. Here an empty page. An exception becomes a page 500 with its message.
    virtual QZHttpResponse* CreatePage(QZHttpRequest* request);

    /// One object for each active connection. Given back with Recycle.
    QZJsonValueCollection* GetConnectInfo();
    void Recycle(QZJsonValueCollection** info);

    /// Ends all traffic and every thread of the engine, as its destructor does. A derived class whose
    /// overrides use members of its own calls it first thing in its destructor, while these are still there.
    void Shutdown();

    /// What a derived class may set before Start: active connections at most, after which new clients wait to
    /// be accepted; bytes of a request's head; 1 to keep the bytes of each request in a file under
    /// "LastRecord" while it is being answered; the address to listen on, in network order, 0 for any.
    QZInt32 m_maxClient;
    QZInt64 m_headLimit;
    QZByte m_lastRecord;
    QZUInt32 m_bindAddress;

private:
    friend class QZHttpServerProcessTask;
    friend class QZTaskConnectClose;
    class Exchange;

    /// Which client a piece is from, 0 for whoever has the id, and which of the client's pieces it is.
    struct Origin
    {
        QZUInt64 serial = 0;
        QZUInt64 piece = 0;
    };

    static void AcceptThread(void* engine);
    static void WorkThread(void* port, void* engine);

    void MakeParts();
    void MakePort(QZInt64 efficiency);
    void MakeListener();
    void MakeScheduler();
    void ServerAbort();
    void StopScheduler();
    void EndThreads();
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
    /// Held for every move of a connection into, out of, and between the two collections.
    QZCriticalSection* m_connectLock;
    QZHttpConnectCollection* m_closeWait;
    QZHttpServer* m_server;
    /// Closed connections that somebody still uses.
    QZList<QZHttpConnect>* m_leaving;
    QZInt64 m_handle;
    QZCriticalSection* m_statusLock;
    std::atomic<QZInt64> m_status;
    /// Threads of the engine, each from its making to its last look at the engine.
    std::atomic<int> m_threads;
};

#endif
