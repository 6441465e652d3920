#ifndef QZLIB_NET_JSON_ACCESS_H
#define QZLIB_NET_JSON_ACCESS_H

#include <typeinfo>

#include "net/internal/net_json_attributes.h"
#include "net/net_json.h"

inline JsonView JsonViewOf(QZString* text)
{
    return {text->GetPointer(), static_cast<std::size_t>(text->GetLength())};
}

/// What the library's own sources do with JSON values and hosts do not. Internal.
struct QZJsonAccess
{
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
    static JsonView TextOf(QZJsonValue* value);
    static void SetText(QZJsonValue* value, JsonView text);

    /// Empties the text of a value that goes back to its cache.
    static void ClearText(QZJsonValue* value);

    /// The string that Val returned; null when nobody called it.
    static QZString* StringOf(QZJsonValue* value) { return value->m_val.load(std::memory_order_acquire); }

    /// An object from its cache or, when the cache has none, one that makes its attributes with the first of
    /// them: many objects of large texts are empty or small.
    static QZJsonObject* NewSmallObject();

    /// The attributes of an object. The first call for a small object makes them, so only callers that add an
    /// attribute, or know that there is one, call it.
    static JsonAttributes* AttributesOf(QZJsonObject* object);
    static QZList<QZJsonValue>* ListOf(QZJsonValueCollection* collection) { return collection->m_list.get(); }

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
