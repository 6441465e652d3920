#ifndef QZLIB_FW_MEMORY_H
#define QZLIB_FW_MEMORY_H

#include "sys/sys_types.h"

/// Checked byte buffers: every buffer has a header in front and a guard word after it. All operations are
/// static and may be called from any thread; a buffer made on one thread may be freed on another.
class QZ_API QZMemory
{
public:
    /// Not 0: every raw block is pattern-tested before it is used, and bad blocks are kept in a table and
    /// never used.
    static QZBool MemoryTest;

    /// Copies through the MemCopy hook. The ranges must not overlap.
    static void Copy(void* destination, const void* source, QZInt64 size);

    /// Writes zeros through the MemClean hook.
    static void Clean(void* destination, QZInt64 size);

    /// Compares bytes. A null pointer sets QZLastError to 256 and gives false; a size below 1 gives true.
    static QZBool Equals(const void* a, const void* b, QZInt64 size);

    /// A cleaned buffer of `size` bytes, freed with RecycleBuffer. Null on failure, with QZLastError set
    /// (256 negative size, 4352 no memory).
    static void* CreateBuffer(QZInt64 size);

    /// Frees a buffer; null calls QZLibAssert(false).
    static void RecycleBuffer(void* buffer);

    /// Sets the access to the pages of [p, p + size): 1 read and write, 2 read only, 3 no access.
    /// @throws QZException 256 for a null p, a negative size or another option
    static void Protect(QZInt64 option, void* p, QZInt64 size);

    /// Writes the bytes of `source` in reverse order; returns size. The ranges must not overlap.
    static QZInt64 BigendianToLittleendian(void* destination, const void* source, QZInt64 size);

    /// Live raw blocks and their bytes: an approximate figure, set to the process's working set from time to
    /// time.
    static void AllocInfo(QZInt64* count, QZInt64* bytes);

    /// Entries and bytes of the table of bad memory.
    static void OccupiedInfo(QZInt64* count, QZInt64* bytes);
};

/// The three-layer pool of recycled blocks, used when QZEnvironment::UseMemPoolCache is set.
class QZ_API QZMemManager
{
public:
    /// Block sizes in bytes: 512, 131072, 8388608.
    static QZInt64 GetMemPoolCacheLayer1Size();
    static QZInt64 GetMemPoolCacheLayer2Size();
    static QZInt64 GetMemPoolCacheLayer3Size();

    /// A layer keeps at most one block less than its maximum.
    static QZInt64 GetMemPoolCacheLayer1ArrSizeMax();
    static QZInt64 GetMemPoolCacheLayer2ArrSizeMax();
    static QZInt64 GetMemPoolCacheLayer3ArrSizeMax();

    /// Store the maximum and empty all three layers.
    static void SetMemPoolCacheLayer1ArrSizeMax(QZInt64 maximum);
    static void SetMemPoolCacheLayer2ArrSizeMax(QZInt64 maximum);
    static void SetMemPoolCacheLayer3ArrSizeMax(QZInt64 maximum);

    /// Collect the factories' caches; without argument fully.
    static void Collect();
    static void Collect(QZBool partial);
};

#endif
