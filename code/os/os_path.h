#ifndef QZLIB_OS_PATH_H
#define QZLIB_OS_PATH_H

#include "sys/sys_types.h"

class QZString;

/// Names taken apart and put together. All static; "/" and "\" separate on both platforms, and the platform's
/// own one is written. What is answered is a new string, given back with Recycle. A null path counts as
/// empty.
class QZ_API QZPath
{
public:
    static const QZInt64 Type = 0x81FF900;

    /// "C:" of "C:\a"; empty for a path without a drive.
    static QZString* GetDrive(QZString* path);
    /// What stands before the last separator; empty without one.
    static QZString* GetDirectory(QZString* path);
    /// The directory of the path at level 0, its parent at level 1 and so on; empty past the top.
    static QZString* GetDirectory(QZString* path, QZInt64 level);
    /// What follows the last dot of the name; empty without a dot.
    static QZString* GetExtension(QZString* path);
    /// What follows the last separator.
    static QZString* GetName(QZString* path);
    /// The name up to its last dot.
    static QZString* GetNameNoExtension(QZString* path);
    /// Both parts with one separator between them, whatever they end and begin with; an empty part leaves the
    /// other.
    static QZString* Combine(QZString* first, QZString* second);
    /// Makes the directory and the parents that are missing. Throws like QZFileDirectory::Create.
    static void Create(QZString* path);
    static void Recycle(QZString** text);
};

#endif
