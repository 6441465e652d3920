#ifndef QZLIB_DB_SEMANTIC_FIELDS_H
#define QZLIB_DB_SEMANTIC_FIELDS_H

#include <memory>

#include "sys/sys_types.h"

class QZChannel;
class QZData;
class QZDateTime;
class QZString;

/// The fields of a semantic node's LD, which are read and written according to its format field. The instance
/// and the static operations of the semantic nodes are both implemented with it.
class QZDbFields
{
public:
    QZDbFields(QZChannel* channel, QZInt64 ld) : m_channel(channel), m_ld(ld) {}

    /// The fields of the LD that a PD refers to.
    static QZDbFields Of(QZChannel* channel, QZInt64 pd);

    /// The kind code, a constant of LDTYPE.
    QZInt64 Kind() const;
    /// How many fields are in use after the format field.
    QZInt64 Length() const;
    void SetLength(QZInt64 length) const;
    /// Increases the length, never decreases it.
    void AtLeast(QZInt64 length) const;

    QZInt64 Type(QZInt64 field) const;
    void SetType(QZInt64 field, QZInt64 type) const;

    void PutString(QZInt64 field, QZString* text, QZInt64 encoding) const;
    void GetString(QZInt64 field, QZString* text) const;
    QZString* GetString(QZInt64 field) const;
    QZInt64 GetStringLength(QZInt64 field) const;

    void PutName(QZString* name) const;
    void GetName(QZString* name) const;
    void PutText(QZString* text) const;
    void GetText(QZString* text) const;

    QZInt64 PutData(QZInt64 field, QZData* data) const;
    QZData* GetData(QZInt64 field) const;
    QZInt64 GetDataSize(QZInt64 field) const;
    QZInt32 GetArrayElement(QZInt64 field, QZInt64 index) const;

    void NewState(QZInt64 field, QZInt32 value) const;
    void SetState(QZInt64 field, QZInt32 value, QZInt64 index) const;
    QZInt32 GetState(QZInt64 field, QZInt64 index) const;

    void PutDateInt32(QZInt64 field) const;
    QZDateTime* GetDate(QZInt64 field) const;

    // Items: item i, from 1, is in field i + 7.
    static QZInt64 ItemField(QZInt64 item);
    QZInt64 ItemCount() const;
    QZInt64 AddString(QZString* text) const;
    QZString* ItemString(QZInt64 item) const;
    void PutItemString(QZInt64 item, QZString* text) const;
    QZInt64 AddData(QZData* data, QZInt64 type) const;
    void PutItem(QZInt64 item, QZData* data) const;
    void PutItem(QZInt64 item, QZData* data, QZInt64 type) const;
    void MoveItem(QZInt64 item, QZInt64 steps, const QZWChar* className, const QZWChar* method) const;
    void DeleteItem(QZInt64 item, const QZWChar* className, const QZWChar* method) const;

private:
    QZInt32 Element(QZInt64 field, QZInt64 index) const;
    void SetElement(QZInt64 field, QZInt64 index, QZInt32 value) const;
    std::unique_ptr<QZData> Format() const;
    void TestItem(QZInt64 item, const QZWChar* className, const QZWChar* method) const;

    QZChannel* m_channel;
    QZInt64 m_ld;
};

#endif
