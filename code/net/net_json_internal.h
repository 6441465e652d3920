#ifndef QZLIB_NET_NET_JSON_INTERNAL_H
#define QZLIB_NET_NET_JSON_INTERNAL_H

#include <typeinfo>

#include "fw/fw_keyed.h"
#include "fw/fw_memory.h"
#include "fw/fw_object_cache.h"
#include "net/net_json.h"

/// What the library's own sources do with JSON values and hosts do not. Internal.
struct QZJsonAccess
{
    /// Puts a value under a name: the value of a name that is there is replaced and recycled, another name is
    /// added. The value is the object's from here on.
    /// @throws QZException 2048 for an empty name; the value then stays the caller's
    static void SetAttr(QZJsonObject* object, const QZWChar* name, QZJsonValue* value);
    static void SetAttr(QZJsonObject* object, QZString* name, QZJsonValue* value);

    /// The same for a caller who knows the index of the name (-1 for a new one). The string, out of the
    /// factory, is the object's in any case.
    static void SetAttr(QZJsonObject* object, QZString* name, QZInt64 index, QZJsonValue* value);

    /// A string value out of its cache, its text still empty.
    static QZJsonString* NewString();

    static QZKeyValueCollection* AttributesOf(QZJsonObject* object);
    static QZList<QZJsonValue>* ListOf(QZJsonValueCollection* collection) { return collection->m_list.get(); }
    static QZString* ValOf(QZJsonValue* value) { return value->m_val.get(); }

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

    void Append(QZString* text) { Append(text->GetPointer(), text->GetLength()); }

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
