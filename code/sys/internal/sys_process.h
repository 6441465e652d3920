#ifndef QZLIB_SYS_PROCESS_H
#define QZLIB_SYS_PROCESS_H

/// Processes, and figures of the machine.

#include "sys/sys_types.h"

namespace os
{

// ---- Processes

QZInt64 ProcessCurrentId();

/// Opens a process for questions about it and for its memory; 0 with LastError set on failure. The handle
/// keeps the process's number from being given to another.
QZInt64 ProcessOpen(QZInt64 pid);
void ProcessClose(QZInt64 process);

/// Move bytes from and to the memory of the process behind a handle, which goes to the platform as it stands;
/// the bytes moved, 0 with LastError set on failure. Linux knows no process by such a handle.
QZInt64 ProcessMemoryRead(QZInt64 process, QZUInt32 address, void* buffer, QZInt64 size);
QZInt64 ProcessMemoryWrite(QZInt64 process, QZUInt32 address, const void* buffer, QZInt64 size);

/// Starts a program without arguments, with a console of its own, nothing inherited and open to everyone; its
/// number, 0 with LastError set on failure. The path is in the narrow page.
QZInt64 ProcessStart(const char* path);

/// Ends a process at once. False for one that is not there.
bool ProcessTerminate(QZInt64 pid);

/// What a process has in memory and in the page file, in bytes. False for one that is not there.
struct ProcessMemory
{
    QZUInt64 WorkingSet;
    QZUInt64 Swap;
};
bool ProcessMemoryGet(QZInt64 pid, ProcessMemory* memory);

/// The processes of this machine at one time; null with LastError set on failure.
struct ProcessWalk;
ProcessWalk* ProcessWalkOpen();
/// The next process; false at the end.
bool ProcessNext(ProcessWalk* walk, QZInt64* pid);
/// The file name of its program, good until the next step.
const QZWChar* ProcessName(ProcessWalk* walk);
/// True when that file is the program `name`, which is called name + ".exe" on Windows. On Linux programs go
/// without the ending, and one that has it is compared without.
bool ProcessIsProgram(ProcessWalk* walk, const QZWChar* name);
void ProcessWalkClose(ProcessWalk* walk);

/// The path of this process's program with a terminator, cut off where capacity units are full. False on
/// failure.
bool ProcessImagePath(QZWChar* path, QZInt64 capacity);

/// The resident bytes of this process.
bool ProcessWorkingSet(QZUInt64* bytes);

// ---- The machine

/// The name of this computer with a terminator; false when it does not fit into capacity units.
bool ComputerName(QZWChar* name, QZInt64 capacity);

struct MemoryStatus
{
    QZUInt64 TotalPhys;
    QZUInt64 AvailPhys;
    QZUInt64 TotalSwap;
    QZUInt64 AvailSwap;
    int Load;  ///< percent of the physical memory
};
/// Zeros where the system tells nothing.
void MemoryStatusGet(MemoryStatus* status);

/// Time that the processors have spent, in units of the platform; the kernel's share includes the idle one.
struct SystemTimes
{
    QZUInt64 Idle;
    QZUInt64 Kernel;
    QZUInt64 User;
};
bool SystemTimesGet(SystemTimes* times);

/// The load of the processors between two moments, in percent, cut to a whole number; 0 when no time passed.
int SystemLoad(const SystemTimes& first, const SystemTimes& second);

}  // namespace os

#endif
