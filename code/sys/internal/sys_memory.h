#ifndef QZLIB_SYS_MEMORY_H
#define QZLIB_SYS_MEMORY_H

/// The process heap, and address space by pages.

#include "sys/sys_types.h"

namespace os
{

/// The process heap. Null with LastError set on failure; a failed resize leaves the old block as it was.
void* HeapAllocate(QZInt64 size);
void* HeapResize(void* block, QZInt64 size);
void HeapFree(void* block);

enum class Protection
{
    ReadWrite,
    ReadOnly,
    NoAccess,
};

/// Address space of whole 64 KiB units without storage; null on failure.
void* MemoryReserve(QZInt64 size);
/// Puts readable and writable, zeroed storage behind a reserved range.
bool MemoryCommit(void* position, QZInt64 size);
/// Sets the protection of every page that the range touches.
bool MemoryProtect(void* position, QZInt64 size, Protection protection);
/// Gives a whole reserved range back.
void MemoryRelease(void* position, QZInt64 size);
/// The granularity of MemoryProtect.
QZInt64 MemoryPageSize();

}  // namespace os

#endif
