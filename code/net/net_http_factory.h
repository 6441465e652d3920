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

/// Makes HTTP messages and their parts and takes them back, through caches. What a Create... returns is the
/// caller's until Recycle takes it back and clears the caller's variable. Any thread.
class QZ_API QZHttpFactory
{
public:
    static QZHttpHeader* CreateHeader();

    static QZHttpCookie* CreateCookie();
    /// A cookie that has read the text.
    static QZHttpCookie* CreateCookie(QZString* text);

    static QZHttpHeaderCollection* CreateHeaderCollection();
    /// One header for each line of the text, those that are no header being empty.
    static QZHttpHeaderCollection* CreateHeaderCollection(QZString* text);

    static QZHttpCookieCollection* CreateCookieCollection();
    /// One cookie for each piece between semicolons; a "Cookie:" in the text does not count.
    QZHttpCookieCollection* CreateCookieCollection(QZString* text);

    static QZHttpRequest* CreateRequest();
    /// @throws what QZHttpRequest::Set throws
    static QZHttpRequest* CreateRequest(QZData* data);

    static QZHttpResponse* CreateResponse();
    /// @throws what QZHttpResponse::Set throws
    static QZHttpResponse* CreateResponse(QZData* data);

    /// A connection, reset.
    static QZHttpConnect* CreateConnect();

    /// Empty the object, give it back and clear the variable; a collection's elements go back too. A null in
    /// the variable is a QZLibAssert(false).
    /// @throws QZException 1280 for a locked object; the variable stays
    static void Recycle(QZHttpHeader** header);
    static void Recycle(QZHttpCookie** cookie);
    static void Recycle(QZHttpHeaderCollection** collection);
    static void Recycle(QZHttpCookieCollection** collection);
    static void Recycle(QZHttpRequest** request);
    static void Recycle(QZHttpResponse** response);
    static void Recycle(QZHttpConnect** connect);
    /// Takes back what GetStatus gave.
    static void Recycle(QZJsonObject** status);

    /// Takes every element out, unlocks and empties it and gives it back.
    static void Clear(QZHttpHeaderCollection* collection);
    static void Clear(QZHttpCookieCollection* collection);

    /// Merges: an element whose name (ignoring the case of A to Z) is there gives it its value, a copy of any
    /// other is added. True.
    static QZBool CopyTo(QZHttpHeaderCollection* from, QZHttpHeaderCollection* to);
    static QZBool CopyTo(QZHttpCookieCollection* from, QZHttpCookieCollection* to);

    /// Collects the caches; see QZObjectCache::Collect.
    static void Collect(QZBool partial);

    /// A new object with the idle count of each cache: "RequestCache", "ResponseCache", "HeaderCache",
    /// "HeaderCollection", "CookieCache", "CookieCollectionCache" and "ConnectCache". Given back with
    /// Recycle.
    static QZJsonObject* GetStatus();

private:
    friend void QZHttpFactoryInit();
    friend void QZHttpFactoryEnd();

    /// Connections that may be made; negative: no limit.
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
