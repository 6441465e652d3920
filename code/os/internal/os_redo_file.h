#ifndef QZLIB_OS_REDO_FILE_H
#define QZLIB_OS_REDO_FILE_H

#include <vector>

#include "os/internal/os_recovery_file.h"

/// The second file of a buffered file with whole syncs, FILE.sync. It holds the bytes that a sync is about to
/// write in place. From the flush of its last byte until it is cleared, the sync can be repeated from it.
/// Internal.
class RedoFile : public recovery::SideFile
{
public:
    using Run = recovery::Run;

    explicit RedoFile(QZString* path);

    /// Writes the runs and flushes. `target` is the file as it is on the disk. `salt` names the undo file
    /// that this sync ends, 0 for none.
    /// @throws QZIOException  the file may or may not hold the whole sync then
    void Write(QZFile* target, const std::vector<Run>& runs, QZUInt64 salt);

    /// Finds the file and reads it. True when it holds a whole sync, for whichever file.
    /// @throws QZIOException
    bool Load();

    /// After Load: the sync was made for this file as it is now, and for no other.
    bool Belongs(QZFile* target);

    /// After Load, and after Write: the salt.
    QZUInt64 Salt() const { return m_salt; }

    /// Writes the sync in place. The caller flushes.
    void Apply(QZFile* target);

private:
    /// A run in the file: where its bytes belong, and where they lie.
    struct Entry
    {
        QZInt64 offset;
        QZInt64 size;
        QZInt64 at;
    };

    bool HasSum(QZInt64 length);
    bool LoadEntries(QZInt64 count, QZInt64 at, QZInt64 end);
    bool HasEdge(QZFile* target, QZInt64 offset, QZInt64 size, QZInt64 at);

    std::vector<Entry> m_entries;
    QZUInt64 m_salt = 0;
    /// The length of the file before the sync; -1 when the layout does not tell.
    QZInt64 m_before = -1;
    bool m_wellFormed = false;
};

#endif
