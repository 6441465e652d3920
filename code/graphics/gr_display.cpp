#include "graphics/gr_display.h"

#include <algorithm>

#include "fw/fw_data.h"
#include "fw/fw_string.h"
#include "graphics/gr_palette.h"
#include "graphics/internal/gr_geometry_word.h"

const QZInt64 WAVEDRAWMODE::WaveIn;
const QZInt64 WAVEDRAWMODE::WaveOut;
const QZInt64 WAVEDRAWMODE::WaveStatic;
const QZInt64 QZHistogram::Type;

namespace
{

constexpr int kTableStep = 16;
constexpr unsigned int kTableColor = 0xFF002000;
constexpr int kPlainStep = 30;
constexpr unsigned int kPlainColor = 0x8F005F00;

void AddText(QZShape* shape, int x, int y, const char* before, QZInt64 number)
{
    QZString text(before);
    text.Append(number);
    shape->Add(x, y, &text);
}

/// How many digits a number has.
int DigitsOf(QZInt64 number)
{
    int digits = 1;
    for (; number >= 10; number /= 10) ++digits;
    return digits;
}

/// Every place at step, 2 * step, ... from the origin that lies in 0 to limit - 1, with its number: first
/// upward, then downward. The two directions differ in the sign of the number.
template <typename Visit>
void WalkUp(QZInt64 origin, int step, QZInt64 limit, Visit visit)
{
    if (step < 1) return;
    for (QZInt64 i = std::max<QZInt64>(1, (step - 1 - origin) / step); origin + i * step < limit; ++i)
        visit(static_cast<int>(origin + i * step), i);
}

template <typename Visit>
void WalkDown(QZInt64 origin, int step, QZInt64 limit, Visit visit)
{
    if (step < 1) return;
    for (QZInt64 i = std::max<QZInt64>(1, (origin - limit + step) / step); origin - i * step >= 0; ++i)
        visit(static_cast<int>(origin - i * step), i);
}

void AddHorizontal(QZShape* shape, const QZGraphics* layer, int y)
{
    const QZLine line(0, y, layer->GetWidth() - 1, y);
    shape->Add(&line);
}

void AddVertical(QZShape* shape, const QZGraphics* layer, int x)
{
    const QZLine line(x, 0, x, layer->GetHeight() - 1);
    shape->Add(&line);
}

/// The marks on one axis and their numbers.
class Ticks
{
public:
    Ticks(QZShape* shape, const QZPoint* point, bool xLabels, bool yLabels)
        : m_shape(shape), m_x(point->GetX()), m_y(point->GetY()), m_xLabels(xLabels), m_yLabels(yLabels)
    {}

    void OnX(int x, QZInt64 number, bool minus)
    {
        const QZLine tick(x, word::Subtract(m_y, 1), x, word::Add(m_y, 1));
        m_shape->Add(&tick);
        if (!m_xLabels) return;
        const int characters = DigitsOf(number) + (minus ? 1 : 0);
        AddText(m_shape, word::Subtract(x, 3 * characters), word::Add(m_y, 5), minus ? "-" : "", number);
    }

    void OnY(int y, QZInt64 number, bool minus)
    {
        const QZLine tick(word::Subtract(m_x, 1), y, word::Add(m_x, 1), y);
        m_shape->Add(&tick);
        if (!m_yLabels) return;
        const int characters = DigitsOf(number) + (minus ? 1 : 0);
        AddText(m_shape, word::Subtract(m_x, 5 * characters + 5), word::Subtract(y, 4), minus ? "-" : "",
                number);
    }

private:
    QZShape* m_shape;
    int m_x;
    int m_y;
    bool m_xLabels;
    bool m_yLabels;
};

}  // namespace

QZHistogram::QZHistogram(QZGraphics* layer, const QZPoint* origin)
    : QZHistogram(layer, origin->GetX(), origin->GetY())
{}

QZHistogram::QZHistogram(QZGraphics* layer, int x, int y) : m_origin(new QZPoint(x, y)), m_layer(layer)
{
    m_origin->SetDisposable(GetObjectID(), 0);
}

QZHistogram::~QZHistogram()
{
    m_origin->SetDisposable(GetObjectID(), 1);
    delete m_origin;
    delete m_data;
}

QZInt64 QZHistogram::GetType() { return 0x81FFFF8; }

/// The column after the last bar. The last two bytes have no bar.
int QZHistogram::ColumnEnd(const QZData* data) const
{
    const QZInt64 end = m_origin->GetX() + data->GetSize() - 1;
    return static_cast<int>(std::min<QZInt64>(end, 2147483647));
}

void QZHistogram::DrawData(const QZData* data) { DrawData(data, 1); }

void QZHistogram::DrawData(const QZData* data, unsigned char withTable)
{
    auto* copy = new QZData(data);
    delete m_data;
    m_data = copy;
    if (withTable)
    {
        Grid(kTableStep, kTableColor);
        m_layer->SetColor(0, 96, 0);
        Scale(kTableStep);
    }
    const int x = m_origin->GetX();
    const int y = m_origin->GetY();
    const auto* bytes = static_cast<const unsigned char*>(m_data->GetPointer());
    const QZInt64 first = QZInt64{x} + 1;
    const QZInt64 end = ColumnEnd(m_data);
    const QZInt64 cut = std::max<QZInt64>(first, m_layer->GetWidth());
    QZShape bars;
    const auto add = [&](QZInt64 column, int height) {
        const int c = static_cast<int>(column);
        const QZLine bar(c, y, c, word::Subtract(y, height));
        bars.Add(&bar);
    };
    for (QZInt64 column = first; column < std::min(cut, end); ++column) add(column, bytes[column - first]);
    // Bars right of the layer would only cost memory. They count in the area that is noted as changed, for
    // which the outermost two suffice, as tall as the tallest.
    if (cut < end)
    {
        const int tallest = *std::max_element(bytes + (cut - first), bytes + (end - first));
        add(cut, tallest);
        add(end - 1, tallest);
    }
    bars.Fill(0xFF00DC00);
    m_layer->Draw(&bars);
}

void QZHistogram::DrawData(const QZData* data, QZColorPalette* palette)
{
    const int x = m_origin->GetX();
    const int y = m_origin->GetY();
    const auto* bytes = static_cast<const unsigned char*>(data->GetPointer());
    QZPixelBlock* layer = m_layer;
    for (QZInt64 column = QZInt64{x} + 1; column < ColumnEnd(data); ++column)
        for (int height = 1; height <= bytes[column - x - 1]; ++height)
            layer->SetPixel(static_cast<int>(column), word::Subtract(y, height), palette->GetColor(height));
}

void QZHistogram::DrawTable()
{
    m_layer->Fill(0, 0, 0);
    Grid(kTableStep, kTableColor);
    m_layer->SetColor(0, 96, 0);
    Scale(m_origin, kTableStep, 0, 0);
}

void QZHistogram::GetPoint(int x, int y) { GetPoint(m_layer, x, y, 1.0F); }

void QZHistogram::GetPoint(QZGraphics* layer, int x, int y, float zoom)
{
    const auto above = static_cast<float>(word::Subtract(m_origin->GetY(), y));
    const auto right = static_cast<float>(word::Subtract(x, m_origin->GetX()));
    QZShape shape;
    AddHorizontal(&shape, layer, y);
    AddVertical(&shape, layer, x);
    AddText(&shape, 82, word::Add(y, 10), "", word::Truncate(above / zoom));
    AddText(&shape, word::Add(x, 10), layer->GetHeight() - 48, "", word::Truncate(right / zoom));
    shape.Fill(0xFF008F00);
    layer->Draw(&shape);
}

void QZHistogram::GetValue(const QZPoint* point) { GetValue(point->GetX(), point->GetY()); }

void QZHistogram::GetValue(int x, int y)
{
    GetPoint(x, y);
    if (m_data == nullptr) return;
    m_layer->SetColor(0, 96, 0);
    const QZInt64 index = QZInt64{x} - m_origin->GetX();
    if (index >= 0 && index < m_data->GetSize())
    {
        const int value = static_cast<const unsigned char*>(m_data->GetPointer())[index];
        const int row = word::Subtract(m_origin->GetY(), value);
        const QZLine line(word::Subtract(x, 3), row, word::Add(x, 3), row);
        QZShape shape;
        shape.Add(&line);
        AddText(&shape, word::Add(x, 10), word::Subtract(row, 3), "Value=", value);
        m_layer->Draw(&shape);
    }
    GetPoint(x, y);
}

// The shorter forms use only the step; their other arguments are ignored.
void QZHistogram::Scale() { Scale(kPlainStep); }
void QZHistogram::Scale(const QZPoint*) { Scale(kPlainStep); }
void QZHistogram::Scale(int step) { Scale(m_origin, step, 0, 0, static_cast<int>(kPlainColor)); }
void QZHistogram::Scale(const QZPoint*, int step, unsigned char, unsigned char) { Scale(step); }

void QZHistogram::Scale(const QZPoint* point, int step, unsigned char xLabels, unsigned char yLabels,
                        int color)
{
    const int x = point->GetX();
    const int y = point->GetY();
    const int width = m_layer->GetWidth();
    const int height = m_layer->GetHeight();
    const QZRectangle around(word::Subtract(x, 1), word::Subtract(y, 1), 3, 3);
    QZShape shape;
    shape.Add(point);
    shape.Add(&around);
    AddHorizontal(&shape, m_layer, y);
    AddVertical(&shape, m_layer, x);
    if (xLabels || yLabels) AddText(&shape, word::Subtract(x, 7), word::Add(y, 5), "", 0);
    Ticks ticks(&shape, point, xLabels != 0, yLabels != 0);
    WalkUp(x, step, width, [&](int place, QZInt64 number) { ticks.OnX(place, number, false); });
    WalkDown(x, step, width, [&](int place, QZInt64 number) { ticks.OnX(place, number, true); });
    WalkUp(y, step, height, [&](int place, QZInt64 number) { ticks.OnY(place, number, true); });
    WalkDown(y, step, height, [&](int place, QZInt64 number) { ticks.OnY(place, number, false); });
    shape.Fill(static_cast<unsigned int>(color));
    m_layer->Draw(&shape);
}

void QZHistogram::Grid() { Grid(kPlainStep); }
void QZHistogram::Grid(int step) { Grid(step, kPlainColor); }

void QZHistogram::Grid(int step, unsigned int color)
{
    const int x = m_origin->GetX();
    const int y = m_origin->GetY();
    QZShape shape;
    shape.Add(m_origin);
    const auto vertical = [&](int place, QZInt64) { AddVertical(&shape, m_layer, place); };
    const auto horizontal = [&](int place, QZInt64) { AddHorizontal(&shape, m_layer, place); };
    vertical(x, 0);
    horizontal(y, 0);
    WalkUp(x, step, m_layer->GetWidth(), vertical);
    WalkDown(x, step, m_layer->GetWidth(), vertical);
    WalkUp(y, step, m_layer->GetHeight(), horizontal);
    WalkDown(y, step, m_layer->GetHeight(), horizontal);
    shape.Fill(color);
    m_layer->Draw(&shape);
}
