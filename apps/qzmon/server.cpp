#include "server.h"

#include <utility>

#include "common/owned.h"
#include "json_writer.h"

namespace qzmon
{

namespace
{

std::string HeaderOf(QZHttpRequest* request, const char* name)
{
    QZHttpHeaderCollection* headers = request->GetHeaders();
    for (QZInt64 i = 0; i < headers->Count(); ++i)
    {
        QZHttpHeader* header = headers->GetElement(i);
        if (header->GetName()->Equals(name, 1)) return Utf8(header->GetValue());
    }
    return {};
}

std::string CookieOf(QZHttpRequest* request, const char* name)
{
    QZHttpCookieCollection* cookies = request->GetCookies();
    for (QZInt64 i = 0; i < cookies->Count(); ++i)
    {
        QZHttpCookie* cookie = cookies->GetElement(i);
        if (cookie->GetName()->Equals(name)) return Utf8(cookie->GetValue());
    }
    return {};
}

std::string Decoded(QZString* text)
{
    if (text->GetSize() == 0) return {};
    try
    {
        return Utf8(qzapp::OwnedString(QZUrl::Decode(text)).get());
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        throw Failure{400, "A parameter of the address is not UTF-8."};
    }
}

/// The parameters of the address. When a name occurs more than once, the last value counts.
void AddAddress(QZHttpRequest* request, Fields* fields)
{
    QZUrl* url = request->GetUrl();
    const std::string text = Utf8(qzapp::OwnedString(url->GetParamString()).get()) + "&";
    for (std::size_t at = 0; at < text.size();)
    {
        const std::size_t end = text.find('&', at);
        const std::size_t equal = text.find('=', at);
        if (equal < end)
        {
            QZString value = Text(text.substr(equal + 1, end - equal - 1));
            (*fields)[text.substr(at, equal - at)] = Decoded(&value);
        }
        at = end + 1;
    }
}

void AddBody(QZHttpRequest* request, Fields* fields)
{
    const std::string body = qzapp::BytesOf(request->GetContent());
    if (body.empty()) return;
    for (const auto& [name, value] : ReadJsonObject(body)) (*fields)[name] = value;
}

const char* ReasonOf(int status)
{
    switch (status)
    {
        case 400: return "That request cannot be understood";
        case 401: return "This monitor asks for its token";
        case 403: return "That is not allowed from here";
        case 404: return "There is no such page";
        case 405: return "That cannot be done with this address";
        case 409: return "That cannot be done now";
        case 429: return "That was tried too often";
        case 503: return "The device is not there";
        default: return "Something went wrong";
    }
}

std::string ErrorPage(int status, const std::string& text)
{
    std::string page =
        "<!doctype html><html lang=\"en\"><meta charset=\"utf-8\"><meta name=\"viewport\" "
        "content=\"width=device-width,initial-scale=1\"><title>" +
        std::string(ReasonOf(status)) +
        "</title><link rel=\"stylesheet\" href=\"/monitor.css\"><main class=\"error\"><p class=\"code\">" +
        std::to_string(status) + "</p><h1>" + ReasonOf(status) + "</h1><p>" + HtmlText(text) + "</p>";
    if (status == 401)
        page +=
            "<form action=\"/\" method=\"get\"><label>Token <input name=\"token\" type=\"password\" "
            "autocomplete=\"off\" autofocus></label> <button class=\"main\">Open</button></form>";
    else
        page += "<p><a class=\"button\" href=\"/\">To the monitor</a></p>";
    return page + "</main></html>";
}

Visitor VisitorOf(QZHttpRequest* request)
{
    Visitor visitor;
    visitor.method = Utf8(request->GetMethod());
    visitor.path = Utf8(request->GetUrl()->GetPath());
    visitor.host = HeaderOf(request, "Host");
    visitor.origin = HeaderOf(request, "Origin");
    visitor.fetchSite = HeaderOf(request, "Sec-Fetch-Site");
    visitor.fetchMode = HeaderOf(request, "Sec-Fetch-Mode");
    visitor.writeToken = HeaderOf(request, "X-Qzmon");
    visitor.accessTokens = {HeaderOf(request, "X-Token"), CookieOf(request, "qzmon-token")};
    return visitor;
}

}  // namespace

// ---- From a request to an answer

Server::Server(Monitor* monitor, QZErrorReport* report, const std::string& bind, QZUInt16 port,
               std::string accessToken, std::string writeToken)
    : QZHttpServerEngine(report, port),
      m_monitor(monitor),
      m_access(bind, std::move(accessToken), std::move(writeToken)),
      m_start(QZEnvironment::GetTickCount())
{
    constexpr QZInt32 kMostClients = 200;
    // A browser uses about ten.
    constexpr QZInt64 kMostOfAddress = 100;
    constexpr QZInt64 kMostHead = 16384;
    constexpr QZInt64 kMostBody = 1048576;
    QZString address = Text(bind);
    m_bindAddress = QZIPAddress(&address).GetValue();
    // Further clients are told with status 503 instead of waiting.
    m_maxClient = 2 * kMostClients;
    m_headLimit = kMostHead;
    Strict = 1;
    GetLimits()->body = kMostBody;
    GetLimits()->connections = kMostClients;
    GetLimits()->connectionsOfAddress = kMostOfAddress;
    GetLimits()->methods = "GET, HEAD, POST";
    GetServerName()->Set("qzmon");
}

const Server::Route Server::kRoutes[] = {
    {"GET", "/", &Server::Page},
    {"GET", "/monitor.css", &Server::Style},
    {"GET", "/monitor.js", &Server::Script},
    {"GET", "/favicon.ico", &Server::Icon},
    {"GET", "/api/token", &Server::GetToken},
    {"GET", "/chart.bmp", &Server::Chart},
    {"GET", "/ruler.bmp", &Server::Ruler},
    {"GET", "/api/status", &Server::GetStatusJson},
    {"GET", "/api/samples", &Server::GetSamples},
    {"GET", "/api/table", &Server::GetTable},
    {"GET", "/api/parameters", &Server::GetParameters},
    {"POST", "/api/parameters", &Server::SetParameter},
    {"GET", "/api/snapshots", &Server::GetSnapshots},
    {"POST", "/api/snapshots", &Server::TakeSnapshot},
    {"GET", "/api/preview", &Server::GetPreview},
    {"POST", "/api/restore", &Server::Restore},
    {"GET", "/api/log", &Server::GetLog},
    {"GET", "/api/figures", &Server::GetFigures},
    {"GET", "/api/settings", &Server::GetSettings},
    {"POST", "/api/settings", &Server::SetSetting},
    {"POST", "/api/simulator", &Server::Plug},
};

QZHttpResponse* Server::CreatePage(QZHttpRequest* request)
{
    const Answer answer = Serve(request);
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    if (answer.status == 302)
        response->SetStatus("302 Found");
    else if (answer.status == 409)
        response->SetStatus("409 Conflict");
    else
        response->SetStatus(answer.status);
    response->SetContent(answer.body.data(), static_cast<QZInt64>(answer.body.size()));
    QZString lines =
        Text("Content-Type: " + answer.type +
             "\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\nX-Frame-Options: DENY"
             "\r\nReferrer-Policy: no-referrer\r\nContent-Security-Policy: default-src 'none'; "
             "script-src 'self'; style-src 'self'; img-src 'self' blob:; connect-src 'self'; "
             "form-action 'self'; base-uri 'none'; frame-ancestors 'none'" +
             answer.headers);
    QZHttpHeaderCollection* headers = QZHttpFactory::CreateHeaderCollection(&lines);
    response->SetHeader(headers);
    QZHttpFactory::Recycle(&headers);
    return response;
}

Server::Answer Server::Serve(QZHttpRequest* request)
{
    try
    {
        Answer moved;
        if (TakesToken(request, &moved)) return moved;
        m_access.Check(VisitorOf(request), static_cast<unsigned short>(GetPort()));
        return Dispatch(request);
    }
    catch (const Failure& failure)
    {
        return ErrorAnswer(request, failure.status, failure.text);
    }
    catch (QZException* e)
    {
        const std::string text = WhyOf(e);
        m_monitor->Log("A request failed: " + text);
        return ErrorAnswer(request, 500, text);
    }
}

Server::Answer Server::ErrorAnswer(QZHttpRequest* request, int status, const std::string& text)
{
    Answer answer;
    answer.status = status;
    if (Utf8(request->GetUrl()->GetPath()).rfind("/api/", 0) == 0)
    {
        answer.body = JsonWriter().Open().Add("error", text).Add("status", status).Close().Str();
    }
    else
    {
        answer.type = "text/html; charset=utf-8";
        answer.body = ErrorPage(status, text);
    }
    return answer;
}

/// Whether the request is the form with the access token. It moves the token from the address into a cookie.
bool Server::TakesToken(QZHttpRequest* request, Answer* answer)
{
    if (!m_access.NeedsAccessToken() || Utf8(request->GetUrl()->GetPath()) != "/") return false;
    Fields fields;
    AddAddress(request, &fields);
    const std::string token = fields["token"];
    if (token.empty()) return false;
    if (!m_access.IsAccessToken(token)) throw Failure{401, "That is not the token."};
    answer->status = 302;
    answer->headers =
        "\r\nLocation: /\r\nSet-Cookie: qzmon-token=" + token + "; Path=/; HttpOnly; SameSite=Strict";
    return true;
}

/// The methods that the table has for a path, HEAD wherever there is GET.
std::string Server::AllowedAt(const std::string& path)
{
    std::string methods;
    for (const Route& route : kRoutes)
    {
        if (path != route.path) continue;
        methods += (methods.empty() ? "" : ", ") + std::string(route.method);
        if (methods == "GET") methods += ", HEAD";
    }
    return methods;
}

Server::Answer Server::Dispatch(QZHttpRequest* request)
{
    const std::string path = Utf8(request->GetUrl()->GetPath());
    const std::string method = Utf8(request->GetMethod());
    bool known = false;
    for (const Route& route : kRoutes)
    {
        if (path != route.path) continue;
        known = true;
        if (method != route.method) continue;
        Fields fields;
        AddAddress(request, &fields);
        if (method == "POST") AddBody(request, &fields);
        return (this->*route.handler)(fields);
    }
    if (!known) throw Failure{404, "Nothing is served at " + path + "."};
    Answer answer = ErrorAnswer(request, 405, method + " " + path + " does nothing.");
    answer.headers = "\r\nAllow: " + AllowedAt(path);
    return answer;
}

}  // namespace qzmon
