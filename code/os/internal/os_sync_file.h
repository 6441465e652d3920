#ifndef QZLIB_OS_SYNC_FILE_H
#define QZLIB_OS_SYNC_FILE_H

#include <vector>

#include "sys/sys_types.h"

class QZFile;
class QZString;

/// The second file of a buffered file with QZFileBuffer::AtomicSync. It holds the bytes that a sync is about
/// to write in place, so that a process that dies meanwhile leaves either the whole sync or nothing of it.
/// Internal.
///
/// Its name is the file's name with ".sync" appended; docs/database-file.md documents its layout. It exists
/// while the buffer is open. Its content is valid from the write of its last byte until it is emptied.
class SyncFile
{
public:
    /// Bytes in memory and their offset in the file.
    struct Run
    {
        QZInt64 offset;
        const unsigned char* bytes;
        QZInt64 size;
    };

    /// Opens the second file of `path`, or makes it. A complete sync in it is written to `file` and flushed.
    /// An incomplete one is dropped. When `file` is empty, nothing was written in place, and any sync is
    /// dropped.
    /// @throws QZIOException  what QZFile throws
    SyncFile(QZString* path, QZFile* file);
    SyncFile(const SyncFile&) = delete;
    SyncFile& operator=(const SyncFile&) = delete;

    /// Closes the second file, and deletes it unless it holds a sync that is not yet in place.
    ~SyncFile();

    /// Writes the runs and flushes. From then on the sync is valid, and the caller writes it in place.
    /// @throws QZIOException  WriteFailed and what QZFile throws; there is no valid sync then
    void Hold(const std::vector<Run>& runs);

    /// The sync is in place and flushed: invalidates it.
    void Release();

    /// True between Hold and Release, and when the sync of an earlier Hold is not yet in place.
    bool IsHolding() const { return m_holding; }

    /// Writes the valid sync in place, flushes and releases it. For a sync whose writing in place failed.
    void Apply();

private:
    bool IsComplete();
    void Empty();

    QZString* m_path;
    QZFile* m_file;
    QZFile* m_target;
    bool m_holding = false;
};

#endif
