// The server that bench/http/bench_http.py measures.
//
//     http_bench_host FILE PAUSE [in-place] [strict]
//
// GET /small returns a small page, GET /file the file, GET /counts the numbers of objects in use as JSON. The
// program prints its port and ends when its input ends.

#include <qzlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

class BenchServer : public QZHttpServerEngine
{
public:
    BenchServer(QZErrorReport* report, const char* file) : QZHttpServerEngine(report, 0), m_file(file)
    {
        m_bindAddress = QZIPAddress(127, 0, 0, 1).GetValue();
    }
    ~BenchServer() override { Shutdown(); }

protected:
    QZHttpResponse* CreatePage(QZHttpRequest* request) override
    {
        QZString* path = request->GetUrl()->GetPath();
        if (path->Equals(QZ_W("/small"))) return Small();
        if (path->Equals(QZ_W("/file"))) return QZHttpServer::ResponseFile(&m_file);
        if (path->Equals(QZ_W("/counts"))) return Counts();
        return QZHttpServer::Page404(nullptr);
    }

private:
    static QZHttpResponse* Small()
    {
        QZHttpResponse* response = QZHttpFactory::CreateResponse();
        response->SetStatus(200);
        QZString page(
            QZ_W("<!DOCTYPE html><html><head><title>small</title></head><body><p>A small "
                 "page.</p></body></html>"));
        response->SetContent(&page);
        return response;
    }

    QZHttpResponse* Counts()
    {
        QZString json(QZ_W("{\"connections\":"));
        json.Append(static_cast<QZInt64>(ConnectCount()));
        json.Append(QZ_W(",\"close wait\":"));
        json.Append(static_cast<QZInt64>(ConnectCloseWaitCount()));
        json.Append(QZ_W(",\"workers\":"));
        json.Append(static_cast<QZInt64>(ThreadPoolCount()));
        json.Append(QZ_W(",\"cached\":"));
        QZJsonObject* cached = QZHttpFactory::GetStatus();
        QZString* text = QZJsonFactory::SerializeObject(cached);
        json.Append(text);
        QZJsonFactory::Recycle(&text);
        QZJsonFactory::Recycle(&cached);
        json.Append(QZ_W("}"));
        QZHttpResponse* response = QZHttpFactory::CreateResponse();
        response->SetStatus(200);
        response->SetContent(&json);
        return response;
    }

    QZString m_file;
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 3 || argc > 5)
        return std::fprintf(stderr, "usage: http_bench_host FILE PAUSE [in-place] [strict]\n"), 2;
    bool inPlace = false;
    bool strict = false;
    for (int i = 3; i < argc; ++i)
    {
        inPlace = inPlace || std::strcmp(argv[i], "in-place") == 0;
        strict = strict || std::strcmp(argv[i], "strict") == 0;
    }
    QZLibInit();
    int code = 0;
    try
    {
        QZErrorReport report;
        QZHttpServerEngine::CompletionPause = std::atoi(argv[2]);
        QZHttpServerEngine::AnswerInPlace = inPlace;
        QZHttpServerEngine::Strict = strict;
        BenchServer server(&report, argv[1]);
        server.GetLimits()->connections = 0;
        server.Start();
        std::printf("%d\n", server.GetPort());
        std::fflush(stdout);
        while (std::getchar() != EOF)
        {}
    }
    catch (QZException* e)
    {
        std::fprintf(stderr, "http_bench_host: failure %lld\n", static_cast<long long>(e->GetCode()));
        QZExceptionFactory::Recycle(&e);
        code = 1;
    }
    QZLibDispose();
    return code;
}
