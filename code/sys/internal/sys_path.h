#ifndef QZLIB_SYS_PATH_H
#define QZLIB_SYS_PATH_H

/// Where a path leads.

#include <string>

#include "sys/sys_types.h"

namespace os
{

/// Follows all symbolic links and other redirections of an existing path. Stores the absolute path without
/// them in *real, and in *plain whether it is a plain file: no directory, no device, no pipe. False with
/// LastError set on failure.
bool RealPath(const QZWChar* path, std::basic_string<QZWChar>* real, bool* plain);

}  // namespace os

#endif
