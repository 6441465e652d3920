#ifndef QZLIB_OS_SYNC_FILE_H
#define QZLIB_OS_SYNC_FILE_H

#include <vector>

#include "sys/sys_types.h"

class QZFile;
class QZString;

/// The file beside a buffered file that holds what a sync is about to write in place, so that a process that
/// dies while it writes leaves either the whole of the sync or nothing of it. Internal.
///
/// Its name is the file's with ".sync" behind it, its layout stands in docs/database-file.md. It exists while
/// the buffer is open; what it holds counts from the moment its last byte is written until it is emptied.
class SyncFile
{
public:
    /// Bytes in memory and where they go.
    struct Run
    {
        QZInt64 offset;
        const unsigned char* bytes;
        QZInt64 size;
    };

    /// Opens the file beside `path`, or makes it. A complete sync that it holds is written to `file` and
    /// flushed, an incomplete one is dropped; so is any where `file` is empty, since nothing was written in
    /// place then.
    /// @throws QZIOException  what QZFile throws
    SyncFile(QZString* path, QZFile* file);
    SyncFile(const SyncFile&) = delete;
    SyncFile& operator=(const SyncFile&) = delete;

    /// Closes; deletes the file unless it still holds a sync that did not reach its place.
    ~SyncFile();

    /// Writes the runs and flushes. From here on they count, and the caller writes them in place.
    /// @throws QZIOException  WriteFailed and what QZFile throws; nothing counts then
    void Hold(const std::vector<Run>& runs);

    /// What was held is in its place and flushed: the file no longer holds it.
    void Release();

    /// Between Hold and Release, or after a Hold whose runs never reached their place.
    bool IsHolding() const { return m_holding; }

    /// Writes what is held in its place and flushes, for a writing in place that failed; then releases.
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
