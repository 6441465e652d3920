#include "net/internal/net_http_fields.h"

#include "fw/internal/fw_number_text.h"
#include "net/internal/net_ownership.h"
#include "net/net_http_factory.h"

namespace http
{
namespace
{
/// A new header or cookie, which goes back to the factory unless a collection takes it.
template <typename T>
class Fresh
{
public:
    explicit Fresh(T* object) : m_object(object) {}
    ~Fresh()
    {
        if (m_object != nullptr) QZHttpFactory::Recycle(&m_object);
    }
    Fresh(const Fresh&) = delete;
    Fresh& operator=(const Fresh&) = delete;

    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }

    /// Adds the object, locked, at the collection's end.
    template <typename Collection>
    void Enter(Collection* collection)
    {
        collection->Push(m_object);
        Own(m_object, collection->GetObjectID());
        m_object = nullptr;
    }

private:
    T* m_object;
};

template <typename Element, typename Collection>
void SetNamed(Collection* collection, Element* (*create)(), Text name, Text value)
{
    if (Element* present = FindNamed<Element>(collection, name)) return Assign(present->GetValue(), value);
    Fresh<Element> element(create());
    Assign(element->GetName(), name);
    Assign(element->GetValue(), value);
    element.Enter(collection);
}

/// A number as decimal text.
class Decimal
{
public:
    explicit Decimal(QZInt64 value) : m_count(number::WriteInt64(m_digits, value)) {}
    Text AsText() const { return {m_digits, m_count}; }

private:
    QZWChar m_digits[number::kBufferUnits];
    QZInt64 m_count;
};
}  // namespace

void AddHeader(QZHttpHeaderCollection* headers, Text line)
{
    const QZInt64 colon = line.Find(':');
    if (colon < 1 || line.Front(colon).Trimmed().IsEmpty()) return;
    Fresh<QZHttpHeader> header(QZHttpFactory::CreateHeader());
    ReadHeader(header.Get(), line);
    header.Enter(headers);
}

void AddCookie(QZHttpCookieCollection* cookies, Text text, bool nameless)
{
    Fresh<QZHttpCookie> cookie(QZHttpFactory::CreateCookie());
    ReadCookie(cookie.Get(), text);
    if (nameless || cookie->GetName()->GetSize() > 0) cookie.Enter(cookies);
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
    SetNamed<QZHttpHeader>(headers, &QZHttpFactory::CreateHeader, name, value);
}

void SetHeaderValue(QZHttpHeaderCollection* headers, Text name, QZInt64 value)
{
    SetHeaderValue(headers, name, Decimal(value).AsText());
}

void SetCookieValue(QZHttpCookieCollection* cookies, Text name, Text value)
{
    SetNamed<QZHttpCookie>(cookies, &QZHttpFactory::CreateCookie, name, value);
}

void SetCookieValue(QZHttpCookieCollection* cookies, Text name, QZInt64 value)
{
    SetCookieValue(cookies, name, Decimal(value).AsText());
}
}  // namespace http
