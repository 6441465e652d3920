#ifndef QZLIB_DB_DB_ROLLBACK_H
#define QZLIB_DB_DB_ROLLBACK_H

#include "db/internal/db_flag.h"
#include "fw/fw_object.h"

class OBJECTS;
class QZCollection;

/// Snapshots and restore: a log, inside the database file, of every address write into a record that others
/// reach.
///
/// The log is a tree of write positions. A write position is an HD that lists, in time order, an RD for each
/// logged write (RD_P where, RD_O the value before, RD_N the value written) and an AD for each branch that
/// left the line there. A restore replays the log backwards and forwards and opens a new branch, so nothing
/// is ever discarded.
///
/// The component belongs to its container. It takes no lock: a host that runs the rollback operations beside
/// other threads brackets them with ConsoleLock and ConsoleUnlock.
class QZ_API ROLLBACK : public QZObject
{
public:
    explicit ROLLBACK(OBJECTS* objects);
    ~ROLLBACK() override;

    /// True while writes are logged and the rollback operations serve.
    bool IsOn() const { return m_state.Get() != 0; }

    /// 1 on, 0 off.
    QZInt64 GetState() const { return m_state.Get(); }

    /// Notes the address length of the open file.
    void NoteAddressLength();

    /// Appends the structure to a new file: base HD, marks HD and their three ADs in the list of TREEB.
    /// Nothing when that list is not empty.
    void Prepare();

    /// Finds the structure of an opened file and turns the log on; off when there is none.
    void Load();

    /// Logs that `value` is about to be written at `position`; called before the write.
    void Log(QZInt64 position, QZInt64 value);

    /// The memory state only: each opening decides anew.
    bool TurnOn();
    bool TurnOff();

    /// Adds a snapshot mark and answers it; 0 while off. Its cost does not depend on the size of the
    /// database.
    QZInt64 Snapshot();

    /// Goes to the state right after the log record `target` and opens a branch there. False, with nothing
    /// changed, when the walk finds no way or while off. Linear in the number of records walked.
    bool Restore(QZInt64 target);

    /// Pushes the user marks of the present line, newest first, at most `limit` of them; 0 means all.
    void CollectMarks(QZCollection* collection, QZInt64 limit);

    /// Pushes the snapshot marks in order of their making.
    void CollectSnapshots(QZCollection* collection);

    /// The number of snapshot marks.
    QZInt64 CountSnapshots();

    /// ROLLBACK_WRITEPOSITION_STATE_EMPTY or ..._NOTEMPTY.
    QZInt64 WritePositionState();

    /// Appends a user mark, an RD whose RD_P is 0, with two values of the caller's; 0 while off. Open to
    /// hosts that build on the component; no operation of the library calls it.
    QZInt64 AddUserMark(QZInt64 first, QZInt64 second);

    /// Writes an address into the third own field of a record, past the log. Like AddUserMark without a
    /// caller.
    void PutRawAddress(QZInt64 address, QZInt64 value);

    /// The kind of a log record by its length: DATA_AD, DATA_RD or UNKNOWN.
    QZInt64 KindOf(QZInt64 record);

    /// The log record where the ways of two log records part.
    QZInt64 ForkPoint(QZInt64 a, QZInt64 b);

    /// Gathers the RDs from the present position (UndoList) or from `target` (RedoList) back to the fork
    /// point, newest first. False when the walk meets no mark that it knows.
    bool UndoList(QZCollection* list, QZInt64 target);
    bool RedoList(QZCollection* list, QZInt64 target);

private:
    QZInt64 Present();
    bool StepBack(QZInt64* record);
    bool Walk(QZCollection* list, QZInt64 from, QZInt64 fork);
    bool Gather(QZCollection* undo, QZCollection* redo, QZInt64 target);
    void Climb(QZCollection* levels, QZInt64 record);
    QZInt64 Before(QZInt64 record);
    bool IsNotBefore(QZInt64 a, QZInt64 b);
    QZInt64 Distance(QZInt64 later, QZInt64 earlier);
    void Replay(QZCollection* undo, QZCollection* redo);
    bool OpenBranch(QZInt64 target, bool redone);
    void Record(QZInt64 code);

    QZDbFlag m_state;
    QZInt64 m_addressLength;
    OBJECTS* m_objects;
    QZInt64 m_root;
    QZInt64 m_writePosition;
    QZInt64 m_base;
    QZInt64 m_marks;
};

#endif
