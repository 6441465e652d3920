#ifndef QZLIB_APPS_QZDB_BOXED_TABLE_H
#define QZLIB_APPS_QZDB_BOXED_TABLE_H

#include "tool.h"
#include "values.h"

namespace qzdb
{

/// A boxed table on the console.
class BoxedTable
{
public:
    explicit BoxedTable(const std::vector<std::string>& columns);

    /// Cells in the order of the columns; control characters show as \xNN.
    void Add(const std::vector<std::string>& cells);

    QZInt64 Rows() const { return m_table->Rows->Count(); }

    /// Writes the box with QZConsole, after what has been printed before.
    void Show(const Console& console);

private:
    OwnedTable m_table;
};

}  // namespace qzdb

#endif
