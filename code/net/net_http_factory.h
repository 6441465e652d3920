#ifndef QZLIB_NET_HTTP_FACTORY_H
#define QZLIB_NET_HTTP_FACTORY_H

#include "sys/sys_types.h"

class QZCriticalSection;
class QZData;
class QZHttpConnect;
class QZHttpCookie;
class QZHttpCookieCollection;
class QZHttpHeader;
class QZHttpHeaderCollection;
class QZHttpRequest;
class QZHttpResponse;
class QZJsonObject;
class QZObjectCache;
class QZString;

/// Makes HTTP messages and their parts and takes them back, with a cache for each class. An object that a
/// Create operation returns belongs to the caller until Recycle takes it back and clears the caller's
/// variable. Any thread may call.
class QZ_API QZHttpFactory
{
public:
    static QZHttpHeader* CreateHeader();

    static QZHttpCookie* CreateCookie();
    /// A cookie that was set to the text.
    static QZHttpCookie* CreateCookie(QZString* text);

    static QZHttpHeaderCollection* CreateHeaderCollection();
    /// One header for each line of the text that a colon after its first character splits. Other lines make
    /// none.
    /// @throws QZException InvalidArgument in strict mode for a line with a line end or a NUL in it
    static QZHttpHeaderCollection* CreateHeaderCollection(QZString* text);

    static QZHttpCookieCollection* CreateCookieCollection();
    /// One cookie for each piece between semicolons. "Cookie:" is removed from the text before that.
    QZHttpCookieCollection* CreateCookieCollection(QZString* text);

    static QZHttpRequest* CreateRequest();
    /// @throws what QZHttpRequest::Set throws
    static QZHttpRequest* CreateRequest(QZData* data);

    static QZHttpResponse* CreateResponse();
    /// @throws what QZHttpResponse::Set throws
    static QZHttpResponse* CreateResponse(QZData* data);

    /// A connection after Reset.
    static QZHttpConnect* CreateConnect();

    /// Empty the object, put it into its cache and clear the variable. The elements of a collection go back
    /// too. A null in the variable is a QZLibAssert(false).
    /// @throws QZException 1280 for a locked object; the variable stays
    static void Recycle(QZHttpHeader** header);
    static void Recycle(QZHttpCookie** cookie);
    static void Recycle(QZHttpHeaderCollection** collection);
    static void Recycle(QZHttpCookieCollection** collection);
    static void Recycle(QZHttpRequest** request);
    static void Recycle(QZHttpResponse** response);
    static void Recycle(QZHttpConnect** connect);
    /// Takes back the result of GetStatus.
    static void Recycle(QZJsonObject** status);

    /// Remove all elements, unlock and empty them and put them into their cache.
    static void Clear(QZHttpHeaderCollection* collection);
    static void Clear(QZHttpCookieCollection* collection);

    /// Merge the elements of one collection into another. When the name exists there (ignoring the case of A
    /// to Z), its value is replaced; else a copy is added. True.
    static QZBool CopyTo(QZHttpHeaderCollection* from, QZHttpHeaderCollection* to);
    static QZBool CopyTo(QZHttpCookieCollection* from, QZHttpCookieCollection* to);

    /// Collects the caches; see QZObjectCache::Collect.
    static void Collect(QZBool partial);

    /// A new object with the idle count of each cache: "RequestCache", "ResponseCache", "HeaderCache",
    /// "HeaderCollection", "CookieCache", "CookieCollectionCache" and "ConnectCache". Given back with
    /// Recycle.
    static QZJsonObject* GetStatus();

private:
    friend struct QZHttpFactoryStart;

    /// The largest number of connections; negative for no limit.
    static QZInt64 m_connectLimit;

    static QZCriticalSection* m_section;
    static QZObjectCache* m_headerCache;
    static QZObjectCache* m_cookieCache;
    static QZObjectCache* m_headerCollectionCache;
    static QZObjectCache* m_cookieCollectionCache;
    static QZObjectCache* m_requestCache;
    static QZObjectCache* m_responseCache;
    static QZObjectCache* m_connectCache;
};

#endif
