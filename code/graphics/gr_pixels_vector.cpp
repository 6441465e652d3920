#include "graphics/internal/gr_pixels_vector.h"

#include <algorithm>

#include "sys/internal/sys_processor.h"
#if QZ_SSE2
#include <immintrin.h>
#endif

namespace pixels
{
namespace
{

/// Pixels of one step of the widest form.
constexpr QZInt64 kStep = 8;

/// From this number of bytes on, the processor's string store is faster than a loop: it writes whole cache
/// lines without reading them first.
constexpr QZInt64 kLongFill = 2048;

void BlendPlain(QZUInt32* target, const QZUInt32* source, QZInt64 count)
{
    for (QZInt64 i = count - 1; i >= 0; --i) target[i] = Blend(target[i], source[i]);
}

#if QZ_SSE2

// A colour becomes d * 256 + a * (s - d), shifted right by 8, and the target's alpha A becomes
// a + ((255 - a) * A >> 8), which is A * 255 + a * (256 - A), shifted right by 8. So one formula serves all
// four channels: the alpha channel has 256 as its source value and 255 instead of 256 as the factor of its
// target value. The sum before the shift lies between 0 and 65535, so 16 bits hold it even when a part of it
// overflows.

/// Two pixels in words of 16 bits.
__m128i BlendTwo(__m128i target, __m128i source)
{
    const __m128i colors = _mm_set_epi16(0, -1, -1, -1, 0, -1, -1, -1);
    const __m128i alphaOne = _mm_set_epi16(256, 0, 0, 0, 256, 0, 0, 0);
    const __m128i factors = _mm_set_epi16(255, 256, 256, 256, 255, 256, 256, 256);
    const __m128i alpha = _mm_shufflehi_epi16(_mm_shufflelo_epi16(source, 0xFF), 0xFF);
    const __m128i over = _mm_or_si128(_mm_and_si128(source, colors), alphaOne);
    const __m128i sum =
        _mm_add_epi16(_mm_mullo_epi16(target, factors), _mm_mullo_epi16(alpha, _mm_sub_epi16(over, target)));
    return _mm_srli_epi16(sum, 8);
}

void BlendSse2(QZUInt32* target, const QZUInt32* source, QZInt64 count)
{
    const __m128i zero = _mm_setzero_si128();
    QZInt64 i = count;
    for (; i >= 4; i -= 4)
    {
        const __m128i s = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + i - 4));
        auto* to = reinterpret_cast<__m128i*>(target + i - 4);
        const __m128i d = _mm_loadu_si128(to);
        const __m128i low = BlendTwo(_mm_unpacklo_epi8(d, zero), _mm_unpacklo_epi8(s, zero));
        const __m128i high = BlendTwo(_mm_unpackhi_epi8(d, zero), _mm_unpackhi_epi8(s, zero));
        _mm_storeu_si128(to, _mm_packus_epi16(low, high));
    }
    BlendPlain(target, source, i);
}

/// Four pixels: target and source in words of 16 bits, the source's alpha already 256.
__attribute__((target("avx2"))) inline __m256i BlendFour(__m256i target, __m256i source, __m256i alpha)
{
    const __m256i factors =
        _mm256_set_epi16(255, 256, 256, 256, 255, 256, 256, 256, 255, 256, 256, 256, 255, 256, 256, 256);
    const __m256i sum = _mm256_add_epi16(_mm256_mullo_epi16(target, factors),
                                         _mm256_mullo_epi16(alpha, _mm256_sub_epi16(source, target)));
    return _mm256_srli_epi16(sum, 8);
}

__attribute__((target("avx2"))) inline __m256i BlendEight(__m256i target, __m256i source)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i alphaOne = _mm256_set1_epi32(0x01000000);
    const __m256i alphaLow =
        _mm256_broadcastsi128_si256(_mm_set_epi8(-1, 7, -1, 7, -1, 7, -1, 7, -1, 3, -1, 3, -1, 3, -1, 3));
    const __m256i alphaHigh = _mm256_broadcastsi128_si256(
        _mm_set_epi8(-1, 15, -1, 15, -1, 15, -1, 15, -1, 11, -1, 11, -1, 11, -1, 11));
    const __m256i colors = _mm256_and_si256(source, _mm256_set1_epi32(0xFFFFFF));
    const __m256i low = BlendFour(_mm256_unpacklo_epi8(target, zero), _mm256_unpacklo_epi8(colors, alphaOne),
                                  _mm256_shuffle_epi8(source, alphaLow));
    const __m256i high = BlendFour(_mm256_unpackhi_epi8(target, zero), _mm256_unpackhi_epi8(colors, alphaOne),
                                   _mm256_shuffle_epi8(source, alphaHigh));
    return _mm256_packus_epi16(low, high);
}

__attribute__((target("avx2"))) inline __m256i LoadEight(const QZUInt32* from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

__attribute__((target("avx2"))) inline void StoreEight(QZUInt32* to, __m256i pixels)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), pixels);
}

/// Prefetches pixels that a loop from right to left reads some steps later. The address may lie before the
/// first pixel; a prefetch does not read it.
inline void Prefetch(const QZUInt32* place)
{
    _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<QZUInt64>(place) - 1024), _MM_HINT_T0);
}

__attribute__((target("avx2"))) void BlendAvx2(QZUInt32* target, const QZUInt32* source, QZInt64 count)
{
    QZInt64 i = count;
    for (; i >= 2 * kStep; i -= 2 * kStep)
    {
        Prefetch(source + i);
        Prefetch(target + i);
        QZUInt32* right = target + i - kStep;
        StoreEight(right, BlendEight(LoadEight(right), LoadEight(source + i - kStep)));
        QZUInt32* left = right - kStep;
        StoreEight(left, BlendEight(LoadEight(left), LoadEight(source + i - 2 * kStep)));
    }
    if (i >= kStep)
    {
        i -= kStep;
        StoreEight(target + i, BlendEight(LoadEight(target + i), LoadEight(source + i)));
    }
    if (i == 0) return;
    if (count < kStep) return BlendSse2(target, source, i);
    // The remaining pixels, in one step with some that are done already and keep their value. A masked store
    // costs as much as ten whole ones.
    const __m256i rest =
        _mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int>(i)), _mm256_set_epi32(7, 6, 5, 4, 3, 2, 1, 0));
    const __m256i d = LoadEight(target);
    StoreEight(target, _mm256_blendv_epi8(d, BlendEight(d, LoadEight(source)), rest));
}

__attribute__((target("avx2"))) void CopyAvx2(QZUInt32* target, const QZUInt32* source, QZInt64 count,
                                              bool past)
{
    QZInt64 i = 0;
    // After the first step the loop goes on from a multiple of 32 bytes, so that none of its stores crosses a
    // cache line.
    if (count >= kStep)
    {
        StoreEight(target, LoadEight(source));
        i = kStep - static_cast<QZInt64>(reinterpret_cast<QZUInt64>(target) % 32 / 4);
    }
    // A streaming store needs an aligned address; pixels that are not aligned to 4 bytes never reach one.
    const bool stream = past && reinterpret_cast<QZUInt64>(target + i) % 32 == 0;
    for (; i + 2 * kStep <= count; i += 2 * kStep)
    {
        const __m256i first = LoadEight(source + i);
        const __m256i second = LoadEight(source + i + kStep);
        if (stream)
        {
            _mm256_stream_si256(reinterpret_cast<__m256i*>(target + i), first);
            _mm256_stream_si256(reinterpret_cast<__m256i*>(target + i + kStep), second);
        }
        else
        {
            StoreEight(target + i, first);
            StoreEight(target + i + kStep, second);
        }
    }
    if (stream) _mm_sfence();
    for (; i < count; ++i) target[i] = source[i];
}

void ColorSse2(QZUInt32* first, QZInt64 count, QZUInt32 color)
{
    const __m128i colors = _mm_set1_epi32(static_cast<int>(color));
    QZInt64 i = 0;
    for (; i + 4 <= count; i += 4) _mm_storeu_si128(reinterpret_cast<__m128i*>(first + i), colors);
    for (; i < count; ++i) first[i] = color;
}

__attribute__((target("avx2"))) void ColorAvx2(QZUInt32* first, QZInt64 count, QZUInt32 color)
{
    const __m256i colors = _mm256_set1_epi32(static_cast<int>(color));
    QZInt64 i = 0;
    for (; i + kStep <= count; i += kStep) StoreEight(first + i, colors);
    if (i < count && count >= kStep)
        StoreEight(first + count - kStep, colors);
    else
        for (; i < count; ++i) first[i] = color;
}

void ColorLong(QZUInt32* first, QZInt64 count, QZUInt32 color)
{
    if (count % 2 != 0) *first++ = color;
    const QZUInt64 two = color | static_cast<QZUInt64>(color) << 32;
    QZInt64 words = count / 2;
    __asm__ volatile("rep stosq" : "+D"(first), "+c"(words) : "a"(two) : "memory");
}

#else

// Without these instructions BestForm returns Form::Plain, so only callers that name a form reach these.

void BlendSse2(QZUInt32* target, const QZUInt32* source, QZInt64 count) { BlendPlain(target, source, count); }
void BlendAvx2(QZUInt32* target, const QZUInt32* source, QZInt64 count) { BlendPlain(target, source, count); }
void CopyAvx2(QZUInt32* target, const QZUInt32* source, QZInt64 count, bool)
{
    std::copy_n(source, count, target);
}
void ColorSse2(QZUInt32* first, QZInt64 count, QZUInt32 color) { std::fill_n(first, count, color); }
void ColorAvx2(QZUInt32* first, QZInt64 count, QZUInt32 color) { std::fill_n(first, count, color); }
void ColorLong(QZUInt32* first, QZInt64 count, QZUInt32 color) { std::fill_n(first, count, color); }

#endif

}  // namespace

bool HasForm(Form form)
{
    if (form == Form::Avx2) return processor::HasAvx2();
    return form == Form::Plain || QZ_SSE2 != 0;
}

Form BestForm()
{
    static const Form kBest = HasForm(Form::Avx2)   ? Form::Avx2
                              : HasForm(Form::Sse2) ? Form::Sse2
                                                    : Form::Plain;
    return kBest;
}

QZUInt32 Blend(QZUInt32 target, QZUInt32 source)
{
    const int alpha = static_cast<int>(source >> 24);
    QZUInt32 result = 0;
    for (int shift = 0; shift < 24; shift += 8)
    {
        const int d = static_cast<int>(target >> shift & 0xFF);
        const int s = static_cast<int>(source >> shift & 0xFF);
        result |= (static_cast<QZUInt32>((alpha * (s - d) + d * 256) >> 8) & 0xFF) << shift;
    }
    const int below = static_cast<int>(target >> 24);
    return result | static_cast<QZUInt32>(alpha + (((255 - alpha) * below) >> 8)) << 24;
}

void BlendRun(Form form, QZUInt32* target, const QZUInt32* source, QZInt64 count)
{
    // When the source begins less than one step to the right of its target, each pixel is read after it was
    // written. Only the plain form does that.
    const bool together = source > target && source < target + kStep;
    if (together || form == Form::Plain)
        BlendPlain(target, source, count);
    else if (form == Form::Avx2)
        BlendAvx2(target, source, count);
    else
        BlendSse2(target, source, count);
}

void CopyRun(Form form, QZUInt32* target, const QZUInt32* source, QZInt64 count, bool past)
{
    if (form != Form::Avx2)
        std::copy_n(source, count, target);
    else
        CopyAvx2(target, source, count, past);
}

void ColorRun(Form form, QZUInt32* first, QZInt64 count, QZUInt32 color)
{
    if (form == Form::Plain)
        std::fill_n(first, count, color);
    else if (count * 4 >= kLongFill)
        ColorLong(first, count, color);
    else if (form == Form::Avx2)
        ColorAvx2(first, count, color);
    else
        ColorSse2(first, count, color);
}

}  // namespace pixels
