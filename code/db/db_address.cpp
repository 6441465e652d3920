#include "db/internal/db_address.h"

bool ADDRESS::SetMode(QZInt64 mode)
{
    switch (mode)
    {
        case QZDatabaseInfo::ADDR_MODE_32I:
        case QZDatabaseInfo::ADDR_MODE_32:
        case QZDatabaseInfo::ADDR_MODE_64: m_length = layout::AddressLength(mode); break;
        default: m_file->RecordError(QZDatabaseInfo::BAD_PARAMETER); break;
    }
    return true;
}

QZInt64 ADDRESS::Put(QZInt64 position, QZInt64 value)
{
    // The log record is written before the field changes, because it holds the old value.
    if (m_log != nullptr && m_log->IsOn()) m_log->Log(position, value);
    return PutRaw(position, value);
}

void ADDRESS::Transform(QZInt64* value) { m_file->AddressTransformation()->Encrypt(value, m_length); }

QZInt64 ADDRESS::GetTransformed(QZInt64 position)
{
    QZInt64 value = 0;
    m_binary->GetBytes(position, m_length, &value);
    const QZDbTransformation* addresses = m_file->AddressTransformation();
    if (addresses->Flag != 0) addresses->Decrypt(&value, m_length);
    return value;
}

QZInt64 ADDRESS::GetShort(QZInt64 position)
{
    // The length is 0 as long as no mode was set.
    QZInt64 value = 0;
    m_file->Buffer()->Read(position, &value, m_length);
    return value;
}
