#ifndef QZLIB_DB_NODE_CONTENT_H
#define QZLIB_DB_NODE_CONTENT_H

#include <memory>

#include "db/db_channel.h"
#include "fw/fw_data.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"

/// Functions on content that the node objects share.

/// A content of at most this many bytes is read in one step, into a buffer on the stack.
constexpr QZInt64 kSmallContent = 256;

/// The content of a field as new data.
inline QZData* NodeContent(QZChannel* channel, QZInt64 address, QZInt64 field)
{
    QZByte bytes[kSmallContent];
    const QZInt64 size = channel->ReadContent(address, field, bytes, kSmallContent);
    std::unique_ptr<QZData> data(new QZData(size));
    if (size > kSmallContent) channel->G_C(address, field, data->GetPointer());
    if (size > 0 && size <= kSmallContent) QZMemCopy(data->GetPointer(), bytes, size);
    return data.release();
}

/// Deletes the object in the caller's variable and clears the variable. A null in it is a QZLibAssert(false).
template <typename T>
void NodeRecycle(T** reference)
{
    if (*reference == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    delete *reference;
    *reference = nullptr;
}

#endif
