#include "text_list.h"

#include <utility>
#include <vector>

#include "common/typed_fields.h"

namespace qzdb
{

namespace
{

using qzapp::ReadTypedBytes;
using qzapp::ReadTypedName;
using qzapp::ReadTypedNumber;
using qzapp::TypedBytes;
using qzapp::TypedName;
using qzapp::TypedNumber;

constexpr QZInt64 kNumberField = 1;
constexpr QZInt64 kTextField = 2;
constexpr QZInt64 kOpenEndField = 3;
constexpr QZInt64 kKindField = 1;
const char kKindText[] = "text lines";

QZInt64 LineNumber(Database& database, QZInt64 line)
{
    QZInt64 number = 0;
    if (!ReadTypedNumber(database.Content(line, kNumberField), &number))
        database.FailDamaged(line, "a line without its number");
    return number;
}

/// The HD of a list's lines.
QZInt64 LinesOf(Database& database, QZInt64 pd)
{
    const QZInt64 hd = database.Field(pd, QZDatabaseInfo::PD_HD_A);
    if (database.Kind(hd) != QZDatabaseInfo::TABLE_HD) database.FailDamaged(pd, "a list without its lines");
    return hd;
}

}  // namespace

std::string ListName(Database& database, QZInt64 pd)
{
    const QZInt64 ld = database.Field(pd, QZDatabaseInfo::PD_LD_A);
    if (database.Kind(ld) != QZDatabaseInfo::DATA_LD ||
        database.Content(ld, kKindField) != TypedBytes(kKindText))
        return {};
    std::string name;
    ReadTypedName(database.Content(pd, QZDatabaseInfo::PD_DATA), &name);
    return name;
}

QZInt64 FindList(Database& database, const std::string& name)
{
    QZInt64 found = 0;
    database.Walk(database.Root(QZDatabaseInfo::TREESSN), [&](QZInt64 record, QZInt64 kind) {
        if (kind == QZDatabaseInfo::DATA_PD && ListName(database, record) == name) found = record;
        return found == 0;
    });
    return found;
}

QZInt64 LineCount(Database& database, QZInt64 hd)
{
    if (database.Kind(hd) != QZDatabaseInfo::TABLE_HD) database.FailDamaged(hd, "a list without its lines");
    if (database.Field(hd, QZDatabaseInfo::HD_FIRSTDATA) == 0) return 0;
    const QZInt64 last = database.Field(hd, QZDatabaseInfo::HD_LASTDATA_THIS);
    if (database.Kind(last) != QZDatabaseInfo::DATA_LD) database.FailDamaged(hd, "the list's end is no line");
    return LineNumber(database, last);
}

ListWriter::ListWriter(Database& database, std::string name)
    : m_database(database), m_name(std::move(name)), m_pause(database), m_hd(database.PutFreeHead())
{}

void ListWriter::Add(std::string_view text, bool ended)
{
    const QZInt64 line = m_database.PutRecord(m_hd, QZDatabaseInfo::DATA_LD);
    m_database.PutContent(line, kNumberField, TypedNumber(++m_count));
    m_database.PutContent(line, kTextField, TypedBytes(text));
    if (!ended) m_database.PutContent(line, kOpenEndField, TypedBytes({}));
}

void ListWriter::Commit()
{
    QZInt64 pd = FindList(m_database, m_name);
    if (pd != 0)
    {
        m_database.PutField(m_hd, QZDatabaseInfo::HD_PREV, pd);
        // The lines are on the disk before anything refers to them.
        m_database.Channel()->SYNC();
        m_pause.End();
        m_database.PutField(pd, QZDatabaseInfo::PD_HD_A, m_hd);
    }
    else
    {
        pd = BuildNode();
        m_database.Channel()->SYNC();
        if (m_database.Channel()->MT(pd, m_database.Root(QZDatabaseInfo::TREESSN)) != pd)
            m_database.FailRefused();
    }
    m_database.Channel()->SYNC();
}

/// Makes the PD of the list, complete but not yet in the tree: it stands in a list that only it is in.
QZInt64 ListWriter::BuildNode()
{
    const QZInt64 pd = m_database.PutRecord(m_database.PutFreeHead(), QZDatabaseInfo::DATA_PD);
    m_database.PutField(pd, QZDatabaseInfo::PD_HD_A, m_hd);
    m_database.PutField(m_hd, QZDatabaseInfo::HD_PREV, pd);
    // Earlier states can reach tree L, so from here on the log has to be on.
    m_pause.End();
    const QZInt64 ld =
        m_database.PutRecord(m_database.Root(QZDatabaseInfo::TREELSN), QZDatabaseInfo::DATA_LD);
    m_database.PutContent(ld, kKindField, TypedBytes(kKindText));
    m_database.PutField(pd, QZDatabaseInfo::PD_LD_A, ld);
    m_database.PutContent(pd, QZDatabaseInfo::PD_DATA, TypedName(m_name));
    return pd;
}

QZInt64 MendList(Database& database, QZInt64 pd)
{
    const QZInt64 hd = database.Field(pd, QZDatabaseInfo::PD_HD_A);
    if (database.Kind(hd) != QZDatabaseInfo::TABLE_HD)
    {
        database.PutField(pd, QZDatabaseInfo::PD_HD_A, database.PutFreeHead());
        return 1;
    }
    std::vector<QZInt64> bad;
    std::vector<std::pair<QZInt64, QZInt64>> wrong;
    QZInt64 count = 0;
    database.Walk(hd, [&](QZInt64 line, QZInt64 kind) {
        std::string text;
        if (kind != QZDatabaseInfo::DATA_LD || !ReadTypedBytes(database.Content(line, kTextField), &text))
        {
            bad.push_back(line);
            return true;
        }
        QZInt64 number = 0;
        ++count;
        if (!ReadTypedNumber(database.Content(line, kNumberField), &number) || number != count)
            wrong.emplace_back(line, count);
        return true;
    });
    for (const QZInt64 line : bad) database.Channel()->D_DATA(line, QZDatabaseInfo::DELETE_DATA);
    for (const auto& [line, number] : wrong) database.PutContent(line, kNumberField, TypedNumber(number));
    return static_cast<QZInt64>(bad.size() + wrong.size());
}

void ReadLines(Database& database, QZInt64 pd,
               const std::function<void(const std::string& text, bool ended)>& take)
{
    QZInt64 number = 0;
    QZInt64 bytes = 0;
    database.Walk(LinesOf(database, pd), [&](QZInt64 line, QZInt64 kind) {
        if (kind != QZDatabaseInfo::DATA_LD) database.FailDamaged(line, "no line where a list goes on");
        if (LineNumber(database, line) != ++number) database.FailDamaged(line, "a line with a wrong number");
        // Each text has its own bytes in the file, so the texts together are not longer than the file.
        bytes += database.ContentLength(line, kTextField);
        if (bytes > database.GetHeader().fileSize)
            database.FailDamaged(line, "more text than the file has room for");
        std::string text;
        if (!ReadTypedBytes(database.Content(line, kTextField), &text))
            database.FailDamaged(line, "a line without its text");
        take(text, database.ContentLength(line, kOpenEndField) == 0);
        return true;
    });
}

}  // namespace qzdb
