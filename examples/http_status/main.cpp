// Serves the state of the running server as JSON: two pages, one of which needs a key.
//
//     http_status PORT KEY
//
// Everyone may GET /status; GET /clients?key=KEY needs the key. Port 0 takes a free port. The server prints
// its port and ends when its standard input ends.

#include <qzlib.h>

#include <cstdio>
#include <string>

namespace
{

class StatusServer;

QZHttpResponse* JsonResponse(QZString* json)
{
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    response->SetContent(json);
    QZString line(QZ_W("Content-Type: application/json; charset=utf-8"));
    QZHttpHeaderCollection* headers = QZHttpFactory::CreateHeaderCollection(&line);
    response->SetHeader(headers);
    QZHttpFactory::Recycle(&headers);
    return response;
}

class StatusPage : public QZHttpPage
{
public:
    explicit StatusPage(StatusServer* server) : QZHttpPage(QZ_W("/status")), m_server(server) {}
    QZHttpResponse* ToResponse(QZHttpRequest* request) override;

private:
    StatusServer* m_server;
};

class ClientsPage : public QZHttpPage
{
public:
    ClientsPage(StatusServer* server, const char* key)
        : QZHttpPage(QZ_W("/clients")), m_server(server), m_key(key)
    {}
    QZHttpResponse* ToResponse(QZHttpRequest* request) override;
    QZHttpResponse* Verification(QZHttpRequest* request) override
    {
        QZString* key = request->GetUrl()->GetParam(QZ_W("key"));
        return key != nullptr && m_key.Equals(key) ? nullptr : QZHttpServer::Page401(nullptr);
    }

private:
    StatusServer* m_server;
    QZString m_key;
};

class StatusServer : public QZHttpServerEngine
{
public:
    StatusServer(QZErrorReport* report, unsigned short port, const char* key)
        : QZHttpServerEngine(report, port), m_status(this), m_clients(this, key)
    {
        m_bindAddress = QZIPAddress(127, 0, 0, 1).GetValue();
        m_pages.AddPage(&m_status);
        m_pages.AddPage(&m_clients);
    }
    ~StatusServer() override { Shutdown(); }

    void AppendClients(QZString* json)
    {
        QZJsonValueCollection* info = GetConnectInfo();
        QZString* text = QZJson::Write(info);
        json->Append(text);
        QZJsonFactory::Recycle(&text);
        Recycle(&info);
    }

protected:
    QZHttpResponse* CreatePage(QZHttpRequest* request) override
    {
        if (!request->GetMethod()->Equals(QZ_W("GET")))
            return QZHttpServer::Page405(nullptr, QZ_W("GET, HEAD"));
        QZHttpResponse* response = m_pages.ToResponse(request);
        return response != nullptr ? response : QZHttpServer::Page404(nullptr);
    }

private:
    StatusPage m_status;
    ClientsPage m_clients;
    // This member is last, so that it is destroyed first and releases its pages before they are destroyed.
    QZHttpPageContainer m_pages;
};

QZHttpResponse* StatusPage::ToResponse(QZHttpRequest*)
{
    QZString json(QZ_W("{\"connections\":"));
    json.Append(static_cast<QZInt64>(m_server->ConnectCount()));
    json.Append(QZ_W(",\"workers\":"));
    json.Append(static_cast<QZInt64>(m_server->ThreadPoolCount()));
    json.Append(QZ_W("}"));
    return JsonResponse(&json);
}

QZHttpResponse* ClientsPage::ToResponse(QZHttpRequest*)
{
    QZString json(QZ_W("{\"clients\":"));
    m_server->AppendClients(&json);
    json.Append(QZ_W("}"));
    return JsonResponse(&json);
}

/// The message of an exception without blanks and line ends around it. Returns the exception to the library.
std::string TakeMessage(QZException* e)
{
    std::string text;
    QZString* message = e->GetMsg();
    for (QZInt64 i = 0; i < message->GetLength(); ++i)
    {
        const QZWChar unit = message->GetPointer()[i];
        text.push_back(unit >= ' ' && unit < 0x7F ? static_cast<char>(unit) : ' ');
    }
    const std::size_t first = text.find_first_not_of(' ');
    const std::size_t last = text.find_last_not_of(' ');
    text = first == std::string::npos ? "error " + std::to_string(e->GetCode())
                                      : text.substr(first, last + 1 - first);
    QZExceptionFactory::Recycle(&e);
    return text;
}

/// Reads a port. False, with a line that says why, for any other text.
bool TakePort(const char* program, const char* text, unsigned short* port)
{
    QZUInt64 number = 0;
    if (QZConvert::ParseUInt64(text, &number) == 0 || number > 65535)
    {
        std::fprintf(stderr, "%s: PORT \"%s\" is no whole number from 0 to 65535\n", program, text);
        return false;
    }
    *port = static_cast<unsigned short>(number);
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) return std::fprintf(stderr, "usage: http_status PORT KEY\n"), 2;
    unsigned short port = 0;
    if (!TakePort("http_status", argv[1], &port)) return 2;
    QZLibInit();
    QZHttpServerEngine::Strict = 1;
    int code = 0;
    try
    {
        QZErrorReport report;
        StatusServer server(&report, port, argv[2]);
        server.Start();
        std::printf("%d\n", server.GetPort());
        std::fflush(stdout);
        while (std::getchar() != EOF)
        {}
    }
    catch (QZException* e)
    {
        std::fprintf(stderr, "http_status: %s\n", TakeMessage(e).c_str());
        code = 1;
    }
    QZLibDispose();
    return code;
}
