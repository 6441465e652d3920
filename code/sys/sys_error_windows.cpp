#include <windows.h>

#include <assert.h>

#include "sys/internal/sys_error.h"

namespace os
{

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

QZUInt32 ErrorInUse() { return ERROR_SHARING_VIOLATION; }

}  // namespace os
