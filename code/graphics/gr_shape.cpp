#include "graphics/gr_shape.h"

#include <algorithm>

#include "codec/cod_math.h"
#include "fw/fw_library.h"
#include "graphics/gr_graphics_factory.h"
#include "graphics/internal/gr_geometry_word.h"
#include "graphics/internal/gr_parts.h"

const QZInt64 QZShape::Type;

namespace
{

int Half(int length) { return length >> 1; }

}  // namespace

QZShape::QZShape()
    : m_points(QZHoldLocked(new QZPointCollection(), GetObjectID())),
      m_colors(QZHoldLocked(new QZCollection(), GetObjectID())),
      m_location(QZHoldLocked(new QZPoint(), GetObjectID()))
{}

QZShape::QZShape(QZString* text) : QZShape() { Add(text); }

QZShape::QZShape(unsigned char duplicates) : QZShape() { m_points->m_duplicatesAllowed = duplicates; }

QZShape::QZShape(QZPointCollection* points) : QZShape() { m_points->Append(points); }

QZShape::QZShape(QZShape* other) : QZShape() { Copy(other); }

void QZShape::Copy(QZShape* other)
{
    Clear();
    m_defaultColor = other->m_defaultColor;
    m_mixedColors = other->m_mixedColors;
    m_draw = other->m_draw;
    m_points->m_duplicatesAllowed = 1;
    m_points->Append(other->m_points.get());
    m_points->m_duplicatesAllowed = other->m_points->m_duplicatesAllowed;
    m_colors->Append(other->m_colors.get());
    m_location->Set(other->m_location.get());
    if (other->m_area == nullptr) return;
    Area(0, 0)->Set(other->m_area->GetX(), other->m_area->GetY(), other->m_area->GetWidth(),
                    other->m_area->GetHeight());
    m_area->Fill = other->m_area->Fill;
}

QZInt64 QZShape::GetType() { return 0x81FFFF1; }

/// The area; a new one begins at the point, without a size.
QZRectangle* QZShape::Area(int x, int y)
{
    if (m_area == nullptr)
    {
        m_area = QZHoldLocked(new QZRectangle(), GetObjectID());
        m_area->Set(x, y, 0, 0);
    }
    return m_area.get();
}

void QZShape::AreaInclude(int x, int y) { Area(x, y)->Include(x, y); }
void QZShape::AreaInclude(int x, int y, int width, int height) { Area(x, y)->Include(x, y, width, height); }

/// The points from number `from` up to number `to` get a colour.
void QZShape::ColorSet(QZInt64 from, QZInt64 to, unsigned int color)
{
    if (m_colors->Count() < from)
    {
        m_colors->NewLength(from, m_defaultColor);
        m_mixedColors = 1;
    }
    m_colors->NewLength(to, color);
}

void QZShape::Add(QZUInt64 point)
{
    AreaInclude(word::Low(point), word::High(point));
    m_points->Add(point);
}

void QZShape::Add(const QZPoint* point) { Add(point->GetUInt64()); }
void QZShape::Add(const QZPoint* point, unsigned int color)
{
    Colored(color, [&] { Add(point); });
}

void QZShape::Add(const QZCrossMark* mark)
{
    Add(mark->GetLine1());
    Add(mark->GetLine2());
}
void QZShape::Add(const QZCrossMark* mark, unsigned int color)
{
    Colored(color, [&] { Add(mark); });
}

void QZShape::Add(QZShape* other)
{
    if (other == this)
    {
        const auto giveBack = [](QZShape* shape) { QZGraphicsFactory::Recycle(&shape); };
        const std::unique_ptr<QZShape, decltype(giveBack)> copy(QZGraphicsFactory::CreateShape(other),
                                                                giveBack);
        Add(copy.get());
        return;
    }
    if (other->m_colors->Count() > 0)
    {
        m_colors->NewLength(m_points->Count(), m_defaultColor);
        m_colors->Append(other->m_colors.get());
    }
    m_points->Append(other->m_points.get());
    if (const QZRectangle* area = other->GetArea())
        AreaInclude(area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight());
}

void QZShape::Add(const QZLine* line) { Line(line->GetX1(), line->GetY1(), line->GetX2(), line->GetY2()); }
void QZShape::Add(const QZLine* line, unsigned int color)
{
    Colored(color, [&] { Add(line); });
}
void QZShape::Add(const QZLine* line, const QZSize*) { Add(line); }

void QZShape::Add(const QZRectangle* rectangle)
{
    const int x = rectangle->GetX();
    const int y = rectangle->GetY();
    if (rectangle->Fill)
    {
        FilledRectangle(x, y, rectangle->GetWidth(), rectangle->GetHeight());
        return;
    }
    const int right = word::Subtract(word::Add(x, rectangle->GetWidth()), 1);
    const int bottom = word::Subtract(word::Add(y, rectangle->GetHeight()), 1);
    Line(x, y, right, y);
    Line(right, y, right, bottom);
    Line(x, bottom, right, bottom);
    Line(x, y, x, bottom);
}
void QZShape::Add(const QZRectangle* rectangle, unsigned int color)
{
    Colored(color, [&] { Add(rectangle); });
}
void QZShape::Add(const QZRectangle* rectangle, unsigned int color, unsigned char fill)
{
    QZRectangle figure(rectangle);
    figure.Fill = fill;
    Add(&figure, color);
}

void QZShape::Add(const QZCircle* circle)
{
    const auto cx = static_cast<float>(circle->GetX());
    const auto cy = static_cast<float>(circle->GetY());
    const auto radius = static_cast<float>(circle->GetRadius());
    AreaInclude(word::Truncate(cx - radius - 1.0F), word::Truncate(cy - radius - 1.0F));
    AreaInclude(word::Truncate(cx + radius + 1.0F), word::Truncate(cy + radius + 1.0F));
    if (circle->Fill)
        FilledCircle(cx, cy, radius);
    else
        CircleOutline(cx, cy, radius);
}
void QZShape::Add(const QZCircle* circle, unsigned int color)
{
    Colored(color, [&] { Add(circle); });
}

void QZShape::Set(QZPointCollection* points)
{
    Clear();
    m_points->Set(points);
}

void QZShape::Clear()
{
    m_points->Clear();
    m_colors->Clear();
    m_area.reset();
    m_location->Set(0, 0);
}

void QZShape::Fill(unsigned int color)
{
    const QZInt64 count = m_points->Count();
    m_colors->NewLength(count, color);
    QZUInt64* colors = m_colors->GetPointer() + 1;
    std::fill(colors, colors + count, color);
}

// The colours do not change: hosts that remove points set the colours again.
void QZShape::RemovePoint(QZInt64 index) { m_points->RemoveElement(index); }

void QZShape::SetLocation(const QZPoint* location) { m_location->Set(location); }
void QZShape::SetLocation(int x, int y) { m_location->Set(x, y); }

void QZShape::MoveTo(int x, int y)
{
    const int dx = word::Subtract(x, m_location->GetX());
    const int dy = word::Subtract(y, m_location->GetY());
    QZUInt64* words = m_points->GetPointer();
    const QZInt64 count = m_points->Count();
    for (QZInt64 i = 1; i <= count; ++i)
        words[i] = word::Pack(word::Add(word::Low(words[i]), dx), word::Add(word::High(words[i]), dy));
    m_location->Set(x, y);
    if (m_area != nullptr) m_area->SetLocation(word::Add(m_area->GetX(), dx), word::Add(m_area->GetY(), dy));
}
void QZShape::MoveTo(const QZPoint* location) { MoveTo(location->GetX(), location->GetY()); }

void QZShape::MoveToCenterOf(const QZRectangle* rectangle)
{
    if (rectangle == nullptr || m_area == nullptr) return;
    const int cx = word::Add(rectangle->GetX(), Half(rectangle->GetWidth()));
    const int cy = word::Add(rectangle->GetY(), Half(rectangle->GetHeight()));
    const int ax = word::Add(m_area->GetX(), Half(m_area->GetWidth()));
    const int ay = word::Add(m_area->GetY(), Half(m_area->GetHeight()));
    MoveTo(word::Subtract(word::Add(m_area->GetX(), cx), ax),
           word::Subtract(word::Add(m_area->GetY(), cy), ay));
}

void QZShape::Center(const QZRectangle* rectangle)
{
    MoveTo(word::Add(rectangle->GetX(), Half(word::Subtract(rectangle->GetWidth(), GetWidth()))),
           word::Add(rectangle->GetY(), Half(word::Subtract(rectangle->GetHeight(), GetHeight()))));
}

int QZShape::GetWidth() const { return m_area != nullptr ? m_area->GetWidth() : 0; }
int QZShape::GetHeight() const { return m_area != nullptr ? m_area->GetHeight() : 0; }

int QZShape::MinDistancePoint(const QZPoint* point)
{
    const QZUInt64* words = m_points->GetPointer();
    const QZInt64 count = m_points->Count();
    QZInt64 nearest = 0;
    float shortest = 0;
    for (QZInt64 i = 0; i < count; ++i)
    {
        const QZUInt64 present = words[i + 1];
        const float distance = QZMath::GetDistanceFromPointToPoint(word::Low(present), word::High(present),
                                                                   point->GetX(), point->GetY());
        if (i > 0 && !(distance < shortest)) continue;
        shortest = distance;
        nearest = i;
    }
    return static_cast<int>(nearest);
}

QZShape* QZShape::Intersection(QZShape* a, QZShape* b)
{
    QZPointCollection points;
    QZPointCollection::Intersection(&points, a->GetPoints(), b->GetPoints());
    auto* result = new QZShape();
    result->Set(&points);
    return result;
}

QZShape* QZShape::Union(QZShape* a, QZShape* b)
{
    QZPointCollection points;
    QZPointCollection::Union(&points, a->GetPoints(), b->GetPoints());
    auto* result = new QZShape();
    result->Set(&points);
    return result;
}

void QZShape::Recycle(QZRectangle** area)
{
    if (*area == m_area.get()) *area = nullptr;
}

void QZShape::Recycle(QZShape** shape) { QZDeleteAndClear(shape); }
