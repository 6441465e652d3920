#ifndef QZLIB_SYS_CLOCK_H
#define QZLIB_SYS_CLOCK_H

/// The local time, clocks that count from the start of the system, and the timer resolution.

#include "sys/sys_types.h"

namespace os
{

/// A local time. Months and days count from 1.
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

/// Stores the local time in *time; the clock of the test hooks, if one is set.
void LocalTime(DateTime* time);
/// Sets the system's clock, or hands the time to the test hook. False with LastError set on failure.
bool SetLocalTime(const DateTime& time);
/// Milliseconds since the system started, modulo 2^32.
QZUInt32 TickCount();
/// Microseconds of a clock that never goes back. Its start is arbitrary: only differences mean something.
QZInt64 MonotonicMicros();

/// Raise the timer resolution to `period` milliseconds, and restore it. Each TimerBegin has its TimerEnd with
/// the same period. On Linux, where sleeps are exact, they only notify the test hooks.
void TimerBegin(QZUInt32 period);
void TimerEnd(QZUInt32 period);

}  // namespace os

#endif
