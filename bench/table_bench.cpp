/// Database tables beside SQLite.
///
/// The rows are those of bench_rows.h: an INT64, a text of 12 characters, a DOUBLE. Our row is added with
/// DataAdd and filled with three calls of DataSetValue, argument tests off. SQLite's is a row of a rowid
/// table, written in one transaction with synchronous=OFF and a prepared statement. Our Select makes a table
/// in memory with an object for each value. The peer's steps through all rows and copies each value into an
/// object of its own. Times of appending include writing the bytes to the system's cache and exclude flushing
/// them to the disk.

#include <memory>
#include <vector>

#include "bench_rows.h"
#include "bench_support.h"
#include "db/db_channel.h"
#include "db/db_format.h"
#include "db/db_table.h"
#include "fw/fw_data.h"
#include "fw/fw_data_type.h"
#include "fw/fw_string.h"
#include "fw/fw_table.h"
#include "sqlite_peer.h"

namespace
{
using namespace qzbench;
using Info = QZDatabaseInfo;

/// A new database with one table. The destructor closes it and removes its file.
class Ours
{
public:
    explicit Ours(bool rollback) : m_path(qzbench::FreshName("tables"))
    {
        QZChannel::Create(m_path.c_str(), Info::DBV_CODE_V5, Info::ADDR_MODE_64, rollback ? 1 : 0);
        m_channel = QZChannel::Open(QZChannel::MODE_FILE, m_path.c_str());
        m_channel->CheckParam(0);
        m_table = QZDbTable::Open(m_channel, QZDbTable::Create(m_channel, "t"));
        Field(QZ_W("a"), QZDataType::INT64);
        Field(QZ_W("b"), QZDataType::TEXTUTF16LE);
        Field(QZ_W("c"), QZDataType::DOUBLE);
        for (int i = 0; i < kTextSize; ++i) m_text.SetValueInt16(i, static_cast<QZInt16>(kText[i]));
    }
    ~Ours()
    {
        QZDbTable::Close(&m_table);
        QZChannel::Close(&m_channel);
        std::remove(m_path.c_str());
    }
    Ours(const Ours&) = delete;
    Ours& operator=(const Ours&) = delete;

    QZInt64 Append(QZInt64 number)
    {
        m_number.SetValueInt64(0, number);
        m_weight.SetValueDouble(0, qzbench::WeightOf(number));
        const QZInt64 row = m_table->DataAdd();
        m_table->DataSetValue(row, 1, &m_number);
        m_table->DataSetValue(row, 2, &m_text);
        m_table->DataSetValue(row, 3, &m_weight);
        return row;
    }

    QZDbTable* Table() const { return m_table; }
    QZChannel* Channel() const { return m_channel; }
    const std::string& Path() const { return m_path; }

private:
    void Field(const QZWChar* name, QZInt64 type)
    {
        QZString text(name);
        m_table->FieldAdd(&text, type);
    }

    std::string m_path;
    QZChannel* m_channel = nullptr;
    QZDbTable* m_table = nullptr;
    QZData m_number{8};
    QZData m_text{2 * kTextSize};
    QZData m_weight{8};
};

/// A filled table with the handles of its rows.
struct Filled
{
    explicit Filled(QZInt64 rows) : database(false)
    {
        for (QZInt64 i = 0; i < rows; ++i) order.push_back(database.Append(i));
        database.Channel()->COLLECT();
        qzbench::Shuffle(&order);
    }
    Ours database;
    std::vector<QZInt64> order;
};

void AppendRows(benchmark::State& state, bool rollback)
{
    const QZInt64 rows = state.range(0);
    for (auto _ : state)
    {
        Ours database(rollback);
        const double start = qzbench::Now();
        for (QZInt64 i = 0; i < rows; ++i) database.Append(i);
        database.Channel()->COLLECT();
        state.SetIterationTime(qzbench::Now() - start);
        state.counters["bytes_per_row"] =
            static_cast<double>(qzbench::FileSize(database.Path())) / static_cast<double>(rows);
        if (database.Table()->DataCount() != rows) state.SkipWithError("rows are missing");
    }
    state.SetItemsProcessed(state.iterations() * rows);
}

void OursAdd(benchmark::State& state) { AppendRows(state, false); }
void OursAddLogged(benchmark::State& state) { AppendRows(state, true); }

/// DataAdd alone: a row whose values stay empty.
void OursAddEmpty(benchmark::State& state)
{
    const QZInt64 rows = state.range(0);
    for (auto _ : state)
    {
        Ours database(false);
        const double start = qzbench::Now();
        for (QZInt64 i = 0; i < rows; ++i) database.Table()->DataAdd();
        database.Channel()->COLLECT();
        state.SetIterationTime(qzbench::Now() - start);
    }
    state.SetItemsProcessed(state.iterations() * rows);
}

void OursGetValue(benchmark::State& state)
{
    Filled& filled = FilledOnce<Filled>(state.range(0));
    std::size_t next = 0;
    for (auto _ : state)
    {
        QZData* value = filled.database.Table()->DataGetValue(filled.order[next], 2);
        if (value->GetSize() != 2 * kTextSize) state.SkipWithError("not the text");
        QZDbTable::Recycle(&value);
        if (++next == filled.order.size()) next = 0;
    }
    state.SetItemsProcessed(state.iterations());
}

void OursSelect(benchmark::State& state)
{
    Filled& filled = FilledOnce<Filled>(state.range(0));
    for (auto _ : state)
    {
        QZDataTable* rows = filled.database.Table()->Select();
        if (rows->Rows->Count() != state.range(0)) state.SkipWithError("rows are missing");
        QZDbTable::Recycle(&rows);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// ---- SQLite

#ifdef QZ_HAVE_SQLITE
void LiteGetValue(benchmark::State& state)
{
    LiteReadTexts(state, [](const unsigned char* bytes) {
        const std::string text(reinterpret_cast<const char*>(bytes), kTextSize);
        benchmark::DoNotOptimize(text.data());
    });
}

/// A value of any type, as an object of its own.
struct Value
{
    explicit Value(const void* bytes, std::size_t size) : data(static_cast<const char*>(bytes), size) {}
    std::string data;
};
using Row = std::vector<std::unique_ptr<Value>>;

/// The peer of Select: copies all rows into a grid of values in memory.
void LiteSelect(benchmark::State& state)
{
    Lite& database = FilledOnce<Lite>(state.range(0));
    sqlite3_stmt* select = database.Prepare("SELECT a, b, c FROM t");
    for (auto _ : state)
    {
        std::vector<std::unique_ptr<Row>> rows;
        while (sqlite3_step(select) == SQLITE_ROW)
        {
            auto row = std::make_unique<Row>();
            const QZInt64 number = sqlite3_column_int64(select, 0);
            row->push_back(std::make_unique<Value>(&number, sizeof number));
            const void* text = sqlite3_column_text16(select, 1);
            row->push_back(
                std::make_unique<Value>(text, static_cast<std::size_t>(sqlite3_column_bytes16(select, 1))));
            const double weight = sqlite3_column_double(select, 2);
            row->push_back(std::make_unique<Value>(&weight, sizeof weight));
            rows.push_back(std::move(row));
        }
        sqlite3_reset(select);
        if (static_cast<QZInt64>(rows.size()) != state.range(0)) state.SkipWithError("rows are missing");
    }
    sqlite3_finalize(select);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The same without copies: reads the values of each row and takes the next one.
void LiteStep(benchmark::State& state)
{
    Lite& database = FilledOnce<Lite>(state.range(0));
    sqlite3_stmt* select = database.Prepare("SELECT a, b, c FROM t");
    for (auto _ : state)
    {
        while (sqlite3_step(select) == SQLITE_ROW)
        {
            benchmark::DoNotOptimize(sqlite3_column_int64(select, 0));
            benchmark::DoNotOptimize(sqlite3_column_text(select, 1));
            benchmark::DoNotOptimize(sqlite3_column_double(select, 2));
        }
        sqlite3_reset(select);
    }
    sqlite3_finalize(select);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
#endif

// ---- What is run, and the rows of the table

void CompareAll(const std::string& what, const char* ours, const char* peer, const Sizes& sizes, double goal)
{
    for (const QZInt64 size : sizes)
        qzbench::Compare(what + ", " + std::to_string(size) + " rows / SQLite", At(ours, size),
                         At(peer, size), goal);
}
}  // namespace

int main(int argc, char** argv)
{
    const Sizes sizes{1000, 10000, 100000};
    const Sizes middle{10000};
    Add("OursAdd", OursAdd, sizes, 1);
    Add("OursAddEmpty", OursAddEmpty, middle, 1);
    Add("OursAddLogged", OursAddLogged, middle, 1);
    Add("OursGetValue", OursGetValue, sizes);
    Add("OursSelect", OursSelect, sizes);
#ifdef QZ_HAVE_SQLITE
    Add("LiteAdd", LiteAppend, sizes, 1);
    Add("LiteGetValue", LiteGetValue, sizes);
    Add("LiteSelect", LiteSelect, sizes);
    Add("LiteStep", LiteStep, sizes);
#endif
    CompareAll("add a row and set 3 values", "OursAdd", "LiteAdd", sizes, 0.5);
    CompareAll("add a row of empty values", "OursAddEmpty", "LiteAdd", middle, 0);
    CompareAll("add a row and set 3 values, logged", "OursAddLogged", "LiteAdd", middle, 0);
    qzbench::Growth("add: growth with size", At("OursAdd", sizes.front()), At("OursAdd", sizes.back()), 2);
    qzbench::Limit("add: bytes of the file for a row", At("OursAdd", 10000), "bytes_per_row", 0);
    qzbench::Limit("add: the same, logged", At("OursAddLogged", 10000), "bytes_per_row", 0);
    qzbench::Limit("add: the same in SQLite", At("LiteAdd", 10000), "bytes_per_row", 0);
    CompareAll("DataGetValue at random", "OursGetValue", "LiteGetValue", sizes, 0);
    CompareAll("Select, a row, peer into memory", "OursSelect", "LiteSelect", sizes, 1);
    CompareAll("Select, a row, peer stepping only", "OursSelect", "LiteStep", sizes, 0);
    qzbench::Growth("Select: growth with size", At("OursSelect", sizes.front()),
                    At("OursSelect", sizes.back()), 0);
    return qzbench::Main(argc, argv);
}
