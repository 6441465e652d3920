// Serves the files of several sites on the loopback address.
//
//     http_files PORT SITES.JSON
//
// SITES.JSON holds a list of sites, for example
//
//     [{"Host":"docs.local","SiteStatus":"Local","PhyLocation":"/srv/docs","IndexPage":"index.html"},
//      {"Host":"old.local","SiteStatus":"Redirect301","Location":"http://docs.local/"}]
//
// Port 0 takes a free port. The server prints its port and ends when its standard input ends.

#include <qzlib.h>

#include <cstdio>
#include <string>

namespace
{

class FileServer : public QZHttpServerEngine
{
public:
    FileServer(QZErrorReport* report, unsigned short port) : QZHttpServerEngine(report, port)
    {
        m_bindAddress = QZIPAddress(127, 0, 0, 1).GetValue();
        GetServerName()->Set(QZ_W("http_files"));
    }
    ~FileServer() override
    {
        Shutdown();
        while (m_sites.Count() > 0)
        {
            QZSite* site = m_sites.Pop();
            QZSite::Recycle(&site);
        }
    }

    /// Reads the list of sites. False when the file holds another JSON value.
    bool AddSites(const char* path)
    {
        QZFile* file = QZFile::Open(path);
        QZData* bytes = file->ReadToEnd();
        QZFile::Close(&file);
        QZJsonValue* list = QZJson::Parse(bytes);
        QZFile::Recycle(&bytes);
        bool good = list->GetType() == QZJsonValueCollection::Type;
        auto* sites = good ? static_cast<QZJsonValueCollection*>(list) : nullptr;
        for (QZJsonValue* site = good ? sites->GetFirst() : nullptr; good && site != nullptr;
             site = sites->Next(site))
        {
            good = site->GetType() == QZJsonObject::Type;
            if (good) m_sites.Push(QZSite::Parse(static_cast<QZJsonObject*>(site)));
        }
        QZJsonFactory::Recycle(&list);
        return good;
    }

protected:
    QZHttpResponse* CreatePage(QZHttpRequest* request) override
    {
        const QZWChar* name = GetServerName()->GetPointer();
        // The method of HEAD is GET here; the server sends the head alone.
        if (!request->GetMethod()->Equals(QZ_W("GET"))) return QZHttpServer::Page405(name, QZ_W("GET, HEAD"));
        QZString host;
        TakeHost(request, &host);
        QZSite* site = m_sites.GetSiteByHost(&host);
        if (site == nullptr) return QZHttpServer::Page404(name);
        switch (site->GetStatus())
        {
            case QZSiteStatus::Redirect301: return QZHttpServer::Response301(site->GetLocation());
            case QZSiteStatus::Redirect302: return QZHttpServer::Response302(site->GetLocation());
            case QZSiteStatus::Local: return LocalFile(site, request->GetUrl()->GetPath());
            default: return QZHttpServer::Page403(name);
        }
    }

private:
    /// The Host header without its port.
    static void TakeHost(QZHttpRequest* request, QZString* host)
    {
        QZHttpHeaderCollection* headers = request->GetHeaders();
        for (QZInt64 i = 0; i < headers->Count(); ++i)
        {
            QZHttpHeader* header = headers->GetElement(i);
            if (header->GetName()->Equals(QZ_W("Host"), 1)) host->Set(header->GetValue());
        }
        const QZInt64 colon = host->IndexOf(QZ_W(":"));
        if (colon >= 0) host->SubStringThis(0, colon);
    }

    QZHttpResponse* LocalFile(QZSite* site, QZString* path)
    {
        QZString file(path);
        if (path->EndWith(QZ_W("/"))) file.Append(site->GetIndex());
        // The path is the client's. It is decoded, and this form of the operation keeps it below the site's
        // folder.
        QZHttpResponse* response = QZHttpServer::ResponseFile(site->GetPhyLocation(), &file);
        return response != nullptr ? response : QZHttpServer::Page404(GetServerName()->GetPointer(), path);
    }

    QZSiteList m_sites;
};

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
    if (argc != 3) return std::fprintf(stderr, "usage: http_files PORT SITES.JSON\n"), 2;
    unsigned short port = 0;
    if (!TakePort("http_files", argv[1], &port)) return 2;
    QZLibInit();
    QZHttpServerEngine::Strict = 1;
    int code = 0;
    try
    {
        QZErrorReport report;
        FileServer server(&report, port);
        if (server.AddSites(argv[2]))
        {
            server.Start();
            std::printf("%d\n", server.GetPort());
            std::fflush(stdout);
            while (std::getchar() != EOF)
            {}
        }
        else
        {
            std::fprintf(stderr, "http_files: %s: no list of sites\n", argv[2]);
            code = 1;
        }
    }
    catch (QZException* e)
    {
        std::fprintf(stderr, "http_files: %s\n", TakeMessage(e).c_str());
        code = 1;
    }
    QZLibDispose();
    return code;
}
