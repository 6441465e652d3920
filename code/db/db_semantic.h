#ifndef QZLIB_DB_SEMANTIC_H
#define QZLIB_DB_SEMANTIC_H

#include <concepts>
#include <memory>

#include "db/db_node.h"
#include "db/db_semantic_type.h"

class QZDateTime;
class QZString;

/// Semantic nodes: PDs whose LD follows a fixed plan per kind, with a name, a text, a state and dates.
///
/// Field 2 of the LD is the format field, an array of 32-bit values: element 1 is the kind, element 2 the
/// number of fields in use after it, element i from 3 on the type (of QZDataType) of field i. docs/tables.md
/// lists the fields of each kind. Where nothing else is said, a failure is a QZDatabaseException, and an
/// array element that is not there throws QZException 1024.

/// A semantic node of any kind, addressed by its PD.
///
/// The object owns its name and text, which it reads when it is made; they are locked with its object id and
/// live as long as it. A copy made by value shares them. What other operations return as a QZString* or
/// QZData* is new and goes back with Recycle, a QZDateTime* with QZConvert::Recycle. Every operation on
/// fields also exists as a static form with channel and PD address first. Threads: as for QZNode.
class QZ_API QZSNode : public QZNodePD
{
public:
    static const QZInt64 Type = 0x1000000;

    /// Reads name and text.
    /// @throws QZDatabaseException UnknownNodeType for an LD of no known kind, BadStruct for an address that
    /// is no PD (argument tests on)
    QZSNode(QZChannel* channel, QZInt64 address);

    QZInt64 GetType() override;

    /// Writes the text (name) in UTF-16 and into the held string.
    /// @throws QZDatabaseException UnknownNodeType
    virtual void PutText(QZString* text);
    /// The held string, which stays the node's.
    virtual QZString* GetText();
    virtual void PutName(QZString* name);
    virtual QZString* GetName();
    /// Does nothing: no node keeps its date of change.
    virtual void UpdateChangedDate();

    /// Does nothing either: the date of change stays empty.
    void Changed();

    static void PutText(QZChannel* channel, QZInt64 pd, QZString* text);
    static void PutName(QZChannel* channel, QZInt64 pd, QZString* name);
    /// Into the caller's string.
    /// @throws QZDatabaseException UnknownNodeType
    static void GetText(QZChannel* channel, QZInt64 pd, QZString* text);
    static void GetName(QZChannel* channel, QZInt64 pd, QZString* name);
    static void GetNameByLD(QZChannel* channel, QZInt64 ld, QZString* name);

    /// A new node of a kind of LDTYPE at the end of a list; returns the PD.
    /// @throws QZDatabaseException UnknownNodeType; for a wave see QZNodeWLD::Create
    static QZInt64 Create(QZChannel* channel, QZInt64 kind, QZInt64 hd);
    // A literal 0 is a kind here, never a null format.
    template <std::integral I>
    static QZInt64 Create(QZChannel* channel, I kind, QZInt64 hd)
    {
        return Create(channel, static_cast<QZInt64>(kind), hd);
    }

    /// The kind code.
    QZInt64 GetNodeType();
    static QZInt64 GetNodeType(QZChannel* channel, QZInt64 pd);
    static QZInt64 GetNodeTypeByLD(QZChannel* channel, QZInt64 ld);

    /// The type of a field, a value of QZDataType.
    /// @throws QZDatabaseException ArgumentOutOfRange for a negative field
    QZInt64 GetDataType(QZInt64 field);
    static QZInt64 GetDataType(QZChannel* channel, QZInt64 pd, QZInt64 field);
    void SetDataType(QZInt64 field, QZInt64 type);
    static void SetDataType(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt64 type);

    /// A text field, decoded by its type: a new string, or into the caller's.
    /// @throws QZDatabaseException UnknownStringEncoding unless the type is TEXTGB2312 or TEXTUTF16LE
    QZString* GetString(QZInt64 field);
    void GetString(QZInt64 field, QZString* text);
    static QZString* GetString(QZChannel* channel, QZInt64 pd, QZInt64 field);
    static void GetString(QZChannel* channel, QZInt64 pd, QZInt64 field, QZString* text);

    /// Its length in UTF-16 units.
    QZInt64 GetStringLength(QZInt64 field);
    static QZInt64 GetStringLength(QZChannel* channel, QZInt64 pd, QZInt64 field);

    /// Writes text in TEXTGB2312 or TEXTUTF16LE. The field's type becomes TEXTUTF16LE in either case, so that
    /// text in TEXTGB2312 does not come back through GetString.
    /// @throws QZDatabaseException UnknownStringEncoding
    void PutString(QZInt64 field, QZString* text, QZInt64 encoding);
    static void PutString(QZChannel* channel, QZInt64 pd, QZInt64 field, QZString* text, QZInt64 encoding);

    /// A field's bytes; type and length stay as they are.
    QZInt64 PutData(QZInt64 field, QZData* data);
    static QZInt64 PutData(QZChannel* channel, QZInt64 pd, QZInt64 field, QZData* data);
    QZData* GetData(QZInt64 field);
    static QZData* GetData(QZChannel* channel, QZInt64 pd, QZInt64 field);
    QZInt64 GetDataSize(QZInt64 field);
    static QZInt64 GetDataSize(QZChannel* channel, QZInt64 pd, QZInt64 field);

    /// A state field: an array of 32-bit values, of which the short forms mean the first. SetState changes a
    /// package (QZPackage32) of such arrays in its element 0; GetState reads packages as QZPackage.
    /// @throws QZDatabaseException DataTypeException unless the field's type is ARRAYINT32 or ARRAYDATA
    void NewState(QZInt64 field, QZInt32 value);
    static void NewState(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt32 value);
    void SetState(QZInt64 field, QZInt32 value);
    static void SetState(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt32 value);
    void SetState(QZInt64 field, QZInt32 value, QZInt64 index);
    static void SetState(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt32 value, QZInt64 index);
    QZInt32 GetState(QZInt64 field);
    static QZInt32 GetState(QZChannel* channel, QZInt64 pd, QZInt64 field);
    QZInt32 GetState(QZInt64 field, QZInt64 index);
    static QZInt32 GetState(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt64 index);

    /// Writes the present local time, in the layout of QZDateTime::ToData.
    void PutDateInt32(QZInt64 field);
    static void PutDateInt32(QZChannel* channel, QZInt64 pd, QZInt64 field);

    /// @throws QZDatabaseException DataTypeException unless the field's type is ARRAYINT32; QZException 256
    /// for an empty field
    QZDateTime* GetDate(QZInt64 field);
    static QZDateTime* GetDate(QZChannel* channel, QZInt64 pd, QZInt64 field);

    /// Deletes the object and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZString** text);
    static void Recycle(QZData** data);

protected:
    /// A PD at the end of the list with an LD that holds the format field.
    static QZInt64 Create(QZChannel* channel, QZData* format, QZInt64 hd);

    /// The LD of the node, as it was when the object was made.
    QZInt64 LD() const;

private:
    struct Parts;
    std::shared_ptr<Parts> m_parts;
};

/// A text list: strings after the fixed fields. Item i, from 1, is in field i + 7.
class QZ_API QZNodeTLD : public QZSNode
{
public:
    static const QZInt64 Type = 0x1000100;
    /// Fixed fields after the format field.
    static const QZInt64 TLDLEN = 5;

    QZNodeTLD(QZChannel* channel, QZInt64 address);
    QZInt64 GetType() override;

    /// A new list without items. It has no state until one is made: reading or setting it throws 1024.
    static QZInt64 Create(QZChannel* channel, QZInt64 hd);

    QZInt64 Count();
    static QZInt64 Count(QZChannel* channel, QZInt64 pd);

    /// Returns the number of the item.
    QZInt64 AddString(QZString* text);
    static QZInt64 AddString(QZChannel* channel, QZInt64 pd, QZString* text);

    /// An item; writing one past the end makes the list longer.
    /// @throws QZException 256 for a negative item and null text
    QZString* GetString(QZInt64 item);
    static QZString* GetString(QZChannel* channel, QZInt64 pd, QZInt64 item);
    void PutString(QZInt64 item, QZString* text);
    static void PutString(QZChannel* channel, QZInt64 pd, QZInt64 item, QZString* text);

    /// Moves an item's type by `steps`, as far as there are items, and its text towards the end by as many,
    /// whatever the sign. True.
    /// @throws QZException 256 for an item that is not there, before anything is written
    QZBool MoveString(QZInt64 item, QZInt64 steps);
    static QZBool MoveString(QZChannel* channel, QZInt64 pd, QZInt64 item, QZInt64 steps);

    /// Takes an item's type out and makes the list shorter; the text stays, so that the last one falls out of
    /// the list. True. Throws like MoveString.
    QZBool DeleteString(QZInt64 item);
    static QZBool DeleteString(QZChannel* channel, QZInt64 pd, QZInt64 item);

    QZDateTime* GetCreateDate();
    static QZDateTime* GetCreateDate(QZChannel* channel, QZInt64 pd);
    /// @throws QZException 256: the date of change stays empty
    QZDateTime* GetChangeDate();
    static QZDateTime* GetChangeDate(QZChannel* channel, QZInt64 pd);

    QZInt32 GetState();
    static QZInt32 GetState(QZChannel* channel, QZInt64 pd);
    QZInt32 GetState(QZInt64 index);
    static QZInt32 GetState(QZChannel* channel, QZInt64 pd, QZInt64 index);
    void SetState(QZInt32 value);
    static void SetState(QZChannel* channel, QZInt64 pd, QZInt32 value);
    void SetState(QZInt32 value, QZInt64 index);
    static void SetState(QZChannel* channel, QZInt64 pd, QZInt32 value, QZInt64 index);
};

/// A data list: typed items after the fixed fields. Item i, from 1, is in field i + 7.
class QZ_API QZNodeFLD : public QZSNode
{
public:
    static const QZInt64 Type = 0x1000300;
    /// Fixed fields after the format field.
    static const QZInt64 FLDLEN = 5;

    QZNodeFLD(QZChannel* channel, QZInt64 address);
    QZInt64 GetType() override;

    /// A new list without items, with state 0.
    static QZInt64 Create(QZChannel* channel, QZInt64 hd);

    QZInt64 DataCount();
    static QZInt64 DataCount(QZChannel* channel, QZInt64 pd);

    /// Adds an item, of 8 zero bytes in the short form. Returns the number of the item plus 5, which callers
    /// take into account.
    QZInt64 AddData(QZData* data, QZInt64 type);
    static QZInt64 AddData(QZChannel* channel, QZInt64 pd, QZData* data, QZInt64 type);
    QZInt64 AddData(QZInt64 type);
    static QZInt64 AddData(QZChannel* channel, QZInt64 pd, QZInt64 type);

    QZData* GetData(QZInt64 item);
    static QZData* GetData(QZChannel* channel, QZInt64 pd, QZInt64 item);
    QZInt64 GetDataSize(QZInt64 item);
    static QZInt64 GetDataSize(QZChannel* channel, QZInt64 pd, QZInt64 item);
    QZInt64 GetDataType(QZInt64 item);
    static QZInt64 GetDataType(QZChannel* channel, QZInt64 pd, QZInt64 item);

    /// Writes an item, with its type or leaving that alone; past the end it makes the list longer.
    /// @throws QZDatabaseException ArgumentOutOfRange for a negative item (the form without a type)
    void PutData(QZInt64 item, QZData* data, QZInt64 type);
    static void PutData(QZChannel* channel, QZInt64 pd, QZInt64 item, QZData* data, QZInt64 type);
    void PutData(QZInt64 item, QZData* data);
    static void PutData(QZChannel* channel, QZInt64 pd, QZInt64 item, QZData* data);

    /// An item as text. PutString converts by the item's type but writes field `item` of the node and not the
    /// item: it lands on a fixed field.
    QZString* GetString(QZInt64 item);
    static QZString* GetString(QZChannel* channel, QZInt64 pd, QZInt64 item);
    void PutString(QZInt64 item, QZString* text);
    static void PutString(QZChannel* channel, QZInt64 pd, QZInt64 item, QZString* text);

    /// The text of a value of the item's type, and the value of a text; see QZConvert.
    QZString* ValuesConvert(QZInt64 item, QZData* data);
    static QZString* ValuesConvert(QZChannel* channel, QZInt64 pd, QZInt64 item, QZData* data);
    QZData* ValuesConvert(QZInt64 item, QZString* text);
    static QZData* ValuesConvert(QZChannel* channel, QZInt64 pd, QZInt64 item, QZString* text);

    /// As QZNodeTLD::MoveString and DeleteString. True.
    /// @throws QZException 256 for an item that is not there, before anything is written
    QZBool MoveData(QZInt64 item, QZInt64 steps);
    static QZBool MoveData(QZChannel* channel, QZInt64 pd, QZInt64 item, QZInt64 steps);
    QZBool DeleteData(QZInt64 item);
    static QZBool DeleteData(QZChannel* channel, QZInt64 pd, QZInt64 item);

    QZDateTime* GetCreateDate();
    static QZDateTime* GetCreateDate(QZChannel* channel, QZInt64 pd);
    /// @throws QZException 256: the date of change stays empty
    QZDateTime* GetChangeDate();
    static QZDateTime* GetChangeDate(QZChannel* channel, QZInt64 pd);

    QZInt32 GetState();
    static QZInt32 GetState(QZChannel* channel, QZInt64 pd);
    QZInt32 GetState(QZInt64 index);
    static QZInt32 GetState(QZChannel* channel, QZInt64 pd, QZInt64 index);
    void SetState(QZInt32 value);
    static void SetState(QZChannel* channel, QZInt64 pd, QZInt32 value);
    void SetState(QZInt32 value, QZInt64 index);
    static void SetState(QZChannel* channel, QZInt64 pd, QZInt32 value, QZInt64 index);
};

/// A bitmap: picture bytes as the host gives them, a small version, and for both width and height in pixels.
class QZ_API QZNodeBLD : public QZSNode
{
public:
    static const QZInt64 Type = 0x1000200;
    /// Fields after the format field.
    static const QZInt64 BLDLEN = 10;

    QZNodeBLD(QZChannel* channel, QZInt64 address);
    QZInt64 GetType() override;

    /// A new bitmap without bytes, 0 by 0, with state 0.
    static QZInt64 Create(QZChannel* channel, QZInt64 hd);

    QZInt64 GetBitmapDataSize();
    static QZInt64 GetBitmapDataSize(QZChannel* channel, QZInt64 pd);
    QZInt64 GetBitmapDataType();
    static QZInt64 GetBitmapDataType(QZChannel* channel, QZInt64 pd);
    QZInt32 GetWidth();
    static QZInt32 GetWidth(QZChannel* channel, QZInt64 pd);
    QZInt32 GetHeight();
    static QZInt32 GetHeight(QZChannel* channel, QZInt64 pd);

    /// A package of the host's; four zero bytes while the field's type is another.
    QZData* GetInfo();
    static QZData* GetInfo(QZChannel* channel, QZInt64 pd);
    void PutInfo(QZData* info);
    static void PutInfo(QZChannel* channel, QZInt64 pd, QZData* info);

    QZDateTime* GetCreateDate();
    static QZDateTime* GetCreateDate(QZChannel* channel, QZInt64 pd);
    /// @throws QZException 256: the date of change stays empty
    QZDateTime* GetChangeDate();
    static QZDateTime* GetChangeDate(QZChannel* channel, QZInt64 pd);

    QZInt32 GetState();
    static QZInt32 GetState(QZChannel* channel, QZInt64 pd);
    QZInt32 GetState(QZInt64 index);
    static QZInt32 GetState(QZChannel* channel, QZInt64 pd, QZInt64 index);
    void SetState(QZInt32 value);
    static void SetState(QZChannel* channel, QZInt64 pd, QZInt32 value);
    void SetState(QZInt32 value, QZInt64 index);
    static void SetState(QZChannel* channel, QZInt64 pd, QZInt32 value, QZInt64 index);
};

/// A wave: sound bytes as the host gives them.
class QZ_API QZNodeWLD : public QZSNode
{
public:
    static const QZInt64 Type = 0x1000400;
    /// Fields after the format field.
    static const QZInt64 WLDLEN = 6;

    QZNodeWLD(QZChannel* channel, QZInt64 address);
    QZInt64 GetType() override;

    /// Makes the record, then works on the list instead of the record.
    /// @throws QZDatabaseException BadStruct while argument tests are on; the node is in the list all the
    /// same, without a date, and the calling thread holds the database's lock, as after every raising G_A
    static QZInt64 Create(QZChannel* channel, QZInt64 hd);
};

#endif
