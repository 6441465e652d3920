#include "os/os_block.h"

#include <bit>
#include <cstdint>

#include "fw/fw_exception_code.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "os/internal/os_opened_file.h"

const QZInt64 QZBlock::Type;

namespace
{

/// Up to this size a block's part of a file is read at once, so a small file is read whole when it is opened.
constexpr QZInt64 kLoadedAtOnce = 262144;

[[noreturn]] void ThrowOutOfMemory(QZInt64 size)
{
    QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("QZBlock"), QZ_W("Set"))
        .Argument(QZ_W("QZInt64"), size)
        .Throw();
}

}  // namespace

QZBlock::QZBlock()
    : m_spaceId(-1),
      m_offset(0),
      m_size(0),
      m_bytes(nullptr),
      m_pages(nullptr),
      m_present(nullptr),
      m_presentStretches(0),
      m_fileBytes(0),
      m_contentEnd(0),
      m_lastUse(0),
      m_changed(0)
{}

QZBlock::~QZBlock() { Release(); }

QZInt64 QZBlock::GetType() { return Type; }

void QZBlock::Load() { SetLoaded(0); }

void QZBlock::Fetch(QZInt64, QZInt64) {}

void QZBlock::WriteBack() {}

QZBool QZBlock::IsReleasable() { return 0; }

void QZBlock::Set(QZInt64 spaceId, QZInt64 offset, QZInt64 size)
{
    if (size != m_size || m_bytes == nullptr)
    {
        Release();
        m_size = size;
        m_bytes = static_cast<unsigned char*>(MemoryAllocate(size));
        m_pages = m_bytes != nullptr
                      ? static_cast<QZUInt64*>(MemoryAllocate((PageWords() + StretchWords()) * 8))
                      : nullptr;
        if (m_pages == nullptr)
        {
            Release();
            ThrowOutOfMemory(size);
        }
        m_present = m_pages + PageWords();
    }
    m_spaceId = spaceId;
    m_offset = offset;
    QZMemClean(m_present, StretchWords() * 8);
    m_presentStretches = 0;
    m_contentEnd = 0;
    ClearChanges();
    Load();
}

const void* QZBlock::GetPointer()
{
    Require(0, m_size);
    return m_bytes;
}

void QZBlock::Read(QZInt64 at, void* target, QZInt64 size)
{
    if (size <= 0) return;
    Require(at, at + size);
    QZMemCopy(target, m_bytes + at, size);
}

void QZBlock::Write(QZInt64 at, const void* source, QZInt64 size)
{
    if (size <= 0) return;
    Require(at, at + size);
    QZMemCopy(m_bytes + at, source, size);
    Note(static_cast<QZUInt64>(at), static_cast<QZUInt64>(size));
}

void QZBlock::RequireStretches(QZInt64 from, QZInt64 to)
{
    const QZInt64 all = m_size >> kStretchShift;
    const QZInt64 end = (to + (1LL << kStretchShift) - 1) >> kStretchShift;
    for (QZInt64 stretch = from >> kStretchShift; stretch < end;)
    {
        if (IsPresent(stretch))
        {
            ++stretch;
            continue;
        }
        // A stretch after a loaded one is read in order, so the following stretches are fetched with it.
        QZInt64 wanted = end;
        if (stretch > 0 && IsPresent(stretch - 1) && wanted < stretch + kStretchesAhead)
            wanted = stretch + kStretchesAhead;
        if (wanted > all) wanted = all;
        QZInt64 next = stretch + 1;
        while (next < wanted && !IsPresent(next)) ++next;
        BringStretches(stretch, next);
        stretch = next;
    }
}

void QZBlock::BringStretches(QZInt64 first, QZInt64 end)
{
    const QZInt64 from = first << kStretchShift;
    const QZInt64 to = end << kStretchShift;
    QZInt64 empty = from;
    if (m_fileBytes > from)
    {
        empty = m_fileBytes < to ? m_fileBytes : to;
        Fetch(from, empty);
    }
    if (empty < to) QZMemClean(m_bytes + empty, to - empty);
    for (QZInt64 stretch = first; stretch < end; ++stretch) m_present[stretch >> 6] |= 1ULL << (stretch & 63);
    m_presentStretches += end - first;
}

void QZBlock::PresentAround(QZInt64 at, QZInt64* from, QZInt64* to) const
{
    *from = 0;
    *to = m_size;
    const QZInt64 all = m_size >> kStretchShift;
    if (m_presentStretches == all) return;
    const QZInt64 stretch = at >> kStretchShift;
    const QZInt64 words = StretchWords();
    // Searches the nearest stretch that is not loaded on both sides, a word at a time.
    QZInt64 word = stretch >> 6;
    QZUInt64 gaps = ~m_present[word] & (~0ULL >> (63 - (stretch & 63)));
    while (gaps == 0 && word > 0) gaps = ~m_present[--word];
    *from = gaps == 0 ? 0 : (word * 64 + 64 - std::countl_zero(gaps)) << kStretchShift;
    word = stretch >> 6;
    gaps = ~m_present[word] & (~0ULL << (stretch & 63));
    while (gaps == 0 && word + 1 < words) gaps = ~m_present[++word];
    const QZInt64 end = gaps == 0 ? all : word * 64 + std::countr_zero(gaps);
    *to = (end < all ? end : all) << kStretchShift;
}

void QZBlock::NoteRun(QZUInt64 first, QZUInt64 last)
{
    for (QZUInt64 page = first; page <= last; ++page) m_pages[page >> 6] |= 1ULL << (page & 63);
}

void QZBlock::ClearChanges()
{
    if (m_pages != nullptr) QZMemClean(m_pages, PageWords() * 8);
    m_changed = 0;
}

void QZBlock::SetLoaded(QZInt64 count)
{
    m_fileBytes = count;
    m_contentEnd = count;
}

void QZBlock::Release()
{
    if (m_bytes != nullptr) MemoryFree(m_bytes);
    if (m_pages != nullptr) MemoryFree(m_pages);
    m_bytes = nullptr;
    m_pages = nullptr;
    m_present = nullptr;
    m_size = 0;
    m_presentStretches = 0;
    m_fileBytes = 0;
    m_contentEnd = 0;
    m_changed = 0;
}

QZFileBlock::QZFileBlock(QZFile* file) : m_file(file) {}

QZFileBlock::~QZFileBlock() = default;

void QZFileBlock::Load()
{
    SetLoaded(0);
    // A block after the end of the file has no bytes of it, and not every system can read at so large an
    // offset.
    if (GetOffset() > INT64_MAX - GetSize()) return;
    QZInt64 count = m_file->GetSize() - GetOffset();
    if (count <= 0) return;
    if (count > GetSize()) count = GetSize();
    SetLoaded(count);
    if (count <= kLoadedAtOnce) Require(0, count);
}

void QZFileBlock::Fetch(QZInt64 from, QZInt64 to)
{
    from += QZReadWhole(m_file, GetOffset() + from, Bytes() + from, to - from);
    // Another program made the file shorter in the meantime.
    if (from < to) QZMemClean(Bytes() + from, to - from);
}

void QZFileBlock::WriteBack()
{
    if (!IsChanged()) return;
    ForEachChange([this](QZInt64 from, QZInt64 to) {
        from += QZWriteWhole(m_file, GetOffset() + from, Bytes() + from, to - from);
        if (from == to) return;
        QZRaise(QZIOFailure(QZIOExceptionCode::WriteFailed), QZ_W("QZFileBlock"), QZ_W("WriteBack"))
            .Argument(QZ_W("QZInt64"), GetOffset() + from)
            .Argument(QZ_W("QZInt64"), to - from)
            .Throw();
    });
    ClearChanges();
}

QZBool QZFileBlock::IsReleasable() { return IsChanged() == 0; }
