#include "fw/internal/fw_memory_pool.h"

#include <algorithm>

#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_memory_raw.h"
#include "sys/internal/sys_thread.h"

// Three stacks of free blocks, one per size class, under one process-wide recursive mutex. Their storage is
// static, so that the manager needs no memory for itself.

namespace
{
constexpr int kLayers = 3;
constexpr QZInt64 kStackSlots = 65536;

struct Layer
{
    QZInt64 blockSize;
    QZInt64 arrSizeMax;
    QZInt64 count;
};

Layer g_layers[kLayers] = {{512, 256, 0}, {131072, 512, 0}, {8388608, 25, 0}};

/// The entries have the indices 1 to count.
void* g_stacks[kLayers][kStackSlots];

void* g_mutex = nullptr;

class PoolLock
{
public:
    PoolLock() { os::MutexLock(g_mutex); }
    ~PoolLock() { os::MutexUnlock(g_mutex); }
    PoolLock(const PoolLock&) = delete;
    PoolLock& operator=(const PoolLock&) = delete;
};

/// The layer for a request; null when it is too large for the pool.
Layer* LayerFor(QZInt64 size)
{
    for (Layer& layer : g_layers)
        if (size <= layer.blockSize) return &layer;
    return nullptr;
}

void* Pop(Layer* layer) { return g_stacks[layer - g_layers][layer->count--]; }

bool Push(Layer* layer, void* block)
{
    // A host may set a maximum beyond the array; the array is the limit then.
    if (layer->count >= std::min(layer->arrSizeMax, kStackSlots) - 1) return false;
    g_stacks[layer - g_layers][++layer->count] = block;
    return true;
}

void* Move(void* block, QZInt64 oldSize, QZInt64 newSize, QZInt64* trueSize)
{
    QZInt64 newTrueSize = 0;
    void* moved = MemoryPoolAllocate(newSize, &newTrueSize);
    if (moved == nullptr) return nullptr;
    QZMemCopy(moved, block, oldSize);
    MemoryPoolFree(block, oldSize, *trueSize);
    *trueSize = newTrueSize;
    return moved;
}

void Drain()
{
    PoolLock lock;
    for (Layer& layer : g_layers)
        while (layer.count > 0) MemoryRawFree(Pop(&layer), layer.blockSize);
}

}  // namespace

void MemoryPoolInit()
{
    if (g_mutex == nullptr) g_mutex = os::MutexCreate();
}

void MemoryPoolEnd()
{
    if (g_mutex == nullptr) return;
    os::MutexLock(g_mutex);
    os::MutexClose(g_mutex);
    g_mutex = nullptr;
}

QZInt64 MemoryPoolCount(int layer) { return g_layers[layer - 1].count; }

QZInt64 MemoryPoolBlockSize(int layer) { return g_layers[layer - 1].blockSize; }

QZInt64 MemoryPoolMaximum(int layer) { return g_layers[layer - 1].arrSizeMax; }

void MemoryPoolSetMaximum(int layer, QZInt64 maximum)
{
    g_layers[layer - 1].arrSizeMax = maximum;
    Drain();
}

void* MemoryPoolAllocate(QZInt64 size)
{
    QZInt64 trueSize = 0;
    return MemoryPoolAllocate(size, &trueSize);
}

void* MemoryPoolAllocate(QZInt64 size, QZInt64* trueSize)
{
    PoolLock lock;
    Layer* layer = LayerFor(size);
    *trueSize = layer != nullptr ? layer->blockSize : size;
    if (layer != nullptr && layer->count > 0) return Pop(layer);
    return MemoryRawAllocate(*trueSize);
}

void MemoryPoolFree(void* block, QZInt64 size)
{
    Layer* layer = LayerFor(size);
    MemoryPoolFree(block, size, layer != nullptr ? layer->blockSize : size);
}

void MemoryPoolFree(void* block, QZInt64 size, QZInt64 trueSize)
{
    PoolLock lock;
    Layer* layer = LayerFor(trueSize);
    if (layer != nullptr && layer->blockSize == trueSize && Push(layer, block)) return;
    MemoryRawFree(block, size);
}

void* MemoryPoolResize(void* block, QZInt64 oldSize, QZInt64 newSize, QZInt64* trueSize)
{
    PoolLock lock;
    if (oldSize >= newSize || newSize <= *trueSize) return block;
    return Move(block, oldSize, newSize, trueSize);
}
