#include "db/internal/db_data.h"

#include "db/db_format.h"
#include "db/internal/db_chars.h"
#include "db/internal/db_image.h"
#include "db/internal/db_read.h"

namespace
{

constexpr QZInt64 SideThis = QZDatabaseInfo::ADDRESS_MARK_THIS;

/// END of a record whose framed bytes end at `last`.
QZInt64 EndBehind(QZInt64 last, QZInt64 a) { return QZDbAt(QZDbAt(last, 17) / 16 * 16, 2 * a); }

}  // namespace

QZInt64 DATA::NewPlace()
{
    // The smallest position behind the last byte in use that leaves the byte after it on a 16-byte boundary.
    return QZDbAt(QZDbAt(m_objects->Console()->GetLength(), 17) / 16 * 16, -1);
}

DATA::Place DATA::Find(QZInt64 hd)
{
    READ* read = m_objects->Read();
    Place place;
    place.Head = hd;
    place.This = NewPlace();
    place.First = read->ReadHD(SideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    place.Left = place.First != 0 ? read->ReadHD(SideThis, hd, QZDatabaseInfo::HD_LASTDATA) : hd;
    return place;
}

bool DATA::Open(const Place& place, QZInt64 end, std::initializer_list<QZInt64> own)
{
    const QZInt64 a = m_objects->Address()->Length();
    // The length grows before the record exists: a record cut short by a crash is unreachable, never half
    // linked.
    m_objects->Console()->SetLength(QZDbAt(end, 2 * a));
    return WriteFrame(place, end, own, true);
}

/// The frame up to the closing mark, with the kind's own fields behind the opening ones.
bool DATA::WriteFrame(const Place& place, QZInt64 end, std::initializer_list<QZInt64> own, bool needFirst)
{
    QZDbImage opening(m_objects, place.This);
    opening.Mark(QZDatabaseInfo::MARK_DATA);
    opening.Address(place.Left);
    opening.Address(place.This);
    opening.Address(end);
    for (const QZInt64 field : own) opening.Address(field);
    if (!opening.Write(needFirst) && needFirst) return false;

    QZDbImage closing(m_objects, QZDbAt(end, -2 * m_objects->Address()->Length()));
    closing.Address(place.This);
    closing.Address(0);
    closing.Mark(QZDatabaseInfo::MARK_DATA);
    closing.Write(false);
    return true;
}

/// What stands behind the closing mark: the head, and the mark by which the head ends here.
void DATA::WriteClosing(QZInt64 head, QZInt64 end)
{
    QZDbImage image(m_objects, QZDbAt(end, m_objects->Address()->Length()));
    image.Address(head);
    image.Mark(QZDatabaseInfo::MARK_HD);
    image.Write(false);
}

QZInt64 DATA::LinkPosition(const Place& place)
{
    const QZInt64 a = m_objects->Address()->Length();
    return place.First != 0 ? QZDbAt(place.Left, -a) : QZDbAt(place.Head, 1 + a);
}

void DATA::Close(const Place& place, QZInt64 end)
{
    ADDRESS* address = m_objects->Address();
    const QZInt64 a = address->Length();
    address->Put(LinkPosition(place), place.This);
    WriteClosing(place.Head, end);
    address->Put(QZDbAt(place.Head, 1 + 2 * a), QZDbAt(end, 2 * a));
}

QZInt64 DATA::NewHD(QZInt64 owner)
{
    const QZInt64 a = m_objects->Address()->Length();
    const QZInt64 start = NewPlace();
    const QZInt64 end = QZDbAt(start, 1 + 4 * a);
    m_objects->Console()->SetLength(end);
    QZDbImage image(m_objects, start);
    image.Mark(QZDatabaseInfo::MARK_HD);
    image.Address(owner);
    image.Address(0);
    image.Address(end);
    image.Address(start);
    image.Mark(QZDatabaseInfo::MARK_HD);
    return image.Write(true) ? start : 0;
}

QZInt64 DATA::NewHDForPD(QZInt64 pd)
{
    const QZInt64 hd = NewHD(pd);
    if (hd != 0) m_objects->Address()->Put(QZDbAt(pd, 1 + 4 * m_objects->Address()->Length()), hd);
    return hd;
}

QZInt64 DATA::NewAD(QZInt64 hd, QZInt64 value)
{
    ADDRESS* address = m_objects->Address();
    const QZInt64 a = address->Length();
    const Place place = Find(hd);
    const QZInt64 end = QZDbAt(place.This, 1 + 6 * a);
    if (!Open(place, end, {value})) return -1;
    // Unlike the other kinds an AD has its closing frame before the first link to it is written.
    WriteClosing(hd, end);
    address->Put(LinkPosition(place), place.This);
    address->Put(QZDbAt(hd, 1 + 2 * a), QZDbAt(end, 2 * a));
    return place.This;
}

QZInt64 DATA::NewPD(QZInt64 hd, QZInt64 ld, const void* buffer, QZInt64 size)
{
    ADDRESS* address = m_objects->Address();
    BINARY* binary = m_objects->Binary();
    const QZInt64 a = address->Length();
    const Place place = Find(hd);
    const QZInt64 last = m_objects->Chars()->Write(QZDbAt(place.This, 1 + 5 * a), buffer, size);
    const QZInt64 end = EndBehind(last, a);
    if (!Open(place, end, {ld, 0})) return -1;
    address->Put(LinkPosition(place), place.This);
    // A PD's own head field is logged, that of no other kind: a restore takes it back to 0.
    address->Put(QZDbAt(end, a), hd);
    binary->PutByte(QZDbAt(end, 2 * a), QZDatabaseInfo::MARK_HD);
    address->Put(QZDbAt(hd, 1 + 2 * a), QZDbAt(end, 2 * a));
    return place.This;
}

QZInt64 DATA::NewCD(QZInt64 hd, const void* buffer, QZInt64 size)
{
    const QZInt64 a = m_objects->Address()->Length();
    const Place place = Find(hd);
    const QZInt64 last = m_objects->Chars()->Write(QZDbAt(place.This, 1 + 3 * a), buffer, size);
    const QZInt64 end = EndBehind(last, a);
    if (!Open(place, end, {})) return -1;
    Close(place, end);
    return place.This;
}

QZInt64 DATA::NewLD(QZInt64 hd)
{
    ADDRESS* address = m_objects->Address();
    const QZInt64 a = address->Length();
    const Place place = Find(hd);
    const QZInt64 end = QZDbAt(place.This, 1 + 9 * a);
    if (!Open(place, end, {0, 0, 0, 0})) return -1;
    Close(place, end);

    QZInt64 heads[4];
    for (QZInt64& head : heads) head = NewHD(place.This);
    for (QZInt64 i = 0; i < 4; ++i) address->PutRaw(QZDbAt(place.This, 1 + (3 + i) * a), heads[i]);
    return place.This;
}

QZInt64 DATA::NewRD(QZInt64 hd, QZInt64 position, QZInt64 oldValue, QZInt64 newValue)
{
    ADDRESS* address = m_objects->Address();
    const QZInt64 a = address->Length();
    const Place place = Find(hd);
    const QZInt64 end = QZDbAt(place.This, 1 + 8 * a);
    m_objects->Console()->SetLength(QZDbAt(end, 2 * a));
    WriteFrame(place, end, {position, oldValue, newValue}, false);
    // Raw to the end: the log does not log itself.
    address->PutRaw(LinkPosition(place), place.This);
    WriteClosing(hd, end);
    address->PutRaw(QZDbAt(hd, 1 + 2 * a), QZDbAt(end, 2 * a));
    return place.This;
}

QZInt64 DATA::PutField(QZInt64 record, QZInt64 selector, QZInt64 value)
{
    ADDRESS* address = m_objects->Address();
    const QZInt64 a = address->Length();
    QZInt64 position;
    switch (selector)
    {
        case QZDatabaseInfo::HD_THIS:
        case QZDatabaseInfo::DATA_NEXT: position = QZDbAt(address->Get(QZDbAt(record, 1 + 2 * a)), -a); break;
        case QZDatabaseInfo::HD_END:
        case QZDatabaseInfo::DATA_END: position = QZDbAt(record, 1 + 2 * a); break;
        case QZDatabaseInfo::HD_PREV:
        case QZDatabaseInfo::DATA_PREV: position = QZDbAt(record, 1); break;
        case QZDatabaseInfo::HD_FIRSTDATA:
        case QZDatabaseInfo::DATA_THIS: position = QZDbAt(record, 1 + a); break;
        case QZDatabaseInfo::LD_LDS:
            position = QZDbAt(address->Get(QZDbAt(record, 1 + 2 * a)), -6 * a);
            break;
        case QZDatabaseInfo::PD_LD_A:
        case QZDatabaseInfo::AD_FREE:
        case QZDatabaseInfo::RD_P: position = QZDbAt(record, 1 + 3 * a); break;
        case QZDatabaseInfo::PD_HD_A:
        case QZDatabaseInfo::RD_O: position = QZDbAt(record, 1 + 4 * a); break;
        case QZDatabaseInfo::RD_N: position = QZDbAt(record, 1 + 5 * a); break;
        // The tree lists of an LD and DATA_HDA are among those without a place: set once, or moved by
        // position.
        default: return 0;
    }
    return address->Put(position, value);
}

QZInt64 DATA::PutText(QZInt64 slot, QZInt64 owner, const void* buffer, QZInt64 size)
{
    ADDRESS* address = m_objects->Address();
    // A head or a record that is refused leaves the database write-protected, so that the steps behind it are
    // refused as well: nothing changes, and each refusal counts as an error.
    const QZInt64 hd = NewHD(owner);
    const QZInt64 cd = NewCD(hd, buffer, size);
    // The one logged change that is the replacement; the old bytes stay in the file.
    return address->Put(slot, QZDbAt(cd, 1 + 5 * address->Length()));
}

QZInt64 DATA::PutTextCD(QZInt64 cd, const void* buffer, QZInt64 size)
{
    const QZInt64 slot = QZDbAt(cd, 1 + 3 * m_objects->Address()->Length());
    return PutText(slot, slot, buffer, size);
}

QZInt64 DATA::PutTextPD(QZInt64 pd, const void* buffer, QZInt64 size)
{
    return PutText(QZDbAt(pd, 1 + 5 * m_objects->Address()->Length()), pd, buffer, size);
}
