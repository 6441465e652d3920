#ifndef QZLIB_FW_MEMORY_RAW_H
#define QZLIB_FW_MEMORY_RAW_H

#include "sys/sys_types.h"

/// The layers under the checked buffers: the process heap with its figures and its pattern test, and the
/// pool.

/// The raw allocator below the buffers, for the library's small system structures: counted, pattern-tested on
/// request.
void* MemoryRawAllocate(QZInt64 size);
void MemoryRawFree(void* block, QZInt64 size);

/// The pattern test of a block.
bool MemoryPatternTest(void* block, QZInt64 size);

/// Grows or shrinks a raw block. The sizes are taken as 32-bit values, so that no buffer passes 2 GiB - 1
/// this way. Null when there is no memory; *trueSize becomes what the block then measures.
void* MemoryRawResize(void* block, QZInt64 newSize, QZInt64 oldSize, QZInt64* trueSize);

/// True when buffers go through the pool.
bool MemoryPoolIsOn();

/// A block of at least `size` bytes; *trueSize becomes its real size. Null when there is no memory.
void* MemoryPoolAllocate(QZInt64 size, QZInt64* trueSize);

/// Gives a block back to the layer whose block size it really has, else to the heap, accounted with `size`.
void MemoryPoolFree(void* block, QZInt64 size, QZInt64 trueSize);

/// A block for the new size that holds the old content; the same one as long as it is large enough.
void* MemoryPoolResize(void* block, QZInt64 oldSize, QZInt64 newSize, QZInt64* trueSize);

/// The pool, reached by buffers when the pool is switched on, and directly with small sizes.
void* MemoryPoolAllocate(QZInt64 size);
void MemoryPoolFree(void* block, QZInt64 size);
QZInt64 MemoryPoolCount(int layer);

/// The pool's mutex: from QZLibInit to QZLibDispose.
void MemoryPoolInit();
void MemoryPoolEnd();

/// Enters a block into the table of memory put aside as bad; false when the table is full.
bool MemoryOccupy(void* block, QZInt64 size);

/// Tests replace the pattern test through this slot; null is the real test.
void MemorySetPatternTest(bool (*test)(void* block, QZInt64 size));

#endif
