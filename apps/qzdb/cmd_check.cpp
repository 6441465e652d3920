#include <initializer_list>
#include <unordered_set>

#include "check.h"
#include "scan.h"
#include "text.h"

namespace qzdb
{

namespace
{

/// For how many fields of one LD that the engine misreads the content is checked. Each costs a walk along the
/// list.
constexpr QZInt64 kMostMisread = 1000;

/// Follows everything that can be reached from the main HD, and checks each record on the way.
///
/// A record passes when the engine's structure check finds nothing, and its links agree with the list that
/// holds it. Records that cannot be reached are counted and are no faults: deleted records, and those of
/// other states in the log.
class Checker
{
public:
    Checker(Database& database, std::FILE* out) : m_database(database), m_out(out) {}

    void Run()
    {
        CheckHeader();
        const Scan scan = ScanRecords(m_database);
        CheckExtent(scan);
        m_heads.push_back({QZDatabaseInfo::MAIN_HD_ADDR_V5, 0});
        while (!m_heads.empty())
        {
            const Head head = m_heads.back();
            m_heads.pop_back();
            CheckList(head);
        }
        CheckTrees();
        m_records = scan.Total();
        m_gaps = scan.gaps.size();
    }

    QZInt64 Faults() const { return m_faults; }
    QZInt64 Reached() const { return static_cast<QZInt64>(m_seen.size()); }
    QZInt64 Records() const { return m_records; }
    std::size_t Gaps() const { return m_gaps; }

    void Fault(QZInt64 address, const char* kind, const std::string& text)
    {
        ++m_faults;
        std::fprintf(m_out, "%lld: %s%s%s\n", address, kind, *kind ? ": " : "", text.c_str());
    }

private:
    struct Head
    {
        QZInt64 address;
        /// The record that refers to it, 0 for the main HD.
        QZInt64 from;
    };

    void CheckHeader()
    {
        const Header& header = m_database.GetHeader();
        const int fileMode = header.addressMode == QZDatabaseInfo::ADDR_MODE_64 ? 3 : 2;
        if (header.fileMode != fileMode)
            Fault(QZDatabaseInfo::FILEMODE_POSITION, "",
                  "file mode " + std::to_string(header.fileMode) + " does not go with address mode " +
                      std::to_string(header.addressMode));
        if (!header.reservedClean) Fault(3, "", "reserved bytes of the header are not zero");
        if (m_database.OpenError() != 0) Fault(0, "", CodeName(m_database.OpenError()) + " found at opening");
    }

    void CheckExtent(const Scan& scan)
    {
        const Header& header = m_database.GetHeader();
        if (header.length >= header.fileSize)
            Fault(QZDatabaseInfo::DBL_POSITION_V5, "",
                  "the last byte in use is " + std::to_string(header.length) + ", the file has " +
                      std::to_string(header.fileSize) + " bytes");
        else if (scan.end != header.length && scan.gaps.empty())
            Fault(QZDatabaseInfo::DBL_POSITION_V5, "",
                  "the length field says " + std::to_string(header.length) + ", the last record ends at " +
                      std::to_string(scan.end));
        // A gap is no fault by itself. A record that refers into a gap is reported later.
        for (const QZInt64 gap : scan.gaps) std::fprintf(m_out, "%lld: note: no record here\n", gap);
    }

    void CheckTrees()
    {
        for (QZInt64 tree = 1; tree <= QZDatabaseInfo::TREEBSN; ++tree)
        {
            if (m_trees < tree)
                Fault(QZDatabaseInfo::MAIN_HD_ADDR_V5, "HD", "tree " + std::to_string(tree) + " is missing");
        }
    }

    void CheckList(const Head& head)
    {
        const char* const what = "HD";
        if (m_database.Kind(head.address) != QZDatabaseInfo::TABLE_HD)
        {
            Fault(head.address, what, "no HD here, which " + std::to_string(head.from) + " refers to");
            return;
        }
        if (!m_seen.insert(head.address).second)
        {
            Fault(head.address, what, "referred to twice, the second time by " + std::to_string(head.from));
            return;
        }
        CheckCode(head.address, what);
        const QZInt64 width = m_database.GetHeader().addressLength;
        QZInt64 previous = head.address;
        QZInt64 frameEnd = head.address + 4 * width + 1;
        QZInt64 record = m_database.Field(head.address, QZDatabaseInfo::HD_FIRSTDATA);
        while (record != 0)
        {
            const QZInt64 kind = m_database.Kind(record);
            if (kind <= QZDatabaseInfo::DATA_UNKNOWN)
            {
                Fault(record, "?",
                      "no record here, where the list of " + std::to_string(head.address) + " goes on");
                return;
            }
            if (!m_seen.insert(record).second)
            {
                Fault(record, KindName(kind),
                      "stands in two places, the second in the list of " + std::to_string(head.address));
                return;
            }
            CheckLinks(record, kind, head.address, previous);
            // The engine takes a CD whose content begins with the mark of a record for a PD; in a list of
            // fields it is a CD, and the check of its LD has checked its content.
            if (kind != QZDatabaseInfo::DATA_PD || m_fieldLists.count(head.address) == 0)
                CheckRecord(record, kind, head.address);
            previous = m_database.Field(record, QZDatabaseInfo::DATA_END);
            frameEnd = previous + 2 * width;
            record = m_database.Field(record, QZDatabaseInfo::DATA_NEXT);
        }
        if (m_database.Field(head.address, QZDatabaseInfo::HD_END) != frameEnd)
            Fault(head.address, what, "does not end where its last record ends");
    }

    /// The links of a record to its list and its neighbour.
    void CheckLinks(QZInt64 record, QZInt64 kind, QZInt64 head, QZInt64 previous)
    {
        if (m_database.Field(record, QZDatabaseInfo::DATA_THIS) != record)
            Fault(record, KindName(kind), "does not know its own address");
        if (m_database.Field(record, QZDatabaseInfo::DATA_PREV) != previous)
            Fault(record, KindName(kind), "previous link does not name the neighbour");
        if (m_database.Field(record, QZDatabaseInfo::DATA_HDA) != head)
            Fault(record, KindName(kind), "does not name the HD that holds it");
    }

    void CheckRecord(QZInt64 record, QZInt64 kind, QZInt64 head)
    {
        switch (kind)
        {
            case QZDatabaseInfo::DATA_AD: CheckAddress(record, head); break;
            case QZDatabaseInfo::DATA_LD: CheckLd(record); break;
            case QZDatabaseInfo::DATA_PD: CheckPd(record); break;
            case QZDatabaseInfo::DATA_RD: CheckChange(record); break;
            default:
                CheckCode(record, KindName(kind));
                CheckContent(record, "CD", QZDatabaseInfo::CD_DATA, record);
                break;
        }
    }

    /// Checks where the content of a record is. Content that was replaced is in a separate CD, in a separate
    /// list, and only the record's pointer leads there. `slot` is the record that has the pointer.
    void CheckContent(QZInt64 record, const char* kind, QZInt64 field, QZInt64 slot)
    {
        const QZInt64 width = m_database.GetHeader().addressLength;
        try
        {
            std::string bytes(static_cast<std::size_t>(m_database.ContentLength(record, field)) + 1, '\0');
            const QZInt64 last = m_database.Channel()->G_C(record, field, bytes.data());
            const QZInt64 size = static_cast<QZInt64>(bytes.size()) - 1;
            const QZInt64 own = slot + (field == QZDatabaseInfo::PD_DATA ? 7 : 5) * width + 1;
            // The pointer may have any value in a damaged file.
            if (last < 0 || last > m_database.MostBytes())
            {
                Fault(record, kind, "content outside any CD");
                return;
            }
            const QZInt64 start = last + 1 - size;
            if (start == own) return;
            const QZInt64 holder = start - 5 * width - 1;
            if (m_database.Kind(holder) != QZDatabaseInfo::DATA_CD)
                Fault(record, kind, "content outside any CD");
            else
                m_heads.push_back({m_database.Field(holder, QZDatabaseInfo::DATA_HDA), record});
        }
        catch (const Failure&)
        {
            Fault(record, kind, "content of an impossible length");
        }
    }

    /// The engine's own structure check.
    void CheckCode(QZInt64 record, const char* kind)
    {
        const QZInt64 code = m_database.Channel()->CK(QZDatabaseInfo::ADDRESS_MARK_THIS, record);
        if (code != QZDatabaseInfo::NORMAL) Fault(record, kind, CodeName(code));
    }

    /// An AD leads to a list that nothing else leads to. The exception is an AD in the back references of an
    /// LD: it names a PD that is in another list.
    void CheckAddress(QZInt64 record, QZInt64 head)
    {
        CheckCode(record, "AD");
        const QZInt64 target = m_database.Field(record, QZDatabaseInfo::AD_FREE);
        if (m_backReferences.count(head) != 0)
        {
            if (m_database.Kind(target) != QZDatabaseInfo::DATA_PD)
                Fault(record, "AD", "names no PD in the back references of an LD");
            return;
        }
        if (head == QZDatabaseInfo::MAIN_HD_ADDR_V5)
        {
            ++m_trees;
            if (m_trees == QZDatabaseInfo::TREEBSN) m_logRoot = target;
        }
        // The third AD of the log's root names the current write position, which the log leads to as well.
        if (head == m_logRoot && m_logRoot != 0 && ++m_logPlaces == 3)
        {
            if (m_database.Kind(target) != QZDatabaseInfo::TABLE_HD)
                Fault(record, "AD", "names no write position");
            return;
        }
        m_heads.push_back({target, record});
    }

    void CheckPd(QZInt64 record)
    {
        const QZInt64 hd = m_database.Field(record, QZDatabaseInfo::PD_HD_A);
        const QZInt64 code = m_database.Channel()->CK(QZDatabaseInfo::ADDRESS_MARK_THIS, record);
        // A PD whose children were removed shows the code of an HD as its child.
        const bool removed = hd == QZDatabaseInfo::TABLE_HD && code == QZDatabaseInfo::PD_HD_ERROR;
        if (code != QZDatabaseInfo::NORMAL && !removed) Fault(record, "PD", CodeName(code));
        if (hd != 0 && !removed) m_heads.push_back({hd, record});
        CheckContent(record, "PD", QZDatabaseInfo::PD_DATA, record);
    }

    void CheckLd(QZInt64 record)
    {
        bool ends = true;
        for (const QZInt64 selector :
             {QZDatabaseInfo::LD_TREE_A, QZDatabaseInfo::LD_TREE_R, QZDatabaseInfo::LD_TREE_S})
        {
            const QZInt64 hd = m_database.Field(record, selector);
            m_heads.push_back({hd, record});
            m_backReferences.insert(hd);
            ends = WalkKinds(hd, [](QZInt64, QZInt64, QZInt64) {}) && ends;
        }
        const QZInt64 lds = m_database.Field(record, QZDatabaseInfo::LD_LDS);
        m_heads.push_back({lds, record});
        m_fieldLists.insert(lds);
        bool misread = false;
        ends = WalkKinds(lds,
                         [&](QZInt64 n, QZInt64 cd, QZInt64 kind) {
                             if (kind != QZDatabaseInfo::DATA_PD) return;
                             misread = true;
                             if (n <= kMostMisread) CheckContent(record, "LD", n, cd);
                         }) &&
               ends;
        // The engine's check of an LD does not return when a list has no end, so it runs only on lists that
        // have one.
        if (!ends)
        {
            Fault(record, "LD", "a list of its fields or references does not end");
            return;
        }
        const QZInt64 code = m_database.Channel()->CK(QZDatabaseInfo::ADDRESS_MARK_THIS, record);
        if (code != QZDatabaseInfo::NORMAL && !(code == QZDatabaseInfo::LDS_ERROR && misread))
            Fault(record, "LD", CodeName(code));
    }

    /// Calls visit(n, record, kind) along a list; false when it does not end.
    template <typename Visit>
    bool WalkKinds(QZInt64 hd, Visit visit)
    {
        // The engine's check reports where nothing is. Another record it would take for a list.
        const QZInt64 listKind = m_database.Kind(hd);
        if (listKind != QZDatabaseInfo::TABLE_HD) return listKind == QZDatabaseInfo::UNKNOWN;
        std::unordered_set<QZInt64> seen;
        QZInt64 record = m_database.Field(hd, QZDatabaseInfo::HD_FIRSTDATA);
        while (record != 0)
        {
            const QZInt64 kind = m_database.Kind(record);
            if (kind <= QZDatabaseInfo::DATA_UNKNOWN || !seen.insert(record).second) return false;
            visit(static_cast<QZInt64>(seen.size()), record, kind);
            record = m_database.Field(record, QZDatabaseInfo::DATA_NEXT);
        }
        return true;
    }

    /// An RD is a change in the log, or a snapshot mark with a list of its own.
    void CheckChange(QZInt64 record)
    {
        const QZInt64 position = m_database.Field(record, QZDatabaseInfo::RD_P);
        if (position < 0 || position > m_database.GetHeader().length)
            Fault(record, "RD", "names a position behind the last byte in use");
        const QZInt64 fields = m_database.Field(record, QZDatabaseInfo::RD_N);
        const QZInt64 hd = m_database.Field(record, QZDatabaseInfo::RD_O);
        if (m_database.Kind(hd) == QZDatabaseInfo::TABLE_HD &&
            m_database.Kind(fields) == QZDatabaseInfo::DATA_LD &&
            m_database.Field(hd, QZDatabaseInfo::HD_PREV) == record)
            m_heads.push_back({hd, record});
    }

    Database& m_database;
    std::FILE* m_out;
    std::vector<Head> m_heads;
    std::unordered_set<QZInt64> m_seen;
    /// The lists TREE_A, TREE_R, TREE_S of the LDs met so far.
    std::unordered_set<QZInt64> m_backReferences;
    /// Their lists of fields.
    std::unordered_set<QZInt64> m_fieldLists;
    QZInt64 m_trees = 0;
    QZInt64 m_logRoot = 0;
    QZInt64 m_logPlaces = 0;
    QZInt64 m_faults = 0;
    QZInt64 m_records = 0;
    std::size_t m_gaps = 0;
};

}  // namespace

QZInt64 CountFaults(Database& database, std::FILE* out)
{
    Checker checker(database, out);
    checker.Run();
    return checker.Faults();
}

int CheckCommand(const Arguments& arguments, const Console& console)
{
    const double start = Seconds();
    Database database(arguments[0]);
    Checker checker(database, console.out);
    checker.Run();
    std::fprintf(console.out, "%s: %lld records, %lld in use, %lld faults, %.3f s\n", arguments[0].c_str(),
                 checker.Records(), checker.Reached(), checker.Faults(), Seconds() - start);
    if (checker.Faults() == 0) return kExitGood;
    database.Fail(kExitFaults, std::to_string(checker.Faults()) + " faults");
}

}  // namespace qzdb
