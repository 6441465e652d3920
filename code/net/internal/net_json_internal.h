#ifndef QZLIB_NET_NET_JSON_INTERNAL_H
#define QZLIB_NET_NET_JSON_INTERNAL_H

#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include "fw/fw_keyed.h"
#include "fw/fw_object_cache.h"
#include "fw/internal/fw_hooks.h"
#include "net/net_json.h"

using JsonView = std::basic_string_view<QZWChar>;

/// The named values of an object, in order. Names lie side by side in one text; a name becomes a string of
/// its own when somebody asks for it, and then that string is the name. The values are locked with this id.
/// Internal.
class JsonAttributes : public QZObject
{
public:
    JsonAttributes() = default;
    JsonAttributes(const JsonAttributes&) = delete;
    JsonAttributes& operator=(const JsonAttributes&) = delete;
    /// Deletes the values that nobody else has locked.
    ~JsonAttributes() override;

    QZInt64 Count() const { return static_cast<QZInt64>(m_entries.size()); }

    /// The index of the name, or -1. Names that differ only in the case of A to Z are one name.
    QZInt64 Find(JsonView name) const;

    JsonView NameAt(QZInt64 index) const;
    QZJsonValue* ValueAt(QZInt64 index) const
    {
        return index >= 0 && index < Count() ? m_entries[static_cast<std::size_t>(index)].value : nullptr;
    }

    /// The name as a string that stays the object's; null for a bad index.
    QZString* StringAt(QZInt64 index);

    /// Adds under a name that is not there.
    /// @throws QZException 2048 for an empty name, 1280 for a locked value
    void Add(JsonView name, QZJsonValue* value);

    /// Puts a value in the place of another, which is unlocked and comes back. The new one is not locked.
    QZJsonValue* Replace(QZInt64 index, QZJsonValue* value);

    /// Takes an entry out; its value is unlocked and the caller's. Null for a bad index.
    QZJsonValue* Remove(QZInt64 index);

private:
    struct Entry
    {
        QZJsonValue* value;
        QZString* string;
        std::size_t begin;
        std::size_t length;
    };

    void DropName(const Entry& entry);
    void Unlock(QZJsonValue* value);

    QZKeyValueCollection m_dictionary;
    std::vector<Entry> m_entries;
    std::basic_string<QZWChar> m_names;
    /// Units of m_names that belong to no entry any more.
    std::size_t m_unused = 0;
};

/// Do the texts differ in nothing but the case of A to Z? Internal.
bool JsonSameName(JsonView a, JsonView b);

/// What the library's own sources do with JSON values and hosts do not. Internal.
struct QZJsonAccess
{
    /// Puts a value under a name: the value of a name that is there is replaced and recycled, another name is
    /// added. The value is the object's from here on.
    /// @throws QZException 2048 for an empty name; the value then stays the caller's
    static void SetAttr(QZJsonObject* object, const QZWChar* name, QZJsonValue* value);
    static void SetAttr(QZJsonObject* object, QZString* name, QZJsonValue* value);

    /// The same for a caller who knows the index of the name (-1 for a new one).
    static void SetAttr(QZJsonObject* object, JsonView name, QZInt64 index, QZJsonValue* value);

    /// A string value out of its cache, its text still empty.
    static QZJsonString* NewString();

    /// The value's text, as long as the value is not changed.
    static JsonView TextOf(QZJsonValue* value);
    static void SetText(QZJsonValue* value, JsonView text);

    /// Empties a value's text on its way back to the cache.
    static void ClearText(QZJsonValue* value);

    /// The string that Val gave; null when nobody asked.
    static QZString* StringOf(QZJsonValue* value) { return value->m_val.load(std::memory_order_acquire); }

    static JsonAttributes* AttributesOf(QZJsonObject* object) { return object->m_attributes.get(); }
    static QZList<QZJsonValue>* ListOf(QZJsonValueCollection* collection) { return collection->m_list.get(); }

    /// Deletes a value with everything in it, past the caches. What is locked by somebody else is left alone.
    static void Discard(QZJsonValue* value);

    /// Takes the last value out of an array or object; null when it is empty or of another class.
    static QZJsonValue* TakeLast(QZJsonValue* container);

    /// The sum of GetMemorySize over what stands in an array or object, at every depth.
    static QZInt64 SizeOfContent(QZJsonValue* container);
};

/// The value as a T when it is exactly one, and no value of a host's own class derived from it; else null.
template <typename T>
T* As(QZJsonValue* value)
{
    return &typeid(*value) == &typeid(T) ? static_cast<T*>(value) : nullptr;
}

/// A new string with the JSON text of a value. Trees of any depth are walked without recursion. Internal.
QZString* JsonToText(QZJsonValue* value);

/// Text on its way to becoming a QZString: grows by doubling, in the memory manager's bytes. Internal.
class JsonText
{
public:
    JsonText() = default;
    ~JsonText();
    JsonText(const JsonText&) = delete;
    JsonText& operator=(const JsonText&) = delete;

    void Append(QZWChar unit)
    {
        if (m_count == m_capacity) Grow(1);
        m_units[m_count++] = unit;
    }

    void Append(const QZWChar* units, QZInt64 count)
    {
        if (count > m_capacity - m_count) Grow(count);
        QZMemCopy(m_units + m_count, units, count * 2);
        m_count += count;
    }

    void Append(JsonView text) { Append(text.data(), static_cast<QZInt64>(text.size())); }

    const QZWChar* Units() const { return m_units; }
    QZInt64 Count() const { return m_count; }

    /// A new string with the text.
    QZString* ToString() const;

private:
    void Grow(QZInt64 count);

    static constexpr QZInt64 kInline = 512;
    QZWChar m_inline[kInline];
    QZWChar* m_units = m_inline;
    QZInt64 m_count = 0;
    QZInt64 m_capacity = kInline;
};

#endif
