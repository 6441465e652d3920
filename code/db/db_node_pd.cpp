/// The node object of PDs.

#include "db/db_node.h"
#include "db/db_channel.h"
#include "db/db_format.h"
#include "db/internal/db_node_content.h"
#include "fw/fw_collection.h"
#include "fw/fw_data.h"

const QZInt64 QZNodePD::Type;

namespace
{
const QZInt64 This = QZDatabaseInfo::ADDRESS_MARK_THIS;

/// Extends the data by 4 bytes of head room for the type and gives them back at the end of the scope.
class MarkHead
{
public:
    explicit MarkHead(QZData* data) : m_data(data), m_offset(data->GetOffset())
    {
        m_data->SetOffset(m_offset - 4);
    }
    ~MarkHead() { m_data->SetOffset(m_offset); }
    MarkHead(const MarkHead&) = delete;
    MarkHead& operator=(const MarkHead&) = delete;

private:
    QZData* m_data;
    QZInt64 m_offset;
};
}  // namespace

QZNodePD::QZNodePD(QZChannel* channel, QZInt64 address) : QZNode(channel, address) {}

QZInt64 QZNodePD::GetType() { return 0x8200004; }

QZInt64 QZNodePD::Create(QZChannel* channel, QZInt64 hd, QZInt64 ld)
{
    return Create(channel, hd, ld, nullptr, 0);
}

QZInt64 QZNodePD::Create(QZChannel* channel, QZInt64 hd, QZInt64 ld, const void* pointer, QZInt64 length)
{
    const QZInt64 pd = channel->P_D(hd, QZDatabaseInfo::DATA_PD);
    channel->P_A(pd, QZDatabaseInfo::PD_LD_A, ld);
    // The engine expects a selector and gets a field number, so it refuses the content and records
    // BAD_PARAMETER. The PD is made with empty content, as documented; PutMark writes the content.
    channel->P_C(pd, QZDatabaseInfo::PD_LN1, pointer, length);
    return pd;
}

QZInt64 QZNodePD::GetLD() { return GetLD(m_channel, m_address); }
QZInt64 QZNodePD::GetLD(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::PD_LD_A);
}

QZInt64 QZNodePD::GetHD() { return GetHD(m_channel, m_address); }
QZInt64 QZNodePD::GetHD(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::PD_HD_A);
}

QZInt64 QZNodePD::SetHD(QZInt64 hd) { return SetHD(m_channel, m_address, hd); }
QZInt64 QZNodePD::SetHD(QZChannel* channel, QZInt64 address, QZInt64 hd)
{
    return channel->P_A(address, QZDatabaseInfo::PD_HD_A, hd);
}

QZInt64 QZNodePD::SetLD(QZInt64 ld) { return TurnToLD(m_channel, &m_address, ld); }
QZInt64 QZNodePD::SetLD(QZChannel* channel, QZInt64 address, QZInt64 ld)
{
    return TurnToLD(channel, &address, ld);
}

QZInt64 QZNodePD::TurnToLD(QZChannel* channel, QZInt64* address, QZInt64 ld)
{
    const QZInt64 old = channel->G_A(*address, QZDatabaseInfo::PD_LD_A);
    if (old == 0 || channel->G_T(This, ld) != QZDatabaseInfo::DATA_LD) return -1;

    // The list is copied first: with the same LD again, the ADs appended below are not walked.
    const QZInt64 users = channel->G_A(old, QZDatabaseInfo::LD_TREE_S);
    const std::unique_ptr<QZCollection> references(QZNodeHD::GetAddrCollection(channel, users, 0));
    for (QZInt64 i = 0; i < references->Count(); ++i)
    {
        const QZInt64 reference = static_cast<QZInt64>(references->GetElement(i));
        // The object takes the address of each PD in turn and keeps that of the last one.
        *address = channel->G_A(reference, QZDatabaseInfo::AD_FREE);
        channel->P_A(*address, QZDatabaseInfo::PD_HD_A, 0);
        channel->P_A(*address, QZDatabaseInfo::PD_LD_A, ld);
        const QZInt64 added =
            channel->P_D(channel->G_A(ld, QZDatabaseInfo::LD_TREE_S), QZDatabaseInfo::DATA_AD);
        channel->P_A(added, QZDatabaseInfo::AD_FREE, *address);
    }
    // The engine refuses this code: the old LD stays in its list.
    channel->D_DATA(old, QZDatabaseInfo::DATA_UNKNOWN);
    return 0;
}

QZData* QZNodePD::GetMark() { return GetMark(m_channel, m_address); }
QZData* QZNodePD::GetMark(QZChannel* channel, QZInt64 address)
{
    const QZInt64 size = channel->G_C_L(address, QZDatabaseInfo::PD_DATA);
    if (size == -1 || size == -2) return nullptr;
    std::unique_ptr<QZData> mark(new QZData(size));
    if (channel->G_C(address, QZDatabaseInfo::PD_DATA, mark->GetPointer()) == -1) return nullptr;
    return mark.release();
}

QZInt64 QZNodePD::PutMark(QZData* data) { return PutMark(m_channel, m_address, data); }
QZInt64 QZNodePD::PutMark(QZChannel* channel, QZInt64 address, QZData* data)
{
    return channel->P_C(address, QZDatabaseInfo::PD_DATA, data->GetPointer(), data->GetSize());
}

QZInt64 QZNodePD::PutMark(QZData* data, QZInt32 type) { return PutMark(m_channel, m_address, data, type); }
QZInt64 QZNodePD::PutMark(QZChannel* channel, QZInt64 address, QZData* data, QZInt32 type)
{
    const MarkHead head(data);
    data->SetValueInt32(0, type);
    return PutMark(channel, address, data);
}

QZInt64 QZNodePD::GetMarkType() { return GetMarkType(m_channel, m_address); }
QZInt64 QZNodePD::GetMarkType(QZChannel* channel, QZInt64 address)
{
    const std::unique_ptr<QZData> mark(GetMark(channel, address));
    if (!mark) return 0;
    const QZInt32 type = mark->GetValueInt32(0);
    return type / 0x100000 == 32 ? type : 0;
}

QZInt64 QZNodePD::PutMarkType(QZInt32 type) { return PutMarkType(m_channel, m_address, type); }
QZInt64 QZNodePD::PutMarkType(QZChannel* channel, QZInt64 address, QZInt32 type)
{
    const std::unique_ptr<QZData> mark(GetMark(channel, address));
    if (!mark) return -1;
    mark->SetValueInt32(0, type);
    return PutMark(channel, address, mark.get());
}

QZInt64 QZNodePD::GetMarkSize() { return GetMarkSize(m_channel, m_address); }
QZInt64 QZNodePD::GetMarkSize(QZChannel* channel, QZInt64 address)
{
    return channel->G_C_L(address, QZDatabaseInfo::PD_DATA);
}

QZBool QZNodePD::RemovePD() { return RemovePD(m_channel, m_address); }
QZBool QZNodePD::RemovePD(QZChannel* channel, QZInt64 address)
{
    return channel->D_DATA(address, QZDatabaseInfo::DELETE_PD);
}

QZBool QZNodePD::RemoveLD() { return RemoveLD(m_channel, m_address); }
QZBool QZNodePD::RemoveLD(QZChannel* channel, QZInt64 address)
{
    return channel->D_DATA(GetLD(channel, address), QZDatabaseInfo::DELETE_LD);
}

QZInt64 QZNodePD::RemoveHD() { return RemoveHD(m_channel, m_address); }
QZInt64 QZNodePD::RemoveHD(QZChannel* channel, QZInt64 address)
{
    const QZInt64 child = GetHD(channel, address);
    if (child != 0) QZNodeHD::ClearAll(channel, child);
    // The type code, not 0, becomes the child address of the PD, as documented.
    channel->P_A(address, QZDatabaseInfo::PD_HD_A, QZDatabaseInfo::TABLE_HD);
    return 0;
}

QZBool QZNodePD::RemoveAll() { return RemoveAll(m_channel, m_address); }
QZBool QZNodePD::RemoveAll(QZChannel* channel, QZInt64 address)
{
    return channel->D_DATA(address, QZDatabaseInfo::DELETE_PD_ALL);
}

QZBool QZNodePD::IsPD() { return IsPD(m_channel, m_address); }
QZBool QZNodePD::IsPD(QZChannel* channel, QZInt64 address)
{
    return channel->G_T(This, address) == QZDatabaseInfo::DATA_PD ? 1 : 0;
}

QZBool QZNodePD::Check() { return Check(m_channel, m_address); }
QZBool QZNodePD::Check(QZChannel* channel, QZInt64 address)
{
    return channel->CK(This, address) == QZDatabaseInfo::NORMAL ? 1 : 0;
}

QZInt64 QZNodePD::CutOff() { return CutOff(m_channel, m_address); }
QZInt64 QZNodePD::CutOff(QZChannel* channel, QZInt64 address)
{
    if (address == 0) return 0;
    const QZInt64 hd = GetHDA(channel, address);
    const QZInt64 previous = channel->G_A(address, QZDatabaseInfo::PD_PREV);
    channel->P_A(hd, QZDatabaseInfo::HD_END, previous + 2 * channel->GetAddrLength());
    // The END of the previous record is used as if it were its THIS. With argument tests on this throws,
    // after the end of the list was set.
    const QZInt64 record = channel->G_A(previous, QZDatabaseInfo::PD_THIS);
    return channel->P_A(record, QZDatabaseInfo::DATA_NEXT, 0);
}

QZInt64 QZNodePD::Erase() { return Erase(m_channel, m_address); }
QZInt64 QZNodePD::Erase(QZChannel* channel, QZInt64 address)
{
    return channel->E_C(address, QZDatabaseInfo::PD_DATA);
}

QZInt64 QZNodePD::GetPrevLayer() { return GetPrevLayer(m_channel, m_address); }
QZInt64 QZNodePD::GetPrevLayer(QZChannel* channel, QZInt64 address)
{
    const QZInt64 hd = GetHDA(channel, address);
    if (hd == channel->G_TA(QZDatabaseInfo::TREESSN)) return 0;
    return channel->G_A(hd, QZDatabaseInfo::HD_PREV);
}
