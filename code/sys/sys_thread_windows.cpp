#include <windows.h>

#include <atomic>
#include <climits>

#include "sys/internal/sys_chunk_table.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_thread.h"

namespace os
{

namespace
{

HANDLE ToHandle(QZInt64 value) { return reinterpret_cast<HANDLE>(value); }

// The largest suspend count of a thread of the system.
constexpr int kSuspendMax = 127;

/// A thread that ThreadCreate started. The running thread and the handle each hold a reference. The system
/// would suspend a thread at any place, also inside a lock that the resuming thread needs. A suspend is
/// therefore a count, which the thread tests at its gates: before it takes a lock and around its sleeps.
struct ThreadRecord
{
    std::atomic<int> holders;
    std::atomic<bool> running;
    std::atomic<int> suspended;
    std::atomic<HANDLE> handle;
    /// The suspended thread waits here; posted when the count becomes 0. Kept for the next thread of the
    /// record.
    HANDLE gate;
    void (*routine)(void*);
    void* argument;
};

void* AllocateChunk(QZInt64 size) { return ::HeapAlloc(GetProcessHeap(), 0, static_cast<SIZE_T>(size)); }

void FreeChunk(void* chunk) { ::HeapFree(GetProcessHeap(), 0, chunk); }

/// Records are never freed, only used again.
constinit ChunkTable<ThreadRecord, 32, AllocateChunk, FreeChunk> g_records{};
constinit std::atomic<DWORD> g_slot{TLS_OUT_OF_INDEXES};

bool MakeSlot()
{
    if (g_slot.load() != TLS_OUT_OF_INDEXES) return true;
    DWORD none = TLS_OUT_OF_INDEXES;
    const DWORD made = TlsAlloc();
    if (made == TLS_OUT_OF_INDEXES) return false;
    if (!g_slot.compare_exchange_strong(none, made)) TlsFree(made);
    return true;
}

/// The calling thread's record; null for a thread that was not started here. Does not change the last error.
ThreadRecord* CurrentRecord()
{
    const DWORD slot = g_slot.load(std::memory_order_acquire);
    if (slot == TLS_OUT_OF_INDEXES) return nullptr;
    const DWORD error = ::GetLastError();
    void* record = TlsGetValue(slot);
    ::SetLastError(error);
    return static_cast<ThreadRecord*>(record);
}

ThreadRecord* FindRecord(QZInt64 thread)
{
    if (thread == 0) return nullptr;
    return g_records.Find(
        [thread](ThreadRecord& record) { return record.handle.load() == ToHandle(thread); });
}

/// Takes a free record with two references; null when there is no memory.
ThreadRecord* TakeRecord()
{
    ThreadRecord* record = g_records.Take([](ThreadRecord& free) {
        int holders = 0;
        return free.holders.compare_exchange_strong(holders, 2);
    });
    if (record == nullptr) return nullptr;
    if (record->gate == nullptr) record->gate = CreateSemaphoreW(nullptr, 0, LONG_MAX, nullptr);
    if (record->gate != nullptr) return record;
    record->holders.store(0);
    return nullptr;
}

void DropRecord(ThreadRecord* record) { record->holders.fetch_sub(1, std::memory_order_acq_rel); }

/// Releases the running thread's reference once: at its end, or when it is terminated.
void DropRunning(ThreadRecord* record)
{
    if (record->running.exchange(false)) DropRecord(record);
}

DWORD WINAPI ThreadEntry(LPVOID parameter)
{
    ThreadRecord* record = static_cast<ThreadRecord*>(parameter);
    TlsSetValue(g_slot.load(), record);
    record->routine(record->argument);
    TlsSetValue(g_slot.load(), nullptr);
    DropRunning(record);
    return 0;
}

}  // namespace

// ---- Threads

QZInt64 ThreadCreate(void (*routine)(void*), void* argument)
{
    if (!Gate(Op::ThreadCreate)) return 0;
    ThreadRecord* record = MakeSlot() ? TakeRecord() : nullptr;
    if (record == nullptr)
    {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    record->suspended.store(0);
    record->running.store(true);
    record->routine = routine;
    record->argument = argument;
    HANDLE thread = CreateThread(nullptr, 0, ThreadEntry, record, 0, nullptr);
    if (thread == nullptr)
    {
        const DWORD error = ::GetLastError();
        record->holders.store(0);
        ::SetLastError(error);
        return 0;
    }
    // The handle number is still in the table when a host closed an old handle without ThreadClose.
    if (ThreadRecord* stale = FindRecord(reinterpret_cast<QZInt64>(thread)))
    {
        stale->handle.store(nullptr);
        DropRecord(stale);
    }
    record->handle.store(thread);
    return reinterpret_cast<QZInt64>(thread);
}

bool ThreadSuspend(QZInt64 thread)
{
    if (!Gate(Op::ThreadControl)) return false;
    ThreadRecord* record = FindRecord(thread);
    if (record == nullptr) return SuspendThread(ToHandle(thread)) != static_cast<DWORD>(-1);
    int count = record->suspended.load();
    do {
        if (count >= kSuspendMax)
        {
            ::SetLastError(ERROR_SIGNAL_REFUSED);
            return false;
        }
    } while (!record->suspended.compare_exchange_weak(count, count + 1));
    if (record == CurrentRecord()) ThreadGate();
    return true;
}

bool ThreadResume(QZInt64 thread)
{
    if (!Gate(Op::ThreadControl)) return false;
    ThreadRecord* record = FindRecord(thread);
    if (record == nullptr) return ResumeThread(ToHandle(thread)) != static_cast<DWORD>(-1);
    int count = record->suspended.load();
    while (count > 0)
    {
        if (!record->suspended.compare_exchange_weak(count, count - 1)) continue;
        if (count == 1) ReleaseSemaphore(record->gate, 1, nullptr);
        break;
    }
    return true;
}

bool ThreadIsSuspended(QZInt64 thread)
{
    ThreadRecord* record = FindRecord(thread);
    return record != nullptr && record->suspended.load() > 0;
}

void ThreadGate()
{
    ThreadRecord* record = CurrentRecord();
    if (record == nullptr || record->suspended.load() == 0) return;
    const DWORD error = ::GetLastError();
    // A post may belong to an earlier suspend that was taken back before the thread stopped, so the count
    // decides.
    while (record->suspended.load() > 0) WaitForSingleObject(record->gate, INFINITE);
    ::SetLastError(error);
}

bool ThreadTerminate(QZInt64 thread)
{
    if (!Gate(Op::ThreadControl)) return false;
    ThreadRecord* record = FindRecord(thread);
    if (record != nullptr && record == CurrentRecord()) DropRunning(record);
    // The call only requests the end. The wait ensures that the thread no longer uses its memory.
    if (!TerminateThread(ToHandle(thread), 0)) return false;
    WaitForSingleObject(ToHandle(thread), 1000);
    if (record != nullptr) DropRunning(record);
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
    // Must precede CloseHandle, after which the system may reuse the number.
    ThreadRecord* record = FindRecord(thread);
    if (record != nullptr)
    {
        record->handle.store(nullptr);
        DropRecord(record);
    }
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
    ThreadGate();
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

void CriticalEnter(void* section)
{
    ThreadGate();
    EnterCriticalSection(static_cast<CRITICAL_SECTION*>(section));
}

void CriticalLeave(void* section)
{
    // A surplus leave would corrupt the counts. The owner field equals the caller's id only while the caller
    // holds the section.
    CRITICAL_SECTION* critical = static_cast<CRITICAL_SECTION*>(section);
    HANDLE self = ULongToHandle(GetCurrentThreadId());
    if (__atomic_load_n(&critical->OwningThread, __ATOMIC_RELAXED) != self) return;
    LeaveCriticalSection(critical);
}

void CriticalDelete(void* section) { DeleteCriticalSection(static_cast<CRITICAL_SECTION*>(section)); }

// ---- Events

void* EventCreate() { return CreateEventW(nullptr, FALSE, FALSE, nullptr); }

void EventSet(void* event)
{
    if (event != nullptr) SetEvent(event);
}

bool EventWait(void* event, QZUInt32 milliseconds)
{
    if (event == nullptr)
    {
        Sleep(milliseconds);
        return false;
    }
    ThreadGate();
    const bool set = WaitForSingleObject(event, milliseconds) == WAIT_OBJECT_0;
    ThreadGate();
    return set;
}

void EventClose(void* event)
{
    if (event != nullptr) CloseHandle(event);
}

// ---- Sleep

void Sleep(QZUInt32 milliseconds)
{
    ThreadGate();
    Notify(Event::Sleep, milliseconds);
    ::Sleep(milliseconds);
    ThreadGate();
}

}  // namespace os
