#include "db/internal/db_mend_walk.h"

#include "db/db_report.h"

namespace
{
/// After how many records the visitor is asked whether to go on.
constexpr QZInt64 kStep = 4096;

/// What the engine leaves in a PD whose list was removed.
constexpr QZInt64 kRemovedList = QZDatabaseInfo::TABLE_HD;

/// A record of a list is missing between two others when they are no further apart than this.
constexpr QZInt64 kFieldSpan = 1048576;
}  // namespace

QZDbMendWalk::QZDbMendWalk(const QZDbSource& source, Mode mode, QZDbMendVisitor* visitor, Orphans* orphans,
                           QZDbReport* report)
    : m_source(source),
      m_mode(mode),
      m_visitor(visitor),
      m_orphans(orphans),
      m_report(report),
      m_met(source.Size())
{
    m_trees = FindTrees();
}

void QZDbMendWalk::Lose(QZInt64 address, QZInt64 kind, const char* reason)
{
    ++m_faults;
    if (m_report != nullptr) m_report->Add(address, kind, QZDbReport::LEFT_OUT, reason);
}

void QZDbMendWalk::Mend(QZInt64 address, QZInt64 kind, const char* reason)
{
    ++m_faults;
    if (m_report != nullptr) m_report->Add(address, kind, QZDbReport::MENDED, reason);
}

bool QZDbMendWalk::Run()
{
    BeginTrees();
    while (!m_stopped && Next())
    {}
    return !m_stopped;
}

/// Notes that a record is visited. False when the walk ends.
bool QZDbMendWalk::Count(QZInt64 address)
{
    if (address > m_highest) m_highest = address;
    if (++m_records % kStep == 0 && !m_visitor->Step(m_highest)) m_stopped = true;
    return !m_stopped;
}

bool QZDbMendWalk::Head(QZInt64 address, QZDbHeadImage* head) const
{
    return IsMending() ? m_source.FindHead(address, head) : m_source.ReadHead(address, head);
}

// ---- The trees

QZDbMendWalk::Trees QZDbMendWalk::FindTrees()
{
    // In a new file the roots and their ADs follow the main HD in a fixed order. In a damaged one they are
    // looked for there.
    const QZInt64 a = m_source.AddressLength();
    Trees fixed;
    QZInt64 last = layout::HdEmptyEnd(layout::kMainHd, a);
    for (QZInt64& root : fixed.Roots)
    {
        root = layout::NewRecord(last);
        last = layout::HdEmptyEnd(root, a);
    }
    for (QZInt64& ad : fixed.Ads)
    {
        ad = layout::NewRecord(last);
        last = layout::HdEndFromData(layout::AdEnd(ad, a), a);
    }
    Trees trees;
    QZDbHeadImage head;
    QZDbRecordImage record;
    QZInt64 next = m_source.ReadHead(layout::kMainHd, &head) ? head.First : 0;
    for (int i = 0; i < layout::kTrees; ++i)
    {
        const bool found = m_source.ReadRecord(next, &record) && record.Kind == QZDatabaseInfo::DATA_AD;
        trees.Ads[i] = found ? record.This : fixed.Ads[i];
        next = found ? record.Next : 0;
        if (next == 0 && i + 1 < layout::kTrees) next = fixed.Ads[i + 1];
        trees.Roots[i] = found ? m_source.Own(record, layout::kAdFree) : fixed.Roots[i];
        if (m_source.ReadHead(trees.Roots[i], &head)) continue;
        trees.Roots[i] = Head(fixed.Roots[i], &head) ? fixed.Roots[i] : 0;
    }
    trees.Sixth = next;
    return trees;
}

void QZDbMendWalk::BeginTrees()
{
    QZDbHeadImage head;
    if (!m_source.ReadHead(layout::kMainHd, &head))
        Mend(layout::kMainHd, QZDatabaseInfo::TABLE_HD, "the main list cannot be read");
    else if (!head.Whole)
        Mend(layout::kMainHd, QZDatabaseInfo::TABLE_HD, "the frame of the main list is damaged");
    m_met.Enter(layout::kMainHd);
    for (int i = 0; i < layout::kTrees; ++i)
    {
        QZDbRecordImage ad;
        const bool sound = m_source.ReadRecord(m_trees.Ads[i], &ad) &&
                           m_source.Own(ad, layout::kAdFree) == m_trees.Roots[i] && ad.Whole;
        if (m_trees.Roots[i] == 0)
            Lose(m_trees.Ads[i], QZDatabaseInfo::DATA_AD, "the root of a tree cannot be read");
        else if (!sound)
            Mend(m_trees.Ads[i], QZDatabaseInfo::DATA_AD, "the reference to the root of a tree is damaged");
        m_met.Enter(m_trees.Ads[i]);
        if (m_trees.Roots[i] == 0 || m_met.Enter(m_trees.Roots[i])) continue;
        Lose(m_trees.Ads[i], QZDatabaseInfo::DATA_AD, "two trees have one root");
        m_trees.Roots[i] = 0;
    }
    if (m_trees.Sixth != 0)
        Lose(m_trees.Sixth, QZDatabaseInfo::DATA_AD, "the main list goes on after the five trees");
    // The last one is walked first. The LDs come before the nodes that refer to them; the log is left out.
    for (const QZInt64 tree :
         {QZDatabaseInfo::TREESSN, QZDatabaseInfo::TREERSN, QZDatabaseInfo::TREEASN, QZDatabaseInfo::TREELSN})
    {
        if (m_trees.Roots[tree - 1] != 0)
            m_pending.push_back({m_trees.Roots[tree - 1], m_trees.Ads[tree - 1]});
    }
}

bool QZDbMendWalk::Next()
{
    if (!m_pending.empty())
    {
        const Pending next = m_pending.back();
        m_pending.pop_back();
        RunList(next.Head, next.Owner, Role::General);
        return true;
    }
    if (m_loose.empty()) return false;
    const QZInt64 address = m_loose.back();
    m_loose.pop_back();
    QZDbRecordImage record;
    if (!m_met.Has(address) && m_source.ReadRecord(address, &record)) RunLoose(record);
    return true;
}

void QZDbMendWalk::RunLoose(const QZDbRecordImage& record)
{
    m_met.Enter(record.This);
    QZDbListPlace list;
    m_visitor->LooseBegins(list, record);
    Emit(list, record, Role::General);
    m_visitor->ListEnds(list);
}

// ---- Lists

void QZDbMendWalk::RunList(QZInt64 hd, QZInt64 owner, Role role)
{
    QZDbHeadImage head;
    if (!Head(hd, &head)) return;
    if (!head.Whole) Mend(hd, QZDatabaseInfo::TABLE_HD, "the frame of a list is damaged");
    QZDbListPlace list;
    list.Source = hd;
    m_visitor->ListBegins(list, head, owner);
    QZInt64 prevEnd = hd;
    bool ends = false;
    const QZInt64 broken = RunForward(list, head, role, &prevEnd, &ends);
    if (IsMending())
        RunBroken(list, head, role, broken, prevEnd, ends);
    else if (!ends && !m_stopped)
        Lose(broken, QZDatabaseInfo::UNKNOWN, "no record where a list goes on");
    m_visitor->ListEnds(list);
}

/// Whether a record continues the list; it is then noted as met.
bool QZDbMendWalk::Admit(const QZDbListPlace& list, QZInt64 prevEnd, QZInt64 address, QZDbRecordImage* record)
{
    if (!m_source.ReadRecord(address, record)) return false;
    if (IsMending() && record->Prev != prevEnd && record->Head != list.Source) return false;
    return m_met.Enter(address);
}

/// Goes on with a list whose links broke: with what is found not far behind, then from its end.
void QZDbMendWalk::RunBroken(QZDbListPlace& list, const QZDbHeadImage& head, Role role, QZInt64 broken,
                             QZInt64 prevEnd, bool ends)
{
    while (!ends && !m_stopped && role != Role::Fields)
    {
        // What the end leads to without a gap comes first.
        const QZInt64 from = m_source.IsPlace(broken) && !m_met.Has(broken) ? broken : prevEnd;
        const QZInt64 place = m_source.FindNear(head.This, from);
        if (place == 0 || m_met.Has(place)) break;
        Lose(broken, QZDatabaseInfo::UNKNOWN, "no record where a list goes on");
        QZDbHeadImage rest = head;
        rest.First = place;
        broken = RunForward(list, rest, role, &prevEnd, &ends);
    }
    RunBackward(list, head, role, broken, prevEnd, ends);
}

/// Follows the links forward. Returns the address at which they break; *ends says that they end instead.
QZInt64 QZDbMendWalk::RunForward(QZDbListPlace& list, const QZDbHeadImage& head, Role role, QZInt64* prevEnd,
                                 bool* ends)
{
    QZInt64 address = head.First;
    QZDbRecordImage record;
    while (address != 0)
    {
        if (m_stopped || !Admit(list, *prevEnd, address, &record)) return address;
        Emit(list, record, role);
        if (IsMending() && record.Prev != *prevEnd)
            Mend(address, record.Kind, "the link to the record before is damaged");
        *prevEnd = record.End;
        address = record.Next;
    }
    *ends = true;
    return 0;
}

/// Follows a list that broke, or that ends before its HD says so, from its end to the break.
void QZDbMendWalk::RunBackward(QZDbListPlace& list, const QZDbHeadImage& head, Role role, QZInt64 broken,
                               QZInt64 prevEnd, bool ends)
{
    const QZInt64 a = m_source.AddressLength();
    const QZInt64 expected =
        prevEnd == head.This ? layout::HdEmptyEnd(head.This, a) : layout::HdEndFromData(prevEnd, a);
    if (m_stopped || (ends && head.End == expected)) return;
    std::vector<QZDbRecordImage> back;
    QZInt64 end = layout::HdLastEnd(head.End, a);
    QZInt64 following = 0;
    QZDbRecordImage record;
    while (end != prevEnd && m_source.ReadRecordAtEnd(end, &record) &&
           (record.Head == head.This || (following != 0 && record.Next == following)) &&
           m_met.Enter(record.This))
    {
        back.push_back(record);
        following = record.This;
        end = record.Prev;
    }
    const bool joined = end == prevEnd;
    if (ends && (back.empty() || !joined))
    {
        // The list is whole. Only what its HD says about the end is wrong.
        if (head.Whole) Mend(head.This, QZDatabaseInfo::TABLE_HD, "the end of a list is damaged");
        return;
    }
    if (joined)
        Mend(broken != 0 ? broken : head.This, QZDatabaseInfo::TABLE_HD, "a link of a list is damaged");
    else
        Lose(broken, QZDatabaseInfo::UNKNOWN, "no record where a list goes on");
    if (role == Role::Fields && !joined)
    {
        // A field is known by its number, so a gap keeps its place, and what follows an unknown number of
        // fields is left out.
        if (Missing(back, broken, prevEnd) != 1)
        {
            if (!back.empty()) Lose(head.This, QZDatabaseInfo::TABLE_HD, "fields after a gap are left out");
            return;
        }
        QZDbRecordImage gap;
        gap.This = broken;
        gap.Kind = QZDatabaseInfo::DATA_CD;
        m_visitor->Cd(list, gap, false);
    }
    for (std::size_t i = back.size(); i > 0 && !m_stopped; --i) Emit(list, back[i - 1], role);
}

/// How many fields are missing between the break and those found from the end: 1, or -1 for unknown.
int QZDbMendWalk::Missing(const std::vector<QZDbRecordImage>& back, QZInt64 broken, QZInt64 prevEnd) const
{
    if (back.empty() || !m_source.IsPlace(broken) || broken == prevEnd || m_met.Has(broken)) return -1;
    const QZInt64 end = back.back().Prev;
    if (end <= broken || end - broken > kFieldSpan) return -1;
    // A record between the two would be another field.
    QZDbRecordImage record;
    for (QZInt64 place = broken + layout::kAlignment; place < end; place += layout::kAlignment)
    {
        if (m_source.ReadRecord(place, &record) && record.End <= end) return -1;
    }
    return 1;
}

// ---- Records

void QZDbMendWalk::Emit(QZDbListPlace& list, const QZDbRecordImage& record, Role role)
{
    if (!Count(record.This)) return;
    if (!record.Whole) Mend(record.This, record.Kind, "the frame of a record is damaged");
    if (IsMending() && role == Role::BackReferences && record.Kind != QZDatabaseInfo::DATA_AD)
    {
        Lose(record.This, record.Kind, "no reference where references are listed");
        return;
    }
    if (IsMending() && role == Role::Fields && record.Kind != QZDatabaseInfo::DATA_CD)
    {
        Lose(record.This, record.Kind, "no field where fields are listed");
        m_visitor->Cd(list, record, false);
        return;
    }
    switch (record.Kind)
    {
        case QZDatabaseInfo::DATA_LD: EmitLd(list, record); break;
        case QZDatabaseInfo::DATA_AD: EmitAd(list, record, role); break;
        case QZDatabaseInfo::DATA_RD: m_visitor->Rd(list, record); break;
        default: EmitContent(list, record, role); break;
    }
}

/// The HD of a list of an LD, 0 when it cannot be read.
QZInt64 QZDbMendWalk::ListOfLd(const QZDbRecordImage& ld, QZInt64 n)
{
    const QZInt64 named = m_source.Own(ld, n);
    QZDbHeadImage head;
    const bool readable = m_source.ReadHead(named, &head);
    if (!IsMending())
    {
        if (readable || named == 0) return named;
        Lose(ld.This, ld.Kind, "a list of its fields or references cannot be read");
        return 0;
    }
    if (readable && head.Owner == ld.This && m_met.Enter(named)) return named;
    // The four HDs of a new LD are appended right after it; with the log on, two log records stand between.
    const QZInt64 a = m_source.AddressLength();
    QZInt64 last = layout::HdEndFromData(ld.End, a);
    for (const QZInt64 records : {0, 2})
    {
        for (QZInt64 i = 0; i < records; ++i)
            last = layout::HdEndFromData(layout::RdEnd(layout::NewRecord(last), a), a);
        QZInt64 place = layout::NewRecord(last);
        for (QZInt64 i = 0; i < n; ++i) place = layout::NewRecord(layout::HdEmptyEnd(place, a));
        QZDbHeadImage there;
        if (!Head(place, &there)) continue;
        if (there.Owner != ld.This && there.Owner != 0 && place != named) continue;
        if (!m_met.Enter(place)) continue;
        Mend(ld.This, ld.Kind, "the reference to a list of its fields or references is damaged");
        return place;
    }
    Lose(ld.This, ld.Kind,
         n == layout::kLdFields ? "the list of its fields cannot be read"
                                : "a list of its references cannot be read");
    return 0;
}

void QZDbMendWalk::EmitLd(QZDbListPlace& list, const QZDbRecordImage& record)
{
    QZDbLdLists lists;
    for (QZInt64 i = 0; i < layout::kLdLists; ++i) lists.Heads[i] = ListOfLd(record, i);
    m_visitor->Ld(list, record, lists);
    for (QZInt64 i = 0; i < layout::kLdLists; ++i)
    {
        const QZInt64 hd = lists.Heads[i];
        if (hd == 0 || (!IsMending() && !m_met.Enter(hd))) continue;
        RunList(hd, record.This, i == layout::kLdFields ? Role::Fields : Role::BackReferences);
    }
}

bool QZDbMendWalk::IsLd(QZInt64 address) const
{
    QZDbRecordImage ld;
    return m_source.ReadRecord(address, &ld) && ld.Kind == QZDatabaseInfo::DATA_LD;
}

void QZDbMendWalk::EmitAd(QZDbListPlace& list, const QZDbRecordImage& record, Role role)
{
    const QZInt64 target = m_source.Own(record, layout::kAdFree);
    QZDbRecordImage other;
    if (role == Role::BackReferences)
    {
        const bool named =
            m_source.ReadRecord(target, &other) && (!IsMending() || other.Kind == QZDatabaseInfo::DATA_CD);
        if (IsMending() && named)
        {
            const auto orphan = m_orphans->find(target);
            QZDbHeadImage head;
            if (orphan != m_orphans->end() && m_source.ReadHead(list.Source, &head))
                orphan->second = head.Owner;
        }
        if (IsMending() && !named) Lose(record.This, record.Kind, "a reference to a node leads nowhere");
        if (named || !IsMending()) m_visitor->Ad(list, record, target, true);
        return;
    }
    QZDbHeadImage head;
    const bool isHead = m_source.ReadHead(target, &head);
    const bool isRecord = !isHead && m_source.ReadRecord(target, &other);
    if (IsMending() && !isHead && !isRecord)
    {
        Lose(record.This, record.Kind, "a reference leads nowhere");
        return;
    }
    if (isHead && !Claim(target, record.This)) return;
    if (isRecord && !m_met.Has(target)) m_loose.push_back(target);
    m_visitor->Ad(list, record, target, false);
}

/// Takes up a list that a record refers to. False when it is another record's.
bool QZDbMendWalk::Claim(QZInt64 hd, QZInt64 owner)
{
    if (m_met.Enter(hd))
    {
        m_pending.push_back({hd, owner});
        return true;
    }
    if (!IsMending()) return true;
    Lose(owner, QZDatabaseInfo::UNKNOWN, "refers to a list that another record refers to");
    return false;
}

void QZDbMendWalk::EmitContent(QZDbListPlace& list, const QZDbRecordImage& record, Role role)
{
    if (role == Role::Fields)
    {
        m_visitor->Cd(list, record, true);
        return;
    }
    if (IsLd(m_source.Own(record, layout::kPdLd)))
    {
        EmitPd(list, record);
        return;
    }
    // A node whose LD is missing is told from a CD by its frame: the content begins later in it.
    constexpr QZInt64 kPdContent = layout::kPdHd + 1;
    QZDbContentPlace place;
    const bool cd = m_source.Frames(record, 0) ||
                    (!m_source.Frames(record, kPdContent) && m_source.FindContent(record, 0, &place));
    if (cd)
        m_visitor->Cd(list, record, true);
    else if (m_source.Frames(record, kPdContent) || m_source.FindContent(record, kPdContent, &place))
        EmitPd(list, record);
    else
        Lose(record.This, QZDatabaseInfo::DATA_UNKNOWN, "a record of no kind");
}

/// The child list of a node, 0 for none.
QZInt64 QZDbMendWalk::ChildOf(const QZDbRecordImage& pd)
{
    const QZInt64 child = m_source.Own(pd, layout::kPdHd);
    if (child == 0) return 0;
    if (child == kRemovedList) return IsMending() ? 0 : child;
    QZDbHeadImage head;
    if (!Head(child, &head))
    {
        Lose(pd.This, QZDatabaseInfo::DATA_PD, "the list below the node cannot be read");
        return 0;
    }
    QZDbRecordImage owner;
    if (IsMending() && head.Owner != pd.This && m_source.ReadRecord(head.Owner, &owner))
    {
        // The record that the list names as its owner refers to it: the reference of this one is damaged.
        if (m_source.Own(owner, layout::kPdHd) == child || m_source.Own(owner, layout::kAdFree) == child)
        {
            Lose(pd.This, QZDatabaseInfo::DATA_PD, "the list below the node is another node's");
            return 0;
        }
    }
    return Claim(child, pd.This) ? child : 0;
}

void QZDbMendWalk::EmitPd(QZDbListPlace& list, const QZDbRecordImage& record)
{
    QZDbRecordImage pd = record;
    pd.Kind = QZDatabaseInfo::DATA_PD;
    QZInt64 ld = m_source.Own(pd, layout::kPdLd);
    const QZInt64 child = ChildOf(pd);
    bool lost = false;
    // Without an LD the engine reads a PD as a CD; so a repair does not keep one as it is.
    if ((ld != 0 || IsMending()) && !IsLd(ld))
    {
        lost = true;
        ld = 0;
        if (!IsMending())
        {
            Lose(pd.This, pd.Kind, "the fields of the node cannot be read");
        }
        else
        {
            QZInt64& found = (*m_orphans)[pd.This];
            ld = found;
        }
    }
    if (ld != 0 && !m_met.Has(ld)) m_loose.push_back(ld);
    m_visitor->Pd(list, pd, ld, child, lost);
}
