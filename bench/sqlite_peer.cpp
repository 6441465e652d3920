#include "sqlite_peer.h"

#ifdef QZ_HAVE_SQLITE

#include <cstdio>

Lite::Lite(QZInt64 rows) : m_path(qzbench::FreshName("lite"))
{
    Open();
    Run("CREATE TABLE t(a INTEGER, b TEXT, c REAL)");
    if (rows > 0) Append(rows);
}

Lite::~Lite()
{
    Close();
    std::remove(m_path.c_str());
}

void Lite::Open()
{
    sqlite3_open(m_path.c_str(), &m_db);
    Run("PRAGMA synchronous=OFF");
}

sqlite3_stmt* Lite::Prepare(const char* text)
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(m_db, text, -1, &statement, nullptr);
    return statement;
}

void Lite::Append(QZInt64 rows)
{
    sqlite3_stmt* insert = Prepare("INSERT INTO t VALUES(?,?,?)");
    Run("BEGIN");
    for (QZInt64 i = 0; i < rows; ++i)
    {
        sqlite3_bind_int64(insert, 1, i);
        sqlite3_bind_text(insert, 2, qzbench::kText, qzbench::kTextSize, SQLITE_STATIC);
        sqlite3_bind_double(insert, 3, qzbench::WeightOf(i));
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
    Run("COMMIT");
    sqlite3_finalize(insert);
}

void LiteAppend(benchmark::State& state)
{
    for (auto _ : state)
    {
        Lite database;
        const double start = qzbench::Now();
        database.Append(state.range(0));
        state.SetIterationTime(qzbench::Now() - start);
        state.counters["bytes_per_row"] =
            static_cast<double>(qzbench::FileSize(database.Path())) / static_cast<double>(state.range(0));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

#endif
