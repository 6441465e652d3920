// The caches of the graphics factory, and its part in start, end and collection of the library.

#include "graphics/gr_graphics_factory.h"
#include "graphics/internal/gr_start.h"

#include <string>

#include "../fw/assert_watch.h"
#include "fw/fw_library.h"
#include "fw/fw_memory.h"
#include "fw/fw_string.h"
#include "graphics/gr_pixels.h"
#include "graphics/gr_shape.h"
#include "net/net_json.h"
#include "qzlib.h"
#include "support/qz_test.h"

namespace
{
/// Returns the status as text, such as "Shape 1 PixelBlock 0".
std::string Status()
{
    QZJsonObject* status = QZGraphicsFactory::GetStatus();
    std::string text;
    for (QZInt64 i = 0; i < status->AttrCount(); ++i)
        text += (i ? " " : "") + qztest::Utf8(status->GetAttrName(i)) + " " +
                qztest::Utf8(status->GetAttrValue(i)->Val());
    QZGraphicsFactory::Recycle(&status);
    EXPECT_EQ(status, nullptr);
    return text;
}

class GraphicsFactory : public ::testing::Test
{
protected:
    void SetUp() override { QZLibInit(); }
    void TearDown() override { QZLibDispose(); }
};

/// Leaves one idle object in every cache.
void LeaveIdleObjects()
{
    QZShape* shape = QZGraphicsFactory::CreateShape();
    QZPixelBlock* block = QZGraphicsFactory::CreatePixelBlock();
    QZRectangle* rectangle = QZGraphicsFactory::CreateRectangle();
    QZRectangleCollection* rectangles = QZGraphicsFactory::CreateRectangleCollection();
    QZSize* size = QZGraphicsFactory::CreateSize();
    QZArc* arc = QZGraphicsFactory::CreateArc();
    QZLine* line = QZGraphicsFactory::CreateLine();
    QZPoint* point = QZGraphicsFactory::CreatePoint();
    QZRay* ray = QZGraphicsFactory::CreateRay();
    QZGraphicsFactory::Recycle(&shape);
    QZGraphicsFactory::Recycle(&block);
    QZGraphicsFactory::Recycle(&rectangle);
    QZGraphicsFactory::Recycle(&rectangles);
    QZGraphicsFactory::Recycle(&size);
    QZGraphicsFactory::Recycle(&arc);
    QZGraphicsFactory::Recycle(&line);
    QZGraphicsFactory::Recycle(&point);
    QZGraphicsFactory::Recycle(&ray);
}

TEST_F(GraphicsFactory, StatusCountsIdleShapesAndBlocks)
{
    EXPECT_EQ(Status(), "Shape 0 PixelBlock 0");
    LeaveIdleObjects();
    EXPECT_EQ(Status(), "Shape 1 PixelBlock 1");
    QZShape* shape = QZGraphicsFactory::CreateShape();
    EXPECT_EQ(Status(), "Shape 0 PixelBlock 1");
    QZGraphicsFactory::Recycle(&shape);
}

/// Recycles an object and creates the next one, which is the same object.
template <typename T>
T* Again(T* object, T* (*create)())
{
    T* same = object;
    QZGraphicsFactory::Recycle(&object);
    EXPECT_EQ(object, nullptr);
    T* again = create();
    EXPECT_EQ(again, same);
    return again;
}

TEST_F(GraphicsFactory, RecycledShapeIsReusedEmpty)
{
    QZShape* shape = QZGraphicsFactory::CreateShape();
    const QZRectangle box(1, 1, 3, 3);
    shape->Add(&box, 0xFF00FF00);
    shape->SetLocation(4, 5);
    shape = Again<QZShape>(shape, &QZGraphicsFactory::CreateShape);
    EXPECT_EQ(shape->GetPoints()->Count(), 0);
    EXPECT_EQ(shape->GetColors()->Count(), 0);
    EXPECT_EQ(shape->GetArea(), nullptr);
    EXPECT_EQ(shape->GetLocation()->GetX(), 0);
    QZGraphicsFactory::Recycle(&shape);
}

TEST_F(GraphicsFactory, RecycledObjectsAreReusedWithDefaultValues)
{
    QZRectangle* rectangle = QZGraphicsFactory::CreateRectangle();
    rectangle->Set(1, 2, 3, 4);
    rectangle->Fill = 1;
    rectangle = Again(rectangle, &QZGraphicsFactory::CreateRectangle);
    const QZRectangle nothing;
    EXPECT_TRUE(rectangle->Equals(&nothing));
    EXPECT_EQ(rectangle->Fill, 0);
    QZRectangleCollection* rectangles = QZGraphicsFactory::CreateRectangleCollection();
    rectangles->Add(1, 2, 3, 4);
    rectangles = Again(rectangles, &QZGraphicsFactory::CreateRectangleCollection);
    EXPECT_EQ(rectangles->GetLength(), 0);
    QZSize* size = QZGraphicsFactory::CreateSize();
    size->Set(1, 2);
    size = Again(size, &QZGraphicsFactory::CreateSize);
    EXPECT_EQ(size->GetUInt64(), 0u);
    QZPoint* point = QZGraphicsFactory::CreatePoint();
    point->Set(1, 2);
    point = Again(point, &QZGraphicsFactory::CreatePoint);
    EXPECT_EQ(point->GetUInt64(), 0u);
    QZLine* line = QZGraphicsFactory::CreateLine();
    line->Set(1, 2, 3, 4);
    line = Again(line, &QZGraphicsFactory::CreateLine);
    EXPECT_EQ(line->GetX1() + line->GetY1() + line->GetX2() + line->GetY2(), 0);
    QZArc* arc = QZGraphicsFactory::CreateArc();
    const QZPoint center(1, 2);
    arc->Set(&center, 3);
    arc = Again(arc, &QZGraphicsFactory::CreateArc);
    EXPECT_EQ(arc->GetX(), 0);
    EXPECT_EQ(arc->GetRadius(), 0.0F);
    QZRay* ray = Again(QZGraphicsFactory::CreateRay(), &QZGraphicsFactory::CreateRay);
    QZPixelBlock* block = QZGraphicsFactory::CreatePixelBlock();
    block->NewSize(3, 2);
    block->Fill(0xFFFFFFFFU);
    block = Again(block, &QZGraphicsFactory::CreatePixelBlock);
    EXPECT_EQ(block->GetPixel(2, 1), 0u);
    EXPECT_EQ(block->GetWidth(), 3);
    QZGraphicsFactory::Recycle(&rectangle);
    QZGraphicsFactory::Recycle(&rectangles);
    QZGraphicsFactory::Recycle(&size);
    QZGraphicsFactory::Recycle(&point);
    QZGraphicsFactory::Recycle(&line);
    QZGraphicsFactory::Recycle(&arc);
    QZGraphicsFactory::Recycle(&ray);
    QZGraphicsFactory::Recycle(&block);
}

TEST_F(GraphicsFactory, CreateShapeFromAShapeMakesADeepCopy)
{
    QZShape source;
    const QZPoint point(3, 5);
    source.Add(&point, 0xFF00FF00);
    source.SetLocation(7, 8);
    QZShape* idle = QZGraphicsFactory::CreateShape();
    QZShape* same = idle;
    const QZRectangle box(1, 1, 3, 3);
    idle->Add(&box, 0xFFFF0000);
    QZGraphicsFactory::Recycle(&idle);
    QZShape* copy = QZGraphicsFactory::CreateShape(&source);
    EXPECT_EQ(copy, same);
    source.Clear();
    ASSERT_EQ(copy->GetPoints()->Count(), 1);
    EXPECT_EQ(copy->GetPoints()->GetElementUInt64(0), 0x0000000500000003u);
    EXPECT_EQ(copy->GetColors()->GetElement(0), 0xFF00FF00u);
    EXPECT_EQ(copy->GetArea()->GetX(), 3);
    EXPECT_EQ(copy->GetLocation()->GetY(), 8);
    QZGraphicsFactory::Recycle(&copy);
}

TEST_F(GraphicsFactory, RecycleOfNullFailsAnAssertion)
{
    qztest::AssertWatch watch;
    QZShape* shape = nullptr;
    QZPoint* point = nullptr;
    QZRay* ray = nullptr;
    QZGraphicsFactory::Recycle(&shape);
    QZGraphicsFactory::Recycle(&point);
    QZGraphicsFactory::Recycle(&ray);
    EXPECT_EQ(watch.Count(), 3);
}

TEST_F(GraphicsFactory, RecycleOfALockedObjectThrowsAndChangesNothing)
{
    QZRectangle* rectangle = QZGraphicsFactory::CreateRectangle();
    rectangle->Set(1, 2, 3, 4);
    rectangle->SetDisposable(99, 0);
    EXPECT_QZ_THROW(QZGraphicsFactory::Recycle(&rectangle), 1280);
    ASSERT_NE(rectangle, nullptr);
    EXPECT_EQ(rectangle->GetX(), 1);
    rectangle->SetDisposable(99, 1);
    QZGraphicsFactory::Recycle(&rectangle);
}

TEST_F(GraphicsFactory, CollectFreesOnlyShapesAndBlocks)
{
    LeaveIdleObjects();
    QZRectangle* kept = QZGraphicsFactory::CreateRectangle();
    QZRectangle* same = kept;
    QZGraphicsFactory::Recycle(&kept);
    EXPECT_GT(QZGraphicsFactory::GetMemorySize(), 16);
    QZGraphicsFactory::Collect(0);
    EXPECT_EQ(Status(), "Shape 0 PixelBlock 0");
    EXPECT_EQ(QZGraphicsFactory::GetMemorySize(), 16);
    QZRectangle* again = QZGraphicsFactory::CreateRectangle();
    EXPECT_EQ(again, same);
    QZGraphicsFactory::Recycle(&again);
}

TEST_F(GraphicsFactory, PartialCollectFreesObjectsThatStayedIdle)
{
    LeaveIdleObjects();
    QZGraphicsFactory::Collect(1);
    EXPECT_EQ(Status(), "Shape 1 PixelBlock 1");
    QZGraphicsFactory::Collect(1);
    EXPECT_EQ(Status(), "Shape 0 PixelBlock 0");
}

TEST_F(GraphicsFactory, LibraryCollectDoesNotFreeGraphicsObjects)
{
    LeaveIdleObjects();
    QZLibCollect(0);
    QZMemManager::Collect();
    EXPECT_EQ(Status(), "Shape 1 PixelBlock 1");
}

TEST(GraphicsFactoryProcess, StartsAndEndsWithTheLibraryMoreThanOnce)
{
    for (int i = 0; i < 3; ++i)
    {
        QZLibInit();
        LeaveIdleObjects();
        QZLibDispose();
    }
    EXPECT_EQ(QZGraphicsFactory::GetMemorySize(), 0);
    QZGraphicsFactory::Collect(0);
    QZLibInit();
    QZGraphicsFactoryInit();
    EXPECT_EQ(Status(), "Shape 0 PixelBlock 0");
    QZLibDispose();
    QZGraphicsFactoryEnd();
}
}  // namespace
