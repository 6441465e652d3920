#include "net/net_http_constant.h"

#include "net/internal/net_http_guard.h"
#include "net/internal/net_http_reason.h"

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

namespace http
{
namespace
{
/// The texts of RFC 9110 that QZHttpStatusCode does not have.
constexpr StatusText kFurtherTexts[] = {
    {100.0F, QZ_W("Continue")},
    {201.0F, QZ_W("Created")},
    {202.0F, QZ_W("Accepted")},
    {206.0F, QZ_W("Partial Content")},
    {303.0F, QZ_W("See Other")},
    {304.0F, QZ_W("Not Modified")},
    {307.0F, QZ_W("Temporary Redirect")},
    {308.0F, QZ_W("Permanent Redirect")},
    {406.0F, QZ_W("Not Acceptable")},
    {408.0F, QZ_W("Request Timeout")},
    {409.0F, QZ_W("Conflict")},
    {410.0F, QZ_W("Gone")},
    {411.0F, QZ_W("Length Required")},
    {412.0F, QZ_W("Precondition Failed")},
    {413.0F, QZ_W("Content Too Large")},
    {414.0F, QZ_W("URI Too Long")},
    {415.0F, QZ_W("Unsupported Media Type")},
    {416.0F, QZ_W("Range Not Satisfiable")},
    {417.0F, QZ_W("Expectation Failed")},
    {422.0F, QZ_W("Unprocessable Content")},
    {429.0F, QZ_W("Too Many Requests")},
    {501.0F, QZ_W("Not Implemented")},
    {502.0F, QZ_W("Bad Gateway")},
    {503.0F, QZ_W("Service Unavailable")},
    {504.0F, QZ_W("Gateway Timeout")},
    {505.0F, QZ_W("HTTP Version Not Supported")},
};
}  // namespace

const QZWChar* ReasonOf(int code)
{
    const QZWChar* kept = QZHttpStatusCode::ToMessage(static_cast<float>(code));
    if (kept != nullptr || !IsStrict()) return kept;
    for (const StatusText& entry : kFurtherTexts)
        if (entry.code == static_cast<float>(code)) return entry.text;
    return nullptr;
}
}  // namespace http

const QZWChar* QZHttpStatusCode::ToMessage(float code)
{
    for (const StatusText& entry : kStatusTexts)
        if (entry.code == code) return entry.text;
    return nullptr;
}
