#include <cstdint>

#include "fw/fw_exception_code.h"
#include "fw/fw_memory.h"
#include "fw/fw_trace.h"
#include "os/os_buffer.h"
#include "os/os_file.h"

const QZInt64 QZBlock::Type;

namespace
{

/// Bytes that are made usable at a time when content grows.
constexpr QZInt64 ReadyStep = 65536;

[[noreturn]] void ThrowOutOfMemory(QZInt64 size)
{
    throw QZTrace(QZExceptionFactory::CreateException(QZLastErrorOr(QZExceptionCode::OutOfMemory)),
                  QZ_W("QZBlock"), QZ_W("Set"))
        .Argument(QZ_W("QZInt64"), size)
        .Exception();
}

}  // namespace

QZBlock::QZBlock()
    : m_spaceId(-1),
      m_offset(0),
      m_size(0),
      m_bytes(nullptr),
      m_pages(nullptr),
      m_ready(0),
      m_contentEnd(0),
      m_changed(0)
{}

QZBlock::~QZBlock() { Release(); }

QZInt64 QZBlock::GetType() { return Type; }

void QZBlock::Load() { SetLoaded(0); }

void QZBlock::WriteBack() {}

QZBool QZBlock::IsReleasable() { return 0; }

void QZBlock::Set(QZInt64 spaceId, QZInt64 offset, QZInt64 size)
{
    if (size != m_size || !m_bytes)
    {
        Release();
        m_size = size;
        m_bytes = static_cast<unsigned char*>(MemoryAllocate(size));
        m_pages = m_bytes ? static_cast<QZUInt64*>(MemoryAllocate(PageWords() * 8)) : nullptr;
        if (!m_pages)
        {
            Release();
            ThrowOutOfMemory(size);
        }
    }
    m_spaceId = spaceId;
    m_offset = offset;
    m_ready = 0;
    m_contentEnd = 0;
    ClearChanges();
    Load();
}

const void* QZBlock::GetPointer()
{
    Prepare(m_size);
    return m_bytes;
}

void QZBlock::Read(QZInt64 at, void* target, QZInt64 size)
{
    // Behind what is ready all is zero.
    QZInt64 stored = m_ready - at;
    if (stored < 0) stored = 0;
    if (stored > size) stored = size;
    if (stored > 0) QZMemCopy(target, m_bytes + at, stored);
    if (size > stored) QZMemClean(QZAt(target, stored), size - stored);
}

void QZBlock::Write(QZInt64 at, const void* source, QZInt64 size)
{
    if (size <= 0) return;
    Prepare(at + size);
    QZMemCopy(m_bytes + at, source, size);
    Note(static_cast<QZUInt64>(at), static_cast<QZUInt64>(size));
}

void QZBlock::Prepare(QZInt64 end)
{
    if (end <= m_ready) return;
    QZInt64 ready = (end + ReadyStep - 1) / ReadyStep * ReadyStep;
    if (ready > m_size) ready = m_size;
    QZMemClean(m_bytes + m_ready, ready - m_ready);
    m_ready = ready;
}

void QZBlock::NoteRun(QZUInt64 first, QZUInt64 last)
{
    for (QZUInt64 page = first; page <= last; ++page) m_pages[page >> 6] |= 1ULL << (page & 63);
}

void QZBlock::ClearChanges()
{
    if (m_pages) QZMemClean(m_pages, PageWords() * 8);
    m_changed = 0;
}

void QZBlock::SetLoaded(QZInt64 count)
{
    m_ready = count;
    m_contentEnd = count;
}

void QZBlock::Release()
{
    if (m_bytes) MemoryFree(m_bytes);
    if (m_pages) MemoryFree(m_pages);
    m_bytes = nullptr;
    m_pages = nullptr;
    m_size = 0;
    m_ready = 0;
    m_contentEnd = 0;
    m_changed = 0;
}

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

QZFileBlock::QZFileBlock(QZFile* file) : m_file(file) {}

QZFileBlock::~QZFileBlock() = default;

void QZFileBlock::Load()
{
    QZInt64 count = 0;
    SetLoaded(0);
    // A block past the end has nothing of the file in it, and not every system reads as far out as an offset
    // may point.
    if (GetOffset() > INT64_MAX - GetSize() || GetOffset() >= m_file->GetSize()) return;
    while (count < GetSize())
    {
        const QZInt64 more = m_file->Read(GetOffset() + count, Bytes() + count, GetSize() - count);
        if (more <= 0) break;
        count += more;
    }
    SetLoaded(count);
}

void QZFileBlock::WriteBack()
{
    if (!IsChanged()) return;
    ForEachChange([this](QZInt64 from, QZInt64 to) {
        while (from < to)
        {
            const QZInt64 count = m_file->Write(GetOffset() + from, Bytes() + from, to - from);
            if (count <= 0)
                throw QZTrace(QZExceptionFactory::CreateIOException(QZIOExceptionCode::WriteFailed),
                              QZ_W("QZFileBlock"), QZ_W("WriteBack"))
                    .Argument(QZ_W("QZInt64"), GetOffset() + from)
                    .Argument(QZ_W("QZInt64"), to - from)
                    .Exception();
            from += count;
        }
    });
    ClearChanges();
}

QZBool QZFileBlock::IsReleasable() { return !IsChanged(); }
