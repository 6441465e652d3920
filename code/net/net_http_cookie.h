#ifndef QZLIB_NET_HTTP_COOKIE_H
#define QZLIB_NET_HTTP_COOKIE_H

#include "fw/fw_keyed.h"
#include "fw/fw_named_cache.h"

/// One cookie: domain, name, path, value and expires text.
///
/// Comes from QZHttpFactory and goes back there. The strings belong to the cookie and are locked with its
/// object id. One thread at a time.
class QZ_API QZHttpCookie : public QZObject
{
public:
    static const QZInt64 Type = 0x8310013;

    QZHttpCookie(const QZHttpCookie&) = delete;
    QZHttpCookie& operator=(const QZHttpCookie&) = delete;
    ~QZHttpCookie() override;

    QZInt64 GetType() override;

    QZString* GetDomain();
    QZString* GetName();
    QZString* GetPath();
    QZString* GetValue();
    QZString* GetExpries();

    /// Takes "name=value; path=...; domain=...; expires=..." apart. All parts are emptied first. A piece
    /// without an equals sign is passed over, as is any other attribute; the value may hold equals signs.
    void Set(QZString* text);
    /// Takes the parts as they are; null stands for an empty one.
    void Set(QZString* name, QZString* value, QZString* path, QZString* domain, QZString* expires);

    /// Empties all parts.
    void Clear();

    /// Gives a string back. For the cookie's own strings only the variable is cleared.
    void Recycle(QZString** text);

protected:
    QZHttpCookie();

    static QZObject* NewObject();
    static void DeleteObject(QZObject* cookie);

private:
    QZString m_domain;
    QZString m_name;
    QZString m_path;
    QZString m_value;
    QZString m_expires;
};

/// Cookies by position. What QZHttpHeaderCollection is for headers.
class QZ_API QZHttpCookieCollection : public QZObjectCollection
{
public:
    static const QZInt64 Type = 0x8310014;

    QZHttpCookieCollection(const QZHttpCookieCollection&) = delete;
    QZHttpCookieCollection& operator=(const QZHttpCookieCollection&) = delete;
    ~QZHttpCookieCollection() override;

    QZInt64 GetType() override;

    using QZObjectCollection::Push;
    using QZObjectCollection::RemoveElement;
    QZHttpCookie* GetElement(QZInt64 index) override;
    QZHttpCookie* Pop() override;
    QZBool RemoveElement(QZInt64 index) override;
    QZBool Push(QZHttpCookie* cookie);

    /// The sizes of all names and values: bytes of wide text.
    QZInt64 GetCookiesSize();

protected:
    QZHttpCookieCollection();

    static QZObject* NewObject();
    static void DeleteObject(QZObject* collection);

private:
    friend class QZHttpContext;
};

// The factory keeps one cache of each class; a host may have its own.
QZLIB_NAMED_CACHE(QZHttpCookieCache, QZHttpCookie);
QZLIB_NAMED_CACHE(QZHttpCookieCollectionCache, QZHttpCookieCollection);

#endif
