#ifndef QZLIB_APPS_QZMON_PLATFORM_H
#define QZLIB_APPS_QZMON_PLATFORM_H

#include <atomic>
#include <cstddef>
#include <string>

// What this program asks of the system itself.

namespace qzmon
{

/// The folder for this program's data, in the user's folder for data of programs.
std::string UserDataFolder();

/// Sets the flag on Ctrl+C, SIGTERM and their like.
void CatchSignals(std::atomic<bool>* stop);

/// Locks the file for this process until the process ends. False when another process has it.
bool TakeLock(const std::string& path);

/// Fills bytes with numbers that nobody can guess. False when the system has none.
bool FillRandom(void* bytes, std::size_t count);

/// Of this process: resident memory in bytes, open descriptors or handles, threads. -1 when unknown.
struct ProcessFigures
{
    long long memory = -1;
    long long descriptors = -1;
    long long threads = -1;
};
ProcessFigures MeasureProcess();

}  // namespace qzmon

#endif
