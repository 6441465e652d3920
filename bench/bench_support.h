#ifndef QZLIB_BENCH_SUPPORT_H
#define QZLIB_BENCH_SUPPORT_H

/// What the benchmark programs share: comparison rows, the table, counted allocations, temporary files.
///
/// A program registers benchmarks with Google Benchmark and adds the rows of its table with Compare, Limit,
/// Growth and Rate. Every benchmark reports its number of operations with SetItemsProcessed. The table shows
/// the median over the repetitions, per operation. The repetitions of all benchmarks are interleaved, so that
/// load from other programs affects both sides of a comparison.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

namespace qzbench
{
/// Adds a row that compares our benchmark with a peer's. The ratio is the peer's time divided by ours, so 2
/// means twice as fast. A goal of 0 means no goal. The peer's column is empty without a name and for a peer
/// that is not installed.
void Compare(const std::string& name, const std::string& ours, const std::string& peer, double goal = 0);

/// Adds a row with one figure that must not exceed `limit`: a counter, or nanoseconds per operation with an
/// empty counter name. A limit of 0 means no limit.
void Limit(const std::string& name, const std::string& benchmark, const std::string& counter, double limit);

/// Adds a row that shows how the time per operation grows with the size: the time of the benchmark `large`
/// divided by that of `small`, which must not exceed `limit`. A limit of 0 means no limit.
void Growth(const std::string& name, const std::string& small, const std::string& large, double limit);

/// Adds a row with a counter of which more is better, such as "bytes_per_second": ours, the peer's, and ours
/// divided by the peer's. A goal of 0 means no goal. The peer's column is empty without a name.
void Rate(const std::string& name, const std::string& counter, const std::string& ours,
          const std::string& peer, double goal = 0);

/// Allocations of the process since its start: all calls of malloc, calloc and realloc, from any library.
std::uint64_t Allocations();

/// A new file name in a folder of this process. The folder is removed when the process ends.
std::string FreshName(const char* stem);
std::uint64_t FileSize(const std::string& path);

/// Processor time of this process in seconds, for all threads and with the system's work for them. Unlike
/// wall-clock time it does not depend on the load from other programs.
double Now();

/// Starts the library, runs the benchmarks, prints the table and stops the library. Takes the arguments of
/// Google Benchmark, and --table, which prints the table alone.
int Main(int argc, char** argv);
}  // namespace qzbench

#endif
