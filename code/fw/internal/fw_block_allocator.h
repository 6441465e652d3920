#ifndef QZLIB_FW_BLOCK_ALLOCATOR_H
#define QZLIB_FW_BLOCK_ALLOCATOR_H

#include "sys/sys_types.h"

/// A guarded allocator for debugging memory by hand: a ready list and a used list of large regions with no-
/// access zones, allocations named by a text, and a watch list of pointer variables that are set to zero or
/// to the new address when their block is freed or moves.
///
/// A tool for those who search memory faults in the library: they put its calls in the place of the memory
/// manager's and print the lists. The library itself never calls it and does not export it; the tests keep
/// its results and printouts. Its 1024 tables lie in static storage; all operations work on table 0,
/// and only the two counters use the calling thread's table. Not safe between threads.
namespace block_allocator
{
struct ReadyEntry
{
    QZInt64 id;
    QZInt64 begin;
    QZInt64 end;
    QZInt64 size;
};

struct UsedEntry
{
    QZInt64 id;
    QZInt64 begin;
    QZInt64 end;
    QZInt64 size;
    /// The caller's text that names the allocation.
    const char* mi;
    /// The address of the caller's pointer variable.
    void** pa;
    QZInt64 user;
};

struct WatchEntry
{
    const char* mi;
    void** pa;
};

/// Entries that a list can hold; the slots run from 1.
inline constexpr QZInt64 kMostEntries = 2047;
inline constexpr QZInt64 kTables = 1024;

/// Starts the layer with table 0 and one ready block of 8 MiB; stops it. No region is released.
void Start();
void Stop();

/// A region of at least `size` bytes; returns its begin. Null when no region can be made or a list is full.
void* Allocate(const char* mi, void** pa, QZInt64 size);
/// The same, cleared.
void* AllocateClean(const char* mi, void** pa, QZInt64 size);

/// The used entry of the block that the variable points to, compared by the low 32 bits. When there is none
/// it prints a report with the whole used list on standard output and returns null.
UsedEntry* FindUsed(void** pa);

/// Frees the block and zeroes every watched variable that holds it.
void Free(void** pa);

/// The block itself while it is large enough, else a larger one with the old content; every watched variable
/// that held the old address gets the new one. Null when the variable holds no block of this allocator.
void* Resize(const char* mi, void** pa, QZInt64 size);

/// Starts to watch a variable, at most once; stops to watch it.
void WatchAdd(const char* mi, void** pa);
void WatchRemove(void** pa);

/// Print on standard output with `print`; every entry takes 100 ms, so that a long list can be read while it
/// scrolls.
/// @return the sum of sizes, cut to 32 bits
QZInt32 PrintReady(bool print);
QZInt32 PrintUsed(bool print);
void PrintWatch();

/// Entries of the calling thread's own table, which the call makes.
QZInt64 ReadyCount();
QZInt64 UsedCount();

/// Tables in use, and table 0's entry i (from 1), for tests and debuggers.
QZInt64 TableCount();
const ReadyEntry& Ready(QZInt64 i);
const UsedEntry& Used(QZInt64 i);
QZInt64 ReadyCountOfTable0();
QZInt64 UsedCountOfTable0();
QZInt64 WatchCountOfTable0();
}  // namespace block_allocator

#endif
