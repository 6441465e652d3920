#include "net/net_http_server.h"

#include "fw/fw_data.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_scoped.h"
#include "net/internal/net_http_fields.h"
#include "net/internal/net_mime.h"
#include "net/net_http_constant.h"
#include "net/net_http_factory.h"
#include "net/net_http_response.h"
#include "os/os_file.h"
#include "os/os_path.h"

const QZInt64 QZHttpServer::Type;

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

void Write(QZString* out, const Page& page)
{
    out->Append(QZ_W("<!DOCTYPE html><html lang=\"zh-CN\"><head><title>"));
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
    if (page.detail != nullptr) out->Append(page.detail);
    out->Append(QZ_W("</div><div style=\"width:25vw;height:auto;margin:0 auto;margin-top:2vw;\">") QZ_W(
        "<div style=\"width:100%; text-align:center;\">") QZ_W("<div style=\"float:left;font-size:1vw;\">"));
    Add(out, page.server);
    out->Append(QZ_W(
        "</div><a href=\"javascript:history.go(-1);\" style=\"float:right;font-size:1vw;color:#fefefe\">")
                    QZ_W("<div style=\"float:right;font-size:1vw;margin:0 3px;\">Back</div>")
                        QZ_W("<div style=\"float:right;font-size:1vw;margin:0 3px;\">返回</div>")
                            QZ_W("</a></div></div></body></html>"));
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
    return Respond(status,
                   {kBigStyle, kMessageStyle, code->GetPointer(),
                    QZHttpStatusCode::ToMessage(static_cast<float>(status)), detailName, detail, name});
}

QZHttpResponse* Redirect(int status, QZString* url)
{
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    response->SetStatus(status);
    http::SetHeaderValue(response->GetHeaders(), QZHttpConstant::HeaderNameLocationString, url);
    return response;
}

// For reading, while others may read and write the file.
constexpr unsigned int kReadShared =
    QZFileOptions::Read | (QZFileOptions::ShareReadWrite & ~QZFileOptions::Write);

/// The file's bytes, new data; null when it cannot be read.
QZData* ReadWhole(QZString* path)
{
    QZFile* file = nullptr;
    QZData* bytes = nullptr;
    try
    {
        if (!QZFile::Exists(path)) return nullptr;
        file = QZFile::Open(path, kReadShared);
        bytes = file->ReadToEnd();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
    if (file != nullptr) QZFile::Close(&file);
    return bytes;
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
QZHttpResponse* QZHttpServer::Page431(const QZWChar* name) { return StatusPage(431, name); }

QZHttpResponse* QZHttpServer::Page500(const QZWChar* name, QZString* message)
{
    return StatusPage(500, name, nullptr, message);
}

QZHttpResponse* QZHttpServer::ResponseFile(QZString* path)
{
    QZData* bytes = ReadWhole(path);
    if (bytes == nullptr) return nullptr;
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    response->SetStatus(200);
    const QZScopedString extension(QZPath::GetExtension(path));
    if (const mime::FileType* type = mime::Find(extension->GetPointer()))
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
