#include "net/internal/net_http_chunk.h"

#include "fw/fw_data.h"
#include "fw/internal/fw_number_text.h"
#include "net/internal/net_characters.h"
#include "net/net_http_constant.h"

namespace http
{
namespace
{
/// The bytes of a line end.
constexpr QZInt64 kLineEnd = 2;

const unsigned char* Bytes(const QZData* data)
{
    return static_cast<const unsigned char*>(data->GetPointer());
}

/// The longest size line, without its line end, is one byte shorter.
constexpr QZInt64 kLineLimit = 256;

void Skip(QZData* data, QZInt64 count) { data->SetOffset(data->GetOffset() + count); }

void SkipIf(QZData* data, unsigned char byte)
{
    if (data->GetSize() > 0 && Bytes(data)[0] == byte) Skip(data, 1);
}
}  // namespace

QZInt64 ChunkSize(QZData* data, QZInt64* line)
{
    *line = -1;
    // The line end of the previous chunk.
    SkipIf(data, '\r');
    SkipIf(data, '\n');
    if (data->GetSize() == 0 || !net::IsHexDigit(Bytes(data)[0])) return -1;
    const QZInt64 end = data->Find(QZHttpConstant::NewLine);
    if (end < 0) return -1;
    *line = end;
    if (end >= kLineLimit) return -1;
    // All digits of the line count, also those of a chunk extension.
    const QZUInt64 size = number::ReadUInt64Hex(reinterpret_cast<const char*>(Bytes(data)), end);
    return size > static_cast<QZUInt64>(kChunkLimit) ? -1 : static_cast<QZInt64>(size);
}

QZInt64 ChunkMove(QZData* data, QZData* target)
{
    QZInt64 line = -1;
    const QZInt64 size = ChunkSize(data, &line);
    if (size <= 0) return size;
    // A chunk counts as complete only when a byte follows its line end.
    if (data->GetSize() <= line + kLineEnd + size + kLineEnd) return -1;
    Skip(data, line + kLineEnd);
    target->Append(data->GetPointer(), size);
    Skip(data, size + kLineEnd);
    return size;
}
}  // namespace http
