#ifndef QZLIB_OS_FILE_BUFFER_H
#define QZLIB_OS_FILE_BUFFER_H

#include "os/os_buffer.h"

class QZString;
class SyncFile;

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

    /// 1: a file that is opened from then on never holds a part of a sync. Sync first writes the changes to a
    /// second file, whose name is the file's name with ".sync" appended, and flushes it. Then it writes the
    /// changes in place, flushes, and empties the second file. Open completes a sync that it finds there
    /// whole. Only a sync changes the file: a block that leaves memory, Collect and Close make one first. 0,
    /// the default: changes are written in place when their block leaves memory.
    static QZByte AtomicSync;

    /// Opens an existing file for reading and writing.
    /// @throws QZIOException  what QZFile::Open throws
    static QZFileBuffer* Open(QZString* path, QZInt64 memoryLimit, QZInt64 blockSize);

    /// Writes back all changes, closes the file, deletes the buffer and clears the variable.
    /// @throws QZIOException  WriteFailed; the buffer is deleted in any case
    static void Close(QZFileBuffer** buffer);

    ~QZFileBuffer() override;

    QZInt64 GetType() override;

    /// The path that Open got. The buffer owns it.
    QZString* GetPath() const { return m_path; }

    /// The size in bytes, including appended bytes that are still only in memory.
    QZInt64 GetFileSize();

    /// The whole content in a new QZData; give it back with Recycle.
    QZData* ReadAll();

protected:
    QZFileBuffer(QZFile* file, QZString* path, QZInt64 memoryLimit, QZInt64 blockSize);

    QZBlock* NewBlock() override;
    void Flush() override;
    void WriteBackAll() override;
    void WriteBackLeaving(QZBlock* block) override;

private:
    QZFile* m_file;
    QZString* m_path;
    /// Null without AtomicSync.
    SyncFile* m_sync;
};

#endif
