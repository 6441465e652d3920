#include "db/internal/db_transformation.h"

#include "codec/cod_encryption.h"
#include "fw/fw_data.h"

namespace
{
/// The size of a key in bytes.
constexpr QZInt64 kKeySize = 1024;
}  // namespace

void QZDbTransformation::MakeKeys()
{
    WriteKey = new QZData(kKeySize);
    ReadKey = new QZData(kKeySize);
}

void QZDbTransformation::DeleteKeys()
{
    delete WriteKey;
    delete ReadKey;
}

void QZDbTransformation::Encrypt(void* bytes, QZInt64 size) const
{
    QZEncryption::Encryption(WriteKey->GetPointer(), bytes, size);
}

void QZDbTransformation::Decrypt(void* bytes, QZInt64 size) const
{
    QZEncryption::Decryption(ReadKey->GetPointer(), bytes, size);
}
