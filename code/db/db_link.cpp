#include "db/internal/db_link.h"

#include <initializer_list>

#include "db/db_format.h"
#include "db/internal/db_data.h"
#include "db/internal/db_read.h"
#include "db/internal/db_repair.h"
#include "db/internal/db_walk.h"

namespace
{

constexpr QZInt64 SideThis = QZDatabaseInfo::ADDRESS_MARK_THIS;
constexpr QZInt64 SideEnd = QZDatabaseInfo::ADDRESS_MARK_END;

/// Recorded for marks that belong to no list.
constexpr QZInt64 BareError = 256;

}  // namespace

void LINK::EndList(QZInt64 left)
{
    READ* read = m_objects->Read();
    DATA* data = m_objects->Data();
    const QZInt64 record = read->ReadData(SideEnd, left, QZDatabaseInfo::DATA_THIS);
    const QZInt64 head = read->HeadOf(record);
    data->PutField(record, QZDatabaseInfo::DATA_NEXT, 0);
    // Every record has a closing frame behind it since its own creation: being the last again takes only
    // HD_END.
    data->PutField(head, QZDatabaseInfo::HD_END, QZDbAt(left, 2 * m_objects->Address()->Length()));
}

void LINK::Join(QZInt64 left, QZInt64 right)
{
    READ* read = m_objects->Read();
    ADDRESS* address = m_objects->Address();
    const QZInt64 a = address->Length();
    const QZByte leftMark = read->Mark(left);
    const bool leftIsHead = leftMark == QZDatabaseInfo::MARK_HD;
    if (right == 0)
    {
        if (leftIsHead)
            ResetHD(left);
        else
            EndList(left);
        return;
    }
    const QZByte rightMark = read->Mark(right);
    if (!leftIsHead && leftMark != QZDatabaseInfo::MARK_DATA)
    {
        m_objects->Console()->RecordError(BareError);
    }
    else if (rightMark == QZDatabaseInfo::MARK_DATA)
    {
        address->Put(leftIsHead ? QZDbAt(left, 1 + a) : QZDbAt(left, -a), right);
        address->Put(QZDbAt(right, 1), left);
    }
    else if (rightMark == QZDatabaseInfo::MARK_HD)
    {
        if (leftIsHead)
            ResetHD(left);
        else
            EndList(left);
    }
    else
    {
        m_objects->Console()->RecordError(BareError);
    }
}

void LINK::ResetHD(QZInt64 hd)
{
    READ* read = m_objects->Read();
    DATA* data = m_objects->Data();
    const QZInt64 a = m_objects->Address()->Length();
    data->PutField(hd, QZDatabaseInfo::HD_FIRSTDATA, 0);
    const QZInt64 end = QZDbAt(hd, 1 + 4 * a);
    if (read->Mark(end) == QZDatabaseInfo::MARK_HD)
        data->PutField(hd, QZDatabaseInfo::HD_END, end);
    else if (read->Mark(QZDbAt(end, a)) == QZDatabaseInfo::MARK_HD)
        data->PutField(hd, QZDatabaseInfo::HD_END, QZDbAt(end, a));
    else
        m_objects->Console()->RecordError(BareError);
}

void LINK::Unlink(QZInt64 record)
{
    READ* read = m_objects->Read();
    const QZInt64 previous = read->ReadData(SideThis, record, QZDatabaseInfo::DATA_PREV);
    Join(previous, read->Next(record));
}

void LINK::RemoveChild(QZInt64 hd)
{
    const QZInt64 owner = m_objects->Read()->ReadHD(SideThis, hd, QZDatabaseInfo::HD_PREV);
    if (owner == 0) return;
    if (m_objects->Console()->IsCheckParam() &&
        m_objects->Repair()->TypeOf(SideThis, owner) != QZDatabaseInfo::DATA_PD)
        return;
    m_objects->Data()->PutField(owner, QZDatabaseInfo::PD_HD_A, 0);
}

void LINK::RemovePD(QZInt64 pd)
{
    READ* read = m_objects->Read();
    const QZInt64 previous = read->ReadData(SideThis, pd, QZDatabaseInfo::DATA_PREV);
    const QZInt64 next = read->Next(pd);
    const QZInt64 ld = read->ReadPD(SideThis, pd, QZDatabaseInfo::PD_LD_A);
    const QZInt64 tree = read->TreeOf(pd);
    QZInt64 list = 0;
    if (ld != 0 && tree >= 1 && tree <= 3)
    {
        static const QZInt64 selectors[] = {QZDatabaseInfo::LD_TREE_A, QZDatabaseInfo::LD_TREE_R,
                                            QZDatabaseInfo::LD_TREE_S};
        list = read->ReadLD(SideThis, ld, selectors[tree - 1]);
    }
    if (list != 0)
    {
        QZDbWalk walk;
        QZInt64 record = read->ReadHD(SideThis, list, QZDatabaseInfo::HD_FIRSTDATA);
        for (; record != 0 && walk.Enter(record); record = read->Next(record))
        {
            if (read->ReadAD(SideThis, record, QZDatabaseInfo::AD_FREE) != pd) continue;
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
        // The LD of a PD that has none. Nothing is taken out, and callers see the code of marks that belong
        // to no list.
        m_objects->Console()->RecordError(BareError);
        return;
    }
    READ* read = m_objects->Read();
    const QZInt64 previous = read->ReadData(SideThis, ld, QZDatabaseInfo::DATA_PREV);
    const QZInt64 next = read->Next(ld);
    // Removing appends to the log, and a damaged list may lead into it: what was not there before is not
    // walked.
    const QZInt64 length = m_objects->Console()->GetLength();
    const QZInt64 records = m_objects->Console()->Buffer()->GetFileSize() / 16 + 1;
    for (const QZInt64 selector :
         {QZDatabaseInfo::LD_TREE_A, QZDatabaseInfo::LD_TREE_R, QZDatabaseInfo::LD_TREE_S})
    {
        const QZInt64 list = read->ReadLD(SideThis, ld, selector);
        if (list == 0) continue;
        QZDbWalk walk;
        QZInt64 room = records;
        QZInt64 record = read->ReadHD(SideThis, list, QZDatabaseInfo::HD_FIRSTDATA);
        while (record != 0 && record <= length && room-- > 0 && walk.Enter(record))
        {
            const QZInt64 following = read->Next(record);
            RemovePD(read->ReadAD(SideThis, record, QZDatabaseInfo::AD_FREE));
            record = following;
        }
    }
    Join(previous, next);
}

QZInt64 LINK::MoveToHD(QZInt64 record, QZInt64 hd)
{
    READ* read = m_objects->Read();
    DATA* data = m_objects->Data();
    ADDRESS* address = m_objects->Address();
    const QZInt64 a = address->Length();
    Unlink(record);
    QZInt64 left = read->ReadHD(SideThis, hd, QZDatabaseInfo::HD_LASTDATA);
    if (left == 0)
    {
        data->PutField(hd, QZDatabaseInfo::HD_FIRSTDATA, record);
        left = hd;
    }
    Join(left, record);
    data->PutField(record, QZDatabaseInfo::DATA_NEXT, 0);
    const QZInt64 end = read->ReadData(SideThis, record, QZDatabaseInfo::DATA_END);
    data->PutField(hd, QZDatabaseInfo::HD_END, QZDbAt(end, 2 * a));
    // Both write DATA_HDA of the record, the first by the new closing frame of the HD. The log holds two
    // changes.
    data->PutField(hd, QZDatabaseInfo::HD_THIS, hd);
    address->Put(QZDbAt(end, a), hd);
    return record;
}

void LINK::MoveDown(QZInt64 record, QZInt64 steps)
{
    READ* read = m_objects->Read();
    QZInt64 behind = read->Next(record);
    if (behind == 0 || steps <= 0) return;
    QZDbWalk walk;
    QZInt64 before = record;
    for (bool round = false; steps > 0 && behind != 0; --steps)
    {
        if (!round && !walk.Enter(behind))
        {
            round = true;
            steps %= walk.Round();
            if (steps == 0) break;
        }
        before = behind;
        behind = read->Next(behind);
    }
    const QZInt64 left = behind != 0 ? read->ReadData(SideThis, behind, QZDatabaseInfo::DATA_PREV)
                                     : read->ReadData(SideThis, before, QZDatabaseInfo::DATA_END);
    Unlink(record);
    Join(left, record);
    Join(read->ReadData(SideThis, record, QZDatabaseInfo::DATA_END), behind);
}

void LINK::MoveUp(QZInt64 record, QZInt64 steps)
{
    READ* read = m_objects->Read();
    const QZInt64 previous = read->ReadData(SideThis, record, QZDatabaseInfo::DATA_PREV);
    if (read->Mark(previous) != QZDatabaseInfo::MARK_DATA || steps <= 0) return;
    QZDbWalk walk;
    QZInt64 target = read->ReadData(SideEnd, previous, QZDatabaseInfo::DATA_THIS);
    for (bool round = false; steps > 0 && read->Mark(target) != QZDatabaseInfo::MARK_HD; --steps)
    {
        if (!round && !walk.Enter(target))
        {
            round = true;
            steps %= walk.Round();
            if (steps == 0) break;
        }
        target = read->ReadData(SideThis, target, QZDatabaseInfo::DATA_PREV);
        if (read->Mark(target) == QZDatabaseInfo::MARK_DATA)
            target = read->ReadData(SideEnd, target, QZDatabaseInfo::DATA_THIS);
    }
    const bool isRecord = read->Mark(target) == QZDatabaseInfo::MARK_DATA;
    const QZInt64 left = isRecord ? read->ReadData(SideThis, target, QZDatabaseInfo::DATA_END) : target;
    const QZInt64 right =
        isRecord ? read->Next(target) : read->ReadHD(SideThis, target, QZDatabaseInfo::HD_FIRSTDATA);
    Unlink(record);
    Join(left, record);
    Join(read->ReadData(SideThis, record, QZDatabaseInfo::DATA_END), right);
}
