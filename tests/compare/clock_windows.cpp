// The held clock on Windows: the entries of the clock in the library's import table are turned to functions
// here.

#include <windows.h>

#include <cstdio>
#include <cstring>

#include "compare.h"

namespace compare
{
namespace
{
void WINAPI HeldLocalTime(SYSTEMTIME* now)
{
    *now = {};
    now->wYear = 2024;
    now->wMonth = 5;
    now->wDay = 6;
    now->wHour = 7;
    now->wMinute = 8;
    now->wSecond = 9;
    now->wMilliseconds = 123;
}

DWORD WINAPI HeldTickCount() { return 1000000; }

template <typename T>
T* At(unsigned char* base, DWORD offset)
{
    return reinterpret_cast<T*>(base + offset);
}

/// Turns the import of that name to another function. False when the module does not import it.
bool Turn(unsigned char* base, const char* name, const void* function)
{
    const auto* head =
        At<IMAGE_NT_HEADERS64>(base, static_cast<DWORD>(reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew));
    const DWORD imports = head->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* module = At<IMAGE_IMPORT_DESCRIPTOR>(base, imports); module->Name != 0; ++module)
    {
        const auto* names = At<IMAGE_THUNK_DATA64>(base, module->OriginalFirstThunk);
        auto* entries = At<IMAGE_THUNK_DATA64>(base, module->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++entries)
        {
            if (IMAGE_SNAP_BY_ORDINAL64(names->u1.Ordinal)) continue;
            const auto* import = At<IMAGE_IMPORT_BY_NAME>(base, static_cast<DWORD>(names->u1.AddressOfData));
            if (std::strcmp(reinterpret_cast<const char*>(import->Name), name) != 0) continue;
            DWORD before;
            VirtualProtect(entries, sizeof *entries, PAGE_READWRITE, &before);
            entries->u1.Function = reinterpret_cast<ULONGLONG>(function);
            VirtualProtect(entries, sizeof *entries, before, &before);
            return true;
        }
    }
    return false;
}
}  // namespace

bool HoldClock()
{
    auto* base = reinterpret_cast<unsigned char*>(GetModuleHandleA("qzlib.dll"));
    if (base != nullptr && Turn(base, "GetLocalTime", reinterpret_cast<const void*>(HeldLocalTime)) &&
        Turn(base, "GetTickCount", reinterpret_cast<const void*>(HeldTickCount)))
        return true;
    std::fprintf(stderr, "qz_compare: the library's clock cannot be held\n");
    return false;
}

bool LimitFileSize(QZInt64) { return false; }
}  // namespace compare
