#include "db/internal/db_address.h"

#include "codec/cod_encryption.h"
#include "db/db_format.h"
#include "db/internal/db_rollback.h"
#include "fw/fw_data.h"

bool ADDRESS::SetMode(QZInt64 mode)
{
    switch (mode)
    {
        case QZDatabaseInfo::ADDR_MODE_32I:
        case QZDatabaseInfo::ADDR_MODE_32: m_length = 4; break;
        case QZDatabaseInfo::ADDR_MODE_64: m_length = 8; break;
        default: m_objects->Console()->RecordError(QZDatabaseInfo::BAD_PARAMETER); return true;
    }
    m_mode = mode;
    return true;
}

QZInt64 ADDRESS::Put(QZInt64 position, QZInt64 value)
{
    // The log comes first: whatever the record says later, the log knows what it said before.
    ROLLBACK* rollback = m_objects->Rollback();
    if (rollback->IsOn()) rollback->Log(position, value);
    return PutRaw(position, value);
}

void ADDRESS::Transform(QZInt64* value)
{
    QZEncryption::Encryption(m_objects->Console()->AddressTransformation()->WriteKey->GetPointer(), value,
                             m_length);
}

QZInt64 ADDRESS::GetTransformed(QZInt64 position)
{
    QZInt64 value = 0;
    m_objects->Binary()->GetBytes(position, m_length, &value);
    const QZDbTransformation* addresses = m_objects->Console()->AddressTransformation();
    if (addresses->Flag != 0) QZEncryption::Decryption(addresses->ReadKey->GetPointer(), &value, m_length);
    return value;
}

QZInt64 ADDRESS::GetShort(QZInt64 position)
{
    // The length is 0 as long as no mode was set.
    QZInt64 value = 0;
    m_objects->Console()->Buffer()->Read(position, &value, m_length);
    return value;
}
