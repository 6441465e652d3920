#ifndef QZLIB_APPS_COMMON_PRIVATE_FILES_H
#define QZLIB_APPS_COMMON_PRIVATE_FILES_H

#include <string>

namespace qzapp
{

/// From here on this process makes its files and folders for its user alone. On Windows a file has the rights
/// of its folder.
void KeepFilesPrivate();

/// The same for a file that is there. Nothing where it is not, or belongs to another user.
void MakePrivate(const std::string& path);

}  // namespace qzapp

#endif
