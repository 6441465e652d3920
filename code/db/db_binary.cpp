#include "db/internal/db_binary.h"

#include "codec/cod_encryption.h"
#include "db/db_format.h"
#include "fw/fw_data.h"
#include "fw/internal/fw_hooks.h"

bool BINARY::Refuse()
{
    CONSOLE* console = m_objects->Console();
    if (console->GetWriteProtect() != 0)
        console->RecordError(QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT);
    else
        // The address space is used up. The write in hand is dropped silently; the next one counts as an
        // error.
        console->SetWriteProtect(1);
    return false;
}

QZInt64 BINARY::PutTransformed(QZInt64 position, QZInt64 length, const void* buffer)
{
    // In pieces through the stack: the caller's buffer is never touched, and a writer takes no heap memory.
    QZByte piece[256];
    CONSOLE* console = m_objects->Console();
    const void* map = console->ByteTransformation()->WriteKey->GetPointer();
    for (QZInt64 done = 0; done < length;)
    {
        const QZInt64 size = length - done < static_cast<QZInt64>(sizeof(piece))
                                 ? length - done
                                 : static_cast<QZInt64>(sizeof(piece));
        QZMemCopy(piece, QZAt(buffer, done), size);
        QZEncryption::Encryption(map, piece, size);
        console->Buffer()->Write(QZDbAt(position, done), piece, size);
        done += size;
    }
    return 1;
}

void BINARY::Restore(void* buffer, QZInt64 length)
{
    QZEncryption::Decryption(m_objects->Console()->ByteTransformation()->ReadKey->GetPointer(), buffer,
                             length);
}
