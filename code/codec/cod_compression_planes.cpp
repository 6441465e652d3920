#include "codec/internal/cod_compression_planes.h"

#include <emmintrin.h>

namespace compression
{

namespace
{

constexpr QZInt64 Step = 64;
constexpr QZInt64 Lane = 16;

__m128i Load(const QZByte* bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)); }

void Store(QZByte* bytes, __m128i value) { _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), value); }

/// Where the four planes of a buffer begin.
struct Starts
{
    explicit Starts(QZInt64 size) : at{0, (size + 3) / 4, 0, 0}
    {
        at[2] = at[1] + (size + 2) / 4;
        at[3] = at[2] + (size + 1) / 4;
    }
    QZInt64 at[4];
};

/// One byte of each of 16 words, by the shift that brings it down.
template <int Shift>
__m128i PlaneOf(const __m128i (&words)[4])
{
    const __m128i mask = _mm_set1_epi32(0xFF);
    const auto byte = [&](int i) { return _mm_and_si128(_mm_srli_epi32(words[i], Shift), mask); };
    return _mm_packus_epi16(_mm_packs_epi32(byte(0), byte(1)), _mm_packs_epi32(byte(2), byte(3)));
}

void SplitFour(const QZByte* source, QZInt64 size, QZByte* planes)
{
    const Starts starts(size);
    QZInt64 i = 0;
    for (; i + Step <= size; i += Step)
    {
        const __m128i words[4] = {Load(source + i), Load(source + i + Lane), Load(source + i + 2 * Lane),
                                  Load(source + i + 3 * Lane)};
        const QZInt64 at = i / 4;
        Store(planes + starts.at[0] + at, PlaneOf<0>(words));
        Store(planes + starts.at[1] + at, PlaneOf<8>(words));
        Store(planes + starts.at[2] + at, PlaneOf<16>(words));
        Store(planes + starts.at[3] + at, PlaneOf<24>(words));
    }
    for (; i < size; ++i) planes[starts.at[i % 4] + i / 4] = source[i];
}

}  // namespace

void SplitPlanes(const QZByte* source, QZInt64 size, QZInt64 count, QZByte* planes)
{
    if (count == 4)
    {
        SplitFour(source, size, planes);
        return;
    }
    for (QZInt64 j = 0; j < count; ++j)
        for (QZInt64 i = j; i < size; i += count) *planes++ = source[i];
}

void JoinFourPlanes(const QZByte* planes, QZInt64 size, QZByte* target)
{
    const Starts starts(size);
    QZInt64 i = 0;
    for (; i + Step <= size; i += Step)
    {
        const QZInt64 at = i / 4;
        const __m128i a = Load(planes + starts.at[0] + at);
        const __m128i b = Load(planes + starts.at[1] + at);
        const __m128i c = Load(planes + starts.at[2] + at);
        const __m128i d = Load(planes + starts.at[3] + at);
        const __m128i abLow = _mm_unpacklo_epi8(a, b);
        const __m128i abHigh = _mm_unpackhi_epi8(a, b);
        const __m128i cdLow = _mm_unpacklo_epi8(c, d);
        const __m128i cdHigh = _mm_unpackhi_epi8(c, d);
        Store(target + i, _mm_unpacklo_epi16(abLow, cdLow));
        Store(target + i + Lane, _mm_unpackhi_epi16(abLow, cdLow));
        Store(target + i + 2 * Lane, _mm_unpacklo_epi16(abHigh, cdHigh));
        Store(target + i + 3 * Lane, _mm_unpackhi_epi16(abHigh, cdHigh));
    }
    for (; i < size; ++i) target[i] = planes[starts.at[i % 4] + i / 4];
}

}  // namespace compression
