#include "sys/internal/sys_thread.h"

#include "sys/internal/sys_clock.h"

namespace os
{

void SleepPrecise(int milliseconds)
{
    if (milliseconds < 0) return;
    QZUInt32 time = static_cast<QZUInt32>(milliseconds);
    QZUInt32 period = milliseconds < 100 ? 1 : milliseconds < 1000 ? 10 : 0;
    if (period != 0) TimerBegin(period);
    Sleep(time);
    if (period != 0) TimerEnd(period);
}

}  // namespace os
