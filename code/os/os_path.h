#ifndef QZLIB_OS_PATH_H
#define QZLIB_OS_PATH_H

#include "sys/sys_types.h"

class QZString;

/// The parts of a path. All static. Both "/" and "\" are separators on both platforms; the platform's own one
/// is written. Results are new strings; give them back with Recycle. A null path counts as empty.
class QZ_API QZPath
{
public:
    static const QZInt64 Type = 0x81FF900;

    /// "C:" of "C:\a"; empty for a path without a drive.
    static QZString* GetDrive(QZString* path);
    /// The part before the last separator; empty without one.
    static QZString* GetDirectory(QZString* path);
    /// GetDirectory applied level + 1 times: the directory for level 0, its parent for level 1; empty above
    /// the top.
    static QZString* GetDirectory(QZString* path, QZInt64 level);
    /// The part of the name after its last dot; empty without a dot.
    static QZString* GetExtension(QZString* path);
    /// The part after the last separator.
    static QZString* GetName(QZString* path);
    /// The name without its last dot and the extension.
    static QZString* GetNameNoExtension(QZString* path);
    /// Both parts with exactly one separator between them; when one part is empty, the other part.
    static QZString* Combine(QZString* first, QZString* second);
    /// Makes the directory and its missing parents. Throws like QZFileDirectory::Create.
    static void Create(QZString* path);
    static void Recycle(QZString** text);
};

#endif
