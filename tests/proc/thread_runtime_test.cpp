// Start and stop of the thread layer, each test in its own process.

#include <atomic>
#include <thread>

#include "fw/fw_library.h"
#include "os/os_task.h"
#include "os/os_thread.h"
#include "qzlib.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_thread.h"

namespace
{

std::atomic<int> g_calls{0};
std::atomic<bool> g_release{false};

void RunUntilReleased()
{
    ++g_calls;
    while (!g_release) QZThread::Sleep(1);
    ++g_calls;
}

void RunUntilAborted()
{
    ++g_calls;
    while (!QZThread::IsThreadsAbort()) QZThread::Sleep(1);
    ++g_calls;
}

TEST(ThreadRuntime, DisposeWaitsForEveryThread)
{
    QZLibInit();
    QZThread::Close(QZThread::Create(RunUntilReleased));
    ASSERT_TRUE(qztest::Eventually([] { return g_calls == 1; }));
    std::thread releaser([] {
        os::Sleep(60);
        EXPECT_EQ(g_calls, 1);
        g_release = true;
    });
    QZLibDispose();
    EXPECT_EQ(g_calls, 2);
    releaser.join();
}

TEST(ThreadRuntime, DisposeSetsTheAbortFlagPermanently)
{
    QZLibInit();
    EXPECT_EQ(QZThread::IsThreadsAbort(), 0);
    QZThread::Close(QZThread::Create(RunUntilAborted));
    ASSERT_TRUE(qztest::Eventually([] { return g_calls == 1; }));
    QZLibDispose();
    EXPECT_EQ(g_calls, 2);
    EXPECT_EQ(QZThread::IsThreadsAbort(), 1);
    QZLibInit();
    EXPECT_EQ(QZThread::IsThreadsAbort(), 1);
    QZLibDispose();
}

TEST(ThreadRuntime, DisposeDoesNotWaitForATerminatedThread)
{
    QZLibInit();
    long long thread = QZThread::Create(RunUntilReleased);
    ASSERT_TRUE(qztest::Eventually([] { return g_calls == 1; }));
    EXPECT_EQ(QZThread::Terminate(thread), 1);
    QZThread::Close(thread);
    QZLibDispose();
    EXPECT_EQ(g_calls, 1);
}

TEST(ThreadRuntime, DisposeEndsWhileAThreadUsesTheGlobalMutex)
{
    QZLibInit();
    QZThread::Close(QZThread::Create([] {
        ++g_calls;
        while (!QZThread::IsThreadsAbort())
        {
            QZThread::Lock();
            QZThread::Unlock();
        }
    }));
    ASSERT_TRUE(qztest::Eventually([] { return g_calls == 1; }));
    QZLibDispose();
    // The mutex no longer exists: Lock fails and returns at once.
    QZThread::Lock();
    QZThread::Unlock();
}

TEST(ThreadRuntime, DisposeEndsWhileItsThreadHoldsTheGlobalMutex)
{
    QZLibInit();
    QZThread::Close(QZThread::Create(RunUntilAborted));
    ASSERT_TRUE(qztest::Eventually([] { return g_calls == 1; }));
    QZThread::Lock();
    QZLibDispose();
    EXPECT_EQ(g_calls, 2);
}

TEST(ThreadRuntime, ThreadsRunBeforeInit)
{
    long long thread = QZThread::Create([] { ++g_calls; });
    ASSERT_NE(thread, 0);
    EXPECT_TRUE(os::ThreadWait(thread, 10000));
    QZThread::Close(thread);
    EXPECT_EQ(g_calls, 1);
    QZThread::WaitForThreadsEnd();
}

TEST(ThreadRuntime, WorkersEndWhenTheAbortFlagIsSet)
{
    QZLibInit();
    {
        QZThread thread;
        QZThread::ThreadsAbort();
        EXPECT_EQ(QZThread::IsThreadsAbort(), 1);
        // An idle worker is suspended and reads the flag when it is resumed.
        QZTask task;
        EXPECT_EQ(thread.ExecOrNot(&task), 1);
        QZThread::WaitForThreadsEnd();
    }
    QZLibDispose();
}

}  // namespace
