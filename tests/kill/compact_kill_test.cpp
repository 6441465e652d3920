// qzdb compact can be killed at any moment: the file is then the old one or the new one, and holds the same.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "support/qz_database_text.h"
#include "support/qz_test.h"

extern char** environ;

namespace
{
class CompactKill : public ::testing::Test
{
protected:
    pid_t Spawn(const std::vector<std::string>& words)
    {
        std::vector<std::string> line{QZ_TEST_QZDB};
        line.insert(line.end(), words.begin(), words.end());
        std::vector<char*> arguments;
        for (std::string& word : line) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        pid_t child = 0;
        EXPECT_EQ(posix_spawn(&child, QZ_TEST_QZDB, &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        return child;
    }

    static int Wait(pid_t child)
    {
        int status = 0;
        waitpid(child, &status, 0);
        return status;
    }

    int Run(const std::vector<std::string>& words) { return Wait(Spawn(words)); }

    std::string Text(const std::string& name)
    {
        QZString path(m_dir.Name(name).c_str());
        return qztest::DatabaseTextOf(&path);
    }

    qztest::TempDir m_dir;
};
}  // namespace

TEST_F(CompactKill, TheFileIsTheOldOrTheNewOneAtEveryMoment)
{
    const char* wanted = std::getenv("QZ_KILL_POINTS");
    const int points = wanted != nullptr ? std::atoi(wanted) : 25;
    std::string csv = "id,name\n";
    for (int i = 0; i < 300; ++i) csv += std::to_string(i) + ",name " + std::to_string(i) + "\n";
    m_dir.Write("t.csv", csv);
    const std::string file = m_dir.NarrowName("a.db");
    ASSERT_EQ(Run({"create", file}), 0);
    ASSERT_EQ(Run({"import-csv", file, "t", m_dir.NarrowName("t.csv")}), 0);
    ASSERT_EQ(Run({"snapshot", file, "mark"}), 0);
    ASSERT_EQ(Run({"remove", file, "t", "7"}), 0);
    const std::string before = Text("a.db");
    const std::string old = m_dir.Read("a.db");
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(Run({"compact", file, "--keep", "mark"}), 0);
    const std::string made = m_dir.Read("a.db");
    const double span =
        std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();

    std::mt19937 random(3);
    std::uniform_real_distribution<double> delay(0, 1.1 * span);
    int killed = 0;
    int halfway = 0;
    for (int i = 0; i < points; ++i)
    {
        m_dir.Write("a.db", old);
        const pid_t child = Spawn({"compact", file, "--keep", "mark"});
        usleep(static_cast<useconds_t>(delay(random)));
        kill(child, SIGKILL);
        killed += WIFSIGNALED(Wait(child)) ? 1 : 0;
        halfway += m_dir.Exists("a.db.part") || m_dir.Exists("a.db.state") ? 1 : 0;
        const std::string left = m_dir.Read("a.db");
        ASSERT_TRUE(left == old || left.size() == made.size()) << i;
        ASSERT_EQ(Text("a.db"), before) << i;
        // The next run removes what is left, and does the whole.
        ASSERT_EQ(Run({"compact", file, "--keep", "mark"}), 0) << i;
        EXPECT_FALSE(m_dir.Exists("a.db.part"));
        EXPECT_FALSE(m_dir.Exists("a.db.state"));
        EXPECT_FALSE(m_dir.Exists("a.db.sync"));
        ASSERT_EQ(Text("a.db"), before) << i;
    }
    std::printf("killed %d times, %d of them while it wrote\n", killed, halfway);
    EXPECT_GT(halfway, 0);
}
