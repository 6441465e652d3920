// The server in strict mode that front_test.py runs.
//
//     qz_front_host LOG [ADDRESS [both | kept]]
//
// Every request adds a line to the file LOG: its method and target, or "refused" and the status when no page
// was made. The page holds the method, the path, the size of the body and the address of the client; /echo
// returns the body. With `both` IPv4 clients reach an IPv6 ADDRESS too; with `kept` strict mode is off. The
// program listens on ADDRESS, 127.0.0.1 without one, prints its port and ends when its input ends.

#include <qzlib.h>

#include <cstdio>
#include <mutex>
#include <string>

namespace
{

std::string Narrow(QZString* text)
{
    std::string out;
    for (QZInt64 i = 0; i < text->GetLength(); ++i)
        out += text->GetPointer()[i] < 0x7F ? static_cast<char>(text->GetPointer()[i]) : '?';
    return out;
}

class FrontServer : public QZHttpServerEngine
{
public:
    FrontServer(QZErrorReport* report, const char* log)
        : QZHttpServerEngine(report, 0), m_log(std::fopen(log, "w"))
    {}
    ~FrontServer() override
    {
        Shutdown();
        std::fclose(m_log);
    }

    void ProcessRecord(QZHttpConnect*, QZHttpRequest* request, QZHttpResponse* response) override
    {
        const std::string line =
            request != nullptr ? Narrow(request->GetMethod()) + " " + Narrow(request->GetUrl()->GetUrl())
                               : "refused " + (response != nullptr ? Narrow(response->GetStatus())
                                                                   : std::string("without status"));
        const std::lock_guard<std::mutex> guard(m_lock);
        std::fprintf(m_log, "%s\n", line.c_str());
        std::fflush(m_log);
    }

protected:
    QZHttpResponse* CreatePage(QZHttpRequest* request) override
    {
        QZHttpResponse* response = QZHttpFactory::CreateResponse();
        response->SetStatus(200);
        if (request->GetUrl()->GetPath()->Equals(QZ_W("/echo")))
        {
            response->SetContent(request->GetContent());
            return response;
        }
        QZString client;
        GetClientAddress(request, &client);
        const std::string text = Narrow(request->GetMethod()) + " " + Narrow(request->GetUrl()->GetPath()) +
                                 " " + std::to_string(request->GetContent()->GetSize()) + " " +
                                 Narrow(&client) + "\n";
        response->SetContent(text.data(), static_cast<QZInt64>(text.size()));
        return response;
    }

private:
    std::mutex m_lock;
    std::FILE* m_log;
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 4)
        return std::fprintf(stderr, "usage: qz_front_host LOG [ADDRESS [both | kept]]\n"), 2;
    const std::string mode = argc > 3 ? argv[3] : "";
    QZLibInit();
    QZHttpServerEngine::Strict = mode == "kept" ? 0 : 1;
    QZHttpServerEngine::CompletionPause = 0;
    int code = 0;
    try
    {
        QZErrorReport report;
        FrontServer server(&report, argv[1]);
        if (server.ListenOn(argc > 2 ? argv[2] : "127.0.0.1", mode == "both") == 0) return 2;
        server.Start();
        std::printf("%d\n", server.GetPort());
        std::fflush(stdout);
        while (std::getchar() != EOF)
        {}
    }
    catch (QZException* e)
    {
        std::fprintf(stderr, "qz_front_host: failure %lld\n", static_cast<long long>(e->GetCode()));
        QZExceptionFactory::Recycle(&e);
        code = 1;
    }
    QZLibDispose();
    return code;
}
