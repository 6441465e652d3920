#ifndef QZLIB_SYS_CHUNK_TABLE_H
#define QZLIB_SYS_CHUNK_TABLE_H

/// A table for threads that may be terminated at any instruction.

#include <atomic>
#include <new>

#include "sys/sys_types.h"

namespace os
{

/// A table of entries that grows by chunks of `Size` entries and uses no lock: a thread that is terminated
/// inside an operation leaves nothing locked. Entries are value-initialised and never move. Chunks are never
/// freed: a static table has no destructor that runs, so threads may use it to the end of the process.
///
/// `Allocate` returns memory for a chunk or null; `Free` frees a chunk when another thread was faster.
template <typename Entry, int Size, void* (*Allocate)(QZInt64), void (*Free)(void*)>
class ChunkTable
{
public:
    /// Returns the first entry for which accept(entry) is true, null when there is none.
    template <typename Accept>
    Entry* Find(Accept accept)
    {
        for (Chunk* chunk = &m_first; chunk != nullptr; chunk = chunk->next.load())
            for (Entry& entry : chunk->entries)
                if (accept(entry)) return &entry;
        return nullptr;
    }

    /// The same, but adds a chunk when no entry is accepted. Null when there is no memory for one. For an
    /// `accept` that takes a free entry in one atomic step.
    template <typename Accept>
    Entry* Take(Accept accept)
    {
        for (Chunk* chunk = &m_first; chunk != nullptr; chunk = NextChunk(chunk))
            for (Entry& entry : chunk->entries)
                if (accept(entry)) return &entry;
        return nullptr;
    }

private:
    struct Chunk
    {
        Entry entries[Size];
        std::atomic<Chunk*> next;
    };

    static Chunk* NextChunk(Chunk* chunk)
    {
        Chunk* next = chunk->next.load();
        if (next != nullptr) return next;
        void* block = Allocate(sizeof(Chunk));
        if (block == nullptr) return nullptr;
        Chunk* made = new (block) Chunk{};
        if (chunk->next.compare_exchange_strong(next, made)) return made;
        Free(block);
        return next;
    }

    Chunk m_first{};
};

}  // namespace os

#endif
