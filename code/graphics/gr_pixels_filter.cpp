#include <algorithm>

#include "codec/cod_math.h"
#include "codec/cod_random.h"
#include "fw/internal/fw_raise.h"
#include "graphics/gr_pixels.h"
#include "graphics/internal/gr_geometry_word.h"

namespace
{

/// The neighbour's colour bytes, moved by step where they are further than threshold from the centre's.
QZUInt32 Approach(QZUInt32 neighbor, QZUInt32 center, QZInt64 threshold, int step)
{
    for (int shift = 0; shift < 24; shift += 8)
    {
        const int n = static_cast<int>(neighbor >> shift & 0xFF);
        const int c = static_cast<int>(center >> shift & 0xFF);
        const int distance = n - c;
        if (distance >= -threshold && distance <= threshold) continue;
        int moved = n;
        if (n <= c && n < 255 - step) moved = n + step;
        if (n > c && n > step) moved = n - step;
        neighbor = (neighbor & ~(0xFFU << shift)) | static_cast<QZUInt32>(moved) << shift;
    }
    return neighbor;
}

/// The mean colour of pixels, each weighted by its alpha.
class WeightedMean
{
public:
    void Add(QZUInt32 pixel)
    {
        const QZInt64 alpha = pixel >> 24;
        m_alpha += alpha;
        for (int i = 0; i < 3; ++i) m_colors[i] += (pixel >> (8 * i) & 0xFF) * alpha;
    }

    QZUInt32 Get(int samples) const
    {
        if (m_alpha == 0) return 0;
        auto result = static_cast<QZUInt32>(m_alpha / samples) << 24;
        for (int i = 0; i < 3; ++i) result |= static_cast<QZUInt32>(m_colors[i] / m_alpha) << (8 * i);
        return result;
    }

private:
    QZInt64 m_alpha = 0;
    QZInt64 m_colors[3] = {};
};

/// A co-ordinate moved by a distance, cut to a whole number and kept inside.
int Moved(int place, float distance, int size)
{
    return std::clamp(word::Truncate(static_cast<float>(place) + distance), 0, size - 1);
}

}  // namespace

QZPixelBlock* QZPixelBlock::FrostedEffect(int innerRadius, int outerRadius, int samples)
{
    // Both faults together are refused; hosts pass either one alone.
    if (innerRadius > outerRadius && samples < 1)
        QZRaise(QZExceptionCode::ArgumentOutOfRange, QZ_W("QZPixelBlock"), QZ_W("FrostedEffect"))
            .Argument(QZ_W("QZInt32"), innerRadius)
            .Argument(QZ_W("QZInt32"), outerRadius)
            .Argument(QZ_W("QZInt32"), samples)
            .Throw();
    auto result = std::make_unique<QZPixelBlock>(m_width, m_height);
    QZRandom random(0);
    for (int y = 0; y < m_height; ++y)
    {
        for (int x = 0; x < m_width; ++x)
        {
            WeightedMean mean;
            for (int i = 0; i < samples; ++i)
            {
                const auto radius = static_cast<float>(random.NextQZInt32(innerRadius, outerRadius));
                const float angle = static_cast<float>(random.NextQZInt32(0, 360)) * 0.017453292F;
                const int row = Moved(y, QZMath::Sin(angle) * radius, m_height);
                const int column = Moved(x, QZMath::Cos(angle) * radius, m_width);
                mean.Add(m_rows[row][column]);
            }
            result->m_rows[y][x] = mean.Get(samples);
        }
    }
    return result.release();
}

void QZPixelBlock::Bright()
{
    for (int y = 0; y < m_height; ++y)
    {
        for (int x = 0; x < m_width; ++x)
        {
            const QZUInt32 pixel = GetPixel(x, y);
            QZUInt32 bright = pixel & 0xFF000000;
            for (int shift = 0; shift < 24; shift += 8) bright |= (((pixel >> shift) + 100) & 0xFF) << shift;
            // Row 0 and column 0 stay as they are, since SetPixel refuses them.
            SetPixel(x, y, bright);
        }
    }
}

void QZPixelBlock::Smooth(unsigned int threshold, unsigned char step)
{
    for (int y = 1; y < m_height - 1; ++y)
    {
        // The right neighbour of the last column is the first pixel of the next row.
        for (int x = 1; x < m_width; ++x)
        {
            QZUInt32* center = m_rows[y] + x;
            for (QZUInt32* neighbor : {center - 1, center + 1, center - m_width, center + m_width})
                *neighbor = Approach(*neighbor, *center, threshold, step);
        }
    }
}

void QZPixelBlock::Mosaic(int cell)
{
    if (cell <= 0 || cell > m_width || cell > m_height) return;
    MosaicCells(0, 0, m_width, m_height, cell);
}

void QZPixelBlock::Mosaic(const QZRectangle* area, int cell)
{
    const int x = area->GetX();
    const int y = area->GetY();
    const int width = area->GetWidth();
    const int height = area->GetHeight();
    if (cell <= 0 || cell > width || cell > height || x < 0 || y < 0 || QZInt64{x} + width > m_width ||
        QZInt64{y} + height > m_height)
        return;
    // Width and height end the walk as if they were the right and bottom edge.
    MosaicCells(x, y, width, height, cell);
}

void QZPixelBlock::MosaicCells(int left, int top, int right, int bottom, int cell)
{
    for (QZInt64 y = top; y < bottom; y += cell)
        for (QZInt64 x = left; x < right; x += cell)
            MosaicCell(static_cast<int>(x), static_cast<int>(y), cell);
}

/// The block cuts a cell, the area does not.
void QZPixelBlock::MosaicCell(int x, int y, int cell)
{
    const int right = static_cast<int>(std::min<QZInt64>(QZInt64{x} + cell, m_width));
    const int bottom = static_cast<int>(std::min<QZInt64>(QZInt64{y} + cell, m_height));
    QZUInt64 sums[4] = {};
    for (int row = y; row < bottom; ++row)
        for (int column = x; column < right; ++column)
            for (int i = 0; i < 4; ++i) sums[i] += m_rows[row][column] >> (8 * i) & 0xFF;
    const QZUInt64 count = static_cast<QZUInt64>(right - x) * static_cast<QZUInt64>(bottom - y);
    QZUInt32 mean = 0;
    for (int i = 0; i < 4; ++i) mean |= static_cast<QZUInt32>(sums[i] / count) << (8 * i);
    for (int row = y; row < bottom; ++row) std::fill(m_rows[row] + x, m_rows[row] + right, mean);
}
