#ifndef QZLIB_NET_JSON_ATTRIBUTES_H
#define QZLIB_NET_JSON_ATTRIBUTES_H

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "fw/fw_string.h"
#include "net/internal/net_json_cell.h"

class QZJsonValue;
class QZStringCollection;

/// Held while a JSON value or name makes its string object. Several threads may read one value, so two of
/// them may ask for the string at the same time. Internal.
inline std::mutex g_jsonStringLock;

/// True when the texts differ in nothing but the case of A to Z. Internal.
bool JsonSameName(JsonView a, JsonView b);

/// The named values of a JSON object, in order. Internal.
///
/// The names lie side by side in one text. A name becomes a string object when StringAt asks for it first;
/// from then on that string is the name. The values are locked with a key of the object.
class JsonAttributes
{
public:
    /// Who has a list of names from the string factory. It is of no use here, but hosts see it in the figures
    /// of that factory.
    enum class NameList
    {
        None,
        Owed,  ///< counts as an owner of one that was new, see fw_string_lists.h
        Held
    };

    /// @param key   the lock of the values
    /// @param list  what Held means is `held`
    JsonAttributes(QZUInt64 key, NameList list, QZStringCollection* held)
        : m_key(key), m_held(held), m_list(list)
    {}
    JsonAttributes(const JsonAttributes&) = delete;
    JsonAttributes& operator=(const JsonAttributes&) = delete;
    /// Deletes the values that nobody else has locked.
    ~JsonAttributes();

    /// Several objects may share the attributes.
    void AddOwner() { m_owners.fetch_add(1, std::memory_order_relaxed); }
    /// True for the last owner.
    bool RemoveOwner() { return m_owners.fetch_sub(1, std::memory_order_acq_rel) == 1; }

    QZInt64 Count() const { return static_cast<QZInt64>(m_entries.size()); }

    /// The index of the name, or -1. Names that differ only in the case of A to Z are one name.
    QZInt64 Find(JsonView name) const;

    /// The index of the first entry with exactly this name, or -1.
    QZInt64 FindExact(JsonView name) const;

    JsonView NameAt(QZInt64 index) const;
    QZJsonValue* ValueAt(QZInt64 index) const
    {
        return index >= 0 && index < Count() ? m_entries[static_cast<std::size_t>(index)].value : nullptr;
    }

    /// The name as a string that belongs to this object; null for a bad index.
    QZString* StringAt(QZInt64 index);

    /// Adds a value under a name that does not exist yet.
    /// @throws QZException 2048 for an empty name, 1280 for a locked value
    void Add(JsonView name, QZJsonValue* value);

    /// Adds a value under any name, also an empty one and one that is there already.
    /// @throws QZException 1280 for a locked value
    void Append(JsonView name, QZJsonValue* value);

    /// Replaces a value and returns the old one, unlocked. The new value is locked, as an added one is.
    /// @throws QZException 1280 for a locked value
    QZJsonValue* Exchange(QZInt64 index, QZJsonValue* value);

    /// Replaces a value and returns the old one, unlocked. The new value is not locked.
    QZJsonValue* Replace(QZInt64 index, QZJsonValue* value);

    /// Removes an entry; its value is unlocked and belongs to the caller. Null for a bad index.
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

    std::vector<Entry> m_entries;
    std::basic_string<QZWChar> m_names;
    /// Units of m_names that belong to no entry any more.
    std::size_t m_unused = 0;
    QZUInt64 m_key;
    QZStringCollection* m_held;
    std::atomic<QZInt32> m_owners = 1;
    NameList m_list;
};

#endif
