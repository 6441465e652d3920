#include "graphics/gr_geometry.h"

#include <cmath>

#include "codec/cod_math.h"
#include "graphics/internal/gr_geometry_word.h"

const QZInt64 QZPoint::Type;
const QZInt64 QZSize::Type;
const QZInt64 QZLine::Type;
const QZInt64 QZArc::Type;
const QZInt64 QZCircle::Type;
const QZInt64 QZColor::Type;
const QZInt64 QZCrossMark::Type;
const QZInt64 QZRectangle::Type;

QZPoint::QZPoint(const QZPoint* other) : m_packed(other->m_packed) {}
QZPoint::QZPoint(QZUInt64 packed) : m_packed(packed) {}
QZPoint::QZPoint(int x, int y) : m_packed(word::Pack(x, y)) {}

QZInt64 QZPoint::GetType() { return 0x81FFF60; }

int QZPoint::GetX() const { return word::Low(m_packed); }
int QZPoint::GetY() const { return word::High(m_packed); }

void QZPoint::Set(const QZPoint* other) { m_packed = other->m_packed; }
void QZPoint::Set(QZUInt64 packed) { m_packed = packed; }
void QZPoint::Set(int x, int y) { m_packed = word::Pack(x, y); }

QZSize::QZSize(const QZSize* other) : m_packed(other->m_packed) {}
QZSize::QZSize(QZUInt64 packed) : m_packed(packed) {}
QZSize::QZSize(int width, int height) : m_packed(word::Pack(width, height)) {}

QZInt64 QZSize::GetType() { return 0x81FFFC0; }

int QZSize::GetWidth() const { return word::Low(m_packed); }
int QZSize::GetHeight() const { return word::High(m_packed); }

void QZSize::Set(const QZSize* other) { m_packed = other->m_packed; }
void QZSize::Set(QZUInt64 packed) { m_packed = packed; }
void QZSize::Set(int width, int height) { m_packed = word::Pack(width, height); }

QZLine::QZLine(const QZPoint* first, const QZPoint* second)
    : m_first(first->GetUInt64()), m_second(second->GetUInt64())
{}
QZLine::QZLine(int x1, int y1, int x2, int y2) : m_first(word::Pack(x1, y1)), m_second(word::Pack(x2, y2)) {}

QZInt64 QZLine::GetType() { return 0x81FFF70; }

int QZLine::GetX1() const { return word::Low(m_first); }
int QZLine::GetY1() const { return word::High(m_first); }
int QZLine::GetX2() const { return word::Low(m_second); }
int QZLine::GetY2() const { return word::High(m_second); }

void QZLine::Set(int x1, int y1, int x2, int y2)
{
    m_first = word::Pack(x1, y1);
    m_second = word::Pack(x2, y2);
}

QZArc::QZArc() : m_center(std::make_shared<QZPoint>()) {}
QZArc::QZArc(const QZPoint* center, float radius)
    : m_center(std::make_shared<QZPoint>(center)), m_radius(radius)
{}

QZInt64 QZArc::GetType() { return 0x81FFF80; }

void QZArc::Set(const QZPoint* center, float radius)
{
    m_center->Set(center);
    m_radius = radius;
}

QZCircle::QZCircle(int x, int y, int radius) : m_center(std::make_shared<QZPoint>(x, y)), m_radius(radius) {}
QZCircle::QZCircle(const QZPoint* center, int radius)
    : m_center(std::make_shared<QZPoint>(center)), m_radius(radius)
{}

QZInt64 QZCircle::GetType() { return 0x81FFF90; }

QZColor::QZColor(unsigned int value) : m_value(value) {}
QZColor::QZColor(unsigned char red, unsigned char green, unsigned char blue) : QZColor(255, red, green, blue)
{}
QZColor::QZColor(unsigned char alpha, unsigned char red, unsigned char green, unsigned char blue)
    : m_value(static_cast<unsigned int>(alpha) << 24 | static_cast<unsigned int>(red) << 16 |
              static_cast<unsigned int>(green) << 8 | blue)
{}

QZInt64 QZColor::GetType() { return 0x81FFFA0; }

namespace
{
void Join(QZLine* line, const QZPoint& first, const QZPoint& second)
{
    line->Set(first.GetX(), first.GetY(), second.GetX(), second.GetY());
}
}  // namespace

struct QZCrossMark::Figure
{
    QZPoint left;
    QZPoint right;
    QZPoint top;
    QZPoint bottom;
    QZLine line1;
    QZLine line2;
    QZPoint center;
};

QZCrossMark::QZCrossMark(const QZPoint* center, int size) : QZCrossMark(center->GetX(), center->GetY(), size)
{}

QZCrossMark::QZCrossMark(int x, int y, int size) : m_figure(std::make_shared<Figure>()), m_size(size)
{
    Figure& f = *m_figure;
    f.center.Set(x, y);
    f.left.Set(word::Subtract(x, size), y);
    f.right.Set(word::Add(x, size), y);
    f.top.Set(x, word::Subtract(y, size));
    f.bottom.Set(x, word::Add(y, size));
    Join(&f.line1, f.left, f.right);
    Join(&f.line2, f.top, f.bottom);
}

QZCrossMark::QZCrossMark(int x, int y, int size, float degrees)
    : m_figure(std::make_shared<Figure>()), m_size(size)
{
    const float angle = degrees / 180.0F * 3.1415925F;
    const int a = word::Truncate(QZMath::Sin(angle) * static_cast<float>(size));
    const int b = word::Truncate(QZMath::Cos(angle) * static_cast<float>(size));
    Figure& f = *m_figure;
    f.center.Set(x, y);
    // The four ends in the order of the rotation; the names of the fields do not matter.
    f.left.Set(word::Subtract(x, a), word::Subtract(y, b));
    f.right.Set(word::Add(x, b), word::Subtract(y, a));
    f.top.Set(word::Add(x, a), word::Add(y, b));
    f.bottom.Set(word::Subtract(x, b), word::Add(y, a));
    Join(&f.line1, f.left, f.top);
    Join(&f.line2, f.right, f.bottom);
}

QZInt64 QZCrossMark::GetType() { return 0x81FFFB0; }

QZPoint* QZCrossMark::GetLeft() const { return &m_figure->left; }
QZPoint* QZCrossMark::GetRight() const { return &m_figure->right; }
QZPoint* QZCrossMark::GetTop() const { return &m_figure->top; }
QZPoint* QZCrossMark::GetBottom() const { return &m_figure->bottom; }
QZLine* QZCrossMark::GetLine1() const { return &m_figure->line1; }
QZLine* QZCrossMark::GetLine2() const { return &m_figure->line2; }
QZPoint* QZCrossMark::GetCenter() const { return &m_figure->center; }

QZRectangle::QZRectangle(const QZRectangle* other) : m_location(other->m_location), m_size(other->m_size) {}
QZRectangle::QZRectangle(int x, int y, int width, int height)
    : m_location(word::Pack(x, y)), m_size(word::Pack(width, height))
{}

// A copy is not filled, also when its source is: the caller who adds the figure sets the flag.
QZRectangle::QZRectangle(const QZRectangle& other)
    : QZObject(other), m_location(other.m_location), m_size(other.m_size)
{}

QZInt64 QZRectangle::GetType() { return 0x81FFFE0; }

int QZRectangle::GetX() const { return word::Low(m_location); }
int QZRectangle::GetY() const { return word::High(m_location); }
int QZRectangle::GetWidth() const { return word::Low(m_size); }
int QZRectangle::GetHeight() const { return word::High(m_size); }

void QZRectangle::Set(int x, int y, int width, int height)
{
    SetLocation(x, y);
    SetSize(width, height);
}

void QZRectangle::SetLocation(int x, int y) { m_location = word::Pack(x, y); }
void QZRectangle::SetSize(int width, int height) { m_size = word::Pack(width, height); }

QZBool QZRectangle::Equals(const QZRectangle* other) const
{
    return m_location == other->m_location && m_size == other->m_size;
}

namespace
{

bool Contains(int from, int length, int place)
{
    return from <= place && place <= word::Subtract(word::Add(from, length), 1);
}

void Stretch(int* from, int* length, int place)
{
    if (place < *from)
    {
        *length = word::Add(*length, word::Subtract(*from, place));
        *from = place;
    }
    else if (place > word::Subtract(word::Add(*from, *length), 1))
    {
        *length = word::Add(word::Subtract(place, *from), 1);
    }
}

int Last(int from, int length) { return word::Subtract(word::Add(from, length), 1); }

}  // namespace

QZBool QZRectangle::Intersects(int x, int y) const
{
    return Intersects(GetX(), GetY(), GetWidth(), GetHeight(), x, y);
}

QZBool QZRectangle::Intersects(const QZPoint* point) const
{
    return Intersects(point->GetX(), point->GetY());
}

QZBool QZRectangle::Intersects(int x, int y, int width, int height, int px, int py)
{
    return Contains(x, width, px) && Contains(y, height, py);
}

QZBool QZRectangle::Intersects(int x, int y, int width, int height) const
{
    return Intersects(GetX(), GetY(), GetWidth(), GetHeight(), x, y, width, height);
}

QZBool QZRectangle::Intersects(const QZRectangle* other) const
{
    return Intersects(other->GetX(), other->GetY(), other->GetWidth(), other->GetHeight());
}

QZBool QZRectangle::Intersects(int x1, int y1, int width1, int height1, int x2, int y2, int width2,
                               int height2)
{
    return word::Meet(x1, width1, x2, width2) && word::Meet(y1, height1, y2, height2);
}

void QZRectangle::Include(int px, int py)
{
    int x = GetX();
    int y = GetY();
    int width = GetWidth();
    int height = GetHeight();
    Include(&x, &y, &width, &height, px, py);
    Set(x, y, width, height);
}

void QZRectangle::Include(const QZPoint* point) { Include(point->GetX(), point->GetY()); }

void QZRectangle::Include(int x, int y, int width, int height)
{
    Include(x, y);
    Include(Last(x, width), Last(y, height));
}

void QZRectangle::Include(const QZRectangle* other)
{
    Include(other->GetX(), other->GetY(), other->GetWidth(), other->GetHeight());
}

void QZRectangle::Include(int* x, int* y, int* width, int* height, int px, int py)
{
    Stretch(x, width, px);
    Stretch(y, height, py);
}

QZRay::QZRay() : m_start(std::make_shared<QZPoint>()), m_second(std::make_shared<QZPoint>()) {}
QZRay::QZRay(const QZPoint* start, QZPoint second)
    : m_start(std::make_shared<QZPoint>(start)), m_second(std::make_shared<QZPoint>(second.GetUInt64()))
{}
QZRay::QZRay(QZLong x1, QZLong y1, QZLong x2, QZLong y2)
    : m_start(std::make_shared<QZPoint>(static_cast<int>(x1), static_cast<int>(y1))),
      m_second(std::make_shared<QZPoint>(static_cast<int>(x2), static_cast<int>(y2)))
{}

// The one operation of QZMath on figures. It is defined here because code/codec does not know the figures.
float QZMath::GetDistanceFromPointToLine(const QZPoint* point, const QZLine* line)
{
    return GetDistanceFromPointToLine(point->GetX(), point->GetY(), line->GetX1(), line->GetY1(),
                                      line->GetX2(), line->GetY2());
}
