#include "store_read.h"

#include <cstring>
#include <unordered_set>

#include "common/typed_fields.h"

namespace qzmon
{

namespace
{

std::string Content(QZChannel* channel, QZInt64 ld, QZInt64 field)
{
    const QZInt64 length = channel->G_C_L(ld, field);
    if (length <= 0 || length > 4096) return {};
    std::string bytes(static_cast<std::size_t>(length), '\0');
    if (channel->G_C(ld, field, bytes.data()) < 0) return {};
    return bytes;
}

/// A value of a table. It returns to the library at the end of the scope.
class Value
{
public:
    Value(QZDbTable* table, QZInt64 row, QZInt64 field) : m_data(table->DataGetValue(row, field)) {}
    ~Value() { QZDbTable::Recycle(&m_data); }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    QZInt64 Size() const { return m_data->GetSize(); }
    const char* Bytes() const { return static_cast<const char*>(m_data->GetPointer()); }

private:
    QZData* m_data;
};

}  // namespace

bool ReadDouble(QZDbTable* table, QZInt64 row, QZInt64 field, double* value)
{
    const Value bytes(table, row, field);
    if (bytes.Size() != 8) return false;
    std::memcpy(value, bytes.Bytes(), 8);
    return true;
}

bool ReadTime(QZDbTable* table, QZInt64 row, QZInt64* time)
{
    const Value bytes(table, row, 1);
    if (bytes.Size() != 8) return false;
    std::memcpy(time, bytes.Bytes(), 8);
    return true;
}

std::string ReadText(QZDbTable* table, QZInt64 row, QZInt64 field)
{
    const QZInt64 type = table->GetFieldType(field);
    const Value bytes(table, row, field);
    if (type == QZDataType::DOUBLE && bytes.Size() == 8)
    {
        double value = 0;
        std::memcpy(&value, bytes.Bytes(), 8);
        return NumberText(value);
    }
    if (type == QZDataType::TIMESTAMP && bytes.Size() == 8)
    {
        QZInt64 value = 0;
        std::memcpy(&value, bytes.Bytes(), 8);
        return TimeText(value);
    }
    if (type == QZDataType::TEXTUTF8)
        return std::string(bytes.Bytes(), static_cast<std::size_t>(bytes.Size()));
    return {};
}

std::vector<QZInt64> RowsOf(QZDbTable* table)
{
    std::vector<QZInt64> rows;
    std::unordered_set<QZInt64> met;
    for (QZInt64 row = table->DataGetFirst(); row > 0; row = table->DataGetNext(row))
    {
        if (!met.insert(row).second) throw Failure{500, "a list of rows has no end"};
        rows.push_back(row);
    }
    return rows;
}

TablePage ReadPage(QZDbTable* table, const std::vector<QZInt64>& rows, QZInt64 page, QZInt64 size)
{
    TablePage result;
    result.count = static_cast<QZInt64>(rows.size());
    const QZInt64 fields = table->FieldCount();
    for (QZInt64 i = 1; i <= fields; ++i)
    {
        QZString* name = table->GetFieldName(i);
        result.fields.push_back(Utf8(name));
        QZDbTable::Recycle(&name);
    }
    const QZInt64 last = result.count - page * size;
    for (QZInt64 i = last; i > 0 && i > last - size; --i)
    {
        std::vector<std::string> cells;
        for (QZInt64 j = 1; j <= fields; ++j)
            cells.push_back(ReadText(table, rows[static_cast<std::size_t>(i - 1)], j));
        result.rows.push_back(cells);
    }
    return result;
}

std::vector<Correction> ReadCorrections(QZDbTable* parameters)
{
    std::vector<Correction> all;
    for (const QZInt64 row : RowsOf(parameters))
    {
        Correction correction;
        ReadDouble(parameters, row, 2, &correction.offset);
        ReadDouble(parameters, row, 3, &correction.gain);
        all.push_back(correction);
    }
    return all;
}

std::vector<Snapshot> ReadSnapshots(QZChannel* channel)
{
    std::vector<Snapshot> all;
    const QZInt64 root = channel->G_TA(QZDatabaseInfo::TREEBSN);
    QZInt64 place = channel->G_A(root, QZDatabaseInfo::HD_FIRSTDATA);
    if (place > 0) place = channel->G_A(place, QZDatabaseInfo::DATA_NEXT);
    if (place <= 0) return all;
    const QZInt64 marks = channel->G_A(place, QZDatabaseInfo::AD_FREE);
    std::unordered_set<QZInt64> met;
    for (QZInt64 mark = channel->G_A(marks, QZDatabaseInfo::HD_FIRSTDATA); mark > 0;
         mark = channel->G_A(mark, QZDatabaseInfo::DATA_NEXT))
    {
        if (!met.insert(mark).second) throw Failure{500, "the list of the snapshots has no end"};
        Snapshot snapshot;
        snapshot.id = mark;
        snapshot.point = channel->G_A(mark, QZDatabaseInfo::RD_P);
        const QZInt64 ld = channel->G_A(mark, QZDatabaseInfo::RD_N);
        // A mark that another program made may have no such fields.
        qzapp::ReadTypedBytes(Content(channel, ld, qzapp::kMarkLabelField), &snapshot.label);
        qzapp::ReadTypedNumber(Content(channel, ld, qzapp::kMarkTimeField), &snapshot.time);
        all.push_back(snapshot);
    }
    return all;
}

void WriteMark(QZChannel* channel, const Snapshot& snapshot)
{
    const QZInt64 ld = channel->G_A(snapshot.id, QZDatabaseInfo::RD_N);
    const std::string label = qzapp::TypedBytes(snapshot.label);
    const std::string time = qzapp::TypedNumber(snapshot.time);
    channel->P_C(ld, qzapp::kMarkLabelField, label.data(), static_cast<QZInt64>(label.size()));
    channel->P_C(ld, qzapp::kMarkTimeField, time.data(), static_cast<QZInt64>(time.size()));
}

}  // namespace qzmon
