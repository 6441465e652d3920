#ifndef QZLIB_SYS_MEMORY_H
#define QZLIB_SYS_MEMORY_H

/// The process heap, and address space by pages.

#include "sys/sys_types.h"

namespace os
{

// ---- The heap

/// Allocates `size` bytes, not cleared; null with LastError set on failure. Free them with HeapFree.
void* HeapAllocate(QZInt64 size);
/// Changes the size of a block, which may move. Null with LastError set on failure; the old block is then
/// unchanged.
void* HeapResize(void* block, QZInt64 size);
/// Frees a block. Null is allowed.
void HeapFree(void* block);

// ---- Pages

/// What a thread may do with the bytes of a page.
enum class Protection
{
    ReadWrite,
    ReadOnly,
    NoAccess,
};

/// Reserves address space without storage, rounded up to units of 64 KiB; null with LastError set on failure.
/// Give it back with MemoryRelease.
void* MemoryReserve(QZInt64 size);
/// Gives a reserved range readable and writable storage, which holds zeros. False with LastError set on
/// failure.
bool MemoryCommit(void* position, QZInt64 size);
/// Sets the protection of every page that the range touches. False with LastError set on failure.
bool MemoryProtect(void* position, QZInt64 size, Protection protection);
/// Releases a whole reserved range and its storage. `size` is the size that was reserved.
void MemoryRelease(void* position, QZInt64 size);
/// The page size in bytes, the granularity of MemoryProtect.
QZInt64 MemoryPageSize();

}  // namespace os

#endif
