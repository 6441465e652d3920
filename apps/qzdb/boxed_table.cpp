#include "boxed_table.h"

#include "text.h"

namespace qzdb
{

BoxedTable::BoxedTable(const std::vector<std::string>& columns) : m_table(new QZDataTable())
{
    for (const std::string& column : columns)
    {
        const OwnedString name = StringFromUtf8(Visible(column));
        m_table->Columns->Add(name.get(), QZDataType::TEXTUTF16LE);
    }
}

void BoxedTable::Add(const std::vector<std::string>& cells)
{
    QZDataRow* row = m_table->Rows->NewRow();
    for (std::size_t i = 0; i < cells.size(); ++i)
    {
        // A cell that is not set is shown blank.
        if (cells[i].empty()) continue;
        const OwnedString text = StringFromUtf8(Visible(cells[i]));
        row->SetElement(static_cast<QZInt64>(i), text.get());
    }
}

void BoxedTable::Show(const Console& console)
{
    std::fflush(console.out);
    QZConsole().Write(m_table.get());
}

}  // namespace qzdb
