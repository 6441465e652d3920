#ifndef QZLIB_OS_BLOCK_H
#define QZLIB_OS_BLOCK_H

#include "fw/fw_object.h"

class QZFile;

/// One block of a paged buffer: a space identifier (its number), the offset of its first byte, its size and
/// its bytes.
///
/// The block owns its bytes. It records which pages were changed and which stretches are loaded: a stretch is
/// fetched, or filled with zeros, when it is first used. A plain block has no file: it starts as zeros,
/// cannot be written back and is never releasable. One thread at a time, like the buffer that holds it.
class QZ_API QZBlock : public QZObject
{
public:
    static const QZInt64 Type = 0x81FF300;

    QZBlock();
    ~QZBlock() override;

    QZInt64 GetType() override;

    /// Prepares the content after Set. A plain block holds zeros.
    virtual void Load();

    /// Writes the changes to the place that the block was loaded from. Does nothing in a plain block.
    virtual void WriteBack();

    /// True when the block can be dropped without losing changes.
    virtual QZBool IsReleasable();

    /// Gives the block a new identity and loads it. The old content is lost; write it back first.
    /// @throws QZException  OutOfMemory; what Load throws
    void Set(QZInt64 spaceId, QZInt64 offset, QZInt64 size);

    QZInt64 GetSpaceID() const { return m_spaceId; }
    QZInt64 GetOffset() const { return m_offset; }
    QZInt64 GetSize() const { return m_size; }

    /// All bytes of the block, for reading. Change them with Write, which records the change.
    const void* GetPointer();

    /// Copies `size` bytes from position `at` of the block to the target. The range lies inside the block.
    void Read(QZInt64 at, void* target, QZInt64 size);

    /// Copies `size` bytes to position `at` of the block and records the range as changed.
    void Write(QZInt64 at, const void* source, QZInt64 size);

    /// True when something was written since the last load or write-back.
    QZBool IsChanged() const { return m_changed; }

    /// The end of the content: one past the last byte that was loaded or written.
    QZInt64 GetContentEnd() const { return m_contentEnd; }

protected:
    /// Changes are recorded in pages of 2^kPageShift bytes.
    static constexpr int kPageShift = 12;

    /// Calls action(from, to) for each run of changed pages, from the last to the first, cut at the end of
    /// the content.
    template <typename Action>
    void ForEachChange(Action action);

    /// Forgets the changes: the block has the same content as its file.
    void ClearChanges();

    /// Sets the number of bytes at the front of the block that the file holds; the others start as zeros.
    void SetLoaded(QZInt64 count);

    /// Reads the bytes of a range from the file. The range lies within the count given to SetLoaded. Does
    /// nothing in a plain block.
    virtual void Fetch(QZInt64 from, QZInt64 to);

    /// Loads the bytes of a range where they are not loaded.
    void Require(QZInt64 from, QZInt64 to)
    {
        if (m_presentStretches != m_size >> kStretchShift) RequireStretches(from, to);
    }

    unsigned char* Bytes() const { return m_bytes; }

private:
    friend class QZBuffer;
    friend class QZFileBuffer;

    /// Stretches have 2^kStretchShift bytes; every block size is a multiple.
    static constexpr int kStretchShift = 12;

    /// Stretches that are fetched together when they are used in order.
    static constexpr QZInt64 kStretchesAhead = 16;

    void RequireStretches(QZInt64 from, QZInt64 to);
    /// Loads the stretches `first` to `end` - 1: what the file holds, and zeros after it.
    void BringStretches(QZInt64 first, QZInt64 end);
    bool IsPresent(QZInt64 stretch) const { return (m_present[stretch >> 6] >> (stretch & 63) & 1) != 0; }

    /// Stores the range of loaded bytes around a position that is loaded.
    void PresentAround(QZInt64 at, QZInt64* from, QZInt64* to) const;

    void Note(QZUInt64 at, QZUInt64 size)
    {
        const QZUInt64 first = at >> kPageShift;
        const QZUInt64 last = (at + size - 1) >> kPageShift;
        m_pages[first >> 6] |= 1ULL << (first & 63);
        if (last != first) NoteRun(first + 1, last);
        if (static_cast<QZInt64>(at + size) > m_contentEnd) m_contentEnd = static_cast<QZInt64>(at + size);
        m_changed = 1;
    }

    void NoteRun(QZUInt64 first, QZUInt64 last);
    void Release();
    QZInt64 PageWords() const { return (m_size + (64LL << kPageShift) - 1) >> (kPageShift + 6); }
    QZInt64 StretchWords() const { return (m_size + (64LL << kStretchShift) - 1) >> (kStretchShift + 6); }

    QZInt64 m_spaceId;
    QZInt64 m_offset;
    QZInt64 m_size;
    unsigned char* m_bytes;
    /// One bit for each changed page.
    QZUInt64* m_pages;
    /// One bit for each loaded stretch; in the same buffer as the page bits, after them.
    QZUInt64* m_present;
    QZInt64 m_presentStretches;
    /// The number of bytes that the file holds, as set by SetLoaded.
    QZInt64 m_fileBytes;
    QZInt64 m_contentEnd;
    /// The buffer's count of uses at the last use of this block.
    QZUInt64 m_lastUse;
    QZBool m_changed;
};

/// A block of a file: the file's bytes, and zeros after its end. A small file is read at once, of a large
/// file only what is used. WriteBack writes the changed pages, but not past the end of the content, so it
/// does not pad the file. The buffer owns the file.
class QZ_API QZFileBlock : public QZBlock
{
public:
    explicit QZFileBlock(QZFile* file);
    ~QZFileBlock() override;

    /// @throws QZIOException  ReadFailed
    void Load() override;

    /// @throws QZIOException  WriteFailed; the block then keeps its changes
    void WriteBack() override;

    /// True when the block has no changes.
    QZBool IsReleasable() override;

protected:
    /// @throws QZIOException  ReadFailed
    void Fetch(QZInt64 from, QZInt64 to) override;

private:
    QZFile* m_file;
};

template <typename Action>
void QZBlock::ForEachChange(Action action)
{
    auto changed = [this](QZInt64 page) { return (m_pages[page >> 6] >> (page & 63) & 1) != 0; };
    QZInt64 page = (m_contentEnd + (1LL << kPageShift) - 1) >> kPageShift;
    while (page > 0)
    {
        if (!changed(page - 1))
        {
            --page;
            continue;
        }
        const QZInt64 to = page << kPageShift;
        while (page > 0 && changed(page - 1)) --page;
        action(page << kPageShift, to < m_contentEnd ? to : m_contentEnd);
    }
}

#endif
