#include <time.h>

#include <cerrno>

#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_hooks.h"

namespace os
{

namespace
{

/// The last second that the calling thread converted, and its local time. The conversion costs many times a
/// reading of the clock, and servers stamp each request several times.
struct TakenApart
{
    time_t second{-1};
    long zone{0};
    int summer{0};
    DateTime time{};
};

__attribute__((tls_model("initial-exec"))) thread_local constinit TakenApart t_now{};

}  // namespace

void LocalTime(DateTime* time)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_sec != t_now.second || t_now.zone != ::timezone || t_now.summer != ::daylight)
    {
        tm parts;
        localtime_r(&now.tv_sec, &parts);
        t_now.time.Year = parts.tm_year + 1900;
        t_now.time.Month = parts.tm_mon + 1;
        t_now.time.Day = parts.tm_mday;
        t_now.time.Hour = parts.tm_hour;
        t_now.time.Minute = parts.tm_min;
        // A leap second is reported as the second before it.
        t_now.time.Second = parts.tm_sec > 59 ? 59 : parts.tm_sec;
        t_now.zone = ::timezone;
        t_now.summer = ::daylight;
        t_now.second = now.tv_sec;
    }
    *time = t_now.time;
    time->Millisecond = static_cast<int>(now.tv_nsec / 1000000);
}

bool SetLocalTime(const DateTime& time)
{
    if (!Gate(Op::System)) return false;
    bool done;
    if (TestSetTime(time, &done)) return done;
    tm parts = {};
    parts.tm_year = time.Year - 1900;
    parts.tm_mon = time.Month - 1;
    parts.tm_mday = time.Day;
    parts.tm_hour = time.Hour;
    parts.tm_min = time.Minute;
    parts.tm_sec = time.Second;
    parts.tm_isdst = -1;
    timespec now = {};
    errno = 0;
    now.tv_sec = mktime(&parts);
    if (now.tv_sec == -1 && errno != 0) return false;
    now.tv_nsec = time.Millisecond * 1000000L;
    return clock_settime(CLOCK_REALTIME, &now) == 0;
}

QZInt64 MonotonicMicros()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<QZInt64>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

QZUInt32 TickCount()
{
    timespec now;
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<QZUInt32>(static_cast<QZUInt64>(now.tv_sec) * 1000 +
                                 static_cast<QZUInt64>(now.tv_nsec) / 1000000);
}

void TimerBegin(QZUInt32 period) { Notify(Event::TimerBegin, period); }

void TimerEnd(QZUInt32 period) { Notify(Event::TimerEnd, period); }

}  // namespace os
