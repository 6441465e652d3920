#include "net/net_http_server.h"

#include <string>

#include "fw/fw_data.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_scoped.h"
#include "net/internal/net_http_fields.h"
#include "net/internal/net_http_guard.h"
#include "net/internal/net_http_reason.h"
#include "net/internal/net_mime.h"
#include "net/net_http_constant.h"
#include "net/net_http_factory.h"
#include "net/net_http_response.h"
#include "os/internal/os_file_inside.h"
#include "os/os_file.h"
#include "os/os_path.h"
#include "sys/internal/sys_path.h"

const QZInt64 QZHttpServer::Type;
QZByte QZHttpServer::FollowLinks = 0;

namespace
{

/// The parts in which the pages differ.
struct Page
{
    const QZWChar* bigStyle;
    const QZWChar* messageStyle;
    const QZWChar* big;
    const QZWChar* message;
    const QZWChar* detailName;
    QZString* detail;
    const QZWChar* server;
};

constexpr const QZWChar* kBigStyle = QZ_W("font-size:10vw");
constexpr const QZWChar* kMessageStyle = QZ_W("font-size:3vw");

/// Null adds nothing.
void Add(QZString* page, const QZWChar* text)
{
    if (text != nullptr) page->Append(text);
}

/// Adds a text that may come from a client. In strict mode it cannot become markup.
void AddDetail(QZString* page, QZString* text)
{
    if (!http::IsStrict()) return page->Append(text);
    const http::Text units(text);
    for (QZInt64 i = 0; i < units.count; ++i)
    {
        const QZWChar unit = units.units[i];
        switch (unit)
        {
            case '<': page->Append(QZ_W("&lt;")); break;
            case '>': page->Append(QZ_W("&gt;")); break;
            case '&': page->Append(QZ_W("&amp;")); break;
            case '"': page->Append(QZ_W("&quot;")); break;
            case '\'': page->Append(QZ_W("&#39;")); break;
            default:
            {
                const QZWChar one[] = {unit, 0};
                page->Append(one);
            }
        }
    }
}

void Write(QZString* out, const Page& page)
{
    const bool strict = http::IsStrict();
    out->Append(strict ? QZ_W("<!DOCTYPE html><html lang=\"en\"><head><title>")
                       : QZ_W("<!DOCTYPE html><html lang=\"zh-CN\"><head><title>"));
    Add(out, page.big);
    out->Append(QZ_W(" "));
    Add(out, page.message);
    out->Append(
        QZ_W("</title></head><body style=\"width:100%;height:100%;background-color:#1682d8;color:#fefefe;\">")
            QZ_W("<div style=\"width:30vw;height:auto;margin: 20vh auto  0 auto;\">")
                QZ_W("<div style=\"width:100%; text-align:center;"));
    out->Append(page.bigStyle);
    out->Append(QZ_W("\">"));
    Add(out, page.big);
    out->Append(QZ_W("</div></div><div style=\"width:100%;border-top: 1px solid #ccc;\">")
                    QZ_W("<div style=\"width:100%; text-align:center;"));
    out->Append(page.messageStyle);
    out->Append(QZ_W("\">"));
    Add(out, page.message);
    out->Append(QZ_W("</div></div><div style=\"width:25vw; height:3vw; margin: 0 auto; text-align:center; ")
                    QZ_W("font-size:1vw; line-height: 3vw; \">"));
    Add(out, page.detailName);
    if (page.detail != nullptr) AddDetail(out, page.detail);
    out->Append(QZ_W("</div><div style=\"width:25vw;height:auto;margin:0 auto;margin-top:2vw;\">") QZ_W(
        "<div style=\"width:100%; text-align:center;\">") QZ_W("<div style=\"float:left;font-size:1vw;\">"));
    Add(out, page.server);
    out->Append(QZ_W(
        "</div><a href=\"javascript:history.go(-1);\" style=\"float:right;font-size:1vw;color:#fefefe\">")
                    QZ_W("<div style=\"float:right;font-size:1vw;margin:0 3px;\">Back</div>"));
    if (!strict) out->Append(QZ_W("<div style=\"float:right;font-size:1vw;margin:0 3px;\">返回</div>"));
    out->Append(QZ_W("</a></div></div></body></html>"));
}

QZHttpResponse* Respond(int status, const Page& page)
{
    const QZScopedString text(QZStringFactory::CreateString());
    Write(text.Get(), page);
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    response->SetStatus(status);
    response->SetContent(text.Get());
    return response;
}

QZHttpResponse* StatusPage(int status, const QZWChar* name, const QZWChar* detailName = nullptr,
                           QZString* detail = nullptr)
{
    const QZScopedString code(QZStringFactory::CreateString());
    code->Append(status);
    return Respond(status, {kBigStyle, kMessageStyle, code->GetPointer(), http::ReasonOf(status), detailName,
                            detail, name});
}

QZHttpResponse* Redirect(int status, QZString* url)
{
    http::RequireOneLine(QZ_W("QZHttpServer"), QZ_W("Redirect"), url);
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    response->SetStatus(status);
    http::SetHeaderValue(response->GetHeaders(), QZHttpConstant::HeaderNameLocationString, url);
    return response;
}

/// The file's bytes, new data; null when it cannot be read.
QZData* ReadWhole(QZString* path)
{
    QZFile* file = nullptr;
    QZData* bytes = nullptr;
    try
    {
        if (!QZFile::Exists(path)) return nullptr;
        // Others may read and write the file meanwhile.
        file = QZFileInside::OpenUnlessInUse(path, QZFileInside::Role::Copier);
        if (file != nullptr) bytes = file->ReadToEnd();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
    if (file != nullptr) QZFile::Close(&file);
    return bytes;
}

/// The response with a file; null when it cannot be read.
/// @param name  the path whose extension decides the type
QZHttpResponse* FileResponse(QZString* path, QZString* name)
{
    QZData* bytes = ReadWhole(path);
    if (bytes == nullptr) return nullptr;
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    response->SetStatus(200);
    const QZScopedString extension(QZPath::GetExtension(name));
    const mime::FileType* type =
        http::IsStrict() ? mime::FindStrict(extension->GetPointer()) : mime::Find(extension->GetPointer());
    if (type != nullptr)
    {
        response->SetContent(bytes);
        if (type->contentType != nullptr)
            http::SetHeaderValue(response->GetHeaders(), QZHttpConstant::HeaderNameContentTypeString,
                                 type->contentType);
    }
    QZFile::Recycle(&bytes);
    http::SetHeaderValue(response->GetHeaders(), QZHttpConstant::HeaderNameCacheControlString,
                         QZ_W("max-age=3600"));
    return response;
}

/// True when a path in a folder names no folder above it and nothing special of a system.
bool LeadsDown(QZString* path)
{
    const http::Text text(path);
    if (text.Find('\\') >= 0 || text.Find(':') >= 0 || http::SplitsMessage(text)) return false;
    http::TextSplitter segments(text, '/');
    http::Text segment(nullptr, 0);
    while (segments.Next(&segment))
        if (segment.Is(QZ_W(".."))) return false;
    return true;
}

/// True when the path without links lies below the folder without links.
bool IsBelow(const std::basic_string<QZWChar>& folder, const std::basic_string<QZWChar>& path)
{
    if (path.compare(0, folder.size(), folder) != 0 || path.size() <= folder.size()) return false;
    const QZWChar next = path[folder.size()];
    // The root of a disk ends with a separator.
    return next == '/' || next == '\\' || folder.back() == '/' || folder.back() == '\\';
}

}  // namespace

QZInt64 QZHttpServer::GetType() { return Type; }

QZHttpResponse* QZHttpServer::DefaultIndex(const QZWChar* name)
{
    return Respond(200, {QZ_W("font-size:5vw;line-height: 8vw;"), QZ_W("font-size:1.5vw"), QZ_W("Welcome!"),
                         QZ_W("web server is working"), nullptr, nullptr, name});
}

QZHttpResponse* QZHttpServer::Page204(const QZWChar* name) { return StatusPage(204, name); }
QZHttpResponse* QZHttpServer::Response301(QZString* url) { return Redirect(301, url); }
QZHttpResponse* QZHttpServer::Response302(QZString* url) { return Redirect(302, url); }
QZHttpResponse* QZHttpServer::Page400(const QZWChar* name) { return StatusPage(400, name); }
QZHttpResponse* QZHttpServer::Page401(const QZWChar* name) { return StatusPage(401, name); }
QZHttpResponse* QZHttpServer::Page403(const QZWChar* name) { return StatusPage(403, name); }
QZHttpResponse* QZHttpServer::Page404(const QZWChar* name) { return StatusPage(404, name); }

QZHttpResponse* QZHttpServer::Page404(const QZWChar* name, QZString* path)
{
    return StatusPage(404, name, QZ_W("RequestPath:"), path);
}

QZHttpResponse* QZHttpServer::Page405(const QZWChar* name) { return StatusPage(405, name); }

QZHttpResponse* QZHttpServer::Page405(const QZWChar* name, const QZWChar* allow)
{
    http::RequireOneLine(QZ_W("QZHttpServer"), QZ_W("Page405"), allow);
    QZHttpResponse* response = StatusPage(405, name);
    http::SetHeaderValue(response->GetHeaders(), QZ_W("Allow"), allow);
    return response;
}

QZHttpResponse* QZHttpServer::Page431(const QZWChar* name) { return StatusPage(431, name); }

QZHttpResponse* QZHttpServer::Page500(const QZWChar* name, QZString* message)
{
    return StatusPage(500, name, nullptr, message);
}

QZHttpResponse* QZHttpServer::PageOf(int status, const QZWChar* name) { return StatusPage(status, name); }

QZHttpResponse* QZHttpServer::ResponseFile(QZString* path) { return FileResponse(path, path); }

QZHttpResponse* QZHttpServer::ResponseFile(QZString* root, QZString* path)
{
    std::basic_string<QZWChar> folder;
    std::basic_string<QZWChar> file;
    bool plain = false;
    if (!LeadsDown(path) || !os::RealPath(root->GetPointer(), &folder, &plain)) return nullptr;
    const std::basic_string<QZWChar> joined =
        std::basic_string<QZWChar>(root->GetPointer()) + static_cast<QZWChar>('/') + path->GetPointer();
    if (!os::RealPath(joined.c_str(), &file, &plain) || !plain) return nullptr;
    if (FollowLinks == 0 && !IsBelow(folder, file)) return nullptr;
    // The file is opened by the path that was checked, and its type comes from the name that was asked for.
    QZString real(file.c_str());
    QZString asked(joined.c_str());
    return FileResponse(&real, &asked);
}
