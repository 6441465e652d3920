#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_path.h"
#include "sys/internal/sys_posix.h"

namespace os
{

bool RealPath(const QZWChar* path, std::basic_string<QZWChar>* real, bool* plain)
{
    if (!Gate(Op::FileName)) return false;
    TerminationHold hold;
    char* const found = realpath(ToBytes(path).c_str(), nullptr);
    if (found == nullptr) return false;
    struct stat state = {};
    const bool known = stat(found, &state) == 0;
    if (known)
    {
        *real = ToText(found);
        *plain = S_ISREG(state.st_mode);
    }
    const int error = errno;
    std::free(found);
    errno = error;
    return known;
}

}  // namespace os
