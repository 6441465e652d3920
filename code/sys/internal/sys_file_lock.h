#ifndef QZLIB_SYS_FILE_LOCK_H
#define QZLIB_SYS_FILE_LOCK_H

/// The share flags of FileOpen as locks of an open file. Only the POSIX sources of the seam include it.

namespace os
{

/// What a handle does, and what it lets other handles do meanwhile.
struct Sharing
{
    bool read;
    bool write;
    bool shareRead;
    bool shareWrite;
};

/// Takes the locks of a descriptor that was just opened. False when another open file does not go with it;
/// the descriptor may hold some locks then, and is to be closed. True on a file system without locks.
bool LocksTake(int descriptor, const Sharing& sharing);
/// Gives all locks back, also where a child process has a copy of the descriptor. Keeps errno.
void LocksRelease(int descriptor);
/// True when the file system has such locks.
bool LocksWork(int descriptor);

/// See FileChangeLock.
bool ChangeLockTake(int descriptor, bool alone);
void ChangeLockRelease(int descriptor);

}  // namespace os

#endif
