#include "db/internal/db_chars.h"

#include "db/internal/db_image.h"

QZInt64 CHARS::Read(QZInt64 slot, void* buffer)
{
    const QZInt64 start = m_address->Get(slot);
    const QZInt64 size = m_address->Get(layout::ContentLength(start, m_address->Length()));
    GetContent(start, buffer, size);
    m_file->AddContentRead(size);
    return layout::At(layout::TrailingLength(start, size), -1);
}

QZInt64 CHARS::Length(QZInt64 slot)
{
    return m_address->Get(layout::ContentLength(m_address->Get(slot), m_address->Length()));
}

QZInt64 CHARS::Write(QZInt64 slot, const void* buffer, QZInt64 size)
{
    const QZInt64 a = m_address->Length();
    const QZInt64 start = layout::SlotContent(slot, a);
    const QZInt64 trailing = layout::TrailingLength(start, size);
    QZDbImage image(m_binary, m_address, slot);
    image.Address(start);
    image.Address(size);
    image.Write(false);
    PutContent(start, buffer, size);
    m_address->PutRaw(trailing, size);
    m_file->AddContentWritten(size);
    return layout::LastOfLength(trailing, a);
}

QZInt64 CHARS::Erase(QZInt64 slot)
{
    const QZInt64 a = m_address->Length();
    const QZInt64 begin = layout::ContentLength(m_address->Get(slot), a);
    const QZInt64 count = layout::LengthAndContent(m_address->Get(begin), a);
    // A damaged file may hold any length. After the end of the file there are only zeros.
    const QZInt64 size = m_file->Buffer()->GetFileSize();
    const QZInt64 room = begin < 0 ? size : size - begin;
    for (QZInt64 i = 0; i < count && i < room; ++i) m_binary->PutByte(layout::At(begin, i), 0);
    m_file->AddContentWritten(count);
    return count;
}

void CHARS::PutContent(QZInt64 position, const void* buffer, QZInt64 size)
{
    const QZDbTransformation* transformation = m_file->ContentTransformation();
    if (transformation->Flag == 0)
    {
        m_binary->PutBytes(position, size, buffer);
        return;
    }
    transformation->EncryptInPieces(buffer, size,
                                    [this, position](QZInt64 offset, const void* piece, QZInt64 part) {
                                        m_binary->PutBytes(layout::At(position, offset), part, piece);
                                    });
}

void CHARS::GetContent(QZInt64 position, void* buffer, QZInt64 size)
{
    m_binary->GetBytes(position, size, buffer);
    const QZDbTransformation* transformation = m_file->ContentTransformation();
    if (transformation->Flag != 0) transformation->Decrypt(buffer, size);
}
