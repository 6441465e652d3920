#ifndef QZLIB_DB_CHARS_H
#define QZLIB_DB_CHARS_H

#include "db/internal/db_address.h"

/// The component that reads and writes framed bytes: the length-framed runs that hold all variable content.
///
/// A slot holds a pointer to the first content byte, the length, the content and the length again. Readers
/// follow the pointer, so content that is written elsewhere can replace that of the slot.
class QZ_API CHARS : public QZObject
{
public:
    CHARS(QZDbFile* file, BINARY* binary, ADDRESS* address)
        : m_file(file), m_binary(binary), m_address(address)
    {}

    /// Copies the content of a slot to `buffer`, which holds Length(slot) bytes. Returns the position of its
    /// last byte.
    QZInt64 Read(QZInt64 slot, void* buffer);

    /// Length of the content of a slot in bytes.
    QZInt64 Length(QZInt64 slot);

    /// Writes a slot and its content after it, not logged. Returns the last position written.
    QZInt64 Write(QZInt64 slot, const void* buffer, QZInt64 size);

    /// Zeroes the leading length and the content; the trailing length stays. Returns the number of bytes.
    QZInt64 Erase(QZInt64 slot);

private:
    void PutContent(QZInt64 position, const void* buffer, QZInt64 size);
    void GetContent(QZInt64 position, void* buffer, QZInt64 size);

    QZDbFile* m_file;
    BINARY* m_binary;
    ADDRESS* m_address;
};

#endif
