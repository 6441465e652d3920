#ifndef QZLIB_DB_MEND_TARGET_H
#define QZLIB_DB_MEND_TARGET_H

#include <memory>
#include <vector>

#include "db/internal/db_layout.h"
#include "db/internal/db_mend_walk.h"

class OBJECTS;
class QZString;

/// A new database file into which another one is copied.
///
/// Records are appended with the log off, so that none of the earlier states in the file contains them; links
/// are then set with the log on or off. Every write that is refused throws. The file is deleted unless Finish
/// was called. Its writes pass no second file: as long as it is not finished, it is nobody's database.
class QZDbTarget
{
public:
    /// Makes the file.
    /// @throws QZIOException  it exists or cannot be made
    QZDbTarget(QZString* path, QZInt64 addressMode, bool rollback);
    ~QZDbTarget();
    QZDbTarget(const QZDbTarget&) = delete;
    QZDbTarget& operator=(const QZDbTarget&) = delete;

    OBJECTS* Objects() const { return m_objects.get(); }
    QZInt64 AddressLength() const { return m_length; }
    QZDbMendWalk::Trees GetTrees() const { return m_trees; }

    /// Turns the log on for Put, or off.
    void SetLogging(bool on) { m_logging = on; }

    /// Append a record. With hd = 0 it is in no list that lasts.
    QZInt64 NewHead(QZInt64 owner);
    QZInt64 NewLd(QZInt64 hd, QZDbLdLists* lists);
    QZInt64 NewPd(QZInt64 hd, const std::vector<char>& content);
    QZInt64 NewCd(QZInt64 hd, const std::vector<char>& content);
    QZInt64 NewAd(QZInt64 hd);
    QZInt64 NewRd(QZInt64 hd);

    QZInt64 Get(QZInt64 position);
    /// Writes an address unless it is there.
    void Put(QZInt64 position, QZInt64 value);
    QZInt64 EndOf(QZInt64 record) { return Get(layout::DataEnd(record, m_length)); }

    /// Makes a list empty.
    void ClearList(QZInt64 hd);

    /// Replaces the content of a slot unless the same bytes are there.
    void PutContent(QZInt64 slot, QZInt64 owner, const std::vector<char>& content);

    /// Marks the present state and returns the mark's LD.
    QZInt64 MarkState();

    /// Writes everything to the disk and closes the file, which then stays. Returns its size.
    QZInt64 Finish();

private:
    void Format(bool rollback);
    QZInt64 Scratch(QZInt64 hd);
    QZInt64 Appended(QZInt64 record);
    [[noreturn]] void Refused();

    QZString* m_path;
    std::unique_ptr<OBJECTS> m_objects;
    QZInt64 m_length = 0;
    QZInt64 m_mode = 0;
    QZInt64 m_scratch = 0;
    bool m_logging = false;
    bool m_finished = false;
    QZDbMendWalk::Trees m_trees;
    std::vector<char> m_present;
};

#endif
