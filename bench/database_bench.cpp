/// The database engine through its channel, beside SQLite and LevelDB.
///
/// The rows are those of bench_rows.h. Our row is an LD with three fields. SQLite's is a row of a rowid
/// table, written in one transaction with synchronous=OFF and prepared statements. LevelDB's is a key of
/// eight bytes with the three fields as its value, in write batches of 1000. Times of appending include
/// writing the bytes to the system's cache and exclude flushing them to the disk.

#include <cstring>
#include <random>
#include <vector>

#include "bench_rows.h"
#include "bench_support.h"
#include "db/db_channel.h"
#include "db/db_format.h"
#include "fw/fw_collection.h"
#include "sqlite_peer.h"
#ifdef QZ_HAVE_LEVELDB
#include <leveldb/db.h>
#include <leveldb/write_batch.h>
#endif

namespace
{
using namespace qzbench;
using Info = QZDatabaseInfo;

/// A new database. The destructor closes it and removes its file.
class Ours
{
public:
    explicit Ours(bool rollback, QZInt64 addressMode = Info::ADDR_MODE_64)
        : m_path(qzbench::FreshName("ours"))
    {
        QZChannel::Create(m_path.c_str(), 5, addressMode, rollback ? 1 : 0);
        Open();
        m_list = m_channel->P_HD();
    }
    ~Ours()
    {
        Close();
        std::remove(m_path.c_str());
    }
    Ours(const Ours&) = delete;
    Ours& operator=(const Ours&) = delete;

    void Open() { m_channel = QZChannel::Open(QZChannel::MODE_FILE, m_path.c_str()); }
    void Close()
    {
        if (m_channel != nullptr) QZChannel::Close(&m_channel);
    }

    QZChannel* operator->() const { return m_channel; }
    QZInt64 List() const { return m_list; }
    const std::string& Path() const { return m_path; }

    QZInt64 AppendRow(QZInt64 number)
    {
        const QZInt64 row = m_channel->P_D(m_list, Info::DATA_LD);
        const double weight = qzbench::WeightOf(number);
        m_channel->P_C(row, 1, &number, 8);
        m_channel->P_C(row, 2, kText, kTextSize);
        m_channel->P_C(row, 3, &weight, 8);
        return row;
    }

private:
    std::string m_path;
    QZChannel* m_channel = nullptr;
    QZInt64 m_list = 0;
};

/// A filled database with the addresses of its rows.
struct Filled
{
    explicit Filled(QZInt64 rows) : database(false)
    {
        database->CheckParam(0);
        addresses.reserve(static_cast<std::size_t>(rows));
        for (QZInt64 i = 0; i < rows; ++i) addresses.push_back(database.AppendRow(i));
        database->COLLECT();
        order = addresses;
        qzbench::Shuffle(&order);
    }
    Ours database;
    std::vector<QZInt64> addresses;
    std::vector<QZInt64> order;
};

// ---- Appending

void OursAppendRows(benchmark::State& state, bool check, bool rollback, QZInt64 mode)
{
    const QZInt64 rows = state.range(0);
    std::uint64_t allocations = 0;
    for (auto _ : state)
    {
        Ours database(rollback, mode);
        database->CheckParam(check ? 1 : 0);
        database.AppendRow(0);
        const std::uint64_t before = qzbench::Allocations();
        const double start = qzbench::Now();
        for (QZInt64 i = 1; i < rows; ++i) database.AppendRow(i);
        allocations += qzbench::Allocations() - before;
        database->COLLECT();
        state.SetIterationTime(qzbench::Now() - start);
        state.counters["bytes_per_row"] =
            static_cast<double>(qzbench::FileSize(database.Path())) / static_cast<double>(rows);
        if (database->G_EN() != 0) state.SkipWithError("the engine recorded an error");
    }
    state.SetItemsProcessed(state.iterations() * (rows - 1));
    state.counters["allocations_per_row"] =
        static_cast<double>(allocations) / static_cast<double>(state.iterations() * (rows - 1));
}

void OursAppend(benchmark::State& state) { OursAppendRows(state, false, false, Info::ADDR_MODE_64); }
void OursAppendTested(benchmark::State& state) { OursAppendRows(state, true, false, Info::ADDR_MODE_64); }
void OursAppendLogged(benchmark::State& state) { OursAppendRows(state, false, true, Info::ADDR_MODE_64); }
void OursAppendShort(benchmark::State& state) { OursAppendRows(state, false, false, Info::ADDR_MODE_32); }

/// Records of one content each, the engine's own unit.
void OursAppendRecord(benchmark::State& state)
{
    const QZInt64 records = state.range(0);
    for (auto _ : state)
    {
        Ours database(false);
        database->CheckParam(0);
        const double start = qzbench::Now();
        for (QZInt64 i = 0; i < records; ++i) database->P_D(database.List(), Info::DATA_CD);
        database->COLLECT();
        state.SetIterationTime(qzbench::Now() - start);
    }
    state.SetItemsProcessed(state.iterations() * records);
}

/// The host packs the three fields of a row into the one content of a record.
void OursAppendPacked(benchmark::State& state)
{
    const QZInt64 records = state.range(0);
    for (auto _ : state)
    {
        Ours database(false);
        database->CheckParam(0);
        char packed[8 + kTextSize + 8];
        const double start = qzbench::Now();
        for (QZInt64 i = 0; i < records; ++i)
        {
            const double weight = qzbench::WeightOf(i);
            // A content that begins with the byte 0x26 makes its record look like a PD, so the text is stored
            // first.
            std::memcpy(packed, kText, kTextSize);
            std::memcpy(packed + kTextSize, &i, 8);
            std::memcpy(packed + kTextSize + 8, &weight, 8);
            const QZInt64 record = database->P_D(database.List(), Info::DATA_CD);
            database->P_C(record, Info::CD_DATA, packed, sizeof(packed));
        }
        database->COLLECT();
        state.SetIterationTime(qzbench::Now() - start);
        if (database->G_EN() != 0) state.SkipWithError("the engine recorded an error");
    }
    state.SetItemsProcessed(state.iterations() * records);
}

// ---- Reading

template <typename Operation>
void OnFilled(benchmark::State& state, bool check, Operation operation)
{
    Filled& filled = FilledOnce<Filled>(state.range(0));
    QZChannel* channel = filled.database.operator->();
    channel->CheckParam(check ? 1 : 0);
    std::size_t next = 0;
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(operation(channel, filled.order[next]));
        if (++next == filled.order.size()) next = 0;
    }
    const std::uint64_t allocations = qzbench::Allocations() - before;
    state.SetItemsProcessed(state.iterations());
    state.counters["allocations_per_read"] =
        static_cast<double>(allocations) / static_cast<double>(state.iterations());
}

QZInt64 ReadSecondField(QZChannel* channel, QZInt64 row)
{
    char text[16];
    const QZInt64 answer = channel->G_C(row, 2, text);
    benchmark::DoNotOptimize(text);
    return answer;
}

void OursReadField(benchmark::State& state) { OnFilled(state, false, ReadSecondField); }
void OursReadFieldTested(benchmark::State& state) { OnFilled(state, true, ReadSecondField); }
/// The content of a record whose own address the host holds.
void OursReadContent(benchmark::State& state)
{
    Filled& filled = FilledOnce<Filled>(state.range(0));
    QZChannel* channel = filled.database.operator->();
    channel->CheckParam(0);
    std::vector<QZInt64> fields;
    for (const QZInt64 row : filled.order)
    {
        const QZInt64 list = channel->G_A(row, Info::LD_LDS);
        fields.push_back(channel->G_CN(list, Info::SN_GET_DATA_FROM_HD, 2));
    }
    std::size_t next = 0;
    char text[16];
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(channel->G_C(fields[next], Info::CD_DATA, text));
        if (++next == fields.size()) next = 0;
    }
    state.SetItemsProcessed(state.iterations());
}

void OursReadAddress(benchmark::State& state)
{
    OnFilled(state, false, [](QZChannel* channel, QZInt64 row) { return channel->G_A(row, Info::LD_LDS); });
}

/// Walks all rows of the list with one call per step.
void OursWalk(benchmark::State& state)
{
    Filled& filled = FilledOnce<Filled>(state.range(0));
    QZChannel* channel = filled.database.operator->();
    channel->CheckParam(0);
    for (auto _ : state)
    {
        QZInt64 row = channel->G_HD_A(Info::ADDRESS_MARK_THIS, filled.database.List(), Info::HD_FIRSTDATA);
        QZInt64 count = 0;
        for (; row != 0; row = channel->G_A(row, Info::DATA_NEXT)) ++count;
        if (count != state.range(0)) state.SkipWithError("rows are missing");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Walks all rows of the list inside one call.
void OursCount(benchmark::State& state)
{
    Filled& filled = FilledOnce<Filled>(state.range(0));
    QZChannel* channel = filled.database.operator->();
    channel->CheckParam(0);
    for (auto _ : state)
    {
        if (channel->G_CN(filled.database.List(), Info::HD_NODE_COUNT, 0) != state.range(0))
            state.SkipWithError("rows are missing");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void OursOpen(benchmark::State& state)
{
    Filled& filled = FilledOnce<Filled>(state.range(0));
    for (auto _ : state)
    {
        filled.database.Close();
        filled.database.Open();
    }
    state.SetItemsProcessed(state.iterations());
}

// ---- Snapshot and restore

/// The mean over all snapshots of a series. The first one follows a change, the others do not.
void OursSnapshot(benchmark::State& state)
{
    constexpr QZInt64 snapshots = 20000;
    for (auto _ : state)
    {
        Ours database(true);
        database->CheckParam(0);
        database->RB_OFF();
        for (QZInt64 i = 0; i < state.range(0); ++i) database.AppendRow(i);
        database->RB_ON();
        database->P_D(database.List(), Info::DATA_AD);
        bool made = true;
        const double start = qzbench::Now();
        for (QZInt64 i = 0; i < snapshots; ++i) made = database->AD_TS() != 0 && made;
        state.SetIterationTime(qzbench::Now() - start);
        if (!made) state.SkipWithError("no snapshot");
    }
    state.SetItemsProcessed(state.iterations() * snapshots);
}

/// One restore that undoes range(0) changes in a database with range(1) rows. The time is per change.
void OursRestore(benchmark::State& state)
{
    const QZInt64 changes = state.range(0);
    constexpr QZInt64 rounds = 3;
    for (auto _ : state)
    {
        Ours database(true);
        database->CheckParam(0);
        database->RB_OFF();
        for (QZInt64 i = 0; i < state.range(1); ++i) database.AppendRow(i);
        const QZInt64 record = database->P_D(database.List(), Info::DATA_AD);
        database->RB_ON();
        double spent = 0;
        for (QZInt64 round = 0; round < rounds; ++round)
        {
            database->P_A(record, Info::AD_FREE, -7);
            const QZInt64 mark = database->AD_TS();
            const QZInt64 target = database->G_A(mark, Info::RD_P);
            for (QZInt64 i = 0; i < changes; ++i) database->P_A(record, Info::AD_FREE, i);
            const double start = qzbench::Now();
            const QZBool done = database->AB_CB(target);
            spent += qzbench::Now() - start;
            if (!done || database->G_A(record, Info::AD_FREE) != -7)
                state.SkipWithError("the restore failed");
        }
        state.SetIterationTime(spent);
    }
    state.SetItemsProcessed(state.iterations() * rounds * changes);
}

// ---- SQLite

#ifdef QZ_HAVE_SQLITE
void LiteReadField(benchmark::State& state)
{
    char text[16];
    LiteReadTexts(state, [&text](const unsigned char* bytes) {
        std::memcpy(text, bytes, kTextSize);
        benchmark::DoNotOptimize(text);
    });
}

void LiteWalk(benchmark::State& state)
{
    Lite& database = FilledOnce<Lite>(state.range(0));
    sqlite3_stmt* select = database.Prepare("SELECT rowid FROM t");
    for (auto _ : state)
    {
        QZInt64 count = 0;
        while (sqlite3_step(select) == SQLITE_ROW)
        {
            benchmark::DoNotOptimize(sqlite3_column_int64(select, 0));
            ++count;
        }
        sqlite3_reset(select);
        if (count != state.range(0)) state.SkipWithError("rows are missing");
    }
    sqlite3_finalize(select);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void LiteOpen(benchmark::State& state)
{
    Lite& database = FilledOnce<Lite>(state.range(0));
    for (auto _ : state)
    {
        database.Close();
        database.Open();
        // SQLite reads the file at the first statement, not when it opens it.
        database.Run("SELECT 1 FROM t LIMIT 1");
    }
    state.SetItemsProcessed(state.iterations());
}

/// The nearest operation of SQLite: a transaction with range(0) updates of one row, rolled back.
void LiteRestore(benchmark::State& state)
{
    constexpr QZInt64 rounds = 3;
    for (auto _ : state)
    {
        Lite database;
        database.Append(state.range(1) + 1);
        sqlite3_stmt* update = database.Prepare("UPDATE t SET a=? WHERE rowid=?");
        double spent = 0;
        for (QZInt64 round = 0; round < rounds; ++round)
        {
            database.Run("BEGIN");
            for (QZInt64 i = 0; i < state.range(0); ++i)
            {
                sqlite3_bind_int64(update, 1, i);
                sqlite3_bind_int64(update, 2, 1);
                sqlite3_step(update);
                sqlite3_reset(update);
            }
            const double start = qzbench::Now();
            database.Run("ROLLBACK");
            spent += qzbench::Now() - start;
        }
        sqlite3_finalize(update);
        state.SetIterationTime(spent);
    }
    state.SetItemsProcessed(state.iterations() * rounds * state.range(0));
}
#endif

// ---- LevelDB

#ifdef QZ_HAVE_LEVELDB
class Level
{
public:
    /// The new database has `rows` rows.
    explicit Level(QZInt64 rows = 0) : m_path(qzbench::FreshName("level"))
    {
        leveldb::Options options;
        options.create_if_missing = true;
        leveldb::DB::Open(options, m_path, &m_db);
        if (rows > 0) Append(rows);
    }
    ~Level()
    {
        delete m_db;
        leveldb::DestroyDB(m_path, leveldb::Options());
    }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

    static void Key(QZInt64 number, char* key)
    {
        for (int i = 0; i < 8; ++i) key[i] = static_cast<char>(number >> (8 * (7 - i)));
    }

    void Append(QZInt64 rows)
    {
        leveldb::WriteBatch batch;
        char key[8];
        char value[8 + kTextSize + 8];
        for (QZInt64 i = 0; i < rows; ++i)
        {
            const double weight = qzbench::WeightOf(i);
            Key(i, key);
            std::memcpy(value, &i, 8);
            std::memcpy(value + 8, kText, kTextSize);
            std::memcpy(value + 8 + kTextSize, &weight, 8);
            batch.Put(leveldb::Slice(key, 8), leveldb::Slice(value, sizeof(value)));
            if (i % 1000 != 999 && i + 1 != rows) continue;
            m_db->Write(leveldb::WriteOptions(), &batch);
            batch.Clear();
        }
    }
    leveldb::DB* operator->() const { return m_db; }

private:
    std::string m_path;
    leveldb::DB* m_db = nullptr;
};

void LevelAppend(benchmark::State& state)
{
    for (auto _ : state)
    {
        Level database;
        const double start = qzbench::Now();
        database.Append(state.range(0));
        state.SetIterationTime(qzbench::Now() - start);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void LevelReadField(benchmark::State& state)
{
    Level& database = FilledOnce<Level>(state.range(0));
    std::mt19937 random(7);
    std::uniform_int_distribution<QZInt64> any(0, state.range(0) - 1);
    std::string value;
    char key[8];
    for (auto _ : state)
    {
        Level::Key(any(random), key);
        if (!database->Get(leveldb::ReadOptions(), leveldb::Slice(key, 8), &value).ok())
            state.SkipWithError("no row");
        benchmark::DoNotOptimize(value.data());
    }
    state.SetItemsProcessed(state.iterations());
}
#endif

// ---- What is run, and the rows of the table

void RegisterAppend(const Sizes& sizes, QZInt64 middle)
{
    Add("OursAppend", OursAppend, sizes, 1);
    Add("OursAppendTested", OursAppendTested, {middle}, 1);
    Add("OursAppendLogged", OursAppendLogged, {middle}, 1);
    Add("OursAppendShort", OursAppendShort, {middle}, 1);
    Add("OursAppendRecord", OursAppendRecord, {middle}, 1);
    Add("OursAppendPacked", OursAppendPacked, {middle}, 1);
#ifdef QZ_HAVE_SQLITE
    Add("LiteAppend", LiteAppend, sizes, 1);
#endif
#ifdef QZ_HAVE_LEVELDB
    Add("LevelAppend", LevelAppend, {middle}, 1);
#endif
    for (const QZInt64 size : sizes)
    {
        const std::string rows = std::to_string(size) + " rows";
        qzbench::Compare("append a row, tests off, " + rows + " / SQLite", At("OursAppend", size),
                         At("LiteAppend", size), 1);
    }
    qzbench::Compare("append a row, tests on / SQLite", At("OursAppendTested", middle),
                     At("LiteAppend", middle));
    qzbench::Compare("append a row, logged / SQLite", At("OursAppendLogged", middle),
                     At("LiteAppend", middle));
    qzbench::Compare("append a row, 4-byte addresses / SQLite", At("OursAppendShort", middle),
                     At("LiteAppend", middle));
    qzbench::Compare("append a row, tests off / LevelDB batch", At("OursAppend", middle),
                     At("LevelAppend", middle));
    qzbench::Compare("append a row packed into one content / SQLite", At("OursAppendPacked", middle),
                     At("LiteAppend", middle));
    qzbench::Compare("append an empty record / SQLite row", At("OursAppendRecord", middle),
                     At("LiteAppend", middle));
    qzbench::Growth("append: growth with size", At("OursAppend", sizes.front()),
                    At("OursAppend", sizes.back()), 0);
    qzbench::Limit("append: allocations for a row", At("OursAppend", middle), "allocations_per_row", 0.01);
    for (const QZInt64 size : sizes)
        qzbench::Limit("append: bytes of the file for a row, " + std::to_string(size) + " rows",
                       At("OursAppend", size), "bytes_per_row", 0);
    qzbench::Limit("append: the same with 4-byte addresses", At("OursAppendShort", middle), "bytes_per_row",
                   0);
    qzbench::Limit("append: the same in SQLite", At("LiteAppend", middle), "bytes_per_row", 0);
}

void RegisterRead(const Sizes& sizes, QZInt64 fitting)
{
    Add("OursReadField", OursReadField, sizes);
    Add("OursReadFieldTested", OursReadFieldTested, {fitting});
    Add("OursReadContent", OursReadContent, {sizes.front(), fitting});
    Add("OursReadAddress", OursReadAddress, sizes);
    Add("OursWalk", OursWalk, sizes);
    Add("OursCount", OursCount, sizes);
    Add("OursOpen", OursOpen, sizes);
#ifdef QZ_HAVE_SQLITE
    Add("LiteReadField", LiteReadField, sizes);
    Add("LiteWalk", LiteWalk, sizes);
    Add("LiteOpen", LiteOpen, sizes);
#endif
#ifdef QZ_HAVE_LEVELDB
    Add("LevelReadField", LevelReadField, {fitting});
#endif
    for (const QZInt64 size : sizes)
    {
        const std::string rows = std::to_string(size) + " rows";
        qzbench::Compare("read a row's 2nd field at random, " + rows + " / SQLite", At("OursReadField", size),
                         At("LiteReadField", size), 4);
    }
    for (const QZInt64 size : {sizes.front(), fitting})
        qzbench::Compare("read a content by its address, " + std::to_string(size) + " rows / SQLite",
                         At("OursReadContent", size), At("LiteReadField", size), 4);
    qzbench::Compare("read a row's 2nd field, tests on / SQLite", At("OursReadFieldTested", fitting),
                     At("LiteReadField", fitting));
    qzbench::Compare("read a row's 2nd field / LevelDB get", At("OursReadField", fitting),
                     At("LevelReadField", fitting));
    qzbench::Limit("read a row's 2nd field: allocations", At("OursReadField", fitting),
                   "allocations_per_read", 0.001);
    for (const QZInt64 size : sizes)
        qzbench::Compare("read an address field by address, " + std::to_string(size) + " rows / SQLite",
                         At("OursReadAddress", size), At("LiteReadField", size), 4);
    for (const QZInt64 size : sizes)
        qzbench::Compare("walk a list, one step, " + std::to_string(size) + " rows / SQLite",
                         At("OursWalk", size), At("LiteWalk", size));
    for (const QZInt64 size : sizes)
        qzbench::Compare("count a list, one record, " + std::to_string(size) + " rows / SQLite walk",
                         At("OursCount", size), At("LiteWalk", size));
    for (const QZInt64 size : sizes)
        qzbench::Compare("open (and close), " + std::to_string(size) + " rows / SQLite", At("OursOpen", size),
                         At("LiteOpen", size));
    qzbench::Growth("open: growth with size", At("OursOpen", sizes.front()), At("OursOpen", sizes.back()), 2);
}

void RegisterRollback()
{
    const Sizes sizes{1000, 10000, 100000};
    Add("OursSnapshot", OursSnapshot, sizes, 1);
    for (const QZInt64 size : sizes)
        qzbench::Limit("snapshot, mean, " + std::to_string(size) + " rows", At("OursSnapshot", size), "",
                       2000);
    qzbench::Growth("snapshot: growth with size", At("OursSnapshot", sizes.front()),
                    At("OursSnapshot", sizes.back()), 1.5);
    const std::vector<std::pair<QZInt64, QZInt64>> restores{
        {1, 0}, {1000, 0}, {100000, 0}, {1000, 10000}, {1000, 100000}};
    for (const auto& [changes, rows] : restores)
    {
        benchmark::RegisterBenchmark("OursRestore", OursRestore)
            ->Args({changes, rows})
            ->Iterations(1)
            ->UseManualTime();
#ifdef QZ_HAVE_SQLITE
        benchmark::RegisterBenchmark("LiteRestore", LiteRestore)
            ->Args({changes, rows})
            ->Iterations(1)
            ->UseManualTime();
#endif
    }
    for (const auto& [changes, rows] : restores)
    {
        const std::string at = "/" + std::to_string(changes) + "/" + std::to_string(rows);
        qzbench::Compare("restore, one of " + std::to_string(changes) + " changes, " + std::to_string(rows) +
                             " rows / SQLite ROLLBACK",
                         "OursRestore" + at, "LiteRestore" + at);
    }
    qzbench::Growth("restore: a change of 100000 by one of 1000", "OursRestore/1000/0",
                    "OursRestore/100000/0", 1.5);
    qzbench::Growth("restore: a change in 100000 rows by one in none", "OursRestore/1000/0",
                    "OursRestore/1000/100000", 1.5);
}
}  // namespace

int main(int argc, char** argv)
{
    const Sizes sizes{1000, 10000, 100000, 1000000};
    RegisterAppend(sizes, 100000);
    RegisterRead(sizes, 10000);
    RegisterRollback();
    return qzbench::Main(argc, argv);
}
