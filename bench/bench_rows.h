#ifndef QZLIB_BENCH_BENCH_ROWS_H
#define QZLIB_BENCH_BENCH_ROWS_H

/// The rows that the database benchmarks and their peers store, and how their benchmarks are registered.
///
/// A row has three small fields: a number, a text of 12 bytes, a number.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "sys/sys_types.h"

namespace qzbench
{
constexpr char kText[] = "twelve bytes";
constexpr int kTextSize = 12;

/// The third field of a row, from the first.
inline double WeightOf(QZInt64 number) { return static_cast<double>(number) * 0.5; }

/// A Database with so many rows. It is filled at the first call; benchmarks that only read share it.
template <typename Database>
Database& FilledOnce(QZInt64 rows)
{
    static std::map<QZInt64, std::unique_ptr<Database>> all;
    std::unique_ptr<Database>& one = all[rows];
    if (one == nullptr) one = std::make_unique<Database>(rows);
    return *one;
}

/// The order in which rows are read at random. It is the same in every run and for every database.
inline void Shuffle(std::vector<QZInt64>* order)
{
    std::shuffle(order->begin(), order->end(), std::mt19937(7));
}

using Sizes = std::vector<QZInt64>;

/// Registers a benchmark once for each size. More than 0 iterations: so many, with the time that the
/// benchmark sets.
inline void Add(const char* name, void (*run)(benchmark::State&), const Sizes& sizes, int iterations = 0)
{
    for (const QZInt64 size : sizes)
    {
        auto* added = benchmark::RegisterBenchmark(name, run)->Arg(size);
        if (iterations > 0) added->Iterations(iterations)->UseManualTime();
    }
}

/// The name under which Add registered the benchmark for this size.
inline std::string At(const char* name, QZInt64 size)
{
    return std::string(name) + "/" + std::to_string(size);
}
}  // namespace qzbench

#endif
