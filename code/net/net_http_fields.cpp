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
    if (QZHttpHeader* present = FindHeader(headers, name)) return Assign(present->GetValue(), value);
    Fresh<QZHttpHeader> header(QZHttpFactory::CreateHeader());
    Assign(header->GetName(), name);
    Assign(header->GetValue(), value);
    header.Enter(headers);
}

void SetHeaderValue(QZHttpHeaderCollection* headers, Text name, QZInt64 value)
{
    QZWChar digits[number::kBufferUnits];
    const QZInt64 count = number::WriteInt64(digits, value);
    SetHeaderValue(headers, name, Text(digits, count));
}
}  // namespace http
