#include "graphics/gr_pixels_grid.h"

#include <algorithm>
#include <vector>

#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_scoped.h"
#include "graphics/internal/gr_geometry_word.h"

const QZInt64 QZRectangles::Type;

struct QZRectangles::Cells
{
    Cells(int x, int y, int cell) : origin(x, y), size(cell, cell) {}
    Cells(const Cells&) = delete;
    Cells& operator=(const Cells&) = delete;
    ~Cells()
    {
        std::vector<QZObject*> rectangles;
        for (QZInt64 i = 0; i < byKey.Count(); ++i) rectangles.push_back(byKey.GetElement(i));
        // The collection lets go of them first: what it holds is locked.
        byKey.Clear();
        for (QZObject* rectangle : rectangles) delete rectangle;
    }

    QZPoint origin;
    QZSize size;
    QZKeyValueCollection byKey;
};

namespace
{

/// Where cell number i begins.
int Place(int origin, int i, int cell)
{
    const auto distance = static_cast<QZUInt32>(i) * static_cast<QZUInt32>(cell);
    return word::Add(origin, static_cast<int>(distance));
}

/// The number of the cell at a place, the nearest one for places outside.
int CellAt(int place, int origin, int cell, int count)
{
    const QZInt64 number = QZInt64{word::Subtract(place, origin)} / cell;
    return static_cast<int>(std::clamp<QZInt64>(number, 0, QZInt64{count} - 1));
}

}  // namespace

QZRectangles::QZRectangles(int x, int y, int columns, int rows, int cell)
    : m_cells(std::make_shared<Cells>(x, y, cell)), m_columns(columns), m_rows(rows), m_cell(cell)
{
    for (int row = 0; row < rows; ++row)
    {
        for (int column = 0; column < columns; ++column)
        {
            const QZScopedString key(CreateKey(column, row));
            auto rectangle =
                std::make_unique<QZRectangle>(Place(x, column, cell), Place(y, row, cell), cell, cell);
            m_cells->byKey.Add(key.Get(), rectangle.get());
            static_cast<void>(rectangle.release());
        }
    }
}

QZInt64 QZRectangles::GetType() { return 0x81FFFF4; }

QZString* QZRectangles::CreateKey(int column, int row)
{
    QZString* key = QZStringFactory::CreateString();
    key->Append(column);
    key->Append("_");
    key->Append(row);
    return key;
}

QZRectangle* QZRectangles::GetRect(int column, int row)
{
    const QZScopedString key(CreateKey(column, row));
    return static_cast<QZRectangle*>(m_cells->byKey.GetElement(key.Get()));
}

QZRectangle* QZRectangles::GetRect(const QZPoint* point)
{
    if (point->GetY() < 1 || point->GetX() < 1 || m_columns < 1 || m_rows < 1 || m_cell == 0) return nullptr;
    const int column = CellAt(point->GetX(), m_cells->origin.GetX(), m_cell, m_columns);
    const int row = CellAt(point->GetY(), m_cells->origin.GetY(), m_cell, m_rows);
    // Exchanged: hosts that lay a grid out by rows rely on the mirrored cell.
    return GetRect(row, column);
}

QZBool QZRectangles::SelectRect(QZRectangle* rectangle)
{
    if (rectangle == nullptr) return 0;
    m_selected = rectangle;
    return 1;
}

QZBool QZRectangles::Select(int column, int row) { return SelectRect(GetRect(column, row)); }
QZBool QZRectangles::Select(const QZPoint* point) { return SelectRect(GetRect(point)); }
