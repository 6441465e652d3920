#ifndef QZLIB_OS_SYSTEM_INFO_H
#define QZLIB_OS_SYSTEM_INFO_H

#include "sys/sys_types.h"

class QZString;

/// Load and memory figures of this machine. All static, any thread.
class QZ_API QZSystem
{
public:
    /// The load of the processors in percent between two readings that follow each other directly; 0 when no
    /// time passed between them. The readings are stored for the whole process without a lock.
    static int GetCPUInUse();

    /// Bytes of physical memory.
    static unsigned long long GetMemoryAvailPhys();
    static unsigned long long GetMemoryTotalPhys();
    /// Bytes of the page file.
    static unsigned long long GetMemoryAvailSwap();
    static unsigned long long GetMemoryTotalSwap();
    /// Percent of the physical memory.
    static int GetMemoryInUse();

    /// The free bytes of the disk that holds the path; null means the working directory. The number is not
    /// used.
    /// @throws QZException 5888 with the system's number
    static unsigned long long GetDiskFreeBytes(const QZWChar* path, long long number);

    static void Recycle(QZString** text);
};

#endif
