#ifndef QZLIB_DB_TABLE_INTERNAL_H
#define QZLIB_DB_TABLE_INTERNAL_H

#include "db/db_channel.h"
#include "db/db_semantic.h"
#include "db/db_table.h"
#include "db/db_tree_table.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_trace.h"

/// What an opened table holds.
struct QZDbTable::Parts
{
    Parts(QZChannel* owner, QZInt64 address)
        : channel(owner),
          handle(address),
          table(owner, address),
          names(owner, address),
          name(new QZString(table.GetName())),
          types(QZNodeHD::GetFirst(owner, QZNodePD::GetHD(owner, address)))
    {}

    QZChannel* channel;
    QZInt64 handle;
    QZTable table;
    QZNodeTLD names;
    std::unique_ptr<QZString> name;
    QZInt64 types;
};

/// An exception with a text and without a code, with a trace frame for the arguments.
inline QZTrace<QZException> QZDbTableFailure(const QZWChar* message, const QZWChar* method)
{
    return QZTrace(QZExceptionFactory::CreateException(message), QZ_W("QZDbTable"), method);
}

#endif
