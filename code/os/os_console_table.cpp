#include "os/internal/os_console_table.h"

#include <algorithm>
#include <string>
#include <vector>

#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_environment.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_table.h"

namespace
{
using Text = std::basic_string<QZWChar>;
using Row = std::vector<Text>;

std::size_t WidthOf(const Text& text)
{
    std::size_t width = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        QZUInt32 point = static_cast<QZUInt16>(text[i]);
        const bool pair = point >= 0xD800 && point < 0xDC00 && i + 1 < text.size();
        if (pair) point = 0x10000 + ((point - 0xD800) << 10) + (static_cast<QZUInt16>(text[++i]) - 0xDC00u);
        width += static_cast<std::size_t>(QZConsoleWidth(point));
    }
    return width;
}

/// Control characters, which would break the grid, become blanks.
Text CellText(QZString* source)
{
    Text text(source->GetPointer(), static_cast<std::size_t>(source->GetLength()));
    for (QZWChar& unit : text)
        if (static_cast<QZUInt16>(unit) < 0x20) unit = QZWChar{' '};
    return text;
}

Row Header(QZDataTable* table)
{
    Row cells;
    for (QZInt64 i = 0; i < table->Columns->Count(); ++i)
        cells.push_back(CellText(table->Columns->GetColumn(i)));
    return cells;
}

Row Cells(QZDataTable* table, QZDataRow* row)
{
    Row cells;
    for (QZInt64 i = 0; i < table->Columns->Count(); ++i)
    {
        QZData* value = row->GetElement(i);
        // An empty value is shown without text for every type: new rows of the database hold such values.
        if (value == nullptr || value->GetSize() == 0)
        {
            cells.emplace_back();
            continue;
        }
        QZString* text = QZConvert::DataToText(value, table->Columns->GetElementType(i));
        cells.push_back(CellText(text));
        QZStringFactory::Recycle(&text);
    }
    return cells;
}

void AppendLine(QZString* out, const std::vector<std::size_t>& widths, const QZWChar* marks)
{
    Text line(1, marks[0]);
    for (std::size_t i = 0; i < widths.size(); ++i)
    {
        line.append(widths[i], QZWChar{0x2500});
        line.push_back(i + 1 < widths.size() ? marks[1] : marks[2]);
    }
    out->Append(line.c_str());
    out->Append(QZEnvironment::NewLine);
}

void AppendRow(QZString* out, const std::vector<std::size_t>& widths, const Row& cells)
{
    Text line(1, QZWChar{0x2502});
    for (std::size_t i = 0; i < widths.size(); ++i)
    {
        line += cells[i];
        line.append(widths[i] - WidthOf(cells[i]), QZWChar{' '});
        line.push_back(QZWChar{0x2502});
    }
    out->Append(line.c_str());
    out->Append(QZEnvironment::NewLine);
}
}  // namespace

void QZConsoleTableText(QZDataTable* table, QZString* text)
{
    if (table->Columns->Count() == 0) return;
    std::vector<Row> rows;
    rows.push_back(Header(table));
    for (QZInt64 i = 0; i < table->Rows->Count(); ++i) rows.push_back(Cells(table, table->Rows->GetRow(i)));
    std::vector<std::size_t> widths(rows[0].size(), 0);
    for (const Row& row : rows)
        for (std::size_t i = 0; i < widths.size(); ++i) widths[i] = std::max(widths[i], WidthOf(row[i]));
    const QZWChar top[] = {0x250C, 0x252C, 0x2510};
    const QZWChar middle[] = {0x251C, 0x253C, 0x2524};
    const QZWChar bottom[] = {0x2514, 0x2534, 0x2518};
    AppendLine(text, widths, top);
    for (std::size_t i = 0; i < rows.size(); ++i)
    {
        if (i > 0) AppendLine(text, widths, middle);
        AppendRow(text, widths, rows[i]);
    }
    AppendLine(text, widths, bottom);
}
