#include "fw/fw_table.h"

#include "fw/fw_convert.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_string_internal.h"
#include "fw/internal/fw_word.h"

const QZInt64 QZColumnCollection::Type;
const QZInt64 QZDataRow::Type;
const QZInt64 QZRowCollection::Type;
const QZInt64 QZDataTable::Type;

namespace
{

/// A list that doubles its capacity when it is full, so that a table of many rows is filled in linear time.
class GrowingList : public QZCollection
{
protected:
    void LengthMax(QZInt64 length) override
    {
        const QZInt64 room = GetSize() / 8 - 1;
        QZCollection::LengthMax(length > room && length <= 2 * room ? 2 * room : length);
    }
};

}  // namespace

// ---- Columns

struct QZColumnCollection::Lists
{
    QZKeyValueCollection names;
    QZCollection types;

    Lists() = default;
    Lists(const Lists&) = delete;
    Lists& operator=(const Lists&) = delete;
    ~Lists()
    {
        while (names.Count() > 0)
        {
            const QZInt64 last = names.Count() - 1;
            QZObject* name = names.GetElement(last);
            names.RemoveElement(last);
            delete name;
        }
    }
};

QZColumnCollection::QZColumnCollection(QZDataTable* table)
    : m_table(table), m_lists(std::make_shared<Lists>())
{}
QZColumnCollection::QZColumnCollection(const QZColumnCollection& other) = default;
QZColumnCollection& QZColumnCollection::operator=(const QZColumnCollection& other) = default;
QZColumnCollection::~QZColumnCollection() = default;

QZInt64 QZColumnCollection::GetType() { return Type; }

QZBool QZColumnCollection::Add(const char* name, QZInt64 type)
{
    const QZScopedString wide(QZStringFactory::CreateString(name));
    return Add(wide.Get(), type);
}

QZBool QZColumnCollection::Add(const QZWChar* name, QZInt64 type)
{
    const QZScopedString wide(QZStringFactory::CreateString(name));
    return Add(wide.Get(), type);
}

QZBool QZColumnCollection::Add(QZString* name, QZInt64 type)
{
    // A new column ends the existing rows, which their collection still holds. Hosts have to add columns
    // before rows; the assert hook reports those that do not.
    const QZInt64 rows = m_table->Rows->Count();
    for (QZInt64 i = 0; i < rows; ++i)
    {
        QZDataRow* row = m_table->Rows->GetRow(i);
        row->Add();
        row->Forsake();
    }
    QZScoped<QZString, QZDeleter> object(new QZString(name));
    if (!m_lists->names.Add(name, object.Get())) return 0;
    object.Release();
    m_lists->types.Push(static_cast<QZUInt64>(type));
    return 1;
}

QZInt64 QZColumnCollection::Count() { return m_lists->names.Count(); }

QZString* QZColumnCollection::GetColumn(QZInt64 index)
{
    return static_cast<QZString*>(m_lists->names.GetElement(index));
}

QZInt64 QZColumnCollection::GetIndex(QZString* name) { return m_lists->names.GetIndex(name); }
QZInt64 QZColumnCollection::GetIndex(const char* name) { return m_lists->names.GetIndex(name); }
QZInt64 QZColumnCollection::GetIndex(const QZWChar* name) { return m_lists->names.GetIndex(name); }

QZInt64 QZColumnCollection::GetElementType(QZInt64 index)
{
    return static_cast<QZInt64>(m_lists->types.GetElement(index));
}

// ---- A row

struct QZDataRow::Values
{
    QZCollection list;

    Values() = default;
    Values(const Values&) = delete;
    Values& operator=(const Values&) = delete;
    ~Values() { Clear(); }

    void Clear()
    {
        const QZInt64 count = list.Count();
        for (QZInt64 i = 0; i < count; ++i)
            if (auto* value = FromWord<QZData>(list.GetElement(i))) QZDataFactory::Recycle(&value);
        list.Clear();
    }
};

QZDataRow::QZDataRow(QZColumnCollection* columns) : m_columns(columns), m_values(std::make_shared<Values>())
{}
QZDataRow::QZDataRow(const QZDataRow& other) = default;
QZDataRow& QZDataRow::operator=(const QZDataRow& other) = default;
QZDataRow::~QZDataRow() = default;

QZInt64 QZDataRow::GetType() { return Type; }

void QZDataRow::Add() { m_values->list.Push(0); }

void QZDataRow::Forsake()
{
    m_values->Clear();
    if (IsDisposable()) return;
    QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ObjectIsLocked));
    QZLibAssert(0);
}

QZBool QZDataRow::SetElement(QZInt64 index, QZData* source)
{
    QZCollection& list = m_values->list;
    if (auto* value = FromWord<QZData>(list.GetElement(index)))
    {
        // The target is emptied first, so a value that is set to itself becomes empty.
        value->NewSize(0);
        value->Append(source);
        return 1;
    }
    QZScopedData value(QZDataFactory::CreateData(m_columns->GetElementType(index), source));
    list.SetElement(index, ToWord(value.Get()));
    value.Release();
    return 1;
}

QZBool QZDataRow::SetElement(QZString* name, QZData* source)
{
    return SetElement(m_columns->GetIndex(name), source);
}

QZBool QZDataRow::SetElement(const char* name, QZData* source)
{
    return SetElement(m_columns->GetIndex(name), source);
}

QZBool QZDataRow::SetElement(const QZWChar* name, QZData* source)
{
    return SetElement(m_columns->GetIndex(name), source);
}

QZBool QZDataRow::SetElement(QZInt64 index, QZString* text)
{
    const QZScopedData source(QZConvert::TextToData(text, m_columns->GetElementType(index)));
    return SetElement(index, source.Get());
}

QZBool QZDataRow::SetElement(QZString* name, QZString* text)
{
    return SetElement(m_columns->GetIndex(name), text);
}

QZData* QZDataRow::GetElement(QZInt64 index) { return FromWord<QZData>(m_values->list.GetElement(index)); }

QZData* QZDataRow::GetElement(const char* name) { return GetElement(m_columns->GetIndex(name)); }
QZData* QZDataRow::GetElement(const QZWChar* name) { return GetElement(m_columns->GetIndex(name)); }
QZData* QZDataRow::GetElement(QZString* name) { return GetElement(m_columns->GetIndex(name)); }

// ---- Rows

struct QZRowCollection::Rows
{
    GrowingList list;
    QZUInt64 key;

    explicit Rows(QZUInt64 collectionId) : key(collectionId) {}
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;
    ~Rows()
    {
        const QZInt64 count = list.Count();
        for (QZInt64 i = 0; i < count; ++i)
        {
            auto* row = FromWord<QZDataRow>(list.GetElement(i));
            row->SetDisposable(key, 1);
            delete row;
        }
    }
};

QZRowCollection::QZRowCollection(QZDataTable* table)
    : m_table(table), m_rows(std::make_shared<Rows>(QZObject::GetObjectID()))
{}
QZRowCollection::QZRowCollection(const QZRowCollection& other) = default;
QZRowCollection& QZRowCollection::operator=(const QZRowCollection& other) = default;
QZRowCollection::~QZRowCollection() = default;

QZInt64 QZRowCollection::GetType() { return Type; }

QZDataRow* QZRowCollection::NewRow()
{
    QZScoped<QZDataRow, QZDeleter> row(new QZDataRow(m_table->Columns));
    const QZInt64 columns = m_table->Columns->Count();
    for (QZInt64 i = 0; i < columns; ++i) row.Get()->Add();
    m_rows->list.Push(ToWord(row.Get()));
    row.Get()->SetDisposable(m_rows->key, 0);
    return row.Release();
}

void QZRowCollection::Recycle(QZDataRow** row)
{
    if (*row == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (m_rows->list.RemoveByValue(ToWord(*row)) < 1)
        QZRaise(QZExceptionCode::OperationFailed, QZ_W("QZRowCollection"), QZ_W("Recycle"))
            .Argument(QZ_W("QZDataRow**"), static_cast<QZInt64>(ToWord(*row)))
            .Throw();
    *row = nullptr;
}

QZInt64 QZRowCollection::Count() { return m_rows->list.Count(); }

QZDataRow* QZRowCollection::GetRow(QZInt64 index)
{
    return FromWord<QZDataRow>(m_rows->list.GetElement(index));
}

// ---- The table

struct QZDataTable::Parts
{
    QZUInt64 key;
    QZDataTable core;
    QZRowCollection rows;
    QZColumnCollection columns;
    QZString name;

    explicit Parts(QZUInt64 tableId) : key(tableId), core(Core()), rows(&core), columns(&core)
    {
        core.Columns = &columns;
        core.Rows = &rows;
        name.SetDisposable(key, 0);
    }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;
    ~Parts() { name.SetDisposable(key, 1); }
};

QZDataTable::QZDataTable(Core) {}

QZDataTable::QZDataTable() : m_parts(std::make_shared<Parts>(QZObject::GetObjectID()))
{
    Columns = &m_parts->columns;
    Rows = &m_parts->rows;
}
QZDataTable::QZDataTable(const QZDataTable& other) = default;
QZDataTable& QZDataTable::operator=(const QZDataTable& other) = default;
QZDataTable::~QZDataTable() = default;

QZInt64 QZDataTable::GetType() { return Type; }

QZString* QZDataTable::GetName() { return &m_parts->name; }
void QZDataTable::SetName(QZString* name) { m_parts->name.Set(name); }
void QZDataTable::SetName(const char* name) { m_parts->name.Set(name); }
void QZDataTable::SetName(const QZWChar* name) { m_parts->name.Set(name); }
