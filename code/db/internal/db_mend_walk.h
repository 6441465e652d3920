#ifndef QZLIB_DB_MEND_WALK_H
#define QZLIB_DB_MEND_WALK_H

#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "db/internal/db_mend_map.h"
#include "db/internal/db_mend_source.h"

class QZDbReport;

/// The four lists of an LD, 0 for one that cannot be read.
struct QZDbLdLists
{
    QZInt64 Heads[layout::kLdLists] = {};
};

/// A list that a walk is in. Target, PrevEnd and Last belong to the visitor.
struct QZDbListPlace
{
    QZInt64 Source = 0;
    QZInt64 Target = 0;
    QZInt64 PrevEnd = 0;
    QZInt64 Last = 0;
};

/// What a walk tells about the records that it meets, list after list.
class QZDbMendVisitor
{
public:
    virtual ~QZDbMendVisitor() = default;

    /// A list begins. Its owner is a record or 0.
    virtual void ListBegins(QZDbListPlace& list, const QZDbHeadImage& head, QZInt64 owner) = 0;
    /// A record comes that no list holds. What holds it then is the visitor's affair.
    virtual void LooseBegins(QZDbListPlace& list, const QZDbRecordImage& record) = 0;
    virtual void Ld(QZDbListPlace& list, const QZDbRecordImage& record, const QZDbLdLists& lists) = 0;
    /// @param ld     0 when the node has none, or when `lost` says that it cannot be read
    /// @param child  its list, 0 for none; TABLE_HD is kept as it is
    virtual void Pd(QZDbListPlace& list, const QZDbRecordImage& record, QZInt64 ld, QZInt64 child,
                    bool lost) = 0;
    /// @param readable  false: the place of a field that cannot be read
    virtual void Cd(QZDbListPlace& list, const QZDbRecordImage& record, bool readable) = 0;
    /// @param back  the AD is in a list of back references, where it names a PD
    virtual void Ad(QZDbListPlace& list, const QZDbRecordImage& record, QZInt64 target, bool back) = 0;
    virtual void Rd(QZDbListPlace& list, const QZDbRecordImage& record) = 0;
    virtual void ListEnds(QZDbListPlace& list) = 0;
    /// Called now and then, with an address that never falls. False ends the walk.
    virtual bool Step(QZInt64 highest) = 0;
};

/// Walks through everything that the main HD leads to, except the rollback log, and tells a visitor.
///
/// With Strict it reads a file as the engine does, along the links that lead forward. With Mending it also
/// follows a broken list backwards from its end, looks for lists where they were appended, and refuses a
/// record that another list holds. It holds the addresses of the lists that are still to come, of records
/// that no list holds, and one bit for each place of a record.
class QZDbMendWalk
{
public:
    enum class Mode
    {
        Strict,
        Mending,
    };

    /// Nodes whose LD cannot be read, with the LD that a back reference shows, or 0. The walk that creates
    /// fills it, the walk that links uses it.
    using Orphans = std::unordered_map<QZInt64, QZInt64>;

    /// @param report   gets the faults; null: they are only counted
    QZDbMendWalk(const QZDbSource& source, Mode mode, QZDbMendVisitor* visitor, Orphans* orphans,
                 QZDbReport* report);

    /// Walks. False when the visitor's Step returned false, which ends the walk.
    bool Run();

    /// The five trees: their ADs and roots, 0 for one that cannot be found.
    struct Trees
    {
        QZInt64 Ads[layout::kTrees] = {};
        QZInt64 Roots[layout::kTrees] = {};
        /// What follows the five ADs in the main list, 0 for nothing.
        QZInt64 Sixth = 0;
    };
    Trees FindTrees();

    QZInt64 Faults() const { return m_faults; }

    /// Reads an HD, as far as the mode goes.
    bool Head(QZInt64 address, QZDbHeadImage* head) const;

    /// A record or a part of it is missing in the copy.
    void Lose(QZInt64 address, QZInt64 kind, const char* reason);
    /// A record was copied although something about it was damaged.
    void Mend(QZInt64 address, QZInt64 kind, const char* reason);

private:
    enum class Role
    {
        General,
        Fields,
        BackReferences,
    };
    struct Pending
    {
        QZInt64 Head;
        QZInt64 Owner;
    };

    bool IsMending() const { return m_mode == Mode::Mending; }
    void BeginTrees();
    bool Next();
    bool Count(QZInt64 address);
    void RunLoose(const QZDbRecordImage& record);
    void RunList(QZInt64 hd, QZInt64 owner, Role role);
    QZInt64 RunForward(QZDbListPlace& list, const QZDbHeadImage& head, Role role, QZInt64* prevEnd,
                       bool* ends);
    void RunBroken(QZDbListPlace& list, const QZDbHeadImage& head, Role role, QZInt64 broken, QZInt64 prevEnd,
                   bool ends);
    void RunBackward(QZDbListPlace& list, const QZDbHeadImage& head, Role role, QZInt64 broken,
                     QZInt64 prevEnd, bool ends);
    bool Admit(const QZDbListPlace& list, QZInt64 prevEnd, QZInt64 address, QZDbRecordImage* record);
    int Missing(const std::vector<QZDbRecordImage>& back, QZInt64 broken, QZInt64 prevEnd) const;
    void Emit(QZDbListPlace& list, const QZDbRecordImage& record, Role role);
    void EmitLd(QZDbListPlace& list, const QZDbRecordImage& record);
    void EmitAd(QZDbListPlace& list, const QZDbRecordImage& record, Role role);
    void EmitContent(QZDbListPlace& list, const QZDbRecordImage& record, Role role);
    void EmitPd(QZDbListPlace& list, const QZDbRecordImage& record);
    bool IsLd(QZInt64 address) const;
    QZInt64 ListOfLd(const QZDbRecordImage& ld, QZInt64 n);
    bool Claim(QZInt64 hd, QZInt64 owner);
    QZInt64 ChildOf(const QZDbRecordImage& pd);

    const QZDbSource& m_source;
    Mode m_mode;
    QZDbMendVisitor* m_visitor;
    Orphans* m_orphans;
    QZDbReport* m_report;
    Trees m_trees;
    QZDbMet m_met;
    std::vector<Pending> m_pending;
    std::vector<QZInt64> m_loose;
    QZInt64 m_highest = 0;
    QZInt64 m_faults = 0;
    QZInt64 m_records = 0;
    bool m_stopped = false;
};

#endif
