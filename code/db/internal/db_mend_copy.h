#ifndef QZLIB_DB_MEND_COPY_H
#define QZLIB_DB_MEND_COPY_H

#include <vector>

#include "db/internal/db_mend_map.h"
#include "db/internal/db_mend_target.h"
#include "db/internal/db_mend_walk.h"

class QZDbReport;

/// How far an operation of several walks is, in parts of one size.
struct QZDbMendProgress
{
    QZDbReport* Report = nullptr;
    QZInt64 PartSize = 1;
    QZInt64 Parts = 1;
    QZInt64 Part = 0;

    /// False when the host ends the operation.
    bool Step(QZInt64 done) const;
};

/// Copies states of one database into another.
///
/// Each state takes two walks: the first one appends the records that the new file does not have yet, the
/// second one sets every link and reference. The second one writes what differs only; so when the log is on,
/// it holds the way from one state to the next.
class QZDbStateCopy
{
public:
    QZDbStateCopy(QZDbTarget* target, QZInt64 sourceSize, QZDbMendWalk::Mode mode, QZDbReport* report,
                  QZDbMendProgress* progress);

    /// Makes the present state of the new file that of the source. The first state is written with the log
    /// off, later ones with the log on. False when the host ended it.
    bool Copy(const QZDbSource& source);

    /// Copies the fields of one LD of the source into an LD of the new file that has none yet.
    void CopyFields(const QZDbSource& source, QZInt64 from, QZInt64 to);

    /// Faults of all walks through the source.
    QZInt64 Faults() const { return m_faults; }
    /// Records and HDs of the state that was copied last.
    QZInt64 Records() const { return m_records; }

private:
    QZDbTarget* m_target;
    QZDbMendWalk::Mode m_mode;
    QZDbReport* m_report;
    QZDbMendProgress* m_progress;
    QZDbAddressMap m_map;
    QZDbMendWalk::Orphans m_orphans;
    bool m_first = true;
    QZInt64 m_faults = 0;
    QZInt64 m_records = 0;
};

/// Walks through a file that was written and has to be whole. Returns the records and HDs that it met, -1
/// when it met a fault.
QZInt64 QZDbSurvey(const QZDbSource& source, QZDbMendProgress* progress);

#endif
