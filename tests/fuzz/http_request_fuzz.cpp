// Any bytes as a request: it is parsed or rejected with a QZException, and parsing it again gives the same
// result; headers and cookies have names; a parsed request can be written, and the written request is parsed
// or rejected.

#include <cstdint>
#include <cstdlib>

#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "qzlib.h"

namespace
{
void Require(bool condition)
{
    if (!condition) std::abort();
}

void RequireSameParts(QZHttpRequest* a, QZHttpRequest* b)
{
    Require(a->GetMethod()->Equals(b->GetMethod()));
    Require(a->GetUrl()->GetPath()->Equals(b->GetUrl()->GetPath()));
    Require(a->GetContent()->Equals(b->GetContent()));
    Require(a->GetHeaders()->Count() == b->GetHeaders()->Count());
    Require(a->GetHeaders()->GetHeadersSize() == b->GetHeaders()->GetHeadersSize());
    Require(a->GetCookies()->Count() == b->GetCookies()->Count());
    Require(a->GetCookies()->GetCookiesSize() == b->GetCookies()->GetCookiesSize());
}

/// Writes a request and parses the result. It may differ from the original, because names and values that
/// contain line ends or separators are split at other places.
void WriteAndRead(QZHttpRequest* request)
{
    QZData* bytes = request->ToData();
    Require(bytes->Check());
    Require(bytes->GetSize() >= request->GetContent()->GetSize());
    try
    {
        QZHttpRequest* again = QZHttpFactory::CreateRequest(bytes);
        Require(again->GetSource()->Equals(bytes));
        QZHttpFactory::Recycle(&again);
    }
    catch (QZException* exception)
    {
        QZExceptionFactory::Recycle(&exception);
    }
    request->Recycle(&bytes);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = QZLibInit() != 0;
    Require(started);
    QZData bytes(data, static_cast<QZInt64>(size));
    QZHttpRequest* request = nullptr;
    try
    {
        request = QZHttpFactory::CreateRequest(&bytes);
        QZHttpRequest* same = QZHttpFactory::CreateRequest(request->GetSource());
        RequireSameParts(request, same);
        QZHttpFactory::Recycle(&same);
        for (QZInt64 i = request->GetHeaders()->Count() - 1; i >= 0; --i)
            Require(!QZString::IsNullOrWhiteSpace(request->GetHeaders()->GetElement(i)->GetName()));
        for (QZInt64 i = request->GetCookies()->Count() - 1; i >= 0; --i)
            Require(!QZString::IsNullOrWhiteSpace(request->GetCookies()->GetElement(i)->GetName()));
        WriteAndRead(request);
    }
    catch (QZException* exception)
    {
        QZExceptionFactory::Recycle(&exception);
    }
    if (request != nullptr) QZHttpFactory::Recycle(&request);
    return 0;
}
