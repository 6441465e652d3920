#include "net/net_http_constant.h"

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
