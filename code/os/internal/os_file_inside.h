#ifndef QZLIB_OS_FILE_INSIDE_H
#define QZLIB_OS_FILE_INSIDE_H

#include "os/os_file.h"

/// What the paged buffers need of an open file beyond its interface. Internal.
class QZFileInside
{
public:
    /// What a handle does, and what others may do meanwhile. QZFileOptions has no reader that lets others
    /// write.
    enum class Role
    {
        Writer,  ///< reads and writes; others may read
        Reader,  ///< reads; others may read
        Copier   ///< reads; others may read and write
    };

    /// Opens an existing file like QZFile::Open. Null when another handle excludes this one.
    /// @throws QZIOException  for any other failure, what QZFile::Open throws
    static QZFile* OpenUnlessInUse(QZString* path, Role role);

    /// The handle for the functions of sys_file.h. The file keeps it.
    static QZInt64 Handle(const QZFile* file);
};

#endif
