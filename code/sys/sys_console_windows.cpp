#include <windows.h>

#include <new>
#include <string>

#include "sys/internal/sys_console.h"

namespace os
{

namespace
{
bool IsConsole(HANDLE handle)
{
    DWORD mode;
    return GetConsoleMode(handle, &mode) != 0;
}

/// The next unit of the input: a UTF-16 unit of a console, a byte of UTF-8 of a file or pipe. False at its
/// end.
bool ReadUnit(HANDLE input, bool console, wchar_t* unit)
{
    DWORD count = 0;
    if (console) return ReadConsoleW(input, unit, 1, &count, nullptr) && count == 1;
    unsigned char byte;
    if (!ReadFile(input, &byte, 1, &count, nullptr) || count != 1) return false;
    *unit = byte;
    return true;
}
}  // namespace

void ConsoleWrite(const QZWChar* text, QZInt64 units)
{
    if (units <= 0) return;
    HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD count = 0;
    if (IsConsole(output))
    {
        WriteConsoleW(output, text, static_cast<DWORD>(units), &count, nullptr);
        return;
    }
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(units), nullptr, 0, nullptr, nullptr);
    if (bytes <= 0) return;
    std::string narrow(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(units), narrow.data(), bytes, nullptr, nullptr);
    WriteFile(output, narrow.data(), static_cast<DWORD>(bytes), &count, nullptr);
}

QZWChar* ConsoleReadLine()
{
    HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    const bool console = IsConsole(input);
    std::wstring line;
    wchar_t unit;
    bool any = false;
    while (ReadUnit(input, console, &unit))
    {
        any = true;
        if (unit == L'\n') break;
        line.push_back(unit);
    }
    if (!any) return nullptr;
    if (!line.empty() && line.back() == L'\r') line.pop_back();
    if (!console && !line.empty())
    {
        std::string bytes(line.begin(), line.end());
        const int size = static_cast<int>(bytes.size());
        const int units = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, nullptr, 0);
        line.assign(static_cast<std::size_t>(units > 0 ? units : 0), L'\0');
        if (units > 0) MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, line.data(), units);
    }
    QZWChar* text = new (std::nothrow) QZWChar[line.size() + 1];
    if (text != nullptr) std::char_traits<wchar_t>::copy(text, line.c_str(), line.size() + 1);
    return text;
}

void ConsoleTextFree(QZWChar* text) { delete[] text; }

}  // namespace os
