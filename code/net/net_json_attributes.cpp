#include "net/internal/net_json_attributes.h"

#include "fw/fw_keyed.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_string_lists.h"
#include "net/internal/net_characters.h"
#include "net/internal/net_json_access.h"

bool JsonSameName(JsonView a, JsonView b)
{
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i] && net::Lower(a[i]) != net::Lower(b[i])) return false;
    return true;
}

JsonAttributes::~JsonAttributes()
{
    while (QZJsonValue* value = Remove(Count() - 1)) QZJsonAccess::DiscardFree(value);
    if (m_list != NameList::None) QZStringListGive(m_held);
}

JsonView JsonAttributes::NameAt(QZInt64 index) const
{
    const Entry& entry = m_entries[static_cast<std::size_t>(index)];
    QZString* string = std::atomic_ref(const_cast<QZString*&>(entry.string)).load(std::memory_order_acquire);
    return string != nullptr ? JsonViewOf(string) : JsonView(m_names).substr(entry.begin, entry.length);
}

QZInt64 JsonAttributes::Find(JsonView name) const
{
    const QZInt64 count = Count();
    for (QZInt64 i = 0; i < count; ++i)
        if (JsonSameName(NameAt(i), name)) return i;
    return -1;
}

QZInt64 JsonAttributes::FindExact(JsonView name) const
{
    const QZInt64 count = Count();
    for (QZInt64 i = 0; i < count; ++i)
        if (NameAt(i) == name) return i;
    return -1;
}

QZString* JsonAttributes::StringAt(QZInt64 index)
{
    if (index < 0 || index >= Count()) return nullptr;
    Entry& entry = m_entries[static_cast<std::size_t>(index)];
    std::atomic_ref<QZString*> string(entry.string);
    if (QZString* made = string.load(std::memory_order_acquire)) return made;
    const std::lock_guard<std::mutex> guard(g_jsonStringLock);
    if (QZString* made = string.load(std::memory_order_relaxed)) return made;
    QZString* made =
        QZStringFactory::CreateString(m_names.data() + entry.begin, static_cast<QZInt64>(entry.length) * 2);
    string.store(made, std::memory_order_release);
    return made;
}

void JsonAttributes::Add(JsonView name, QZJsonValue* value)
{
    // Hosts get the exception of the library's dictionary for an empty name.
    if (name.empty()) QZKeyValueCollection().Add(QZ_W(""), value);
    Append(name, value);
}

void JsonAttributes::Append(JsonView name, QZJsonValue* value)
{
    value->SetDisposable(m_key, 0);
    // An empty name has no place in the text, so that it stays right when names before it go.
    m_entries.push_back({value, nullptr, name.empty() ? 0 : m_names.size(), name.size()});
    m_names.append(name);
}

void JsonAttributes::Unlock(QZJsonValue* value)
{
    // A value that Replace put in was never locked, so the result is not checked.
    static_cast<void>(value->SetDisposable(m_key, 1));
}

QZJsonValue* JsonAttributes::Exchange(QZInt64 index, QZJsonValue* value)
{
    value->SetDisposable(m_key, 0);
    return Replace(index, value);
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
    if (entry.string != nullptr) QZStringFactory::Recycle(&entry.string);
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(index));
    DropName(entry);
    return entry.value;
}

/// Frees the units of a name: at once when they are the last ones, else when enough of them are unused.
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
    constexpr std::size_t kWorthMoving = 256;
    if (m_unused < kWorthMoving || m_unused * 2 < m_names.size()) return;
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
