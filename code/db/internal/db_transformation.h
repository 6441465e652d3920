#ifndef QZLIB_DB_TRANSFORMATION_H
#define QZLIB_DB_TRANSFORMATION_H

#include "fw/internal/fw_hooks.h"
#include "sys/sys_bytes.h"
#include "sys/sys_types.h"

class QZData;

/// A transformation of what goes to the file: a flag and a key for each direction.
///
/// The write key holds an encryption map and the read key the matching decryption map, 256 bytes at the front
/// of each. The file owns the keys. Nothing in the library sets a flag, so files are stored in the clear.
struct QZDbTransformation
{
    QZByte Flag = 0;
    QZData* WriteKey = nullptr;
    QZData* ReadKey = nullptr;

    void MakeKeys();
    void DeleteKeys();

    /// Change bytes in place.
    void Encrypt(void* bytes, QZInt64 size) const;
    void Decrypt(void* bytes, QZInt64 size) const;

    /// Calls write(offset, piece, size) for encrypted pieces of `bytes`. The pieces lie on the stack: the
    /// caller's buffer is not changed, and nothing is allocated.
    template <typename Write>
    void EncryptInPieces(const void* bytes, QZInt64 size, Write write) const
    {
        QZByte piece[kPieceSize];
        for (QZInt64 done = 0; done < size;)
        {
            const QZInt64 part = size - done < kPieceSize ? size - done : kPieceSize;
            QZMemCopy(piece, QZAt(bytes, done), part);
            Encrypt(piece, part);
            write(done, piece, part);
            done += part;
        }
    }

private:
    static constexpr QZInt64 kPieceSize = 256;
};

#endif
