#ifndef QZLIB_GRAPHICS_PIXELS_GRID_H
#define QZLIB_GRAPHICS_PIXELS_GRID_H

#include <memory>

#include "graphics/gr_geometry.h"

class QZString;

/// A grid of square cells with a selected cell. Copies share the cells. One thread at a time.
class QZ_API QZRectangles : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFF4;

    /// columns * rows rectangles of `cell` pixels, the first at (x, y).
    QZRectangles(int x, int y, int columns, int rows, int cell);

    QZInt64 GetType() override;

    /// The number of columns and rows, not pixels.
    int GetWidth() const { return m_columns; }
    int GetHeight() const { return m_rows; }

    /// "3_7" for column 3 of row 7, in a new string; give it back with QZStringFactory::Recycle.
    QZString* CreateKey(int column, int row);

    /// The cell, which the grid owns, or null.
    QZRectangle* GetRect(int column, int row);
    /// The cell at a point, with column and row exchanged: the mirrored cell on a square grid, possibly null
    /// on another one. A point outside gives the nearest cell; a co-ordinate below 1 gives null.
    QZRectangle* GetRect(const QZPoint* point);

    /// Selects the cell. False, and the selection does not change, when there is no such cell.
    QZBool Select(int column, int row);
    QZBool Select(const QZPoint* point);
    /// The selected cell, null by default.
    QZRectangle* GetSelected() const { return m_selected; }

private:
    struct Cells;

    QZBool SelectRect(QZRectangle* rectangle);

    std::shared_ptr<Cells> m_cells;
    QZRectangle* m_selected = nullptr;
    int m_columns;
    int m_rows;
    int m_cell;
};

#endif
