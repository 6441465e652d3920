// Tasks given to workers at the moment when they are about to be suspended.

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "os/os_task.h"
#include "os/os_thread.h"
#include "os/os_thread_pool.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"

namespace
{

using qztest::Eventually;

class CountTask : public QZTask
{
public:
    void Execute() override { ++runs; }
    std::atomic<int> runs{0};
};

TEST(HandOver, PoolReachesWorkersThatAreAboutToRest)
{
    constexpr int kRounds = 3000;
    QZThreadPool pool;
    std::vector<std::thread> hosts;
    std::atomic<int> late{0};
    for (int host = 0; host < 2; ++host)
        hosts.emplace_back([&] {
            CountTask task;
            for (int i = 1; i <= kRounds; ++i)
            {
                pool.ExecOnceASync(&task);
                late += !Eventually([&] { return task.runs == i; });
            }
            Eventually([&] { return task.GetStstus() == QZTask::StatusHaveExecuted; });
        });
    for (std::thread& host : hosts) host.join();
    EXPECT_EQ(late, 0);
}

TEST(HandOver, WorkerSuspendedWithAPendingTaskIsWoken)
{
    QZThread worker;
    CountTask task;
    for (int i = 1; i <= 3000; ++i)
    {
        while (worker.IsWorking()) std::this_thread::yield();
        ASSERT_TRUE(worker.ExecOrNot(&task));
        // The first call marks the worker, the second wakes it.
        ASSERT_TRUE(Eventually([&] {
            if (task.runs == i) return true;
            worker.WakeStalled();
            return false;
        })) << i;
    }
    EXPECT_EQ(task.runs, 3000);
}

TEST(HandOver, WakeStalledIgnoresRestingAndBusyWorkers)
{
    class LongTask : public QZTask
    {
    public:
        void Execute() override
        {
            started = true;
            while (!release) QZThread::Sleep(1);
        }
        std::atomic<bool> started{false};
        std::atomic<bool> release{false};
    };
    QZThreadPool pool;
    LongTask busy;
    CountTask quick;
    pool.ExecOnceASync(&quick);
    ASSERT_TRUE(Eventually([&] { return pool.WorkingCount() == 0; }));
    pool.ExecOnceASync(&busy);
    ASSERT_TRUE(Eventually([&] { return busy.started.load(); }));
    for (int i = 0; i < 5; ++i) pool.WakeStalled();
    EXPECT_EQ(pool.WorkingCount(), 1);
    busy.release = true;
    EXPECT_TRUE(Eventually([&] { return pool.WorkingCount() == 0; }));
    for (int i = 0; i < 5; ++i) pool.WakeStalled();
    EXPECT_EQ(quick.runs, 1);
}

TEST(HandOver, WorkerRestsOnceItIsSuspended)
{
    QZThread worker;
    EXPECT_TRUE(Eventually([&] { return worker.IsResting(); }));
    CountTask task;
    ASSERT_TRUE(worker.ExecOrNot(&task));
    EXPECT_TRUE(Eventually([&] { return task.runs == 1; }));
    EXPECT_TRUE(Eventually([&] { return worker.IsResting(); }));
}

}  // namespace
