#include <stdio.h>
#include <windows.h>

#include <utility>

#include "support/qz_test.h"

namespace qztest
{

long long PeakMemoryOf(const std::function<void()>&) { return -1; }

bool OnWine()
{
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

void SetVariable(const char* name, const char* value) { SetEnvironmentVariableA(name, value); }

Program::Program(const std::string& line) : m_input(_popen(line.c_str(), "w")) {}

int Program::End()
{
    if (m_input == nullptr) return -1;
    return _pclose(static_cast<FILE*>(std::exchange(m_input, nullptr)));
}

}  // namespace qztest
