#ifndef QZLIB_SYS_FILE_H
#define QZLIB_SYS_FILE_H

/// Files, directories, the working directory and the space of a disk.

#include "sys/sys_types.h"

namespace os
{

/// Opens an existing file; 0 with LastError set on failure. Sharing has no counterpart on Linux and is not
/// looked at.
QZInt64 FileOpen(const QZWChar* path, bool read, bool write, bool shareRead, bool shareWrite);
/// Makes a new file for reading and writing; a file that is there fails with ErrorFileExists.
QZInt64 FileCreate(const QZWChar* path);
void FileClose(QZInt64 file);
/// Bytes read at the offset, fewer at the end of the file; -1 with LastError set on failure.
QZInt64 FileRead(QZInt64 file, QZInt64 offset, void* buffer, QZUInt32 size);
/// Bytes written at the offset; -1 with LastError set on failure.
QZInt64 FileWrite(QZInt64 file, QZInt64 offset, const void* buffer, QZUInt32 size);
/// -1 on failure.
QZInt64 FileGetSize(QZInt64 file);
bool FileSetSize(QZInt64 file, QZInt64 size);
bool FileSync(QZInt64 file);

enum class FileKind
{
    Missing,
    File,
    Directory,
};

FileKind FileKindOf(const QZWChar* path);
bool FileDelete(const QZWChar* path);
/// Both paths in the narrow page. A target that is there is a failure.
bool FileRename(const char* from, const char* to);
bool DirectoryCreate(const QZWChar* path);
/// Only an empty directory can go.
bool DirectoryDelete(const QZWChar* path);

/// The entries of a directory, "." and ".." left out, in the system's order; null with LastError set on
/// failure.
struct DirectoryWalk;
DirectoryWalk* DirectoryOpen(const QZWChar* path);
/// The next entry. *name stays valid until the next call; *link tells that the entry only leads to another
/// place; false at the end.
bool DirectoryNext(DirectoryWalk* walk, const QZWChar** name, bool* directory, bool* link);
void DirectoryClose(DirectoryWalk* walk);

/// The separator that the platform writes.
QZWChar PathSeparator();

/// The working directory with a terminator. False when it does not fit into capacity units, or on any
/// failure.
bool WorkingDirectoryGet(QZWChar* path, QZInt64 capacity);
bool WorkingDirectorySet(const QZWChar* path);

/// The free bytes of the disk that holds the path, null for the current one. False with LastError set on
/// failure.
bool DiskFreeBytes(const QZWChar* path, QZUInt64* bytes);

}  // namespace os

#endif
