// Conversion of tables to JSON and back.

#include "fw/fw_convert.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_data_type.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_table.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_json_access.h"

namespace
{
/// The column type of a value; 0 when the value makes no column.
QZInt64 ColumnTypeOf(QZJsonValue* value)
{
    switch (value->GetType())
    {
        case QZJsonBool::Type: return QZDataType::BOOL;
        case QZJsonDecimal::Type:
            return value->Val()->Contains(static_cast<QZWChar>('.')) ? QZDataType::DOUBLE : QZDataType::INT64;
        case QZJsonString::Type: return QZDataType::TEXTUTF16LE;
        default: return 0;
    }
}

/// False for null, arrays and objects, whose text no element can hold.
bool HasText(QZJsonValue* value)
{
    const QZInt64 type = value->GetType();
    return type == QZJsonBool::Type || type == QZJsonDecimal::Type || type == QZJsonString::Type;
}

/// The item as an object, or null.
QZJsonObject* ObjectOf(QZObject* item)
{
    return item->GetType() == QZJsonObject::Type ? static_cast<QZJsonObject*>(item) : nullptr;
}

[[noreturn]] void ThrowFormat(const QZWChar* text, QZInt64 index)
{
    QZJsonException* exception =
        QZTrace(QZExceptionFactory::CreateJsonException(QZJsonExceptionCode::JsonFormatException),
                QZ_W("QZJsonFactory"), QZ_W("Json2DataTable"))
            .Exception();
    exception->GetMsg()->Append(text);
    if (index >= 0) exception->GetMsg()->Append(index);
    throw exception;
}

/// Adds all columns. This comes before the first row, because a table with rows takes no more columns.
void AddColumns(QZDataTable* table, QZJsonValueCollection* values)
{
    QZInt64 row = 0;
    for (QZObject* item = values->GetFirst(); item != nullptr; item = item->LinkNext(), ++row)
    {
        QZJsonObject* object = ObjectOf(item);
        if (object == nullptr) ThrowFormat(QZ_W(" Item is not QZJsonObject at row index "), row);
        const QZInt64 count = object->AttrCount();
        for (QZInt64 i = 0; i < count; ++i)
        {
            const QZInt64 type = ColumnTypeOf(object->GetAttrValue(i));
            if (type != 0 && table->Columns->GetIndex(object->GetAttrName(i)) < 0)
                table->Columns->Add(object->GetAttrName(i), type);
        }
    }
}

/// The value of one element; null for an empty one.
QZJsonValue* ValueOf(QZData* element, QZInt64 type)
{
    if (element == nullptr) return QZJsonFactory::CreateNull();
    const QZScopedString text(QZConvert::DataToText(element, type));
    switch (type)
    {
        case QZDataType::BOOL: return QZJsonFactory::CreateBool(text->Equals(QZ_W("true"), 1));
        case QZDataType::INT8:
        case QZDataType::INT16:
        case QZDataType::INT32:
        case QZDataType::INT64:
        case QZDataType::TIMESTAMP:
        case QZDataType::BYTE:
            return QZJsonFactory::CreateDecimal(static_cast<double>(QZConvert::StringToInt64(text.Get())));
        case QZDataType::DOUBLE:
        case QZDataType::FLOAT: return QZJsonFactory::CreateDecimal(QZConvert::StringToDouble(text.Get()));
        default: return QZJsonFactory::CreateString(text.Get());
    }
}
}  // namespace

void QZJsonFactory::Json2DataTable(QZDataTable* table, QZJsonValueCollection* values)
{
    for (QZObject* item = values->GetFirst(); item != nullptr; item = item->LinkNext())
    {
        QZDataRow* row = table->Rows->NewRow();
        QZJsonObject* object = ObjectOf(item);
        const QZInt64 count = object != nullptr ? object->AttrCount() : 0;
        for (QZInt64 i = 0; i < count; ++i)
        {
            QZJsonValue* value = object->GetAttrValue(i);
            const QZInt64 column = table->Columns->GetIndex(object->GetAttrName(i));
            if (column >= 0 && HasText(value)) row->SetElement(column, value->Val());
        }
    }
}

QZDataTable* QZJsonFactory::Json2DataTable(QZJsonValueCollection* values)
{
    // Hosts pass on values without testing their class, so GetType is called on a plain object.
    auto* object = static_cast<QZObject*>(static_cast<void*>(values));
    if (object == nullptr || object->GetType() != QZJsonValueCollection::Type)
        ThrowFormat(QZ_W(" Argument is not QZJsonValueCollection"), -1);
    QZDataTable* table = new QZDataTable();
    try
    {
        AddColumns(table, values);
        Json2DataTable(table, values);
    }
    catch (QZException*)
    {
        Recycle(&table);
        throw;
    }
    return table;
}

QZJsonValueCollection* QZJsonFactory::DataTable2Json(QZDataTable* table)
{
    QZJsonValueCollection* result = CreateValueCollection();
    try
    {
        const QZInt64 columns = table->Columns->Count();
        for (QZInt64 r = 0; r < table->Rows->Count(); ++r)
        {
            QZJsonObject* object = CreateObject();
            result->Push(object);
            QZDataRow* row = table->Rows->GetRow(r);
            for (QZInt64 i = 0; i < columns; ++i)
                QZJsonAccess::SetAttr(object, table->Columns->GetColumn(i),
                                      ValueOf(row->GetElement(i), table->Columns->GetElementType(i)));
        }
    }
    catch (QZException*)
    {
        Recycle(&result);
        throw;
    }
    return result;
}
