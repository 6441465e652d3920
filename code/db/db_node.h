#ifndef QZLIB_DB_NODE_H
#define QZLIB_DB_NODE_H

#include "fw/fw_object.h"

class QZChannel;
class QZCollection;
class QZData;

/// Node objects: thin values over a channel and an address, which name operations of the channel in words.
///
/// They hold no copy of the file, own neither the channel nor the record, and making or deleting one changes
/// nothing in the file. The constructor tests neither argument. Nearly every operation exists twice: on the
/// object's own channel and address, and as a static form that takes both first; the two behave alike. Where
/// nothing else is said, an operation returns what the channel returns and throws what the channel's G_A
/// throws. Objects may be used from any thread; two threads that share one object's record get the channel's
/// serialisation and nothing more.

/// Any data record.
class QZ_API QZNode : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFFF;

    QZNode(QZChannel* channel, QZInt64 address);
    ~QZNode() override;

    QZInt64 GetType() override;

    QZChannel* GetChannel() const { return m_channel; }
    QZInt64 GetAddress() const { return m_address; }

    /// The previous record, 0 for the first.
    QZInt64 GetPrev();
    static QZInt64 GetPrev(QZChannel* channel, QZInt64 address);

    /// The next record of a PD, 0 for the last. With argument tests on it suits PDs only.
    QZInt64 GetNext();
    static QZInt64 GetNext(QZChannel* channel, QZInt64 address);

    /// The HD that holds the record.
    QZInt64 GetHDA();
    static QZInt64 GetHDA(QZChannel* channel, QZInt64 address);

    /// The place in the list, from 1.
    QZInt64 GetSN();
    static QZInt64 GetSN(QZChannel* channel, QZInt64 address);

    /// The type code of the record.
    QZInt64 GetNodeType();
    static QZInt64 GetNodeType(QZChannel* channel, QZInt64 address);

    /// Moves the record within its list. The two are one operation: the sign of `steps` gives the direction,
    /// positive towards the end.
    QZInt64 MoveUp(QZInt64 steps);
    static QZInt64 MoveUp(QZChannel* channel, QZInt64 address, QZInt64 steps);
    QZInt64 MoveDown(QZInt64 steps);
    static QZInt64 MoveDown(QZChannel* channel, QZInt64 address, QZInt64 steps);

    /// Both move the record to the end of its list. MoveFirst does so too.
    QZInt64 MoveFirst();
    static QZInt64 MoveFirst(QZChannel* channel, QZInt64 address);
    QZInt64 MoveLast();
    static QZInt64 MoveLast(QZChannel* channel, QZInt64 address);

    /// Moves the record to the end of another list.
    QZInt64 MoveTo(QZInt64 hd);
    static QZInt64 MoveTo(QZChannel* channel, QZInt64 address, QZInt64 hd);

protected:
    QZInt64 m_address;
    QZChannel* m_channel;
};

/// A record that carries one address.
class QZ_API QZNodeAD : public QZNode
{
public:
    static const QZInt64 Type = 0x8200000;

    QZNodeAD(QZChannel* channel, QZInt64 address);
    QZInt64 GetType() override;

    /// The address that it carries.
    QZInt64 GetADF();
    static QZInt64 GetADF(QZChannel* channel, QZInt64 address);
};

/// A record that carries bytes.
class QZ_API QZNodeCD : public QZNode
{
public:
    static const QZInt64 Type = 0x8200001;

    QZNodeCD(QZChannel* channel, QZInt64 address);
    QZInt64 GetType() override;

    /// The content, given back with Recycle.
    QZData* GetData();
    static QZData* GetData(QZChannel* channel, QZInt64 address);

    /// Deletes the data and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZData** data);
};

/// A record that carries three addresses.
class QZ_API QZNodeRD : public QZNode
{
public:
    static const QZInt64 Type = 0x8200002;

    QZNodeRD(QZChannel* channel, QZInt64 address);
    QZInt64 GetType() override;

    /// RD_P, RD_O and RD_N.
    QZInt64 GetAddr1();
    static QZInt64 GetAddr1(QZChannel* channel, QZInt64 address);
    QZInt64 GetAddr2();
    static QZInt64 GetAddr2(QZChannel* channel, QZInt64 address);
    QZInt64 GetAddr3();
    static QZInt64 GetAddr3(QZChannel* channel, QZInt64 address);
};

/// A record with a list of fields. Field numbers count from 1, sizes are in bytes.
class QZ_API QZNodeLD : public QZNode
{
public:
    static const QZInt64 Type = 0x8200003;

    QZNodeLD(QZChannel* channel, QZInt64 address);
    QZInt64 GetType() override;

    /// A new LD at the end of TREEL; returns its address.
    static QZInt64 Create(QZChannel* channel);

    QZInt64 GetPrev();
    static QZInt64 GetPrev(QZChannel* channel, QZInt64 address);
    QZInt64 GetNext();
    static QZInt64 GetNext(QZChannel* channel, QZInt64 address);

    QZInt64 FieldCount();
    static QZInt64 FieldCount(QZChannel* channel, QZInt64 address);

    /// Refused by the engine: false, and the field stays.
    QZBool FieldDelete(QZInt64 field);
    static QZBool FieldDelete(QZChannel* channel, QZInt64 address, QZInt64 field);

    /// Moves a field towards the end by the absolute value of `steps`.
    QZInt64 FieldMove(QZInt64 field, QZInt64 steps);
    static QZInt64 FieldMove(QZChannel* channel, QZInt64 address, QZInt64 field, QZInt64 steps);

    /// Writes a field, making it and those before it where they are missing.
    QZInt64 PutData(QZInt64 field, QZData* data);
    QZInt64 PutData(QZInt64 field, const void* pointer, QZInt64 length);
    static QZInt64 PutData(QZChannel* channel, QZInt64 address, QZInt64 field, QZData* data);
    static QZInt64 PutData(QZChannel* channel, QZInt64 address, QZInt64 field, const void* pointer,
                           QZInt64 length);

    /// A field's content: as new data (given back with Recycle), in the caller's data, or in the caller's
    /// memory, which has room for GetSize bytes. The last two return what the channel's G_C returns.
    QZData* GetData(QZInt64 field);
    static QZData* GetData(QZChannel* channel, QZInt64 address, QZInt64 field);
    QZInt64 GetData(QZInt64 field, QZData* data);
    static QZInt64 GetData(QZChannel* channel, QZInt64 address, QZInt64 field, QZData* data);
    QZInt64 GetData(QZInt64 field, void* pointer);
    static QZInt64 GetData(QZChannel* channel, QZInt64 address, QZInt64 field, void* pointer);

    QZInt64 GetSize(QZInt64 field);
    static QZInt64 GetSize(QZChannel* channel, QZInt64 address, QZInt64 field);

    /// Refused by the engine: false, and the LD stays.
    QZBool Remove();
    static QZBool Remove(QZChannel* channel, QZInt64 address);

    QZBool IsLD();
    static QZBool IsLD(QZChannel* channel, QZInt64 address);

    /// True when the structure check finds nothing.
    QZBool Check();
    static QZBool Check(QZChannel* channel, QZInt64 address);

    /// Overwrites a field's content with zeros; EraseAll returns the sum over all fields.
    QZInt64 Erase(QZInt64 field);
    static QZInt64 Erase(QZChannel* channel, QZInt64 address, QZInt64 field);
    QZInt64 EraseAll();
    static QZInt64 EraseAll(QZChannel* channel, QZInt64 address);

    /// An array of 32-bit values in a field: element 0 is the count n, elements 1 to n the values.
    /// NEW writes an array of count 0. PUT sets an element of the array in `data`, which grows up to a new
    /// index with zeros between; it writes no field. GET reads an element without a look at the count.
    /// @throws QZException 1024 for an element outside the data
    QZInt64 NEW_ARRAYINT32(QZInt64 field);
    static QZInt64 NEW_ARRAYINT32(QZChannel* channel, QZInt64 address, QZInt64 field);
    static void PUT_ARRAYINT32(QZData* data, QZInt64 index, QZInt32 value);
    QZInt32 GET_ARRAYINT32(QZInt64 field, QZInt64 index);
    static QZInt32 GET_ARRAYINT32(QZChannel* channel, QZInt64 address, QZInt64 field, QZInt64 index);

    /// Deletes the data and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZData** data);
};

/// A record of a tree: it refers to an LD and may have an HD with children. Its own bytes are called the
/// mark.
class QZ_API QZNodePD : public QZNode
{
public:
    static const QZInt64 Type = 0x8200004;

    QZNodePD(QZChannel* channel, QZInt64 address);
    QZInt64 GetType() override;

    /// A new PD at the end of the list of `hd`; returns its address. The content is never stored: the engine
    /// refuses the field number and keeps BAD_PARAMETER as its last error.
    static QZInt64 Create(QZChannel* channel, QZInt64 hd, QZInt64 ld);
    static QZInt64 Create(QZChannel* channel, QZInt64 hd, QZInt64 ld, const void* pointer, QZInt64 length);

    QZInt64 GetLD();
    static QZInt64 GetLD(QZChannel* channel, QZInt64 address);
    QZInt64 GetHD();
    static QZInt64 GetHD(QZChannel* channel, QZInt64 address);
    QZInt64 SetHD(QZInt64 hd);
    static QZInt64 SetHD(QZChannel* channel, QZInt64 address, QZInt64 hd);

    /// Turns every PD that the present LD's list of tree S names to another LD and notes it there. The object
    /// then has the address of the last PD that was changed. 0; -1 when there is no present LD or `ld` is
    /// none.
    QZInt64 SetLD(QZInt64 ld);
    static QZInt64 SetLD(QZChannel* channel, QZInt64 address, QZInt64 ld);

    /// The PD's bytes, deleted by the caller; null when they cannot be read.
    QZData* GetMark();
    static QZData* GetMark(QZChannel* channel, QZInt64 address);

    /// Writes the PD's bytes. With a type, `data` needs 4 free bytes of head room, into which the type goes.
    QZInt64 PutMark(QZData* data);
    static QZInt64 PutMark(QZChannel* channel, QZInt64 address, QZData* data);
    QZInt64 PutMark(QZData* data, QZInt32 type);
    static QZInt64 PutMark(QZChannel* channel, QZInt64 address, QZData* data, QZInt32 type);

    /// The type in front of the mark, 0 unless it is 0x2000000 to 0x20FFFFF.
    /// @throws QZException 1024 for a mark of less than 4 bytes
    QZInt64 GetMarkType();
    static QZInt64 GetMarkType(QZChannel* channel, QZInt64 address);
    QZInt64 PutMarkType(QZInt32 type);
    static QZInt64 PutMarkType(QZChannel* channel, QZInt64 address, QZInt32 type);
    QZInt64 GetMarkSize();
    static QZInt64 GetMarkSize(QZChannel* channel, QZInt64 address);

    QZBool RemovePD();
    static QZBool RemovePD(QZChannel* channel, QZInt64 address);
    QZBool RemoveLD();
    static QZBool RemoveLD(QZChannel* channel, QZInt64 address);

    /// Removes the children. The child address then reads TABLE_HD, not 0. Returns 0.
    QZInt64 RemoveHD();
    static QZInt64 RemoveHD(QZChannel* channel, QZInt64 address);
    QZBool RemoveAll();
    static QZBool RemoveAll(QZChannel* channel, QZInt64 address);

    QZBool IsPD();
    static QZBool IsPD(QZChannel* channel, QZInt64 address);
    QZBool Check();
    static QZBool Check(QZChannel* channel, QZInt64 address);

    /// Ends the list before this PD. With argument tests on it throws after the list's end was set.
    QZInt64 CutOff();
    static QZInt64 CutOff(QZChannel* channel, QZInt64 address);

    QZInt64 Erase();
    static QZInt64 Erase(QZChannel* channel, QZInt64 address);

    /// The PD one level up, 0 in the root list of TREES.
    QZInt64 GetPrevLayer();
    static QZInt64 GetPrevLayer(QZChannel* channel, QZInt64 address);

private:
    static QZInt64 TurnToLD(QZChannel* channel, QZInt64* address, QZInt64 ld);
};

/// The head of a list.
class QZ_API QZNodeHD : public QZObject
{
public:
    static const QZInt64 Type = 0x8200005;

    QZNodeHD(QZChannel* channel, QZInt64 address);
    ~QZNodeHD() override;

    QZInt64 GetType() override;

    QZChannel* GetChannel() const { return m_channel; }
    QZInt64 GetAddress() const { return m_address; }

    /// A new HD under a PD; returns its address.
    static QZInt64 Create(QZChannel* channel, QZInt64 pd);

    /// First and last record of the list, 0 when it is empty; the owner of the HD.
    QZInt64 GetFirst();
    static QZInt64 GetFirst(QZChannel* channel, QZInt64 address);
    QZInt64 GetLast();
    static QZInt64 GetLast(QZChannel* channel, QZInt64 address);
    QZInt64 GetPrev();
    static QZInt64 GetPrev(QZChannel* channel, QZInt64 address);

    /// The n-th record, from 1; 0 past the end.
    QZInt64 Get(QZInt64 n);
    static QZInt64 Get(QZChannel* channel, QZInt64 address, QZInt64 n);

    /// Records of the list. With `all`, of everything below it: throws 1024 unless the list is empty.
    QZInt64 Count(QZBool all);
    static QZInt64 Count(QZChannel* channel, QZInt64 address, QZBool all);

    /// Removes every PD of the list with all below it.
    void ClearAll();
    static void ClearAll(QZChannel* channel, QZInt64 address);

    /// Refused by the engine for every record: nothing changes.
    void Clear();
    static void Clear(QZChannel* channel, QZInt64 address);

    /// Makes the list empty.
    QZBool Reset();
    static QZBool Reset(QZChannel* channel, QZInt64 address);

    QZBool IsHD();
    static QZBool IsHD(QZChannel* channel, QZInt64 address);
    QZBool Check();
    static QZBool Check(QZChannel* channel, QZInt64 address);

    /// The records as a new collection, given back with Recycle. With `all` it throws 1024 unless the list is
    /// empty.
    QZCollection* GetAddrCollection(QZBool all);
    static QZCollection* GetAddrCollection(QZChannel* channel, QZInt64 address, QZBool all);

    /// A new empty collection: the engine's search finds nothing.
    QZCollection* GetTargetsAddrCollection(QZInt64 selector, QZData* data);
    static QZCollection* GetTargetsAddrCollection(QZChannel* channel, QZInt64 address, QZInt64 selector,
                                                  QZData* data);

    /// Deletes the collection and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZCollection** collection);

private:
    QZInt64 m_address;
    QZChannel* m_channel;
};

#endif
