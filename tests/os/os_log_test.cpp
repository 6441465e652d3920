#include "os/os_log.h"

#include <filesystem>
#include <thread>

#include "fw/fw_environment.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_time.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"

namespace
{
using qztest::TempDir;

/// Runs in its own folder: the log is written below the working directory.
class LogTest : public ::testing::Test
{
protected:
    LogTest() : m_before(std::filesystem::current_path()) { std::filesystem::current_path(m_dir.Path()); }
    ~LogTest() override { std::filesystem::current_path(m_before); }

    static QZInt64 Time(int day, int hour, int minute, int second, int milli)
    {
        return QZDateTime(2024, 2, day, hour, minute, second, milli).ToTimestamp();
    }
    static void Write(QZLog* log, const QZWChar* text)
    {
        QZString line(text);
        log->Write(&line);
    }

    TempDir m_dir;
    qztest::Hooks m_hooks;

private:
    std::filesystem::path m_before;
};

constexpr const char* kBegin = "------------------------------- BEGIN ";
constexpr const char* kEnd = "-------------------------------  END  ";
constexpr const char* kTail = " -------------------------------\r\n";

std::string Entry(const std::string& time, const std::string& text)
{
    return kBegin + time + kTail + text + "\r\n" + kEnd + time + kTail;
}

TEST_F(LogTest, EntryHasBeginAndEndLines)
{
    m_hooks.SetClock(Time(3, 10, 20, 30, 0));
    QZLog* log = QZLog::Open(QZ_W("server"));
    EXPECT_EQ(log->GetType(), 0x8300006);
    Write(log, QZ_W("started"));
    EXPECT_EQ(m_dir.Read("Log/2024-02-03/server.txt"), Entry("2024-02-03 10:20:30", "started"));
    QZLog::Close(&log);
    EXPECT_EQ(log, nullptr);
}

TEST_F(LogTest, AppendsToAnExistingFile)
{
    m_hooks.SetClock(Time(3, 10, 0, 0, 0));
    QZLog* log = QZLog::Open(QZ_W("a"));
    Write(log, QZ_W("one"));
    QZLog::Close(&log);
    log = QZLog::Open(QZ_W("a"));
    Write(log, QZ_W("two"));
    QZLog::Close(&log);
    EXPECT_EQ(m_dir.Read("Log/2024-02-03/a.txt"),
              Entry("2024-02-03 10:00:00", "one") + Entry("2024-02-03 10:00:00", "two"));
}

TEST_F(LogTest, EachDayHasItsFile)
{
    m_hooks.SetClock(Time(28, 23, 59, 59, 999));
    QZLog* log = QZLog::Open(QZ_W("d"));
    Write(log, QZ_W("before"));
    m_hooks.SetClock(Time(29, 0, 0, 0, 1));
    Write(log, QZ_W("after"));
    QZLog::Close(&log);
    EXPECT_EQ(m_dir.Read("Log/2024-02-28/d.txt"), Entry("2024-02-28 23:59:59.999", "before"));
    EXPECT_EQ(m_dir.Read("Log/2024-02-29/d.txt"), Entry("2024-02-29 00:00:00.001", "after"));
}

TEST_F(LogTest, MidnightBelongsToTheDayBefore)
{
    m_hooks.SetClock(Time(28, 12, 0, 0, 0));
    QZLog* log = QZLog::Open(QZ_W("m"));
    m_hooks.SetClock(Time(29, 0, 0, 0, 0));
    Write(log, QZ_W("midnight"));
    QZLog::Close(&log);
    EXPECT_EQ(m_dir.Read("Log/2024-02-28/m.txt"), Entry("2024-02-29 00:00:00", "midnight"));
}

TEST_F(LogTest, TextIsUtf8)
{
    m_hooks.SetClock(Time(3, 1, 2, 3, 0));
    QZLog* log = QZLog::Open(QZ_W("u"));
    Write(log, QZ_W("\u6d4b\u91cf"));
    QZLog::Close(&log);
    EXPECT_EQ(m_dir.Read("Log/2024-02-03/u.txt"), Entry("2024-02-03 01:02:03", "\xE6\xB5\x8B\xE9\x87\x8F"));
}

TEST_F(LogTest, FailedOpenReturnsNoLog)
{
    m_dir.Write("Log", "a file where the folder should be");
    QZLog* log = nullptr;
    EXPECT_QZ_THROW(log = QZLog::Open(QZ_W("x")), 5888);
    EXPECT_EQ(log, nullptr);
}

TEST_F(LogTest, CloseOfNullAsserts)
{
    static int asserts;
    asserts = 0;
    QZLibSetFunctionAssert([](QZBool condition) { asserts += condition ? 0 : 1; });
    QZLog* log = nullptr;
    QZLog::Close(&log);
    EXPECT_EQ(asserts, 1);
}

TEST_F(LogTest, EntriesOfSeveralThreadsDoNotMix)
{
    QZLog* log = QZLog::Open(QZ_W("t"));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back([log] {
            for (int n = 0; n < 25; ++n) Write(log, QZ_W("line"));
        });
    }
    for (std::thread& thread : threads) thread.join();
    QZLog::Close(&log);
    std::string text;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir.Path("Log")))
        if (entry.is_regular_file())
            text += m_dir.Read(std::filesystem::relative(entry.path(), m_dir.Path()).string());
    int entries = 0;
    for (std::size_t at = 0; at < text.size(); ++entries)
    {
        ASSERT_EQ(text.compare(at, 38, kBegin), 0) << entries;
        std::size_t end = text.find(kEnd, at);
        ASSERT_NE(end, std::string::npos);
        EXPECT_EQ(text.substr(end - 6, 6), "line\r\n");
        at = text.find("\r\n", end) + 2;
    }
    EXPECT_EQ(entries, 100);
}
}  // namespace
