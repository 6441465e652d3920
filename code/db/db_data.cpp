#include "db/internal/db_data.h"

#include "db/internal/db_image.h"

QZInt64 DATA::NewPlace() { return layout::NewRecord(m_address->FileLength()); }

DATA::Place DATA::Find(QZInt64 hd)
{
    Place place;
    place.Head = hd;
    place.This = NewPlace();
    place.First = m_read->ReadHD(layout::kSideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    place.Left = place.First != 0 ? m_read->ReadHD(layout::kSideThis, hd, QZDatabaseInfo::HD_LASTDATA) : hd;
    return place;
}

bool DATA::Open(const Place& place, QZInt64 end, std::initializer_list<QZInt64> own)
{
    const QZInt64 a = m_address->Length();
    // The length grows before the record exists, so a record that a crash cuts short is unreachable, never
    // half linked.
    m_address->SetFileLength(layout::HdEndFromData(end, a));
    return WriteFrame(place, end, own, true);
}

/// Writes the frame up to the closing mark, with the kind's own fields after the opening ones.
bool DATA::WriteFrame(const Place& place, QZInt64 end, std::initializer_list<QZInt64> own, bool needFirst)
{
    QZDbImage opening(m_binary, m_address, place.This);
    opening.Mark(layout::kMarkData);
    opening.Address(place.Left);
    opening.Address(place.This);
    opening.Address(end);
    for (const QZInt64 field : own) opening.Address(field);
    if (!opening.Write(needFirst) && needFirst) return false;

    QZDbImage closing(m_binary, m_address, layout::DataThisFromEnd(end, m_address->Length()));
    closing.Address(place.This);
    closing.Address(0);
    closing.Mark(layout::kMarkData);
    closing.Write(false);
    return true;
}

/// Writes what follows the closing mark: the head, and the closing mark of the head.
void DATA::WriteClosing(QZInt64 head, QZInt64 end)
{
    QZDbImage image(m_binary, m_address, layout::DataHeadFromEnd(end, m_address->Length()));
    image.Address(head);
    image.Mark(layout::kMarkHd);
    image.Write(false);
}

QZInt64 DATA::LinkPosition(const Place& place)
{
    const QZInt64 a = m_address->Length();
    return place.First != 0 ? layout::DataNextFromEnd(place.Left, a) : layout::HdFirst(place.Head, a);
}

void DATA::Close(const Place& place, QZInt64 end)
{
    const QZInt64 a = m_address->Length();
    m_address->Put(LinkPosition(place), place.This);
    WriteClosing(place.Head, end);
    m_address->Put(layout::HdEnd(place.Head, a), layout::HdEndFromData(end, a));
}

QZInt64 DATA::NewHD(QZInt64 owner)
{
    const QZInt64 a = m_address->Length();
    const QZInt64 start = NewPlace();
    const QZInt64 end = layout::HdEmptyEnd(start, a);
    m_address->SetFileLength(end);
    QZDbImage image(m_binary, m_address, start);
    image.Mark(layout::kMarkHd);
    image.Address(owner);
    image.Address(0);
    image.Address(end);
    image.Address(start);
    image.Mark(layout::kMarkHd);
    return image.Write(true) ? start : 0;
}

QZInt64 DATA::NewHDForPD(QZInt64 pd)
{
    const QZInt64 hd = NewHD(pd);
    if (hd != 0) m_address->Put(layout::DataOwn(pd, layout::kPdHd, m_address->Length()), hd);
    return hd;
}

QZInt64 DATA::NewAD(QZInt64 hd, QZInt64 value)
{
    const QZInt64 a = m_address->Length();
    const Place place = Find(hd);
    const QZInt64 end = layout::AdEnd(place.This, a);
    if (!Open(place, end, {value})) return -1;
    // Unlike the other kinds an AD has its closing frame before the first link to it is written.
    WriteClosing(hd, end);
    m_address->Put(LinkPosition(place), place.This);
    m_address->Put(layout::HdEnd(hd, a), layout::HdEndFromData(end, a));
    return place.This;
}

QZInt64 DATA::NewPD(QZInt64 hd, QZInt64 ld, const void* buffer, QZInt64 size)
{
    const QZInt64 a = m_address->Length();
    const Place place = Find(hd);
    const QZInt64 last = m_chars->Write(layout::PdSlot(place.This, a), buffer, size);
    const QZInt64 end = layout::EndAfterBytes(last, a);
    if (!Open(place, end, {ld, 0})) return -1;
    m_address->Put(LinkPosition(place), place.This);
    // DATA_HDA is logged for a PD and for no other kind, so a restore sets it back to 0.
    m_address->Put(layout::DataHeadFromEnd(end, a), hd);
    m_binary->PutByte(layout::HdEndFromData(end, a), layout::kMarkHd);
    m_address->Put(layout::HdEnd(hd, a), layout::HdEndFromData(end, a));
    return place.This;
}

QZInt64 DATA::NewCD(QZInt64 hd, const void* buffer, QZInt64 size)
{
    const QZInt64 a = m_address->Length();
    const Place place = Find(hd);
    const QZInt64 last = m_chars->Write(layout::CdSlot(place.This, a), buffer, size);
    const QZInt64 end = layout::EndAfterBytes(last, a);
    if (!Open(place, end, {})) return -1;
    Close(place, end);
    return place.This;
}

QZInt64 DATA::NewLD(QZInt64 hd)
{
    const QZInt64 a = m_address->Length();
    const Place place = Find(hd);
    const QZInt64 end = layout::LdEnd(place.This, a);
    if (!Open(place, end, {0, 0, 0, 0})) return -1;
    Close(place, end);

    QZInt64 heads[layout::kLdLists];
    for (QZInt64& head : heads) head = NewHD(place.This);
    for (QZInt64 i = 0; i < layout::kLdLists; ++i)
        m_address->PutRaw(layout::DataOwn(place.This, i, a), heads[i]);
    return place.This;
}

QZInt64 DATA::NewRD(QZInt64 hd, QZInt64 position, QZInt64 oldValue, QZInt64 newValue)
{
    const QZInt64 a = m_address->Length();
    const Place place = Find(hd);
    const QZInt64 end = layout::RdEnd(place.This, a);
    m_address->SetFileLength(layout::HdEndFromData(end, a));
    WriteFrame(place, end, {position, oldValue, newValue}, false);
    // All writes are raw: the log does not log itself.
    m_address->PutRaw(LinkPosition(place), place.This);
    WriteClosing(hd, end);
    m_address->PutRaw(layout::HdEnd(hd, a), layout::HdEndFromData(end, a));
    return place.This;
}

QZInt64 DATA::PutField(QZInt64 record, QZInt64 selector, QZInt64 value)
{
    const QZInt64 a = m_address->Length();
    QZInt64 position;
    switch (selector)
    {
        case QZDatabaseInfo::HD_THIS:
        case QZDatabaseInfo::DATA_NEXT:
            position = layout::DataNextFromEnd(m_address->Get(layout::DataEnd(record, a)), a);
            break;
        case QZDatabaseInfo::HD_END:
        case QZDatabaseInfo::DATA_END: position = layout::DataEnd(record, a); break;
        case QZDatabaseInfo::HD_PREV:
        case QZDatabaseInfo::DATA_PREV: position = layout::DataPrev(record); break;
        case QZDatabaseInfo::HD_FIRSTDATA:
        case QZDatabaseInfo::DATA_THIS: position = layout::DataThis(record, a); break;
        case QZDatabaseInfo::LD_LDS:
            position =
                layout::LdListFromEnd(m_address->Get(layout::DataEnd(record, a)), layout::kLdFields, a);
            break;
        case QZDatabaseInfo::AD_FREE: position = layout::DataOwn(record, layout::kAdFree, a); break;
        case QZDatabaseInfo::PD_LD_A: position = layout::DataOwn(record, layout::kPdLd, a); break;
        case QZDatabaseInfo::PD_HD_A: position = layout::DataOwn(record, layout::kPdHd, a); break;
        case QZDatabaseInfo::RD_P: position = layout::DataOwn(record, layout::kRdPosition, a); break;
        case QZDatabaseInfo::RD_O: position = layout::DataOwn(record, layout::kRdOld, a); break;
        case QZDatabaseInfo::RD_N: position = layout::DataOwn(record, layout::kRdNew, a); break;
        // Other fields cannot be set here: the tree lists of an LD are set once, DATA_HDA is moved by its
        // position.
        default: return 0;
    }
    return m_address->Put(position, value);
}

QZInt64 DATA::PutText(QZInt64 slot, QZInt64 owner, const void* buffer, QZInt64 size)
{
    // When the HD or the CD is refused, the database is write-protected and the next steps are refused too.
    // Nothing changes, and each refusal counts as an error.
    const QZInt64 hd = NewHD(owner);
    const QZInt64 cd = NewCD(hd, buffer, size);
    // This logged write is the replacement. The old bytes stay in the file.
    return m_address->Put(slot, layout::CdContent(cd, m_address->Length()));
}

QZInt64 DATA::PutTextCD(QZInt64 cd, const void* buffer, QZInt64 size)
{
    const QZInt64 slot = layout::CdSlot(cd, m_address->Length());
    return PutText(slot, slot, buffer, size);
}

QZInt64 DATA::PutTextPD(QZInt64 pd, const void* buffer, QZInt64 size)
{
    return PutText(layout::PdSlot(pd, m_address->Length()), pd, buffer, size);
}
