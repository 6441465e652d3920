#ifndef QZLIB_FW_TABLE_H
#define QZLIB_FW_TABLE_H

#include <concepts>
#include <memory>

#include "fw/fw_object.h"

class QZData;
class QZDataTable;
class QZRowCollection;
class QZString;

/// The columns of a table: names, searched linearly without regard to the case of A to Z, and types of
/// QZDataType.
///
/// Columns are added before the first row. Part of a QZDataTable; one thread at a time.
class QZ_API QZColumnCollection : public QZObject
{
public:
    static const QZInt64 Type = 0x81FE000;

    explicit QZColumnCollection(QZDataTable* table);
    QZColumnCollection(const QZColumnCollection& other);
    QZColumnCollection& operator=(const QZColumnCollection& other);
    ~QZColumnCollection() override;

    QZInt64 GetType() override;

    /// Adds a column under a copy of the name. True whenever it returns.
    ///
    /// A table with rows must not gain columns: each row loses its values for good, with QZLastError 1280 and
    /// a QZLibAssert(false).
    /// @throws QZException 2304 for a name that is present, 2048 for an empty one
    QZBool Add(const char* name, QZInt64 type);
    QZBool Add(const QZWChar* name, QZInt64 type);
    QZBool Add(QZString* name, QZInt64 type);

    QZInt64 Count();

    /// The name, owned by the collection; null when out of range.
    QZString* GetColumn(QZInt64 index);

    /// The index of the column, or -1.
    /// @throws QZException 1792 for null
    QZInt64 GetIndex(QZString* name);
    QZInt64 GetIndex(const char* name);
    QZInt64 GetIndex(const QZWChar* name);

    /// @throws QZException 1024 for a bad index
    QZInt64 GetElementType(QZInt64 index);

private:
    struct Lists;
    QZDataTable* m_table;
    std::shared_ptr<Lists> m_lists;
};

/// A row of a table: one value per column, null until it is set.
///
/// The row owns its values and belongs to its row collection, which locks it with the collection's object id.
/// One thread at a time.
class QZ_API QZDataRow : public QZObject
{
public:
    static const QZInt64 Type = 0x81FB000;

    /// The row's handle in the database it came from; 0 for none.
    QZInt64 Handle = 0;

    explicit QZDataRow(QZColumnCollection* columns);
    QZDataRow(const QZDataRow& other);
    QZDataRow& operator=(const QZDataRow& other);
    ~QZDataRow() override;

    QZInt64 GetType() override;

    /// Appends an empty value.
    void Add();

    /// Copies bytes into a value: an empty one gets an object of the column's type, an existing one keeps its
    /// object. True whenever it returns.
    /// @throws QZException 1024 for a bad index and an unknown name, 256 for null
    QZBool SetElement(QZInt64 index, QZData* source);
    QZBool SetElement(QZString* name, QZData* source);
    QZBool SetElement(const char* name, QZData* source);
    QZBool SetElement(const QZWChar* name, QZData* source);

    /// The same with the text of a value of the column's type; see QZConvert::TextToData.
    QZBool SetElement(QZInt64 index, QZString* text);
    QZBool SetElement(QZString* name, QZString* text);

    /// The row's own value, null when empty.
    /// @throws QZException 1024 for a bad index and an unknown name
    QZData* GetElement(QZInt64 index);
    QZData* GetElement(const char* name);
    QZData* GetElement(const QZWChar* name);
    QZData* GetElement(QZString* name);

    // A literal 0 is an index here, never a null name.
    template <std::integral I>
    QZBool SetElement(I index, QZData* source)
    {
        return SetElement(static_cast<QZInt64>(index), source);
    }
    template <std::integral I>
    QZBool SetElement(I index, QZString* text)
    {
        return SetElement(static_cast<QZInt64>(index), text);
    }
    template <std::integral I>
    QZData* GetElement(I index)
    {
        return GetElement(static_cast<QZInt64>(index));
    }

private:
    friend class QZColumnCollection;
    struct Values;

    /// Deletes the values as the destructor does, although the row stays. A locked row sets QZLastError to
    /// 1280 and calls the assert hook with false.
    void Forsake();

    QZColumnCollection* m_columns;
    std::shared_ptr<Values> m_values;
};

/// The rows of a table. It owns them. Part of a QZDataTable; one thread at a time.
class QZ_API QZRowCollection : public QZObject
{
public:
    static const QZInt64 Type = 0x81FD000;

    explicit QZRowCollection(QZDataTable* table);
    QZRowCollection(const QZRowCollection& other);
    QZRowCollection& operator=(const QZRowCollection& other);
    ~QZRowCollection() override;

    QZInt64 GetType() override;

    /// Appends a row with an empty value for each of the table's columns. The collection owns the row.
    QZDataRow* NewRow();

    /// Removes a row from the collection and clears the variable. The row is neither unlocked nor destroyed:
    /// it has no owner any more. A null in the variable is a QZLibAssert(false).
    /// @throws QZException 6144 for a row that is not in the collection; the variable stays
    void Recycle(QZDataRow** row);

    QZInt64 Count();

    /// @throws QZException 1024 for a bad index
    QZDataRow* GetRow(QZInt64 index);

private:
    struct Rows;
    QZDataTable* m_table;
    std::shared_ptr<Rows> m_rows;
};

/// A named grid of typed values in memory.
///
/// The table owns its columns and rows, and everything in them, until it is deleted. A copy made by value
/// shares them with its source. One thread at a time.
class QZ_API QZDataTable : public QZObject
{
public:
    static const QZInt64 Type = 0x81FC000;

    QZColumnCollection* Columns = nullptr;
    QZRowCollection* Rows = nullptr;

    /// No columns, no rows, an empty name.
    QZDataTable();
    QZDataTable(const QZDataTable& other);
    QZDataTable& operator=(const QZDataTable& other);
    ~QZDataTable() override;

    QZInt64 GetType() override;

    /// The table's own string, locked with the table's object id.
    QZString* GetName();
    void SetName(QZString* name);
    void SetName(const char* name);
    void SetName(const QZWChar* name);

private:
    struct Parts;
    struct Core
    {};

    /// The table that columns and rows refer to: it lives as long as they do, independent of the copies.
    explicit QZDataTable(Core);

    std::shared_ptr<Parts> m_parts;
};

#endif
