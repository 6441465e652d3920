#ifndef QZLIB_NET_HTTP_COOKIE_H
#define QZLIB_NET_HTTP_COOKIE_H

#include "fw/fw_keyed.h"
#include "fw/fw_object_cache.h"

/// One cookie: domain, name, path, value and expiry text.
///
/// Cookies come from QZHttpFactory and go back there. The strings belong to the cookie and are locked with
/// its object id. One thread at a time.
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

    /// Reads "name=value; path=...; domain=...; expires=...". All parts are emptied first. Pieces without an
    /// equals sign and all other attributes are ignored. The value may contain equals signs.
    void Set(QZString* text);
    /// Copies the parts without change; null stands for an empty part.
    void Set(QZString* name, QZString* value, QZString* path, QZString* domain, QZString* expires);

    /// Empties all parts.
    void Clear();

    /// Gives a string back to QZStringFactory. For the cookie's own strings only the variable is cleared.
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

/// Cookies by position. The rules are those of QZHttpHeaderCollection.
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

    /// The sum of the sizes of all names and values, in bytes of wide text.
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
