#ifndef QZLIB_FW_BUFFER_H
#define QZLIB_FW_BUFFER_H

#include "sys/sys_types.h"

/// The checked buffers as the library's own classes use them; QZMemory is their public face.

/// A buffer of n bytes, not cleared. Null with QZLastError 256 (negative n) or 4352 (no memory).
void* MemoryAllocate(QZInt64 n);

/// The same, with the whole raw block cleared.
void* MemoryAllocateClean(QZInt64 n);

/// The requested size; -1 with QZLastError 256 (null) or 512 (marker or guard damaged).
QZInt64 MemoryGetSize(const void* buffer);

/// The raw block's size; -1 with QZLastError 256 (null) or 512 (marker damaged).
QZInt64 MemoryGetBlockSize(const void* buffer);

/// Resizes; bytes past the old block are cleared. Null with QZLastError 256 or 4352, the old buffer staying
/// valid.
void* MemoryResize(void* buffer, QZInt64 n);

/// Frees. False with QZLastError 256 (null) or 512 (damaged: the block then leaks by design).
bool MemoryFree(void* buffer);

#endif
