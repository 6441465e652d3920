#ifndef QZLIB_DB_TABLE_H
#define QZLIB_DB_TABLE_H

#include <concepts>
#include <memory>

#include "fw/fw_object.h"

class QZChannel;
class QZCollection;
class QZData;
class QZDataTable;
class QZDateTime;
class QZNodeTLD;
class QZObjectCollection;
class QZString;
class QZStringCollection;
class QZTable;

/// Rows and columns in the database.
///
/// A table is a text list whose items are the field names. Its first child, the data list "TYPES", holds the
/// type of field i as the type of its item i, and in its state the number of the key field; every later child
/// is a row, a data list with the values. docs/tables.md shows the whole. Fields, and the places of rows,
/// count from 1; a row is known by its handle, the address of its PD. Field names are found without regard to
/// the case of A to Z. There is no index: a search is a walk, adding a row is not.
///
/// A text in quotation marks after "Throws" or "@throws QZException" is the message of a QZException without
/// a code. Exceptions of the node level reach the caller unchanged. Operations return new strings, data,
/// collections and tables; the caller gives them back with Recycle, a QZDateTime* with QZConvert::Recycle.
/// GetName and GetText return the object's own string, which the caller does not give back.
///
/// The object owns its node objects and not the channel; a copy made by value shares them. It has no lock of
/// its own, and operations of several steps are not atomic: a host that shares a table between threads brings
/// a lock.
class QZ_API QZDbTable : public QZObject
{
public:
    static const QZInt64 Type = 0x8330002;

    /// The position of the key field's number in the state of TYPES.
    static const QZInt64 KeyIndexInState = 2;
    /// Reserved.
    static const QZInt64 GET_TARGET_CONDITION_EQUAL = 0x100;
    static const QZInt64 GET_TARGET_CONDITION_INCLUDE = 0x200;

    QZInt64 GetType() override;

    // ---- Opening and making

    /// Opens a table by handle or path (see QZTable::Access). Given back with Close.
    /// @throws QZDatabaseException ArgumentOutOfRange for what is no data table
    static QZDbTable* Open(QZChannel* channel, QZInt64 handle);
    static QZDbTable* Open(QZChannel* channel, const char* path);
    static QZDbTable* Open(QZChannel* channel, const QZWChar* path);
    static QZDbTable* Open(QZChannel* channel, QZString* path);
    // A literal 0 is a handle here, never a null path.
    template <std::integral I>
    static QZDbTable* Open(QZChannel* channel, I handle)
    {
        return Open(channel, static_cast<QZInt64>(handle));
    }

    /// Deletes the object and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Close(QZDbTable** table);

    /// Makes a table without fields in a directory node; returns its handle.
    /// @throws QZException "名为的表已经存在" when the directory has a node of that name,
    /// "指定的句柄指向的不是目录" when it takes no children
    static QZInt64 Create(QZChannel* channel, QZInt64 directory, QZString* name);

    /// The same at a path; every node made on the way is a text list.
    /// @throws QZDatabaseException CreateFailedTableAlreadyExists when a part of the path is there,
    /// OperationFailed for an empty path
    static QZInt64 Create(QZChannel* channel, const char* path);
    static QZInt64 Create(QZChannel* channel, const QZWChar* path);
    static QZInt64 Create(QZChannel* channel, QZString* path);

    /// The node has the shape of a table.
    static QZBool IsDatatable(QZChannel* channel, QZInt64 handle);

    /// The data tables of the directory "DATATABLE", opened, each to be closed by the caller; the directory
    /// is made when it is missing.
    static QZObjectCollection* GetDataTables(QZChannel* channel);

    /// Names of the data tables at the root, and below the node at a path.
    static QZStringCollection* GetDatatableNamesFromRoot(QZChannel* channel);
    static QZStringCollection* GetDatatableNamesFromDir(QZChannel* channel, QZString* path);

    /// Deletes the object, a collection of strings with them and a collection of tables without, and clears
    /// the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZStringCollection** names);
    static void Recycle(QZObjectCollection** tables);
    static void Recycle(QZCollection** handles);
    static void Recycle(QZData** data);
    static void Recycle(QZString** text);
    static void Recycle(QZDataTable** table);

    // ---- Schema

    QZInt64 FieldCount();
    QZStringCollection* GetFieldsName();
    /// Throws "错误的参数" for 0.
    QZString* GetFieldName(QZInt64 field);
    /// Writes a name; one past the last field makes a field without a type. True.
    /// Throws "字段已经存在" for a name that is there, this field's own included.
    QZBool SetFieldName(QZInt64 field, QZString* name);

    /// An addition: makes a field with its type after the last one and returns its number. It does what
    /// SetFieldName and writing an empty item of that type into TYPES do; rows that are there get no item.
    /// Throws "字段已经存在".
    QZInt64 FieldAdd(QZString* name, QZInt64 type);

    /// Throws "找不到字段" for an unknown name.
    QZInt64 GetFieldType(QZInt64 field);
    QZInt64 GetFieldType(QZString* name);
    template <std::integral I>
    QZInt64 GetFieldType(I field)
    {
        return GetFieldType(static_cast<QZInt64>(field));
    }

    /// Moves a field with the values of all rows, see QZNodeTLD::MoveString; takes a field out, see
    /// QZNodeTLD::DeleteString. True. Throws "字段不存在" for an unknown name.
    QZBool FieldMove(QZString* name, QZInt64 steps);
    QZBool FieldDelete(QZString* name);

    /// Sets the key field; null and empty clear it. True. Throws "字段不存在" for an unknown name.
    QZBool SetKey(QZString* name);
    /// A new string, null without a key.
    QZString* GetKey();
    /// 0 without a key.
    QZInt64 GetKeyIndex();

    /// Names each row by the text of its key value, or of a field's value. True.
    /// Throws "未设置m_key" without a key, "字段不存在" for an unknown name.
    QZBool SetKeyToName();
    QZBool SetValueToName(QZInt64 field);
    QZBool SetValueToName(QZString* name);
    template <std::integral I>
    QZBool SetValueToName(I field)
    {
        return SetValueToName(static_cast<QZInt64>(field));
    }

    /// The text of a value of the field's type, and the value of a text; see QZConvert.
    /// Throws "找不到字段!" for an unknown name.
    QZString* ValuesConvert(QZInt64 field, QZData* data);
    QZData* ValuesConvert(QZInt64 field, QZString* text);
    QZString* ValuesConvert(QZString* name, QZData* data);
    QZData* ValuesConvert(QZString* name, QZString* text);
    template <std::integral I>
    QZString* ValuesConvert(I field, QZData* data)
    {
        return ValuesConvert(static_cast<QZInt64>(field), data);
    }
    template <std::integral I>
    QZData* ValuesConvert(I field, QZString* text)
    {
        return ValuesConvert(static_cast<QZInt64>(field), text);
    }

    // ---- Table

    /// The name at opening; SetName does not change it.
    QZString* GetName();
    void SetName(QZString* name);
    QZString* GetText();
    void SetText(QZString* text);
    QZInt64 GetHandle();
    /// The table node's neighbours, 0 at the ends.
    QZInt64 GetNext();
    QZInt64 GetPrev();
    QZDateTime* GetCreateDate();
    /// @throws QZException 256: the date of change stays empty
    QZDateTime* GetChangedDate();
    /// Moves the table in its directory, towards the end for positive steps.
    QZInt64 Move(QZInt64 steps);
    /// Does nothing.
    void Refersh();
    /// Takes the table's LD out of the database; the node stays in its directory, with its rows. True.
    QZBool Remove();

    // ---- Rows

    QZInt64 DataCount();
    QZCollection* GetHandles();

    /// Adds a row and returns its handle. The form without a value is for tables without a key and names the
    /// row "ROW"; the others are for tables with one, take the key's value and leave the row without a name.
    /// Equal key values are not noticed.
    /// Throws "此表已设置主键，请使用其他重载方法！" and "此表未设置主键，请使用其他重载方法！".
    QZInt64 DataAdd();
    QZInt64 DataAdd(QZData* key);
    QZInt64 DataAdd(QZString* key);

    /// Writes a value, with the field's type. True. Throws "错误的字段索引" for field 0.
    QZBool DataSetValue(QZInt64 row, QZInt64 field, QZData* data);
    QZBool DataSetValue(QZInt64 row, QZInt64 field, QZString* text);
    QZData* DataGetValue(QZInt64 row, QZInt64 field);
    /// The element of an array of one 32-bit value, 0 for an array of another length.
    /// @throws QZException 1024 for a value of less than 4 bytes
    QZInt32 DataGetValueInt32(QZInt64 row, QZInt64 field);
    QZString* DataGetValueString(QZInt64 row, QZInt64 field);

    /// Rows by place and in order, 0 where there is none.
    QZInt64 DataGet(QZInt64 place);
    QZInt64 DataGetFirst();
    QZInt64 DataGetLast();
    QZInt64 DataGetNext(QZInt64 row);
    QZInt64 DataGetPrev(QZInt64 row);
    QZInt64 DataGetSN(QZInt64 row);

    /// Moves a row towards the end, for negative steps too.
    QZInt64 DataMove(QZInt64 row, QZInt64 steps);
    /// Moves a row by the difference of the places, and so never to the front.
    QZInt64 DataSetSN(QZInt64 row, QZInt64 place);

    /// Takes a row out. True.
    QZBool DataRemove(QZInt64 row);
    /// @throws QZException 256: the date of change stays empty
    QZDateTime* DataGetChangeDate(QZInt64 row);
    QZDateTime* DataGetCreateDate(QZInt64 row);

    /// A new empty collection: the engine's search finds nothing.
    /// Throws "错误的字段索引" for an unknown name and for a number that no field has.
    QZCollection* GetTargetsAddrCollection(QZInt64 field, int value);
    QZCollection* GetTargetsAddrCollection(QZInt64 field, QZString* value);
    QZCollection* GetTargetsAddrCollection(QZInt64 field, QZData* value);
    QZCollection* GetTargetsAddrCollection(QZString* name, int value);
    QZCollection* GetTargetsAddrCollection(QZString* name, QZString* value);
    QZCollection* GetTargetsAddrCollection(QZString* name, QZData* value);
    // A literal 0 is a number here, never a null name.
    template <std::integral I>
    QZCollection* GetTargetsAddrCollection(I field, int value)
    {
        return GetTargetsAddrCollection(static_cast<QZInt64>(field), value);
    }
    template <std::integral I>
    QZCollection* GetTargetsAddrCollection(I field, QZString* value)
    {
        return GetTargetsAddrCollection(static_cast<QZInt64>(field), value);
    }
    template <std::integral I>
    QZCollection* GetTargetsAddrCollection(I field, QZData* value)
    {
        return GetTargetsAddrCollection(static_cast<QZInt64>(field), value);
    }

    /// The sum of all values of an array field (ARRAYINT32, ARRAYINT64); 0 for other types.
    /// Throws "找不到字段".
    /// @throws QZException 1024 for a value that is no array
    QZInt64 Sum(QZString* name);

    /// Sorting in place. By letters: smallest bytes looked for from each place on, but the row found goes
    /// towards the end (see DataMove). Throws "错误的字段索引". True; false when the list of the rows is
    /// damaged so that it has no end.
    QZBool ArrangementByLetters(QZString* name);
    /// By time: false unless the field is an ARRAYINT32; throws 1024 with two rows or more, and makes the
    /// child list again with fewer. Throws "找不到字段".
    QZBool ArrangementByTime(QZString* name);

    /// 1 when the first is greater: by the first differing byte, else by length.
    static QZBool com_biger(QZData* a, QZData* b);

    /// Rows as a new table in memory, with their handles: all, the first `limit`, with a negative limit the
    /// last ones, last first, with 0 the columns alone.
    QZDataTable* Select();
    QZDataTable* Select(QZInt64 limit);

    /// Writes rows from memory; Insert adds each, Update those without a handle, and both note the handles.
    /// Returns the number of rows. Throws "列 <name> 的数据类型不同" and "不存在的列 <name>", and what
    /// DataAdd throws.
    QZInt64 Insert(QZDataTable* table);
    QZInt64 Update(QZDataTable* table);

private:
    struct Parts;

    QZDbTable(QZChannel* channel, QZInt64 handle);

    QZInt64 ChildList() const;
    QZInt64 FieldNumber(QZString* name);
    QZInt64 FieldNumber(QZString* name, const QZWChar* message, const QZWChar* method);
    void TestTarget(QZInt64 field);
    bool Exists(QZInt64 field, QZData* value);
    QZInt64 NewRow(QZInt64 keyField, QZData* key, const QZWChar* name);
    bool GoesRound();
    QZInt64 Write(QZDataTable* table, bool keepRows);
    static QZStringCollection* NamesIn(QZChannel* channel, QZInt64 list);
    static void PutTypes(QZChannel* channel, QZInt64 handle);

    std::shared_ptr<Parts> m_parts;
};

#endif
