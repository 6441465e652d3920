// A process that writes a database with whole syncs and is killed at any moment leaves what a sync left.
//
// The program is its own writer: called with --writer it changes a database and tells each sync that came
// back. QZ_KILL_POINTS sets how many times it is killed in the middle.

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

/// What the writer does before its n-th sync: new records, and the contents of all changed in place.
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

int Writer(const char* path, bool lasting)
{
    QZLibInit();
    QZFileBuffer::AtomicSync = 1;
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, path);
    if (!channel) return 1;
    std::vector<QZInt64> records;
    for (int n = 1; n <= kSyncs; ++n)
    {
        Change(channel, n, &records);
        channel->SYNC();
        const char told = static_cast<char>(n);
        if (write(STDOUT_FILENO, &told, 1) != 1) return 1;
        // To be looked at between the syncs: until somebody has.
        char seen = 0;
        if (lasting && read(STDIN_FILENO, &seen, 1) != 1) return 1;
    }
    QZChannel::Close(&channel);
    QZLibDispose();
    return 0;
}

class SyncKill : public ::testing::Test
{
protected:
    /// The file before the writer begins.
    void SetUp() override
    {
        ASSERT_TRUE(QZChannel::Create(m_dir.Name(kFile).c_str(), 5, Info::ADDR_MODE_64, 0));
        m_fresh = m_dir.Read(kFile);
    }

    pid_t Spawn(const char* mode)
    {
        EXPECT_EQ(pipe2(m_told, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(m_go, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, m_told[1], STDOUT_FILENO);
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
        close(m_told[1]);
        close(m_go[0]);
        return child;
    }

    /// Waits for the end of the child; the syncs that it told of and nobody has read yet.
    int Collect(pid_t child)
    {
        int told = 0;
        char n = 0;
        while (read(m_told[0], &n, 1) == 1) told = n;
        int status = 0;
        waitpid(child, &status, 0);
        close(m_told[0]);
        close(m_go[1]);
        return told;
    }

    /// The file after each sync, the first before any.
    std::vector<std::string> Images()
    {
        std::vector<std::string> images{m_fresh};
        const pid_t child = Spawn("--lasting-writer");
        char n = 0;
        while (read(m_told[0], &n, 1) == 1)
        {
            images.push_back(m_dir.Read(kFile));
            if (write(m_go[1], "g", 1) != 1) break;
        }
        Collect(child);
        return images;
    }

    /// What the next process finds.
    std::string Reopened()
    {
        QZFileBuffer::AtomicSync = 1;
        QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, m_dir.Name(kFile).c_str());
        if (channel) QZChannel::Close(&channel);
        QZFileBuffer::AtomicSync = 0;
        return m_dir.Read(kFile);
    }

    qztest::TempDir m_dir;
    std::string m_fresh;
    int m_told[2] = {-1, -1};
    int m_go[2] = {-1, -1};
};

/// Writes the image and lets the tool check every record of it.
bool ChecksClean(const qztest::TempDir& dir, const std::string& image)
{
    dir.Write("image.db", image);
    const std::string command =
        std::string(QZ_TEST_QZDB) + " check " + dir.NarrowName("image.db") + " > /dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

TEST_F(SyncKill, TheFileOpensAsASyncLeftItWheneverTheWriterIsKilled)
{
    const char* wanted = std::getenv("QZ_KILL_POINTS");
    const int points = wanted ? std::atoi(wanted) : 40;
    const std::vector<std::string> images = Images();
    ASSERT_EQ(images.size(), static_cast<std::size_t>(kSyncs + 1));
    for (const std::string& image : images) EXPECT_TRUE(ChecksClean(m_dir, image));

    using Clock = std::chrono::steady_clock;
    m_dir.Write(kFile, m_fresh);
    const auto begin = Clock::now();
    EXPECT_EQ(Collect(Spawn("--writer")), kSyncs);
    const auto whole = std::chrono::duration<double, std::micro>(Clock::now() - begin).count();

    // A kill counts when it met the writer between its first change and its end, which is when a sidecar is
    // left. How long the writer takes moves with what else the machine does, and the time that it is given
    // follows.
    std::mt19937 random(20);
    std::uniform_real_distribution<double> share(0, 1);
    std::array<int, kSyncs + 1> foundAt{};
    double span = whole;
    int met = 0;
    int kills = 0;
    int wrong = 0;
    for (; met < points && kills < 20 * points && wrong == 0; ++kills)
    {
        m_dir.Write(kFile, m_fresh);
        const pid_t child = Spawn("--writer");
        usleep(static_cast<useconds_t>(share(random) * span));
        kill(child, SIGKILL);
        const int told = Collect(child);
        const bool left = m_dir.Exists(std::string(kFile) + ".sync");
        const std::string file = Reopened();
        int found = kSyncs;
        while (found >= 0 && images[static_cast<std::size_t>(found)] != file) --found;
        wrong += found < told;
        EXPECT_GE(found, told) << "kill " << kills << ", told " << told;
        if (found >= 0) ++foundAt[static_cast<std::size_t>(found)];
        met += left ? 1 : 0;
        if (!left) span *= told == kSyncs ? 0.95 : 1.05;
    }
    std::printf("killed %d times, %d of them in the middle of the writing; found as sync", kills, met);
    for (int n = 0; n <= kSyncs; ++n) std::printf(" %d: %d,", n, foundAt[static_cast<std::size_t>(n)]);
    std::printf("\n");
    EXPECT_EQ(met, points);
}
}  // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc == 3 ? argv[1] : "";
    if (mode == "--writer" || mode == "--lasting-writer") return Writer(argv[2], mode != "--writer");
    ::testing::InitGoogleTest(&argc, argv);
    QZLibInit();
    qztest::SetStandardHooks();
    const int result = RUN_ALL_TESTS();
    QZLibDispose();
    return result;
}
