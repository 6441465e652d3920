#include <windows.h>

#include <climits>
#include <new>
#include <string>

#include "sys/internal/sys_file.h"
#include "sys/internal/sys_hooks.h"

namespace os
{

namespace
{

// The access rights for the read and write flags.
constexpr DWORD kReadAccess = 0x120089;
constexpr DWORD kWriteAccess = 0x120116;

HANDLE ToHandle(QZInt64 value) { return reinterpret_cast<HANDLE>(value); }

QZInt64 ToNumber(HANDLE handle)
{
    return handle == INVALID_HANDLE_VALUE ? 0 : reinterpret_cast<QZInt64>(handle);
}

bool MoveTo(QZInt64 file, QZInt64 offset)
{
    LARGE_INTEGER position;
    position.QuadPart = offset;
    return SetFilePointerEx(ToHandle(file), position, nullptr, FILE_BEGIN) != 0;
}

}  // namespace

QZInt64 FileOpen(const QZWChar* path, bool read, bool write, bool shareRead, bool shareWrite)
{
    if (!Gate(Op::FileOpen)) return 0;
    DWORD access = (read ? kReadAccess : 0) | (write ? kWriteAccess : 0);
    DWORD share = (shareRead ? FILE_SHARE_READ : 0) | (shareWrite ? FILE_SHARE_WRITE : 0);
    const QZInt64 file =
        ToNumber(CreateFileW(path, access, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file != 0) Changed({.kind = FileEvent::Kind::Opened, .file = file, .path = path});
    return file;
}

QZInt64 FileCreate(const QZWChar* path)
{
    if (!Gate(Op::FileOpen)) return 0;
    const QZInt64 file =
        ToNumber(CreateFileW(path, kReadAccess | kWriteAccess, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                             CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file != 0) Changed({.kind = FileEvent::Kind::Created, .file = file, .path = path});
    return file;
}

void FileClose(QZInt64 file)
{
    if (file == 0) return;
    Notify(Event::HandleClose, file);
    Changed({.kind = FileEvent::Kind::Closed, .file = file});
    CloseHandle(ToHandle(file));
}

QZInt64 FileRead(QZInt64 file, QZInt64 offset, void* buffer, QZUInt32 size)
{
    QZInt64 wanted = size;
    if (!Gate(Op::FileRead, &wanted)) return -1;
    DWORD done = 0;
    if (!MoveTo(file, offset)) return -1;
    if (!ReadFile(ToHandle(file), buffer, static_cast<DWORD>(wanted), &done, nullptr)) return -1;
    return done;
}

QZInt64 FileWrite(QZInt64 file, QZInt64 offset, const void* buffer, QZUInt32 size)
{
    QZInt64 wanted = size;
    if (!Gate(Op::FileWrite, &wanted)) return -1;
    DWORD done = 0;
    if (!MoveTo(file, offset)) return -1;
    if (!WriteFile(ToHandle(file), buffer, static_cast<DWORD>(wanted), &done, nullptr)) return -1;
    if (done > 0)
        Changed({.kind = FileEvent::Kind::Written,
                 .file = file,
                 .offset = offset,
                 .bytes = buffer,
                 .size = static_cast<QZInt64>(done)});
    return done;
}

QZInt64 FileGetSize(QZInt64 file)
{
    if (!Gate(Op::FileSize)) return -1;
    LARGE_INTEGER size;
    return GetFileSizeEx(ToHandle(file), &size) ? size.QuadPart : -1;
}

bool FileSetSize(QZInt64 file, QZInt64 size)
{
    if (!Gate(Op::FileSize)) return false;
    if (!MoveTo(file, size) || SetEndOfFile(ToHandle(file)) == 0) return false;
    Changed({.kind = FileEvent::Kind::Resized, .file = file, .size = size});
    return true;
}

bool FileSync(QZInt64 file)
{
    if (!Gate(Op::FileSync)) return false;
    if (FlushFileBuffers(ToHandle(file)) == 0) return false;
    Changed({.kind = FileEvent::Kind::Flushed, .file = file});
    return true;
}

bool FileIsShared(QZInt64) { return true; }

namespace
{

/// The byte of the change lock lies far behind the data, because a locked byte cannot be read by others.
OVERLAPPED ChangeLockPlace()
{
    OVERLAPPED place = {};
    place.OffsetHigh = 0x40000000;
    return place;
}

}  // namespace

bool FileChangeLock(QZInt64 file, bool alone)
{
    OVERLAPPED place = ChangeLockPlace();
    return LockFileEx(ToHandle(file), alone ? LOCKFILE_EXCLUSIVE_LOCK : 0, 0, 1, 0, &place) != 0;
}

void FileChangeUnlock(QZInt64 file)
{
    OVERLAPPED place = ChangeLockPlace();
    UnlockFileEx(ToHandle(file), 0, 1, 0, &place);
}

bool FolderSync(const QZWChar* path)
{
    if (!Gate(Op::FileSync)) return false;
    Changed({.kind = FileEvent::Kind::FolderFlushed, .path = path});
    return true;
}

FileKind FileKindOf(const QZWChar* path)
{
    DWORD attributes = GetFileAttributesW(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) return FileKind::Missing;
    return attributes & FILE_ATTRIBUTE_DIRECTORY ? FileKind::Directory : FileKind::File;
}

bool FileDelete(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return false;
    if (DeleteFileW(path) == 0) return false;
    Changed({.kind = FileEvent::Kind::Deleted, .path = path});
    return true;
}

bool FileRename(const char* from, const char* to)
{
    if (!Gate(Op::FileName)) return false;
    if (MoveFileA(from, to) == 0) return false;
    Changed({.kind = FileEvent::Kind::Renamed, .from = from, .to = to});
    return true;
}

bool FileMove(const QZWChar* from, const QZWChar* to, bool replace)
{
    if (!Gate(Op::FileName)) return false;
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
    return MoveFileExW(from, to, flags) != 0;
}

bool DirectoryCreate(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return false;
    return CreateDirectoryW(path, nullptr) != 0;
}

bool DirectoryDelete(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return false;
    return RemoveDirectoryW(path) != 0;
}

struct DirectoryWalk
{
    HANDLE handle;
    WIN32_FIND_DATAW entry;
    bool fresh;
};

DirectoryWalk* DirectoryOpen(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return nullptr;
    std::wstring pattern(path);
    if (!pattern.empty() && pattern.back() != L'\\' && pattern.back() != L'/' && pattern.back() != L':')
        pattern += L'\\';
    pattern += L'*';
    DirectoryWalk* walk = new DirectoryWalk;
    walk->handle =
        FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &walk->entry, FindExSearchNameMatch, nullptr, 0);
    walk->fresh = true;
    if (walk->handle != INVALID_HANDLE_VALUE) return walk;
    DWORD error = ::GetLastError();
    delete walk;
    ::SetLastError(error);
    return nullptr;
}

bool DirectoryNext(DirectoryWalk* walk, const QZWChar** name, bool* directory, bool* link)
{
    for (;;)
    {
        if (!walk->fresh && !FindNextFileW(walk->handle, &walk->entry)) return false;
        walk->fresh = false;
        const wchar_t* text = walk->entry.cFileName;
        if (text[0] == L'.' && (text[1] == 0 || (text[1] == L'.' && text[2] == 0))) continue;
        *name = text;
        *directory = (walk->entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        *link = (walk->entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        return true;
    }
}

void DirectoryClose(DirectoryWalk* walk)
{
    if (walk == nullptr) return;
    FindClose(walk->handle);
    delete walk;
}

QZWChar PathSeparator() { return L'\\'; }

bool WorkingDirectoryGet(QZWChar* path, QZInt64 capacity)
{
    if (!Gate(Op::FileName)) return false;
    DWORD size = GetCurrentDirectoryW(static_cast<DWORD>(capacity), path);
    if (size != 0 && size < capacity) return true;
    if (size != 0) ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return false;
}

bool WorkingDirectorySet(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return false;
    return SetCurrentDirectoryW(path) != 0;
}

bool DiskFreeBytes(const QZWChar* path, QZUInt64* bytes)
{
    if (!Gate(Op::System)) return false;
    ULARGE_INTEGER toCaller;
    ULARGE_INTEGER total;
    ULARGE_INTEGER free;
    if (!GetDiskFreeSpaceExW(path, &toCaller, &total, &free)) return false;
    *bytes = free.QuadPart;
    return true;
}

}  // namespace os
