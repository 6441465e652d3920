// Fetches a URL and writes its content to the standard output.
//
//     http_get URL [HOST]
//
// URL names the server by its IP address ("http://127.0.0.1:8080/a.txt"); HOST is sent as the Host header.
// The exit code is 0 for a response with status 200, 1 for another status, 2 without a response.

#include <qzlib.h>

#include <cstdio>

namespace
{

int Fetch(const char* address, const char* host)
{
    QZUrl url(address);
    QZIPAddress server(url.GetHost());
    QZHttpClient client;
    client.Connect(&server, url.GetPort());

    QZHttpRequest* request = QZHttpFactory::CreateRequest();
    QZString head(QZ_W("Host: "));
    head.Append(host);
    QZHttpHeaderCollection* headers = QZHttpFactory::CreateHeaderCollection(&head);
    request->SetHeader(headers);
    QZHttpFactory::Recycle(&headers);
    QZString* path = url.GetUrl();
    request->SetUrl(path);

    QZHttpResponse* response = client.Request(request);
    QZHttpFactory::Recycle(&request);
    const bool good = response->GetStatus()->StartsWith(QZ_W("200"));
    QZData* content = response->GetContent();
    std::fwrite(content->GetPointer(), 1, static_cast<std::size_t>(content->GetSize()), stdout);
    client.Recycle(&response);
    return good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) return std::fprintf(stderr, "usage: http_get URL [HOST]\n"), 2;
    QZLibInit();
    int code = 2;
    try
    {
        code = Fetch(argv[1], argc > 2 ? argv[2] : "localhost");
    }
    catch (QZException* e)
    {
        std::fprintf(stderr, "http_get: failure %lld\n", static_cast<long long>(e->GetCode()));
        QZExceptionFactory::Recycle(&e);
    }
    QZLibDispose();
    return code;
}
