#ifndef QZLIB_OS_OPENED_FILE_H
#define QZLIB_OS_OPENED_FILE_H

/// An open file for the time of a scope, and transfers that do not stop half-way. Internal.

#include "fw/internal/fw_scoped.h"
#include "os/os_file.h"

/// Closes a file for QZScoped.
struct QZFileCloser
{
    static void Recycle(QZFile** file) { QZFile::Close(file); }
};

/// Owns an open file.
using QZOpenedFile = QZScoped<QZFile, QZFileCloser>;

/// Reads until `size` bytes have come or a read returns none, which is the end of the file. Returns the
/// number of bytes that came.
/// @throws QZIOException  what QZFile::Read throws
inline QZInt64 QZReadWhole(QZFile* file, QZInt64 offset, unsigned char* bytes, QZInt64 size)
{
    QZInt64 done = 0;
    while (done < size)
    {
        const QZInt64 count = file->Read(offset + done, bytes + done, size - done);
        if (count <= 0) break;
        done += count;
    }
    return done;
}

/// Writes until all bytes are written or a write accepts none. Returns the number of bytes written.
/// @throws QZIOException  what QZFile::Write throws
inline QZInt64 QZWriteWhole(QZFile* file, QZInt64 offset, const unsigned char* bytes, QZInt64 size)
{
    QZInt64 done = 0;
    while (done < size)
    {
        const QZInt64 count = file->Write(offset + done, bytes + done, size - done);
        if (count <= 0) break;
        done += count;
    }
    return done;
}

#endif
