#include "os/internal/os_whole_sync.h"

#include <algorithm>

#include "fw/fw_exception_code.h"
#include "fw/fw_exception_factory.h"
#include "fw/internal/fw_raise.h"
#include "os/internal/os_file_inside.h"
#include "os/internal/os_opened_file.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_file.h"

using namespace recovery;

namespace
{

/// A sync that appends more than this writes the appended bytes once, in place, under an undo.
constexpr QZInt64 kAppendsMuch = 4 << 20;

/// The runs in parts: calls action(run, free) for the largest stretches of pages that are alike.
template <typename IsFree, typename Action>
void ForEachPart(const Run& run, IsFree isFree, Action action)
{
    const QZInt64 end = run.offset + run.size;
    for (QZInt64 from = run.offset; from < end;)
    {
        const bool free = isFree(from);
        QZInt64 to = from;
        while (to < end && isFree(to) == free) to = (to / kPage + 1) * kPage;
        to = std::min(to, end);
        action(Run{from, run.bytes + (from - run.offset), to - from}, free);
        from = to;
    }
}

}  // namespace

// ---- Opening and closing

WholeSync::WholeSync(QZString* path, QZFile* file) : m_file(file), m_redo(path), m_undo(path)
{
    const ChangeLock lock(m_file, ChangeLock::Kind::Change);
    Recover();
    m_length = m_file->GetSize();
    m_redo.Make();
}

WholeSync::~WholeSync()
{
    if (m_repeats || m_undo.IsActive()) return;
    try
    {
        const ChangeLock lock(m_file, ChangeLock::Kind::Change);
        m_undo.Discard();
        m_redo.Discard();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
}

bool WholeSync::IsNeeded(QZString* path)
{
    RedoFile redo(path);
    if (redo.Load()) return true;
    UndoFile undo(path);
    return undo.Load();
}

void WholeSync::Recover()
{
    const bool redo = m_redo.Load();
    const bool undo = m_undo.Load();
    const bool redoFits = redo && m_redo.Belongs(m_file);
    const bool endsUndo = redo && undo && m_redo.Salt() == m_undo.LoadedSalt();
    if (m_file->GetSize() == 0)
    {
        // Nothing was written in place, or the file is a new one.
        if (redo) m_redo.Clear();
    }
    else if (undo && !endsUndo && m_undo.Belongs(m_file))
    {
        // The sync in the redo file, if any, was made before the undo began.
        m_undo.RollBack(m_file);
        if (redo) m_redo.Clear();
    }
    else
    {
        if (undo && !(endsUndo && redoFits)) m_undo.PutAside();
        if (redo && !redoFits) m_redo.PutAside();
        if (redoFits)
        {
            m_redo.Apply(m_file);
            m_file->Sync();
        }
    }
    if (m_undo.File() != nullptr) m_undo.Drop();
    m_undo.Discard();
    if (m_redo.File() != nullptr) m_redo.Clear();
}

void WholeSync::Abandon()
{
    m_abandoned = true;
    m_firstPage.clear();
    if (m_repeats || !m_undo.IsActive()) return;
    try
    {
        const ChangeLock lock(m_file, ChangeLock::Kind::Change);
        MakeWritable();
        m_undo.RollBack(m_file);
        m_undo.Drop();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
}

// ---- Between two syncs

void WholeSync::Spill(const std::vector<Run>& changed, const std::vector<Run>& leaving)
{
    const ChangeLock lock(m_file, ChangeLock::Kind::Change);
    CompleteSync();
    MakeWritable();
    m_undo.Keep(m_file, m_length, changed);
    for (const Run& run : leaving)
    {
        if (run.offset >= kPage)
        {
            PutInPlace({run});
            continue;
        }
        const QZInt64 first = std::min(run.size, kPage);
        if (run.size > first) PutInPlace({{kPage, run.bytes + first, run.size - first}});
        HoldFirstPage({0, run.bytes, first});
    }
}

void WholeSync::HoldFirstPage(const Run& run)
{
    // The file keeps the length that it shows to its users. The undo cuts it again.
    if (m_file->GetSize() < run.size) m_file->NewSize(run.size);
    m_firstPage.assign(run.bytes, run.bytes + run.size);
}

void WholeSync::Overlay(QZInt64 offset, unsigned char* bytes, QZInt64 size) const
{
    const QZInt64 held = static_cast<QZInt64>(m_firstPage.size());
    if (offset < held) std::copy_n(m_firstPage.data() + offset, std::min(size, held - offset), bytes);
}

/// The undo may begin or go on: no sync in the redo file would contradict it, and nothing is lost.
void WholeSync::MakeWritable()
{
    if (m_lost && !m_abandoned)
        QZRaise(QZIOFailure(QZIOExceptionCode::WriteFailed).With("A flush failed after the last sync."),
                QZ_W("QZFileBuffer"), QZ_W("Sync"))
            .Throw();
    if (!m_doubtful) return;
    m_redo.Clear();
    m_redo.Flush();
    m_doubtful = false;
}

// ---- Syncs

void WholeSync::Sync(std::vector<Run> changed)
{
    if (!m_repeats && (m_abandoned || (changed.empty() && !m_undo.IsActive()))) return;
    const ChangeLock lock(m_file, ChangeLock::Kind::Change);
    CompleteSync();
    if (changed.empty() && !m_undo.IsActive()) return;

    const bool hasFirst = !changed.empty() && changed.back().offset == 0;
    if (!m_firstPage.empty() && !hasFirst)
        changed.push_back({0, m_firstPage.data(), static_cast<QZInt64>(m_firstPage.size())});
    if (m_undo.IsActive() || AppendsMuch(changed))
    {
        MakeWritable();
        if (!m_undo.IsActive()) m_undo.Keep(m_file, m_length, {});
        PutFreePages(&changed);
        FlushInPlace();
    }
    else
    {
        // An undo that could not be begun must not contradict the sync.
        m_undo.Drop();
    }
    m_doubtful = true;
    m_redo.Write(m_file, changed, m_undo.Salt());
    m_doubtful = false;
    m_repeats = true;
    PutInPlace(changed);
    m_file->Sync();
    EndSync();
}

void WholeSync::CompleteSync()
{
    if (!m_repeats) return;
    m_redo.Apply(m_file);
    m_file->Sync();
    EndSync();
}

/// The sync is in place and flushed. The undo must be gone before the next sync, which does not name it.
void WholeSync::EndSync()
{
    m_undo.Drop();
    m_length = m_file->GetSize();
    m_firstPage.clear();
    m_repeats = false;
    m_redo.Clear();
}

bool WholeSync::AppendsMuch(const std::vector<Run>& runs) const
{
    QZInt64 end = m_length;
    QZInt64 appended = 0;
    for (const Run& run : runs)
    {
        end = std::max(end, run.offset + run.size);
        appended += std::max<QZInt64>(0, run.offset + run.size - std::max(run.offset, m_length));
    }
    return appended > kAppendsMuch || end - m_length - appended > kLargestGap;
}

/// Writes the pages in place that the undo can take back, and leaves the others.
void WholeSync::PutFreePages(std::vector<Run>* runs)
{
    std::vector<Run> rest;
    for (const Run& run : *runs)
        ForEachPart(
            run, [this](QZInt64 offset) { return m_undo.IsFree(offset); },
            [&](const Run& part, bool free) {
                if (free)
                    PutInPlace({part});
                else
                    rest.push_back(part);
            });
    runs->swap(rest);
}

void WholeSync::PutInPlace(const std::vector<Run>& runs)
{
    for (const Run& run : runs)
    {
        const QZInt64 done = QZWriteWhole(m_file, run.offset, run.bytes, run.size);
        if (done == run.size) continue;
        QZRaise(QZIOFailure(QZIOExceptionCode::WriteFailed), QZ_W("QZFileBlock"), QZ_W("WriteBack"))
            .Argument(QZ_W("QZInt64"), run.offset + done)
            .Argument(QZ_W("QZInt64"), run.size - done)
            .Throw();
    }
}

/// A system may drop what a failed flush did not write, and report success the next time.
void WholeSync::FlushInPlace()
{
    m_lost = true;
    m_file->Sync();
    m_lost = false;
}

// ---- Blocks and locks

void WholeSyncBlock::Fetch(QZInt64 from, QZInt64 to)
{
    QZFileBlock::Fetch(from, to);
    m_sync->Overlay(GetOffset() + from, Bytes() + from, to - from);
}

ChangeLock::ChangeLock(QZFile* file, Kind kind) : m_handle(QZFileInside::Handle(file))
{
    if (!os::FileIsShared(m_handle)) m_handle = 0;
    if (m_handle == 0 || os::FileChangeLock(m_handle, kind == Kind::Change)) return;
    const QZInt64 number = static_cast<QZInt64>(os::LastError());
    QZRaise(QZIOFailure(QZIOExceptionCode::OperationFailed, number), QZ_W("QZFileBuffer"), QZ_W("Sync"))
        .Throw();
}

ChangeLock::~ChangeLock()
{
    if (m_handle != 0) os::FileChangeUnlock(m_handle);
}
