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
#include "sys/internal/sys_file_lock.h"
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

/// Opens a file and takes its locks. 0 with errno set on failure.
QZInt64 OpenWithLocks(const QZWChar* path, const Sharing& sharing)
{
    // Without access rights the handle only names the file, as on Windows: reads and writes fail.
    const int flags = sharing.read && sharing.write ? O_RDWR
                      : sharing.write               ? O_WRONLY
                      : sharing.read                ? O_RDONLY
                                                    : O_PATH;
    const QZInt64 file = OpenPath(path, flags, 0);
    if (file == 0 || LocksTake(DescriptorOf(file), sharing)) return file;
    // Closing also gives back the locks that were taken.
    close(DescriptorOf(file));
    errno = EBUSY;
    return 0;
}

/// True when another file has taken the place of this one between the opening and the locks: whoever replaced
/// it held a lock of the old one.
bool WasReplaced(QZInt64 file, const QZWChar* path)
{
    struct stat opened;
    struct stat named;
    if (fstat(DescriptorOf(file), &opened) != 0 || stat(ToBytes(path).c_str(), &named) != 0) return false;
    return opened.st_dev != named.st_dev || opened.st_ino != named.st_ino;
}

}  // namespace

QZInt64 FileOpen(const QZWChar* path, bool read, bool write, bool shareRead, bool shareWrite)
{
    if (!Gate(Op::FileOpen)) return 0;
    constexpr int kMostTries = 10;
    for (int tries = 0;; ++tries)
    {
        const QZInt64 file = OpenWithLocks(path, {read, write, shareRead, shareWrite});
        if (file == 0) return 0;
        if (tries < kMostTries && WasReplaced(file, path))
        {
            close(DescriptorOf(file));
            continue;
        }
        Changed({.kind = FileEvent::Kind::Opened, .file = file, .path = path});
        return file;
    }
}

QZInt64 FileCreate(const QZWChar* path)
{
    if (!Gate(Op::FileOpen)) return 0;
    const QZInt64 file = OpenPath(path, O_RDWR | O_CREAT | O_EXCL, 0666);
    if (file != 0) Changed({.kind = FileEvent::Kind::Created, .file = file, .path = path});
    return file;
}

void FileClose(QZInt64 file)
{
    int descriptor = DescriptorOf(file);
    if (descriptor < 0) return;
    Notify(Event::HandleClose, file);
    Changed({.kind = FileEvent::Kind::Closed, .file = file});
    LocksRelease(descriptor);
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
    const QZInt64 written = TransferAll(wanted, [&](QZInt64 done, size_t rest) {
        return pwrite(descriptor, static_cast<const char*>(buffer) + done, rest, offset + done);
    });
    if (written > 0)
        Changed({.kind = FileEvent::Kind::Written,
                 .file = file,
                 .offset = offset,
                 .bytes = buffer,
                 .size = written});
    return written;
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
    if (result == 0) Changed({.kind = FileEvent::Kind::Resized, .file = file, .size = size});
    return result == 0;
}

bool FileSync(QZInt64 file)
{
    if (!Gate(Op::FileSync)) return false;
    if (fsync(DescriptorOf(file)) != 0) return false;
    Changed({.kind = FileEvent::Kind::Flushed, .file = file});
    return true;
}

bool FileIsShared(QZInt64 file) { return LocksWork(DescriptorOf(file)); }

bool FileChangeLock(QZInt64 file, bool alone) { return ChangeLockTake(DescriptorOf(file), alone); }

void FileChangeUnlock(QZInt64 file) { ChangeLockRelease(DescriptorOf(file)); }

bool FolderSync(const QZWChar* path)
{
    if (!Gate(Op::FileSync)) return false;
    TerminationHold hold;
    const std::string bytes = ToBytes(path);
    const std::size_t slash = bytes.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : bytes.substr(0, slash + 1);
    int descriptor;
    do descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) return errno == EACCES;
    const bool flushed = fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS;
    const int error = errno;
    close(descriptor);
    errno = error;
    if (flushed) Changed({.kind = FileEvent::Kind::FolderFlushed, .path = path});
    return flushed;
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
    {
        TerminationHold hold;
        if (unlink(ToBytes(path).c_str()) != 0) return false;
    }
    Changed({.kind = FileEvent::Kind::Deleted, .path = path});
    return true;
}

namespace
{

bool RenameNew(const char* from, const char* to)
{
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

bool RenameOver(const char* from, const std::string& to)
{
    struct stat status;
    if (stat(to.c_str(), &status) == 0 && chmod(from, status.st_mode & 07777) != 0) return false;
    return rename(from, to.c_str()) == 0;
}

/// The file that a path names in the end.
std::string WithoutLinks(const std::string& path)
{
    char* resolved = realpath(path.c_str(), nullptr);
    const std::string result = resolved != nullptr ? resolved : path;
    free(resolved);
    return result;
}

}  // namespace

bool FileMove(const QZWChar* from, const QZWChar* to, bool replace)
{
    if (!Gate(Op::FileName)) return false;
    {
        TerminationHold hold;
        const std::string source = ToBytes(from);
        const std::string target = replace ? WithoutLinks(ToBytes(to)) : ToBytes(to);
        if (replace ? !RenameOver(source.c_str(), target) : !RenameNew(source.c_str(), target.c_str()))
            return false;
        Changed({.kind = FileEvent::Kind::Renamed, .from = source.c_str(), .to = target.c_str()});
    }
    return FolderSync(to);
}

bool FileRename(const char* from, const char* to)
{
    if (!Gate(Op::FileName)) return false;
    if (!RenameNew(from, to)) return false;
    Changed({.kind = FileEvent::Kind::Renamed, .from = from, .to = to});
    return true;
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
