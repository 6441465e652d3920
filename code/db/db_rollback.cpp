#include "db/internal/db_rollback.h"

#include "db/internal/db_list_order.h"
#include "db/internal/db_walk.h"
#include "fw/fw_collection.h"

using layout::kSideEnd;
using layout::kSideThis;

namespace
{
/// The result of a step that does not exist. No address is negative.
constexpr QZInt64 kNoWay = -1;

/// From this many elements on a collection is made to grow by doubling.
constexpr QZInt64 kDoublingFrom = 64;

/// The order of a list of so many records is remembered.
constexpr QZInt64 kLongFrom = 64;

/// Turns the log off while the component writes its own structure and on again at the end of the scope.
class Silence
{
public:
    explicit Silence(QZDbFlag* state) : m_state(state) { m_state->Set(0); }
    ~Silence() { m_state->Set(1); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    QZDbFlag* m_state;
};

/// The list of a record. Address 0 names none, whatever bytes lie there.
QZInt64 HeadOf(READ* read, QZInt64 record) { return record == 0 ? 0 : read->HeadOf(record); }

/// Appends to a collection that may become long: it grows by doubling, so that gathering stays linear.
void Append(QZCollection* list, QZInt64 value)
{
    const QZInt64 count = list->Count();
    if (count >= kDoublingFrom && (count & (count - 1)) == 0)
    {
        list->NewLength(count * 2);
        list->NewLength(count);
    }
    list->Push(static_cast<QZUInt64>(value));
}

/// The result of READ::Position. In the list of the write position, and in another long one, it is found from
/// what the file remembers of the list. A list that began before the file was opened costs one walk; after
/// that, and in a list that began later, a question costs the distance from the end.
struct Places
{
    QZDbFile* File;
    ADDRESS* Address;
    READ* Read;

    QZInt64 Of(QZInt64 record) const
    {
        if (record == 0) return 0;
        QZDbListOrder* order = File->ListOrder();
        const QZInt64 a = Address->Length();
        if (!File->IsPlain())
        {
            // What is remembered was read without the transformations.
            order->Start(0, a);
            return Read->Position(record);
        }
        const QZInt64 head = Read->HeadOf(record);
        const QZInt64 first = Read->ReadHD(kSideThis, head, QZDatabaseInfo::HD_FIRSTDATA);
        if (order->Head() != head || order->Count() == 0 || order->First() != first)
        {
            QZInt64 place = 0;
            if (IsNear(first, record, &place)) return place;
            order->Start(head, a);
            if (!Fits(first) || !order->Add(first)) return Read->Position(record);
        }
        const QZInt64 place = order->PlaceOf(record);
        return place != 0 ? place : Find(record);
    }

    /// Remembers what was appended to the list of the write position.
    void Note(QZInt64 head) const
    {
        QZDbListOrder* order = File->ListOrder();
        if (order->Head() != head || !File->IsPlain()) return;
        if (order->Count() == 0)
        {
            const QZInt64 first = Read->ReadHD(kSideThis, head, QZDatabaseInfo::HD_FIRSTDATA);
            if (!Fits(first) || !order->Add(first)) return;
        }
        while (true)
        {
            const QZInt64 next = After(order->Last());
            if (next <= 0 || !Fits(next) || !order->Add(next)) return;
        }
    }

private:
    /// Remembers more of the list, up to the record. A list that holds something else than log records, and
    /// one that goes round, is walked each time.
    QZInt64 Find(QZInt64 record) const
    {
        QZDbListOrder* order = File->ListOrder();
        while (true)
        {
            const QZInt64 next = After(order->Last());
            if (next == 0) return 0;
            if (next == kNoWay || !Fits(next) || !order->Add(next)) return Read->Position(record);
            if (next == record) return order->Count();
        }
    }

    /// The next record, 0 after the last; kNoWay for a record that is none of the log.
    QZInt64 After(QZInt64 record) const
    {
        const QZInt64 a = Address->Length();
        const QZInt64 end = Address->Get(layout::DataEnd(record, a));
        if (end != layout::AdEnd(record, a) && end != layout::RdEnd(record, a)) return kNoWay;
        return Address->Get(layout::DataNextFromEnd(end, a));
    }

    bool Fits(QZInt64 record) const { return record > 0 && record <= File->Buffer()->GetFileSize(); }

    /// Walks the beginning of the list. True when it found the record, whose place is stored, or the end of
    /// the list.
    bool IsNear(QZInt64 first, QZInt64 record, QZInt64* place) const
    {
        QZInt64 current = first;
        for (QZInt64 steps = 1; steps < kLongFrom && current != 0; ++steps)
        {
            if (current == record)
            {
                *place = steps;
                return true;
            }
            current = Read->Next(current);
        }
        return current == 0;
    }
};
}  // namespace

ROLLBACK::~ROLLBACK() = default;

void ROLLBACK::NoteAddressLength()
{
    m_addressLength = m_address->Length();
    m_file->ListOrder()->Start(0, m_addressLength);
}

void ROLLBACK::Record(QZInt64 code) { m_file->RecordError(code); }

void ROLLBACK::Prepare()
{
    m_state.Set(0);
    const QZInt64 root = m_read->TreeRoot(layout::kMainHd, QZDatabaseInfo::TREEBSN);
    if (m_read->ReadHD(kSideThis, root, QZDatabaseInfo::HD_FIRSTDATA) != 0) return;

    m_root = root;
    m_base = m_data->NewHD(0);
    m_data->PutField(m_base, QZDatabaseInfo::HD_PREV, m_data->NewAD(m_root, m_base));
    m_marks = m_data->NewHD(0);
    m_data->PutField(m_marks, QZDatabaseInfo::HD_PREV, m_data->NewAD(m_root, m_marks));
    m_data->NewAD(m_root, m_base);
    m_writePosition = m_base;
    m_state.Set(1);
}

void ROLLBACK::Load()
{
    m_state.Set(0);
    const QZInt64 root = m_read->TreeRoot(layout::kMainHd, QZDatabaseInfo::TREEBSN);
    if (root == 0 || m_read->ReadHD(kSideThis, root, QZDatabaseInfo::HD_FIRSTDATA) == 0) return;

    m_root = root;
    m_base = m_read->TreeRoot(root, layout::kLogBase);
    m_marks = m_read->TreeRoot(root, layout::kLogMarks);
    m_writePosition = m_read->TreeRoot(root, layout::kLogWritePosition);
    if (m_base != 0 && m_marks != 0 && m_writePosition != 0)
    {
        m_state.Set(1);
        // An empty list is known from its beginning.
        const bool inFile = m_writePosition > 0 && m_writePosition <= m_file->Buffer()->GetFileSize();
        if (inFile && m_read->ReadHD(kSideThis, m_writePosition, QZDatabaseInfo::HD_FIRSTDATA) == 0)
            m_file->ListOrder()->Start(m_writePosition, m_address->Length());
    }
    else
        Record(QZDatabaseInfo::BAD_STRUCT);
}

void ROLLBACK::Log(QZInt64 position, QZInt64 value)
{
    const QZInt64 old = m_address->Get(position);
    m_data->NewRD(m_writePosition, position, old, value);
    Places{m_file, m_address, m_read}.Note(m_writePosition);
}

bool ROLLBACK::TurnOn()
{
    if (m_root == 0 || m_base == 0 || m_marks == 0) return false;
    m_state.Set(1);
    return true;
}

bool ROLLBACK::TurnOff()
{
    m_state.Set(0);
    return true;
}

QZInt64 ROLLBACK::Snapshot()
{
    if (!IsOn())
    {
        Record(QZDatabaseInfo::ROLLBACK_ERROR_ROLLBACKOFF);
        return 0;
    }
    QZInt64 last = m_read->ReadHD(kSideThis, m_writePosition, QZDatabaseInfo::HD_LASTDATA_THIS);
    Silence silence(&m_state);
    if (last == 0)
    {
        // A record without effect: a replay writes its own address into its own DATA_THIS. Its RD_P must not
        // be 0, because that would make it a user mark.
        last = m_data->NewRD(m_writePosition, 0, 0, 0);
        m_data->PutField(last, QZDatabaseInfo::RD_P, layout::DataThis(last, m_address->Length()));
        m_data->PutField(last, QZDatabaseInfo::RD_O, last);
        m_data->PutField(last, QZDatabaseInfo::RD_N, last);
    }
    const QZInt64 head = m_data->NewHD(0);
    const QZInt64 ld = m_data->NewLD(head);
    const QZInt64 mark = m_data->NewRD(m_marks, last, head, ld);
    m_data->PutField(head, QZDatabaseInfo::HD_PREV, mark);
    return mark;
}

bool ROLLBACK::Restore(QZInt64 target)
{
    if (!IsOn())
    {
        Record(QZDatabaseInfo::ROLLBACK_ERROR_ROLLBACKOFF);
        return false;
    }
    QZCollection undo;
    QZCollection redo;
    if (!Gather(&undo, &redo, target)) return false;
    Replay(&undo, &redo);
    return OpenBranch(target, redo.Count() != 0);
}

/// Fills both lists and searches the fork point once.
bool ROLLBACK::Gather(QZCollection* undo, QZCollection* redo, QZInt64 target)
{
    if (m_read->Mark(target) != layout::kMarkData)
    {
        Record(QZDatabaseInfo::ROLLBACK_ERROR_INVALIDADDR);
        return false;
    }
    const QZInt64 present = Present();
    const QZInt64 fork = ForkPoint(target, present);
    return Walk(undo, present, fork) && Walk(redo, target, fork);
}

bool ROLLBACK::UndoList(QZCollection* list, QZInt64 target)
{
    const QZInt64 present = Present();
    return Walk(list, present, ForkPoint(target, present));
}

bool ROLLBACK::RedoList(QZCollection* list, QZInt64 target)
{
    return Walk(list, target, ForkPoint(target, Present()));
}

/// Writes the old values newest first, then the new values oldest first. None of it is logged.
void ROLLBACK::Replay(QZCollection* undo, QZCollection* redo)
{
    const QZInt64 undone = undo->Count();
    for (QZInt64 i = 0; i < undone; ++i)
    {
        const QZInt64 record = static_cast<QZInt64>(undo->GetElement(i));
        const QZInt64 position = m_read->ReadRD(kSideThis, record, QZDatabaseInfo::RD_P);
        if (position != 0)
            m_address->PutRaw(position, m_read->ReadRD(kSideThis, record, QZDatabaseInfo::RD_O));
    }
    for (QZInt64 i = redo->Count() - 1; i >= 0; --i)
    {
        const QZInt64 record = static_cast<QZInt64>(redo->GetElement(i));
        const QZInt64 position = m_read->ReadRD(kSideThis, record, QZDatabaseInfo::RD_P);
        if (position != 0)
            m_address->PutRaw(position, m_read->ReadRD(kSideThis, record, QZDatabaseInfo::RD_N));
    }
}

/// Makes a new write position and links its AD directly after `target`. The log gets these link writes at the
/// old write position.
bool ROLLBACK::OpenBranch(QZInt64 target, bool redone)
{
    const QZInt64 head = m_data->NewHD(0);
    if (head == 0) return false;
    const QZInt64 branch = m_data->NewAD(m_read->HeadOf(target), head);
    if (branch < 0) return false;
    m_data->PutField(head, QZDatabaseInfo::HD_PREV, branch);

    QZInt64 steps = Distance(branch, target);
    if (m_read->ReadRD(kSideThis, target, QZDatabaseInfo::RD_P) != 0 && redone) --steps;
    if (steps > 0) m_link->MoveUp(branch, steps);

    Silence silence(&m_state);
    m_file->ListOrder()->Start(head, m_address->Length());
    m_writePosition = m_read->ReadAD(kSideThis, branch, QZDatabaseInfo::AD_FREE);
    const QZInt64 place = m_read->Nth(m_root, layout::kLogWritePosition, QZDatabaseInfo::DATA_THIS);
    m_data->PutField(place, QZDatabaseInfo::AD_FREE, m_writePosition);
    return true;
}

/// The last record of the present line: the last of the write position, or its AD when it is empty.
QZInt64 ROLLBACK::Present()
{
    const QZInt64 last = m_read->ReadHD(kSideThis, m_writePosition, QZDatabaseInfo::HD_LASTDATA_THIS);
    return last != 0 ? last : m_read->ReadHD(kSideThis, m_writePosition, QZDatabaseInfo::HD_PREV);
}

QZInt64 ROLLBACK::KindOf(QZInt64 record)
{
    // No record is at 0, but with some file lengths the bytes there look like one.
    if (record == 0) return QZDatabaseInfo::UNKNOWN;
    const QZInt64 end = m_read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_END);
    const QZInt64 a = m_address->Length();
    if (end == layout::AdEnd(record, a)) return QZDatabaseInfo::DATA_AD;
    if (end == layout::RdEnd(record, a)) return QZDatabaseInfo::DATA_RD;
    return QZDatabaseInfo::UNKNOWN;
}

/// Takes one step towards the beginning of the log: to the previous record, or from the first record of a
/// list to the AD that owns the list. Returns false when the target of the step has neither mark.
bool ROLLBACK::StepBack(QZInt64* record)
{
    const QZInt64 previous = m_read->ReadData(kSideThis, *record, QZDatabaseInfo::DATA_PREV);
    switch (m_read->Mark(previous))
    {
        case layout::kMarkData:
            *record = m_read->ReadData(kSideEnd, previous, QZDatabaseInfo::DATA_THIS);
            return true;
        case layout::kMarkHd:
            *record = m_read->ReadHD(kSideThis, previous, QZDatabaseInfo::HD_PREV);
            return true;
        default: return false;
    }
}

/// Gathers the RDs from `from` back to `fork`, which lies in the same list or in one above it. A line that
/// left the list before `fork` does not meet it; the walk then leaves the log and fails.
bool ROLLBACK::Walk(QZCollection* list, QZInt64 from, QZInt64 fork)
{
    const QZInt64 forkHead = m_read->HeadOf(fork);
    QZDbWalk walk;
    QZInt64 record = from;
    bool inForkList = false;
    while (true)
    {
        inForkList = inForkList || m_read->HeadOf(record) == forkHead;
        if (inForkList && record == fork) break;
        if (!walk.Enter(record))
        {
            Record(QZDatabaseInfo::ROLLBACK_ERROR_INVALIDADDR);
            return false;
        }
        if (KindOf(record) == QZDatabaseInfo::DATA_RD) Append(list, record);
        if (!StepBack(&record))
        {
            Record(QZDatabaseInfo::ROLLBACK_ERROR_INVALIDADDR);
            return false;
        }
    }
    if (KindOf(fork) == QZDatabaseInfo::DATA_RD) Append(list, fork);
    return true;
}

/// Appends the lists from the one that holds `record` up to the root of the log, without the root.
void ROLLBACK::Climb(QZCollection* levels, QZInt64 record)
{
    QZDbWalk walk;
    QZInt64 level = HeadOf(m_read, record);
    while (level != m_root && m_read->Mark(level) == layout::kMarkHd && walk.Enter(level))
    {
        Append(levels, level);
        const QZInt64 owner = m_read->ReadHD(kSideThis, level, QZDatabaseInfo::HD_PREV);
        if (owner == 0) return;
        level = m_read->HeadOf(owner);
    }
}

QZInt64 ROLLBACK::ForkPoint(QZInt64 a, QZInt64 b)
{
    if (HeadOf(m_read, a) == HeadOf(m_read, b)) return IsNotBefore(a, b) ? b : a;

    QZCollection levelsA;
    QZCollection levelsB;
    Climb(&levelsA, a);
    Climb(&levelsB, b);
    // From the nearest common list on both climbs are the same, so it is found by comparing from their ends.
    QZInt64 placeA = levelsA.Count();
    QZInt64 placeB = levelsB.Count();
    while (placeA > 0 && placeB > 0 && levelsA.GetElement(placeA - 1) == levelsB.GetElement(placeB - 1))
    {
        --placeA;
        --placeB;
    }
    QZInt64 sideA = a;
    QZInt64 sideB = b;
    if (placeA < levelsA.Count())
    {
        // A record in a deeper list is represented by the AD of the common list itself, not by the AD in that
        // list where its branch begins. So the two compared positions may belong to different lists. This
        // decides which marks a restore reaches from where.
        const QZInt64 common = static_cast<QZInt64>(levelsA.GetElement(placeA));
        const QZInt64 hook = m_read->ReadHD(kSideThis, common, QZDatabaseInfo::HD_PREV);
        if (placeA > 0) sideA = hook;
        if (placeB > 0) sideB = hook;
    }
    return IsNotBefore(sideA, sideB) ? sideB : sideA;
}

/// The previous record in the same list, 0 for the first; kNoWay when the links of the two do not agree.
QZInt64 ROLLBACK::Before(QZInt64 record)
{
    const QZInt64 previous = m_read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_PREV);
    const QZByte mark = m_read->Mark(previous);
    if (mark == layout::kMarkHd)
    {
        return m_read->ReadHD(kSideThis, previous, QZDatabaseInfo::HD_FIRSTDATA) == record ? 0 : kNoWay;
    }
    if (mark != layout::kMarkData) return kNoWay;
    const QZInt64 before = m_read->ReadData(kSideEnd, previous, QZDatabaseInfo::DATA_THIS);
    return before != 0 && m_read->Next(before) == record ? before : kNoWay;
}

/// Whether Position(a) >= Position(b).
bool ROLLBACK::IsNotBefore(QZInt64 a, QZInt64 b)
{
    if (a == b) return true;
    const Places places{m_file, m_address, m_read};
    return places.Of(a) >= places.Of(b);
}

/// Position(later) - Position(earlier).
QZInt64 ROLLBACK::Distance(QZInt64 later, QZInt64 earlier)
{
    const Places places{m_file, m_address, m_read};
    return places.Of(later) - places.Of(earlier);
}

void ROLLBACK::CollectMarks(QZCollection* collection, QZInt64 limit)
{
    QZInt64 position = m_read->ReadHD(kSideThis, m_writePosition, QZDatabaseInfo::HD_LASTDATA);
    if (position == 0 && m_writePosition != m_base) position = m_writePosition;
    QZDbWalk walk;
    QZInt64 found = 0;
    while (position != 0 && walk.Enter(position))
    {
        const QZByte mark = m_read->Mark(position);
        QZInt64 record = 0;
        if (mark == layout::kMarkData)
        {
            record = m_read->ReadData(kSideEnd, position, QZDatabaseInfo::DATA_THIS);
            const QZInt64 kind = KindOf(record);
            if (kind == QZDatabaseInfo::DATA_RD)
            {
                if (m_read->ReadRD(kSideThis, record, QZDatabaseInfo::RD_P) == 0)
                {
                    collection->Push(static_cast<QZUInt64>(record));
                    if (++found == limit) return;
                }
            }
            else if (kind != QZDatabaseInfo::DATA_AD)
            {
                Record(QZDatabaseInfo::DATA_UNKNOWN);
            }
        }
        else if (mark == layout::kMarkHd)
        {
            if (position == m_base) return;
            record = m_read->ReadHD(kSideThis, position, QZDatabaseInfo::HD_PREV);
        }
        else
        {
            return;
        }
        position = m_read->ReadData(kSideThis, record, QZDatabaseInfo::DATA_PREV);
    }
}

void ROLLBACK::CollectSnapshots(QZCollection* collection) { QZDbCollectRecords(m_read, m_marks, collection); }

QZInt64 ROLLBACK::CountSnapshots() { return m_read->Count(m_marks); }

QZInt64 ROLLBACK::WritePositionState()
{
    if (!IsOn())
    {
        Record(QZDatabaseInfo::ROLLBACK_ERROR_ROLLBACKOFF);
        return QZDatabaseInfo::ROLLBACK_WRITEPOSITION_STATE_EMPTY;
    }
    const QZInt64 last = m_read->ReadHD(kSideThis, m_writePosition, QZDatabaseInfo::HD_LASTDATA);
    if (last == 0 || m_read->ReadData(kSideEnd, last, QZDatabaseInfo::DATA_THIS) == 0)
    {
        return QZDatabaseInfo::ROLLBACK_WRITEPOSITION_STATE_EMPTY;
    }
    return QZDatabaseInfo::ROLLBACK_WRITEPOSITION_STATE_NOTEMPTY;
}

QZInt64 ROLLBACK::AddUserMark(QZInt64 first, QZInt64 second)
{
    if (!IsOn())
    {
        Record(QZDatabaseInfo::ROLLBACK_ERROR_ROLLBACKOFF);
        return 0;
    }
    return m_data->NewRD(m_writePosition, 0, first, second);
}

void ROLLBACK::PutRawAddress(QZInt64 address, QZInt64 value)
{
    m_address->PutRaw(layout::DataOwn(address, layout::kRdNew, m_address->Length()), value);
}
