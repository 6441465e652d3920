#include "fw/fw_queue.h"

#include "support/qz_test.h"

TEST(Queue, HoldsItsCapacityAndReturnsTheWordsInOrder)
{
    QZQueue queue(3);
    EXPECT_EQ(queue.GetType(), 0x8120000);
    EXPECT_TRUE(queue.EnQueue(1));
    EXPECT_TRUE(queue.EnQueue(2));
    EXPECT_FALSE(queue.IsQueueFull());
    EXPECT_TRUE(queue.EnQueue(3));
    EXPECT_TRUE(queue.IsQueueFull());
    EXPECT_FALSE(queue.EnQueue(4));
    EXPECT_EQ(queue.Count(), 3);
    QZUInt64 value = 0;
    for (QZUInt64 expected = 1; expected <= 3; ++expected)
    {
        EXPECT_TRUE(queue.DeQueue(&value));
        EXPECT_EQ(value, expected);
    }
    EXPECT_EQ(queue.Count(), 0);
}

TEST(Queue, DeQueueOfEmptyIsFalseAndKeepsTheVariable)
{
    QZQueue queue(1);
    QZUInt64 value = 77;
    EXPECT_FALSE(queue.DeQueue(&value));
    EXPECT_EQ(value, 77u);
}

TEST(Queue, WrapsAroundTheRing)
{
    QZQueue queue(3);
    QZUInt64 next = 0;
    QZUInt64 expected = 0;
    queue.EnQueue(next++);
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_TRUE(queue.EnQueue(next++));
        QZUInt64 value = 0;
        EXPECT_TRUE(queue.DeQueue(&value));
        EXPECT_EQ(value, expected++);
    }
    EXPECT_EQ(queue.Count(), 1);
}

TEST(Queue, CapacityBelowOneThrowsWithoutACode)
{
    EXPECT_QZ_THROW(QZQueue(0), 0);
    EXPECT_QZ_THROW(QZQueue(-5), 0);
}

TEST(Queue, LargeRing)
{
    QZQueue queue(100000);
    for (QZUInt64 i = 0; i < 100000; ++i) ASSERT_TRUE(queue.EnQueue(i));
    EXPECT_TRUE(queue.IsQueueFull());
    QZUInt64 value = 0;
    for (QZUInt64 i = 0; i < 100000; ++i)
    {
        ASSERT_TRUE(queue.DeQueue(&value));
        ASSERT_EQ(value, i);
    }
}

TEST(Queue, CopiesAreDeep)
{
    QZQueue queue(2);
    queue.EnQueue(1);
    QZQueue copy(queue);
    QZQueue assigned(5);
    assigned = queue;
    QZUInt64 value = 0;
    EXPECT_TRUE(queue.DeQueue(&value));
    EXPECT_EQ(copy.Count(), 1);
    EXPECT_TRUE(assigned.EnQueue(2));
    EXPECT_TRUE(assigned.IsQueueFull());
    EXPECT_TRUE(copy.DeQueue(&value));
    EXPECT_EQ(value, 1u);
}
