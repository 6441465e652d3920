#include "db/internal/db_binary.h"

#include "db/db_format.h"
#include "db/internal/db_layout.h"

bool BINARY::Refuse()
{
    if (m_file->GetWriteProtect() != 0)
        m_file->RecordError(QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT);
    else
        // The address space is used up. This write is dropped silently; the next one counts as an error.
        m_file->SetWriteProtect(1);
    return false;
}

QZInt64 BINARY::PutTransformed(QZInt64 position, QZInt64 length, const void* buffer)
{
    m_file->ByteTransformation()->EncryptInPieces(
        buffer, length, [this, position](QZInt64 offset, const void* piece, QZInt64 size) {
            m_file->Buffer()->Write(layout::At(position, offset), piece, size);
        });
    return 1;
}

void BINARY::Restore(void* buffer, QZInt64 length) { m_file->ByteTransformation()->Decrypt(buffer, length); }
