#ifndef QZLIB_APPS_QZMON_STORE_H
#define QZLIB_APPS_QZMON_STORE_H

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator.h"
#include "text.h"

namespace qzmon
{

struct Sample
{
    QZInt64 time = 0;
    std::vector<double> values;
};

/// One page of a table as texts, newest row first.
struct TablePage
{
    std::vector<std::string> fields;
    std::vector<std::vector<std::string>> rows;
    QZInt64 count = 0;
};

/// A snapshot mark of the database's log.
struct Snapshot
{
    QZInt64 id = 0;
    QZInt64 point = 0;
    QZInt64 time = 0;
    std::string label;
};

/// What the database held at a snapshot.
struct Preview
{
    Snapshot snapshot;
    TablePage samples;
    TablePage parameters;
};

/// Whether samples reach the file. While they do not, they are kept in memory.
struct StoreState
{
    /// Why nothing can be written, in one sentence; empty while writing succeeds.
    std::string trouble;
    /// What else the user should know, in one sentence; mostly empty.
    std::string notice;
    /// Samples that the file holds for certain: those of the last sync.
    QZInt64 stored = 0;
    /// Samples that only this process holds.
    QZInt64 atRisk = 0;
    /// Samples that were dropped, because memory holds only so many.
    QZInt64 lost = 0;
};

struct StoreFigures
{
    QZInt64 fileBytes = 0;
    QZInt64 samples = 0;
    QZInt64 snapshots = 0;
    QZInt64 waiting = 0;
    QZInt64 syncs = 0;
    double syncMs = 0;
};

/// The database of the samples. One thread owns it and runs one job after the other; no other thread touches
/// it. Any thread may call the operations: they queue a job and wait for it, except Append, which does not
/// wait.
///
/// Tables: "samples" (time and a DOUBLE for each channel, the rows in the order of time), "parameters" (name,
/// offset and gain of each channel). Failures of the database are QZException objects; while no file is open,
/// operations throw Failure 503.
///
/// When a write fails, samples wait in memory, and each Sync tries again.
class Store
{
public:
    /// The samples that wait in memory while nothing can be written; of more, the oldest are dropped.
    static constexpr std::size_t kHeldMax = 100000;

    explicit Store(std::string path);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// Opens the file, or makes it, and checks every row. Returns in one line what it found. A file that is
    /// no sound database is renamed, and a new one is made.
    std::string Open(int channels);
    /// Runs the jobs that wait, then writes everything and closes. Samples that could not be written stay
    /// counted in GetState as at risk.
    void Close();

    /// Queues a sample and returns at once.
    void Append(const Sample& sample);
    /// Writes all samples to the file, those that wait in memory too. GetState tells whether it succeeded.
    void Sync();
    /// Does not wait for the jobs.
    StoreState GetState();

    /// The last samples, oldest first.
    std::vector<Sample> Last(std::size_t count);
    TablePage Rows(const std::string& table, QZInt64 page, QZInt64 size);

    std::vector<Correction> Corrections();
    void SetCorrections(const std::vector<std::string>& names, const std::vector<Correction>& corrections);

    std::vector<Snapshot> Snapshots();
    /// Throws Failure 409 when a snapshot has that label; any number of them may have none.
    Snapshot TakeSnapshot(const std::string& label);
    /// Goes back to a snapshot. The state before that becomes a snapshot too. Throws Failure 404 for an
    /// unknown one.
    void Restore(QZInt64 id);
    /// Reads a snapshot from a copy of the file. Throws Failure 404 for an unknown one.
    Preview Look(QZInt64 id, QZInt64 rows);

    StoreFigures Figures();

    /// Renames the file and begins a new one when it is larger than the limit. Returns whether it did. When
    /// the file cannot be renamed, it stays in use, and this throws Failure 500.
    bool Rotate(QZInt64 limit);

private:
    void Serve();
    void Post(std::function<void()> job);
    template <typename Work>
    auto Do(Work work);

    std::string OpenFile();
    std::string OpenExisting();
    void MakeFile();
    void CloseQuietly();
    /// Opens what a failure has left closed. Throws Failure 503 when that fails again.
    void Ensure();
    void SyncFile();
    void SyncOrFail();
    void StoreHeld();
    template <typename Work>
    bool Attempt(Work work);
    void Fail(const std::string& why);
    void SetNotice(const std::string& notice);
    void Succeed();
    void CountHeld();
    void OpenTables();
    void CloseTables();
    void MakeTables();
    std::string CheckRows();
    bool IsSound(QZInt64 row);
    void AppendRow(const Sample& sample);
    void Refused(const char* what);
    Snapshot NewMark(const std::string& label);
    bool HasLabel(const std::string& label);
    Snapshot Find(QZInt64 id);
    void WriteCorrections(const std::vector<std::string>& names, const std::vector<Correction>& corrections);

    const std::string m_path;
    int m_channels = 0;
    QZChannel* m_channel = nullptr;
    QZDbTable* m_samples = nullptr;
    QZDbTable* m_parameters = nullptr;
    std::vector<QZInt64> m_rows;
    /// Rows that got only a part of their values, to be taken out.
    std::vector<QZInt64> m_halfRows;
    /// Samples that wait for the file, oldest first.
    std::deque<Sample> m_held;
    /// Before this time a rotation that has failed is not tried again.
    QZUInt64 m_nextRotation = 0;
    StoreFigures m_figures;

    std::mutex m_stateLock;
    StoreState m_state;

    std::mutex m_lock;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_jobs;
    bool m_end = false;
    std::thread m_thread;
    std::mutex m_previewLock;
};

}  // namespace qzmon

#endif
