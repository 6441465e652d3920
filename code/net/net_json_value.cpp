#include <mutex>
#include <vector>

#include "fw/fw_block.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_json_internal.h"

const QZInt64 QZJsonValue::Type;
const QZInt64 QZJsonBool::Type;
const QZInt64 QZJsonDecimal::Type;
const QZInt64 QZJsonString::Type;
const QZInt64 QZJsonValueCollection::Type;
const QZInt64 QZJsonObject::Type;
const QZInt64 QZJsonNull::Type;

namespace
{
/// Strings are made out of texts under this lock, so that readers of one value may come from several threads.
std::mutex g_asking;

/// What a string of so many units takes of the memory manager.
QZInt64 SizeOfString(std::size_t units)
{
    static const QZInt64 empty = QZString().GetMemorySize();
    const QZInt64 length = block::Length(0, block::kDefaultOffset, static_cast<QZInt64>(units) * 2);
    if (length <= block::kCapacityStep) return empty;
    return empty + (length - 1) / block::kCapacityStep * block::kCapacityStep;
}

JsonView ViewOf(QZString* text) { return {text->GetPointer(), static_cast<std::size_t>(text->GetLength())}; }

unsigned Fold(QZWChar unit)
{
    const auto u = static_cast<unsigned>(unit);
    return u - 'A' < 26u ? u + 32 : u;
}

[[noreturn]] void ThrowNullName(const QZWChar* type)
{
    throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::NullPointer),
                  QZ_W("QZKeyValueCollection"), QZ_W("GetIndex"))
        .Argument(type, static_cast<const QZWChar*>(nullptr))
        .Exception();
}

/// A value that left its place: what somebody else has locked meanwhile is theirs.
void DiscardFree(QZJsonValue* value)
{
    if (value && value->IsDisposable()) QZJsonAccess::Discard(value);
}
}  // namespace

// ---------------------------------------------------------------------------------------------------------------------

QZJsonValue::QZJsonValue() = default;
QZJsonValue::QZJsonValue(const QZJsonValue& other) : QZObject(other) { *this = other; }

QZJsonValue& QZJsonValue::operator=(const QZJsonValue& other)
{
    if (this == &other) return *this;
    const QZUInt64 key = QZObject::GetObjectID();
    QZObject::operator=(other);
    if (m_string)
    {
        // The id came along, and the string is locked under it.
        m_string->SetDisposable(key, 1);
        m_string->SetDisposable(QZObject::GetObjectID(), 0);
    }
    QZJsonAccess::SetText(this, QZJsonAccess::TextOf(const_cast<QZJsonValue*>(&other)));
    return *this;
}

QZJsonValue::~QZJsonValue()
{
    if (!m_string) return;
    m_string->SetDisposable(QZObject::GetObjectID(), 1);
    delete m_string;
}

QZObject* QZJsonValue::NewObject() { return new QZJsonValue(); }
void QZJsonValue::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonValue::GetMemorySize()
{
    return QZObject::GetMemorySize() +
           (m_string ? m_string->GetMemorySize() : SizeOfString(m_text.capacity()));
}
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

void QZJsonValue::Val(QZString* text) { QZJsonValue::Val()->Set(text); }

QZString* QZJsonValue::Val()
{
    QZString* val = m_val.load(std::memory_order_acquire);
    if (val) return val;
    const std::lock_guard<std::mutex> guard(g_asking);
    val = m_val.load(std::memory_order_relaxed);
    if (val) return val;
    if (!m_string)
    {
        m_string = new QZString();
        m_string->SetDisposable(QZObject::GetObjectID(), 0);
    }
    m_string->Set(m_text.data(), static_cast<QZInt64>(m_text.size()) * 2);
    m_val.store(m_string, std::memory_order_release);
    return m_string;
}

// ---------------------------------------------------------------------------------------------------------------------

QZJsonBool::QZJsonBool() = default;
QZObject* QZJsonBool::NewObject() { return new QZJsonBool(); }
void QZJsonBool::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonBool::GetType() { return 0x8010010; }
QZString* QZJsonBool::ToString() { return JsonToText(this); }
void QZJsonBool::Val(QZBool value) { QZJsonAccess::SetText(this, value ? QZ_W("true") : QZ_W("false")); }

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
    if (*text != QZJsonAccess::StringOf(this)) delete *text;
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

QZJsonObject::QZJsonObject() : m_attributes(std::make_shared<JsonAttributes>()) {}

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

QZJsonValue* QZJsonObject::RemoveAttr(const char* name)
{
    if (!name) ThrowNullName(QZ_W("QZChar*"));
    QZString text(name);
    return RemoveAttr(m_attributes->Find(ViewOf(&text)));
}

QZJsonValue* QZJsonObject::RemoveAttr(const QZWChar* name)
{
    if (!name) ThrowNullName(QZ_W("QZWChar*"));
    return RemoveAttr(m_attributes->Find(name));
}

QZJsonValue* QZJsonObject::RemoveAttr(QZString* name)
{
    if (!name) ThrowNullName(QZ_W("QZString*"));
    return RemoveAttr(m_attributes->Find(ViewOf(name)));
}

QZJsonValue* QZJsonObject::RemoveAttr(QZInt64 index) { return m_attributes->Remove(index); }
QZJsonValue* QZJsonObject::GetAttrValue(QZInt64 index) { return m_attributes->ValueAt(index); }
QZString* QZJsonObject::GetAttrName(QZInt64 index) { return m_attributes->StringAt(index); }

// ---------------------------------------------------------------------------------------------------------------------

bool JsonSameName(JsonView a, JsonView b)
{
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i] && Fold(a[i]) != Fold(b[i])) return false;
    return true;
}

JsonAttributes::~JsonAttributes()
{
    while (QZJsonValue* value = Remove(Count() - 1)) DiscardFree(value);
}

JsonView JsonAttributes::NameAt(QZInt64 index) const
{
    const Entry& entry = m_entries[static_cast<std::size_t>(index)];
    QZString* string = std::atomic_ref(const_cast<QZString*&>(entry.string)).load(std::memory_order_acquire);
    return string ? ViewOf(string) : JsonView(m_names).substr(entry.begin, entry.length);
}

QZInt64 JsonAttributes::Find(JsonView name) const
{
    const QZInt64 count = Count();
    for (QZInt64 i = 0; i < count; ++i)
        if (JsonSameName(NameAt(i), name)) return i;
    return -1;
}

QZString* JsonAttributes::StringAt(QZInt64 index)
{
    if (index < 0 || index >= Count()) return nullptr;
    Entry& entry = m_entries[static_cast<std::size_t>(index)];
    std::atomic_ref<QZString*> string(entry.string);
    if (QZString* made = string.load(std::memory_order_acquire)) return made;
    const std::lock_guard<std::mutex> guard(g_asking);
    if (QZString* made = string.load(std::memory_order_relaxed)) return made;
    QZString* made =
        QZStringFactory::CreateString(m_names.data() + entry.begin, static_cast<QZInt64>(entry.length) * 2);
    string.store(made, std::memory_order_release);
    return made;
}

void JsonAttributes::Add(JsonView name, QZJsonValue* value)
{
    if (name.empty()) m_dictionary.Add(QZ_W(""), value);
    value->SetDisposable(m_dictionary.GetObjectID(), 0);
    m_entries.push_back({value, nullptr, m_names.size(), name.size()});
    m_names.append(name);
}

void JsonAttributes::Unlock(QZJsonValue* value)
{
    // A value that Replace put in was never locked: the answer does not matter.
    static_cast<void>(value->SetDisposable(m_dictionary.GetObjectID(), 1));
}

QZJsonValue* JsonAttributes::Replace(QZInt64 index, QZJsonValue* value)
{
    Entry& entry = m_entries[static_cast<std::size_t>(index)];
    QZJsonValue* old = entry.value;
    Unlock(old);
    entry.value = value;
    return old;
}

QZJsonValue* JsonAttributes::Remove(QZInt64 index)
{
    if (index < 0 || index >= Count()) return nullptr;
    Entry entry = m_entries[static_cast<std::size_t>(index)];
    Unlock(entry.value);
    if (entry.string) QZStringFactory::Recycle(&entry.string);
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(index));
    DropName(entry);
    return entry.value;
}

/// Gives the units of a name free, at once where they are the last ones.
void JsonAttributes::DropName(const Entry& entry)
{
    if (entry.begin + entry.length == m_names.size())
        m_names.resize(entry.begin);
    else
        m_unused += entry.length;
    if (m_entries.empty())
    {
        m_names.clear();
        m_unused = 0;
    }
    if (m_unused < 256 || m_unused * 2 < m_names.size()) return;
    std::basic_string<QZWChar> names;
    for (Entry& kept : m_entries)
    {
        const std::size_t begin = names.size();
        names.append(m_names, kept.begin, kept.length);
        kept.begin = begin;
    }
    m_names = std::move(names);
    m_unused = 0;
}

// ---------------------------------------------------------------------------------------------------------------------

JsonView QZJsonAccess::TextOf(QZJsonValue* value)
{
    QZString* string = StringOf(value);
    return string ? ViewOf(string) : JsonView(value->m_text);
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
    if (!StringOf(value)) return;
    value->m_string->Clear();
    value->m_val.store(nullptr, std::memory_order_relaxed);
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
    const JsonView view = ViewOf(name);
    SetAttr(object, view, AttributesOf(object)->Find(view), value);
}

QZJsonValue* QZJsonAccess::TakeLast(QZJsonValue* container)
{
    const QZInt64 type = container->GetType();
    if (type == QZJsonValueCollection::Type)
        return static_cast<QZJsonValueCollection*>(container)->m_list->Pop();
    if (type != QZJsonObject::Type) return nullptr;
    auto* object = static_cast<QZJsonObject*>(container);
    return object->m_attributes->Remove(object->m_attributes->Count() - 1);
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
