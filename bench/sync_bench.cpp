/// The cost of a sync that survives a crash: random pages of 4 KB are changed in a file of 16 MB and flushed
/// to the disk. Whole syncs beside plain ones, and beside a transaction of SQLite with a write-ahead log and
/// synchronous=FULL. Times are wall-clock times, because most of a sync is waiting for the disk.

#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "fw/fw_string.h"
#include "os/os_file_buffer.h"
#include "sqlite_peer.h"

namespace
{
constexpr QZInt64 kPage = 4096;
constexpr QZInt64 kPages = 4096;

/// Runs the step under the wall clock.
template <typename Step>
void Timed(benchmark::State& state, Step step)
{
    std::mt19937 random(3);
    for (auto _ : state)
    {
        std::vector<QZInt64> pages;
        for (std::int64_t i = 0; i < state.range(0); ++i) pages.push_back(random() % kPages);
        const auto begin = std::chrono::steady_clock::now();
        step(pages);
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
    state.SetItemsProcessed(state.iterations());
}

void Synced(benchmark::State& state, bool whole)
{
    const std::string name = qzbench::FreshName("sync");
    std::FILE* file = std::fopen(name.c_str(), "wb");
    const std::vector<char> bytes(kPage, 'x');
    for (QZInt64 i = 0; i < kPages; ++i) std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    QZString path(name.c_str());
    QZFileBuffer::AtomicSync = whole ? 1 : 0;
    QZFileBuffer* buffer = QZFileBuffer::Open(&path, kPage * kPages * 2, QZBuffer::BlockSize2M);
    QZInt64 value = 0;
    Timed(state, [&](const std::vector<QZInt64>& pages) {
        ++value;
        for (const QZInt64 page : pages) buffer->Write(page * kPage, &value, 8);
        buffer->Sync();
    });
    QZFileBuffer::Close(&buffer);
    QZFileBuffer::AtomicSync = 0;
    std::remove(name.c_str());
}

#ifdef QZ_HAVE_SQLITE
/// One row per page, so that as many pages of the file change.
void Transaction(benchmark::State& state)
{
    Lite database;
    database.Run("PRAGMA journal_mode=WAL");
    database.Run("CREATE TABLE pages(a INTEGER, b BLOB)");
    database.Run(
        "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i<4095) INSERT INTO pages "
        "SELECT 0, zeroblob(3800) FROM n");
    database.Run("PRAGMA wal_checkpoint(TRUNCATE)");
    database.Run("PRAGMA synchronous=FULL");
    sqlite3_stmt* update = database.Prepare("UPDATE pages SET a=a+1 WHERE rowid=?");
    Timed(state, [&](const std::vector<QZInt64>& pages) {
        database.Run("BEGIN");
        for (const QZInt64 page : pages)
        {
            sqlite3_bind_int64(update, 1, page + 1);
            sqlite3_step(update);
            sqlite3_reset(update);
        }
        database.Run("COMMIT");
    });
    sqlite3_finalize(update);
}
#endif

void Register(const std::string& name, void (*run)(benchmark::State&))
{
    for (const std::int64_t pages : {1, 16, 256})
        benchmark::RegisterBenchmark(name.c_str(), run)->Arg(pages)->UseManualTime()->Iterations(30);
}
}  // namespace

int main(int argc, char** argv)
{
    Register("WholeSync", [](benchmark::State& state) { Synced(state, true); });
    Register("PlainSync", [](benchmark::State& state) { Synced(state, false); });
#ifdef QZ_HAVE_SQLITE
    Register("WalFull", Transaction);
#endif
    for (const int pages : {1, 16, 256})
    {
        const std::string job = "/" + std::to_string(pages);
        const std::string label = "whole sync of " + std::to_string(pages) + " pages";
        qzbench::Compare(label + " / SQLite WAL FULL", "WholeSync" + job, "WalFull" + job);
        qzbench::Compare(label + " / plain sync", "WholeSync" + job, "PlainSync" + job);
    }
    return qzbench::Main(argc, argv);
}
