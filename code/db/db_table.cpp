/// Opening and creating database tables, and their schema.

#include "db/db_table.h"

#include "db/db_format.h"
#include "db/internal/db_node_content.h"
#include "db/internal/db_table.h"
#include "db/internal/db_walk.h"
#include "fw/fw_convert.h"
#include "fw/fw_keyed.h"
#include "fw/fw_table.h"

const QZInt64 QZDbTable::Type;
const QZInt64 QZDbTable::KeyIndexInState;
const QZInt64 QZDbTable::GET_TARGET_CONDITION_EQUAL;
const QZInt64 QZDbTable::GET_TARGET_CONDITION_INCLUDE;

namespace
{
QZTrace<QZDatabaseException> Failure(QZInt64 code, const QZWChar* method, QZChannel* channel)
{
    QZTrace trace(QZExceptionFactory::CreateDatabaseException(code), QZ_W("QZDbTable"), method);
    trace.Argument(QZ_W("QZChannel*"), QZConvert::PVoidToIntPtr(channel));
    return trace;
}

/// Recycles a collection and the objects in it.
template <typename T>
void RecycleAll(T** collection)
{
    if (*collection != nullptr)
    {
        for (QZInt64 i = 0; i < (*collection)->Count(); ++i) delete (*collection)->GetElement(i);
    }
    NodeRecycle(collection);
}

struct GiveBack
{
    void operator()(QZStringCollection* names) const { QZDbTable::Recycle(&names); }
    void operator()(QZObjectCollection* tables) const { RecycleAll(&tables); }
};

template <typename Visit>
void EachRecord(QZChannel* channel, QZInt64 list, Visit visit)
{
    QZDbWalk walk;
    QZInt64 record = list == 0 ? 0 : QZNodeHD::GetFirst(channel, list);
    while (record != 0 && walk.Enter(record))
    {
        visit(record);
        record = QZNode::GetNext(channel, record);
    }
}
}  // namespace

QZDbTable::QZDbTable(QZChannel* channel, QZInt64 handle) : m_parts(std::make_shared<Parts>(channel, handle))
{}

QZInt64 QZDbTable::GetType() { return 0x8330002; }

// ---- Opening and creating

QZDbTable* QZDbTable::Open(QZChannel* channel, QZInt64 handle)
{
    if (channel == nullptr || !IsDatatable(channel, handle))
    {
        throw Failure(QZDatabaseExceptionCode::ArgumentOutOfRange, QZ_W("Open"), channel)
            .Argument(QZ_W("QZInt64"), handle)
            .Exception();
    }
    return new QZDbTable(channel, handle);
}

QZDbTable* QZDbTable::Open(QZChannel* channel, const char* path)
{
    QZString text(path);
    return Open(channel, &text);
}
QZDbTable* QZDbTable::Open(QZChannel* channel, const QZWChar* path)
{
    QZString text(path);
    return Open(channel, &text);
}
QZDbTable* QZDbTable::Open(QZChannel* channel, QZString* path)
{
    return Open(channel, QZTable::Access(channel, path));
}

void QZDbTable::Close(QZDbTable** table) { NodeRecycle(table); }

void QZDbTable::PutTypes(QZChannel* channel, QZInt64 handle)
{
    const QZInt64 types = QZNodeFLD::Create(channel, QZNodeHD::Create(channel, handle));
    QZString name(QZ_W("TYPES"));
    QZSNode::PutName(channel, types, &name);
    QZNodeFLD::SetState(channel, types, 0, KeyIndexInState);
}

QZInt64 QZDbTable::Create(QZChannel* channel, QZInt64 directory, QZString* name)
{
    QZTable parent(channel, directory);
    const auto failure = [&](const QZWChar* message) {
        return QZDbTableFailure(message, QZ_W("Create"))
            .Argument(QZ_W("QZChannel*"), QZConvert::PVoidToIntPtr(channel))
            .Argument(QZ_W("QZInt64"), directory)
            .Argument(QZ_W("QZString*"), name)
            .Exception();
    };
    if (parent.Find(name) != 0) throw failure(QZ_W("名为的表已经存在"));
    const QZInt64 list = QZNodePD::GetHD(channel, directory);
    if (list == 0) throw failure(QZ_W("指定的句柄指向的不是目录"));
    const QZInt64 handle = QZNodeTLD::Create(channel, list);
    QZSNode::PutName(channel, handle, name);
    PutTypes(channel, handle);
    return handle;
}

QZInt64 QZDbTable::Create(QZChannel* channel, const char* path)
{
    QZString text(path);
    return Create(channel, &text);
}
QZInt64 QZDbTable::Create(QZChannel* channel, const QZWChar* path)
{
    QZString text(path);
    return Create(channel, &text);
}
QZInt64 QZDbTable::Create(QZChannel* channel, QZString* path)
{
    if (QZTable::Access(channel, path) != 0)
    {
        throw Failure(QZDatabaseExceptionCode::CreateFailedTableAlreadyExists, QZ_W("Create"), channel)
            .Argument(QZ_W("QZString*"), path)
            .Exception();
    }
    const QZInt64 handle = QZTable::Access(channel, path, 1, LDTYPE::TLDTYPE);
    if (handle < 1)
    {
        throw Failure(QZDatabaseExceptionCode::OperationFailed, QZ_W("Create"), channel)
            .Argument(QZ_W("QZString*"), path)
            .Exception();
    }
    PutTypes(channel, handle);
    return handle;
}

QZBool QZDbTable::IsDatatable(QZChannel* channel, QZInt64 handle)
{
    if (handle == 0) return 0;
    const QZInt64 list = QZNodePD::GetHD(channel, handle);
    if (list == 0) return 0;
    const QZInt64 types = QZNodeHD::GetFirst(channel, list);
    if (types == 0) return 0;
    if (QZSNode::GetNodeType(channel, handle) != LDTYPE::TLDTYPE) return 0;
    if (QZSNode::GetNodeType(channel, types) != LDTYPE::FLDTYPE) return 0;
    QZString name;
    QZSNode::GetName(channel, types, &name);
    return name.Equals(QZ_W("TYPES"));
}

QZObjectCollection* QZDbTable::GetDataTables(QZChannel* channel)
{
    QZString path(QZ_W("DATATABLE"));
    const QZInt64 directory = QZTable::Access(channel, &path, 1, LDTYPE::FLDTYPE);
    std::unique_ptr<QZObjectCollection, GiveBack> tables(new QZObjectCollection());
    EachRecord(channel, QZNodePD::GetHD(channel, directory), [&](QZInt64 record) {
        if (!IsDatatable(channel, record)) return;
        std::unique_ptr<QZDbTable> table(new QZDbTable(channel, record));
        tables->Push(table.get());
        static_cast<void>(table.release());
    });
    return tables.release();
}

QZStringCollection* QZDbTable::NamesIn(QZChannel* channel, QZInt64 list)
{
    std::unique_ptr<QZStringCollection, GiveBack> names(new QZStringCollection());
    EachRecord(channel, list, [&](QZInt64 record) {
        if (!IsDatatable(channel, record)) return;
        std::unique_ptr<QZString> name(new QZString());
        QZSNode::GetName(channel, record, name.get());
        names->Push(name.get());
        static_cast<void>(name.release());
    });
    return names.release();
}

QZStringCollection* QZDbTable::GetDatatableNamesFromRoot(QZChannel* channel)
{
    return NamesIn(channel, channel->G_TA(QZDatabaseInfo::TREESSN));
}

QZStringCollection* QZDbTable::GetDatatableNamesFromDir(QZChannel* channel, QZString* path)
{
    const QZInt64 node = QZTable::Access(channel, path);
    return NamesIn(channel, node == 0 ? 0 : QZNodePD::GetHD(channel, node));
}

void QZDbTable::Recycle(QZStringCollection** names) { RecycleAll(names); }
// Each table was opened by itself and stays open. The host closes each one.
void QZDbTable::Recycle(QZObjectCollection** tables) { NodeRecycle(tables); }
void QZDbTable::Recycle(QZCollection** handles) { NodeRecycle(handles); }
void QZDbTable::Recycle(QZData** data) { NodeRecycle(data); }
void QZDbTable::Recycle(QZString** text) { NodeRecycle(text); }
void QZDbTable::Recycle(QZDataTable** table) { NodeRecycle(table); }

// ---- Schema

QZInt64 QZDbTable::ChildList() const { return QZNodePD::GetHD(m_parts->channel, m_parts->handle); }

QZInt64 QZDbTable::FieldNumber(QZString* name)
{
    const QZInt64 count = FieldCount();
    for (QZInt64 field = 1; field <= count; ++field)
    {
        const std::unique_ptr<QZString> candidate(m_parts->names.GetString(field));
        if (candidate->Equals(name, 1)) return field;
    }
    return 0;
}

QZInt64 QZDbTable::FieldNumber(QZString* name, const QZWChar* message, const QZWChar* method)
{
    const QZInt64 field = FieldNumber(name);
    if (field == 0) throw QZDbTableFailure(message, method).Argument(QZ_W("QZString*"), name).Exception();
    return field;
}

QZInt64 QZDbTable::FieldCount() { return m_parts->names.Count(); }

QZStringCollection* QZDbTable::GetFieldsName()
{
    std::unique_ptr<QZStringCollection, GiveBack> fields(new QZStringCollection());
    const QZInt64 count = FieldCount();
    for (QZInt64 field = 1; field <= count; ++field)
    {
        std::unique_ptr<QZString> name(m_parts->names.GetString(field));
        fields->Push(name.get());
        static_cast<void>(name.release());
    }
    return fields.release();
}

QZString* QZDbTable::GetFieldName(QZInt64 field)
{
    if (field == 0)
    {
        throw QZDbTableFailure(QZ_W("错误的参数"), QZ_W("GetFieldName"))
            .Argument(QZ_W("QZInt64"), field)
            .Exception();
    }
    return m_parts->names.GetString(field);
}

QZBool QZDbTable::SetFieldName(QZInt64 field, QZString* name)
{
    if (FieldNumber(name) != 0)
    {
        throw QZDbTableFailure(QZ_W("字段已经存在"), QZ_W("SetFieldName"))
            .Argument(QZ_W("QZInt64"), field)
            .Argument(QZ_W("QZString*"), name)
            .Exception();
    }
    m_parts->names.PutString(field, name);
    return 1;
}

QZInt64 QZDbTable::FieldAdd(QZString* name, QZInt64 type)
{
    const QZInt64 field = FieldCount() + 1;
    SetFieldName(field, name);
    QZData empty;
    QZNodeFLD::PutData(m_parts->channel, m_parts->types, field, &empty, type);
    return field;
}

QZInt64 QZDbTable::GetFieldType(QZInt64 field)
{
    return QZNodeFLD::GetDataType(m_parts->channel, m_parts->types, field);
}
QZInt64 QZDbTable::GetFieldType(QZString* name)
{
    return GetFieldType(FieldNumber(name, QZ_W("找不到字段"), QZ_W("GetFieldType")));
}

QZBool QZDbTable::FieldMove(QZString* name, QZInt64 steps)
{
    const QZInt64 field = FieldNumber(name);
    if (field == 0)
    {
        throw QZDbTableFailure(QZ_W("字段不存在"), QZ_W("FieldMove"))
            .Argument(QZ_W("QZString*"), name)
            .Argument(QZ_W("QZInt64"), steps)
            .Exception();
    }
    const std::unique_ptr<QZString> key(GetKey());
    m_parts->names.MoveString(field, steps);
    EachRecord(m_parts->channel, ChildList(),
               [&](QZInt64 child) { QZNodeFLD::MoveData(m_parts->channel, child, field, steps); });
    m_parts->table.Refersh();
    SetKey(key.get());
    return 1;
}

QZBool QZDbTable::FieldDelete(QZString* name)
{
    const QZInt64 field = FieldNumber(name, QZ_W("字段不存在"), QZ_W("FieldDelete"));
    if (field == GetKeyIndex()) SetKey(nullptr);
    m_parts->names.DeleteString(field);
    EachRecord(m_parts->channel, ChildList(),
               [&](QZInt64 child) { QZNodeFLD::DeleteData(m_parts->channel, child, field); });
    m_parts->table.Refersh();
    return 1;
}

QZBool QZDbTable::SetKey(QZString* name)
{
    QZInt64 field = 0;
    if (!QZString::IsNullOrEmpty(name)) field = FieldNumber(name, QZ_W("字段不存在"), QZ_W("SetKey"));
    QZNodeFLD::SetState(m_parts->channel, m_parts->types, static_cast<QZInt32>(field), KeyIndexInState);
    return 1;
}

QZString* QZDbTable::GetKey()
{
    const QZInt64 field = GetKeyIndex();
    return field == 0 ? nullptr : GetFieldName(field);
}

QZInt64 QZDbTable::GetKeyIndex()
{
    return QZNodeFLD::GetState(m_parts->channel, m_parts->types, KeyIndexInState);
}

QZBool QZDbTable::SetKeyToName()
{
    const QZInt64 key = GetKeyIndex();
    if (key == 0) throw QZDbTableFailure(QZ_W("未设置m_key"), QZ_W("SetKeyToName")).Exception();
    return SetValueToName(key);
}

QZBool QZDbTable::SetValueToName(QZInt64 field)
{
    QZDbWalk walk;
    for (QZInt64 row = DataGetFirst(); row != 0 && walk.Enter(row); row = DataGetNext(row))
    {
        const std::unique_ptr<QZString> text(DataGetValueString(row, field));
        QZSNode::PutName(m_parts->channel, row, text.get());
    }
    return 1;
}
QZBool QZDbTable::SetValueToName(QZString* name)
{
    return SetValueToName(FieldNumber(name, QZ_W("字段不存在"), QZ_W("SetValueToName")));
}

QZString* QZDbTable::ValuesConvert(QZInt64 field, QZData* data)
{
    return QZNodeFLD::ValuesConvert(m_parts->channel, m_parts->types, field, data);
}
QZData* QZDbTable::ValuesConvert(QZInt64 field, QZString* text)
{
    return QZNodeFLD::ValuesConvert(m_parts->channel, m_parts->types, field, text);
}
QZString* QZDbTable::ValuesConvert(QZString* name, QZData* data)
{
    const QZInt64 field = FieldNumber(name);
    if (field != 0) return ValuesConvert(field, data);
    throw QZDbTableFailure(QZ_W("找不到字段!"), QZ_W("ValuesConvert"))
        .Argument(QZ_W("QZString*"), name)
        .Argument(QZ_W("QZData*"), data->GetPointer(), data->GetSize())
        .Exception();
}
QZData* QZDbTable::ValuesConvert(QZString* name, QZString* text)
{
    const QZInt64 field = FieldNumber(name);
    if (field != 0) return ValuesConvert(field, text);
    throw QZDbTableFailure(QZ_W("找不到字段!"), QZ_W("ValuesConvert"))
        .Argument(QZ_W("QZString*"), name)
        .Argument(QZ_W("QZString*"), text)
        .Exception();
}

// ---- Table

QZString* QZDbTable::GetName() { return m_parts->name.get(); }
// The object keeps the name that it read when it was opened.
void QZDbTable::SetName(QZString* name) { m_parts->names.PutName(name); }
QZString* QZDbTable::GetText() { return m_parts->names.GetText(); }
void QZDbTable::SetText(QZString* text) { m_parts->names.PutText(text); }
QZInt64 QZDbTable::GetHandle() { return m_parts->handle; }
QZInt64 QZDbTable::GetNext() { return QZNode::GetNext(m_parts->channel, m_parts->handle); }
QZInt64 QZDbTable::GetPrev() { return QZNode::GetPrev(m_parts->channel, m_parts->handle); }
QZDateTime* QZDbTable::GetCreateDate() { return m_parts->names.GetCreateDate(); }
QZDateTime* QZDbTable::GetChangedDate() { return m_parts->names.GetChangeDate(); }

QZInt64 QZDbTable::Move(QZInt64 steps)
{
    return steps < 1 ? QZNode::MoveUp(m_parts->channel, m_parts->handle, steps)
                     : QZNode::MoveDown(m_parts->channel, m_parts->handle, steps);
}

// Nothing is read again. A host that needs new values opens the table again.
void QZDbTable::Refersh() {}

QZBool QZDbTable::Remove()
{
    // Only the LD is removed. The node stays in its directory, with its rows.
    QZNodePD::RemoveLD(m_parts->channel, m_parts->handle);
    return 1;
}
