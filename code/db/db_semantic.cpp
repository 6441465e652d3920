#include "db/db_semantic.h"

#include "db/db_channel.h"
#include "db/internal/db_node_content.h"
#include "db/internal/db_semantic_fields.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_trace.h"

const QZInt64 QZSNode::Type;

/// What the node object holds besides its address.
struct QZSNode::Parts
{
    Parts(QZChannel* channel, QZInt64 address, QZUInt64 owner)
        : m_owner(owner), m_ld(channel, QZNodePD::GetLD(channel, address)), m_pd(channel, address)
    {
        const QZDbFields fields(channel, m_ld.GetAddress());
        fields.GetName(m_name.get());
        fields.GetText(m_text.get());
        m_name->SetDisposable(m_owner, 0);
        m_text->SetDisposable(m_owner, 0);
    }

    ~Parts()
    {
        m_name->SetDisposable(m_owner, 1);
        m_text->SetDisposable(m_owner, 1);
    }

    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    QZUInt64 m_owner;
    QZNodeLD m_ld;
    QZNodePD m_pd;
    std::unique_ptr<QZString> m_name{new QZString()};
    std::unique_ptr<QZString> m_text{new QZString()};
};

QZSNode::QZSNode(QZChannel* channel, QZInt64 address)
    : QZNodePD(channel, address), m_parts(std::make_shared<Parts>(channel, address, GetObjectID()))
{}

QZInt64 QZSNode::GetType() { return 0x1000000; }

QZInt64 QZSNode::LD() const { return m_parts->m_ld.GetAddress(); }

// ---- Name and text

void QZSNode::PutText(QZString* text)
{
    QZDbFields(m_channel, LD()).PutText(text);
    m_parts->m_text->Set(text);
}
QZString* QZSNode::GetText() { return m_parts->m_text.get(); }

void QZSNode::PutName(QZString* name)
{
    QZDbFields(m_channel, LD()).PutName(name);
    m_parts->m_name->Set(name);
}
QZString* QZSNode::GetName() { return m_parts->m_name.get(); }

// No operation keeps the date of change: the field stays empty, as documented.
void QZSNode::UpdateChangedDate() {}
void QZSNode::Changed() {}

void QZSNode::PutText(QZChannel* channel, QZInt64 pd, QZString* text)
{
    QZDbFields::Of(channel, pd).PutText(text);
}
void QZSNode::PutName(QZChannel* channel, QZInt64 pd, QZString* name)
{
    QZDbFields::Of(channel, pd).PutName(name);
}
void QZSNode::GetText(QZChannel* channel, QZInt64 pd, QZString* text)
{
    QZDbFields::Of(channel, pd).GetText(text);
}
void QZSNode::GetName(QZChannel* channel, QZInt64 pd, QZString* name)
{
    QZDbFields::Of(channel, pd).GetName(name);
}
void QZSNode::GetNameByLD(QZChannel* channel, QZInt64 ld, QZString* name)
{
    QZDbFields(channel, ld).GetName(name);
}

// ---- Creating

QZInt64 QZSNode::Create(QZChannel* channel, QZData* format, QZInt64 hd)
{
    const QZInt64 ld = QZNodeLD::Create(channel);
    const QZInt64 pd = QZNodePD::Create(channel, hd, ld);
    QZNodeLD::PutData(channel, ld, TLDTYPE::DATAFORMAT, format);
    return pd;
}

QZInt64 QZSNode::Create(QZChannel* channel, QZInt64 kind, QZInt64 hd)
{
    switch (kind)
    {
        case LDTYPE::TLDTYPE: return QZNodeTLD::Create(channel, hd);
        case LDTYPE::FLDTYPE: return QZNodeFLD::Create(channel, hd);
        case LDTYPE::BLDTYPE: return QZNodeBLD::Create(channel, hd);
        case LDTYPE::WLDTYPE: return QZNodeWLD::Create(channel, hd);
        default: break;
    }
    throw QZTrace(QZExceptionFactory::CreateDatabaseException(QZDatabaseExceptionCode::UnknownNodeType),
                  QZ_W("QZSNode"), QZ_W("Create"))
        .Argument(QZ_W("QZChannel*"), static_cast<QZInt64>(reinterpret_cast<std::intptr_t>(channel)))
        .Argument(QZ_W("QZInt64"), kind)
        .Argument(QZ_W("QZInt64"), hd)
        .Exception();
}

// ---- Fields

QZInt64 QZSNode::GetNodeType() { return QZDbFields(m_channel, LD()).Kind(); }
QZInt64 QZSNode::GetNodeType(QZChannel* channel, QZInt64 pd) { return QZDbFields::Of(channel, pd).Kind(); }
QZInt64 QZSNode::GetNodeTypeByLD(QZChannel* channel, QZInt64 ld) { return QZDbFields(channel, ld).Kind(); }

QZInt64 QZSNode::GetDataType(QZInt64 field) { return QZDbFields(m_channel, LD()).Type(field); }
QZInt64 QZSNode::GetDataType(QZChannel* channel, QZInt64 pd, QZInt64 field)
{
    return QZDbFields::Of(channel, pd).Type(field);
}

void QZSNode::SetDataType(QZInt64 field, QZInt64 type) { QZDbFields(m_channel, LD()).SetType(field, type); }
void QZSNode::SetDataType(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt64 type)
{
    QZDbFields::Of(channel, pd).SetType(field, type);
}

QZString* QZSNode::GetString(QZInt64 field) { return QZDbFields(m_channel, LD()).GetString(field); }
QZString* QZSNode::GetString(QZChannel* channel, QZInt64 pd, QZInt64 field)
{
    return QZDbFields::Of(channel, pd).GetString(field);
}

void QZSNode::GetString(QZInt64 field, QZString* text) { QZDbFields(m_channel, LD()).GetString(field, text); }
void QZSNode::GetString(QZChannel* channel, QZInt64 pd, QZInt64 field, QZString* text)
{
    QZDbFields::Of(channel, pd).GetString(field, text);
}

QZInt64 QZSNode::GetStringLength(QZInt64 field) { return QZDbFields(m_channel, LD()).GetStringLength(field); }
QZInt64 QZSNode::GetStringLength(QZChannel* channel, QZInt64 pd, QZInt64 field)
{
    return QZDbFields::Of(channel, pd).GetStringLength(field);
}

void QZSNode::PutString(QZInt64 field, QZString* text, QZInt64 encoding)
{
    QZDbFields(m_channel, LD()).PutString(field, text, encoding);
}
void QZSNode::PutString(QZChannel* channel, QZInt64 pd, QZInt64 field, QZString* text, QZInt64 encoding)
{
    QZDbFields::Of(channel, pd).PutString(field, text, encoding);
}

QZInt64 QZSNode::PutData(QZInt64 field, QZData* data)
{
    return QZDbFields(m_channel, LD()).PutData(field, data);
}
QZInt64 QZSNode::PutData(QZChannel* channel, QZInt64 pd, QZInt64 field, QZData* data)
{
    return QZDbFields::Of(channel, pd).PutData(field, data);
}

QZData* QZSNode::GetData(QZInt64 field) { return QZDbFields(m_channel, LD()).GetData(field); }
QZData* QZSNode::GetData(QZChannel* channel, QZInt64 pd, QZInt64 field)
{
    return QZDbFields::Of(channel, pd).GetData(field);
}

QZInt64 QZSNode::GetDataSize(QZInt64 field) { return QZDbFields(m_channel, LD()).GetDataSize(field); }
QZInt64 QZSNode::GetDataSize(QZChannel* channel, QZInt64 pd, QZInt64 field)
{
    return QZDbFields::Of(channel, pd).GetDataSize(field);
}

void QZSNode::NewState(QZInt64 field, QZInt32 value) { QZDbFields(m_channel, LD()).NewState(field, value); }
void QZSNode::NewState(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt32 value)
{
    QZDbFields::Of(channel, pd).NewState(field, value);
}

void QZSNode::SetState(QZInt64 field, QZInt32 value)
{
    QZDbFields(m_channel, LD()).SetState(field, value, 1);
}
void QZSNode::SetState(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt32 value)
{
    QZDbFields::Of(channel, pd).SetState(field, value, 1);
}

void QZSNode::SetState(QZInt64 field, QZInt32 value, QZInt64 index)
{
    QZDbFields(m_channel, LD()).SetState(field, value, index);
}
void QZSNode::SetState(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt32 value, QZInt64 index)
{
    QZDbFields::Of(channel, pd).SetState(field, value, index);
}

QZInt32 QZSNode::GetState(QZInt64 field) { return QZDbFields(m_channel, LD()).GetState(field, 1); }
QZInt32 QZSNode::GetState(QZChannel* channel, QZInt64 pd, QZInt64 field)
{
    return QZDbFields::Of(channel, pd).GetState(field, 1);
}

QZInt32 QZSNode::GetState(QZInt64 field, QZInt64 index)
{
    return QZDbFields(m_channel, LD()).GetState(field, index);
}
QZInt32 QZSNode::GetState(QZChannel* channel, QZInt64 pd, QZInt64 field, QZInt64 index)
{
    return QZDbFields::Of(channel, pd).GetState(field, index);
}

void QZSNode::PutDateInt32(QZInt64 field) { QZDbFields(m_channel, LD()).PutDateInt32(field); }
void QZSNode::PutDateInt32(QZChannel* channel, QZInt64 pd, QZInt64 field)
{
    QZDbFields::Of(channel, pd).PutDateInt32(field);
}

QZDateTime* QZSNode::GetDate(QZInt64 field) { return QZDbFields(m_channel, LD()).GetDate(field); }
QZDateTime* QZSNode::GetDate(QZChannel* channel, QZInt64 pd, QZInt64 field)
{
    return QZDbFields::Of(channel, pd).GetDate(field);
}

void QZSNode::Recycle(QZString** text) { NodeRecycle(text); }
void QZSNode::Recycle(QZData** data) { NodeRecycle(data); }
