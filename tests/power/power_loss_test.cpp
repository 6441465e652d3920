// Loss of power at any moment: whatever of the unflushed changes has reached the disk, the file opens in the
// state of the last sync, or of the one that was being made.
//
// QZ_POWER_DRAWS is the number of losses (300 by default).

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "os/os_file_buffer.h"
#include "power_loss.h"
#include "support/qz_test.h"

namespace
{

using qztest::Disk;
using qztest::DiskChange;
using qztest::DiskFiles;
using qztest::Recorder;

constexpr long long kBlock = 524288;
constexpr const char* kFile = "data";

class AtomicSyncOn
{
public:
    AtomicSyncOn() { QZFileBuffer::AtomicSync = 1; }
    ~AtomicSyncOn() { QZFileBuffer::AtomicSync = 0; }
};

/// Sessions of a writer, as the dice have them. Two blocks fit into memory, so many changes leave it before a
/// sync.
class Workload
{
public:
    Workload(const qztest::TempDir& dir, unsigned seed) : m_dir(dir), m_dice(seed)
    {
        m_now = Bytes(static_cast<std::size_t>(Roll({0, 700, 5000, 3 * kBlock / 2, 3 * kBlock})));
        m_states.push_back(m_now);
        m_dir.Write(kFile, m_now);
    }

    void Run()
    {
        Recorder recorder(m_dir.Path(), {kFile});
        m_recorder = &recorder;
        for (int session = 0; session < 2; ++session)
        {
            QZString path(m_dir.Name(kFile).c_str());
            QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, kBlock);
            for (int sync = 0; sync < 4; ++sync)
            {
                Change(buffer);
                recorder.Mark(static_cast<long long>(m_states.size()));
                m_states.push_back(m_now);
                if (m_dice() % 4 == 0)
                    buffer->Collect();
                else
                    buffer->Sync();
                recorder.Mark(-static_cast<long long>(m_states.size() - 1));
            }
            // What was changed since the last sync is synced by Close.
            Change(buffer);
            recorder.Mark(static_cast<long long>(m_states.size()));
            m_states.push_back(m_now);
            QZFileBuffer::Close(&buffer);
            recorder.Mark(-static_cast<long long>(m_states.size() - 1));
        }
        m_changes = recorder.Changes();
    }

    const std::vector<std::string>& States() const { return m_states; }
    const std::vector<DiskChange>& Changes() const { return m_changes; }

private:
    long long Roll(std::initializer_list<long long> values)
    {
        return values.begin()[m_dice() % values.size()];
    }

    std::string Bytes(std::size_t size)
    {
        std::string bytes(size, '\0');
        for (std::size_t at = 0; at < size; at += 8)
        {
            const std::uint64_t word = m_dice();
            std::memcpy(bytes.data() + at, &word, std::min<std::size_t>(8, size - at));
        }
        return bytes;
    }

    /// One transaction: small, larger than memory, or one that appends much.
    void Change(QZFileBuffer* buffer)
    {
        const int writes = static_cast<int>(Roll({1, 3, 12, 40}));
        const bool first = m_dice() % 3 != 0;
        for (int i = 0; i < writes; ++i)
        {
            const long long end = static_cast<long long>(m_now.size());
            long long offset = static_cast<long long>(m_dice() % static_cast<unsigned long long>(end + 1));
            // Records that lie in two blocks, and those at the end of the file.
            if (m_dice() % 4 == 0) offset = std::max(0LL, offset / kBlock * kBlock - 30);
            if (m_dice() % 4 == 0) offset = end;
            if (!first && offset < 4096) offset = std::min(end, 4096LL);
            Write(buffer, offset, Bytes(static_cast<std::size_t>(Roll({1, 60, 5000, 30000}))));
        }
        if (first) Write(buffer, 16, Bytes(8));
        if (m_now.size() < 6u << 20 && m_dice() % 12 == 0)
            Write(buffer, static_cast<long long>(m_now.size()), Bytes(900000));
    }

    void Write(QZFileBuffer* buffer, long long offset, const std::string& bytes)
    {
        buffer->Write(offset, bytes.data(), static_cast<QZInt64>(bytes.size()));
        const auto at = static_cast<std::size_t>(offset);
        if (m_now.size() < at + bytes.size()) m_now.resize(at + bytes.size());
        m_now.replace(at, bytes.size(), bytes);
    }

    const qztest::TempDir& m_dir;
    std::mt19937_64 m_dice;
    Recorder* m_recorder = nullptr;
    std::string m_now;
    std::vector<std::string> m_states;
    std::vector<DiskChange> m_changes;
};

void PutFiles(const qztest::TempDir& dir, const DiskFiles& files)
{
    for (const auto& entry : std::filesystem::directory_iterator(dir.Path()))
        std::filesystem::remove(entry.path());
    for (const auto& [name, bytes] : files) dir.Write(name, bytes);
}

/// Opens the file, and loses the power again meanwhile as often as the dice have it.
std::string Reopened(const qztest::TempDir& dir, DiskFiles files, std::mt19937_64* dice)
{
    for (;;)
    {
        PutFiles(dir, files);
        std::vector<std::string> names;
        for (const auto& [name, bytes] : files) names.push_back(name);
        Recorder recorder(dir.Path(), names);
        QZString path(dir.Name(kFile).c_str());
        QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, kBlock);
        QZFileBuffer::Close(&buffer);
        const std::vector<DiskChange>& changes = recorder.Changes();
        if (changes.size() < 4 || (*dice)() % 3 != 0) return dir.Read(kFile);
        Disk disk(names, files);
        const std::size_t moment = (*dice)() % (changes.size() + 1);
        for (std::size_t i = 0; i < moment; ++i) disk.Replay(changes[i]);
        files = disk.Lose(dice);
    }
}

struct Tally
{
    int draws = 0;
    int refused = 0;
    int wrong = 0;
    int withUndo = 0;
    int withRedo = 0;
};

/// Loses the power `draws` times during one workload.
void Draw(unsigned seed, int draws, Tally* tally)
{
    const qztest::TempDir dir;
    Workload workload(dir, seed);
    workload.Run();
    const std::vector<DiskChange>& changes = workload.Changes();
    std::mt19937_64 dice(seed + 1000);
    std::vector<std::size_t> moments;
    for (int i = 0; i < draws; ++i) moments.push_back(dice() % (changes.size() + 1));
    std::sort(moments.begin(), moments.end());

    const qztest::TempDir disks;
    Disk disk({kFile}, {{kFile, workload.States()[0]}});
    std::size_t done = 0;
    long long synced = 0;
    long long syncing = 0;
    for (const std::size_t moment : moments)
    {
        for (; done < moment; ++done)
        {
            if (changes[done].kind == DiskChange::Kind::Mark)
            {
                if (changes[done].size > 0) syncing = changes[done].size;
                if (changes[done].size < 0) synced = syncing = -changes[done].size;
            }
            disk.Replay(changes[done]);
        }
        const DiskFiles files = disk.Lose(&dice);
        ++tally->draws;
        tally->withUndo += files.contains("data.undo");
        tally->withRedo += files.contains("data.sync");
        try
        {
            const std::string found = Reopened(disks, files, &dice);
            const auto state = [&](long long n) { return workload.States()[static_cast<std::size_t>(n)]; };
            const bool right = found == state(synced) || found == state(syncing);
            tally->wrong += !right;
            EXPECT_TRUE(right) << "seed " << seed << ", before change " << moment << " of " << changes.size();
            EXPECT_FALSE(disks.Exists("data.sync"));
            EXPECT_FALSE(disks.Exists("data.undo"));
        }
        catch (QZException* e)
        {
            ++tally->refused;
            ADD_FAILURE() << "seed " << seed << ", moment " << moment << ": "
                          << qztest::TakeException(e).message;
        }
        QZString* aside = QZFileBuffer::TakePutAside();
        EXPECT_EQ(aside, nullptr);
        if (aside != nullptr) QZStringFactory::Recycle(&aside);
    }
}

TEST(PowerLoss, FileOpensInTheStateOfTheLastSync)
{
    const char* wanted = std::getenv("QZ_POWER_DRAWS");
    const int draws = wanted != nullptr ? std::atoi(wanted) : 300;
    const AtomicSyncOn on;
    Tally tally;
    for (unsigned seed = 1; tally.draws < draws; ++seed)
    {
        Draw(seed, std::min(20, draws - tally.draws), &tally);
        if (tally.wrong + tally.refused > 3) break;
    }
    std::printf("%d losses of power, %d with FILE.undo, %d with FILE.sync: %d refused, %d in a wrong state\n",
                tally.draws, tally.withUndo, tally.withRedo, tally.refused, tally.wrong);
    EXPECT_GT(tally.withUndo, tally.draws / 20);
    EXPECT_EQ(tally.refused, 0);
    EXPECT_EQ(tally.wrong, 0);
}

}  // namespace
