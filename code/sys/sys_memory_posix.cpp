#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_memory.h"
#include "sys/internal/sys_posix.h"

namespace os
{

void* HeapAllocate(QZInt64 size)
{
    if (!Gate(Op::Allocate)) return nullptr;
    TerminationHold hold;
    return std::malloc(size > 0 ? static_cast<size_t>(size) : 1);
}

void* HeapResize(void* block, QZInt64 size)
{
    if (!Gate(Op::Allocate)) return nullptr;
    TerminationHold hold;
    return std::realloc(block, size > 0 ? static_cast<size_t>(size) : 1);
}

void HeapFree(void* block)
{
    TerminationHold hold;
    std::free(block);
}

namespace
{

constexpr QZUInt64 kReserveUnit = 0x10000;

QZUInt64 PageSize()
{
    static const QZUInt64 size = static_cast<QZUInt64>(sysconf(_SC_PAGESIZE));
    return size;
}

QZUInt64 WholeUnits(QZInt64 size)
{
    return (static_cast<QZUInt64>(size) + kReserveUnit - 1) & ~(kReserveUnit - 1);
}

bool ProtectPages(void* position, QZInt64 size, int protection)
{
    QZUInt64 begin = reinterpret_cast<QZUInt64>(position);
    QZUInt64 end = begin + static_cast<QZUInt64>(size);
    begin &= ~(PageSize() - 1);
    end = (end + PageSize() - 1) & ~(PageSize() - 1);
    return mprotect(reinterpret_cast<void*>(begin), end - begin, protection) == 0;
}

}  // namespace

void* MemoryReserve(QZInt64 size)
{
    if (!Gate(Op::Reserve)) return nullptr;
    if (size <= 0)
    {
        errno = EINVAL;
        return nullptr;
    }
    // One unit more than requested, so that a range that is aligned to a unit can be cut out.
    QZUInt64 whole = WholeUnits(size);
    void* region =
        mmap(nullptr, whole + kReserveUnit, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (region == MAP_FAILED) return nullptr;
    QZUInt64 begin = reinterpret_cast<QZUInt64>(region);
    QZUInt64 aligned = (begin + kReserveUnit - 1) & ~(kReserveUnit - 1);
    if (aligned != begin) munmap(region, aligned - begin);
    if (begin + kReserveUnit != aligned)
        munmap(reinterpret_cast<void*>(aligned + whole), begin + kReserveUnit - aligned);
    return reinterpret_cast<void*>(aligned);
}

bool MemoryCommit(void* position, QZInt64 size)
{
    if (!Gate(Op::Reserve)) return false;
    return ProtectPages(position, size, PROT_READ | PROT_WRITE);
}

bool MemoryProtect(void* position, QZInt64 size, Protection protection)
{
    switch (protection)
    {
        case Protection::ReadWrite: return ProtectPages(position, size, PROT_READ | PROT_WRITE);
        case Protection::ReadOnly: return ProtectPages(position, size, PROT_READ);
        case Protection::NoAccess: return ProtectPages(position, size, PROT_NONE);
    }
    return false;
}

void MemoryRelease(void* position, QZInt64 size)
{
    if (position != nullptr) munmap(position, WholeUnits(size));
}

QZInt64 MemoryPageSize() { return static_cast<QZInt64>(PageSize()); }

}  // namespace os
