/// The node object of LDs.

#include "db/db_node.h"
#include "db/db_channel.h"
#include "db/db_format.h"
#include "db/internal/db_layout.h"
#include "db/internal/db_node_content.h"
#include "fw/fw_data.h"

const QZInt64 QZNodeLD::Type;

namespace
{
/// The CD of a field, 0 past the last one.
QZInt64 FieldRecord(QZChannel* channel, QZInt64 address, QZInt64 field)
{
    const QZInt64 fields = channel->G_A(address, QZDatabaseInfo::LD_LDS);
    return channel->G_CN(fields, QZDatabaseInfo::SN_GET_DATA_FROM_HD, field);
}
}  // namespace

QZNodeLD::QZNodeLD(QZChannel* channel, QZInt64 address) : QZNode(channel, address) {}

QZInt64 QZNodeLD::GetType() { return 0x8200003; }

QZInt64 QZNodeLD::Create(QZChannel* channel)
{
    return channel->P_D(channel->G_TA(QZDatabaseInfo::TREELSN), QZDatabaseInfo::DATA_LD);
}

QZInt64 QZNodeLD::GetPrev() { return GetPrev(m_channel, m_address); }
QZInt64 QZNodeLD::GetPrev(QZChannel* channel, QZInt64 address) { return QZNode::GetPrev(channel, address); }

QZInt64 QZNodeLD::GetNext() { return GetNext(m_channel, m_address); }
QZInt64 QZNodeLD::GetNext(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::LD_NEXT);
}

QZInt64 QZNodeLD::FieldCount() { return FieldCount(m_channel, m_address); }
QZInt64 QZNodeLD::FieldCount(QZChannel* channel, QZInt64 address)
{
    return channel->G_CN(address, QZDatabaseInfo::LD_LDS_COUNT, 0);
}

QZBool QZNodeLD::FieldDelete(QZInt64 field) { return FieldDelete(m_channel, m_address, field); }
QZBool QZNodeLD::FieldDelete(QZChannel* channel, QZInt64 address, QZInt64 field)
{
    // This is a kind and no deletion code. The engine refuses it, and the field is not removed.
    return channel->D_DATA(FieldRecord(channel, address, field), QZDatabaseInfo::DATA_UNKNOWN);
}

QZInt64 QZNodeLD::FieldMove(QZInt64 field, QZInt64 steps)
{
    return FieldMove(m_channel, m_address, field, steps);
}
QZInt64 QZNodeLD::FieldMove(QZChannel* channel, QZInt64 address, QZInt64 field, QZInt64 steps)
{
    // Always towards the end, for both signs of `steps`, as documented.
    return channel->MV(FieldRecord(channel, address, field), steps < 0 ? layout::At(~steps, 1) : steps);
}

QZInt64 QZNodeLD::PutData(QZInt64 field, QZData* data) { return PutData(m_channel, m_address, field, data); }
QZInt64 QZNodeLD::PutData(QZInt64 field, const void* pointer, QZInt64 length)
{
    return PutData(m_channel, m_address, field, pointer, length);
}
QZInt64 QZNodeLD::PutData(QZChannel* channel, QZInt64 address, QZInt64 field, QZData* data)
{
    return channel->P_C(address, field, data->GetPointer(), data->GetSize());
}
QZInt64 QZNodeLD::PutData(QZChannel* channel, QZInt64 address, QZInt64 field, const void* pointer,
                          QZInt64 length)
{
    return channel->P_C(address, field, pointer, length);
}

QZData* QZNodeLD::GetData(QZInt64 field) { return GetData(m_channel, m_address, field); }
QZData* QZNodeLD::GetData(QZChannel* channel, QZInt64 address, QZInt64 field)
{
    return NodeContent(channel, address, field);
}

QZInt64 QZNodeLD::GetData(QZInt64 field, QZData* data) { return GetData(m_channel, m_address, field, data); }
QZInt64 QZNodeLD::GetData(QZChannel* channel, QZInt64 address, QZInt64 field, QZData* data)
{
    data->NewSize(channel->G_C_L(address, field));
    return channel->G_C(address, field, data->GetPointer());
}

QZInt64 QZNodeLD::GetData(QZInt64 field, void* pointer)
{
    return GetData(m_channel, m_address, field, pointer);
}
QZInt64 QZNodeLD::GetData(QZChannel* channel, QZInt64 address, QZInt64 field, void* pointer)
{
    return channel->G_C(address, field, pointer);
}

QZInt64 QZNodeLD::GetSize(QZInt64 field) { return GetSize(m_channel, m_address, field); }
QZInt64 QZNodeLD::GetSize(QZChannel* channel, QZInt64 address, QZInt64 field)
{
    return channel->G_C_L(address, field);
}

QZBool QZNodeLD::Remove() { return Remove(m_channel, m_address); }
QZBool QZNodeLD::Remove(QZChannel* channel, QZInt64 address)
{
    // As in FieldDelete: a kind and no deletion code. Nothing is removed.
    return channel->D_DATA(address, QZDatabaseInfo::DATA_LD);
}

QZBool QZNodeLD::IsLD() { return IsLD(m_channel, m_address); }
QZBool QZNodeLD::IsLD(QZChannel* channel, QZInt64 address)
{
    return channel->G_T(QZDatabaseInfo::ADDRESS_MARK_THIS, address) == QZDatabaseInfo::DATA_LD ? 1 : 0;
}

QZBool QZNodeLD::Check() { return Check(m_channel, m_address); }
QZBool QZNodeLD::Check(QZChannel* channel, QZInt64 address)
{
    return channel->CK(QZDatabaseInfo::ADDRESS_MARK_THIS, address) == QZDatabaseInfo::NORMAL ? 1 : 0;
}

QZInt64 QZNodeLD::Erase(QZInt64 field) { return Erase(m_channel, m_address, field); }
QZInt64 QZNodeLD::Erase(QZChannel* channel, QZInt64 address, QZInt64 field)
{
    return channel->E_C(address, field);
}

QZInt64 QZNodeLD::EraseAll() { return EraseAll(m_channel, m_address); }
QZInt64 QZNodeLD::EraseAll(QZChannel* channel, QZInt64 address)
{
    QZInt64 erased = 0;
    for (QZInt64 field = FieldCount(channel, address); field >= 1; --field)
    {
        erased += channel->E_C(address, field);
    }
    return erased;
}

QZInt64 QZNodeLD::NEW_ARRAYINT32(QZInt64 field) { return NEW_ARRAYINT32(m_channel, m_address, field); }
QZInt64 QZNodeLD::NEW_ARRAYINT32(QZChannel* channel, QZInt64 address, QZInt64 field)
{
    const QZInt32 count = 0;
    return channel->P_C(address, field, &count, sizeof(count));
}

void QZNodeLD::PUT_ARRAYINT32(QZData* data, QZInt64 index, QZInt32 value)
{
    if (index <= data->GetValueInt32(0))
    {
        data->SetValueInt32(index, value);
        return;
    }
    data->NewSize(static_cast<QZInt64>(static_cast<QZUInt64>(index) * 4 + 4), static_cast<QZByte>(0));
    data->SetValueInt32(index, value);
    data->SetValueInt32(0, static_cast<QZInt32>(index));
}

QZInt32 QZNodeLD::GET_ARRAYINT32(QZInt64 field, QZInt64 index)
{
    return GET_ARRAYINT32(m_channel, m_address, field, index);
}
QZInt32 QZNodeLD::GET_ARRAYINT32(QZChannel* channel, QZInt64 address, QZInt64 field, QZInt64 index)
{
    const std::unique_ptr<QZData> data(NodeContent(channel, address, field));
    return data->GetValueInt32(index);
}

void QZNodeLD::Recycle(QZData** data) { NodeRecycle(data); }
