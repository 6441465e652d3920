#ifndef QZLIB_BENCH_SUPPORT_H
#define QZLIB_BENCH_SUPPORT_H

/// What the benchmark programs share: comparison rows, the table, counted allocations, files of their own.
///
/// A program registers benchmarks with Google Benchmark and says with Compare, Limit and Growth what is to be
/// read out of them. Every benchmark tells how many operations it did with SetItemsProcessed; the table takes
/// the median of its repetitions, per operation. The repetitions of all benchmarks are mixed, so that a busy
/// machine does not fall on one side alone.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

namespace qzbench
{
/// A row of ours and a peer's benchmark: the ratio is the peer's time by ours, so 2 is twice as fast. A goal
/// of 0 is none. An empty peer leaves that column out; so does a peer that was not built in.
void Compare(const std::string& name, const std::string& ours, const std::string& peer, double goal = 0);

/// A row of one figure, a counter or (with an empty counter) nanoseconds per operation, that shall not exceed
/// `limit`; 0 is no limit.
void Limit(const std::string& name, const std::string& benchmark, const std::string& counter, double limit);

/// A row that tells how a benchmark's time per operation grows from a small to a large size: large by small,
/// shall not exceed `limit`; 0 is no limit.
void Growth(const std::string& name, const std::string& small, const std::string& large, double limit);

/// A row of a counter of which more is better, "bytes_per_second" for one: ours, the peer's, and ours by the
/// peer's. A goal of 0 is none; an empty peer leaves that column out.
void Rate(const std::string& name, const std::string& counter, const std::string& ours,
          const std::string& peer, double goal = 0);

/// Allocations of the process since it began: every call of malloc, calloc and realloc, whoever made it.
std::uint64_t Allocations();

/// A folder of this process that goes away at its end, and a name in it.
std::string FreshName(const char* stem);
std::uint64_t FileSize(const std::string& path);

/// Seconds of processor time of this process, all threads and the system's work for it included. On a machine
/// that others use too it says what an operation costs; wall-clock time would say what the neighbours do.
double Now();

/// Starts the library, runs the benchmarks, prints the table, ends the library. Arguments are those of Google
/// Benchmark, and --table, which prints the table alone.
int Main(int argc, char** argv);
}  // namespace qzbench

#endif
