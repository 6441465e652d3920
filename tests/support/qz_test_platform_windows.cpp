#include <windows.h>

#include "support/qz_test.h"

namespace qztest
{

bool OnWine()
{
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

void SetVariable(const char* name, const char* value) { SetEnvironmentVariableA(name, value); }

}  // namespace qztest
