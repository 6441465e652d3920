#ifndef QZLIB_APPS_QZMON_PLATFORM_H
#define QZLIB_APPS_QZMON_PLATFORM_H

#include <atomic>
#include <string>

// What this program asks of the system itself.

namespace qzmon
{

/// The user's folder for data of programs, with this program's name.
std::string UserDataFolder();

/// Sets the flag on Ctrl+C, SIGTERM and their like.
void CatchSignals(std::atomic<bool>* stop);

/// Takes the file for this process until it ends; false when another one has it.
bool TakeLock(const std::string& path);

/// 32 hexadecimal digits that nobody can guess; empty when the system has none.
std::string RandomToken();

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
