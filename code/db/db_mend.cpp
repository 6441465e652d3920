/// Repairing and compacting: the operations of a database that write another file.

#include <memory>
#include <vector>

#include "db/db_database.h"
#include "db/db_report.h"
#include "db/internal/db_mend_copy.h"
#include "db/internal/db_mend_source.h"
#include "db/internal/db_mend_target.h"
#include "db/internal/db_objects.h"
#include "db/internal/db_rollback.h"
#include "fw/fw_collection.h"
#include "fw/fw_exception.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_raise.h"
#include "os/os_file.h"
#include "os/os_file_buffer.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_file.h"

namespace
{
/// Names of the files that an operation needs beside the one that it makes.
constexpr const char* kPart = ".part";
constexpr const char* kState = ".state";
/// The files that recover a database after a crash.
constexpr const char* kRecovery[] = {".sync", ".undo"};

QZString Beside(QZString* path, const char* suffix)
{
    QZString name(path);
    name.Append(suffix);
    return name;
}

void DeleteIfThere(QZString* name)
{
    if (QZFile::Exists(name)) QZFile::Delete(name);
}

[[noreturn]] void Fail(const QZFailure& failure, const QZWChar* method, QZString* path)
{
    QZRaise(failure, QZ_W("QZDatabase"), method).Argument(QZ_W("QZString*"), path).Throw();
}

/// Deletes a file at the end of the scope.
class Remover
{
public:
    explicit Remover(QZString* path) : m_path(path) {}
    ~Remover()
    {
        try
        {
            DeleteIfThere(m_path);
        }
        catch (QZException* e)
        {
            // What cannot be deleted is deleted by the next run.
            QZExceptionFactory::Recycle(&e);
        }
    }
    Remover(const Remover&) = delete;
    Remover& operator=(const Remover&) = delete;

private:
    QZString* m_path;
};

/// A snapshot mark that is kept.
struct Kept
{
    QZInt64 Point;
    QZInt64 Ld;
};

/// Whether the file has a rollback log.
bool HasLog(const QZDbSource& source, const QZDbMendWalk::Trees& trees)
{
    QZDbHeadImage head;
    // When it cannot be told, the new file gets one.
    return !source.ReadHead(trees.Roots[layout::kTrees - 1], &head) || head.First != 0;
}

/// One operation that makes a file out of another.
class Making
{
public:
    Making(const QZWChar* method, QZString* path, QZString* target, QZDbReport* report)
        : m_method(method),
          m_path(path),
          m_target(target),
          m_part(Beside(target, kPart)),
          m_state(Beside(target, kState)),
          m_report(report != nullptr ? report : &m_ownReport)
    {
        m_progress.Report = m_report;
    }

    /// Opens the source and removes what a run that was killed has left.
    void Open(QZDbSource::Trust trust)
    {
        m_source = std::make_unique<QZDbSource>(m_path, trust, QZDbSource::Buffering::Shared);
        m_report->SizeBefore = m_source->Size();
        DeleteIfThere(&m_part);
        DeleteIfThere(&m_state);
    }

    void FindMarks(QZCollection* marks);

    /// Writes the new file; false when the host ended it, or when a strict copy met a fault.
    bool Make(QZDbMendWalk::Mode mode);

    /// Gives the new file its name.
    void Place(bool replace);

private:
    bool MakeStates(QZDbStateCopy* copy, QZDbTarget* target);
    void Verify(QZInt64 records, bool strict);

    const QZWChar* m_method;
    QZString* m_path;
    QZString* m_target;
    QZString m_part;
    QZString m_state;
    QZDbReport m_ownReport;
    QZDbReport* m_report;
    QZDbMendProgress m_progress;
    std::unique_ptr<QZDbSource> m_source;
    std::vector<Kept> m_kept;
};

/// Finds the marks in the log's list of marks and takes them in the order in which they were made.
void Making::FindMarks(QZCollection* marks)
{
    if (marks == nullptr || marks->Count() == 0) return;
    OBJECTS* objects = m_source->Objects();
    objects->Rollback()->Load();
    QZCollection all;
    if (objects->Rollback()->IsOn()) objects->Rollback()->CollectSnapshots(&all);
    QZInt64 found = 0;
    for (QZInt64 i = 0; i < all.Count(); ++i)
    {
        QZInt64 wanted = 0;
        for (QZInt64 j = 0; j < marks->Count(); ++j)
            if (marks->GetElement(j) == all.GetElement(i)) ++wanted;
        QZDbRecordImage mark;
        if (wanted == 0 || !m_source->ReadRecord(static_cast<QZInt64>(all.GetElement(i)), &mark)) continue;
        found += wanted;
        m_kept.push_back({m_source->Own(mark, layout::kRdPosition), m_source->Own(mark, layout::kRdNew)});
    }
    if (found != marks->Count())
        Fail(QZGeneralFailure(QZExceptionCode::ArgumentOutOfRange).With(QZ_W("No such snapshot mark.")),
             m_method, m_path);
}

bool Making::Make(QZDbMendWalk::Mode mode)
{
    const bool strict = mode == QZDbMendWalk::Mode::Strict;
    m_progress.PartSize = m_source->Size();
    m_progress.Parts = 2 * static_cast<QZInt64>(m_kept.size()) + 2;
    QZInt64 records = 0;
    {
        QZDbMendWalk::Orphans none;
        const QZDbMendWalk::Trees trees = QZDbMendWalk(*m_source, mode, nullptr, &none, nullptr).FindTrees();
        if (!m_source->IsHeaderWhole())
            m_report->Add(0, QZDatabaseInfo::UNKNOWN, QZDbReport::MENDED, "the header is damaged");
        QZDbTarget target(&m_part, m_source->AddressMode(), HasLog(*m_source, trees));
        QZDbStateCopy copy(&target, m_source->Size(), mode, m_report, &m_progress);
        if (!MakeStates(&copy, &target) || !copy.Copy(*m_source)) return false;
        if (strict && copy.Faults() != 0) return false;
        records = copy.Records();
        m_report->SizeAfter = target.Finish();
    }
    Verify(records, strict);
    m_report->Records = records;
    return true;
}

/// Copies the states that are kept, the oldest first, and marks each.
bool Making::MakeStates(QZDbStateCopy* copy, QZDbTarget* target)
{
    for (const Kept& kept : m_kept)
    {
        const Remover remover(&m_state);
        QZFileBuffer::CopyInUse(m_path, &m_state);
        QZDbSource state(&m_state, QZDbSource::Trust::Header, QZDbSource::Buffering::Plain);
        state.Objects()->Rollback()->Load();
        if (!state.Objects()->Rollback()->Restore(kept.Point))
            Fail(QZDatabaseFailure(QZDatabaseInfo::ROLLBACK_ERROR_INVALIDADDR), m_method, m_path);
        if (!copy->Copy(state) || copy->Faults() != 0) return false;
        copy->CopyFields(*m_source, kept.Ld, target->MarkState());
        ++m_report->States;
    }
    return true;
}

/// Reads the whole new file again. It is deleted when it is not what was written.
void Making::Verify(QZInt64 records, bool strict)
{
    QZInt64 found = -1;
    {
        const QZDbSource made(&m_part, QZDbSource::Trust::Header, QZDbSource::Buffering::Plain);
        QZDbMendProgress progress;
        found = QZDbSurvey(made, &progress);
    }
    // A repair leaves records out that the second walk still counted.
    if (found >= 0 && (!strict || found == records)) return;
    DeleteIfThere(&m_part);
    Fail(QZDatabaseFailure(QZDatabaseInfo::BAD_STRUCT).With(QZ_W("The new file is not whole.")), m_method,
         m_path);
}

void Making::Place(bool replace)
{
    // While the source is open, nobody else writes to it. But an open file cannot be replaced on every
    // platform.
    if (replace && os::FileMove(m_part.GetPointer(), m_target->GetPointer(), true)) return m_source.reset();
    // Closing it deletes its recovery files.
    m_source.reset();
    for (const char* ending : kRecovery)
    {
        // Such a file without its database means nothing, and would be taken for that of the new file.
        QZString left = Beside(m_target, ending);
        if (!replace) DeleteIfThere(&left);
    }
    if (os::FileMove(m_part.GetPointer(), m_target->GetPointer(), replace)) return;
    const QZInt64 number = static_cast<QZInt64>(os::LastError());
    DeleteIfThere(&m_part);
    Fail(QZIOFailure(QZIOExceptionCode::OperationFailed, number), m_method, m_target);
}
}  // namespace

QZBool QZDatabase::Compact(QZString* path, QZString* newPath, QZCollection* marks, QZDbReport* report)
{
    const bool replace = newPath == nullptr;
    if (!replace && QZFile::Exists(newPath)) return 0;
    for (const char* ending : kRecovery)
    {
        QZString left = Beside(path, ending);
        if (QZFileBuffer::AtomicSync != 0 || QZFileBuffer::Exclusive != 0 || !QZFile::Exists(&left)) continue;
        Fail(QZGeneralFailure(QZExceptionCode::StructuralFailure)
                 .With(QZ_W("The file has to be recovered first: open it with AtomicSync.")),
             QZ_W("Compact"), path);
    }
    Making making(QZ_W("Compact"), path, replace ? path : newPath, report);
    making.Open(QZDbSource::Trust::Header);
    making.FindMarks(marks);
    if (!making.Make(QZDbMendWalk::Mode::Strict)) return 0;
    making.Place(replace);
    return 1;
}

QZBool QZDatabase::Repair(QZString* path, QZString* newPath, QZDbReport* report)
{
    if (QZFile::Exists(newPath)) return 0;
    Making making(QZ_W("Repair"), path, newPath, report);
    making.Open(QZDbSource::Trust::MainHead);
    if (!making.Make(QZDbMendWalk::Mode::Mending)) return 0;
    making.Place(false);
    return 1;
}
