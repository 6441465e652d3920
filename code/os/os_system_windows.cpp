#include <winsock2.h>

#include <windows.h>

#include <assert.h>
#include <psapi.h>

#include "os/os_system.h"

namespace os
{

// ---- Errors

QZUInt32 LastError() { return ::GetLastError(); }

void SetLastError(QZUInt32 error) { ::SetLastError(error); }

QZUInt32 ErrorFileExists() { return ERROR_FILE_EXISTS; }

QZUInt32 ErrorNoMemory() { return ERROR_NOT_ENOUGH_MEMORY; }

bool ErrorText(QZUInt32 error, QZWChar** text)
{
    *text = nullptr;
    return FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, error, 1024,
                          reinterpret_cast<LPWSTR>(text), 0, nullptr) != 0;
}

void ErrorTextFree(QZWChar* text) { LocalFree(text); }

void AssertReport(const char* expression, const char* file, int line)
{
    wchar_t wideExpression[256];
    wchar_t wideFile[256];
    if (MultiByteToWideChar(CP_ACP, 0, expression, -1, wideExpression, 256) == 0) wideExpression[0] = 0;
    if (MultiByteToWideChar(CP_ACP, 0, file, -1, wideFile, 256) == 0) wideFile[0] = 0;
    _wassert(wideExpression, wideFile, static_cast<unsigned>(line));
}

QZUInt32 ErrorDirectoryExists() { return ERROR_ALREADY_EXISTS; }

QZUInt32 ErrorBadAddress() { return ERROR_NOACCESS; }

QZUInt32 ErrorNameTooLong() { return ERROR_FILENAME_EXCED_RANGE; }

QZUInt32 ErrorNotFound() { return ERROR_FILE_NOT_FOUND; }

// ---- Narrow text

QZInt64 NarrowToWide(const char* text, QZInt64 bytes, QZWChar* out, QZInt64 capacity)
{
    if (text == nullptr || bytes <= 0 || bytes > INT_MAX) return 0;
    int size = static_cast<int>(bytes);
    if (out == nullptr) return MultiByteToWideChar(CP_ACP, 0, text, size, nullptr, 0);
    if (capacity <= 0) return 0;
    int limit = capacity > INT_MAX ? INT_MAX : static_cast<int>(capacity);
    int written = MultiByteToWideChar(CP_ACP, 0, text, size, out, limit);
    if (written != 0 || ::GetLastError() != ERROR_INSUFFICIENT_BUFFER) return written;
    // Too long for the target: as many whole characters as fit.
    int used = 0;
    int units = 0;
    while (used < size)
    {
        int step = IsDBCSLeadByteEx(CP_ACP, static_cast<BYTE>(text[used])) && used + 1 < size ? 2 : 1;
        if (GetACP() == CP_UTF8)
            while (used + step < size && (static_cast<unsigned char>(text[used + step]) & 0xC0) == 0x80)
                ++step;
        wchar_t one[8];
        int count = MultiByteToWideChar(CP_ACP, 0, text + used, step, one, 8);
        if (count <= 0 || units + count > limit) break;
        for (int i = 0; i < count; ++i) out[units++] = one[i];
        used += step;
    }
    return units;
}

QZInt64 WideToNarrow(const QZWChar* text, QZInt64 units, char* out, QZInt64 capacity)
{
    if (text == nullptr || units <= 0 || units > INT_MAX) return 0;
    int size = static_cast<int>(units);
    if (out == nullptr) return WideCharToMultiByte(CP_ACP, 0, text, size, nullptr, 0, nullptr, nullptr);
    if (capacity <= 0) return 0;
    int limit = capacity > INT_MAX ? INT_MAX : static_cast<int>(capacity);
    int written = WideCharToMultiByte(CP_ACP, 0, text, size, out, limit, nullptr, nullptr);
    if (written != 0 || ::GetLastError() != ERROR_INSUFFICIENT_BUFFER) return written;
    int used = 0;
    int bytes = 0;
    while (used < size)
    {
        int step = IS_SURROGATE_PAIR(text[used], used + 1 < size ? text[used + 1] : 0) ? 2 : 1;
        char one[16];
        int count = WideCharToMultiByte(CP_ACP, 0, text + used, step, one, 16, nullptr, nullptr);
        if (count <= 0 || bytes + count > limit) break;
        for (int i = 0; i < count; ++i) out[bytes++] = one[i];
        used += step;
    }
    return bytes;
}

// ---- Memory

void* HeapAllocate(QZInt64 size)
{
    if (!Gate(Op::Allocate)) return nullptr;
    return ::HeapAlloc(GetProcessHeap(), 0, size > 0 ? static_cast<SIZE_T>(size) : 1);
}

void* HeapResize(void* block, QZInt64 size)
{
    if (!Gate(Op::Allocate)) return nullptr;
    SIZE_T wanted = size > 0 ? static_cast<SIZE_T>(size) : 1;
    if (block == nullptr) return ::HeapAlloc(GetProcessHeap(), 0, wanted);
    return ::HeapReAlloc(GetProcessHeap(), 0, block, wanted);
}

void HeapFree(void* block)
{
    if (block != nullptr) ::HeapFree(GetProcessHeap(), 0, block);
}

void* MemoryReserve(QZInt64 size)
{
    if (!Gate(Op::Reserve)) return nullptr;
    return VirtualAlloc(nullptr, static_cast<SIZE_T>(size), MEM_RESERVE, PAGE_READWRITE);
}

bool MemoryCommit(void* position, QZInt64 size)
{
    if (!Gate(Op::Reserve)) return false;
    return VirtualAlloc(position, static_cast<SIZE_T>(size), MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

bool MemoryProtect(void* position, QZInt64 size, Protection protection)
{
    DWORD before;
    DWORD wanted = protection == Protection::ReadWrite  ? PAGE_READWRITE
                   : protection == Protection::ReadOnly ? PAGE_READONLY
                                                        : PAGE_NOACCESS;
    return VirtualProtect(position, static_cast<SIZE_T>(size), wanted, &before) != 0;
}

void MemoryRelease(void* position, QZInt64)
{
    if (position != nullptr) VirtualFree(position, 0, MEM_RELEASE);
}

QZInt64 MemoryPageSize()
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
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

// ---- Time

void LocalTime(DateTime* time)
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    *time = {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}

bool SetLocalTime(const DateTime& time)
{
    if (!Gate(Op::System)) return false;
    bool done;
    if (TestSetTime(time, &done)) return done;
    SYSTEMTIME wanted = {};
    wanted.wYear = static_cast<WORD>(time.Year);
    wanted.wMonth = static_cast<WORD>(time.Month);
    wanted.wDay = static_cast<WORD>(time.Day);
    wanted.wHour = static_cast<WORD>(time.Hour);
    wanted.wMinute = static_cast<WORD>(time.Minute);
    wanted.wSecond = static_cast<WORD>(time.Second);
    wanted.wMilliseconds = static_cast<WORD>(time.Millisecond);
    return ::SetLocalTime(&wanted) != 0;
}

QZInt64 MonotonicMicros()
{
    LARGE_INTEGER frequency;
    LARGE_INTEGER count;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&count);
    return count.QuadPart / frequency.QuadPart * 1000000 +
           count.QuadPart % frequency.QuadPart * 1000000 / frequency.QuadPart;
}

QZUInt32 TickCount() { return ::GetTickCount(); }

}  // namespace os
