#ifndef QZLIB_BENCH_SQLITE_PEER_H
#define QZLIB_BENCH_SQLITE_PEER_H

/// SQLite as the peer of the database benchmarks. Present only where SQLite is installed (QZ_HAVE_SQLITE).
///
/// The rows of bench_rows.h are in a rowid table t(a INTEGER, b TEXT, c REAL), with the row ids 1, 2, 3 and
/// so on.

#ifdef QZ_HAVE_SQLITE

#include <sqlite3.h>

#include <string>
#include <vector>

#include "bench_rows.h"
#include "bench_support.h"

/// A database file with the table t. The file is removed with the object.
class Lite
{
public:
    /// The new table has `rows` rows.
    explicit Lite(QZInt64 rows = 0);
    ~Lite();
    Lite(const Lite&) = delete;
    Lite& operator=(const Lite&) = delete;

    /// Opens the file with synchronous=OFF; the constructor has done so.
    void Open();
    void Close() { sqlite3_close(m_db); }

    /// Runs a statement that returns no rows.
    void Run(const char* text) { sqlite3_exec(m_db, text, nullptr, nullptr, nullptr); }
    /// The caller finalizes the statement.
    sqlite3_stmt* Prepare(const char* text);

    /// Appends rows with one prepared statement in one transaction.
    void Append(QZInt64 rows);

    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
    sqlite3* m_db = nullptr;
};

/// Benchmark: appends range(0) rows to an empty table.
void LiteAppend(benchmark::State& state);

/// Benchmark: selects field b of a random one of range(0) rows. `take` copies the text out of the statement.
template <typename Take>
void LiteReadTexts(benchmark::State& state, Take take)
{
    Lite& database = qzbench::FilledOnce<Lite>(state.range(0));
    sqlite3_stmt* select = database.Prepare("SELECT b FROM t WHERE rowid=?");
    std::vector<QZInt64> order(static_cast<std::size_t>(state.range(0)));
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<QZInt64>(i) + 1;
    qzbench::Shuffle(&order);
    // One read transaction around all reads: without it every step would take and release a file lock.
    database.Run("BEGIN");
    std::size_t next = 0;
    for (auto _ : state)
    {
        sqlite3_bind_int64(select, 1, order[next]);
        if (sqlite3_step(select) != SQLITE_ROW) state.SkipWithError("no row");
        take(sqlite3_column_text(select, 0));
        sqlite3_reset(select);
        if (++next == order.size()) next = 0;
    }
    database.Run("COMMIT");
    sqlite3_finalize(select);
    state.SetItemsProcessed(state.iterations());
}

#endif

#endif
