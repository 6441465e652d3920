#ifndef QZLIB_TESTS_NET_HTTP_SUPPORT_H
#define QZLIB_TESTS_NET_HTTP_SUPPORT_H

#include <string>
#include <string_view>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_string_factory.h"
#include "net/net_http_constant.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "support/qz_test.h"

namespace qztest
{

/// Holds a message, or a part of one, and recycles it at the end of its scope.
template <typename T>
class Held
{
public:
    explicit Held(T* object) : m_object(object) {}
    ~Held()
    {
        if (m_object != nullptr) QZHttpFactory::Recycle(&m_object);
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }

private:
    T* m_object;
};

/// A QZString made from UTF-8 text.
class Str
{
public:
    explicit Str(std::string_view utf8) : m_text(Wide(utf8).c_str()) {}
    operator QZString*() { return &m_text; }
    QZString* operator->() { return &m_text; }

private:
    QZString m_text;
};

inline Held<QZHttpRequest> NewRequest() { return Held<QZHttpRequest>(QZHttpFactory::CreateRequest()); }
inline Held<QZHttpResponse> NewResponse() { return Held<QZHttpResponse>(QZHttpFactory::CreateResponse()); }

/// Returns a text from a message as UTF-8 and recycles it through the message.
template <typename Message>
std::string TakenFrom(Message* message, QZString* text)
{
    std::string utf8 = Utf8(text);
    message->Recycle(&text);
    return utf8;
}

template <typename Message>
std::string HeadOf(Message* message)
{
    return TakenFrom(message, message->GetHead());
}

inline std::string BytesOf(QZData* data)
{
    return {static_cast<const char*>(data->GetPointer()), static_cast<std::size_t>(data->GetSize())};
}

template <typename Message>
std::string WireOf(Message* message)
{
    QZData* data = message->ToData();
    std::string bytes = BytesOf(data);
    message->Recycle(&data);
    return bytes;
}

/// The headers as "Name: value", with "|" between them.
inline std::string HeadersOf(QZHttpHeaderCollection* headers)
{
    std::string all;
    for (QZInt64 i = 0; i < headers->Count(); ++i)
    {
        if (i > 0) all += "|";
        all += Utf8(headers->GetElement(i)->GetName()) + ": " + Utf8(headers->GetElement(i)->GetValue());
    }
    return all;
}

inline std::string CookieText(QZHttpCookie* cookie)
{
    return Utf8(cookie->GetName()) + "=" + Utf8(cookie->GetValue()) + " path=" + Utf8(cookie->GetPath()) +
           " domain=" + Utf8(cookie->GetDomain()) + " expires=" + Utf8(cookie->GetExpries());
}

/// The cookies with all their parts, with "|" between them.
inline std::string CookiesOf(QZHttpCookieCollection* cookies)
{
    std::string all;
    for (QZInt64 i = 0; i < cookies->Count(); ++i)
    {
        if (i > 0) all += "|";
        all += CookieText(cookies->GetElement(i));
    }
    return all;
}

template <typename Message>
void Read(Message* message, std::string_view bytes)
{
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    message->Set(&data);
}

}  // namespace qztest

#endif
