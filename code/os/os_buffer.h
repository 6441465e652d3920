#ifndef QZLIB_OS_BUFFER_H
#define QZLIB_OS_BUFFER_H

#include "fw/fw_object.h"
#include "sys/sys_bytes.h"
#include "sys/sys_types.h"

class QZContainer;
class QZData;
class QZFile;
class QZString;
class SyncFile;

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
    static constexpr int PageShift = 12;

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
        if (m_presentStretches != m_size >> StretchShift) RequireStretches(from, to);
    }

    unsigned char* Bytes() const { return m_bytes; }

private:
    friend class QZBuffer;
    friend class QZFileBuffer;

    /// Stretches have this many bytes; every block size is a multiple of it.
    static constexpr int StretchShift = 12;

    /// How many stretches are fetched at a time when they are asked for in order.
    static constexpr QZInt64 StretchesAhead = 16;

    void RequireStretches(QZInt64 from, QZInt64 to);
    void BringStretches(QZInt64 first, QZInt64 behind);
    bool IsPresent(QZInt64 stretch) const { return (m_present[stretch >> 6] >> (stretch & 63) & 1) != 0; }

    /// The usable bytes around a position that is usable.
    void PresentAround(QZInt64 at, QZInt64* from, QZInt64* to) const;

    void Note(QZUInt64 at, QZUInt64 size)
    {
        const QZUInt64 first = at >> PageShift;
        const QZUInt64 last = (at + size - 1) >> PageShift;
        m_pages[first >> 6] |= 1ULL << (first & 63);
        if (last != first) NoteRun(first + 1, last);
        if (static_cast<QZInt64>(at + size) > m_contentEnd) m_contentEnd = static_cast<QZInt64>(at + size);
        m_changed = 1;
    }

    void NoteRun(QZUInt64 first, QZUInt64 last);
    void Release();
    QZInt64 PageWords() const { return (m_size + (64LL << PageShift) - 1) >> (PageShift + 6); }
    QZInt64 StretchWords() const { return (m_size + (64LL << StretchShift) - 1) >> (StretchShift + 6); }

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

/// A paged memory: an address space of bytes in blocks of one size.
///
/// Blocks are made when they are first touched. When memory goes above the limit, those that were used
/// longest ago are written back and put aside for reuse. A plain QZBuffer has nowhere to write to, so it
/// keeps every block. The buffer owns its blocks. One thread at a time.
class QZ_API QZBuffer : public QZObject
{
public:
    static const QZInt64 Type = 0x81FF700;

    static const QZInt64 BlockSize512K = 524288;
    static const QZInt64 BlockSize1M = 1048576;
    static const QZInt64 BlockSize2M = 2097152;
    static const QZInt64 BlockSize8M = 8388608;
    static const QZInt64 BlockSize16M = 16777216;
    static const QZInt64 BlockSize32M = 33554432;

    /// @param memoryLimit  bytes that the blocks in use may take; raised to at least two blocks
    /// @param blockSize    rounded up to the next constant; -1, and anything above the largest, gives
    /// BlockSize512K
    QZBuffer(QZInt64 memoryLimit, QZInt64 blockSize);
    ~QZBuffer() override;

    QZInt64 GetType() override;

    /// Copies size bytes at offset into target and answers the count. Negative values count as 0. What was
    /// never written reads as zeros.
    QZInt64 Read(QZInt64 offset, void* target, QZInt64 size)
    {
        const Window& window = WindowAt(offset);
        const QZUInt64 at = static_cast<QZUInt64>(offset) - window.begin;
        if (target && window.Holds(at, size))
        {
            Use(window.block);
            CopyRun(target, window.bytes + at, size);
            return size;
        }
        return ReadThrough(offset, target, size);
    }

    /// The same into a new QZData, given back with Recycle.
    QZData* Read(QZInt64 offset, QZInt64 size);

    /// Copies size bytes from source to offset and answers the count. Negative values count as 0.
    QZInt64 Write(QZInt64 offset, const void* source, QZInt64 size)
    {
        const Window& window = WindowAt(offset);
        const QZUInt64 at = static_cast<QZUInt64>(offset) - window.begin;
        if (source && window.Holds(at, size))
        {
            Use(window.block);
            CopyRun(window.bytes + at, source, size);
            window.block->Note(static_cast<QZUInt64>(offset - window.block->m_offset),
                               static_cast<QZUInt64>(size));
            return size;
        }
        return WriteThrough(offset, source, size);
    }

    /// All bytes of data.
    QZInt64 Write(QZInt64 offset, QZData* data);

    /// The block that holds the offset, which becomes the most recently used one. It stays the buffer's.
    QZBlock* GetBlockByOffset(QZInt64 offset);

    /// While memory in use is above the limit: the least recently used block is written back and put aside.
    /// Stops at a block that cannot be given up.
    void RemoveBlock();

    /// Writes back all that was changed, as far as there is a file, and flushes the file. Answers true.
    QZBool Sync();

    /// Writes back, then gives up every block in use that can be released and all that were put aside.
    /// Answers whether all could be released.
    QZBool Collect();

    /// Bytes of the blocks in use.
    QZInt64 GetMemorySizeUsed() const { return m_memoryUsed; }

    /// The limit.
    QZInt64 GetMemorySizeUseMax() const { return m_memoryMax; }

    /// Gives back what Read made.
    static void Recycle(QZData** data);

protected:
    /// Makes an empty block of the kind that the buffer works with.
    virtual QZBlock* NewBlock();
    virtual void DeleteBlock(QZBlock* block);

    /// Called by Sync when all blocks are written.
    virtual void Flush();

    /// Writes back every changed block in use, highest offset first.
    virtual void WriteBackAll();

    /// Writes back a block that has to leave.
    virtual void WriteBackLeaving(QZBlock* block);

    /// Calls action(block) for each changed block in use, highest offset first.
    template <typename Action>
    void ForEachChangedBlock(Action action);

    /// Deletes all blocks, written or not.
    void DeleteBlocks();

    /// The end of the highest content that any block in use knows of.
    QZInt64 GetContentEnd() const;

private:
    /// A run of usable bytes of one block: what the quick way needs to know. A length of 0 closes that way.
    struct Window
    {
        QZUInt64 begin = 0;
        QZUInt64 length = 0;
        unsigned char* bytes = nullptr;
        QZBlock* block = nullptr;

        bool Holds(QZUInt64 at, QZInt64 size) const
        {
            // A size of 0 and negative ones wrap around to more than any window holds.
            return at < length && static_cast<QZUInt64>(size) - 1 < length - at;
        }
    };

    /// Blocks share the windows by the low bits of their number; a power of two.
    static constexpr QZUInt64 Windows = 64;

    const Window& WindowAt(QZInt64 offset) const
    {
        return m_windows[static_cast<QZUInt64>(offset) >> m_blockShift & (Windows - 1)];
    }

    /// Makes a block the most recently used one.
    void Use(QZBlock* block) { block->m_lastUse = ++m_uses; }

    /// Single addresses, marks and small fields make up nearly all traffic; they are moved without a call.
    static void CopyRun(void* target, const void* source, QZInt64 size)
    {
        switch (size)
        {
            case 1: QZStore(target, QZLoad<QZByte>(source)); return;
            case 4: QZStore(target, QZLoad<QZUInt32>(source)); return;
            case 8: QZStore(target, QZLoad<QZUInt64>(source)); return;
            default: CopyLong(target, source, size); return;
        }
    }

    static void CopyLong(void* target, const void* source, QZInt64 size);
    QZInt64 ReadThrough(QZInt64 offset, void* target, QZInt64 size);
    QZInt64 WriteThrough(QZInt64 offset, const void* source, QZInt64 size);
    QZBlock* TakeBlock();
    QZBlock* FindBlock(QZInt64 number) const;
    /// Opens the window of a block around a position in it.
    void OpenWindow(QZBlock* block, QZInt64 at);
    /// To be called before a block leaves.
    void CloseWindow(QZBlock* block);
    QZBlock* LeastUsed() const;

    QZInt64 m_memoryUsed;
    QZInt64 m_memoryMax;
    QZInt64 m_blockSize;
    /// In use. Which was used when stands in the blocks, so that a use moves nothing.
    QZContainer* m_blocks;
    /// Put aside for reuse.
    QZContainer* m_freeBlocks;

    int m_blockShift;
    QZUInt64 m_uses;
    Window m_windows[Windows];
};

/// A file that is read and written through a bounded number of blocks in memory.
///
/// Writes stay in memory until their block is pushed out, or until Sync, Collect or Close. Made by Open,
/// given back by Close; owns its file. One thread at a time.
class QZ_API QZFileBuffer : public QZBuffer
{
public:
    static const QZInt64 Type = 0x81FF800;

    /// The least free disk space, in bytes, that a host should leave.
    static const QZInt64 FREEDESKSPACE_MIN = 1048576;

    /// With 1, a file that is opened from then on never holds a part of a sync: Sync first writes what was
    /// changed to a file beside it, named like it with ".sync" behind, and flushes that; then it writes in
    /// place, flushes and empties the file beside. Open finishes what it finds complete there. No changed
    /// byte reaches the file but by a sync: a block that has to leave, Collect and Close make one first.
    /// With 0, the default, changes are written in place whenever their block leaves.
    static QZByte AtomicSync;

    /// Opens an existing file for reading and writing.
    /// @throws QZIOException  what QZFile::Open throws
    static QZFileBuffer* Open(QZString* path, QZInt64 memoryLimit, QZInt64 blockSize);

    /// Writes back what was changed, closes the file, deletes the buffer and clears the variable.
    /// @throws QZIOException  WriteFailed, after everything was released all the same
    static void Close(QZFileBuffer** buffer);

    ~QZFileBuffer() override;

    QZInt64 GetType() override;

    /// The path given to Open; it stays the buffer's.
    QZString* GetPath() const { return m_path; }

    /// Size in bytes, with what was written and is still in memory only.
    QZInt64 GetFileSize();

    /// The whole content in a new QZData, given back with Recycle.
    QZData* ReadAll();

protected:
    QZFileBuffer(QZFile* file, QZString* path, QZInt64 memoryLimit, QZInt64 blockSize);

    QZBlock* NewBlock() override;
    void Flush() override;
    void WriteBackAll() override;
    void WriteBackLeaving(QZBlock* block) override;

private:
    QZFile* m_file;
    QZString* m_path;
    /// Null unless syncs are to be whole.
    SyncFile* m_sync;
};

#endif
