#include "db/db_address.h"

#include "codec/cod_encryption.h"
#include "db/db_format.h"
#include "db/db_rollback.h"
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

void ADDRESS::Restore(QZInt64* value)
{
    QZEncryption::Decryption(m_objects->Console()->AddressTransformation()->ReadKey->GetPointer(), value,
                             m_length);
}
