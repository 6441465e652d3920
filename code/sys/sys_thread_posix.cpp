#include <linux/futex.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <netinet/in.h>

#include <cerrno>
#include <cstdint>
#include <mutex>
#include <new>
#include <unordered_map>

#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_posix.h"
#include "sys/internal/sys_thread.h"

namespace os
{

namespace
{

// The largest suspend count of a Windows thread.
constexpr int kSuspendMax = 127;

/// A thread that ThreadCreate started. The running thread and the handle each hold a reference.
struct ThreadRecord
{
    std::atomic<int> references{2};
    std::atomic<int> suspended{0};
    std::atomic<bool> ended{false};
    /// Locked while the thread is passed to the system, and by the thread when it ends.
    std::mutex leaving;
    std::atomic<bool> killed{false};
    std::atomic<bool> killedSeen{false};
    sem_t end;
    /// The suspended thread waits here; posted when the count becomes 0.
    sem_t gate;
    pthread_t thread;
    QZUInt64 id;
    void (*routine)(void*);
    void* argument;
};

/// The state that the termination signal reads. It is in the static TLS block, so that reading it in a signal
/// handler allocates nothing.
struct ThreadState
{
    ThreadRecord* record;
    int holds;
    bool endPending;
};

__attribute__((tls_model("initial-exec"))) thread_local ThreadState t_state{nullptr, 0, false};

std::atomic<QZUInt64> g_nextThread{1};

/// The open handles. Never destroyed: threads may use the table while the process ends.
struct HandleTable
{
    std::mutex lock;
    std::unordered_map<QZInt64, ThreadRecord*> records;
};

HandleTable& Handles()
{
    static HandleTable* table = new HandleTable;
    return *table;
}

int TerminationSignal() { return SIGRTMAX - 3; }

// Ends the calling thread without unwinding, destructors or thread-local clean-up. Its stack is not freed:
// the next thread that used it would find the thread-specific values that it left there.
[[noreturn]] void EndHere(ThreadRecord* record)
{
    record->killed.store(true, std::memory_order_relaxed);
    record->ended.store(true, std::memory_order_release);
    sem_post(&record->end);
    for (;;) syscall(SYS_exit, 0);
}

extern "C" void QZTerminationHandler(int)
{
    int error = errno;
    ThreadRecord* record = t_state.record;
    if (record != nullptr)
    {
        if (t_state.holds == 0) EndHere(record);
        t_state.endPending = true;
    }
    errno = error;
}

void InstallTermination()
{
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action = {};
        action.sa_handler = QZTerminationHandler;
        action.sa_flags = SA_RESTART;
        sigfillset(&action.sa_mask);
        sigaction(TerminationSignal(), &action, nullptr);
    });
}

void DeleteRecord(ThreadRecord* record)
{
    sem_destroy(&record->end);
    sem_destroy(&record->gate);
    delete record;
}

void DropReference(ThreadRecord* record)
{
    if (record->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    DeleteRecord(record);
}

/// Holds a reference to the record of a handle, so that a close by another thread does not delete it.
class RecordUse
{
public:
    explicit RecordUse(QZInt64 handle)
    {
        TerminationHold hold;
        HandleTable& table = Handles();
        std::lock_guard<std::mutex> guard(table.lock);
        auto found = table.records.find(handle);
        if (found == table.records.end())
        {
            errno = EBADF;
            return;
        }
        m_record = found->second;
        m_record->references.fetch_add(1, std::memory_order_relaxed);
    }
    ~RecordUse()
    {
        if (m_record == nullptr) return;
        TerminationHold hold;
        DropReference(m_record);
    }
    RecordUse(const RecordUse&) = delete;
    RecordUse& operator=(const RecordUse&) = delete;
    ThreadRecord* operator->() const { return m_record; }
    ThreadRecord* Get() const { return m_record; }
    explicit operator bool() const { return m_record != nullptr; }

private:
    ThreadRecord* m_record = nullptr;
};

void BlockTermination(int how)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, TerminationSignal());
    pthread_sigmask(how, &set, nullptr);
}

void* ThreadEntry(void* parameter)
{
    ThreadRecord* record = static_cast<ThreadRecord*>(parameter);
    t_state.record = record;
    BlockTermination(SIG_UNBLOCK);
    record->routine(record->argument);
    BlockTermination(SIG_BLOCK);
    t_state.record = nullptr;
    {
        std::lock_guard<std::mutex> guard(record->leaving);
        record->ended.store(true, std::memory_order_release);
        // Threads are detached, since a handle may stay open forever.
        pthread_detach(pthread_self());
    }
    sem_post(&record->end);
    DropReference(record);
    return nullptr;
}

// The next thread gets a mutex whose holder was terminated, like an abandoned mutex of Windows.
bool LockRobust(pthread_mutex_t* mutex)
{
    int error = pthread_mutex_lock(mutex);
    if (error == EOWNERDEAD)
    {
        pthread_mutex_consistent(mutex);
        error = 0;
    }
    if (error != 0) errno = error;
    return error == 0;
}

}  // namespace

TerminationHold::TerminationHold()
{
    ++t_state.holds;
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

TerminationHold::~TerminationHold()
{
    std::atomic_signal_fence(std::memory_order_seq_cst);
    --t_state.holds;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (t_state.endPending && t_state.holds == 0 && t_state.record != nullptr) EndHere(t_state.record);
}

// ---- Threads

QZInt64 ThreadCreate(void (*routine)(void*), void* argument)
{
    if (!Gate(Op::ThreadCreate)) return 0;
    TerminationHold hold;
    InstallTermination();
    ThreadRecord* record = new (std::nothrow) ThreadRecord;
    if (record == nullptr)
    {
        errno = ENOMEM;
        return 0;
    }
    sem_init(&record->end, 0, 0);
    sem_init(&record->gate, 0, 0);
    record->routine = routine;
    record->argument = argument;
    record->id = g_nextThread.fetch_add(1, std::memory_order_relaxed);
    QZInt64 handle = static_cast<QZInt64>(record->id) * 4;

    HandleTable& table = Handles();
    std::lock_guard<std::mutex> guard(table.lock);
    // The new thread starts with the termination signal blocked until it has its record.
    sigset_t before;
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, TerminationSignal());
    pthread_sigmask(SIG_BLOCK, &held, &before);
    int error = pthread_create(&record->thread, nullptr, ThreadEntry, record);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error != 0)
    {
        DeleteRecord(record);
        errno = error;
        return 0;
    }
    table.records.emplace(handle, record);
    return handle;
}

bool ThreadSuspend(QZInt64 thread)
{
    if (!Gate(Op::ThreadControl)) return false;
    {
        RecordUse record(thread);
        if (!record) return false;
        int count = record->suspended.load();
        do {
            if (count >= kSuspendMax)
            {
                errno = EAGAIN;
                return false;
            }
        } while (!record->suspended.compare_exchange_weak(count, count + 1));
        if (record.Get() != t_state.record) return true;
    }
    ThreadGate();
    return true;
}

bool ThreadResume(QZInt64 thread)
{
    if (!Gate(Op::ThreadControl)) return false;
    RecordUse record(thread);
    if (!record) return false;
    int count = record->suspended.load();
    while (count > 0)
    {
        if (!record->suspended.compare_exchange_weak(count, count - 1)) continue;
        if (count == 1) sem_post(&record->gate);
        break;
    }
    return true;
}

bool ThreadIsSuspended(QZInt64 thread)
{
    RecordUse record(thread);
    return record && record->suspended.load() > 0;
}

void ThreadGate()
{
    ThreadRecord* record = t_state.record;
    if (record == nullptr) return;
    // A post may belong to an earlier suspend that was taken back before the thread stopped, so the count
    // decides.
    while (record->suspended.load() > 0) sem_wait(&record->gate);
}

bool ThreadTerminate(QZInt64 thread)
{
    if (!Gate(Op::ThreadControl)) return false;
    RecordUse record(thread);
    if (!record) return false;
    if (record.Get() == t_state.record)
    {
        // Releases this function's reference first; the handle and the thread have their own.
        record->references.fetch_sub(2, std::memory_order_acq_rel);
        record->killedSeen.store(true);
        EndHere(record.Get());
    }
    if (!record->ended.load(std::memory_order_acquire))
    {
        int error = 0;
        {
            TerminationHold hold;
            std::lock_guard<std::mutex> guard(record->leaving);
            if (!record->ended.load(std::memory_order_acquire))
                error = pthread_kill(record->thread, TerminationSignal());
        }
        if (error != 0 && error != ESRCH)
        {
            errno = error;
            return false;
        }
        while (sem_wait(&record->end) != 0)
        {}
        sem_post(&record->end);
    }
    // A thread that the signal ended could not release its reference.
    if (record->killed.load() && !record->killedSeen.exchange(true))
        record->references.fetch_sub(1, std::memory_order_acq_rel);
    return true;
}

bool ThreadWait(QZInt64 thread, QZInt64 milliseconds)
{
    RecordUse record(thread);
    if (!record) return false;
    int result;
    if (milliseconds < 0)
    {
        do result = sem_wait(&record->end);
        while (result != 0 && errno == EINTR);
    }
    else
    {
        timespec until;
        clock_gettime(CLOCK_MONOTONIC, &until);
        QZInt64 nanoseconds = until.tv_nsec + milliseconds % 1000 * 1000000;
        until.tv_sec += milliseconds / 1000 + nanoseconds / 1000000000;
        until.tv_nsec = nanoseconds % 1000000000;
        do result = sem_clockwait(&record->end, CLOCK_MONOTONIC, &until);
        while (result != 0 && errno == EINTR);
    }
    if (result != 0) return false;
    // The end stays signalled for the next wait.
    sem_post(&record->end);
    // The waiting thread sees all effects of the ended thread.
    return record->ended.load(std::memory_order_acquire);
}

void ThreadClose(QZInt64 thread)
{
    TerminationHold hold;
    ThreadRecord* record;
    {
        HandleTable& table = Handles();
        std::lock_guard<std::mutex> guard(table.lock);
        auto found = table.records.find(thread);
        if (found == table.records.end())
        {
            errno = EBADF;
            return;
        }
        record = found->second;
        table.records.erase(found);
    }
    Notify(Event::HandleClose, thread);
    DropReference(record);
}

QZUInt64 ThreadCurrentId()
{
    ThreadRecord* record = t_state.record;
    // Threads that were not started here get ids that threads started here never have.
    return record != nullptr ? record->id : (QZUInt64{1} << 62) + static_cast<QZUInt64>(gettid());
}

QZUInt64 ThreadIdOf(QZInt64 thread)
{
    RecordUse record(thread);
    return record ? record->id : 0;
}

int ProcessorCount()
{
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof(set), &set) == 0 && CPU_COUNT(&set) > 0) return CPU_COUNT(&set);
    long count = sysconf(_SC_NPROCESSORS_ONLN);
    return count > 0 ? static_cast<int>(count) : 1;
}

// ---- Locks

void* MutexCreate()
{
    TerminationHold hold;
    pthread_mutex_t* mutex = new (std::nothrow) pthread_mutex_t;
    if (mutex == nullptr)
    {
        errno = ENOMEM;
        return nullptr;
    }
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return mutex;
}

bool MutexLock(void* mutex)
{
    ThreadGate();
    if (!Gate(Op::MutexLock)) return false;
    if (mutex == nullptr)
    {
        errno = EBADF;
        return false;
    }
    return LockRobust(static_cast<pthread_mutex_t*>(mutex));
}

bool MutexUnlock(void* mutex)
{
    int error = mutex == nullptr ? EBADF : pthread_mutex_unlock(static_cast<pthread_mutex_t*>(mutex));
    if (error != 0) errno = error;
    return error == 0;
}

void MutexClose(void* mutex)
{
    if (mutex == nullptr) return;
    TerminationHold hold;
    Notify(Event::HandleClose, reinterpret_cast<QZInt64>(mutex));
    // The caller holds the mutex or it is free; it is unlocked completely before it is destroyed.
    while (pthread_mutex_unlock(static_cast<pthread_mutex_t*>(mutex)) == 0)
    {}
    pthread_mutex_destroy(static_cast<pthread_mutex_t*>(mutex));
    delete static_cast<pthread_mutex_t*>(mutex);
}

QZInt64 CriticalSize() { return sizeof(pthread_mutex_t); }

void CriticalInit(void* section)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(static_cast<pthread_mutex_t*>(section), &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void CriticalEnter(void* section)
{
    ThreadGate();
    pthread_mutex_lock(static_cast<pthread_mutex_t*>(section));
}

void CriticalLeave(void* section)
{
    // A recursive mutex refuses a thread that does not hold it, so a surplus leave has no effect.
    pthread_mutex_unlock(static_cast<pthread_mutex_t*>(section));
}

void CriticalDelete(void* section)
{
    pthread_mutex_t* mutex = static_cast<pthread_mutex_t*>(section);
    // A mutex that a terminated thread holds cannot be destroyed. It is not destroyed then; it owns only its
    // own bytes.
    if (pthread_mutex_trylock(mutex) != 0) return;
    pthread_mutex_unlock(mutex);
    pthread_mutex_destroy(mutex);
}

// ---- Sleep

void Sleep(QZUInt32 milliseconds)
{
    ThreadGate();
    Notify(Event::Sleep, milliseconds);
    timespec until;
    clock_gettime(CLOCK_MONOTONIC, &until);
    QZInt64 nanoseconds = until.tv_nsec + static_cast<QZInt64>(milliseconds % 1000) * 1000000;
    until.tv_sec += milliseconds / 1000 + nanoseconds / 1000000000;
    until.tv_nsec = nanoseconds % 1000000000;
    if (milliseconds == 0)
        sched_yield();
    else
        while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR)
        {}
    ThreadGate();
}

// ---- Events

namespace
{
/// 1 while the event is set. A thread that is terminated while it waits leaves nothing behind.
using EventWord = std::atomic<std::uint32_t>;

long Futex(EventWord* word, int operation, std::uint32_t value, const timespec* timeout)
{
    return syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(word), operation, value, timeout, nullptr, 0);
}
}  // namespace

void* EventCreate() { return new (std::nothrow) EventWord(0); }

void EventSet(void* event)
{
    EventWord* word = static_cast<EventWord*>(event);
    if (word == nullptr) return;
    if (word->exchange(1, std::memory_order_acq_rel) == 0) Futex(word, FUTEX_WAKE_PRIVATE, 1, nullptr);
}

bool EventWait(void* event, QZUInt32 milliseconds)
{
    if (event == nullptr)
    {
        Sleep(milliseconds);
        return false;
    }
    ThreadGate();
    EventWord* word = static_cast<EventWord*>(event);
    bool set = word->exchange(0, std::memory_order_acq_rel) == 1;
    if (!set && milliseconds > 0)
    {
        const timespec timeout = {static_cast<time_t>(milliseconds / 1000),
                                  static_cast<long>(milliseconds % 1000) * 1000000};
        Futex(word, FUTEX_WAIT_PRIVATE, 0, &timeout);
        set = word->exchange(0, std::memory_order_acq_rel) == 1;
    }
    ThreadGate();
    return set;
}

void EventClose(void* event) { delete static_cast<EventWord*>(event); }

}  // namespace os
