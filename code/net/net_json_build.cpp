// The additions to the JSON values: exact numbers, and arrays and objects that hosts build and change.

#include <optional>

#include "fw/fw_convert.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_json_access.h"
#include "net/internal/net_json_list.h"

namespace
{
/// Recycles a value that was removed, unless somebody else has locked it.
void RecycleFree(QZJsonValue* value)
{
    if (value != nullptr && value->IsDisposable()) QZJsonFactory::Recycle(&value);
}

/// Sets the text of a number and recycles the string.
void TakeText(QZJsonDecimal* number, QZString* text)
{
    QZJsonAccess::SetText(number, JsonViewOf(text));
    QZStringFactory::Recycle(&text);
}

/// Reads the text of a number with one of QZConvert's strict operations.
template <typename T>
QZBool ReadText(QZJsonDecimal* number, QZBool (*read)(const QZWChar*, T*), T* value)
{
    const JsonView text = QZJsonAccess::TextOf(number);
    // A unit of 0 would end the text too early.
    if (text.find(QZWChar()) != JsonView::npos) return 0;
    return read(text.data(), value);
}

QZException* NullPointer(const QZWChar* className, const QZWChar* method, const QZWChar* type)
{
    return QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::NullPointer), className, method)
        .Argument(type, static_cast<const QZWChar*>(nullptr))
        .Exception();
}

/// A name of any of the three kinds as a view.
class Name
{
public:
    Name(const char* name, const QZWChar* method)
    {
        if (name == nullptr) throw NullPointer(QZ_W("QZJsonObject"), method, QZ_W("QZChar*"));
        m_view = JsonViewOf(&m_wide.emplace(name));
    }
    Name(const QZWChar* name, const QZWChar* method)
    {
        if (name == nullptr) throw NullPointer(QZ_W("QZJsonObject"), method, QZ_W("QZWChar*"));
        m_view = name;
    }
    Name(QZString* name, const QZWChar* method)
    {
        if (name == nullptr) throw NullPointer(QZ_W("QZJsonObject"), method, QZ_W("QZString*"));
        m_view = JsonViewOf(name);
    }
    Name(const Name&) = delete;
    Name& operator=(const Name&) = delete;

    JsonView View() const { return m_view; }

private:
    std::optional<QZString> m_wide;
    JsonView m_view;
};

QZInt64 IndexOf(QZJsonObject* object, const Name& name)
{
    return object->AttrCount() == 0 ? -1 : QZJsonAccess::AttributesOf(object)->FindExact(name.View());
}

QZJsonValue* TakeOut(QZJsonObject* object, const Name& name)
{
    const QZInt64 index = IndexOf(object, name);
    return index < 0 ? nullptr : QZJsonAccess::AttributesOf(object)->Remove(index);
}

QZBool RemoveFrom(QZJsonObject* object, const Name& name)
{
    QZJsonValue* value = TakeOut(object, name);
    RecycleFree(value);
    return value != nullptr;
}

void SetIn(QZJsonObject* object, const Name& name, QZJsonValue* value)
{
    if (value == nullptr) throw NullPointer(QZ_W("QZJsonObject"), QZ_W("Set"), QZ_W("QZJsonValue*"));
    JsonAttributes* attributes = QZJsonAccess::AttributesOf(object);
    const QZInt64 index = IndexOf(object, name);
    if (index < 0)
        attributes->Append(name.View(), value);
    else
        RecycleFree(attributes->Exchange(index, value));
}
}  // namespace

// ---- Truth values and numbers

QZBool QZJsonBool::IsTrue() { return JsonSameName(QZJsonAccess::TextOf(this), QZ_W("true")); }

void QZJsonDecimal::SetDouble(double value) { TakeText(this, QZConvert::FormatDouble(value)); }
void QZJsonDecimal::SetInt64(QZInt64 value) { TakeText(this, QZConvert::Int64ToString(value)); }
void QZJsonDecimal::SetUInt64(QZUInt64 value) { TakeText(this, QZConvert::UInt64ToString(value)); }

QZBool QZJsonDecimal::GetDouble(double* value) { return ReadText(this, &QZConvert::ParseDouble, value); }
QZBool QZJsonDecimal::GetInt64(QZInt64* value) { return ReadText(this, &QZConvert::ParseInt64, value); }
QZBool QZJsonDecimal::GetUInt64(QZUInt64* value) { return ReadText(this, &QZConvert::ParseUInt64, value); }

// ---- Arrays

QZJsonValue* QZJsonValueCollection::At(QZInt64 index)
{
    if (index < 0 || index >= JsonList::Count(this)) return nullptr;
    QZJsonValue* value = JsonList::First(this);
    for (QZInt64 i = 0; i < index; ++i) value = Next(value);
    return value;
}

QZJsonValue* QZJsonValueCollection::Next(QZJsonValue* value)
{
    return value == nullptr ? nullptr : static_cast<QZJsonValue*>(value->LinkNext());
}

void QZJsonValueCollection::Add(QZJsonValue* value) { JsonList::AddLast(this, value, QZ_W("Push")); }

void QZJsonValueCollection::Insert(QZInt64 index, QZJsonValue* value)
{
    const QZInt64 count = JsonList::Count(this);
    if (index < 0 || index > count)
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange),
                      QZ_W("QZJsonValueCollection"), QZ_W("Insert"))
            .Argument(QZ_W("QZInt64"), index)
            .Exception();
    // The first addition throws for a value that cannot be added; the list is as it was then.
    Add(value);
    JsonList::TakeOut(this, value);
    QZList<QZJsonValue> behind;
    for (QZInt64 i = count; i > index; --i) behind.AddFirst(JsonList::TakeOut(this, JsonList::Last(this)));
    Add(value);
    while (QZJsonValue* next = behind.DeQueue()) Add(next);
}

QZJsonValue* QZJsonValueCollection::TakeAt(QZInt64 index)
{
    QZJsonValue* value = At(index);
    JsonList::Remove(this, value);
    return value;
}

QZBool QZJsonValueCollection::RemoveAt(QZInt64 index)
{
    QZJsonValue* value = TakeAt(index);
    RecycleFree(value);
    return value != nullptr;
}

// ---- Objects

QZJsonValue* QZJsonObject::Find(const char* name)
{
    return GetAttrValue(IndexOf(this, Name(name, QZ_W("Find"))));
}
QZJsonValue* QZJsonObject::Find(const QZWChar* name)
{
    return GetAttrValue(IndexOf(this, Name(name, QZ_W("Find"))));
}
QZJsonValue* QZJsonObject::Find(QZString* name)
{
    return GetAttrValue(IndexOf(this, Name(name, QZ_W("Find"))));
}

void QZJsonObject::Set(const char* name, QZJsonValue* value) { SetIn(this, Name(name, QZ_W("Set")), value); }
void QZJsonObject::Set(const QZWChar* name, QZJsonValue* value)
{
    SetIn(this, Name(name, QZ_W("Set")), value);
}
void QZJsonObject::Set(QZString* name, QZJsonValue* value) { SetIn(this, Name(name, QZ_W("Set")), value); }

QZBool QZJsonObject::Remove(const char* name) { return RemoveFrom(this, Name(name, QZ_W("Remove"))); }
QZBool QZJsonObject::Remove(const QZWChar* name) { return RemoveFrom(this, Name(name, QZ_W("Remove"))); }
QZBool QZJsonObject::Remove(QZString* name) { return RemoveFrom(this, Name(name, QZ_W("Remove"))); }

QZJsonValue* QZJsonObject::Take(const char* name) { return TakeOut(this, Name(name, QZ_W("Take"))); }
QZJsonValue* QZJsonObject::Take(const QZWChar* name) { return TakeOut(this, Name(name, QZ_W("Take"))); }
QZJsonValue* QZJsonObject::Take(QZString* name) { return TakeOut(this, Name(name, QZ_W("Take"))); }
