#include "fw/fw_object.h"

#include "fw/fw_library.h"
#include "support/qz_test.h"

namespace
{
int g_falseAsserts = 0;
void CountAsserts(QZBool condition)
{
    if (!condition) ++g_falseAsserts;
}

TEST(Object, IdsStepBy256)
{
    QZObject a;
    QZObject b;
    EXPECT_EQ(b.GetObjectID(), a.GetObjectID() + 256);
    EXPECT_EQ(a.GetObjectID() % 256, 0u);
}

TEST(Object, TypeAndMemorySizeOfTheRoot)
{
    QZObject object;
    EXPECT_EQ(object.GetType(), 0x8100000);
    EXPECT_EQ(QZObject::Type, 0x8100000);
    EXPECT_EQ(object.GetMemorySize(), 8);
    EXPECT_EQ(object.IsDisposable(), 1);
}

TEST(Object, UnlockingAFreeObjectLeavesItFree)
{
    QZObject object;
    EXPECT_EQ(object.SetDisposable(77, 1), 1);
    EXPECT_EQ(object.IsDisposable(), 1);
    // The key of that call was not stored: the next lock sets its own.
    EXPECT_EQ(object.SetDisposable(5, 0), 1);
    EXPECT_EQ(object.SetDisposable(77, 1), 0);
    EXPECT_EQ(object.SetDisposable(5, 1), 1);
}

TEST(Object, UnlockingAsksForTheKeyOfTheLock)
{
    QZObject object;
    EXPECT_EQ(object.SetDisposable(1000, 0), 1);
    EXPECT_EQ(object.IsDisposable(), 0);
    EXPECT_EQ(object.SetDisposable(1001, 1), 0);
    EXPECT_EQ(object.IsDisposable(), 0);
    EXPECT_EQ(object.SetDisposable(1000, 1), 1);
    EXPECT_EQ(object.IsDisposable(), 1);
}

TEST(Object, LockingTwiceThrowsEvenWithTheSameKey)
{
    QZObject object;
    object.SetDisposable(9, 0);
    EXPECT_QZ_THROW_MESSAGE(object.SetDisposable(9, 0), 1280, " ObjectIsLocked");
    EXPECT_QZ_THROW(object.SetDisposable(10, 0), 1280);
    EXPECT_EQ(object.SetDisposable(9, 1), 1);
}

TEST(Object, DeletingALockedObjectSetsTheErrorWordAndAsserts)
{
    QZLibSetFunctionAssert(&CountAsserts);
    g_falseAsserts = 0;
    QZLastError = 0;
    QZObject* object = new QZObject();
    object->SetDisposable(1, 0);
    delete object;
    EXPECT_EQ(g_falseAsserts, 1);
    EXPECT_EQ(QZLastError, 1280);
    QZLastError = 0;
}

TEST(Object, ACopyHasTheIdAndTheLockOfItsSource)
{
    QZObject source;
    source.SetDisposable(3, 0);
    QZObject copy(source);
    EXPECT_EQ(copy.GetObjectID(), source.GetObjectID());
    EXPECT_EQ(copy.IsDisposable(), 0);
    EXPECT_EQ(copy.SetDisposable(3, 1), 1);
    EXPECT_EQ(source.IsDisposable(), 0);
    source.SetDisposable(3, 1);
    QZObject assigned;
    assigned = source;
    EXPECT_EQ(assigned.GetObjectID(), source.GetObjectID());
}
}  // namespace
