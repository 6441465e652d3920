#include "codec/internal/cod_compression_decode.h"

#include <emmintrin.h>

#include <array>

#include "codec/internal/cod_compression_format.h"
#include "fw/internal/fw_hooks.h"

namespace compression
{

namespace
{

constexpr QZInt64 Lane = 16;
/// The largest block, and what a lane reads behind it.
constexpr QZInt64 LargestBlock = 2 + 255 + Lane;

__m128i Load(const QZByte* bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)); }

void Store(QZByte* bytes, __m128i value) { _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), value); }

__m128i Spread(int byte) { return _mm_set1_epi8(static_cast<char>(byte)); }

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
__m128i Sixteen(QZByte tag, const QZByte* packed)
{
    if (tag == BitTag)
        return _mm_set_epi64x(static_cast<QZInt64>(kBits[packed[1]]), static_cast<QZInt64>(kBits[packed[0]]));
    if (tag == PairTag)
        return _mm_set_epi32(static_cast<int>(kPairs[packed[3]]), static_cast<int>(kPairs[packed[2]]),
                             static_cast<int>(kPairs[packed[1]]), static_cast<int>(kPairs[packed[0]]));
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(packed));
    const __m128i mask = Spread(15);
    return _mm_unpacklo_epi8(_mm_and_si128(_mm_srli_epi16(bytes, 4), mask), _mm_and_si128(bytes, mask));
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
        for (QZInt64 i = 0; i < count; i += Lane) Store(out + i, Load(block + 2 + i));
        *decoded += count;
        return position + 2 + count;
    }
    const __m128i base = Spread(block[1]);
    const QZInt64 count = block[2];
    *decoded += count;
    if (tag == FillTag)
    {
        for (QZInt64 i = 0; i < count; i += Lane) Store(out + i, base);
        return position + 3;
    }
    const QZInt64 width = tag == NibbleTag ? 4 : tag == PairTag ? 2 : 1;
    const QZByte* packed = block + 3;
    for (QZInt64 i = 0; i < count; i += Lane)
        Store(out + i, _mm_add_epi8(base, Sixteen(tag, packed + i * width / 8)));
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
