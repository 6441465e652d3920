#ifndef QZLIB_DB_DATA_H
#define QZLIB_DB_DATA_H

#include <initializer_list>

#include "db/internal/db_chars.h"
#include "db/internal/db_read.h"

/// The component that appends records and changes fields.
///
/// A record is appended at the end of the file: the length field grows first, then the record is written, and
/// only then is it linked into its list. So a record that a crash cuts short is unreachable, never half
/// linked. Nothing is allocated.
class QZ_API DATA : public QZObject
{
public:
    DATA(BINARY* binary, ADDRESS* address, READ* read, CHARS* chars)
        : m_binary(binary), m_address(address), m_read(read), m_chars(chars)
    {}

    /// Appends a free HD with this owner. Returns its THIS, 0 when refused.
    QZInt64 NewHD(QZInt64 owner);

    /// Appends an HD for a PD and sets the PD's PD_HD_A to it. Returns its THIS, 0 when refused.
    QZInt64 NewHDForPD(QZInt64 pd);

    /// Append a record to the list of `hd`. They return its THIS, -1 when refused.
    QZInt64 NewAD(QZInt64 hd, QZInt64 value);
    QZInt64 NewPD(QZInt64 hd, QZInt64 ld, const void* buffer, QZInt64 size);
    QZInt64 NewCD(QZInt64 hd, const void* buffer, QZInt64 size);

    /// Appends an LD and then the four HDs that it owns.
    QZInt64 NewLD(QZInt64 hd);

    /// Appends a log record: position, old value, new value. None of its writes is logged, and refused
    /// writes are not noticed.
    QZInt64 NewRD(QZInt64 hd, QZInt64 position, QZInt64 oldValue, QZInt64 newValue);

    /// Changes a field of the record that starts at `address`. Returns 1, or 0 when refused and for a
    /// selector without a position here, which writes nothing.
    QZInt64 PutField(QZInt64 address, QZInt64 selector, QZInt64 value);

    /// Replaces the content of a slot: the new content goes into a CD of its own, under a new HD with
    /// this owner, and the slot's pointer is set to it. Returns 1, or 0 when refused.
    QZInt64 PutText(QZInt64 slot, QZInt64 owner, const void* buffer, QZInt64 size);

    /// PutText for the slot of a CD and of a PD.
    QZInt64 PutTextCD(QZInt64 cd, const void* buffer, QZInt64 size);
    QZInt64 PutTextPD(QZInt64 pd, const void* buffer, QZInt64 size);

private:
    struct Place
    {
        QZInt64 Head;
        QZInt64 This;
        /// The HD's first record, 0 when the list is empty.
        QZInt64 First;
        /// What the record follows: the END of the last record or the THIS of the HD.
        QZInt64 Left;
    };

    QZInt64 NewPlace();
    Place Find(QZInt64 hd);
    bool Open(const Place& place, QZInt64 end, std::initializer_list<QZInt64> own);
    bool WriteFrame(const Place& place, QZInt64 end, std::initializer_list<QZInt64> own, bool needFirst);
    void WriteClosing(QZInt64 head, QZInt64 end);
    void Close(const Place& place, QZInt64 end);
    QZInt64 LinkPosition(const Place& place);

    BINARY* m_binary;
    ADDRESS* m_address;
    READ* m_read;
    CHARS* m_chars;
};

#endif
