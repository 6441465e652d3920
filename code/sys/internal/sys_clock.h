#ifndef QZLIB_SYS_CLOCK_H
#define QZLIB_SYS_CLOCK_H

/// Wall time, time since the start of the system, and the timer resolution.

#include "sys/sys_types.h"

namespace os
{

struct DateTime
{
    int Year;
    int Month;
    int Day;
    int Hour;
    int Minute;
    int Second;
    int Millisecond;
};

/// Local wall time.
void LocalTime(DateTime* time);
bool SetLocalTime(const DateTime& time);
/// Milliseconds since the system started; wraps after 2 to the 32.
QZUInt32 TickCount();
/// Microseconds of a clock that never goes back, from any start.
QZInt64 MonotonicMicros();

/// Raise and restore the timer resolution; nothing where sleeps are exact anyway.
void TimerBegin(QZUInt32 period);
void TimerEnd(QZUInt32 period);

}  // namespace os

#endif
