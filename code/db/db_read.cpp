#include "db/internal/db_read.h"

#include "db/internal/db_walk.h"
#include "fw/fw_collection.h"

using layout::kSideEnd;
using layout::kSideThis;

QZInt64 READ::Refuse()
{
    m_file->RecordError(QZDatabaseInfo::BAD_PARAMETER);
    return -1;
}

QZInt64 READ::ReadHD(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    const QZInt64 a = m_address->Length();
    if (side != kSideThis && side != kSideEnd)
    {
        Refuse();
        return 0;
    }
    const QZInt64 start = side == kSideThis ? address : m_address->Get(layout::HdThisFromEnd(address, a));
    switch (selector)
    {
        // Both ends of an HD hold THIS; the one at the end that the caller names is read.
        case QZDatabaseInfo::HD_THIS:
            return side == kSideThis ? m_address->Get(layout::HdThis(start, a)) : start;
        case QZDatabaseInfo::HD_END: return m_address->Get(layout::HdEnd(start, a));
        case QZDatabaseInfo::HD_PREV: return m_address->Get(layout::HdPrev(start));
        case QZDatabaseInfo::HD_FIRSTDATA: return m_address->Get(layout::HdFirst(start, a));
        case QZDatabaseInfo::HD_LASTDATA:
            if (m_address->Get(layout::HdFirst(start, a)) == 0) return 0;
            return layout::HdLastEnd(m_address->Get(layout::HdEnd(start, a)), a);
        case QZDatabaseInfo::HD_LASTDATA_THIS:
            if (m_address->Get(layout::HdFirst(start, a)) == 0) return 0;
            return m_address->Get(layout::HdLastThis(m_address->Get(layout::HdEnd(start, a)), a));
        default: m_file->RecordError(layout::kBareError); return 0;
    }
}

bool READ::FindEnds(QZInt64 side, QZInt64 address, QZInt64* start, QZInt64* end)
{
    const QZInt64 a = m_address->Length();
    if (side == kSideThis)
    {
        *start = address;
        *end = m_address->Get(layout::DataEnd(address, a));
        return true;
    }
    if (side == kSideEnd)
    {
        *start = m_address->Get(layout::DataThisFromEnd(address, a));
        *end = address;
        return true;
    }
    Refuse();
    return false;
}

QZInt64 READ::ReadData(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    const QZInt64 a = m_address->Length();
    if (side == kSideThis)
    {
        // The usual way reads only what the result needs.
        switch (selector & ~layout::kSelectorKind)
        {
            case QZDatabaseInfo::DATA_THIS: return m_address->Get(layout::DataThis(address, a));
            case QZDatabaseInfo::DATA_END: return m_address->Get(layout::DataEnd(address, a));
            case QZDatabaseInfo::DATA_PREV: return m_address->Get(layout::DataPrev(address));
            case QZDatabaseInfo::DATA_NEXT: return Next(address);
            default: break;
        }
    }
    QZInt64 start;
    QZInt64 end;
    if (!FindEnds(side, address, &start, &end)) return -1;
    switch (selector & ~layout::kSelectorKind)
    {
        // As for an HD: THIS from the end that the caller names.
        case QZDatabaseInfo::DATA_THIS: return start;
        case QZDatabaseInfo::DATA_END: return m_address->Get(layout::DataEnd(start, a));
        case QZDatabaseInfo::DATA_PREV: return m_address->Get(layout::DataPrev(start));
        case QZDatabaseInfo::DATA_NEXT: return m_address->Get(layout::DataNextFromEnd(end, a));
        case QZDatabaseInfo::DATA_HDA: return m_address->Get(layout::DataHeadFromEnd(end, a));
        case QZDatabaseInfo::DATA_PREV_END:
        case QZDatabaseInfo::DATA_PREV_THIS:
        {
            const QZInt64 previous = m_address->Get(layout::DataPrev(start));
            if (Mark(previous) != layout::kMarkData) return 0;
            const bool wantsEnd = (selector & ~layout::kSelectorKind) == QZDatabaseInfo::DATA_PREV_END;
            return wantsEnd ? previous : m_address->Get(layout::DataThisFromEnd(previous, a));
        }
        default: return Refuse();
    }
}

QZInt64 READ::ReadLD(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    QZInt64 list;
    switch (selector)
    {
        case QZDatabaseInfo::LD_THIS:
        case QZDatabaseInfo::LD_END:
        case QZDatabaseInfo::LD_PREV:
        case QZDatabaseInfo::LD_NEXT:
        case QZDatabaseInfo::LD_HDA: return ReadData(side, address, selector);
        case QZDatabaseInfo::LD_LDS: list = layout::kLdFields; break;
        case QZDatabaseInfo::LD_TREE_A: list = layout::kLdTreeA; break;
        case QZDatabaseInfo::LD_TREE_R: list = layout::kLdTreeR; break;
        case QZDatabaseInfo::LD_TREE_S: list = layout::kLdTreeS; break;
        default: return Refuse();
    }
    QZInt64 start;
    QZInt64 end;
    if (!FindEnds(side, address, &start, &end)) return -1;
    return m_address->Get(layout::LdListFromEnd(end, list, m_address->Length()));
}

QZInt64 READ::ReadPD(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    if ((selector & layout::kSelectorOwn) == 0) return ReadData(side, address, selector);
    QZInt64 field;
    switch (selector)
    {
        case QZDatabaseInfo::PD_LD_A: field = layout::kPdLd; break;
        case QZDatabaseInfo::PD_HD_A: field = layout::kPdHd; break;
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
        case QZDatabaseInfo::AD_FREE: return ReadOwn(side, address, layout::kAdFree);
        default: return Refuse();
    }
}

QZInt64 READ::ReadRD(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    switch (selector)
    {
        case QZDatabaseInfo::RD_P: return ReadOwn(side, address, layout::kRdPosition);
        case QZDatabaseInfo::RD_O: return ReadOwn(side, address, layout::kRdOld);
        case QZDatabaseInfo::RD_N: return ReadOwn(side, address, layout::kRdNew);
        default: return Refuse();
    }
}

QZInt64 READ::ReadOwn(QZInt64 side, QZInt64 address, QZInt64 field)
{
    const QZInt64 a = m_address->Length();
    if (side != kSideThis && side != kSideEnd) return Refuse();
    const QZInt64 start = side == kSideThis ? address : m_address->Get(layout::DataThisFromEnd(address, a));
    return m_address->Get(layout::DataOwn(start, field, a));
}

QZInt64 READ::HeadOf(QZInt64 record) { return ReadData(kSideThis, record, QZDatabaseInfo::DATA_HDA); }

QZInt64 READ::Next(QZInt64 record)
{
    // The same as ReadData for DATA_NEXT. Every step of every walk is made here, so it reads the two
    // addresses directly.
    const QZInt64 a = m_address->Length();
    return m_address->Get(layout::DataNextFromEnd(m_address->Get(layout::DataEnd(record, a)), a));
}

QZInt64 READ::Count(QZInt64 hd)
{
    QZDbWalk walk;
    QZInt64 count = 0;
    QZInt64 record = ReadHD(kSideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    for (; record != 0 && walk.Enter(record); record = Next(record)) ++count;
    return count;
}

QZInt64 READ::NthOrCount(QZInt64 hd, QZInt64 n, QZInt64* count)
{
    QZDbWalk walk;
    *count = 0;
    QZInt64 record = ReadHD(kSideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    for (; record != 0 && walk.Enter(record); record = Next(record))
        if (++*count == n) return record;
    return 0;
}

QZInt64 READ::Position(QZInt64 record)
{
    QZDbWalk walk;
    QZInt64 position = 1;
    QZInt64 current = ReadHD(kSideThis, HeadOf(record), QZDatabaseInfo::HD_FIRSTDATA);
    for (; current != 0 && walk.Enter(current); current = Next(current), ++position)
        if (current == record) return position;
    return 0;
}

QZInt64 READ::Nth(QZInt64 hd, QZInt64 n, QZInt64 selector)
{
    const QZInt64 record = NthRecord(hd, n);
    return record == 0 ? 0 : ReadData(kSideThis, record, selector);
}

QZInt64 READ::NthRecord(QZInt64 hd, QZInt64 n)
{
    QZDbWalk walk;
    QZInt64 record = ReadHD(kSideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    for (QZInt64 steps = n > 1 ? n - 1 : 0; steps > 0 && record != 0; --steps)
    {
        if (!walk.EnterCounted(record, &steps)) break;
        record = Next(record);
    }
    return record;
}

QZInt64 READ::TreeRoot(QZInt64 address, QZInt64 n)
{
    const QZInt64 record = NthRecord(address, n);
    return record == 0 ? 0 : ReadAD(kSideThis, record, QZDatabaseInfo::AD_FREE);
}

QZInt64 READ::TreeOf(QZInt64 pd)
{
    const bool oldest = m_file->AddressInfo()->Version == QZDatabaseInfo::DBV_CODE_V1;
    const QZInt64 a = m_address->Length();
    QZDbWalk walk;
    for (QZInt64 record = pd; walk.Enter(record);)
    {
        const QZInt64 head = HeadOf(record);
        if (oldest)
        {
            // The root HDs of version 1 have no owner. Their positions are fixed.
            if (head == QZDatabaseInfo::TREEAV1) return 1;
            if (head == QZDatabaseInfo::TREERV1) return 2;
            if (head == QZDatabaseInfo::TREESV1) return 3;
        }
        record = ReadHD(kSideThis, head, QZDatabaseInfo::HD_PREV);
        if (record == 0) return 0;
        if (!oldest && ReadData(kSideThis, record, QZDatabaseInfo::DATA_END) == layout::AdEnd(record, a))
            return Position(record);
    }
    return 0;
}

// ---- Lists into collections

void QZDbCollectRecords(READ* read, QZInt64 hd, QZCollection* output)
{
    QZDbWalk walk;
    QZInt64 record = read->ReadHD(kSideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    while (record != 0 && walk.Enter(record))
    {
        output->Push(static_cast<QZUInt64>(record));
        record = read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_NEXT);
    }
}

void QZDbGatherPDs(READ* read, QZInt64 hd, QZCollection* output)
{
    if (read->ReadHD(kSideThis, hd, QZDatabaseInfo::HD_FIRSTDATA) == 0) return;

    QZCollection heads;
    heads.Push(static_cast<QZUInt64>(hd));
    QZInt64 count = 1;
    QZDbWalk walk;
    // The first index is -1, which the collection refuses. So for a list that is not empty this throws the
    // collection's exception, which is documented.
    for (QZInt64 i = 0; i != count; ++i)
    {
        const QZInt64 head = static_cast<QZInt64>(heads.GetElement(i - 1));
        QZInt64 pd = read->ReadHD(kSideThis, head, QZDatabaseInfo::HD_FIRSTDATA);
        while (pd != 0 && walk.Enter(pd))
        {
            output->Push(static_cast<QZUInt64>(pd));
            const QZInt64 child = read->ReadPD(kSideThis, pd, QZDatabaseInfo::PD_HD_A);
            if (child != 0)
            {
                heads.Push(static_cast<QZUInt64>(child));
                ++count;
            }
            pd = read->ReadData(kSideThis, pd, QZDatabaseInfo::DATA_NEXT);
        }
    }
}
