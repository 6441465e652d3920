// Fetches a URL and writes its content to the standard output.
//
//     http_get URL [HOST]
//
// URL names the server by its name or its IP address ("http://127.0.0.1:8080/a.txt"); HOST is sent as the
// Host header, and is "localhost" when it is not given. The exit code is 0 for a response with status 200, 1
// for another status, 2 without a response.

#include <qzlib.h>

#include <cstdio>
#include <memory>
#include <string>

namespace
{

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

std::string Narrow(QZString* text)
{
    std::string result;
    for (QZInt64 i = 0; i < text->GetLength(); ++i)
        result.push_back(static_cast<char>(text->GetPointer()[i]));
    return result;
}

/// Says in words why there is no response. Returns the exception to the library.
int Fail(const std::string& what, QZException* e)
{
    std::fprintf(stderr, "http_get: %s: %s\n", what.c_str(), TakeMessage(e).c_str());
    return 2;
}

/// Why a connection failed, by the number of the system, which is the same on every platform.
int FailToConnect(const std::string& server, QZInt64 error, QZException* e)
{
    struct Reason
    {
        QZInt64 error;
        const char* words;
    };
    const Reason reasons[] = {{10051, "the network cannot be reached"},
                              {10060, "no answer in time"},
                              {10061, "connection refused"},
                              {10065, "no way to the host"}};
    const char* words = nullptr;
    for (const Reason& reason : reasons)
    {
        if (reason.error == error) words = reason.words;
    }
    // Windows forgets the number when the socket is closed.
    if (words == nullptr && e->GetCode() == QZSocketExceptionCode::SocketConnectFailed)
        words = "connection refused, or no way to the host";
    if (words == nullptr) return Fail("cannot connect to " + server, e);
    QZExceptionFactory::Recycle(&e);
    std::fprintf(stderr, "http_get: cannot connect to %s: %s\n", server.c_str(), words);
    return 2;
}

int Ask(QZHttpClient& client, QZUrl& url, const char* host)
{
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

int Fetch(const char* address, const char* host)
{
    QZUrl url(address);
    const std::string name = Narrow(url.GetHost());
    const std::string server = name + " port " + std::to_string(url.GetPort());
    if (name.empty()) return std::fprintf(stderr, "http_get: \"%s\" names no host\n", address), 2;
    std::unique_ptr<QZIPAddress> place;
    try
    {
        place.reset(QZHttp::GetHostByName(url.GetHost()));
    }
    catch (QZException* e)
    {
        return Fail("host \"" + name + "\" not found", e);
    }
    QZHttpClient client;
    try
    {
        client.Connect(place.get(), url.GetPort());
    }
    catch (QZException* e)
    {
        return FailToConnect(server, QZException::GetLastError(), e);
    }
    try
    {
        return Ask(client, url, host);
    }
    catch (QZException* e)
    {
        return Fail("no response from " + server, e);
    }
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
        code = Fail("\"" + std::string(argv[1]) + "\" is no URL", e);
    }
    QZLibDispose();
    return code;
}
