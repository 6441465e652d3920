// Any text as a cookie and as header lines: parsing never fails, all parts are trimmed, each line with text
// before its first colon is a header and no other line is, and parsing the same text again gives the same
// result.

#include <cstdint>
#include <cstdlib>

#include "fw/fw_encoding.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "net/net_http_cookie.h"
#include "net/net_http_factory.h"
#include "net/net_http_header.h"
#include "qzlib.h"

namespace
{
void Require(bool condition)
{
    if (!condition) std::abort();
}

void RequireTrimmed(QZString* text)
{
    Require(text->Check());
    QZString* trimmed = text->Trim();
    Require(trimmed->Equals(text));
    QZStringFactory::Recycle(&trimmed);
}

void ReadCookie(QZString* text)
{
    QZHttpCookie* cookie = QZHttpFactory::CreateCookie(text);
    QZHttpCookie* same = QZHttpFactory::CreateCookie(text);
    same->Set(text);
    QZString* parts[] = {cookie->GetName(), cookie->GetValue(), cookie->GetPath(), cookie->GetDomain(),
                         cookie->GetExpries()};
    QZString* again[] = {same->GetName(), same->GetValue(), same->GetPath(), same->GetDomain(),
                         same->GetExpries()};
    for (int i = 0; i < 5; ++i)
    {
        RequireTrimmed(parts[i]);
        Require(parts[i]->Equals(again[i]));
    }
    QZHttpFactory::Recycle(&cookie);
    QZHttpFactory::Recycle(&same);
}

QZInt64 CountLinesWithAName(QZString* text)
{
    QZStringCollection* lines = text->Split(QZ_W("\r\n"));
    QZInt64 count = 0;
    for (QZInt64 i = 0; i < lines->Count(); ++i)
    {
        if (lines->GetElement(i)->IndexOf(':') > 0) ++count;
    }
    QZStringFactory::Recycle(&lines);
    return count;
}

void ReadLists(QZString* text)
{
    QZHttpFactory factory;
    QZHttpCookieCollection* cookies = factory.CreateCookieCollection(text);
    QZHttpHeaderCollection* headers = QZHttpFactory::CreateHeaderCollection(text);
    Require(headers->Count() == CountLinesWithAName(text));
    Require(cookies->Count() > 0);
    for (QZInt64 i = 0; i < headers->Count(); ++i)
    {
        RequireTrimmed(headers->GetElement(i)->GetName());
        RequireTrimmed(headers->GetElement(i)->GetValue());
    }
    QZHttpFactory::Recycle(&cookies);
    QZHttpFactory::Recycle(&headers);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = QZLibInit() != 0;
    Require(started);
    QZString* text = QZStringFactory::CreateString();
    try
    {
        QZEncoding::GetString(QZEncodingType::UTF8, data, static_cast<QZInt64>(size), text);
    }
    catch (QZException* exception)
    {
        // The input has no complete UTF-8 character.
        QZExceptionFactory::Recycle(&exception);
    }
    ReadCookie(text);
    ReadLists(text);
    QZStringFactory::Recycle(&text);
    return 0;
}
