#include "net/net_http_constant.h"

#include <string>

#include "fw/fw_data.h"
#include "fw/fw_string.h"

QZData* QZHttpConstant::NewLine = nullptr;
QZString* QZHttpConstant::NewLineString = nullptr;
QZData* QZHttpConstant::EmptyLine = nullptr;
QZData* QZHttpConstant::HeaderNameLocation = nullptr;
QZString* QZHttpConstant::HeaderNameLocationString = nullptr;
QZData* QZHttpConstant::HeaderNameContentType = nullptr;
QZString* QZHttpConstant::HeaderNameContentTypeString = nullptr;
QZData* QZHttpConstant::HeaderNameContentLength = nullptr;
QZString* QZHttpConstant::HeaderNameContentLengthString = nullptr;
QZData* QZHttpConstant::HeaderNameCacheControl = nullptr;
QZString* QZHttpConstant::HeaderNameCacheControlString = nullptr;
QZData* QZHttpConstant::HeaderNameHost = nullptr;
QZString* QZHttpConstant::HeaderNameHostString = nullptr;
QZData* QZHttpConstant::HeaderNameXFF = nullptr;
QZString* QZHttpConstant::HeaderNameXFFString = nullptr;
QZData* QZHttpConstant::HeaderNameTransferEncoding = nullptr;
QZString* QZHttpConstant::HeaderNameTransferEncodingString = nullptr;

namespace
{
using C = QZHttpConstant;

constexpr QZUInt64 kOwner = 123456;

struct Entry
{
    const char* text;
    QZData** data;
    QZString** string;
};

constexpr Entry kEntries[] = {
    {"\r\n", &C::NewLine, &C::NewLineString},
    {"\r\n\r\n", &C::EmptyLine, nullptr},
    {"Location", &C::HeaderNameLocation, &C::HeaderNameLocationString},
    {"Content-Type", &C::HeaderNameContentType, &C::HeaderNameContentTypeString},
    {"Content-Length", &C::HeaderNameContentLength, &C::HeaderNameContentLengthString},
    {"Cache-Control", &C::HeaderNameCacheControl, &C::HeaderNameCacheControlString},
    {"Host", &C::HeaderNameHost, &C::HeaderNameHostString},
    {"X-Forwarded-For", &C::HeaderNameXFF, &C::HeaderNameXFFString},
    {"Transfer-Encoding", &C::HeaderNameTransferEncoding, &C::HeaderNameTransferEncodingString},
};

template <typename T>
void End(T** constant)
{
    (*constant)->SetDisposable(kOwner, 1);
    delete *constant;
    *constant = nullptr;
}

struct StatusText
{
    float code;
    const QZWChar* text;
};

constexpr StatusText kStatusTexts[] = {
    {200.0F, QZ_W("OK")},
    {204.0F, QZ_W("No Content")},
    {301.0F, QZ_W("Permanently Moved")},
    {302.0F, QZ_W("Temporarily Moved")},
    {400.0F, QZ_W("Bad Request")},
    {401.0F, QZ_W("Unauthorized")},
    {403.0F, QZ_W("Forbidden")},
    {404.0F, QZ_W("Not Found")},
    {405.0F, QZ_W("Method Not Allowed")},
    {431.0F, QZ_W("Request Header Fields Too Large")},
    {500.0F, QZ_W("Internal Server Error")},
};
}  // namespace

const QZWChar* QZHttpStatusCode::ToMessage(float code)
{
    for (const StatusText& entry : kStatusTexts)
        if (entry.code == code) return entry.text;
    return nullptr;
}

void QZHttpConstantInit()
{
    if (C::NewLine) return;
    for (const Entry& entry : kEntries)
    {
        if (entry.string)
        {
            *entry.string = new QZString(entry.text);
            (*entry.string)->SetDisposable(kOwner, 0);
        }
        *entry.data =
            new QZData(entry.text, static_cast<QZInt64>(std::char_traits<char>::length(entry.text)));
        (*entry.data)->SetDisposable(kOwner, 0);
    }
}

void QZHttpConstantEnd()
{
    if (!C::NewLine) return;
    for (const Entry& entry : kEntries)
    {
        if (entry.string) End(entry.string);
        End(entry.data);
    }
}
