// The held clock and the limit of file sizes on Linux.

#include <csignal>
#include <cstdlib>
#include <ctime>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "compare.h"

/// The library's calls come here, since a program's symbols go before those of the C library.
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    if (clock == CLOCK_REALTIME)
    {
        *now = {1714979289, 123000000};
        return 0;
    }
    if (clock == CLOCK_BOOTTIME)
    {
        *now = {1000, 0};
        return 0;
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
}

namespace compare
{
bool HoldClock()
{
    setenv("TZ", "UTC", 1);
    tzset();
    return true;
}

bool LimitFileSize(QZInt64 bytes)
{
    // A write beyond the limit is then refused with an error number and does not end the process.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes < 0 ? limit.rlim_max : static_cast<rlim_t>(bytes);
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}
}  // namespace compare
