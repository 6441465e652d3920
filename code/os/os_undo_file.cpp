#include "os/internal/os_undo_file.h"

#include <algorithm>
#include <atomic>

#include "fw/fw_environment.h"
#include "os/os_file.h"
#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_process.h"
#include "sys/sys_bytes.h"

// Layout in little-endian words of 8 bytes, documented in docs/database-file.md. Head: mark, salt, old
// length, checksum of the first page, checksum of the last page, 0, 0, checksum of the head. For each image:
// offset, size, bytes, checksum that starts from the salt.

using namespace recovery;

namespace
{

constexpr QZUInt64 kMark = 0x0A314F444E555A51ull;  // "QZUNDO1\n"
constexpr QZInt64 kHeadSize = 64;
constexpr QZInt64 kImageHeadSize = 16;

/// The bytes of one image at most.
constexpr QZInt64 kImage = 16 * kPage;

QZInt64 PageOf(QZInt64 offset) { return offset / kPage; }

/// The begin of the last page of a file, where it is not the first one.
QZInt64 LastPage(QZInt64 length) { return length > kPage ? (length - 1) / kPage * kPage : length; }

/// A number that no earlier undo of the file had: from the time, the process and a count.
QZUInt64 NewSalt()
{
    static std::atomic<QZUInt64> count{0};
    const QZUInt64 parts[] = {static_cast<QZUInt64>(os::MonotonicMicros()),
                              static_cast<QZUInt64>(QZEnvironment::GetCurrentTimestamp()),
                              static_cast<QZUInt64>(os::ProcessCurrentId()), ++count};
    QZUInt64 salt = 0;
    for (const QZUInt64 part : parts)
    {
        salt = (salt ^ part) + 0x9E3779B97F4A7C15ull;
        salt = (salt ^ (salt >> 30)) * 0xBF58476D1CE4E5B9ull;
        salt = (salt ^ (salt >> 27)) * 0x94D049BB133111EBull;
        salt ^= salt >> 31;
    }
    return salt != 0 ? salt : 1;
}

}  // namespace

UndoFile::UndoFile(QZString* path) : SideFile(path, ".undo") {}

// ---- Keeping

void UndoFile::Keep(QZFile* target, QZInt64 length, const std::vector<Run>& runs)
{
    Make();
    const bool begins = !m_active;
    // A failed Keep leaves its images, or parts of them, behind the last valid one.
    if (begins) Drop();
    Writer writer(File(), begins ? 0 : m_end);
    m_written = true;
    if (begins) Begin(target, length, &writer);
    std::vector<QZInt64> pages;
    AddImages(target, runs, &writer, &pages);
    if (!begins && pages.empty()) return;
    const QZInt64 end = writer.Finish();
    Flush();
    m_end = end;
    m_active = true;
    for (const QZInt64 page : pages)
    {
        const auto at = static_cast<std::size_t>(page);
        if (m_images.size() <= at) m_images.resize(at + 1);
        m_images[at] = true;
    }
}

void UndoFile::Begin(QZFile* target, QZInt64 length, Writer* writer)
{
    m_salt = NewSalt();
    m_length = length;
    m_images.clear();
    m_firstSum = FirstSum(target);
    m_lastSum = LastSum(target, false);
    writer->Word(kMark);
    writer->Word(m_salt);
    writer->Word(static_cast<QZUInt64>(length));
    writer->Word(m_firstSum);
    writer->Word(m_lastSum);
    writer->Word(0);
    writer->Word(0);
    writer->Sum();
}

void UndoFile::AddImages(QZFile* target, const std::vector<Run>& runs, Writer* writer,
                         std::vector<QZInt64>* pages)
{
    const auto bytes = std::make_unique<unsigned char[]>(kImage);
    for (const Run& run : runs)
    {
        const QZInt64 end = std::min(run.offset + run.size, m_length);
        for (QZInt64 page = PageOf(run.offset); page * kPage < end;)
        {
            if (!NeedsImage(page))
            {
                ++page;
                continue;
            }
            const QZInt64 from = page * kPage;
            while (page * kPage < end && page * kPage < from + kImage && NeedsImage(page))
                pages->push_back(page++);
            const QZInt64 size = std::min(page * kPage, m_length) - from;
            ReadAll(target, from, bytes.get(), size);
            writer->StartSum(kSumStart ^ m_salt);
            writer->Word(static_cast<QZUInt64>(from));
            writer->Word(static_cast<QZUInt64>(size));
            writer->Bytes(bytes.get(), size);
            writer->Sum();
        }
    }
}

bool UndoFile::HasImage(QZInt64 page) const
{
    return static_cast<std::size_t>(page) < m_images.size() && m_images[static_cast<std::size_t>(page)];
}

bool UndoFile::NeedsImage(QZInt64 page) const
{
    return page > 0 && page * kPage < m_length && !HasImage(page);
}

bool UndoFile::IsFree(QZInt64 offset) const
{
    const QZInt64 page = PageOf(offset);
    return page > 0 && (page * kPage >= m_length || HasImage(page));
}

void UndoFile::PutAside()
{
    SideFile::PutAside();
    m_written = false;
}

void UndoFile::Drop()
{
    if (!m_written) return;
    Clear();
    Flush();
    m_written = false;
    m_active = false;
    m_end = 0;
    m_images.clear();
}

// ---- Undoing

template <typename Action>
bool UndoFile::ForEachImage(Action action)
{
    const QZInt64 size = m_active ? m_end : File()->GetSize();
    const auto piece = std::make_unique<unsigned char[]>(kImageHeadSize + kImage + kSumSize);
    // The first image that is not whole was not flushed, so nothing was overwritten for it and for the images
    // after it.
    for (QZInt64 at = kHeadSize; size - at >= kImageHeadSize + kSumSize;)
    {
        ReadAll(File(), at, piece.get(), kImageHeadSize);
        const QZInt64 offset = QZLoad<QZInt64>(piece.get());
        const QZInt64 count = QZLoad<QZInt64>(piece.get() + 8);
        if (count <= 0 || count > kImage) return true;
        const QZInt64 words = kImageHeadSize + RoundUp(count);
        if (size - at < words + kSumSize) return true;
        ReadAll(File(), at + kImageHeadSize, piece.get() + kImageHeadSize, words - kImageHeadSize + kSumSize);
        if (QZLoad<QZUInt64>(piece.get() + words) != AddToSum(kSumStart ^ m_salt, piece.get(), words))
            return true;
        if (offset < kPage || offset > m_length - count) return false;
        action(offset, piece.get() + kImageHeadSize, count);
        at += words + kSumSize;
    }
    return true;
}

void UndoFile::RollBack(QZFile* target)
{
    ForEachImage([target](QZInt64 offset, const unsigned char* bytes, QZInt64 size) {
        WriteAll(target, offset, bytes, size);
    });
    if (target->GetSize() > m_length) target->NewSize(m_length);
    target->Sync();
}

bool UndoFile::Load()
{
    m_active = false;
    if (!Find() || File()->GetSize() < kHeadSize) return false;
    unsigned char head[kHeadSize];
    ReadAll(File(), 0, head, kHeadSize);
    if (QZLoad<QZUInt64>(head) != kMark) return false;
    if (QZLoad<QZUInt64>(head + kHeadSize - kSumSize) != AddToSum(kSumStart, head, kHeadSize - kSumSize))
        return false;
    m_written = true;
    m_salt = QZLoad<QZUInt64>(head + 8);
    m_length = QZLoad<QZInt64>(head + 16);
    m_firstSum = QZLoad<QZUInt64>(head + 24);
    m_lastSum = QZLoad<QZUInt64>(head + 32);
    // A sync that names no undo has 0.
    return m_salt != 0;
}

bool UndoFile::Belongs(QZFile* target)
{
    if (m_length < 0 || target->GetSize() < m_length) return false;
    const bool wellFormed = ForEachImage([](QZInt64, const unsigned char*, QZInt64) {});
    return wellFormed && FirstSum(target) == m_firstSum && LastSum(target, true) == m_lastSum;
}

/// The checksum of the first page. Until the sync that ends the undo, it is as it was, and zeros follow it
/// where the file was shorter.
QZUInt64 UndoFile::FirstSum(QZFile* target) const
{
    unsigned char page[kPage] = {};
    ReadAll(target, 0, page, std::min(target->GetSize(), kPage));
    return SumOf(page, kPage);
}

/// The checksum of the last page, with its image in it when it is restored.
QZUInt64 UndoFile::LastSum(QZFile* target, bool restored)
{
    unsigned char page[kPage] = {};
    const QZInt64 start = LastPage(m_length);
    ReadAll(target, start, page, m_length - start);
    if (restored)
        ForEachImage([&](QZInt64 offset, const unsigned char* bytes, QZInt64 size) {
            const QZInt64 from = std::max(offset, start);
            const QZInt64 to = std::min(offset + size, m_length);
            if (from < to) std::copy(bytes + (from - offset), bytes + (to - offset), page + (from - start));
        });
    return SumOf(page, m_length - start);
}
