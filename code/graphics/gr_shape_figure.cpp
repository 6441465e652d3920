#include "graphics/gr_shape.h"

#include <algorithm>
#include <cmath>

#include "codec/cod_math.h"
#include "graphics/internal/gr_figure.h"

namespace
{

int AbsDifference(int a, int b) { return std::max(a, b) - std::min(a, b); }

/// Root of radius^2 - distance^2 + center: the centre is in it, so circles widen as it moves away from 0.
/// Hosts place their circles by what they look like, and these are the pixels that they get.
float HalfChord(float radius, float distance, float center)
{
    return QZMath::Sqrt(radius * radius - distance * distance + center);
}

/// Steps of 1 from a centre outward as long as a number can take them.
class Outward
{
public:
    Outward(float center, float radius) : m_place(center), m_end(center + radius) {}

    bool Inside() const { return m_place <= m_end; }
    float Place() const { return m_place; }
    void Next()
    {
        const float next = m_place + 1.0F;
        // Above 2^24 a step of 1 does not change the number.
        m_place = next > m_place ? next : INFINITY;
    }

private:
    float m_place;
    float m_end;
};

}  // namespace

void QZShape::Line(int x1, int y1, int x2, int y2)
{
    // No line leaves the first quadrant: what begins left of it begins at its edge, with another slope.
    x1 = std::max(x1, 0);
    y1 = std::max(y1, 0);
    x2 = std::max(x2, 0);
    y2 = std::max(y2, 0);
    AreaInclude(x1, y1);
    AreaInclude(x2, y2);
    const int left = std::min(x1, x2);
    const int top = std::min(y1, y2);
    const auto dx = static_cast<float>(AbsDifference(x1, x2));
    const auto dy = static_cast<float>(AbsDifference(y1, y2));
    // The steps too: past 2^24 a length in single precision may be more than the length.
    const auto steps = static_cast<QZInt64>(std::max(dx, dy));
    figure::Scratch points(std::max(steps, QZInt64{AbsDifference(x1, x2)} + AbsDifference(y1, y2)) + 3);
    if (x1 == x2)
    {
        for (QZInt64 y = top; y <= std::max(y1, y2); ++y) points.Add(x1, static_cast<int>(y));
    }
    else if (dy == 0.0F)
    {
        for (QZInt64 x = left; x <= std::max(x1, x2); ++x) points.Add(static_cast<int>(x), y1);
    }
    else
    {
        const figure::Slope slope(x1, y1, x2, y2);
        for (QZInt64 i = 0; i <= steps; ++i)
        {
            const int x = word::Add(left, static_cast<int>(i));
            const int y = word::Add(top, static_cast<int>(i));
            if (dx >= dy)
                points.Add(x, slope.YAt(x));
            else
                points.Add(slope.XAt(y), y);
        }
    }
    m_points->Append(points.Words());
}

void QZShape::LongLine(int x1, int y1, int x2, int y2, int width, int height)
{
    x1 = std::max(x1, 0);
    y1 = std::max(y1, 0);
    x2 = std::max(x2, 0);
    y2 = std::max(y2, 0);
    width = std::max(width, 0);
    height = std::max(height, 0);
    AreaInclude(0, 0);
    AreaInclude(width - 1, height - 1);
    const bool flat = x1 != x2 && AbsDifference(x1, x2) >= AbsDifference(y1, y2);
    figure::Scratch points(QZInt64{flat ? width : height} + 3);
    const figure::Slope slope(x1, y1, x2, y2);
    for (QZInt64 i = 0; i <= (flat ? width : height); ++i)
    {
        const int v = static_cast<int>(i);
        if (flat)
            points.Add(v, y1 == y2 ? y1 : slope.YAt(v));
        else
            points.Add(x1 == x2 ? x1 : slope.XAt(v), v);
    }
    m_points->Append(points.Words());
}

void QZShape::Ray(int x1, int y1, int x2, int y2, const QZSize* size)
{
    const int width = size->GetWidth();
    const int height = size->GetHeight();
    AreaInclude(0, 0);
    AreaInclude(word::Subtract(width, 1), word::Subtract(height, 1));
    const bool straight = x1 == x2 || y1 == y2;
    const bool flat = x1 != x2 && (y1 == y2 || AbsDifference(x1, x2) >= AbsDifference(y1, y2));
    const QZInt64 edge = flat ? width : height;
    const QZInt64 start = flat ? x1 : y1;
    const bool back = straight ? (flat ? x2 <= x1 : y2 <= y1) : (flat ? x1 > x2 : y1 > y2);
    // An upright or level ray has its start in it when it runs back to 0, a sloped one does not.
    const QZInt64 from = std::max<QZInt64>(back ? 0 : start, 0);
    const QZInt64 to = straight && back ? start + 1 : std::min(back ? start : edge, edge);
    figure::Scratch points(std::max<QZInt64>(to - from, 0) + 3);
    const figure::Slope slope(x1, y1, x2, y2);
    for (QZInt64 i = from; i < to; ++i)
    {
        const int v = static_cast<int>(i);
        if (flat)
            points.Add(v, straight ? y1 : slope.YAt(v));
        else
            points.Add(straight ? x1 : slope.XAt(v), v);
    }
    m_points->Append(points.Words());
}

void QZShape::FilledRectangle(int x, int y, int width, int height)
{
    AreaInclude(x, y, width, height);
    if (width <= 0 || height <= 0) return;
    const QZInt64 count = m_points->Count();
    m_points->NewLength(count + QZInt64{width} * height);
    QZUInt64* point = m_points->GetPointer() + count + 1;
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
            *point++ = word::Pack(word::Add(x, column), word::Add(y, row));
}

void QZShape::CircleOutline(float cx, float cy, float radius)
{
    using word::Truncate;
    for (Outward y(cy, radius); y.Inside(); y.Next())
    {
        const int below = Truncate(y.Place());
        const int above = Truncate(cy + (cy - y.Place()));
        const int x = Truncate(cx + HalfChord(radius, y.Place() - cy, cx));
        m_points->Add(x, above);
        m_points->Add(x, below);
        // Two whole values as points: they end up on the first row, at the column of that value. Pictures
        // show them there.
        m_points->Add(static_cast<QZUInt64>(QZInt64{below}));
        m_points->Add(static_cast<QZUInt64>(QZInt64{above}));
    }
    for (Outward x(cx, radius); x.Inside(); x.Next())
    {
        const int right = Truncate(x.Place());
        const int left = Truncate(cx + (cx - x.Place()));
        const float half = HalfChord(radius, x.Place() - cx, cy);
        m_points->Add(right, Truncate(cy + half));
        m_points->Add(right, Truncate(cy - half));
        m_points->Add(left, Truncate(cy - half));
        m_points->Add(left, Truncate(cy + half));
    }
}

void QZShape::FilledCircle(float cx, float cy, float radius)
{
    using word::Truncate;
    Outward x(cx, radius);
    for (Outward y(cy, radius); y.Inside() && x.Inside(); y.Next(), x.Next())
    {
        const int below = Truncate(y.Place());
        const int above = Truncate(cy + (cy - y.Place()));
        const int right = Truncate(x.Place());
        const int left = Truncate(cx + (cx - x.Place()));
        const float halfX = HalfChord(radius, y.Place() - cy, cx);
        const float halfY = HalfChord(radius, x.Place() - cx, cy);
        Line(Truncate(cx + halfX), above, Truncate(cx + halfX), below);
        Line(Truncate(cx - halfX), below, Truncate(cx - halfX), above);
        Line(right, Truncate(cy + halfY), right, Truncate(cy - halfY));
        Line(left, Truncate(cy - halfY), left, Truncate(cy + halfY));
    }
}
