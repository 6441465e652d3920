#ifndef QZLIB_OS_BLOCK_H
#define QZLIB_OS_BLOCK_H

#include "fw/fw_object.h"

class QZFile;

/// One block of a paged buffer: a space identifier (its number), the offset of its first byte, its size and
/// its bytes.
///
/// The block owns its bytes and keeps note of what was changed, page by page, and of what is there at all,
/// stretch by stretch: a stretch is fetched, or filled with zeros, when it is first needed. A plain block has
/// nothing behind it: it starts as zeros, there is no place to write it back to, and it never answers true to
/// the release test. One thread at a time, like the buffer that holds it.
class QZ_API QZBlock : public QZObject
{
public:
    static const QZInt64 Type = 0x81FF300;

    QZBlock();
    ~QZBlock() override;

    QZInt64 GetType() override;

    /// Readies the block for what belongs into it. A plain block holds zeros.
    virtual void Load();

    /// Puts what was changed where the block came from. A plain block has no such place and does nothing.
    virtual void WriteBack();

    /// The release test: true when nothing is lost by giving the block up.
    virtual QZBool IsReleasable();

    /// Gives the block a new identity and loads it. What it held before is gone; write it back first.
    /// @throws QZException  OutOfMemory; what Load throws
    void Set(QZInt64 spaceId, QZInt64 offset, QZInt64 size);

    QZInt64 GetSpaceID() const { return m_spaceId; }
    QZInt64 GetOffset() const { return m_offset; }
    QZInt64 GetSize() const { return m_size; }

    /// All bytes of the block, for reading. Changes go through Write, so that they are noted.
    const void* GetPointer();

    /// Copies size bytes at position `at` of the block; the range lies inside the block.
    void Read(QZInt64 at, void* target, QZInt64 size);

    /// The mirror of Read; notes the range as changed.
    void Write(QZInt64 at, const void* source, QZInt64 size);

    /// True when something was written since the last load or write-back.
    QZBool IsChanged() const { return m_changed; }

    /// One byte past the last that the block knows of: what was loaded, or written if that is further on.
    QZInt64 GetContentEnd() const { return m_contentEnd; }

protected:
    /// Changes are noted in pages of this many bytes.
    static constexpr int kPageShift = 12;

    /// Calls action(from, to) for each run of changed pages, the last one first, cut at the end of the
    /// content.
    template <typename Action>
    void ForEachChange(Action action);

    /// Forgets the notes: the block agrees with what is behind it.
    void ClearChanges();

    /// Notes how many bytes at the front of the block have something behind them; the others start as zeros.
    void SetLoaded(QZInt64 count);

    /// Brings the bytes of a range, which lie among those of SetLoaded, from behind the block. Nothing in a
    /// plain block.
    virtual void Fetch(QZInt64 from, QZInt64 to);

    /// Makes the bytes of a range usable.
    void Require(QZInt64 from, QZInt64 to)
    {
        if (m_presentStretches != m_size >> kStretchShift) RequireStretches(from, to);
    }

    unsigned char* Bytes() const { return m_bytes; }

private:
    friend class QZBuffer;
    friend class QZFileBuffer;

    /// Stretches have this many bytes; every block size is a multiple of it.
    static constexpr int kStretchShift = 12;

    /// How many stretches are fetched at a time when they are asked for in order.
    static constexpr QZInt64 kStretchesAhead = 16;

    void RequireStretches(QZInt64 from, QZInt64 to);
    void BringStretches(QZInt64 first, QZInt64 behind);
    bool IsPresent(QZInt64 stretch) const { return (m_present[stretch >> 6] >> (stretch & 63) & 1) != 0; }

    /// The usable bytes around a position that is usable.
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
    /// One bit for each page that was changed.
    QZUInt64* m_pages;
    /// One bit for each stretch that is there; behind the page bits in one piece of memory.
    QZUInt64* m_present;
    QZInt64 m_presentStretches;
    /// Bytes below this have something behind them.
    QZInt64 m_behind;
    QZInt64 m_contentEnd;
    /// The buffer's count of uses when the block was used last.
    QZUInt64 m_lastUse;
    QZBool m_changed;
};

/// A block with a file behind it: the file's bytes, zeros past its end. A small file is read at once, of a
/// large one what is used; the write-back writes the changed pages and never more than what was loaded or
/// written, so a file gets no padded tail. The file belongs to the buffer.
class QZ_API QZFileBlock : public QZBlock
{
public:
    explicit QZFileBlock(QZFile* file);
    ~QZFileBlock() override;

    /// @throws QZIOException  ReadFailed
    void Load() override;

    /// @throws QZIOException  WriteFailed; the block then stays changed
    void WriteBack() override;

    /// True when nothing waits to be written.
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
