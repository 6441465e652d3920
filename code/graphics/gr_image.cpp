#include "graphics/gr_image.h"

#include <algorithm>
#include <cstddef>

#include "graphics/gr_pixels.h"
#include "sys/internal/sys_processor.h"
#include "sys/sys_bytes.h"

namespace
{

using Byte = unsigned char;

/// Converts the elements one by one, from the first to the last.
template <typename From, typename To, typename Map>
void Convert(void* target, const void* source, QZInt64 count, Map map)
{
    auto* to = static_cast<Byte*>(target);
    const auto* from = static_cast<const Byte*>(source);
    for (QZInt64 i = 0; i < count; ++i)
        QZStore<To>(to + i * QZInt64{sizeof(To)}, map(QZLoad<From>(from + i * QZInt64{sizeof(From)})));
}

QZUInt32 SwapOuterColors(QZUInt32 pixel)
{
    return (pixel & 0xFF00FF00) | (pixel >> 16 & 0xFF) | (pixel & 0xFF) << 16;
}

QZUInt32 ReverseBytes(QZUInt32 pixel)
{
    return pixel >> 24 | (pixel >> 8 & 0xFF00) | (pixel & 0xFF00) << 8 | pixel << 24;
}

constexpr QZUInt32 kOpaque = 0xFF000000;

/// 16-bit pixels, each colour's upper bits; and back.
QZUInt16 To555(QZUInt32 pixel)
{
    return static_cast<QZUInt16>((pixel & 0xF80000) >> 9 | (pixel & 0xF800) >> 6 | (pixel & 0xF8) >> 3);
}

QZUInt16 To565(QZUInt32 pixel)
{
    return static_cast<QZUInt16>((pixel & 0xF80000) >> 8 | (pixel & 0xFC00) >> 5 | (pixel & 0xF8) >> 3);
}

QZUInt32 From555(QZUInt16 pixel)
{
    const QZUInt32 v = pixel;
    return kOpaque | (v & 31) * 8 | (v & 0x3E0) * 64 | (v & 0x7C00) << 9;
}

QZUInt32 From565(QZUInt16 pixel)
{
    const QZUInt32 v = pixel;
    return kOpaque | (v & 31) * 8 | (v & 0x7E0) * 32 | (v & 0xF800) << 8;
}

/// Three-byte pixels to words. Four pixels of three bytes are three words and make a group. The pixels after
/// the last whole group come first, then the groups from the last to the first, so that the conversion works
/// in place.
template <typename Map>
void Widen(void* target, const void* source, QZInt64 count, Map map)
{
    auto* to = static_cast<Byte*>(target);
    const auto* from = static_cast<const Byte*>(source);
    for (QZInt64 i = count - 1; i >= count / 4 * 4; --i)
    {
        const Byte* p = from + i * 3;
        QZStore<QZUInt32>(to + i * 4, map(p[0] | QZUInt32{p[1]} << 8 | QZUInt32{p[2]} << 16) | kOpaque);
    }
    for (QZInt64 group = count / 4 - 1; group >= 0; --group)
    {
        const Byte* p = from + group * 12;
        const auto a = QZLoad<QZUInt32>(p);
        const auto b = QZLoad<QZUInt32>(p + 4);
        const auto c = QZLoad<QZUInt32>(p + 8);
        Byte* q = to + group * 16;
        QZStore<QZUInt32>(q, map(a & 0xFFFFFF) | kOpaque);
        QZStore<QZUInt32>(q + 4, map((a >> 24 | b << 8) & 0xFFFFFF) | kOpaque);
        QZStore<QZUInt32>(q + 8, map((b >> 16 | c << 16) & 0xFFFFFF) | kOpaque);
        QZStore<QZUInt32>(q + 12, map(c >> 8) | kOpaque);
    }
}

/// Undoes Widen, from the first group to the last.
template <typename Map>
void Narrow(void* target, const void* source, QZInt64 count, Map map)
{
    auto* to = static_cast<Byte*>(target);
    const auto* from = static_cast<const Byte*>(source);
    for (QZInt64 group = 0; group < count / 4; ++group)
    {
        const Byte* p = from + group * 16;
        const QZUInt32 a = map(QZLoad<QZUInt32>(p)) & 0xFFFFFF;
        const QZUInt32 b = map(QZLoad<QZUInt32>(p + 4)) & 0xFFFFFF;
        const QZUInt32 c = map(QZLoad<QZUInt32>(p + 8)) & 0xFFFFFF;
        const QZUInt32 d = map(QZLoad<QZUInt32>(p + 12));
        Byte* q = to + group * 12;
        QZStore<QZUInt32>(q, a | b << 24);
        QZStore<QZUInt32>(q + 4, b >> 8 | c << 16);
        QZStore<QZUInt32>(q + 8, c >> 16 | d << 8);
    }
    for (QZInt64 i = count / 4 * 4; i < count; ++i)
    {
        const QZUInt32 pixel = map(QZLoad<QZUInt32>(from + i * 4));
        to[i * 3] = static_cast<Byte>(pixel);
        to[i * 3 + 1] = static_cast<Byte>(pixel >> 8);
        to[i * 3 + 2] = static_cast<Byte>(pixel >> 16);
    }
}

QZUInt32 Keep(QZUInt32 pixel) { return pixel; }

/// A fixed-point value with 10 fractional bits as a byte.
QZUInt32 Saturate(int value) { return static_cast<QZUInt32>(std::clamp(value >> 10, 0, 255)); }

QZUInt32 PixelOf(int y, int u, int v)
{
    const int luma = (y - 16) * 1192;
    const QZUInt32 blue = Saturate(luma + (u - 128) * 2066);
    const QZUInt32 green = Saturate(luma - (v - 128) * 833 - (u - 128) * 403);
    const QZUInt32 red = Saturate(luma + (v - 128) * 1634);
    return kOpaque | red << 16 | green << 8 | blue;
}

void ConvertGroup(Byte* to, const Byte* from)
{
    QZStore<QZUInt32>(to, PixelOf(from[0], from[1], from[3]));
    QZStore<QZUInt32>(to + 4, PixelOf(from[2], from[1], from[3]));
}

#if QZ_SSE2

/// Factors for _mm_madd_epi16 on pairs of 16-bit words.
__m128i Factors(int first, int second)
{
    return _mm_set1_epi32(static_cast<int>(static_cast<QZUInt32>(first & 0xFFFF) |
                                           static_cast<QZUInt32>(second & 0xFFFF) << 16));
}

/// Eight values of 10 fractional bits as bytes in the low half; the packing saturates to 0 and 255.
__m128i SaturateEight(__m128i low, __m128i high)
{
    const __m128i words = _mm_packs_epi32(_mm_srai_epi32(low, 10), _mm_srai_epi32(high, 10));
    return _mm_packus_epi16(words, words);
}

/// Four groups, eight pixels, at a time: the same sums of products as PixelOf.
void ConvertFourGroups(Byte* to, const Byte* from)
{
    const __m128i source = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i chroma = _mm_srli_epi16(source, 8);
    const __m128i uOnly = _mm_and_si128(chroma, _mm_set1_epi32(0xFFFF));
    const __m128i vOnly = _mm_srli_epi32(chroma, 16);
    const __m128i center = _mm_set1_epi16(128);
    const __m128i y = _mm_sub_epi16(_mm_and_si128(source, _mm_set1_epi16(0xFF)), _mm_set1_epi16(16));
    const __m128i u = _mm_sub_epi16(_mm_or_si128(uOnly, _mm_slli_epi32(uOnly, 16)), center);
    const __m128i v = _mm_sub_epi16(_mm_or_si128(vOnly, _mm_slli_epi32(vOnly, 16)), center);
    const __m128i zero = _mm_setzero_si128();
    const __m128i yuLow = _mm_unpacklo_epi16(y, u);
    const __m128i yuHigh = _mm_unpackhi_epi16(y, u);
    const __m128i forBlue = Factors(1192, 2066);
    const __m128i forGreen = Factors(1192, -403);
    const __m128i forGreenV = Factors(-833, 0);
    const __m128i forRed = Factors(1192, 1634);
    const __m128i blue = SaturateEight(_mm_madd_epi16(yuLow, forBlue), _mm_madd_epi16(yuHigh, forBlue));
    const __m128i green =
        SaturateEight(_mm_add_epi32(_mm_madd_epi16(yuLow, forGreen),
                                    _mm_madd_epi16(_mm_unpacklo_epi16(v, zero), forGreenV)),
                      _mm_add_epi32(_mm_madd_epi16(yuHigh, forGreen),
                                    _mm_madd_epi16(_mm_unpackhi_epi16(v, zero), forGreenV)));
    const __m128i red = SaturateEight(_mm_madd_epi16(_mm_unpacklo_epi16(y, v), forRed),
                                      _mm_madd_epi16(_mm_unpackhi_epi16(y, v), forRed));
    const __m128i blueGreen = _mm_unpacklo_epi8(blue, green);
    const __m128i redAlpha = _mm_unpacklo_epi8(red, _mm_set1_epi8(-1));
    auto* target = reinterpret_cast<__m128i*>(to);
    _mm_storeu_si128(target, _mm_unpacklo_epi16(blueGreen, redAlpha));
    _mm_storeu_si128(target + 1, _mm_unpackhi_epi16(blueGreen, redAlpha));
}

#else

void ConvertFourGroups(Byte* to, const Byte* from)
{
    for (int i = 0; i < 4; ++i) ConvertGroup(to + i * 8, from + i * 4);
}

#endif

}  // namespace

unsigned int QZImage::ARGB2ABGR(unsigned int pixel) { return SwapOuterColors(pixel); }

QZInt64 QZImage::ARGB2ABGR(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Convert<QZUInt32, QZUInt32>(target, source, size / 4, SwapOuterColors);
    return size;
}

QZInt64 QZImage::ABGR2ARGB(void* target, const void* source, QZInt64 size)
{
    return ARGB2ABGR(target, source, size);
}

QZInt64 QZImage::ABGR2RGBA(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Convert<QZUInt32, QZUInt32>(target, source, size / 4, ReverseBytes);
    return size;
}

QZInt64 QZImage::ABGR2BGRA(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr)
        Convert<QZUInt32, QZUInt32>(target, source, size / 4,
                                    [](QZUInt32 pixel) { return pixel << 8 | pixel >> 24; });
    return size;
}

QZInt64 QZImage::RGB2ABGR(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Widen(target, source, size / 3, SwapOuterColors);
    return size / 3 * 4;
}

QZInt64 QZImage::ABGR2RGB(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Narrow(target, source, size / 4, SwapOuterColors);
    return size / 4 * 3;
}

QZInt64 QZImage::BMP32ToBMP24(void* pixels, QZInt64 size) { return BMP32ToBMP24(pixels, pixels, size); }
QZInt64 QZImage::BMP24ToBMP32(void* pixels, QZInt64 size) { return BMP24ToBMP32(pixels, pixels, size); }

QZInt64 QZImage::BMP32ToBMP24(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Narrow(target, source, size / 4, Keep);
    return size / 4 * 3;
}

QZInt64 QZImage::BMP24ToBMP32(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Widen(target, source, size / 3, Keep);
    return size / 3 * 4;
}

unsigned short QZImage::ARGBToRGB555(unsigned int pixel) { return To555(pixel); }
unsigned short QZImage::ARGBToRGB565(unsigned int pixel) { return To565(pixel); }
unsigned int QZImage::RGB555ToARGB(unsigned short pixel) { return From555(pixel); }
unsigned int QZImage::RGB565ToARGB(unsigned short pixel) { return From565(pixel); }

QZInt64 QZImage::ARGBToRGB555(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Convert<QZUInt32, QZUInt16>(target, source, size / 4, To555);
    return size / 2;
}

QZInt64 QZImage::ARGBToRGB565(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Convert<QZUInt32, QZUInt16>(target, source, size / 4, To565);
    return size / 2;
}

QZInt64 QZImage::RGB555ToARGB(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Convert<QZUInt16, QZUInt32>(target, source, size / 2, From555);
    return size * 2;
}

QZInt64 QZImage::RGB565ToARGB(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr) Convert<QZUInt16, QZUInt32>(target, source, size / 2, From565);
    return size * 2;
}

QZInt64 QZImage::YUYV2ARGB(void* target, const void* source, QZInt64 size)
{
    if (source == nullptr) return 0;
    if (target == nullptr) return size * 2;
    auto* to = static_cast<Byte*>(target);
    const auto* from = static_cast<const Byte*>(source);
    const QZInt64 groups = size / 4;
    QZInt64 i = 0;
    for (; i + 4 <= groups; i += 4) ConvertFourGroups(to + i * 8, from + i * 4);
    for (; i < groups; ++i) ConvertGroup(to + i * 8, from + i * 4);
    return size * 2;
}

QZInt64 QZImage::YUYV2GRAY(void*, const void*, QZInt64)
{
    // No size leads to a conversion: other sizes than 0 were never converted, and a size of 0 has no pixels.
    // Callers take the result 0 as "no luma" and convert the colours instead.
    return 0;
}

QZInt64 QZImage::GRAY2ARGB(void* target, const void* source, QZInt64 pixels)
{
    if (target != nullptr)
        Convert<QZByte, QZUInt32>(target, source, pixels,
                                  [](QZByte v) { return kOpaque | v * QZUInt32{0x010101}; });
    return pixels * 4;
}

QZInt64 QZImage::ARGB2GRAY(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr)
        Convert<QZUInt32, QZByte>(target, source, size / 4, [](QZUInt32 p) {
            return static_cast<QZByte>(((p >> 16 & 0xFF) + 2 * (p >> 8 & 0xFF) + (p & 0xFF)) >> 2);
        });
    return size / 4;
}

QZInt64 QZImage::GRAY2YUYV(void* target, const void* source, QZInt64 size)
{
    if (target != nullptr)
        Convert<QZByte, QZUInt16>(target, source, size,
                                  [](QZByte v) { return static_cast<QZUInt16>(v | 0x8000); });
    return size * 2;
}

QZPixelBlock* QZImage::Rotate(QZPixelBlock* block, float degrees) { return block->Rotate(degrees); }

void QZImage::Recycle(QZPixelBlock** block) { QZPixelBlock::Recycle(block); }
