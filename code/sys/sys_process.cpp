#include "sys/internal/sys_process.h"

namespace os
{

int SystemLoad(const SystemTimes& first, const SystemTimes& second)
{
    // Signed: idle times can go back a little.
    QZInt64 idle = static_cast<QZInt64>(second.Idle - first.Idle);
    QZInt64 total = static_cast<QZInt64>(second.Kernel - first.Kernel + second.User - first.User);
    if (total == 0) return 0;
    float load = static_cast<float>(total - idle) * 100 / static_cast<float>(total);
    return load > -2147483648.0f && load < 2147483648.0f ? static_cast<int>(load) : 0;
}

}  // namespace os
