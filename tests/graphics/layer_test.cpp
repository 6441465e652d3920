#include "graphics/gr_layer.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "../fw/assert_watch.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "graphics/pixel_show.h"
#include "support/qz_test.h"

namespace
{

using qztest::PixelsOf;
using qztest::Rows;
using Areas = std::vector<std::string>;

constexpr unsigned int kPen = 0xFFFFFFFF;

Areas AreasOf(QZRectangleCollection* list)
{
    Areas areas;
    for (QZInt64 i = 0; i < list->GetLength(); ++i)
        areas.push_back(std::to_string(list->GetElementX(i)) + "," + std::to_string(list->GetElementY(i)) +
                        " " + std::to_string(list->GetElementWidth(i)) + "x" +
                        std::to_string(list->GetElementHeight(i)));
    return areas;
}

/// Expects that both lists of changes hold these areas.
void ExpectAreas(const QZGraphics& layer, const Areas& areas)
{
    EXPECT_EQ(AreasOf(layer.GetUpdatedAreas()), areas);
    EXPECT_EQ(AreasOf(layer.GetClearedAreas()), areas);
}

void ForgetChanges(const QZGraphics& layer)
{
    layer.GetUpdatedAreas()->Clear();
    layer.GetClearedAreas()->Clear();
}

/// One line of text per row of pixels: "." for 0, "W" for the pen, "R", "G", "B" for these colours, "?" for
/// others.
std::vector<std::string> Show(const QZGraphics& layer)
{
    std::vector<std::string> rows;
    for (const auto& row : PixelsOf(layer))
    {
        rows.emplace_back();
        for (unsigned int pixel : row)
        {
            char mark = '?';
            if (pixel == 0) mark = '.';
            if (pixel == 0xFFFFFFFF) mark = 'W';
            if (pixel == 0xFFFF0000) mark = 'R';
            if (pixel == 0xFF00FF00) mark = 'G';
            if (pixel == 0xFF0000FF) mark = 'B';
            rows.back() += mark;
        }
    }
    return rows;
}

using Picture = std::vector<std::string>;

int CountOf(const QZGraphics& layer, unsigned int color)
{
    int count = 0;
    for (const auto& row : PixelsOf(layer))
        for (unsigned int pixel : row) count += pixel == color;
    return count;
}

QZShape* NewBox(int x, int y, int width, int height)
{
    auto* shape = new QZShape();
    QZRectangle box(x, y, width, height);
    box.Fill = 1;
    shape->Add(&box);
    return shape;
}

std::vector<std::string> KeysOf(QZGraphics& layer)
{
    std::vector<std::string> keys;
    for (QZInt64 i = 0; i < layer.MarkGetKeys()->Count(); ++i)
        keys.push_back(qztest::Utf8(layer.MarkGetKeys()->GetElement(i)));
    return keys;
}

TEST(Layer, NewLayerIsTransparentVisibleAndHasAWhitePen)
{
    QZGraphics layer(3, 2);
    EXPECT_EQ(layer.GetType(), 0x81FFFF5);
    EXPECT_EQ(QZGraphics::Type, 0x81FFFF5);
    EXPECT_QZ_TEXT(layer.GetKey(), "");
    EXPECT_EQ(layer.GetVisable(), 1);
    EXPECT_EQ(layer.GetColor(), kPen);
    EXPECT_EQ(layer.GetClearColor(), 0u);
    EXPECT_EQ(PixelsOf(layer), (Rows{{0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(layer.MarkCount(), 0);
    ExpectAreas(layer, {});
}

TEST(Layer, ListsAreLocked)
{
    QZGraphics layer(3, 2);
    EXPECT_FALSE(layer.GetUpdatedAreas()->IsDisposable());
    EXPECT_FALSE(layer.GetClearedAreas()->IsDisposable());
}

TEST(Layer, KeepsACopyOfItsKey)
{
    QZString key(QZ_W("Back"));
    QZGraphics layer(3, 2, &key);
    key.Set(QZ_W("other"));
    EXPECT_QZ_TEXT(layer.GetKey(), "Back");
    EXPECT_EQ(layer.SetKey(&key), 1);
    EXPECT_QZ_TEXT(layer.GetKey(), "other");
    EXPECT_EQ(layer.SetKey(QZ_W("third")), 1);
    EXPECT_QZ_TEXT(layer.GetKey(), "third");
    EXPECT_EQ(layer.SetKey(layer.GetKey()), 1);
    EXPECT_QZ_TEXT(layer.GetKey(), "third");
    layer.SetVisable(0);
    EXPECT_EQ(layer.GetVisable(), 0);
}

TEST(Layer, SizeObjectBelongsToTheCaller)
{
    QZGraphics layer(3, 2);
    std::unique_ptr<QZSize> size(layer.GetSize());
    std::unique_ptr<QZSize> again(layer.GetSize());
    EXPECT_NE(size, again);
    EXPECT_TRUE(size->IsDisposable());
    EXPECT_EQ(size->GetWidth(), 3);
    EXPECT_EQ(size->GetHeight(), 2);
}

TEST(Layer, GetPointerInt64IsAnAddressAndGetPointerQZInt32APixel)
{
    QZGraphics layer(3, 2);
    layer.Fill(0x12345678);
    EXPECT_EQ(reinterpret_cast<void*>(layer.GetPointerInt64()), layer.GetPointer());
    EXPECT_EQ(reinterpret_cast<void*>(layer.GetPointerIntPtr()), layer.GetPointer());
    EXPECT_EQ(layer.GetPointerQZInt32(), 0x12345678);
    EXPECT_EQ(layer.GetDataSize(), 24);
    QZGraphics nothing(0, 0);
    EXPECT_EQ(nothing.GetPointerQZInt32(), 0);
}

TEST(Layer, SetPixelInTheFirstRowMarksAChangeAndWritesNothing)
{
    QZGraphics layer(4, 3);
    layer.SetPixel(0, 0);
    EXPECT_EQ(Show(layer), (Picture{"....", "....", "...."}));
    ExpectAreas(layer, {"0,0 1x1"});
}

TEST(Layer, SetPixelWritesAColourOrThePen)
{
    QZGraphics layer(6, 3);
    layer.SetPixel(1, 1, 0xFFFF0000);
    layer.SetPixel(5, 2);
    const QZPoint point(3, 1);
    layer.SetPixel(&point);
    EXPECT_EQ(Show(layer), (Picture{"......", ".R.W..", ".....W"}));
    EXPECT_EQ(layer.GetPixel(1, 1), 0xFFFF0000u);
    ExpectAreas(layer, {"1,1 1x1", "5,2 1x1", "3,1 1x1"});
}

TEST(Layer, ChangesThatTouchAreMerged)
{
    QZGraphics layer(20, 20);
    layer.UpdateAreaInclude(2, 2, 3, 3);
    layer.UpdateAreaInclude(10, 10, 2, 2);
    layer.UpdateAreaInclude(5, 3, 1, 1);
    ExpectAreas(layer, {"2,2 4x3", "10,10 2x2"});
    layer.UpdateAreaInclude(4, 4, 7, 7);
    ExpectAreas(layer, {"2,2 4x3", "4,4 8x8"});
}

TEST(Layer, ChangesAreClippedToTheLayer)
{
    QZGraphics layer(20, 10);
    layer.UpdateAreaInclude(15, 8, 10, 10);
    ExpectAreas(layer, {"15,8 5x2"});
    ForgetChanges(layer);
    // A negative x becomes 0 and keeps its width; a row below the last wraps around.
    layer.UpdateAreaInclude(-5, 13, 2, 3);
    ExpectAreas(layer, {"0,3 2x3"});
    ForgetChanges(layer);
    // Right of the layer the width becomes 0, but the area is marked all the same.
    layer.UpdateAreaInclude(30, 1, 2, 3);
    ExpectAreas(layer, {"30,1 0x3"});
}

TEST(Layer, NegativeChangeThrowsAndEmptyChangeIsIgnored)
{
    QZGraphics layer(20, 10);
    EXPECT_QZ_THROW(layer.UpdateAreaInclude(1, 1, -1, 5), 256);
    EXPECT_QZ_THROW(layer.UpdateAreaInclude(1, 1, 5, -1), 256);
    EXPECT_QZ_THROW(layer.UpdateAreaInclude(1, 1, -5, -1), 256);
    EXPECT_QZ_NO_THROW(layer.UpdateAreaInclude(1, 1, 0, 5));
    EXPECT_QZ_NO_THROW(layer.UpdateAreaInclude(1, 1, -5, 0));
    ExpectAreas(layer, {});
}

TEST(Layer, FillMarksTheWholeLayer)
{
    QZGraphics layer(3, 2);
    layer.Fill(0xFFFF0000U);
    EXPECT_EQ(Show(layer), (Picture{"RRR", "RRR"}));
    ExpectAreas(layer, {"0,0 3x2"});
    layer.Fill(0, 255, 0);
    EXPECT_EQ(Show(layer), (Picture{"GGG", "GGG"}));
    layer.Fill(1, 2, 3);
    EXPECT_EQ(layer.GetPixel(0, 0), 0xFF010203u);
}

TEST(Layer, FillOfARectangleMarksIt)
{
    QZGraphics layer(5, 4);
    const QZRectangle area(1, 0, 2, 3);
    layer.Fill(&area, 0xFF0000FF);
    EXPECT_EQ(Show(layer), (Picture{".BB..", ".BB..", ".BB..", "....."}));
    ExpectAreas(layer, {"1,0 2x3"});
    layer.Fill(static_cast<QZRectangle*>(nullptr), 0xFFFF0000);
    layer.Fill(static_cast<QZRectangleCollection*>(nullptr), 0xFFFF0000);
    EXPECT_EQ(CountOf(layer, 0xFF0000FF), 6);
    ExpectAreas(layer, {"1,0 2x3"});
}

TEST(Layer, FillOfNegativeWidthThrowsAndOfZeroWidthDoesNothing)
{
    QZGraphics layer(5, 4);
    const QZRectangle negative(1, 1, -1, 5);
    EXPECT_QZ_THROW(layer.Fill(&negative, kPen), 256);
    const QZRectangle empty(1, 1, 0, 5);
    EXPECT_QZ_NO_THROW(layer.Fill(&empty, kPen));
    EXPECT_EQ(CountOf(layer, 0), 20);
    ExpectAreas(layer, {});
}

TEST(Layer, FillOfRectanglesFillsEach)
{
    QZGraphics layer(6, 2);
    QZRectangleCollection areas;
    areas.Add(0, 0, 2, 1);
    areas.Add(4, 1, 1, 1);
    layer.Fill(&areas, 0xFFFF0000);
    EXPECT_EQ(Show(layer), (Picture{"RR....", "....R."}));
    ExpectAreas(layer, {"0,0 2x1", "4,1 1x1"});
}

TEST(Layer, FillOfTheBaseClassMarksNothing)
{
    QZGraphics layer(3, 2);
    layer.Fill(1, 1, 1, 1, 0xFFFF0000);
    EXPECT_EQ(Show(layer), (Picture{"...", ".R."}));
    ExpectAreas(layer, {});
}

TEST(Layer, SetColorRoundCyclesThroughRedGreenAndBlue)
{
    QZGraphics layer(3, 2);
    EXPECT_EQ(layer.SetColorRound(), 0xFFFF0000u);
    EXPECT_EQ(layer.GetColor(), 0xFFFF0000u);
    EXPECT_EQ(layer.SetColorRound(), 0xFF00FF00u);
    EXPECT_EQ(layer.SetColorRound(), 0xFF0000FFu);
    EXPECT_EQ(layer.SetColorRound(), 0xFFFF0000u);
}

TEST(Layer, ClearFillsTheDrawnAreasAndMarksThem)
{
    QZGraphics layer(6, 3);
    // Pixels that were written directly are not cleared.
    static_cast<QZUInt32*>(layer.GetPointer())[5] = 0xFFFF0000;
    const QZRectangle area(1, 1, 2, 2);
    layer.Fill(&area, kPen);
    layer.GetUpdatedAreas()->Clear();
    layer.SetClearColor(0xFF0000FF);
    layer.Clear();
    EXPECT_EQ(Show(layer), (Picture{".....R", ".BB...", ".BB..."}));
    EXPECT_EQ(AreasOf(layer.GetUpdatedAreas()), Areas{"1,1 2x2"});
    EXPECT_EQ(AreasOf(layer.GetClearedAreas()), Areas{});
}

TEST(Layer, SecondClearDoesNothing)
{
    QZGraphics layer(6, 3);
    layer.SetPixel(2, 2);
    layer.Clear();
    layer.GetUpdatedAreas()->Clear();
    layer.SetClearColor(kPen);
    layer.Clear();
    EXPECT_EQ(CountOf(layer, 0), 18);
    EXPECT_EQ(AreasOf(layer.GetUpdatedAreas()), Areas{});
}

TEST(Layer, ClearThroughTheBaseClearsTheLayer)
{
    QZGraphics layer(6, 3);
    layer.SetPixel(2, 2);
    layer.GetClearedAreas()->Clear();
    static_cast<QZData&>(layer).Clear();
    EXPECT_EQ(CountOf(layer, kPen), 1);
    EXPECT_EQ(layer.GetWidth(), 6);
}

TEST(Layer, DrawMarksTheAreaOfTheShape)
{
    QZGraphics layer(6, 4);
    std::unique_ptr<QZShape> box(NewBox(1, 0, 3, 2));
    layer.Draw(box.get());
    EXPECT_EQ(Show(layer), (Picture{".WWW..", ".WWW..", "......", "......"}));
    ExpectAreas(layer, {"1,0 3x2"});
}

TEST(Layer, OverlappingDrawsMarkOneMergedArea)
{
    QZGraphics layer(10, 10);
    std::unique_ptr<QZShape> first(NewBox(1, 1, 3, 3));
    std::unique_ptr<QZShape> second(NewBox(3, 2, 4, 4));
    layer.Draw(first.get());
    layer.Draw(second.get());
    ExpectAreas(layer, {"1,1 6x5"});
}

TEST(Layer, ShapeFromUnionIsNotDrawn)
{
    QZGraphics layer(10, 10);
    std::unique_ptr<QZShape> first(NewBox(1, 1, 3, 3));
    std::unique_ptr<QZShape> second(NewBox(3, 2, 4, 4));
    std::unique_ptr<QZShape> both(QZShape::Union(first.get(), second.get()));
    layer.Draw(both.get());
    ExpectAreas(layer, {});
    EXPECT_EQ(CountOf(layer, 0), 100);
}

TEST(Layer, DrawsFiguresWithThePen)
{
    QZGraphics layer(7, 5);
    layer.SetColor(0xFF00FF00);
    const QZLine line(0, 0, 3, 0);
    layer.Draw(&line);
    const QZRectangle outline(4, 1, 3, 3);
    layer.Draw(&outline);
    layer.DrawLine(0, 4, 0, 2);
    EXPECT_EQ(Show(layer), (Picture{"GGGG...", "....GGG", "G...G.G", "G...GGG", "G......"}));
    ExpectAreas(layer, {"0,0 7x5"});
}

TEST(Layer, FilledRectangleIsDrawnFilled)
{
    QZGraphics layer(4, 3);
    QZRectangle box(1, 1, 2, 2);
    box.Fill = 1;
    layer.Draw(&box);
    EXPECT_EQ(Show(layer), (Picture{"....", ".WW.", ".WW."}));
}

TEST(Layer, DrawsACircle)
{
    QZGraphics layer(12, 12);
    const QZCircle circle(5, 5, 3);
    layer.Draw(&circle);
    ExpectAreas(layer, {"1,1 9x9"});
    EXPECT_GT(CountOf(layer, kPen), 8);
    EXPECT_EQ(layer.GetPixel(5, 5), 0u);
}

TEST(Layer, CircleAlsoDrawsOnTheTopRowOutsideItsMarkedArea)
{
    QZGraphics layer(12, 12);
    const QZCircle circle(5, 6, 3);
    layer.Draw(&circle);
    ExpectAreas(layer, {"1,2 9x9"});
    // The rows of the circle, 6 to 9 and 6 to 3, appear as columns of row 0.
    EXPECT_EQ(Show(layer).at(0), "...WWWWWWW..");
    EXPECT_EQ(Show(layer).at(1), "............");
}

TEST(Layer, SlopedLineMayEndOnePixelOutsideItsMarkedArea)
{
    QZGraphics layer(30, 10);
    layer.DrawLine(0, 7, 21, 4);
    ExpectAreas(layer, {"0,4 22x4"});
    // In single precision 21 * -0.14285715 + 7 is 3.9999998.
    EXPECT_EQ(layer.GetPixel(21, 3), kPen);
    EXPECT_EQ(layer.GetPixel(21, 4), 0u);
}

TEST(Layer, DrawsAGridCellByCell)
{
    QZGraphics layer(8, 5);
    QZRectangles grid(1, 1, 2, 1, 3);
    layer.Draw(&grid);
    EXPECT_EQ(Show(layer), (Picture{"........", ".WWWWWW.", ".W.WW.W.", ".WWWWWW.", "........"}));
    ExpectAreas(layer, {"1,1 6x3"});
}

TEST(Layer, DrawsAShapeAtAPosition)
{
    QZGraphics layer(8, 5);
    std::unique_ptr<QZShape> box(NewBox(0, 0, 2, 2));
    layer.Draw(5, 3, box.get());
    EXPECT_EQ(Show(layer), (Picture{"........", "........", "........", ".....WW.", ".....WW."}));
    ExpectAreas(layer, {"5,3 2x2"});
    EXPECT_EQ(box->GetLocation()->GetX(), 0);
    EXPECT_EQ(box->GetArea()->GetX(), 0);
}

TEST(Layer, DrawsTextAndNumbersInTheBuiltInFont)
{
    QZGraphics layer(10, 10);
    QZString text(QZ_W("7"));
    layer.Draw(0, 0, &text);
    const Picture seven = {"..........", ".WWWWW....", ".....W....", "....W.....", "...W......",
                           "..W.......", "..W.......", "..W.......", "..........", ".........."};
    EXPECT_EQ(Show(layer), seven);
    ExpectAreas(layer, {"0,0 6x9"});
    QZGraphics number(10, 10);
    number.Draw(0, 0, 7);
    EXPECT_EQ(Show(number), seven);
    QZGraphics narrow(10, 10);
    narrow.Draw(0, 0, "7");
    EXPECT_EQ(Show(narrow), seven);
    QZGraphics placed(10, 10);
    const QZPoint point(0, 0);
    placed.Draw(&point, &text);
    EXPECT_EQ(Show(placed), seven);
}

TEST(Layer, DrawsNegativeNumbers)
{
    QZGraphics layer(14, 9);
    layer.Draw(0, 0, QZInt64{-1});
    EXPECT_EQ(Show(layer), (Picture{"..............", ".........W....", "........WW....", ".........W....",
                                    "..WWW....W....", ".........W....", ".........W....", "........WWW...",
                                    ".............."}));
}

TEST(Layer, DrawCrossReachesFivePixelsToEachSide)
{
    QZGraphics layer(13, 13);
    layer.DrawCross(6, 6);
    Picture cross(13, std::string(6, '.') + "W" + std::string(6, '.'));
    cross[0] = cross[12] = std::string(13, '.');
    cross[6] = ".WWWWWWWWWWW.";
    EXPECT_EQ(Show(layer), cross);
    ExpectAreas(layer, {"1,1 11x11"});
}

TEST(Layer, CrossesHaveColoursAndAngles)
{
    QZGraphics layer(13, 13);
    layer.DrawCross(6, 6, 0xFFFF0000);
    EXPECT_EQ(CountOf(layer, 0xFFFF0000), 21);
    layer.DrawCrossGreen(6, 6);
    EXPECT_EQ(CountOf(layer, 0xFF00FF00), 21);
    layer.DrawCrossBlue(6, 6);
    EXPECT_EQ(CountOf(layer, 0xFF0000FF), 21);
    layer.DrawCrossRed(6, 6);
    EXPECT_EQ(CountOf(layer, 0xFFFF0000), 21);
    QZGraphics upright(13, 13);
    upright.DrawCross(6, 6, 0.0F);
    EXPECT_EQ(CountOf(upright, kPen), 21);
    QZGraphics turned(13, 13);
    turned.DrawCross(6, 6, 45.0);
    // Three pixels in each direction on both diagonals, because 5 * sin 45 degrees is 3.5.
    EXPECT_EQ(turned.GetPixel(3, 3), kPen);
    EXPECT_EQ(turned.GetPixel(9, 9), kPen);
    EXPECT_EQ(turned.GetPixel(9, 3), kPen);
    EXPECT_EQ(turned.GetPixel(3, 9), kPen);
    EXPECT_EQ(turned.GetPixel(6, 1), 0u);
}

TEST(Layer, PasteMarksTheAreaAndBlends)
{
    QZGraphics layer(6, 4);
    layer.Fill(0xFF000000U);
    ForgetChanges(layer);
    QZPixelBlock source(2, 2);
    source.Fill(0x80FFFFFFU);
    EXPECT_EQ(layer.Paste(1, 1, &source, 0), 1);
    // 128 * 255 >> 8 is 127. The alpha is 128 + (127 * 255 >> 8) = 254.
    EXPECT_EQ(layer.GetPixel(1, 1), 0xFE7F7F7Fu);
    EXPECT_EQ(layer.GetPixel(2, 2), 0xFE7F7F7Fu);
    EXPECT_EQ(layer.GetPixel(3, 3), 0xFF000000u);
    ExpectAreas(layer, {"1,1 2x2"});
    const QZRectangle area(4, 0, 1, 2);
    QZPixelBlock wide(6, 4);
    wide.Fill(0x01020304U);
    const QZSize size(6, 4);
    EXPECT_EQ(layer.Paste(&area, &size, wide.GetPointer(), 1), 1);
    EXPECT_EQ(layer.GetPixel(4, 1), 0x01020304u);
    ExpectAreas(layer, {"1,1 2x2", "4,0 1x2"});
    const QZRectangle negative(4, 0, -1, 2);
    EXPECT_QZ_THROW(layer.Paste(&negative, &size, wide.GetPointer(), 1), 256);
    EXPECT_EQ(layer.Paste(9, 0, &source, 1), 0);
}

TEST(Layer, OperationsOfTheBaseClassWork)
{
    QZGraphics layer(6, 4);
    QZPixelBlock* block = &layer;
    block->SetPixel(2, 1, 0xFFFF0000);
    block->SetPixel(4, 3);
    block->Fill(0xFF00FF00U);
    ExpectAreas(layer, {"2,1 1x1", "0,0 6x4"});
    EXPECT_EQ(block->GetPixel(0, 0), 0xFF00FF00u);
    ForgetChanges(layer);
    std::unique_ptr<QZShape> box(NewBox(1, 1, 1, 1));
    block->Draw(box.get());
    ExpectAreas(layer, {"1,1 1x1"});
}

TEST(Layer, NewSizeRearrangesThePixelsIntoTheNewRows)
{
    QZGraphics layer(4, 2);
    auto* pixels = static_cast<QZUInt32*>(layer.GetPointer());
    for (QZUInt32 i = 0; i < 8; ++i) pixels[i] = i + 1;
    layer.UpdateAreaInclude(0, 0, 2, 2);
    EXPECT_EQ(layer.NewSize(3, 2), 1);
    EXPECT_EQ(PixelsOf(layer), (Rows{{1, 2, 3}, {4, 5, 6}}));
    EXPECT_EQ(layer.GetWidth(), 3);
    EXPECT_EQ(layer.GetHeight(), 2);
    ExpectAreas(layer, {});
    const QZData& data = layer;
    EXPECT_EQ(data.GetSize(), 8 * 3 + 4 * 4 * 3);
    // With one more row, its entry in the row table takes the space of the first two pixels.
    layer.NewSize(3, 3);
    EXPECT_EQ(PixelsOf(layer).at(0), (Rows::value_type{3, 4, 5}));
    EXPECT_EQ(PixelsOf(layer).at(1), (Rows::value_type{6, 7, 8}));
    layer.SetPixel(2, 2, 9);
    EXPECT_EQ(layer.GetPixel(2, 2), 9u);
}

TEST(Layer, NewSizeKeepsTheSizeObjectOfTheBaseClass)
{
    QZGraphics layer(4, 2);
    layer.NewSize(7, 8);
    EXPECT_EQ(static_cast<QZPixelBlock&>(layer).GetSize()->GetWidth(), 4);
    EXPECT_EQ(static_cast<QZPixelBlock&>(layer).GetSize()->GetHeight(), 2);
    std::unique_ptr<QZSize> size(layer.GetSize());
    EXPECT_EQ(size->GetWidth(), 7);
    EXPECT_EQ(size->GetHeight(), 8);
}

TEST(Layer, NegativeNewSizeThrows)
{
    QZGraphics layer(4, 2);
    QZLastError = 0;
    EXPECT_QZ_THROW(layer.NewSize(-2, 10), 4352);
    EXPECT_QZ_THROW(layer.NewSize(10, -1), 4352);
    EXPECT_EQ(layer.GetWidth(), 4);
    QZLastError = 0;
    EXPECT_QZ_THROW(QZGraphics(-1, 5), 4352);
    QZLastError = 0;
}

TEST(Layer, MarksAreDrawnInOrderWhenSomethingChanged)
{
    QZGraphics layer(5, 3);
    QZShape* first = NewBox(1, 1, 2, 1);
    first->Fill(0xFFFF0000);
    QZShape* second = NewBox(2, 1, 2, 1);
    second->Fill(0xFF00FF00);
    layer.MarkAdd(QZ_W("first"), first);
    layer.MarkAdd(QZ_W("second"), second);
    layer.Update();
    EXPECT_EQ(Show(layer), (Picture{".....", ".....", "....."}));
    layer.UpdateAreaInclude(0, 0, 1, 1);
    layer.Update();
    EXPECT_EQ(Show(layer), (Picture{".....", ".RGG.", "....."}));
    ExpectAreas(layer, {"0,0 4x2"});
    layer.MarkMoveUp(QZ_W("first"));
    layer.Update();
    EXPECT_EQ(Show(layer), (Picture{".....", ".RRG.", "....."}));
}

TEST(Layer, MarksBelongToTheLayerAndAreLocked)
{
    QZString key(QZ_W("box"));
    QZGraphics layer(5, 3);
    QZShape* box = NewBox(1, 1, 2, 1);
    EXPECT_EQ(layer.MarkAdd(&key, box), 1);
    EXPECT_FALSE(box->IsDisposable());
    EXPECT_EQ(layer.MarkCount(), 1);
    EXPECT_EQ(layer.MarkGet(&key), box);
    EXPECT_EQ(layer.MarkGet(QZ_W("BOX")), box);
    EXPECT_EQ(layer.MarkGet(QZ_W("none")), nullptr);
    EXPECT_QZ_TEXT(layer.MarkToKey(box), "box");
    EXPECT_EQ(layer.GetIndex(&key), 0);
    EXPECT_EQ(KeysOf(layer), std::vector<std::string>{"box"});
    std::unique_ptr<QZShape> other(NewBox(0, 0, 1, 1));
    EXPECT_EQ(layer.MarkToKey(other.get()), nullptr);
    EXPECT_QZ_THROW(layer.MarkAdd(&key, other.get()), 2304);
    EXPECT_QZ_THROW(layer.MarkAdd(QZ_W("again"), box), 1280);
    EXPECT_QZ_THROW(layer.MarkAdd(QZ_W(""), other.get()), 2048);
}

TEST(Layer, RemovedMarkIsNotDeleted)
{
    QZString key(QZ_W("box"));
    QZGraphics layer(5, 3);
    std::unique_ptr<QZShape> box(NewBox(1, 1, 2, 1));
    layer.MarkAdd(&key, box.get());
    EXPECT_EQ(layer.MarkRemove(&key), 1);
    EXPECT_TRUE(box->IsDisposable());
    EXPECT_EQ(box->GetPoints()->Count(), 2);
    EXPECT_EQ(layer.MarkCount(), 0);
    EXPECT_EQ(layer.MarkRemove(&key), 0);
    layer.MarkAdd(QZ_W("box"), box.get());
    EXPECT_EQ(layer.MarkRemove(QZ_W("Box")), 1);
}

TEST(Layer, MarkSetAppendsTheNewMarkAndUnlocksTheOldOne)
{
    QZGraphics layer(5, 3);
    std::unique_ptr<QZShape> old(NewBox(1, 1, 2, 1));
    layer.MarkSet(QZ_W("a"), old.get());
    layer.MarkSet(QZ_W("b"), NewBox(1, 1, 1, 1));
    QZShape* fresh = NewBox(0, 0, 1, 1);
    QZString key(QZ_W("A"));
    layer.MarkSet(&key, fresh);
    EXPECT_EQ(KeysOf(layer), (std::vector<std::string>{"b", "A"}));
    EXPECT_EQ(layer.MarkGet(QZ_W("a")), fresh);
    EXPECT_TRUE(old->IsDisposable());
    layer.MarkSet(&key, fresh);
    EXPECT_EQ(layer.MarkCount(), 2);
    EXPECT_EQ(layer.MarkGet(&key), fresh);
}

TEST(Layer, MarkGetByPointFindsTheFirstMarkWithThePoint)
{
    QZGraphics layer(20, 20);
    QZShape* low = NewBox(2, 2, 4, 4);
    QZShape* high = NewBox(4, 4, 4, 4);
    layer.MarkAdd(QZ_W("none"), new QZShape());
    layer.MarkAdd(QZ_W("low"), low);
    layer.MarkAdd(QZ_W("high"), high);
    EXPECT_EQ(layer.MarkGet(5, 5), low);
    EXPECT_EQ(layer.MarkGet(6, 5), high);
    EXPECT_EQ(layer.MarkGet(8, 8), nullptr);
    const QZPoint point(7, 7);
    EXPECT_EQ(layer.MarkGet(&point), high);
}

class MarkOrder : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (const QZWChar* key : {QZ_W("a"), QZ_W("b"), QZ_W("c"), QZ_W("d"), QZ_W("e")})
            m_layer.MarkAdd(key, new QZShape());
    }

    std::string Keys()
    {
        std::string keys;
        for (const std::string& key : KeysOf(m_layer)) keys += key;
        return keys;
    }

    QZGraphics m_layer{2, 2};
};

TEST_F(MarkOrder, MarkMoveUpAndDownMoveOnePosition)
{
    QZString b(QZ_W("b"));
    EXPECT_EQ(m_layer.MarkMoveUp(&b), 1);
    EXPECT_EQ(Keys(), "acbde");
    EXPECT_EQ(m_layer.MarkMoveDown(&b), 1);
    EXPECT_EQ(m_layer.MarkMoveDown(QZ_W("b")), 1);
    EXPECT_EQ(Keys(), "bacde");
    EXPECT_EQ(m_layer.MarkMoveDown(QZ_W("b")), 1);
    EXPECT_EQ(m_layer.MarkMoveUp(QZ_W("e")), 1);
    EXPECT_EQ(Keys(), "bacde");
}

TEST_F(MarkOrder, MarkMoveFirstMovesByTheMarksIndexTowardsTheEnd)
{
    QZString b(QZ_W("b"));
    EXPECT_EQ(m_layer.MarkMoveFirst(&b), 1);
    EXPECT_EQ(Keys(), "acbde");
    EXPECT_EQ(m_layer.MarkMoveFirst(QZ_W("b")), 1);
    EXPECT_EQ(Keys(), "acdeb");
    EXPECT_EQ(m_layer.MarkMoveFirst(QZ_W("a")), 1);
    EXPECT_EQ(Keys(), "acdeb");
}

TEST_F(MarkOrder, MarkMoveLastMovesToTheEnd)
{
    QZString b(QZ_W("b"));
    EXPECT_EQ(m_layer.MarkMoveLast(&b), 1);
    EXPECT_EQ(Keys(), "acdeb");
    EXPECT_EQ(m_layer.MarkMoveLast(QZ_W("a")), 1);
    EXPECT_EQ(Keys(), "cdeba");
}

TEST_F(MarkOrder, MissingMarkIsNotMoved)
{
    QZString none(QZ_W("none"));
    EXPECT_EQ(m_layer.MarkMoveUp(&none), 0);
    EXPECT_EQ(m_layer.MarkMoveDown(&none), 0);
    EXPECT_EQ(m_layer.MarkMoveFirst(&none), 0);
    EXPECT_EQ(m_layer.MarkMoveLast(&none), 0);
    EXPECT_EQ(m_layer.GetIndex(&none), -1);
    EXPECT_EQ(Keys(), "abcde");
}

}  // namespace
