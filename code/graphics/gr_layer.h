#ifndef QZLIB_GRAPHICS_LAYER_H
#define QZLIB_GRAPHICS_LAYER_H

#include <concepts>

#include "graphics/gr_pixels.h"
#include "graphics/gr_pixels_grid.h"
#include "graphics/gr_points.h"
#include "graphics/gr_shape.h"

class QZKeyValueCollection;
class QZString;
class QZStringCollection;

/// A drawing layer: a pixel block that records its changed areas, holds named shapes (marks), and has a key
/// and a switch for its visibility. QZGraphicsCollection stacks layers and repaints their changes.
///
/// There are two lists of changed areas, in which rectangles that meet are merged: the updated list for the
/// next repaint, and the cleared list for Clear. Rectangles are clipped like all rectangles of pixel blocks.
/// Shapes without colours are drawn in the pen colour.
///
/// The layer owns its lists, its key, its marks and their shapes, which are locked. The caller owns the
/// objects passed to drawing operations. One thread at a time.
class QZ_API QZGraphics : public QZPixelBlock
{
public:
    static const QZInt64 Type = 0x81FFFF5;

    /// Transparent (all pixels 0), the key empty, the pen 0xFFFFFFFF.
    QZGraphics(int width, int height);
    /// The same with a copy of the key.
    QZGraphics(int width, int height, QZString* key);
    QZGraphics(const QZGraphics&) = delete;
    QZGraphics& operator=(const QZGraphics&) = delete;
    ~QZGraphics() override;

    QZInt64 GetType() override;

    QZBool GetVisable() const { return m_visible; }
    void SetVisable(unsigned char visible) { m_visible = visible; }
    /// The key. The layer owns it.
    QZString* GetKey() const { return m_key; }
    /// Sets a copy of the key; returns true. In a QZGraphicsCollection the layer is still found by the key
    /// with which it was added.
    QZBool SetKey(QZString* key);
    QZBool SetKey(const QZWChar* key);

    int GetWidth() const { return m_width; }
    int GetHeight() const { return m_height; }
    /// Width and height in a new object, which the caller owns.
    QZSize* GetSize() const;
    /// Clears both lists and changes the size; returns true. The pixels are not resampled: their bytes stay
    /// in place, so they belong to other rows, and a longer row table may overwrite the first of them. Draw
    /// the layer again afterwards.
    QZBool NewSize(int width, int height);

    /// The first pixel of row 0, as pointer and as number.
    void* GetPointer() const { return QZPixelBlock::GetPointer(); }
    QZInt64 GetDataSize() const { return QZPixelBlock::GetDataSize(); }
    QZInt64 GetPointerInt64() const;
    QZInt64 GetPointerIntPtr() const;
    /// The value of the first pixel, not its address; 0 for a layer without pixels.
    QZInt32 GetPointerQZInt32() const;

    /// Fills the areas that were drawn since the last Clear with the clear colour.
    void Clear() override;
    /// Row 0 and column 0 are not written, but the area is recorded.
    void SetPixel(int x, int y, unsigned int color) override;
    void SetPixel(int x, int y) override;
    void SetPixel(const QZPoint* point);
    unsigned int GetPixel(int x, int y) override;

    using QZPixelBlock::Fill;
    void Fill(unsigned int color) override;
    /// Opaque.
    void Fill(unsigned char red, unsigned char green, unsigned char blue);
    /// Nothing for null. @throws QZException 256 for a negative width or height
    void Fill(const QZRectangle* area, unsigned int color);
    void Fill(QZRectangleCollection* areas, unsigned int color);

    /// Sets the pen to red, green and blue in turn and returns the colour.
    unsigned int SetColorRound();

    /// The colour of Clear, 0 by default.
    unsigned int GetClearColor() const { return m_clearColor; }
    void SetClearColor(unsigned int color) { m_clearColor = color; }

    /// The lists of changed areas, for reading. The layer owns them.
    QZRectangleCollection* GetUpdatedAreas() const { return m_updated; }
    QZRectangleCollection* GetClearedAreas() const { return m_cleared; }
    /// Records a change in both lists. Does nothing for a width or height of 0.
    /// @throws QZException 256 for a negative one beside one that is not 0
    void UpdateAreaInclude(int x, int y, int width, int height);
    /// Draws the marks if something has changed since the lists were last taken.
    void Update();

    /// Adds a mark in front of the others; the layer then owns the shape. Returns true.
    /// @throws QZException as QZKeyValueCollection::Add: empty or used key, locked shape
    QZBool MarkAdd(QZString* key, QZShape* shape);
    QZBool MarkAdd(const QZWChar* key, QZShape* shape);
    /// Adds a mark. A mark with the same key is removed first; the caller then owns its shape.
    QZBool MarkSet(QZString* key, QZShape* shape);
    QZBool MarkSet(const QZWChar* key, QZShape* shape);
    /// The mark's shape, which the layer owns, or null.
    QZShape* MarkGet(QZString* key);
    QZShape* MarkGet(const QZWChar* key);
    /// The first mark in drawing order whose area contains the point.
    QZShape* MarkGet(int x, int y);
    QZShape* MarkGet(const QZPoint* point);
    /// Removes a mark; the caller then owns its shape. False when it does not exist.
    QZBool MarkRemove(QZString* key);
    QZBool MarkRemove(const QZWChar* key);
    /// Moves a mark one place later, or one place earlier, in drawing order. False when it does not exist.
    QZBool MarkMoveUp(QZString* key);
    QZBool MarkMoveUp(const QZWChar* key);
    QZBool MarkMoveDown(QZString* key);
    QZBool MarkMoveDown(const QZWChar* key);
    /// Moves a mark as many places later as there are marks before it. False when it does not exist.
    QZBool MarkMoveFirst(QZString* key);
    QZBool MarkMoveFirst(const QZWChar* key);
    /// Moves a mark to the end. False when it does not exist.
    QZBool MarkMoveLast(QZString* key);
    QZBool MarkMoveLast(const QZWChar* key);
    QZInt64 MarkCount();
    /// The key of a mark's shape, which the layer owns, or null.
    QZString* MarkToKey(QZShape* shape);
    /// The keys in drawing order. The layer owns the list.
    QZStringCollection* MarkGetKeys();
    /// The index of a mark in drawing order, or -1.
    QZInt64 GetIndex(QZString* key);

    /// Draws the shape and records its area, if it has one.
    void Draw(QZShape* shape) override;
    void Draw(const QZCircle* circle);
    void Draw(const QZLine* line);
    void Draw(const QZRectangle* rectangle);
    void Draw(const QZCrossMark* mark);
    /// Draws the outlines of all cells.
    void Draw(QZRectangles* grid);
    /// Draws a copy of the shape, moved to (x, y).
    void Draw(int x, int y, QZShape* shape);
    /// Draws the number in decimal digits.
    void Draw(int x, int y, QZInt64 number);
    template <std::integral T>
    void Draw(int x, int y, T number)
    {
        Draw(x, y, static_cast<QZInt64>(number));
    }
    void Draw(int x, int y, QZString* text);
    void Draw(const QZPoint* location, QZString* text);
    void Draw(int x, int y, const char* text);
    /// Draws a cross of 5 pixels to each side, upright or rotated by degrees.
    void DrawCross(int x, int y);
    void DrawCross(int x, int y, unsigned int color);
    void DrawCross(int x, int y, float degrees);
    template <std::integral T>
    void DrawCross(int x, int y, T color)
    {
        DrawCross(x, y, static_cast<unsigned int>(color));
    }
    template <std::floating_point T>
    void DrawCross(int x, int y, T degrees)
    {
        DrawCross(x, y, static_cast<float>(degrees));
    }
    void DrawCrossRed(int x, int y);
    void DrawCrossGreen(int x, int y);
    void DrawCrossBlue(int x, int y);
    void DrawLine(int x1, int y1, int x2, int y2);

    /// Like QZPixelBlock::Paste; records the area. @throws QZException 256 for an area of negative width or
    /// height
    QZBool Paste(const QZRectangle* area, const QZSize* sourceSize, const void* sourcePixels,
                 unsigned char overwrite) override;
    QZBool Paste(int x, int y, const QZPixelBlock* source, unsigned char overwrite) override;

private:
    friend class QZGraphicsCollection;
    friend class QZLinearGraph;

    template <typename Figure>
    void DrawFigure(Figure add);
    template <typename Key>
    QZBool SetMark(Key key, QZShape* shape);
    template <typename Key>
    QZBool MoveMarkLater(Key key);
    template <typename Key>
    QZBool MoveMarkToEnd(Key key);

    QZRectangleCollection* m_cleared;
    QZRectangleCollection* m_updated;
    QZUInt32 m_clearColor = 0;
    /// Not 0: the layer changed. Derived classes that draw directly set it to get a repaint.
    QZByte m_changed = 1;
    QZString* m_key;
    QZKeyValueCollection* m_marks;
    QZByte m_visible = 1;
    QZUInt32 m_round = 0;
};

#endif
