#ifndef QZLIB_OS_BUFFER_H
#define QZLIB_OS_BUFFER_H

#include <cstdint>

#include "fw/fw_container.h"
#include "os/os_block.h"
#include "sys/sys_bytes.h"

class QZData;

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
        if (target != nullptr && window.Holds(at, size))
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
        if (source != nullptr && window.Holds(at, size))
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
    static constexpr QZUInt64 kWindows = 64;

    const Window& WindowAt(QZInt64 offset) const
    {
        return m_windows[static_cast<QZUInt64>(offset) >> m_blockShift & (kWindows - 1)];
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
    Window m_windows[kWindows];
};

template <typename Action>
void QZBuffer::ForEachChangedBlock(Action action)
{
    // Downwards through the file: a process that dies half-way has written what was appended, and not yet the
    // fields further up that make it count.
    QZInt64 done = INT64_MAX;
    for (;;)
    {
        QZBlock* highest = nullptr;
        for (QZObject* object = m_blocks->GetFirst(); object; object = object->LinkNext())
        {
            auto* block = static_cast<QZBlock*>(object);
            if (!block->IsChanged() || block->GetOffset() >= done) continue;
            if (!highest || block->GetOffset() > highest->GetOffset()) highest = block;
        }
        if (!highest) return;
        done = highest->GetOffset();
        action(highest);
    }
}

#endif
