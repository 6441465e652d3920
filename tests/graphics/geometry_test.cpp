#include "graphics/gr_geometry.h"

#include <string>

#include "support/qz_test.h"

namespace
{

std::string Show(const QZRectangle& r)
{
    return std::to_string(r.GetX()) + "," + std::to_string(r.GetY()) + " " + std::to_string(r.GetWidth()) +
           "x" + std::to_string(r.GetHeight());
}

TEST(Point, IsOneWordWithXInTheLowHalf)
{
    QZPoint point(3, 5);
    EXPECT_EQ(point.GetUInt64(), 0x0000000500000003ull);
    QZPoint word(0xFFFFFFFE00000007ull);
    EXPECT_EQ(word.GetX(), 7);
    EXPECT_EQ(word.GetY(), -2);
    QZPoint copy(&word);
    EXPECT_EQ(copy.GetUInt64(), 0xFFFFFFFE00000007ull);
    EXPECT_NE(copy.GetObjectID(), word.GetObjectID());
    EXPECT_EQ(QZPoint().GetUInt64(), 0u);
    EXPECT_EQ(QZPoint(0).GetUInt64(), 0u);
}

TEST(Size, IsOneWordWithTheWidthInTheLowHalf)
{
    QZSize size(-1, 2);
    EXPECT_EQ(size.GetUInt64(), 0x00000002FFFFFFFFull);
    EXPECT_EQ(QZSize(0x0000000900000008ull).GetWidth(), 8);
    EXPECT_EQ(QZSize(&size).GetWidth(), -1);
    EXPECT_EQ(QZSize(&size).GetHeight(), 2);
}

TEST(Geometry, TypesOfTheClasses)
{
    QZPoint point;
    EXPECT_EQ(point.GetType(), 0x81FFF60);
    EXPECT_EQ(QZLine().GetType(), 0x81FFF70);
    EXPECT_EQ(QZArc().GetType(), 0x81FFF80);
    EXPECT_EQ(QZCircle(0, 0, 1).GetType(), 0x81FFF90);
    EXPECT_EQ(QZColor(0u).GetType(), 0x81FFFA0);
    EXPECT_EQ(QZSize().GetType(), 0x81FFFC0);
    EXPECT_EQ(QZRectangle().GetType(), 0x81FFFE0);
    EXPECT_EQ(QZRay().GetType(), QZObject::Type);
    EXPECT_EQ(QZPoint::Type + QZRectangle::Type, 0x81FFF60 + 0x81FFFE0);
}

TEST(Line, KeepsItsEnds)
{
    QZPoint first(1, -2);
    QZPoint second(3, 4);
    QZLine line(&first, &second);
    EXPECT_EQ(line.GetX1(), 1);
    EXPECT_EQ(line.GetY1(), -2);
    EXPECT_EQ(line.GetX2(), 3);
    EXPECT_EQ(line.GetY2(), 4);
    line.Set(5, 6, 7, 8);
    EXPECT_EQ(line.GetX1() * 1000 + line.GetY1() * 100 + line.GetX2() * 10 + line.GetY2(), 5678);
    EXPECT_EQ(QZLine(9, 0, 0, 1).GetX1(), 9);
    EXPECT_EQ(QZLine().GetX2(), 0);
}

TEST(Arc, CopiesTheCentre)
{
    QZPoint center(4, 5);
    QZArc arc(&center, 2.5F);
    center.Set(0, 0);
    EXPECT_EQ(arc.GetX(), 4);
    EXPECT_EQ(arc.GetY(), 5);
    EXPECT_EQ(arc.GetRadius(), 2.5F);
    arc.Set(&center, 1.0F);
    EXPECT_EQ(arc.GetX(), 0);
    EXPECT_EQ(arc.GetRadius(), 1.0F);
}

TEST(Circle, StartsUnfilledAndCopiesTheCentre)
{
    QZPoint center(4, 5);
    QZCircle circle(&center, 7);
    center.Set(0, 0);
    EXPECT_EQ(circle.Fill, 0);
    EXPECT_EQ(circle.GetX(), 4);
    EXPECT_EQ(circle.GetY(), 5);
    EXPECT_EQ(circle.GetRadius(), 7);
    QZCircle shared(circle);
    EXPECT_EQ(shared.GetX(), 4);
    EXPECT_EQ(QZCircle(-1, -2, 3).GetY(), -2);
}

TEST(Color, IsAlphaRedGreenBlueFromTheTop)
{
    EXPECT_EQ(QZColor(1, 2, 3).GetValue(), 0xFF010203u);
    QZColor color(0x10, 0x20, 0x30, 0x40);
    EXPECT_EQ(color.GetValue(), 0x10203040u);
    EXPECT_EQ(color.GetAlpha(), 0x10);
    EXPECT_EQ(color.GetRed(), 0x20);
    EXPECT_EQ(color.GetGreen(), 0x30);
    EXPECT_EQ(color.GetBlue(), 0x40);
    color.SetAlpha(0xA1);
    EXPECT_EQ(color.GetValue(), 0xA1203040u);
    color.SetRed(0xA2);
    EXPECT_EQ(color.GetValue(), 0xA1A23040u);
    color.SetGreen(0xA3);
    EXPECT_EQ(color.GetValue(), 0xA1A2A340u);
    color.SetBlue(0xA4);
    EXPECT_EQ(color.GetValue(), 0xA1A2A3A4u);
    color.SetValue(7);
    EXPECT_EQ(color.GetValue(), 7u);
}

std::string Show(const QZPoint* p) { return std::to_string(p->GetX()) + "," + std::to_string(p->GetY()); }

std::string Show(const QZLine* l)
{
    return std::to_string(l->GetX1()) + "," + std::to_string(l->GetY1()) + " " + std::to_string(l->GetX2()) +
           "," + std::to_string(l->GetY2());
}

std::string Ends(const QZCrossMark& m)
{
    return Show(m.GetLeft()) + " " + Show(m.GetRight()) + " " + Show(m.GetTop()) + " " + Show(m.GetBottom());
}

TEST(CrossMark, JoinsLeftWithRightAndTopWithBottom)
{
    QZCrossMark mark(10, 20, 5);
    EXPECT_EQ(Ends(mark), "5,20 15,20 10,15 10,25");
    EXPECT_EQ(Show(mark.GetLine1()), "5,20 15,20");
    EXPECT_EQ(Show(mark.GetLine2()), "10,15 10,25");
    EXPECT_EQ(Show(mark.GetCenter()), "10,20");
    EXPECT_EQ(mark.GetSize(), 5);
    EXPECT_EQ(mark.GetType(), 0x81FFFB0);
    const QZPoint center(1, 2);
    EXPECT_EQ(Ends(QZCrossMark(&center, 1)), "0,2 2,2 1,1 1,3");
}

TEST(CrossMark, LinesOfATurnedMarkJoinOppositeEnds)
{
    const QZCrossMark mark(10, 10, 5, 0.0F);
    EXPECT_EQ(Ends(mark), "10,5 15,10 10,15 5,10");
    EXPECT_EQ(Show(mark.GetLine1()), "10,5 10,15");
    EXPECT_EQ(Show(mark.GetLine2()), "15,10 5,10");
    // 100 * sin 30 degrees is 50 and 100 * cos 30 degrees is 86.6. The angle is the middle of a step of the
    // table, so that rounding does not matter.
    const QZCrossMark turned(0, 0, 100, 30.05F);
    EXPECT_EQ(Ends(turned), "-50,-86 86,-50 50,86 -86,50");
    const QZCrossMark back(0, 0, 100, -30.05F);
    EXPECT_EQ(Ends(back), "50,-86 86,50 -50,86 -86,-50");
    const QZCrossMark copy(turned);
    EXPECT_EQ(copy.GetLeft(), turned.GetLeft());
}

TEST(Rectangle, IsTwoWords)
{
    QZRectangle r(1, 2, 3, 4);
    EXPECT_EQ(r.GetLocationUInt64(), 0x0000000200000001ull);
    EXPECT_EQ(r.GetSizeUInt64(), 0x0000000400000003ull);
    r.SetLocation(0xFFFFFFFF00000009ull);
    r.SetSize(0x0000000600000005ull);
    EXPECT_EQ(Show(r), "9,-1 5x6");
    r.SetLocation(7, 8);
    r.SetSize(1, 2);
    EXPECT_EQ(Show(r), "7,8 1x2");
    r.Set(4, 3, 2, 1);
    EXPECT_EQ(Show(r), "4,3 2x1");
    EXPECT_EQ(Show(QZRectangle()), "0,0 0x0");
}

TEST(Rectangle, CopiesStartUnfilled)
{
    QZRectangle r(1, 2, 3, 4);
    EXPECT_EQ(r.Fill, 0);
    r.Fill = 1;
    EXPECT_EQ(QZRectangle(&r).Fill, 0);
    EXPECT_EQ(Show(QZRectangle(&r)), "1,2 3x4");
    const QZRectangle copy(r);
    EXPECT_EQ(copy.Fill, 0);
    EXPECT_EQ(Show(copy), "1,2 3x4");
}

TEST(Rectangle, EqualsComparesLocationAndSizeOnly)
{
    QZRectangle a(1, 2, 3, 4);
    QZRectangle b(1, 2, 3, 4);
    b.Fill = 1;
    EXPECT_TRUE(a.Equals(&b));
    b.SetLocation(1, 3);
    EXPECT_FALSE(a.Equals(&b));
    b.Set(1, 2, 3, 5);
    EXPECT_FALSE(a.Equals(&b));
}

TEST(Rectangle, ContainsItsLastPixelButNotTheNext)
{
    QZRectangle r(0, 0, 10, 10);
    EXPECT_TRUE(r.Intersects(9, 9));
    EXPECT_TRUE(r.Intersects(0, 0));
    EXPECT_FALSE(r.Intersects(10, 10));
    EXPECT_FALSE(r.Intersects(10, 9));
    EXPECT_FALSE(r.Intersects(9, 10));
    EXPECT_FALSE(r.Intersects(-1, 0));
    QZPoint point(9, 0);
    EXPECT_TRUE(r.Intersects(&point));
    EXPECT_TRUE(QZRectangle::Intersects(-3, -3, 2, 2, -2, -2));
    EXPECT_FALSE(QZRectangle::Intersects(-3, -3, 2, 2, -1, -2));
    EXPECT_FALSE(QZRectangle().Intersects(0, 0));
}

TEST(Rectangle, RectanglesThatTouchIntersect)
{
    QZRectangle r(0, 0, 10, 10);
    EXPECT_TRUE(r.Intersects(10, 0, 5, 5));
    EXPECT_FALSE(r.Intersects(11, 0, 5, 5));
    EXPECT_TRUE(r.Intersects(0, 10, 5, 5));
    EXPECT_FALSE(r.Intersects(0, 11, 5, 5));
    QZRectangle inner(4, 4, 1, 1);
    EXPECT_TRUE(r.Intersects(&inner));
    EXPECT_TRUE(inner.Intersects(&r));
    EXPECT_TRUE(QZRectangle::Intersects(0, 0, 3, 3, -4, -4, 4, 4));
    EXPECT_FALSE(QZRectangle::Intersects(0, 0, 3, 3, -5, -4, 4, 4));
}

TEST(Rectangle, IncludeGrowsToThePoint)
{
    QZRectangle r(0, 0, 4, 4);
    r.Include(-3, 5);
    EXPECT_EQ(Show(r), "-3,0 7x6");
    QZPoint point(3, -1);
    r.Include(&point);
    EXPECT_EQ(Show(r), "-3,-1 7x7");
    r.Include(4, 0);
    EXPECT_EQ(Show(r), "-3,-1 8x7");
}

TEST(Rectangle, IncludeOfItsCornerGivesAnEmptyRectangleOnePixel)
{
    QZRectangle r(6, 7, 0, 0);
    r.Include(6, 7);
    EXPECT_EQ(Show(r), "6,7 1x1");
}

TEST(Rectangle, IncludeOfARectangleIncludesBothCorners)
{
    QZRectangle r(5, 5, 1, 1);
    r.Include(2, 8, 3, 4);
    EXPECT_EQ(Show(r), "2,5 4x7");
    QZRectangle other(0, 0, 10, 1);
    r.Include(&other);
    EXPECT_EQ(Show(r), "0,0 10x12");
    // With a size of 0 the far corner is one pixel before the near one.
    QZRectangle empty(5, 5, 1, 1);
    empty.Include(9, 9, 0, 0);
    EXPECT_EQ(Show(empty), "5,5 5x5");
}

TEST(Rectangle, StaticIncludeWorksOnFourNumbers)
{
    int x = 1;
    int y = 1;
    int w = 2;
    int h = 2;
    QZRectangle::Include(&x, &y, &w, &h, 5, -1);
    EXPECT_EQ(Show(QZRectangle(x, y, w, h)), "1,-1 5x4");
}

TEST(Ray, OwnsTwoPoints)
{
    struct Ray : QZRay
    {
        using QZRay::QZRay;
        std::string Text() const
        {
            return std::to_string(m_start->GetX()) + "," + std::to_string(m_start->GetY()) + " " +
                   std::to_string(m_second->GetX()) + "," + std::to_string(m_second->GetY());
        }
        bool SharesWith(const Ray& other) const
        {
            return m_start == other.m_start && m_second == other.m_second;
        }
    };
    EXPECT_EQ(Ray().Text(), "0,0 0,0");
    const QZPoint start(1, 2);
    const QZPoint second(3, 4);
    const Ray ray(&start, second);
    EXPECT_EQ(ray.Text(), "1,2 3,4");
    EXPECT_EQ(Ray(5, -6, 7, 8).Text(), "5,-6 7,8");
    const Ray copy(ray);
    EXPECT_TRUE(copy.SharesWith(ray));
}

}  // namespace
