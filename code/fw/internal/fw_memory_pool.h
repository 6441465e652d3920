#ifndef QZLIB_FW_MEMORY_POOL_H
#define QZLIB_FW_MEMORY_POOL_H

#include "sys/sys_types.h"

/// The three-layer pool of recycled blocks between the process heap and the checked buffers; QZMemManager is
/// its public face.

/// The address of QZEnvironment::UseMemPoolCache, through which the memory layers read the switch. Defined in
/// fw_environment.cpp.
extern const QZBool* const kMemoryPoolSwitch;

/// True when buffers go through the pool.
inline bool MemoryPoolIsOn() { return *kMemoryPoolSwitch != 0; }

/// A block of at least `size` bytes; *trueSize becomes its real size. Null when there is no memory.
void* MemoryPoolAllocate(QZInt64 size, QZInt64* trueSize);

/// Gives a block back to the layer whose block size it really has, else to the heap, accounted with `size`.
void MemoryPoolFree(void* block, QZInt64 size, QZInt64 trueSize);

/// A block for the new size that holds the old content; the same one as long as it is large enough.
void* MemoryPoolResize(void* block, QZInt64 oldSize, QZInt64 newSize, QZInt64* trueSize);

/// The same for callers that do not need the real size. The block is given back with its requested size.
void* MemoryPoolAllocate(QZInt64 size);
void MemoryPoolFree(void* block, QZInt64 size);

/// The figures of a layer, 1 to 3: its free blocks, the size of its blocks, and its maximum. A layer keeps at
/// most one block less than its maximum.
QZInt64 MemoryPoolCount(int layer);
QZInt64 MemoryPoolBlockSize(int layer);
QZInt64 MemoryPoolMaximum(int layer);
/// Stores the maximum and empties all layers.
void MemoryPoolSetMaximum(int layer, QZInt64 maximum);

/// The pool's mutex: from QZLibInit to QZLibDispose.
void MemoryPoolInit();
void MemoryPoolEnd();

#endif
