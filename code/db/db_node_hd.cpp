/// The node object of HDs.

#include "db/db_node.h"
#include "db/db_channel.h"
#include "db/db_format.h"
#include "db/internal/db_node_content.h"
#include "db/internal/db_walk.h"
#include "fw/fw_collection.h"
#include "fw/fw_data.h"

const QZInt64 QZNodeHD::Type;

namespace
{
/// Calls D_DATA with a code for each record of the list. `next` is the selector of the next record.
void DeleteEach(QZChannel* channel, QZInt64 hd, QZInt64 code, QZInt64 next)
{
    QZDbWalk walk;
    QZInt64 record = channel->G_A(hd, QZDatabaseInfo::HD_FIRSTPD);
    while (record != 0 && walk.Enter(record))
    {
        const QZInt64 following = channel->G_A(record, next);
        channel->D_DATA(record, code);
        record = following;
    }
}
}  // namespace

QZNodeHD::QZNodeHD(QZChannel* channel, QZInt64 address) : m_address(address), m_channel(channel) {}

QZNodeHD::~QZNodeHD()
{
    m_address = 0;
    m_channel = nullptr;
}

QZInt64 QZNodeHD::GetType() { return 0x8200005; }

QZInt64 QZNodeHD::Create(QZChannel* channel, QZInt64 pd) { return channel->P_HD(pd); }

QZInt64 QZNodeHD::GetFirst() { return GetFirst(m_channel, m_address); }
QZInt64 QZNodeHD::GetFirst(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::HD_FIRSTDATA);
}

QZInt64 QZNodeHD::GetLast() { return GetLast(m_channel, m_address); }
QZInt64 QZNodeHD::GetLast(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::HD_LASTDATA_THIS);
}

QZInt64 QZNodeHD::GetPrev() { return GetPrev(m_channel, m_address); }
QZInt64 QZNodeHD::GetPrev(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::HD_PREV);
}

QZInt64 QZNodeHD::Get(QZInt64 n) { return Get(m_channel, m_address, n); }
QZInt64 QZNodeHD::Get(QZChannel* channel, QZInt64 address, QZInt64 n)
{
    return channel->G_CN(address, QZDatabaseInfo::SN_GET_DATA_FROM_HD, n);
}

QZInt64 QZNodeHD::Count(QZBool all) { return Count(m_channel, m_address, all); }
QZInt64 QZNodeHD::Count(QZChannel* channel, QZInt64 address, QZBool all)
{
    return channel->G_CN(address, all ? QZDatabaseInfo::HD_NODE_COUNT_ALL : QZDatabaseInfo::HD_NODE_COUNT, 0);
}

void QZNodeHD::ClearAll() { ClearAll(m_channel, m_address); }
void QZNodeHD::ClearAll(QZChannel* channel, QZInt64 address)
{
    if (address != 0) DeleteEach(channel, address, QZDatabaseInfo::DELETE_PD_ALL, QZDatabaseInfo::PD_NEXT);
}

void QZNodeHD::Clear() { Clear(m_channel, m_address); }
void QZNodeHD::Clear(QZChannel* channel, QZInt64 address)
{
    // This is a kind and no deletion code. The engine refuses each record, and the list is not changed.
    if (address != 0) DeleteEach(channel, address, QZDatabaseInfo::DATA_UNKNOWN, QZDatabaseInfo::DATA_NEXT);
}

QZBool QZNodeHD::Reset() { return Reset(m_channel, m_address); }
QZBool QZNodeHD::Reset(QZChannel* channel, QZInt64 address)
{
    return channel->D_DATA(address, QZDatabaseInfo::HD_RESET);
}

QZBool QZNodeHD::IsHD() { return IsHD(m_channel, m_address); }
QZBool QZNodeHD::IsHD(QZChannel* channel, QZInt64 address)
{
    return channel->G_T(QZDatabaseInfo::ADDRESS_MARK_THIS, address) == QZDatabaseInfo::TABLE_HD ? 1 : 0;
}

QZBool QZNodeHD::Check() { return Check(m_channel, m_address); }
QZBool QZNodeHD::Check(QZChannel* channel, QZInt64 address)
{
    return channel->CK(QZDatabaseInfo::ADDRESS_MARK_THIS, address) == QZDatabaseInfo::NORMAL ? 1 : 0;
}

QZCollection* QZNodeHD::GetAddrCollection(QZBool all) { return GetAddrCollection(m_channel, m_address, all); }
QZCollection* QZNodeHD::GetAddrCollection(QZChannel* channel, QZInt64 address, QZBool all)
{
    std::unique_ptr<QZCollection> collection(new QZCollection());
    channel->G_AL(
        all ? QZDatabaseInfo::ADDRESSARRAYCOPY_ALL_PD_FROM_HD : QZDatabaseInfo::ADDRESSARRAYCOPY_PD_FROM_HD,
        address, collection.get());
    return collection.release();
}

QZCollection* QZNodeHD::GetTargetsAddrCollection(QZInt64 selector, QZData* data)
{
    return GetTargetsAddrCollection(m_channel, m_address, selector, data);
}
QZCollection* QZNodeHD::GetTargetsAddrCollection(QZChannel* channel, QZInt64 address, QZInt64 selector,
                                                 QZData* data)
{
    std::unique_ptr<QZCollection> collection(new QZCollection());
    collection->NewLength(Count(channel, address, 0) * 8 + 8);
    collection->NewLength(
        channel->A_G(address, selector, data->GetPointer(), data->GetSize(), collection.get()));
    return collection.release();
}

void QZNodeHD::Recycle(QZCollection** collection) { NodeRecycle(collection); }
