#ifndef QZLIB_NET_JSON_ACCESS_H
#define QZLIB_NET_JSON_ACCESS_H

#include <typeinfo>

#include "net/internal/net_json_attributes.h"
#include "net/internal/net_json_cell.h"
#include "net/net_json.h"

inline JsonView JsonViewOf(QZString* text)
{
    return {text->GetPointer(), static_cast<std::size_t>(text->GetLength())};
}

/// What the library's own sources do with JSON values and hosts do not. Internal.
struct QZJsonAccess
{
    using Cell = JsonCell<QZJsonValue::Cell>;

    static QZJsonValue::Cell& CellOf(const QZJsonValue* value)
    {
        return const_cast<QZJsonValue*>(value)->m_cell;
    }

    /// Makes the cell of an array or object that of an empty one. A text moves to the string.
    static void BeginParts(QZJsonValue* value);

    /// What leads to the values of an array or object; net_json_list.cpp and net_json_parts.cpp know its
    /// meaning.
    static void*& PartOf(const QZJsonValue* value) { return CellOf(value).Part; }

    /// The key with which an array or object locks its values. No id of an object is such a number.
    static QZUInt64 KeyOf(const QZJsonValue* value)
    {
        return const_cast<QZJsonValue*>(value)->QZObject::GetObjectID() + 1;
    }

    /// Puts a value under a name. An existing value of the name is replaced and recycled. From now on the
    /// value belongs to the object.
    /// @throws QZException 2048 for an empty name; the value then still belongs to the caller
    static void SetAttr(QZJsonObject* object, const QZWChar* name, QZJsonValue* value);
    static void SetAttr(QZJsonObject* object, QZString* name, QZJsonValue* value);

    /// The same for a caller who knows the index of the name (-1 for a new one).
    static void SetAttr(QZJsonObject* object, JsonView name, QZInt64 index, QZJsonValue* value);

    /// A string value from its cache, with an empty text.
    static QZJsonString* NewString();

    /// The value's text. The view is valid until the value changes.
    static JsonView TextOf(const QZJsonValue* value);
    static void SetText(QZJsonValue* value, JsonView text);

    /// Empties the text of a value that goes back to its cache.
    static void ClearText(QZJsonValue* value);

    /// The string that Val returned; null when nobody called it.
    static QZString* StringOf(const QZJsonValue* value)
    {
        const std::uintptr_t word = value->m_string.load(std::memory_order_acquire);
        return (word & kNotInUse) == 0 ? reinterpret_cast<QZString*>(word) : nullptr;
    }

    /// The string, also one that is not the value's text.
    static QZString* KeptStringOf(const QZJsonValue* value)
    {
        return reinterpret_cast<QZString*>(value->m_string.load(std::memory_order_relaxed) & ~kNotInUse);
    }

    /// Makes the string the value's text and returns it.
    static QZString* UseString(QZJsonValue* value);

    /// An object from its cache or, when the cache has none, one that makes its attributes with the first of
    /// them: many objects of large texts are empty or small.
    static QZJsonObject* NewSmallObject();

    /// The attributes of an object. The first call for a small object makes them, so only callers that add an
    /// attribute, or know that there is one, call it.
    static JsonAttributes* AttributesOf(const QZJsonObject* object);
    /// The same; null while there are none.
    static JsonAttributes* FindAttributes(const QZJsonObject* object);

    /// A new object has no attributes.
    /// @param isKept  counts as owner of a list of names, as the objects of QZJsonFactory do
    static void BeginAttributes(QZJsonObject* object, bool isKept);
    /// Shares the attributes of the other object, which is not this one, and gives up the own ones.
    static void ShareAttributes(QZJsonObject* object, const QZJsonObject* other);
    /// Gives up the attributes; the last owner deletes them.
    static void EndAttributes(QZJsonObject* object);

    /// Deletes a value and everything in it, without the caches. A part that somebody else has locked is not
    /// deleted.
    static void Discard(QZJsonValue* value);

    /// The same for a value that has left its object or array; nothing happens for null and for a locked
    /// value.
    static void DiscardFree(QZJsonValue* value);

    /// Takes the last value out of an array or object. Null when it is empty or of another class.
    static QZJsonValue* TakeLast(QZJsonValue* container);

    /// The sum of GetMemorySize over the values in an array or object, at every depth.
    static QZInt64 SizeOfContent(QZJsonValue* container);

private:
    static constexpr std::uintptr_t kNotInUse = 1;
};

/// The value as a T when its class is exactly T; null for other classes, also for a host's class derived from
/// T.
template <typename T>
T* As(QZJsonValue* value)
{
    return &typeid(*value) == &typeid(T) ? static_cast<T*>(value) : nullptr;
}

/// A new string with the JSON text of a value. Trees of any depth are walked without recursion. Internal.
QZString* JsonToText(QZJsonValue* value);

#endif
