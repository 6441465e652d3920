#ifndef QZLIB_CODEC_COMPRESSION_LANE_H
#define QZLIB_CODEC_COMPRESSION_LANE_H

/// Sixteen bytes that the coder works on together: in the processor's vector instructions where it has them,
/// one by one elsewhere. Internal.

#include <algorithm>
#include <cstring>

#include "sys/internal/sys_processor.h"
#include "sys/sys_types.h"

namespace compression
{

constexpr QZInt64 kLaneSize = 16;
/// The result of MaskOfEither when every byte matches.
constexpr QZUInt32 kWholeMask = 0xFFFF;

#if QZ_SSE2

using Lane = __m128i;

inline Lane LoadLane(const QZByte* bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)); }
inline void StoreLane(QZByte* bytes, Lane lane) { _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), lane); }

/// The same byte sixteen times.
inline Lane Spread(int byte) { return _mm_set1_epi8(static_cast<char>(byte)); }
/// The bytes of the words, the lowest first.
inline Lane LaneOf(QZUInt64 low, QZUInt64 high)
{
    return _mm_set_epi64x(static_cast<QZInt64>(high), static_cast<QZInt64>(low));
}
inline Lane LaneOf(QZUInt32 a, QZUInt32 b, QZUInt32 c, QZUInt32 d)
{
    return _mm_set_epi32(static_cast<int>(d), static_cast<int>(c), static_cast<int>(b), static_cast<int>(a));
}

/// Byte by byte, without a carry.
inline Lane Add(Lane a, Lane b) { return _mm_add_epi8(a, b); }
inline Lane Subtract(Lane a, Lane b) { return _mm_sub_epi8(a, b); }

/// A bit for each byte that equals the byte of the same place in `a` or in `b`, the lowest for the first.
inline QZUInt32 MaskOfEither(Lane lane, Lane a, Lane b)
{
    return static_cast<QZUInt32>(
        _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(lane, a), _mm_cmpeq_epi8(lane, b))));
}

inline int Least(Lane lane)
{
    lane = _mm_min_epu8(lane, _mm_srli_si128(lane, 8));
    lane = _mm_min_epu8(lane, _mm_srli_si128(lane, 4));
    lane = _mm_min_epu8(lane, _mm_srli_si128(lane, 2));
    lane = _mm_min_epu8(lane, _mm_srli_si128(lane, 1));
    return _mm_cvtsi128_si32(lane) & 0xFF;
}
inline int Most(Lane lane) { return 255 - Least(_mm_xor_si128(lane, Spread(255))); }

/// The halves of eight bytes, the upper half of each byte first.
inline Lane HalvesOf(const QZByte* packed)
{
    const Lane bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(packed));
    const Lane mask = Spread(15);
    return _mm_unpacklo_epi8(_mm_and_si128(_mm_srli_epi16(bytes, 4), mask), _mm_and_si128(bytes, mask));
}

/// Byte `Index` of each of the 16 words of four bytes in four lanes.
template <int Index>
Lane PlaneOf(const Lane (&words)[4])
{
    const Lane mask = _mm_set1_epi32(0xFF);
    const auto byte = [&](int i) { return _mm_and_si128(_mm_srli_epi32(words[i], Index * 8), mask); };
    return _mm_packus_epi16(_mm_packs_epi32(byte(0), byte(1)), _mm_packs_epi32(byte(2), byte(3)));
}

/// Undoes PlaneOf: words of four bytes, one from each plane, as 64 bytes.
inline void StoreWords(QZByte* target, Lane a, Lane b, Lane c, Lane d)
{
    const Lane abLow = _mm_unpacklo_epi8(a, b);
    const Lane abHigh = _mm_unpackhi_epi8(a, b);
    const Lane cdLow = _mm_unpacklo_epi8(c, d);
    const Lane cdHigh = _mm_unpackhi_epi8(c, d);
    StoreLane(target, _mm_unpacklo_epi16(abLow, cdLow));
    StoreLane(target + kLaneSize, _mm_unpackhi_epi16(abLow, cdLow));
    StoreLane(target + 2 * kLaneSize, _mm_unpacklo_epi16(abHigh, cdHigh));
    StoreLane(target + 3 * kLaneSize, _mm_unpackhi_epi16(abHigh, cdHigh));
}

#else

struct Lane
{
    QZByte at[kLaneSize];
};

inline Lane LoadLane(const QZByte* bytes)
{
    Lane lane;
    std::memcpy(lane.at, bytes, kLaneSize);
    return lane;
}
inline void StoreLane(QZByte* bytes, const Lane& lane) { std::memcpy(bytes, lane.at, kLaneSize); }

inline Lane Spread(int byte)
{
    Lane lane;
    std::fill_n(lane.at, kLaneSize, static_cast<QZByte>(byte));
    return lane;
}
inline Lane LaneOf(QZUInt64 low, QZUInt64 high)
{
    Lane lane;
    for (int i = 0; i < 8; ++i)
    {
        lane.at[i] = static_cast<QZByte>(low >> (8 * i));
        lane.at[i + 8] = static_cast<QZByte>(high >> (8 * i));
    }
    return lane;
}
inline Lane LaneOf(QZUInt32 a, QZUInt32 b, QZUInt32 c, QZUInt32 d)
{
    return LaneOf(a | QZUInt64{b} << 32, c | QZUInt64{d} << 32);
}

inline Lane Add(Lane a, const Lane& b)
{
    for (int i = 0; i < kLaneSize; ++i) a.at[i] = static_cast<QZByte>(a.at[i] + b.at[i]);
    return a;
}
inline Lane Subtract(Lane a, const Lane& b)
{
    for (int i = 0; i < kLaneSize; ++i) a.at[i] = static_cast<QZByte>(a.at[i] - b.at[i]);
    return a;
}

inline QZUInt32 MaskOfEither(const Lane& lane, const Lane& a, const Lane& b)
{
    QZUInt32 mask = 0;
    for (int i = 0; i < kLaneSize; ++i) mask |= QZUInt32{lane.at[i] == a.at[i] || lane.at[i] == b.at[i]} << i;
    return mask;
}

inline int Least(const Lane& lane) { return *std::min_element(lane.at, lane.at + kLaneSize); }
inline int Most(const Lane& lane) { return *std::max_element(lane.at, lane.at + kLaneSize); }

inline Lane HalvesOf(const QZByte* packed)
{
    Lane lane;
    for (int i = 0; i < 8; ++i)
    {
        lane.at[2 * i] = static_cast<QZByte>(packed[i] >> 4);
        lane.at[2 * i + 1] = packed[i] & 15;
    }
    return lane;
}

template <int Index>
Lane PlaneOf(const Lane (&words)[4])
{
    Lane lane;
    for (int i = 0; i < kLaneSize; ++i) lane.at[i] = words[i / 4].at[i % 4 * 4 + Index];
    return lane;
}

inline void StoreWords(QZByte* target, const Lane& a, const Lane& b, const Lane& c, const Lane& d)
{
    for (int i = 0; i < kLaneSize; ++i)
    {
        target[4 * i] = a.at[i];
        target[4 * i + 1] = b.at[i];
        target[4 * i + 2] = c.at[i];
        target[4 * i + 3] = d.at[i];
    }
}

#endif

}  // namespace compression

#endif
