#include "fw/internal/fw_block_allocator.h"

#include <cstring>
#include <string>
#include <thread>

#include "support/qz_test.h"

namespace
{
namespace ba = block_allocator;

TEST(BlockAllocator, StartsWithOneReadyBlockOfEightMegabytes)
{
    ba::Start();
    EXPECT_EQ(ba::TableCount(), 1);
    ASSERT_EQ(ba::ReadyCountOfTable0(), 1);
    EXPECT_EQ(ba::Ready(1).id, 1);
    EXPECT_EQ(ba::Ready(1).size, 0x800000);
    EXPECT_EQ(ba::Ready(1).end, static_cast<QZInt64>(static_cast<QZUInt32>(ba::Ready(1).begin)) + 0x800000);
    EXPECT_EQ(ba::UsedCountOfTable0(), 0);
    ba::Stop();
    EXPECT_EQ(ba::TableCount(), 0);
}

TEST(BlockAllocator, SmallAllocationTakesOneMegabyteAndSplitsOffTheRest)
{
    ba::Start();
    QZInt64 region = ba::Ready(1).begin;
    void* p = ba::Allocate("first", &p, 1000);
    ASSERT_NE(p, nullptr);
    std::memset(p, 7, 1000);
    // ((1000 >> 16) + 1) << 16, plus 0x30000, is 0x40000; the entry takes the minimum of 0x100000.
    ASSERT_EQ(ba::UsedCountOfTable0(), 1);
    EXPECT_EQ(ba::Used(1).size, 0x100000);
    EXPECT_EQ(ba::Used(1).begin, region);
    EXPECT_EQ(ba::Used(1).end, region + 0x100000);
    EXPECT_STREQ(ba::Used(1).mi, "first");
    EXPECT_EQ(ba::Used(1).user, 0);
    ASSERT_EQ(ba::ReadyCountOfTable0(), 1);
    EXPECT_EQ(ba::Ready(1).size, 0x700000);
    EXPECT_EQ(ba::Ready(1).begin, region + 0x100000);
    ba::Free(&p);
    EXPECT_EQ(ba::UsedCountOfTable0(), 0);
    // The list is sorted by size after a release.
    ASSERT_EQ(ba::ReadyCountOfTable0(), 2);
    EXPECT_EQ(ba::Ready(1).size, 0x100000);
    EXPECT_EQ(ba::Ready(2).size, 0x700000);
}

TEST(BlockAllocator, AllocateTakesTheBestFit)
{
    ba::Start();
    void* small = ba::Allocate("small", &small, 1);
    void* large = ba::Allocate("large", &large, 0x200000);
    QZInt64 smallBegin = ba::Used(1).begin;
    ba::Free(&large);
    ba::Free(&small);
    void* again = ba::Allocate("again", &again, 100);
    EXPECT_EQ(ba::Used(1).begin, smallBegin);
    ba::Free(&again);
}

TEST(BlockAllocator, RequestAboveEightMegabytesGetsItsOwnRegion)
{
    ba::Start();
    void* p = ba::AllocateClean("big", &p, 0x1000000);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(ba::Used(1).size, 0x1000000 + 0x30000);
    EXPECT_EQ(static_cast<unsigned char*>(p)[0xFFFFFF], 0);
    ba::Free(&p);
}

TEST(BlockAllocator, FreeSetsEveryWatcherOfTheBlockToNull)
{
    ba::Start();
    void* p = ba::Allocate("watched", &p, 10);
    void* second = p;
    void* other = &other;
    ba::WatchAdd("p", &p);
    ba::WatchAdd("second", &second);
    ba::WatchAdd("other", &other);
    ba::WatchAdd("again", &second);
    EXPECT_EQ(ba::WatchCountOfTable0(), 3);
    ba::Free(&p);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(other, static_cast<void*>(&other));
    ba::WatchRemove(&second);
    EXPECT_EQ(ba::WatchCountOfTable0(), 2);
}

TEST(BlockAllocator, ResizeKeepsTheBlockOrMovesItAndUpdatesTheWatchers)
{
    ba::Start();
    void* p = ba::Allocate("grow", &p, 10);
    std::memcpy(p, "content", 8);
    ba::WatchAdd("p", &p);
    void* old = p;
    EXPECT_EQ(ba::Resize("grow", &p, 0x100000 - 0x30000), old);
    void* moved = ba::Resize("grow", &p, 0x200000);
    ASSERT_NE(moved, nullptr);
    EXPECT_NE(moved, old);
    EXPECT_EQ(p, moved);
    EXPECT_STREQ(static_cast<char*>(p), "content");
    EXPECT_EQ(ba::UsedCountOfTable0(), 1);
}

TEST(BlockAllocator, PrintsListsEntryByEntry)
{
    ba::Start();
    void* p = ba::Allocate("named", &p, 10);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ba::PrintUsed(true), 0x100000);
    std::string used = testing::internal::GetCapturedStdout();
    EXPECT_EQ(used.rfind("Print memory used list.\nCount:1\nID:1,PA:", 0), 0u) << used;
    EXPECT_NE(used.find(",MI:named,Begin:"), std::string::npos);
    EXPECT_NE(used.find(",Size:100000\nsize count: 0G,1M,0KB,0B\n"), std::string::npos) << used;

    testing::internal::CaptureStdout();
    EXPECT_EQ(ba::PrintReady(true), 0x700000);
    std::string ready = testing::internal::GetCapturedStdout();
    EXPECT_EQ(ready.rfind("Print memory ready list.\nCount:1\nSN:1,A:", 0), 0u) << ready;
    EXPECT_NE(ready.find(",Size:700000\nsize count: 0G,7M,0KB,0B\n"), std::string::npos) << ready;

    testing::internal::CaptureStdout();
    EXPECT_EQ(ba::PrintReady(false), 0x700000);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");

    void* watched = reinterpret_cast<void*>(0x12345678ABCDEF01);
    ba::WatchAdd("w", &watched);
    testing::internal::CaptureStdout();
    ba::PrintWatch();
    std::string watch = testing::internal::GetCapturedStdout();
    EXPECT_EQ(watch.rfind("Count:1\nSN:1,MI:w,PA:", 0), 0u) << watch;
    EXPECT_NE(watch.find(",MB:ABCDEF01\n"), std::string::npos) << watch;
}

TEST(BlockAllocator, UnknownPointerIsReported)
{
    ba::Start();
    void* stranger = &stranger;
    testing::internal::CaptureStdout();
    EXPECT_EQ(ba::FindUsed(&stranger), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Can not find pointer!\nPrint memory used list.\nCount:0\nsize count: 0G,0M,0KB,0B\n");
}

TEST(BlockAllocator, CountersUseTheTableOfTheCallingThread)
{
    ba::Start();
    EXPECT_EQ(ba::ReadyCount(), 1);
    EXPECT_EQ(ba::TableCount(), 2);
    EXPECT_EQ(ba::UsedCount(), 0);
    EXPECT_EQ(ba::TableCount(), 2);
    std::thread([] { ba::UsedCount(); }).join();
    EXPECT_EQ(ba::TableCount(), 3);
    // Allocations go to table 0 on every thread.
    void* p = ba::Allocate("main", &p, 10);
    EXPECT_EQ(ba::UsedCount(), 0);
    EXPECT_EQ(ba::UsedCountOfTable0(), 1);
}
}  // namespace
