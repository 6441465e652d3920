// clang-format off
#include <windows.h>
#include <ntsecapi.h>
#include <psapi.h>
#include <tlhelp32.h>
// clang-format on

#include <cstdlib>

#include "platform.h"

namespace qzmon
{

namespace
{

std::atomic<bool>* g_stop = nullptr;

BOOL WINAPI Stop(DWORD)
{
    g_stop->store(true);
    return TRUE;
}

}  // namespace

std::string UserDataFolder()
{
    const char* data = std::getenv("LOCALAPPDATA");
    return std::string(data != nullptr && *data != 0 ? data : ".") + "\\qzmon";
}

void CatchSignals(std::atomic<bool>* stop)
{
    g_stop = stop;
    SetConsoleCtrlHandler(Stop, TRUE);
}

bool TakeLock(const std::string& path)
{
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    return file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_SHARING_VIOLATION;
}

bool FillRandom(void* bytes, std::size_t count)
{
    return RtlGenRandom(bytes, static_cast<ULONG>(count)) != 0;
}

ProcessFigures MeasureProcess()
{
    ProcessFigures figures;
    PROCESS_MEMORY_COUNTERS memory = {};
    if (GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory))
        figures.memory = static_cast<long long>(memory.WorkingSetSize);
    DWORD handles = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &handles)) figures.descriptors = handles;
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (all == INVALID_HANDLE_VALUE) return figures;
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    figures.threads = 0;
    for (BOOL more = Thread32First(all, &entry); more; more = Thread32Next(all, &entry))
        figures.threads += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(all);
    return figures;
}

}  // namespace qzmon
