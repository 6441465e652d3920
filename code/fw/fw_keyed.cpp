#include "fw/fw_keyed.h"

#include <algorithm>

#include "fw/fw_string_factory.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_word.h"

const QZInt64 QZObjectCollection::Type;
const QZInt64 QZDataCollection::Type;
const QZInt64 QZStringCollection::Type;
const QZInt64 QZKeyValue::Type;
const QZInt64 QZCallbackCollection::Type;
const QZInt64 QZKeyValueCollection::Type;

// ---- QZObjectCollection

QZObjectCollection::QZObjectCollection() : m_elements(std::make_shared<QZCollection>()) {}

QZObjectCollection::QZObjectCollection(QZObjectCollection* other)
    : m_elements(std::make_shared<QZCollection>(other->m_elements.get()))
{}

QZObjectCollection::QZObjectCollection(const QZObjectCollection& other) = default;
QZObjectCollection& QZObjectCollection::operator=(const QZObjectCollection& other) = default;
QZObjectCollection::~QZObjectCollection() = default;

QZInt64 QZObjectCollection::GetMemorySize()
{
    QZInt64 size = 8;
    const QZInt64 count = m_elements->Count();
    for (QZInt64 i = 0; i < count; ++i)
        if (auto* object = FromWord<QZObject>(m_elements->GetElement(i))) size += object->GetMemorySize();
    return size;
}

QZInt64 QZObjectCollection::GetType() { return Type; }

QZObject* QZObjectCollection::GetElement(QZInt64 index)
{
    return FromWord<QZObject>(m_elements->GetElement(index));
}

QZBool QZObjectCollection::SetElement(QZInt64 index, QZObject* object)
{
    return m_elements->SetElement(index, ToWord(object));
}

QZBool QZObjectCollection::Push(QZObject* object) { return m_elements->Push(ToWord(object)); }

QZObject* QZObjectCollection::Pop() { return FromWord<QZObject>(m_elements->Pop()); }

QZBool QZObjectCollection::RemoveElement(QZInt64 index) { return m_elements->RemoveElement(index); }

QZBool QZObjectCollection::RemoveElement(QZObject* object)
{
    return m_elements->RemoveByValue(ToWord(object)) > 0;
}

void QZObjectCollection::Clear() { m_elements->Clear(); }

QZBool QZObjectCollection::Append(QZObjectCollection* other)
{
    if (other->m_elements != m_elements) return m_elements->Append(other->m_elements.get());
    QZCollection copy(m_elements.get());
    return m_elements->Append(&copy);
}

QZInt64 QZObjectCollection::Count() { return m_elements->Count(); }

QZInt64 QZObjectCollection::IndexOf(QZObject* object) { return m_elements->FindElement(ToWord(object)); }

void QZObjectCollection::Swap(QZInt64 a, QZInt64 b)
{
    const QZUInt64 first = m_elements->GetElement(a);
    m_elements->SetElement(a, m_elements->GetElement(b));
    m_elements->SetElement(b, first);
}

// ---- QZDataCollection

QZDataCollection::QZDataCollection() = default;

QZDataCollection::QZDataCollection(QZDataCollection* other)
    : QZObjectCollection(static_cast<QZObjectCollection*>(other))
{}

QZInt64 QZDataCollection::GetType() { return Type; }

QZData* QZDataCollection::GetElement(QZInt64 index)
{
    return static_cast<QZData*>(QZObjectCollection::GetElement(index));
}

QZData* QZDataCollection::Pop() { return static_cast<QZData*>(QZObjectCollection::Pop()); }

QZBool QZDataCollection::Push(QZData* data) { return QZObjectCollection::Push(data); }

QZBool QZDataCollection::Append(QZDataCollection* other) { return QZObjectCollection::Append(other); }

// ---- QZStringCollection

QZStringCollection::QZStringCollection() = default;

QZStringCollection::QZStringCollection(QZStringCollection* other)
    : QZObjectCollection(static_cast<QZObjectCollection*>(other))
{}

QZInt64 QZStringCollection::GetType() { return Type; }

QZString* QZStringCollection::GetElement(QZInt64 index)
{
    return static_cast<QZString*>(QZObjectCollection::GetElement(index));
}

QZString* QZStringCollection::Pop() { return static_cast<QZString*>(QZObjectCollection::Pop()); }

QZBool QZStringCollection::Push(QZString* text) { return QZObjectCollection::Push(text); }

QZBool QZStringCollection::Append(QZStringCollection* other) { return QZObjectCollection::Append(other); }

// ---- QZKeyValue

/// The strings of a pair. Pairs copied by value share them, and the last one unlocks and deletes them.
struct QZKeyValue::Texts
{
    explicit Texts(QZUInt64 id) : owner(id), key(new QZString()), value(new QZString())
    {
        key->SetDisposable(owner, 0);
        value->SetDisposable(owner, 0);
    }
    ~Texts()
    {
        key->SetDisposable(owner, 1);
        delete key;
        value->SetDisposable(owner, 1);
        delete value;
    }
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;

    QZUInt64 owner;
    QZString* key;
    QZString* value;
};

namespace
{

template <typename T>
void ClearAndAppend(QZString* target, T text)
{
    target->Clear();
    target->Append(text);
}

}  // namespace

QZKeyValue::QZKeyValue() : m_texts(std::make_shared<Texts>(QZObject::GetObjectID())) {}
QZKeyValue::QZKeyValue(const QZKeyValue& other) = default;
QZKeyValue& QZKeyValue::operator=(const QZKeyValue& other) = default;
QZKeyValue::~QZKeyValue() = default;

QZInt64 QZKeyValue::GetType() { return Type; }

QZString* QZKeyValue::GetKey() { return m_texts->key; }
QZString* QZKeyValue::GetValue() { return m_texts->value; }

void QZKeyValue::SetKey(QZString* key) { ClearAndAppend(m_texts->key, key); }
void QZKeyValue::SetKey(const char* key) { ClearAndAppend(m_texts->key, key); }
void QZKeyValue::SetKey(const QZWChar* key) { ClearAndAppend(m_texts->key, key); }
void QZKeyValue::SetValue(QZString* value) { ClearAndAppend(m_texts->value, value); }
void QZKeyValue::SetValue(const char* value) { ClearAndAppend(m_texts->value, value); }
void QZKeyValue::SetValue(const QZWChar* value) { ClearAndAppend(m_texts->value, value); }

// ---- QZCallbackCollection

QZCallbackCollection::QZCallbackCollection() : m_functions(std::make_shared<QZCollection>()) {}
QZCallbackCollection::QZCallbackCollection(const QZCallbackCollection& other) = default;
QZCallbackCollection& QZCallbackCollection::operator=(const QZCallbackCollection& other) = default;
QZCallbackCollection::~QZCallbackCollection() = default;

QZInt64 QZCallbackCollection::GetType() { return Type; }

QZBool QZCallbackCollection::Add(void* function) { return m_functions->Push(ToWord(function)); }

void* QZCallbackCollection::GetElement(QZInt64 index)
{
    return FromWord<void>(m_functions->GetElement(index));
}

QZInt64 QZCallbackCollection::Count() { return m_functions->Count(); }

// ---- QZKeyValueCollection

/// The parallel lists. Collections copied by value share them.
struct QZKeyValueCollection::Lists
{
    Lists() : objects(new QZObjectCollection()), keys(QZStringFactory::CreateStringCollection()) {}
    ~Lists()
    {
        delete objects;
        QZStringFactory::Recycle(&keys);
    }
    Lists(const Lists&) = delete;
    Lists& operator=(const Lists&) = delete;

    QZObjectCollection* objects;
    QZStringCollection* keys;
};

namespace
{

/// A key as it was given, ready for comparing with many strings.
///
/// A comparison gives the result of QZString::Equals with the ignore-case argument, but compares length and
/// first unit before it reads the text.
class KeyText
{
public:
    explicit KeyText(QZString* key) : m_wide(key->GetPointer()), m_length(key->GetLength()) {}
    explicit KeyText(const QZWChar* key) : m_wide(key)
    {
        while (key[m_length] != 0) ++m_length;
    }
    explicit KeyText(const char* key) : m_narrow(key)
    {
        for (; key[m_length] != 0; ++m_length)
            if (static_cast<unsigned char>(key[m_length]) > 127) m_plain = false;
    }

    bool IsKeyOf(QZString* key) const
    {
        // Text outside ASCII has another length in the narrow page; QZString::Equals converts it.
        if (!m_plain) return key->Equals(m_narrow, 1) != 0;
        if (key->GetLength() != m_length) return false;
        return m_wide != nullptr ? Same(key->GetPointer(), m_wide) : Same(key->GetPointer(), m_narrow);
    }

private:
    static unsigned Fold(unsigned unit) { return unit - 'A' < 26u ? unit + 32 : unit; }

    template <typename C>
    bool Same(const QZWChar* key, const C* text) const
    {
        for (QZInt64 i = 0; i < m_length; ++i)
        {
            const auto a = static_cast<unsigned>(key[i]);
            const auto b = static_cast<unsigned>(text[i]);
            if (a != b && Fold(a) != Fold(b)) return false;
        }
        return true;
    }

    const QZWChar* m_wide = nullptr;
    const char* m_narrow = nullptr;
    QZInt64 m_length = 0;
    bool m_plain = true;
};

template <typename Key>
[[noreturn]] void ThrowKey(QZInt64 code, const QZWChar* method, const QZWChar* type, Key key)
{
    QZRaise(code, QZ_W("QZKeyValueCollection"), method).Argument(type, key).Throw();
}

const QZWChar* TypeName(const char*) { return QZ_W("QZChar*"); }
const QZWChar* TypeName(const QZWChar*) { return QZ_W("QZWChar*"); }
const QZWChar* TypeName(QZString*) { return QZ_W("QZString*"); }

}  // namespace

QZKeyValueCollection::QZKeyValueCollection() : m_lists(std::make_shared<Lists>()) {}
QZKeyValueCollection::QZKeyValueCollection(const QZKeyValueCollection& other) = default;
QZKeyValueCollection& QZKeyValueCollection::operator=(const QZKeyValueCollection& other) = default;

QZKeyValueCollection::~QZKeyValueCollection() { Clear(); }

QZInt64 QZKeyValueCollection::GetType() { return Type; }

void QZKeyValueCollection::Unlock(QZObject* object)
{
    // SetElement does not lock the objects that it stores, so unlocking may fail here; that is no error.
    if (object != nullptr) object->SetDisposable(GetObjectID(), 1);
}

template <typename Key>
QZBool QZKeyValueCollection::AddCopy(Key key, QZObject* object)
{
    // A null key is copied to an empty string and refused as such.
    return AddToCollection(QZStringFactory::CreateString(key), object);
}

QZBool QZKeyValueCollection::Add(const char* key, QZObject* object) { return AddCopy(key, object); }
QZBool QZKeyValueCollection::Add(const QZWChar* key, QZObject* object) { return AddCopy(key, object); }
QZBool QZKeyValueCollection::Add(QZString* key, QZObject* object) { return AddCopy(key, object); }

QZBool QZKeyValueCollection::AddToCollection(QZString* key, QZObject* object)
{
    const QZWChar* const method = QZ_W("AddToCollection");
    const QZWChar* const type = QZ_W("QZString*");
    QZScopedString held(key);
    if (key == nullptr || key->GetSize() == 0) ThrowKey(QZExceptionCode::KeyIsBad, method, type, key);
    if (IndexOf(key) >= 0) ThrowKey(QZExceptionCode::KeyIsExists, method, type, key);
    if (object == nullptr) ThrowKey(QZExceptionCode::NullPointer, method, type, key);
    object->SetDisposable(GetObjectID(), 0);
    PushEntry(held.Release(), object);
    ++m_count;
    return 1;
}

void QZKeyValueCollection::AddEntry(QZString* key, QZObject* object)
{
    QZScopedString held(key);
    object->SetDisposable(GetObjectID(), 0);
    PushEntry(held.Release(), object);
    ++m_count;
}

void QZKeyValueCollection::PushEntry(QZString* key, QZObject* object)
{
    const QZInt64 count = m_lists->objects->Count();
    try
    {
        m_lists->objects->Push(object);
        m_lists->keys->Push(key);
    }
    catch (...)
    {
        // Both lists keep the same count; object and key are free again.
        if (m_lists->objects->Count() > count) m_lists->objects->Pop();
        Unlock(object);
        QZStringFactory::Recycle(&key);
        throw;
    }
}

template <typename Key>
QZInt64 QZKeyValueCollection::IndexOf(Key key)
{
    if (key == nullptr) ThrowKey(QZExceptionCode::NullPointer, QZ_W("GetIndex"), TypeName(key), key);
    const KeyText text(key);
    // Reads the words directly: every look-up runs this loop.
    const QZUInt64* words = m_lists->keys->m_elements->GetPointer();
    const QZInt64 count = std::min(m_count, static_cast<QZInt64>(words[0]));
    for (QZInt64 index = 0; index < count; ++index)
        if (text.IsKeyOf(FromWord<QZString>(words[index + 1]))) return index;
    return -1;
}

QZInt64 QZKeyValueCollection::GetIndex(const char* key) { return IndexOf(key); }
QZInt64 QZKeyValueCollection::GetIndex(const QZWChar* key) { return IndexOf(key); }
QZInt64 QZKeyValueCollection::GetIndex(QZString* key) { return IndexOf(key); }

QZBool QZKeyValueCollection::IsExists(QZString* key) { return IndexOf(key) >= 0; }

QZObject* QZKeyValueCollection::GetElement(const char* key) { return GetElement(IndexOf(key)); }
QZObject* QZKeyValueCollection::GetElement(const QZWChar* key) { return GetElement(IndexOf(key)); }
QZObject* QZKeyValueCollection::GetElement(QZString* key) { return GetElement(IndexOf(key)); }

QZObject* QZKeyValueCollection::GetElement(QZInt64 index)
{
    return IsIndex(index) ? m_lists->objects->GetElement(index) : nullptr;
}

QZString* QZKeyValueCollection::ToKey(QZInt64 index)
{
    return IsIndex(index) ? m_lists->keys->GetElement(index) : nullptr;
}

QZString* QZKeyValueCollection::ToKey(QZObject* object) { return ToKey(m_lists->objects->IndexOf(object)); }

QZInt64 QZKeyValueCollection::GetElementType(QZString* key)
{
    QZObject* object = GetElement(key);
    return object != nullptr ? object->GetType() : 0;
}

QZInt64 QZKeyValueCollection::GetElementType(QZInt64 index)
{
    // The object list checks the index: a bad one throws and does not give 0.
    QZObject* object = m_lists->objects->GetElement(index);
    return object != nullptr ? object->GetType() : 0;
}

QZBool QZKeyValueCollection::SetElement(const char* key, QZObject* object)
{
    return SetElement(IndexOf(key), object);
}

QZBool QZKeyValueCollection::SetElement(const QZWChar* key, QZObject* object)
{
    return SetElement(IndexOf(key), object);
}

QZBool QZKeyValueCollection::SetElement(QZString* key, QZObject* object)
{
    return SetElement(IndexOf(key), object);
}

QZBool QZKeyValueCollection::SetElement(QZInt64 index, QZObject* object)
{
    if (!IsIndex(index)) return 0;
    Unlock(m_lists->objects->GetElement(index));
    // Unlike Add this does not lock the new object; callers may free or share it.
    return m_lists->objects->SetElement(index, object);
}

QZBool QZKeyValueCollection::SetElementKey(QZInt64 index, QZString* key)
{
    if (!IsIndex(index)) return 0;
    // The old key is not recycled: callers may still hold it from ToKey.
    return m_lists->keys->SetElement(index, QZStringFactory::CreateString(key));
}

QZBool QZKeyValueCollection::RemoveElement(const char* key) { return RemoveElement(IndexOf(key)); }
QZBool QZKeyValueCollection::RemoveElement(const QZWChar* key) { return RemoveElement(IndexOf(key)); }
QZBool QZKeyValueCollection::RemoveElement(QZString* key) { return RemoveElement(IndexOf(key)); }

QZBool QZKeyValueCollection::RemoveElement(QZInt64 index)
{
    if (!IsIndex(index)) return 0;
    Unlock(m_lists->objects->GetElement(index));
    m_lists->objects->RemoveElement(index);
    QZString* key = m_lists->keys->GetElement(index);
    QZStringFactory::Recycle(&key);
    m_lists->keys->RemoveElement(index);
    --m_count;
    return 1;
}

QZBool QZKeyValueCollection::RemoveElement(QZObject* object)
{
    return RemoveElement(m_lists->objects->IndexOf(object));
}

void QZKeyValueCollection::SwapEntries(QZInt64 a, QZInt64 b)
{
    m_lists->objects->Swap(a, b);
    m_lists->keys->Swap(a, b);
}

QZBool QZKeyValueCollection::MoveElement(QZString* key, QZInt64 steps)
{
    return MoveElement(IndexOf(key), steps);
}

QZBool QZKeyValueCollection::MoveElement(QZInt64 index, QZInt64 steps)
{
    if (!IsIndex(index)) return 0;
    for (; steps > 0 && index + 1 < m_count; --steps, ++index) SwapEntries(index, index + 1);
    for (; steps < 0 && index > 0; ++steps, --index) SwapEntries(index, index - 1);
    return 1;
}

QZBool QZKeyValueCollection::ChangeElementIndex(QZInt64 a, QZInt64 b)
{
    if (!IsIndex(a) || !IsIndex(b)) return 0;
    SwapEntries(a, b);
    return 1;
}

QZInt64 QZKeyValueCollection::GetLength() { return m_count; }
QZInt64 QZKeyValueCollection::Count() { return m_count; }

QZStringCollection* QZKeyValueCollection::GetKeyCollection() { return m_lists->keys; }
QZObjectCollection* QZKeyValueCollection::GetObjectCollection() { return m_lists->objects; }

void QZKeyValueCollection::Clear()
{
    for (; m_count > 0; --m_count)
    {
        // A host may have removed elements from the inner lists.
        if (m_lists->keys->Count() > 0)
        {
            QZString* key = m_lists->keys->Pop();
            if (key != nullptr) QZStringFactory::Recycle(&key);
        }
        if (m_lists->objects->Count() > 0) Unlock(m_lists->objects->Pop());
    }
}

QZBool QZKeyValueCollection::KeyComparer(QZKeyValueCollection* other)
{
    if (other == nullptr || other->m_count != m_count) return 0;
    for (QZInt64 i = 0; i < m_count; ++i)
        if (!m_lists->keys->GetElement(i)->Equals(other->m_lists->keys->GetElement(i))) return 0;
    return 1;
}
