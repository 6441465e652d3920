#include "fw/fw_block.h"
#include "fw/fw_container.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_raise.h"
#include "net/internal/net_json_access.h"
#include "net/internal/net_json_list.h"

const QZInt64 QZJsonValue::Type;
const QZInt64 QZJsonBool::Type;
const QZInt64 QZJsonDecimal::Type;
const QZInt64 QZJsonString::Type;
const QZInt64 QZJsonValueCollection::Type;
const QZInt64 QZJsonObject::Type;
const QZInt64 QZJsonNull::Type;

namespace
{
/// The memory that a string of so many units takes from the memory manager.
QZInt64 SizeOfString(std::size_t units)
{
    static const QZInt64 kEmpty = QZString().GetMemorySize();
    const QZInt64 length = block::Length(0, block::kDefaultOffset, static_cast<QZInt64>(units) * 2);
    if (length <= block::kCapacityStep) return kEmpty;
    return kEmpty + (length - 1) / block::kCapacityStep * block::kCapacityStep;
}

[[noreturn]] void ThrowNullName(const QZWChar* type)
{
    QZRaise(QZExceptionCode::NullPointer, QZ_W("QZKeyValueCollection"), QZ_W("GetIndex"))
        .Argument(type, static_cast<const QZWChar*>(nullptr))
        .Throw();
}

QZJsonValue* RemoveNamed(QZJsonObject* object, JsonView name)
{
    JsonAttributes* attributes = QZJsonAccess::FindAttributes(object);
    return attributes != nullptr ? object->RemoveAttr(attributes->Find(name)) : nullptr;
}
}  // namespace

// ---- Values

QZJsonValue::QZJsonValue() { QZJsonAccess::Cell::Begin(&m_cell); }
QZJsonValue::QZJsonValue(const QZJsonValue& other) : QZObject(other)
{
    QZJsonAccess::Cell::Begin(&m_cell);
    *this = other;
}

QZJsonValue& QZJsonValue::operator=(const QZJsonValue& other)
{
    if (this == &other) return *this;
    const QZUInt64 key = QZObject::GetObjectID();
    QZObject::operator=(other);
    if (QZString* string = QZJsonAccess::KeptStringOf(this))
    {
        // The base class copied the object id, and the string is locked under the id.
        string->SetDisposable(key, 1);
        string->SetDisposable(QZObject::GetObjectID(), 0);
    }
    QZJsonAccess::SetText(this, QZJsonAccess::TextOf(&other));
    return *this;
}

QZJsonValue::~QZJsonValue()
{
    QZJsonAccess::Cell::End(&m_cell);
    QZString* string = QZJsonAccess::KeptStringOf(this);
    if (string == nullptr) return;
    string->SetDisposable(QZObject::GetObjectID(), 1);
    delete string;
}

QZObject* QZJsonValue::NewObject() { return new QZJsonValue(); }
void QZJsonValue::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonValue::GetMemorySize()
{
    QZString* string = QZJsonAccess::KeptStringOf(this);
    return QZObject::GetMemorySize() +
           (string != nullptr ? string->GetMemorySize() : SizeOfString(QZJsonAccess::Cell::Capacity(m_cell)));
}
QZInt64 QZJsonValue::GetType() { return Type; }

QZString* QZJsonValue::ToString() { return QZStringFactory::CreateString(); }

void QZJsonValue::Recycle(QZString** text)
{
    if (*text == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (!(*text)->IsDisposable()) return;
    delete *text;
    *text = nullptr;
}

void QZJsonValue::Val(QZString* text) { QZJsonValue::Val()->Set(text); }

QZString* QZJsonValue::Val()
{
    QZString* string = QZJsonAccess::StringOf(this);
    return string != nullptr ? string : QZJsonAccess::UseString(this);
}

// ---- Values with a text

QZJsonBool::QZJsonBool() = default;
QZObject* QZJsonBool::NewObject() { return new QZJsonBool(); }
void QZJsonBool::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonBool::GetType() { return Type; }
QZString* QZJsonBool::ToString() { return JsonToText(this); }
void QZJsonBool::Val(QZBool value) { QZJsonAccess::SetText(this, value ? QZ_W("true") : QZ_W("false")); }

QZJsonDecimal::QZJsonDecimal() = default;
QZObject* QZJsonDecimal::NewObject() { return new QZJsonDecimal(); }
void QZJsonDecimal::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonDecimal::GetType() { return Type; }
QZString* QZJsonDecimal::ToString() { return JsonToText(this); }

QZJsonString::QZJsonString() = default;
QZObject* QZJsonString::NewObject() { return new QZJsonString(); }
void QZJsonString::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonString::GetType() { return Type; }
QZString* QZJsonString::ToString() { return JsonToText(this); }

void QZJsonString::Recycle(QZString** text)
{
    if (*text == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (*text != QZJsonAccess::StringOf(this)) delete *text;
    *text = nullptr;
}

QZJsonNull::QZJsonNull() = default;
QZObject* QZJsonNull::NewObject() { return new QZJsonNull(); }
void QZJsonNull::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonNull::GetType() { return Type; }
QZString* QZJsonNull::ToString() { return JsonToText(this); }

// ---- Arrays

QZJsonValueCollection::QZJsonValueCollection() { QZJsonAccess::BeginParts(this); }
QZJsonValueCollection::QZJsonValueCollection(const QZJsonValueCollection& other) : QZJsonValue(other)
{
    QZJsonAccess::BeginParts(this);
    JsonList::Share(this, &other);
}

QZJsonValueCollection& QZJsonValueCollection::operator=(const QZJsonValueCollection& other)
{
    if (this == &other) return *this;
    JsonList::KeepKey(this);
    QZJsonValue::operator=(other);
    JsonList::Share(this, &other);
    return *this;
}

QZJsonValueCollection::~QZJsonValueCollection() { JsonList::End(this); }

QZObject* QZJsonValueCollection::NewObject() { return new QZJsonValueCollection(); }
void QZJsonValueCollection::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonValueCollection::GetMemorySize()
{
    return QZJsonValue::GetMemorySize() + QZJsonAccess::SizeOfContent(this);
}

QZInt64 QZJsonValueCollection::GetType() { return Type; }
QZString* QZJsonValueCollection::ToString() { return JsonToText(this); }

QZJsonValue* QZJsonValueCollection::Pop() { return JsonList::TakeOut(this, JsonList::Last(this)); }

QZJsonValue* QZJsonValueCollection::GetElement(QZInt64 index)
{
    // Hosts get the exception of a container that has no such index.
    if (index < 0 || index >= JsonList::Count(this)) QZContainer().GetElement(index);
    return At(index);
}

QZBool QZJsonValueCollection::Push(QZJsonValue* value)
{
    JsonList::AddLast(this, value, QZ_W("Push"));
    return 1;
}

QZInt64 QZJsonValueCollection::Count() { return JsonList::Count(this); }
QZJsonValue* QZJsonValueCollection::DeQueue() { return JsonList::TakeOut(this, JsonList::First(this)); }

QZBool QZJsonValueCollection::EnQueue(QZJsonValue* value)
{
    JsonList::AddLast(this, value, QZ_W("EnQueue"));
    return 1;
}

QZBool QZJsonValueCollection::AddFirst(QZJsonValue* value)
{
    JsonList::AddFirst(this, value);
    return 1;
}

QZBool QZJsonValueCollection::AddLast(QZJsonValue* value)
{
    JsonList::AddLast(this, value, QZ_W("Push"));
    return 1;
}

QZJsonValue* QZJsonValueCollection::GetFirst() { return JsonList::First(this); }
QZJsonValue* QZJsonValueCollection::GetLast() { return JsonList::Last(this); }

// ---- Objects

QZJsonObject::QZJsonObject()
{
    QZJsonAccess::BeginParts(this);
    QZJsonAccess::BeginAttributes(this, true);
}
QZJsonObject::QZJsonObject(std::nullptr_t)
{
    QZJsonAccess::BeginParts(this);
    QZJsonAccess::BeginAttributes(this, false);
}

QZJsonObject::QZJsonObject(const QZJsonObject& other) : QZJsonValue(other)
{
    QZJsonAccess::BeginParts(this);
    QZJsonAccess::ShareAttributes(this, &other);
}

QZJsonObject& QZJsonObject::operator=(const QZJsonObject& other)
{
    if (this == &other) return *this;
    QZJsonValue::operator=(other);
    QZJsonAccess::ShareAttributes(this, &other);
    return *this;
}

QZJsonObject::~QZJsonObject() { QZJsonAccess::EndAttributes(this); }

QZObject* QZJsonObject::NewObject() { return new QZJsonObject(); }
void QZJsonObject::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonObject::GetMemorySize()
{
    return QZJsonValue::GetMemorySize() + QZJsonAccess::SizeOfContent(this);
}

QZInt64 QZJsonObject::GetType() { return Type; }
QZString* QZJsonObject::ToString() { return JsonToText(this); }

QZInt64 QZJsonObject::AttrCount()
{
    const JsonAttributes* attributes = QZJsonAccess::FindAttributes(this);
    return attributes != nullptr ? attributes->Count() : 0;
}
void QZJsonObject::Recycle(QZJsonValue** value) { QZJsonFactory::Recycle(value); }

QZJsonValue* QZJsonObject::RemoveAttr(const char* name)
{
    if (name == nullptr) ThrowNullName(QZ_W("QZChar*"));
    QZString text(name);
    return RemoveNamed(this, JsonViewOf(&text));
}

QZJsonValue* QZJsonObject::RemoveAttr(const QZWChar* name)
{
    if (name == nullptr) ThrowNullName(QZ_W("QZWChar*"));
    return RemoveNamed(this, name);
}

QZJsonValue* QZJsonObject::RemoveAttr(QZString* name)
{
    if (name == nullptr) ThrowNullName(QZ_W("QZString*"));
    return RemoveNamed(this, JsonViewOf(name));
}

QZJsonValue* QZJsonObject::RemoveAttr(QZInt64 index)
{
    JsonAttributes* attributes = QZJsonAccess::FindAttributes(this);
    return attributes != nullptr ? attributes->Remove(index) : nullptr;
}
QZJsonValue* QZJsonObject::GetAttrValue(QZInt64 index)
{
    JsonAttributes* attributes = QZJsonAccess::FindAttributes(this);
    return attributes != nullptr ? attributes->ValueAt(index) : nullptr;
}
QZString* QZJsonObject::GetAttrName(QZInt64 index)
{
    JsonAttributes* attributes = QZJsonAccess::FindAttributes(this);
    return attributes != nullptr ? attributes->StringAt(index) : nullptr;
}
