// The path of one request through an engine, from received bytes to the last byte of the response.

#include "net/net_http_engine.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_lock.h"
#include "fw/fw_report.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_connection_access.h"
#include "net/internal/net_http_fields.h"
#include "net/internal/net_http_sending.h"
#include "net/internal/net_http_strict_server.h"
#include "net/net_http_constant.h"
#include "net/net_http_engine_tasks.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "net/net_http_server.h"
#include "os/os_file.h"
#include "os/os_file_directory.h"
#include "os/os_socket.h"
#include "os/os_thread_pool.h"
#include "sys/internal/sys_socket.h"

namespace
{

using Access = QZHttpConnectAccess;

constexpr const QZWChar* kClass = QZ_W("QZHttpServerEngine");
constexpr const QZWChar* kConnection = QZ_W("Connection");
constexpr const QZWChar* kRecordFolder = QZ_W("LastRecord");

// Responses above this size are sent in several pieces.
constexpr QZInt64 kGatherFrom = 4096;

using http::Now;
using http::StrictServer;

QZInt64 AddressOf(const void* p) { return static_cast<QZInt64>(reinterpret_cast<QZUInt64>(p)); }

[[noreturn]] void RecordFailure(const QZWChar* text, const QZWChar* method)
{
    QZRaise(QZIOFailure(QZIOExceptionCode::OperationFailed).With(text), kClass, method).Throw();
}

/// Runs one operation on the record file. A failure becomes an exception with this text.
template <typename Step>
void RecordStep(const QZWChar* text, const QZWChar* method, Step step)
{
    try
    {
        step();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        RecordFailure(text, method);
    }
}

/// Removes the content of a response that is sent without one: the response to HEAD, and those whose status
/// has no content. The latter have no length either.
void CutToHead(QZHttpResponse* response, QZData* bytes)
{
    const http::Text status(response->GetStatus());
    const bool none = status.StartsWith("204") || status.StartsWith("304") || status.StartsWith("1");
    if (!none && !http::HeadOnly::IsWanted()) return;
    bytes->NewSize(bytes->GetSize() - response->GetContent()->GetSize());
    if (!none) return;
    http::RemoveHeader(response->GetHeaders(), QZHttpConstant::HeaderNameContentLengthString);
    QZString* head = response->GetHead();
    QZEncoding::GetData(QZEncodingType::UTF8, head, bytes);
    response->Recycle(&head);
}

/// True for HTTP/1.0 clients that close, and for all whose header "Connection" has the member "close".
bool ClosesStrictly(QZHttpRequest* request)
{
    bool close = false;
    bool keep = request->GetVersion()->Equals(QZ_W("HTTP/1.1")) != 0;
    QZHttpHeaderCollection* headers = request->GetHeaders();
    for (QZInt64 i = 0; i < headers->Count(); ++i)
    {
        if (!http::Text(kConnection).Is(headers->GetElement(i)->GetName())) continue;
        http::TextSplitter members(headers->GetElement(i)->GetValue(), ',');
        http::Text member(nullptr, 0);
        while (members.Next(&member))
        {
            close = close || member.Trimmed().Is(QZ_W("close"));
            keep = keep || member.Trimmed().Is(QZ_W("keep-alive"));
        }
    }
    return close || !keep;
}

}  // namespace

/// Appends one piece and, when the piece completes a request, answers it. Holds one use of the connection and
/// ends it.
class QZHttpServerEngine::Exchange
{
public:
    Exchange(QZHttpServerEngine* engine, QZHttpConnect* connect, QZInt64 id, const Origin& origin)
        : m_engine(engine), m_connect(connect), m_id(id), m_origin(origin), m_begin(Now())
    {}

    void Run(const void* data, QZInt64 offset, QZInt64 size);

private:
    bool Take(const void* data, QZInt64 offset, QZInt64 size);
    QZInt64 Append(const void* data, QZInt64 offset, QZInt64 size);
    void CutOff();
    void MakeHeadTooLarge();
    void MakePage();
    void Fail(QZException* exception);
    void Send();
    void Finish();
    void GiveBack();

    QZWChar* ServerName() const { return m_engine->m_serverName->GetPointer(); }

    QZHttpServerEngine* m_engine;
    QZHttpConnect* m_connect;
    QZInt64 m_id;
    Origin m_origin;
    QZInt64 m_begin;
    QZHttpRequest* m_request = nullptr;
    QZHttpResponse* m_response = nullptr;
};

void QZHttpServerEngine::Exchange::Run(const void* data, QZInt64 offset, QZInt64 size)
{
    try
    {
        if (!Take(data, offset, size)) return GiveBack();
        if (m_request != nullptr) MakePage();
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("ProcessASync"))
            .Argument(QZ_W("QZInt64"), m_id)
            .Argument(QZ_W("QZPVoid"), AddressOf(data))
            .Argument(QZ_W("QZInt64"), offset)
            .Argument(QZ_W("QZInt64"), size);
        Fail(e);
    }
    Send();
    Finish();
}

/// Appends the pieces of a client in the order in which they were received, whichever worker is faster: the
/// first piece of a message must be its beginning.
QZInt64 QZHttpServerEngine::Exchange::Append(const void* data, QZInt64 offset, QZInt64 size)
{
    if (m_origin.serial == 0) return m_connect->AppendRequestData(data, offset, size, &m_request);
    return Access::AppendInTurn(m_connect, m_origin.piece, data, offset, size, &m_request);
}

/// Appends the piece. True when there is something to send.
bool QZHttpServerEngine::Exchange::Take(const void* data, QZInt64 offset, QZInt64 size)
{
    const QZInt64 result = Append(data, offset, size);
    if (result == http::kHeadTooLarge)
    {
        MakeHeadTooLarge();
        return true;
    }
    if (result != http::kNoError)
    {
        CutOff();
        return false;
    }
    if (m_request != nullptr) return true;
    Access::SetKeepAlive(m_connect, true);
    return false;
}

/// The bytes are not HTTP: the connection is closed without a response.
void QZHttpServerEngine::Exchange::CutOff()
{
    Access::SetKeepAlive(m_connect, false);
    m_engine->ConnectClose(m_connect);
    Access::CloseSocket(m_connect);
    m_engine->ProcessRecord(m_connect, nullptr, nullptr);
}

void QZHttpServerEngine::Exchange::MakeHeadTooLarge()
{
    Access::SetKeepAlive(m_connect, false);
    m_response = QZHttpServer::Page431(ServerName());
    http::SetHeaderValue(m_response->GetHeaders(), kConnection, QZ_W("close"));
}

void QZHttpServerEngine::Exchange::MakePage()
{
    m_begin = Now();
    m_response = m_engine->CreatePage(m_request);
    if (m_response == nullptr) throw QZExceptionFactory::CreateException(QZExceptionCode::NullPointer);
    QZHttpCookieCollection* cookies = m_response->GetCookies();
    for (QZInt64 i = cookies->Count() - 1; i >= 0; --i) cookies->GetElement(i)->GetDomain()->Clear();
    if (m_engine->m_lastRecord != 0) m_engine->RemoveRecord(m_connect);
    const bool keepAlive = m_engine->IsKeepAlive(m_request) != 0;
    Access::SetKeepAlive(m_connect, keepAlive);
    http::SetHeaderValue(m_response->GetHeaders(), kConnection,
                         keepAlive ? QZ_W("keep-alive") : QZ_W("close"));
}

/// The connection stays open: a page that throws does not close the connection of its client.
void QZHttpServerEngine::Exchange::Fail(QZException* exception)
{
    if (m_response != nullptr) QZHttpFactory::Recycle(&m_response);
    m_response = QZHttpServer::Page500(ServerName(), exception->GetMsg());
    m_engine->Report(exception);
    QZExceptionFactory::Recycle(&exception);
}

void QZHttpServerEngine::Exchange::Send()
{
    QZCriticalGuard hold(Access::SendLock(m_connect));
    QZHttpStamps& stamps = http::StampsOf(m_response);
    stamps.begin = m_begin;
    stamps.ready = stamps.process = Now();
    if (!Access::IsClosing(m_connect))
    {
        try
        {
            m_engine->SendResponse(m_id, m_response);
        }
        catch (QZException* e)
        {
            // The client has closed the connection.
            QZExceptionFactory::Recycle(&e);
        }
    }
    stamps.end = Now();
}

void QZHttpServerEngine::Exchange::Finish()
{
    try
    {
        m_engine->ProcessRecord(m_connect, m_request, m_response);
    }
    catch (QZException* e)
    {
        // Thrown on, the exception would leave the connection locked for ever.
        QZTrace(e, kClass, QZ_W("ProcessASync")).Argument(QZ_W("QZInt64"), m_id);
        m_engine->Report(e);
        QZExceptionFactory::Recycle(&e);
    }
    QZHttpFactory::Recycle(&m_response);
    // This is read before the lock is released, because the next piece of the client may change it.
    const bool keepAlive = Access::KeepsAlive(m_connect);
    if (m_request != nullptr) m_connect->Recycle(&m_request);
    if (!keepAlive) m_engine->ConnectClose(m_connect);
    GiveBack();
}

void QZHttpServerEngine::Exchange::GiveBack() { m_engine->Recycle(&m_connect); }

// ---- The engine

void QZHttpServerEngine::Process(long long id, const void* data, long long offset, long long size)
{
    Process(id, Origin(), data, offset, size);
}

void QZHttpServerEngine::Process(QZInt64 id, const Origin& origin, const void* data, QZInt64 offset,
                                 QZInt64 size)
{
    QZHttpServerProcessTask* task = m_taskPool->GetTask();
    try
    {
        task->SetProcessData(id, data, offset, size);
        task->m_serial = origin.serial;
        task->m_piece = origin.piece;
    }
    catch (QZException*)
    {
        m_taskPool->Recycle(&task);
        throw;
    }
    m_threadPool->ExecOnceASync(task);
}

void QZHttpServerEngine::ProcessASync(long long id, const void* data, long long offset, long long size)
{
    ProcessPiece(id, Origin(), data, offset, size);
}

void QZHttpServerEngine::ProcessPiece(QZInt64 id, const Origin& origin, const void* data, QZInt64 offset,
                                      QZInt64 size)
{
    QZHttpConnect* connect = origin.connect;
    if (connect != nullptr)
        connect->InUse();
    else
        connect = GetConnectByID(id);
    // When the handle serves another client by now, the bytes are dropped.
    if (connect != nullptr && !Access::Serves(connect, origin.serial)) Recycle(&connect);
    if (connect == nullptr)
    {
        QZString text(QZ_W("QZHttpServerEngine::ProcessASync Can not find connect "));
        text.Append(id);
        if (m_report != nullptr) m_report->Report(&text);
        return;
    }
    if (StrictServer::Of(this).on)
    {
        http::StrictExchange(this, connect).Run(data, size);
        Recycle(&connect);
        return;
    }
    if (m_lastRecord != 0)
    {
        try
        {
            WriteRecord(connect, data, offset, size);
        }
        catch (QZException* e)
        {
            QZTrace(e, kClass, QZ_W("ProcessASync")).Argument(QZ_W("QZInt64"), id);
            Report(e);
            QZExceptionFactory::Recycle(&e);
        }
    }
    Exchange(this, connect, id, origin).Run(data, offset, size);
}

// It stands here because the source of the task's header knows the engine only by name: including the engine
// there would close a circle.
void QZHttpServerProcessTask::Execute()
{
    QZHttpServerEngine::Origin origin;
    origin.serial = m_serial;
    origin.piece = m_piece;
    if (m_connect != nullptr)
        http::StrictServer::Of(m_engine).Serve(m_connect, m_bytes);
    else
        m_engine->ProcessPiece(m_clientId, origin, m_data->GetPointer(), m_offset, m_data->GetSize());
    QZHttpServerProcessTask* self = this;
    m_pool->Recycle(&self);
}

void QZHttpServerEngine::ProcessRecord(QZHttpConnect*, QZHttpRequest*, QZHttpResponse*) {}

void QZHttpServerEngine::SendResponse(long long id, QZHttpResponse* response)
{
    http::RemoveHeader(response->GetHeaders(), QZHttpConstant::HeaderNameTransferEncodingString);
    QZScopedData bytes(response->ToData());
    if (StrictServer::Of(this).on) CutToHead(response, bytes.Get());
    // The system gathers the pieces of a response, so that the client does not wake up for each of them.
    const bool manyPieces = bytes->GetSize() > kGatherFrom;
    if (manyPieces) os::SocketGather(id, true);
    QZSocket::Send(id, bytes->GetPointer(), bytes->GetSize());
    if (manyPieces) os::SocketGather(id, false);
}

unsigned char QZHttpServerEngine::IsKeepAlive(QZHttpRequest* request)
{
    if (StrictServer::Of(this).on) return ClosesStrictly(request) ? 0 : 1;
    QZHttpHeader* header = http::FindHeader(request->GetHeaders(), kConnection);
    return header == nullptr || !header->GetValue()->Equals(QZ_W("close"), 1);
}

QZHttpResponse* QZHttpServerEngine::CreatePage(QZHttpRequest*)
{
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    response->SetStatus(200);
    QZString page(QZ_W("<!DOCTYPE html><html><head><title></title></head><body></body></html>"));
    response->SetContent(&page);
    return response;
}

// ---- The record of a request that is being answered

QZString* QZHttpServerEngine::RecordPath(QZHttpConnect* connect)
{
    QZString* path = QZStringFactory::CreateString(kRecordFolder);
    path->Append(QZ_W("/"));
    path->Append(m_startStamp);
    path->Append(QZ_W("-"));
    path->Append(connect->GetObjectID());
    return path;
}

void QZHttpServerEngine::WriteRecord(QZHttpConnect* connect, const void* data, QZInt64 offset, QZInt64 size)
{
    constexpr const QZWChar* kMethod = QZ_W("WriteRecord");
    if (!QZFileDirectory::Exists(kRecordFolder)) QZFileDirectory::Create(kRecordFolder);
    const QZScopedString path(RecordPath(connect));
    if (!QZFile::Exists(path.Get()))
        RecordStep(QZ_W("Can not create last record file."), kMethod, [&] { QZFile::Create(path.Get()); });
    QZFile* file = QZFile::Open(path.Get());
    bool whole = false;
    try
    {
        whole = file->Write(offset, data, size) == size;
    }
    catch (QZException*)
    {
        QZFile::Close(&file);
        throw;
    }
    QZFile::Close(&file);
    if (!whole) RecordFailure(QZ_W("Can not write last record file."), kMethod);
}

void QZHttpServerEngine::RemoveRecord(QZHttpConnect* connect)
{
    const QZScopedString path(RecordPath(connect));
    RecordStep(QZ_W("Can not remove record file."), QZ_W("RemoveRecord"),
               [&] { QZFile::Delete(path.Get()); });
}
