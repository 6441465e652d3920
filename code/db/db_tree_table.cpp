#include "db/db_tree_table.h"

#include <vector>

#include "db/db_channel.h"
#include "db/db_format.h"
#include "db/db_semantic.h"
#include "db/internal/db_node_content.h"
#include "db/internal/db_walk.h"
#include "fw/fw_convert.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_trace.h"
#include "os/os_path.h"

const QZInt64 QZTable::Type;

namespace
{
struct GiveBack
{
    void operator()(QZString* text) const { QZPath::Recycle(&text); }
    void operator()(QZObjectCollection* tables) const { QZTable::Recycle(&tables); }
};
using PathText = std::unique_ptr<QZString, GiveBack>;

/// The names along a path, the outermost first, without empty ones.
std::vector<PathText> NamesOf(QZString* path)
{
    std::vector<PathText> names;
    for (PathText rest(new QZString(path)); rest->GetLength() != 0;
         rest.reset(QZPath::GetDirectory(rest.get(), 0)))
    {
        PathText name(QZPath::GetName(rest.get()));
        if (name->GetLength() != 0) names.push_back(std::move(name));
    }
    for (std::size_t i = 0; i < names.size() / 2; ++i) names[i].swap(names[names.size() - 1 - i]);
    return names;
}

/// @throws QZDatabaseException ArgumentOutOfRange for a null channel and handle 0
void Require(QZChannel* channel, QZInt64 handle, const QZWChar* method)
{
    if (channel != nullptr && handle != 0) return;
    throw QZTrace(QZExceptionFactory::CreateDatabaseException(QZDatabaseExceptionCode::ArgumentOutOfRange),
                  QZ_W("QZTable"), method)
        .Argument(QZ_W("QZChannel*"), QZConvert::PVoidToIntPtr(channel))
        .Argument(QZ_W("QZInt64"), handle)
        .Exception();
}

/// The list that holds the children of a node; 0 when there is none.
QZInt64 ListOf(QZChannel* channel, QZInt64 node)
{
    return node > 0 ? QZNodePD::GetHD(channel, node) : channel->G_TA(QZDatabaseInfo::TREESSN);
}
}  // namespace

QZTable::QZTable(QZChannel* channel, QZInt64 handle) { Init(channel, handle); }

QZInt64 QZTable::GetType() { return 0x8330001; }

void QZTable::Init(QZChannel* channel, QZInt64 handle)
{
    Require(channel, handle, QZ_W("Init"));
    m_channel = channel;
    m_handle = handle;
    std::shared_ptr<QZSNode> node = std::make_shared<QZSNode>(channel, handle);
    m_name = node->GetName();
    m_node = std::move(node);
    m_list = QZNodePD::GetHD(channel, handle);
    m_children = std::make_shared<QZNodeHD>(channel, m_list);
    // The object of the list keeps the address 0 until Refersh is called, as documented.
    if (m_list == 0) m_list = QZNodeHD::Create(channel, handle);
}

QZInt64 QZTable::GetHandle() { return m_handle; }
QZString* QZTable::GetName() { return m_name; }

QZInt64 QZTable::Count() { return m_children->Count(0); }
QZCollection* QZTable::GetHandles() { return m_children->GetAddrCollection(0); }
QZInt64 QZTable::GetFirst() { return m_children->GetFirst(); }
QZInt64 QZTable::GetLast() { return m_children->GetLast(); }

QZInt64 QZTable::GetPrev(QZInt64 handle)
{
    // The neighbour of this table, whatever the argument is, as documented.
    (void)handle;
    return m_node->GetPrev();
}
QZInt64 QZTable::GetNext(QZInt64 handle)
{
    (void)handle;
    return m_node->GetNext();
}

void QZTable::Clear() { m_children->Clear(); }
void QZTable::ClearAll() { m_children->ClearAll(); }

// ---- Children

QZInt64 QZTable::Named(QZInt64 handle, QZString* name)
{
    QZSNode(m_channel, handle).PutName(name);
    Init(m_channel, m_handle);
    return handle;
}

QZInt64 QZTable::CreateFLD(QZString* name) { return Named(QZNodeFLD::Create(m_channel, m_list), name); }
QZInt64 QZTable::CreateBLD(QZString* name) { return Named(QZNodeBLD::Create(m_channel, m_list), name); }
QZInt64 QZTable::CreateTLD(QZString* name) { return Named(QZNodeTLD::Create(m_channel, m_list), name); }
QZInt64 QZTable::CreateWLD(QZString* name) { return Named(QZNodeWLD::Create(m_channel, m_list), name); }

QZInt64 QZTable::Find(QZString* name)
{
    const std::unique_ptr<QZCollection> handles(GetHandles());
    const QZInt64 count = handles->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        const QZInt64 handle = static_cast<QZInt64>(handles->GetElement(i));
        if (handle == 0) continue;
        QZSNode node(m_channel, handle);
        if (node.GetName()->Equals(name)) return handle;
    }
    return 0;
}

void QZTable::Refersh() { Init(m_channel, m_handle); }

void QZTable::Recycle(QZCollection** collection) { NodeRecycle(collection); }
void QZTable::Recycle(QZString** text) { NodeRecycle(text); }
void QZTable::Recycle(QZObjectCollection** tables)
{
    if (*tables != nullptr)
    {
        for (QZInt64 i = 0; i < (*tables)->Count(); ++i) delete (*tables)->GetElement(i);
    }
    NodeRecycle(tables);
}

QZObjectCollection* QZTable::TablesOf(QZChannel* channel, QZInt64 list)
{
    std::unique_ptr<QZObjectCollection, GiveBack> tables(new QZObjectCollection());
    QZDbWalk walk;
    QZInt64 record = list == 0 ? 0 : QZNodeHD::GetFirst(channel, list);
    while (record != 0 && walk.Enter(record))
    {
        std::unique_ptr<QZTable> table(new QZTable(channel, record));
        tables->Push(table.get());
        static_cast<void>(table.release());
        record = QZNode::GetNext(channel, record);
    }
    return tables.release();
}

QZObjectCollection* QZTable::GetTables(QZChannel* channel, QZInt64 handle)
{
    Require(channel, handle, QZ_W("GetTables"));
    return TablesOf(channel, QZNodePD::GetHD(channel, handle));
}
QZObjectCollection* QZTable::GetTablesFromRoot(QZChannel* channel)
{
    if (channel == nullptr)
    {
        throw QZTrace(
            QZExceptionFactory::CreateDatabaseException(QZDatabaseExceptionCode::ArgumentOutOfRange),
            QZ_W("QZTable"), QZ_W("GetTablesFromRoot"))
            .Argument(QZ_W("QZChannel*"), QZInt64{0})
            .Exception();
    }
    return TablesOf(channel, channel->G_TA(QZDatabaseInfo::TREESSN));
}

// ---- Paths

QZInt64 QZTable::GetNodeHandleByName(QZChannel* channel, QZInt64 parent, QZString* name, QZString* scratch)
{
    const QZInt64 list = ListOf(channel, parent);
    if (list == 0) return 0;
    QZDbWalk walk;
    QZInt64 record = QZNodeHD::GetFirst(channel, list);
    while (record != 0 && walk.Enter(record))
    {
        QZSNode::GetName(channel, record, scratch);
        if (scratch->Equals(name)) return record;
        record = QZNode::GetNext(channel, record);
    }
    return 0;
}

QZInt64 QZTable::Walk(QZChannel* channel, QZString* path, QZBool create, QZInt64 kind)
{
    if (channel == nullptr)
        throw QZExceptionFactory::CreateDatabaseException(QZDatabaseExceptionCode::ArgumentOutOfRange);
    QZString scratch;
    QZInt64 node = 0;
    for (const PathText& name : NamesOf(path))
    {
        const QZInt64 found = GetNodeHandleByName(channel, node, name.get(), &scratch);
        if (found != 0)
        {
            node = found;
            continue;
        }
        // The result is the last node that was found, also for a path that exists only in part, as
        // documented.
        if (!create) break;
        QZInt64 list = ListOf(channel, node);
        if (list == 0) list = QZNodeHD::Create(channel, node);
        node = QZSNode::Create(channel, kind, list);
        QZSNode::PutName(channel, node, name.get());
    }
    return node;
}

QZInt64 QZTable::Access(QZChannel* channel, QZString* path) { return Access(channel, path, 0, 0); }

QZInt64 QZTable::Access(QZChannel* channel, QZString* path, QZBool create, QZInt64 kind)
{
    try
    {
        return Walk(channel, path, create, kind);
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZTable"), QZ_W("Access"))
            .Argument(QZ_W("QZChannel*"), QZConvert::PVoidToIntPtr(channel))
            .Argument(QZ_W("QZString*"), path)
            .Argument(QZ_W("QZBool"), static_cast<QZInt64>(create))
            .Argument(QZ_W("QZInt64"), kind);
        throw;
    }
}

QZInt64 QZTable::Create(QZChannel* channel, QZString* path, QZInt64 kind)
{
    if (Access(channel, path) != 0)
    {
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange),
                      QZ_W("QZTable"), QZ_W("Create"))
            .Argument(QZ_W("QZChannel*"), QZConvert::PVoidToIntPtr(channel))
            .Argument(QZ_W("QZString*"), path)
            .Argument(QZ_W("QZInt64"), kind)
            .Exception();
    }
    return Access(channel, path, 1, kind);
}
