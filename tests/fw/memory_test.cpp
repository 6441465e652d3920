#include "fw/fw_memory.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "fw/fw_environment.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_memory_pool.h"
#include "fw/internal/fw_memory_raw.h"
#include "support/qz_test.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_memory.h"
#include "sys/sys_bytes.h"

namespace
{
unsigned char* Raw(void* buffer) { return static_cast<unsigned char*>(buffer) - 32; }

/// Lets `good` allocations succeed and all later ones fail.
class FailingHeap
{
public:
    explicit FailingHeap(int good) : m_good(good)
    {
        m_hooks.Context = this;
        m_hooks.Gate = [](void* context, os::Op operation, QZInt64*, QZUInt32* error) {
            FailingHeap* self = static_cast<FailingHeap*>(context);
            if (operation != os::Op::Allocate || self->m_good-- > 0) return true;
            *error = 12;
            return false;
        };
        os::SetTestHooks(&m_hooks);
    }
    ~FailingHeap() { os::SetTestHooks(nullptr); }

private:
    os::TestHooks m_hooks{};
    int m_good;
};

TEST(Memory, HeaderAndGuardFollowTheLayout)
{
    void* buffer = MemoryAllocate(13);
    unsigned char* raw = Raw(buffer);
    EXPECT_EQ(QZLoad<QZInt64>(raw), 13);
    EXPECT_EQ(QZLoad<QZUInt64>(raw + 8), 65535u);
    EXPECT_EQ(QZLoad<QZInt64>(raw + 16), 4096);
    // 13 + 32 = 45, rounded up to a multiple of 8.
    EXPECT_EQ(QZLoad<QZUInt64>(raw + 48), 0xFFFF000000000000ull);
    EXPECT_TRUE(MemoryFree(buffer));
}

TEST(Memory, RequestOfZeroBytesReturnsAWholePage)
{
    void* buffer = MemoryAllocateClean(0);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(MemoryGetSize(buffer), 0);
    EXPECT_EQ(MemoryGetBlockSize(buffer), 4096);
    EXPECT_TRUE(MemoryFree(buffer));
}

TEST(Memory, BlocksUpTo4032BytesFitOnePage)
{
    void* fits = MemoryAllocate(4032);
    void* spills = MemoryAllocate(4033);
    EXPECT_EQ(MemoryGetBlockSize(fits), 4096);
    EXPECT_EQ(MemoryGetBlockSize(spills), 8192);
    MemoryFree(fits);
    MemoryFree(spills);
}

TEST(Memory, DamagedGuardIsReportedAndTheBlockIsNotFreed)
{
    void* buffer = MemoryAllocate(16);
    QZUInt64 guard = QZLoad<QZUInt64>(Raw(buffer) + 48);
    QZStore<QZUInt64>(Raw(buffer) + 48, 1);
    QZLastError = 0;
    EXPECT_EQ(MemoryGetSize(buffer), -1);
    EXPECT_EQ(QZLastError, 512);
    QZLastError = 0;
    EXPECT_FALSE(MemoryFree(buffer));
    EXPECT_EQ(QZLastError, 512);
    // The block size needs only an intact marker.
    EXPECT_EQ(MemoryGetBlockSize(buffer), 4096);
    QZStore<QZUInt64>(Raw(buffer) + 48, guard);
    EXPECT_TRUE(MemoryFree(buffer));
    QZLastError = 0;
}

TEST(Memory, DamagedMarkerIsReported)
{
    void* buffer = MemoryAllocate(16);
    QZStore<QZUInt64>(Raw(buffer) + 8, 7);
    EXPECT_EQ(MemoryGetSize(buffer), -1);
    EXPECT_EQ(MemoryGetBlockSize(buffer), -1);
    EXPECT_FALSE(MemoryFree(buffer));
    EXPECT_EQ(QZLastError, 512);
    QZStore<QZUInt64>(Raw(buffer) + 8, 65535);
    EXPECT_TRUE(MemoryFree(buffer));
    QZLastError = 0;
}

TEST(Memory, NullAndNegativeArgumentsSetTheLastError)
{
    QZLastError = 0;
    EXPECT_EQ(MemoryAllocate(-1), nullptr);
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
    EXPECT_EQ(QZMemory::CreateBuffer(-5), nullptr);
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
    EXPECT_EQ(MemoryGetSize(nullptr), -1);
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
    EXPECT_EQ(MemoryGetBlockSize(nullptr), -1);
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
    EXPECT_EQ(MemoryResize(nullptr, 4), nullptr);
    EXPECT_EQ(QZLastError, 256);
    void* buffer = MemoryAllocate(4);
    QZLastError = 0;
    EXPECT_EQ(MemoryResize(buffer, -4), nullptr);
    EXPECT_EQ(QZLastError, 256);
    MemoryFree(buffer);
    QZLastError = 0;
    EXPECT_FALSE(MemoryFree(nullptr));
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
}

TEST(Memory, ShrinkingKeepsTheAddressAndMovesTheGuard)
{
    unsigned char* buffer = static_cast<unsigned char*>(MemoryAllocateClean(5000));
    EXPECT_EQ(MemoryGetBlockSize(buffer), 8192);
    buffer[0] = 9;
    void* shrunk = MemoryResize(buffer, 10);
    EXPECT_EQ(shrunk, buffer);
    EXPECT_EQ(MemoryGetSize(buffer), 10);
    EXPECT_EQ(MemoryGetBlockSize(buffer), 4096);
    EXPECT_EQ(QZLoad<QZUInt64>(Raw(buffer) + 48), 0xFFFF000000000000ull);
    EXPECT_EQ(buffer[0], 9);
    EXPECT_TRUE(MemoryFree(buffer));
}

TEST(Memory, GrowingInsideTheBlockClearsNothing)
{
    unsigned char* buffer = static_cast<unsigned char*>(MemoryAllocateClean(100));
    // After the guard at 136 the block keeps what was written there.
    std::memset(buffer + 200, 0xAB, 10);
    unsigned char* grown = static_cast<unsigned char*>(MemoryResize(buffer, 4000));
    EXPECT_EQ(grown, buffer);
    EXPECT_EQ(grown[205], 0xAB);
    MemoryFree(grown);
}

TEST(Memory, GrowingPastTheBlockClearsTheNewPart)
{
    unsigned char* buffer = static_cast<unsigned char*>(MemoryAllocate(100));
    std::memset(buffer, 0x55, 100);
    unsigned char* grown = static_cast<unsigned char*>(MemoryResize(buffer, 20000));
    ASSERT_NE(grown, nullptr);
    EXPECT_EQ(grown[99], 0x55);
    for (int i = 100; i < 20000; ++i) ASSERT_EQ(grown[i], 0) << i;
    EXPECT_EQ(MemoryGetBlockSize(grown), 20480);
    MemoryFree(grown);
}

TEST(Memory, OutOfMemoryIsReportedAndAFailedResizeKeepsTheBuffer)
{
    void* buffer = MemoryAllocate(10);
    {
        FailingHeap heap(0);
        QZLastError = 0;
        EXPECT_EQ(MemoryAllocate(10), nullptr);
        EXPECT_EQ(QZLastError, 4352);
        QZLastError = 0;
        EXPECT_EQ(MemoryResize(buffer, 100000), nullptr);
        EXPECT_EQ(QZLastError, 4352);
    }
    EXPECT_EQ(MemoryGetSize(buffer), 10);
    EXPECT_TRUE(MemoryFree(buffer));
    QZLastError = 0;
}

TEST(Memory, ResizeFailsAtTwoGigabytes)
{
    void* buffer = MemoryAllocate(10);
    QZLastError = 0;
    EXPECT_EQ(MemoryResize(buffer, 0x80000000ll), nullptr);
    EXPECT_EQ(QZLastError, 4352);
    EXPECT_EQ(MemoryResize(buffer, 0x100001000ll), nullptr);
    EXPECT_EQ(MemoryGetSize(buffer), 10);
    MemoryFree(buffer);
    QZLastError = 0;
}

TEST(Memory, AllocInfoCountsAllocationsAndFrees)
{
    QZInt64 count = 0;
    QZInt64 bytes = 0;
    QZMemory::AllocInfo(&count, &bytes);
    void* buffer = MemoryAllocate(5000);
    QZInt64 countAfter = 0;
    QZInt64 bytesAfter = 0;
    QZMemory::AllocInfo(&countAfter, &bytesAfter);
    EXPECT_EQ(countAfter, count + 1);
    EXPECT_EQ(bytesAfter, bytes + 8192);
    // Freeing a shrunk block subtracts its smaller size, so the total is too large by the difference.
    buffer = MemoryResize(buffer, 1);
    MemoryFree(buffer);
    QZMemory::AllocInfo(&countAfter, &bytesAfter);
    EXPECT_EQ(countAfter, count);
    EXPECT_EQ(bytesAfter, bytes + 4096);
}

TEST(Memory, TheTotalIsResynchronisedWithTheWorkingSet)
{
    for (int i = 0; i < 6000; ++i) MemoryFree(MemoryAllocate(1));
    QZInt64 count = 0;
    QZInt64 bytes = 0;
    QZMemory::AllocInfo(&count, &bytes);
    // After thousands of operations the total is set to the resident memory of the process, megabytes at
    // least.
    EXPECT_GT(bytes, 1 << 20);
}

TEST(Memory, EqualsChecksForNullBeforeTheSize)
{
    QZLastError = 0;
    EXPECT_FALSE(QZMemory::Equals(nullptr, "a", 0));
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
    EXPECT_TRUE(QZMemory::Equals("a", "b", 0));
    EXPECT_TRUE(QZMemory::Equals("a", "b", -3));
    EXPECT_EQ(QZLastError, 0);
}

TEST(Memory, EqualsFindsADifferenceAtEveryPosition)
{
    for (int size : {1, 7, 8, 33, 64, 176, 177, 1000})
    {
        std::vector<unsigned char> a(static_cast<std::size_t>(size), 3);
        std::vector<unsigned char> b = a;
        EXPECT_TRUE(QZMemory::Equals(a.data(), b.data(), size));
        for (int i = 0; i < size; ++i)
        {
            b[static_cast<std::size_t>(i)] = 4;
            EXPECT_FALSE(QZMemory::Equals(a.data(), b.data(), size)) << size << " at " << i;
            b[static_cast<std::size_t>(i)] = 3;
        }
    }
}

TEST(Memory, ReversesByteOrder)
{
    const unsigned char source[] = {1, 2, 3, 4, 5};
    unsigned char target[5] = {};
    EXPECT_EQ(QZMemory::BigendianToLittleendian(target, source, 5), 5);
    EXPECT_BYTES(target, 5, "05 04 03 02 01");
}

TEST(Memory, ProtectRefusesBadArguments)
{
    char byte = 0;
    EXPECT_QZ_THROW(QZMemory::Protect(1, nullptr, 10), 256);
    EXPECT_QZ_THROW(QZMemory::Protect(1, &byte, -1), 256);
    EXPECT_QZ_THROW(QZMemory::Protect(4, &byte, 1), 256);
    EXPECT_QZ_THROW(QZMemory::Protect(0, &byte, 1), 256);
    EXPECT_QZ_NO_THROW(QZMemory::Protect(1, &byte, 0));
}

TEST(Memory, ProtectSetsTheAccessRights)
{
    char* region = static_cast<char*>(os::MemoryReserve(0x10000));
    ASSERT_NE(region, nullptr);
    ASSERT_TRUE(os::MemoryCommit(region, 0x10000));
    region[0] = 1;
    QZMemory::Protect(2, region, 4096);
    EXPECT_EQ(region[0], 1);
    QZMemory::Protect(3, region, 4096);
    QZMemory::Protect(1, region, 4096);
    region[0] = 2;
    EXPECT_EQ(region[0], 2);
    os::MemoryRelease(region, 0x10000);
}

TEST(Memory, RecycleBufferOfNullAsserts)
{
    static int asserts;
    asserts = 0;
    QZLibSetFunctionAssert([](QZBool condition) { asserts += condition ? 0 : 1; });
    QZMemory::RecycleBuffer(nullptr);
    EXPECT_EQ(asserts, 1);
}

TEST(PatternTest, PassesForGoodMemoryOfEverySize)
{
    alignas(8) unsigned char block[128];
    for (QZInt64 size : {0, 1, 32, 33, 34, 64, 127}) EXPECT_TRUE(MemoryPatternTest(block, size)) << size;
    EXPECT_TRUE(MemoryPatternTest(block + 1, 100));
}

TEST(PatternTest, LeavesItsLastPatternInTheMemory)
{
    alignas(8) unsigned char block[41];
    ASSERT_TRUE(MemoryPatternTest(block, 41));
    EXPECT_BYTES(block + 32, 9, "B0 C1 D0 E1 FF FF FF FF E1");
    ASSERT_TRUE(MemoryPatternTest(block, 32));
    EXPECT_BYTES(block + 28, 4, "F0 F0 F0 F0");
}

TEST(PatternTest, NullAndNegativeSizesFail)
{
    QZLastError = 0;
    EXPECT_FALSE(MemoryPatternTest(nullptr, 64));
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
    char byte;
    EXPECT_FALSE(MemoryPatternTest(&byte, -1));
    EXPECT_EQ(QZLastError, 0);
}

TEST(Pool, LayersHaveTheirSizes)
{
    EXPECT_EQ(QZMemManager::GetMemPoolCacheLayer1Size(), 512);
    EXPECT_EQ(QZMemManager::GetMemPoolCacheLayer2Size(), 131072);
    EXPECT_EQ(QZMemManager::GetMemPoolCacheLayer3Size(), 8388608);
    EXPECT_EQ(QZMemManager::GetMemPoolCacheLayer1ArrSizeMax(), 256);
    EXPECT_EQ(QZMemManager::GetMemPoolCacheLayer2ArrSizeMax(), 512);
    EXPECT_EQ(QZMemManager::GetMemPoolCacheLayer3ArrSizeMax(), 25);
}

class PoolOn : public ::testing::Test
{
protected:
    void SetUp() override { QZEnvironment::UseMemPoolCache = 1; }
    void TearDown() override
    {
        QZEnvironment::UseMemPoolCache = 0;
        QZMemManager::SetMemPoolCacheLayer1ArrSizeMax(256);
        QZMemManager::SetMemPoolCacheLayer2ArrSizeMax(512);
        QZMemManager::SetMemPoolCacheLayer3ArrSizeMax(25);
    }
};

TEST_F(PoolOn, FreedBufferStaysInItsLayerAndIsReused)
{
    void* buffer = MemoryAllocate(1000);
    EXPECT_EQ(MemoryGetBlockSize(buffer), 4096);
    EXPECT_TRUE(MemoryFree(buffer));
    EXPECT_EQ(MemoryPoolCount(1), 0);
    EXPECT_EQ(MemoryPoolCount(2), 1);
    EXPECT_EQ(MemoryAllocate(90000), buffer);
    EXPECT_EQ(MemoryPoolCount(2), 0);
    MemoryFree(buffer);
}

TEST_F(PoolOn, GrowingInsideThePooledBlockKeepsTheAddress)
{
    unsigned char* buffer = static_cast<unsigned char*>(MemoryAllocateClean(100));
    buffer[7] = 42;
    EXPECT_EQ(MemoryResize(buffer, 130000), buffer);
    EXPECT_EQ(buffer[7], 42);
    unsigned char* moved = static_cast<unsigned char*>(MemoryResize(buffer, 200000));
    ASSERT_NE(moved, nullptr);
    EXPECT_NE(moved, buffer);
    EXPECT_EQ(moved[7], 42);
    EXPECT_EQ(MemoryPoolCount(2), 1);
    MemoryFree(moved);
    EXPECT_EQ(MemoryPoolCount(3), 1);
}

TEST_F(PoolOn, BlocksAboveTheLargestLayerAreNeverPooled)
{
    void* buffer = MemoryAllocate(9000000);
    MemoryFree(buffer);
    EXPECT_EQ(MemoryPoolCount(3), 0);
}

TEST_F(PoolOn, MaximumOfOnePoolsNothing)
{
    QZMemManager::SetMemPoolCacheLayer2ArrSizeMax(1);
    MemoryFree(MemoryAllocate(10));
    EXPECT_EQ(MemoryPoolCount(2), 0);
    QZMemManager::SetMemPoolCacheLayer2ArrSizeMax(2);
    void* a = MemoryAllocate(10);
    void* b = MemoryAllocate(10);
    MemoryFree(a);
    MemoryFree(b);
    EXPECT_EQ(MemoryPoolCount(2), 1);
}

TEST_F(PoolOn, SettingAnyMaximumEmptiesAllLayers)
{
    MemoryFree(MemoryAllocate(10));
    MemoryFree(MemoryAllocate(200000));
    MemoryPoolFree(MemoryPoolAllocate(100), 100);
    EXPECT_EQ(MemoryPoolCount(1), 1);
    EXPECT_EQ(MemoryPoolCount(2), 1);
    EXPECT_EQ(MemoryPoolCount(3), 1);
    QZMemManager::SetMemPoolCacheLayer1ArrSizeMax(300);
    EXPECT_EQ(MemoryPoolCount(1), 0);
    EXPECT_EQ(MemoryPoolCount(2), 0);
    EXPECT_EQ(MemoryPoolCount(3), 0);
    EXPECT_EQ(QZMemManager::GetMemPoolCacheLayer1ArrSizeMax(), 300);
}

TEST_F(PoolOn, PoolCanBeSwitchedWhileBuffersExist)
{
    void* pooled = MemoryAllocate(10);
    QZEnvironment::UseMemPoolCache = 0;
    void* plain = MemoryAllocate(10);
    EXPECT_TRUE(MemoryFree(pooled));
    QZEnvironment::UseMemPoolCache = 1;
    // A block of one page is smaller than the blocks of layer 2, so it is not pooled.
    EXPECT_TRUE(MemoryFree(plain));
    EXPECT_EQ(MemoryPoolCount(2), 0);
    plain = MemoryAllocate(10);
    EXPECT_EQ(MemoryResize(plain, 100000), plain);
    MemoryFree(plain);
}

TEST(Hooks, CustomCopyHookReplacesEveryCopy)
{
    static int calls;
    calls = 0;
    QZLibSetFunctionMemCopy([](void* destination, void* source, QZInt64 size) {
        ++calls;
        std::memcpy(destination, source, static_cast<std::size_t>(size));
    });
    char target[4] = {};
    QZMemory::Copy(target, "abc", 4);
    EXPECT_STREQ(target, "abc");
    EXPECT_EQ(calls, 1);
}

TEST(Memory, CreateBufferClearsTheWholeBlock)
{
    static QZInt64 cleaned;
    cleaned = 0;
    QZLibSetFunctionMemClean([](void* destination, QZInt64 size) {
        cleaned += size;
        std::memset(destination, 0, static_cast<std::size_t>(size));
    });
    void* buffer = QZMemory::CreateBuffer(5000);
    EXPECT_EQ(cleaned, 8192);
    EXPECT_EQ(MemoryGetSize(buffer), 5000);
    QZInt64 live = 0;
    QZInt64 bytes = 0;
    QZMemory::AllocInfo(&live, &bytes);
    QZMemory::RecycleBuffer(buffer);
    QZInt64 after = 0;
    QZMemory::AllocInfo(&after, &bytes);
    EXPECT_EQ(after, live - 1);
    // MemoryAllocate does not clear and does not call the hook.
    MemoryFree(MemoryAllocate(100));
    EXPECT_EQ(cleaned, 8192);
}

TEST(Memory, TooLargeSizeSetsOutOfMemory)
{
    QZLastError = 0;
    EXPECT_EQ(QZMemory::CreateBuffer(0x7FFFFFFFFFFFFFFF), nullptr);
    EXPECT_EQ(QZLastError, 4352);
    QZLastError = 0;
}

TEST(Memory, FailedProtectNamesItsArguments)
{
    const qztest::Thrown thrown = QZ_TEST_CATCH(QZMemory::Protect(2, nullptr, 10));
    EXPECT_EQ(thrown.message, " ArgumentOutOfRange");
    EXPECT_EQ(thrown.argumentTrace, "QZMemory::Protect(2, 0, 10)");
    char byte = 0;
    EXPECT_QZ_NO_THROW(QZMemory::Protect(99, &byte, 0));
    EXPECT_QZ_THROW(QZMemory::Protect(1, nullptr, 0), 256);
}
}  // namespace
