#include "fw/fw_container.h"

#include "fw/fw_string.h"
#include "support/qz_test.h"

namespace
{

/// Three objects and a container that each test leaves empty.
class Container : public ::testing::Test
{
protected:
    void TearDown() override
    {
        while (list.Pop() != nullptr) continue;
        while (other.Pop() != nullptr) continue;
    }

    /// Expects these objects in this order, forward and backward.
    void ExpectOrder(std::initializer_list<QZObject*> expected)
    {
        ASSERT_EQ(list.Count(), static_cast<QZInt64>(expected.size()));
        QZObject* before = nullptr;
        QZObject* object = list.GetFirst();
        for (QZObject* wanted : expected)
        {
            ASSERT_EQ(object, wanted);
            EXPECT_EQ(object->LinkPrevious(), before);
            EXPECT_FALSE(object->IsDisposable());
            before = object;
            object = object->LinkNext();
        }
        EXPECT_EQ(object, nullptr);
        EXPECT_EQ(list.GetLast(), before);
    }

    static void ExpectFree(QZObject& object)
    {
        EXPECT_TRUE(object.IsDisposable());
        EXPECT_EQ(object.LinkNext(), nullptr);
        EXPECT_EQ(object.LinkPrevious(), nullptr);
    }

    QZObject a, b, c;
    QZContainer list, other;
};

}  // namespace

TEST_F(Container, StartsEmpty)
{
    EXPECT_EQ(list.GetType(), 0x81F0000);
    EXPECT_EQ(list.Count(), 0);
    EXPECT_EQ(list.GetFirst(), nullptr);
    EXPECT_EQ(list.GetLast(), nullptr);
    EXPECT_EQ(list.DeQueue(), nullptr);
    EXPECT_EQ(list.Pop(), nullptr);
}

TEST_F(Container, PushEnQueueAndAddLastAppend)
{
    EXPECT_TRUE(list.Push(&a));
    EXPECT_TRUE(list.EnQueue(&b));
    EXPECT_TRUE(list.AddLast(&c));
    ExpectOrder({&a, &b, &c});
}

TEST_F(Container, AddFirstPrepends)
{
    EXPECT_TRUE(list.AddFirst(&a));
    EXPECT_TRUE(list.AddFirst(&b));
    list.Push(&c);
    ExpectOrder({&b, &a, &c});
}

TEST_F(Container, DeQueueTakesTheFirstAndPopTheLast)
{
    list.Push(&a);
    list.Push(&b);
    list.Push(&c);
    EXPECT_EQ(list.DeQueue(), &a);
    ExpectFree(a);
    ExpectOrder({&b, &c});
    EXPECT_EQ(list.Pop(), &c);
    ExpectFree(c);
    ExpectOrder({&b});
    EXPECT_EQ(list.Pop(), &b);
    ExpectFree(b);
    ExpectOrder({});
}

TEST_F(Container, ObjectBelongsToOneContainerOnly)
{
    list.Push(&a);
    EXPECT_QZ_THROW(other.Push(&a), 1280);
    EXPECT_QZ_THROW(other.EnQueue(&a), 1280);
    EXPECT_QZ_THROW(other.AddFirst(&a), 1280);
    EXPECT_QZ_THROW(list.AddLast(&a), 1280);
    EXPECT_EQ(other.Count(), 0);
    ExpectOrder({&a});
}

TEST_F(Container, NullIsRefused)
{
    EXPECT_QZ_THROW(list.Push(nullptr), 1792);
    EXPECT_QZ_THROW(list.EnQueue(nullptr), 1792);
    EXPECT_QZ_THROW(list.AddFirst(nullptr), 1792);
    EXPECT_QZ_THROW(list.AddLast(nullptr), 1792);
    EXPECT_FALSE(list.RemoveElement(static_cast<QZObject*>(nullptr)));
}

TEST_F(Container, RemoveElementAtEveryPosition)
{
    list.Push(&a);
    list.Push(&b);
    list.Push(&c);
    EXPECT_TRUE(list.RemoveElement(&b));
    ExpectFree(b);
    ExpectOrder({&a, &c});
    EXPECT_TRUE(list.RemoveElement(&a));
    ExpectFree(a);
    ExpectOrder({&c});
    EXPECT_TRUE(list.RemoveElement(&c));
    ExpectFree(c);
    ExpectOrder({});
    list.Push(&a);
    list.Push(&b);
    EXPECT_TRUE(list.RemoveElement(&b));
    ExpectOrder({&a});
}

TEST_F(Container, RemoveElementOfAnotherContainerIsFalse)
{
    list.Push(&a);
    EXPECT_FALSE(list.RemoveElement(&b));
    other.Push(&b);
    EXPECT_FALSE(list.RemoveElement(&b));
    EXPECT_FALSE(b.IsDisposable());
    EXPECT_EQ(other.Count(), 1);
    ExpectOrder({&a});
}

TEST_F(Container, RemoveElementByIndex)
{
    list.Push(&a);
    list.Push(&b);
    list.Push(&c);
    EXPECT_TRUE(list.RemoveElement(0));
    ExpectOrder({&b, &c});
    EXPECT_TRUE(list.RemoveElement(QZInt64{1}));
    ExpectOrder({&b});
    EXPECT_QZ_THROW(list.RemoveElement(1), 256);
    EXPECT_QZ_THROW(list.RemoveElement(-1), 256);
}

TEST_F(Container, GetElementCountsFromTheFirst)
{
    list.Push(&a);
    list.Push(&b);
    list.Push(&c);
    EXPECT_EQ(list.GetElement(0), &a);
    EXPECT_EQ(list.GetElement(1), &b);
    EXPECT_EQ(list.GetElement(2), &c);
    EXPECT_QZ_THROW(list.GetElement(3), 256);
    EXPECT_QZ_THROW(list.GetElement(-1), 256);
}

TEST_F(Container, GetElementIndexCountsPreviousLinksInAnyContainer)
{
    list.Push(&a);
    list.Push(&b);
    EXPECT_EQ(list.GetElementIndex(&a), 0);
    EXPECT_EQ(list.GetElementIndex(&b), 1);
    EXPECT_EQ(other.GetElementIndex(&b), 1);
    EXPECT_EQ(list.GetElementIndex(&c), 0);
}

TEST_F(Container, ElementsStayLockedWhenTheContainerIsDestroyed)
{
    QZUInt64 id = 0;
    {
        QZContainer shortLived;
        id = shortLived.GetObjectID();
        shortLived.Push(&a);
    }
    EXPECT_FALSE(a.IsDisposable());
    EXPECT_TRUE(a.SetDisposable(id, 1));
}

TEST(List, ReturnsTypedElements)
{
    QZList<QZString> list;
    EXPECT_EQ(list.GetType(), 0x81F7000);
    EXPECT_EQ(QZList<QZString>::Type, 0x81F7000);
    QZString a("a"), b("b"), c("c");
    EXPECT_TRUE(list.Push(&b));
    EXPECT_TRUE(list.AddFirst(&a));
    EXPECT_TRUE(list.AddLast(&c));
    EXPECT_EQ(list.GetFirst()->GetLength(), 1);
    EXPECT_EQ(list.GetFirst(), &a);
    EXPECT_EQ(list.GetLast(), &c);
    EXPECT_EQ(list.GetElement(1), &b);
    EXPECT_TRUE(list.RemoveElement(&b));
    EXPECT_FALSE(list.RemoveElement(&b));
    EXPECT_TRUE(list.RemoveElement(0));
    EXPECT_TRUE(list.EnQueue(&a));
    EXPECT_EQ(list.DeQueue(), &c);
    EXPECT_EQ(list.Pop(), &a);
    EXPECT_EQ(list.Pop(), nullptr);
    EXPECT_EQ(list.Count(), 0);
}
