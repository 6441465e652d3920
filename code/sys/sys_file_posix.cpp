#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "sys/internal/sys_file.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_posix.h"

namespace os
{

namespace
{

// A file handle is the descriptor + 1, so that 0 is no handle.
QZInt64 HandleOf(int descriptor) { return static_cast<QZInt64>(descriptor) + 1; }

int DescriptorOf(QZInt64 file) { return file > 0 && file <= INT_MAX ? static_cast<int>(file - 1) : -1; }

QZInt64 OpenPath(const QZWChar* path, int flags, mode_t mode)
{
    int descriptor;
    {
        TerminationHold hold;
        do descriptor = open(ToBytes(path).c_str(), flags | O_CLOEXEC, mode);
        while (descriptor < 0 && errno == EINTR);
    }
    if (descriptor < 0) return 0;
    struct stat status;
    if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode))
    {
        close(descriptor);
        errno = EISDIR;
        return 0;
    }
    return HandleOf(descriptor);
}

// Transfers all bytes, unless the file ends or an error occurs. A test shortens `size` beforehand, through
// the gate.
template <typename Transfer>
QZInt64 TransferAll(QZInt64 size, Transfer transfer)
{
    QZInt64 done = 0;
    while (done < size)
    {
        ssize_t count = transfer(done, static_cast<size_t>(size - done));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return done > 0 ? done : -1;
        if (count == 0) break;
        done += count;
    }
    return done;
}

}  // namespace

QZInt64 FileOpen(const QZWChar* path, bool read, bool write, bool, bool)
{
    if (!Gate(Op::FileOpen)) return 0;
    // Without access rights the handle only names the file, as on Windows: reads and writes fail.
    int flags = read && write ? O_RDWR : write ? O_WRONLY : read ? O_RDONLY : O_PATH;
    return OpenPath(path, flags, 0);
}

QZInt64 FileCreate(const QZWChar* path)
{
    if (!Gate(Op::FileOpen)) return 0;
    return OpenPath(path, O_RDWR | O_CREAT | O_EXCL, 0666);
}

void FileClose(QZInt64 file)
{
    int descriptor = DescriptorOf(file);
    if (descriptor < 0) return;
    Notify(Event::HandleClose, file);
    close(descriptor);
}

QZInt64 FileRead(QZInt64 file, QZInt64 offset, void* buffer, QZUInt32 size)
{
    QZInt64 wanted = size;
    if (!Gate(Op::FileRead, &wanted)) return -1;
    int descriptor = DescriptorOf(file);
    if (wanted == 0)
    {
        // A read of 0 bytes fails on a handle without the right to read.
        char none;
        return pread(descriptor, &none, 0, offset) < 0 ? -1 : 0;
    }
    return TransferAll(wanted, [&](QZInt64 done, size_t rest) {
        return pread(descriptor, static_cast<char*>(buffer) + done, rest, offset + done);
    });
}

QZInt64 FileWrite(QZInt64 file, QZInt64 offset, const void* buffer, QZUInt32 size)
{
    QZInt64 wanted = size;
    if (!Gate(Op::FileWrite, &wanted)) return -1;
    int descriptor = DescriptorOf(file);
    if (wanted == 0)
    {
        char none = 0;
        return pwrite(descriptor, &none, 0, offset) < 0 ? -1 : 0;
    }
    return TransferAll(wanted, [&](QZInt64 done, size_t rest) {
        return pwrite(descriptor, static_cast<const char*>(buffer) + done, rest, offset + done);
    });
}

QZInt64 FileGetSize(QZInt64 file)
{
    if (!Gate(Op::FileSize)) return -1;
    struct stat status;
    if (fstat(DescriptorOf(file), &status) != 0) return -1;
    return status.st_size;
}

bool FileSetSize(QZInt64 file, QZInt64 size)
{
    if (!Gate(Op::FileSize)) return false;
    int result;
    do result = ftruncate(DescriptorOf(file), size);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

bool FileSync(QZInt64 file)
{
    if (!Gate(Op::FileSync)) return false;
    return fsync(DescriptorOf(file)) == 0;
}

FileKind FileKindOf(const QZWChar* path)
{
    TerminationHold hold;
    struct stat status;
    if (stat(ToBytes(path).c_str(), &status) != 0) return FileKind::Missing;
    return S_ISDIR(status.st_mode) ? FileKind::Directory : FileKind::File;
}

bool FileDelete(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return false;
    TerminationHold hold;
    return unlink(ToBytes(path).c_str()) == 0;
}

bool FileRename(const char* from, const char* to)
{
    if (!Gate(Op::FileName)) return false;
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    // The file system has no exclusive rename: test first whether the target exists.
    struct stat status;
    if (lstat(to, &status) == 0)
    {
        errno = EEXIST;
        return false;
    }
    return rename(from, to) == 0;
}

bool DirectoryCreate(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return false;
    TerminationHold hold;
    return mkdir(ToBytes(path).c_str(), 0777) == 0;
}

bool DirectoryDelete(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return false;
    TerminationHold hold;
    return rmdir(ToBytes(path).c_str()) == 0;
}

struct DirectoryWalk
{
    DIR* handle;
    std::string path;
    std::u16string name;
};

DirectoryWalk* DirectoryOpen(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return nullptr;
    TerminationHold hold;
    std::string bytes = ToBytes(path);
    if (bytes.empty()) bytes.push_back('.');
    DIR* handle = opendir(bytes.c_str());
    if (handle == nullptr) return nullptr;
    return new DirectoryWalk{handle, bytes, {}};
}

bool DirectoryNext(DirectoryWalk* walk, const QZWChar** name, bool* directory, bool* link)
{
    TerminationHold hold;
    for (;;)
    {
        const dirent* entry = readdir(walk->handle);
        if (entry == nullptr) return false;
        std::string_view text(entry->d_name);
        if (text == "." || text == "..") continue;
        struct stat status;
        *directory = fstatat(dirfd(walk->handle), entry->d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
        *link = fstatat(dirfd(walk->handle), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                S_ISLNK(status.st_mode);
        walk->name = ToText(text);
        *name = walk->name.c_str();
        return true;
    }
}

void DirectoryClose(DirectoryWalk* walk)
{
    if (walk == nullptr) return;
    TerminationHold hold;
    closedir(walk->handle);
    delete walk;
}

QZWChar PathSeparator() { return u'/'; }

bool WorkingDirectoryGet(QZWChar* path, QZInt64 capacity)
{
    if (!Gate(Op::FileName)) return false;
    TerminationHold hold;
    char bytes[PATH_MAX];
    if (getcwd(bytes, sizeof(bytes)) == nullptr) return false;
    std::u16string text = ToText(bytes);
    if (static_cast<QZInt64>(text.size()) >= capacity)
    {
        errno = ERANGE;
        return false;
    }
    std::memcpy(path, text.c_str(), (text.size() + 1) * sizeof(QZWChar));
    return true;
}

bool WorkingDirectorySet(const QZWChar* path)
{
    if (!Gate(Op::FileName)) return false;
    TerminationHold hold;
    return chdir(ToBytes(path).c_str()) == 0;
}

bool DiskFreeBytes(const QZWChar* path, QZUInt64* bytes)
{
    if (!Gate(Op::System)) return false;
    TerminationHold hold;
    struct statvfs disk;
    if (statvfs(path != nullptr ? ToBytes(path).c_str() : ".", &disk) != 0) return false;
    *bytes = static_cast<QZUInt64>(disk.f_bfree) * disk.f_frsize;
    return true;
}

}  // namespace os
