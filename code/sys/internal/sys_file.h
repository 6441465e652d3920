#ifndef QZLIB_SYS_FILE_H
#define QZLIB_SYS_FILE_H

/// Files, directories, the working directory and the free space of a disk.
///
/// Paths are UTF-16 with a terminating zero where nothing else is said. A function that returns bool returns
/// false with LastError set on failure.

#include "sys/sys_types.h"

namespace os
{

/// Opens an existing file and returns its handle; 0 with LastError set on failure. LastError is ErrorInUse
/// when another handle does not share the file for this access, or has an access that this one does not
/// share.
///
/// Linux keeps the flags as locks of the open file, which end with FileClose. They hold among the users of
/// this function, in this process and in others. Where the file system has no locks, the share flags have no
/// effect.
QZInt64 FileOpen(const QZWChar* path, bool read, bool write, bool shareRead, bool shareWrite);
/// Creates a file, opens it for reading and writing, and returns its handle; 0 with LastError set on failure,
/// ErrorFileExists when the file exists.
QZInt64 FileCreate(const QZWChar* path);
/// Closes a file.
void FileClose(QZInt64 file);
/// Reads at the offset and returns the number of bytes, fewer than `size` only at the end of the file or when
/// a test hook says so; -1 with LastError set on failure.
QZInt64 FileRead(QZInt64 file, QZInt64 offset, void* buffer, QZUInt32 size);
/// Writes at the offset and returns the number of bytes; -1 with LastError set on failure.
QZInt64 FileWrite(QZInt64 file, QZInt64 offset, const void* buffer, QZUInt32 size);
/// Returns the size in bytes; -1 with LastError set on failure.
QZInt64 FileGetSize(QZInt64 file);
/// Cuts the file to the size, or extends it with zeros.
bool FileSetSize(QZInt64 file, QZInt64 size);
/// Returns when the disk has everything that was written.
bool FileSync(QZInt64 file);

/// True when the share flags of FileOpen have an effect on this file.
bool FileIsShared(QZInt64 file);
/// Takes the lock that keeps the changes of a writer and the copying of a reader apart, and waits for it.
/// `alone` for a writer: no other handle has the lock then. The handle must have the right to write, without
/// `alone` the right to read.
bool FileChangeLock(QZInt64 file, bool alone);
/// Gives the lock back.
void FileChangeUnlock(QZInt64 file);
/// Returns when the disk has the entries of the folder that holds the path: names that were made, removed or
/// changed. A folder that this process may not read, and a file system that cannot flush folders, count as
/// flushed. Does nothing on Windows.
bool FolderSync(const QZWChar* path);

/// What a path names. A directory is Directory, everything else that exists is File.
enum class FileKind
{
    Missing,
    File,
    Directory,
};

/// Links are followed.
FileKind FileKindOf(const QZWChar* path);
/// Deletes a file, no directory.
bool FileDelete(const QZWChar* path);
/// Renames a file or directory. Both paths are bytes of the narrow page. Fails when the target exists.
bool FileRename(const char* from, const char* to);
/// Gives a file another name and returns when the disk has the change. With `replace` a file of that name is
/// replaced in one step: at every moment the name is that of one of the two. The new file gets the
/// permissions of the one that it replaces; a link to a file stays, and the file is replaced. Without
/// `replace` it fails when the target exists.
bool FileMove(const QZWChar* from, const QZWChar* to, bool replace);
/// Makes one directory, whose parent exists. Fails with ErrorDirectoryExists when it exists.
bool DirectoryCreate(const QZWChar* path);
/// Deletes an empty directory.
bool DirectoryDelete(const QZWChar* path);

/// A walk over the entries of a directory in the system's order, without "." and "..".
struct DirectoryWalk;
/// Begins a walk; null with LastError set on failure. End it with DirectoryClose.
DirectoryWalk* DirectoryOpen(const QZWChar* path);
/// Goes to the next entry; false at the end. *name is valid until the next call. *directory is set for a
/// directory, *link for a symbolic link or another entry that leads to another place.
bool DirectoryNext(DirectoryWalk* walk, const QZWChar** name, bool* directory, bool* link);
void DirectoryClose(DirectoryWalk* walk);

/// The separator of path parts that the platform writes: "/" or "\".
QZWChar PathSeparator();

/// Stores the working directory with a terminating zero. False when it does not fit into `capacity` units, or
/// on any other failure.
bool WorkingDirectoryGet(QZWChar* path, QZInt64 capacity);
/// Changes the working directory of the process.
bool WorkingDirectorySet(const QZWChar* path);

/// Stores the free bytes of the disk that holds the path; null means the working directory's.
bool DiskFreeBytes(const QZWChar* path, QZUInt64* bytes);

}  // namespace os

#endif
