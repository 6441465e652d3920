#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_memory.h"
#include "sys/internal/sys_process.h"
#include "sys/internal/sys_text.h"
#include "sys/internal/sys_thread.h"

#include <atomic>
#include <cstring>
#include <thread>

#include "support/qz_hooks.h"
#include "support/qz_test.h"

namespace
{

using qztest::Hooks;
using qztest::Text;

std::string ErrorText(QZUInt32 error)
{
    QZWChar* text = nullptr;
    if (!os::ErrorText(error, &text)) return "";
    std::string result = qztest::Utf8(text);
    os::ErrorTextFree(text);
    return result;
}

TEST(System, ErrorNumbersHaveTheSystemsText)
{
    EXPECT_NE(ErrorText(2), "");
    EXPECT_NE(ErrorText(2), ErrorText(5));
    EXPECT_NE(ErrorText(10061), "") << "socket errors have texts on both platforms";
    EXPECT_NE(ErrorText(10061), ErrorText(10054));
}

TEST(System, UnknownErrorNumberHasNoTextAndSetsAnError)
{
    QZWChar* text = nullptr;
    os::SetLastError(0);
    EXPECT_FALSE(os::ErrorText(0x2FFFFFFF, &text));
    EXPECT_EQ(text, nullptr);
    EXPECT_NE(os::LastError(), 0u);
}

TEST(System, LastErrorBelongsToTheThread)
{
    std::atomic<int> step{0};
    std::thread other([&] {
        while (step != 1) std::this_thread::yield();
        os::SetLastError(4);
        step = 2;
    });
    os::SetLastError(3);
    step = 1;
    while (step != 2)
    {}
    QZUInt32 error = os::LastError();
    other.join();
    EXPECT_EQ(error, 3u);
}

TEST(System, NarrowTextRoundTrips)
{
    QZWChar wide[16];
    EXPECT_EQ(os::NarrowToWide("hello", 5, nullptr, 0), 5);
    EXPECT_EQ(os::NarrowToWide("hello", 5, wide, 16), 5);
    EXPECT_EQ(qztest::Utf8(qztest::TextView(wide, 5)), "hello");
    char narrow[16];
    EXPECT_EQ(os::WideToNarrow(wide, 5, nullptr, 0), 5);
    EXPECT_EQ(os::WideToNarrow(wide, 5, narrow, 16), 5);
    EXPECT_EQ(std::string(narrow, 5), "hello");
    EXPECT_EQ(os::NarrowToWide(nullptr, 5, wide, 16), 0);
    EXPECT_EQ(os::WideToNarrow(wide, -1, narrow, 16), 0);
}

TEST(System, NarrowTextStopsAtTheTargetsEnd)
{
    QZWChar wide[4] = {'~', '~', '~', '~'};
    EXPECT_EQ(os::NarrowToWide("hello", 5, wide, 3), 3);
    EXPECT_EQ(wide[2], QZWChar('l'));
    EXPECT_EQ(wide[3], QZWChar('~'));
    char narrow[4] = {'~', '~', '~', '~'};
    EXPECT_EQ(os::WideToNarrow(QZ_W("hello"), 5, narrow, 2), 2);
    EXPECT_EQ(std::string(narrow, 4), "he~~");
}

TEST(System, ReservedMemoryIsCommittedAndProtected)
{
    constexpr QZInt64 kSize = 0x30000;
    void* region = os::MemoryReserve(kSize);
    ASSERT_NE(region, nullptr);
    EXPECT_EQ(reinterpret_cast<QZUInt64>(region) % 0x10000, 0u);
    ASSERT_TRUE(os::MemoryCommit(region, kSize));
    char* bytes = static_cast<char*>(region);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[kSize - 1], 0);
    std::memset(bytes, 7, kSize);
    EXPECT_TRUE(os::MemoryProtect(bytes + 0x10000, 1, os::Protection::ReadOnly));
    EXPECT_EQ(bytes[0x10000], 7);
    EXPECT_TRUE(os::MemoryProtect(bytes + 0x10000, 1, os::Protection::NoAccess));
    EXPECT_TRUE(os::MemoryProtect(bytes + 0x10000, 1, os::Protection::ReadWrite));
    bytes[0x10000] = 8;
    EXPECT_EQ(bytes[0x10000], 8);
    os::MemoryRelease(region, kSize);
    os::MemoryRelease(nullptr, kSize);
}

TEST(System, FaultsFailHeapAndReserve)
{
    Hooks hooks;
    hooks.Fail(os::Op::Allocate, os::ErrorNoMemory(), 2);
    void* block = os::HeapAllocate(10);
    ASSERT_NE(block, nullptr);
    os::SetLastError(0);
    EXPECT_EQ(os::HeapResize(block, 20), nullptr);
    EXPECT_EQ(os::LastError(), os::ErrorNoMemory());
    std::memset(block, 1, 10);
    block = os::HeapResize(block, 20);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(static_cast<char*>(block)[9], 1);
    os::HeapFree(block);
    os::HeapFree(nullptr);
    hooks.Fail(os::Op::Reserve, os::ErrorNoMemory());
    EXPECT_EQ(os::MemoryReserve(1), nullptr);
}

TEST(System, WorkingSetIsPlausible)
{
    QZUInt64 bytes = 0;
    ASSERT_TRUE(os::ProcessWorkingSet(&bytes));
    EXPECT_GT(bytes, 100000u);
    Hooks hooks;
    hooks.Fail(os::Op::System, 5);
    EXPECT_FALSE(os::ProcessWorkingSet(&bytes));
}

TEST(System, GateIsOpenWithoutHooksAndNeverExtends)
{
    QZInt64 size = 10;
    EXPECT_TRUE(os::Gate(os::Op::FileRead, &size));
    EXPECT_EQ(size, 10);
    Hooks hooks;
    hooks.Shorten(os::Op::FileRead, 4);
    EXPECT_TRUE(os::Gate(os::Op::FileRead, &size));
    EXPECT_EQ(size, 4);
    hooks.Shorten(os::Op::FileRead, 400);
    EXPECT_TRUE(os::Gate(os::Op::FileRead, &size));
    EXPECT_EQ(size, 4);
}

TEST(System, AnEventThatIsSetEndsOneWait)
{
    void* event = os::EventCreate();
    ASSERT_NE(event, nullptr);
    EXPECT_FALSE(os::EventWait(event, 0));
    os::EventSet(event);
    os::EventSet(event);
    EXPECT_TRUE(os::EventWait(event, 60000));
    EXPECT_FALSE(os::EventWait(event, 1));
    os::EventClose(event);
}

TEST(System, AnEventWakesAThreadThatWaits)
{
    void* event = os::EventCreate();
    std::atomic<int> woken{0};
    std::thread thread([&] {
        for (int i = 0; i < 1000; ++i) woken += os::EventWait(event, 60000) ? 1 : 0;
    });
    for (int i = 1; i <= 1000; ++i)
    {
        os::EventSet(event);
        ASSERT_TRUE(qztest::Eventually([&] { return woken == i; }));
    }
    thread.join();
    os::EventClose(event);
}

TEST(System, WithoutAnEventAWaitSleepsAndASetDoesNothing)
{
    os::EventSet(nullptr);
    EXPECT_FALSE(os::EventWait(nullptr, 1));
    os::EventClose(nullptr);
}

TEST(System, HasAtLeastOneProcessor) { EXPECT_GE(os::ProcessorCount(), 1); }

TEST(System, MonotonicClockAdvances)
{
    QZInt64 first = os::MonotonicMicros();
    os::Sleep(10);
    EXPECT_GE(os::MonotonicMicros() - first, 9000);
}

}  // namespace
