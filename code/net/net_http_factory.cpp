#include "net/net_http_factory.h"

#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_collect.h"
#include "fw/internal/fw_start.h"
#include "net/internal/net_http_internal.h"
#include "net/net_http_cache.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "net/net_json.h"

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

void Describe(QZTrace<QZException> trace, QZString* text) { trace.Argument(QZ_W("QZString*"), text); }

void Describe(QZTrace<QZException> trace, QZData* data)
{
    trace.Argument(QZ_W("QZData*"), data->GetPointer(), data->GetSize());
}

/// Fills an object fresh out of its cache with a text or data. When that fails the object goes back.
template <typename T, typename Source, typename Fill>
T* Filled(T* object, Source* source, const QZWChar* method, Fill fill)
{
    try
    {
        fill(object);
    }
    catch (QZException* e)
    {
        QZHttpFactory::Recycle(&object);
        Describe(QZTrace(e, QZ_W("QZHttpFactory"), method), source);
        throw;
    }
    return object;
}

/// False when there is nothing to take back.
template <typename T>
bool IsThere(T** variable)
{
    if (!*variable) QZLibAssert(0);
    return *variable != nullptr;
}

template <typename T>
void TestFree(T* object, const QZWChar* type)
{
    if (object->IsDisposable()) return;
    throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ObjectIsLocked), QZ_W("QZHttpFactory"),
                  QZ_W("Recycle"))
        .Argument(type, static_cast<QZInt64>(object->GetObjectID()))
        .Exception();
}

template <typename T>
void GiveBack(QZObjectCache* cache, T** variable)
{
    QZObject* object = *variable;
    cache->In(&object);
    *variable = nullptr;
}

/// Empties a collection into the cache of its elements.
template <typename Collection>
void Empty(Collection* collection, QZObjectCache* cache)
{
    while (collection->Count() > 0)
    {
        auto* element = collection->Pop();
        if (!element) continue;
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
    return Filled(CreateCookie(), text, QZ_W("CreateCookie"),
                  [=](QZHttpCookie* cookie) { cookie->Set(text); });
}

QZHttpHeaderCollection* QZHttpFactory::CreateHeaderCollection()
{
    return QZTake<QZHttpHeaderCollection>(m_headerCollectionCache);
}

QZHttpHeaderCollection* QZHttpFactory::CreateHeaderCollection(QZString* text)
{
    return Filled(CreateHeaderCollection(), text, QZ_W("CreateHeaderCollection"),
                  [=](QZHttpHeaderCollection* headers) {
                      http::Pieces lines(text, '\n');
                      http::Text line(nullptr, 0);
                      while (lines.Next(&line))
                      {
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
    return Filled(CreateCookieCollection(), text, QZ_W("CreateCookieCollection"),
                  [=](QZHttpCookieCollection* cookies) {
                      const text::Temporary list(QZStringFactory::CreateString(text));
                      if (list->Contains(QZ_W("Cookie")))
                          list->ReplaceThis(QZ_W("Cookie:"), QZ_W(""));
                      else
                          list->TrimThis();
                      http::Pieces pieces(list.Get(), ';');
                      http::Text piece(nullptr, 0);
                      while (pieces.Next(&piece))
                      {
                          QZHttpCookie* cookie = CreateCookie();
                          cookies->Push(cookie);
                          http::ReadCookie(cookie, piece);
                      }
                  });
}

QZHttpRequest* QZHttpFactory::CreateRequest() { return QZTake<QZHttpRequest>(m_requestCache); }

QZHttpRequest* QZHttpFactory::CreateRequest(QZData* data)
{
    return Filled(CreateRequest(), data, QZ_W("CreateRequest"),
                  [=](QZHttpRequest* request) { request->Set(data); });
}

QZHttpResponse* QZHttpFactory::CreateResponse() { return QZTake<QZHttpResponse>(m_responseCache); }

QZHttpResponse* QZHttpFactory::CreateResponse(QZData* data)
{
    return Filled(CreateResponse(), data, QZ_W("CreateResponse"),
                  [=](QZHttpResponse* response) { response->Set(data); });
}

void QZHttpFactory::Recycle(QZHttpHeader** header)
{
    if (!IsThere(header)) return;
    TestFree(*header, QZ_W("QZHttpHeader**"));
    (*header)->Clear();
    GiveBack(m_headerCache, header);
}

void QZHttpFactory::Recycle(QZHttpCookie** cookie)
{
    if (!IsThere(cookie)) return;
    TestFree(*cookie, QZ_W("QZHttpCookie**"));
    (*cookie)->Clear();
    GiveBack(m_cookieCache, cookie);
}

void QZHttpFactory::Recycle(QZHttpHeaderCollection** collection)
{
    if (!IsThere(collection)) return;
    TestFree(*collection, QZ_W("QZHttpHeaderCollection**"));
    Clear(*collection);
    GiveBack(m_headerCollectionCache, collection);
}

void QZHttpFactory::Recycle(QZHttpCookieCollection** collection)
{
    if (!IsThere(collection)) return;
    TestFree(*collection, QZ_W("QZHttpCookieCollection**"));
    Clear(*collection);
    GiveBack(m_cookieCollectionCache, collection);
}

void QZHttpFactory::Recycle(QZHttpRequest** request)
{
    if (!IsThere(request)) return;
    // No look at the lock before the request is emptied; the cache has one.
    (*request)->Reset();
    GiveBack(m_requestCache, request);
}

void QZHttpFactory::Recycle(QZHttpResponse** response)
{
    if (!IsThere(response)) return;
    TestFree(*response, QZ_W("QZHttpResponse**"));
    (*response)->Clear();
    (*response)->SetHandle(0);
    GiveBack(m_responseCache, response);
}

void QZHttpFactory::Recycle(QZJsonObject** status) { QZJsonFactory::Recycle(status); }

void QZHttpFactory::Clear(QZHttpHeaderCollection* collection) { Empty(collection, m_headerCache); }
void QZHttpFactory::Clear(QZHttpCookieCollection* collection) { Empty(collection, m_cookieCache); }

QZBool QZHttpFactory::CopyTo(QZHttpHeaderCollection* from, QZHttpHeaderCollection* to)
{
    const QZInt64 count = from->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpHeader* source = from->GetElement(i);
        QZHttpHeader* target = http::FindHeader(to, source->GetName());
        if (!target)
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
        if (target)
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
    if (!m_section) return;
    // One collection at a time: two at once would halve each other's low marks. Messages go before the
    // headers that they give back.
    const QZCriticalGuard guard(m_section);
    for (QZObjectCache* cache : {m_connectCache, m_responseCache, m_requestCache, m_cookieCollectionCache,
                                 m_headerCollectionCache, m_cookieCache, m_headerCache})
        cache->Collect(partial);
}

QZJsonObject* QZHttpFactory::GetStatus()
{
    QZJsonObject* status = QZJsonFactory::CreateObject();
    auto add = [status](const QZWChar* name, QZObjectCache* cache) {
        QZJsonAccess::SetAttr(status, name,
                              QZJsonFactory::CreateDecimal(static_cast<double>(cache->Count())));
    };
    add(QZ_W("RequestCache"), m_requestCache);
    add(QZ_W("ResponseCache"), m_responseCache);
    add(QZ_W("HeaderCache"), m_headerCache);
    add(QZ_W("HeaderCollection"), m_headerCollectionCache);
    add(QZ_W("CookieCache"), m_cookieCache);
    add(QZ_W("CookieCollectionCache"), m_cookieCollectionCache);
    add(QZ_W("ConnectCache"), m_connectCache);
    return status;
}

void QZHttpFactoryInit()
{
    using F = QZHttpFactory;
    if (F::m_section) return;
    F::m_connectLimit = -1;
    // In this order: a cache holds an idle object of its class, and a message holds a header.
    F::m_headerCache = new QZHttpHeaderCache(-1, -1);
    F::m_cookieCache = new QZHttpCookieCache(-1, -1);
    F::m_headerCollectionCache = new QZHttpHeaderCollectionCache(-1, -1);
    F::m_cookieCollectionCache = new QZHttpCookieCollectionCache(-1, -1);
    F::m_requestCache = new QZHttpRequestCache(-1, -1);
    F::m_responseCache = new QZHttpResponseCache(-1, -1);
    F::m_connectCache = http::NewConnectCache(F::m_connectLimit);
    F::m_section = new QZCriticalSection();
}

void QZHttpFactoryEnd()
{
    using F = QZHttpFactory;
    if (!F::m_section) return;
    F::Collect(0);
    for (QZObjectCache** cache :
         {&F::m_connectCache, &F::m_responseCache, &F::m_requestCache, &F::m_cookieCollectionCache,
          &F::m_headerCollectionCache, &F::m_cookieCache, &F::m_headerCache})
        QZEndCache(cache);
    delete F::m_section;
    F::m_section = nullptr;
}
