#ifndef QZLIB_GRAPHICS_DISPLAY_H
#define QZLIB_GRAPHICS_DISPLAY_H

#include <concepts>

#include "graphics/gr_compositor.h"

class QZColorPalette;
class QZData;
class QZString;

/// Names for what a host draws; the library does not look at them.
class QZ_API WAVEDRAWMODE
{
public:
    static const QZInt64 WaveIn = 1;
    static const QZInt64 WaveOut = 2;
    static const QZInt64 WaveStatic = 3;
};

/// A bar chart of bytes on a layer, in the manner of a scope: one column of pixels for each byte, upward from
/// an origin, with a grid and a scale in dark green.
///
/// The layer stays the caller's and must outlive the histogram, which keeps a copy of the point and of the
/// data. One thread at a time.
class QZ_API QZHistogram : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFF8;

    /// @param origin  where base line and axis meet
    QZHistogram(QZGraphics* layer, const QZPoint* origin);
    QZHistogram(QZGraphics* layer, int x, int y);
    QZHistogram(const QZHistogram&) = delete;
    QZHistogram& operator=(const QZHistogram&) = delete;
    ~QZHistogram() override;

    QZInt64 GetType() override;

    /// Draws the bytes but the last two, the first one right of the origin, and keeps a copy for GetValue.
    void DrawData(const QZData* data);
    /// @param withTable  not 0: grid and scale, at steps of 16, below the bars
    void DrawData(const QZData* data, unsigned char withTable);
    template <std::integral T>
    void DrawData(const QZData* data, T withTable)
    {
        DrawData(data, static_cast<unsigned char>(withTable));
    }
    /// The same columns without table and copy, each pixel in the palette's colour of its height.
    void DrawData(const QZData* data, QZColorPalette* palette);

    /// A black layer with grid and scale.
    void DrawTable();

    /// A cross-hair through the point, labelled with its co-ordinates against the origin divided by zoom.
    void GetPoint(int x, int y);
    void GetPoint(QZGraphics* layer, int x, int y, float zoom);

    /// A cross-hair, and the value of the kept byte whose column this is, if there is one. The column of
    /// byte 0 counts as the origin's here.
    void GetValue(const QZPoint* point);
    void GetValue(int x, int y);

    /// Axes with ticks at each step, and numbers on each axis whose flag is set. Only the longest form looks
    /// at its point and flags; the others are a plain scale at the origin.
    void Scale();
    void Scale(const QZPoint* point);
    void Scale(int step);
    void Scale(const QZPoint* point, int step, unsigned char xLabels, unsigned char yLabels);
    void Scale(const QZPoint* point, int step, unsigned char xLabels, unsigned char yLabels, int color);

    /// Lines over the whole layer at each step from the origin.
    void Grid();
    void Grid(int step);
    void Grid(int step, unsigned int color);

private:
    int ColumnEnd(const QZData* data) const;

    QZPoint* m_origin;
    QZGraphics* m_layer;
    QZData* m_data = nullptr;
};

/// An address ruler: a bar that stands for a range of addresses, with a selected range, labelled marks and a
/// mouse cursor that tells the address below it.
///
/// It makes two layers in a collection, "DwLayer" for what stands and "Marks" for what moves; they are the
/// collection's, which must outlive the ruler. After changes call Update, then Update of the collection. A
/// view without length puts everything at its begin. One thread at a time, the collection's.
class QZ_API QZLinearGraph : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFF9;

    /// @throws QZException as QZGraphicsCollection::Add, when the collection has layers of these names
    QZLinearGraph(QZGraphicsCollection* collection, unsigned int begin, unsigned int length);
    QZLinearGraph(const QZLinearGraph&) = delete;
    QZLinearGraph& operator=(const QZLinearGraph&) = delete;
    ~QZLinearGraph() override;

    QZInt64 GetType() override;

    /// The selected range. Outside of the view its end marks are faded; the next Reset makes it the view. A
    /// length that would take the range past 0xFF000000 is not stored.
    unsigned int GetBegin() const { return m_begin; }
    void SetBegin(unsigned int begin);
    unsigned int GetLength() const { return m_length; }
    void SetLength(unsigned int length);

    /// Between pixels of the ruler's width and addresses of the selected length.
    unsigned int PixelToLength(unsigned int pixel) const;
    unsigned int LengthToPixel(unsigned int length) const;

    /// Puts the mouse mark at a column of the collection, or the ruler's nearest one, with the address.
    void SetMousePoint(int x);
    /// The address under the mouse mark.
    unsigned int GetMouseAddress() const { return m_mouseAddress; }
    /// The ruler's own text, shown below it from the next SetMousePoint on; empty at first.
    QZString* GetInfo() const { return m_info; }

    /// Asks the collection to repaint the ruler.
    void Update();

    /// Draws the ruler anew: the selected range becomes the view.
    void Reset();

    /// A bar on the ruler from `at` on, with a label above it that replaces any other of the same text: the
    /// text and the number of its end, or, for a mark of one pixel, the text twice and the number.
    void Mark(unsigned int at, unsigned int span, unsigned int color, QZString* text);
    void Mark(unsigned int at, unsigned int span, unsigned int color);
    template <std::integral T>
    void Mark(unsigned int at, unsigned int span, T color)
    {
        Mark(at, span, static_cast<unsigned int>(color));
    }
    void Mark(unsigned int at, unsigned int color, QZString* text);

private:
    QZShape* MarkOf(const QZWChar* key) const;
    int ViewToPixel(QZInt64 distance) const;
    void Place(const QZWChar* key, QZInt64 address);
    void Select(const QZRectangle* area);
    void AddMarks();
    void AddNumber(int x, QZUInt32 number);
    QZRectangle DrawMark(unsigned int at, int width, unsigned int color);
    void Label(int x, QZString* key, QZString* text, unsigned int color);
    void ReplaceMark(QZString* key, QZShape* shape);

    QZGraphicsCollection* m_collection;
    QZPoint* m_place;
    QZSize* m_size;
    QZGraphics* m_marks;
    QZGraphics* m_drawing;
    QZUInt32 m_begin = 0;
    QZUInt32 m_length = 0;
    QZUInt32 m_viewBegin = 0;
    QZUInt32 m_viewLength = 0;
    QZUInt32 m_selectionColor = 0x8F8F8F00;
    QZUInt32 m_mouseAddress = 0;
    QZString* m_info;
};

#endif
