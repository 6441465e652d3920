// A server that peers_test.py runs for other clients and proxies.
//
//     qz_peer_host NAME [strict]
//
// GET /who returns NAME and the client address that a proxy sent, POST /echo returns the body, and GET /page
// returns a page with a script that requests both. With `strict` the server runs in strict mode and takes the
// PROXY line. The program prints its port and ends when its input ends.

#include <qzlib.h>

#include <cstdio>

namespace
{

// The script writes its result into the element with the id "out": the name, and how many of the four bodies
// came back unchanged.
const QZWChar* const kPage = QZ_W(
    "<!DOCTYPE html><html><head><title>peer</title><link rel=\"icon\" href=\"data:,\"></head><body>"
    "<p id=\"out\">nothing yet</p><script>"
    "async function run() {"
    "  const who = await (await fetch('/who')).text();"
    "  const body = 'x'.repeat(200000);"
    "  const answers = await Promise.all([1, 2, 3, 4].map(() => fetch('/echo', {method: 'POST', body})));"
    "  const texts = await Promise.all(answers.map(a => a.text()));"
    "  const same = texts.filter(t => t === body).length;"
    "  document.getElementById('out').textContent = `${who.trim()} ${same} times the same`;"
    "}"
    "run();"
    "</script></body></html>");

class PeerServer : public QZHttpServerEngine
{
public:
    PeerServer(QZErrorReport* report, const char* name) : QZHttpServerEngine(report, 0), m_name(name)
    {
        m_bindAddress = QZIPAddress(127, 0, 0, 1).GetValue();
    }
    ~PeerServer() override { Shutdown(); }

protected:
    QZHttpResponse* CreatePage(QZHttpRequest* request) override
    {
        QZString* path = request->GetUrl()->GetPath();
        if (path->Equals(QZ_W("/echo"))) return Respond(QZ_W("text/plain"), request->GetContent());
        QZString text(kPage);
        if (path->Equals(QZ_W("/page"))) return Respond(QZ_W("text/html; charset=utf-8"), &text);
        if (!path->Equals(QZ_W("/who"))) return QZHttpServer::Page404(nullptr);
        text.Set(&m_name);
        QZHttpHeaderCollection* headers = request->GetHeaders();
        for (QZInt64 i = 0; i < headers->Count(); ++i)
        {
            QZHttpHeader* header = headers->GetElement(i);
            if (!header->GetName()->Equals(QZ_W("X-Forwarded-For"), 1)) continue;
            text.Append(QZ_W(" for "));
            text.Append(header->GetValue());
        }
        text.Append(QZ_W("\n"));
        return Respond(QZ_W("text/plain"), &text);
    }

private:
    template <typename Content>
    static QZHttpResponse* Respond(const QZWChar* type, Content* content)
    {
        QZHttpResponse* response = QZHttpFactory::CreateResponse();
        response->SetStatus(200);
        response->SetContent(content);
        QZString line(QZ_W("Content-Type: "));
        line.Append(type);
        QZHttpHeaderCollection* headers = QZHttpFactory::CreateHeaderCollection(&line);
        response->SetHeader(headers);
        QZHttpFactory::Recycle(&headers);
        return response;
    }

    QZString m_name;
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 3) return std::fprintf(stderr, "usage: qz_peer_host NAME [strict]\n"), 2;
    QZLibInit();
    QZHttpServerEngine::Strict = argc == 3;
    int code = 0;
    try
    {
        QZErrorReport report;
        PeerServer server(&report, argv[1]);
        server.GetLimits()->proxyLine = 1;
        server.Start();
        std::printf("%d\n", server.GetPort());
        std::fflush(stdout);
        while (std::getchar() != EOF)
        {}
    }
    catch (QZException* e)
    {
        std::fprintf(stderr, "qz_peer_host: failure %lld\n", static_cast<long long>(e->GetCode()));
        QZExceptionFactory::Recycle(&e);
        code = 1;
    }
    QZLibDispose();
    return code;
}
