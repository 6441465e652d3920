#ifndef QZLIB_OS_BUFFER_H
#define QZLIB_OS_BUFFER_H

#include <cstdint>

#include "fw/fw_container.h"
#include "os/os_block.h"
#include "sys/sys_bytes.h"

class QZData;

/// Paged memory: an address space of bytes in blocks of one size.
///
/// A block is made when it is first used. When the blocks take more memory than the limit, the least recently
/// used ones are written back and kept for reuse. A plain QZBuffer has no file, so it keeps every block in
/// use. The buffer owns its blocks. One thread at a time.
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

    /// Copies `size` bytes at the offset to the target and returns the count. Negative values count as 0.
    /// Bytes that were never written are zeros.
    /// @throws QZException 1792 for a null target; what the blocks throw
    QZInt64 Read(QZInt64 offset, void* target, QZInt64 size)
    {
        const Window& window = WindowAt(offset);
        const QZUInt64 at = static_cast<QZUInt64>(offset) - window.begin;
        if (target != nullptr && window.Holds(at, size))
        {
            Use(window.block);
            CopyRun(target, window.bytes + at, size);
            return size;
        }
        return ReadThrough(offset, target, size);
    }

    /// The same into a new QZData; give it back with Recycle.
    QZData* Read(QZInt64 offset, QZInt64 size);

    /// Copies `size` bytes from the source to the offset and returns the count. Negative values count as 0.
    /// @throws QZException 1792 for a null source; QZIOException WriteFailed for a buffer that only reads;
    /// what the blocks throw
    QZInt64 Write(QZInt64 offset, const void* source, QZInt64 size)
    {
        const Window& window = WindowAt(offset);
        const QZUInt64 at = static_cast<QZUInt64>(offset) - window.begin;
        if (source != nullptr && window.Holds(at, size) && !m_refusesWrites)
        {
            Use(window.block);
            CopyRun(window.bytes + at, source, size);
            window.block->Note(static_cast<QZUInt64>(offset - window.block->m_offset),
                               static_cast<QZUInt64>(size));
            return size;
        }
        return WriteThrough(offset, source, size);
    }

    /// Writes all bytes of the data object.
    /// @throws QZException 1792 for null
    QZInt64 Write(QZInt64 offset, QZData* data);

    /// The block that holds the offset; it becomes the most recently used one. The buffer owns it.
    QZBlock* GetBlockByOffset(QZInt64 offset);

    /// While the blocks in use take more memory than the limit, writes back the least recently used block and
    /// keeps it for reuse. Stops at a block that is not releasable.
    void RemoveBlock();

    /// Writes back all changes and flushes the file, if there is one. Always returns true.
    QZBool Sync();

    /// Writes back all changes, then deletes every releasable block in use and all blocks kept for reuse.
    /// True when no block is left.
    QZBool Collect();

    /// The bytes of the blocks in use.
    QZInt64 GetMemorySizeUsed() const { return m_memoryUsed; }

    /// The memory limit in bytes.
    QZInt64 GetMemorySizeUseMax() const { return m_memoryMax; }

    /// Gives back a QZData of Read.
    static void Recycle(QZData** data);

protected:
    /// Makes an empty block of the buffer's kind.
    virtual QZBlock* NewBlock();
    virtual void DeleteBlock(QZBlock* block);

    /// Called by Sync after all blocks are written.
    virtual void Flush();

    /// Writes back every changed block in use, from the highest offset to the lowest.
    virtual void WriteBackAll();

    /// Writes back a block that leaves memory.
    virtual void WriteBackLeaving(QZBlock* block);

    /// Calls action(block) for each changed block in use, from the highest offset to the lowest.
    template <typename Action>
    void ForEachChangedBlock(Action action);

    /// Deletes all blocks, written or not.
    void DeleteBlocks();

    /// The highest end of content of all blocks in use.
    QZInt64 GetContentEnd() const;

    /// From now on every Write is refused.
    void RefuseWrites() { m_refusesWrites = true; }
    bool RefusesWrites() const { return m_refusesWrites; }

private:
    /// A range of loaded bytes of one block, for reads and writes without a search. Length 0: no range.
    struct Window
    {
        QZUInt64 begin = 0;
        QZUInt64 length = 0;
        unsigned char* bytes = nullptr;
        QZBlock* block = nullptr;

        bool Holds(QZUInt64 at, QZInt64 size) const
        {
            // Size 0 and negative sizes wrap around to a value larger than any window.
            return at < length && static_cast<QZUInt64>(size) - 1 < length - at;
        }
    };

    /// The number of windows, a power of two. A block uses the window of its number modulo kWindows.
    static constexpr QZUInt64 kWindows = 64;

    const Window& WindowAt(QZInt64 offset) const
    {
        return m_windows[static_cast<QZUInt64>(offset) >> m_blockShift & (kWindows - 1)];
    }

    /// Makes a block the most recently used one.
    void Use(QZBlock* block) { block->m_lastUse = ++m_uses; }

    /// Nearly all transfers are single addresses, marks and small fields; these are copied inline.
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
    /// Opens the window of a block around a position.
    void OpenWindow(QZBlock* block, QZInt64 at);
    /// Called before a block leaves memory.
    void CloseWindow(QZBlock* block);
    QZBlock* LeastUsed() const;

    QZInt64 m_memoryUsed;
    QZInt64 m_memoryMax;
    QZInt64 m_blockSize;
    /// The blocks in use. Each block records its last use, so a use does not change the list.
    QZContainer* m_blocks;
    /// The blocks kept for reuse.
    QZContainer* m_freeBlocks;

    int m_blockShift;
    bool m_refusesWrites;
    QZUInt64 m_uses;
    Window m_windows[kWindows];
};

template <typename Action>
void QZBuffer::ForEachChangedBlock(Action action)
{
    // From the end of the file to its start: a process that dies half-way has written appended records, but
    // not yet the fields before them that make them reachable.
    QZInt64 done = INT64_MAX;
    for (;;)
    {
        QZBlock* highest = nullptr;
        for (QZObject* object = m_blocks->GetFirst(); object != nullptr; object = object->LinkNext())
        {
            auto* block = static_cast<QZBlock*>(object);
            if (!block->IsChanged() || block->GetOffset() >= done) continue;
            if (highest == nullptr || block->GetOffset() > highest->GetOffset()) highest = block;
        }
        if (highest == nullptr) return;
        done = highest->GetOffset();
        action(highest);
    }
}

#endif
