#include <windows.h>

#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_memory.h"

namespace os
{

void* HeapAllocate(QZInt64 size)
{
    if (!Gate(Op::Allocate)) return nullptr;
    return ::HeapAlloc(GetProcessHeap(), 0, size > 0 ? static_cast<SIZE_T>(size) : 1);
}

void* HeapResize(void* block, QZInt64 size)
{
    if (!Gate(Op::Allocate)) return nullptr;
    SIZE_T wanted = size > 0 ? static_cast<SIZE_T>(size) : 1;
    if (block == nullptr) return ::HeapAlloc(GetProcessHeap(), 0, wanted);
    return ::HeapReAlloc(GetProcessHeap(), 0, block, wanted);
}

void HeapFree(void* block)
{
    if (block != nullptr) ::HeapFree(GetProcessHeap(), 0, block);
}

void* MemoryReserve(QZInt64 size)
{
    if (!Gate(Op::Reserve)) return nullptr;
    return VirtualAlloc(nullptr, static_cast<SIZE_T>(size), MEM_RESERVE, PAGE_READWRITE);
}

bool MemoryCommit(void* position, QZInt64 size)
{
    if (!Gate(Op::Reserve)) return false;
    return VirtualAlloc(position, static_cast<SIZE_T>(size), MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

bool MemoryProtect(void* position, QZInt64 size, Protection protection)
{
    DWORD before;
    DWORD wanted = protection == Protection::ReadWrite  ? PAGE_READWRITE
                   : protection == Protection::ReadOnly ? PAGE_READONLY
                                                        : PAGE_NOACCESS;
    return VirtualProtect(position, static_cast<SIZE_T>(size), wanted, &before) != 0;
}

void MemoryRelease(void* position, QZInt64)
{
    if (position != nullptr) VirtualFree(position, 0, MEM_RELEASE);
}

QZInt64 MemoryPageSize()
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
}

}  // namespace os
