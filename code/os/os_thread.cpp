#include "os/os_thread.h"

#include <new>

#include "fw/internal/fw_memory_raw.h"
#include "os/internal/os_start.h"
#include "sys/internal/sys_chunk_table.h"
#include "sys/internal/sys_memory.h"
#include "sys/internal/sys_socket.h"
#include "sys/internal/sys_thread.h"

const QZInt64 QZThread::Type;
const QZInt64 QZThread::StatusStop;
const QZInt64 QZThread::StatusRun;
const QZInt64 QZThread::StatusEnd;
const QZInt64 QZThread::StatusWaitInit;

// ---- The running threads

namespace
{

/// The identity of each running library thread; 0 marks a free slot. A slot is taken and freed in one step,
/// so a thread that is terminated at any instruction is either listed or not, and Terminate can unlist it.
using RunningThreads = os::ChunkTable<std::atomic<QZUInt64>, 64, os::HeapAllocate, os::HeapFree>;

constinit RunningThreads g_running{};
/// Threads that found no memory for a slot.
constinit std::atomic<QZInt64> g_unlisted{0};
constinit std::atomic<QZByte> g_abort{0};
constinit std::atomic<bool> g_initialised{false};
constinit std::atomic<void*> g_mutex{nullptr};
constinit std::atomic<QZInt64> g_sleepSocket{-1};

/// Exchanges one identity for another. True when the slot held the first.
bool Exchange(std::atomic<QZUInt64>& slot, QZUInt64 from, QZUInt64 to)
{
    return slot.compare_exchange_strong(from, to);
}

void Enlist(QZUInt64 id)
{
    const auto take = [id](std::atomic<QZUInt64>& slot) { return Exchange(slot, 0, id); };
    if (g_running.Take(take) == nullptr) g_unlisted.fetch_add(1);
}

bool Discharge(QZUInt64 id)
{
    return g_running.Find([id](std::atomic<QZUInt64>& slot) { return Exchange(slot, id, 0); }) != nullptr;
}

bool AnyRunning()
{
    return g_running.Find([](std::atomic<QZUInt64>& slot) { return slot.load() != 0; }) != nullptr ||
           g_unlisted.load() > 0;
}

void* GlobalMutex()
{
    // After the end of the thread runtime there is no mutex, and every wait for it fails at once.
    return g_initialised.load() ? g_mutex.load() : nullptr;
}

void CountIn()
{
    QZThread::Lock();
    Enlist(os::ThreadCurrentId());
    QZThread::Unlock();
}

void CountOut()
{
    QZThread::Lock();
    if (!Discharge(os::ThreadCurrentId())) g_unlisted.fetch_sub(1);
    QZThread::Unlock();
}

struct StartOne
{
    void (*routine)(void*);
    void* argument;
};

struct StartTwo
{
    void (*routine)(void*, void*);
    void* first;
    void* second;
};

void EnterPlain(void* parameter)
{
    CountIn();
    reinterpret_cast<void (*)()>(parameter)();
    CountOut();
}

void EnterOne(void* parameter)
{
    CountIn();
    StartOne start = *static_cast<StartOne*>(parameter);
    MemoryRawFree(parameter, sizeof(StartOne));
    start.routine(start.argument);
    CountOut();
}

void EnterTwo(void* parameter)
{
    CountIn();
    StartTwo start = *static_cast<StartTwo*>(parameter);
    MemoryRawFree(parameter, sizeof(StartTwo));
    start.routine(start.first, start.second);
    CountOut();
}

template <typename Start>
QZInt64 CreateWith(void (*entry)(void*), const Start& start)
{
    void* block = MemoryRawAllocate(sizeof(Start));
    if (block == nullptr) return 0;
    QZInt64 handle = os::ThreadCreate(entry, new (block) Start(start));
    if (handle == 0) MemoryRawFree(block, sizeof(Start));
    return handle;
}

}  // namespace

void QZThreadRuntimeInit()
{
    if (g_initialised.load()) return;
    // The mutex is made once and never deleted: a thread may still be about to lock it when the runtime ends.
    if (g_mutex.load() == nullptr) g_mutex.store(os::MutexCreate());
    g_sleepSocket.store(os::SleepSocketOpen());
    g_initialised.store(true);
}

void QZThreadRuntimeEnd()
{
    if (g_initialised.load())
    {
        void* mutex = g_mutex.load();
        os::MutexLock(mutex);
        QZInt64 socket = g_sleepSocket.exchange(-1);
        g_initialised.store(false);
        // Threads that wait for the mutex get it, so that they can unlist themselves.
        while (os::MutexUnlock(mutex))
        {}
        os::SleepSocketClose(socket);
    }
    // From here on threads unlist themselves without the mutex. The end waits for them in any case.
    QZThread::ThreadsAbort();
    QZThread::WaitForThreadsEnd();
}

// ---- QZThread, static operations

long long QZThread::Create(void (*routine)())
{
    return os::ThreadCreate(EnterPlain, reinterpret_cast<void*>(routine));
}

long long QZThread::Create(void (*routine)(void*), void* argument)
{
    return CreateWith(EnterOne, StartOne{routine, argument});
}

long long QZThread::Create(void (*routine)(void*, void*), void* first, void* second)
{
    return CreateWith(EnterTwo, StartTwo{routine, first, second});
}

void QZThread::Sleep(int milliseconds) { os::SleepPrecise(milliseconds); }

void QZThread::SleepUs(int microseconds)
{
    os::SleepSocketWait(g_sleepSocket.load(), microseconds / 1000000, microseconds % 1000000);
}

void QZThread::Lock() { os::MutexLock(GlobalMutex()); }

void QZThread::Unlock() { os::MutexUnlock(GlobalMutex()); }

QZByte QZThread::Terminate(long long handle)
{
    QZUInt64 id = os::ThreadIdOf(handle);
    bool self = id != 0 && id == os::ThreadCurrentId();
    // A terminated thread cannot unlist itself.
    bool counted = self && Discharge(id);
    if (!os::ThreadTerminate(handle))
    {
        if (counted) Enlist(id);
        return 0;
    }
    if (id != 0) Discharge(id);
    return 1;
}

void QZThread::Close(long long handle) { os::ThreadClose(handle); }

void QZThread::ThreadsAbort() { g_abort.store(1, std::memory_order_relaxed); }

QZByte QZThread::IsThreadsAbort() { return g_abort.load(std::memory_order_relaxed); }

void QZThread::WaitForThreadsEnd()
{
    for (;;)
    {
        Lock();
        bool running = AnyRunning();
        Unlock();
        if (!running) return;
        Sleep(1);
    }
}
