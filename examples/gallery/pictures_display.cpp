// Displays of data, palettes and the compositor.

#include "gallery.h"

namespace gallery
{

namespace
{

/// Bytes whose values form three humps.
QZData Wave(int count)
{
    QZData data(count);
    for (int i = 0; i < count; ++i)
    {
        const int x = i % 100 - 50;
        data.SetValueByte(i, static_cast<QZByte>(30 + i / 3 + (2500 - x * x) / 20));
    }
    return data;
}

void Histogram(QZGraphics& canvas)
{
    QZHistogram histogram(&canvas, 32, 280);
    histogram.DrawTable();
    const QZData data = Wave(300);
    histogram.DrawData(&data);
    histogram.GetValue(186, 120);
}

void HistogramColors(QZGraphics& canvas)
{
    QZCollection colors;
    for (unsigned int color : {0x0000A0u, 0x00A0A0u, 0x00C000u, 0xE0E000u, 0xE00000u}) colors.Push(color);
    QZColorPalette palette(&colors, 0, 0, 1, 256);
    QZHistogram histogram(&canvas, 32, 280);
    histogram.DrawTable();
    const QZData data = Wave(300);
    histogram.DrawData(&data, &palette);
}

void ScaleNumbers(QZGraphics& canvas)
{
    QZHistogram histogram(&canvas, 0, 0);
    const QZPoint center(150, 100);
    histogram.Scale(&center, 25, 1, 1, static_cast<int>(0xFF00C000));
}

void Palettes(QZGraphics& canvas)
{
    QZCollection rainbow;
    for (unsigned int color : {0xFF0000u, 0xFFFF00u, 0x00FF00u, 0x00FFFFu, 0x0000FFu, 0xFF00FFu})
        rainbow.Push(color);
    QZCollection fire;
    for (unsigned int color : {0x000000u, 0xA00000u, 0xFFA000u, 0xFFFFE0u}) fire.Push(color);
    Label(canvas, 10, 5, "six anchors over 320 columns", kBlack);
    // The point form takes y first.
    const QZPoint place(20, 10);
    const QZSize size(320, 30);
    QZColorPalette(&rainbow, &place, &size).Draw(&canvas);
    Label(canvas, 10, 60, "four anchors over 320 columns", kBlack);
    QZColorPalette(&fire, 75, 10, 30, 320).Draw(&canvas);
    Label(canvas, 345, 5, "downward", kBlack);
    QZColorPalette(&rainbow, 20, 350, 120, 20).Draw(&canvas);
    QZColorPalette(&fire, 20, 380, 120, 20).Draw(&canvas);
    // The same gradient, its colours read one by one.
    Label(canvas, 10, 115, "GetColor at every fourth place", kBlack);
    QZColorPalette palette(&rainbow, &place, &size);
    for (int i = 0; i < 320; i += 4)
    {
        const QZRectangle cell(10 + i, 130, 3, 10);
        canvas.Fill(&cell, palette.GetColor(i));
    }
}

/// The whole picture of a compositor.
void ShowBackground(QZGraphics& canvas, QZGraphicsCollection& stack)
{
    canvas.Paste(0, 0, stack.GetBackground(), 1);
}

void Ruler(QZGraphics& canvas)
{
    QZGraphicsCollection stack(canvas.GetWidth(), canvas.GetHeight());
    stack.SetBackColor(0xFFD8E0E8);
    stack.FillBickColor();
    stack.Refersh();
    QZLinearGraph ruler(&stack, 0x1000, 0x2000);
    QZString code("code ");
    QZString data("data ");
    QZString entry("entry ");
    ruler.Mark(0x200, 0x600, kBlue, &code);
    ruler.Mark(0xC00, 0x800, kGreen, &data);
    ruler.Mark(0x1800, 0x300, kYellow);
    ruler.Mark(0x1C00, kRed, &entry);
    ruler.SetBegin(0x1800);
    ruler.SetLength(0x700);
    ruler.GetInfo()->Set("a text below the ruler");
    ruler.SetMousePoint(445);
    ruler.Update();
    stack.Update();
    ShowBackground(canvas, stack);
}

/// Three layers: a grid that does not move, a disc that moves, and a title on top.
class Scene
{
public:
    Scene(int width, int height) : m_stack(width, height)
    {
        m_stack.SetBackColor(0xFF203040);
        m_stack.FillBickColor();
        m_stack.Refersh();
        QZGraphics* grid = m_stack.Add("grid");
        m_disc = m_stack.Add("disc");
        QZGraphics* title = m_stack.Add("title");
        QZHistogram lines(grid, width / 2, height / 2);
        lines.Grid(20, 0xFF405060);
        const QZRectangle box(20, 20, 100, 60);
        grid->Fill(&box, 0xFF806020);
        title->SetColor(kWhite);
        title->Draw(10, height - 20, "three layers");
        const QZRectangle glass(150, 100, 120, 90);
        title->Fill(&glass, 0x60FFFFFF);
    }

    void PlaceDisc(int x, int y)
    {
        m_disc->Clear();
        QZCircle circle(x, y, 30);
        circle.Fill = 1;
        QZShape shape;
        shape.Add(&circle, 0xC0E04040);
        m_disc->Draw(&shape);
        m_stack.Update();
    }

    QZGraphicsCollection& Stack() { return m_stack; }

private:
    QZGraphicsCollection m_stack;
    QZGraphics* m_disc;
};

void CompositorBefore(QZGraphics& canvas)
{
    Scene scene(canvas.GetWidth(), canvas.GetHeight());
    scene.PlaceDisc(80, 70);
    ShowBackground(canvas, scene.Stack());
}

void CompositorAfter(QZGraphics& canvas)
{
    Scene scene(canvas.GetWidth(), canvas.GetHeight());
    scene.PlaceDisc(80, 70);
    // Only the areas that the disc left and entered are painted again.
    scene.PlaceDisc(170, 120);
    ShowBackground(canvas, scene.Stack());
}

void CompositorAreas(QZGraphics& canvas)
{
    Scene scene(canvas.GetWidth(), canvas.GetHeight());
    scene.PlaceDisc(80, 70);
    scene.Stack().ShowAreas(1);
    scene.PlaceDisc(170, 120);
    ShowBackground(canvas, scene.Stack());
}

}  // namespace

std::vector<Picture> DisplayPictures()
{
    return {{"histogram", 360, 300, kBlack, Histogram},
            {"histogram-colors", 360, 300, kBlack, HistogramColors},
            {"scale", 300, 200, kBlack, ScaleNumbers},
            {"palettes", 420, 150, kWhite, Palettes},
            {"ruler", 640, 200, kWhite, Ruler},
            {"compositor-before", 300, 220, kBlack, CompositorBefore},
            {"compositor-after", 300, 220, kBlack, CompositorAfter},
            {"compositor-areas", 300, 220, kBlack, CompositorAreas}};
}

}  // namespace gallery
