#ifndef QZLIB_NET_JSON_H
#define QZLIB_NET_JSON_H

#include <atomic>
#include <concepts>
#include <memory>
#include <string>

#include "fw/fw_container.h"
#include "fw/fw_named_cache.h"
#include "fw/fw_object.h"

class JsonAttributes;
class QZCriticalSection;
class QZDataTable;
class QZObjectCache;
class QZString;

/// The root of the JSON values, and a value without any text.
///
/// Every value holds its text form in one string of its own; numbers are text until asked for. Values come
/// from QZJsonFactory and go back to it; what stands in a collection or an object belongs to that one, and
/// giving back the root gives back the whole tree. A copy made by value has the text of its source and shares
/// what stands in it. Any number of threads may read a value that none of them changes.
class QZ_API QZJsonValue : public QZObject
{
public:
    static const QZInt64 Type = 0x8010000;

    QZJsonValue(const QZJsonValue& other);
    QZJsonValue& operator=(const QZJsonValue& other);
    ~QZJsonValue() override;

    /// 8 and what the value holds.
    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;

    /// The value as JSON text, a new string that goes back with Recycle; here an empty one.
    virtual QZString* ToString();

    /// Deletes a string that ToString gave and clears the variable; a locked string is left alone. A null in
    /// the variable is a QZLibAssert(false).
    virtual void Recycle(QZString** text);

    /// Takes a copy of the text; null empties it.
    virtual void Val(QZString* text);

    /// The value's own string.
    virtual QZString* Val();

protected:
    QZJsonValue();
    static QZObject* NewObject();
    static void DeleteObject(QZObject* value);

private:
    friend struct QZJsonAccess;

    /// The text, for as long as nobody asks for the string.
    std::basic_string<QZWChar> m_text;
    /// The string, null until it is asked for the first time. It stays with the value when the value goes
    /// back.
    QZString* m_string = nullptr;
    /// The string when it, and not m_text, is the value's text.
    std::atomic<QZString*> m_val = nullptr;
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

/// A number, kept as text. QZJsonFactory writes the text that QZString makes of a double; QZJson and the Set
/// operations write one that keeps the number exactly.
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

/// A text. It is written between quotation marks just as it stands: a quotation mark inside makes text that
/// DeserializeObject cannot read back.
class QZ_API QZJsonString : public QZJsonValue
{
public:
    static const QZInt64 Type = 0x8010030;

    QZInt64 GetType() override;
    QZString* ToString() override;

    /// A pointer to the value's own string is only cleared; any other string is deleted.
    void Recycle(QZString** text) override;

protected:
    QZJsonString();
    static QZObject* NewObject();
    static void DeleteObject(QZObject* value);
};

/// An array. It owns the values in it; what Pop and DeQueue take out belongs to the caller.
class QZ_API QZJsonValueCollection : public QZJsonValue
{
public:
    static const QZInt64 Type = 0x8010040;

    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;
    QZString* ToString() override;

    /// Takes the last value out; null when there is none.
    virtual QZJsonValue* Pop();

    /// The value, which stays the collection's. The cost is the index.
    /// @throws QZException 256 for an index outside 0 to count - 1
    virtual QZJsonValue* GetElement(QZInt64 index);

    /// Adds at the end. True.
    /// @throws QZException 1792 for null, 1280 for a value that stands somewhere already
    virtual QZBool Push(QZJsonValue* value);

    virtual QZInt64 Count();

    /// Takes the first value out; null when there is none.
    virtual QZJsonValue* DeQueue();

    /// As Push.
    virtual QZBool EnQueue(QZJsonValue* value);
    /// As Push, but in front.
    virtual QZBool AddFirst(QZJsonValue* value);
    /// As Push.
    virtual QZBool AddLast(QZJsonValue* value);

    /// The ends, which stay the collection's; null when there is none.
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

private:
    friend struct QZJsonAccess;
    std::shared_ptr<QZList<QZJsonValue>> m_list;
};

/// Named values, in the order in which the names first came. Names that differ only in the case of A to Z are
/// one name. It owns the values in it.
class QZ_API QZJsonObject : public QZJsonValue
{
public:
    static const QZInt64 Type = 0x8010050;

    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;
    QZString* ToString() override;

    virtual QZInt64 AttrCount();

    using QZJsonValue::Recycle;
    /// Gives a value back to QZJsonFactory.
    virtual void Recycle(QZJsonValue** value);

    /// Takes an attribute out; its value belongs to the caller. Null when absent.
    /// @throws QZException 1792 for a null name
    QZJsonValue* RemoveAttr(const char* name);
    QZJsonValue* RemoveAttr(const QZWChar* name);
    QZJsonValue* RemoveAttr(QZString* name);
    QZJsonValue* RemoveAttr(QZInt64 index);

    /// The value and the name, which stay the object's; null for a bad index.
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
    std::shared_ptr<JsonAttributes> m_attributes;
};

/// Nothing.
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

/// Makes JSON values, reads and writes JSON text, and takes values back. All static, any thread.
///
/// The grammar is the library's own; docs/json.md tells it. QZJson reads and writes by RFC 8259. What a
/// Create... or DeserializeObject returns belongs to the caller until a Recycle takes it back and clears the
/// caller's variable.
class QZ_API QZJsonFactory
{
public:
    static QZJsonValue* CreateValue();
    static QZJsonDecimal* CreateDecimal(double value);
    static QZJsonBool* CreateBool(QZBool value);
    /// Null text makes an empty one.
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

    /// What the value's ToString gives. QZJson::Write writes by RFC 8259.
    /// @throws QZException 1792 for null
    static QZString* SerializeObject(QZJsonValue* value);

    /// Writes the value and reads it again: null for a QZJsonNull, and what DeserializeObject throws for
    /// every other value that is no array and no object.
    static QZJsonValue* Clone(QZJsonValue* value);

    /// Give back; the variable is cleared. A value is sorted by its GetType, and arrays and objects are
    /// emptied first, with everything in them given back. A table is deleted. A null in the variable is a
    /// QZLibAssert(false).
    /// @throws QZException 1280 for a locked value, 256 for a value of a type that has no cache; the variable
    /// stays
    static void Recycle(QZString** text);
    static void Recycle(QZDataTable** table);
    static void Recycle(QZJsonValue** value);
    static void Recycle(QZJsonDecimal** value);
    static void Recycle(QZJsonBool** value);
    static void Recycle(QZJsonString** value);
    static void Recycle(QZJsonObject** value);
    static void Recycle(QZJsonNull** value);
    static void Recycle(QZJsonValueCollection** value);

    /// Fills the rows of a table from an array of objects: a row per item, left empty for an item that is no
    /// object. Attributes without a column are skipped, and values are read as the column's type; null,
    /// arrays and objects leave the element null.
    static void Json2DataTable(QZDataTable* table, QZJsonValueCollection* values);

    /// A new table of an array of objects: a column per name in order of first appearance, BOOL, DOUBLE (a
    /// number with a point), INT64 or TEXTUTF16LE after the first value that has a type. Given back with
    /// Recycle.
    /// @throws QZJsonException JsonFormatException when the argument is no array or an item no object
    static QZDataTable* Json2DataTable(QZJsonValueCollection* values);

    /// An array with an object per row, names in column order.
    static QZJsonValueCollection* DataTable2Json(QZDataTable* table);

    /// JSON text over several lines, one tab per level; arrays of objects keep "[{" and ",{" on one line. The
    /// text is not parsed: symbols inside strings count as well. A new string. QZJson::Parse and
    /// QZJson::Write with an Indent keep strings as they are.
    /// @throws QZException 1792 for null
    static QZString* Format(QZString* text);

    /// JSON text without line ends and, from the first line end, bracket, brace or comma on, without blanks
    /// and tabs, inside strings too. A new string. QZJson::Parse and QZJson::Write keep strings as they are.
    /// @throws QZException 1792 for null
    static QZString* Minify(QZString* text);

    /// Collects the seven caches; see QZObjectCache::Collect.
    static void Collect(QZBool partial);

    /// A new object with the idle counts "JsonValueCache", "JsonDecimalCache", "JsonBoolCache",
    /// "JsonStringCache", "JsonObjectCache", "JsonNullCache" and "JsonValueCollectionCache".
    static QZJsonObject* GetStatus();

    /// Bytes that idle values own.
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
