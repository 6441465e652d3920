#include <winsock2.h>

#include <windows.h>

#include <timeapi.h>

#include <climits>
#include <new>

#include "os/os_system.h"

namespace os
{

namespace
{

HANDLE ToHandle(QZInt64 value) { return reinterpret_cast<HANDLE>(value); }

struct ThreadStart
{
    void (*routine)(void*);
    void* argument;
};

DWORD WINAPI ThreadEntry(LPVOID parameter)
{
    ThreadStart start = *static_cast<ThreadStart*>(parameter);
    ::HeapFree(GetProcessHeap(), 0, parameter);
    start.routine(start.argument);
    return 0;
}

}  // namespace

// ---- Threads

QZInt64 ThreadCreate(void (*routine)(void*), void* argument)
{
    if (!Gate(Op::ThreadCreate)) return 0;
    void* block = ::HeapAlloc(GetProcessHeap(), 0, sizeof(ThreadStart));
    if (block == nullptr)
    {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    HANDLE thread =
        CreateThread(nullptr, 0, ThreadEntry, new (block) ThreadStart{routine, argument}, 0, nullptr);
    if (thread != nullptr) return reinterpret_cast<QZInt64>(thread);
    DWORD error = ::GetLastError();
    ::HeapFree(GetProcessHeap(), 0, block);
    ::SetLastError(error);
    return 0;
}

bool ThreadSuspend(QZInt64 thread)
{
    if (!Gate(Op::ThreadControl)) return false;
    return SuspendThread(ToHandle(thread)) != static_cast<DWORD>(-1);
}

bool ThreadResume(QZInt64 thread)
{
    if (!Gate(Op::ThreadControl)) return false;
    return ResumeThread(ToHandle(thread)) != static_cast<DWORD>(-1);
}

bool ThreadIsSuspended(QZInt64 thread)
{
    // The count is told only to those who change it.
    if (SuspendThread(ToHandle(thread)) == static_cast<DWORD>(-1)) return false;
    const DWORD before = ResumeThread(ToHandle(thread));
    return before != static_cast<DWORD>(-1) && before > 1;
}

void ThreadGate() {}

bool ThreadTerminate(QZInt64 thread)
{
    if (!Gate(Op::ThreadControl)) return false;
    // The call only asks for the end; who takes the thread's memory away must know that it is gone.
    if (!TerminateThread(ToHandle(thread), 0)) return false;
    WaitForSingleObject(ToHandle(thread), 1000);
    return true;
}

bool ThreadWait(QZInt64 thread, QZInt64 milliseconds)
{
    DWORD time = milliseconds < 0 || milliseconds >= INFINITE ? INFINITE : static_cast<DWORD>(milliseconds);
    return WaitForSingleObject(ToHandle(thread), time) == WAIT_OBJECT_0;
}

void ThreadClose(QZInt64 thread)
{
    if (thread == 0) return;
    Notify(Event::HandleClose, thread);
    CloseHandle(ToHandle(thread));
}

QZUInt64 ThreadCurrentId() { return GetCurrentThreadId(); }

QZUInt64 ThreadIdOf(QZInt64 thread) { return thread != 0 ? GetThreadId(ToHandle(thread)) : 0; }

int ProcessorCount()
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors > 0 ? static_cast<int>(info.dwNumberOfProcessors) : 1;
}

// ---- Locks

void* MutexCreate() { return CreateMutexW(nullptr, FALSE, nullptr); }

bool MutexLock(void* mutex)
{
    if (!Gate(Op::MutexLock)) return false;
    if (mutex == nullptr)
    {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return false;
    }
    DWORD result = WaitForSingleObject(mutex, INFINITE);
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

bool MutexUnlock(void* mutex)
{
    if (mutex != nullptr) return ReleaseMutex(mutex) != 0;
    ::SetLastError(ERROR_INVALID_HANDLE);
    return false;
}

void MutexClose(void* mutex)
{
    if (mutex == nullptr) return;
    Notify(Event::HandleClose, reinterpret_cast<QZInt64>(mutex));
    CloseHandle(mutex);
}

QZInt64 CriticalSize() { return sizeof(CRITICAL_SECTION); }

void CriticalInit(void* section) { InitializeCriticalSection(static_cast<CRITICAL_SECTION*>(section)); }

void CriticalEnter(void* section) { EnterCriticalSection(static_cast<CRITICAL_SECTION*>(section)); }

void CriticalLeave(void* section)
{
    // A surplus leave would upset the counts; the owner field equals the caller's id only while the caller
    // holds it.
    CRITICAL_SECTION* critical = static_cast<CRITICAL_SECTION*>(section);
    HANDLE self = ULongToHandle(GetCurrentThreadId());
    if (__atomic_load_n(&critical->OwningThread, __ATOMIC_RELAXED) != self) return;
    LeaveCriticalSection(critical);
}

void CriticalDelete(void* section) { DeleteCriticalSection(static_cast<CRITICAL_SECTION*>(section)); }

// ---- Sleep

void Sleep(QZUInt32 milliseconds)
{
    Notify(Event::Sleep, milliseconds);
    ::Sleep(milliseconds);
}

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

int NetStart()
{
    if (!Gate(Op::NetStart)) return static_cast<int>(LastError());
    WSADATA data = {};
    return WSAStartup(MAKEWORD(2, 2), &data);
}

void NetEnd() { WSACleanup(); }

QZInt64 SleepSocketOpen()
{
    SOCKET made = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    return made == INVALID_SOCKET ? -1 : static_cast<QZInt64>(made);
}

void SleepSocketClose(QZInt64 socket)
{
    if (socket >= 0) closesocket(static_cast<SOCKET>(socket));
}

void SleepSocketWait(QZInt64 socket, int seconds, int microseconds)
{
    Notify(Event::SleepMicro, static_cast<QZInt64>(seconds) * 1000000 + microseconds);
    fd_set exceptions;
    exceptions.fd_count = 1;
    exceptions.fd_array[0] = static_cast<SOCKET>(socket);
    timeval time;
    time.tv_sec = seconds;
    time.tv_usec = microseconds;
    select(0, nullptr, nullptr, &exceptions, &time);
}

}  // namespace os
