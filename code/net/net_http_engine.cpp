#include "net/net_http_engine.h"

#include <algorithm>
#include <cstring>

#include "fw/fw_collection.h"
#include "fw/fw_environment.h"
#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/fw_report.h"
#include "fw/fw_string.h"
#include "fw/fw_time.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_connection_access.h"
#include "net/internal/net_http_guard.h"
#include "net/internal/net_http_strict_server.h"
#include "net/internal/net_json_access.h"
#include "net/net_http_engine_tasks.h"
#include "net/net_http_request.h"
#include "net/net_http_server.h"
#include "os/os_ip_address.h"
#include "os/os_task_scheduler.h"
#include "os/os_thread.h"
#include "os/os_thread_pool.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_socket.h"
#include "sys/internal/sys_thread.h"

const QZInt64 QZHttpServerEngineStatus::HttpServerInitialized;
const QZInt64 QZHttpServerEngineStatus::HttpServerWorking;
const QZInt64 QZHttpServerEngineStatus::HttpServerAbort;
const QZInt64 QZHttpServerEngineThreadStatus::Init;
const QZInt64 QZHttpServerEngineThreadStatus::Working;
const QZInt64 QZHttpServerEngineThreadStatus::Abort;
const QZInt64 QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyLow;
const QZInt64 QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyNormal;
const QZInt64 QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyHigh;
const QZInt64 QZHttpServerEngine::Type;
const QZInt32 QZHttpServerEngine::MaxClientDefault;
const QZInt64 QZHttpServerEngine::HttpHeadSizeLimitDefault;
const QZInt64 QZHttpServerEngine::FreeConnectKeepAliveTime;
const QZInt64 QZHttpServerEngine::TaskConnectCheckInterval;
const QZInt64 QZHttpServerEngine::TaskConnectCloseInterval;
const QZInt64 QZHttpServerEngine::TaskCacheCollectInterval;
int QZHttpServerEngine::CompletionPause = 1;
QZByte QZHttpServerEngine::AnswerInPlace = 0;
QZByte QZHttpServerEngine::Strict = 0;

namespace
{

// Messages know nothing of engines and follow the switch all the same.
[[maybe_unused]] const bool kWatched = http::WatchStrictMode(&QZHttpServerEngine::Strict);

using http::StrictServer;
using Status = QZHttpServerEngineStatus;
using ThreadStatus = QZHttpServerEngineThreadStatus;

// Clients that may wait to be accepted.
constexpr int kBacklog = 511;

/// The number of completion threads for an efficiency option.
QZInt64 WorkersFor(QZInt64 efficiency)
{
    if (efficiency == QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyNormal) return 2;
    if (efficiency == QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyHigh)
        return std::max(os::ProcessorCount(), 3);
    return 1;
}

QZException* SystemFailure(const QZWChar* text)
{
    return QZTrace(QZExceptionFactory::CreateException(text, static_cast<QZInt64>(os::LastError())),
                   QZ_W("QZHttpServerEngine"), QZ_W("QZHttpServerEngine"))
        .Exception();
}

QZIOException* StartFailure(const QZWChar* text)
{
    const QZInt64 error = os::LastError();
    return QZTrace(
               QZExceptionFactory::CreateIOException(text, QZIOExceptionCode::DeviceOperationFailed, error),
               QZ_W("QZHttpServerEngine"), QZ_W("Start"))
        .Exception();
}

}  // namespace

QZHttpServerEngine::QZHttpServerEngine(QZErrorReport* report, unsigned short port)
    : QZHttpServerEngine(QZHttpServerEfficiencyOptions::QZHttpServerEfficiencyNormal, report, port)
{}

QZHttpServerEngine::QZHttpServerEngine(long long efficiency, QZErrorReport* report, unsigned short port)
    : m_maxClient(MaxClientDefault),
      m_headLimit(HttpHeadSizeLimitDefault),
      m_lastRecord(0),
      m_bindAddress(0),
      m_acceptStatus(ThreadStatus::Init),
      m_workStatus(ThreadStatus::Init),
      m_runningWorkers(0),
      m_workerCount(0),
      m_startStamp(QZEnvironment::GetCurrentTimestamp()),
      m_report(report),
      m_serverName(nullptr),
      m_scheduler(nullptr),
      m_taskConnectClose(nullptr),
      m_taskConnectCheck(nullptr),
      m_taskCacheCollect(nullptr),
      m_taskPool(nullptr),
      m_threadPool(nullptr),
      m_listen(0),
      m_port(port),
      m_connects(nullptr),
      m_connectLock(nullptr),
      m_closeWait(nullptr),
      m_server(nullptr),
      m_leaving(nullptr),
      m_handle(-1),
      m_statusLock(nullptr),
      m_status(Status::HttpServerInitialized),
      m_threads(0)
{
    MakeParts();
    try
    {
        MakePort(efficiency);
        MakeListener();
        MakeScheduler();
    }
    catch (QZException*)
    {
        ServerAbort();
        DeleteParts();
        throw;
    }
}

QZHttpServerEngine::~QZHttpServerEngine()
{
    Shutdown();
    DeleteParts();
}

QZInt64 QZHttpServerEngine::GetType() { return Type; }

void QZHttpServerEngine::MakeParts()
{
    m_server = new http::StrictServer(this);
    m_serverName = new QZString();
    m_connects = new QZHttpConnectCollection();
    m_closeWait = new QZHttpConnectCollection();
    m_leaving = new QZList<QZHttpConnect>();
    m_statusLock = new QZCriticalSection();
    m_connectLock = new QZCriticalSection();
    m_threadPool = new QZThreadPool();
    m_taskPool = new QZHttpServerTaskPool(this);
}

void QZHttpServerEngine::MakePort(QZInt64 efficiency)
{
    const QZInt64 port = os::PortOpen(2 * os::ProcessorCount());
    if (port == 0) throw SystemFailure(QZ_W("CreateIoCompletionPort failed"));
    m_handle = port;
    {
        QZCriticalGuard guard(m_statusLock);
        m_workerCount = WorkersFor(efficiency);
    }
    for (QZInt64 i = 0; i < m_workerCount; ++i)
    {
        ++m_threads;
        const QZInt64 thread = QZThread::Create(
            &QZHttpServerEngine::WorkThread, reinterpret_cast<void*>(static_cast<std::intptr_t>(port)), this);
        if (thread != 0)
        {
            QZThread::Close(thread);
            continue;
        }
        QZException* failure = SystemFailure(QZ_W("Create of work thread failed"));
        --m_threads;
        // The threads made so far are the group.
        QZCriticalGuard guard(m_statusLock);
        m_workerCount = i;
        if (i > 0 && m_runningWorkers == i) m_workStatus.store(ThreadStatus::Working);
        throw failure;
    }
}

void QZHttpServerEngine::MakeListener()
{
    m_listen = os::SocketOpen(os::SocketKind::Stream);
    if (m_listen == 0) throw SystemFailure(QZ_W("Create of listen socket failed"));
    if (!os::SocketKeepAlive(m_listen, http::kKeepAliveTime, http::kKeepAliveInterval))
        throw SystemFailure(QZ_W("WSAIoctl failed"));
    os::PortAssociate(m_handle, m_listen, 0);
}

void QZHttpServerEngine::MakeScheduler()
{
    m_scheduler = new QZTaskScheduler(m_report);
    m_taskConnectClose = new QZTaskConnectClose(this);
    m_taskConnectClose->SetInterval(TaskConnectCloseInterval);
    m_taskConnectCheck = new QZTaskConnectCheck(this);
    m_taskConnectCheck->SetInterval(TaskConnectCheckInterval);
    m_taskCacheCollect = new QZTaskCacheCollect(this);
    m_taskCacheCollect->SetInterval(TaskCacheCollectInterval);
    for (QZTask* task : {m_taskConnectClose, m_taskConnectCheck, m_taskCacheCollect})
        m_scheduler->AddTask(task);
}

void QZHttpServerEngine::Start()
{
    if (m_status.load() != Status::HttpServerInitialized)
    {
        QZRaise(QZGeneralFailure(QZLastError).With(QZ_W("not initialized")), QZ_W("QZHttpServerEngine"),
                QZ_W("Start"))
            .Throw();
    }
    StrictServer::Of(this).on = Strict != 0;
    if (!StrictServer::Of(this).Bind()) throw StartFailure(QZ_W("bind failed with error"));
    if (!os::SocketListen(m_listen, kBacklog)) throw StartFailure(QZ_W("listen failed with error"));
    QZUInt32 address = 0;
    if (m_port == 0) os::SocketLocalName(m_listen, &address, &m_port);
    ++m_threads;
    const QZInt64 thread = QZThread::Create(&QZHttpServerEngine::AcceptThread, this);
    if (thread == 0)
    {
        --m_threads;
        throw SystemFailure(QZ_W("Create of accept thread failed"));
    }
    QZThread::Close(thread);
    for (bool ready = false; !ready && !QZThread::IsThreadsAbort();)
    {
        {
            QZCriticalGuard guard(m_statusLock);
            ready = m_runningWorkers >= m_workerCount;
        }
        if (!ready) QZThread::Sleep(1);
    }
    m_status.store(Status::HttpServerWorking);
    m_scheduler->Start();
}

// ---- The end

void QZHttpServerEngine::Shutdown()
{
    if (m_status.load() == Status::HttpServerAbort) return;
    ServerAbort();
}

void QZHttpServerEngine::ServerAbort()
{
    for (bool up = m_workerCount == 0; !up; os::Sleep(0))
    {
        // The loop ends when all completion threads have started. They have ended again when the process has
        // set its abort flag.
        QZCriticalGuard guard(m_statusLock);
        up = m_workStatus.load() != ThreadStatus::Init && m_status.load() >= 0;
    }
    StopScheduler();
    m_status.store(Status::HttpServerAbort);
    if (m_listen != 0) os::SocketClose(m_listen);
    if (m_handle != -1)
    {
        if (!os::PortPost(m_handle))
        {
            // A destructor must not throw, so the failure is reported.
            QZException* failure = SystemFailure(QZ_W("PostQueuedCompletionStatus failed"));
            Report(failure);
            QZExceptionFactory::Recycle(&failure);
        }
        os::PortClose(m_handle);
    }
    CloseAll();
    while (!ThreadsHaveEnded()) QZThread::Sleep(1);
    // The workers use the other parts, so they end before anything else is deleted.
    delete m_threadPool;
    m_threadPool = nullptr;
    CloseAll();
}

void QZHttpServerEngine::StopScheduler()
{
    if (m_scheduler == nullptr) return;
    const QZInt64 running =
        QZTaskSchedulerStatus::TaskSchedulerRunning | QZTaskSchedulerStatus::TaskSchedulerPause;
    if ((m_scheduler->GetStatus() & running) == 0) return;
    m_scheduler->Stop();
    while ((m_scheduler->GetStatus() & QZTaskSchedulerStatus::TaskSchedulerDispose) == 0) QZThread::Sleep(1);
}

bool QZHttpServerEngine::ThreadsHaveEnded()
{
    QZCriticalGuard guard(m_statusLock);
    const QZInt64 work = m_workStatus.load();
    const QZInt64 accept = m_acceptStatus.load();
    // A thread may exist that has not set its status yet.
    if (m_threads.load() != 0) return false;
    return work == ThreadStatus::Init ||
           (work == ThreadStatus::Abort && (accept == ThreadStatus::Abort || accept == ThreadStatus::Init));
}

void QZHttpServerEngine::DeleteParts()
{
    delete m_server;
    delete m_serverName;
    delete m_statusLock;
    delete m_connectLock;
    delete m_connects;
    delete m_closeWait;
    // A worker that was killed while it made a page keeps its connection in use for ever; that connection is
    // lost.
    while (m_leaving->DeQueue() != nullptr)
    {}
    delete m_leaving;
    delete m_taskPool;
    if (m_scheduler == nullptr) return;
    for (QZTask* task : {m_taskConnectClose, m_taskConnectCheck, m_taskCacheCollect})
        m_scheduler->RemoveTask(task);
    delete m_scheduler;
    delete m_taskConnectClose;
    delete m_taskConnectCheck;
    delete m_taskCacheCollect;
}

// ---- State and figures for the host

bool QZHttpServerEngine::IsWorking() const { return m_status.load() == Status::HttpServerWorking; }

long long QZHttpServerEngine::GetStatus() { return m_status.load(); }
long long QZHttpServerEngine::GetHandle() { return m_handle; }
QZString* QZHttpServerEngine::GetServerName() { return m_serverName; }
unsigned short QZHttpServerEngine::GetPort() { return m_port; }

long long QZHttpServerEngine::ThreadPoolCount()
{
    return m_threadPool != nullptr ? m_threadPool->Count() : 0;
}

long long QZHttpServerEngine::ThreadPoolWorkingCount()
{
    return m_threadPool != nullptr ? m_threadPool->WorkingCount() : 0;
}

unsigned char QZHttpServerEngine::IsConnectAlive(long long id) { return m_connects->IsExists(id); }
long long QZHttpServerEngine::ConnectCount() { return m_connects->Count(); }
long long QZHttpServerEngine::ConnectCloseWaitCount() { return m_closeWait->Count(); }

QZHttpServerLimits* QZHttpServerEngine::GetLimits() { return &StrictServer::Of(this).limits; }

QZBool QZHttpServerEngine::ListenOn(const char* address, QZBool both)
{
    os::SocketAddress read;
    if (address == nullptr || !os::SocketAddressRead(address, &read)) return 0;
    StrictServer::Of(this).address = read;
    StrictServer::Of(this).hasAddress = true;
    StrictServer::Of(this).both = both != 0;
    return 1;
}

QZBool QZHttpServerEngine::GetClientAddress(QZHttpRequest* request, QZString* text)
{
    os::SocketAddress peer = {};
    {
        QZCriticalGuard guard(m_connectLock);
        QZHttpConnect* connect = QZHttpConnectAccess::Find(m_connects, request->GetHandle());
        if (connect == nullptr) connect = QZHttpConnectAccess::Find(m_closeWait, request->GetHandle());
        if (connect == nullptr) return 0;
        const QZUInt32 value = connect->GetIP()->GetValue();
        std::memcpy(peer.Bytes, &value, sizeof(value));
        if (StrictServer::Of(this).on) peer = QZHttpConnectAccess::Strict(connect)->peer;
    }
    char characters[64];
    os::SocketAddressWrite(peer, characters, sizeof(characters));
    text->Set(characters);
    return 1;
}

void QZHttpServerEngine::TaskReset()
{
    m_scheduler->Reset();
    m_scheduler->Start();
}

void QZHttpServerEngine::Collect()
{
    m_taskPool->Collect();
    m_threadPool->Collect();
    QZLibCollect(1);
}

void QZHttpServerEngine::WakeStalled() { m_threadPool->WakeStalled(); }

void QZHttpServerEngine::Report(QZException* exception)
{
    if (StrictServer::Of(this).on && StrictServer::Of(this).ReportsAgain(exception)) return;
    if (m_report != nullptr) m_report->Report(exception);
}

namespace
{

void AddText(QZJsonObject* object, const QZWChar* name, QZString* text)
{
    QZJsonAccess::SetAttr(object, name, QZJsonFactory::CreateString(text));
}

/// An IPv6 client has no address in the connection's own object.
void AddAddress(QZJsonObject* object, QZHttpConnect* connect, bool strict)
{
    const http::StrictConnection* state = strict ? QZHttpConnectAccess::Strict(connect) : nullptr;
    if (state != nullptr && state->peer.Six)
    {
        char text[64];
        os::SocketAddressWrite(state->peer, text, sizeof(text));
        QZString address(text);
        return AddText(object, QZ_W("IP"), &address);
    }
    QZString* address = connect->GetIP()->ToString();
    AddText(object, QZ_W("IP"), address);
    QZIPAddress::Recycle(&address);
}

void AddTime(QZJsonObject* object, const QZWChar* name, QZInt64 timestamp)
{
    QZDateTime time(timestamp);
    QZString* text = time.ToString();
    AddText(object, name, text);
    QZString::Recycle(&text);
}

}  // namespace

QZJsonValueCollection* QZHttpServerEngine::GetConnectInfo()
{
    QZJsonValueCollection* info = QZJsonFactory::CreateValueCollection();
    // Under this lock no connection enters or leaves the list.
    QZCriticalGuard guard(m_connectLock);
    const QZInt64 count = m_connects->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpConnect* connect = m_connects->GetElement(i);
        QZJsonObject* object = QZJsonFactory::CreateObject();
        AddAddress(object, connect, StrictServer::Of(this).on);
        const QZHttpConnectAccess::Times times = QZHttpConnectAccess::TimesOf(connect);
        AddTime(object, QZ_W("TimeStart"), times.created);
        AddTime(object, QZ_W("LastUse"), times.lastUse);
        AddTime(object, QZ_W("RecvBegin"), times.receiveBegin);
        AddTime(object, QZ_W("RecvEmptyLine"), times.emptyLine);
        const bool keepAlive = QZHttpConnectAccess::KeepsAlive(connect);
        QZJsonAccess::SetAttr(object, QZ_W("KeepAlive"),
                              QZJsonFactory::CreateString(keepAlive ? QZ_W("True") : QZ_W("False")));
        const QZInt64 cached = QZHttpConnectAccess::CachedBytes(connect);
        QZJsonAccess::SetAttr(object, QZ_W("CacheSize"),
                              QZJsonFactory::CreateDecimal(static_cast<double>(cached)));
        info->Push(object);
    }
    return info;
}

void QZHttpServerEngine::Recycle(QZJsonValueCollection** info) { QZJsonFactory::Recycle(info); }
