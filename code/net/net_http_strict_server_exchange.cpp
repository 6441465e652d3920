// The path of the requests of one connection through an engine in strict mode.

#include "net/internal/net_http_strict_server.h"

#include <new>

#include "fw/fw_data.h"
#include "fw/fw_lock.h"
#include "fw/fw_report.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_connection_access.h"
#include "net/internal/net_http_fields.h"
#include "net/internal/net_http_guard.h"
#include "net/internal/net_http_sending.h"
#include "net/internal/net_url_access.h"
#include "net/net_http_constant.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "os/os_socket.h"

namespace
{

using Access = QZHttpConnectAccess;
using Stage = http::StrictConnection::Stage;
using ReadStage = http::RequestReader::Stage;
using Form = http::Target::Form;

constexpr const QZWChar* kClass = QZ_W("QZHttpServerEngine");
constexpr const QZWChar* kMethod = QZ_W("ProcessASync");
constexpr const QZWChar* kConnection = QZ_W("Connection");
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

constexpr int kRequestTimeout = 408;
constexpr int kForbidden = 403;
constexpr int kMethodNotAllowed = 405;
constexpr int kNotImplemented = 501;
// Milliseconds for which the farewell of an overdue client may block.
constexpr QZUInt32 kFarewellTime = 100;

using http::Now;

/// True when a list of methods with ", " between them has this one. Methods have a letter case.
bool Lists(std::string_view methods, std::string_view method)
{
    for (;;)
    {
        const std::size_t comma = methods.find(',');
        if (http::Stripped(methods.substr(0, comma)) == method) return true;
        if (comma == std::string_view::npos) return false;
        methods.remove_prefix(comma + 1);
    }
}

http::Text TextOf(const std::basic_string<QZWChar>& wide)
{
    return {wide.data(), static_cast<QZInt64>(wide.size())};
}

/// Splits the value of a header "Cookie" into cookies.
void AddCookies(QZHttpCookieCollection* cookies, const std::basic_string<QZWChar>& value)
{
    http::TextSplitter pieces(TextOf(value), ';');
    http::Text piece(nullptr, 0);
    while (pieces.Next(&piece)) http::AddCookie(cookies, piece, false);
}

/// Throws when a part of the response would split it.
void RequireWhole(QZHttpResponse* response)
{
    http::RequireOneLine(kClass, kMethod, response->GetStatus());
    QZHttpHeaderCollection* headers = response->GetHeaders();
    for (QZInt64 i = headers->Count() - 1; i >= 0; --i)
        for (QZString* text : {headers->GetElement(i)->GetName(), headers->GetElement(i)->GetValue()})
            http::RequireOneLine(kClass, kMethod, text);
    QZHttpCookieCollection* cookies = response->GetCookies();
    for (QZInt64 i = cookies->Count() - 1; i >= 0; --i)
    {
        QZHttpCookie* cookie = cookies->GetElement(i);
        for (QZString* text :
             {cookie->GetName(), cookie->GetValue(), cookie->GetPath(), cookie->GetExpries()})
            http::RequireOneLine(kClass, kMethod, text);
    }
}

/// True when the host has asked for the end of the connection.
bool AsksForClose(QZHttpResponse* response)
{
    QZHttpHeader* header = http::FindHeader(response->GetHeaders(), kConnection);
    return header != nullptr && header->GetValue()->Equals(QZ_W("close"), 1);
}

}  // namespace

http::StrictExchange::StrictExchange(QZHttpServerEngine* engine, QZHttpConnect* connect)
    : m_engine(engine),
      m_connect(connect),
      m_id(connect->GetClientID()),
      m_state(*Access::Strict(connect)),
      m_reader(m_state.reader),
      m_request(Access::Request(connect))
{}

void http::StrictExchange::Run(const void* bytes, QZInt64 size)
{
    const std::lock_guard<std::recursive_mutex> turn(m_state.turn);
    {
        // Keeps the socket's handle from going to another client.
        QZCriticalGuard hold(Access::SendLock(m_connect));
        try
        {
            Loop(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
        }
        catch (const std::bad_alloc&)
        {
            End();
        }
    }
    if (m_state.At() == Stage::Ended) m_engine->ConnectClose(m_connect);
}

bool http::StrictExchange::MayGoOn() const
{
    return m_state.At() != Stage::Ended && !Access::IsClosing(m_connect) && m_engine->IsWorking();
}

void http::StrictExchange::Loop(const char* bytes, std::size_t size)
{
    while (size > 0 && MayGoOn())
    {
        const bool newRequest = m_reader.At() == ReadStage::Start;
        const std::size_t taken = m_reader.Read(bytes, size);
        bytes += taken;
        size -= taken;
        NoteProgress(newRequest);
        switch (m_reader.At())
        {
            case ReadStage::Refused: return Refuse(m_reader.Status());
            case ReadStage::Complete:
                Answer();
                if (m_state.At() == Stage::Ended) return;
                m_reader.Next();
                m_state.Enter(Stage::Idle);
                break;
            case ReadStage::Body:
                if (m_reader.ExpectsContinue()) SayContinue();
                break;
            default: break;
        }
    }
}

/// Notes when the parts of the request arrived.
void http::StrictExchange::NoteProgress(bool newRequest)
{
    const QZInt64 begin = newRequest ? Now() : Access::TimesOf(m_connect).receiveBegin;
    const bool inHead = m_reader.At() == ReadStage::Head;
    if (newRequest || !inHead) Access::SetReceiveTimes(m_connect, begin, inHead ? 0 : Now());
    m_state.Enter(inHead ? Stage::Head : Stage::Body);
}

/// Tells the client to send its body. Only once for a request: the body follows.
void http::StrictExchange::SayContinue()
{
    try
    {
        QZSocket::Send(m_id, kContinue.data(), static_cast<QZInt64>(kContinue.size()));
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        End();
    }
}

// ---- One request

void http::StrictExchange::Answer()
{
    m_state.Enter(Stage::Page);
    m_begin = Now();
    m_keepAlive = m_reader.KeepsAlive();
    m_reachedPage = false;
    QZHttpResponse* response = nullptr;
    try
    {
        Fill();
        response = Respond();
        RequireWhole(response);
    }
    catch (QZException* e)
    {
        if (response != nullptr) QZHttpFactory::Recycle(&response);
        QZTrace(e, kClass, kMethod).Argument(QZ_W("QZInt64"), m_id);
        response = MakeFailurePage(e);
    }
    // ProcessRecord sees the method of the client.
    if (m_reader.Method() == "HEAD") m_request->SetMethod(QZ_W("HEAD"));
    Complete(response);
    Send(response);
    Record(m_reachedPage ? m_request : nullptr, response);
    QZHttpFactory::Recycle(&response);
    m_request->Clear();
    if (!m_keepAlive) End();
}

/// Makes the request object from what was read.
void http::StrictExchange::Fill()
{
    const http::Target& target = m_reader.RequestTarget();
    const auto method = http::WideOf(m_reader.Method());
    // Hosts need no page for HEAD: they make the page of GET, and the engine sends its head.
    m_request->SetMethod(m_reader.Method() == "HEAD" ? QZ_W("GET") : method.c_str());
    m_request->GetVersion()->Set(m_reader.MinorVersion() == 1 ? QZ_W("HTTP/1.1") : QZ_W("HTTP/1.0"));
    const std::string text =
        target.form == Form::Absolute
            ? std::string(target.path) + (target.query.empty() ? "" : "?") + std::string(target.query)
            : std::string(m_reader.TargetText());
    const auto whole = http::WideOf(text);
    const auto path = http::WideOf(m_reader.Path());
    const auto query = http::WideOf(target.query);
    QZUrlAccess::SetTarget(m_request->GetUrl(), TextOf(whole), TextOf(path), TextOf(query));

    QZHttpFactory::Clear(m_request->GetHeaders());
    QZHttpFactory::Clear(m_request->GetCookies());
    for (std::size_t i = 0; i < m_reader.FieldCount(); ++i)
    {
        const http::RequestReader::Field field = m_reader.FieldAt(i);
        const bool host = http::IsWord(field.name, "host");
        // The host of the target counts, not that of the header.
        const auto value =
            http::WideOf(host && target.form == Form::Absolute ? target.authority : field.value);
        if (http::IsWord(field.name, "cookie"))
            AddCookies(m_request->GetCookies(), value);
        else
            http::PushHeader(m_request->GetHeaders(), TextOf(http::WideOf(field.name)), TextOf(value));
    }
    if (!m_reader.ProxyAddress().empty())
        http::SetHeaderValue(m_request->GetHeaders(), QZHttpConstant::HeaderNameXFFString,
                             TextOf(http::WideOf(m_reader.ProxyAddress())));
    const std::string& body = m_reader.BodyBytes();
    m_request->SetContent(body.data(), static_cast<QZInt64>(body.size()));
    const std::string_view head = m_reader.HeadBytes();
    QZHttpAccess::Source(m_request)->Set(head.data(), static_cast<QZInt64>(head.size()));
    QZHttpStamps& stamps = http::StampsOf(m_request);
    stamps.begin = stamps.process = Access::TimesOf(m_connect).receiveBegin;
    stamps.ready = stamps.end = m_begin;
}

QZHttpResponse* http::StrictExchange::Respond()
{
    QZHttpResponse* response = AnswerWithoutPage();
    if (response != nullptr) return response;
    m_reachedPage = true;
    return MakePage();
}

/// The response to a request that no page is made for; null for the other requests.
QZHttpResponse* http::StrictExchange::AnswerWithoutPage()
{
    // The methods of RFC 9110 and of RFC 5789.
    constexpr std::string_view kKnown = "GET, HEAD, POST, PUT, DELETE, CONNECT, OPTIONS, TRACE, PATCH";
    const char* methods = http::StrictServer::Of(m_engine).limits.methods;
    const QZWChar* name = m_engine->GetServerName()->GetPointer();
    const bool served = Lists(methods, m_reader.Method()) && m_reader.RequestTarget().form != Form::Authority;
    if (!served)
    {
        return QZHttpServer::PageOf(Lists(kKnown, m_reader.Method()) ? kMethodNotAllowed : kNotImplemented,
                                    name);
    }
    if (m_reader.IsForbidden()) return QZHttpServer::PageOf(kForbidden, name);
    if (m_reader.RequestTarget().form != Form::Asterisk) return nullptr;
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    response->SetStatus(204);
    http::SetHeaderValue(response->GetHeaders(), QZ_W("Allow"), TextOf(http::WideOf(methods)));
    return response;
}

QZHttpResponse* http::StrictExchange::MakePage()
{
    if (m_engine->m_lastRecord != 0) WriteRecord();
    QZHttpResponse* response = m_engine->CreatePage(m_request);
    if (response == nullptr) throw QZExceptionFactory::CreateException(QZExceptionCode::NullPointer);
    try
    {
        QZHttpCookieCollection* cookies = response->GetCookies();
        for (QZInt64 i = cookies->Count() - 1; i >= 0; --i) cookies->GetElement(i)->GetDomain()->Clear();
        if (m_engine->m_lastRecord != 0) m_engine->RemoveRecord(m_connect);
    }
    catch (QZException*)
    {
        QZHttpFactory::Recycle(&response);
        throw;
    }
    return response;
}

/// The connection stays open: a page that throws does not close the connection of its client.
QZHttpResponse* http::StrictExchange::MakeFailurePage(QZException* exception)
{
    QZHttpResponse* response =
        QZHttpServer::Page500(m_engine->GetServerName()->GetPointer(), exception->GetMsg());
    m_engine->Report(exception);
    QZExceptionFactory::Recycle(&exception);
    return response;
}

/// Adds the headers that the engine is responsible for.
void http::StrictExchange::Complete(QZHttpResponse* response)
{
    QZHttpHeaderCollection* headers = response->GetHeaders();
    if (response->GetStatus()->StartsWith(QZ_W("405")) && !http::HasHeader(headers, QZ_W("Allow")))
        http::SetHeaderValue(headers, QZ_W("Allow"),
                             TextOf(http::WideOf(http::StrictServer::Of(m_engine).limits.methods)));
    m_keepAlive = m_keepAlive && !AsksForClose(response);
    Access::SetKeepAlive(m_connect, m_keepAlive);
    http::SetHeaderValue(headers, kConnection, m_keepAlive ? QZ_W("keep-alive") : QZ_W("close"));
}

/// Answers a request that breaks a rule, and ends the connection: nobody knows where the next request would
/// begin.
void http::StrictExchange::Refuse(int status)
{
    Access::SetKeepAlive(m_connect, false);
    m_begin = Now();
    QZHttpResponse* response = QZHttpServer::PageOf(status, m_engine->GetServerName()->GetPointer());
    http::SetHeaderValue(response->GetHeaders(), kConnection, QZ_W("close"));
    Send(response);
    Record(nullptr, response);
    QZHttpFactory::Recycle(&response);
    End();
}

void http::StrictExchange::TimeOut()
{
    QZCriticalGuard hold(Access::SendLock(m_connect));
    if (!MayGoOn()) return;
    os::SocketSetSendTimeout(m_id, kFarewellTime);
    Refuse(kRequestTimeout);
}

void http::StrictExchange::Send(QZHttpResponse* response)
{
    m_state.Enter(Stage::Sending);
    QZHttpStamps& stamps = http::StampsOf(response);
    stamps.begin = m_begin;
    stamps.ready = stamps.process = Now();
    // A head is not sent to a connection that was closed meanwhile.
    if (Access::IsClosing(m_connect)) return End();
    try
    {
        const http::HeadOnly headOnly(m_reader.Method() == "HEAD");
        m_engine->SendResponse(m_id, response);
    }
    catch (QZException* e)
    {
        // The client has closed the connection, or part of the response is missing.
        QZExceptionFactory::Recycle(&e);
        m_keepAlive = false;
    }
    stamps.end = Now();
}

void http::StrictExchange::Record(QZHttpRequest* request, QZHttpResponse* response)
{
    try
    {
        m_engine->ProcessRecord(m_connect, request, response);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, kMethod).Argument(QZ_W("QZInt64"), m_id);
        m_engine->Report(e);
        QZExceptionFactory::Recycle(&e);
    }
}

/// Writes the bytes of the request to its record file. A failure is reported and the request continues.
void http::StrictExchange::WriteRecord()
{
    try
    {
        const std::string_view head = m_reader.HeadBytes();
        const std::string& body = m_reader.BodyBytes();
        m_engine->WriteRecord(m_connect, head.data(), 0, static_cast<QZInt64>(head.size()));
        if (!body.empty())
            m_engine->WriteRecord(m_connect, body.data(), static_cast<QZInt64>(head.size()),
                                  static_cast<QZInt64>(body.size()));
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, kMethod).Argument(QZ_W("QZInt64"), m_id);
        m_engine->Report(e);
        QZExceptionFactory::Recycle(&e);
    }
}

void http::StrictExchange::End() { m_state.Enter(Stage::Ended); }
