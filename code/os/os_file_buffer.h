#ifndef QZLIB_OS_FILE_BUFFER_H
#define QZLIB_OS_FILE_BUFFER_H

#include "os/os_buffer.h"

class QZString;
class SyncFile;

/// A file that is read and written through a bounded number of blocks in memory.
///
/// Writes stay in memory until their block is pushed out, or until Sync, Collect or Close. Made by Open,
/// given back by Close; owns its file. One thread at a time.
class QZ_API QZFileBuffer : public QZBuffer
{
public:
    static const QZInt64 Type = 0x81FF800;

    /// The least free disk space, in bytes, that a host should leave.
    static const QZInt64 FREEDESKSPACE_MIN = 1048576;

    /// With 1, a file that is opened from then on never holds a part of a sync: Sync first writes what was
    /// changed to a file beside it, named like it with ".sync" behind, and flushes that; then it writes in
    /// place, flushes and empties the file beside. Open finishes what it finds complete there. No changed
    /// byte reaches the file but by a sync: a block that has to leave, Collect and Close make one first.
    /// With 0, the default, changes are written in place whenever their block leaves.
    static QZByte AtomicSync;

    /// Opens an existing file for reading and writing.
    /// @throws QZIOException  what QZFile::Open throws
    static QZFileBuffer* Open(QZString* path, QZInt64 memoryLimit, QZInt64 blockSize);

    /// Writes back what was changed, closes the file, deletes the buffer and clears the variable.
    /// @throws QZIOException  WriteFailed, after everything was released all the same
    static void Close(QZFileBuffer** buffer);

    ~QZFileBuffer() override;

    QZInt64 GetType() override;

    /// The path given to Open; it stays the buffer's.
    QZString* GetPath() const { return m_path; }

    /// Size in bytes, with what was written and is still in memory only.
    QZInt64 GetFileSize();

    /// The whole content in a new QZData, given back with Recycle.
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
    /// Null unless syncs are to be whole.
    SyncFile* m_sync;
};

#endif
