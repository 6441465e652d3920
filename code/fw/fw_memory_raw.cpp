#include "fw/internal/fw_memory_raw.h"

#include <atomic>
#include <cstring>

#include "fw/fw_exception_code.h"
#include "fw/internal/fw_hooks.h"
#include "sys/internal/sys_memory.h"
#include "sys/internal/sys_process.h"
#include "sys/sys_bytes.h"

namespace
{
/// Figures, not invariants: updates may be lost under load.
std::atomic<QZInt64> g_totalBytes{0};
std::atomic<QZInt64> g_liveBlocks{0};
std::atomic<QZInt64> g_operations{0};

void Add(std::atomic<QZInt64>* figure, QZInt64 value)
{
    figure->store(figure->load(std::memory_order_relaxed) + value, std::memory_order_relaxed);
}

constexpr QZInt64 kOccupiedMost = 500;
constexpr QZInt64 kOccupiedBytesLimit = 50000000;
void* g_occupied[512];
QZInt64 g_occupiedCount = 0;
QZInt64 g_occupiedBytes = 0;

bool (*g_patternTest)(void* block, QZInt64 size) = nullptr;

bool FillAndCompare(unsigned char* p, QZInt64 size, QZUInt64 word, unsigned char tail)
{
    QZInt64 words = size / 8;
    for (QZInt64 i = 0; i < words; ++i) QZStore<QZUInt64>(p + i * 8, word);
    for (QZInt64 i = words * 8; i < size; ++i) p[i] = tail;
    for (QZInt64 i = 0; i < words; ++i)
        if (QZLoad<QZUInt64>(p + i * 8) != word) return false;
    for (QZInt64 i = words * 8; i < size; ++i)
        if (p[i] != tail) return false;
    return true;
}

/// A heap block that passed the test, or the first bad one for which the table of bad memory has no room.
void* TestedHeapBlock(QZInt64 size)
{
    for (;;)
    {
        void* block = os::HeapAllocate(size);
        if (block == nullptr) return nullptr;
        bool good = g_patternTest != nullptr ? g_patternTest(block, size) : MemoryPatternTest(block, size);
        if (good || !MemoryOccupy(block, size)) return block;
    }
}
}  // namespace

void MemorySetPatternTest(bool (*test)(void* block, QZInt64 size)) { g_patternTest = test; }

bool MemoryPatternTest(void* block, QZInt64 size)
{
    if (block == nullptr)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return false;
    }
    unsigned char* p = static_cast<unsigned char*>(block);
    if (reinterpret_cast<std::uintptr_t>(p) % 8 == 0 && size >= 33)
    {
        return FillAndCompare(p, size, 0x000000001E2F3E4Full, 0x1E) &&
               FillAndCompare(p, size, 0xFFFFFFFFE1D0C1B0ull, 0xE1);
    }
    if (size < 0) return false;
    for (int pattern : {0x0F, 0xF0})
    {
        std::memset(p, pattern, static_cast<std::size_t>(size));
        for (QZInt64 i = 0; i < size; ++i)
            if (p[i] != pattern) return false;
    }
    return true;
}

bool MemoryOccupy(void* block, QZInt64 size)
{
    if (g_occupiedCount >= kOccupiedMost || g_occupiedBytes + size >= kOccupiedBytesLimit) return false;
    g_occupied[g_occupiedCount++] = block;
    g_occupiedBytes += size;
    return true;
}

void* MemoryRawAllocate(QZInt64 size)
{
    void* block = *kMemoryTestSwitch != 0 ? TestedHeapBlock(size) : os::HeapAllocate(size);
    if (block == nullptr) return nullptr;
    Add(&g_totalBytes, size);
    Add(&g_liveBlocks, 1);
    Add(&g_operations, 1);
    return block;
}

void* MemoryRawResize(void* block, QZInt64 newSize, QZInt64 oldSize, QZInt64* trueSize)
{
    Add(&g_operations, 1);
    if (newSize != static_cast<QZInt32>(newSize)) return nullptr;
    void* moved;
    if (*kMemoryTestSwitch != 0)
    {
        moved = TestedHeapBlock(newSize);
        if (moved != nullptr)
        {
            QZMemCopy(moved, block, oldSize);
            os::HeapFree(block);
        }
    }
    else
    {
        moved = os::HeapResize(block, newSize);
    }
    if (moved == nullptr) return nullptr;
    Add(&g_totalBytes, newSize - oldSize);
    *trueSize = newSize;
    return moved;
}

void MemoryRawFree(void* block, QZInt64 size)
{
    Add(&g_totalBytes, -size);
    Add(&g_liveBlocks, -1);
    Add(&g_operations, 1);
    os::HeapFree(block);
}

void MemoryRawInfo(QZInt64* count, QZInt64* bytes)
{
    QZUInt64 workingSet = 0;
    if (g_operations.load(std::memory_order_relaxed) > 10000 && os::ProcessWorkingSet(&workingSet))
    {
        g_operations.store(0, std::memory_order_relaxed);
        g_totalBytes.store(static_cast<QZInt64>(workingSet), std::memory_order_relaxed);
    }
    *count = g_liveBlocks.load(std::memory_order_relaxed);
    *bytes = g_totalBytes.load(std::memory_order_relaxed);
}

void MemoryOccupiedInfo(QZInt64* count, QZInt64* bytes)
{
    *count = g_occupiedCount;
    *bytes = g_occupiedBytes;
}
