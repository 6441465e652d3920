#ifndef QZLIB_DB_IMAGE_H
#define QZLIB_DB_IMAGE_H

#include "db/internal/db_address.h"
#include "sys/sys_bytes.h"

/// Neighbouring fields of a record under construction, gathered and written with one call.
///
/// When the guard would refuse the whole run, the fields are written one by one, so that the same writes are
/// refused and the same errors recorded as with single writes.
class QZDbImage
{
public:
    QZDbImage(BINARY* binary, ADDRESS* address, QZInt64 position)
        : m_binary(binary), m_address(address), m_position(position), m_addressLength(address->Length())
    {}

    void Mark(QZByte mark)
    {
        m_bytes[m_size] = mark;
        Field(1);
    }

    void Address(QZInt64 value)
    {
        m_address->ToStored(&value);
        if (m_addressLength == 8)
            QZStore(m_bytes + m_size, value);
        else
            QZStore(m_bytes + m_size, static_cast<QZInt32>(value));
        Field(m_addressLength);
    }

    /// Writes every field. Returns false when the first one is refused; with `needFirst` the others are then
    /// not tried.
    bool Write(bool needFirst)
    {
        if (m_binary->Allows(m_position, m_size)) return m_binary->PutBytes(m_position, m_size, m_bytes) != 0;
        return WriteEach(needFirst);
    }

private:
    void Field(QZInt64 size)
    {
        m_size += size;
        m_ends |= 1ULL << (m_size - 1);
    }

    bool WriteEach(bool needFirst)
    {
        bool first = true;
        bool allowed = true;
        for (QZInt64 from = 0; from < m_size;)
        {
            QZInt64 to = from + 1;
            while ((m_ends >> (to - 1) & 1) == 0) ++to;
            const bool done =
                m_binary->PutBytes(layout::At(m_position, from), to - from, m_bytes + from) != 0;
            if (first) allowed = done;
            if (!allowed && needFirst) return false;
            first = false;
            from = to;
        }
        return allowed;
    }

    BINARY* m_binary;
    ADDRESS* m_address;
    QZInt64 m_position;
    QZInt64 m_addressLength;
    QZInt64 m_size = 0;
    /// A bit for the last byte of each field.
    QZUInt64 m_ends = 0;
    /// The longest run is the head of an LD: a mark and seven addresses.
    QZByte m_bytes[64];
};

#endif
