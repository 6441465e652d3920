#include "graphics/gr_palette.h"

#include "graphics/gr_layer.h"
#include "graphics/internal/gr_parts.h"

const QZInt64 QZColorPalette::Type;

namespace
{

QZInt64 Magnitude(int length) { return length < 0 ? -QZInt64{length} : length; }

/// One byte of the colour between two anchors, cut.
QZUInt32 Between(QZUInt32 first, QZUInt32 second, int shift, int place, int step)
{
    const auto from = static_cast<int>(first >> shift & 0xFF);
    const auto to = static_cast<int>(second >> shift & 0xFF);
    const float value = static_cast<float>(from) +
                        static_cast<float>(place) * static_cast<float>(to - from) / static_cast<float>(step);
    return (static_cast<QZUInt32>(static_cast<int>(value)) & 0xFF) << shift;
}

}  // namespace

QZColorPalette::QZColorPalette(QZCollection* colors, const QZPoint* location, const QZSize* size)
{
    Start(colors, location->GetX(), location->GetY(), size->GetWidth(), size->GetHeight());
}

QZColorPalette::QZColorPalette(QZCollection* colors, int x, int y, int height, int width)
{
    Start(colors, x, y, width, height);
}

void QZColorPalette::Start(QZCollection* colors, int x, int y, int width, int height)
{
    m_size = QZHoldLocked(new QZSize(width, height), GetObjectID());
    // The two are exchanged; hosts place their palettes with it.
    m_location = QZHoldLocked(new QZPoint(y, x), GetObjectID());
    m_colors = std::make_shared<QZCollection>(colors);
}

QZInt64 QZColorPalette::GetType() { return 0x81FFFF7; }

bool QZColorPalette::IsWide() const { return Magnitude(m_size->GetWidth()) > Magnitude(m_size->GetHeight()); }

int QZColorPalette::Length() const { return IsWide() ? m_size->GetWidth() : m_size->GetHeight(); }

unsigned int QZColorPalette::GetColor(int index)
{
    constexpr QZUInt32 kOpaque = 0xFF000000;
    const QZInt64 count = m_colors->Count();
    if (count < 1) return kOpaque;
    if (index < 0) index = 0;
    const int step = count > 1 ? static_cast<int>(Length() / (count - 1)) : 0;
    // Anchors without a pixel between them leave nothing but the end of the gradient.
    const QZInt64 segment = step == 0 ? count : index / step;
    if (segment + 2 > count) return static_cast<QZUInt32>(m_colors->GetElement(count - 1)) | kOpaque;
    const auto first = static_cast<QZUInt32>(m_colors->GetElement(segment));
    const auto second = static_cast<QZUInt32>(m_colors->GetElement(segment + 1));
    const int place = index % step;
    return kOpaque | Between(first, second, 16, place, step) | Between(first, second, 8, place, step) |
           Between(first, second, 0, place, step);
}

void QZColorPalette::Draw(QZGraphics* graphics)
{
    const bool wide = IsWide();
    const int across = (wide ? m_size->GetHeight() : m_size->GetWidth()) - 1;
    if (across < 0) return;
    QZShape shape;
    for (int i = 0; i < Length(); ++i)
    {
        const QZLine line(wide ? i : 0, wide ? 0 : i, wide ? i : across, wide ? across : i);
        shape.Add(&line, GetColor(i));
    }
    shape.MoveTo(m_location.get());
    graphics->Draw(&shape);
}
