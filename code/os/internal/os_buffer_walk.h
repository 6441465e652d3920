#ifndef QZLIB_OS_OS_BUFFER_WALK_H
#define QZLIB_OS_OS_BUFFER_WALK_H

#include <cstdint>

#include "fw/fw_container.h"
#include "os/os_buffer.h"

// The walks over what was changed, shared by the sources of the buffers. Internal.

template <typename Action>
void QZBlock::ForEachChange(Action action)
{
    auto changed = [this](QZInt64 page) { return (m_pages[page >> 6] >> (page & 63) & 1) != 0; };
    QZInt64 page = (m_contentEnd + (1LL << PageShift) - 1) >> PageShift;
    while (page > 0)
    {
        if (!changed(page - 1))
        {
            --page;
            continue;
        }
        const QZInt64 to = page << PageShift;
        while (page > 0 && changed(page - 1)) --page;
        action(page << PageShift, to < m_contentEnd ? to : m_contentEnd);
    }
}

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
