#ifndef QZLIB_NET_NET_MIME_H
#define QZLIB_NET_NET_MIME_H

#include "sys/sys_types.h"

/// What a file's extension says about serving it. Internal.
namespace mime
{
struct FileType
{
    const QZWChar* extension;
    /// Null for files that go out without a content type.
    const QZWChar* contentType;
};

/// The entry of an extension (without a dot), ignoring the case of A to Z; null for files that are not
/// served.
const FileType* Find(const QZWChar* extension);
}  // namespace mime

#endif
