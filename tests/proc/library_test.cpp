#include "fw/fw_library.h"
#include "qzlib.h"

#include <cstring>

#include "fw/fw_block.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_environment.h"
#include "fw/fw_memory.h"
#include "fw/fw_object.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_memory_pool.h"
#include "fw/internal/fw_memory_raw.h"
#include "os/os_thread.h"
#include "support/qz_test.h"
#include "sys/internal/sys_hooks.h"

namespace
{
TEST(Library, FirstObjectOfAProcessHasId256)
{
    QZObject first;
    QZObject second;
    EXPECT_EQ(first.GetObjectID(), 256u);
    EXPECT_EQ(second.GetObjectID(), 512u);
}

TEST(Library, DisposeBeforeInitDoesNothing)
{
    EXPECT_EQ(QZLibDispose(), 1);
    EXPECT_FALSE(QZThread::IsThreadsAbort());
}

TEST(Library, OneDisposeEndsTheLibraryAfterTwoInits)
{
    EXPECT_EQ(QZLibInit(), 1);
    EXPECT_EQ(QZLibInit(), 1);
    EXPECT_NE(QZEnvironment::NewLine, nullptr);
    EXPECT_EQ(QZLibDispose(), 1);
    EXPECT_EQ(QZEnvironment::NewLine, nullptr);
}

TEST(Library, InitCreatesNewLineAndTurnsThePoolOff)
{
    QZEnvironment::UseMemPoolCache = 1;
    QZLibInit();
    EXPECT_EQ(QZEnvironment::UseMemPoolCache, 0);
    EXPECT_QZ_TEXT(QZEnvironment::NewLine, "\r\n");
    QZLibDispose();
}

TEST(Library, InitMayRunAgainAfterDispose)
{
    QZLibInit();
    QZLibDispose();
    QZLibInit();
    {
        QZString text(QZ_W("again"));
        EXPECT_EQ(text.GetLength(), 5);
    }
    // The abort flag stays set for the life of the process.
    EXPECT_TRUE(QZThread::IsThreadsAbort());
    QZLibDispose();
}

TEST(Library, InitReplacesAHookThatWasSetBefore)
{
    static int calls;
    calls = 0;
    auto counting = [](void* destination, void* source, QZInt64 size) {
        ++calls;
        std::memmove(destination, source, static_cast<std::size_t>(size));
    };
    QZLibSetFunctionMemCopy(counting);
    QZLibInit();
    char target[2];
    QZMemory::Copy(target, "x", 2);
    EXPECT_EQ(calls, 0);
    QZLibSetFunctionMemCopy(counting);
    QZMemory::Copy(target, "x", 2);
    EXPECT_EQ(calls, 1);
    // Dispose does not change the slots and itself uses the hooks in them.
    QZLibDispose();
    calls = 0;
    QZMemory::Copy(target, "x", 2);
    EXPECT_EQ(calls, 1);
}

TEST(Library, DefaultCopyRepeatsBytesWhenTheTargetOverlapsTheSource)
{
    char bytes[] = "abcdefgh";
    QZMemory::Copy(bytes + 1, bytes, 7);
    EXPECT_STREQ(bytes, "aaaaaaaa");
    // Aligned blocks of 33 bytes or more are copied by words, so the first word repeats.
    alignas(8) unsigned char words[48];
    for (int i = 0; i < 48; ++i) words[i] = static_cast<unsigned char>(i);
    QZMemory::Copy(words + 8, words, 40);
    for (int i = 0; i < 48; ++i) EXPECT_EQ(words[i], i % 8) << i;
}

TEST(Library, DefaultMoveHandlesOverlap)
{
    char bytes[] = "abcdefgh";
    QZLibInit();
    QZMemMove(bytes + 1, bytes, 7);
    EXPECT_STREQ(bytes, "aabcdefg");
    QZMemMove(bytes, bytes + 1, 7);
    EXPECT_STREQ(bytes, "abcdefgg");
    QZLibDispose();
}

TEST(Library, AssertPassesEveryConditionToTheHook)
{
    static int trueCalls;
    static int falseCalls;
    trueCalls = falseCalls = 0;
    QZLibSetFunctionAssert([](QZBool condition) { ++(condition ? trueCalls : falseCalls); });
    QZLibAssert(1);
    QZLibAssert(0);
    EXPECT_EQ(trueCalls, 1);
    EXPECT_EQ(falseCalls, 1);
}

TEST(Library, DefaultAssertReportsVal)
{
    QZ_SKIP_ON_WINE("the runtime reports failed assertions in a message box");
    QZLibInit();
    QZLibAssert(1);
    EXPECT_DEATH(QZLibAssert(0), "code/qzlib:510.*val");
    QZLibDispose();
}

TEST(Library, FormFlagIsSetAndClearedWithTrue)
{
    EXPECT_EQ(QZFormDispose(), 1);
    EXPECT_EQ(QZFormInit(), 1);
    EXPECT_EQ(QZFormInit(), 1);
    EXPECT_EQ(QZFormDispose(), 1);
    EXPECT_EQ(QZFormDispose(), 1);
}

TEST(Library, FailedSocketStartThrowsFromInit)
{
    os::TestHooks hooks{};
    hooks.Gate = [](void*, os::Op operation, QZInt64*, QZUInt32* error) {
        if (operation != os::Op::NetStart) return true;
        *error = 10091;
        return false;
    };
    os::SetTestHooks(&hooks);
    QZInt64 code = 0;
    QZInt64 type = 0;
    try
    {
        QZLibInit();
    }
    catch (QZSocketException* e)
    {
        code = e->GetCode();
        type = e->GetType();
        EXPECT_QZ_TEXT(e->GetMsg(), " socket error on startup");
        QZExceptionFactory::Recycle(&e);
        EXPECT_EQ(e, nullptr);
    }
    os::SetTestHooks(nullptr);
    EXPECT_EQ(code, 1024);
    EXPECT_EQ(type, 0x8310005);
    // The library flag is still clear, so QZLibInit can be called again.
    EXPECT_EQ(QZLibInit(), 1);
    EXPECT_EQ(QZLibDispose(), 1);
}

TEST(Library, MemoryTestSetsBadBlocksAsideUntilTheTableIsFull)
{
    static int tested;
    tested = 0;
    MemorySetPatternTest([](void*, QZInt64) {
        ++tested;
        return false;
    });
    QZMemory::MemoryTest = 1;
    void* block = MemoryRawAllocate(512);
    QZMemory::MemoryTest = 0;
    MemorySetPatternTest(nullptr);
    // The table holds 500 bad blocks; the 501st is returned to the caller although it is bad.
    EXPECT_EQ(tested, 501);
    ASSERT_NE(block, nullptr);
    QZInt64 count = 0;
    QZInt64 bytes = 0;
    QZMemory::OccupiedInfo(&count, &bytes);
    EXPECT_EQ(count, 500);
    EXPECT_EQ(bytes, 500 * 512);
    MemoryRawFree(block, 512);
}

TEST(Library, BadMemoryTableStaysBelowFiftyMillionBytes)
{
    char block;
    EXPECT_TRUE(MemoryOccupy(&block, 49999999));
    EXPECT_FALSE(MemoryOccupy(&block, 1));
    QZInt64 count = 0;
    QZInt64 bytes = 0;
    QZMemory::OccupiedInfo(&count, &bytes);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(bytes, 49999999);
}

TEST(Library, MemoryTestReturnsGoodBlocks)
{
    QZMemory::MemoryTest = 1;
    void* buffer = MemoryAllocateClean(100);
    ASSERT_NE(buffer, nullptr);
    static_cast<char*>(buffer)[99] = 5;
    buffer = MemoryResize(buffer, 10000);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(static_cast<char*>(buffer)[99], 5);
    EXPECT_EQ(static_cast<char*>(buffer)[100], 0);
    QZMemory::MemoryTest = 0;
    EXPECT_TRUE(MemoryFree(buffer));
}

/// Memory size of the data factory at the moment when the damaged idle string is destroyed.
QZInt64 g_idleData;

/// Collects while one buffer and one damaged string are idle, then repairs and frees the block of the string.
template <typename Collection>
void CollectWithADamagedString(Collection collect)
{
    QZLibInit();
    const QZInt64 none = QZDataFactory::GetMemorySize();
    QZData* data = QZDataFactory::CreateData();
    QZDataFactory::Recycle(&data);
    QZString* text = QZStringFactory::CreateString();
    void* raw = text->GetStructPointer();
    QZStringFactory::Recycle(&text);
    unsigned char* guard = QZAt(raw, block::Length(raw) - 8);
    QZStore<QZUInt64>(guard, 0);
    g_idleData = -1;
    QZLibSetFunctionAssert([](QZBool) { g_idleData = QZDataFactory::GetMemorySize(); });
    collect();
    g_idleData -= none;
    QZStore<QZUInt64>(guard, block::kGuard);
    EXPECT_TRUE(block::Free(raw));
    QZLibDispose();
}

TEST(Library, LibraryCollectFreesStringsBeforeData)
{
    CollectWithADamagedString([] { QZLibCollect(0); });
    EXPECT_GE(g_idleData, 4096);
}

TEST(Library, MemoryManagerCollectFreesDataBeforeStrings)
{
    CollectWithADamagedString([] { QZMemManager::Collect(0); });
    EXPECT_EQ(g_idleData, 0);
}

TEST(Library, MemoryManagerCollectIsFullByDefault)
{
    CollectWithADamagedString([] { QZMemManager::Collect(); });
    EXPECT_EQ(g_idleData, 0);
}

TEST(Library, DefaultHooksChangeOnlyTheirBytes)
{
    alignas(8) unsigned char source[96];
    alignas(8) unsigned char target[96];
    for (int i = 0; i < 96; ++i) source[i] = static_cast<unsigned char>(i + 1);
    for (int offset : {0, 1, 8})
        for (int size : {0, 1, 8, 31, 32, 33, 34, 40, 64, 80, 87})
        {
            auto holds = [&](int i) { return i >= offset && i < offset + size; };
            std::memset(target, 0xEE, sizeof target);
            QZMemory::Copy(target + offset, source + offset, size);
            for (int i = 0; i < 96; ++i)
                ASSERT_EQ(target[i], holds(i) ? i + 1 : 0xEE) << offset << " " << size;
            QZMemory::Clean(target + offset, size);
            for (int i = 0; i < 96; ++i) ASSERT_EQ(target[i], holds(i) ? 0 : 0xEE) << offset << " " << size;
        }
    QZMemory::Copy(target, source, -1);
    QZMemory::Clean(target, -1);
    EXPECT_EQ(target[0], 0xEE);
}

TEST(Library, InitSetsAllFourSlotsToTheDefaults)
{
    static int calls;
    calls = 0;
    QZLibSetFunctionMemMove([](void*, void*, QZInt64) { ++calls; });
    QZLibSetFunctionMemClean([](void*, QZInt64) { ++calls; });
    QZLibSetFunctionAssert([](QZBool) { ++calls; });
    QZLibInit();
    calls = 0;
    char bytes[] = "ab";
    QZMemMove(bytes, bytes + 1, 1);
    QZMemory::Clean(bytes + 1, 1);
    QZLibAssert(1);
    EXPECT_STREQ(bytes, "b");
    EXPECT_EQ(calls, 0);
    QZLibDispose();
}
}  // namespace
