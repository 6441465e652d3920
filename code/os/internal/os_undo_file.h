#ifndef QZLIB_OS_UNDO_FILE_H
#define QZLIB_OS_UNDO_FILE_H

#include <vector>

#include "os/internal/os_recovery_file.h"

/// The third file of a buffered file with whole syncs, FILE.undo. It holds what a change between two syncs
/// takes away: the length of the file and the first images of the pages that are overwritten in place.
/// Internal.
///
/// The first page of the file is never overwritten while the undo file is valid. It shows that both belong
/// together.
class UndoFile : public recovery::SideFile
{
public:
    using Run = recovery::Run;

    explicit UndoFile(QZString* path);

    /// True from the first successful Keep until Drop: the changes since the last sync can be undone.
    bool IsActive() const { return m_active; }
    /// Names this undo in the sync that ends it; 0 while it is not active.
    QZUInt64 Salt() const { return m_active ? m_salt : 0; }
    /// After Load: the name of the undo in the file.
    QZUInt64 LoadedSalt() const { return m_salt; }
    /// The length of the file at the last sync.
    QZInt64 Length() const { return m_length; }

    /// Makes sure that the pages of the runs can be overwritten in place: writes the images that are missing,
    /// and flushes. The first call begins the undo for a file of `length` bytes.
    /// @throws QZIOException  the pages must not be overwritten then
    void Keep(QZFile* target, QZInt64 length, const std::vector<Run>& runs);

    /// True when the page may be overwritten in place: it has an image or lies behind the old length.
    bool IsFree(QZInt64 offset) const;

    /// Writes the images in place, cuts the file to its old length and flushes it.
    /// @throws QZIOException  the undo is still valid then
    void RollBack(QZFile* target);

    /// Invalidates the undo and flushes. Does nothing when nothing was written since the last time.
    /// @throws QZIOException  the undo may still be valid then
    void Drop();

    /// Renames the file, so that it is never found again. @throws QZIOException
    void PutAside();

    /// Finds the file and reads it. True when it holds the begin of an undo, for whichever file.
    /// @throws QZIOException
    bool Load();

    /// After Load: the undo was made for this file, and the file is no further than at the last write in
    /// place.
    bool Belongs(QZFile* target);

private:
    void Begin(QZFile* target, QZInt64 length, recovery::Writer* writer);
    void AddImages(QZFile* target, const std::vector<Run>& runs, recovery::Writer* writer,
                   std::vector<QZInt64>* pages);
    bool NeedsImage(QZInt64 page) const;
    bool HasImage(QZInt64 page) const;
    template <typename Action>
    bool ForEachImage(Action action);
    QZUInt64 FirstSum(QZFile* target) const;
    QZUInt64 LastSum(QZFile* target, bool restored);

    bool m_active = false;
    /// The file may hold a valid undo.
    bool m_written = false;
    QZUInt64 m_salt = 0;
    QZInt64 m_length = 0;
    QZUInt64 m_firstSum = 0;
    QZUInt64 m_lastSum = 0;
    /// Where the next image goes.
    QZInt64 m_end = 0;
    std::vector<bool> m_images;
};

#endif
