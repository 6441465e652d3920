#ifndef QZLIB_DB_BINARY_H
#define QZLIB_DB_BINARY_H

#include "db/internal/db_file.h"

/// The component that moves bytes between the engine and the file buffer, with the guard that every write
/// passes.
class QZ_API BINARY : public QZObject
{
public:
    explicit BINARY(QZDbFile* file) : m_file(file) {}

    /// Writes one byte. Returns 1, or 0 when the guard refuses.
    QZInt64 PutByte(QZInt64 position, QZByte value) { return PutBytes(position, 1, &value); }

    /// The byte at a position, 0 after the end of the file.
    QZByte GetByte(QZInt64 position)
    {
        QZByte value = 0;
        GetBytes(position, 1, &value);
        return value;
    }

    /// Writes bytes. Returns 1, or 0 when the guard refuses.
    QZInt64 PutBytes(QZInt64 position, QZInt64 length, const void* buffer)
    {
        if (!CheckWrite(position, position, length)) return 0;
        m_file->ListOrder()->Touch(position, length);
        if (m_file->ByteTransformation()->Flag != 0) return PutTransformed(position, length, buffer);
        m_file->Buffer()->Write(position, buffer, length);
        return 1;
    }

    /// Reads bytes and returns their count.
    QZInt64 GetBytes(QZInt64 position, QZInt64 length, void* buffer)
    {
        const QZInt64 count = m_file->Buffer()->Read(position, buffer, length);
        if (m_file->ByteTransformation()->Flag != 0) Restore(buffer, length);
        return count;
    }

    /// The write guard. Under write protection it records WRITE_ERROR_WRITEPROTECT and refuses. When `to`
    /// lies above the largest address, it turns write protection on, records nothing and refuses.
    bool CheckWrite(QZInt64 from, QZInt64 to) { return CheckWrite(from, to, 0); }

    /// What the guard would decide about a write; nothing is recorded.
    bool Allows(QZInt64 position, QZInt64 length) const
    {
        const QZInt64 largest = m_file->AddressInfo()->LargestAddress;
        return m_file->GetWriteProtect() == 0 && length <= largest &&
               position <= largest - (length > 0 ? length : 0);
    }

private:
    /// `from` to `to` + `length`, which may be more than an address can hold.
    bool CheckWrite(QZInt64 from, QZInt64 to, QZInt64 length)
    {
        (void)from;
        return Allows(to, length) || Refuse();
    }

    bool Refuse();
    QZInt64 PutTransformed(QZInt64 position, QZInt64 length, const void* buffer);
    void Restore(void* buffer, QZInt64 length);

    QZDbFile* m_file;
};

#endif
