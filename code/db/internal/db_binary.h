#ifndef QZLIB_DB_BINARY_H
#define QZLIB_DB_BINARY_H

#include "db/internal/db_console.h"

/// Sum of a position and an offset. Positions come from files and may be any value, so the sum wraps around
/// instead of overflowing.
inline QZInt64 QZDbAt(QZInt64 position, QZInt64 offset)
{
    return static_cast<QZInt64>(static_cast<QZUInt64>(position) + static_cast<QZUInt64>(offset));
}

/// The component that moves bytes between the engine and the file buffer, with the guard that every write
/// passes.
class QZ_API BINARY : public QZObject
{
public:
    explicit BINARY(OBJECTS* objects) : m_objects(objects) {}

    /// Writes one byte. 1, or 0 when the guard refuses.
    QZInt64 PutByte(QZInt64 position, QZByte value) { return PutBytes(position, 1, &value); }

    /// The byte at a position, 0 behind the end of the file.
    QZByte GetByte(QZInt64 position)
    {
        QZByte value = 0;
        GetBytes(position, 1, &value);
        return value;
    }

    /// Writes bytes. 1, or 0 when the guard refuses.
    QZInt64 PutBytes(QZInt64 position, QZInt64 length, const void* buffer)
    {
        if (!CheckWrite(position, position, length)) return 0;
        CONSOLE* console = m_objects->Console();
        if (console->ByteTransformation()->Flag != 0) return PutTransformed(position, length, buffer);
        console->Buffer()->Write(position, buffer, length);
        return 1;
    }

    /// Reads bytes and answers their count.
    QZInt64 GetBytes(QZInt64 position, QZInt64 length, void* buffer)
    {
        CONSOLE* console = m_objects->Console();
        const QZInt64 count = console->Buffer()->Read(position, buffer, length);
        if (console->ByteTransformation()->Flag != 0) Restore(buffer, length);
        return count;
    }

    /// The write guard. Under write protection: WRITE_ERROR_WRITEPROTECT is recorded, refused. When `to` lies
    /// above the largest address: write protection goes on, nothing is recorded, refused.
    bool CheckWrite(QZInt64 from, QZInt64 to) { return CheckWrite(from, to, 0); }

    /// What the guard would say of a write, with nothing recorded.
    bool Allows(QZInt64 position, QZInt64 length) const
    {
        const CONSOLE* console = m_objects->Console();
        return console->GetWriteProtect() == 0 && length <= console->AddressInfo()->LargestAddress &&
               position <= console->AddressInfo()->LargestAddress - (length > 0 ? length : 0);
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

    OBJECTS* m_objects;
};

#endif
