/// Rows of database tables, and copies between them and tables in memory.

#include <cstring>
#include <vector>

#include "db/db_table.h"
#include "db/internal/db_node_content.h"
#include "db/internal/db_table_parts.h"
#include "db/internal/db_walk.h"
#include "fw/fw_collection.h"
#include "fw/fw_convert.h"
#include "fw/fw_data_type.h"
#include "fw/fw_table.h"
#include "fw/internal/fw_raise.h"

namespace
{
/// Item i of a data list is in field i + 7.
constexpr QZInt64 kFirstItem = 7;

/// Reads the values of rows, one row after the other.
class RowReader
{
public:
    RowReader(QZChannel* channel, QZInt64 fields)
        : m_channel(channel), m_slots(static_cast<std::size_t>(fields < 0 ? 0 : fields))
    {}

    void Enter(QZInt64 row)
    {
        if (m_slots.empty()) return;
        m_ld = QZNodePD::GetLD(m_channel, row);
        m_quick =
            m_channel->FieldSlots(m_ld, 1 + kFirstItem, static_cast<QZInt64>(m_slots.size()), m_slots.data());
    }

    /// The value of a field. The next value uses the same buffer.
    QZData* Value(QZInt64 field)
    {
        QZByte bytes[kSmallContent];
        const QZInt64 room = kSmallContent;
        const QZInt64 size =
            m_quick ? m_channel->ReadSlot(m_slots[static_cast<std::size_t>(field - 1)], bytes, room)
                    : m_channel->ReadContent(m_ld, field + kFirstItem, bytes, room);
        // New data of this size throws.
        if (size < 0) const QZData refused(size);
        if (size <= room)
        {
            m_value.Set(bytes, size);
            return &m_value;
        }
        m_large.reset(QZNodeLD::GetData(m_channel, m_ld, field + kFirstItem));
        return m_large.get();
    }

private:
    QZChannel* m_channel;
    QZInt64 m_ld = 0;
    std::vector<QZInt64> m_slots;
    bool m_quick = false;
    QZData m_value;
    std::unique_ptr<QZData> m_large;
};

/// The order of a date item, from its values 1 to 6.
QZInt32 TimeKey(QZData* date)
{
    static constexpr QZUInt32 kParts[] = {0, 12, 30, 24, 60, 60};
    QZUInt32 key = 0;
    for (QZInt64 i = 0; i < 6; ++i) key = key * kParts[i] + static_cast<QZUInt32>(date->GetValueInt32(i + 1));
    return static_cast<QZInt32>(key);
}

QZUInt64 SumOf(QZData* values, QZInt64 type)
{
    QZUInt64 sum = 0;
    if (type == QZDataType::ARRAYINT32)
    {
        const QZInt64 count = values->GetValueInt32(0);
        for (QZInt64 i = 1; i <= count; ++i) sum += static_cast<QZUInt64>(QZInt64{values->GetValueInt32(i)});
    }
    else
    {
        const QZInt64 count = values->GetValueInt64(0);
        for (QZInt64 i = 1; i <= count; ++i) sum += static_cast<QZUInt64>(values->GetValueInt64(i));
    }
    return sum;
}
}  // namespace

// ---- Adding and values

QZInt64 QZDbTable::DataCount() { return m_parts->table.Count() - 1; }

QZCollection* QZDbTable::GetHandles()
{
    std::unique_ptr<QZCollection> handles(m_parts->table.GetHandles());
    handles->RemoveElement(0);
    return handles.release();
}

bool QZDbTable::Exists(QZInt64 field, QZData* value)
{
    // The search of the engine needs no count of the rows, so adding a row does not walk the list.
    QZCollection found;
    return m_parts->channel->A_G(ChildList(), field + kFirstItem, value->GetPointer(), value->GetSize(),
                                 &found) > 0;
}

QZInt64 QZDbTable::NewRow(QZInt64 keyField, QZData* key, const QZWChar* name)
{
    QZChannel* channel = m_parts->channel;
    const QZInt64 row = QZNodeFLD::Create(channel, ChildList());
    QZNodeHD::Create(channel, row);
    if (name != nullptr)
    {
        QZString text(name);
        QZSNode::PutName(channel, row, &text);
    }
    QZData empty;
    const QZInt64 count = FieldCount();
    for (QZInt64 field = 1; field <= count; ++field)
    {
        QZNodeFLD::PutData(channel, row, field, field == keyField ? key : &empty, GetFieldType(field));
    }
    return row;
}

QZInt64 QZDbTable::DataAdd()
{
    if (GetKeyIndex() != 0)
        QZDbTableFailure(QZ_W("此表已设置主键，请使用其他重载方法！"), QZ_W("DataAdd")).Throw();
    return NewRow(0, nullptr, QZ_W("ROW"));
}

QZInt64 QZDbTable::DataAdd(QZData* key)
{
    const QZInt64 field = GetKeyIndex();
    const auto failure = [&](const QZWChar* message) {
        QZRaise exception = QZDbTableFailure(message, QZ_W("DataAdd"));
        exception.Argument(QZ_W("QZData*"), key->GetPointer(), key->GetSize());
        return exception;
    };
    if (field == 0) failure(QZ_W("此表未设置主键，请使用其他重载方法！")).Throw();
    if (Exists(field, key)) failure(QZ_W("要添加的数据已经存在！")).Throw();
    const QZInt64 row = NewRow(field, key, nullptr);
    m_parts->table.Refersh();
    return row;
}

QZInt64 QZDbTable::DataAdd(QZString* key)
{
    const QZInt64 field = GetKeyIndex();
    if (field == 0)
    {
        QZDbTableFailure(QZ_W("此表未设置主键，请使用其他重载方法！"), QZ_W("DataAdd"))
            .Argument(QZ_W("QZString*"), key)
            .Throw();
    }
    const std::unique_ptr<QZData> data(ValuesConvert(field, key));
    return DataAdd(data.get());
}

QZBool QZDbTable::DataSetValue(QZInt64 row, QZInt64 field, QZData* data)
{
    const auto failure = [&](const QZWChar* message) {
        QZRaise exception = QZDbTableFailure(message, QZ_W("DataSetValue"));
        exception.Argument(QZ_W("QZInt64"), row)
            .Argument(QZ_W("QZInt64"), field)
            .Argument(QZ_W("QZData*"), data->GetPointer(), data->GetSize());
        return exception;
    };
    if (field == 0) failure(QZ_W("错误的字段索引")).Throw();
    if (field == GetKeyIndex() && Exists(field, data)) failure(QZ_W("主键的值不能重复!")).Throw();
    QZNodeFLD::PutData(m_parts->channel, row, field, data, GetFieldType(field));
    return 1;
}

QZBool QZDbTable::DataSetValue(QZInt64 row, QZInt64 field, QZString* text)
{
    if (field == 0)
    {
        QZDbTableFailure(QZ_W("错误的字段索引"), QZ_W("DataSetValue"))
            .Argument(QZ_W("QZInt64"), row)
            .Argument(QZ_W("QZInt64"), field)
            .Argument(QZ_W("QZString*"), text)
            .Throw();
    }
    const std::unique_ptr<QZData> data(ValuesConvert(field, text));
    return DataSetValue(row, field, data.get());
}

QZData* QZDbTable::DataGetValue(QZInt64 row, QZInt64 field)
{
    return QZNodeFLD::GetData(m_parts->channel, row, field);
}

QZInt32 QZDbTable::DataGetValueInt32(QZInt64 row, QZInt64 field)
{
    const std::unique_ptr<QZData> data(DataGetValue(row, field));
    return data->GetValueInt32(0) == 1 ? data->GetValueInt32(1) : 0;
}

QZString* QZDbTable::DataGetValueString(QZInt64 row, QZInt64 field)
{
    const std::unique_ptr<QZData> data(DataGetValue(row, field));
    return ValuesConvert(field, data.get());
}

// ---- Positions

QZInt64 QZDbTable::DataGet(QZInt64 place)
{
    if (place < 1) return 0;
    // The position after the largest possible one is past the end too.
    if (place == INT64_MAX) return 0;
    return QZNodeHD::Get(m_parts->channel, ChildList(), place + 1);
}

QZInt64 QZDbTable::DataGetFirst()
{
    return QZNode::GetNext(m_parts->channel, QZNodeHD::GetFirst(m_parts->channel, ChildList()));
}

QZInt64 QZDbTable::DataGetLast()
{
    const QZInt64 row = QZNodeHD::GetLast(m_parts->channel, ChildList());
    return row == m_parts->types ? 0 : row;
}

QZInt64 QZDbTable::DataGetNext(QZInt64 row) { return QZNode::GetNext(m_parts->channel, row); }

QZInt64 QZDbTable::DataGetPrev(QZInt64 row)
{
    const QZInt64 previous = QZNode::GetPrev(m_parts->channel, row);
    return previous == m_parts->types ? 0 : previous;
}

QZInt64 QZDbTable::DataGetSN(QZInt64 row) { return QZNode::GetSN(m_parts->channel, row) - 1; }

QZInt64 QZDbTable::DataMove(QZInt64 row, QZInt64 steps)
{
    if (steps >= 1) return QZNode::MoveDown(m_parts->channel, row, steps);
    // This passes a count where the operation expects a signed number. So the row moves towards the end here
    // too, as documented.
    const QZInt64 room = QZNode::GetSN(m_parts->channel, row) - 2;
    const QZInt64 up = steps == INT64_MIN ? INT64_MAX : -steps;
    return QZNode::MoveUp(m_parts->channel, row, up < room ? up : room);
}

QZInt64 QZDbTable::DataSetSN(QZInt64 row, QZInt64 place)
{
    const QZInt64 here = DataGetSN(row);
    return DataMove(row, static_cast<QZInt64>(static_cast<QZUInt64>(place) - static_cast<QZUInt64>(here)));
}

QZBool QZDbTable::DataRemove(QZInt64 row)
{
    QZNodePD::RemovePD(m_parts->channel, row);
    QZNodePD::RemoveLD(m_parts->channel, row);
    return 1;
}

QZDateTime* QZDbTable::DataGetChangeDate(QZInt64 row)
{
    return QZNodeFLD::GetChangeDate(m_parts->channel, row);
}
QZDateTime* QZDbTable::DataGetCreateDate(QZInt64 row)
{
    return QZNodeFLD::GetCreateDate(m_parts->channel, row);
}

// ---- Searching, summing, sorting

QZCollection* QZDbTable::GetTargetsAddrCollection(QZInt64 field, QZData* value)
{
    TestTarget(field);
    return QZNodeHD::GetTargetsAddrCollection(m_parts->channel, ChildList(), field + kFirstItem, value);
}
QZCollection* QZDbTable::GetTargetsAddrCollection(QZInt64 field, int value)
{
    QZData array(8);
    array.SetValueInt32(0, 1);
    array.SetValueInt32(1, value);
    return GetTargetsAddrCollection(field, &array);
}
QZCollection* QZDbTable::GetTargetsAddrCollection(QZInt64 field, QZString* value)
{
    TestTarget(field);
    const std::unique_ptr<QZData> data(ValuesConvert(field, value));
    return GetTargetsAddrCollection(field, data.get());
}
// An unknown name gives field 0, which these operations refuse.
QZCollection* QZDbTable::GetTargetsAddrCollection(QZString* name, QZData* value)
{
    return GetTargetsAddrCollection(FieldNumber(name), value);
}
QZCollection* QZDbTable::GetTargetsAddrCollection(QZString* name, int value)
{
    return GetTargetsAddrCollection(FieldNumber(name), value);
}
QZCollection* QZDbTable::GetTargetsAddrCollection(QZString* name, QZString* value)
{
    return GetTargetsAddrCollection(FieldNumber(name), value);
}

void QZDbTable::TestTarget(QZInt64 field)
{
    if (field >= 1 && field <= FieldCount()) return;
    QZDbTableFailure(QZ_W("错误的字段索引"), QZ_W("GetTargetsAddrCollection"))
        .Argument(QZ_W("QZInt64"), field)
        .Throw();
}

QZInt64 QZDbTable::Sum(QZString* name)
{
    const QZInt64 field = FieldNumber(name, QZ_W("找不到字段"), QZ_W("Sum"));
    const QZInt64 type = GetFieldType(field);
    if (type != QZDataType::ARRAYINT32 && type != QZDataType::ARRAYINT64) return 0;
    QZUInt64 sum = 0;
    QZDbWalk walk;
    for (QZInt64 row = DataGetFirst(); row != 0 && walk.Enter(row); row = DataGetNext(row))
    {
        const std::unique_ptr<QZData> values(DataGetValue(row, field));
        sum += SumOf(values.get(), type);
    }
    return static_cast<QZInt64>(sum);
}

QZBool QZDbTable::com_biger(QZData* a, QZData* b)
{
    const QZInt64 sizeA = a->GetSize();
    const QZInt64 sizeB = b->GetSize();
    const QZInt64 common = sizeA < sizeB ? sizeA : sizeB;
    const int order = std::memcmp(a->GetPointer(), b->GetPointer(), static_cast<std::size_t>(common));
    return order != 0 ? order > 0 : sizeA > sizeB;
}

/// Whether the list of the rows is damaged so that it has no end.
bool QZDbTable::GoesRound()
{
    QZDbWalk walk;
    QZInt64 row = DataGetFirst();
    while (row != 0 && walk.Enter(row)) row = DataGetNext(row);
    return row != 0;
}

QZBool QZDbTable::ArrangementByLetters(QZString* name)
{
    const QZInt64 field = FieldNumber(name, QZ_W("错误的字段索引"), QZ_W("ArrangementByLetters"));
    if (GoesRound()) return 0;
    const QZInt64 count = DataCount();
    for (QZInt64 place = 1; place < count; ++place)
    {
        std::unique_ptr<QZData> smallest;
        QZInt64 row = DataGet(place);
        // A row that is moved is met once more. Where links do not agree, moving may make the list go round.
        for (QZInt64 steps = 0; row != 0; ++steps)
        {
            if (steps > 2 * count) return 0;
            const QZInt64 next = DataGetNext(row);
            std::unique_ptr<QZData> value(DataGetValue(row, field));
            if (!smallest || com_biger(smallest.get(), value.get()))
            {
                smallest = std::move(value);
                DataSetSN(row, place);
            }
            row = next;
        }
    }
    return 1;
}

QZBool QZDbTable::ArrangementByTime(QZString* name)
{
    QZChannel* channel = m_parts->channel;
    const QZInt64 field = FieldNumber(name, QZ_W("找不到字段"), QZ_W("ArrangementByTime"));
    if (GetFieldType(field) != QZDataType::ARRAYINT32) return 0;
    const std::unique_ptr<QZCollection> rows(GetHandles());
    const QZInt64 count = rows->Count();
    for (QZInt64 round = 0; round < count; ++round)
    {
        // The first index is -1, which the collection refuses. So this throws for two rows or more, as
        // documented.
        for (QZInt64 j = 0; j <= count - 2; ++j)
        {
            const QZUInt64 left = rows->GetElement(j - 1);
            const QZUInt64 right = rows->GetElement(j);
            const std::unique_ptr<QZData> a(DataGetValue(static_cast<QZInt64>(left), field));
            const std::unique_ptr<QZData> b(DataGetValue(static_cast<QZInt64>(right), field));
            if (TimeKey(a.get()) <= TimeKey(b.get())) continue;
            rows->SetElement(j - 1, right);
            rows->SetElement(j, left);
        }
    }
    const QZInt64 list = QZNodeHD::Create(channel, m_parts->handle);
    QZNode::MoveTo(channel, m_parts->types, list);
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZNode::MoveTo(channel, static_cast<QZInt64>(rows->GetElement(i)), list);
    }
    m_parts->table.Refersh();
    return 1;
}

// ---- Tables in memory

QZDataTable* QZDbTable::Select() { return Select(0x7FFFFFFFFFFFFFFF); }

QZDataTable* QZDbTable::Select(QZInt64 limit)
{
    std::unique_ptr<QZDataTable> table(new QZDataTable());
    table->SetName(GetName());
    const QZInt64 fields = FieldCount();
    for (QZInt64 field = 1; field <= fields; ++field)
    {
        const std::unique_ptr<QZString> name(GetFieldName(field));
        table->Columns->Add(name.get(), GetFieldType(field));
    }
    const QZUInt64 most = limit < 0 ? 0 - static_cast<QZUInt64>(limit) : static_cast<QZUInt64>(limit);
    QZDbWalk walk;
    QZInt64 row = limit == 0 ? 0 : limit < 0 ? DataGetLast() : DataGetFirst();
    RowReader reader(m_parts->channel, fields);
    for (QZUInt64 count = 0; row != 0 && count < most && walk.Enter(row); ++count)
    {
        QZDataRow* target = table->Rows->NewRow();
        target->Handle = row;
        reader.Enter(row);
        for (QZInt64 field = 1; field <= fields; ++field) target->SetElement(field - 1, reader.Value(field));
        row = limit < 0 ? DataGetPrev(row) : DataGetNext(row);
    }
    return table.release();
}

QZInt64 QZDbTable::Write(QZDataTable* table, bool keepRows)
{
    const QZWChar* method = keepRows ? QZ_W("Update") : QZ_W("Insert");
    const auto failure = [&](QZString& message) {
        QZRaise exception = QZDbTableFailure(message.GetPointer(), method);
        exception.Argument(QZ_W("QZDataTable*"), QZConvert::PVoidToIntPtr(table));
        return exception;
    };
    const QZInt64 columns = table->Columns->Count();
    // The field of each column. It is looked up when the first row needs it.
    std::vector<QZInt64> fields(static_cast<std::size_t>(columns), 0);
    const QZInt64 count = table->Rows->Count();
    for (QZInt64 r = 0; r < count; ++r)
    {
        QZDataRow* row = table->Rows->GetRow(r);
        if (!keepRows || row->Handle == 0) row->Handle = DataAdd();
        for (QZInt64 c = 0; c < columns; ++c)
        {
            QZInt64& field = fields[static_cast<std::size_t>(c)];
            if (field == 0)
            {
                QZString* name = table->Columns->GetColumn(c);
                const QZInt64 found = FieldNumber(name);
                if (found == 0)
                {
                    QZString message(QZ_W("不存在的列 "));
                    message.Append(name);
                    failure(message).Throw();
                }
                if (GetFieldType(found) != table->Columns->GetElementType(c))
                {
                    QZString message(QZ_W("列 "));
                    message.Append(name);
                    message.Append(QZ_W(" 的数据类型不同"));
                    failure(message).Throw();
                }
                field = found;
            }
            QZData* value = row->GetElement(c);
            if (value != nullptr) DataSetValue(row->Handle, field, value);
        }
    }
    return count;
}

QZInt64 QZDbTable::Insert(QZDataTable* table) { return Write(table, false); }
QZInt64 QZDbTable::Update(QZDataTable* table) { return Write(table, true); }
