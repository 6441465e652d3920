// A process whose transactions do not fit into memory can be killed at any moment: the file then opens in the
// state of the last sync, or of the one that was being made. Of two writers at the same time, one is told.
//
// QZ_KILL_SPILLS is the number of times that the writer is killed (200 by default). QZ_KILL_IMPORTS is the
// number of killed imports of the tool (8), QZ_KILL_ROWS the number of their rows (3000).

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "child.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "os/os_file_buffer.h"
#include "qzlib.h"
#include "support/qz_test.h"

namespace
{

using qztest::Child;

/// After so many transactions the test starts again with a new file.
constexpr int kTransactions = 30;
constexpr long long kBlock = 524288;
constexpr const char* kFile = "killed";

int Number(const char* variable, int otherwise)
{
    const char* text = std::getenv(variable);
    return text != nullptr ? std::atoi(text) : otherwise;
}

std::string StartContent() { return std::string(2 * kBlock + 1234, 's'); }

/// The n-th transaction: calls write(offset, bytes). Each has records that lie in two blocks, and changes
/// more blocks than memory holds.
template <typename Write>
void Transaction(int n, Write write)
{
    std::mt19937_64 dice(static_cast<std::uint64_t>(n));
    const long long end = 2 * kBlock + 1234 + n * 70000LL;
    const int writes = 5 + static_cast<int>(dice() % 30);
    for (int i = 0; i < writes; ++i)
    {
        const std::string bytes(dice() % 3 == 0 ? 9000 : 100, static_cast<char>('A' + dice() % 50));
        const long long block = static_cast<long long>(dice() % 5) * kBlock;
        long long offset = dice() % 2 == 0 ? block - 50 : block + static_cast<long long>(dice() % 400000);
        if (dice() % 4 == 0) offset = end + static_cast<long long>(dice() % 60000);
        write(std::max(0LL, std::min(offset, end + 60000)), bytes);
    }
    // Marks the state in the first page.
    const std::string mark = "state " + std::to_string(n) + "      ";
    write(20, mark.substr(0, 12));
}

void ApplyTransaction(int n, std::string* content)
{
    Transaction(n, [content](long long offset, const std::string& bytes) {
        const auto at = static_cast<std::size_t>(offset);
        if (content->size() < at + bytes.size()) content->resize(at + bytes.size());
        content->replace(at, bytes.size(), bytes);
    });
}

void Report(int n)
{
    const char byte = static_cast<char>(n);
    if (write(STDOUT_FILENO, &byte, 1) != 1) std::exit(1);
}

/// Makes the transactions from `first` on and reports each sync that has returned.
int Writer(const char* path, int first)
{
    QZString file(path);
    QZFileBuffer* buffer = QZFileBuffer::Open(&file, 0, kBlock);
    for (int n = first; n <= kTransactions; ++n)
    {
        Transaction(n, [buffer](long long offset, const std::string& bytes) {
            buffer->Write(offset, bytes.data(), static_cast<QZInt64>(bytes.size()));
        });
        buffer->Sync();
        Report(n);
    }
    QZFileBuffer::Close(&buffer);
    return 0;
}

/// Appends a record of 1000 bytes when it is the only writer; reports 'w', or 'u' for a file in use. Keeps
/// the file until the test has heard of both writers.
int Appender(const char* path, char letter)
{
    QZString file(path);
    QZFileBuffer* buffer = nullptr;
    char go = 0;
    try
    {
        buffer = QZFileBuffer::Open(&file, 0, kBlock);
    }
    catch (QZException* e)
    {
        Report(e->GetCode() == QZIOExceptionCode::FileInUse ? 'u' : 'x');
        QZExceptionFactory::Recycle(&e);
        return read(STDIN_FILENO, &go, 1) == 1 ? 0 : 1;
    }
    const std::string record(1000, letter);
    buffer->Write(buffer->GetFileSize(), record.data(), 1000);
    buffer->Sync();
    Report('w');
    if (read(STDIN_FILENO, &go, 1) != 1) return 1;
    QZFileBuffer::Close(&buffer);
    return 0;
}

class SpillKill : public ::testing::Test
{
protected:
    void SetUp() override { QZFileBuffer::Exclusive = 1; }
    void TearDown() override { QZFileBuffer::Exclusive = 0; }

    /// Opens and closes the file, as the next process does, and returns its content.
    std::string Reopened()
    {
        QZString path(m_dir.Name(kFile).c_str());
        QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, kBlock);
        QZFileBuffer::Close(&buffer);
        return m_dir.Read(kFile);
    }

    qztest::TempDir m_dir;
};

TEST_F(SpillKill, FileOpensInTheStateOfACompletedSyncAfterAKill)
{
    const int points = Number("QZ_KILL_SPILLS", 200);
    std::mt19937 random(20);
    // A kill counts when the writer has begun a transaction and has not closed the file. The run time of the
    // writer depends on the load of the machine, so the span of the delays is adjusted.
    double span = 60000;
    int kills = 0;
    int hits = 0;
    int refused = 0;
    int lost = 0;
    int wrong = 0;
    int between = 0;
    std::string synced;
    int state = kTransactions;
    while (hits < points && kills < 20 * points && refused + lost + wrong < 5)
    {
        if (state == kTransactions)
        {
            state = 0;
            synced = StartContent();
            m_dir.Write(kFile, synced);
        }
        Child writer("", {"--large-writer", m_dir.NarrowName(kFile), std::to_string(state + 1)});
        ASSERT_TRUE(writer.Started());
        std::this_thread::sleep_for(std::chrono::microseconds(
            static_cast<long long>(static_cast<double>(random() % 1000) / 1000 * span)));
        writer.Kill();
        int reported = state;
        for (int n = writer.Read(); n > 0; n = writer.Read()) reported = n;
        writer.Wait();
        ++kills;
        const bool hit = m_dir.Exists(std::string(kFile) + ".undo");
        hits += hit;
        if (!hit) span *= reported == kTransactions ? 0.95 : 1.05;
        std::string found;
        try
        {
            found = Reopened();
        }
        catch (QZException* e)
        {
            ++refused;
            ADD_FAILURE() << "kill " << kills << ": " << qztest::TakeException(e).message;
            continue;
        }
        for (; state < reported; ++state) ApplyTransaction(state + 1, &synced);
        if (found == synced) continue;
        // The sync that was being made, and had not returned.
        lost += state > 0 && found.size() < synced.size();
        if (state < kTransactions) ApplyTransaction(++state, &synced);
        ++between;
        wrong += found != synced;
        EXPECT_TRUE(found == synced) << "kill " << kills << ", after sync " << reported;
    }
    QZString* aside = QZFileBuffer::TakePutAside();
    EXPECT_EQ(aside, nullptr);
    if (aside != nullptr) QZStringFactory::Recycle(&aside);
    std::printf(
        "killed %d times, %d of them while it wrote, %d in a sync that counts; %d refused, %d lost, %d "
        "wrong\n",
        kills, hits, between, refused, lost, wrong);
    EXPECT_EQ(hits, points);
    EXPECT_EQ(refused + lost + wrong, 0);
}

TEST_F(SpillKill, OfTwoWritersOneIsTold)
{
    m_dir.Write(kFile, "");
    std::string expected;
    for (int round = 0; round < 60; ++round)
    {
        Child a("", {"--appender", m_dir.NarrowName(kFile), "a"});
        Child b("", {"--appender", m_dir.NarrowName(kFile), "b"});
        const int saidA = a.Read();
        const int saidB = b.Read();
        ASSERT_TRUE((saidA == 'w' && saidB == 'u') || (saidA == 'u' && saidB == 'w'))
            << "round " << round << ": " << saidA << ", " << saidB;
        expected += std::string(1000, saidA == 'w' ? 'a' : 'b');
        a.Go();
        b.Go();
        EXPECT_EQ(a.Wait(), 0);
        EXPECT_EQ(b.Wait(), 0);
    }
    EXPECT_EQ(m_dir.Read(kFile), expected);
}

TEST_F(SpillKill, CopiesOfABusyFileHaveOneSync)
{
    std::string content = StartContent();
    m_dir.Write(kFile, content);
    std::vector<std::string> states{content};
    for (int n = 1; n <= kTransactions; ++n)
    {
        ApplyTransaction(n, &content);
        states.push_back(content);
    }
    Child writer("", {"--large-writer", m_dir.NarrowName(kFile), "1"});
    QZString from(m_dir.Name(kFile).c_str());
    QZString to(m_dir.Name("copy").c_str());
    std::size_t last = 0;
    int copies = 0;
    while (last < kTransactions)
    {
        QZFileBuffer::CopyInUse(&from, &to);
        const std::string copy = m_dir.Read("copy");
        std::filesystem::remove(m_dir.Path("copy"));
        std::size_t state = last;
        while (state < states.size() && states[state] != copy) ++state;
        ASSERT_LT(state, states.size()) << "copy " << copies << " after state " << last;
        last = state;
        ++copies;
    }
    while (writer.Read() > 0)
    {}
    EXPECT_EQ(writer.Wait(), 0);
    std::printf("%d copies while the writer wrote\n", copies);
    EXPECT_GT(copies, 3);
}

/// Runs the tool and returns its exit code; its output goes to a file.
int RunTool(const std::string& arguments, const std::string& output)
{
    const std::string command = std::string(QZ_TEST_QZDB) + " " + arguments + " > " + output + " 2>&1";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(SpillKill, KilledImportLeavesAllRowsOrNone)
{
    const int rows = Number("QZ_KILL_ROWS", 3000);
    const int imports = Number("QZ_KILL_IMPORTS", 8);
    std::string csv = "id,name,city\n";
    for (int i = 0; i < rows; ++i)
        csv += std::to_string(i) + ",name " + std::to_string(i * 7) + ",somewhere\n";
    m_dir.Write("rows.csv", csv);
    const std::string file = m_dir.NarrowName("import.db");
    const std::string out = m_dir.NarrowName("out.txt");
    const std::string import = "import-csv " + file + " rows " + m_dir.NarrowName("rows.csv");

    using Clock = std::chrono::steady_clock;
    ASSERT_EQ(RunTool("create " + file, out), 0) << m_dir.Read("out.txt");
    const auto begin = Clock::now();
    ASSERT_EQ(RunTool(import, out), 0) << m_dir.Read("out.txt");
    const double span = std::chrono::duration<double, std::micro>(Clock::now() - begin).count();

    std::mt19937 random(7);
    int none = 0;
    int all = 0;
    for (int i = 0; i < imports; ++i)
    {
        std::filesystem::remove(m_dir.Path("import.db"));
        ASSERT_EQ(RunTool("create " + file, out), 0);
        Child tool(QZ_TEST_QZDB, {"import-csv", file, "rows", m_dir.NarrowName("rows.csv")});
        std::this_thread::sleep_for(std::chrono::microseconds(
            static_cast<long long>(static_cast<double>(random() % 1100) / 1000 * span)));
        tool.Kill();
        tool.Wait();
        ASSERT_EQ(RunTool("check " + file, out), 0) << m_dir.Read("out.txt");
        const int code = RunTool("export-csv " + file + " rows", out);
        const std::string exported = m_dir.Read("out.txt");
        const bool whole = exported == csv;
        all += whole;
        none += !whole;
        if (whole) continue;
        // There is no table, or it has no rows yet.
        EXPECT_TRUE(code == 2 || exported.find("0,name") == std::string::npos) << exported.substr(0, 300);
    }
    std::printf("killed %d imports of %d rows: %d with no row, %d with all\n", imports, rows, none, all);
}

}  // namespace

int qztest::RunLargeWriter(const std::string& role, const std::vector<std::string>& arguments)
{
    if (role != "--large-writer" && role != "--appender") return -1;
    QZLibInit();
    QZFileBuffer::Exclusive = 1;
    const int code = role == "--appender" ? Appender(arguments[0].c_str(), arguments[1][0])
                                          : Writer(arguments[0].c_str(), std::atoi(arguments[1].c_str()));
    QZLibDispose();
    return code;
}
