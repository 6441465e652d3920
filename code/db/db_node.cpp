#include "db/db_node.h"

#include "db/db_channel.h"
#include "db/db_format.h"
#include "db/internal/db_node_content.h"
#include "fw/fw_data.h"

const QZInt64 QZNode::Type;
const QZInt64 QZNodeAD::Type;
const QZInt64 QZNodeCD::Type;
const QZInt64 QZNodeRD::Type;

// ---- Any data record

QZNode::QZNode(QZChannel* channel, QZInt64 address) : m_address(address), m_channel(channel) {}

QZNode::~QZNode()
{
    m_address = 0;
    m_channel = nullptr;
}

QZInt64 QZNode::GetType() { return 0x81FFFFF; }

QZInt64 QZNode::GetPrev() { return GetPrev(m_channel, m_address); }
QZInt64 QZNode::GetPrev(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::DATA_PREV_THIS);
}

QZInt64 QZNode::GetNext() { return GetNext(m_channel, m_address); }
QZInt64 QZNode::GetNext(QZChannel* channel, QZInt64 address)
{
    // This is the selector of a PD, so while argument tests are on it throws for other records.
    return channel->G_A(address, QZDatabaseInfo::PD_NEXT);
}

QZInt64 QZNode::GetHDA() { return GetHDA(m_channel, m_address); }
QZInt64 QZNode::GetHDA(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::DATA_HDA);
}

QZInt64 QZNode::GetSN() { return GetSN(m_channel, m_address); }
QZInt64 QZNode::GetSN(QZChannel* channel, QZInt64 address)
{
    return channel->G_CN(address, QZDatabaseInfo::HD_NODE_SN, 0);
}

QZInt64 QZNode::GetNodeType() { return GetNodeType(m_channel, m_address); }
QZInt64 QZNode::GetNodeType(QZChannel* channel, QZInt64 address)
{
    return channel->G_T(QZDatabaseInfo::ADDRESS_MARK_THIS, address);
}

QZInt64 QZNode::MoveUp(QZInt64 steps) { return MoveUp(m_channel, m_address, steps); }
QZInt64 QZNode::MoveUp(QZChannel* channel, QZInt64 address, QZInt64 steps)
{
    // Up and down are the same operation; the sign of `steps` is the direction.
    return channel->MV(address, steps);
}

QZInt64 QZNode::MoveDown(QZInt64 steps) { return MoveDown(m_channel, m_address, steps); }
QZInt64 QZNode::MoveDown(QZChannel* channel, QZInt64 address, QZInt64 steps)
{
    return channel->MV(address, steps);
}

QZInt64 QZNode::MoveFirst() { return MoveFirst(m_channel, m_address); }
QZInt64 QZNode::MoveFirst(QZChannel* channel, QZInt64 address)
{
    // Moves to the end, like MoveLast, as documented.
    return MoveLast(channel, address);
}

QZInt64 QZNode::MoveLast() { return MoveLast(m_channel, m_address); }
QZInt64 QZNode::MoveLast(QZChannel* channel, QZInt64 address)
{
    return channel->MV(address, QZNodeHD::Count(channel, GetHDA(channel, address), 0));
}

QZInt64 QZNode::MoveTo(QZInt64 hd) { return MoveTo(m_channel, m_address, hd); }
QZInt64 QZNode::MoveTo(QZChannel* channel, QZInt64 address, QZInt64 hd) { return channel->MT(address, hd); }

// ---- AD

QZNodeAD::QZNodeAD(QZChannel* channel, QZInt64 address) : QZNode(channel, address) {}

QZInt64 QZNodeAD::GetType() { return 0x8200000; }

QZInt64 QZNodeAD::GetADF() { return GetADF(m_channel, m_address); }
QZInt64 QZNodeAD::GetADF(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::AD_FREE);
}

// ---- CD

QZNodeCD::QZNodeCD(QZChannel* channel, QZInt64 address) : QZNode(channel, address) {}

QZInt64 QZNodeCD::GetType() { return 0x8200001; }

QZData* QZNodeCD::GetData() { return GetData(m_channel, m_address); }
QZData* QZNodeCD::GetData(QZChannel* channel, QZInt64 address)
{
    return NodeContent(channel, address, QZDatabaseInfo::CD_DATA);
}

void QZNodeCD::Recycle(QZData** data) { NodeRecycle(data); }

// ---- RD

QZNodeRD::QZNodeRD(QZChannel* channel, QZInt64 address) : QZNode(channel, address) {}

QZInt64 QZNodeRD::GetType() { return 0x8200002; }

QZInt64 QZNodeRD::GetAddr1() { return GetAddr1(m_channel, m_address); }
QZInt64 QZNodeRD::GetAddr1(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::RD_P);
}

QZInt64 QZNodeRD::GetAddr2() { return GetAddr2(m_channel, m_address); }
QZInt64 QZNodeRD::GetAddr2(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::RD_O);
}

QZInt64 QZNodeRD::GetAddr3() { return GetAddr3(m_channel, m_address); }
QZInt64 QZNodeRD::GetAddr3(QZChannel* channel, QZInt64 address)
{
    return channel->G_A(address, QZDatabaseInfo::RD_N);
}
