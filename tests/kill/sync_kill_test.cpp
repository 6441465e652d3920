// A process that writes a database with atomic syncs can be killed at any moment: the file then opens in the
// state of a completed sync.
//
// The program is also the writer: started with --writer, it changes a database and reports each sync that has
// returned. QZ_KILL_POINTS is the number of times that the writer is killed while it writes.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "child.h"
#include "db/db_channel.h"
#include "db/db_format.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "os/os_file_buffer.h"
#include "qzlib.h"
#include "support/qz_test.h"

extern char** environ;

namespace
{
using Info = QZDatabaseInfo;
constexpr int kSyncs = 4;
constexpr const char* kFile = "killed.db";

/// The changes before the n-th sync: adds records and replaces the content of all records.
void Change(QZChannel* channel, int n, std::vector<QZInt64>* records)
{
    for (int i = 0; i < (n == 1 ? 80 : 3); ++i)
    {
        const QZInt64 ld = channel->P_D(channel->G_TA(Info::TREELSN), Info::DATA_LD);
        const QZInt64 pd = channel->P_D(channel->G_TA(Info::TREESSN), Info::DATA_PD);
        channel->P_A(pd, Info::PD_LD_A, ld);
        const std::string text(9000, static_cast<char>('a' + n));
        channel->P_C(ld, 1, text.data(), static_cast<QZInt64>(text.size()));
        records->push_back(ld);
    }
    for (std::size_t i = 0; i < records->size(); ++i)
    {
        const std::string text(9000, static_cast<char>('A' + n));
        channel->P_C((*records)[i], 1, text.data(), static_cast<QZInt64>(text.size()));
    }
}

int Writer(const char* path, bool stepping)
{
    QZLibInit();
    QZFileBuffer::AtomicSync = 1;
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, path);
    if (channel == nullptr) return 1;
    std::vector<QZInt64> records;
    for (int n = 1; n <= kSyncs; ++n)
    {
        Change(channel, n, &records);
        channel->SYNC();
        const char reported = static_cast<char>(n);
        if (write(STDOUT_FILENO, &reported, 1) != 1) return 1;
        // Waits until the test has read the file.
        char go = 0;
        if (stepping && read(STDIN_FILENO, &go, 1) != 1) return 1;
    }
    QZChannel::Close(&channel);
    QZLibDispose();
    return 0;
}

class SyncKill : public ::testing::Test
{
protected:
    /// Creates the database that the writer starts with.
    void SetUp() override
    {
        ASSERT_TRUE(QZChannel::Create(m_dir.Name(kFile).c_str(), 5, Info::ADDR_MODE_64, 0));
        m_fresh = m_dir.Read(kFile);
    }

    pid_t Spawn(const char* mode)
    {
        EXPECT_EQ(pipe2(m_reports, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(m_go, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, m_reports[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, m_go[0], STDIN_FILENO);
        std::string self = "/proc/self/exe";
        std::array<char, 4096> program{};
        EXPECT_GT(readlink(self.c_str(), program.data(), program.size() - 1), 0);
        std::string path = m_dir.NarrowName(kFile);
        std::string modeText = mode;
        std::array<char*, 4> arguments{program.data(), modeText.data(), path.data(), nullptr};
        pid_t child = 0;
        EXPECT_EQ(posix_spawn(&child, program.data(), &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(m_reports[1]);
        close(m_go[0]);
        return child;
    }

    /// Waits for the end of the child. Returns the last sync that it reported and that was not read before.
    int Collect(pid_t child)
    {
        int reported = 0;
        char n = 0;
        while (read(m_reports[0], &n, 1) == 1) reported = n;
        int status = 0;
        waitpid(child, &status, 0);
        close(m_reports[0]);
        close(m_go[1]);
        return reported;
    }

    /// Returns the contents of the file before the first sync and after each sync.
    std::vector<std::string> Images()
    {
        std::vector<std::string> images{m_fresh};
        const pid_t child = Spawn("--stepping-writer");
        char n = 0;
        while (read(m_reports[0], &n, 1) == 1)
        {
            images.push_back(m_dir.Read(kFile));
            if (write(m_go[1], "g", 1) != 1) break;
        }
        Collect(child);
        return images;
    }

    /// Opens and closes the database, as the next process does, and returns the contents of the file.
    std::string Reopened()
    {
        QZFileBuffer::AtomicSync = 1;
        QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, m_dir.Name(kFile).c_str());
        if (channel != nullptr) QZChannel::Close(&channel);
        QZFileBuffer::AtomicSync = 0;
        return m_dir.Read(kFile);
    }

    qztest::TempDir m_dir;
    std::string m_fresh;
    int m_reports[2] = {-1, -1};
    int m_go[2] = {-1, -1};
};

/// Writes the image to a file and checks every record with the qzdb tool.
bool ChecksClean(const qztest::TempDir& dir, const std::string& image)
{
    dir.Write("image.db", image);
    const std::string command =
        std::string(QZ_TEST_QZDB) + " check " + dir.NarrowName("image.db") + " > /dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

TEST_F(SyncKill, FileOpensInTheStateOfACompletedSyncAfterAKill)
{
    const char* wanted = std::getenv("QZ_KILL_POINTS");
    const int points = wanted != nullptr ? std::atoi(wanted) : 40;
    const std::vector<std::string> images = Images();
    ASSERT_EQ(images.size(), static_cast<std::size_t>(kSyncs + 1));
    for (const std::string& image : images) EXPECT_TRUE(ChecksClean(m_dir, image));

    using Clock = std::chrono::steady_clock;
    m_dir.Write(kFile, m_fresh);
    const auto begin = Clock::now();
    EXPECT_EQ(Collect(Spawn("--writer")), kSyncs);
    const auto duration = std::chrono::duration<double, std::micro>(Clock::now() - begin).count();

    // A kill counts only if it hits the writer between its first change and its end; it then leaves a sidecar
    // file. The run time of the writer depends on the load of the machine, so the span of the delays is
    // adjusted.
    std::mt19937 random(20);
    std::uniform_real_distribution<double> share(0, 1);
    std::array<int, kSyncs + 1> foundAt{};
    double span = duration;
    int hits = 0;
    int kills = 0;
    int wrong = 0;
    for (; hits < points && kills < 20 * points && wrong == 0; ++kills)
    {
        m_dir.Write(kFile, m_fresh);
        const pid_t child = Spawn("--writer");
        usleep(static_cast<useconds_t>(share(random) * span));
        kill(child, SIGKILL);
        const int reported = Collect(child);
        const bool left = m_dir.Exists(std::string(kFile) + ".sync");
        const std::string file = Reopened();
        int found = kSyncs;
        while (found >= 0 && images[static_cast<std::size_t>(found)] != file) --found;
        wrong += found < reported;
        EXPECT_GE(found, reported) << "kill " << kills << ", reported sync " << reported;
        if (found >= 0) ++foundAt[static_cast<std::size_t>(found)];
        hits += left ? 1 : 0;
        if (!left) span *= reported == kSyncs ? 0.95 : 1.05;
    }
    std::printf("killed %d times, %d of them while it wrote; state after sync", kills, hits);
    for (int n = 0; n <= kSyncs; ++n) std::printf(" %d: %d,", n, foundAt[static_cast<std::size_t>(n)]);
    std::printf("\n");
    EXPECT_EQ(hits, points);
}
}  // namespace

int main(int argc, char** argv)
{
    if (argc == 4)
    {
        const int code = qztest::RunLargeWriter(argv[1], {argv[2], argv[3]});
        if (code >= 0) return code;
    }
    const std::string mode = argc == 3 ? argv[1] : "";
    if (mode == "--writer" || mode == "--stepping-writer") return Writer(argv[2], mode != "--writer");
    ::testing::InitGoogleTest(&argc, argv);
    QZLibInit();
    qztest::SetStandardHooks();
    const int result = RUN_ALL_TESTS();
    QZLibDispose();
    return result;
}
