#ifndef QZLIB_NET_MIME_H
#define QZLIB_NET_MIME_H

#include "sys/sys_types.h"

/// Content types by file extension. Internal.
namespace mime
{
struct FileType
{
    const QZWChar* extension;
    /// Null for files that are sent without a content type.
    const QZWChar* contentType;
};

/// The entry of an extension (without a dot), ignoring the case of A to Z; null for files that are not
/// served.
const FileType* Find(const QZWChar* extension);
/// The entry of an extension in strict mode: types of text name their encoding, and every other extension has
/// the type "application/octet-stream".
const FileType* FindStrict(const QZWChar* extension);
}  // namespace mime

#endif
