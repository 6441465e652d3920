#ifndef QZLIB_DB_TREE_TABLE_H
#define QZLIB_DB_TREE_TABLE_H

#include <memory>

#include "fw/fw_object.h"

class QZChannel;
class QZCollection;
class QZNodeHD;
class QZObjectCollection;
class QZSNode;
class QZString;

/// The directory view of tree S: a semantic node together with the list of its children.
///
/// A table's handle is the address of its PD. Tables at the root are in the list of G_TA(3), others in the
/// child list of their parent; a path is node names separated by "/" or "\". The object owns its node
/// objects, which a copy made by value shares, and not the channel; making one gives the node a child list
/// where it has none, so that reading the directory writes to the file. Failures of the node level pass
/// through. Threads: each step takes the database's lock for itself, a walk of several steps is not one.
class QZ_API QZTable : public QZObject
{
public:
    static const QZInt64 Type = 0x8330001;

    /// @throws QZDatabaseException ArgumentOutOfRange for a null channel and handle 0, UnknownNodeType for a
    /// PD that is no semantic node
    QZTable(QZChannel* channel, QZInt64 handle);

    QZInt64 GetType() override;

    QZInt64 GetHandle();
    /// The name as it was read last; the string stays the table's.
    QZString* GetName();

    /// Children. A node that had no child list when the object was made is reported as without a list until
    /// the next Refersh: Count is then -1 and the database records BAD_STRUCT.
    QZInt64 Count();
    /// A new collection, given back with Recycle.
    QZCollection* GetHandles();
    QZInt64 GetFirst();
    QZInt64 GetLast();

    /// The neighbours of this table; the handle is not used.
    QZInt64 GetPrev(QZInt64 handle);
    QZInt64 GetNext(QZInt64 handle);

    /// Clear changes nothing; ClearAll removes the children with all below them.
    void Clear();
    void ClearAll();

    /// A new child of a kind at the end of the list, with a name; returns its handle. Names may repeat.
    /// @throws QZDatabaseException BadStruct for a wave, see QZNodeWLD::Create
    QZInt64 CreateFLD(QZString* name);
    QZInt64 CreateBLD(QZString* name);
    QZInt64 CreateTLD(QZString* name);
    QZInt64 CreateWLD(QZString* name);

    /// The first child of that name, case and all; 0 when there is none.
    QZInt64 Find(QZString* name);

    /// Reads name and child list again.
    void Refersh();

    /// Deletes the object and clears the variable; the last form deletes the tables in the collection too. A
    /// null in the variable is a QZLibAssert(false).
    static void Recycle(QZCollection** collection);
    static void Recycle(QZString** text);
    static void Recycle(QZObjectCollection** tables);

    /// A new collection with a new QZTable for each child of the node, and for each table at the root.
    static QZObjectCollection* GetTables(QZChannel* channel, QZInt64 handle);
    static QZObjectCollection* GetTablesFromRoot(QZChannel* channel);

    /// The node at a path. Of a path that exists in part the handle of the last node found, 0 when not even
    /// the first is there. Empty parts of the path are skipped, and an empty path returns 0.
    static QZInt64 Access(QZChannel* channel, QZString* path);

    /// The same; with `create` the missing nodes are made, all of one kind of LDTYPE.
    /// @throws QZDatabaseException UnknownNodeType for another kind
    static QZInt64 Access(QZChannel* channel, QZString* path, QZBool create, QZInt64 kind);

    /// Makes the path. @throws QZException 256 when Access returns a handle, for a path that exists in part
    /// too
    static QZInt64 Create(QZChannel* channel, QZString* path, QZInt64 kind);

private:
    void Init(QZChannel* channel, QZInt64 handle);
    QZInt64 Named(QZInt64 handle, QZString* name);
    static QZInt64 GetNodeHandleByName(QZChannel* channel, QZInt64 parent, QZString* name, QZString* scratch);
    static QZInt64 Walk(QZChannel* channel, QZString* path, QZBool create, QZInt64 kind);
    static QZObjectCollection* TablesOf(QZChannel* channel, QZInt64 list);

    QZChannel* m_channel = nullptr;
    std::shared_ptr<QZSNode> m_node;
    std::shared_ptr<QZNodeHD> m_children;
    QZString* m_name = nullptr;
    QZInt64 m_list = 0;
    QZInt64 m_handle = 0;
};

#endif
