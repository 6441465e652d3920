#include <windows.h>

#include <timeapi.h>

#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_hooks.h"

namespace os
{

void LocalTime(DateTime* time)
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    *time = {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}

bool SetLocalTime(const DateTime& time)
{
    if (!Gate(Op::System)) return false;
    bool done;
    if (TestSetTime(time, &done)) return done;
    SYSTEMTIME wanted = {};
    wanted.wYear = static_cast<WORD>(time.Year);
    wanted.wMonth = static_cast<WORD>(time.Month);
    wanted.wDay = static_cast<WORD>(time.Day);
    wanted.wHour = static_cast<WORD>(time.Hour);
    wanted.wMinute = static_cast<WORD>(time.Minute);
    wanted.wSecond = static_cast<WORD>(time.Second);
    wanted.wMilliseconds = static_cast<WORD>(time.Millisecond);
    return ::SetLocalTime(&wanted) != 0;
}

QZInt64 MonotonicMicros()
{
    LARGE_INTEGER frequency;
    LARGE_INTEGER count;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&count);
    return count.QuadPart / frequency.QuadPart * 1000000 +
           count.QuadPart % frequency.QuadPart * 1000000 / frequency.QuadPart;
}

QZUInt32 TickCount() { return ::GetTickCount(); }

void TimerBegin(QZUInt32 period)
{
    Notify(Event::TimerBegin, period);
    timeBeginPeriod(period);
}

void TimerEnd(QZUInt32 period)
{
    Notify(Event::TimerEnd, period);
    timeEndPeriod(period);
}

}  // namespace os
