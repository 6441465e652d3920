#ifndef QZLIB_DB_ADDRESS_H
#define QZLIB_DB_ADDRESS_H

#include "db/internal/db_binary.h"

/// The component that turns file positions into address values and back, and where the rollback log taps in.
///
/// An address is stored in 4 or 8 bytes, the lowest first. Get and Put make up nearly all traffic of the
/// engine: they allocate nothing and are a compare and a copy when the block is the buffer's front block.
class QZ_API ADDRESS : public QZObject
{
public:
    explicit ADDRESS(OBJECTS* objects) : m_objects(objects), m_length(0), m_mode(0) {}

    /// Sets the address length by mode: 4 for 1 and 2, 8 for 3. Anything else is recorded as BAD_PARAMETER.
    /// @return always true
    bool SetMode(QZInt64 mode);

    QZInt64 GetMode() const { return m_mode; }

    /// Bytes of a stored address.
    QZInt64 Length() const { return m_length; }

    /// The address stored at a position.
    QZInt64 Get(QZInt64 position)
    {
        CONSOLE* console = m_objects->Console();
        if (!console->IsPlain()) return GetTransformed(position);
        if (m_length == 8)
        {
            QZInt64 value = 0;
            console->Buffer()->Read(position, &value, 8);
            return value;
        }
        return GetShort(position);
    }

    /// Stores an address in a record that others can reach: logged first when rollback is on. 1, or 0 when
    /// refused.
    QZInt64 Put(QZInt64 position, QZInt64 value);

    /// Stores an address without logging: in a record under construction, the header, the log itself. 1, or 0
    /// when refused.
    QZInt64 PutRaw(QZInt64 position, QZInt64 value)
    {
        ToStored(&value);
        if (m_length == 8) return m_objects->Binary()->PutBytes(position, 8, &value);
        return m_objects->Binary()->PutBytes(position, m_length, &value);
    }

    /// Turns an address into what is stored for it.
    void ToStored(QZInt64* value)
    {
        if (m_objects->Console()->AddressTransformation()->Flag != 0) Transform(value);
    }

private:
    void Transform(QZInt64* value);
    QZInt64 GetTransformed(QZInt64 position);
    QZInt64 GetShort(QZInt64 position);

    OBJECTS* m_objects;
    QZInt64 m_length;
    QZInt64 m_mode;
};

#endif
