#include "net/internal/net_json_access.h"

#include <vector>

#include "fw/internal/fw_start.h"

QZJsonString* QZJsonAccess::NewString() { return QZTake<QZJsonString>(QZJsonFactory::m_stringCache); }

JsonView QZJsonAccess::TextOf(QZJsonValue* value)
{
    QZString* string = StringOf(value);
    return string != nullptr ? JsonViewOf(string) : JsonView(value->m_text);
}

void QZJsonAccess::SetText(QZJsonValue* value, JsonView text)
{
    if (QZString* string = StringOf(value))
        string->Set(text.data(), static_cast<QZInt64>(text.size()) * 2);
    else
        value->m_text.assign(text);
}

void QZJsonAccess::ClearText(QZJsonValue* value)
{
    value->m_text.clear();
    if (StringOf(value) == nullptr) return;
    value->m_string->Clear();
    value->m_val.store(nullptr, std::memory_order_relaxed);
}

QZJsonObject* QZJsonAccess::NewSmallObject()
{
    QZObjectCache* cache = QZJsonFactory::m_objectCache;
    return cache->Count() > 0 ? QZTake<QZJsonObject>(cache) : new QZJsonObject(nullptr);
}

JsonAttributes* QZJsonAccess::AttributesOf(QZJsonObject* object)
{
    if (object->m_attributes == nullptr) object->m_attributes = std::make_shared<JsonAttributes>(false);
    return object->m_attributes.get();
}

void QZJsonAccess::SetAttr(QZJsonObject* object, JsonView name, QZInt64 index, QZJsonValue* value)
{
    JsonAttributes* attributes = AttributesOf(object);
    if (index < 0) return attributes->Add(name, value);
    QZJsonValue* old = attributes->Replace(index, value);
    QZJsonFactory::Recycle(&old);
}

void QZJsonAccess::SetAttr(QZJsonObject* object, const QZWChar* name, QZJsonValue* value)
{
    SetAttr(object, name, AttributesOf(object)->Find(name), value);
}

void QZJsonAccess::SetAttr(QZJsonObject* object, QZString* name, QZJsonValue* value)
{
    const JsonView view = JsonViewOf(name);
    SetAttr(object, view, AttributesOf(object)->Find(view), value);
}

QZJsonValue* QZJsonAccess::TakeLast(QZJsonValue* container)
{
    const QZInt64 type = container->GetType();
    if (type == QZJsonValueCollection::Type)
        return static_cast<QZJsonValueCollection*>(container)->m_list->Pop();
    if (type != QZJsonObject::Type) return nullptr;
    auto* object = static_cast<QZJsonObject*>(container);
    JsonAttributes* attributes = object->m_attributes.get();
    return attributes != nullptr ? attributes->Remove(attributes->Count() - 1) : nullptr;
}

void QZJsonAccess::Discard(QZJsonValue* value)
{
    std::vector<QZJsonValue*> open{value};
    while (!open.empty())
    {
        QZJsonValue* inner = TakeLast(open.back());
        if (inner == nullptr)
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

void QZJsonAccess::DiscardFree(QZJsonValue* value)
{
    if (value != nullptr && value->IsDisposable()) Discard(value);
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
        for (; value != nullptr; value = value->LinkNext()) visit(static_cast<QZJsonValue*>(value));
    }
    return size;
}
