/// The four kinds of semantic nodes.

#include "db/db_semantic.h"

#include "db/internal/db_node_content.h"
#include "db/internal/db_semantic_fields.h"
#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_data_type.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_trace.h"

const QZInt64 QZNodeTLD::Type;
const QZInt64 QZNodeTLD::TLDLEN;
const QZInt64 QZNodeFLD::Type;
const QZInt64 QZNodeFLD::FLDLEN;
const QZInt64 QZNodeBLD::Type;
const QZInt64 QZNodeBLD::BLDLEN;
const QZInt64 QZNodeWLD::Type;
const QZInt64 QZNodeWLD::WLDLEN;

namespace
{
/// A format field: the kind, the number of fields after it, and the types of the fields from 3 on.
class Format : public QZData
{
public:
    Format(QZInt64 kind, std::initializer_list<QZInt64> types)
        : QZData(static_cast<QZInt64>(types.size() + 3) * 4)
    {
        const QZInt64 count = static_cast<QZInt64>(types.size());
        SetValueInt32(0, static_cast<QZInt32>(count + 2));
        SetValueInt32(1, static_cast<QZInt32>(kind));
        SetValueInt32(2, static_cast<QZInt32>(count));
        QZInt64 index = 3;
        for (const QZInt64 type : types) SetValueInt32(index++, static_cast<QZInt32>(type));
    }
};

constexpr QZInt64 kText = QZDataType::TEXTUTF16LE;
constexpr QZInt64 kArray = QZDataType::ARRAYINT32;

/// Adds a trace frame to an exception of a Create.
template <typename Make>
QZInt64 Traced(const QZWChar* className, QZChannel* channel, QZInt64 hd, Make make)
{
    try
    {
        return make();
    }
    catch (QZException* e)
    {
        QZTrace(e, className, QZ_W("Create"))
            .Argument(QZ_W("QZChannel*"), QZConvert::PVoidToIntPtr(channel))
            .Argument(QZ_W("QZInt64"), hd);
        throw;
    }
}
}  // namespace

// ---- Text lists

QZNodeTLD::QZNodeTLD(QZChannel* channel, QZInt64 address) : QZSNode(channel, address) {}

QZInt64 QZNodeTLD::GetType() { return 0x1000100; }

QZInt64 QZNodeTLD::Create(QZChannel* channel, QZInt64 hd)
{
    return Traced(QZ_W("QZNodeTLD"), channel, hd, [&] {
        Format format(LDTYPE::TLDTYPE, {kText, kText, kArray, kArray, kArray});
        const QZInt64 pd = QZSNode::Create(channel, &format, hd);
        // The node gets no state; the host makes one with PutData.
        QZDbFields::Of(channel, pd).PutDateInt32(TLDTYPE::CREATEDATE);
        return pd;
    });
}

QZInt64 QZNodeTLD::Count() { return QZDbFields(m_channel, LD()).ItemCount(); }
QZInt64 QZNodeTLD::Count(QZChannel* channel, QZInt64 pd) { return QZDbFields::Of(channel, pd).ItemCount(); }

QZInt64 QZNodeTLD::AddString(QZString* text) { return QZDbFields(m_channel, LD()).AddString(text); }
QZInt64 QZNodeTLD::AddString(QZChannel* channel, QZInt64 pd, QZString* text)
{
    return QZDbFields::Of(channel, pd).AddString(text);
}

QZString* QZNodeTLD::GetString(QZInt64 item) { return QZDbFields(m_channel, LD()).ItemString(item); }
QZString* QZNodeTLD::GetString(QZChannel* channel, QZInt64 pd, QZInt64 item)
{
    return QZDbFields::Of(channel, pd).ItemString(item);
}

void QZNodeTLD::PutString(QZInt64 item, QZString* text)
{
    QZDbFields(m_channel, LD()).PutItemString(item, text);
}
void QZNodeTLD::PutString(QZChannel* channel, QZInt64 pd, QZInt64 item, QZString* text)
{
    QZDbFields::Of(channel, pd).PutItemString(item, text);
}

QZBool QZNodeTLD::MoveString(QZInt64 item, QZInt64 steps)
{
    QZDbFields(m_channel, LD()).MoveItem(item, steps, QZ_W("QZNodeTLD"), QZ_W("MoveString"));
    return 1;
}
QZBool QZNodeTLD::MoveString(QZChannel* channel, QZInt64 pd, QZInt64 item, QZInt64 steps)
{
    QZDbFields::Of(channel, pd).MoveItem(item, steps, QZ_W("QZNodeTLD"), QZ_W("MoveString"));
    return 1;
}

QZBool QZNodeTLD::DeleteString(QZInt64 item)
{
    QZDbFields(m_channel, LD()).DeleteItem(item, QZ_W("QZNodeTLD"), QZ_W("DeleteString"));
    return 1;
}
QZBool QZNodeTLD::DeleteString(QZChannel* channel, QZInt64 pd, QZInt64 item)
{
    QZDbFields::Of(channel, pd).DeleteItem(item, QZ_W("QZNodeTLD"), QZ_W("DeleteString"));
    return 1;
}

QZDateTime* QZNodeTLD::GetCreateDate() { return QZDbFields(m_channel, LD()).GetDate(TLDTYPE::CREATEDATE); }
QZDateTime* QZNodeTLD::GetCreateDate(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetDate(TLDTYPE::CREATEDATE);
}

QZDateTime* QZNodeTLD::GetChangeDate() { return QZDbFields(m_channel, LD()).GetDate(TLDTYPE::CHANGEDATE); }
QZDateTime* QZNodeTLD::GetChangeDate(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetDate(TLDTYPE::CHANGEDATE);
}

QZInt32 QZNodeTLD::GetState() { return QZDbFields(m_channel, LD()).GetState(TLDTYPE::STATE, 1); }
QZInt32 QZNodeTLD::GetState(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetState(TLDTYPE::STATE, 1);
}

QZInt32 QZNodeTLD::GetState(QZInt64 index)
{
    return QZDbFields(m_channel, LD()).GetState(TLDTYPE::STATE, index);
}
QZInt32 QZNodeTLD::GetState(QZChannel* channel, QZInt64 pd, QZInt64 index)
{
    return QZDbFields::Of(channel, pd).GetState(TLDTYPE::STATE, index);
}

void QZNodeTLD::SetState(QZInt32 value) { QZDbFields(m_channel, LD()).SetState(TLDTYPE::STATE, value, 1); }
void QZNodeTLD::SetState(QZChannel* channel, QZInt64 pd, QZInt32 value)
{
    QZDbFields::Of(channel, pd).SetState(TLDTYPE::STATE, value, 1);
}

void QZNodeTLD::SetState(QZInt32 value, QZInt64 index)
{
    QZDbFields(m_channel, LD()).SetState(TLDTYPE::STATE, value, index);
}
void QZNodeTLD::SetState(QZChannel* channel, QZInt64 pd, QZInt32 value, QZInt64 index)
{
    QZDbFields::Of(channel, pd).SetState(TLDTYPE::STATE, value, index);
}

// ---- Data lists

QZNodeFLD::QZNodeFLD(QZChannel* channel, QZInt64 address) : QZSNode(channel, address) {}

QZInt64 QZNodeFLD::GetType() { return 0x1000300; }

QZInt64 QZNodeFLD::Create(QZChannel* channel, QZInt64 hd)
{
    return Traced(QZ_W("QZNodeFLD"), channel, hd, [&] {
        Format format(LDTYPE::FLDTYPE, {kText, kText, kArray, kArray, kArray});
        const QZInt64 pd = QZSNode::Create(channel, &format, hd);
        const QZDbFields fields = QZDbFields::Of(channel, pd);
        fields.PutDateInt32(FLDTYPE::CREATEDATE);
        fields.NewState(FLDTYPE::STATE, 0);
        return pd;
    });
}

QZInt64 QZNodeFLD::DataCount() { return QZDbFields(m_channel, LD()).ItemCount(); }
QZInt64 QZNodeFLD::DataCount(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).ItemCount();
}

QZInt64 QZNodeFLD::AddData(QZData* data, QZInt64 type)
{
    return QZDbFields(m_channel, LD()).AddData(data, type);
}
QZInt64 QZNodeFLD::AddData(QZChannel* channel, QZInt64 pd, QZData* data, QZInt64 type)
{
    return QZDbFields::Of(channel, pd).AddData(data, type);
}

QZInt64 QZNodeFLD::AddData(QZInt64 type)
{
    QZData empty(8);
    return AddData(&empty, type);
}
QZInt64 QZNodeFLD::AddData(QZChannel* channel, QZInt64 pd, QZInt64 type)
{
    QZData empty(8);
    return AddData(channel, pd, &empty, type);
}

QZData* QZNodeFLD::GetData(QZInt64 item)
{
    return QZDbFields(m_channel, LD()).GetData(QZDbFields::ItemField(item));
}
QZData* QZNodeFLD::GetData(QZChannel* channel, QZInt64 pd, QZInt64 item)
{
    return QZDbFields::Of(channel, pd).GetData(QZDbFields::ItemField(item));
}

QZInt64 QZNodeFLD::GetDataSize(QZInt64 item)
{
    return QZDbFields(m_channel, LD()).GetDataSize(QZDbFields::ItemField(item));
}
QZInt64 QZNodeFLD::GetDataSize(QZChannel* channel, QZInt64 pd, QZInt64 item)
{
    return QZDbFields::Of(channel, pd).GetDataSize(QZDbFields::ItemField(item));
}

QZInt64 QZNodeFLD::GetDataType(QZInt64 item)
{
    return QZDbFields(m_channel, LD()).Type(QZDbFields::ItemField(item));
}
QZInt64 QZNodeFLD::GetDataType(QZChannel* channel, QZInt64 pd, QZInt64 item)
{
    return QZDbFields::Of(channel, pd).Type(QZDbFields::ItemField(item));
}

void QZNodeFLD::PutData(QZInt64 item, QZData* data, QZInt64 type)
{
    QZDbFields(m_channel, LD()).PutItem(item, data, type);
}
void QZNodeFLD::PutData(QZChannel* channel, QZInt64 pd, QZInt64 item, QZData* data, QZInt64 type)
{
    QZDbFields::Of(channel, pd).PutItem(item, data, type);
}

void QZNodeFLD::PutData(QZInt64 item, QZData* data) { QZDbFields(m_channel, LD()).PutItem(item, data); }
void QZNodeFLD::PutData(QZChannel* channel, QZInt64 pd, QZInt64 item, QZData* data)
{
    QZDbFields::Of(channel, pd).PutItem(item, data);
}

QZString* QZNodeFLD::GetString(QZInt64 item)
{
    const std::unique_ptr<QZData> data(GetData(item));
    return ValuesConvert(item, data.get());
}
QZString* QZNodeFLD::GetString(QZChannel* channel, QZInt64 pd, QZInt64 item)
{
    const std::unique_ptr<QZData> data(GetData(channel, pd, item));
    return ValuesConvert(channel, pd, item, data.get());
}

void QZNodeFLD::PutString(QZInt64 item, QZString* text)
{
    // This writes the node's field of this number, not the item's, as documented.
    const std::unique_ptr<QZData> data(ValuesConvert(item, text));
    QZSNode::PutData(item, data.get());
}
void QZNodeFLD::PutString(QZChannel* channel, QZInt64 pd, QZInt64 item, QZString* text)
{
    const std::unique_ptr<QZData> data(ValuesConvert(channel, pd, item, text));
    QZSNode::PutData(channel, pd, item, data.get());
}

QZString* QZNodeFLD::ValuesConvert(QZInt64 item, QZData* data)
{
    return QZConvert::DataToText(data, GetDataType(item));
}
QZString* QZNodeFLD::ValuesConvert(QZChannel* channel, QZInt64 pd, QZInt64 item, QZData* data)
{
    return QZConvert::DataToText(data, GetDataType(channel, pd, item));
}
QZData* QZNodeFLD::ValuesConvert(QZInt64 item, QZString* text)
{
    return QZConvert::TextToData(text, GetDataType(item));
}
QZData* QZNodeFLD::ValuesConvert(QZChannel* channel, QZInt64 pd, QZInt64 item, QZString* text)
{
    return QZConvert::TextToData(text, GetDataType(channel, pd, item));
}

QZBool QZNodeFLD::MoveData(QZInt64 item, QZInt64 steps)
{
    QZDbFields(m_channel, LD()).MoveItem(item, steps, QZ_W("QZNodeFLD"), QZ_W("MoveData"));
    return 1;
}
QZBool QZNodeFLD::MoveData(QZChannel* channel, QZInt64 pd, QZInt64 item, QZInt64 steps)
{
    QZDbFields::Of(channel, pd).MoveItem(item, steps, QZ_W("QZNodeFLD"), QZ_W("MoveData"));
    return 1;
}

QZBool QZNodeFLD::DeleteData(QZInt64 item)
{
    QZDbFields(m_channel, LD()).DeleteItem(item, QZ_W("QZNodeFLD"), QZ_W("DeleteData"));
    return 1;
}
QZBool QZNodeFLD::DeleteData(QZChannel* channel, QZInt64 pd, QZInt64 item)
{
    QZDbFields::Of(channel, pd).DeleteItem(item, QZ_W("QZNodeFLD"), QZ_W("DeleteData"));
    return 1;
}

QZDateTime* QZNodeFLD::GetCreateDate() { return QZDbFields(m_channel, LD()).GetDate(FLDTYPE::CREATEDATE); }
QZDateTime* QZNodeFLD::GetCreateDate(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetDate(FLDTYPE::CREATEDATE);
}

QZDateTime* QZNodeFLD::GetChangeDate() { return QZDbFields(m_channel, LD()).GetDate(FLDTYPE::CHANGEDATE); }
QZDateTime* QZNodeFLD::GetChangeDate(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetDate(FLDTYPE::CHANGEDATE);
}

QZInt32 QZNodeFLD::GetState() { return QZDbFields(m_channel, LD()).GetState(FLDTYPE::STATE, 1); }
QZInt32 QZNodeFLD::GetState(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetState(FLDTYPE::STATE, 1);
}

QZInt32 QZNodeFLD::GetState(QZInt64 index)
{
    return QZDbFields(m_channel, LD()).GetState(FLDTYPE::STATE, index);
}
QZInt32 QZNodeFLD::GetState(QZChannel* channel, QZInt64 pd, QZInt64 index)
{
    return QZDbFields::Of(channel, pd).GetState(FLDTYPE::STATE, index);
}

void QZNodeFLD::SetState(QZInt32 value) { QZDbFields(m_channel, LD()).SetState(FLDTYPE::STATE, value, 1); }
void QZNodeFLD::SetState(QZChannel* channel, QZInt64 pd, QZInt32 value)
{
    QZDbFields::Of(channel, pd).SetState(FLDTYPE::STATE, value, 1);
}

void QZNodeFLD::SetState(QZInt32 value, QZInt64 index)
{
    QZDbFields(m_channel, LD()).SetState(FLDTYPE::STATE, value, index);
}
void QZNodeFLD::SetState(QZChannel* channel, QZInt64 pd, QZInt32 value, QZInt64 index)
{
    QZDbFields::Of(channel, pd).SetState(FLDTYPE::STATE, value, index);
}

// ---- Bitmaps

QZNodeBLD::QZNodeBLD(QZChannel* channel, QZInt64 address) : QZSNode(channel, address) {}

QZInt64 QZNodeBLD::GetType() { return 0x1000200; }

QZInt64 QZNodeBLD::Create(QZChannel* channel, QZInt64 hd)
{
    return Traced(QZ_W("QZNodeBLD"), channel, hd, [&] {
        Format format(LDTYPE::BLDTYPE, {QZDataType::ANY, kArray, QZDataType::ANY, kArray, kText, kText,
                                        kArray, QZDataType::INFOLIST, kArray, kArray});
        const QZInt64 pd = QZSNode::Create(channel, &format, hd);
        const QZDbFields fields = QZDbFields::Of(channel, pd);
        QZData extent(12);
        extent.SetValueInt32(0, 2);
        fields.PutData(BLDTYPE::BMPDATALEN, &extent);
        fields.PutData(BLDTYPE::TBMPDATALEN, &extent);
        QZData info(4);
        fields.PutData(BLDTYPE::INFO, &info);
        fields.PutDateInt32(BLDTYPE::CREATEDATE);
        fields.NewState(BLDTYPE::STATE, 0);
        return pd;
    });
}

QZInt64 QZNodeBLD::GetBitmapDataSize() { return QZDbFields(m_channel, LD()).GetDataSize(BLDTYPE::BMPDATA); }
QZInt64 QZNodeBLD::GetBitmapDataSize(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetDataSize(BLDTYPE::BMPDATA);
}

QZInt64 QZNodeBLD::GetBitmapDataType() { return QZDbFields(m_channel, LD()).Type(BLDTYPE::BMPDATA); }
QZInt64 QZNodeBLD::GetBitmapDataType(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).Type(BLDTYPE::BMPDATA);
}

QZInt32 QZNodeBLD::GetWidth() { return QZDbFields(m_channel, LD()).GetArrayElement(BLDTYPE::BMPDATALEN, 1); }
QZInt32 QZNodeBLD::GetWidth(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetArrayElement(BLDTYPE::BMPDATALEN, 1);
}

QZInt32 QZNodeBLD::GetHeight() { return QZDbFields(m_channel, LD()).GetArrayElement(BLDTYPE::BMPDATALEN, 2); }
QZInt32 QZNodeBLD::GetHeight(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetArrayElement(BLDTYPE::BMPDATALEN, 2);
}

QZData* QZNodeBLD::GetInfo()
{
    const QZDbFields fields(m_channel, LD());
    if (fields.Type(BLDTYPE::INFO) == QZDataType::INFOLIST) return fields.GetData(BLDTYPE::INFO);
    return new QZData(4);
}
QZData* QZNodeBLD::GetInfo(QZChannel* channel, QZInt64 pd)
{
    const QZDbFields fields = QZDbFields::Of(channel, pd);
    if (fields.Type(BLDTYPE::INFO) == QZDataType::INFOLIST) return fields.GetData(BLDTYPE::INFO);
    return new QZData(4);
}

void QZNodeBLD::PutInfo(QZData* info)
{
    const QZDbFields fields(m_channel, LD());
    fields.SetType(BLDTYPE::INFO, QZDataType::INFOLIST);
    fields.PutData(BLDTYPE::INFO, info);
}
void QZNodeBLD::PutInfo(QZChannel* channel, QZInt64 pd, QZData* info)
{
    const QZDbFields fields = QZDbFields::Of(channel, pd);
    fields.SetType(BLDTYPE::INFO, QZDataType::INFOLIST);
    fields.PutData(BLDTYPE::INFO, info);
}

QZDateTime* QZNodeBLD::GetCreateDate() { return QZDbFields(m_channel, LD()).GetDate(BLDTYPE::CREATEDATE); }
QZDateTime* QZNodeBLD::GetCreateDate(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetDate(BLDTYPE::CREATEDATE);
}

QZDateTime* QZNodeBLD::GetChangeDate() { return QZDbFields(m_channel, LD()).GetDate(BLDTYPE::CHANGEDATE); }
QZDateTime* QZNodeBLD::GetChangeDate(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetDate(BLDTYPE::CHANGEDATE);
}

QZInt32 QZNodeBLD::GetState() { return QZDbFields(m_channel, LD()).GetState(BLDTYPE::STATE, 1); }
QZInt32 QZNodeBLD::GetState(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields::Of(channel, pd).GetState(BLDTYPE::STATE, 1);
}

QZInt32 QZNodeBLD::GetState(QZInt64 index)
{
    return QZDbFields(m_channel, LD()).GetState(BLDTYPE::STATE, index);
}
QZInt32 QZNodeBLD::GetState(QZChannel* channel, QZInt64 pd, QZInt64 index)
{
    return QZDbFields::Of(channel, pd).GetState(BLDTYPE::STATE, index);
}

void QZNodeBLD::SetState(QZInt32 value) { QZDbFields(m_channel, LD()).SetState(BLDTYPE::STATE, value, 1); }
void QZNodeBLD::SetState(QZChannel* channel, QZInt64 pd, QZInt32 value)
{
    QZDbFields::Of(channel, pd).SetState(BLDTYPE::STATE, value, 1);
}

void QZNodeBLD::SetState(QZInt32 value, QZInt64 index)
{
    QZDbFields(m_channel, LD()).SetState(BLDTYPE::STATE, value, index);
}
void QZNodeBLD::SetState(QZChannel* channel, QZInt64 pd, QZInt32 value, QZInt64 index)
{
    QZDbFields::Of(channel, pd).SetState(BLDTYPE::STATE, value, index);
}

// ---- Waves

QZNodeWLD::QZNodeWLD(QZChannel* channel, QZInt64 address) : QZSNode(channel, address) {}

QZInt64 QZNodeWLD::GetType() { return 0x1000400; }

QZInt64 QZNodeWLD::Create(QZChannel* channel, QZInt64 hd)
{
    return Traced(QZ_W("QZNodeWLD"), channel, hd, [&] {
        Format format(LDTYPE::WLDTYPE, {0, kText, kText, kArray, kArray, kArray});
        const QZInt64 pd = QZSNode::Create(channel, &format, hd);
        // This passes the list instead of the new record. It throws, after the record was made, as
        // documented.
        QZSNode node(channel, hd);
        node.PutDateInt32(WLDTYPE::CREATEDATE);
        return pd;
    });
}
