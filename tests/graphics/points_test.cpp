#include "graphics/gr_points.h"

#include <memory>
#include <utility>
#include <vector>

#include "../fw/assert_watch.h"
#include "support/qz_test.h"

namespace
{

using Points = std::vector<std::pair<int, int>>;

Points PointsOf(QZPointCollection& points)
{
    Points result;
    for (QZInt64 i = 0; i < points.Count(); ++i)
        result.emplace_back(points.GetElementX(i), points.GetElementY(i));
    return result;
}

void Fill(QZPointCollection& points, const Points& source)
{
    for (const auto& [x, y] : source) points.Add(x, y);
}

TEST(PointCollection, PointIsOneWordWithXInTheLowHalf)
{
    QZPointCollection points;
    EXPECT_TRUE(points.Add(3, 5));
    EXPECT_EQ(points.GetElementUInt64(0), 0x0000000500000003u);
    points.Add(-1, -2);
    EXPECT_EQ(points.GetElementUInt64(1), 0xFFFFFFFEFFFFFFFFu);
    EXPECT_EQ(points.GetElementX(1), -1);
    EXPECT_EQ(points.GetElementY(1), -2);
    EXPECT_EQ(points.GetPointer()[0], 2u);
    EXPECT_EQ(points.GetPointer()[1], 0x0000000500000003u);
    EXPECT_EQ(points.GetType(), 0x81FFFF0);
    EXPECT_EQ(QZPointCollection::Type, 0x81FFFF0);
}

TEST(PointCollection, EveryOverloadOfAddAndSetElementStoresTheSameWord)
{
    QZPointCollection points;
    QZPoint point(7, 8);
    points.Add(7, 8);
    points.Add(0x0000000800000007ULL);
    points.Add(&point);
    points.Add(0);
    EXPECT_EQ(PointsOf(points), (Points{{7, 8}, {7, 8}, {7, 8}, {0, 0}}));
    EXPECT_TRUE(points.SetElement(0, 1, 2));
    EXPECT_TRUE(points.SetElement(1, 0x0000000400000003ULL));
    EXPECT_TRUE(points.SetElement(2, &point));
    EXPECT_TRUE(points.SetElement(3, 9));
    EXPECT_EQ(PointsOf(points), (Points{{1, 2}, {3, 4}, {7, 8}, {9, 0}}));
}

TEST(PointCollection, BadIndexThrows)
{
    QZPointCollection points;
    points.Add(1, 1);
    EXPECT_QZ_THROW(points.GetElementX(1), 1024);
    EXPECT_QZ_THROW(points.GetElementY(1), 1024);
    EXPECT_QZ_THROW(points.GetElementX(-1), 1024);
    EXPECT_QZ_THROW(points.GetElementY(-1), 1024);
    EXPECT_QZ_THROW(points.GetElementUInt64(1), 1024);
    EXPECT_QZ_THROW(points.SetElement(1, 0, 0), 1024);
}

TEST(PointCollection, AppendTakesAnArrayOrAnotherList)
{
    QZPointCollection points;
    const unsigned long long words[] = {2, 0x0000000200000001ULL, 0x0000000400000003ULL, 99};
    EXPECT_TRUE(points.Append(words));
    QZPointCollection more;
    more.Add(5, 6);
    EXPECT_TRUE(points.Append(&more));
    EXPECT_TRUE(points.Append(&points));
    EXPECT_EQ(PointsOf(points), (Points{{1, 2}, {3, 4}, {5, 6}, {1, 2}, {3, 4}, {5, 6}}));
}

TEST(PointCollection, FindNextElementContinuesAfterTheLastMatch)
{
    QZPointCollection points;
    Fill(points, {{1, 1}, {2, 2}, {1, 1}, {2, 2}});
    QZPoint two(2, 2);
    EXPECT_EQ(points.FindElement(2, 2), 1);
    EXPECT_EQ(points.FindNextElement(2, 2), 3);
    EXPECT_EQ(points.FindNextElement(2, 2), -1);
    EXPECT_EQ(points.FindElement(&two), 1);
    EXPECT_EQ(points.FindNextElement(&two), 3);
    EXPECT_EQ(points.FindElement(0x0000000100000001ULL), 0);
    EXPECT_EQ(points.FindNextElement(0x0000000100000001ULL), 2);
    EXPECT_EQ(points.FindElement(3, 3), -1);
    EXPECT_EQ(points.FindElement(0), -1);
}

TEST(PointCollection, RemoveElementByValueRemovesAndCountsEveryOccurrence)
{
    QZPointCollection points;
    Fill(points, {{1, 1}, {2, 2}, {1, 1}, {3, 3}, {2, 2}, {4, 4}});
    EXPECT_EQ(points.RemoveElementByValue(1, 1), 2);
    EXPECT_EQ(points.RemoveElementByValue(0x0000000900000009ULL), 0);
    QZPointCollection gone;
    Fill(gone, {{2, 2}, {4, 4}, {2, 2}});
    EXPECT_EQ(points.RemoveElementByValue(&gone), 3);
    EXPECT_EQ(PointsOf(points), (Points{{3, 3}}));
}

TEST(PointCollection, ListRemovedFromItselfIsEmpty)
{
    QZPointCollection points;
    Fill(points, {{1, 1}, {1, 1}, {2, 2}});
    EXPECT_EQ(points.RemoveElementByValue(&points), 3);
    EXPECT_EQ(points.Count(), 0);
}

TEST(PointCollection, MinDistanceReturnsTheLastOfEquallyNearPoints)
{
    QZPointCollection points;
    Fill(points, {{0, 0}, {10, 0}, {5, 5}, {0, 10}});
    // Without (5, 5), the points (0, 0) and (10, 0) are equally near to (5, 0).
    points.RemoveElementByValue(5, 5);
    EXPECT_EQ(points.MinDistance(0x0000000000000005ULL), 0x000000000000000AULL);
    points.Add(5, 5);
    QZPoint below(6, 6);
    QZPoint* nearest = points.MinDistance(&below);
    EXPECT_EQ(nearest->GetUInt64(), 0x0000000500000005ULL);
    QZPointCollection::Recycle(&nearest);
    EXPECT_EQ(nearest, nullptr);
}

TEST(PointCollection, MinDistanceOfAnEmptyListIsTheOrigin)
{
    QZPointCollection points;
    EXPECT_EQ(points.MinDistance(0x0000000500000005ULL), 0u);
    QZPoint far(5, 5);
    std::unique_ptr<QZPoint> nearest(points.MinDistance(&far));
    EXPECT_EQ(nearest->GetUInt64(), 0u);
}

TEST(PointCollection, UnionIsTheFirstListFollowedByTheSecond)
{
    QZPointCollection a;
    QZPointCollection b;
    Fill(a, {{1, 1}, {2, 2}});
    Fill(b, {{2, 2}, {3, 3}});
    QZPointCollection* both = QZPointCollection::Union(&a, &b);
    EXPECT_EQ(PointsOf(*both), (Points{{1, 1}, {2, 2}, {2, 2}, {3, 3}}));
    QZPointCollection::Union(both, &b, &a);
    EXPECT_EQ(both->Count(), 8);
    QZPointCollection::Recycle(&both);
    EXPECT_EQ(both, nullptr);
}

TEST(PointCollection, IntersectionKeepsOrderAndDuplicatesOfTheFirstList)
{
    QZPointCollection a;
    QZPointCollection b;
    Fill(a, {{3, 3}, {1, 1}, {2, 2}, {3, 3}});
    Fill(b, {{2, 2}, {3, 3}});
    std::unique_ptr<QZPointCollection> common(QZPointCollection::Intersection(&a, &b));
    EXPECT_EQ(PointsOf(*common), (Points{{3, 3}, {2, 2}, {3, 3}}));
    QZPointCollection::Intersection(&b, &b, &a);
    EXPECT_EQ(PointsOf(b), (Points{{2, 2}, {3, 3}, {2, 2}, {3, 3}}));
}

TEST(PointCollection, MinDistanceOfListsReturnsTheLastOfEquallyNearPairs)
{
    QZPointCollection a;
    QZPointCollection b;
    Fill(a, {{0, 0}, {10, 0}, {100, 0}});
    Fill(b, {{0, 3}, {10, 3}, {50, 50}});
    std::unique_ptr<QZPointCollection> pair(QZPointCollection::MinDistance(&a, &b));
    EXPECT_EQ(PointsOf(*pair), (Points{{10, 0}, {10, 3}}));
    QZPointCollection none;
    QZPointCollection::MinDistance(pair.get(), &none, &b);
    QZPointCollection::MinDistance(pair.get(), &a, &none);
    EXPECT_EQ(pair->Count(), 2);
    QZPointCollection::MinDistance(pair.get(), &b, &a);
    EXPECT_EQ(PointsOf(*pair), (Points{{10, 0}, {10, 3}, {10, 3}, {10, 0}}));
}

TEST(PointCollection, RecycleOfNullFailsAnAssertion)
{
    qztest::AssertWatch watch;
    QZPointCollection* points = nullptr;
    QZPoint* point = nullptr;
    QZPointCollection::Recycle(&points);
    QZPointCollection::Recycle(&point);
    EXPECT_EQ(watch.Count(), 2);
}

using Rectangles = std::vector<std::vector<int>>;

Rectangles RectanglesOf(QZRectangleCollection& list)
{
    Rectangles result;
    for (QZInt64 i = 0; i < list.GetLength(); ++i)
        result.push_back(
            {list.GetElementX(i), list.GetElementY(i), list.GetElementWidth(i), list.GetElementHeight(i)});
    return result;
}

TEST(RectangleCollection, RectangleIsTwoWords)
{
    QZRectangleCollection list;
    QZRectangle rectangle(5, 6, 7, 8);
    EXPECT_TRUE(list.Add(1, -2, 3, 4));
    EXPECT_TRUE(list.Add(&rectangle));
    EXPECT_TRUE(list.Add(0x0000000A00000009ULL, 0x0000000C0000000BULL));
    EXPECT_EQ(RectanglesOf(list), (Rectangles{{1, -2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}}));
    EXPECT_EQ(list.GetLength(), 3);
    EXPECT_EQ(list.Count(), 6);
    EXPECT_EQ(list.GetPointer()[1], 0xFFFFFFFE00000001u);
    EXPECT_EQ(list.GetPointer()[2], 0x0000000400000003u);
    EXPECT_EQ(list.GetElementLocation(2), 0x0000000A00000009u);
    EXPECT_EQ(list.GetElementSize(2), 0x0000000C0000000Bu);
    EXPECT_EQ(list.GetType(), 0x81FFFF2);
    EXPECT_EQ(QZRectangleCollection::Type, 0x81FFFF2);
    list.Clear();
    EXPECT_EQ(list.GetLength(), 0);
    EXPECT_EQ(list.Count(), 0);
}

TEST(RectangleCollection, NegativeSizesAreRefused)
{
    QZRectangleCollection list;
    EXPECT_FALSE(list.Add(0, 0, -1, 5));
    EXPECT_FALSE(list.Add(0, 0, 5, -1));
    EXPECT_TRUE(list.Add(0, 0, 0, 0));
    EXPECT_EQ(list.GetLength(), 1);
}

TEST(RectangleCollection, BadIndicesReadZeroAndRefuseWrites)
{
    QZRectangleCollection list;
    list.Add(1, 2, 3, 4);
    for (QZInt64 index : {QZInt64{-1}, QZInt64{1}})
    {
        EXPECT_EQ(list.GetElementX(index), 0);
        EXPECT_EQ(list.GetElementY(index), 0);
        EXPECT_EQ(list.GetElementWidth(index), 0);
        EXPECT_EQ(list.GetElementHeight(index), 0);
        EXPECT_EQ(list.GetElementLocation(index), 0u);
        EXPECT_EQ(list.GetElementSize(index), 0u);
        EXPECT_FALSE(list.SetElement(static_cast<int>(index), 1, 1, 1, 1));
    }
    EXPECT_TRUE(list.SetElement(0, 5, 6, 7, 8));
    EXPECT_EQ(RectanglesOf(list), (Rectangles{{5, 6, 7, 8}}));
    EXPECT_TRUE(list.SetElement(0, 0x0000000200000001ULL, 0x0000000400000003ULL));
    EXPECT_EQ(RectanglesOf(list), (Rectangles{{1, 2, 3, 4}}));
}

TEST(RectangleCollection, IntersectingRectanglesAreNotMergedByDefault)
{
    QZRectangleCollection list;
    list.Add(0, 0, 10, 10);
    list.Add(5, 5, 10, 10);
    EXPECT_EQ(list.GetLength(), 2);
}

TEST(RectangleCollection, TouchingRectanglesIntersect)
{
    QZRectangleCollection list;
    list.Add(0, 0, 10, 10);
    QZRectangle touching(10, 0, 5, 5);
    QZRectangle apart(12, 0, 5, 5);
    EXPECT_TRUE(list.Intersects(&touching));
    EXPECT_FALSE(list.Intersects(&apart));
    EXPECT_TRUE(list.Intersects(9, 9, 1, 1));
    EXPECT_FALSE(QZRectangleCollection().Intersects(0, 0, 1, 1));
}

TEST(RectangleCollection, LengthOfACopyIsOneAndAHalfTimesTheOriginal)
{
    QZRectangleCollection list;
    for (int i = 1; i <= 4; ++i) list.Add(i, i, i, i);
    QZRectangleCollection copy(&list);
    EXPECT_EQ(copy.GetLength(), 6);
    EXPECT_EQ(copy.Count(), 8);
    EXPECT_EQ(
        RectanglesOf(copy),
        (Rectangles{{1, 1, 1, 1}, {2, 2, 2, 2}, {3, 3, 3, 3}, {4, 4, 4, 4}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
    EXPECT_FALSE(copy.Intersects(40, 40, 1, 1));
}

TEST(RectangleCollection, ExtraElementsOfACopyCanBeWritten)
{
    QZRectangleCollection list;
    for (int i = 1; i <= 4; ++i) list.Add(i, i, i, i);
    QZRectangleCollection copy(&list);
    EXPECT_TRUE(copy.SetElement(5, 50, 60, 7, 8));
    EXPECT_FALSE(copy.SetElement(6, 1, 1, 1, 1));
    EXPECT_EQ(
        RectanglesOf(copy),
        (Rectangles{{1, 1, 1, 1}, {2, 2, 2, 2}, {3, 3, 3, 3}, {4, 4, 4, 4}, {0, 0, 0, 0}, {50, 60, 7, 8}}));
    EXPECT_TRUE(copy.Intersects(52, 62, 1, 1));
    EXPECT_EQ(copy.Count(), 8);
    // Add writes after the added rectangles, over the extra ones, and increases the length.
    EXPECT_TRUE(copy.Add(9, 9, 9, 9));
    EXPECT_EQ(copy.GetLength(), 7);
    EXPECT_EQ(copy.GetElementX(4), 9);
    EXPECT_EQ(copy.GetElementX(5), 50);
    EXPECT_EQ(copy.GetElementX(6), 0);
}

TEST(RectangleCollection, AddOfAListIncreasesTheLengthByHalf)
{
    QZRectangleCollection list;
    for (int i = 1; i <= 4; ++i) list.Add(i, i, i, i);
    QZRectangleCollection target;
    EXPECT_TRUE(target.Add(&list));
    EXPECT_EQ(target.GetLength(), 2);
    EXPECT_EQ(target.Count(), 8);
    EXPECT_EQ(RectanglesOf(target), (Rectangles{{1, 1, 1, 1}, {2, 2, 2, 2}}));
}

/// A list that merges rectangles, as layers use it for their changed areas.
class MergingList : public QZRectangleCollection
{
public:
    MergingList() { m_overlap = 0; }
};

TEST(RectangleCollection, MergingListEnlargesTheLastRectangleThatIntersects)
{
    MergingList list;
    EXPECT_TRUE(list.Add(0, 0, 10, 10));
    EXPECT_TRUE(list.Add(20, 0, 10, 10));
    // The new rectangle intersects both: the second one grows, the first stays.
    EXPECT_TRUE(list.Add(5, 5, 20, 10));
    EXPECT_EQ(RectanglesOf(list), (Rectangles{{0, 0, 10, 10}, {5, 0, 25, 15}}));
    EXPECT_TRUE(list.Add(100, 100, 5, 5));
    // Touching rectangles intersect.
    EXPECT_TRUE(list.Add(105, 100, 5, 5));
    EXPECT_EQ(RectanglesOf(list), (Rectangles{{0, 0, 10, 10}, {5, 0, 25, 15}, {100, 100, 10, 5}}));
    EXPECT_FALSE(list.Add(0, 0, -1, 1));
}

TEST(RectangleCollection, AddOfAListToAMergingListReturnsFalse)
{
    QZRectangleCollection source;
    source.Add(0, 0, 10, 10);
    source.Add(5, 5, 10, 10);
    source.Add(50, 50, 2, 2);
    MergingList list;
    EXPECT_FALSE(list.Add(&source));
    EXPECT_EQ(RectanglesOf(list), (Rectangles{{0, 0, 15, 15}, {50, 50, 2, 2}}));
    EXPECT_EQ(list.GetLength(), 2);
    EXPECT_FALSE(list.Add(&list));
    EXPECT_EQ(list.GetLength(), 2);
}

}  // namespace
