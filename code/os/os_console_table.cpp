#include <algorithm>
#include <string>
#include <vector>

#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_environment.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_table.h"
#include "os/os_console.h"

namespace
{
using Text = std::basic_string<QZWChar>;
using Row = std::vector<Text>;

struct Range
{
    QZUInt32 first;
    QZUInt32 last;
};

/// Blocks of wide characters: Hangul, CJK, fullwidth forms, emoji.
constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x33FF},  {0x3400, 0x4DBF},
                           {0x4E00, 0x9FFF},   {0xA000, 0xA4CF},   {0xA960, 0xA97F},  {0xAC00, 0xD7A3},
                           {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6},
                           {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

constexpr Range kCombining[] = {{0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200F},
                                {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};

template <std::size_t N>
bool IsIn(const Range (&ranges)[N], QZUInt32 codePoint)
{
    for (const Range& range : ranges)
        if (codePoint >= range.first && codePoint <= range.last) return true;
    return false;
}

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

/// Characters that would break the grid show as blanks.
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
        if (!value)
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

int QZConsoleWidth(QZUInt32 codePoint)
{
    if (codePoint < 0x300) return 1;
    if (IsIn(kCombining, codePoint)) return 0;
    return IsIn(kWide, codePoint) ? 2 : 1;
}

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
