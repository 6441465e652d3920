#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <string>

#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_process.h"

namespace os
{

namespace
{

// The rights to query the process and to read, write and change its virtual memory.
constexpr DWORD kProcessAccess = 0x438;

HANDLE ToHandle(QZInt64 value) { return reinterpret_cast<HANDLE>(value); }

QZInt64 ToNumber(HANDLE handle) { return reinterpret_cast<QZInt64>(handle); }

HANDLE OpenById(QZInt64 pid, DWORD access)
{
    if (pid >= 0 && pid <= 0xFFFFFFFFLL) return OpenProcess(access, FALSE, static_cast<DWORD>(pid));
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
}

QZUInt64 ToNumber(const FILETIME& time)
{
    return static_cast<QZUInt64>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

}  // namespace

// ---- Processes

QZInt64 ProcessCurrentId() { return GetCurrentProcessId(); }

QZInt64 ProcessOpen(QZInt64 pid)
{
    if (!Gate(Op::System)) return 0;
    return ToNumber(OpenById(pid, kProcessAccess));
}

void ProcessClose(QZInt64 process)
{
    if (process == 0) return;
    Notify(Event::HandleClose, process);
    CloseHandle(ToHandle(process));
}

QZInt64 ProcessMemoryRead(QZInt64 process, QZUInt32 address, void* buffer, QZInt64 size)
{
    if (!Gate(Op::System)) return 0;
    SIZE_T done = 0;
    const void* place = reinterpret_cast<const void*>(static_cast<QZUInt64>(address));
    if (!ReadProcessMemory(ToHandle(process), place, buffer, static_cast<SIZE_T>(size), &done)) return 0;
    return static_cast<QZInt64>(done);
}

QZInt64 ProcessMemoryWrite(QZInt64 process, QZUInt32 address, const void* buffer, QZInt64 size)
{
    if (!Gate(Op::System)) return 0;
    SIZE_T done = 0;
    void* place = reinterpret_cast<void*>(static_cast<QZUInt64>(address));
    if (!WriteProcessMemory(ToHandle(process), place, buffer, static_cast<SIZE_T>(size), &done)) return 0;
    return static_cast<QZInt64>(done);
}

QZInt64 ProcessStart(const char* path)
{
    if (!Gate(Op::System)) return 0;
    SECURITY_DESCRIPTOR descriptor;
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    // A null list gives every user access.
    SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE);
    SECURITY_ATTRIBUTES attributes = {sizeof(attributes), &descriptor, FALSE};
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_SHOWNORMAL;
    PROCESS_INFORMATION made = {};
    if (!CreateProcessA(path, nullptr, &attributes, &attributes, FALSE, CREATE_NEW_CONSOLE, nullptr, nullptr,
                        &startup, &made))
        return 0;
    // Both handles stay open, so that the system does not reuse the id while the host uses it.
    return made.dwProcessId;
}

bool ProcessTerminate(QZInt64 pid)
{
    if (!Gate(Op::System)) return false;
    HANDLE process = OpenById(pid, PROCESS_TERMINATE);
    if (process == nullptr) return false;
    bool done = TerminateProcess(process, 0) != 0;
    DWORD error = ::GetLastError();
    CloseHandle(process);
    ::SetLastError(error);
    return done;
}

bool ProcessMemoryGet(QZInt64 pid, ProcessMemory* memory)
{
    if (!Gate(Op::System)) return false;
    HANDLE process = OpenById(pid, PROCESS_QUERY_INFORMATION | PROCESS_VM_READ);
    if (process == nullptr) return false;
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof(counters);
    DWORD exitCode = 0;
    // A process that has ended can be opened while a handle of it exists.
    bool done = GetExitCodeProcess(process, &exitCode) && exitCode == STILL_ACTIVE &&
                GetProcessMemoryInfo(process, &counters, sizeof(counters));
    CloseHandle(process);
    if (done) *memory = {counters.WorkingSetSize, counters.PagefileUsage};
    return done;
}

struct ProcessWalk
{
    HANDLE snapshot;
    PROCESSENTRY32W entry;
    bool fresh;
};

ProcessWalk* ProcessWalkOpen()
{
    if (!Gate(Op::System)) return nullptr;
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE) return nullptr;
    return new ProcessWalk{snapshot, {}, true};
}

bool ProcessNext(ProcessWalk* walk, QZInt64* pid)
{
    walk->entry.dwSize = sizeof(walk->entry);
    BOOL found = walk->fresh ? Process32FirstW(walk->snapshot, &walk->entry)
                             : Process32NextW(walk->snapshot, &walk->entry);
    walk->fresh = false;
    if (found) *pid = walk->entry.th32ProcessID;
    return found != 0;
}

const QZWChar* ProcessName(ProcessWalk* walk) { return walk->entry.szExeFile; }

bool ProcessIsProgram(ProcessWalk* walk, const QZWChar* name)
{
    return std::wstring(name) + L".exe" == walk->entry.szExeFile;
}

void ProcessWalkClose(ProcessWalk* walk)
{
    if (walk == nullptr) return;
    CloseHandle(walk->snapshot);
    delete walk;
}

bool ProcessImagePath(QZWChar* path, QZInt64 capacity)
{
    if (!Gate(Op::System)) return false;
    return GetModuleFileNameExW(GetCurrentProcess(), nullptr, path, static_cast<DWORD>(capacity)) != 0;
}

bool ProcessWorkingSet(QZUInt64* bytes)
{
    if (!Gate(Op::System)) return false;
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof(counters);
    if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters))) return false;
    *bytes = counters.WorkingSetSize;
    return true;
}

// ---- The machine

bool ComputerName(QZWChar* name, QZInt64 capacity)
{
    if (!Gate(Op::System)) return false;
    DWORD size = static_cast<DWORD>(capacity);
    return GetComputerNameW(name, &size) != 0;
}

void MemoryStatusGet(MemoryStatus* status)
{
    *status = {};
    if (!Gate(Op::System)) return;
    MEMORYSTATUS now = {};
    now.dwLength = sizeof(now);
    GlobalMemoryStatus(&now);
    *status = {now.dwTotalPhys, now.dwAvailPhys, now.dwTotalPageFile, now.dwAvailPageFile,
               static_cast<int>(now.dwMemoryLoad)};
}

bool SystemTimesGet(SystemTimes* times)
{
    if (!Gate(Op::System)) return false;
    FILETIME idle;
    FILETIME kernel;
    FILETIME user;
    if (!GetSystemTimes(&idle, &kernel, &user)) return false;
    *times = {ToNumber(idle), ToNumber(kernel), ToNumber(user)};
    return true;
}

}  // namespace os
