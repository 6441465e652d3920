#include "graphics/gr_display.h"

#include <memory>
#include <string>
#include <vector>

#include "fw/fw_data.h"
#include "fw/fw_string.h"
#include "graphics/gr_palette.h"
#include "graphics/pixel_show.h"
#include "support/qz_test.h"

namespace
{

constexpr unsigned int kBar = 0xFF00DC00;
constexpr unsigned int kGrid = 0xFF002000;
constexpr unsigned int kPlain = 0x8F005F00;
constexpr unsigned int kHair = 0xFF008F00;
constexpr unsigned int kPenGreen = 0xFF006000;

std::unique_ptr<QZData> BytesOf(const std::vector<unsigned char>& bytes)
{
    return std::make_unique<QZData>(static_cast<const void*>(bytes.data()),
                                    static_cast<QZInt64>(bytes.size()));
}

/// The picture as text: '#' for pixels of this colour, '.' for all others.
std::vector<std::string> Picture(QZPixelBlock& block, unsigned int color)
{
    std::vector<std::string> rows;
    for (int y = 0; y < block.GetHeight(); ++y)
    {
        rows.emplace_back();
        for (int x = 0; x < block.GetWidth(); ++x) rows.back() += block.GetPixel(x, y) == color ? '#' : '.';
    }
    return rows;
}

int CountOf(QZPixelBlock& block, unsigned int color)
{
    int count = 0;
    for (const std::string& row : Picture(block, color))
        for (char c : row) count += c == '#';
    return count;
}

using Rows = std::vector<std::string>;

TEST(WaveDrawMode, HasThreeModes)
{
    EXPECT_EQ(WAVEDRAWMODE::WaveIn, 1);
    EXPECT_EQ(WAVEDRAWMODE::WaveOut, 2);
    EXPECT_EQ(WAVEDRAWMODE::WaveStatic, 3);
}

TEST(Histogram, BarsStartRightOfTheOriginAndTheLastTwoBytesHaveNone)
{
    QZGraphics layer(8, 6);
    QZHistogram histogram(&layer, 1, 4);
    EXPECT_EQ(histogram.GetType(), 0x81FFFF8);
    histogram.DrawData(BytesOf({0, 1, 3, 2, 9, 9}).get(), 0);
    // Columns 2 to 5 show the bytes 0 to 3. Each bar includes a pixel on the base line.
    EXPECT_EQ(Picture(layer, kBar),
              (Rows{"........", "....#...", "....##..", "...###..", "..####..", "........"}));
}

TEST(Histogram, ThreeBytesDrawOneColumn)
{
    QZGraphics layer(8, 6);
    QZPoint origin(0, 5);
    QZHistogram histogram(&layer, &origin);
    histogram.DrawData(BytesOf({2, 4, 4}).get(), 0);
    EXPECT_EQ(Picture(layer, kBar),
              (Rows{"........", "........", "........", ".#......", ".#......", ".#......"}));
    QZGraphics other(8, 6);
    QZHistogram none(&other, &origin);
    none.DrawData(BytesOf({2, 4}).get(), 0);
    none.DrawData(BytesOf({}).get(), 0);
    EXPECT_EQ(CountOf(other, kBar), 0);
}

TEST(Histogram, BarsAreClippedAtTheTopOfTheLayer)
{
    QZGraphics layer(4, 3);
    QZHistogram histogram(&layer, 0, 2);
    histogram.DrawData(BytesOf({200, 1, 0, 0, 0, 0, 0, 0}).get(), 0);
    EXPECT_EQ(Picture(layer, kBar), (Rows{".#..", ".##.", ".###"}));
}

TEST(Histogram, BarsRightOfTheLayerAreMarkedAsChanged)
{
    QZGraphics layer(4, 10);
    QZHistogram histogram(&layer, 0, 8);
    histogram.DrawData(BytesOf({1, 1, 1, 2, 6, 3, 0, 0}).get(), 0);
    ASSERT_EQ(layer.GetUpdatedAreas()->GetLength(), 1);
    EXPECT_EQ(layer.GetUpdatedAreas()->GetElementX(0), 1);
    EXPECT_EQ(layer.GetUpdatedAreas()->GetElementY(0), 2);
    EXPECT_EQ(layer.GetUpdatedAreas()->GetElementWidth(0), 3);
    EXPECT_EQ(layer.GetUpdatedAreas()->GetElementHeight(0), 7);

    QZGraphics small(4, 10);
    QZHistogram outside(&small, 6, 8);
    outside.DrawData(BytesOf({1, 1, 1, 1}).get(), 0);
    ASSERT_EQ(small.GetUpdatedAreas()->GetLength(), 1);
    EXPECT_EQ(small.GetUpdatedAreas()->GetElementX(0), 7);
    EXPECT_EQ(small.GetUpdatedAreas()->GetElementWidth(0), 0);
    EXPECT_EQ(CountOf(small, kBar), 0);
}

TEST(Histogram, TableIsDrawnBelowTheBars)
{
    QZGraphics layer(40, 40);
    QZHistogram histogram(&layer, 4, 36);
    histogram.DrawData(BytesOf({10, 10, 10, 10}).get());
    EXPECT_EQ(layer.GetPixel(5, 30), kBar);
    // Grid lines are at 4 + 16 k and 36 - 16 k, except where the axes, ticks and square of the scale are.
    EXPECT_EQ(layer.GetPixel(20, 10), kGrid);
    EXPECT_EQ(layer.GetPixel(36, 10), kGrid);
    EXPECT_EQ(layer.GetPixel(30, 20), kGrid);
    EXPECT_EQ(layer.GetPixel(30, 4), kGrid);
    EXPECT_EQ(layer.GetPixel(4, 10), kPlain);
    EXPECT_EQ(layer.GetPixel(30, 36), kPlain);
    EXPECT_EQ(layer.GetPixel(20, 35), kPlain);
    EXPECT_EQ(layer.GetPixel(20, 37), kPlain);
    EXPECT_EQ(layer.GetPixel(20, 34), kGrid);
    EXPECT_EQ(layer.GetPixel(3, 20), kPlain);
    EXPECT_EQ(layer.GetColor(), kPenGreen);
    EXPECT_EQ(layer.GetPixel(30, 10), 0u);
}

TEST(Histogram, DrawTableFillsTheLayerWithBlackFirst)
{
    QZGraphics layer(40, 40);
    layer.Fill(0xFFFFFFFF);
    QZHistogram histogram(&layer, 4, 36);
    histogram.DrawTable();
    EXPECT_EQ(layer.GetPixel(30, 10), 0xFF000000u);
    EXPECT_EQ(layer.GetPixel(20, 10), kGrid);
    EXPECT_EQ(layer.GetPixel(4, 10), kPlain);
    EXPECT_EQ(layer.GetColor(), kPenGreen);
}

TEST(Histogram, PaletteShadesBarsByHeight)
{
    QZCollection colors;
    colors.Push(0x00000000);
    colors.Push(0x0000000A);
    QZColorPalette palette(&colors, 0, 0, 1, 10);
    QZGraphics layer(5, 6);
    QZHistogram histogram(&layer, 0, 5);
    histogram.DrawData(BytesOf({3, 5, 9, 9}).get(), &palette);
    EXPECT_EQ(qztest::PixelsOf(layer), (qztest::Rows{
                                           {0, 0, 0, 0, 0},
                                           {0, 0, 0xFF000004, 0, 0},
                                           {0, 0xFF000003, 0xFF000003, 0, 0},
                                           {0, 0xFF000002, 0xFF000002, 0, 0},
                                           {0, 0xFF000001, 0xFF000001, 0, 0},
                                           {0, 0, 0, 0, 0},
                                       }));
}

TEST(Histogram, GridLinesPassThroughTheOriginAndEveryStep)
{
    QZGraphics layer(7, 5);
    QZHistogram histogram(&layer, 2, 3);
    histogram.Grid(3, kGrid);
    EXPECT_EQ(Picture(layer, kGrid), (Rows{"#######", "..#..#.", "..#..#.", "#######", "..#..#."}));
    QZGraphics plain(70, 40);
    QZHistogram(&plain, 2, 3).Grid();
    EXPECT_EQ(plain.GetPixel(32, 10), kPlain);
    EXPECT_EQ(plain.GetPixel(31, 10), 0u);
    EXPECT_EQ(plain.GetPixel(10, 33), kPlain);
    QZHistogram(&plain, 2, 3).Grid(5);
    EXPECT_EQ(plain.GetPixel(7, 10), kPlain);
}

TEST(Histogram, StepBelow1DrawsOnlyTheLinesThroughTheOrigin)
{
    QZGraphics layer(5, 3);
    QZHistogram histogram(&layer, 1, 1);
    histogram.Grid(0, kGrid);
    EXPECT_EQ(Picture(layer, kGrid), (Rows{".#...", "#####", ".#..."}));
    histogram.Scale(-3);
    EXPECT_EQ(layer.GetPixel(4, 1), kPlain);
}

TEST(Histogram, GridOfAnOriginOutsideTheLayerIsDrawn)
{
    QZGraphics layer(7, 5);
    QZHistogram histogram(&layer, -4, 9);
    histogram.Grid(5, kGrid);
    // Columns 1 and 6 and row 4 are grid lines. Of the lines through the origin the vertical one is drawn at
    // column 0.
    EXPECT_EQ(Picture(layer, kGrid), (Rows{"##....#", "##....#", "##....#", "##....#", "#######"}));
}

TEST(Histogram, ScaleDrawsASquareTwoAxesAndTicks)
{
    QZGraphics layer(11, 9);
    QZHistogram histogram(&layer, 4, 4);
    histogram.Scale(3);
    EXPECT_EQ(Picture(layer, kPlain), (Rows{
                                          "....#......",
                                          "...###.....",
                                          "....#......",
                                          ".#.###.#..#",
                                          "###########",
                                          ".#.###.#..#",
                                          "....#......",
                                          "...###.....",
                                          "....#......",
                                      }));
}

TEST(Histogram, OnlyScaleWithAColourUsesItsPoint)
{
    QZGraphics layer(80, 60);
    QZHistogram histogram(&layer, 40, 30);
    QZPoint elsewhere(10, 10);
    histogram.Scale(&elsewhere);
    histogram.Scale(&elsewhere, 7, 1, 1);
    EXPECT_EQ(layer.GetPixel(10, 20), 0u);
    EXPECT_EQ(layer.GetPixel(40, 20), kPlain);
    // There are ticks at step 7 and no numbers.
    EXPECT_EQ(layer.GetPixel(47, 31), kPlain);
    for (int y = 33; y < 37; ++y)
        for (int x = 42; x < 80; ++x) EXPECT_EQ(layer.GetPixel(x, y), 0u) << x << ", " << y;
    histogram.Scale(&elsewhere, 7, 0, 0, static_cast<int>(0xFF123456));
    EXPECT_EQ(layer.GetPixel(10, 20), 0xFF123456u);
    EXPECT_EQ(layer.GetPixel(17, 11), 0xFF123456u);
}

/// The picture of a text at a position, on a layer of this size.
std::vector<std::string> TextPicture(int width, int height, int x, int y, const char* text)
{
    QZGraphics layer(width, height);
    QZString string(text);
    QZShape shape;
    shape.Add(x, y, &string, kHair);
    layer.Draw(&shape);
    return Picture(layer, kHair);
}

/// Whether every '#' of `part` is also in `whole`.
bool Includes(const Rows& whole, const Rows& part)
{
    for (size_t y = 0; y < part.size(); ++y)
        for (size_t x = 0; x < part[y].size(); ++x)
            if (part[y][x] == '#' && whole[y][x] != '#') return false;
    return true;
}

TEST(Histogram, ScaleNumbersAreNegativeLeftAndBelow)
{
    QZGraphics layer(90, 90);
    QZHistogram histogram(&layer, 0, 0);
    QZPoint point(40, 45);
    histogram.Scale(&point, 20, 1, 1, static_cast<int>(kHair));
    const Rows picture = Picture(layer, kHair);
    EXPECT_TRUE(Includes(picture, TextPicture(90, 90, 33, 50, "0")));
    EXPECT_TRUE(Includes(picture, TextPicture(90, 90, 57, 50, "1")));
    EXPECT_TRUE(Includes(picture, TextPicture(90, 90, 14, 50, "-1")));
    EXPECT_TRUE(Includes(picture, TextPicture(90, 90, 30, 21, "1")));
    EXPECT_TRUE(Includes(picture, TextPicture(90, 90, 25, 61, "-1")));
    EXPECT_TRUE(Includes(picture, TextPicture(90, 90, 30, 1, "2")));
}

TEST(Histogram, CrossHairShowsItsCoordinates)
{
    QZGraphics layer(140, 100);
    QZHistogram histogram(&layer, 10, 90);
    histogram.GetPoint(60, 30);
    const Rows picture = Picture(layer, kHair);
    EXPECT_EQ(picture[30], std::string(140, '#'));
    for (int y = 0; y < 100; ++y) EXPECT_EQ(picture[static_cast<size_t>(y)][60], '#');
    EXPECT_TRUE(Includes(picture, TextPicture(140, 100, 82, 40, "60")));
    EXPECT_TRUE(Includes(picture, TextPicture(140, 100, 70, 52, "50")));
    QZGraphics zoomed(140, 100);
    histogram.GetPoint(&zoomed, 60, 94, 2.5F);
    // (90 - 94) / 2.5 = -1.6, truncated to -1, and (60 - 10) / 2.5 = 20.
    EXPECT_TRUE(Includes(Picture(zoomed, kHair), TextPicture(140, 100, 82, 104, "-1")));
    EXPECT_TRUE(Includes(Picture(zoomed, kHair), TextPicture(140, 100, 70, 52, "20")));
}

TEST(Histogram, ValueIsReadFromACopyOfTheData)
{
    QZGraphics layer(140, 100);
    QZHistogram histogram(&layer, 10, 90);
    {
        auto data = BytesOf({1, 2, 3, 60, 5});
        histogram.DrawData(data.get(), 0);
        data->Fill(QZByte{0});
    }
    QZPoint place(13, 20);
    histogram.GetValue(&place);
    // Column 13 shows byte 3, which is 60: a line at row 90 - 60 with the cross-hair over it.
    EXPECT_EQ(layer.GetPixel(10, 30), kPenGreen);
    EXPECT_EQ(layer.GetPixel(16, 30), kPenGreen);
    EXPECT_EQ(layer.GetPixel(9, 30), 0u);
    EXPECT_EQ(layer.GetPixel(13, 30), kHair);
    QZString text("Value=60");
    QZShape expected;
    expected.Add(23, 27, &text);
    for (QZInt64 i = 0; i < expected.GetPoints()->Count(); ++i)
        EXPECT_EQ(layer.GetPixel(expected.GetPoints()->GetElementX(i), expected.GetPoints()->GetElementY(i)),
                  kPenGreen);
    EXPECT_EQ(layer.GetColor(), kPenGreen);
}

TEST(Histogram, OutsideTheDataOnlyTheCrossHairIsDrawn)
{
    QZGraphics layer(140, 100);
    QZHistogram histogram(&layer, 10, 90);
    histogram.GetValue(20, 20);
    const int withoutData = CountOf(layer, kHair);
    EXPECT_GT(withoutData, 200);
    QZGraphics other(140, 100);
    QZHistogram kept(&other, 10, 90);
    kept.DrawData(BytesOf({1, 2}).get(), 0);
    kept.GetValue(9, 20);
    EXPECT_EQ(CountOf(other, kPenGreen), 0);
    kept.GetValue(12, 20);
    EXPECT_EQ(CountOf(other, kPenGreen), 0);
    kept.GetValue(11, 20);
    EXPECT_GT(CountOf(other, kPenGreen), 0);
}

// -----------------------------------------------------------------------------------------------------------

/// A picture of 160 by 100 pixels; the ruler has 120 by 20 pixels at (20, 40).
class LinearGraph : public ::testing::Test
{
protected:
    LinearGraph() : m_collection(160, 100), m_graph(&m_collection, 1000, 240) {}

    QZShape* MarkOf(const QZWChar* key) { return m_collection.GetElement("Marks")->MarkGet(key); }
    QZGraphics* Drawing() { return m_collection.GetElement("DwLayer"); }

    std::vector<int> AreaOf(const QZWChar* key)
    {
        const QZRectangle* area = MarkOf(key)->GetArea();
        if (area == nullptr) return {};
        return {area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight()};
    }

    unsigned int ColorOf(const QZWChar* key)
    {
        return static_cast<unsigned int>(MarkOf(key)->GetColors()->GetElement(0));
    }

    QZGraphicsCollection m_collection;
    QZLinearGraph m_graph;
};

using Area = std::vector<int>;

TEST_F(LinearGraph, CreatesTwoLayersAndFourMarks)
{
    EXPECT_EQ(m_graph.GetType(), 0x81FFFF9);
    EXPECT_EQ(m_collection.Count(), 2);
    EXPECT_EQ(m_collection.GetElementIndex("DwLayer"), 0);
    EXPECT_EQ(m_collection.GetElementIndex("Marks"), 1);
    EXPECT_EQ(m_collection.GetElement("Marks")->MarkCount(), 4);
    QZString key("SelectedAddr");
    EXPECT_EQ(m_collection.GetElement("Marks")->GetIndex(&key), 0);
    EXPECT_EQ(m_graph.GetBegin(), 1000u);
    EXPECT_EQ(m_graph.GetLength(), 240u);
    EXPECT_EQ(m_graph.GetMouseAddress(), 0u);
}

TEST_F(LinearGraph, RulerIsAtOneEighthOfTheWidthAndTwoFifthsOfTheHeight)
{
    // The outline is drawn with the pen that Reset sets, opaque black.
    EXPECT_EQ(Drawing()->GetPixel(20, 40), 0xFF000000u);
    EXPECT_EQ(Drawing()->GetPixel(139, 59), 0xFF000000u);
    EXPECT_EQ(Drawing()->GetPixel(139, 40), 0xFF000000u);
    EXPECT_EQ(Drawing()->GetPixel(21, 41), 0u);
    EXPECT_EQ(Drawing()->GetPixel(140, 40), 0u);
    // The addresses 1000 and 1240 are shown below it in hexadecimal.
    QZString begin("0x3E8");
    QZString end("0x4D8");
    QZShape expected;
    expected.Add(20, 63, &begin);
    expected.Add(140, 63, &end);
    for (QZInt64 i = 0; i < expected.GetPoints()->Count(); ++i)
    {
        const int x = expected.GetPoints()->GetElementX(i);
        const int y = expected.GetPoints()->GetElementY(i);
        EXPECT_EQ(Drawing()->GetPixel(x, y), x < 160 ? 0xFF000000u : 0u);
    }
}

TEST_F(LinearGraph, ResetHidesTheMarks)
{
    EXPECT_EQ(ColorOf(QZ_W("Begin")), 0u);
    EXPECT_EQ(ColorOf(QZ_W("End")), 0u);
    EXPECT_EQ(ColorOf(QZ_W("Mouse")), 0u);
    EXPECT_EQ(MarkOf(QZ_W("SelectedAddr"))->GetArea(), nullptr);
}

TEST_F(LinearGraph, PixelsAndAddressesConvertByTheSelectedLength)
{
    EXPECT_EQ(m_graph.PixelToLength(0), 0u);
    EXPECT_EQ(m_graph.PixelToLength(7), 14u);
    EXPECT_EQ(m_graph.LengthToPixel(14), 7u);
    EXPECT_EQ(m_graph.LengthToPixel(15), 7u);
    m_graph.SetLength(100);
    // 100 / 120 * 7 = 5.8
    EXPECT_EQ(m_graph.PixelToLength(7), 5u);
    EXPECT_EQ(m_graph.LengthToPixel(50), 60u);
    m_graph.SetLength(0);
    EXPECT_EQ(m_graph.PixelToLength(7), 0u);
    EXPECT_EQ(m_graph.LengthToPixel(7), 0u);
}

TEST_F(LinearGraph, SetBeginMovesItsMarkAndSelectsItsColumn)
{
    m_graph.SetBegin(1100);
    EXPECT_EQ(m_graph.GetBegin(), 1100u);
    // Column 120 * 100 / 240 = 50 of the bar, which begins after the outline.
    EXPECT_EQ(AreaOf(QZ_W("Begin")), (Area{71, 41, 1, 18}));
    EXPECT_EQ(ColorOf(QZ_W("Begin")), 0xCFFFFFFFu);
    EXPECT_EQ(AreaOf(QZ_W("SelectedAddr")), (Area{71, 41, 1, 18}));
    EXPECT_EQ(ColorOf(QZ_W("SelectedAddr")), 0x8F8F8F00u);
    EXPECT_EQ(MarkOf(QZ_W("SelectedAddr"))->GetPoints()->Count(), 18);
}

TEST_F(LinearGraph, AddressOutsideTheRulerIsStoredAndItsMarkFades)
{
    m_graph.SetBegin(999);
    EXPECT_EQ(ColorOf(QZ_W("Begin")), 0x0FFFFFFFu);
    EXPECT_EQ(m_graph.GetBegin(), 999u);
    m_graph.SetBegin(1240);
    EXPECT_EQ(ColorOf(QZ_W("Begin")), 0xCFFFFFFFu);
    EXPECT_EQ(AreaOf(QZ_W("Begin")), (Area{141, 41, 1, 18}));
    m_graph.SetBegin(1241);
    EXPECT_EQ(ColorOf(QZ_W("Begin")), 0x0FFFFFFFu);
    EXPECT_EQ(m_graph.GetBegin(), 1241u);
    m_graph.Reset();
    m_graph.SetMousePoint(0);
    EXPECT_EQ(m_graph.GetMouseAddress(), 1241u);
}

TEST_F(LinearGraph, SetLengthSelectsUpToTheEndMark)
{
    m_graph.SetBegin(1100);
    m_graph.SetLength(80);
    EXPECT_EQ(m_graph.GetLength(), 80u);
    // 180 of 240 is column 90.
    EXPECT_EQ(AreaOf(QZ_W("End")), (Area{111, 41, 1, 18}));
    EXPECT_EQ(ColorOf(QZ_W("End")), 0xCFFFFFFFu);
    EXPECT_EQ(AreaOf(QZ_W("SelectedAddr")), (Area{71, 41, 41, 18}));
    m_graph.SetLength(200);
    EXPECT_EQ(ColorOf(QZ_W("End")), 0x0FFFFFFFu);
}

TEST_F(LinearGraph, LengthPastTheLastAddressIsRefused)
{
    m_graph.SetLength(0xFF000000u - 1000u);
    EXPECT_EQ(m_graph.GetLength(), 0xFF000000u - 1000u);
    m_graph.SetLength(0xFF000000u - 999u);
    EXPECT_EQ(m_graph.GetLength(), 0xFF000000u - 1000u);
}

TEST_F(LinearGraph, MousePointSelectsTheAddressBelowIt)
{
    m_graph.SetMousePoint(80);
    // 60 of 120 columns is half of 240.
    EXPECT_EQ(m_graph.GetMouseAddress(), 1120u);
    EXPECT_EQ(AreaOf(QZ_W("Mouse")), (Area{81, 41, 1, 18}));
    EXPECT_EQ(ColorOf(QZ_W("Mouse")), 0xCFFFFFFFu);
    QZString text("0x460");
    QZShape expected;
    expected.Add(80, 29, &text);
    QZShape* info = MarkOf(QZ_W("MousePointInfo"));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->GetArea()->GetX(), 80);
    EXPECT_EQ(info->GetArea()->GetY(), 29);
    EXPECT_EQ(info->GetPoints()->Count(), expected.GetPoints()->Count());
    EXPECT_EQ(info->GetPoints()->GetElementUInt64(0), expected.GetPoints()->GetElementUInt64(0));
    EXPECT_EQ(ColorOf(QZ_W("MousePointInfo")), 0xDF00FF00u);
    m_graph.SetMousePoint(81);
    EXPECT_EQ(m_graph.GetMouseAddress(), 1122u);
    EXPECT_EQ(m_collection.GetElement("Marks")->MarkCount(), 5);
}

TEST_F(LinearGraph, MousePointIsClampedToTheRuler)
{
    m_graph.SetMousePoint(-50);
    EXPECT_EQ(m_graph.GetMouseAddress(), 1000u);
    EXPECT_EQ(AreaOf(QZ_W("Mouse")), (Area{21, 41, 1, 18}));
    m_graph.SetMousePoint(5000);
    EXPECT_EQ(m_graph.GetMouseAddress(), 1240u);
    EXPECT_EQ(AreaOf(QZ_W("Mouse")), (Area{141, 41, 1, 18}));
}

TEST_F(LinearGraph, InfoTextIsDrawnBelowTheRuler)
{
    m_graph.GetInfo()->Set("i");
    m_graph.SetMousePoint(20);
    QZString text("i");
    QZShape expected;
    expected.Add(20, 80, &text);
    QZShape* info = MarkOf(QZ_W("MousePointInfo"));
    const QZInt64 last = info->GetPoints()->Count() - 1;
    EXPECT_EQ(info->GetPoints()->GetElementUInt64(last),
              expected.GetPoints()->GetElementUInt64(expected.GetPoints()->Count() - 1));
    EXPECT_EQ(info->GetColors()->GetElement(last), 0xFF000000u);
}

TEST_F(LinearGraph, MarkIsABarWithALabelAfterIt)
{
    QZString text("boot");
    m_graph.Mark(20, 40, 0xFF0000FF, &text);
    // x is 20 + 120 * 20 / 240 + 1, the width 120 * 40 / 240, the height 100 / 5 - 3.
    EXPECT_EQ(CountOf(*Drawing(), 0xFF0000FF), 20 * 17);
    EXPECT_EQ(Drawing()->GetPixel(31, 41), 0xFF0000FFu);
    EXPECT_EQ(Drawing()->GetPixel(50, 57), 0xFF0000FFu);
    QZString label("boot60");
    QZShape expected;
    expected.Add(51, 30, &label);
    QZShape* mark = MarkOf(QZ_W("boot"));
    ASSERT_NE(mark, nullptr);
    EXPECT_EQ(mark->GetPoints()->Count(), expected.GetPoints()->Count());
    EXPECT_EQ(mark->GetPoints()->GetElementUInt64(0), expected.GetPoints()->GetElementUInt64(0));
    EXPECT_EQ(ColorOf(QZ_W("boot")), 0xFF0000FFu);
}

TEST_F(LinearGraph, MarkWithTheSameTextReplacesTheLabel)
{
    QZString text("boot");
    m_graph.Mark(20, 40, 0xFF0000FF, &text);
    m_graph.Mark(60, 40, 0xFFFF0000, &text);
    EXPECT_EQ(m_collection.GetElement("Marks")->MarkCount(), 5);
    EXPECT_EQ(ColorOf(QZ_W("boot")), 0xFFFF0000u);
    // Both bars are kept.
    EXPECT_EQ(CountOf(*Drawing(), 0xFF0000FF), 20 * 17);
    EXPECT_EQ(CountOf(*Drawing(), 0xFFFF0000), 20 * 17);
}

TEST_F(LinearGraph, MarkWithoutTextHasNoLabel)
{
    m_graph.Mark(20, 1, 0xFF0000FF);
    // A width of half a pixel is drawn as one pixel.
    EXPECT_EQ(CountOf(*Drawing(), 0xFF0000FF), 17);
    EXPECT_EQ(m_collection.GetElement("Marks")->MarkCount(), 4);
}

TEST_F(LinearGraph, MarkOfOneAddressShowsItsTextTwice)
{
    QZString text("p");
    m_graph.Mark(24, 0xFF0000FF, &text);
    EXPECT_EQ(CountOf(*Drawing(), 0xFF0000FF), 17);
    EXPECT_EQ(Drawing()->GetPixel(33, 41), 0xFF0000FFu);
    QZString label("pp24");
    QZShape expected;
    expected.Add(34, 30, &label);
    EXPECT_EQ(MarkOf(QZ_W("p"))->GetPoints()->Count(), expected.GetPoints()->Count());
    EXPECT_EQ(MarkOf(QZ_W("p"))->GetPoints()->GetElementUInt64(0), expected.GetPoints()->GetElementUInt64(0));
}

TEST_F(LinearGraph, MarkMayHaveTheNameOfAnEndMark)
{
    QZString text("Begin");
    m_graph.Mark(24, 0xFF0000FF, &text);
    m_graph.SetBegin(1100);
    m_graph.SetLength(10);
    EXPECT_EQ(m_graph.GetBegin(), 1100u);
}

TEST_F(LinearGraph, HugeMarkIsClippedAtTheLayer)
{
    m_graph.Mark(0, 0xFFFFFFFF, 0xFF0000FF);
    m_graph.SetLength(1);
    m_graph.Mark(0, 0x00FFFFFF, 0xFF00FFFF);
    m_graph.Mark(2, 2, 0xFF00FF01);
    EXPECT_EQ(CountOf(*Drawing(), 0xFF00FFFF), 139 * 17);
    EXPECT_EQ(CountOf(*Drawing(), 0xFF00FF01), 0);
}

TEST_F(LinearGraph, UpdateDrawsTheMarksAndRemovesTheOldOnes)
{
    m_collection.SetBackColor(0xFFFFFFFF);
    m_graph.SetMousePoint(80);
    m_graph.Update();
    m_collection.Update();
    QZGraphics* shown = m_collection.GetBackground();
    // The transparent layer above reduces the alpha by one.
    EXPECT_EQ(shown->GetPixel(20, 40), 0xFE000000u);
    m_graph.Mark(20, 40, 0xFF0000FF);
    m_graph.SetBegin(1060);
    m_graph.SetMousePoint(100);
    m_graph.Update();
    m_collection.Update();
    EXPECT_EQ(shown->GetPixel(40, 50), 0xFE0000FFu);
    QZGraphics* marks = m_collection.GetElement("Marks");
    EXPECT_EQ(marks->GetPixel(81, 50), 0u);
    EXPECT_EQ(marks->GetPixel(101, 50), 0xCFFFFFFFu);
    EXPECT_EQ(marks->GetPixel(51, 50), 0xCFFFFFFFu);
}

TEST(LinearGraphWithoutRoom, ZeroLengthsAreNotDividedBy)
{
    QZGraphicsCollection collection(4, 4);
    QZLinearGraph graph(&collection, 5, 0);
    graph.SetBegin(5);
    graph.SetLength(0);
    graph.SetMousePoint(3);
    EXPECT_EQ(graph.GetMouseAddress(), 5u);
    EXPECT_EQ(graph.PixelToLength(3), 0u);
    QZString text("x");
    graph.Mark(1, 1, 0xFF0000FF, &text);
    graph.Update();
    collection.Update();
    EXPECT_EQ(collection.GetWidth(), 4);
}

}  // namespace
