#include "os/os_system_info.h"

#include "fw/fw_exception_code.h"
#include "fw/fw_string_factory.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_process.h"
#include "sys/internal/sys_thread.h"

namespace
{

using qztest::Hooks;
using qztest::TempDir;

constexpr QZUInt32 kSystemNumber = 5;

TEST(SystemInfo, LoadIsTheShareOfTimeNotIdle)
{
    // 100 ticks passed: 80 in the kernel, 75 of them idle, and 20 in programs.
    EXPECT_EQ(os::SystemLoad({1000, 2000, 500}, {1075, 2080, 520}), 25);
    EXPECT_EQ(os::SystemLoad({1000, 2000, 500}, {1000, 2001, 502}), 100);
    EXPECT_EQ(os::SystemLoad({1000, 2000, 500}, {1100, 2100, 500}), 0);
    EXPECT_EQ(os::SystemLoad({0, 0, 0}, {2, 2, 1}), 33) << "truncated, not rounded";
}

TEST(SystemInfo, LoadWithoutElapsedTimeIsZero)
{
    EXPECT_EQ(os::SystemLoad({1000, 2000, 500}, {1000, 2000, 500}), 0);
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber, 1, true);
    // When the times cannot be read, the last two readings are used again.
    int load = QZSystem::GetCPUInUse();
    EXPECT_EQ(QZSystem::GetCPUInUse(), load);
}

TEST(SystemInfo, LoadIsAPercentage)
{
    for (int i = 0; i < 50; ++i)
    {
        int load = QZSystem::GetCPUInUse();
        EXPECT_GE(load, -100);
        EXPECT_LE(load, 100);
    }
    os::SystemTimes first;
    os::SystemTimes second;
    ASSERT_TRUE(os::SystemTimesGet(&first));
    os::Sleep(50);
    ASSERT_TRUE(os::SystemTimesGet(&second));
    EXPECT_GT(second.Kernel + second.User, first.Kernel + first.User) << "time advances";
}

TEST(SystemInfo, MemoryIsInBytes)
{
    QZUInt64 total = QZSystem::GetMemoryTotalPhys();
    QZUInt64 available = QZSystem::GetMemoryAvailPhys();
    EXPECT_GT(total, 64u * 1024 * 1024);
    EXPECT_LE(available, total);
    EXPECT_GT(available, 0u);
    EXPECT_LE(QZSystem::GetMemoryAvailSwap(), QZSystem::GetMemoryTotalSwap());
    EXPECT_GT(QZSystem::GetMemoryInUse(), 0);
    EXPECT_LE(QZSystem::GetMemoryInUse(), 100);
}

TEST(SystemInfo, MemoryIsZeroWhenTheSystemCallFails)
{
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber, 1, true);
    EXPECT_EQ(QZSystem::GetMemoryTotalPhys(), 0u);
    EXPECT_EQ(QZSystem::GetMemoryAvailPhys(), 0u);
    EXPECT_EQ(QZSystem::GetMemoryTotalSwap(), 0u);
    EXPECT_EQ(QZSystem::GetMemoryAvailSwap(), 0u);
    EXPECT_EQ(QZSystem::GetMemoryInUse(), 0);
}

TEST(SystemInfo, FreeBytesOfADisk)
{
    TempDir dir;
    QZUInt64 bytes = QZSystem::GetDiskFreeBytes(dir.Name().c_str(), 0);
    std::filesystem::space_info space = std::filesystem::space(dir.Path());
    EXPECT_GT(bytes, 0u);
    EXPECT_LT(bytes, static_cast<QZUInt64>(space.capacity));
    EXPECT_NEAR(static_cast<double>(bytes), static_cast<double>(space.free), 1e9)
        << "other programs write to the disk meanwhile";
    EXPECT_GT(QZSystem::GetDiskFreeBytes(nullptr, -1), 0u);
}

TEST(SystemInfo, FreeBytesOfAMissingDiskThrow)
{
    TempDir dir;
    auto thrown = QZ_TEST_CATCH(QZSystem::GetDiskFreeBytes(dir.Name("none").c_str(), 3));
    EXPECT_EQ(thrown.code, 5888);
    EXPECT_EQ(thrown.type, QZException::Type);
    EXPECT_EQ(thrown.message.rfind(" UnknownType ", 0), 0u) << thrown.message;
    EXPECT_EQ(thrown.stackTrace, "QZSystem::GetDiskFreeBytes(QZWChar*, QZInt64)");
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber);
    EXPECT_QZ_THROW(QZSystem::GetDiskFreeBytes(nullptr, 0), 5888);
}

TEST(SystemInfo, RecycleTakesAString)
{
    QZString* text = QZStringFactory::CreateString("x");
    QZSystem::Recycle(&text);
    EXPECT_EQ(text, nullptr);
}

}  // namespace
