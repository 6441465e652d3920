#include "db/internal/db_chars.h"

#include "codec/cod_encryption.h"
#include "db/internal/db_image.h"
#include "fw/fw_data.h"
#include "fw/internal/fw_hooks.h"

QZInt64 CHARS::Read(QZInt64 slot, void* buffer)
{
    ADDRESS* address = m_objects->Address();
    const QZInt64 start = address->Get(slot);
    const QZInt64 size = address->Get(QZDbAt(start, -address->Length()));
    GetContent(start, buffer, size);
    m_objects->Console()->AddContentRead(size);
    return QZDbAt(QZDbAt(start, size), -1);
}

QZInt64 CHARS::Length(QZInt64 slot)
{
    ADDRESS* address = m_objects->Address();
    return address->Get(QZDbAt(address->Get(slot), -address->Length()));
}

QZInt64 CHARS::Write(QZInt64 slot, const void* buffer, QZInt64 size)
{
    ADDRESS* address = m_objects->Address();
    const QZInt64 a = address->Length();
    const QZInt64 start = QZDbAt(slot, 2 * a);
    const QZInt64 trailing = QZDbAt(start, size);
    QZDbImage image(m_objects, slot);
    image.Address(start);
    image.Address(size);
    image.Write(false);
    PutContent(start, buffer, size);
    address->PutRaw(trailing, size);
    m_objects->Console()->AddContentWritten(size);
    return QZDbAt(trailing, a - 1);
}

QZInt64 CHARS::Erase(QZInt64 slot)
{
    ADDRESS* address = m_objects->Address();
    BINARY* binary = m_objects->Binary();
    const QZInt64 begin = QZDbAt(address->Get(slot), -address->Length());
    const QZInt64 count = QZDbAt(address->Get(begin), address->Length());
    // A damaged file may make up any length. Behind the end of the file there are only zeros.
    const QZInt64 size = m_objects->Console()->Buffer()->GetFileSize();
    const QZInt64 room = begin < 0 ? size : size - begin;
    for (QZInt64 i = 0; i < count && i < room; ++i) binary->PutByte(QZDbAt(begin, i), 0);
    m_objects->Console()->AddContentWritten(count);
    return count;
}

void CHARS::PutContent(QZInt64 position, const void* buffer, QZInt64 size)
{
    BINARY* binary = m_objects->Binary();
    const QZDbTransformation* transformation = m_objects->Console()->ContentTransformation();
    if (transformation->Flag == 0)
    {
        binary->PutBytes(position, size, buffer);
        return;
    }
    // In pieces through the stack, so that the caller's buffer stays as it is.
    QZByte piece[256];
    for (QZInt64 done = 0; done < size;)
    {
        const QZInt64 part = size - done < static_cast<QZInt64>(sizeof(piece))
                                 ? size - done
                                 : static_cast<QZInt64>(sizeof(piece));
        QZMemCopy(piece, QZAt(buffer, done), part);
        QZEncryption::Encryption(transformation->WriteKey->GetPointer(), piece, part);
        binary->PutBytes(QZDbAt(position, done), part, piece);
        done += part;
    }
}

void CHARS::GetContent(QZInt64 position, void* buffer, QZInt64 size)
{
    m_objects->Binary()->GetBytes(position, size, buffer);
    const QZDbTransformation* transformation = m_objects->Console()->ContentTransformation();
    if (transformation->Flag != 0)
        QZEncryption::Decryption(transformation->ReadKey->GetPointer(), buffer, size);
}
