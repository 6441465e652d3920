#ifndef QZLIB_GRAPHICS_DISPLAY_H
#define QZLIB_GRAPHICS_DISPLAY_H

#include <concepts>

#include "graphics/gr_compositor.h"

class QZColorPalette;
class QZData;
class QZString;

/// Names of drawing modes for hosts. The library does not use them.
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
/// The caller owns the layer, which must exist as long as the histogram. The histogram copies the point and
/// the data. One thread at a time.
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

    /// Draws all bytes except the last two, the first one to the right of the origin, and keeps a copy for
    /// GetValue.
    void DrawData(const QZData* data);
    /// @param withTable  not 0: grid and scale, at steps of 16, below the bars
    void DrawData(const QZData* data, unsigned char withTable);
    template <std::integral T>
    void DrawData(const QZData* data, T withTable)
    {
        DrawData(data, static_cast<unsigned char>(withTable));
    }
    /// Draws the same columns without table and without a copy; each pixel has the palette's colour for its
    /// height.
    void DrawData(const QZData* data, QZColorPalette* palette);

    /// Fills the layer with black and draws grid and scale.
    void DrawTable();

    /// Draws a cross-hair through the point, labelled with its co-ordinates relative to the origin, divided
    /// by zoom.
    void GetPoint(int x, int y);
    void GetPoint(QZGraphics* layer, int x, int y, float zoom);

    /// Draws a cross-hair, and the value of the copied byte of this column, if there is one. Here the column
    /// of byte 0 is that of the origin.
    void GetValue(const QZPoint* point);
    void GetValue(int x, int y);

    /// Draws axes with ticks at each step, and numbers on each axis whose flag is set. Only the form with all
    /// arguments uses its point and flags; the others draw a scale without numbers at the origin.
    void Scale();
    void Scale(const QZPoint* point);
    void Scale(int step);
    void Scale(const QZPoint* point, int step, unsigned char xLabels, unsigned char yLabels);
    void Scale(const QZPoint* point, int step, unsigned char xLabels, unsigned char yLabels, int color);

    /// Draws lines over the whole layer at each step from the origin.
    void Grid();
    void Grid(int step);
    void Grid(int step, unsigned int color);

private:
    int ColumnEnd(const QZData* data) const;

    QZPoint* m_origin;
    QZGraphics* m_layer;
    QZData* m_data = nullptr;
};

/// An address ruler: a bar that shows a range of addresses, with a selected range, labelled marks and a mouse
/// mark with its address.
///
/// It makes two layers in a collection: "DwLayer" for the fixed parts and "Marks" for the moving ones. The
/// collection owns them and must exist as long as the ruler. After changes call Update, then Update of the
/// collection. In a view of length 0 everything is drawn at its begin. One thread at a time, the
/// collection's.
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

    /// The selected range. Outside the view its end marks are faded; the next Reset makes it the view. A
    /// length with which the range would end after 0xFF000000 is not stored.
    unsigned int GetBegin() const { return m_begin; }
    void SetBegin(unsigned int begin);
    unsigned int GetLength() const { return m_length; }
    void SetLength(unsigned int length);

    /// Conversion between pixels of the ruler's width and addresses of the selected length.
    unsigned int PixelToLength(unsigned int pixel) const;
    unsigned int LengthToPixel(unsigned int length) const;

    /// Moves the mouse mark to a column of the collection, or to the nearest one of the ruler, and shows its
    /// address.
    void SetMousePoint(int x);
    /// The address under the mouse mark.
    unsigned int GetMouseAddress() const { return m_mouseAddress; }
    /// The text that the next SetMousePoint shows below the ruler; empty by default. The ruler owns it.
    QZString* GetInfo() const { return m_info; }

    /// Asks the collection to repaint the ruler.
    void Update();

    /// Makes the selected range the view and draws the ruler again.
    void Reset();

    /// Draws a bar on the ruler from address `at`, with a label above it, which replaces a label of the same
    /// text. The label is the text and the number of the end; for a mark of one pixel it is the text twice
    /// and the number.
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
