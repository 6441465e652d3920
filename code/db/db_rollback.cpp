#include "db/internal/db_rollback.h"

#include "db/db_format.h"
#include "db/internal/db_console.h"
#include "db/internal/db_data.h"
#include "db/internal/db_link.h"
#include "db/internal/db_read.h"
#include "db/internal/db_tree.h"
#include "db/internal/db_walk.h"
#include "fw/fw_collection.h"

namespace
{
const QZInt64 This = QZDatabaseInfo::ADDRESS_MARK_THIS;
const QZInt64 End = QZDatabaseInfo::ADDRESS_MARK_END;
const QZInt64 MainHD = QZDatabaseInfo::MAIN_HD_ADDR_V5;

/// Answer of a step or a distance that does not exist. No address is negative.
const QZInt64 NoWay = -1;

/// Keeps the log silent for the engine's own bookkeeping and turns it on again at the end of the scope.
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

/// Appends to a collection that may become long: it grows by doubling, so that gathering stays linear.
void Append(QZCollection* list, QZInt64 value)
{
    const QZInt64 count = list->Count();
    if (count >= 64 && (count & (count - 1)) == 0)
    {
        list->NewLength(count * 2);
        list->NewLength(count);
    }
    list->Push(static_cast<QZUInt64>(value));
}
}  // namespace

ROLLBACK::ROLLBACK(OBJECTS* objects)
    : m_state(0), m_addressLength(0), m_objects(objects), m_root(0), m_writePosition(0), m_base(0), m_marks(0)
{}

ROLLBACK::~ROLLBACK() = default;

void ROLLBACK::NoteAddressLength() { m_addressLength = m_objects->Address()->Length(); }

void ROLLBACK::Record(QZInt64 code) { m_objects->Console()->RecordError(code); }

void ROLLBACK::Prepare()
{
    m_state.Set(0);
    READ* read = m_objects->Read();
    DATA* data = m_objects->Data();
    const QZInt64 root = read->TreeRoot(MainHD, QZDatabaseInfo::TREEBSN);
    if (read->ReadHD(This, root, QZDatabaseInfo::HD_FIRSTDATA) != 0) return;

    m_root = root;
    m_base = data->NewHD(0);
    data->PutField(m_base, QZDatabaseInfo::HD_PREV, data->NewAD(m_root, m_base));
    m_marks = data->NewHD(0);
    data->PutField(m_marks, QZDatabaseInfo::HD_PREV, data->NewAD(m_root, m_marks));
    data->NewAD(m_root, m_base);
    m_writePosition = m_base;
    m_state.Set(1);
}

void ROLLBACK::Load()
{
    READ* read = m_objects->Read();
    m_state.Set(0);
    const QZInt64 root = read->TreeRoot(MainHD, QZDatabaseInfo::TREEBSN);
    if (root == 0 || read->ReadHD(This, root, QZDatabaseInfo::HD_FIRSTDATA) == 0) return;

    m_root = root;
    m_base = read->TreeRoot(root, 1);
    m_marks = read->TreeRoot(root, 2);
    m_writePosition = read->TreeRoot(root, 3);
    if (m_base != 0 && m_marks != 0 && m_writePosition != 0)
        m_state.Set(1);
    else
        Record(QZDatabaseInfo::BAD_STRUCT);
}

void ROLLBACK::Log(QZInt64 position, QZInt64 value)
{
    const QZInt64 old = m_objects->Address()->Get(position);
    m_objects->Data()->NewRD(m_writePosition, position, old, value);
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
    DATA* data = m_objects->Data();
    QZInt64 last = m_objects->Read()->ReadHD(This, m_writePosition, QZDatabaseInfo::HD_LASTDATA_THIS);
    Silence silence(&m_state);
    if (last == 0)
    {
        // A record that replays as nothing: it writes its own place over itself, and its RD_P is not 0, which
        // would make it a user mark.
        last = data->NewRD(m_writePosition, 0, 0, 0);
        data->PutField(last, QZDatabaseInfo::RD_P, QZDbAt(last, m_objects->Address()->Length() + 1));
        data->PutField(last, QZDatabaseInfo::RD_O, last);
        data->PutField(last, QZDatabaseInfo::RD_N, last);
    }
    const QZInt64 head = data->NewHD(0);
    const QZInt64 ld = data->NewLD(head);
    const QZInt64 mark = data->NewRD(m_marks, last, head, ld);
    data->PutField(head, QZDatabaseInfo::HD_PREV, mark);
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

/// Both lists, with the fork point looked up once.
bool ROLLBACK::Gather(QZCollection* undo, QZCollection* redo, QZInt64 target)
{
    if (m_objects->Read()->Mark(target) != QZDatabaseInfo::MARK_DATA)
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

/// Undo newest first, then redo oldest first, past the log.
void ROLLBACK::Replay(QZCollection* undo, QZCollection* redo)
{
    READ* read = m_objects->Read();
    ADDRESS* address = m_objects->Address();
    const QZInt64 undone = undo->Count();
    for (QZInt64 i = 0; i < undone; ++i)
    {
        const QZInt64 record = static_cast<QZInt64>(undo->GetElement(i));
        const QZInt64 position = read->ReadRD(This, record, QZDatabaseInfo::RD_P);
        if (position != 0) address->PutRaw(position, read->ReadRD(This, record, QZDatabaseInfo::RD_O));
    }
    for (QZInt64 i = redo->Count() - 1; i >= 0; --i)
    {
        const QZInt64 record = static_cast<QZInt64>(redo->GetElement(i));
        const QZInt64 position = read->ReadRD(This, record, QZDatabaseInfo::RD_P);
        if (position != 0) address->PutRaw(position, read->ReadRD(This, record, QZDatabaseInfo::RD_N));
    }
}

/// A new write position, hung up just behind `target`. The link writes are logged at the old write position,
/// which readers of the log see there.
bool ROLLBACK::OpenBranch(QZInt64 target, bool redone)
{
    READ* read = m_objects->Read();
    DATA* data = m_objects->Data();
    const QZInt64 head = data->NewHD(0);
    if (head == 0) return false;
    const QZInt64 branch = data->NewAD(read->HeadOf(target), head);
    if (branch < 0) return false;
    data->PutField(head, QZDatabaseInfo::HD_PREV, branch);

    QZInt64 steps = Distance(branch, target);
    if (read->ReadRD(This, target, QZDatabaseInfo::RD_P) != 0 && redone) --steps;
    if (steps > 0) m_objects->Link()->MoveUp(branch, steps);

    Silence silence(&m_state);
    m_writePosition = read->ReadAD(This, branch, QZDatabaseInfo::AD_FREE);
    const QZInt64 place = read->Nth(m_root, 3, QZDatabaseInfo::DATA_THIS);
    data->PutField(place, QZDatabaseInfo::AD_FREE, m_writePosition);
    return true;
}

/// The last record of the line that is present now: of the write position, or the AD by which an empty one
/// hangs.
QZInt64 ROLLBACK::Present()
{
    READ* read = m_objects->Read();
    const QZInt64 last = read->ReadHD(This, m_writePosition, QZDatabaseInfo::HD_LASTDATA_THIS);
    return last != 0 ? last : read->ReadHD(This, m_writePosition, QZDatabaseInfo::HD_PREV);
}

QZInt64 ROLLBACK::KindOf(QZInt64 record)
{
    const QZInt64 end = m_objects->Read()->ReadData(This, record, QZDatabaseInfo::DATA_END);
    const QZInt64 a = m_objects->Address()->Length();
    if (end == QZDbAt(record, 6 * a + 1)) return QZDatabaseInfo::DATA_AD;
    if (end == QZDbAt(record, 8 * a + 1)) return QZDatabaseInfo::DATA_RD;
    return QZDatabaseInfo::UNKNOWN;
}

/// One step towards the beginning of the log: the record before, or from the first of a list the AD by which
/// the list hangs. False when the step leads to neither mark.
bool ROLLBACK::StepBack(QZInt64* record)
{
    READ* read = m_objects->Read();
    const QZInt64 previous = read->ReadData(This, *record, QZDatabaseInfo::DATA_PREV);
    switch (read->Mark(previous))
    {
        case QZDatabaseInfo::MARK_DATA:
            *record = read->ReadData(End, previous, QZDatabaseInfo::DATA_THIS);
            return true;
        case QZDatabaseInfo::MARK_HD:
            *record = read->ReadHD(This, previous, QZDatabaseInfo::HD_PREV);
            return true;
        default: return false;
    }
}

/// Gathers the RDs from `from` back to `fork`, which lies in a list above or in the same one. A line that
/// left the list before `fork` does not meet it: the walk then climbs out of the log and fails.
bool ROLLBACK::Walk(QZCollection* list, QZInt64 from, QZInt64 fork)
{
    READ* read = m_objects->Read();
    const QZInt64 forkHead = read->HeadOf(fork);
    QZDbWalk walk;
    QZInt64 record = from;
    bool inForkList = false;
    while (true)
    {
        inForkList = inForkList || read->HeadOf(record) == forkHead;
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

/// The lists from the one that holds `record` up to the root of the log, which is left out.
void ROLLBACK::Climb(QZCollection* levels, QZInt64 record)
{
    READ* read = m_objects->Read();
    QZDbWalk walk;
    QZInt64 level = read->HeadOf(record);
    while (level != m_root && read->Mark(level) == QZDatabaseInfo::MARK_HD && walk.Enter(level))
    {
        Append(levels, level);
        const QZInt64 owner = read->ReadHD(This, level, QZDatabaseInfo::HD_PREV);
        if (owner == 0) return;
        level = read->HeadOf(owner);
    }
}

QZInt64 ROLLBACK::ForkPoint(QZInt64 a, QZInt64 b)
{
    READ* read = m_objects->Read();
    if (read->HeadOf(a) == read->HeadOf(b)) return IsNotBefore(a, b) ? b : a;

    QZCollection levelsA;
    QZCollection levelsB;
    Climb(&levelsA, a);
    Climb(&levelsB, b);
    // Both climbs go the same way from the nearest common list on, so it is found from the far ends.
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
        // A record that lies deeper is stood for by the AD of the common list itself, not by the AD inside
        // that list where its branch left. So the two compared places may belong to different lists; which
        // marks can be reached from where follows from it.
        const QZInt64 common = static_cast<QZInt64>(levelsA.GetElement(placeA));
        const QZInt64 hook = read->ReadHD(This, common, QZDatabaseInfo::HD_PREV);
        if (placeA > 0) sideA = hook;
        if (placeB > 0) sideB = hook;
    }
    if (sideA == sideB) return sideB;
    return read->Position(sideA) >= read->Position(sideB) ? sideB : sideA;
}

/// The record before in the same list, 0 for the first; NoWay where the links of the two do not agree.
QZInt64 ROLLBACK::Before(QZInt64 record)
{
    READ* read = m_objects->Read();
    const QZInt64 previous = read->ReadData(This, record, QZDatabaseInfo::DATA_PREV);
    const QZByte mark = read->Mark(previous);
    if (mark == QZDatabaseInfo::MARK_HD)
    {
        return read->ReadHD(This, previous, QZDatabaseInfo::HD_FIRSTDATA) == record ? 0 : NoWay;
    }
    if (mark != QZDatabaseInfo::MARK_DATA) return NoWay;
    const QZInt64 before = read->ReadData(End, previous, QZDatabaseInfo::DATA_THIS);
    return before != 0 && read->Next(before) == record ? before : NoWay;
}

/// Position(a) >= Position(b) for two records of one list. Where the links agree the answer is found by going
/// back from both at once, which costs their distance and not the length of the log.
bool ROLLBACK::IsNotBefore(QZInt64 a, QZInt64 b)
{
    if (a == b) return true;
    QZInt64 fromA = a;
    QZInt64 fromB = b;
    QZDbWalk walkA;
    QZDbWalk walkB;
    while (fromA > 0 || fromB > 0)
    {
        if (fromA > 0) fromA = walkA.Enter(fromA) ? Before(fromA) : NoWay;
        if (fromA == b) return true;
        if (fromB > 0) fromB = walkB.Enter(fromB) ? Before(fromB) : NoWay;
        if (fromB == a) return false;
        if (fromA == NoWay || fromB == NoWay) break;
    }
    return m_objects->Read()->Position(a) >= m_objects->Read()->Position(b);
}

/// Position(later) - Position(earlier), found like IsNotBefore.
QZInt64 ROLLBACK::Distance(QZInt64 later, QZInt64 earlier)
{
    QZDbWalk walk;
    QZInt64 record = later;
    QZInt64 steps = 0;
    while (record > 0 && record != earlier)
    {
        record = walk.Enter(record) ? Before(record) : NoWay;
        ++steps;
    }
    if (record == earlier && record > 0) return steps;
    return m_objects->Read()->Position(later) - m_objects->Read()->Position(earlier);
}

void ROLLBACK::CollectMarks(QZCollection* collection, QZInt64 limit)
{
    READ* read = m_objects->Read();
    QZInt64 position = read->ReadHD(This, m_writePosition, QZDatabaseInfo::HD_LASTDATA);
    if (position == 0 && m_writePosition != m_base) position = m_writePosition;
    QZDbWalk walk;
    QZInt64 found = 0;
    while (position != 0 && walk.Enter(position))
    {
        const QZByte mark = read->Mark(position);
        QZInt64 record = 0;
        if (mark == QZDatabaseInfo::MARK_DATA)
        {
            record = read->ReadData(End, position, QZDatabaseInfo::DATA_THIS);
            const QZInt64 kind = KindOf(record);
            if (kind == QZDatabaseInfo::DATA_RD)
            {
                if (read->ReadRD(This, record, QZDatabaseInfo::RD_P) == 0)
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
        else if (mark == QZDatabaseInfo::MARK_HD)
        {
            if (position == m_base) return;
            record = read->ReadHD(This, position, QZDatabaseInfo::HD_PREV);
        }
        else
        {
            return;
        }
        position = read->ReadData(This, record, QZDatabaseInfo::DATA_PREV);
    }
}

void ROLLBACK::CollectSnapshots(QZCollection* collection)
{
    TreeCollectRecords(m_objects, m_marks, collection);
}

QZInt64 ROLLBACK::CountSnapshots() { return m_objects->Read()->Count(m_marks); }

QZInt64 ROLLBACK::WritePositionState()
{
    if (!IsOn())
    {
        Record(QZDatabaseInfo::ROLLBACK_ERROR_ROLLBACKOFF);
        return QZDatabaseInfo::ROLLBACK_WRITEPOSITION_STATE_EMPTY;
    }
    READ* read = m_objects->Read();
    const QZInt64 last = read->ReadHD(This, m_writePosition, QZDatabaseInfo::HD_LASTDATA);
    if (last == 0 || read->ReadData(End, last, QZDatabaseInfo::DATA_THIS) == 0)
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
    return m_objects->Data()->NewRD(m_writePosition, 0, first, second);
}

void ROLLBACK::PutRawAddress(QZInt64 address, QZInt64 value)
{
    ADDRESS* addresses = m_objects->Address();
    addresses->PutRaw(QZDbAt(address, 5 * addresses->Length() + 1), value);
}
