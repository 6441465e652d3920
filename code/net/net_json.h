#ifndef QZLIB_NET_JSON_H
#define QZLIB_NET_JSON_H

#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>

#include "fw/fw_container.h"
#include "fw/fw_object.h"
#include "fw/fw_object_cache.h"

class QZCriticalSection;
class QZDataTable;
class QZObjectCache;
class QZString;

/// The base class of the JSON values, and a value without a text.
///
/// Every value holds its text in a string of its own; a number is converted when it is read. Values come from
/// QZJsonFactory and go back to it. Values in a collection or an object belong to it, and giving back the
/// root gives back the whole tree. A copy made by value has the text of its source and shares the values in
/// it. Several threads may read a value while nobody changes it.
class QZ_API QZJsonValue : public QZObject
{
public:
    static const QZInt64 Type = 0x8010000;

    QZJsonValue(const QZJsonValue& other);
    QZJsonValue& operator=(const QZJsonValue& other);
    ~QZJsonValue() override;

    /// 8 and the memory of the value's parts.
    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;

    /// The value as JSON text, a new string that goes back with Recycle. Empty in this class.
    virtual QZString* ToString();

    /// Deletes a string that ToString returned and clears the variable. Nothing happens for a locked string.
    /// A null in the variable is a QZLibAssert(false).
    virtual void Recycle(QZString** text);

    /// Copies the text into the value; null empties it.
    virtual void Val(QZString* text);

    /// The value's own string.
    virtual QZString* Val();

protected:
    QZJsonValue();
    static QZObject* NewObject();
    static void DeleteObject(QZObject* value);

private:
    friend struct QZJsonAccess;

    /// A short text until Val is called for the string, or the address of a longer text, or of the values in
    /// an array or object.
    union Cell
    {
        QZWChar Units[8];
        void* Part;
    };
    Cell m_cell;
    /// The address of the string; 0 until the first call of Val. Its lowest bit is set while the string is
    /// not the value's text: the value keeps the string when it goes back to its cache.
    std::atomic<std::uintptr_t> m_string = 0;
};

/// True or false.
class QZ_API QZJsonBool : public QZJsonValue
{
public:
    static const QZInt64 Type = 0x8010010;

    QZInt64 GetType() override;
    QZString* ToString() override;

    using QZJsonValue::Val;
    /// Sets the text to "true" or "false".
    void Val(QZBool value);

    /// An addition: 1 when the text is "true", in any case.
    QZBool IsTrue();

protected:
    QZJsonBool();
    static QZObject* NewObject();
    static void DeleteObject(QZObject* value);
};

/// A number, stored as text. QZJsonFactory stores the text that QZString makes from a double; QZJson and the
/// Set operations store one that keeps the number exactly.
class QZ_API QZJsonDecimal : public QZJsonValue
{
public:
    static const QZInt64 Type = 0x8010020;

    QZInt64 GetType() override;
    QZString* ToString() override;

    // ---- Additions: exact numbers, in the texts of QZConvert::Format... and Parse...

    void SetDouble(double value);
    void SetInt64(QZInt64 value);
    void SetUInt64(QZUInt64 value);

    /// The number, when the text is one of this type: GetInt64 of "1.0" and of a number that does not fit is
    /// 0.
    /// @param value  set only when the result is 1
    QZBool GetDouble(double* value);
    QZBool GetInt64(QZInt64* value);
    QZBool GetUInt64(QZUInt64* value);

protected:
    QZJsonDecimal();
    static QZObject* NewObject();
    static void DeleteObject(QZObject* value);
};

/// A text. It is written between quotation marks without escapes: with a quotation mark inside,
/// DeserializeObject cannot read the result.
class QZ_API QZJsonString : public QZJsonValue
{
public:
    static const QZInt64 Type = 0x8010030;

    QZInt64 GetType() override;
    QZString* ToString() override;

    /// Deletes the string, unless it is the value's own one, and clears the variable.
    void Recycle(QZString** text) override;

protected:
    QZJsonString();
    static QZObject* NewObject();
    static void DeleteObject(QZObject* value);
};

/// An array. It owns its values; a value that Pop or DeQueue takes out belongs to the caller.
class QZ_API QZJsonValueCollection : public QZJsonValue
{
public:
    static const QZInt64 Type = 0x8010040;

    QZJsonValueCollection(const QZJsonValueCollection& other);
    QZJsonValueCollection& operator=(const QZJsonValueCollection& other);
    ~QZJsonValueCollection() override;

    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;
    QZString* ToString() override;

    /// Takes the last value out; null when there is none.
    virtual QZJsonValue* Pop();

    /// The value, which still belongs to the collection. The cost grows with the index.
    /// @throws QZException 256 for an index outside 0 to count - 1
    virtual QZJsonValue* GetElement(QZInt64 index);

    /// Adds at the end. True.
    /// @throws QZException 1792 for null, 1280 for a value that is in an array or object already
    virtual QZBool Push(QZJsonValue* value);

    virtual QZInt64 Count();

    /// Takes the first value out; null when there is none.
    virtual QZJsonValue* DeQueue();

    /// Does the same as Push.
    virtual QZBool EnQueue(QZJsonValue* value);
    /// Does the same at the front.
    virtual QZBool AddFirst(QZJsonValue* value);
    /// Does the same as Push.
    virtual QZBool AddLast(QZJsonValue* value);

    /// The first and the last value, which still belong to the collection; null when it is empty.
    QZJsonValue* GetFirst();
    QZJsonValue* GetLast();

    // ---- Additions. An operation that throws changes nothing, and the value stays the caller's.

    /// The value, which stays the array's; null for an index outside 0 to count - 1. The cost is the index:
    /// to go through an array, start with GetFirst and go on with Next.
    QZJsonValue* At(QZInt64 index);
    /// The value behind one that stands in this array; null behind the last.
    QZJsonValue* Next(QZJsonValue* value);

    /// Adds at the end. From now on the value belongs to the array.
    /// @throws QZException 1792 for null, 1280 for a value that stands somewhere already
    void Add(QZJsonValue* value);

    /// Puts a value in front of the one at the index; the index `count` adds at the end. The cost is the
    /// number of values behind it.
    /// @throws QZException 256 for an index outside 0 to count, else as Add
    void Insert(QZInt64 index, QZJsonValue* value);

    /// Takes a value out and recycles it.
    /// @return 1, or 0 for an index outside 0 to count - 1
    QZBool RemoveAt(QZInt64 index);
    /// Takes a value out, which then is the caller's; null for an index outside 0 to count - 1.
    QZJsonValue* TakeAt(QZInt64 index);

protected:
    QZJsonValueCollection();
    static QZObject* NewObject();
    static void DeleteObject(QZObject* value);
};

/// Named values, in the order in which their names were added. Names that differ only in the case of A to Z
/// are one name. The object owns its values.
class QZ_API QZJsonObject : public QZJsonValue
{
public:
    static const QZInt64 Type = 0x8010050;

    QZJsonObject(const QZJsonObject& other);
    QZJsonObject& operator=(const QZJsonObject& other);
    ~QZJsonObject() override;

    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;
    QZString* ToString() override;

    virtual QZInt64 AttrCount();

    using QZJsonValue::Recycle;
    /// Gives a value back to QZJsonFactory.
    virtual void Recycle(QZJsonValue** value);

    /// Removes an attribute; its value belongs to the caller. Null when there is no such attribute.
    /// @throws QZException 1792 for a null name
    QZJsonValue* RemoveAttr(const char* name);
    QZJsonValue* RemoveAttr(const QZWChar* name);
    QZJsonValue* RemoveAttr(QZString* name);
    QZJsonValue* RemoveAttr(QZInt64 index);

    /// The value and the name, which still belong to the object; null for a bad index.
    QZJsonValue* GetAttrValue(QZInt64 index);
    QZString* GetAttrName(QZInt64 index);

    // A literal 0 is an index here, never a null name.
    template <std::integral I>
    QZJsonValue* RemoveAttr(I index)
    {
        return RemoveAttr(static_cast<QZInt64>(index));
    }

    // ---- Additions. They compare names exactly, with their case, and take the empty name as well; where a
    // name occurs more than once, they mean the first. The cost is the number of names. A narrow name is in
    // the machine's narrow page. All throw QZException 1792 for a null name.

    /// The value, which stays the object's; null when the name is absent.
    QZJsonValue* Find(const char* name);
    QZJsonValue* Find(const QZWChar* name);
    QZJsonValue* Find(QZString* name);

    /// Puts a value under a name: a new name is added at the end, the value of another is replaced and
    /// recycled. From now on the value belongs to the object.
    /// @throws QZException 1792 for null, 1280 for a value that stands somewhere already; the value then
    /// stays the caller's and the object as it was
    void Set(const char* name, QZJsonValue* value);
    void Set(const QZWChar* name, QZJsonValue* value);
    void Set(QZString* name, QZJsonValue* value);

    /// Takes an attribute out and recycles its value.
    /// @return 1, or 0 when the name is absent
    QZBool Remove(const char* name);
    QZBool Remove(const QZWChar* name);
    QZBool Remove(QZString* name);

    /// Takes an attribute out; its value then is the caller's. Null when the name is absent.
    QZJsonValue* Take(const char* name);
    QZJsonValue* Take(const QZWChar* name);
    QZJsonValue* Take(QZString* name);

protected:
    QZJsonObject();
    static QZObject* NewObject();
    static void DeleteObject(QZObject* value);

private:
    friend struct QZJsonAccess;
    explicit QZJsonObject(std::nullptr_t);
};

/// The value null.
class QZ_API QZJsonNull : public QZJsonValue
{
public:
    static const QZInt64 Type = 0x8010060;

    QZInt64 GetType() override;
    QZString* ToString() override;

protected:
    QZJsonNull();
    static QZObject* NewObject();
    static void DeleteObject(QZObject* value);
};

/// Makes JSON values, reads and writes JSON text, and takes values back. Any thread may call.
///
/// docs/json.md describes the grammar, which is the library's own; QZJson reads and writes by RFC 8259. An
/// object that a Create operation or DeserializeObject returns belongs to the caller until Recycle takes it
/// back and clears the caller's variable.
class QZ_API QZJsonFactory
{
public:
    static QZJsonValue* CreateValue();
    static QZJsonDecimal* CreateDecimal(double value);
    static QZJsonBool* CreateBool(QZBool value);
    /// Null stands for an empty text.
    static QZJsonString* CreateString(const char* text);
    static QZJsonString* CreateString(const QZWChar* text);
    static QZJsonString* CreateString(QZString* text);
    static QZJsonObject* CreateObject();
    static QZJsonNull* CreateNull();
    static QZJsonValueCollection* CreateValueCollection();

    /// Reads the last complete array or object of the text. Null for blank text and for "null" in any case.
    /// QZJson::Parse reads by RFC 8259.
    /// @throws QZJsonException UnexpectedSymbols, UnknwonDataType or JsonFormatException
    /// @throws QZException 1024 for text without a complete array or object, 2048 for an empty name
    static QZJsonValue* DeserializeObject(QZString* text);

    /// The result of the value's ToString. QZJson::Write writes by RFC 8259.
    /// @throws QZException 1792 for null
    static QZString* SerializeObject(QZJsonValue* value);

    /// Writes the value as text and reads the text. The result is null for a QZJsonNull. For any other value
    /// that is no array or object, DeserializeObject throws.
    static QZJsonValue* Clone(QZJsonValue* value);

    /// Give an object back and clear the variable. The result of GetType selects the cache of a value. All
    /// values in an array or object are given back before it. A table is deleted. A null in the variable is a
    /// QZLibAssert(false).
    /// @throws QZException 1280 for a locked value, 256 for a value of a type that has no cache; the variable
    ///         then stays
    static void Recycle(QZString** text);
    static void Recycle(QZDataTable** table);
    static void Recycle(QZJsonValue** value);
    static void Recycle(QZJsonDecimal** value);
    static void Recycle(QZJsonBool** value);
    static void Recycle(QZJsonString** value);
    static void Recycle(QZJsonObject** value);
    static void Recycle(QZJsonNull** value);
    static void Recycle(QZJsonValueCollection** value);

    /// Adds one row to the table for each item of an array of objects. The row of an item that is no object
    /// stays empty. Attributes without a column are ignored. Values are converted to the type of their
    /// column; null, arrays and objects leave the element null.
    static void Json2DataTable(QZDataTable* table, QZJsonValueCollection* values);

    /// A new table from an array of objects, with one column for each name, in the order in which the names
    /// appear first. The first value of a name that is no null, array or object determines the type of the
    /// column: BOOL, DOUBLE (a number with a point), INT64 or TEXTUTF16LE. The caller gives the table back
    /// with Recycle.
    /// @throws QZJsonException JsonFormatException when the argument is no array or an item is no object
    static QZDataTable* Json2DataTable(QZJsonValueCollection* values);

    /// A new array with one object for each row; the names are in the order of the columns.
    static QZJsonValueCollection* DataTable2Json(QZDataTable* table);

    /// Breaks JSON text into lines with one tab for each level; "[{" and ",{" stay on one line. The text is
    /// not parsed, so symbols inside strings count too. A new string. QZJson::Write with an Indent keeps
    /// strings as they are.
    /// The tabs grow with the square of the depth: for texts from strangers use TryFormat.
    /// @throws QZException 1792 for null, 4352 at once for a result of more than 2^30 units
    static QZString* Format(QZString* text);

    /// An addition: Format for a result of at most so many units.
    /// @param longest  above it nothing is built
    /// @param result   a new string; set only when the result is 1
    /// @return 1, or 0 for a text whose result would be longer
    /// @throws QZException 1792 for a null text
    static QZBool TryFormat(QZString* text, QZInt64 longest, QZString** result);

    /// Removes the line ends of JSON text, and after the first line end, bracket, brace or comma also all
    /// blanks and tabs, including those inside strings. A new string. QZJson::Write keeps strings as they
    /// are.
    /// @throws QZException 1792 for null
    static QZString* Minify(QZString* text);

    /// Collects the seven caches; see QZObjectCache::Collect.
    static void Collect(QZBool partial);

    /// An addition: bounds what each of the seven caches keeps idle; see QZObjectCache::SetIdleLimit. Names
    /// and texts of values that a host asked for are in the caches of QZStringFactory.
    static void SetIdleLimit(QZInt64 objects, QZInt64 bytes);

    /// A new object with the number of idle values in each cache: "JsonValueCache", "JsonDecimalCache",
    /// "JsonBoolCache", "JsonStringCache", "JsonObjectCache", "JsonNullCache" and "JsonValueCollectionCache".
    static QZJsonObject* GetStatus();

    /// The bytes of all idle values.
    static QZInt64 GetMemorySize();

private:
    friend void QZJsonFactoryInit();
    friend void QZJsonFactoryEnd();
    friend struct QZJsonAccess;

    static QZObjectCache* CacheOf(QZJsonValue* value);
    static void GiveBack(QZJsonValue* value);

    static QZCriticalSection* m_section;
    static QZObjectCache* m_valueCache;
    static QZObjectCache* m_decimalCache;
    static QZObjectCache* m_boolCache;
    static QZObjectCache* m_objectCache;
    static QZObjectCache* m_nullCache;
    static QZObjectCache* m_stringCache;
    static QZObjectCache* m_collectionCache;
};

// The factory keeps one cache of each class of value; a host may have its own.
QZLIB_NAMED_CACHE(QZJsonValueCache, QZJsonValue);
QZLIB_NAMED_CACHE(QZJsonDecimalCache, QZJsonDecimal);
QZLIB_NAMED_CACHE(QZJsonBoolCache, QZJsonBool);
QZLIB_NAMED_CACHE(QZJsonObjectCache, QZJsonObject);
QZLIB_NAMED_CACHE(QZJsonNullCache, QZJsonNull);
QZLIB_NAMED_CACHE(QZJsonStringCache, QZJsonString);
QZLIB_NAMED_CACHE(QZJsonValueCollectionCache, QZJsonValueCollection);

#endif
