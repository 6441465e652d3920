#ifndef QZLIB_DB_ADDRESS_H
#define QZLIB_DB_ADDRESS_H

#include "db/internal/db_binary.h"
#include "db/internal/db_layout.h"

/// The log of address writes, as the component that writes addresses sees it. ROLLBACK implements it.
class QZDbLog : public QZObject
{
public:
    /// True while writes are logged and the rollback operations serve.
    bool IsOn() const { return m_state.Get() != 0; }

    /// 1 on, 0 off.
    QZInt64 GetState() const { return m_state.Get(); }

    /// Logs that `value` is about to be written at `position`; called before the write, while the log is on.
    virtual void Log(QZInt64 position, QZInt64 value) = 0;

protected:
    QZDbFlag m_state{0};
};

/// The component that turns file positions into address values and back, and that passes writes to the
/// rollback log.
///
/// An address is stored in 4 or 8 bytes, the lowest first. Get and Put make up nearly all traffic of the
/// engine: they allocate nothing and are a compare and a copy when the block is the buffer's front block.
class QZ_API ADDRESS : public QZObject
{
public:
    ADDRESS(QZDbFile* file, BINARY* binary) : m_file(file), m_binary(binary), m_log(nullptr), m_length(0) {}

    /// Sets the log that Put writes to. Without one nothing is logged.
    void SetLog(QZDbLog* log) { m_log = log; }

    /// Sets the address length by mode: 4 for 1 and 2, 8 for 3. Anything else is recorded as BAD_PARAMETER.
    /// @return always true
    bool SetMode(QZInt64 mode);

    /// Bytes of a stored address.
    QZInt64 Length() const { return m_length; }

    /// The address stored at a position.
    QZInt64 Get(QZInt64 position)
    {
        if (!m_file->IsPlain()) return GetTransformed(position);
        if (m_length == 8)
        {
            QZInt64 value = 0;
            m_file->Buffer()->Read(position, &value, 8);
            return value;
        }
        return GetShort(position);
    }

    /// Stores an address in a record that can be reached already. While rollback is on the write is logged
    /// first. Returns 1, or 0 when refused.
    QZInt64 Put(QZInt64 position, QZInt64 value);

    /// Stores an address without logging: in a record under construction, the header, the log itself. Returns
    /// 1, or 0 when refused.
    QZInt64 PutRaw(QZInt64 position, QZInt64 value)
    {
        ToStored(&value);
        if (m_length == 8) return m_binary->PutBytes(position, 8, &value);
        return m_binary->PutBytes(position, m_length, &value);
    }

    /// Turns an address into what is stored for it.
    void ToStored(QZInt64* value)
    {
        if (m_file->AddressTransformation()->Flag != 0) Transform(value);
    }

    /// The length field of the file: the position of the last byte in use.
    QZInt64 FileLength() { return Get(layout::kLength); }

    /// Sets the length field. Under write protection and for an address that reaches the largest one it is
    /// refused and WRITE_ERROR_WRITEPROTECT recorded; the latter turns write protection on for good.
    void SetFileLength(QZInt64 address)
    {
        const QZInt64 largest = m_file->AddressInfo()->LargestAddress;
        if (m_file->GetWriteProtect() == 0 && address < largest)
        {
            PutRaw(layout::kLength, address);
            return;
        }
        if (address >= largest) m_file->SetWriteProtect(1);
        m_file->RecordError(QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT);
    }

private:
    void Transform(QZInt64* value);
    QZInt64 GetTransformed(QZInt64 position);
    QZInt64 GetShort(QZInt64 position);

    QZDbFile* m_file;
    BINARY* m_binary;
    QZDbLog* m_log;
    QZInt64 m_length;
};

#endif
