#include "net/internal/net_http_round_trip.h"

#include <algorithm>
#include <utility>

#include "fw/fw_convert.h"
#include "fw/internal/fw_data_find.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_chunk.h"
#include "net/internal/net_http_find.h"
#include "net/net_http_constant.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "os/os_socket_client.h"

namespace http
{
namespace
{
/// Bytes of one receive.
constexpr QZInt64 kReceive = 131072;

/// Chunks are moved to the front of their buffer when this many bytes before them are used up.
constexpr QZInt64 kCompactFrom = 8 * kReceive;

/// The largest content for which memory is reserved at once, whatever length the head states.
constexpr QZInt64 kReserveLimit = QZInt64{16} << 20;

/// The first position of the pattern at or after `from`, or -1.
QZInt64 FindFrom(const QZData& data, QZInt64 from, const QZData* pattern)
{
    const auto* bytes = static_cast<const unsigned char*>(data.GetPointer());
    const QZInt64 found =
        QZBytesFind(bytes + from, data.GetSize() - from, pattern->GetPointer(), pattern->GetSize());
    return found < 0 ? -1 : from + found;
}

QZInt64 Sum(QZInt64 a, QZInt64 b)
{
    return static_cast<QZInt64>(static_cast<QZUInt64>(a) + static_cast<QZUInt64>(b));
}

/// Frees the used bytes at the front, so that a long stream does not keep all its chunks.
void Compact(QZData* data, QZData* spare)
{
    if (data->GetOffset() < kCompactFrom) return;
    spare->Clear();
    spare->Append(data->GetPointer(), data->GetSize());
    data->Clear();
    data->Append(spare->GetPointer(), spare->GetSize());
}
}  // namespace

RoundTrip::~RoundTrip()
{
    if (m_response != nullptr) QZHttpFactory::Recycle(&m_response);
}

void RoundTrip::Send(QZHttpRequest* request)
{
    QZData* data = request->ToData();
    try
    {
        m_socket->Send(data->GetPointer(), data->GetSize());
    }
    catch (QZException*)
    {
        request->Recycle(&data);
        throw;
    }
    request->Recycle(&data);
}

QZHttpResponse* RoundTrip::Receive()
{
    unsigned char buffer[kReceive];
    QZInt64 received = 0;
    m_response = QZHttpFactory::CreateResponse();
    Reading reading = Reading::Continues;
    while (reading == Reading::Continues)
    {
        const QZInt64 count = m_socket->Recv(buffer, kReceive);
        if (count < 1) break;
        received += count;
        if (m_expected == -1)
            reading = TakeHead(buffer, count);
        else
            m_response->GetContent()->Append(buffer, count);
        // The expected total comes from the head and may be any number; -1 stands for unknown.
        if (reading == Reading::Continues && m_expected != -1 && received >= m_expected)
            reading = Reading::Complete;
    }
    if (reading == Reading::Chunked) ReceiveChunks(buffer);
    return std::exchange(m_response, nullptr);
}

/// Takes received bytes while the expected total is unknown.
RoundTrip::Reading RoundTrip::TakeHead(const unsigned char* bytes, QZInt64 count)
{
    // The empty line may have arrived in pieces.
    const QZInt64 from = std::max<QZInt64>(m_head.GetSize() - (QZHttpConstant::EmptyLine->GetSize() - 1), 0);
    m_head.Append(bytes, count);
    if (m_headEnd < 0) m_headEnd = FindFrom(m_head, from, QZHttpConstant::EmptyLine);
    if (m_headEnd < 0) return Reading::Continues;
    m_response->Set(&m_head);
    if (IsChunked()) return Reading::Chunked;
    // The name is searched in all received bytes with exactly this spelling: a head that spells it in another
    // case has no length.
    if (FindFrom(m_head, 0, QZHttpConstant::HeaderNameContentLength) < 0) return Reading::Complete;
    QZHttpHeader* header =
        FindHeader(m_response->GetHeaders(), QZHttpConstant::HeaderNameContentLengthString);
    if (header == nullptr) return Reading::Complete;
    const QZInt64 length = QZConvert::StringToInt64(header->GetValue());
    m_expected = Sum(length, m_headEnd + QZHttpConstant::EmptyLine->GetSize());
    Reserve(length);
    return Reading::Continues;
}

bool RoundTrip::IsChunked()
{
    const QZData* name = QZHttpConstant::HeaderNameTransferEncoding;
    const QZInt64 place = QZBytesFind(m_head.GetPointer(), m_headEnd, name->GetPointer(), name->GetSize());
    if (place < 0) return false;
    QZHttpHeader* header =
        FindHeader(m_response->GetHeaders(), QZHttpConstant::HeaderNameTransferEncodingString);
    if (header == nullptr)
        throw QZExceptionFactory::CreateException(QZ_W("Response has TransferEncoding header, but miss."));
    return Text(header->GetValue()).Is(QZ_W("chunked"));
}

void RoundTrip::Reserve(QZInt64 size)
{
    QZData* content = m_response->GetContent();
    const QZInt64 present = content->GetSize();
    if (size <= present) return;
    content->NewSize(std::min(size, std::max(kReserveLimit, present)));
    content->NewSize(present);
}

void RoundTrip::ReceiveChunks(unsigned char* buffer)
{
    const QZInt64 start = m_headEnd + QZHttpConstant::EmptyLine->GetSize();
    QZData chunks(m_head.GetPointer(), m_head.GetSize());
    QZData spare;
    chunks.SetOffset(chunks.GetOffset() + start);
    // From here on m_head collects the content after the head.
    m_head.NewSize(start);
    for (;;)
    {
        QZInt64 size = 0;
        do size = ChunkMove(&chunks, &m_head);
        while (size > 0);
        if (size == 0) break;
        // A bad size gets here too: then the loop receives until the server closes the connection.
        Compact(&chunks, &spare);
        const QZInt64 count = m_socket->Recv(buffer, kReceive);
        if (count < 1) break;
        chunks.Append(buffer, count);
    }
    const auto* bytes = static_cast<const unsigned char*>(m_head.GetPointer());
    m_response->SetContent(bytes + start, m_head.GetSize() - start);
}
}  // namespace http
