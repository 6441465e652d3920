#include "graphics/gr_palette.h"

#include <vector>

#include "graphics/gr_layer.h"
#include "graphics/pixel_show.h"
#include "support/qz_test.h"

namespace
{

using qztest::PixelsOf;
using Row = std::vector<unsigned int>;

constexpr unsigned int kBlack = 0xFF000000;

/// A list of anchor colours.
class Anchors : public QZCollection
{
public:
    explicit Anchors(const Row& colors)
    {
        for (unsigned int color : colors) Push(color);
    }
};

TEST(ColorPalette, InterpolatesBetweenAnchors)
{
    Anchors anchors({0x00000000, 0x0064C832, 0x00640000});
    QZPoint place(0, 0);
    QZSize size(21, 5);
    QZColorPalette palette(&anchors, &place, &size);
    EXPECT_EQ(palette.GetType(), 0x81FFFF7);
    // 21 / 2 = 10 positions between two anchors.
    EXPECT_EQ(palette.GetColor(0), 0xFF000000u);
    EXPECT_EQ(palette.GetColor(1), 0xFF0A1405u);
    EXPECT_EQ(palette.GetColor(5), 0xFF326419u);
    EXPECT_EQ(palette.GetColor(9), 0xFF5AB42Du);
    EXPECT_EQ(palette.GetColor(10), 0xFF64C832u);
    EXPECT_EQ(palette.GetColor(11), 0xFF64B42Du);
    EXPECT_EQ(palette.GetColor(19), 0xFF641405u);
}

TEST(ColorPalette, PositionsOutsideAreTheFirstOrLastAnchor)
{
    Anchors anchors({0x00112233, 0x0064C832});
    QZPoint place(0, 0);
    QZSize size(10, 5);
    QZColorPalette palette(&anchors, &place, &size);
    EXPECT_EQ(palette.GetColor(10), 0xFF64C832u);
    EXPECT_EQ(palette.GetColor(2147483647), 0xFF64C832u);
    EXPECT_EQ(palette.GetColor(-7), 0xFF112233u);
}

TEST(ColorPalette, InterpolatedValuesAreTruncated)
{
    Anchors anchors({0x000000FF, 0x00FF0000});
    QZPoint place(0, 0);
    QZSize size(7, 1);
    QZColorPalette palette(&anchors, &place, &size);
    // 255 / 7 = 36.4, and descending 255 - 36.4 = 218.6.
    EXPECT_EQ(palette.GetColor(1), 0xFF2400DAu);
    EXPECT_EQ(palette.GetColor(6), 0xFFDA0024u);
}

TEST(ColorPalette, LongerSideIsTheLengthOfTheGradient)
{
    Anchors anchors({0x00000000, 0x00000064});
    QZPoint place(0, 0);
    QZSize tall(3, 10);
    QZSize square(5, 5);
    EXPECT_EQ(QZColorPalette(&anchors, &place, &tall).GetColor(3), 0xFF00001Eu);
    EXPECT_EQ(QZColorPalette(&anchors, &place, &square).GetColor(3), 0xFF00003Cu);
}

TEST(ColorPalette, ConstructorWithNumbersTakesTheHeightBeforeTheWidth)
{
    Anchors anchors({0x00000000, 0x00000064});
    // The third number, 5, is the height; the fourth, 20, is the width and the longer side.
    QZColorPalette palette(&anchors, 0, 0, 5, 20);
    EXPECT_EQ(palette.GetColor(10), 0xFF000032u);
    QZGraphics layer(30, 10);
    palette.Draw(&layer);
    EXPECT_NE(layer.GetPixel(19, 4), 0u);
    EXPECT_EQ(layer.GetPixel(20, 4), 0u);
    EXPECT_EQ(layer.GetPixel(19, 5), 0u);
}

TEST(ColorPalette, AnyNumberOfAnchorsHasColours)
{
    Anchors none({});
    Anchors one({0x00123456});
    Anchors many({1, 2, 3, 4, 5});
    QZPoint place(0, 0);
    QZSize size(3, 2);
    EXPECT_EQ(QZColorPalette(&none, &place, &size).GetColor(0), kBlack);
    EXPECT_EQ(QZColorPalette(&one, &place, &size).GetColor(1), 0xFF123456u);
    // More anchors than pixels: every position is the end of the gradient.
    EXPECT_EQ(QZColorPalette(&many, &place, &size).GetColor(0), 0xFF000005u);
}

TEST(ColorPalette, KeepsACopyOfTheAnchors)
{
    Anchors anchors({0x00112233, 0x00445566});
    QZPoint place(0, 0);
    QZSize size(10, 5);
    QZColorPalette palette(&anchors, &place, &size);
    QZColorPalette shared(palette);
    anchors.Clear();
    EXPECT_EQ(palette.GetColor(0), 0xFF112233u);
    EXPECT_EQ(shared.GetColor(99), 0xFF445566u);
}

TEST(ColorPalette, IsDrawnAtItsPointWithXAndYSwapped)
{
    Anchors anchors({0x00000000, 0x0000001E});
    QZPoint place(1, 2);
    QZSize size(3, 2);
    QZColorPalette palette(&anchors, &place, &size);
    QZGraphics layer(6, 4);
    palette.Draw(&layer);
    EXPECT_EQ(PixelsOf(layer), (qztest::Rows{{0, 0, 0, 0, 0, 0},
                                             {0, 0, kBlack, 0xFF00000A, 0xFF000014, 0},
                                             {0, 0, kBlack, 0xFF00000A, 0xFF000014, 0},
                                             {0, 0, 0, 0, 0, 0}}));
    QZGraphics other(6, 4);
    QZColorPalette(&anchors, 1, 2, 2, 3).Draw(&other);
    EXPECT_EQ(PixelsOf(other), PixelsOf(layer));
}

TEST(ColorPalette, TallPaletteIsDrawnDownwards)
{
    Anchors anchors({0x00000000, 0x0000001E});
    QZPoint place(0, 0);
    QZSize size(2, 3);
    QZGraphics layer(3, 4);
    QZColorPalette(&anchors, &place, &size).Draw(&layer);
    EXPECT_EQ(PixelsOf(layer),
              (qztest::Rows{
                  {kBlack, kBlack, 0}, {0xFF00000A, 0xFF00000A, 0}, {0xFF000014, 0xFF000014, 0}, {0, 0, 0}}));
}

TEST(ColorPalette, PartsOutsideTheLayerAreClipped)
{
    Anchors anchors({0x00000000, 0x0000001E});
    QZPoint place(0, -1);
    QZSize size(3, 2);
    QZGraphics layer(3, 1);
    // The palette is drawn at (-1, 0), so its first colour is left of the layer.
    QZColorPalette(&anchors, &place, &size).Draw(&layer);
    EXPECT_EQ(PixelsOf(layer), (qztest::Rows{{0xFF00000A, 0xFF000014, 0}}));
}

}  // namespace
