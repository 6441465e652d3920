// Any text as a URL: it is parsed or rejected with a QZException, and parsing it again gives the same result;
// Decode restores legal text that Encode has encoded.

#include <cstdint>
#include <cstdlib>

#include "fw/fw_encoding.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "net/net_url.h"
#include "qzlib.h"

namespace
{
void Require(bool condition)
{
    if (!condition) std::abort();
}

template <typename Call>
void Try(Call call)
{
    try
    {
        call();
    }
    catch (QZException* exception)
    {
        QZExceptionFactory::Recycle(&exception);
    }
}

void Parse(QZString* text)
{
    Try([&] {
        QZUrl url(text);
        Require(url.GetUrl()->Equals(text));
        Require(url.GetPath()->GetLength() > 0);
        QZString* params = url.GetParamString();
        QZUrl same(text);
        same.Set(text);
        QZString* again = same.GetParamString();
        Require(params->Equals(again) && same.GetPath()->Equals(url.GetPath()) &&
                same.GetHost()->Equals(url.GetHost()) && same.GetPort() == url.GetPort());
        QZUrl::Recycle(&params);
        QZUrl::Recycle(&again);
    });
}

/// Returns true if every byte that Encode escapes has two hex digits.
bool RoundTrips(QZString* text)
{
    for (QZInt64 i = 0; i < text->GetLength(); ++i)
        if (text->CharAt(i) < 16) return false;
    return text->GetLength() > 0;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = QZLibInit() != 0;
    Require(started);
    Try([&] {
        QZString* text = QZEncoding::GetString(QZEncodingType::UTF8, data, static_cast<QZInt64>(size));
        Parse(text);
        QZString* encoded = QZUrl::Encode(text);
        Try([&] {
            QZString* decoded = QZUrl::Decode(encoded);
            // Text from legal UTF-8 has no lone surrogates, which Encode would replace.
            if (RoundTrips(text) && QZEncoding::IsLegalUTF8(data, static_cast<QZInt64>(size)))
                Require(decoded->Equals(text));
            QZUrl::Recycle(&decoded);
        });
        Try([&] {
            QZString* decoded = QZUrl::Decode(text);
            Require(decoded->Check());
            QZUrl::Recycle(&decoded);
        });
        QZUrl::Recycle(&encoded);
        QZStringFactory::Recycle(&text);
    });
    return 0;
}
