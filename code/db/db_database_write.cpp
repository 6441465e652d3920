/// The operations of a database that change records, and all operations on content.

#include "db/internal/db_data.h"
#include "db/db_database.h"
#include "db/db_format.h"
#include "db/internal/db_chars.h"
#include "db/internal/db_console.h"
#include "db/internal/db_link.h"
#include "db/internal/db_objects.h"
#include "db/internal/db_operation.h"
#include "db/internal/db_read.h"
#include "db/internal/db_repair.h"
#include "db/internal/db_walk.h"
#include "fw/fw_collection.h"
#include "fw/fw_exception_factory.h"

using layout::kSideThis;

namespace
{
/// In a test: any record or HD.
constexpr QZInt64 kAnyRecord = QZDatabaseInfo::UNKNOWN;

/// What a walk through a list finds.
struct ListEnd
{
    QZInt64 Count = 0;
    /// The last record of the walk, 0 for an empty list.
    QZInt64 Last = 0;
    /// False when the list goes round.
    bool Ends = false;
};

/// Walks to the n-th record or to the end of a shorter list.
ListEnd WalkTo(READ* read, QZInt64 hd, QZInt64 n)
{
    QZDbWalk walk;
    ListEnd end;
    QZInt64 record = read->ReadHD(kSideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    for (; record != 0 && end.Count != n && walk.Enter(record); record = read->Next(record))
    {
        ++end.Count;
        end.Last = record;
    }
    end.Ends = record == 0;
    return end;
}

/// Whether a record that was just appended directly follows the end that the list had before. The list then
/// has one record more and need not be counted.
bool Lengthens(READ* read, QZInt64 hd, const ListEnd& before, QZInt64 record)
{
    if (!before.Ends) return false;
    const QZInt64 following = before.Last != 0 ? read->Next(before.Last)
                                               : read->ReadHD(kSideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
    return following == record && read->Next(record) == 0;
}
}  // namespace

// ---- Records

QZInt64 QZDatabase::P_D(QZInt64 hd, QZInt64 kind)
{
    Operation operation(this);
    const QZInt64 answer = AppendRecord(hd, kind);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::AppendRecord(QZInt64 hd, QZInt64 kind)
{
    if (Testing() && !Fits(Is(hd, QZDatabaseInfo::TABLE_HD))) return -1;
    DATA* data = m_objects->Data();
    const QZInt64 nothing = 0;
    switch (kind)
    {
        case QZDatabaseInfo::DATA_LD: return data->NewLD(hd);
        case QZDatabaseInfo::DATA_PD: return data->NewPD(hd, 0, &nothing, 0);
        case QZDatabaseInfo::DATA_AD: return data->NewAD(hd, 0);
        case QZDatabaseInfo::DATA_CD: return data->NewCD(hd, &nothing, 0);
        case QZDatabaseInfo::DATA_RD: return data->NewRD(hd, 0, 0, 0);
        default: Record(QZDatabaseInfo::BAD_PARAMETER); return -1;
    }
}

QZInt64 QZDatabase::P_HD(QZInt64 pd)
{
    Operation operation(this);
    // For a bad PD the result is -1 and no error is recorded.
    const QZInt64 answer =
        Testing() && !Is(pd, QZDatabaseInfo::DATA_PD) ? -1 : m_objects->Data()->NewHDForPD(pd);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::P_HDF()
{
    Operation operation(this);
    const QZInt64 answer = m_objects->Data()->NewHD(0);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::P_A(QZInt64 address, QZInt64 selector, QZInt64 value)
{
    Operation operation(this);
    const QZInt64 answer = Testing() && !Fits(Is(address, kAnyRecord))
                               ? -1
                               : m_objects->Data()->PutField(address, selector, value);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::MV(QZInt64 address, QZInt64 steps)
{
    Operation operation(this);
    QZInt64 answer = -1;
    if (!Testing() || Fits(Is(address, kAnyRecord)))
    {
        LINK* link = m_objects->Link();
        if (steps > 0) link->MoveDown(address, steps);
        if (steps < 0) link->MoveUp(address, layout::At(~steps, 1));
        answer = 0;
    }
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::MT(QZInt64 address, QZInt64 hd)
{
    Operation operation(this);
    const bool fits = !Testing() || Fits(Is(address, kAnyRecord) && Is(hd, QZDatabaseInfo::TABLE_HD));
    const QZInt64 answer = fits ? m_objects->Link()->MoveToHD(address, hd) : -1;
    operation.Leave();
    return answer;
}

QZBool QZDatabase::D_DATA(QZInt64 address, QZInt64 code)
{
    Operation operation(this);
    const bool answer = (!Testing() || Fits(Is(address, kAnyRecord))) && Delete(address, code);
    operation.Leave();
    return answer ? 1 : 0;
}

bool QZDatabase::Delete(QZInt64 address, QZInt64 code)
{
    LINK* link = m_objects->Link();
    switch (code)
    {
        case QZDatabaseInfo::DELETE_HD: link->RemoveChild(address); return true;
        case QZDatabaseInfo::DELETE_LD: link->RemoveLD(address); return true;
        case QZDatabaseInfo::DELETE_PD: link->RemovePD(address); return true;
        case QZDatabaseInfo::DELETE_DATA: link->Unlink(address); return true;
        case QZDatabaseInfo::DELETE_PD_ALL: DeleteWithBranch(address); return true;
        case QZDatabaseInfo::DELETE_HD_ALL:
        case QZDatabaseInfo::HD_RESET: link->ResetHD(address); return true;
        default: return false;
    }
}

/// Removes the PD, its LD, and everything below. For a child list that is not empty gathering throws, after
/// the PD and its LD were removed.
void QZDatabase::DeleteWithBranch(QZInt64 pd)
{
    READ* read = m_objects->Read();
    LINK* link = m_objects->Link();
    const QZInt64 child = read->ReadPD(kSideThis, pd, QZDatabaseInfo::PD_HD_A);
    const QZInt64 ld = read->ReadPD(kSideThis, pd, QZDatabaseInfo::PD_LD_A);
    link->RemovePD(pd);
    link->RemoveLD(ld);
    if (child == 0) return;

    QZCollection below;
    QZDbGatherPDs(m_objects->Read(), child, &below);
    for (QZInt64 i = 0; i < below.Count(); ++i)
    {
        const QZInt64 record = static_cast<QZInt64>(below.GetElement(i));
        const QZInt64 recordLd = read->ReadPD(kSideThis, record, QZDatabaseInfo::PD_LD_A);
        link->RemovePD(record);
        link->RemoveLD(recordLd);
    }
}

// ---- Content

QZInt64 QZDatabase::P_C(QZInt64 address, QZInt64 field, const void* buffer, QZInt64 length)
{
    Operation operation(this);
    const QZInt64 answer = PutContent(address, field, buffer, length);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::PutContent(QZInt64 address, QZInt64 field, const void* buffer, QZInt64 length)
{
    DATA* data = m_objects->Data();
    QZInt64 answer = -1;
    switch (m_objects->Repair()->TypeOf(kSideThis, address))
    {
        case QZDatabaseInfo::DATA_LD:
            if (field < 1 || m_objects->Read()->ReadLD(kSideThis, address, QZDatabaseInfo::LD_LDS) == 0)
                return 0;
            answer = PutFieldContent(address, field, buffer, length);
            break;
        case QZDatabaseInfo::DATA_PD:
            if (field == QZDatabaseInfo::PD_DATA) answer = data->PutTextPD(address, buffer, length);
            break;
        case QZDatabaseInfo::DATA_CD:
            if (field == QZDatabaseInfo::CD_DATA) answer = data->PutTextCD(address, buffer, length);
            break;
        default: Record(QZDatabaseInfo::BAD_STRUCT); return -1;
    }
    if (answer == -1)
    {
        Record(QZDatabaseInfo::BAD_PARAMETER);
        return -1;
    }
    // The result is that of the pointer write. When the content does not have the length, WRITE_FAILED is
    // recorded. The field is searched again: in a damaged file the write may have made it unreachable.
    if (G_C_L(address, field) != length) Record(QZDatabaseInfo::WRITE_FAILED);
    return answer;
}

/// Appends empty fields first, when there are fewer than `field`. Returns 0 when a write is refused.
QZInt64 QZDatabase::PutFieldContent(QZInt64 ld, QZInt64 field, const void* buffer, QZInt64 length)
{
    const QZInt64 cd =
        FieldForWriting(m_objects->Read()->ReadLD(kSideThis, ld, QZDatabaseInfo::LD_LDS), field);
    return cd == 0 ? 0 : m_objects->Data()->PutTextCD(cd, buffer, length);
}

/// The CD of a field. When it does not exist, it and those before it are appended. 0 when that is refused.
///
/// After a restore the links of the list and the end that its HD holds may disagree. An append may then cut
/// records off, and it takes more of them than fields are missing.
QZInt64 QZDatabase::FieldForWriting(QZInt64 fields, QZInt64 field)
{
    READ* read = m_objects->Read();
    ListEnd end = WalkTo(read, fields, field);
    if (end.Count == field) return read->ReadData(kSideThis, end.Last, QZDatabaseInfo::DATA_THIS);
    const QZInt64 nothing = 0;
    const QZInt64 missing = field - end.Count;
    for (QZInt64 appended = 1; end.Count < field; ++appended)
    {
        const QZInt64 cd = m_objects->Data()->NewCD(fields, &nothing, 0);
        if (cd < 0) return 0;
        if (Lengthens(read, fields, end, cd))
        {
            ++end.Count;
            end.Last = cd;
            continue;
        }
        end = WalkTo(read, fields, field);
        // When the new record is not the last one, neither it nor the following ones will be reached. A
        // record that write protection cut short is not reached either, but the next append tells that.
        const bool reached = end.Ends && end.Last == cd;
        const bool enough = appended >= (reached ? field : missing);
        if (enough && m_objects->Console()->GetWriteProtect() == 0) break;
    }
    return read->Nth(fields, field, QZDatabaseInfo::DATA_THIS);
}

/// The slot of a content. 0 for a field that an LD does not have; -1, recorded as BAD_STRUCT, for a selector
/// or a record that has no content.
QZInt64 QZDatabase::ContentSlot(QZInt64 address, QZInt64 field)
{
    const QZInt64 a = m_objects->Address()->Length();
    switch (m_objects->Repair()->TypeOf(kSideThis, address))
    {
        case QZDatabaseInfo::DATA_LD:
        {
            READ* read = m_objects->Read();
            const QZInt64 fields = read->ReadLD(kSideThis, address, QZDatabaseInfo::LD_LDS);
            const QZInt64 cd = fields == 0 ? 0 : read->Nth(fields, field, QZDatabaseInfo::DATA_THIS);
            return cd == 0 ? 0 : layout::CdSlot(cd, a);
        }
        case QZDatabaseInfo::DATA_PD:
            if (field == QZDatabaseInfo::PD_DATA) return layout::PdSlot(address, a);
            break;
        case QZDatabaseInfo::DATA_CD:
            if (field == QZDatabaseInfo::CD_DATA) return layout::CdSlot(address, a);
            break;
        default: break;
    }
    Record(QZDatabaseInfo::BAD_STRUCT);
    return -1;
}

QZInt64 QZDatabase::G_C(QZInt64 address, QZInt64 field, void* buffer)
{
    Operation operation(this);
    QZInt64 answer = ContentSlot(address, field);
    if (answer > 0) answer = m_objects->Chars()->Read(answer, buffer);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::G_C_L(QZInt64 address, QZInt64 field) { return ReadContent(address, field, nullptr, -1); }

QZInt64 QZDatabase::ReadContent(QZInt64 address, QZInt64 field, void* buffer, QZInt64 room)
{
    Operation operation(this);
    QZInt64 answer = -1;
    QZInt64 slot = 0;
    try
    {
        slot = ContentSlot(address, field);
        answer = slot > 0 ? m_objects->Chars()->Length(slot) : slot;
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        Record(QZDatabaseInfo::ERROR_ABORT);
        answer = -1;
    }
    if (slot > 0 && answer >= 0 && answer <= room) m_objects->Chars()->Read(slot, buffer);
    operation.Leave();
    return answer;
}

bool QZDatabase::FieldSlots(QZInt64 ld, QZInt64 field, QZInt64 count, QZInt64* slots)
{
    Operation operation(this);
    const bool found = FindSlots(ld, field, count, slots);
    operation.Leave();
    return found;
}

bool QZDatabase::FindSlots(QZInt64 ld, QZInt64 field, QZInt64 count, QZInt64* slots)
{
    READ* read = m_objects->Read();
    if (m_objects->Repair()->TypeOf(kSideThis, ld) != QZDatabaseInfo::DATA_LD) return false;
    const QZInt64 fields = read->ReadLD(kSideThis, ld, QZDatabaseInfo::LD_LDS);
    if (fields == 0) return false;
    const QZInt64 a = m_objects->Address()->Length();
    QZInt64 before = 0;
    QZInt64 cd = read->NthOrCount(fields, field, &before);
    for (QZInt64 i = 0; i < count; ++i)
    {
        // The list is shorter, or it is damaged and goes round.
        if (cd == 0) return false;
        slots[i] = layout::CdSlot(read->ReadData(kSideThis, cd, QZDatabaseInfo::DATA_THIS), a);
        if (i + 1 < count) cd = read->Next(cd);
    }
    return true;
}

QZInt64 QZDatabase::ReadSlot(QZInt64 slot, void* buffer, QZInt64 room)
{
    Operation operation(this);
    QZInt64 answer = -1;
    try
    {
        answer = m_objects->Chars()->Length(slot);
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        Record(QZDatabaseInfo::ERROR_ABORT);
    }
    if (answer >= 0 && answer <= room) m_objects->Chars()->Read(slot, buffer);
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::E_C(QZInt64 address, QZInt64 field)
{
    Operation operation(this);
    QZInt64 answer = -1;
    try
    {
        answer = ContentSlot(address, field);
        if (answer > 0) answer = m_objects->Chars()->Erase(answer);
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        Record(QZDatabaseInfo::ERROR_ABORT);
        answer = -1;
    }
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::ERASE(QZInt64 address, QZInt64 count)
{
    Operation operation(this);
    try
    {
        // Not logged, like E_C: a restore does not bring erased bytes back.
        for (QZInt64 i = 0; i < count; ++i) m_objects->Binary()->PutByte(layout::At(address, i), 0);
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        Record(QZDatabaseInfo::ERROR_ABORT);
    }
    operation.Leave();
    return count;
}
