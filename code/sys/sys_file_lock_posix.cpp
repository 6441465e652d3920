#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "sys/internal/sys_file_lock.h"

// The share flags are locks on bytes far behind the data of the file:
//
//   kDenyRead    "others may not read"
//   kDenyWrite   "others may not write"
//   kAccessRead  "this handle reads"
//   kAccessWrite "this handle writes"
//
// A handle holds its bytes for as long as it is open, and the open fails when another handle holds a byte
// that contradicts. The locks belong to the open file and not to the process, so two handles of one process
// are told apart too. Locks that handles may have in common are shared ones. But a descriptor without the
// right to read cannot take a shared lock. It takes an exclusive lock of one byte in the slots next to the
// byte instead, and every test takes in the slots.
//
// The byte kDenyWrite is locked exclusively by a handle that writes itself: two handles that write and let
// nobody else write never go together. So of two such opens at the same time exactly one succeeds.

namespace os
{

namespace
{

constexpr off_t kDenyRead = off_t{1} << 62;
constexpr off_t kDenyWrite = kDenyRead + 1;
constexpr off_t kAccessRead = kDenyRead + 2;
constexpr off_t kAccessWrite = kDenyRead + 3;

/// The slots for kDenyRead lie before it, those for kAccessWrite behind it.
constexpr off_t kSlots = 1 << 20;
constexpr off_t kDenyReadSlots = kDenyRead - kSlots;
constexpr off_t kAccessWriteSlots = kAccessWrite + 1;
constexpr off_t kEnd = kAccessWriteSlots + kSlots;

/// The byte of the change lock.
constexpr off_t kChange = kEnd + 16;

struct flock Range(short type, off_t start, off_t size)
{
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = size;
    return range;
}

/// False when another open file holds a lock that contradicts. A file system without locks refuses nothing.
bool Take(int descriptor, short type, off_t start, off_t size = 1)
{
    struct flock range = Range(type, start, size);
    return fcntl(descriptor, F_OFD_SETLK, &range) == 0 || (errno != EAGAIN && errno != EACCES);
}

/// Takes the exclusive lock of a free slot.
bool TakeSlot(int descriptor, off_t slots)
{
    const off_t first = (static_cast<off_t>(getpid()) * 64 + descriptor) % kSlots;
    for (off_t i = 0; i < 64; ++i)
        if (Take(descriptor, F_WRLCK, slots + (first + i) % kSlots)) return true;
    return false;
}

/// True when no other open file holds a lock of the range.
bool IsFree(int descriptor, off_t start, off_t end)
{
    struct flock range = Range(F_WRLCK, start, end - start);
    return fcntl(descriptor, F_OFD_GETLK, &range) != 0 || range.l_type == F_UNLCK;
}

bool TakeDenials(int descriptor, const Sharing& sharing)
{
    if (!sharing.shareWrite && !Take(descriptor, sharing.write ? F_WRLCK : F_RDLCK, kDenyWrite)) return false;
    if (sharing.shareRead) return true;
    if (!sharing.read) return TakeSlot(descriptor, kDenyReadSlots);
    return Take(descriptor, sharing.write ? F_WRLCK : F_RDLCK, kDenyRead);
}

bool TakeAccess(int descriptor, const Sharing& sharing)
{
    if (!sharing.read) return TakeSlot(descriptor, kAccessWriteSlots);
    return Take(descriptor, F_RDLCK, kAccessRead, sharing.write ? 2 : 1);
}

bool NoDenials(int descriptor, const Sharing& sharing)
{
    const off_t start = sharing.read ? kDenyReadSlots : kDenyWrite;
    const off_t end = sharing.write ? kDenyWrite + 1 : kDenyRead + 1;
    return IsFree(descriptor, start, end);
}

bool NoAccess(int descriptor, const Sharing& sharing)
{
    if (sharing.shareRead && sharing.shareWrite) return true;
    const off_t start = sharing.shareRead ? kAccessWrite : kAccessRead;
    const off_t end = sharing.shareWrite ? kAccessRead + 1 : kEnd;
    return IsFree(descriptor, start, end);
}

}  // namespace

bool LocksTake(int descriptor, const Sharing& sharing)
{
    // A handle that only names the file takes no part, as on Windows.
    if (!sharing.read && !sharing.write) return true;
    // First the own locks, then the tests: of two opens at the same time, at least one sees the other.
    return TakeDenials(descriptor, sharing) && TakeAccess(descriptor, sharing) &&
           NoDenials(descriptor, sharing) && NoAccess(descriptor, sharing);
}

void LocksRelease(int descriptor)
{
    const int error = errno;
    struct flock range = Range(F_UNLCK, kDenyReadSlots, kChange + 1 - kDenyReadSlots);
    fcntl(descriptor, F_OFD_SETLK, &range);
    errno = error;
}

bool LocksWork(int descriptor)
{
    struct flock range = Range(F_WRLCK, kChange, 1);
    return fcntl(descriptor, F_OFD_GETLK, &range) == 0;
}

bool ChangeLockTake(int descriptor, bool alone)
{
    struct flock range = Range(alone ? F_WRLCK : F_RDLCK, kChange, 1);
    int result;
    do result = fcntl(descriptor, F_OFD_SETLKW, &range);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

void ChangeLockRelease(int descriptor)
{
    struct flock range = Range(F_UNLCK, kChange, 1);
    fcntl(descriptor, F_OFD_SETLK, &range);
}

}  // namespace os
