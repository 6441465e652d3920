#include "os/os_thread.h"
#include "fw/fw_lock.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <vector>

#include "fw/fw_environment.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_time.h"
#include "os/os_task.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_thread.h"

namespace
{

using qztest::Eventually;
using qztest::Hooks;
using Clock = std::chrono::steady_clock;

long long MillisecondsSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

std::atomic<int> g_calls{0};
std::atomic<void*> g_first{nullptr};
std::atomic<void*> g_second{nullptr};
std::atomic<bool> g_release{false};

void Plain() { ++g_calls; }

void One(void* argument)
{
    g_first = argument;
    ++g_calls;
}

void Two(void* first, void* second)
{
    g_first = first;
    g_second = second;
    ++g_calls;
}

void RunUntilReleased()
{
    ++g_calls;
    while (!g_release) QZThread::Sleep(1);
}

void RunForever()
{
    ++g_calls;
    for (;;) QZThread::Sleep(1);
}

std::atomic<int> g_asserts{0};
void CountAssert(QZBool condition)
{
    if (!condition) ++g_asserts;
}

void RaiseAssert(QZBool condition)
{
    if (!condition) os::AssertReport("val", "code/qzlib", 510);
}

class ThreadTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_calls = 0;
        g_first = nullptr;
        g_second = nullptr;
        g_release = false;
        g_asserts = 0;
    }
};

// ---- The static interface

TEST_F(ThreadTest, CreateRunsARoutineWithNoOneAndTwoArguments)
{
    int a = 0;
    int b = 0;
    long long thread = QZThread::Create(Plain);
    ASSERT_NE(thread, 0);
    EXPECT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::Close(thread);
    EXPECT_EQ(g_calls, 1);

    thread = QZThread::Create(One, &a);
    EXPECT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::Close(thread);
    EXPECT_EQ(g_first, &a);

    thread = QZThread::Create(Two, &a, &b);
    EXPECT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::Close(thread);
    EXPECT_EQ(g_first, &a);
    EXPECT_EQ(g_second, &b);
    EXPECT_EQ(g_calls, 3);
}

TEST_F(ThreadTest, CreateReturnsZeroWhenThePlatformFails)
{
    Hooks hooks;
    hooks.Fail(os::Op::ThreadCreate, 11);
    EXPECT_EQ(QZThread::Create(Plain), 0);
    hooks.Fail(os::Op::ThreadCreate, 11);
    EXPECT_EQ(QZThread::Create(One, nullptr), 0);
    hooks.Fail(os::Op::Allocate, os::ErrorNoMemory());
    EXPECT_EQ(QZThread::Create(Two, nullptr, nullptr), 0);
    EXPECT_EQ(g_calls, 0);
}

TEST_F(ThreadTest, ThreadKeepsRunningAfterClose)
{
    long long thread = QZThread::Create(RunUntilReleased);
    ASSERT_TRUE(Eventually([] { return g_calls == 1; }));
    QZThread::Close(thread);
    g_release = true;
    QZThread::WaitForThreadsEnd();
    EXPECT_EQ(g_calls, 1);
}

TEST_F(ThreadTest, WaitForThreadsEndReturnsAtOnceWithoutThreads)
{
    QZThread::WaitForThreadsEnd();
    auto start = Clock::now();
    QZThread::WaitForThreadsEnd();
    EXPECT_LT(MillisecondsSince(start), 1000);
}

TEST_F(ThreadTest, WaitForThreadsEndWaitsForTheLastThread)
{
    long long threads[3];
    for (long long& thread : threads) thread = QZThread::Create(RunUntilReleased);
    ASSERT_TRUE(Eventually([] { return g_calls == 3; }));
    std::atomic<bool> back{false};
    std::thread waiter([&] {
        QZThread::WaitForThreadsEnd();
        back = true;
    });
    os::Sleep(30);
    EXPECT_FALSE(back);
    g_release = true;
    waiter.join();
    EXPECT_TRUE(back);
    for (long long thread : threads) QZThread::Close(thread);
}

TEST_F(ThreadTest, ManyThreadsAreCounted)
{
    constexpr int kMany = 100;
    std::vector<long long> threads;
    for (int i = 0; i < kMany; ++i) threads.push_back(QZThread::Create(RunUntilReleased));
    ASSERT_TRUE(Eventually([] { return g_calls == kMany; }));
    g_release = true;
    QZThread::WaitForThreadsEnd();
    for (long long thread : threads) QZThread::Close(thread);
}

TEST_F(ThreadTest, TerminatedThreadIsNotCountedAsRunning)
{
    long long thread = QZThread::Create(RunForever);
    ASSERT_TRUE(Eventually([] { return g_calls == 1; }));
    EXPECT_EQ(QZThread::Terminate(thread), 1);
    EXPECT_TRUE(os::ThreadWait(thread, 0));
    QZThread::WaitForThreadsEnd();
    QZThread::Close(thread);
}

std::atomic<bool> g_destroyed{false};
struct Witness
{
    ~Witness() { g_destroyed = true; }
};

void HoldWitness()
{
    Witness witness;
    RunForever();
}

TEST_F(ThreadTest, TerminatedThreadRunsNoDestructors)
{
    g_destroyed = false;
    long long thread = QZThread::Create(HoldWitness);
    ASSERT_TRUE(Eventually([] { return g_calls == 1; }));
    EXPECT_EQ(QZThread::Terminate(thread), 1);
    QZThread::Close(thread);
    EXPECT_FALSE(g_destroyed);
}

void HoldGlobalMutex()
{
    QZThread::Lock();
    RunForever();
}

TEST_F(ThreadTest, GlobalMutexOfATerminatedThreadIsReleased)
{
    long long thread = QZThread::Create(HoldGlobalMutex);
    ASSERT_TRUE(Eventually([] { return g_calls == 1; }));
    EXPECT_EQ(QZThread::Terminate(thread), 1);
    QZThread::Close(thread);
    QZThread::Lock();
    QZThread::Unlock();
    QZThread::WaitForThreadsEnd();
}

void TerminateSelf(void* handle)
{
    while (static_cast<std::atomic<long long>*>(handle)->load() == 0) QZThread::Sleep(1);
    QZThread::Terminate(static_cast<std::atomic<long long>*>(handle)->load());
    ++g_calls;
}

TEST_F(ThreadTest, TerminateOfTheOwnThreadDoesNotReturn)
{
    std::atomic<long long> handle{0};
    long long thread = QZThread::Create(TerminateSelf, &handle);
    handle = thread;
    EXPECT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::WaitForThreadsEnd();
    QZThread::Close(thread);
    EXPECT_EQ(g_calls, 0);
}

TEST_F(ThreadTest, TerminateReturnsZeroOnFailure)
{
    EXPECT_EQ(QZThread::Terminate(0), 0);
    long long thread = QZThread::Create(RunUntilReleased);
    ASSERT_TRUE(Eventually([] { return g_calls == 1; }));
    {
        Hooks hooks;
        hooks.Fail(os::Op::ThreadControl, 5);
        EXPECT_EQ(QZThread::Terminate(thread), 0);
    }
    g_release = true;
    EXPECT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::Close(thread);
}

TEST_F(ThreadTest, EndedThreadMayBeTerminatedAgain)
{
    long long thread = QZThread::Create(Plain);
    ASSERT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::Terminate(thread);
    QZThread::WaitForThreadsEnd();
    QZThread::Close(thread);
}

TEST_F(ThreadTest, SuspendsAreCounted)
{
    static std::atomic<int> rounds;
    rounds = 0;
    long long thread = QZThread::Create([] {
        while (!g_release)
        {
            ++rounds;
            QZThread::Sleep(1);
        }
    });
    ASSERT_TRUE(Eventually([] { return rounds > 0; }));
    // A resume of a thread that is not suspended does nothing and does not cancel a later suspend.
    EXPECT_TRUE(os::ThreadResume(thread));
    EXPECT_TRUE(os::ThreadSuspend(thread));
    EXPECT_TRUE(os::ThreadSuspend(thread));
    os::Sleep(20);
    int stopped = rounds;
    os::Sleep(30);
    EXPECT_EQ(rounds, stopped);
    EXPECT_TRUE(os::ThreadResume(thread));
    os::Sleep(30);
    EXPECT_EQ(rounds, stopped) << "one of the two suspends remains";
    EXPECT_TRUE(os::ThreadResume(thread));
    EXPECT_TRUE(Eventually([stopped] { return rounds > stopped; }));
    g_release = true;
    EXPECT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::Close(thread);
}

TEST_F(ThreadTest, SuspendBeyondTheLimitFails)
{
    long long thread = QZThread::Create(RunUntilReleased);
    ASSERT_TRUE(Eventually([] { return g_calls == 1; }));
    int suspends = 0;
    while (suspends < 1000 && os::ThreadSuspend(thread)) ++suspends;
    EXPECT_EQ(suspends, 127);
    for (int i = 0; i < suspends; ++i) EXPECT_TRUE(os::ThreadResume(thread));
    g_release = true;
    EXPECT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::Close(thread);
}

TEST_F(ThreadTest, SuspendedThreadCanBeTerminated)
{
    long long thread = QZThread::Create(RunForever);
    ASSERT_TRUE(Eventually([] { return g_calls == 1; }));
    EXPECT_TRUE(os::ThreadSuspend(thread));
    os::Sleep(10);
    EXPECT_EQ(QZThread::Terminate(thread), 1);
    QZThread::WaitForThreadsEnd();
    QZThread::Close(thread);
}

TEST_F(ThreadTest, WaitEndsAtItsTimeout)
{
    long long thread = QZThread::Create(RunUntilReleased);
    auto start = Clock::now();
    EXPECT_FALSE(os::ThreadWait(thread, 50));
    EXPECT_GE(MillisecondsSince(start), 45);
    g_release = true;
    EXPECT_TRUE(os::ThreadWait(thread, -1));
    EXPECT_TRUE(os::ThreadWait(thread, 0)) << "a wait for an ended thread succeeds again";
    QZThread::Close(thread);
}

TEST_F(ThreadTest, HandleIsClosedOnce)
{
    long long thread = QZThread::Create(Plain);
    ASSERT_TRUE(os::ThreadWait(thread, 10000));
    Hooks hooks;
    QZThread::Close(thread);
    QZThread::Close(0);
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 1);
}

// ---- Sleeping

using Events = std::vector<std::pair<os::Event, QZInt64>>;

Events EventsOfSleep(int milliseconds)
{
    Hooks hooks;
    QZThread::Sleep(milliseconds);
    return hooks.Events();
}

TEST_F(ThreadTest, SleepSetsTheTimerResolutionByItsLength)
{
    using os::Event;
    EXPECT_EQ(EventsOfSleep(0), (Events{{Event::TimerBegin, 1}, {Event::Sleep, 0}, {Event::TimerEnd, 1}}));
    EXPECT_EQ(EventsOfSleep(99), (Events{{Event::TimerBegin, 1}, {Event::Sleep, 99}, {Event::TimerEnd, 1}}));
    EXPECT_EQ(EventsOfSleep(100),
              (Events{{Event::TimerBegin, 10}, {Event::Sleep, 100}, {Event::TimerEnd, 10}}));
    EXPECT_EQ(EventsOfSleep(999),
              (Events{{Event::TimerBegin, 10}, {Event::Sleep, 999}, {Event::TimerEnd, 10}}));
    EXPECT_EQ(EventsOfSleep(1000), (Events{{Event::Sleep, 1000}}));
}

TEST_F(ThreadTest, NegativeSleepReturnsAtOnce)
{
    EXPECT_EQ(EventsOfSleep(-1), Events{});
    EXPECT_EQ(EventsOfSleep(-2147483647 - 1), Events{});
}

TEST_F(ThreadTest, SleepOfOneMillisecondTakesTime)
{
    auto start = Clock::now();
    for (int i = 0; i < 50; ++i) QZThread::Sleep(1);
    long long time = MillisecondsSince(start);
    EXPECT_GE(time, 45);
    EXPECT_LT(time, 2000);
}

TEST_F(ThreadTest, SleepUsWaitsTheGivenTime)
{
    Hooks hooks;
    auto start = Clock::now();
    QZThread::SleepUs(20000);
    EXPECT_GE(MillisecondsSince(start), 15);
    start = Clock::now();
    QZThread::SleepUs(1050000);
    EXPECT_GE(MillisecondsSince(start), 1030);
    start = Clock::now();
    QZThread::SleepUs(0);
    QZThread::SleepUs(-5);
    EXPECT_LT(MillisecondsSince(start), 500);
    EXPECT_EQ(hooks.Count(os::Event::SleepMicro), 4);
}

// ---- Locks

template <typename Lock>
void ExpectExcludes(Lock* lock)
{
    lock->Lock();
    lock->Lock();
    std::atomic<bool> inside{false};
    std::thread other([&] {
        lock->Lock();
        inside = true;
        lock->Unlock();
    });
    os::Sleep(20);
    EXPECT_FALSE(inside);
    lock->Unlock();
    os::Sleep(20);
    EXPECT_FALSE(inside) << "locked twice, unlocked once";
    lock->Unlock();
    other.join();
    EXPECT_TRUE(inside);
}

template <typename Lock>
void ExpectExtraUnlockDoesNothing(Lock* lock)
{
    lock->Unlock();
    lock->Lock();
    lock->Unlock();
    lock->Unlock();
    ExpectExcludes(lock);
    // An unlock by a thread that does not hold the lock does nothing.
    lock->Lock();
    std::thread([&] { lock->Unlock(); }).join();
    std::atomic<bool> inside{false};
    std::thread other([&] {
        lock->Lock();
        inside = true;
        lock->Unlock();
    });
    os::Sleep(20);
    EXPECT_FALSE(inside);
    lock->Unlock();
    other.join();
}

TEST_F(ThreadTest, MutexIsRecursiveAndExcludes)
{
    QZMutex mutex;
    ExpectExcludes(&mutex);
    ExpectExtraUnlockDoesNothing(&mutex);
    EXPECT_EQ(mutex.GetType(), QZMutex::Type);
    EXPECT_EQ(QZMutex::Type, 0x81FFD00);
}

TEST_F(ThreadTest, CriticalSectionIsRecursiveAndExcludes)
{
    QZCriticalSection section;
    ExpectExcludes(&section);
    ExpectExtraUnlockDoesNothing(&section);
    EXPECT_EQ(section.GetType(), QZCriticalSection::Type);
    EXPECT_EQ(QZCriticalSection::Type, 0x81FFE00);
}

TEST_F(ThreadTest, MutexDestructionWaitsForTheHolder)
{
    auto mutex = std::make_unique<QZMutex>();
    std::atomic<bool> held{false};
    std::atomic<bool> released{false};
    QZMutex* raw = mutex.get();
    std::thread holder([&] {
        raw->Lock();
        held = true;
        os::Sleep(50);
        released = true;
        raw->Unlock();
    });
    ASSERT_TRUE(Eventually([&] { return held.load(); }));
    mutex.reset();
    EXPECT_TRUE(released);
    holder.join();
}

TEST_F(ThreadTest, MutexLockReturnsWhenTheWaitFails)
{
    QZMutex mutex;
    Hooks hooks;
    hooks.Fail(os::Op::MutexLock, 6);
    mutex.Lock();
    mutex.Unlock();
}

TEST_F(ThreadTest, GlobalMutexExcludes)
{
    QZThread::Lock();
    std::atomic<bool> inside{false};
    std::thread other([&] {
        QZThread::Lock();
        inside = true;
        QZThread::Unlock();
    });
    os::Sleep(20);
    EXPECT_FALSE(inside);
    QZThread::Unlock();
    other.join();
    EXPECT_TRUE(inside);
}

// ---- Workers

class CountTask : public QZTask
{
public:
    void Execute() override
    {
        ++started;
        while (hold) os::Sleep(1);
        ++done;
    }
    std::atomic<int> started{0};
    std::atomic<int> done{0};
    std::atomic<bool> hold{false};
};

class ThrowTask : public QZTask
{
public:
    void Execute() override { throw QZExceptionFactory::CreateException(QZExceptionCode::OperationFailed); }
};

/// Gives the task to the worker and waits until the worker is suspended. A worker is idle shortly before it
/// is suspended, and a task that it gets in between waits for another resume.
void RunOn(QZThread* thread, QZTask* task)
{
    ASSERT_TRUE(Eventually([&] { return thread->ExecOrNot(task) != 0; }));
    ASSERT_TRUE(Eventually([&] { return thread->IsResting(); }));
}

TEST_F(ThreadTest, NewWorkerIsIdleAndEndsQuickly)
{
    auto start = Clock::now();
    {
        QZThread thread;
        EXPECT_EQ(thread.IsWorking(), 0);
        EXPECT_EQ(thread.GetType(), QZThread::Type);
        EXPECT_EQ(QZThread::Type, 0x81FFF30);
    }
    EXPECT_LT(MillisecondsSince(start), 2000);
}

TEST_F(ThreadTest, WorkerRunsATaskAndMarksItExecuted)
{
    CountTask task;
    QZThread thread;
    task.SetStatus(QZTask::StatusHaveExecuted);
    QZInt64 before = QZEnvironment::GetCurrentTimestamp();
    EXPECT_EQ(thread.ExecOrNot(&task), 1);
    ASSERT_TRUE(Eventually([&] { return !thread.IsWorking(); }));
    EXPECT_EQ(task.done, 1);
    EXPECT_EQ(task.GetStstus(), QZTask::StatusHaveExecuted);
    EXPECT_GE(task.GetExecTime()->ToTimestamp(), before);
    EXPECT_EQ(task.Lock(1), 1) << "the worker unlocked the task";
}

TEST_F(ThreadTest, WorkerRunsManyTasks)
{
    CountTask task;
    QZThread thread;
    for (int i = 0; i < 20; ++i)
    {
        RunOn(&thread, &task);
        ASSERT_EQ(task.done, i + 1);
    }
    EXPECT_EQ(task.done, 20);
}

TEST_F(ThreadTest, BusyWorkerIsMarkedAsWorking)
{
    CountTask task;
    QZThread thread;
    task.hold = true;
    EXPECT_EQ(thread.ExecOrNot(&task), 1);
    ASSERT_TRUE(Eventually([&] { return task.started == 1; }));
    EXPECT_EQ(thread.IsWorking(), 1);
    task.hold = false;
    ASSERT_TRUE(Eventually([&] { return !thread.IsWorking(); }));
}

TEST_F(ThreadTest, ExecOrNotOnABusyWorkerBlocksUntilTheTaskEnded)
{
    CountTask first;
    CountTask second;
    QZThread thread;
    thread.SetTimeout(200);
    first.hold = true;
    EXPECT_EQ(thread.ExecOrNot(&first), 1);
    ASSERT_TRUE(Eventually([&] { return first.started == 1; }));
    std::atomic<int> result{-1};
    std::thread caller([&] { result = thread.ExecOrNot(&second); });
    os::Sleep(30);
    EXPECT_EQ(result, -1);
    first.hold = false;
    caller.join();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(first.done, 1);
}

TEST_F(ThreadTest, ExecOrNotWaitsForATaskWithAnotherOwner)
{
    CountTask task;
    QZThread thread;
    ASSERT_EQ(task.Lock(77), 1);
    std::atomic<int> result{-1};
    std::thread caller([&] { result = thread.ExecOrNot(&task); });
    os::Sleep(30);
    EXPECT_EQ(result, -1);
    task.Unlock();
    caller.join();
    EXPECT_EQ(result, 1);
    ASSERT_TRUE(Eventually([&] { return task.done == 1; }));
}

TEST_F(ThreadTest, TaskThatThrowsCountsAsExecuted)
{
    ThrowTask task;
    CountTask next;
    QZThread thread;
    RunOn(&thread, &task);
    EXPECT_EQ(task.GetStstus(), QZTask::StatusHaveExecuted);
    EXPECT_EQ(task.Lock(1), 1);
    os::Sleep(5);
    RunOn(&thread, &next);
    EXPECT_EQ(next.done, 1);
}

class SelfCallingTask : public QZTask
{
public:
    explicit SelfCallingTask(QZThread* thread) : m_thread(thread) {}
    void Execute() override { result = m_thread->ExecOrNot(this); }
    std::atomic<int> result{-1};

private:
    QZThread* m_thread;
};

TEST_F(ThreadTest, TaskMayCallItsOwnWorker)
{
    QZThread thread;
    SelfCallingTask task(&thread);
    RunOn(&thread, &task);
    EXPECT_EQ(task.result, 0) << "the worker is busy with this task";
}

TEST_F(ThreadTest, TaskLongerThanTheTimeoutIsKilled)
{
    auto task = std::make_unique<CountTask>();
    task->hold = true;
    auto start = Clock::now();
    {
        QZThread thread;
        thread.SetTimeout(60);
        EXPECT_EQ(thread.ExecOrNot(task.get()), 1);
        ASSERT_TRUE(Eventually([&] { return task->started == 1; }));
        start = Clock::now();
    }
    long long time = MillisecondsSince(start);
    EXPECT_GE(time, 55);
    EXPECT_LT(time, 4000);
    task->hold = false;
    os::Sleep(20);
    EXPECT_EQ(task->done, 0);
    EXPECT_EQ(task->Lock(5), 0) << "the killed thread does not unlock its task";
    QZThread::WaitForThreadsEnd();
}

TEST_F(ThreadTest, DestructionWaitsForTheRunningTask)
{
    CountTask task;
    task.hold = true;
    std::thread releaser;
    auto start = Clock::now();
    {
        QZThread thread;
        EXPECT_EQ(thread.ExecOrNot(&task), 1);
        ASSERT_TRUE(Eventually([&] { return task.started == 1; }));
        releaser = std::thread([&] {
            os::Sleep(40);
            task.hold = false;
        });
        start = Clock::now();
    }
    EXPECT_LT(MillisecondsSince(start), 4000) << "the wait ends with the task, not at the timeout";
    EXPECT_EQ(task.done, 1);
    releaser.join();
}

TEST_F(ThreadTest, FailedSuspendAndResumeGoToTheAssertHook)
{
    QZLibSetFunctionAssert(CountAssert);
    {
        Hooks hooks;
        CountTask task;
        auto thread = std::make_unique<QZThread>();
        RunOn(thread.get(), &task);
        hooks.Fail(os::Op::ThreadControl, 6);
        EXPECT_EQ(thread->ExecOrNot(&task), 1);
        EXPECT_EQ(g_asserts, 1);
        thread->SetTimeout(10);
        hooks.Fail(os::Op::ThreadControl, 6);
        thread.reset();
        EXPECT_EQ(g_asserts, 2);
        hooks.Fail(os::Op::ThreadControl, 6);
        thread = std::make_unique<QZThread>();
        EXPECT_EQ(g_asserts, 3);
    }
    QZLibSetFunctionAssert(RaiseAssert);
    QZThread::WaitForThreadsEnd();
}

TEST_F(ThreadTest, WorkerWithoutAThreadFailsAnAssertion)
{
    QZLibSetFunctionAssert(CountAssert);
    {
        Hooks hooks;
        hooks.Fail(os::Op::ThreadCreate, 11);
        QZThread thread;
        EXPECT_EQ(g_asserts, 1);
        hooks.Fail(os::Op::ThreadCreate, 11);
    }
    EXPECT_EQ(g_asserts, 2);
    QZLibSetFunctionAssert(RaiseAssert);
}

TEST_F(ThreadTest, StatusValues)
{
    EXPECT_EQ(QZThread::StatusStop, 0);
    EXPECT_EQ(QZThread::StatusRun, 1);
    EXPECT_EQ(QZThread::StatusEnd, 2);
    EXPECT_EQ(QZThread::StatusWaitInit, 3);
}

}  // namespace
