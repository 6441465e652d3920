#include "net/net_url.h"

#include <iterator>
#include <vector>

#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_scoped.h"
#include "net/internal/net_characters.h"

const QZInt64 QZUrl::Type;

namespace
{
// How a text with a host begins.
constexpr QZWChar kHttp[] = QZ_W("http://");
constexpr QZWChar kHttps[] = QZ_W("https://");
constexpr QZWChar kNoProtocol[] = QZ_W("//");

constexpr QZUInt16 kPort = 80;
constexpr QZUInt16 kSecurePort = 443;

void ClearParams(QZKeyValueCollection* params)
{
    while (params->Count() > 0)
    {
        const QZInt64 last = params->Count() - 1;
        auto* value = static_cast<QZString*>(params->GetElement(last));
        params->RemoveElement(last);
        QZStringFactory::Recycle(&value);
    }
}

bool IsPlain(unsigned byte)
{
    if (net::IsLetter(byte) || net::IsDigit(byte)) return true;
    switch (byte)
    {
        case '!':
        case '(':
        case ')':
        case '*':
        case '-':
        case '.':
        case '_': return true;
        default: return false;
    }
}
}  // namespace

/// The strings and the parameters of a URL. Copies of a URL share them. The strings are locked with the
/// object id of the first of these URLs.
struct QZUrl::Parts
{
    explicit Parts(QZUInt64 id) : owner(id)
    {
        for (QZString* text : {&url, &path, &host, &protocol}) text->SetDisposable(owner, 0);
    }
    ~Parts()
    {
        for (QZString* text : {&url, &path, &host, &protocol}) text->SetDisposable(owner, 1);
        ClearParams(&params);
    }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    QZUInt64 owner;
    QZString url;
    QZString path;
    QZString host;
    QZString protocol;
    QZKeyValueCollection params;
};

QZUrl::QZUrl(QZString* url) : m_parts(std::make_shared<Parts>(QZObject::GetObjectID()))
{
    m_parts->url.Set(url);
    Init();
}

QZUrl::QZUrl(const QZWChar* url) : m_parts(std::make_shared<Parts>(QZObject::GetObjectID()))
{
    m_parts->url.Set(url);
    Init();
}

QZUrl::QZUrl(const char* url) : m_parts(std::make_shared<Parts>(QZObject::GetObjectID()))
{
    m_parts->url.Set(url);
    Init();
}

QZUrl::QZUrl(const QZUrl& other) = default;
QZUrl& QZUrl::operator=(const QZUrl& other) = default;
QZUrl::~QZUrl() = default;

QZInt64 QZUrl::GetType() { return Type; }

QZString* QZUrl::GetUrl() { return &m_parts->url; }
QZString* QZUrl::GetPath() { return &m_parts->path; }
QZString* QZUrl::GetHost() { return &m_parts->host; }
QZUInt16 QZUrl::GetPort() { return m_port; }
QZString* QZUrl::GetProtocol() { return &m_parts->protocol; }

QZString* QZUrl::GetParam(const char* key) { return static_cast<QZString*>(GetParam()->GetElement(key)); }
QZString* QZUrl::GetParam(const QZWChar* key) { return static_cast<QZString*>(GetParam()->GetElement(key)); }
QZString* QZUrl::GetParam(QZString* key) { return static_cast<QZString*>(GetParam()->GetElement(key)); }
QZKeyValueCollection* QZUrl::GetParam() { return &m_parts->params; }

QZString* QZUrl::GetParamString()
{
    QZKeyValueCollection* params = GetParam();
    QZString* text = QZStringFactory::CreateString();
    for (QZInt64 i = 0; i < params->Count(); ++i)
    {
        if (i > 0) text->Append(QZ_W("&"));
        text->Append(params->ToKey(i));
        text->Append(QZ_W("="));
        text->Append(static_cast<QZString*>(params->GetElement(i)));
    }
    return text;
}

void QZUrl::Set(QZString* url)
{
    m_parts->url.Set(url);
    m_parts->host.Clear();
    Init();
}

void QZUrl::Init()
{
    QZString* url = &m_parts->url;
    const QZWChar* text = url->GetPointer();
    const QZInt64 length = url->GetLength();

    // A text with another beginning keeps the protocol of the previous text.
    QZInt64 skip = 0;
    if (url->StartsWith(kHttp, 1))
    {
        skip = std::size(kHttp) - 1;
        m_parts->protocol.Set(QZ_W("http"));
    }
    else if (url->StartsWith(kHttps, 1))
    {
        skip = std::size(kHttps) - 1;
        m_parts->protocol.Set(QZ_W("https"));
    }
    else if (url->StartsWith(kNoProtocol))
    {
        skip = std::size(kNoProtocol) - 1;
        m_parts->protocol.Clear();
    }

    QZInt64 hostEnd = skip;
    while (hostEnd < length && text[hostEnd] != '/' && text[hostEnd] != '?' && text[hostEnd] != '#')
        ++hostEnd;
    QZInt64 pathEnd = hostEnd;
    while (pathEnd < length && text[pathEnd] != 0 && text[pathEnd] != '?' && text[pathEnd] != '#') ++pathEnd;
    QZInt64 query = pathEnd;
    QZInt64 queryEnd = pathEnd;
    if (pathEnd < length && text[pathEnd] == '?')
    {
        queryEnd = ++query;
        while (queryEnd < length && text[queryEnd] != '#') ++queryEnd;
    }

    QZString* path = &m_parts->path;
    path->Set(text + hostEnd, (pathEnd - hostEnd) * 2);
    if (path->Contains(QZ_W("//"))) path->ReplaceThis(QZ_W("//"), QZ_W("/"));
    if (QZString::IsNullOrWhiteSpace(path)) path->Set(QZ_W("/"));

    m_port = m_parts->protocol.Equals(QZ_W("https")) ? kSecurePort : kPort;
    if (hostEnd > skip) SetHost(text + skip, hostEnd - skip);

    ClearParams(GetParam());
    if (queryEnd > query)
    {
        const QZScopedString params(QZStringFactory::CreateString(text + query, (queryEnd - query) * 2));
        ParseParam(params.Get(), GetParam());
    }
}

void QZUrl::SetTarget(const QZWChar* whole, QZInt64 wholeCount, const QZWChar* path, QZInt64 pathCount,
                      const QZWChar* query, QZInt64 queryCount)
{
    m_parts->url.Set(whole, wholeCount * 2);
    m_parts->path.Set(path, pathCount * 2);
    m_parts->host.Clear();
    m_parts->protocol.Clear();
    m_port = kPort;
    ClearParams(GetParam());
    if (queryCount == 0) return;
    const QZScopedString params(QZStringFactory::CreateString(query, queryCount * 2));
    ParseParam(params.Get(), GetParam());
}

void QZUrl::SetHost(const QZWChar* text, QZInt64 count)
{
    QZInt64 colon = 0;
    while (colon < count && text[colon] != ':') ++colon;
    m_parts->host.Set(text, colon * 2);
    if (colon == count) return;
    const QZScopedString port(QZStringFactory::CreateString(text + colon + 1, (count - colon - 1) * 2));
    m_port = static_cast<QZUInt16>(QZConvert::StringToInt32(port.Get()));
}

void QZUrl::ParseParam(QZString* query, QZKeyValueCollection* params)
{
    const QZScopedStringCollection pairs(query->Split(static_cast<QZWChar>('&')));
    for (QZInt64 i = 0; i < pairs->Count(); ++i)
    {
        const QZScopedStringCollection parts(pairs->GetElement(i)->Split(static_cast<QZWChar>('=')));
        if (parts->Count() < 2) continue;
        QZString* name = parts->GetElement(0);
        QZString* value = parts->GetElement(1);
        name->TrimThis();
        value->TrimThis();
        // The first of equal keys counts, and the value of "a=b=c" is "b".
        if (QZString::IsNullOrEmpty(name) || params->IsExists(name)) continue;
        params->Add(name, QZStringFactory::CreateString(value));
    }
}

QZString* QZUrl::Encode(QZString* text)
{
    std::vector<QZWChar> encoded;
    if (!QZString::IsNullOrEmpty(text))
    {
        QZData* bytes = QZEncoding::GetData(QZEncodingType::UTF8, text);
        const auto* p = static_cast<const unsigned char*>(static_cast<const void*>(bytes->GetPointer()));
        const QZInt64 size = bytes->GetSize();
        // A byte below 16 sets only the first digit. The second digit is then that of the previous escape, or
        // missing when there was none.
        QZWChar digits[3] = {0, 0, 0};
        for (QZInt64 i = 0; i < size; ++i)
        {
            const unsigned byte = p[i];
            if (IsPlain(byte))
            {
                encoded.push_back(static_cast<QZWChar>(byte));
            }
            else if (byte == ' ')
            {
                encoded.push_back('+');
            }
            else
            {
                QZConvert::UInt64ToStringHex(byte, digits);
                encoded.push_back('%');
                for (const QZWChar* digit = digits; *digit != 0; ++digit) encoded.push_back(*digit);
            }
        }
        QZDataFactory::Recycle(&bytes);
    }
    return QZStringFactory::CreateString(encoded.data(), static_cast<QZInt64>(encoded.size()) * 2);
}

QZString* QZUrl::Decode(QZString* text)
{
    std::vector<unsigned char> bytes;
    const QZWChar* units = text != nullptr ? text->GetPointer() : nullptr;
    const QZInt64 length = text != nullptr ? text->GetLength() : 0;
    for (QZInt64 i = 0; i < length; ++i)
    {
        if (units[i] == '%')
        {
            // After the last unit stands the terminator of the string, which is no digit.
            if (net::IsHexDigit(units[i + 1]) && net::IsHexDigit(units[i + 2]))
                bytes.push_back(static_cast<unsigned char>(QZConvert::StringToUInt64Hex(units + i + 1, 2)));
            i += 2;
        }
        else
        {
            bytes.push_back(static_cast<unsigned char>(units[i] == '+' ? ' ' : units[i]));
        }
    }
    return QZEncoding::GetString(QZEncodingType::UTF8, bytes.data(), static_cast<QZInt64>(bytes.size()));
}

void QZUrl::Recycle(QZString** text) { QZStringFactory::Recycle(text); }
