#ifndef QZLIB_DB_MEND_BUFFER_H
#define QZLIB_DB_MEND_BUFFER_H

#include "os/os_file.h"
#include "os/os_file_buffer.h"

/// A file buffer without a second file, whatever QZFileBuffer::AtomicSync says: for a file that nobody but
/// the operation that makes it has a use for.
class QZDbPlainBuffer : public QZFileBuffer
{
public:
    static constexpr QZInt64 kMemoryLimit = 0x1400000;
    static constexpr QZInt64 kBlockSize = 0x200000;

    /// Opens an existing file; close it as any file buffer.
    static QZFileBuffer* Open(QZString* path) { return new QZDbPlainBuffer(QZFile::Open(path), path); }

private:
    QZDbPlainBuffer(QZFile* file, QZString* path) : QZFileBuffer(file, path, kMemoryLimit, kBlockSize) {}
};

#endif
