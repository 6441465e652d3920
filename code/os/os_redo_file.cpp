#include "os/internal/os_redo_file.h"

#include <algorithm>
#include <cstdint>

#include "fw/internal/fw_hooks.h"
#include "os/os_file.h"
#include "sys/sys_bytes.h"

// Layout in little-endian words of 8 bytes, documented in docs/database-file.md: mark, number of runs, total
// length, salt, length of the file before, 3 words of 0; the first and the last bytes of the file before; for
// each run its offset, its size and its bytes; the checksum of all words before it. An older layout has no
// edges and a head of 4 words.

using namespace recovery;

namespace
{

constexpr QZUInt64 kMark = 0x0A32434E59535A51ull;       // "QZSYNC2\n"
constexpr QZUInt64 kOlderMark = 0x0A31434E59535A51ull;  // "QZSYNC1\n"
constexpr QZInt64 kHeadSize = 64;
constexpr QZInt64 kOlderHeadSize = 32;
constexpr QZInt64 kRunHeadSize = 16;

/// The length of the two stretches of the file that show that the sync was made for it.
constexpr QZInt64 kEdge = 4096;

QZInt64 FirstEdge(QZInt64 length) { return std::min(length, kEdge); }
QZInt64 LastEdge(QZInt64 length) { return std::min(length - FirstEdge(length), kEdge); }

}  // namespace

RedoFile::RedoFile(QZString* path) : SideFile(path, ".sync") {}

void RedoFile::Write(QZFile* target, const std::vector<Run>& runs, QZUInt64 salt)
{
    Make();
    const QZInt64 before = target->GetSize();
    unsigned char edges[2 * kEdge];
    const QZInt64 first = FirstEdge(before);
    const QZInt64 last = LastEdge(before);
    ReadAll(target, 0, edges, first);
    ReadAll(target, before - last, edges + kEdge, last);

    QZInt64 length = kHeadSize + RoundUp(first) + RoundUp(last) + kSumSize;
    for (const Run& run : runs) length += kRunHeadSize + RoundUp(run.size);
    Writer writer(File(), 0);
    writer.Word(kMark);
    writer.Word(runs.size());
    writer.Word(static_cast<QZUInt64>(length));
    writer.Word(salt);
    writer.Word(static_cast<QZUInt64>(before));
    for (int i = 0; i < 3; ++i) writer.Word(0);
    writer.Bytes(edges, first);
    writer.Bytes(edges + kEdge, last);
    m_entries.clear();
    QZInt64 at = kHeadSize + RoundUp(first) + RoundUp(last);
    for (const Run& run : runs)
    {
        writer.Word(static_cast<QZUInt64>(run.offset));
        writer.Word(static_cast<QZUInt64>(run.size));
        writer.Bytes(run.bytes, run.size);
        m_entries.push_back({run.offset, run.size, at + kRunHeadSize});
        at += kRunHeadSize + RoundUp(run.size);
    }
    writer.Sum();
    writer.Finish();
    Flush();
    m_salt = salt;
    m_before = before;
}

bool RedoFile::Load()
{
    m_entries.clear();
    m_salt = 0;
    m_before = -1;
    m_wellFormed = false;
    if (!Find()) return false;
    const QZInt64 size = File()->GetSize();
    if (size < kOlderHeadSize + kSumSize) return false;
    unsigned char head[kHeadSize] = {};
    ReadAll(File(), 0, head, std::min(size, kHeadSize));
    const QZUInt64 mark = QZLoad<QZUInt64>(head);
    const QZInt64 length = QZLoad<QZInt64>(head + 16);
    const QZInt64 headSize = mark == kMark ? kHeadSize : kOlderHeadSize;
    if ((mark != kMark && mark != kOlderMark) || length < headSize + kSumSize || length > size ||
        length % 8 != 0)
        return false;
    if (!HasSum(length)) return false;

    QZInt64 at = headSize;
    const QZInt64 end = length - kSumSize;
    if (mark == kMark)
    {
        m_salt = QZLoad<QZUInt64>(head + 24);
        m_before = QZLoad<QZInt64>(head + 32);
        if (m_before < 0) return true;
        at += RoundUp(FirstEdge(m_before)) + RoundUp(LastEdge(m_before));
    }
    m_wellFormed = at <= end && LoadEntries(QZLoad<QZInt64>(head + 8), at, end);
    return true;
}

bool RedoFile::HasSum(QZInt64 length)
{
    const auto piece = std::make_unique<unsigned char[]>(kPiece);
    QZUInt64 sum = kSumStart;
    const QZInt64 end = length - kSumSize;
    for (QZInt64 at = 0; at < end;)
    {
        const QZInt64 count = std::min(kPiece, end - at);
        ReadAll(File(), at, piece.get(), count);
        sum = AddToSum(sum, piece.get(), count);
        at += count;
    }
    unsigned char last[kSumSize];
    ReadAll(File(), end, last, kSumSize);
    return QZLoad<QZUInt64>(last) == sum;
}

/// Each run takes at least its head, so a wrong number of runs ends the loop at the end of the file.
bool RedoFile::LoadEntries(QZInt64 count, QZInt64 at, QZInt64 end)
{
    for (; count > 0; --count)
    {
        if (end - at < kRunHeadSize) return false;
        unsigned char head[kRunHeadSize];
        ReadAll(File(), at, head, kRunHeadSize);
        at += kRunHeadSize;
        const QZInt64 offset = QZLoad<QZInt64>(head);
        const QZInt64 size = QZLoad<QZInt64>(head + 8);
        if (offset < 0 || size < 0 || size > end - at || RoundUp(size) > end - at ||
            offset > INT64_MAX - size)
            return false;
        m_entries.push_back({offset, size, at});
        at += RoundUp(size);
    }
    return count == 0 && at == end;
}

bool RedoFile::Belongs(QZFile* target)
{
    if (!m_wellFormed) return false;
    const QZInt64 now = target->GetSize();
    const QZInt64 before = m_before >= 0 ? m_before : now;
    QZInt64 after = before;
    QZInt64 bytes = 0;
    for (const Entry& entry : m_entries)
    {
        after = std::max(after, entry.offset + entry.size);
        bytes += entry.size;
    }
    // The writer appends a larger gap before it writes this file, so no sync extends the file much further
    // than its own bytes do.
    if (now < before || now > after || after - before > bytes + kLargestGap) return false;
    if (m_before < 0) return true;
    const QZInt64 first = FirstEdge(before);
    const QZInt64 last = LastEdge(before);
    return HasEdge(target, 0, first, kHeadSize) &&
           HasEdge(target, before - last, last, kHeadSize + RoundUp(first));
}

/// Each byte of the stretch must be as before the sync, or as the sync makes it: it may be half in place.
bool RedoFile::HasEdge(QZFile* target, QZInt64 offset, QZInt64 size, QZInt64 at)
{
    unsigned char now[kEdge];
    unsigned char old[kEdge];
    unsigned char fresh[kEdge];
    ReadAll(target, offset, now, size);
    ReadAll(File(), at, old, size);
    QZMemCopy(fresh, old, size);
    for (const Entry& entry : m_entries)
    {
        const QZInt64 from = std::max(entry.offset, offset);
        const QZInt64 to = std::min(entry.offset + entry.size, offset + size);
        if (from < to) ReadAll(File(), entry.at + from - entry.offset, fresh + (from - offset), to - from);
    }
    for (QZInt64 i = 0; i < size; ++i)
        if (now[i] != old[i] && now[i] != fresh[i]) return false;
    return true;
}

void RedoFile::Apply(QZFile* target)
{
    const auto piece = std::make_unique<unsigned char[]>(kPiece);
    for (const Entry& entry : m_entries)
    {
        for (QZInt64 done = 0; done < entry.size;)
        {
            const QZInt64 count = std::min(kPiece, entry.size - done);
            ReadAll(File(), entry.at + done, piece.get(), count);
            WriteAll(target, entry.offset + done, piece.get(), count);
            done += count;
        }
    }
}
