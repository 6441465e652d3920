#include <sys/stat.h>

#include <csignal>

#include "common/private_files.h"

namespace qzapp
{

void KeepFilesPrivate()
{
    umask(S_IRWXG | S_IRWXO);
    std::signal(SIGXFSZ, SIG_IGN);
}

void MakePrivate(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || (status.st_mode & (S_IRWXG | S_IRWXO)) == 0) return;
    // Where it fails, the file belongs to somebody else, whose decision it is.
    if (chmod(path.c_str(), status.st_mode & S_IRWXU) != 0) return;
}

}  // namespace qzapp
