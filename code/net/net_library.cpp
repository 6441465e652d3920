#include "net/internal/net_start.h"

#include <string>

#include "fw/fw_data.h"
#include "fw/fw_lock.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_start.h"
#include "net/net_http_connection.h"
#include "net/net_http_constant.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "net/net_json.h"

namespace
{
using C = QZHttpConstant;

// The id under which the shared texts are locked.
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
}  // namespace

void QZJsonFactoryInit()
{
    using F = QZJsonFactory;
    if (F::m_section != nullptr) return;
    F::m_section = new QZCriticalSection();
    F::m_valueCache = new QZJsonValueCache(-1, -1);
    F::m_decimalCache = new QZJsonDecimalCache(-1, -1);
    F::m_boolCache = new QZJsonBoolCache(-1, -1);
    F::m_objectCache = new QZJsonObjectCache(-1, -1);
    F::m_nullCache = new QZJsonNullCache(-1, -1);
    F::m_stringCache = new QZJsonStringCache(-1, -1);
    F::m_collectionCache = new QZJsonValueCollectionCache(-1, -1);
}

void QZJsonFactoryEnd()
{
    using F = QZJsonFactory;
    if (F::m_section == nullptr) return;
    F::Collect(0);
    for (QZObjectCache** cache : {&F::m_valueCache, &F::m_decimalCache, &F::m_boolCache, &F::m_objectCache,
                                  &F::m_nullCache, &F::m_stringCache, &F::m_collectionCache})
        QZEndCache(cache);
    delete F::m_section;
    F::m_section = nullptr;
}

void QZHttpConstantInit()
{
    if (C::NewLine != nullptr) return;
    for (const Entry& entry : kEntries)
    {
        if (entry.string != nullptr)
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
    if (C::NewLine == nullptr) return;
    for (const Entry& entry : kEntries)
    {
        if (entry.string != nullptr) End(entry.string);
        End(entry.data);
    }
}

void QZHttpFactoryInit()
{
    using F = QZHttpFactory;
    if (F::m_section != nullptr) return;
    F::m_connectLimit = -1;
    // The order matters: a cache keeps an idle object of its class, and a new message takes a header from its
    // cache.
    F::m_headerCache = new QZHttpHeaderCache(-1, -1);
    F::m_cookieCache = new QZHttpCookieCache(-1, -1);
    F::m_headerCollectionCache = new QZHttpHeaderCollectionCache(-1, -1);
    F::m_cookieCollectionCache = new QZHttpCookieCollectionCache(-1, -1);
    F::m_requestCache = new QZHttpRequestCache(-1, -1);
    F::m_responseCache = new QZHttpResponseCache(-1, -1);
    F::m_connectCache = new QZHttpConnectCache(F::m_connectLimit, -1);
    F::m_section = new QZCriticalSection();
}

void QZHttpFactoryEnd()
{
    using F = QZHttpFactory;
    if (F::m_section == nullptr) return;
    F::Collect(0);
    for (QZObjectCache** cache :
         {&F::m_connectCache, &F::m_responseCache, &F::m_requestCache, &F::m_cookieCollectionCache,
          &F::m_headerCollectionCache, &F::m_cookieCache, &F::m_headerCache})
        QZEndCache(cache);
    delete F::m_section;
    F::m_section = nullptr;
}
