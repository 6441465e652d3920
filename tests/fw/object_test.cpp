#include "fw/fw_object.h"

#include <cstring>

#include "fw/fw_collection.h"
#include "fw/fw_data.h"
#include "fw/fw_library.h"
#include "fw/fw_report.h"
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

TEST(Object, HasTypeAndMemorySize)
{
    QZObject object;
    EXPECT_EQ(object.GetType(), 0x8100000);
    EXPECT_EQ(QZObject::Type, 0x8100000);
    EXPECT_EQ(object.GetMemorySize(), 8);
    EXPECT_EQ(object.IsDisposable(), 1);
}

TEST(Object, UnlockingAnUnlockedObjectDoesNothing)
{
    QZObject object;
    EXPECT_EQ(object.SetDisposable(77, 1), 1);
    EXPECT_EQ(object.IsDisposable(), 1);
    // The key of that call was not stored; the next lock sets its own.
    EXPECT_EQ(object.SetDisposable(5, 0), 1);
    EXPECT_EQ(object.SetDisposable(77, 1), 0);
    EXPECT_EQ(object.SetDisposable(5, 1), 1);
}

TEST(Object, UnlockingNeedsTheKeyOfTheLock)
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

TEST(Object, DeletingALockedObjectSetsTheLastErrorAndAsserts)
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

TEST(Object, CopyHasIdAndLockOfItsSource)
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

/// Returns the index of a virtual operation in the table of its class, -1 for others. The two destructors are
/// 0 and 1.
template <typename Method>
std::ptrdiff_t TableIndex(Method method)
{
    struct
    {
        std::ptrdiff_t word;
        std::ptrdiff_t adjustment;
    } parts;
    static_assert(sizeof parts == sizeof method);
    std::memcpy(&parts, &method, sizeof parts);
#ifdef __aarch64__
    // The mark of a virtual operation is in the adjustment, because an address of code may be odd.
    return parts.adjustment % 2 != 0 ? parts.word / 8 : -1;
#else
    return parts.word % 2 != 0 ? parts.word / 8 : -1;
#endif
}

TEST(Object, VirtualOperationsKeepTheirOrder)
{
    EXPECT_EQ(TableIndex(&QZObject::IsDisposable), 2);
    EXPECT_EQ(TableIndex(&QZObject::SetDisposable), 3);
    EXPECT_EQ(TableIndex(&QZObject::GetObjectID), 4);
    EXPECT_EQ(TableIndex(&QZObject::GetMemorySize), 5);
    EXPECT_EQ(TableIndex(&QZObject::GetType), 6);
    EXPECT_EQ(TableIndex(&QZData::Clear), 7);
    EXPECT_EQ(TableIndex(static_cast<void (QZReport::*)(const QZWChar*)>(&QZReport::Report)), 7);
    EXPECT_EQ(TableIndex(static_cast<void (QZReport::*)(const char*)>(&QZReport::Report)), 8);
    EXPECT_EQ(TableIndex(static_cast<void (QZReport::*)(QZString*)>(&QZReport::Report)), 9);
    EXPECT_EQ(TableIndex(static_cast<void (QZErrorReport::*)(QZException*)>(&QZErrorReport::Report)), 10);
}

TEST(Object, CopyHasLinksOfItsSource)
{
    QZContainer container;
    QZObject first;
    QZObject second;
    container.Push(&first);
    container.Push(&second);
    {
        QZObject copy(second);
        EXPECT_EQ(copy.LinkPrevious(), &first);
        EXPECT_EQ(copy.IsDisposable(), 0);
        EXPECT_EQ(copy.SetDisposable(container.GetObjectID(), 1), 1);
    }
    EXPECT_EQ(container.Pop(), &second);
    EXPECT_EQ(second.LinkPrevious(), nullptr);
    EXPECT_EQ(container.Pop(), &first);
}

TEST(Object, LockingTwiceNamesTheArguments)
{
    QZObject object;
    object.SetDisposable(9, 0);
    const qztest::Thrown thrown = QZ_TEST_CATCH(object.SetDisposable(10, 0));
    EXPECT_EQ(thrown.stackTrace, "QZObject::SetDisposable(QZUInt64, QZBool)");
    EXPECT_EQ(thrown.argumentTrace, "QZObject::SetDisposable(10, 0)");
    EXPECT_EQ(object.SetDisposable(10, 1), 0);
    EXPECT_EQ(object.SetDisposable(9, 1), 1);
}
}  // namespace
