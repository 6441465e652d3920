#ifndef QZLIB_APPS_COMMON_PRIVATE_FILES_H
#define QZLIB_APPS_COMMON_PRIVATE_FILES_H

#include <filesystem>
#include <string>

namespace qzapp
{

/// From here on this process makes its files and folders for its user alone. On Windows a file has the rights
/// of its folder. A write past a limit of the file size fails from then on, like one to a full disk.
void KeepFilesPrivate();

/// The same for a file that is there. Nothing where it is not, or belongs to another user.
void MakePrivate(const std::string& path);

/// A new folder among the temporary files, which is deleted with all that is in it. After KeepFilesPrivate it
/// belongs to the user alone.
class PrivateFolder
{
public:
    /// @throws std::filesystem::filesystem_error
    PrivateFolder();
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    /// The path of a file in the folder.
    std::string Path(const char* name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

}  // namespace qzapp

#endif
