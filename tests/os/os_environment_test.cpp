#include <ctime>

#include "fw/fw_environment.h"
#include "fw/fw_library.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_time.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_thread.h"

namespace
{

using qztest::Hooks;
using qztest::TempDir;

constexpr QZUInt32 kSystemNumber = 5;

TEST(Environment, TimestampIsTheLocalWallClock)
{
    std::time_t before = std::time(nullptr);
    QZDateTime now(QZEnvironment::GetCurrentTimestamp());
    std::time_t after = std::time(nullptr);
    auto local = [](std::time_t time) {
        const std::tm* parts = std::localtime(&time);
        return QZDateTime(parts->tm_year + 1900, parts->tm_mon + 1, parts->tm_mday, parts->tm_hour,
                          parts->tm_min, parts->tm_sec, 0)
            .ToTimestamp();
    };
    EXPECT_GE(now.ToTimestamp(), local(before) - 50);
    EXPECT_LT(now.ToTimestamp(), local(after) + 1050);
}

TEST(Environment, TimestampAdvances)
{
    QZInt64 first = QZEnvironment::GetCurrentTimestamp();
    os::Sleep(20);
    QZInt64 time = QZEnvironment::GetCurrentTimestamp() - first;
    EXPECT_GE(time, 10);
    EXPECT_LT(time, 5000);
}

TEST(Environment, TestHooksSetTheClock)
{
    Hooks hooks;
    hooks.SetClock(12345);
    EXPECT_EQ(QZEnvironment::GetCurrentTimestamp(), 12345);
}

TEST(Environment, SetCurrentTimestampSplitsTheValue)
{
    Hooks hooks;
    QZEnvironment::SetCurrentTimestamp(QZDateTime(2024, 2, 29, 23, 58, 57, 123).ToTimestamp());
    os::DateTime time = hooks.TimeSet();
    EXPECT_EQ(time.Year, 2024);
    EXPECT_EQ(time.Month, 2);
    EXPECT_EQ(time.Day, 29);
    EXPECT_EQ(time.Hour, 23);
    EXPECT_EQ(time.Minute, 58);
    EXPECT_EQ(time.Second, 57);
    EXPECT_EQ(time.Millisecond, 123);
}

TEST(Environment, SetCurrentTimestampBelowZeroCountsBack)
{
    Hooks hooks;
    QZEnvironment::SetCurrentTimestamp(-1);
    os::DateTime time = hooks.TimeSet();
    EXPECT_EQ(time.Year, 0);
    EXPECT_EQ(time.Month, 12);
    EXPECT_EQ(time.Day, 31);
    EXPECT_EQ(time.Hour, 0);
    EXPECT_EQ(time.Millisecond, 999);
}

TEST(Environment, RefusedSetCurrentTimestampThrows)
{
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber);
    auto thrown = QZ_TEST_CATCH(QZEnvironment::SetCurrentTimestamp(1000));
    EXPECT_EQ(thrown.code, 6144);
    EXPECT_EQ(thrown.type, QZException::Type);
    EXPECT_EQ(thrown.message.rfind(" OperationFailed ", 0), 0u) << thrown.message;
    EXPECT_EQ(thrown.argumentTrace, "QZEnvironment::SetCurrentTimestamp(1000)");
}

TEST(Environment, TickCountAdvances)
{
    QZUInt64 first = QZEnvironment::GetTickCount();
    os::Sleep(50);
    QZUInt64 time = QZEnvironment::GetTickCount() - first;
    EXPECT_GE(time, 30u);
    EXPECT_LT(time, 5000u);
}

TEST(Environment, LocalIpIsAnAddressOrAnError)
{
    QZLastError = 0;
    unsigned int address = 0;
    if (QZEnvironment::GetLocalIP(&address))
    {
        EXPECT_NE(address, 0u);
        EXPECT_EQ(QZLastError, 0);
    }
    else
    {
        EXPECT_EQ(QZLastError, 6144);
    }
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber);
    QZLastError = 0;
    EXPECT_EQ(QZEnvironment::GetLocalIP(&address), 0);
    EXPECT_EQ(QZLastError, 6144);
    QZLastError = 0;
}

TEST(Environment, HostNameHasFewerThanThirtyCharacters)
{
    QZString* name = QZEnvironment::GetHostName();
    EXPECT_LT(name->GetLength(), 30);
    QZEnvironment::Recycle(&name);
    EXPECT_EQ(name, nullptr);
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber);
    name = QZEnvironment::GetHostName();
    EXPECT_QZ_TEXT(name, "");
    QZEnvironment::Recycle(&name);
}

TEST(Environment, WorkingDirectoryIsSetAndRead)
{
    TempDir dir;
    std::filesystem::path before = std::filesystem::current_path();
    QZString* path = QZStringFactory::CreateString(dir.Name("").c_str());
    QZEnvironment::SetCurrentWorkingDirectory(path);
    std::filesystem::path now = std::filesystem::current_path();
    QZString* read = QZEnvironment::GetCurrentWorkingDirectory();
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::equivalent(now, dir.Path()));
    EXPECT_EQ(qztest::Utf8(read), now.string());
    QZEnvironment::Recycle(&read);
    QZStringFactory::Recycle(&path);
}

TEST(Environment, WorkingDirectoryOfMoreThan1024CharactersIsRefused)
{
    // A path of repeated "./" has any length and names the current folder.
    qztest::Text long1025(1025, QZWChar('.'));
    for (std::size_t i = 1; i < long1025.size(); i += 2) long1025[i] = '/';
    QZString* path = QZStringFactory::CreateString(long1025.c_str());
    EXPECT_QZ_THROW(QZEnvironment::SetCurrentWorkingDirectory(path), 5888);
    QZStringFactory::Recycle(&path);
}

TEST(Environment, WorkingDirectoryFailures)
{
    TempDir dir;
    QZString* path = QZStringFactory::CreateString(dir.Name("none").c_str());
    auto thrown = QZ_TEST_CATCH(QZEnvironment::SetCurrentWorkingDirectory(path));
    EXPECT_EQ(thrown.code, 5888);
    EXPECT_EQ(thrown.type, QZIOException::Type);
    EXPECT_EQ(thrown.stackTrace, "QZEnvironment::SetCurrentWorkingDirectory(QZString*)");
    QZStringFactory::Recycle(&path);
    Hooks hooks;
    hooks.Fail(os::Op::FileName, kSystemNumber);
    EXPECT_QZ_THROW(QZEnvironment::GetCurrentWorkingDirectory(), 5888);
}

}  // namespace
