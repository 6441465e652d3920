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

/// A drawing layer: a pixel block that notes which parts of it have changed, holds named shapes (marks), and
/// has a key and a visible switch, so that QZGraphicsCollection can stack layers and repaint what changed.
///
/// There are two lists of changed areas, in which rectangles that meet are merged. The updated list says what
/// the next repaint has to do; the cleared list says what Clear has to paint back. Rectangles are clipped as
/// all rectangles of pixel blocks are. What the drawing operations draw is in the pen colour where a shape
/// has no colours of its own.
///
/// The layer owns its lists, its key and its marks, also the marks' shapes, which are locked while they are
/// marks. Objects that are passed to drawing operations stay the caller's. One thread at a time.
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
    /// The layer's own key; it stays the layer's.
    QZString* GetKey() const { return m_key; }
    /// Takes a copy; true. In a QZGraphicsCollection the layer keeps the key under which it was added.
    QZBool SetKey(QZString* key);
    QZBool SetKey(const QZWChar* key);

    int GetWidth() const { return m_width; }
    int GetHeight() const { return m_height; }
    /// Width and height in a new object, which is the caller's.
    QZSize* GetSize() const;
    /// Forgets both lists and changes the size; true. Nothing is resampled: the bytes of the pixels stay
    /// where they are and fall into the rows anew, behind a row table that may have grown over the first of
    /// them. Draw the layer again after it.
    QZBool NewSize(int width, int height);

    /// The first pixel of row 0, as pointer and as number.
    void* GetPointer() const { return QZPixelBlock::GetPointer(); }
    QZInt64 GetDataSize() const { return QZPixelBlock::GetDataSize(); }
    QZInt64 GetPointerInt64() const;
    QZInt64 GetPointerIntPtr() const;
    /// The value of the first pixel, not its address; 0 of a layer without pixels.
    QZInt32 GetPointerQZInt32() const;

    /// Paints back what was drawn since the last Clear, in the clear colour.
    void Clear() override;
    /// The area is noted although row 0 and column 0 are not written.
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

    /// Sets the pen to red, green and blue in turn and answers it.
    unsigned int SetColorRound();

    /// The colour of Clear, 0 at first.
    unsigned int GetClearColor() const { return m_clearColor; }
    void SetClearColor(unsigned int color) { m_clearColor = color; }

    /// The layer's own lists of changed areas, to look at.
    QZRectangleCollection* GetUpdatedAreas() const { return m_updated; }
    QZRectangleCollection* GetClearedAreas() const { return m_cleared; }
    /// Notes a change in both lists. A width or height of 0 is ignored.
    /// @throws QZException 256 for a negative one beside one that is not 0
    void UpdateAreaInclude(int x, int y, int width, int height);
    /// Draws the marks, when something has changed since the lists of changes were taken.
    void Update();

    /// Adds a mark on top of the others; the shape is the layer's from here on. True.
    /// @throws QZException as QZKeyValueCollection::Add: empty or used key, locked shape
    QZBool MarkAdd(QZString* key, QZShape* shape);
    QZBool MarkAdd(const QZWChar* key, QZShape* shape);
    /// Adds a mark; one of the same key goes first, and its shape is the caller's again.
    QZBool MarkSet(QZString* key, QZShape* shape);
    QZBool MarkSet(const QZWChar* key, QZShape* shape);
    /// The mark's shape, which stays the layer's, or null.
    QZShape* MarkGet(QZString* key);
    QZShape* MarkGet(const QZWChar* key);
    /// The first mark, in drawing order, whose area has the point.
    QZShape* MarkGet(int x, int y);
    QZShape* MarkGet(const QZPoint* point);
    /// Takes a mark out; its shape is the caller's again. False when absent.
    QZBool MarkRemove(QZString* key);
    QZBool MarkRemove(const QZWChar* key);
    /// One place later, one place earlier in drawing order. False when absent.
    QZBool MarkMoveUp(QZString* key);
    QZBool MarkMoveUp(const QZWChar* key);
    QZBool MarkMoveDown(QZString* key);
    QZBool MarkMoveDown(const QZWChar* key);
    /// As many places later as there are marks before it. False when absent.
    QZBool MarkMoveFirst(QZString* key);
    QZBool MarkMoveFirst(const QZWChar* key);
    /// To the end. False when absent.
    QZBool MarkMoveLast(QZString* key);
    QZBool MarkMoveLast(const QZWChar* key);
    QZInt64 MarkCount();
    /// The key of a mark's shape, which stays the layer's, or null.
    QZString* MarkToKey(QZShape* shape);
    /// The keys in drawing order; the list stays the layer's.
    QZStringCollection* MarkGetKeys();
    /// The place of a mark in drawing order, or -1.
    QZInt64 GetIndex(QZString* key);

    /// Notes the shape's area, if it has one, and draws it.
    void Draw(QZShape* shape) override;
    void Draw(const QZCircle* circle);
    void Draw(const QZLine* line);
    void Draw(const QZRectangle* rectangle);
    void Draw(const QZCrossMark* mark);
    /// The outlines of all cells.
    void Draw(QZRectangles* grid);
    /// A copy of the shape, moved to (x, y).
    void Draw(int x, int y, QZShape* shape);
    /// The number in decimal digits.
    void Draw(int x, int y, QZInt64 number);
    template <std::integral T>
    void Draw(int x, int y, T number)
    {
        Draw(x, y, static_cast<QZInt64>(number));
    }
    void Draw(int x, int y, QZString* text);
    void Draw(const QZPoint* location, QZString* text);
    void Draw(int x, int y, const char* text);
    /// A cross of 5 pixels to each side, upright or turned by degrees.
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

    /// As in QZPixelBlock; the area is noted. @throws QZException 256 for an area of negative width or height
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
    /// Not 0: whoever draws on the layer by its own rules asks for a repaint.
    QZByte m_changed = 1;
    QZString* m_key;
    QZKeyValueCollection* m_marks;
    QZByte m_visible = 1;
    QZUInt32 m_round = 0;
};

#endif
