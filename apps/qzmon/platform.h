#ifndef QZLIB_APPS_QZMON_PLATFORM_H
#define QZLIB_APPS_QZMON_PLATFORM_H

#include <atomic>
#include <cstddef>
#include <string>

// What this program needs from the operating system.

namespace qzmon
{

/// The folder for this program's data, in the user's folder for data of programs.
std::string UserDataFolder();

/// Sets the flag when the process is asked to end: Ctrl+C, SIGTERM and similar.
void CatchSignals(std::atomic<bool>* stop);

/// Locks the file for this process until the process ends. False when another process has it.
bool TakeLock(const std::string& path);

/// Fills bytes with numbers that nobody can guess. False when the system has none.
bool FillRandom(void* bytes, std::size_t count);

/// Figures of this process: resident memory in bytes, open descriptors or handles, threads. -1 means unknown.
struct ProcessFigures
{
    long long memory = -1;
    long long descriptors = -1;
    long long threads = -1;
};
ProcessFigures MeasureProcess();

}  // namespace qzmon

#endif
