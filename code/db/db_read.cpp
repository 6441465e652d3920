#include "db/internal/db_read.h"

#include "db/db_format.h"
#include "db/internal/db_walk.h"

namespace
{

constexpr QZInt64 SideThis = QZDatabaseInfo::ADDRESS_MARK_THIS;
constexpr QZInt64 SideEnd = QZDatabaseInfo::ADDRESS_MARK_END;

/// The bits of a selector that tell the kind of data record.
constexpr QZInt64 KindBits = 0xFF00;

/// Recorded for an HD selector that does not exist.
constexpr QZInt64 BareError = 256;

}  // namespace

QZInt64 READ::Refuse()
{
    m_objects->Console()->RecordError(QZDatabaseInfo::BAD_PARAMETER);
    return -1;
}

QZInt64 READ::ReadHD(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    ADDRESS* value = m_objects->Address();
    const QZInt64 a = value->Length();
    if (side != SideThis && side != SideEnd)
    {
        Refuse();
        return 0;
    }
    const QZInt64 start = side == SideThis ? address : value->Get(QZDbAt(address, -a));
    switch (selector)
    {
        // Each end of an HD has its own copy of THIS; the one at the end that the caller holds is read.
        case QZDatabaseInfo::HD_THIS: return side == SideThis ? value->Get(QZDbAt(start, 1 + 3 * a)) : start;
        case QZDatabaseInfo::HD_END: return value->Get(QZDbAt(start, 1 + 2 * a));
        case QZDatabaseInfo::HD_PREV: return value->Get(QZDbAt(start, 1));
        case QZDatabaseInfo::HD_FIRSTDATA: return value->Get(QZDbAt(start, 1 + a));
        case QZDatabaseInfo::HD_LASTDATA:
            if (value->Get(QZDbAt(start, 1 + a)) == 0) return 0;
            return QZDbAt(value->Get(QZDbAt(start, 1 + 2 * a)), -2 * a);
        case QZDatabaseInfo::HD_LASTDATA_THIS:
            if (value->Get(QZDbAt(start, 1 + a)) == 0) return 0;
            return value->Get(QZDbAt(value->Get(QZDbAt(start, 1 + 2 * a)), -4 * a));
        default: m_objects->Console()->RecordError(BareError); return 0;
    }
}

bool READ::FindEnds(QZInt64 side, QZInt64 address, QZInt64* start, QZInt64* end)
{
    ADDRESS* value = m_objects->Address();
    const QZInt64 a = value->Length();
    if (side == SideThis)
    {
        *start = address;
        *end = value->Get(QZDbAt(address, 1 + 2 * a));
        return true;
    }
    if (side == SideEnd)
    {
        *start = value->Get(QZDbAt(address, -2 * a));
        *end = address;
        return true;
    }
    Refuse();
    return false;
}

QZInt64 READ::ReadData(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    if (side == SideThis)
    {
        // The usual way, without reading what the answer does not need.
        ADDRESS* quick = m_objects->Address();
        const QZInt64 length = quick->Length();
        switch (selector & ~KindBits)
        {
            case QZDatabaseInfo::DATA_THIS: return quick->Get(QZDbAt(address, 1 + length));
            case QZDatabaseInfo::DATA_END: return quick->Get(QZDbAt(address, 1 + 2 * length));
            case QZDatabaseInfo::DATA_PREV: return quick->Get(QZDbAt(address, 1));
            case QZDatabaseInfo::DATA_NEXT: return Next(address);
            default: break;
        }
    }
    QZInt64 start;
    QZInt64 end;
    if (!FindEnds(side, address, &start, &end)) return -1;
    ADDRESS* value = m_objects->Address();
    const QZInt64 a = value->Length();
    switch (selector & ~KindBits)
    {
        // Like an HD: the copy of THIS at the end that the caller holds.
        case QZDatabaseInfo::DATA_THIS: return start;
        case QZDatabaseInfo::DATA_END: return value->Get(QZDbAt(start, 1 + 2 * a));
        case QZDatabaseInfo::DATA_PREV: return value->Get(QZDbAt(start, 1));
        case QZDatabaseInfo::DATA_NEXT: return value->Get(QZDbAt(end, -a));
        case QZDatabaseInfo::DATA_HDA: return value->Get(QZDbAt(end, a));
        case QZDatabaseInfo::DATA_PREV_END:
        case QZDatabaseInfo::DATA_PREV_THIS:
        {
            const QZInt64 previous = value->Get(QZDbAt(start, 1));
            if (Mark(previous) != QZDatabaseInfo::MARK_DATA) return 0;
            const bool wantsEnd = (selector & ~KindBits) == QZDatabaseInfo::DATA_PREV_END;
            return wantsEnd ? previous : value->Get(QZDbAt(previous, -2 * a));
        }
        default: return Refuse();
    }
}

QZInt64 READ::ReadLD(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    QZInt64 fromEnd = 0;
    switch (selector)
    {
        case QZDatabaseInfo::LD_THIS:
        case QZDatabaseInfo::LD_END:
        case QZDatabaseInfo::LD_PREV:
        case QZDatabaseInfo::LD_NEXT:
        case QZDatabaseInfo::LD_HDA: return ReadData(side, address, selector);
        case QZDatabaseInfo::LD_LDS: fromEnd = 6; break;
        case QZDatabaseInfo::LD_TREE_A: fromEnd = 5; break;
        case QZDatabaseInfo::LD_TREE_R: fromEnd = 4; break;
        case QZDatabaseInfo::LD_TREE_S: fromEnd = 3; break;
        default: return Refuse();
    }
    QZInt64 start;
    QZInt64 end;
    if (!FindEnds(side, address, &start, &end)) return -1;
    ADDRESS* value = m_objects->Address();
    return value->Get(QZDbAt(end, -fromEnd * value->Length()));
}

QZInt64 READ::ReadPD(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    if ((selector & 0xF0) == 0) return ReadData(side, address, selector);
    QZInt64 field;
    switch (selector)
    {
        case QZDatabaseInfo::PD_LD_A: field = 3; break;
        case QZDatabaseInfo::PD_HD_A: field = 4; break;
        default: return Refuse();
    }
    return ReadOwn(side, address, field);
}

QZInt64 READ::ReadAD(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    switch (selector)
    {
        case QZDatabaseInfo::AD_THIS:
        case QZDatabaseInfo::AD_END:
        case QZDatabaseInfo::AD_PREV:
        case QZDatabaseInfo::AD_NEXT:
        case QZDatabaseInfo::AD_HDA: return ReadData(side, address, selector);
        case QZDatabaseInfo::AD_FREE: return ReadOwn(side, address, 3);
        default: return Refuse();
    }
}

QZInt64 READ::ReadRD(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    switch (selector)
    {
        case QZDatabaseInfo::RD_P: return ReadOwn(side, address, 3);
        case QZDatabaseInfo::RD_O: return ReadOwn(side, address, 4);
        case QZDatabaseInfo::RD_N: return ReadOwn(side, address, 5);
        default: return Refuse();
    }
}

QZInt64 READ::ReadOwn(QZInt64 side, QZInt64 address, QZInt64 field)
{
    ADDRESS* value = m_objects->Address();
    const QZInt64 a = value->Length();
    if (side != SideThis && side != SideEnd) return Refuse();
    const QZInt64 start = side == SideThis ? address : value->Get(QZDbAt(address, -2 * a));
    return value->Get(QZDbAt(start, 1 + field * a));
}

QZInt64 READ::HeadOf(QZInt64 record) { return ReadData(SideThis, record, QZDatabaseInfo::DATA_HDA); }

QZInt64 READ::Next(QZInt64 record)
{
    // What ReadData answers for DATA_NEXT: the step that every walk is made of goes straight to the two
    // addresses.
    ADDRESS* value = m_objects->Address();
    const QZInt64 a = value->Length();
    return value->Get(QZDbAt(value->Get(QZDbAt(record, 1 + 2 * a)), -a));
}

QZInt64 READ::Count(QZInt64 hd)
{
    QZDbWalk walk;
    QZInt64 count = 0;
    QZInt64 record = ReadHD(SideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    for (; record != 0 && walk.Enter(record); record = Next(record)) ++count;
    return count;
}

QZInt64 READ::NthOrCount(QZInt64 hd, QZInt64 n, QZInt64* count)
{
    QZDbWalk walk;
    *count = 0;
    QZInt64 record = ReadHD(SideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    for (; record != 0 && walk.Enter(record); record = Next(record))
        if (++*count == n) return record;
    return 0;
}

QZInt64 READ::Position(QZInt64 record)
{
    QZDbWalk walk;
    QZInt64 position = 1;
    QZInt64 current = ReadHD(SideThis, HeadOf(record), QZDatabaseInfo::HD_FIRSTDATA);
    for (; current != 0 && walk.Enter(current); current = Next(current), ++position)
        if (current == record) return position;
    return 0;
}

QZInt64 READ::Nth(QZInt64 hd, QZInt64 n, QZInt64 selector)
{
    const QZInt64 record = NthRecord(hd, n);
    return record == 0 ? 0 : ReadData(SideThis, record, selector);
}

QZInt64 READ::NthRecord(QZInt64 hd, QZInt64 n)
{
    QZDbWalk walk;
    QZInt64 record = ReadHD(SideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    bool round = false;
    for (QZInt64 steps = n > 1 ? n - 1 : 0; steps > 0 && record != 0; --steps)
    {
        if (!round && !walk.Enter(record))
        {
            round = true;
            steps %= walk.Round();
            if (steps == 0) break;
        }
        record = Next(record);
    }
    return record;
}

QZInt64 READ::TreeRoot(QZInt64 address, QZInt64 n)
{
    const QZInt64 record = NthRecord(address, n);
    return record == 0 ? 0 : ReadAD(SideThis, record, QZDatabaseInfo::AD_FREE);
}

QZInt64 READ::TreeOf(QZInt64 pd)
{
    const bool oldest = m_objects->Console()->AddressInfo()->Version == QZDatabaseInfo::DBV_CODE_V1;
    const QZInt64 lengthOfAD = 6 * m_objects->Address()->Length() + 1;
    QZDbWalk walk;
    for (QZInt64 record = pd; walk.Enter(record);)
    {
        const QZInt64 head = HeadOf(record);
        if (oldest)
        {
            // The roots of the oldest layout hang under nothing and are known by their place.
            if (head == QZDatabaseInfo::TREEAV1) return 1;
            if (head == QZDatabaseInfo::TREERV1) return 2;
            if (head == QZDatabaseInfo::TREESV1) return 3;
        }
        record = ReadHD(SideThis, head, QZDatabaseInfo::HD_PREV);
        if (record == 0) return 0;
        if (!oldest && ReadData(SideThis, record, QZDatabaseInfo::DATA_END) == QZDbAt(record, lengthOfAD))
            return Position(record);
    }
    return 0;
}
