#include "net/net_http_factory.h"

#include <iterator>

#include "fw/fw_lock.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_collect.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_status.h"
#include "net/internal/net_http_find.h"
#include "net/internal/net_http_give_back.h"
#include "net/internal/net_http_guard.h"

// This source holds the part of the factory for headers and cookies, and what concerns all its caches. The
// parts for messages and connections stand beside their classes.

QZInt64 QZHttpFactory::m_connectLimit = -1;
QZCriticalSection* QZHttpFactory::m_section = nullptr;
QZObjectCache* QZHttpFactory::m_headerCache = nullptr;
QZObjectCache* QZHttpFactory::m_cookieCache = nullptr;
QZObjectCache* QZHttpFactory::m_headerCollectionCache = nullptr;
QZObjectCache* QZHttpFactory::m_cookieCollectionCache = nullptr;
QZObjectCache* QZHttpFactory::m_requestCache = nullptr;
QZObjectCache* QZHttpFactory::m_responseCache = nullptr;
QZObjectCache* QZHttpFactory::m_connectCache = nullptr;

namespace
{
[[maybe_unused]] const bool kCollected = QZCollectInstall(QZCollector::Http, QZHttpFactory::Collect);

/// Empties a collection and puts its elements into their cache.
template <typename Collection>
void Empty(Collection* collection, QZObjectCache* cache)
{
    while (collection->Count() > 0)
    {
        auto* element = collection->Pop();
        if (element == nullptr) continue;
        element->Clear();
        QZObject* object = element;
        cache->In(&object);
    }
}
}  // namespace

QZHttpHeader* QZHttpFactory::CreateHeader() { return QZTake<QZHttpHeader>(m_headerCache); }
QZHttpCookie* QZHttpFactory::CreateCookie() { return QZTake<QZHttpCookie>(m_cookieCache); }

QZHttpCookie* QZHttpFactory::CreateCookie(QZString* text)
{
    return http::Filled<QZHttpFactory>(CreateCookie(), text, QZ_W("CreateCookie"),
                                       [=](QZHttpCookie* cookie) { cookie->Set(text); });
}

QZHttpHeaderCollection* QZHttpFactory::CreateHeaderCollection()
{
    return QZTake<QZHttpHeaderCollection>(m_headerCollectionCache);
}

QZHttpHeaderCollection* QZHttpFactory::CreateHeaderCollection(QZString* text)
{
    return http::Filled<QZHttpFactory>(CreateHeaderCollection(), text, QZ_W("CreateHeaderCollection"),
                                       [=](QZHttpHeaderCollection* headers) {
                                           http::TextSplitter lines(text, '\n');
                                           http::Text line(nullptr, 0);
                                           while (lines.Next(&line))
                                           {
                                               // A line that does not split makes no header.
                                               if (line.Find(':') < 1) continue;
                                               http::RequireOneLine(QZ_W("QZHttpHeader"), QZ_W("Set"), line);
                                               QZHttpHeader* header = CreateHeader();
                                               headers->Push(header);
                                               http::ReadHeader(header, line);
                                           }
                                       });
}

QZHttpCookieCollection* QZHttpFactory::CreateCookieCollection()
{
    return QZTake<QZHttpCookieCollection>(m_cookieCollectionCache);
}

QZHttpCookieCollection* QZHttpFactory::CreateCookieCollection(QZString* text)
{
    return http::Filled<QZHttpFactory>(CreateCookieCollection(), text, QZ_W("CreateCookieCollection"),
                                       [=](QZHttpCookieCollection* cookies) {
                                           http::RequireOneLine(QZ_W("QZHttpCookie"), QZ_W("Set"), text);
                                           const QZScopedString list(QZStringFactory::CreateString(text));
                                           if (list->Contains(QZ_W("Cookie")))
                                               list->ReplaceThis(QZ_W("Cookie:"), QZ_W(""));
                                           else
                                               list->TrimThis();
                                           http::TextSplitter pieces(list.Get(), ';');
                                           http::Text piece(nullptr, 0);
                                           while (pieces.Next(&piece))
                                           {
                                               QZHttpCookie* cookie = CreateCookie();
                                               cookies->Push(cookie);
                                               http::ReadCookie(cookie, piece);
                                           }
                                       });
}

void QZHttpFactory::Recycle(QZHttpHeader** header)
{
    http::GiveBack(m_headerCache, header, QZ_W("QZHttpHeader**"),
                   [](QZHttpHeader* object) { object->Clear(); });
}

void QZHttpFactory::Recycle(QZHttpCookie** cookie)
{
    http::GiveBack(m_cookieCache, cookie, QZ_W("QZHttpCookie**"),
                   [](QZHttpCookie* object) { object->Clear(); });
}

void QZHttpFactory::Recycle(QZHttpHeaderCollection** collection)
{
    http::GiveBack(m_headerCollectionCache, collection, QZ_W("QZHttpHeaderCollection**"),
                   [](QZHttpHeaderCollection* object) { Clear(object); });
}

void QZHttpFactory::Recycle(QZHttpCookieCollection** collection)
{
    http::GiveBack(m_cookieCollectionCache, collection, QZ_W("QZHttpCookieCollection**"),
                   [](QZHttpCookieCollection* object) { Clear(object); });
}

void QZHttpFactory::Recycle(QZJsonObject** status) { QZStatusRecycle(status); }

void QZHttpFactory::Clear(QZHttpHeaderCollection* collection) { Empty(collection, m_headerCache); }
void QZHttpFactory::Clear(QZHttpCookieCollection* collection) { Empty(collection, m_cookieCache); }

QZBool QZHttpFactory::CopyTo(QZHttpHeaderCollection* from, QZHttpHeaderCollection* to)
{
    const QZInt64 count = from->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpHeader* source = from->GetElement(i);
        QZHttpHeader* target = http::FindHeader(to, source->GetName());
        if (target == nullptr)
        {
            target = CreateHeader();
            to->Push(target);
            target->GetName()->Set(source->GetName());
        }
        target->GetValue()->Set(source->GetValue());
    }
    return 1;
}

QZBool QZHttpFactory::CopyTo(QZHttpCookieCollection* from, QZHttpCookieCollection* to)
{
    const QZInt64 count = from->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpCookie* source = from->GetElement(i);
        QZHttpCookie* target = http::FindCookie(to, source->GetName());
        if (target != nullptr)
        {
            target->GetValue()->Set(source->GetValue());
            target->GetValue()->TrimThis();
            continue;
        }
        target = CreateCookie();
        to->Push(target);
        target->Set(source->GetName(), source->GetValue(), source->GetPath(), source->GetDomain(),
                    source->GetExpries());
    }
    return 1;
}

void QZHttpFactory::Collect(QZBool partial)
{
    if (m_section == nullptr) return;
    // Only one thread collects at a time: two threads would halve each other's low marks. Messages are
    // collected before headers, because a message that is deleted gives headers back.
    const QZCriticalGuard guard(m_section);
    for (QZObjectCache* cache : {m_connectCache, m_responseCache, m_requestCache, m_cookieCollectionCache,
                                 m_headerCollectionCache, m_cookieCache, m_headerCache})
        cache->Collect(partial);
}

QZJsonObject* QZHttpFactory::GetStatus()
{
    const QZStatusFigure figures[] = {
        {QZ_W("RequestCache"), m_requestCache}, {QZ_W("ResponseCache"), m_responseCache},
        {QZ_W("HeaderCache"), m_headerCache},   {QZ_W("HeaderCollection"), m_headerCollectionCache},
        {QZ_W("CookieCache"), m_cookieCache},   {QZ_W("CookieCollectionCache"), m_cookieCollectionCache},
        {QZ_W("ConnectCache"), m_connectCache}};
    return QZStatusMake(figures, static_cast<int>(std::size(figures)));
}
