#include "fw/internal/fw_block_allocator.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "fw/internal/fw_hooks.h"
#include "sys/internal/sys_memory.h"
#include "sys/internal/sys_thread.h"

namespace block_allocator
{
namespace
{
struct Table
{
    QZUInt64 threadId;
    ReadyEntry ready[kMostEntries + 1];
    QZInt64 readyCount;
    QZInt64 readyNextId;
    UsedEntry used[kMostEntries + 1];
    QZInt64 usedCount;
    QZInt64 usedNextId;
    WatchEntry watch[kMostEntries + 1];
    QZInt64 watchCount;
};

Table g_tables[kTables];
QZInt64 g_tableCount = 0;
bool g_initialised = false;
QZInt64 g_base = 0;

constexpr QZInt64 kPage = 4096;
constexpr QZInt64 kGuardZone = 0x10000;
constexpr QZInt64 kReserve = 0x30000;
constexpr QZInt64 kFirstBlock = 0x800000;
constexpr QZInt64 kSmallestSplit = 0x100000;

Table& Main() { return g_tables[0]; }

void* Pointer(QZInt64 address) { return reinterpret_cast<void*>(static_cast<std::intptr_t>(address)); }
QZInt64 Address(const void* p) { return static_cast<QZInt64>(reinterpret_cast<std::intptr_t>(p)); }
QZUInt32 Low(const void* p) { return static_cast<QZUInt32>(Address(p)); }
QZUInt32 Low(QZInt64 address) { return static_cast<QZUInt32>(address); }

/// The position of the guard is computed from the low 32 bits of Begin, so it is only right below 4 GiB.
/// Above that there is no guard, since the zone would lie in memory of another owner.
void ProtectGuard(QZInt64 begin, QZInt64 end, QZInt64 size)
{
    QZInt64 zone = end - 0x20000;
    if (zone < begin || zone + kGuardZone > begin + size) return;
    os::MemoryProtect(Pointer(zone), kGuardZone, os::Protection::NoAccess);
}

bool MakeBlock(QZInt64 size, ReadyEntry* entry)
{
    QZInt64 rounded = (size + kPage - 1) / kPage * kPage;
    QZInt64 region = (rounded + 0x18000) & ~QZInt64{0xFFFF};
    void* begin = os::MemoryReserve(region);
    bool mapped = begin != nullptr && os::MemoryCommit(begin, region);
    if (!mapped)
    {
        if (begin != nullptr) os::MemoryRelease(begin, region);
        begin = os::HeapAllocate(region);
    }
    if (begin == nullptr) return false;
    entry->id = 0;
    entry->begin = Address(begin);
    entry->end = static_cast<QZInt64>(Low(begin)) + rounded;
    entry->size = rounded;
    if (mapped) ProtectGuard(entry->begin, entry->end, entry->size);
    return true;
}

bool ReadyInsert(const ReadyEntry& entry)
{
    Table& table = Main();
    if (table.readyCount >= kMostEntries) return false;
    ReadyEntry& slot = table.ready[++table.readyCount];
    slot = entry;
    slot.id = ++table.readyNextId;
    return true;
}

void ReadySort()
{
    Table& table = Main();
    for (QZInt64 i = 1; i < table.readyCount; ++i)
        for (QZInt64 j = i + 1; j <= table.readyCount; ++j)
            if (table.ready[j].size < table.ready[i].size) std::swap(table.ready[i], table.ready[j]);
}

void ReadyRemove(QZInt64 id)
{
    Table& table = Main();
    for (QZInt64 i = 1; i <= table.readyCount; ++i)
    {
        if (table.ready[i].id != id) continue;
        std::copy(table.ready + i + 1, table.ready + table.readyCount + 1, table.ready + i);
        --table.readyCount;
        return;
    }
}

void UsedRemove(QZInt64 id)
{
    Table& table = Main();
    for (QZInt64 i = 1; i <= table.usedCount; ++i)
    {
        if (table.used[i].id != id) continue;
        std::copy(table.used + i + 1, table.used + table.usedCount + 1, table.used + i);
        --table.usedCount;
        return;
    }
}

ReadyEntry* SearchReady(QZInt64 size)
{
    Table& table = Main();
    for (QZInt64 i = 1; i <= table.readyCount; ++i)
        if (table.ready[i].size >= size + kReserve) return &table.ready[i];
    return nullptr;
}

ReadyEntry* FindReady(QZInt64 size)
{
    ReadyEntry* found = SearchReady(size);
    if (found != nullptr) return found;
    ReadyEntry fresh;
    if (!MakeBlock(size >= kFirstBlock ? size + kReserve : kFirstBlock, &fresh)) return nullptr;
    if (!ReadyInsert(fresh)) return nullptr;
    return SearchReady(size);
}

/// Keeps the front part of a ready entry and makes the rest an entry of its own.
void Split(ReadyEntry* entry, QZInt64 wanted)
{
    QZInt64 kept = std::max(wanted, kSmallestSplit);
    ReadyEntry rest;
    rest.id = 0;
    rest.begin = entry->begin + kept;
    rest.end = entry->end;
    rest.size = entry->size - kept;
    if (!ReadyInsert(rest)) return;
    entry->end = entry->begin + kept;
    entry->size = kept;
    ProtectGuard(entry->begin, entry->end, entry->size);
}

/// The calling thread's table; makes it when there is none. All threads share the last table when there are
/// no more.
Table& OwnTable()
{
    QZUInt64 id = os::ThreadCurrentId();
    for (QZInt64 i = 0; i < g_tableCount; ++i)
        if (g_tables[i].threadId == id) return g_tables[i];
    if (g_tableCount == kTables) return g_tables[kTables - 1];
    Table* table = &g_tables[g_tableCount++];
    table->threadId = id;
    table->readyCount = table->readyNextId = table->usedCount = table->usedNextId = table->watchCount = 0;
    ReadyEntry& first = table->ready[1];
    if (MakeBlock(kFirstBlock, &first))
    {
        table->readyCount = 1;
        first.id = ++table->readyNextId;
    }
    return *table;
}

void PrintSizeCount(QZInt64 sum)
{
    std::printf("size count: %dG,%dM,%dKB,%dB\n", static_cast<int>(sum >> 30),
                static_cast<int>((sum >> 20) & 0x3FF), static_cast<int>((sum >> 10) & 0x3FF),
                static_cast<int>(sum & 0x3FF));
}
}  // namespace

void Start()
{
    if (g_initialised) return;
    g_initialised = true;
    g_base = 1;
    g_tableCount = 1;
    Table& table = Main();
    table.threadId = 0;
    for (ReadyEntry& entry : table.ready) entry.id = 0;
    for (UsedEntry& entry : table.used) entry.id = 0;
    table.readyCount = table.readyNextId = table.usedCount = table.usedNextId = table.watchCount = 0;
    ReadyEntry first;
    if (MakeBlock(kFirstBlock, &first)) ReadyInsert(first);
}

void Stop()
{
    g_initialised = false;
    g_base = 0;
    g_tableCount = 0;
}

void* Allocate(const char* mi, void** pa, QZInt64 size)
{
    Table& table = Main();
    if (size < 0 || table.usedCount >= kMostEntries) return nullptr;
    QZInt64 wanted = (((size >> 16) + 1) << 16) + kReserve;
    ReadyEntry* entry = FindReady(size);
    if (entry == nullptr) return nullptr;
    if (entry->size > kSmallestSplit && entry->size >= 2 * wanted) Split(entry, wanted);
    UsedEntry& used = table.used[++table.usedCount];
    used = UsedEntry{++table.usedNextId, entry->begin, entry->end, entry->size, mi, pa, 0};
    ReadyRemove(entry->id);
    ReadySort();
    return Pointer(used.begin);
}

void* AllocateClean(const char* mi, void** pa, QZInt64 size)
{
    void* begin = Allocate(mi, pa, size);
    if (begin != nullptr) QZMemClean(begin, Main().used[Main().usedCount].size - kReserve);
    return begin;
}

UsedEntry* FindUsed(void** pa)
{
    Table& table = Main();
    for (QZInt64 i = table.usedCount; i >= 1; --i)
        if (Low(table.used[i].begin) == Low(*pa)) return &table.used[i];
    std::printf("Can not find pointer!\n");
    PrintUsed(true);
    return nullptr;
}

void Free(void** pa)
{
    UsedEntry* used = FindUsed(pa);
    if (used == nullptr) return;
    QZUInt32 freed = Low(*pa);
    if (!ReadyInsert(ReadyEntry{0, used->begin, used->end, used->size})) return;
    UsedRemove(used->id);
    ReadySort();
    Table& table = Main();
    for (QZInt64 i = 1; i <= table.watchCount; ++i)
        if (Low(*table.watch[i].pa) == freed) *table.watch[i].pa = nullptr;
}

void* Resize(const char* mi, void** pa, QZInt64 size)
{
    UsedEntry* used = FindUsed(pa);
    if (used == nullptr) return nullptr;
    if (size <= used->size - kReserve) return Pointer(used->begin);
    void* old = Pointer(used->begin);
    QZInt64 content = used->size - kReserve;
    // The variables that hold the old block are noted before freeing it zeroes them.
    Table& table = Main();
    static bool held[kMostEntries + 1];
    for (QZInt64 i = 1; i <= table.watchCount; ++i) held[i] = Low(*table.watch[i].pa) == Low(old);
    void* fresh = AllocateClean(mi, pa, size);
    if (fresh == nullptr) return nullptr;
    QZMemCopy(fresh, old, content);
    void* leaving = old;
    Free(&leaving);
    for (QZInt64 i = 1; i <= table.watchCount; ++i)
        if (held[i]) *table.watch[i].pa = fresh;
    return fresh;
}

void WatchAdd(const char* mi, void** pa)
{
    Table& table = Main();
    for (QZInt64 i = 1; i <= table.watchCount; ++i)
        if (table.watch[i].pa == pa) return;
    if (table.watchCount >= kMostEntries) return;
    table.watch[++table.watchCount] = WatchEntry{mi, pa};
}

void WatchRemove(void** pa)
{
    Table& table = Main();
    for (QZInt64 i = 1; i <= table.watchCount; ++i)
    {
        if (table.watch[i].pa != pa) continue;
        std::copy(table.watch + i + 1, table.watch + table.watchCount + 1, table.watch + i);
        --table.watchCount;
        return;
    }
}

QZInt32 PrintReady(bool print)
{
    Table& table = Main();
    QZInt64 sum = 0;
    if (print) std::printf("Print memory ready list.\nCount:%d\n", static_cast<int>(table.readyCount));
    for (QZInt64 i = 1; i <= table.readyCount; ++i)
    {
        const ReadyEntry& entry = table.ready[i];
        if (print)
        {
            std::printf("SN:%d,A:%X,ID:%d,Begin:%X,End:%X,Size:%X\n", static_cast<int>(i), Low(&entry),
                        static_cast<int>(entry.id), Low(entry.begin), Low(entry.end), Low(entry.size));
        }
        sum += entry.size;
        os::SleepPrecise(100);
    }
    if (print) PrintSizeCount(sum);
    return static_cast<QZInt32>(sum);
}

QZInt32 PrintUsed(bool print)
{
    Table& table = Main();
    QZInt64 sum = 0;
    if (print) std::printf("Print memory used list.\nCount:%d\n", static_cast<int>(table.usedCount));
    for (QZInt64 i = 1; i <= table.usedCount; ++i)
    {
        const UsedEntry& entry = table.used[i];
        if (print)
        {
            std::printf("ID:%d,PA:%X,MI:%s,Begin:%X,End:%X,Size:%X\n", static_cast<int>(entry.id),
                        Low(entry.pa), entry.mi != nullptr ? entry.mi : "", Low(entry.begin), Low(entry.end),
                        Low(entry.size));
        }
        sum += entry.size;
        os::SleepPrecise(100);
    }
    if (print) PrintSizeCount(sum);
    return static_cast<QZInt32>(sum);
}

void PrintWatch()
{
    Table& table = Main();
    std::printf("Count:%d\n", static_cast<int>(table.watchCount));
    for (QZInt64 i = 1; i <= table.watchCount; ++i)
    {
        const WatchEntry& entry = table.watch[i];
        std::printf("SN:%d,MI:%s,PA:%X,MB:%X\n", static_cast<int>(i), entry.mi != nullptr ? entry.mi : "",
                    Low(entry.pa), Low(*entry.pa));
    }
}

QZInt64 ReadyCount() { return OwnTable().readyCount; }
QZInt64 UsedCount() { return OwnTable().usedCount; }
QZInt64 TableCount() { return g_tableCount; }
const ReadyEntry& Ready(QZInt64 i) { return Main().ready[i]; }
const UsedEntry& Used(QZInt64 i) { return Main().used[i]; }
QZInt64 ReadyCountOfTable0() { return Main().readyCount; }
QZInt64 UsedCountOfTable0() { return Main().usedCount; }
QZInt64 WatchCountOfTable0() { return Main().watchCount; }
}  // namespace block_allocator
