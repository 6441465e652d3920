#include "graphics/gr_pixels.h"
#include "graphics/gr_shape.h"
#include "graphics/internal/gr_geometry_word.h"
#include "graphics/internal/gr_pixels_transfer.h"

namespace
{

/// The index of a point's pixel, or -1. A shape whose area lies in the block is not cut at the right edge:
/// points outside its area appear in the next row.
template <bool Cut>
QZInt64 PlaceOf(QZUInt64 point, int width, int height)
{
    const int x = word::Low(point);
    const int y = word::High(point);
    if (y < 0 || y >= height) return -1;
    if (Cut && (x < 0 || x >= width)) return -1;
    const QZInt64 place = QZInt64{y} * width + x;
    return Cut || place < QZInt64{width} * height ? place : -1;
}

/// Points and colours from the last to the first.
template <bool Cut, typename Color>
void Paint(const pixels::Surface& target, const QZUInt64* points, QZInt64 count, Color colorAt)
{
    for (QZInt64 i = count; i >= 1; --i)
    {
        const QZInt64 place = PlaceOf<Cut>(points[i], target.width, target.height);
        if (place >= 0) target.pixels[place] = colorAt(i);
    }
}

template <typename Color>
void Paint(bool cut, const pixels::Surface& target, const QZUInt64* points, QZInt64 count, Color colorAt)
{
    if (cut)
        Paint<true>(target, points, count, colorAt);
    else
        Paint<false>(target, points, count, colorAt);
}

}  // namespace

void QZPixelBlock::Draw(QZShape* shape)
{
    constexpr QZUInt32 kPen = 0xFFFFFF;
    const QZInt64 count = shape->m_points->Count();
    const QZRectangle* area = shape->GetArea();
    if (!shape->m_draw || count <= 0 || area == nullptr) return;
    pixels::Area clipped{area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight()};
    const bool cut = pixels::Clip(&clipped, m_width, m_height);
    QZCollection* list = shape->GetColors();
    if (list->Count() != 0 && list->Count() != count)
    {
        list->NewLength(count, kPen);
        shape->m_mixedColors = 1;
    }
    const pixels::Surface target{m_pixels, m_width, m_height};
    const QZUInt64* points = shape->m_points->GetPointer();
    const QZUInt64* colors = list->GetPointer();
    const QZUInt32 pen = m_color;
    if (list->Count() == 0)
        Paint(cut, target, points, count, [pen](QZInt64) { return pen; });
    else if (!shape->m_mixedColors)
        Paint(cut, target, points, count, [colors](QZInt64 i) { return static_cast<QZUInt32>(colors[i]); });
    else
        Paint(cut, target, points, count, [colors, pen](QZInt64 i) {
            const auto color = static_cast<QZUInt32>(colors[i]);
            return color == kPen ? pen : color;
        });
}
