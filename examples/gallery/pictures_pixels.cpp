// Operations on whole blocks of pixels: blending, filters, rotations, conversions.

#include <algorithm>

#include "gallery.h"

namespace gallery
{

Block Landscape(int width, int height)
{
    Block block(new QZPixelBlock(width, height));
    QZCollection sky;
    sky.Push(0x2050A0);
    sky.Push(0xA0D0F0);
    const QZSize size(1, height * 2 / 3);
    const QZPoint origin;
    QZColorPalette palette(&sky, &origin, &size);
    for (int y = 0; y < height; ++y)
        block->Fill(0, y, width, 1, y < height * 2 / 3 ? palette.GetColor(y) : 0xFF408030);
    QZShape shape;
    const QZRectangle house(width / 8, height / 2, width / 4, height / 3);
    shape.Add(&house, 0xFFB05030, 1);
    const QZRectangle door(width / 8 + 4, height * 5 / 8, width / 16, height * 5 / 24);
    QZShape front;
    front.Add(&door, 0xFF402010, 1);
    QZCircle sun(width * 3 / 4, height / 4, height / 10);
    sun.Fill = 1;
    front.Add(&sun, 0xFFFFE060);
    QZString text("F");
    front.Add(width * 3 / 4, height * 3 / 4, &text, kWhite);
    block->Draw(&shape);
    block->Draw(&front);
    return block;
}

namespace
{

void Checkers(QZGraphics& canvas, int x, int y, int width, int height)
{
    for (int row = 0; row < height; row += 10)
        for (int column = 0; column < width; column += 10)
        {
            const QZRectangle cell(x + column, y + row, std::min(10, width - column),
                                   std::min(10, height - row));
            canvas.Fill(&cell, (row + column) / 10 % 2 ? 0xFFC0C0C0 : 0xFFF0F0F0);
        }
}

void Blend(QZGraphics& canvas)
{
    Checkers(canvas, 10, 25, 180, 120);
    Checkers(canvas, 210, 25, 180, 120);
    Label(canvas, 10, 8, "blended by alpha", kBlack);
    Label(canvas, 210, 8, "overwritten", kBlack);
    QZPixelBlock pane(80, 80);
    const unsigned int colors[] = {0x80FF0000, 0x8000FF00, 0x800000FF};
    for (int i = 0; i < 3; ++i)
    {
        pane.Fill(colors[i]);
        canvas.Paste(20 + i * 40, 30 + i * 15, &pane, 0);
        canvas.Paste(220 + i * 40, 30 + i * 15, &pane, 1);
    }
    // From clear to opaque in columns.
    QZPixelBlock ramp(180, 20);
    for (int x = 0; x < 180; ++x) ramp.Fill(x, 0, 1, 20, static_cast<unsigned int>(x * 255 / 179) << 24);
    Checkers(canvas, 10, 155, 180, 20);
    canvas.Paste(10, 155, &ramp, 0);
    Checkers(canvas, 210, 155, 180, 20);
    canvas.Paste(210, 155, &ramp, 1);
}

constexpr int kWide = 128;
constexpr int kHigh = 96;

/// One picture of a table of them, with its name above.
void Show(QZGraphics& canvas, int place, const char* name, const QZPixelBlock& block)
{
    const int x = 10 + place % 4 * (kWide + 16);
    const int y = 20 + place / 4 * (kHigh + 24);
    Label(canvas, x, y - 12, name, kBlack);
    canvas.Paste(x, y, &block, 1);
}

void Filters(QZGraphics& canvas)
{
    Show(canvas, 0, "original", *Landscape(kWide, kHigh));
    Block block = Landscape(kWide, kHigh);
    block->Bright();
    Show(canvas, 1, "bright, wrapping", *block);
    block = Landscape(kWide, kHigh);
    for (int i = 0; i < 8; ++i) block->Smooth(16, 8);
    Show(canvas, 2, "smooth, 8 times", *block);
    block = Landscape(kWide, kHigh);
    block->Mosaic(8);
    Show(canvas, 3, "mosaic of 8", *block);
    block = Landscape(kWide, kHigh);
    const QZRectangle area(16, 16, 80, 80);
    block->Mosaic(&area, 8);
    Show(canvas, 4, "mosaic of an area", *block);
    Show(canvas, 5, "frosted, 2 to 6", *Block(Landscape(kWide, kHigh)->FrostedEffect(2, 6, 8)));
    Show(canvas, 6, "flipped", *Block(Landscape(kWide, kHigh)->FlipVertical()));
    Show(canvas, 7, "thumbnail of 64 x 48", *Block(Landscape(kWide, kHigh)->Thumbnail(64, 48)));
    block = Landscape(32, 24);
    block->NewSize(kWide, kHigh);
    Show(canvas, 8, "enlarged 4 times", *block);
    block = Landscape(kWide, kHigh);
    block->SetColorToAlpha(0xFF);
    QZGraphics below(kWide, kHigh);
    Checkers(below, 0, 0, kWide, kHigh);
    below.Paste(0, 0, block.get(), 0);
    Show(canvas, 9, "alpha out of blue", below);
    Show(canvas, 10, "copy of a part", *Block(Landscape(kWide, kHigh)->Copy(60, 10, 64, 48)));
}

/// Shows which pixels a rotation writes: it rotates a picture and the complement of the picture. Pixels whose
/// results are no complements were not written; they become grey.
Block Turned(float degrees)
{
    const Block picture = Landscape(kWide, kHigh);
    const Block complement = Landscape(kWide, kHigh);
    for (int y = 0; y < kHigh; ++y)
        for (int x = 0; x < kWide; ++x) complement->Fill(x, y, 1, 1, ~picture->GetPixel(x, y));
    Block turned(picture->Rotate(degrees));
    const Block other(complement->Rotate(degrees));
    for (int y = 0; y < turned->GetHeight(); ++y)
        for (int x = 0; x < turned->GetWidth(); ++x)
            if (turned->GetPixel(x, y) != ~other->GetPixel(x, y)) turned->Fill(x, y, 1, 1, 0xFFE0E0E0);
    return turned;
}

void Rotations(QZGraphics& canvas)
{
    const struct
    {
        const char* name;
        float degrees;
    } turns[] = {{"0", 0},   {"90", 90}, {"180", 180}, {"270", 270},
                 {"30", 30}, {"45", 45}, {"-20", -20}, {"135", 135}};
    for (int i = 0; i < 8; ++i)
    {
        const int x = 10 + i % 4 * 180;
        const int y = 20 + i / 4 * 185;
        Label(canvas, x, y - 12, turns[i].name, kBlack);
        canvas.Paste(x, y, Turned(turns[i].degrees).get(), 1);
    }
}

/// Shows bytes as the pixels that they were converted to.
void ShowPixels(QZGraphics& canvas, int place, const char* name, QZData& pixels)
{
    const QZSize size(kWide, kHigh);
    QZPixelBlock block(kWide, kHigh);
    const QZRectangle all(0, 0, kWide, kHigh);
    block.Paste(&all, &size, pixels.GetPointer(), 1);
    Show(canvas, place, name, block);
}

/// A camera's picture: luma rises to the right, the two chromas across and down.
void Camera(QZData* stream)
{
    for (int y = 0; y < kHigh; ++y)
        for (int x = 0; x < kWide; x += 2)
        {
            const QZInt64 at = (y * kWide + x) * 2;
            stream->SetValueByte(at, static_cast<QZByte>(64 + x));
            stream->SetValueByte(at + 1, static_cast<QZByte>(x * 2));
            stream->SetValueByte(at + 2, static_cast<QZByte>(65 + x));
            stream->SetValueByte(at + 3, static_cast<QZByte>(255 - y * 8 / 3));
        }
}

void Conversions(QZGraphics& canvas)
{
    constexpr QZInt64 kBytes = QZInt64{4} * kWide * kHigh;
    const Block picture = Landscape(kWide, kHigh);
    const void* source = picture->GetPointer();
    QZData result(kBytes);
    QZData between(kBytes);
    Show(canvas, 0, "original", *picture);
    QZImage::ARGB2ABGR(result.GetPointer(), source, kBytes);
    ShowPixels(canvas, 1, "red and blue swapped", result);
    QZImage::ARGBToRGB555(between.GetPointer(), source, kBytes);
    QZImage::RGB555ToARGB(result.GetPointer(), between.GetPointer(), kBytes / 2);
    ShowPixels(canvas, 2, "through RGB555", result);
    QZImage::ARGB2GRAY(between.GetPointer(), source, kBytes);
    QZImage::GRAY2ARGB(result.GetPointer(), between.GetPointer(), kBytes / 4);
    ShowPixels(canvas, 3, "gray", result);
    Camera(&between);
    QZImage::YUYV2ARGB(result.GetPointer(), between.GetPointer(), kBytes / 2);
    ShowPixels(canvas, 4, "camera", result);
    QZData luma(kBytes / 4);
    QZImage::ARGB2GRAY(luma.GetPointer(), source, kBytes);
    QZImage::GRAY2YUYV(between.GetPointer(), luma.GetPointer(), kBytes / 4);
    QZImage::YUYV2ARGB(result.GetPointer(), between.GetPointer(), kBytes / 2);
    ShowPixels(canvas, 5, "gray as a camera's", result);
    QZImage::BMP32ToBMP24(between.GetPointer(), source, kBytes);
    QZImage::BMP24ToBMP32(between.GetPointer(), kBytes / 4 * 3);
    ShowPixels(canvas, 6, "24 bits and back", between);
}

}  // namespace

std::vector<Picture> PixelPictures()
{
    return {{"blend", 400, 190, kWhite, Blend},
            {"filters", 590, 370, kWhite, Filters},
            {"rotations", 740, 400, kWhite, Rotations},
            {"conversions", 590, 250, kWhite, Conversions}};
}

}  // namespace gallery
