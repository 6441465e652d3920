#include "db/internal/db_mend_copy.h"

#include <string>

#include "db/db_report.h"
#include "db/db_semantic_type.h"
#include "fw/fw_data_type.h"

namespace
{
/// The own field of a record in which its slot begins.
constexpr QZInt64 kCdContent = 0;
constexpr QZInt64 kPdContent = layout::kPdHd + 1;

void AppendInt32(std::vector<char>* bytes, QZInt64 value)
{
    for (int i = 0; i < 4; ++i) bytes->push_back(static_cast<char>(value >> (8 * i) & 0xFF));
}

/// The content of a record; none when it cannot be read.
void ReadContent(const QZDbSource& source, QZDbMendWalk* walk, const QZDbRecordImage& record, QZInt64 slot,
                 std::vector<char>* bytes)
{
    bytes->clear();
    QZDbContentPlace place;
    if (!source.FindContent(record, slot, &place))
    {
        if (walk != nullptr) walk->Lose(record.This, record.Kind, "its content cannot be read");
        return;
    }
    if (!place.Whole && walk != nullptr)
        walk->Mend(record.This, record.Kind, "the frame of its content is damaged");
    source.ReadContent(place, bytes);
}

/// What both walks of a copy have in common.
class CopyVisitor : public QZDbMendVisitor
{
public:
    CopyVisitor(const QZDbSource& source, QZDbTarget* target, QZDbAddressMap* map, QZDbMendProgress* progress,
                bool mending, bool first)
        : m_source(source),
          m_target(target),
          m_map(map),
          m_progress(progress),
          m_mending(mending),
          m_first(first)
    {}

    void SetWalk(QZDbMendWalk* walk) { m_walk = walk; }
    bool Step(QZInt64 highest) override { return m_progress->Step(highest); }

protected:
    /// The list of all LDs in the new file.
    QZInt64 LdRoot() const { return m_target->GetTrees().Roots[QZDatabaseInfo::TREELSN - 1]; }

    const QZDbSource& m_source;
    QZDbTarget* m_target;
    QZDbAddressMap* m_map;
    QZDbMendProgress* m_progress;
    QZDbMendWalk* m_walk = nullptr;
    std::vector<char> m_bytes;
    bool m_mending;
    bool m_first;
};

/// Appends the records that the new file does not have yet. In the first state they go into their lists at
/// once; later they must not touch a list that an earlier state holds.
class CreateVisitor : public CopyVisitor
{
public:
    using CopyVisitor::CopyVisitor;

    void ListBegins(QZDbListPlace& list, const QZDbHeadImage& head, QZInt64 owner) override
    {
        QZInt64 hd = m_map->Get(head.This);
        if (hd == 0)
        {
            hd = m_target->NewHead(m_map->Get(owner));
            m_map->Set(head.This, hd);
        }
        list.Target = m_first ? hd : 0;
    }

    void LooseBegins(QZDbListPlace& list, const QZDbRecordImage& record) override
    {
        if (m_map->Get(record.This) != 0) return;
        // The list of all LDs may be where the damaged file lost it.
        const bool listed = m_mending && record.Kind == QZDatabaseInfo::DATA_LD;
        list.Target = listed ? LdRoot() : m_target->NewHead(0);
    }

    void Ld(QZDbListPlace& list, const QZDbRecordImage& record, const QZDbLdLists& lists) override
    {
        if (m_map->Get(record.This) != 0) return;
        QZDbLdLists made;
        m_map->Set(record.This, m_target->NewLd(list.Target, &made));
        for (QZInt64 i = 0; i < layout::kLdLists; ++i)
        {
            if (lists.Heads[i] != 0 && m_map->Get(lists.Heads[i]) == 0)
                m_map->Set(lists.Heads[i], made.Heads[i]);
        }
    }

    void Pd(QZDbListPlace& list, const QZDbRecordImage& record, QZInt64, QZInt64, bool) override
    {
        if (m_map->Get(record.This) != 0) return;
        ReadContent(m_source, m_walk, record, kPdContent, &m_bytes);
        m_map->Set(record.This, m_target->NewPd(list.Target, m_bytes));
    }

    void Cd(QZDbListPlace& list, const QZDbRecordImage& record, bool readable) override
    {
        if (m_map->Get(record.This) != 0) return;
        m_bytes.clear();
        if (readable) ReadContent(m_source, m_walk, record, kCdContent, &m_bytes);
        m_map->Set(record.This, m_target->NewCd(list.Target, m_bytes));
    }

    void Ad(QZDbListPlace& list, const QZDbRecordImage& record, QZInt64, bool) override
    {
        if (m_map->Get(record.This) == 0) m_map->Set(record.This, m_target->NewAd(list.Target));
    }

    void Rd(QZDbListPlace& list, const QZDbRecordImage& record) override
    {
        if (m_map->Get(record.This) == 0) m_map->Set(record.This, m_target->NewRd(list.Target));
    }

    void ListEnds(QZDbListPlace&) override {}
};

/// Sets the links of all lists and the references of all records.
class LinkVisitor : public CopyVisitor
{
public:
    using CopyVisitor::CopyVisitor;

    QZInt64 Records() const { return m_records; }

    void ListBegins(QZDbListPlace& list, const QZDbHeadImage& head, QZInt64 owner) override
    {
        ++m_records;
        list.Target = m_map->Get(head.This);
        list.PrevEnd = list.Target;
        const QZInt64 named = m_mending ? 0 : m_map->Get(head.Owner);
        const QZInt64 mapped = named != 0 ? named : m_map->Get(owner);
        m_target->Put(layout::HdPrev(list.Target), head.Owner == 0 && !m_mending ? 0 : mapped);
    }

    void LooseBegins(QZDbListPlace& list, const QZDbRecordImage& record) override
    {
        if (!m_mending || record.Kind != QZDatabaseInfo::DATA_LD)
        {
            ++m_records;
            return;
        }
        const QZInt64 a = m_target->AddressLength();
        list.Target = LdRoot();
        list.PrevEnd = list.Target;
        list.Last = m_target->Get(layout::HdFirst(list.Target, a));
        if (list.Last != 0) list.PrevEnd = layout::HdLastEnd(m_target->Get(layout::HdEnd(list.Target, a)), a);
    }

    void Ld(QZDbListPlace& list, const QZDbRecordImage& record, const QZDbLdLists& lists) override
    {
        const QZInt64 ld = Take(list, record);
        if (ld == 0) return;
        for (QZInt64 i = 0; i < layout::kLdLists; ++i)
        {
            const QZInt64 hd = m_map->Get(lists.Heads[i]);
            if (hd != 0 || !m_mending) PutOwn(ld, i, hd);
        }
    }

    void Pd(QZDbListPlace& list, const QZDbRecordImage& record, QZInt64 ld, QZInt64 child, bool lost) override
    {
        QZInt64 fields = m_map->Get(ld);
        if (lost && m_mending && fields != 0)
            m_walk->Mend(record.This, record.Kind, "the reference to its fields is damaged");
        if (lost && m_mending && fields == 0)
        {
            QZDbHeadImage head;
            if (!m_walk->Head(child, &head) || head.First == 0)
            {
                m_walk->Lose(record.This, record.Kind, "the fields of the node cannot be read");
                return;
            }
            m_walk->Lose(record.This, record.Kind,
                         "the fields of the node cannot be read; it is a text list \"lost\" now");
            fields = LostNode(record.This);
        }
        const QZInt64 pd = Take(list, record);
        if (pd == 0) return;
        PutOwn(pd, layout::kPdLd, fields);
        // TABLE_HD says that the list was removed; it is no address.
        PutOwn(pd, layout::kPdHd, child == QZDatabaseInfo::TABLE_HD ? child : m_map->Get(child));
        PutContent(record, kPdContent, pd, pd);
    }

    void Cd(QZDbListPlace& list, const QZDbRecordImage& record, bool readable) override
    {
        const QZInt64 cd = Take(list, record);
        const QZInt64 slot = layout::CdSlot(cd, m_target->AddressLength());
        if (cd != 0 && readable) PutContent(record, kCdContent, cd, slot);
    }

    void Ad(QZDbListPlace& list, const QZDbRecordImage& record, QZInt64 target, bool back) override
    {
        // A back reference to a node that was removed has nothing to refer to.
        const QZInt64 mapped = m_map->Get(target);
        if (back && mapped == 0) return;
        const QZInt64 ad = Take(list, record);
        if (ad != 0) PutOwn(ad, layout::kAdFree, mapped != 0 ? mapped : target);
    }

    void Rd(QZDbListPlace& list, const QZDbRecordImage& record) override
    {
        const QZInt64 rd = Take(list, record);
        if (rd == 0) return;
        for (const QZInt64 n : {layout::kRdPosition, layout::kRdOld, layout::kRdNew})
        {
            const QZInt64 value = m_source.Own(record, n);
            const QZInt64 mapped = m_map->Get(value);
            PutOwn(rd, n, mapped != 0 ? mapped : value);
        }
    }

    void ListEnds(QZDbListPlace& list) override
    {
        if (list.Target == 0) return;
        const QZInt64 a = m_target->AddressLength();
        if (list.Last == 0)
        {
            m_target->Put(layout::HdFirst(list.Target, a), 0);
            m_target->Put(layout::HdEnd(list.Target, a), layout::HdEmptyEnd(list.Target, a));
            return;
        }
        m_target->Put(layout::DataNextFromEnd(list.PrevEnd, a), 0);
        m_target->Put(layout::HdEnd(list.Target, a), layout::HdEndFromData(list.PrevEnd, a));
    }

private:
    void PutOwn(QZInt64 record, QZInt64 n, QZInt64 value)
    {
        m_target->Put(layout::DataOwn(record, n, m_target->AddressLength()), value);
    }

    /// The new record, linked as the next one of its list; 0 when there is none.
    QZInt64 Take(QZDbListPlace& list, const QZDbRecordImage& record)
    {
        const QZInt64 a = m_target->AddressLength();
        const QZInt64 taken = m_map->Get(record.This);
        if (taken == 0 || list.Target == 0) return taken;
        ++m_records;
        const QZInt64 end = m_target->EndOf(taken);
        m_target->Put(layout::DataPrev(taken), list.PrevEnd);
        m_target->Put(
            list.Last != 0 ? layout::DataNextFromEnd(list.PrevEnd, a) : layout::HdFirst(list.Target, a),
            taken);
        m_target->Put(layout::DataHeadFromEnd(end, a), list.Target);
        list.PrevEnd = end;
        list.Last = taken;
        return taken;
    }

    /// A record of an earlier state may have another content now.
    void PutContent(const QZDbRecordImage& record, QZInt64 n, QZInt64 copy, QZInt64 owner)
    {
        if (m_first) return;
        ReadContent(m_source, nullptr, record, n, &m_bytes);
        m_target->PutContent(layout::DataOwn(copy, n, m_target->AddressLength()), owner, m_bytes);
    }

    /// The LD of a text list without items, for a node whose own cannot be read.
    QZInt64 LostNode(QZInt64 address)
    {
        constexpr QZInt64 text = QZDataType::TEXTUTF16LE;
        constexpr QZInt64 array = QZDataType::ARRAYINT32;
        std::vector<char> format;
        for (const QZInt64 value :
             {QZInt64{7}, QZInt64{LDTYPE::TLDTYPE}, QZInt64{5}, text, text, array, array, array})
            AppendInt32(&format, value);
        std::vector<char> name;
        for (const char c : "lost " + std::to_string(address))
        {
            name.push_back(c);
            name.push_back(0);
        }
        QZDbLdLists lists;
        const QZInt64 ld = m_target->NewLd(LdRoot(), &lists);
        const QZInt64 fields = lists.Heads[layout::kLdFields];
        const std::vector<char> nothing;
        m_target->NewCd(fields, nothing);
        m_target->NewCd(fields, format);
        m_target->NewCd(fields, nothing);
        m_target->NewCd(fields, name);
        return ld;
    }

    QZInt64 m_records = 0;
};

/// Counts.
class SurveyVisitor : public QZDbMendVisitor
{
public:
    explicit SurveyVisitor(QZDbMendProgress* progress) : m_progress(progress) {}

    void SetWalk(const QZDbSource* source, QZDbMendWalk* walk)
    {
        m_source = source;
        m_walk = walk;
    }
    QZInt64 Records() const { return m_records; }

    void ListBegins(QZDbListPlace&, const QZDbHeadImage&, QZInt64) override { ++m_records; }
    void LooseBegins(QZDbListPlace&, const QZDbRecordImage&) override {}
    void Ld(QZDbListPlace&, const QZDbRecordImage&, const QZDbLdLists&) override { ++m_records; }
    void Pd(QZDbListPlace&, const QZDbRecordImage& record, QZInt64, QZInt64, bool) override
    {
        Content(record, kPdContent);
    }
    void Cd(QZDbListPlace&, const QZDbRecordImage& record, bool) override { Content(record, kCdContent); }
    void Ad(QZDbListPlace&, const QZDbRecordImage&, QZInt64, bool) override { ++m_records; }
    void Rd(QZDbListPlace&, const QZDbRecordImage&) override { ++m_records; }
    void ListEnds(QZDbListPlace&) override {}
    bool Step(QZInt64 highest) override { return m_progress->Step(highest); }

private:
    void Content(const QZDbRecordImage& record, QZInt64 slot)
    {
        ++m_records;
        QZDbContentPlace place;
        if (!m_source->FindContent(record, slot, &place) || !place.Whole)
            m_walk->Lose(record.This, record.Kind, "its content cannot be read");
    }

    QZDbMendProgress* m_progress;
    const QZDbSource* m_source = nullptr;
    QZDbMendWalk* m_walk = nullptr;
    QZInt64 m_records = 0;
};
}  // namespace

bool QZDbMendProgress::Step(QZInt64 done) const
{
    const QZInt64 inPart = done < PartSize ? done : PartSize;
    return Report == nullptr || Report->Progress(Part * PartSize + inPart, Parts * PartSize) != 0;
}

QZDbStateCopy::QZDbStateCopy(QZDbTarget* target, QZInt64 sourceSize, QZDbMendWalk::Mode mode,
                             QZDbReport* report, QZDbMendProgress* progress)
    : m_target(target), m_mode(mode), m_report(report), m_progress(progress), m_map(sourceSize)
{}

bool QZDbStateCopy::Copy(const QZDbSource& source)
{
    const bool mending = m_mode == QZDbMendWalk::Mode::Mending;
    CreateVisitor creator(source, m_target, &m_map, m_progress, mending, m_first);
    QZDbMendWalk creating(source, m_mode, &creator, &m_orphans, m_report);
    creator.SetWalk(&creating);
    const QZDbMendWalk::Trees from = creating.FindTrees();
    const QZDbMendWalk::Trees to = m_target->GetTrees();
    m_map.Set(layout::kMainHd, layout::kMainHd);
    for (int i = 0; i < layout::kTrees; ++i)
    {
        m_map.Set(from.Ads[i], to.Ads[i]);
        m_map.Set(from.Roots[i], to.Roots[i]);
    }
    m_target->SetLogging(false);
    if (!creating.Run()) return false;
    ++m_progress->Part;

    // The same faults are met again. Only what the second walk decides is told.
    LinkVisitor linker(source, m_target, &m_map, m_progress, mending, m_first);
    QZDbMendWalk linking(source, m_mode, &linker, &m_orphans, nullptr);
    linker.SetWalk(mending ? &creating : &linking);
    // When the list of all LDs is lost, the second walk makes it anew, too.
    if (from.Roots[QZDatabaseInfo::TREELSN - 1] == 0)
        m_target->ClearList(to.Roots[QZDatabaseInfo::TREELSN - 1]);
    m_target->SetLogging(!m_first);
    const bool ended = linking.Run();
    m_target->SetLogging(false);
    ++m_progress->Part;
    m_faults += creating.Faults();
    m_records = linker.Records();
    m_first = false;
    return ended;
}

void QZDbStateCopy::CopyFields(const QZDbSource& source, QZInt64 from, QZInt64 to)
{
    QZDbRecordImage ld;
    QZDbHeadImage head;
    if (!source.ReadRecord(from, &ld) || ld.Kind != QZDatabaseInfo::DATA_LD) return;
    if (!source.ReadHead(source.Own(ld, layout::kLdFields), &head)) return;
    const QZInt64 fields = m_target->Get(layout::DataOwn(to, layout::kLdFields, m_target->AddressLength()));
    QZDbMet met(source.Size());
    std::vector<char> bytes;
    QZDbRecordImage field;
    for (QZInt64 place = head.First; source.ReadRecord(place, &field) && met.Enter(place); place = field.Next)
    {
        ReadContent(source, nullptr, field, kCdContent, &bytes);
        m_target->NewCd(fields, bytes);
    }
}

QZInt64 QZDbSurvey(const QZDbSource& source, QZDbMendProgress* progress)
{
    SurveyVisitor visitor(progress);
    QZDbMendWalk::Orphans orphans;
    QZDbMendWalk walk(source, QZDbMendWalk::Mode::Strict, &visitor, &orphans, nullptr);
    visitor.SetWalk(&source, &walk);
    const bool ended = walk.Run();
    return ended && walk.Faults() == 0 ? visitor.Records() : -1;
}
