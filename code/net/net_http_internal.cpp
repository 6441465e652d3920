#include "net/internal/net_http_internal.h"

#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_number_text.h"

namespace http
{
namespace
{
QZWChar Lower(QZWChar unit) { return unit >= 'A' && unit <= 'Z' ? static_cast<QZWChar>(unit + 32) : unit; }

bool IsWhiteSpace(QZWChar unit) { return unit == 0 || unit == ' ' || (unit >= '\t' && unit <= '\r'); }

/// True when the text begins with the lower-case ASCII, ignoring its own case.
bool BeginsLower(Text text, std::string_view ascii)
{
    if (text.count < static_cast<QZInt64>(ascii.size())) return false;
    for (std::size_t i = 0; i < ascii.size(); ++i)
        if (Lower(text.units[i]) != static_cast<QZWChar>(ascii[i])) return false;
    return true;
}

bool ContainsLower(Text text, std::string_view ascii)
{
    for (QZInt64 i = 0; i + static_cast<QZInt64>(ascii.size()) <= text.count; ++i)
        if (BeginsLower(text.From(i), ascii)) return true;
    return false;
}

/// A header or cookie fresh out of its cache, which goes back unless a collection takes it.
template <typename T>
class Fresh
{
public:
    explicit Fresh(T* object) : m_object(object) {}
    ~Fresh()
    {
        if (m_object) QZHttpFactory::Recycle(&m_object);
    }
    Fresh(const Fresh&) = delete;
    Fresh& operator=(const Fresh&) = delete;

    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }

    /// To the collection's end, locked.
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

/// What follows the first piece of a cookie's text.
void ReadAttribute(QZHttpCookie* cookie, Text name, Text value)
{
    QZString* target = nullptr;
    if (ContainsLower(name, "domain"))
        target = cookie->GetDomain();
    else if (ContainsLower(name, "path"))
        target = cookie->GetPath();
    else if (ContainsLower(name, "expires"))
        target = cookie->GetExpries();
    if (!target) return;
    // The value ends at a second equals sign.
    const QZInt64 end = value.Find('=');
    Assign(target, (end < 0 ? value : value.Front(end)).Trimmed());
}
}  // namespace

QZInt64 Text::Find(char unit) const
{
    const QZWChar* found =
        count > 0 ? std::char_traits<QZWChar>::find(units, static_cast<std::size_t>(count),
                                                    static_cast<QZWChar>(static_cast<unsigned char>(unit)))
                  : nullptr;
    return found ? found - units : -1;
}

bool Text::Contains(std::string_view ascii) const
{
    const auto size = static_cast<QZInt64>(ascii.size());
    for (Text rest = *this; rest.count >= size; rest = rest.From(1))
    {
        const QZInt64 found = rest.Front(rest.count - size + 1).Find(ascii[0]);
        if (found < 0) return false;
        rest = rest.From(found);
        bool same = true;
        for (QZInt64 i = 1; same && i < size; ++i)
            same = rest.units[i] == static_cast<QZWChar>(ascii[static_cast<std::size_t>(i)]);
        if (same) return true;
    }
    return false;
}

bool Text::Is(Text other) const
{
    if (count != other.count) return false;
    for (QZInt64 i = 0; i < count; ++i)
        if (Lower(units[i]) != Lower(other.units[i])) return false;
    return true;
}

bool Text::StartsWith(std::string_view ascii) const { return BeginsLower(*this, ascii); }

Text Text::Trimmed() const
{
    QZInt64 start = 0;
    QZInt64 end = count;
    while (start < end && IsWhiteSpace(units[start])) ++start;
    while (end > start && IsWhiteSpace(units[end - 1])) --end;
    return {units + start, end - start};
}

bool Pieces::Next(Text* piece)
{
    if (m_done) return false;
    QZInt64 end = m_rest.Find(m_separator);
    QZInt64 length = 1;
    if (m_separator == '\n')
    {
        // A line feed alone ends no line.
        while (end == 0 || (end > 0 && m_rest.units[end - 1] != '\r'))
        {
            const QZInt64 next = m_rest.From(end + 1).Find('\n');
            end = next < 0 ? -1 : end + 1 + next;
        }
        if (end > 0) --end;
        length = 2;
    }
    if (end < 0)
    {
        *piece = m_rest;
        m_done = true;
        return true;
    }
    *piece = m_rest.Front(end);
    m_rest = m_rest.From(end + length);
    return true;
}

void ReadHeader(QZHttpHeader* header, Text line)
{
    const QZInt64 colon = line.Find(':');
    if (colon < 1) return;
    Assign(header->GetName(), line.Front(colon).Trimmed());
    Assign(header->GetValue(), line.From(colon + 1).Trimmed());
}

void ReadCookie(QZHttpCookie* cookie, Text text)
{
    Pieces pieces(text, ';');
    Text piece(nullptr, 0);
    for (QZInt64 i = 0; pieces.Next(&piece); ++i)
    {
        const QZInt64 equals = piece.Find('=');
        if (equals < 0) continue;
        const Text name = piece.Front(equals);
        const Text value = piece.From(equals + 1);
        if (i > 0)
        {
            ReadAttribute(cookie, name, value);
            continue;
        }
        Assign(cookie->GetName(), name.Trimmed());
        Assign(cookie->GetValue(), value.Trimmed());
    }
}

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

QZHttpHeader* FindHeader(QZHttpHeaderCollection* headers, Text name)
{
    const QZInt64 count = headers->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpHeader* header = headers->GetElement(i);
        if (name.Is(header->GetName())) return header;
    }
    return nullptr;
}

bool HasHeader(QZHttpHeaderCollection* headers, Text name) { return FindHeader(headers, name) != nullptr; }

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

QZHttpCookie* FindCookie(QZHttpCookieCollection* cookies, Text name)
{
    const QZInt64 count = cookies->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpCookie* cookie = cookies->GetElement(i);
        if (name.Is(cookie->GetName())) return cookie;
    }
    return nullptr;
}

void SetCookieValue(QZHttpCookieCollection* cookies, Text name, Text value)
{
    if (QZHttpCookie* present = FindCookie(cookies, name)) return Assign(present->GetValue(), value);
    Fresh<QZHttpCookie> cookie(QZHttpFactory::CreateCookie());
    Assign(cookie->GetName(), name);
    Assign(cookie->GetValue(), value);
    cookie.Enter(cookies);
}

void SetCookieValue(QZHttpCookieCollection* cookies, Text name, QZInt64 value)
{
    QZWChar digits[number::kBufferUnits];
    const QZInt64 count = number::WriteInt64(digits, value);
    SetCookieValue(cookies, name, Text(digits, count));
}

QZHttpStamps& StampsOf(QZHttpContext* context) { return QZHttpAccess::Stamps(context); }

void PutHeaders(JsonText* to, QZHttpHeaderCollection* headers)
{
    const QZInt64 count = headers->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZHttpHeader* header = headers->GetElement(i);
        Put(to, header->GetName());
        Put(to, QZ_W(": "));
        Put(to, header->GetValue());
        Put(to, QZ_W("\r\n"));
    }
}

QZData* ToBytes(const JsonText& head, QZData* content)
{
    const QZInt64 units = head.Count() * 2;
    const QZInt64 headSize =
        QZEncoding::Convert(QZEncodingType::UTF16LE, head.Units(), units, QZEncodingType::UTF8, nullptr, 0);
    QZData* data = QZDataFactory::CreateData();
    try
    {
        data->NewSize(headSize + content->GetSize());
    }
    catch (QZException*)
    {
        QZDataFactory::Recycle(&data);
        throw;
    }
    auto* bytes = static_cast<unsigned char*>(data->GetPointer());
    QZEncoding::Convert(QZEncodingType::UTF16LE, head.Units(), units, QZEncodingType::UTF8, bytes, headSize);
    QZMemCopy(bytes + headSize, content->GetPointer(), content->GetSize());
    return data;
}
}  // namespace http
