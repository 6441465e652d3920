#include "codec/internal/cod_compression_decode.h"

#include <array>

#include "codec/internal/cod_compression_format.h"
#include "codec/internal/cod_compression_lane.h"
#include "fw/internal/fw_hooks.h"

namespace compression
{

namespace
{

/// The largest block, and what a lane reads behind it.
constexpr QZInt64 LargestBlock = 2 + 255 + LaneSize;

/// The differences in a byte, each in a byte of its own, the first in the lowest.
template <typename Word, int Width>
constexpr std::array<Word, 256> Unpacked()
{
    std::array<Word, 256> table{};
    constexpr int InByte = 8 / Width;
    for (unsigned byte = 0; byte < 256; ++byte)
        for (int i = 0; i < InByte; ++i)
            table[byte] |= static_cast<Word>(byte >> (8 - Width * (i + 1)) & ((1u << Width) - 1)) << (8 * i);
    return table;
}

constexpr std::array<QZUInt64, 256> kBits = Unpacked<QZUInt64, 1>();
constexpr std::array<QZUInt32, 256> kPairs = Unpacked<QZUInt32, 2>();

/// Sixteen differences from the packed bytes.
Lane Sixteen(QZByte tag, const QZByte* packed)
{
    if (tag == BitTag) return LaneOf(kBits[packed[0]], kBits[packed[1]]);
    if (tag == PairTag)
        return LaneOf(kPairs[packed[0]], kPairs[packed[1]], kPairs[packed[2]], kPairs[packed[3]]);
    return HalvesOf(packed);
}

/// Decodes the block at the position and answers where the next one begins. Reads up to a lane behind it.
QZInt64 DecodeBlock(const QZByte* stream, QZInt64 position, QZByte* target, QZInt64* decoded)
{
    const QZByte* block = stream + position;
    const QZByte tag = block[0];
    QZByte* out = target + *decoded;
    if (tag == RawTag)
    {
        const QZInt64 count = block[1];
        for (QZInt64 i = 0; i < count; i += LaneSize) StoreLane(out + i, LoadLane(block + 2 + i));
        *decoded += count;
        return position + 2 + count;
    }
    const Lane base = Spread(block[1]);
    const QZInt64 count = block[2];
    *decoded += count;
    if (tag == FillTag)
    {
        for (QZInt64 i = 0; i < count; i += LaneSize) StoreLane(out + i, base);
        return position + 3;
    }
    const QZInt64 width = tag == NibbleTag ? 4 : tag == PairTag ? 2 : 1;
    const QZByte* packed = block + 3;
    for (QZInt64 i = 0; i < count; i += LaneSize)
        StoreLane(out + i, Add(base, Sixteen(tag, packed + i * width / 8)));
    return position + 3 + (count * width + 7) / 8;
}

}  // namespace

QZInt64 DecodeChecked(const QZByte* stream, QZInt64 length, QZByte* target)
{
    const QZInt64 limit = length - kStreamTrailer;
    QZInt64 decoded = 0;
    QZInt64 position = 0;
    while (position + LargestBlock <= length && stream[position] != EndTag)
        position = DecodeBlock(stream, position, target, &decoded);
    if (position >= limit || stream[position] == EndTag) return decoded;

    // The last blocks from a copy with room behind them.
    QZByte rest[2 * LargestBlock] = {};
    const QZInt64 size = limit - position;
    QZMemCopy(rest, stream + position, size);
    for (position = 0; position < size && rest[position] != EndTag;)
        position = DecodeBlock(rest, position, target, &decoded);
    return decoded;
}

}  // namespace compression
