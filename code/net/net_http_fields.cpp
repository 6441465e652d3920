#include "net/internal/net_http_fields.h"

#include "fw/internal/fw_number_text.h"
#include "fw/internal/fw_scoped.h"
#include "net/internal/net_http_guard.h"
#include "net/internal/net_ownership.h"
#include "net/net_http_factory.h"

namespace http
{
namespace
{
/// Adds a new header or cookie, locked, at the collection's end.
template <typename Element, typename Collection>
void Enter(QZScoped<Element, QZHttpFactory>* element, Collection* collection)
{
    collection->Push(element->Get());
    Own(element->Release(), collection->GetObjectID());
}
}  // namespace

void AddHeader(QZHttpHeaderCollection* headers, Text line)
{
    const QZInt64 colon = line.Find(':');
    if (colon < 1 || line.Front(colon).Trimmed().IsEmpty()) return;
    QZScoped<QZHttpHeader, QZHttpFactory> header(QZHttpFactory::CreateHeader());
    ReadHeader(header.Get(), line);
    Enter(&header, headers);
}

void AddCookie(QZHttpCookieCollection* cookies, Text text, bool nameless)
{
    QZScoped<QZHttpCookie, QZHttpFactory> cookie(QZHttpFactory::CreateCookie());
    ReadCookie(cookie.Get(), text);
    if (nameless || cookie->GetName()->GetSize() > 0) Enter(&cookie, cookies);
}

void PushHeader(QZHttpHeaderCollection* headers, Text name, Text value)
{
    QZScoped<QZHttpHeader, QZHttpFactory> header(QZHttpFactory::CreateHeader());
    Assign(header->GetName(), name);
    Assign(header->GetValue(), value);
    Enter(&header, headers);
}

bool RemoveHeader(QZHttpHeaderCollection* headers, Text name)
{
    const QZInt64 count = headers->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpHeader* header = headers->GetElement(i);
        if (!name.Is(header->GetName())) continue;
        headers->RemoveElement(i);
        QZHttpFactory::Recycle(&header);
        return true;
    }
    return false;
}

void SetHeaderValue(QZHttpHeaderCollection* headers, Text name, Text value)
{
    for (const Text text : {name, value}) RequireOneLine(QZ_W("QZHttpHeader"), QZ_W("Set"), text);
    if (QZHttpHeader* present = FindHeader(headers, name)) return Assign(present->GetValue(), value);
    PushHeader(headers, name, value);
}

void SetHeaderValue(QZHttpHeaderCollection* headers, Text name, QZInt64 value)
{
    QZWChar digits[number::kBufferUnits];
    const QZInt64 count = number::WriteInt64(digits, value);
    SetHeaderValue(headers, name, Text(digits, count));
}
}  // namespace http
