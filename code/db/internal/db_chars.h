#ifndef QZLIB_DB_CHARS_H
#define QZLIB_DB_CHARS_H

#include "db/internal/db_address.h"

/// The component that reads and writes framed bytes: the length-framed runs that hold all variable content.
///
/// A slot `S` holds a pointer to the first content byte, the length, the content and the length again.
/// Readers follow the pointer, so that content written elsewhere can take the slot over.
class QZ_API CHARS : public QZObject
{
public:
    explicit CHARS(OBJECTS* objects) : m_objects(objects) {}

    /// Copies the content of a slot to `buffer`, which holds Length(slot) bytes. Answers the position of its
    /// last byte.
    QZInt64 Read(QZInt64 slot, void* buffer);

    /// Length of the content of a slot in bytes.
    QZInt64 Length(QZInt64 slot);

    /// Writes a slot with its content behind it, not logged. Answers the last position written.
    QZInt64 Write(QZInt64 slot, const void* buffer, QZInt64 size);

    /// Zeroes the leading length and the content; the trailing length stays. Answers the number of bytes.
    QZInt64 Erase(QZInt64 slot);

private:
    void PutContent(QZInt64 position, const void* buffer, QZInt64 size);
    void GetContent(QZInt64 position, void* buffer, QZInt64 size);

    OBJECTS* m_objects;
};

#endif
