#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "fw/fw_data.h"
#include "fw/fw_string.h"
#include "graphics/gr_lattice.h"
#include "graphics/gr_shape.h"
#include "graphics/pixel_show.h"
#include "support/qz_test.h"

namespace
{

using qztest::PixelsOf;
using qztest::Rows;
using Points = std::vector<std::pair<int, int>>;
using Area = std::vector<int>;

constexpr unsigned int kPen = 0xFF0000AA;

Points PointsOf(const QZShape& shape)
{
    Points result;
    QZPointCollection* points = shape.GetPoints();
    for (QZInt64 i = 0; i < points->Count(); ++i)
        result.emplace_back(points->GetElementX(i), points->GetElementY(i));
    return result;
}

Area AreaOf(const QZShape& shape)
{
    const QZRectangle* area = shape.GetArea();
    if (area == nullptr) return {};
    return {area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight()};
}

/// Saves a glyph, with '#' for each dot, for a code that the built-in font does not define.
void SaveGlyph(unsigned short code, int width, int height, std::string_view dots)
{
    QZData glyph(2 + width * height);
    glyph.SetValueByte(0, static_cast<QZByte>(width));
    glyph.SetValueByte(1, static_cast<QZByte>(height));
    for (int i = 0; i < width * height; ++i)
        glyph.SetValueByte(2 + i, i < static_cast<int>(dots.size()) && dots[static_cast<size_t>(i)] == '#');
    QZLattice::Save(code, &glyph, 0);
}

constexpr unsigned short kLow = 0xE001;   // 3 by 2
constexpr unsigned short kTall = 0xE002;  // 2 by 4
constexpr unsigned short kDot = 0xE003;   // 1 by 1

class ShapeText : public ::testing::Test
{
protected:
    void SetUp() override
    {
        SaveGlyph(kLow, 3, 2, "##.#..");
        SaveGlyph(kTall, 2, 4, "#......#");
        SaveGlyph(kDot, 1, 1, "#");
    }

    static Points TextPoints(int x, int y, const qztest::Text& units)
    {
        QZString text(units.c_str());
        QZShape shape;
        shape.Add(x, y, &text);
        return PointsOf(shape);
    }
};

TEST_F(ShapeText, DotsAreAddedInReverseOrderWithAnOffsetOfOne)
{
    QZShape shape;
    QZLattice low(10, 20, kLow);
    shape.Add(&low);
    EXPECT_EQ(PointsOf(shape), (Points{{11, 22}, {12, 21}, {11, 21}}));
    EXPECT_EQ(AreaOf(shape), (Area{10, 20, 4, 3}));
}

TEST_F(ShapeText, BaselineMovesTheDotsButNotTheArea)
{
    QZShape shape;
    QZLattice tall(10, 20, kTall);
    tall.SetBaseline(40);
    shape.Add(&tall, 0xFF00FF00);
    // The centre row is 40, so the glyph begins at 40 - 4 / 2.
    EXPECT_EQ(PointsOf(shape), (Points{{12, 42}, {11, 39}}));
    EXPECT_EQ(AreaOf(shape), (Area{10, 20, 3, 5}));
    EXPECT_EQ(shape.GetColors()->Count(), 2);
}

TEST_F(ShapeText, GlyphLargerThan32AddsNothing)
{
    // A font file may hold sizes of up to 255.
    struct WideLattice : QZLattice
    {
        WideLattice(int width, int height) : QZLattice(1, 1, kLow) { GetSize()->Set(width, height); }
    };
    for (const auto& [width, height] : std::vector<std::pair<int, int>>{{33, 2}, {2, 33}, {0, 2}, {2, 0}})
    {
        QZShape shape;
        WideLattice lattice(width, height);
        shape.Add(&lattice);
        EXPECT_EQ(shape.GetPoints()->Count(), 0);
        EXPECT_EQ(shape.GetArea(), nullptr);
    }
    QZShape shape;
    WideLattice widest(32, 32);
    shape.Add(&widest);
    EXPECT_EQ(AreaOf(shape), (Area{1, 1, 33, 33}));
}

TEST_F(ShapeText, GlyphsOfALineShareTheirCentre)
{
    // The tallest glyph has 4 rows, so the centre row is 10 + 2. The low glyph begins at 12 - 1, the tall one
    // at 12 - 2, the dot at 12.
    EXPECT_EQ(TextPoints(5, 10, {kLow, kTall, kDot}),
              (Points{{6, 13}, {7, 12}, {6, 12}, {11, 14}, {10, 11}, {13, 13}}));
}

TEST_F(ShapeText, AreaStartsAtTheTopOfTheLine)
{
    QZString text(qztest::Text{kLow, kTall}.c_str());
    QZShape shape;
    shape.Add(5, 10, &text);
    EXPECT_EQ(AreaOf(shape), (Area{5, 10, 7, 5}));
}

TEST_F(ShapeText, LineEndMovesDownByTheHeightOfTheLinePlus3)
{
    // In the first line the tallest glyph has 4 rows, so the centre is 2. The second line begins at y = 7. CR
    // and LF count as fallback glyphs of 8 rows there, so its centre is 11.
    EXPECT_EQ(TextPoints(0, 0, {kTall, '\r', '\n', kDot}), (Points{{2, 4}, {1, 1}, {1, 12}}));
}

TEST_F(ShapeText, SecondLineOfTheBuiltInFontIs11RowsLower)
{
    QZString both("A\r\nB");
    QZString second("B");
    ASSERT_EQ(QZLattice(0, 0, 'A').GetSize()->GetHeight(), 8);
    QZShape first;
    QZLattice letter(0, 0, 'A');
    first.Add(&letter);
    QZShape expected;
    expected.Add(0, 8 + 3, &second);
    QZShape shape;
    shape.Add(0, 0, &both);
    Points points = PointsOf(first);
    for (const auto& point : PointsOf(expected)) points.push_back(point);
    EXPECT_EQ(PointsOf(shape), points);
}

TEST_F(ShapeText, HeightOfALineIncludesTheLineEndsAfterIt)
{
    // The second line begins at 1 + 3 = 4, the third at 4 + 8 + 3 = 15. The dot of the third line is at its
    // centre, 15 + 4.
    EXPECT_EQ(TextPoints(0, 0, {kDot, '\r', '\n', kDot, '\r', '\n', kDot}),
              (Points{{1, 1}, {1, 9}, {1, 20}}));
}

TEST_F(ShapeText, SingleCarriageReturnIsACharacter)
{
    QZLattice fallback(0, 0, '\r');
    ASSERT_EQ(fallback.GetCode(), 41253u);
    const Points points = TextPoints(0, 0, {kDot, '\r'});
    EXPECT_GT(points.size(), 1u);
    // The fallback glyph has 8 rows, so the dot is at row 4 + 1.
    EXPECT_EQ(points[0], (std::pair<int, int>{1, 5}));
}

TEST_F(ShapeText, EmptyTextAddsNothing)
{
    QZString text(QZ_W(""));
    QZShape shape(static_cast<unsigned char>(0));
    shape.Add(3, 4, &text);
    EXPECT_EQ(shape.GetPoints()->Count(), 0);
    EXPECT_EQ(shape.GetArea(), nullptr);
    shape.Add(0x0000000100000001ULL);
    shape.Add(0x0000000100000001ULL);
    EXPECT_EQ(shape.GetPoints()->Count(), 1);
}

TEST_F(ShapeText, AddOfTextAllowsDuplicatesAfterwards)
{
    QZString text(qztest::Text{kDot}.c_str());
    QZShape shape(static_cast<unsigned char>(0));
    shape.Add(&text);
    shape.Add(&text);
    EXPECT_EQ(PointsOf(shape), (Points{{1, 1}, {1, 1}}));
}

TEST_F(ShapeText, OverloadsWithoutALocationStartAtTheOrigin)
{
    QZString text(qztest::Text{kDot}.c_str());
    QZShape made(&text);
    EXPECT_EQ(PointsOf(made), (Points{{1, 1}}));
    QZShape colored;
    colored.Add(&text, 0xFF010203);
    colored.Add(4, 5, &text, 0xFF040506);
    EXPECT_EQ(PointsOf(colored), (Points{{1, 1}, {5, 6}}));
    EXPECT_EQ(colored.GetColors()->GetElement(0), 0xFF010203u);
    EXPECT_EQ(colored.GetColors()->GetElement(1), 0xFF040506u);
}

// -----------------------------------------------------------------------------------------------------------

/// A transparent block with the pen kPen.
std::unique_ptr<QZPixelBlock> Block(int width, int height)
{
    auto block = std::make_unique<QZPixelBlock>(width, height);
    block->Clear();
    block->SetColor(kPen);
    return block;
}

class HiddenShape : public QZShape
{
public:
    HiddenShape() { m_draw = 0; }
};

TEST(ShapeDraw, PointsWithoutColourUseThePenAndReachRowAndColumn0)
{
    auto block = Block(3, 2);
    QZShape shape;
    QZLine line(0, 0, 2, 0);
    shape.Add(&line);
    shape.Add(0x0000000100000000ULL);
    block->Draw(&shape);
    EXPECT_EQ(PixelsOf(block), (Rows{{kPen, kPen, kPen}, {kPen, 0, 0}}));
    EXPECT_EQ(shape.GetColors()->Count(), 0);
}

TEST(ShapeDraw, FirstColourOfAPixelWins)
{
    auto block = Block(2, 1);
    QZShape shape;
    QZPoint point(1, 0);
    shape.Add(&point, 0xFF000001);
    shape.Add(&point, 0xFF000002);
    block->Draw(&shape);
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0xFF000001}}));
}

TEST(ShapeDraw, DrawOverwritesAndDoesNotBlend)
{
    auto block = Block(1, 1);
    block->Fill(0xFFFFFFFF);
    QZShape shape;
    QZPoint point(0, 0);
    shape.Add(&point, 0x01020304);
    block->Draw(&shape);
    EXPECT_EQ(PixelsOf(block), (Rows{{0x01020304}}));
}

TEST(ShapeDraw, WhiteWithoutAlphaIsThePenInAMixedShape)
{
    auto block = Block(3, 1);
    QZShape shape;
    QZPoint points[] = {QZPoint(0, 0), QZPoint(1, 0), QZPoint(2, 0)};
    shape.Add(&points[0]);
    shape.Add(&points[1], 0xFFFFFF);
    shape.Add(&points[2], 0xFFFFFFFF);
    block->Draw(&shape);
    EXPECT_EQ(PixelsOf(block), (Rows{{kPen, kPen, 0xFFFFFFFF}}));
}

TEST(ShapeDraw, WhiteWithoutAlphaIsWhiteInAColouredShape)
{
    auto block = Block(1, 1);
    QZShape shape;
    QZPoint point(0, 0);
    shape.Add(&point, 0xFFFFFF);
    block->Draw(&shape);
    EXPECT_EQ(PixelsOf(block), (Rows{{0xFFFFFF}}));
}

TEST(ShapeDraw, MissingColoursAreAddedToTheShape)
{
    auto block = Block(3, 1);
    QZShape shape;
    QZPoint points[] = {QZPoint(0, 0), QZPoint(1, 0), QZPoint(2, 0)};
    shape.Add(&points[0], 0xFFFFFF);
    shape.Add(&points[1], 7);
    shape.Add(&points[2]);
    block->Draw(&shape);
    ASSERT_EQ(shape.GetColors()->Count(), 3);
    EXPECT_EQ(shape.GetColors()->GetElement(2), 0xFFFFFFu);
    // The shape is mixed now, so its white first point is drawn with the pen as well.
    EXPECT_EQ(PixelsOf(block), (Rows{{kPen, 7, kPen}}));
}

TEST(ShapeDraw, ExtraColoursAreRemovedFromTheShape)
{
    auto block = Block(2, 1);
    QZShape shape;
    QZPoint points[] = {QZPoint(0, 0), QZPoint(1, 0)};
    shape.Add(&points[0], 5);
    shape.Add(&points[1], 6);
    shape.RemovePoint(0);
    block->Draw(&shape);
    EXPECT_EQ(shape.GetColors()->Count(), 1);
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 5}}));
}

TEST(ShapeDraw, ShapesWithoutAreaPointsOrDrawFlagDrawNothing)
{
    auto block = Block(2, 2);
    QZShape a;
    a.Add(0x0000000100000001ULL);
    std::unique_ptr<QZShape> both(QZShape::Union(&a, &a));
    block->Draw(both.get());
    QZShape empty;
    block->Draw(&empty);
    HiddenShape hidden;
    hidden.Add(0x0000000100000001ULL);
    hidden.SetLocation(0, 0);
    block->Draw(&hidden);
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0}, {0, 0}}));
    QZShape copy(static_cast<QZShape*>(&hidden));
    EXPECT_FALSE(copy.IsDrawn());
    // After adding a point, the union has an area and is drawn.
    both->Add(0);
    block->Draw(both.get());
    EXPECT_EQ(PixelsOf(block), (Rows{{kPen, 0}, {0, kPen}}));
}

TEST(ShapeDraw, ShapeIsClippedAtEveryEdge)
{
    auto block = Block(3, 2);
    QZShape shape;
    QZRectangle rectangle(-1, -1, 5, 4);
    rectangle.Fill = 1;
    shape.Add(&rectangle);
    block->Draw(&shape);
    EXPECT_EQ(PixelsOf(block), (Rows{{kPen, kPen, kPen}, {kPen, kPen, kPen}}));
    auto corner = Block(3, 2);
    QZShape right;
    QZRectangle far(2, 1, 5, 5);
    far.Fill = 1;
    right.Add(&far);
    corner->Draw(&right);
    EXPECT_EQ(PixelsOf(corner), (Rows{{0, 0, 0}, {0, 0, kPen}}));
}

TEST(ShapeDraw, PointsOutsideAFittingAreaAppearInLaterRows)
{
    // The circle has points at (5, 0), outside its area. In a block of 4 columns that is the pixel (1, 1).
    QZShape circle;
    QZCircle figure(1, 5, 0);
    circle.Add(&figure);
    EXPECT_EQ(AreaOf(circle), (Area{0, 4, 3, 3}));
    EXPECT_EQ(PointsOf(circle), (Points{{2, 5}, {2, 5}, {5, 0}, {5, 0}, {1, 7}, {1, 2}, {1, 2}, {1, 7}}));
    auto block = Block(4, 8);
    block->Draw(&circle);
    Rows expected(8, std::vector<unsigned int>(4, 0));
    expected[5][2] = kPen;
    expected[1][1] = kPen;
    expected[7][1] = kPen;
    expected[2][1] = kPen;
    EXPECT_EQ(PixelsOf(block), expected);
}

TEST(ShapeDraw, PointsFarOutsideAFittingAreaAreNotWritten)
{
    // Only the area and the first point lie in the block; the other points are far outside.
    auto block = Block(4, 4);
    QZShape shape;
    shape.Add(0x0000000100000001ULL);
    for (const QZPoint& point : {QZPoint(0, -1), QZPoint(-1, 0), QZPoint(0, 4), QZPoint(4, 3),
                                 QZPoint(2147483647, 2147483647), QZPoint(-2147483647, 3), QZPoint(-6, 1)})
        shape.GetPoints()->Add(&point);
    block->Draw(&shape);
    EXPECT_EQ(PixelsOf(block), (Rows{{0, 0, 0, 0}, {0, kPen, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
    // A point left of the block is the end of the row above.
    shape.GetPoints()->Add(-1, 1);
    block->Draw(&shape);
    EXPECT_EQ(PixelsOf(block)[0], (std::vector<unsigned int>{0, 0, 0, kPen}));
}

TEST(ShapeDraw, ClippedPointsDoNotAppearInLaterRows)
{
    // The same circle in a block that is one row too small for its area.
    auto block = Block(4, 6);
    QZShape circle;
    QZCircle figure(1, 5, 0);
    circle.Add(&figure);
    block->Draw(&circle);
    Rows expected(6, std::vector<unsigned int>(4, 0));
    expected[5][2] = kPen;
    expected[2][1] = kPen;
    EXPECT_EQ(PixelsOf(block), expected);
}

TEST(ShapeDraw, DrawOnAnEmptyBlockDoesNothing)
{
    auto block = Block(0, 0);
    QZShape shape;
    QZLine line(0, 0, 5, 5);
    shape.Add(&line);
    block->Draw(&shape);
    EXPECT_EQ(block->GetDataSize(), 0);
}

}  // namespace
