#include "graphics/gr_pixels_transfer.h"

#include <emmintrin.h>

#include <algorithm>

#include "fw/fw_memory.h"

namespace pixels
{
namespace
{

/// What a row can still take before the surface ends. A row that is wider than what is left of its line runs
/// on into the lines below.
QZInt64 RunLength(const Surface& surface, QZInt64 start, int width)
{
    return std::min<QZInt64>(width, surface.Count() - start);
}

void CopyRun(QZUInt32* target, const QZUInt32* source, QZInt64 count)
{
    const bool apart = target + count <= source || source + count <= target;
    if (apart)
        QZMemCopy(target, source, count * 4);
    else if (target != source)
        QZMemMove(target, source, count * 4);
}

/// Blend of two pixels, a 16-bit word for each byte.
///
/// a * (s - d) + d * 256 is a * s + (256 - a) * d, which is never negative and fits its word. Alpha is
/// weighted with one less, and the source's own alpha comes on top.
__m128i BlendPair(__m128i target, __m128i source)
{
    const __m128i alphaWord = _mm_set_epi16(-1, 0, 0, 0, -1, 0, 0, 0);
    const __m128i weights = _mm_set_epi16(255, 256, 256, 256, 255, 256, 256, 256);
    const __m128i alpha = _mm_shufflehi_epi16(_mm_shufflelo_epi16(source, 0xFF), 0xFF);
    const __m128i below = _mm_mullo_epi16(_mm_sub_epi16(weights, alpha), target);
    const __m128i above = _mm_mullo_epi16(alpha, _mm_andnot_si128(alphaWord, source));
    return _mm_add_epi16(_mm_srli_epi16(_mm_add_epi16(below, above), 8), _mm_and_si128(alphaWord, source));
}

/// The same for four pixels.
void BlendFour(QZUInt32* target, const QZUInt32* source)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(target));
    const __m128i s = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
    const __m128i low = BlendPair(_mm_unpacklo_epi8(d, zero), _mm_unpacklo_epi8(s, zero));
    const __m128i high = BlendPair(_mm_unpackhi_epi8(d, zero), _mm_unpackhi_epi8(s, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm_packus_epi16(low, high));
}

/// From right to left: that is what a block sees that is blended into itself.
void BlendRun(QZUInt32* target, const QZUInt32* source, QZInt64 count)
{
    const bool apart = target + count <= source || source + count <= target;
    for (; apart && count >= 8; count -= 8)
    {
        BlendFour(target + count - 4, source + count - 4);
        BlendFour(target + count - 8, source + count - 8);
    }
    for (QZInt64 i = count - 1; i >= 0; --i) target[i] = Blend(target[i], source[i]);
}

/// Half of each colour byte of both words; the first one's alpha.
QZUInt32 Average(QZUInt32 p, QZUInt32 q)
{
    return (p & 0xFF000000) | (((p & 0xFEFEFE) >> 1) + ((q & 0xFEFEFE) >> 1));
}

/// Draws the pixel at `place` together with the columns first to last of its row.
void AverageRun(const Surface& source, QZInt64 place, QZInt64 row, QZInt64 first, QZInt64 last)
{
    for (QZInt64 i = first; i <= last; ++i)
    {
        const QZInt64 other = row + i;
        if (other >= source.Count()) return;
        source.pixels[place] = Average(source.pixels[place], source.pixels[other]);
    }
}

}  // namespace

QZInt64 BufferSize(int width, int height)
{
    constexpr QZInt64 kPixelLimit = QZInt64{1} << 57;
    if (width < 0 || height < 0) return -1;
    const QZInt64 count = QZInt64{width} * height;
    return QZInt64{8} * height + 4 * std::min(count, kPixelLimit);
}

bool Clip(Area* area, int width, int height)
{
    const Area before = *area;
    // Only y wraps around; callers that scroll downwards draw with a y that keeps growing.
    if (height != 0 && area->y > height) area->y %= height;
    if (QZInt64{area->x} + area->width > width) area->width = static_cast<int>(QZInt64{width} - area->x);
    if (QZInt64{area->y} + area->height > height) area->height = static_cast<int>(QZInt64{height} - area->y);
    area->x = std::max(area->x, 0);
    area->y = std::max(area->y, 0);
    area->width = std::max(area->width, 0);
    area->height = std::max(area->height, 0);
    return area->x != before.x || area->y != before.y || area->width != before.width ||
           area->height != before.height;
}

QZInt64 Transfer(const Surface& target, Area* area, const Surface& source, int sourceX, int sourceY,
                 bool overwrite)
{
    Clip(area, target.width, target.height);
    Area from{sourceX, sourceY, area->width, area->height};
    Clip(&from, source.width, source.height);
    area->width = from.width;
    area->height = from.height;
    for (QZInt64 row = 0; row < area->height; ++row)
    {
        const QZInt64 to = (area->y + row) * target.width + area->x;
        const QZInt64 at = (from.y + row) * source.width + from.x;
        const QZInt64 count =
            std::min(RunLength(target, to, area->width), RunLength(source, at, area->width));
        if (count <= 0) break;
        if (overwrite)
            CopyRun(target.pixels + to, source.pixels + at, count);
        else
            BlendRun(target.pixels + to, source.pixels + at, count);
    }
    return static_cast<QZInt64>(QZUInt64{4} * static_cast<QZUInt64>(area->width) *
                                static_cast<QZUInt64>(area->height));
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

void FillRun(QZUInt32* first, QZInt64 count, QZUInt32 color)
{
    if (count <= 0) return;
    if (color == 0)
        QZMemClean(first, count * 4);
    else
        std::fill_n(first, count, color);
}

void Resample(const Surface& source, const Surface& target)
{
    if (source.Count() <= 0 || target.Count() <= 0) return;
    const float stepX = static_cast<float>(source.width) / static_cast<float>(target.width);
    const float stepY = static_cast<float>(source.height) / static_cast<float>(target.height);
    // The column and the row just done. The column is not set back at the end of a row: the first column of
    // each row is compared with the last one of the row above.
    QZInt64 doneColumn = 0;
    QZInt64 doneRow = 0;
    float placeY = 0;
    QZUInt32* out = target.pixels;
    for (int y = 0; y < target.height; ++y)
    {
        const auto sourceRow = static_cast<QZInt64>(placeY);
        const QZInt64 row = sourceRow * source.width;
        float placeX = 0;
        for (int x = 0; x < target.width; ++x)
        {
            const auto column = static_cast<QZInt64>(placeX);
            const QZInt64 place = std::min(row + column, source.Count() - 1);
            if (doneColumn != 0 && doneColumn + 1 != x)
                AverageRun(source, place, row, doneColumn + 1, column);
            // The rows that were skipped count as columns: pictures keep the look they have always had.
            if (doneRow != 0 && doneRow + 1 != y) AverageRun(source, place, row, doneRow + 1, sourceRow);
            *out++ = source.pixels[place];
            doneColumn = column;
            placeX += stepX;
        }
        doneRow = sourceRow;
        placeY += stepY;
    }
}

}  // namespace pixels
