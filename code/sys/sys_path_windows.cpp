#include <windows.h>

#include <string>

#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_path.h"

namespace os
{

bool RealPath(const QZWChar* path, std::basic_string<QZWChar>* real, bool* plain)
{
    if (!Gate(Op::FileName)) return false;
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    // Directories can be opened only with this flag.
    const DWORD flags = FILE_FLAG_BACKUP_SEMANTICS;
    const HANDLE file = CreateFileW(path, 0, share, nullptr, OPEN_EXISTING, flags, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    BY_HANDLE_FILE_INFORMATION state = {};
    *plain = GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &state) != 0 &&
             (state.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    const DWORD size = GetFinalPathNameByHandleW(file, nullptr, 0, FILE_NAME_NORMALIZED);
    real->assign(size, 0);
    const DWORD written =
        size > 0 ? GetFinalPathNameByHandleW(file, real->data(), size, FILE_NAME_NORMALIZED) : 0;
    real->resize(written);
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    return written > 0 && written < size;
}

}  // namespace os
