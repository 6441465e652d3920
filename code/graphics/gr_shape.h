#ifndef QZLIB_GRAPHICS_SHAPE_H
#define QZLIB_GRAPHICS_SHAPE_H

#include <concepts>
#include <memory>

#include "graphics/gr_points.h"

class QZLattice;
class QZString;

/// A figure as the set of pixels that it covers.
///
/// Added figures (lines, circles, rectangles, text, other shapes) become points at once. The shape also has
/// colours (one for each point, or fewer: the other points are drawn in the default colour), an area, which
/// is a rectangle around everything added, and a location, relative to which MoveTo moves. QZPixelBlock::Draw
/// draws the shape.
///
/// The shape owns its parts and locks them under its id; objects that are passed in stay the caller's. C++
/// copies share the parts with their source, QZShape(QZShape*) makes a real copy. One thread at a time.
class QZ_API QZShape : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFF1;

    QZShape();
    /// The text at (0, 0).
    explicit QZShape(QZString* text);
    /// @param duplicates  0: a point enters once, however many figures cover it
    explicit QZShape(unsigned char duplicates);
    template <std::integral T>
    explicit QZShape(T duplicates) : QZShape(static_cast<unsigned char>(duplicates))
    {}
    /// The points without an area: not drawn until something is added that has one.
    explicit QZShape(QZPointCollection* points);
    explicit QZShape(QZShape* other);
    QZShape(const QZShape& other) = default;
    QZShape& operator=(const QZShape& other) = default;

    QZInt64 GetType() override;

    /// One point.
    void Add(const QZPoint* point);
    void Add(const QZPoint* point, unsigned int color);
    void Add(QZUInt64 point);
    template <std::integral T>
    void Add(T point)
    {
        Add(static_cast<QZUInt64>(point));
    }

    /// The two lines of the mark.
    void Add(const QZCrossMark* mark);
    void Add(const QZCrossMark* mark, unsigned int color);

    /// Adds the other shape's points, colours and area, not its location. A shape may be added to itself.
    void Add(QZShape* other);

    /// Adds the points in rising order of x, or of y for a steep line. Negative co-ordinates count as 0. The
    /// size is not used.
    void Add(const QZLine* line);
    void Add(const QZLine* line, unsigned int color);
    template <std::integral T>
    void Add(const QZLine* line, T color)
    {
        Add(line, static_cast<unsigned int>(color));
    }
    void Add(const QZLine* line, const QZSize* size);

    /// The outline, with the corners twice, or, with the rectangle's fill flag (or the argument), all pixels
    /// row by row.
    void Add(const QZRectangle* rectangle);
    void Add(const QZRectangle* rectangle, unsigned int color);
    void Add(const QZRectangle* rectangle, unsigned int color, unsigned char fill);

    /// Outline or filled, by the circle's fill flag. It is drawn wider the further it is from (0, 0).
    void Add(const QZCircle* circle);
    void Add(const QZCircle* circle, unsigned int color);

    /// The dots of a glyph of at most 32 by 32, one pixel right of and below its location. A baseline that is
    /// not 0 takes the place of y: the glyph is centred on that row.
    void Add(const QZLattice* lattice);
    void Add(const QZLattice* lattice, unsigned int color);

    /// Text in the dot-matrix font, from (x, y) or (0, 0); CR LF begins a line. The glyphs of a line share
    /// their vertical centre. Points may be in the shape more than once from then on.
    void Add(int x, int y, QZString* text);
    void Add(int x, int y, QZString* text, unsigned int color);
    void Add(QZString* text);
    void Add(QZString* text, unsigned int color);

    /// Clears the shape and copies these points, without an area.
    void Set(QZPointCollection* points);

    /// No points, no colours, no area; location (0, 0).
    void Clear();

    /// One colour for all points that are there.
    void Fill(unsigned int color);

    /// Removes one point. The colours do not change, so the following points get the colours of their
    /// predecessors.
    /// @throws QZException 1024 for a bad index
    void RemovePoint(QZInt64 index);

    /// Sets the location and moves nothing.
    void SetLocation(const QZPoint* location);
    void SetLocation(int x, int y);

    /// Moves points and area by the way from the location to (x, y), the new location.
    void MoveTo(int x, int y);
    void MoveTo(const QZPoint* location);

    /// Moves the location so that the area is centred in the rectangle, which it is when the location was the
    /// area's corner. Nothing without a rectangle or an area.
    void MoveToCenterOf(const QZRectangle* rectangle);
    /// Moves the location to where an object of the area's size is centred in the rectangle.
    void Center(const QZRectangle* rectangle);

    /// The shape's own area, null before there is one, and its own location.
    QZRectangle* GetArea() const { return m_area.get(); }
    QZPoint* GetLocation() const { return m_location.get(); }
    /// Of the area; 0 without one.
    int GetWidth() const;
    int GetHeight() const;

    /// The shape's own points and colours.
    QZPointCollection* GetPoints() const { return m_points.get(); }
    QZCollection* GetColors() const { return m_colors.get(); }
    /// True when the shape is drawn.
    QZBool IsDrawn() const { return m_draw; }

    /// The index of the nearest point, the lowest one of several; 0 of a shape without points.
    int MinDistancePoint(const QZPoint* point);

    /// A new shape of the points that both have, or of both shapes' points: without colours and area, so that
    /// it is not drawn before something else is added.
    static QZShape* Intersection(QZShape* a, QZShape* b);
    static QZShape* Union(QZShape* a, QZShape* b);

    /// Clears the variable if it holds this shape's own area, and does nothing else.
    void Recycle(QZRectangle** area);
    /// Deletes the shape and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZShape** shape);

protected:
    /// The line as far as the corner (width, height), from its crossing with the axis on.
    void LongLine(int x1, int y1, int x2, int y2, int width, int height);
    /// From (x1, y1) through (x2, y2) to the edge of an area of that size.
    void Ray(int x1, int y1, int x2, int y2, const QZSize* size);

    /// The colour of points that were added without one before a coloured figure was.
    QZUInt32 m_defaultColor = 0xFFFFFF;
    std::shared_ptr<QZRectangle> m_area;
    std::shared_ptr<QZPointCollection> m_points;
    std::shared_ptr<QZCollection> m_colors;
    /// Not 0: missing colours were added with the default colour; Draw uses the pen colour for them.
    QZByte m_mixedColors = 0;
    QZByte m_draw = 1;
    std::shared_ptr<QZPoint> m_location;

private:
    friend class QZPixelBlock;
    friend class QZGraphicsFactory;

    /// Becomes a real copy of the other shape.
    void Copy(QZShape* other);

    template <typename Figure>
    void Colored(unsigned int color, Figure add)
    {
        const QZInt64 from = m_points->Count();
        add();
        ColorSet(from, m_points->Count(), color);
    }
    void ColorSet(QZInt64 from, QZInt64 to, unsigned int color);
    QZRectangle* Area(int x, int y);
    void AreaInclude(int x, int y);
    void AreaInclude(int x, int y, int width, int height);
    void Line(int x1, int y1, int x2, int y2);
    void FilledRectangle(int x, int y, int width, int height);
    void CircleOutline(float cx, float cy, float radius);
    void FilledCircle(float cx, float cy, float radius);
};

#endif
