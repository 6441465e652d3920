// The coder of runs and small differences.

#include <algorithm>
#include <atomic>
#include <cstdio>

#include "codec/cod_compression.h"
#include "codec/cod_math.h"
#include "codec/internal/cod_compression_decode.h"
#include "codec/internal/cod_compression_format.h"
#include "codec/internal/cod_compression_group.h"
#include "codec/internal/cod_compression_lane.h"
#include "fw/internal/fw_hooks.h"

using namespace compression;

namespace
{

constexpr QZInt64 kCoderSlack = 64;

/// Bytes that follow base and count in a block.
QZInt64 PackedSize(QZByte tag, QZInt64 count)
{
    switch (tag)
    {
        case NibbleTag: return (count + 1) / 2;
        case PairTag: return (count + 3) / 4;
        case BitTag: return (count + 7) / 8;
        default: return 0;
    }
}

bool IsDifferences(QZByte tag) { return tag == NibbleTag || tag == PairTag || tag == BitTag; }

/// Bits of one difference.
int WidthOf(QZByte tag) { return tag == NibbleTag ? 4 : tag == PairTag ? 2 : 1; }

/// The bytes of a stream. Behind its end they read 0.
class StreamBytes
{
public:
    StreamBytes(const void* buffer, QZInt64 length)
        : m_bytes(static_cast<const QZByte*>(buffer)), m_length(length)
    {}

    QZByte operator[](QZInt64 position) const { return position < m_length ? m_bytes[position] : QZByte{0}; }

    /// A tag may be changed by another thread while the decoder waits on it.
    QZByte TagAt(QZInt64 position) const
    {
        return std::atomic_ref<QZByte>(const_cast<QZByte&>(m_bytes[position]))
            .load(std::memory_order_relaxed);
    }

private:
    const QZByte* m_bytes;
    QZInt64 m_length;
};

/// The target of decoded bytes. Bytes that do not fit are dropped.
class Output
{
public:
    Output(QZByte* bytes, QZInt64 room) : m_bytes(bytes), m_room(room) {}

    void Put(QZByte byte)
    {
        if (m_count < m_room) m_bytes[m_count++] = byte;
    }
    QZInt64 Count() const { return m_count; }

private:
    QZByte* m_bytes;
    QZInt64 m_room;
    QZInt64 m_count = 0;
};

/// Decodes one block and returns the position of the next one; the same position for an unknown tag.
QZInt64 DecodeBlock(const StreamBytes& stream, QZByte tag, QZInt64 position, Output* output)
{
    if (tag == RawTag)
    {
        const QZInt64 count = stream[position + 1];
        for (QZInt64 i = 0; i < count; ++i) output->Put(stream[position + 2 + i]);
        return position + 2 + count;
    }
    if (tag != FillTag && !IsDifferences(tag)) return position;
    const QZByte base = stream[position + 1];
    const QZInt64 count = stream[position + 2];
    const QZInt64 first = position + 3;
    if (tag == FillTag)
    {
        for (QZInt64 i = 0; i < count; ++i) output->Put(base);
        return first;
    }
    const int width = WidthOf(tag);
    const int inByte = 8 / width;
    const int mask = (1 << width) - 1;
    for (QZInt64 i = 0; i < count; ++i)
    {
        const int shift = 8 - width * (static_cast<int>(i % inByte) + 1);
        output->Put(static_cast<QZByte>(base + (stream[first + i / inByte] >> shift & mask)));
    }
    return first + PackedSize(tag, count);
}

/// Subtracts the base from the first `count` bytes; later bytes do not change.
void SubtractBase(QZByte* bytes, QZUInt32 count, QZByte base)
{
    const Lane bases = Spread(base);
    QZUInt32 i = 0;
    for (; i + LaneSize <= count; i += LaneSize) StoreLane(bytes + i, Subtract(LoadLane(bytes + i), bases));
    for (; i < count; ++i) bytes[i] = static_cast<QZByte>(bytes[i] - base);
}

/// Packs differences of so many bits; how many bytes that gives.
template <int Width>
QZUInt32 Pack(const QZByte* differences, QZUInt32 count, QZByte* target)
{
    constexpr QZUInt32 kInByte = 8 / Width;
    const QZByte* const start = target;
    for (QZUInt32 i = 0; i < count; i += kInByte)
    {
        unsigned sum = 0;
        for (QZUInt32 j = 0; j + 1 < kInByte; ++j) sum += differences[i + j];
        *target++ = static_cast<QZByte>((sum << Width) + differences[i + kInByte - 1]);
    }
    return static_cast<QZUInt32>(target - start);
}

bool IsStream(const void* buffer, QZULong length)
{
    return length >= static_cast<QZULong>(kStreamTrailer) &&
           EndsWith(buffer, static_cast<QZUInt32>(length), kCompressedMarker);
}

}  // namespace

void QZCompression::WriteRaw(QZUInt32 first, QZUInt32 end)
{
    Put(RawTag);
    Put(static_cast<QZByte>(end - first));
    QZMemCopy(m_destination + m_written, m_source + first, end - first);
    m_written += end - first;
}

void QZCompression::WriteBlock(QZByte tag, QZByte base, QZUInt32 first, QZUInt32 end)
{
    Put(tag);
    Put(base);
    Put(static_cast<QZByte>(end - first));
    if (tag != FillTag) WriteDifferences(tag, base, first, end - first);
}

void QZCompression::WriteDifferences(QZByte tag, QZByte base, QZUInt32 first, QZUInt32 count)
{
    QZMemCopy(m_scratch, m_source + first, count);
    m_scratch[count] = 0;
    SubtractBase(m_scratch, count, base);

    // Pairs and bits are packed as the sum of all differences except the last. The last group is filled with
    // the 0 and with bytes that an earlier block left after it. Existing images have this form, so it is
    // kept.
    QZByte* target = m_destination + m_written;
    if (tag == NibbleTag)
        m_written += Pack<4>(m_scratch, count, target);
    else if (tag == PairTag)
        m_written += Pack<2>(m_scratch, count, target);
    else
        m_written += Pack<1>(m_scratch, count, target);
}

QZUInt32 QZCompression::Encode(QZUInt32 length)
{
    m_written = 0;
    bool pending = false;
    QZUInt32 literal = 0;
    for (QZUInt32 i = 0; i < length;)
    {
        const QZUInt32 start = i;
        const Group group(m_source, start, length);
        i = group.end;
        const QZByte tag = group.TagOf();
        if (tag != RawTag)
        {
            if (pending) WriteRaw(literal, start);
            pending = false;
            literal = i;
            WriteBlock(tag, static_cast<QZByte>(group.minimum), start, i);
        }
        else if (pending && i - literal + 1 >= GroupLimit)
        {
            WriteRaw(literal, i);
            pending = false;
            literal = i;
        }
        else
        {
            pending = true;
        }
    }
    if (pending) WriteRaw(literal, length);
    Put(EndTag);
    return m_written;
}

QZUInt32 QZCompression::EncodeTo(QZByte* target, const QZByte* source, QZULong length)
{
    m_source = source;
    m_destination = target;
    const QZUInt32 written = Encode(static_cast<QZUInt32>(length));
    m_source = nullptr;
    m_destination = nullptr;
    QZStore(target + written, QZUInt64{length});
    QZStore(target + written + sizeof(QZUInt64), kCompressedMarker);
    return written + static_cast<QZUInt32>(kStreamTrailer);
}

QZULong QZCompression::Compress(unsigned char* buffer, QZULong length)
{
    const QZInt64 size = length;
    const Temporary stream(2 * size + kCoderSlack, false, QZ_W("Compress"));
    const QZInt64 written = EncodeTo(stream.Bytes(), buffer, length);
    QZMemCopy(buffer, stream.Bytes(), written);
    return static_cast<QZULong>(written);
}

QZULong QZCompression::DecompressGetSourceLength(const void* buffer, QZULong length)
{
    if (!IsStream(buffer, length)) return 0xFFFFFFFF;
    return QZLoad<QZUInt32>(QZAt(buffer, QZInt64{length} - kStreamTrailer));
}

QZULong QZCompression::Decompress(unsigned char* buffer, QZULong length)
{
    if (!IsStream(buffer, length))
    {
        std::fputs("It's not Compressed data!\n", stdout);
        return 0;
    }
    const QZInt64 limit = QZInt64{length} - kStreamTrailer;
    const QZInt64 room =
        static_cast<QZInt64>(QZMath::RoundUp(DecompressGetSourceLength(buffer, length), 0x10000)) + 0x10000;
    const Temporary decoded(room, false, QZ_W("Decompress"));
    if (Check(buffer, length) != 0)
    {
        const QZInt64 count = DecodeChecked(buffer, length, decoded.Bytes());
        QZMemCopy(buffer, decoded.Bytes(), count);
        return static_cast<QZULong>(count);
    }
    const StreamBytes stream(buffer, length);
    Output output(decoded.Bytes(), room);
    QZInt64 position = 0;
    while (position < limit)
    {
        const QZByte tag = stream.TagAt(position);
        if (tag == EndTag) break;
        position = DecodeBlock(stream, tag, position, &output);
    }
    QZMemCopy(buffer, decoded.Bytes(), output.Count());
    return static_cast<QZULong>(output.Count());
}

QZBool QZCompression::Check(const void* buffer, QZULong length)
{
    if (!IsStream(buffer, length)) return 0;
    const QZInt64 limit = QZInt64{length} - kStreamTrailer;
    const QZInt64 stated = QZLoad<QZUInt32>(QZAt(buffer, limit));
    const QZByte* bytes = static_cast<const QZByte*>(buffer);
    const StreamBytes stream(buffer, length);
    QZInt64 decoded = 0;
    QZInt64 position = 0;
    while (position < limit)
    {
        const QZByte tag = stream.TagAt(position);
        if (tag == EndTag) return 1;
        const QZInt64 head = tag == RawTag ? 2 : 3;
        if (tag != RawTag && tag != FillTag && !IsDifferences(tag)) return 0;
        if (position + head > limit) return 0;
        const QZInt64 count = bytes[position + head - 1];
        position += head + (tag == RawTag ? count : PackedSize(tag, count));
        decoded += count;
        if (position > limit || decoded > stated) return 0;
    }
    return 0;
}
