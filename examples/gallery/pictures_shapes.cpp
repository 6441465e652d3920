// Figures, text and the algebra of shapes.

#include "gallery.h"

#include <string>

namespace gallery
{

void Label(QZGraphics& canvas, int x, int y, const char* text, unsigned int color)
{
    QZString string(text);
    QZShape shape;
    shape.Add(x, y, &string, color);
    canvas.Draw(&shape);
}

namespace
{

void Lines(QZGraphics& canvas)
{
    Label(canvas, 10, 5, "lines", kBlack);
    QZShape fan;
    for (int i = 0; i <= 10; ++i)
    {
        const QZLine down(70, 80, 10 + i * 12, 20);
        const QZLine up(70, 80, 10 + i * 12, 140);
        fan.Add(&down, kBlue);
        fan.Add(&up, kGreen);
    }
    const QZLine level(10, 80, 130, 80);
    fan.Add(&level, kRed);
    canvas.Draw(&fan);
}

void Rectangles(QZGraphics& canvas)
{
    Label(canvas, 160, 5, "rectangles", kBlack);
    QZShape shape;
    for (int i = 0; i < 5; ++i)
    {
        const QZRectangle outline(160 + i * 8, 20 + i * 8, 90 - i * 16, 60 - i * 10);
        shape.Add(&outline, kBlack);
    }
    QZRectangle filled(160, 95, 40, 40);
    filled.Fill = 1;
    shape.Add(&filled, kYellow);
    const QZRectangle half(215, 95, 40, 40);
    shape.Add(&half, kRed, 1);
    const QZRectangle frame(215, 95, 40, 40);
    canvas.Draw(&shape);
    canvas.SetColor(kBlack);
    canvas.Draw(&frame);
}

void Circles(QZGraphics& canvas)
{
    Label(canvas, 290, 25, "circles: outline, filled, wider the further out", kBlack);
    QZShape shape;
    for (int radius : {10, 25, 40})
    {
        const QZCircle circle(350, 90, radius);
        shape.Add(&circle, kBlue);
    }
    QZCircle disc(450, 90, 25);
    disc.Fill = 1;
    shape.Add(&disc, kGreen);
    for (int x : {20, 120, 240, 380, 540})
    {
        const QZCircle circle(x + 20, 190, 15);
        shape.Add(&circle, kRed);
        const QZCrossMark center(x + 20, 190, 2);
        shape.Add(&center, kBlack);
    }
    canvas.Draw(&shape);
}

void Crosses(QZGraphics& canvas)
{
    Label(canvas, 10, 235, "cross marks, upright and turned by 15 degrees each", kBlack);
    QZShape shape;
    const QZCrossMark upright(30, 275, 20);
    shape.Add(&upright, kBlack);
    for (int i = 0; i < 6; ++i)
    {
        const QZCrossMark turned(90 + i * 60, 275, 20, 15.0F * static_cast<float>(i));
        shape.Add(&turned, kBlue);
    }
    canvas.Draw(&shape);
    canvas.DrawCrossRed(450, 275);
    canvas.DrawCrossGreen(480, 275);
    canvas.DrawCrossBlue(510, 275);
}

void Figures(QZGraphics& canvas)
{
    Lines(canvas);
    Rectangles(canvas);
    Circles(canvas);
    Crosses(canvas);
}

/// A glyph that the host defines: a square, each row of dots one text.
void SaveGlyph(unsigned short code, const std::vector<std::string>& rows)
{
    const int side = static_cast<int>(rows.size());
    QZData glyph(2 + side * side);
    glyph.SetValueByte(0, static_cast<QZByte>(side));
    glyph.SetValueByte(1, static_cast<QZByte>(side));
    QZInt64 at = 2;
    for (const std::string& row : rows)
        for (const char dot : row) glyph.SetValueByte(at++, dot == '#' ? 1 : 0);
    QZLattice::Save(code, &glyph, 0);
}

void SaveGlyphs(unsigned short smile)
{
    SaveGlyph(smile, {"....####....", "..##....##..", ".#........#.", ".#..#..#..#.", "#...#..#...#",
                      "#..........#", "#..........#", "#..#....#..#", ".#..####..#.", ".#........#.",
                      "..##....##..", "....####...."});
    SaveGlyph(0x5C71,
              {".....#.....", ".....#.....", ".....#.....", ".....#.....", "#....#....#", "#....#....#",
               "#....#....#", "#....#....#", "#....#....#", "###########", "..........."});
    SaveGlyph(0x6C34,
              {".....#.....", ".....#....#", "####.#...#.", "...#.##.#..", "...#.###...", "..#..#.#...",
               "..#..#..#..", ".#...#...#.", "#....#....#", "...#.#.....", "....##....."});
    SaveGlyph(0x7530,
              {"###########", "#....#....#", "#....#....#", "#....#....#", "#....#....#", "###########",
               "#....#....#", "#....#....#", "#....#....#", "#....#....#", "###########"});
}

/// Box-drawing characters: written as a text they have gaps between them, set cell by cell they join.
void Boxes(QZGraphics& canvas)
{
    const QZWChar box[] = {9484, 9472, 9516, 9472, 9488, 13, 10, 9474, 32,   9474, 32,   9474, 13, 10,
                           9500, 9472, 9532, 9472, 9508, 13, 10, 9492, 9472, 9524, 9472, 9496, 0};
    QZString frame(box);
    canvas.SetColor(kBlue);
    canvas.Draw(10, 100, &frame);
    int x = 50;
    int y = 100;
    for (const QZWChar code : box)
    {
        if (code == 0) break;
        if (code == 13)
        {
            x = 50;
            y += 8;
        }
        if (code < 32) continue;
        QZShape shape;
        const QZLattice cell(x, y, code);
        shape.Add(&cell, kBlue);
        canvas.Draw(&shape);
        x += 5;
    }
}

void Text(QZGraphics& canvas)
{
    Label(canvas, 10, 5, "the built-in characters", kGray);
    for (int i = 0; i < 93; ++i)
    {
        QZShape shape;
        const QZLattice glyph(10 + i % 24 * 16, 22 + i / 24 * 16, static_cast<unsigned short>(32 + i));
        shape.Add(&glyph, kBlack);
        canvas.Draw(&shape);
    }
    Boxes(canvas);
    constexpr unsigned short kSmile = 0xE000;
    SaveGlyphs(kSmile);
    QZString lines("first line\r\nsecond line with ");
    const QZWChar smile[] = {kSmile, 0};
    lines.Append(smile);
    lines.Append("\r\nand an unknown one: ");
    const QZWChar unknown[] = {0xE001, 0};
    lines.Append(unknown);
    canvas.SetColor(kRed);
    canvas.Draw(120, 100, &lines);
    canvas.SetColor(kGreen);
    canvas.Draw(280, 100, -1234567890123LL);
    const QZWChar chinese[] = {0x5C71, 0x6C34, 0x7530, 0};
    QZString drawn(chinese);
    canvas.SetColor(kBlack);
    canvas.Draw(280, 118, &drawn);
}

/// Two overlapping discs of points.
void AddDiscs(QZShape* first, QZShape* second)
{
    QZCircle left(20, 30, 18);
    QZCircle right(36, 30, 18);
    left.Fill = 1;
    right.Fill = 1;
    first->Add(&left);
    second->Add(&right);
}

/// The result of set algebra has no area until something is added to it: here a rectangle.
void DrawAt(QZGraphics& canvas, QZShape* shape, int x, int y, unsigned int color)
{
    const QZRectangle room(0, 0, 70, 70);
    shape->Add(&room);
    shape->Fill(color);
    canvas.Draw(x, y, shape);
}

void Algebra(QZGraphics& canvas)
{
    QZShape first;
    QZShape second;
    AddDiscs(&first, &second);
    QZShape* both = QZShape::Union(&first, &second);
    QZShape* common = QZShape::Intersection(&first, &second);
    Label(canvas, 10, 10, "first", kBlack);
    Label(canvas, 90, 10, "second", kBlack);
    Label(canvas, 170, 10, "union", kBlack);
    Label(canvas, 250, 10, "intersection", kBlack);
    Label(canvas, 330, 10, "nearest pair", kBlack);
    DrawAt(canvas, both, 170, 25, kGreen);
    DrawAt(canvas, common, 250, 25, kRed);
    DrawAt(canvas, &first, 10, 25, kBlue);
    DrawAt(canvas, &second, 90, 25, kYellow);
    QZShape::Recycle(&both);
    QZShape::Recycle(&common);

    QZPointCollection a;
    QZPointCollection b;
    for (int i = 0; i < 12; ++i)
    {
        a.Add(335 + i * 37 % 30, 30 + i * 23 % 60);
        b.Add(370 + i * 29 % 30, 30 + i * 41 % 60);
    }
    QZPointCollection* pair = QZPointCollection::MinDistance(&a, &b);
    QZShape shape;
    const QZLine shortest(pair->GetElementX(0), pair->GetElementY(0), pair->GetElementX(1),
                          pair->GetElementY(1));
    shape.Add(&shortest, kRed);
    for (auto* points : {&a, &b})
        for (QZInt64 i = 0; i < points->Count(); ++i)
        {
            const QZCrossMark mark(points->GetElementX(i), points->GetElementY(i), 1);
            shape.Add(&mark, points == &a ? kBlue : kGreen);
        }
    canvas.Draw(&shape);
    QZPointCollection::Recycle(&pair);
}

}  // namespace

std::vector<Picture> ShapePictures()
{
    return {{"figures", 600, 310, kWhite, Figures},
            {"text", 400, 150, kWhite, Text},
            {"algebra", 420, 105, kWhite, Algebra}};
}

}  // namespace gallery
