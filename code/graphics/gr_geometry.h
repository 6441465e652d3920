#ifndef QZLIB_GRAPHICS_GEOMETRY_H
#define QZLIB_GRAPHICS_GEOMETRY_H

#include <concepts>
#include <memory>

#include "fw/fw_object.h"

/// The small value classes of the graphics toolkit. Points, sizes and locations are packed words: x or width
/// in the low 32 bits, y or height in the high 32 bits, each half signed. Constructors that take objects copy
/// what they need; the caller keeps them. C++ copies of classes that own objects share these. One thread at a
/// time.

/// A point.
class QZ_API QZPoint : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF60;

    QZPoint() = default;
    explicit QZPoint(const QZPoint* other);
    explicit QZPoint(QZUInt64 packed);
    template <std::integral T>
    explicit QZPoint(T packed) : QZPoint(static_cast<QZUInt64>(packed))
    {}
    QZPoint(int x, int y);
    QZPoint(const QZPoint& other) = default;
    QZPoint& operator=(const QZPoint& other) = default;

    QZInt64 GetType() override;

    int GetX() const;
    int GetY() const;
    /// The packed word.
    QZUInt64 GetUInt64() const { return m_packed; }

    void Set(const QZPoint* other);
    void Set(QZUInt64 packed);
    void Set(int x, int y);

private:
    QZUInt64 m_packed = 0;
};

/// A width and a height.
class QZ_API QZSize : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFC0;

    QZSize() = default;
    explicit QZSize(const QZSize* other);
    explicit QZSize(QZUInt64 packed);
    template <std::integral T>
    explicit QZSize(T packed) : QZSize(static_cast<QZUInt64>(packed))
    {}
    QZSize(int width, int height);
    QZSize(const QZSize& other) = default;
    QZSize& operator=(const QZSize& other) = default;

    QZInt64 GetType() override;

    int GetWidth() const;
    int GetHeight() const;
    /// The packed word.
    QZUInt64 GetUInt64() const { return m_packed; }

    void Set(const QZSize* other);
    void Set(QZUInt64 packed);
    void Set(int width, int height);

private:
    QZUInt64 m_packed = 0;
};

/// A line between two ends.
class QZ_API QZLine : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF70;

    QZLine() = default;
    QZLine(const QZPoint* first, const QZPoint* second);
    QZLine(int x1, int y1, int x2, int y2);

    QZInt64 GetType() override;

    int GetX1() const;
    int GetY1() const;
    int GetX2() const;
    int GetY2() const;

    void Set(int x1, int y1, int x2, int y2);

private:
    QZUInt64 m_first = 0;
    QZUInt64 m_second = 0;
};

/// An arc. It has no drawing of its own.
class QZ_API QZArc : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF80;

    QZArc();
    QZArc(const QZPoint* center, float radius);

    QZInt64 GetType() override;

    int GetX() const { return m_center->GetX(); }
    int GetY() const { return m_center->GetY(); }
    float GetRadius() const { return m_radius; }

    void Set(const QZPoint* center, float radius);

private:
    std::shared_ptr<QZPoint> m_center;
    float m_radius = 0;
};

/// A circle.
class QZ_API QZCircle : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFF90;

    /// Not 0: drawn filled. Set it before the circle is added to a shape.
    QZBool Fill = 0;

    QZCircle(int x, int y, int radius);
    QZCircle(const QZPoint* center, int radius);

    QZInt64 GetType() override;

    int GetX() const { return m_center->GetX(); }
    int GetY() const { return m_center->GetY(); }
    int GetRadius() const { return m_radius; }

private:
    std::shared_ptr<QZPoint> m_center;
    int m_radius;
};

/// A colour: alpha in the top byte, then red, green and blue.
class QZ_API QZColor : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFA0;

    explicit QZColor(unsigned int value);
    /// Opaque.
    QZColor(unsigned char red, unsigned char green, unsigned char blue);
    QZColor(unsigned char alpha, unsigned char red, unsigned char green, unsigned char blue);

    QZInt64 GetType() override;

    unsigned int GetValue() const { return m_value; }
    void SetValue(unsigned int value) { m_value = value; }

    unsigned char GetAlpha() const { return GetByte(24); }
    unsigned char GetRed() const { return GetByte(16); }
    unsigned char GetGreen() const { return GetByte(8); }
    unsigned char GetBlue() const { return GetByte(0); }
    void SetAlpha(unsigned char alpha) { SetByte(24, alpha); }
    void SetRed(unsigned char red) { SetByte(16, red); }
    void SetGreen(unsigned char green) { SetByte(8, green); }
    void SetBlue(unsigned char blue) { SetByte(0, blue); }

private:
    unsigned char GetByte(int shift) const { return static_cast<unsigned char>(m_value >> shift); }
    void SetByte(int shift, unsigned char value)
    {
        m_value = (m_value & ~(0xFFu << shift)) | static_cast<unsigned int>(value) << shift;
    }

    unsigned int m_value;
};

/// A cross of two lines, upright or turned.
class QZ_API QZCrossMark : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFB0;

    /// Lines from left to right and from top to bottom, `size` to each side of the centre.
    QZCrossMark(const QZPoint* center, int size);
    QZCrossMark(int x, int y, int size);
    /// Turned by an angle. At 0 degrees the four ends are the top, the right, the bottom and the left one, in
    /// this order; the first line joins the first and the third.
    QZCrossMark(int x, int y, int size, float degrees);

    QZInt64 GetType() override;

    /// The mark's own objects.
    QZPoint* GetLeft() const;
    QZPoint* GetRight() const;
    QZPoint* GetTop() const;
    QZPoint* GetBottom() const;
    QZLine* GetLine1() const;
    QZLine* GetLine2() const;
    QZPoint* GetCenter() const;
    int GetSize() const { return m_size; }

private:
    struct Figure;

    std::shared_ptr<Figure> m_figure;
    int m_size;
};

/// A rectangle: a location and a size. Its last column is x + width - 1, its last row y + height - 1.
class QZ_API QZRectangle : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFE0;

    /// Not 0: drawn filled. Set it before the rectangle is added to a shape; copies start with 0.
    QZBool Fill = 0;

    QZRectangle() = default;
    explicit QZRectangle(const QZRectangle* other);
    QZRectangle(int x, int y, int width, int height);
    QZRectangle(const QZRectangle& other);
    QZRectangle& operator=(const QZRectangle& other) = default;

    QZInt64 GetType() override;

    int GetX() const;
    int GetY() const;
    int GetWidth() const;
    int GetHeight() const;
    QZUInt64 GetLocationUInt64() const { return m_location; }
    QZUInt64 GetSizeUInt64() const { return m_size; }

    void Set(int x, int y, int width, int height);
    void SetLocation(int x, int y);
    void SetLocation(QZUInt64 packed) { m_location = packed; }
    void SetSize(int width, int height);
    void SetSize(QZUInt64 packed) { m_size = packed; }

    /// Same location and same size.
    QZBool Equals(const QZRectangle* other) const;

    /// The point lies in the rectangle.
    QZBool Intersects(int x, int y) const;
    QZBool Intersects(const QZPoint* point) const;
    static QZBool Intersects(int x, int y, int width, int height, int px, int py);

    /// The two rectangles overlap or touch: edges that meet without a common pixel count.
    QZBool Intersects(int x, int y, int width, int height) const;
    QZBool Intersects(const QZRectangle* other) const;
    static QZBool Intersects(int x1, int y1, int width1, int height1, int x2, int y2, int width2,
                             int height2);

    /// Grows the rectangle until it contains the point, or both corners of the other rectangle. A rectangle
    /// of size 0 gets width 1 and height 1 by its own corner.
    void Include(int px, int py);
    void Include(const QZPoint* point);
    void Include(int x, int y, int width, int height);
    void Include(const QZRectangle* other);
    static void Include(int* x, int* y, int* width, int* height, int px, int py);

private:
    QZUInt64 m_location = 0;
    QZUInt64 m_size = 0;
};

/// A start and a second point that gives the direction.
class QZ_API QZRay : public QZObject
{
public:
    QZRay();
    QZRay(const QZPoint* start, QZPoint second);
    QZRay(QZLong x1, QZLong y1, QZLong x2, QZLong y2);

protected:
    std::shared_ptr<QZPoint> m_start;
    std::shared_ptr<QZPoint> m_second;
};

#endif
