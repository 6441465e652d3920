#ifndef QZLIB_SYS_PROCESS_H
#define QZLIB_SYS_PROCESS_H

/// Processes, and figures of the machine.
///
/// A function that returns bool returns false with LastError set on failure.

#include "sys/sys_types.h"

namespace os
{

// ---- Processes

/// The id of this process.
QZInt64 ProcessCurrentId();

/// Opens a process for queries and for access to its memory; 0 with LastError set on failure. While the
/// handle is open, the system does not reuse the id of the process. Close it with ProcessClose.
QZInt64 ProcessOpen(QZInt64 pid);
void ProcessClose(QZInt64 process);

/// Copy bytes from and to the memory of another process; they return the number of bytes copied, 0 with
/// LastError set on failure. The handle is passed to the platform unchecked. On Linux they always fail, since
/// the system does not know processes by this handle.
QZInt64 ProcessMemoryRead(QZInt64 process, QZUInt32 address, void* buffer, QZInt64 size);
QZInt64 ProcessMemoryWrite(QZInt64 process, QZUInt32 address, const void* buffer, QZInt64 size);

/// Starts a program without arguments, with a console of its own; it inherits no handles, and on Windows
/// every user may access it. The path is bytes of the narrow page. Returns the process id, 0 with LastError
/// set on failure.
QZInt64 ProcessStart(const char* path);

/// Ends a process at once. False for a process that does not exist.
bool ProcessTerminate(QZInt64 pid);

/// The bytes of a process in memory and in the page file.
struct ProcessMemory
{
    QZUInt64 WorkingSet;
    QZUInt64 Swap;
};
/// False for a process that does not exist.
bool ProcessMemoryGet(QZInt64 pid, ProcessMemory* memory);

/// A walk over the processes that this machine runs at one moment.
struct ProcessWalk;
/// Begins a walk; null with LastError set on failure. End it with ProcessWalkClose.
ProcessWalk* ProcessWalkOpen();
/// Goes to the next process and stores its id; false at the end.
bool ProcessNext(ProcessWalk* walk, QZInt64* pid);
/// The file name of the current process's program, valid until the next step.
const QZWChar* ProcessName(ProcessWalk* walk);
/// True when the current process runs the program `name`: the file name + ".exe" on Windows. On Linux the
/// file name is compared without an ending ".exe".
bool ProcessIsProgram(ProcessWalk* walk, const QZWChar* name);
/// Ends a walk. Null is allowed.
void ProcessWalkClose(ProcessWalk* walk);

/// Stores the path of this process's program with a terminating zero, cut to `capacity` units.
bool ProcessImagePath(QZWChar* path, QZInt64 capacity);

/// Stores the resident bytes of this process.
bool ProcessWorkingSet(QZUInt64* bytes);

// ---- The machine

/// Stores the name of this computer with a terminating zero. False when it does not fit into `capacity`
/// units.
bool ComputerName(QZWChar* name, QZInt64 capacity);

/// Physical memory and page file, in bytes.
struct MemoryStatus
{
    QZUInt64 TotalPhys;
    QZUInt64 AvailPhys;
    QZUInt64 TotalSwap;
    QZUInt64 AvailSwap;
    int Load;  ///< percent of the physical memory in use
};
/// A figure that the system does not give is 0.
void MemoryStatusGet(MemoryStatus* status);

/// Time that the processors have spent since the system started, in units of the platform. Kernel includes
/// Idle.
struct SystemTimes
{
    QZUInt64 Idle;
    QZUInt64 Kernel;
    QZUInt64 User;
};
bool SystemTimesGet(SystemTimes* times);

/// The load of the processors between two readings of SystemTimesGet, in percent, cut to a whole number; 0
/// when no time passed.
int SystemLoad(const SystemTimes& first, const SystemTimes& second);

}  // namespace os

#endif
