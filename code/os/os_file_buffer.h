#ifndef QZLIB_OS_FILE_BUFFER_H
#define QZLIB_OS_FILE_BUFFER_H

#include "os/os_buffer.h"

class QZString;
class WholeSync;

/// Whether the changes of a buffer reach its file. A plain record.
struct QZWriteState
{
    /// Attempts to write or to flush that have failed since the file was opened.
    QZInt64 Failures = 0;
    /// The code of the last failure, a QZIOExceptionCode; 0 when all attempts since then have succeeded.
    /// After a failed flush without AtomicSync it stays until the file is closed: the system may have dropped
    /// what it did not flush.
    QZInt64 Code = 0;
    /// The system's number of that failure; 0 with Code 0, and for a failure that has none.
    QZInt64 SystemError = 0;
    /// Bytes that were changed in memory and not written yet, in whole pages of 4096 bytes.
    QZInt64 Unwritten = 0;
};

/// A file that is read and written through a bounded number of blocks in memory.
///
/// Writes stay in memory until their block leaves memory, or until Sync, Collect or Close. Open makes a
/// buffer, Close deletes it. The buffer owns its file. One thread at a time.
class QZ_API QZFileBuffer : public QZBuffer
{
public:
    static const QZInt64 Type = 0x81FF800;

    /// The free disk space, in bytes, that a host should leave at least.
    static const QZInt64 FREEDESKSPACE_MIN = 1048576;

    /// 1: a file that is opened from then on never holds a part of what was written between two syncs,
    /// whatever its size. Sync, Collect and Close make a sync. After the death of the process or a loss of
    /// power at any moment, the next opening with this flag finds the state of the last sync, or of the one
    /// that was being made. Two files beside the file, with ".sync" and ".undo" appended to its name, serve
    /// this; see docs/database-file.md. 0, the default: changes are written in place when their block leaves
    /// memory.
    static QZByte AtomicSync;

    /// 1: a file that is opened from then on lets nobody else write, and is not opened while anybody else
    /// writes or forbids writing. It has AtomicSync too. 0 by default.
    static QZByte Exclusive;

    /// 1: a file that is opened from then on is opened for reading alone, and nobody writes meanwhile. Any
    /// number of readers go together. When a writer has died, the opening recovers the file first, for which
    /// it needs the right to write. Write is refused. 0 by default; it takes precedence over Exclusive.
    static QZByte ReadOnly;

    /// Opens an existing file for reading and writing. With Exclusive or ReadOnly it fails at once when
    /// another process, or another handle of this one, has the file open in a way that contradicts.
    /// @throws QZIOException  FileInUse with the name of the file; OperationFailed with Exclusive on a file
    /// system without locks; what QZFile::Open throws
    static QZFileBuffer* Open(QZString* path, QZInt64 memoryLimit, QZInt64 blockSize);

    /// Writes back all changes, closes the file, deletes the buffer and clears the variable.
    /// @throws QZIOException  WriteFailed; the buffer is deleted in any case
    static void Close(QZFileBuffer** buffer);

    /// Copies a file that a writer with AtomicSync may have open, to a file that does not exist yet. The copy
    /// has the state of the writer's last sync. A writer that wants to write waits until the copy is made.
    /// @throws QZIOException  what QZFile throws; there is no copy then
    static void CopyInUse(QZString* from, QZString* to);

    /// The paths of recovery files that did not belong to their file, one a line, which openings of this
    /// process have put aside since the last call. Null when there is none. Give it back with
    /// QZStringFactory::Recycle. Any thread may call.
    static QZString* TakePutAside();

    ~QZFileBuffer() override;

    QZInt64 GetType() override;

    /// The path that Open got. The buffer owns it.
    QZString* GetPath() const { return m_path; }

    /// The size in bytes, including appended bytes that are still only in memory.
    QZInt64 GetFileSize();

    /// The whole content in a new QZData; give it back with Recycle.
    QZData* ReadAll();

    /// Whether the changes reach the file. Failures are also thrown by the operation that meets them; this
    /// tells about those of the past, and about those of operations whose callers drop exceptions.
    QZWriteState GetWriteState();

protected:
    QZFileBuffer(QZFile* file, QZString* path, QZInt64 memoryLimit, QZInt64 blockSize);

    QZBlock* NewBlock() override;
    void Flush() override;
    void WriteBackAll() override;
    void WriteBackLeaving(QZBlock* block) override;

private:
    static QZFileBuffer* OpenFor(QZFile* file, QZString* path, QZInt64 memoryLimit, QZInt64 blockSize,
                                 bool whole);
    struct Changes;
    /// Adds the changed stretches of a block, from the last to the first.
    static void AddChanges(QZBlock* block, Changes* changes);

    /// Does a part of writing and notes its failure.
    template <typename Work>
    void Watched(Work work);

    QZFile* m_file;
    QZString* m_path;
    QZWriteState m_writeState;
    /// A flush of written bytes has failed.
    bool m_flushFailed = false;
    /// Null without AtomicSync.
    WholeSync* m_sync;
};

#endif
