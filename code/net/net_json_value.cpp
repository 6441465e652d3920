#include <vector>

#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "net/net_json_internal.h"

const QZInt64 QZJsonValue::Type;
const QZInt64 QZJsonBool::Type;
const QZInt64 QZJsonDecimal::Type;
const QZInt64 QZJsonString::Type;
const QZInt64 QZJsonValueCollection::Type;
const QZInt64 QZJsonObject::Type;
const QZInt64 QZJsonNull::Type;

/// The dictionary of an object, opened for the library's own sources.
class QZJsonObject::Attributes : public QZKeyValueCollection
{
public:
    using QZKeyValueCollection::AddEntry;
    using QZKeyValueCollection::AddToCollection;
};

namespace
{
/// A string locked with an id. Values copied by value share it, and the last one unlocks and deletes it.
std::shared_ptr<QZString> OwnedText(QZUInt64 owner)
{
    QZString* text = new QZString();
    text->SetDisposable(owner, 0);
    return std::shared_ptr<QZString>(text, [owner](QZString* t) {
        t->SetDisposable(owner, 1);
        delete t;
    });
}

/// A value that left its place: what somebody else has locked meanwhile is theirs.
void DiscardFree(QZObject* value)
{
    if (value && value->IsDisposable()) QZJsonAccess::Discard(static_cast<QZJsonValue*>(value));
}
}  // namespace

// ---------------------------------------------------------------------------------------------------------------------

QZJsonValue::QZJsonValue() : m_val(OwnedText(QZObject::GetObjectID())) {}
QZJsonValue::~QZJsonValue() = default;

QZObject* QZJsonValue::NewObject() { return new QZJsonValue(); }
void QZJsonValue::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonValue::GetMemorySize() { return QZObject::GetMemorySize() + m_val->GetMemorySize(); }
QZInt64 QZJsonValue::GetType() { return 0x8010000; }

QZString* QZJsonValue::ToString() { return QZStringFactory::CreateString(); }

void QZJsonValue::Recycle(QZString** text)
{
    if (!*text)
    {
        QZLibAssert(0);
        return;
    }
    if (!(*text)->IsDisposable()) return;
    delete *text;
    *text = nullptr;
}

void QZJsonValue::Val(QZString* text) { m_val->Set(text); }
QZString* QZJsonValue::Val() { return m_val.get(); }

// ---------------------------------------------------------------------------------------------------------------------

QZJsonBool::QZJsonBool() = default;
QZObject* QZJsonBool::NewObject() { return new QZJsonBool(); }
void QZJsonBool::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonBool::GetType() { return 0x8010010; }
QZString* QZJsonBool::ToString() { return JsonToText(this); }
void QZJsonBool::Val(QZBool value) { Val()->Set(value ? QZ_W("true") : QZ_W("false")); }

QZJsonDecimal::QZJsonDecimal() = default;
QZObject* QZJsonDecimal::NewObject() { return new QZJsonDecimal(); }
void QZJsonDecimal::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonDecimal::GetType() { return 0x8010020; }
QZString* QZJsonDecimal::ToString() { return JsonToText(this); }

QZJsonString::QZJsonString() = default;
QZObject* QZJsonString::NewObject() { return new QZJsonString(); }
void QZJsonString::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonString::GetType() { return 0x8010030; }
QZString* QZJsonString::ToString() { return JsonToText(this); }

void QZJsonString::Recycle(QZString** text)
{
    if (!*text)
    {
        QZLibAssert(0);
        return;
    }
    if (*text != QZJsonAccess::ValOf(this)) delete *text;
    *text = nullptr;
}

QZJsonNull::QZJsonNull() = default;
QZObject* QZJsonNull::NewObject() { return new QZJsonNull(); }
void QZJsonNull::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonNull::GetType() { return 0x8010060; }
QZString* QZJsonNull::ToString() { return JsonToText(this); }

// ---------------------------------------------------------------------------------------------------------------------

QZJsonValueCollection::QZJsonValueCollection()
    : m_list(new QZList<QZJsonValue>(), [](QZList<QZJsonValue>* list) {
          while (QZJsonValue* value = list->Pop()) DiscardFree(value);
          delete list;
      })
{}

QZObject* QZJsonValueCollection::NewObject() { return new QZJsonValueCollection(); }
void QZJsonValueCollection::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonValueCollection::GetMemorySize()
{
    return QZJsonValue::GetMemorySize() + QZJsonAccess::SizeOfContent(this);
}

QZInt64 QZJsonValueCollection::GetType() { return 0x8010040; }
QZString* QZJsonValueCollection::ToString() { return JsonToText(this); }

QZJsonValue* QZJsonValueCollection::Pop() { return m_list->Pop(); }
QZJsonValue* QZJsonValueCollection::GetElement(QZInt64 index) { return m_list->GetElement(index); }
QZBool QZJsonValueCollection::Push(QZJsonValue* value) { return m_list->Push(value); }
QZInt64 QZJsonValueCollection::Count() { return m_list->Count(); }
QZJsonValue* QZJsonValueCollection::DeQueue() { return m_list->DeQueue(); }
QZBool QZJsonValueCollection::EnQueue(QZJsonValue* value) { return m_list->EnQueue(value); }
QZBool QZJsonValueCollection::AddFirst(QZJsonValue* value) { return m_list->AddFirst(value); }
QZBool QZJsonValueCollection::AddLast(QZJsonValue* value) { return m_list->AddLast(value); }
QZJsonValue* QZJsonValueCollection::GetFirst() { return m_list->GetFirst(); }
QZJsonValue* QZJsonValueCollection::GetLast() { return m_list->GetLast(); }

// ---------------------------------------------------------------------------------------------------------------------

QZJsonObject::QZJsonObject()
    : m_attributes(new Attributes(), [](Attributes* attributes) {
          for (QZInt64 i = attributes->Count() - 1; i >= 0; --i)
          {
              QZObject* value = attributes->GetElement(i);
              attributes->RemoveElement(i);
              DiscardFree(value);
          }
          delete attributes;
      })
{}

QZObject* QZJsonObject::NewObject() { return new QZJsonObject(); }
void QZJsonObject::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonObject::GetMemorySize()
{
    return QZJsonValue::GetMemorySize() + QZJsonAccess::SizeOfContent(this);
}

QZInt64 QZJsonObject::GetType() { return 0x8010050; }
QZString* QZJsonObject::ToString() { return JsonToText(this); }

QZInt64 QZJsonObject::AttrCount() { return m_attributes->Count(); }
void QZJsonObject::Recycle(QZJsonValue** value) { QZJsonFactory::Recycle(value); }

QZJsonValue* QZJsonObject::RemoveAttr(const char* name) { return RemoveAttr(m_attributes->GetIndex(name)); }
QZJsonValue* QZJsonObject::RemoveAttr(const QZWChar* name)
{
    return RemoveAttr(m_attributes->GetIndex(name));
}
QZJsonValue* QZJsonObject::RemoveAttr(QZString* name) { return RemoveAttr(m_attributes->GetIndex(name)); }

QZJsonValue* QZJsonObject::RemoveAttr(QZInt64 index)
{
    QZJsonValue* value = GetAttrValue(index);
    if (value) m_attributes->RemoveElement(index);
    return value;
}

QZJsonValue* QZJsonObject::GetAttrValue(QZInt64 index)
{
    return static_cast<QZJsonValue*>(m_attributes->GetElement(index));
}

QZString* QZJsonObject::GetAttrName(QZInt64 index) { return m_attributes->ToKey(index); }

// ---------------------------------------------------------------------------------------------------------------------

QZKeyValueCollection* QZJsonAccess::AttributesOf(QZJsonObject* object) { return object->m_attributes.get(); }

void QZJsonAccess::SetAttr(QZJsonObject* object, QZString* name, QZInt64 index, QZJsonValue* value)
{
    QZJsonObject::Attributes* attributes = object->m_attributes.get();
    if (index >= 0)
    {
        QZStringFactory::Recycle(&name);
        QZJsonValue* old = static_cast<QZJsonValue*>(attributes->GetElement(index));
        attributes->SetElement(index, value);
        QZJsonFactory::Recycle(&old);
        return;
    }
    // The dictionary itself refuses an empty name.
    if (name->GetLength() == 0) attributes->AddToCollection(name, value);
    attributes->AddEntry(name, value);
}

void QZJsonAccess::SetAttr(QZJsonObject* object, const QZWChar* name, QZJsonValue* value)
{
    QZString* key = QZStringFactory::CreateString(name);
    SetAttr(object, key, object->m_attributes->GetIndex(key), value);
}

void QZJsonAccess::SetAttr(QZJsonObject* object, QZString* name, QZJsonValue* value)
{
    QZString* key = QZStringFactory::CreateString(name);
    SetAttr(object, key, object->m_attributes->GetIndex(key), value);
}

QZJsonValue* QZJsonAccess::TakeLast(QZJsonValue* container)
{
    const QZInt64 type = container->GetType();
    if (type == QZJsonValueCollection::Type)
        return static_cast<QZJsonValueCollection*>(container)->m_list->Pop();
    if (type != QZJsonObject::Type) return nullptr;
    auto* object = static_cast<QZJsonObject*>(container);
    return object->RemoveAttr(object->m_attributes->Count() - 1);
}

void QZJsonAccess::Discard(QZJsonValue* value)
{
    std::vector<QZJsonValue*> open{value};
    while (!open.empty())
    {
        QZJsonValue* inner = TakeLast(open.back());
        if (!inner)
        {
            delete open.back();
            open.pop_back();
        }
        else if (inner->IsDisposable())
        {
            open.push_back(inner);
        }
    }
}

QZInt64 QZJsonAccess::SizeOfContent(QZJsonValue* container)
{
    QZInt64 size = 0;
    std::vector<QZJsonValue*> open{container};
    auto visit = [&](QZJsonValue* value) {
        const QZInt64 type = value->GetType();
        const bool nested = type == QZJsonValueCollection::Type || type == QZJsonObject::Type;
        size += nested ? value->QZJsonValue::GetMemorySize() : value->GetMemorySize();
        if (nested) open.push_back(value);
    };
    while (!open.empty())
    {
        QZJsonValue* current = open.back();
        open.pop_back();
        if (current->GetType() == QZJsonObject::Type)
        {
            auto* object = static_cast<QZJsonObject*>(current);
            const QZInt64 count = object->AttrCount();
            for (QZInt64 i = 0; i < count; ++i) visit(object->GetAttrValue(i));
            continue;
        }
        QZObject* value = static_cast<QZJsonValueCollection*>(current)->m_list->GetFirst();
        for (; value; value = value->LinkNext()) visit(static_cast<QZJsonValue*>(value));
    }
    return size;
}
