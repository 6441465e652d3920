#ifndef QZLIB_FW_MEMORY_RAW_H
#define QZLIB_FW_MEMORY_RAW_H

#include "sys/sys_types.h"

/// The lowest layer under the checked buffers: the process heap with its figures and its pattern test.

/// The address of QZMemory::MemoryTest, through which this layer reads the switch. Defined in fw_memory.cpp.
extern const QZBool* const kMemoryTestSwitch;

/// The raw allocator below the buffers, also for the library's small system structures: counted, and pattern-
/// tested on request.
void* MemoryRawAllocate(QZInt64 size);
void MemoryRawFree(void* block, QZInt64 size);

/// The pattern test of a block.
bool MemoryPatternTest(void* block, QZInt64 size);

/// Grows or shrinks a raw block. The sizes are 32-bit values, so that no buffer grows beyond 2 GiB - 1 this
/// way. Null when there is no memory; *trueSize becomes the block's new size.
void* MemoryRawResize(void* block, QZInt64 newSize, QZInt64 oldSize, QZInt64* trueSize);

/// Adds a block to the table of bad memory; false when the table is full.
bool MemoryOccupy(void* block, QZInt64 size);

/// For tests: replaces the pattern test; null restores it.
void MemorySetPatternTest(bool (*test)(void* block, QZInt64 size));

/// Live raw blocks and their bytes, see QZMemory::AllocInfo.
void MemoryRawInfo(QZInt64* count, QZInt64* bytes);

/// Entries and bytes of the table of bad memory.
void MemoryOccupiedInfo(QZInt64* count, QZInt64* bytes);

#endif
