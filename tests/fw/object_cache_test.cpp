#include "fw/fw_object_cache.h"

#include <atomic>
#include <limits>
#include <thread>

#include "fw/fw_collection.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "support/qz_test.h"

namespace
{
/// An object with a settable size; counts the live objects.
class Probe : public QZObject
{
public:
    static int live;
    QZInt64 size = 100;
    Probe() { ++live; }
    ~Probe() override { --live; }
    QZInt64 GetMemorySize() override { return size; }
};
int Probe::live = 0;

using Cache = QZCache<Probe>;

Probe* Out(Cache* cache) { return static_cast<Probe*>(cache->Out()); }
void In(Cache* cache, Probe* probe)
{
    QZObject* object = probe;
    cache->In(&object);
    EXPECT_EQ(object, nullptr);
}

TEST(ObjectCache, OutOfAnEmptyCacheCreatesAnObject)
{
    Cache cache(-1, -1);
    Probe* probe = Out(&cache);
    ASSERT_NE(probe, nullptr);
    EXPECT_EQ(cache.Created(), 1);
    EXPECT_EQ(cache.Count(), 0);
    In(&cache, probe);
    EXPECT_EQ(cache.Count(), 1);
    EXPECT_EQ(cache.Created(), 1);
}

TEST(ObjectCache, LastObjectInIsTheFirstOut)
{
    Cache cache(-1, -1);
    Probe* a = Out(&cache);
    Probe* b = Out(&cache);
    In(&cache, a);
    In(&cache, b);
    EXPECT_EQ(Out(&cache), b);
    EXPECT_EQ(Out(&cache), a);
    In(&cache, a);
    In(&cache, b);
}

TEST(ObjectCache, IdleObjectsAreLocked)
{
    Cache cache(-1, -1);
    Probe* probe = Out(&cache);
    In(&cache, probe);
    EXPECT_EQ(probe->IsDisposable(), 0);
    EXPECT_EQ(Out(&cache), probe);
    EXPECT_EQ(probe->IsDisposable(), 1);
    In(&cache, probe);
}

TEST(ObjectCache, TypesAndSizes)
{
    Cache cache(-1, -1);
    EXPECT_EQ(cache.GetType(), 0x85F7001);
    EXPECT_EQ(QZObjectCache::Type, 0x85F0000);
    EXPECT_EQ(cache.GetMemorySize(), 8);
    In(&cache, Out(&cache));
    EXPECT_EQ(cache.GetMemorySize(), 108);
    QZExceptionCache exceptions(-1, -1);
    EXPECT_EQ(exceptions.GetType(), 0x85F0000);
    EXPECT_EQ(cache.GetTimeout(), -1);
}

TEST(ObjectCache, OutAtTheCreatedLimitTimesOut)
{
    Cache cache(1, -1);
    Probe* probe = Out(&cache);
    cache.SetTimeout(0);
    EXPECT_EQ(cache.GetTimeout(), 0);
    EXPECT_EQ(cache.Out(), nullptr);
    In(&cache, probe);
    EXPECT_EQ(Out(&cache), probe);
    In(&cache, probe);
}

TEST(ObjectCache, OutWithoutTimeoutBlocksUntilIn)
{
    Cache cache(1, -1);
    Probe* probe = Out(&cache);
    std::atomic<bool> got{false};
    std::thread waiter([&] {
        QZObject* object = cache.Out();
        got = true;
        cache.In(&object);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(got);
    In(&cache, probe);
    waiter.join();
    EXPECT_TRUE(got);
}

TEST(ObjectCache, InOfALockedObjectThrowsAndKeepsTheVariable)
{
    Cache cache(-1, -1);
    Probe* probe = Out(&cache);
    probe->SetDisposable(4, 0);
    QZObject* object = probe;
    EXPECT_QZ_THROW(cache.In(&object), 1280);
    EXPECT_EQ(object, probe);
    probe->SetDisposable(4, 1);
    In(&cache, probe);
}

TEST(ObjectCache, InOfNullAsserts)
{
    static int asserts;
    asserts = 0;
    QZLibSetFunctionAssert([](QZBool condition) { asserts += condition ? 0 : 1; });
    Cache cache(-1, -1);
    QZObject* none = nullptr;
    cache.In(&none);
    EXPECT_EQ(asserts, 1);
}

TEST(ObjectCache, ObjectsAboveTheIdleLimitAreDeletedButStayCounted)
{
    Cache cache(2, 1);
    Probe* a = Out(&cache);
    Probe* b = Out(&cache);
    In(&cache, a);
    In(&cache, b);
    EXPECT_EQ(cache.Count(), 1);
    EXPECT_EQ(Probe::live, 1);
    EXPECT_EQ(cache.Created(), 2);
    // The deleted object still counts as created, so only one object is left to take.
    cache.SetTimeout(0);
    Probe* only = Out(&cache);
    EXPECT_EQ(cache.Out(), nullptr);
    In(&cache, only);
}

TEST(ObjectCache, FirstPartialCollectionDeletesNothing)
{
    Cache cache(-1, -1);
    In(&cache, Out(&cache));
    cache.Collect(1);
    EXPECT_EQ(cache.Count(), 1);
}

TEST(ObjectCache, ObjectsIdleForAWholePeriodAreDeleted)
{
    Cache cache(-1, -1);
    Probe* probes[10];
    for (Probe*& probe : probes) probe = Out(&cache);
    for (Probe* probe : probes) In(&cache, probe);
    cache.Collect(1);  // ends the first period: the low mark becomes 10
    EXPECT_EQ(cache.Count(), 10);
    cache.Collect(1);
    EXPECT_EQ(cache.Count(), 0);
    EXPECT_EQ(cache.Created(), 0);
    EXPECT_EQ(Probe::live, 0);
    // The low mark is 0 now, so a new object survives one collection.
    In(&cache, Out(&cache));
    cache.Collect(1);
    EXPECT_EQ(cache.Count(), 1);
}

TEST(ObjectCache, PartialCollectionKeepsObjectsUsedInThePeriod)
{
    Cache cache(-1, -1);
    Probe* probes[5];
    for (Probe*& probe : probes) probe = Out(&cache);
    for (Probe* probe : probes) In(&cache, probe);
    cache.Collect(1);
    Probe* a = Out(&cache);
    Probe* b = Out(&cache);
    In(&cache, a);
    In(&cache, b);
    // At most two of the five were in use at a time, so three are deleted.
    cache.Collect(1);
    EXPECT_EQ(cache.Count(), 2);
}

TEST(ObjectCache, GrownObjectsAreDeletedFirstAndStayInTheCreatedCount)
{
    Cache cache(-1, -1);
    Probe* probes[4];
    for (Probe*& probe : probes) probe = Out(&cache);
    probes[2]->size = 5000;
    for (Probe* probe : probes) In(&cache, probe);
    cache.Collect(1);
    Probe* last = Out(&cache);
    Probe* big = Out(&cache);
    Probe* second = Out(&cache);
    EXPECT_EQ(big, probes[2]);
    In(&cache, second);
    In(&cache, big);
    In(&cache, last);
    // The low mark is 1, so one object is deleted: the large one, though it is not the oldest.
    cache.Collect(1);
    EXPECT_EQ(cache.Count(), 3);
    EXPECT_EQ(cache.GetMemorySize(), 308);
    EXPECT_EQ(cache.Created(), 4);
}

TEST(ObjectCache, PartialCollectionThatStopsEarlyLeavesTheListRotated)
{
    Cache cache(-1, -1);
    Probe* probes[4];
    for (Probe*& probe : probes) probe = Out(&cache);
    probes[1]->size = 5000;
    for (Probe* probe : probes) In(&cache, probe);
    cache.Collect(1);
    Probe* taken[3];
    for (Probe*& probe : taken) probe = Out(&cache);
    for (int i = 2; i >= 0; --i) In(&cache, taken[i]);
    // Order 0 1 2 3, low mark 1: 0 moves to the end, 1 is deleted and the walk stops, which leaves 2 3 0.
    cache.Collect(1);
    EXPECT_EQ(cache.Count(), 3);
    EXPECT_EQ(Out(&cache), probes[0]);
    EXPECT_EQ(Out(&cache), probes[3]);
    EXPECT_EQ(Out(&cache), probes[2]);
    for (int i : {0, 2, 3}) In(&cache, probes[i]);
}

TEST(ObjectCache, FullCollectionEmptiesTheCache)
{
    Cache cache(-1, -1);
    Probe* a = Out(&cache);
    Probe* b = Out(&cache);
    In(&cache, a);
    In(&cache, b);
    cache.Collect(0);
    EXPECT_EQ(cache.Count(), 0);
    EXPECT_EQ(cache.Created(), 0);
    EXPECT_EQ(Probe::live, 0);
}

TEST(ObjectCache, DestructorDeletesIdleObjects)
{
    {
        Cache cache(-1, -1);
        In(&cache, Out(&cache));
        EXPECT_EQ(Probe::live, 1);
    }
    EXPECT_EQ(Probe::live, 0);
}

TEST(ObjectCache, ObjectsMayBeReturnedByAnotherThread)
{
    Cache cache(-1, -1);
    std::thread threads[4];
    for (std::thread& thread : threads)
    {
        thread = std::thread([&cache] {
            for (int i = 0; i < 2000; ++i)
            {
                QZObject* a = cache.Out();
                QZObject* b = cache.Out();
                cache.In(&a);
                cache.In(&b);
                if (i % 100 == 0) cache.Collect(1);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    cache.Collect(0);
    EXPECT_EQ(Probe::live, 0);
}

TEST(ObjectCache, LargestTimeoutNeverExpires)
{
    Cache cache(1, -1);
    Probe* probe = Out(&cache);
    cache.SetTimeout(std::numeric_limits<QZInt64>::max());
    std::atomic<bool> got{false};
    std::thread waiter([&] {
        QZObject* object = cache.Out();
        got = object != nullptr;
        if (object != nullptr) cache.In(&object);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(got);
    In(&cache, probe);
    waiter.join();
    EXPECT_TRUE(got);
}

TEST(ObjectCache, OutAtTheCreatedLimitReusesIdleObjects)
{
    Cache cache(2, -1);
    cache.SetTimeout(0);
    Probe* a = Out(&cache);
    Probe* b = Out(&cache);
    In(&cache, a);
    EXPECT_EQ(Out(&cache), a);
    EXPECT_EQ(cache.Out(), nullptr);
    // A full collection subtracts the objects that it deletes, so new ones can be created.
    In(&cache, a);
    In(&cache, b);
    cache.Collect(0);
    EXPECT_EQ(cache.Created(), 0);
    In(&cache, Out(&cache));
}

TEST(ObjectCache, IdleLimitOfZeroKeepsNothing)
{
    Cache cache(-1, 0);
    In(&cache, Out(&cache));
    EXPECT_EQ(cache.Count(), 0);
    EXPECT_EQ(Probe::live, 0);
    EXPECT_EQ(cache.Created(), 1);
}

TEST(ObjectCache, AHostBoundsTheIdleObjects)
{
    Cache cache(-1, -1);
    Probe* probes[5];
    for (Probe*& probe : probes) probe = Out(&cache);
    for (Probe* probe : probes) In(&cache, probe);
    EXPECT_EQ(Probe::live, 5);
    cache.SetIdleLimit(3, -1);
    EXPECT_EQ(cache.Count(), 3);
    EXPECT_EQ(cache.Created(), 3);
    EXPECT_EQ(Probe::live, 3);
    // The oldest ones went.
    EXPECT_EQ(Out(&cache), probes[4]);
    In(&cache, probes[4]);
    In(&cache, new Probe());
    EXPECT_EQ(cache.Count(), 3);
    EXPECT_EQ(Probe::live, 3);
    cache.SetIdleLimit(-1, -1);
    In(&cache, new Probe());
    EXPECT_EQ(cache.Count(), 4);
}

TEST(ObjectCache, AHostBoundsTheIdleBytes)
{
    Cache cache(-1, -1);
    for (int i = 0; i < 3; ++i) In(&cache, new Probe());
    cache.SetIdleLimit(-1, 250);
    EXPECT_EQ(cache.Count(), 2);
    EXPECT_EQ(Probe::live, 2);
    Probe* probe = Out(&cache);
    probe->size = 151;
    In(&cache, probe);
    EXPECT_EQ(cache.Count(), 1);
    Probe* small = new Probe();
    small->size = 150;
    In(&cache, small);
    EXPECT_EQ(cache.Count(), 2);
    EXPECT_EQ(cache.GetMemorySize(), 8 + 250);
    cache.Collect(0);
    In(&cache, new Probe());
    In(&cache, new Probe());
    EXPECT_EQ(cache.Count(), 2);
    cache.SetIdleLimit(0, 0);
    EXPECT_EQ(Probe::live, 0);
    EXPECT_EQ(cache.GetMemorySize(), 8);
}

TEST(ObjectCache, RefusedObjectAddsAFrameToTheTrace)
{
    Cache cache(-1, -1);
    Probe* probe = Out(&cache);
    probe->SetDisposable(4, 0);
    QZObject* object = probe;
    const qztest::Thrown thrown = QZ_TEST_CATCH(cache.In(&object));
    EXPECT_EQ(thrown.message, " ObjectIsLocked");
    EXPECT_EQ(thrown.stackTrace, "QZObjectCache::In(QZObject**)");
    probe->SetDisposable(4, 1);
    In(&cache, probe);
}
}  // namespace
