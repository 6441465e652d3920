#include "db/internal/db_link.h"

#include <initializer_list>

#include "db/internal/db_walk.h"

using layout::kBareError;
using layout::kSideEnd;
using layout::kSideThis;

void LINK::EndList(QZInt64 left)
{
    const QZInt64 record = m_read->ReadData(kSideEnd, left, QZDatabaseInfo::DATA_THIS);
    const QZInt64 head = m_read->HeadOf(record);
    m_data->PutField(record, QZDatabaseInfo::DATA_NEXT, 0);
    // A closing mark of the HD follows every record since its creation, so only HD_END has to change.
    m_data->PutField(head, QZDatabaseInfo::HD_END, layout::HdEndFromData(left, m_address->Length()));
}

void LINK::Join(QZInt64 left, QZInt64 right)
{
    const QZInt64 a = m_address->Length();
    const QZByte leftMark = m_read->Mark(left);
    const bool leftIsHead = leftMark == layout::kMarkHd;
    if (right == 0)
    {
        if (leftIsHead)
            ResetHD(left);
        else
            EndList(left);
        return;
    }
    const QZByte rightMark = m_read->Mark(right);
    if (!leftIsHead && leftMark != layout::kMarkData)
    {
        m_file->RecordError(kBareError);
    }
    else if (rightMark == layout::kMarkData)
    {
        m_address->Put(leftIsHead ? layout::HdFirst(left, a) : layout::DataNextFromEnd(left, a), right);
        m_address->Put(layout::DataPrev(right), left);
    }
    else if (rightMark == layout::kMarkHd)
    {
        if (leftIsHead)
            ResetHD(left);
        else
            EndList(left);
    }
    else
    {
        m_file->RecordError(kBareError);
    }
}

void LINK::ResetHD(QZInt64 hd)
{
    const QZInt64 a = m_address->Length();
    m_data->PutField(hd, QZDatabaseInfo::HD_FIRSTDATA, 0);
    const QZInt64 end = layout::HdEmptyEnd(hd, a);
    if (m_read->Mark(end) == layout::kMarkHd)
        m_data->PutField(hd, QZDatabaseInfo::HD_END, end);
    else if (m_read->Mark(layout::HdEmptyEndLater(hd, a)) == layout::kMarkHd)
        m_data->PutField(hd, QZDatabaseInfo::HD_END, layout::HdEmptyEndLater(hd, a));
    else
        m_file->RecordError(kBareError);
}

void LINK::Unlink(QZInt64 record)
{
    const QZInt64 previous = m_read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_PREV);
    Join(previous, m_read->Next(record));
}

void LINK::RemoveChild(QZInt64 hd)
{
    const QZInt64 owner = m_read->ReadHD(kSideThis, hd, QZDatabaseInfo::HD_PREV);
    if (owner == 0) return;
    if (m_file->IsCheckParam() && m_repair->TypeOf(kSideThis, owner) != QZDatabaseInfo::DATA_PD) return;
    m_data->PutField(owner, QZDatabaseInfo::PD_HD_A, 0);
}

void LINK::RemovePD(QZInt64 pd)
{
    const QZInt64 previous = m_read->ReadData(kSideThis, pd, QZDatabaseInfo::DATA_PREV);
    const QZInt64 next = m_read->Next(pd);
    const QZInt64 ld = m_read->ReadPD(kSideThis, pd, QZDatabaseInfo::PD_LD_A);
    const QZInt64 tree = m_read->TreeOf(pd);
    QZInt64 list = 0;
    if (ld != 0 && tree >= 1 && tree <= 3)
    {
        static const QZInt64 selectors[] = {QZDatabaseInfo::LD_TREE_A, QZDatabaseInfo::LD_TREE_R,
                                            QZDatabaseInfo::LD_TREE_S};
        list = m_read->ReadLD(kSideThis, ld, selectors[tree - 1]);
    }
    if (list != 0)
    {
        QZDbWalk walk;
        QZInt64 record = m_read->ReadHD(kSideThis, list, QZDatabaseInfo::HD_FIRSTDATA);
        for (; record != 0 && walk.Enter(record); record = m_read->Next(record))
        {
            if (m_read->ReadAD(kSideThis, record, QZDatabaseInfo::AD_FREE) != pd) continue;
            Unlink(record);
            break;
        }
    }
    Join(previous, next);
}

void LINK::RemoveLD(QZInt64 ld)
{
    if (ld == 0)
    {
        // The PD has no LD. Nothing is removed, and the code is that of a mark that belongs to no list.
        m_file->RecordError(kBareError);
        return;
    }
    const QZInt64 previous = m_read->ReadData(kSideThis, ld, QZDatabaseInfo::DATA_PREV);
    const QZInt64 next = m_read->Next(ld);
    // Removing appends to the log, and a damaged list may lead into it. Records that are newer than this call
    // are not walked.
    const QZInt64 length = m_address->FileLength();
    const QZInt64 records = m_file->Buffer()->GetFileSize() / layout::kAlignment + 1;
    for (const QZInt64 selector :
         {QZDatabaseInfo::LD_TREE_A, QZDatabaseInfo::LD_TREE_R, QZDatabaseInfo::LD_TREE_S})
    {
        const QZInt64 list = m_read->ReadLD(kSideThis, ld, selector);
        if (list == 0) continue;
        QZDbWalk walk;
        QZInt64 room = records;
        QZInt64 record = m_read->ReadHD(kSideThis, list, QZDatabaseInfo::HD_FIRSTDATA);
        while (record != 0 && record <= length && room-- > 0 && walk.Enter(record))
        {
            const QZInt64 following = m_read->Next(record);
            RemovePD(m_read->ReadAD(kSideThis, record, QZDatabaseInfo::AD_FREE));
            record = following;
        }
    }
    Join(previous, next);
}

QZInt64 LINK::MoveToHD(QZInt64 record, QZInt64 hd)
{
    const QZInt64 a = m_address->Length();
    Unlink(record);
    QZInt64 left = m_read->ReadHD(kSideThis, hd, QZDatabaseInfo::HD_LASTDATA);
    if (left == 0)
    {
        m_data->PutField(hd, QZDatabaseInfo::HD_FIRSTDATA, record);
        left = hd;
    }
    Join(left, record);
    m_data->PutField(record, QZDatabaseInfo::DATA_NEXT, 0);
    const QZInt64 end = m_read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_END);
    m_data->PutField(hd, QZDatabaseInfo::HD_END, layout::HdEndFromData(end, a));
    // Both write DATA_HDA of the record, the first through the new closing mark of the HD. So the log gets
    // two records.
    m_data->PutField(hd, QZDatabaseInfo::HD_THIS, hd);
    m_address->Put(layout::DataHeadFromEnd(end, a), hd);
    return record;
}

void LINK::MoveDown(QZInt64 record, QZInt64 steps)
{
    QZInt64 behind = m_read->Next(record);
    if (behind == 0 || steps <= 0) return;
    QZDbWalk walk;
    QZInt64 before = record;
    for (; steps > 0 && behind != 0; --steps)
    {
        if (!walk.EnterCounted(behind, &steps)) break;
        before = behind;
        behind = m_read->Next(behind);
    }
    const QZInt64 left = behind != 0 ? m_read->ReadData(kSideThis, behind, QZDatabaseInfo::DATA_PREV)
                                     : m_read->ReadData(kSideThis, before, QZDatabaseInfo::DATA_END);
    Unlink(record);
    Join(left, record);
    Join(m_read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_END), behind);
}

void LINK::MoveUp(QZInt64 record, QZInt64 steps)
{
    const QZInt64 previous = m_read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_PREV);
    if (m_read->Mark(previous) != layout::kMarkData || steps <= 0) return;
    QZDbWalk walk;
    QZInt64 target = m_read->ReadData(kSideEnd, previous, QZDatabaseInfo::DATA_THIS);
    for (; steps > 0 && m_read->Mark(target) != layout::kMarkHd; --steps)
    {
        if (!walk.EnterCounted(target, &steps)) break;
        target = m_read->ReadData(kSideThis, target, QZDatabaseInfo::DATA_PREV);
        if (m_read->Mark(target) == layout::kMarkData)
            target = m_read->ReadData(kSideEnd, target, QZDatabaseInfo::DATA_THIS);
    }
    const bool isRecord = m_read->Mark(target) == layout::kMarkData;
    const QZInt64 left = isRecord ? m_read->ReadData(kSideThis, target, QZDatabaseInfo::DATA_END) : target;
    const QZInt64 right =
        isRecord ? m_read->Next(target) : m_read->ReadHD(kSideThis, target, QZDatabaseInfo::HD_FIRSTDATA);
    Unlink(record);
    Join(left, record);
    Join(m_read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_END), right);
}
