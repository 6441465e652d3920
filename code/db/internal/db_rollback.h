#ifndef QZLIB_DB_ROLLBACK_H
#define QZLIB_DB_ROLLBACK_H

#include "db/internal/db_link.h"

class OBJECTS;
class QZCollection;

/// Snapshots and restore: a log, inside the database file, of every address write into a record that others
/// reach.
///
/// The log is a tree of write positions. A write position is an HD that lists, in time order, an RD for each
/// logged write (RD_P where, RD_O the value before, RD_N the value written) and an AD for each branch that
/// left the line there. A restore replays the log backwards and forwards and opens a new branch, so nothing
/// is discarded.
///
/// It takes no lock: a host that uses the rollback operations while other threads use the database calls
/// ConsoleLock before and ConsoleUnlock after them.
class QZ_API ROLLBACK : public QZDbLog
{
public:
    /// Takes the components that it needs from the container, which defines this constructor.
    explicit ROLLBACK(OBJECTS* objects);
    ~ROLLBACK() override;

    /// Notes the address length of the open file.
    void NoteAddressLength();

    /// Appends the structure to a new file: base HD, marks HD and their three ADs in the list of TREEB.
    /// Nothing when that list is not empty.
    void Prepare();

    /// Finds the structure in an opened file and turns the log on, or off when there is none.
    void Load();

    void Log(QZInt64 position, QZInt64 value) override;

    /// Change the state in memory only: each opening decides again.
    bool TurnOn();
    bool TurnOff();

    /// Adds a snapshot mark and returns it; 0 while off. Its cost does not depend on the size of the
    /// database.
    QZInt64 Snapshot();

    /// Goes to the state right after the log record `target` and opens a branch there. Returns false, and
    /// changes nothing, when the walk does not reach it or while off. Linear in the number of records walked.
    /// The first one in a list of the log that was not empty when the file was opened also walks that list.
    bool Restore(QZInt64 target);

    /// Pushes the user marks of the present line, newest first, at most `limit` of them; 0 means all.
    void CollectMarks(QZCollection* collection, QZInt64 limit);

    /// Pushes the snapshot marks in the order in which they were made.
    void CollectSnapshots(QZCollection* collection);

    /// The number of snapshot marks.
    QZInt64 CountSnapshots();

    /// ROLLBACK_WRITEPOSITION_STATE_EMPTY or ..._NOTEMPTY.
    QZInt64 WritePositionState();

    /// Appends a user mark, an RD whose RD_P is 0, with two values of the caller; 0 while off. It is exported
    /// for hosts; no operation of the library calls it.
    QZInt64 AddUserMark(QZInt64 first, QZInt64 second);

    /// Writes an address into the third own field of a record without logging it. Exported for hosts, as
    /// AddUserMark.
    void PutRawAddress(QZInt64 address, QZInt64 value);

    /// The kind of a log record by its length: DATA_AD, DATA_RD or UNKNOWN.
    QZInt64 KindOf(QZInt64 record);

    /// The log record where the lines of two log records part.
    QZInt64 ForkPoint(QZInt64 a, QZInt64 b);

    /// Gathers the RDs from the present position (UndoList) or from `target` (RedoList) back to the fork
    /// point, newest first. Return false when the walk meets neither mark.
    bool UndoList(QZCollection* list, QZInt64 target);
    bool RedoList(QZCollection* list, QZInt64 target);

private:
    QZInt64 Present();
    bool StepBack(QZInt64* record);
    bool Walk(QZCollection* list, QZInt64 from, QZInt64 fork);
    bool Gather(QZCollection* undo, QZCollection* redo, QZInt64 target);
    void Climb(QZCollection* levels, QZInt64 record);
    /// No operation of the library calls it; the library keeps its symbol.
    QZInt64 Before(QZInt64 record);
    bool IsNotBefore(QZInt64 a, QZInt64 b);
    QZInt64 Distance(QZInt64 later, QZInt64 earlier);
    void Replay(QZCollection* undo, QZCollection* redo);
    bool OpenBranch(QZInt64 target, bool redone);
    void Record(QZInt64 code);

    QZInt64 m_addressLength;
    QZDbFile* m_file;
    ADDRESS* m_address;
    READ* m_read;
    DATA* m_data;
    LINK* m_link;
    QZInt64 m_root;
    QZInt64 m_writePosition;
    QZInt64 m_base;
    QZInt64 m_marks;
};

#endif
