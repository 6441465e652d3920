#ifndef QZLIB_OS_WHOLE_SYNC_H
#define QZLIB_OS_WHOLE_SYNC_H

#include <vector>

#include "os/internal/os_redo_file.h"
#include "os/internal/os_undo_file.h"
#include "os/os_block.h"

/// Makes the syncs of a buffered file whole: after the death of the process or a loss of power at any moment,
/// an opening finds the state of the last sync, or of the one that was being made. Internal.
///
/// A sync writes its changes to FILE.sync before it writes them in place, so that it can be repeated. What
/// has to leave memory between two syncs is written in place at once, after FILE.undo has what it overwrites.
/// A sync then ends the undo: FILE.sync names it, so that exactly one of the two files counts.
/// docs/database-file.md has the steps.
class WholeSync
{
public:
    using Run = recovery::Run;

    /// Recovers the file: completes the sync, or undoes the changes, that the recovery files beside it hold.
    /// @throws QZIOException  what QZFile throws
    WholeSync(QZString* path, QZFile* file);
    WholeSync(const WholeSync&) = delete;
    WholeSync& operator=(const WholeSync&) = delete;

    /// Deletes the recovery files, unless the file still needs them.
    ~WholeSync();

    /// True when the files beside `path` hold something that an opening has to recover.
    static bool IsNeeded(QZString* path);

    /// Writes runs in place before a sync. `changed` are all changed runs in memory, whose old bytes are kept
    /// at once, so that the next call seldom has to flush. The first page does not reach the file, see
    /// Overlay.
    /// @throws QZIOException  the runs still count as changed then
    void Spill(const std::vector<Run>& changed, const std::vector<Run>& leaving);

    /// Makes the present content, with these changes, the state that an opening finds.
    /// @throws QZIOException  the runs still count as changed then
    void Sync(std::vector<Run> changed);

    /// Undoes what was written since the last sync, because the changes in memory are lost. Does nothing
    /// where a sync is only to be repeated. Never throws; what fails is left to the next opening.
    void Abandon();

    /// Puts the first page, where Spill has kept it back, over bytes that were read from the file.
    void Overlay(QZInt64 offset, unsigned char* bytes, QZInt64 size) const;

private:
    void Recover();
    void CompleteSync();
    void MakeWritable();
    void HoldFirstPage(const Run& run);
    void PutInPlace(const std::vector<Run>& runs);
    void FlushInPlace();
    bool AppendsMuch(const std::vector<Run>& runs) const;
    void PutFreePages(std::vector<Run>* runs);
    void EndSync();

    QZFile* m_file;
    RedoFile m_redo;
    UndoFile m_undo;
    /// The length of the file at the last sync.
    QZInt64 m_length = 0;
    /// The changed first page after its block has left memory.
    std::vector<unsigned char> m_firstPage;
    /// The redo file holds a sync that is not wholly in place.
    bool m_repeats = false;
    /// The redo file may hold a sync whose writing failed.
    bool m_doubtful = false;
    /// A flush failed, so bytes that were written in place and are nowhere else may be lost.
    bool m_lost = false;
    bool m_abandoned = false;
};

/// A block of a file with whole syncs.
class WholeSyncBlock : public QZFileBlock
{
public:
    WholeSyncBlock(QZFile* file, const WholeSync* sync) : QZFileBlock(file), m_sync(sync) {}

protected:
    void Fetch(QZInt64 from, QZInt64 to) override;

private:
    const WholeSync* m_sync;
};

/// Holds the lock that keeps changes of the file and of its recovery files apart from copies of them. A file
/// system without locks has none.
class ChangeLock
{
public:
    enum class Kind
    {
        Change,
        Copy
    };
    ChangeLock(QZFile* file, Kind kind);
    ~ChangeLock();
    ChangeLock(const ChangeLock&) = delete;
    ChangeLock& operator=(const ChangeLock&) = delete;

private:
    QZInt64 m_handle;
};

#endif
