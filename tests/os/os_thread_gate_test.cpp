// Threads that suspend themselves, and workers that get a task just before they are suspended.

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "fw/fw_lock.h"
#include "os/os_task.h"
#include "os/os_thread.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_thread.h"

namespace
{

using qztest::Eventually;

std::atomic<int> g_step{0};

void SuspendSelf(void* argument)
{
    auto* handle = static_cast<std::atomic<long long>*>(argument);
    while (handle->load() == 0) QZThread::Sleep(1);
    g_step = 1;
    os::ThreadSuspend(handle->load());
    g_step = 2;
    os::ThreadSuspend(handle->load());
    g_step = 3;
}

TEST(ThreadGate, SelfSuspendedThreadContinuesOnlyAfterAResume)
{
    g_step = 0;
    std::atomic<long long> handle{0};
    long long thread = QZThread::Create(SuspendSelf, &handle);
    // Resumes before the suspend do not count.
    EXPECT_TRUE(os::ThreadResume(thread));
    EXPECT_TRUE(os::ThreadResume(thread));
    handle = thread;
    ASSERT_TRUE(Eventually([] { return g_step == 1; }));
    os::Sleep(30);
    EXPECT_EQ(g_step, 1);
    ASSERT_TRUE(Eventually([thread] { return os::ThreadResume(thread) && g_step >= 2; }));
    os::Sleep(30);
    ASSERT_TRUE(Eventually([thread] { return os::ThreadResume(thread) && g_step == 3; }));
    EXPECT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::Close(thread);
    QZThread::WaitForThreadsEnd();
}

TEST(ThreadGate, SuspendAndResumeOfAClosedHandleFail)
{
    EXPECT_FALSE(os::ThreadSuspend(0));
    EXPECT_FALSE(os::ThreadResume(0));
    EXPECT_NE(os::LastError(), 0u);
}

/// While closed, blocks every thread except the test's own when it calls suspend or resume.
class SuspendDoor
{
public:
    SuspendDoor() { os::SetTestHooks(&m_table); }
    ~SuspendDoor()
    {
        Open();
        os::SetTestHooks(nullptr);
    }
    SuspendDoor(const SuspendDoor&) = delete;
    SuspendDoor& operator=(const SuspendDoor&) = delete;

    bool Reached() const { return m_reached; }
    void Close() { m_open = false; }
    void Open() { m_open = true; }

private:
    static bool OnGate(void* context, os::Op operation, QZInt64*, QZUInt32*)
    {
        SuspendDoor* self = static_cast<SuspendDoor*>(context);
        if (operation != os::Op::ThreadControl || std::this_thread::get_id() == self->m_owner) return true;
        if (!self->m_open) self->m_reached = true;
        while (!self->m_open) std::this_thread::yield();
        return true;
    }

    std::atomic<bool> m_open{true};
    std::atomic<bool> m_reached{false};
    std::thread::id m_owner = std::this_thread::get_id();
    os::TestHooks m_table{this, nullptr, &OnGate, nullptr};
};

class CountingTask : public QZTask
{
public:
    void Execute() override { ++done; }
    std::atomic<int> done{0};
};

TEST(ThreadGate, TaskGivenBetweenIdleAndSuspendStaysPending)
{
    CountingTask first;
    CountingTask second;
    auto thread = std::make_unique<QZThread>();
    {
        SuspendDoor door;
        door.Close();
        EXPECT_EQ(thread->ExecOrNot(&first), 1);
        ASSERT_TRUE(Eventually([&] { return door.Reached(); }));
        EXPECT_EQ(first.done, 1);
        EXPECT_EQ(thread->IsWorking(), 0) << "the worker is idle, but not suspended yet";
        EXPECT_EQ(thread->ExecOrNot(&second), 1);
        door.Open();
        os::Sleep(60);
        // The resume came before the suspend and is lost, so the task waits for the next resume.
        EXPECT_EQ(second.done, 0);
        EXPECT_EQ(thread->IsWorking(), 1);
        EXPECT_EQ(second.GetStstus(), QZTask::StatusNotExecuted);
        EXPECT_EQ(second.Lock(1), 0) << "the worker still owns the task";
        EXPECT_EQ(thread->ExecOrNot(&first), 0);
    }
    // The destructor resumes the worker, which then ends without running the task.
    thread.reset();
    EXPECT_EQ(second.done, 0);
    QZThread::WaitForThreadsEnd();
}

TEST(ThreadGate, DestructorEndsAnIdleWorkerAtOnce)
{
    CountingTask task;
    auto thread = std::make_unique<QZThread>();
    EXPECT_EQ(thread->ExecOrNot(&task), 1);
    ASSERT_TRUE(Eventually([&] { return !thread->IsWorking(); }));
    os::Sleep(20);
    QZInt64 start = os::MonotonicMicros();
    thread.reset();
    EXPECT_LT(os::MonotonicMicros() - start, 2000000);
    EXPECT_EQ(task.done, 1);
}

TEST(ThreadGate, WorkerIsNeverSuspendedInsideALock)
{
    // The constructor suspends a thread that is just starting. If the thread held its own lock or the global
    // one then, the next task or the start of the next worker would block for ever.
    for (int round = 0; round < 300; ++round)
    {
        CountingTask task;
        QZThread first;
        std::this_thread::sleep_for(std::chrono::microseconds(round % 30 * 10));
        QZThread second;
        ASSERT_EQ(second.ExecOrNot(&task), 1);
        ASSERT_TRUE(Eventually([&] { return second.IsResting(); })) << round;
        ASSERT_EQ(task.done, 1);
        ASSERT_EQ(first.ExecOrNot(&task), 1);
        ASSERT_TRUE(Eventually([&] { return first.IsResting(); })) << round;
        ASSERT_EQ(task.done, 2);
    }
    QZThread::WaitForThreadsEnd();
}

TEST(ThreadGate, CriticalSectionOfATerminatedThreadCanBeDeleted)
{
    static QZCriticalSection* section;
    section = new QZCriticalSection;
    g_step = 0;
    long long thread = QZThread::Create([] {
        section->Lock();
        g_step = 1;
        for (;;) QZThread::Sleep(1);
    });
    ASSERT_TRUE(Eventually([] { return g_step == 1; }));
    EXPECT_EQ(QZThread::Terminate(thread), 1);
    QZThread::Close(thread);
    delete section;
    QZThread::WaitForThreadsEnd();
}

}  // namespace
