#include "net/net_http_cookie.h"

#include "fw/fw_string_factory.h"
#include "net/internal/net_http_elements.h"
#include "net/internal/net_http_guard.h"
#include "net/internal/net_http_text.h"

const QZInt64 QZHttpCookie::Type;
const QZInt64 QZHttpCookieCollection::Type;

QZHttpCookie::QZHttpCookie()
{
    for (QZString* text : {&m_domain, &m_name, &m_path, &m_value, &m_expires})
        http::Own(text, QZObject::GetObjectID());
}

QZHttpCookie::~QZHttpCookie()
{
    for (QZString* text : {&m_domain, &m_name, &m_path, &m_value, &m_expires})
        http::Disown(text, QZObject::GetObjectID());
}

QZInt64 QZHttpCookie::GetType() { return Type; }

QZString* QZHttpCookie::GetDomain() { return &m_domain; }
QZString* QZHttpCookie::GetName() { return &m_name; }
QZString* QZHttpCookie::GetPath() { return &m_path; }
QZString* QZHttpCookie::GetValue() { return &m_value; }
QZString* QZHttpCookie::GetExpries() { return &m_expires; }

void QZHttpCookie::Set(QZString* text)
{
    http::RequireOneLine(QZ_W("QZHttpCookie"), QZ_W("Set"), text);
    // Clearing comes first, so a cookie that is set to one of its own strings becomes empty.
    Clear();
    http::ReadCookie({&m_name, &m_value, &m_domain, &m_path, &m_expires}, text);
}

void QZHttpCookie::Set(QZString* name, QZString* value, QZString* path, QZString* domain, QZString* expires)
{
    for (QZString* text : {name, value, path, domain, expires})
        http::RequireOneLine(QZ_W("QZHttpCookie"), QZ_W("Set"), text);
    m_name.Set(name);
    m_value.Set(value);
    m_path.Set(path);
    m_domain.Set(domain);
    m_expires.Set(expires);
}

void QZHttpCookie::Clear()
{
    for (QZString* text : {&m_domain, &m_name, &m_path, &m_value, &m_expires}) text->Clear();
}

void QZHttpCookie::Recycle(QZString** text)
{
    bool own = false;
    for (QZString* part : {&m_domain, &m_name, &m_path, &m_value, &m_expires}) own = own || *text == part;
    http::RecycleForeign(text, own, [](QZString** foreign) { QZStringFactory::Recycle(foreign); });
}

QZObject* QZHttpCookie::NewObject() { return new QZHttpCookie(); }
void QZHttpCookie::DeleteObject(QZObject* cookie) { delete cookie; }

QZHttpCookieCollection::QZHttpCookieCollection() = default;
QZHttpCookieCollection::~QZHttpCookieCollection() = default;

QZInt64 QZHttpCookieCollection::GetType() { return Type; }

QZHttpCookie* QZHttpCookieCollection::GetElement(QZInt64 index)
{
    return static_cast<QZHttpCookie*>(QZObjectCollection::GetElement(index));
}

QZHttpCookie* QZHttpCookieCollection::Pop()
{
    return http::Unlocked(static_cast<QZHttpCookie*>(QZObjectCollection::Pop()), GetObjectID());
}

QZBool QZHttpCookieCollection::RemoveElement(QZInt64 index)
{
    http::Unlocked(GetElement(index), GetObjectID());
    return QZObjectCollection::RemoveElement(index);
}

QZBool QZHttpCookieCollection::Push(QZHttpCookie* cookie) { return QZObjectCollection::Push(cookie); }

QZInt64 QZHttpCookieCollection::GetCookiesSize() { return http::SizeOfTexts(this); }

QZObject* QZHttpCookieCollection::NewObject() { return new QZHttpCookieCollection(); }
void QZHttpCookieCollection::DeleteObject(QZObject* collection) { delete collection; }
