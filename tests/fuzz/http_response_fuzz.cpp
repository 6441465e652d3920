// Any bytes as a response: it is parsed or rejected with a QZException, keeps no source, and can be written.
// Any bytes as chunks: they are joined within their sizes, complete or in pieces of any length.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "net/internal/net_http_chunk.h"
#include "net/net_http_factory.h"
#include "net/net_http_response.h"
#include "qzlib.h"

namespace
{
void Require(bool condition)
{
    if (!condition) std::abort();
}

void ReadResponse(QZData* bytes)
{
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    try
    {
        response->Set(bytes);
        Require(response->GetStatus()->GetLength() > 0);
        Require(response->GetSource()->GetSize() == 0);
        Require(response->GetContent()->GetSize() <= bytes->GetSize());
        QZData* written = response->ToData();
        Require(written->Check());
        Require(written->GetSize() > response->GetContent()->GetSize());
        response->Recycle(&written);
    }
    catch (QZException* exception)
    {
        QZExceptionFactory::Recycle(&exception);
    }
    QZHttpFactory::Recycle(&response);
}

/// Moves all complete chunks from the front of the data to the target.
QZInt64 Join(QZData* data, QZData* target)
{
    for (;;)
    {
        const QZInt64 before = data->GetSize();
        const QZInt64 size = http::ChunkMove(data, target);
        Require(size >= -1 && size <= http::kChunkLimit);
        if (size < 1) return size;
        // The size line, the chunk and both line ends are removed, and at least one byte after them remains.
        Require(data->GetSize() <= before - size - 4 && data->GetSize() > 0);
    }
}

void ReadChunks(const std::uint8_t* bytes, QZInt64 size, QZInt64 piece)
{
    QZData whole(bytes, size);
    QZData joined;
    Join(&whole, &joined);

    QZData coming;
    QZData pieces;
    for (QZInt64 done = 0; done < size; done += piece)
    {
        coming.Append(bytes + done, std::min(piece, size - done));
        if (Join(&coming, &pieces) == 0) break;
    }
    Require(pieces.GetSize() <= size);
    Require(joined.Check() && pieces.Check());
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = QZLibInit() != 0;
    Require(started);
    QZData bytes(data, static_cast<QZInt64>(size));
    ReadResponse(&bytes);
    if (size > 0) ReadChunks(data + 1, static_cast<QZInt64>(size) - 1, 1 + data[0] % 64);
    return 0;
}
