#include "graphics/gr_shape.h"

#include <memory>
#include <utility>
#include <vector>

#include "../fw/assert_watch.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"

namespace
{

using Points = std::vector<std::pair<int, int>>;
using Colors = std::vector<unsigned int>;
using Area = std::vector<int>;

Points PointsOf(const QZShape& shape)
{
    Points result;
    QZPointCollection* points = shape.GetPoints();
    for (QZInt64 i = 0; i < points->Count(); ++i)
        result.emplace_back(points->GetElementX(i), points->GetElementY(i));
    return result;
}

Colors ColorsOf(const QZShape& shape)
{
    Colors result;
    for (QZInt64 i = 0; i < shape.GetColors()->Count(); ++i)
        result.push_back(static_cast<unsigned int>(shape.GetColors()->GetElement(i)));
    return result;
}

Area AreaOf(const QZShape& shape)
{
    const QZRectangle* area = shape.GetArea();
    if (area == nullptr) return {};
    return {area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight()};
}

Points LinePoints(int x1, int y1, int x2, int y2)
{
    QZShape shape;
    QZLine line(x1, y1, x2, y2);
    shape.Add(&line);
    return PointsOf(shape);
}

/// Exposes the protected members.
class OpenShape : public QZShape
{
public:
    using QZShape::LongLine;
    using QZShape::m_mixedColors;
    using QZShape::QZShape;
    using QZShape::Ray;
};

TEST(Shape, NewShapeIsEmpty)
{
    QZShape shape;
    EXPECT_EQ(shape.GetType(), 0x81FFFF1);
    EXPECT_EQ(QZShape::Type, 0x81FFFF1);
    EXPECT_EQ(PointsOf(shape), Points{});
    EXPECT_EQ(ColorsOf(shape), Colors{});
    EXPECT_EQ(shape.GetArea(), nullptr);
    EXPECT_EQ(shape.GetLocation()->GetUInt64(), 0u);
    EXPECT_TRUE(shape.IsDrawn());
    EXPECT_EQ(shape.GetWidth(), 0);
    EXPECT_EQ(shape.GetHeight(), 0);
}

TEST(Shape, PartsAreLocked)
{
    QZShape shape;
    shape.Add(0x0000000500000003ULL);
    EXPECT_FALSE(shape.GetPoints()->IsDisposable());
    EXPECT_FALSE(shape.GetColors()->IsDisposable());
    EXPECT_FALSE(shape.GetLocation()->IsDisposable());
    EXPECT_FALSE(shape.GetArea()->IsDisposable());
    EXPECT_FALSE(shape.GetArea()->SetDisposable(shape.GetObjectID() + 256, 1));
}

TEST(Shape, PointsEnlargeTheArea)
{
    QZShape shape;
    QZPoint point(3, 5);
    shape.Add(&point);
    EXPECT_EQ(AreaOf(shape), (Area{3, 5, 1, 1}));
    shape.Add(0xFFFFFFFE00000007ULL);
    EXPECT_EQ(PointsOf(shape), (Points{{3, 5}, {7, -2}}));
    EXPECT_EQ(AreaOf(shape), (Area{3, -2, 5, 8}));
    shape.Add(0);
    EXPECT_EQ(AreaOf(shape), (Area{0, -2, 8, 8}));
}

TEST(Shape, WithoutDuplicatesAPointIsAddedOnce)
{
    QZShape shape(static_cast<unsigned char>(0));
    QZLine line(1, 1, 3, 1);
    shape.Add(&line);
    shape.Add(&line);
    EXPECT_EQ(PointsOf(shape), (Points{{1, 1}, {2, 1}, {3, 1}}));
    QZShape copy(&shape);
    copy.Add(&line);
    EXPECT_EQ(PointsOf(copy).size(), 3u);
    QZShape other(1);
    other.Add(&line);
    other.Add(&line);
    EXPECT_EQ(PointsOf(other).size(), 6u);
}

TEST(Shape, LinesRunInIncreasingXForEitherDirection)
{
    EXPECT_EQ(LinePoints(7, 1, 2, 1), (Points{{2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 1}}));
    EXPECT_EQ(LinePoints(2, 1, 7, 1), LinePoints(7, 1, 2, 1));
    EXPECT_EQ(LinePoints(9, 1, 2, 8),
              (Points{{2, 8}, {3, 7}, {4, 6}, {5, 5}, {6, 4}, {7, 3}, {8, 2}, {9, 1}}));
}

TEST(Shape, SteepLinesRunInIncreasingY)
{
    EXPECT_EQ(LinePoints(4, 6, 4, 3), (Points{{4, 3}, {4, 4}, {4, 5}, {4, 6}}));
    EXPECT_EQ(LinePoints(3, 9, 1, 2),
              (Points{{1, 2}, {1, 3}, {1, 4}, {1, 5}, {2, 6}, {2, 7}, {2, 8}, {3, 9}}));
}

TEST(Shape, LineOfOnePointHasOnePoint) { EXPECT_EQ(LinePoints(4, 4, 4, 4), (Points{{4, 4}})); }

TEST(Shape, LinePixelsAreTruncatedNotRounded)
{
    EXPECT_EQ(LinePoints(0, 0, 6, 2), (Points{{0, 0}, {1, 0}, {2, 0}, {3, 1}, {4, 1}, {5, 1}, {6, 2}}));
    // By rows: y = 7/3 x + b, solved for x and truncated.
    EXPECT_EQ(LinePoints(1, 2, 4, 9),
              (Points{{0, 2}, {1, 3}, {1, 4}, {2, 5}, {2, 6}, {3, 7}, {3, 8}, {4, 9}}));
}

TEST(Shape, LinePixelsAreCalculatedInSinglePrecision)
{
    // In single precision (1/7) * 7 is 1, but the slope 3/21 times 7 is slightly less than 1.
    const Points points = LinePoints(0, 0, 21, 3);
    ASSERT_EQ(points.size(), 22u);
    EXPECT_EQ(points[6], (std::pair<int, int>{6, 0}));
    EXPECT_EQ(points[7], (std::pair<int, int>{7, 0}));
    EXPECT_EQ(points[8], (std::pair<int, int>{8, 1}));
    EXPECT_EQ(points[14], (std::pair<int, int>{14, 1}));
    EXPECT_EQ(points[15], (std::pair<int, int>{15, 2}));
    EXPECT_EQ(points[21], (std::pair<int, int>{21, 3}));
}

TEST(Shape, LinesStayInTheFirstQuadrant)
{
    EXPECT_EQ(LinePoints(-5, 2, 4, 2), (Points{{0, 2}, {1, 2}, {2, 2}, {3, 2}, {4, 2}}));
    // Moving the end to the first quadrant changes the slope.
    EXPECT_EQ(LinePoints(-3, -9, 2, 2), (Points{{0, 0}, {1, 1}, {2, 2}}));
    QZShape shape;
    QZLine line(-5, -2, 4, 2);
    shape.Add(&line);
    EXPECT_EQ(AreaOf(shape), (Area{0, 0, 5, 3}));
}

TEST(Shape, SizeOfALineIsIgnored)
{
    QZShape shape;
    QZLine line(1, 1, 3, 1);
    QZSize size(2, 2);
    shape.Add(&line, &size);
    EXPECT_EQ(PointsOf(shape), (Points{{1, 1}, {2, 1}, {3, 1}}));
    EXPECT_EQ(ColorsOf(shape), Colors{});
    // A literal 0 is taken as a colour, not as a size.
    shape.Add(&line, 0);
    EXPECT_EQ(ColorsOf(shape), (Colors{0xFFFFFF, 0xFFFFFF, 0xFFFFFF, 0, 0, 0}));
}

TEST(Shape, FilledRectangleIsAddedRowByRow)
{
    QZShape shape;
    QZRectangle rectangle(4, 7, 3, 2);
    rectangle.Fill = 1;
    shape.Add(&rectangle);
    EXPECT_EQ(PointsOf(shape), (Points{{4, 7}, {5, 7}, {6, 7}, {4, 8}, {5, 8}, {6, 8}}));
    EXPECT_EQ(AreaOf(shape), (Area{4, 7, 3, 2}));
    // Unlike a line, a filled rectangle may have negative coordinates.
    QZShape left;
    QZRectangle outside(-2, -1, 3, 1);
    left.Add(&outside, 0xFF00FF00, 1);
    EXPECT_EQ(PointsOf(left), (Points{{-2, -1}, {-1, -1}, {0, -1}}));
}

TEST(Shape, FillArgumentOverridesTheFlag)
{
    QZRectangle rectangle(0, 0, 3, 3);
    rectangle.Fill = 1;
    QZShape outline;
    outline.Add(&rectangle, 5, 0);
    EXPECT_EQ(PointsOf(outline).size(), 12u);
    QZShape filled;
    filled.Add(&rectangle, 5);
    EXPECT_EQ(PointsOf(filled).size(), 9u);
    EXPECT_EQ(rectangle.Fill, 1);
}

TEST(Shape, OutlineIsTopRightBottomLeftWithDuplicateCorners)
{
    QZShape shape;
    QZRectangle rectangle(2, 3, 3, 4);
    shape.Add(&rectangle);
    EXPECT_EQ(PointsOf(shape), (Points{{2, 3},
                                       {3, 3},
                                       {4, 3},
                                       {4, 3},
                                       {4, 4},
                                       {4, 5},
                                       {4, 6},
                                       {2, 6},
                                       {3, 6},
                                       {4, 6},
                                       {2, 3},
                                       {2, 4},
                                       {2, 5},
                                       {2, 6}}));
    EXPECT_EQ(AreaOf(shape), (Area{2, 3, 3, 4}));
}

TEST(Shape, OutlineOfWidthOneIsAVerticalLineTwice)
{
    QZShape shape;
    QZRectangle rectangle(5, 1, 1, 3);
    shape.Add(&rectangle);
    EXPECT_EQ(PointsOf(shape), (Points{{5, 1}, {5, 1}, {5, 2}, {5, 3}, {5, 3}, {5, 1}, {5, 2}, {5, 3}}));
}

TEST(Shape, EmptyFilledRectangleHasNoPoints)
{
    QZShape shape;
    QZRectangle rectangle(5, 5, 0, 4);
    rectangle.Fill = 1;
    shape.Add(&rectangle);
    EXPECT_EQ(PointsOf(shape), Points{});
    // The corners of the rectangle are (5, 5) and (4, 8).
    EXPECT_EQ(AreaOf(shape), (Area{4, 5, 2, 4}));
}

TEST(Shape, CircleHasTwoExtraPointsOnRow0PerStep)
{
    QZShape shape;
    QZCircle circle(8, 6, 2);
    shape.Add(&circle);
    // The roots are those of 4 - d * d + 8 for rows and 4 - d * d + 6 for columns, with d from 0 to 2.
    EXPECT_EQ(PointsOf(shape), (Points{{11, 6}, {11, 6}, {6, 0}, {6, 0}, {11, 5}, {11, 7}, {7, 0}, {5, 0},
                                       {10, 4}, {10, 8}, {8, 0}, {4, 0}, {8, 9},  {8, 2},  {8, 2}, {8, 9},
                                       {9, 9},  {9, 2},  {7, 2}, {7, 9}, {10, 8}, {10, 3}, {6, 3}, {6, 8}}));
    // The extra points on row 0 are outside the area.
    EXPECT_EQ(AreaOf(shape), (Area{5, 3, 7, 7}));
}

TEST(Shape, CircleWidensWithTheDistanceOfItsCentre)
{
    QZShape shape;
    QZCircle circle(100, 50, 2);
    shape.Add(&circle);
    const Points points = PointsOf(shape);
    // The radius is the root of 4 + 100, not of 4.
    EXPECT_EQ(points[0], (std::pair<int, int>{110, 50}));
    EXPECT_EQ(points[2], (std::pair<int, int>{50, 0}));
    EXPECT_EQ(points[12], (std::pair<int, int>{100, 57}));
    EXPECT_EQ(AreaOf(shape), (Area{97, 47, 7, 7}));
}

TEST(Shape, CircleLeftOfTheOriginShrinks)
{
    QZShape shape;
    QZCircle circle(-5, 3, 1);
    shape.Add(&circle);
    EXPECT_EQ(PointsOf(shape), (Points{{-5, 3},
                                       {-5, 3},
                                       {3, 0},
                                       {3, 0},
                                       {-5, 2},
                                       {-5, 4},
                                       {4, 0},
                                       {2, 0},
                                       {-5, 5},
                                       {-5, 0},
                                       {-5, 0},
                                       {-5, 5},
                                       {-4, 4},
                                       {-4, 1},
                                       {-6, 1},
                                       {-6, 4}}));
}

TEST(Shape, ExtraPointOfANegativeRowHasYMinusOne)
{
    QZShape shape;
    QZCircle circle(0, 0, 1);
    shape.Add(&circle);
    EXPECT_EQ(PointsOf(shape), (Points{{1, 0},
                                       {1, 0},
                                       {0, 0},
                                       {0, 0},
                                       {0, -1},
                                       {0, 1},
                                       {1, 0},
                                       {-1, -1},
                                       {0, 1},
                                       {0, -1},
                                       {0, -1},
                                       {0, 1},
                                       {1, 0},
                                       {1, 0},
                                       {-1, 0},
                                       {-1, 0}}));
}

TEST(Shape, FilledCircleIsFourLinesPerStep)
{
    QZShape shape;
    QZCircle circle(6, 5, 1);
    circle.Fill = 1;
    shape.Add(&circle);
    EXPECT_EQ(PointsOf(shape),
              (Points{{8, 5}, {3, 5}, {6, 2}, {6, 3}, {6, 4}, {6, 5}, {6, 6}, {6, 7}, {6, 2}, {6, 3}, {6, 4},
                      {6, 5}, {6, 6}, {6, 7}, {8, 4}, {8, 5}, {8, 6}, {3, 4}, {3, 5}, {3, 6}, {7, 2}, {7, 3},
                      {7, 4}, {7, 5}, {7, 6}, {7, 7}, {5, 2}, {5, 3}, {5, 4}, {5, 5}, {5, 6}, {5, 7}}));
    EXPECT_EQ(AreaOf(shape), (Area{3, 2, 6, 6}));
}

TEST(Shape, CircleOfNegativeRadiusHasOnlyAnArea)
{
    QZShape shape;
    QZCircle circle(10, 10, -4);
    shape.Add(&circle);
    EXPECT_EQ(PointsOf(shape), Points{});
    EXPECT_EQ(AreaOf(shape), (Area{7, 7, 7, 7}));
}

TEST(Shape, CircleAtLargeCoordinatesEnds)
{
    QZShape shape;
    QZCircle circle(20000000, 20000000, 30);
    shape.Add(&circle);
    // One step with four and four points; in single precision the next step would not change the coordinate.
    EXPECT_EQ(PointsOf(shape).size(), 8u);
}

TEST(Shape, CrossMarkIsItsTwoLines)
{
    QZShape shape;
    QZCrossMark mark(3, 3, 1);
    shape.Add(&mark, 0xFFFF0000);
    EXPECT_EQ(PointsOf(shape), (Points{{2, 3}, {3, 3}, {4, 3}, {3, 2}, {3, 3}, {3, 4}}));
    EXPECT_EQ(ColorsOf(shape), Colors(6, 0xFFFF0000));
    EXPECT_EQ(AreaOf(shape), (Area{2, 2, 3, 3}));
}

TEST(Shape, ColouredPointAddsDefaultColoursForEarlierPoints)
{
    OpenShape shape;
    QZPoint point(1, 1);
    shape.Add(&point);
    EXPECT_EQ(ColorsOf(shape), Colors{});
    EXPECT_EQ(shape.m_mixedColors, 0);
    shape.Add(&point, 0xFF123456);
    EXPECT_EQ(ColorsOf(shape), (Colors{0xFFFFFF, 0xFF123456}));
    EXPECT_EQ(shape.m_mixedColors, 1);
}

TEST(Shape, ShapeOfColouredFiguresIsNotMixed)
{
    OpenShape shape;
    QZLine line(0, 0, 2, 0);
    QZPoint point(5, 5);
    QZRectangle rectangle(0, 0, 1, 1);
    QZCircle circle(0, 0, 0);
    shape.Add(&line, 1);
    shape.Add(&point, 2);
    shape.Add(&rectangle, 3);
    shape.Add(&circle, 4);
    EXPECT_EQ(ColorsOf(shape), (Colors{1, 1, 1, 2, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4}));
    EXPECT_EQ(shape.m_mixedColors, 0);
    shape.Add(&point);
    EXPECT_EQ(ColorsOf(shape).size(), 16u);
}

TEST(Shape, ColouredFigureRemovesExtraColours)
{
    QZShape shape;
    QZLine line(0, 0, 3, 0);
    QZPoint point(9, 9);
    shape.Add(&line, 1);
    for (int i = 0; i < 3; ++i) shape.RemovePoint(0);
    EXPECT_EQ(ColorsOf(shape).size(), 4u);
    shape.Add(&point, 7);
    // The shape has two points, so the list is cut to two colours. The second point keeps the old colour of
    // that position.
    EXPECT_EQ(ColorsOf(shape), (Colors{1, 1}));
}

TEST(Shape, AddOfAShapeAddsPointsColoursAndArea)
{
    QZPoint near(1, 1);
    QZPoint far(9, 8);
    QZShape other;
    other.Add(&far, 0xFF00FF00);
    other.SetLocation(4, 4);
    QZShape shape;
    shape.Add(&near);
    shape.Add(&other);
    EXPECT_EQ(PointsOf(shape), (Points{{1, 1}, {9, 8}}));
    EXPECT_EQ(ColorsOf(shape), (Colors{0xFFFFFF, 0xFF00FF00}));
    EXPECT_EQ(AreaOf(shape), (Area{1, 1, 9, 8}));
    EXPECT_EQ(shape.GetLocation()->GetUInt64(), 0u);
}

TEST(Shape, AddOfAShapeKeepsTheMixedFlag)
{
    OpenShape shape;
    QZShape other;
    shape.Add(1);
    QZPoint point(2, 2);
    other.Add(&point, 5);
    shape.Add(&other);
    EXPECT_EQ(shape.m_mixedColors, 0);
    OpenShape mixed;
    mixed.Add(&point);
    mixed.Add(&point, 5);
    mixed.Clear();
    EXPECT_EQ(mixed.m_mixedColors, 1);
}

TEST(Shape, AddOfAShapeWithoutColoursAddsNone)
{
    QZShape shape;
    QZShape other;
    QZPoint point(2, 2);
    shape.Add(&point, 7);
    other.Add(&point);
    shape.Add(&other);
    EXPECT_EQ(ColorsOf(shape), (Colors{7}));
    EXPECT_EQ(PointsOf(shape).size(), 2u);
}

TEST(Shape, ShapeAddedToItselfDoublesItsPoints)
{
    QZShape shape;
    QZLine line(0, 0, 1, 0);
    shape.Add(&line, 3);
    shape.Add(&shape);
    EXPECT_EQ(PointsOf(shape), (Points{{0, 0}, {1, 0}, {0, 0}, {1, 0}}));
    EXPECT_EQ(ColorsOf(shape), Colors(4, 3));
    EXPECT_EQ(AreaOf(shape), (Area{0, 0, 2, 1}));
}

TEST(Shape, MoveToMovesPointsAndAreaByTheDistanceFromTheLocation)
{
    QZShape shape;
    QZLine line(2, 3, 3, 3);
    shape.Add(&line);
    shape.SetLocation(2, 2);
    shape.MoveTo(0, 10);
    EXPECT_EQ(PointsOf(shape), (Points{{0, 11}, {1, 11}}));
    EXPECT_EQ(AreaOf(shape), (Area{0, 11, 2, 1}));
    EXPECT_EQ(shape.GetLocation()->GetX(), 0);
    EXPECT_EQ(shape.GetLocation()->GetY(), 10);
    QZPoint back(-5, 10);
    shape.MoveTo(&back);
    EXPECT_EQ(PointsOf(shape), (Points{{-5, 11}, {-4, 11}}));
}

TEST(Shape, SetLocationMovesNothing)
{
    QZShape shape;
    shape.Add(0x0000000100000001ULL);
    QZPoint place(50, 60);
    shape.SetLocation(&place);
    EXPECT_EQ(PointsOf(shape), (Points{{1, 1}}));
    EXPECT_EQ(AreaOf(shape), (Area{1, 1, 1, 1}));
    EXPECT_EQ(shape.GetLocation()->GetX(), 50);
}

TEST(Shape, CenterUsesOnlyTheSizeOfTheArea)
{
    QZShape shape;
    QZRectangle figure(10, 10, 4, 2);
    QZRectangle room(100, 50, 21, 10);
    shape.Add(&figure);
    shape.Center(&room);
    // The location (0, 0) moved to (100 + 17 / 2, 50 + 8 / 2), and the area moved by the same distance.
    EXPECT_EQ(AreaOf(shape), (Area{118, 64, 4, 2}));
    QZRectangle small(0, 0, 1, 1);
    shape.Center(&small);
    EXPECT_EQ(shape.GetLocation()->GetX(), -2);
    EXPECT_EQ(shape.GetLocation()->GetY(), -1);
}

TEST(Shape, MoveToCenterOfIsExactWhenTheLocationIsTheCornerOfTheArea)
{
    QZRectangle figure(10, 10, 4, 2);
    QZRectangle room(100, 50, 20, 10);
    QZShape shape;
    shape.Add(&figure);
    shape.SetLocation(10, 10);
    shape.MoveToCenterOf(&room);
    EXPECT_EQ(AreaOf(shape), (Area{108, 54, 4, 2}));
    QZShape off;
    off.Add(&figure);
    off.MoveToCenterOf(&room);
    // With the location (0, 0), the area is moved too far by its own offset.
    EXPECT_EQ(AreaOf(off), (Area{118, 64, 4, 2}));
    QZShape none;
    none.MoveToCenterOf(&room);
    EXPECT_EQ(none.GetLocation()->GetUInt64(), 0u);
    shape.MoveToCenterOf(nullptr);
    EXPECT_EQ(AreaOf(shape), (Area{108, 54, 4, 2}));
}

TEST(Shape, ClearResetsTheLocation)
{
    QZShape shape;
    QZPoint point(3, 3);
    shape.Add(&point, 5);
    shape.SetLocation(7, 7);
    shape.Clear();
    EXPECT_EQ(PointsOf(shape), Points{});
    EXPECT_EQ(ColorsOf(shape), Colors{});
    EXPECT_EQ(shape.GetArea(), nullptr);
    EXPECT_EQ(shape.GetLocation()->GetUInt64(), 0u);
    shape.Add(&point);
    EXPECT_EQ(AreaOf(shape), (Area{3, 3, 1, 1}));
}

TEST(Shape, FillSetsTheColourOfEveryPoint)
{
    QZShape shape;
    QZLine line(0, 0, 2, 0);
    shape.Add(&line);
    shape.Fill(0xFF00DC00);
    EXPECT_EQ(ColorsOf(shape), Colors(3, 0xFF00DC00));
    shape.RemovePoint(0);
    shape.Fill(0);
    EXPECT_EQ(ColorsOf(shape), Colors(2, 0));
}

TEST(Shape, RemovePointKeepsTheColours)
{
    QZShape shape;
    QZPoint point(1, 1);
    shape.Add(&point, 1);
    shape.Add(&point, 2);
    shape.RemovePoint(0);
    EXPECT_EQ(PointsOf(shape).size(), 1u);
    EXPECT_EQ(ColorsOf(shape), (Colors{1, 2}));
    EXPECT_QZ_THROW(shape.RemovePoint(1), 1024);
}

TEST(Shape, ShapesFromPointListsHaveNoArea)
{
    QZPointCollection points;
    points.Add(1, 2);
    QZShape made(&points);
    EXPECT_EQ(PointsOf(made), (Points{{1, 2}}));
    EXPECT_EQ(made.GetArea(), nullptr);
    QZShape set;
    QZPoint other(9, 9);
    set.Add(&other, 5);
    set.SetLocation(3, 3);
    set.Set(&points);
    EXPECT_EQ(PointsOf(set), (Points{{1, 2}}));
    EXPECT_EQ(ColorsOf(set), Colors{});
    EXPECT_EQ(set.GetArea(), nullptr);
    EXPECT_EQ(set.GetLocation()->GetUInt64(), 0u);
}

TEST(Shape, UnionAndIntersectionHaveNoArea)
{
    QZShape a;
    QZShape b;
    QZLine first(0, 0, 2, 0);
    QZLine second(2, 0, 3, 0);
    a.Add(&first, 1);
    b.Add(&second, 2);
    QZShape* both = QZShape::Union(&a, &b);
    EXPECT_EQ(PointsOf(*both), (Points{{0, 0}, {1, 0}, {2, 0}, {2, 0}, {3, 0}}));
    EXPECT_EQ(ColorsOf(*both), Colors{});
    EXPECT_EQ(both->GetArea(), nullptr);
    std::unique_ptr<QZShape> common(QZShape::Intersection(&a, &b));
    EXPECT_EQ(PointsOf(*common), (Points{{2, 0}}));
    EXPECT_EQ(common->GetArea(), nullptr);
    QZShape::Recycle(&both);
    EXPECT_EQ(both, nullptr);
}

TEST(Shape, MinDistancePointReturnsTheFirstOfEquallyNearPoints)
{
    QZShape shape;
    QZPoint place(5, 0);
    EXPECT_EQ(shape.MinDistancePoint(&place), 0);
    for (QZUInt64 x : {20, 10, 0}) shape.Add(x);
    EXPECT_EQ(shape.MinDistancePoint(&place), 1);
    QZPoint origin(1, 0);
    EXPECT_EQ(shape.MinDistancePoint(&origin), 2);
}

TEST(Shape, RecycleOfAnAreaClearsTheVariableOnly)
{
    QZShape shape;
    shape.Add(1);
    QZRectangle foreign(1, 2, 3, 4);
    QZRectangle* variable = &foreign;
    shape.Recycle(&variable);
    EXPECT_EQ(variable, &foreign);
    variable = shape.GetArea();
    shape.Recycle(&variable);
    EXPECT_EQ(variable, nullptr);
    EXPECT_EQ(AreaOf(shape), (Area{1, 0, 1, 1}));
}

TEST(Shape, RecycleOfNullFailsAnAssertion)
{
    qztest::AssertWatch watch;
    QZShape* shape = nullptr;
    QZShape::Recycle(&shape);
    EXPECT_EQ(watch.Count(), 1);
}

TEST(Shape, CopyFromAPointerIsDeep)
{
    OpenShape shape;
    QZPoint point(1, 1);
    shape.Add(&point);
    shape.Add(&point, 9);
    shape.SetLocation(4, 5);
    OpenShape copy(&shape);
    EXPECT_EQ(PointsOf(copy), PointsOf(shape));
    EXPECT_EQ(ColorsOf(copy), (Colors{0xFFFFFF, 9}));
    EXPECT_EQ(AreaOf(copy), (Area{1, 1, 1, 1}));
    EXPECT_EQ(copy.GetLocation()->GetX(), 4);
    EXPECT_EQ(copy.m_mixedColors, 1);
    copy.MoveTo(14, 5);
    EXPECT_EQ(PointsOf(shape), (Points{{1, 1}, {1, 1}}));
    EXPECT_EQ(AreaOf(shape), (Area{1, 1, 1, 1}));
}

TEST(Shape, AssignedShapeSharesItsParts)
{
    QZShape shape;
    shape.Add(1);
    QZShape shared(shape);
    QZShape assigned;
    assigned = shape;
    EXPECT_EQ(shared.GetPoints(), shape.GetPoints());
    EXPECT_EQ(shared.GetArea(), shape.GetArea());
    shape.Add(2);
    EXPECT_EQ(PointsOf(shared), (Points{{1, 0}, {2, 0}}));
    EXPECT_EQ(PointsOf(assigned), (Points{{1, 0}, {2, 0}}));
    EXPECT_EQ(AreaOf(assigned), (Area{1, 0, 2, 1}));
}

TEST(Shape, AddWithoutMemoryThrowsAndKeepsTheShape)
{
    QZShape shape;
    shape.Add(0x0000000100000001ULL);
    QZLine line(0, 0, 100000, 50000);
    QZRectangle rectangle(0, 0, 300, 300);
    rectangle.Fill = 1;
    for (int i = 0; i < 2; ++i)
    {
        qztest::Hooks hooks;
        QZLastError = 0;
        hooks.Fail(os::Op::Allocate, 0);
        EXPECT_QZ_THROW(i == 0 ? shape.Add(&line) : shape.Add(&rectangle), 4352);
    }
    QZLastError = 0;
    EXPECT_EQ(PointsOf(shape), (Points{{1, 1}}));
    shape.Add(&rectangle);
    EXPECT_EQ(shape.GetPoints()->Count(), 90001);
}

TEST(Shape, LongLineRunsFromTheAxis)
{
    OpenShape flat;
    flat.LongLine(2, 1, 4, 2, 6, 5);
    EXPECT_EQ(PointsOf(flat), (Points{{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}, {5, 2}, {6, 3}}));
    EXPECT_EQ(AreaOf(flat), (Area{0, 0, 6, 5}));
    OpenShape steep;
    steep.LongLine(1, 2, 2, 4, 3, 4);
    EXPECT_EQ(PointsOf(steep), (Points{{0, 0}, {0, 1}, {1, 2}, {1, 3}, {2, 4}}));
    OpenShape level;
    level.LongLine(1, 2, 3, 2, 2, 4);
    EXPECT_EQ(PointsOf(level), (Points{{0, 2}, {1, 2}, {2, 2}}));
    OpenShape upright;
    upright.LongLine(1, 2, 1, 5, 2, 2);
    EXPECT_EQ(PointsOf(upright), (Points{{1, 0}, {1, 1}, {1, 2}}));
}

TEST(Shape, RayRunsFromItsStartToTheEdge)
{
    QZSize size(6, 5);
    OpenShape right;
    right.Ray(2, 1, 4, 2, &size);
    EXPECT_EQ(PointsOf(right), (Points{{2, 1}, {3, 1}, {4, 2}, {5, 2}}));
    EXPECT_EQ(AreaOf(right), (Area{0, 0, 6, 5}));
    OpenShape left;
    left.Ray(2, 1, 0, 0, &size);
    EXPECT_EQ(PointsOf(left), (Points{{0, 0}, {1, 0}}));
    OpenShape level;
    level.Ray(3, 2, 5, 2, &size);
    EXPECT_EQ(PointsOf(level), (Points{{3, 2}, {4, 2}, {5, 2}}));
    OpenShape back;
    back.Ray(3, 2, 1, 2, &size);
    EXPECT_EQ(PointsOf(back), (Points{{0, 2}, {1, 2}, {2, 2}, {3, 2}}));
    OpenShape down;
    down.Ray(1, 3, 1, 4, &size);
    EXPECT_EQ(PointsOf(down), (Points{{1, 3}, {1, 4}}));
}

}  // namespace
