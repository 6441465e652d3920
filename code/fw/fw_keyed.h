#ifndef QZLIB_FW_KEYED_H
#define QZLIB_FW_KEYED_H

#include <concepts>
#include <memory>

#include "fw/fw_collection.h"
#include "fw/fw_string.h"

/// Object pointers by position.
///
/// The collection neither owns nor locks its elements and may hold the same one twice. A copy made by value
/// shares the list with its source; the constructor from a pointer makes a list of its own. Bad indices throw
/// QZException 1024. One thread at a time.
class QZ_API QZObjectCollection : public QZObject
{
public:
    static const QZInt64 Type = 0x81F6000;

    QZObjectCollection();
    /// A copy of the pointers.
    explicit QZObjectCollection(QZObjectCollection* other);
    QZObjectCollection(const QZObjectCollection& other);
    QZObjectCollection& operator=(const QZObjectCollection& other);
    ~QZObjectCollection() override;

    /// 8 and the sizes of all elements.
    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;

    virtual QZObject* GetElement(QZInt64 index);
    virtual QZBool SetElement(QZInt64 index, QZObject* object);
    virtual QZBool Push(QZObject* object);
    /// Removes and returns the last element.
    /// @throws QZException 1024 when there is none
    virtual QZObject* Pop();
    virtual QZBool RemoveElement(QZInt64 index);
    /// Removes every occurrence; true when there was at least one.
    virtual QZBool RemoveElement(QZObject* object);
    /// Removes all elements from the list.
    virtual void Clear();
    /// Adds the other's elements; a collection may be appended to itself.
    virtual QZBool Append(QZObjectCollection* other);
    virtual QZInt64 Count();

    template <std::integral I>
    QZBool RemoveElement(I index)
    {
        return RemoveElement(static_cast<QZInt64>(index));
    }

protected:
    /// The first index of the object, or -1.
    QZInt64 IndexOf(QZObject* object);

    /// Exchanges two positions.
    void Swap(QZInt64 a, QZInt64 b);

    friend class QZKeyValueCollection;

private:
    std::shared_ptr<QZCollection> m_elements;
};

/// Buffers by position. QZDataFactory::Recycle of it forgets the buffers, QZData::Recycle recycles them too.
class QZ_API QZDataCollection : public QZObjectCollection
{
public:
    static const QZInt64 Type = 0x81F9000;

    QZDataCollection();
    explicit QZDataCollection(QZDataCollection* other);

    QZInt64 GetType() override;
    QZData* GetElement(QZInt64 index) override;
    QZData* Pop() override;

    using QZObjectCollection::Append;
    using QZObjectCollection::Push;
    virtual QZBool Push(QZData* data);
    virtual QZBool Append(QZDataCollection* other);
};

/// Strings by position. QZStringFactory::Recycle of it recycles its strings too.
class QZ_API QZStringCollection : public QZObjectCollection
{
public:
    static const QZInt64 Type = 0x81FA000;

    QZStringCollection();
    explicit QZStringCollection(QZStringCollection* other);

    QZInt64 GetType() override;
    QZString* GetElement(QZInt64 index) override;
    QZString* Pop() override;

    using QZObjectCollection::Append;
    using QZObjectCollection::Push;
    virtual QZBool Push(QZString* text);
    virtual QZBool Append(QZStringCollection* other);
};

/// A plain pair of strings. It owns both; they are locked with the pair's object id for the pair's life.
class QZ_API QZKeyValue : public QZObject
{
public:
    static const QZInt64 Type = 0x81F1000;

    QZKeyValue();
    QZKeyValue(const QZKeyValue& other);
    QZKeyValue& operator=(const QZKeyValue& other);
    ~QZKeyValue() override;

    QZInt64 GetType() override;

    QZString* GetKey();
    QZString* GetValue();

    /// Empties the string, then appends the text: setting the key to the pair's own key empties it.
    void SetKey(QZString* key);
    void SetKey(const char* key);
    void SetKey(const QZWChar* key);
    void SetValue(QZString* value);
    void SetValue(const char* value);
    void SetValue(const QZWChar* value);

private:
    struct Texts;
    std::shared_ptr<Texts> m_texts;
};

/// Function pointers by position. A copy made by value shares the list with its source.
class QZ_API QZCallbackCollection : public QZObject
{
public:
    static const QZInt64 Type = 0x81F2000;

    QZCallbackCollection();
    QZCallbackCollection(const QZCallbackCollection& other);
    QZCallbackCollection& operator=(const QZCallbackCollection& other);
    ~QZCallbackCollection() override;

    QZInt64 GetType() override;

    QZBool Add(void* function);
    /// @throws QZException 1024 for a bad index
    void* GetElement(QZInt64 index);
    QZInt64 Count();

private:
    std::shared_ptr<QZCollection> m_functions;
};

/// The library's dictionary: objects by text key, in insertion order, searched linearly.
///
/// Keys that differ only in the case of A to Z are the same key. Keys are private copies. Objects belong to
/// their owner, but an object is locked with the collection's object id while it is in the collection, so
/// that it is in one keyed collection at most and cannot be destroyed. One thread at a time.
class QZ_API QZKeyValueCollection : public QZObject
{
public:
    static const QZInt64 Type = 0x81F8000;

    QZKeyValueCollection();
    QZKeyValueCollection(const QZKeyValueCollection& other);
    QZKeyValueCollection& operator=(const QZKeyValueCollection& other);

    /// Clears, which unlocks the objects.
    ~QZKeyValueCollection() override;

    QZInt64 GetType() override;

    /// Adds an object under a copy of the key. True whenever it returns.
    /// @throws QZException 2048 for a null or empty key, 2304 for a key that is present, 1280 for an object
    /// that is locked
    QZBool Add(const char* key, QZObject* object);
    QZBool Add(const QZWChar* key, QZObject* object);
    QZBool Add(QZString* key, QZObject* object);

    /// The index of the key, or -1.
    /// @throws QZException 1792 for a null key; so do all operations below that take a key
    QZInt64 GetIndex(const char* key);
    QZInt64 GetIndex(const QZWChar* key);
    QZInt64 GetIndex(QZString* key);
    QZBool IsExists(QZString* key);

    /// The object, or null when the key is absent or the index out of range.
    QZObject* GetElement(const char* key);
    QZObject* GetElement(const QZWChar* key);
    QZObject* GetElement(QZString* key);
    QZObject* GetElement(QZInt64 index);

    /// The collection's own key string, which must not be recycled; null when missing.
    QZString* ToKey(QZInt64 index);
    QZString* ToKey(QZObject* object);

    /// GetType of the element; 0 for an absent key.
    QZInt64 GetElementType(QZString* key);
    /// @throws QZException 1024 for a bad index
    QZInt64 GetElementType(QZInt64 index);

    /// Replaces the object of an entry. The old one is unlocked, the new one is not locked. False when
    /// absent.
    QZBool SetElement(const char* key, QZObject* object);
    QZBool SetElement(const QZWChar* key, QZObject* object);
    QZBool SetElement(QZString* key, QZObject* object);
    QZBool SetElement(QZInt64 index, QZObject* object);

    /// Replaces the key of an entry by a copy of another one, which is not compared with the other keys. The
    /// old key string belongs to the caller that got it from ToKey. False for a bad index.
    QZBool SetElementKey(QZInt64 index, QZString* key);

    /// Removes an entry; its object is unlocked and still belongs to its owner. False when absent.
    QZBool RemoveElement(const char* key);
    QZBool RemoveElement(const QZWChar* key);
    QZBool RemoveElement(QZString* key);
    QZBool RemoveElement(QZInt64 index);
    QZBool RemoveElement(QZObject* object);

    /// Moves an entry by `steps` places, toward the end when positive, as far as there are places. False when
    /// absent.
    QZBool MoveElement(QZString* key, QZInt64 steps);
    QZBool MoveElement(QZInt64 index, QZInt64 steps);

    /// Exchanges two entries. False unless both are in range.
    QZBool ChangeElementIndex(QZInt64 a, QZInt64 b);

    QZInt64 GetLength();
    QZInt64 Count();

    /// The inner lists, owned by the collection.
    QZStringCollection* GetKeyCollection();
    QZObjectCollection* GetObjectCollection();

    /// Removes all entries and unlocks the objects.
    void Clear();

    /// Same count and, index by index, the same keys, case and all.
    QZBool KeyComparer(QZKeyValueCollection* other);

    // A literal 0 is an index here, never a null key.
    template <std::integral I>
    QZObject* GetElement(I index)
    {
        return GetElement(static_cast<QZInt64>(index));
    }
    template <std::integral I>
    QZString* ToKey(I index)
    {
        return ToKey(static_cast<QZInt64>(index));
    }
    template <std::integral I>
    QZInt64 GetElementType(I index)
    {
        return GetElementType(static_cast<QZInt64>(index));
    }
    template <std::integral I>
    QZBool SetElement(I index, QZObject* object)
    {
        return SetElement(static_cast<QZInt64>(index), object);
    }
    template <std::integral I>
    QZBool RemoveElement(I index)
    {
        return RemoveElement(static_cast<QZInt64>(index));
    }
    template <std::integral I>
    QZBool MoveElement(I index, QZInt64 steps)
    {
        return MoveElement(static_cast<QZInt64>(index), steps);
    }

protected:
    /// Adds the entry or throws; the key string is the collection's from here on, recycled when it throws.
    QZBool AddToCollection(QZString* key, QZObject* object);

    /// Adds an entry whose key is known to be good and new; the key string is the collection's from here on.
    /// @throws QZException 1280 for an object that is locked; the key is recycled then
    void AddEntry(QZString* key, QZObject* object);

private:
    struct Lists;

    bool IsIndex(QZInt64 index) const { return index >= 0 && index < m_count; }
    template <typename Key>
    QZBool AddCopy(Key key, QZObject* object);
    template <typename Key>
    QZInt64 IndexOf(Key key);
    void PushEntry(QZString* key, QZObject* object);
    void SwapEntries(QZInt64 a, QZInt64 b);
    void Unlock(QZObject* object);

    std::shared_ptr<Lists> m_lists;
    QZInt64 m_count = 0;
};

#endif
