#include "net/internal/net_json_access.h"

#include <vector>

#include "fw/internal/fw_start.h"
#include "net/internal/net_json_list.h"

QZJsonString* QZJsonAccess::NewString() { return QZTake<QZJsonString>(QZJsonFactory::m_stringCache); }

JsonView QZJsonAccess::TextOf(const QZJsonValue* value)
{
    QZString* string = StringOf(value);
    return string != nullptr ? JsonViewOf(string) : Cell::View(value->m_cell);
}

void QZJsonAccess::SetText(QZJsonValue* value, JsonView text)
{
    QZString* string = StringOf(value);
    if (string == nullptr && Cell::HasParts(value->m_cell))
    {
        if (text.empty()) return;
        string = UseString(value);
    }
    if (string != nullptr)
        string->Set(text.data(), static_cast<QZInt64>(text.size()) * 2);
    else
        Cell::Assign(&value->m_cell, text);
}

void QZJsonAccess::ClearText(QZJsonValue* value)
{
    Cell::Clear(&value->m_cell);
    QZString* string = StringOf(value);
    if (string == nullptr) return;
    string->Clear();
    value->m_string.fetch_or(kNotInUse, std::memory_order_relaxed);
}

QZString* QZJsonAccess::UseString(QZJsonValue* value)
{
    const std::lock_guard<std::mutex> guard(g_jsonStringLock);
    if (QZString* string = StringOf(value)) return string;
    QZString* string = KeptStringOf(value);
    if (string == nullptr)
    {
        string = new QZString();
        string->SetDisposable(value->QZObject::GetObjectID(), 0);
        // From here on the value deletes it, also when the text cannot be copied.
        value->m_string.store(reinterpret_cast<std::uintptr_t>(string) | kNotInUse,
                              std::memory_order_relaxed);
    }
    const JsonView text = Cell::View(value->m_cell);
    string->Set(text.data(), static_cast<QZInt64>(text.size()) * 2);
    value->m_string.store(reinterpret_cast<std::uintptr_t>(string), std::memory_order_release);
    return string;
}

void QZJsonAccess::BeginParts(QZJsonValue* value)
{
    if (!TextOf(value).empty()) UseString(value);
    Cell::End(&value->m_cell);
    value->m_cell.Part = nullptr;
    Cell::Tag(value->m_cell) = Cell::kParts;
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
    {
        auto* array = static_cast<QZJsonValueCollection*>(container);
        return JsonList::TakeOut(array, JsonList::Last(array));
    }
    if (type != QZJsonObject::Type) return nullptr;
    JsonAttributes* attributes = FindAttributes(static_cast<QZJsonObject*>(container));
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
        QZObject* value = JsonList::First(static_cast<QZJsonValueCollection*>(current));
        for (; value != nullptr; value = value->LinkNext()) visit(static_cast<QZJsonValue*>(value));
    }
    return size;
}
