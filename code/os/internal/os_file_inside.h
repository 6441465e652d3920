#ifndef QZLIB_OS_FILE_INSIDE_H
#define QZLIB_OS_FILE_INSIDE_H

#include "os/os_file.h"

/// What the paged buffers need of an open file beyond its interface. Internal.
class QZFileInside
{
public:
    /// Opens an existing file like QZFile::Open. Null when another handle excludes this one.
    /// @throws QZIOException  for any other failure, what QZFile::Open throws
    static QZFile* OpenUnlessInUse(QZString* path, unsigned int options);

    /// The handle for the functions of sys_file.h. The file keeps it.
    static QZInt64 Handle(const QZFile* file);
};

#endif
