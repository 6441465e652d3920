#include "os/os_task_scheduler.h"

#include <atomic>
#include <thread>

#include "fw/fw_collection.h"
#include "fw/fw_environment.h"
#include "fw/fw_report.h"
#include "fw/fw_time.h"
#include "os/os_task.h"
#include "os/os_thread.h"
#include "os/os_thread_pool.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"

namespace
{
using qztest::Eventually;
using Status = QZTaskSchedulerStatus;

/// Counts its runs; throws when `throws` is set, and waits while `held` is set.
class Probe : public QZTask
{
public:
    std::atomic<int> runs{0};
    std::atomic<bool> throws{false};
    std::atomic<bool> held{false};
    void Execute() override
    {
        ++runs;
        while (held) QZThread::Sleep(1);
        if (throws) throw QZExceptionFactory::CreateException(QZ_W("task"), 256);
    }
};

class Reporter : public QZErrorReport
{
public:
    using QZErrorReport::Report;
    std::atomic<int> count{0};
    std::string stackTrace;
    std::string message;
    void Report(QZException* exception) override
    {
        message = qztest::Utf8(exception->GetMsg());
        stackTrace = qztest::Utf8(exception->GetStackTrace());
        ++count;
    }
};

TEST(TaskScheduler, ConstantsAndTypes)
{
    EXPECT_EQ(Status::TaskSchedulerWaiting, 1);
    EXPECT_EQ(Status::TaskSchedulerRunning, 2);
    EXPECT_EQ(Status::TaskSchedulerPause, 4);
    EXPECT_EQ(Status::TaskSchedulerStopped, 8);
    EXPECT_EQ(Status::TaskSchedulerAbort, 16);
    EXPECT_EQ(Status::TaskSchedulerDispose, 32);
    QZTaskScheduler scheduler;
    EXPECT_EQ(scheduler.GetType(), 0x81FFF40);
    EXPECT_EQ(scheduler.GetStatus(), 1);
    QZThreadPool pool;
    EXPECT_EQ(pool.GetType(), 0x81FFF50);
}

TEST(TaskScheduler, RepeatingTaskFromThePastKeepsItsPhase)
{
    qztest::Hooks hooks;
    hooks.SetClock(10500);
    QZTaskScheduler scheduler;
    Probe task;
    task.SetInterval(1000);
    scheduler.AddTask(&task);
    EXPECT_EQ(task.GetExecTime()->ToTimestamp(), 11000);
    Probe exact;
    exact.SetExecTime(10500LL);
    exact.SetInterval(1000);
    scheduler.AddTask(&exact);
    EXPECT_EQ(exact.GetExecTime()->ToTimestamp(), 10500);
    Probe onMultiple;
    onMultiple.SetExecTime(8500LL);
    onMultiple.SetInterval(1000);
    scheduler.AddTask(&onMultiple);
    // Exactly two intervals have passed; the next due time is the third.
    EXPECT_EQ(onMultiple.GetExecTime()->ToTimestamp(), 11500);
    Probe once;
    scheduler.AddTask(&once);
    EXPECT_EQ(once.GetExecTime()->ToTimestamp(), 0);
    for (QZTask* added : {static_cast<QZTask*>(&task), static_cast<QZTask*>(&exact),
                          static_cast<QZTask*>(&onMultiple), static_cast<QZTask*>(&once)})
        scheduler.RemoveTask(added);
}

TEST(TaskScheduler, LargestIntervalIsAccepted)
{
    qztest::Hooks hooks;
    hooks.SetClock(10500);
    QZTaskScheduler scheduler;
    Probe task;
    task.SetExecTime(0);
    task.SetInterval(0x7FFFFFFFFFFFFFFF);
    scheduler.AddTask(&task);
    EXPECT_EQ(task.GetExecTime()->ToTimestamp(), 0x7FFFFFFFFFFFFFFF);
    scheduler.RemoveTask(&task);
}

TEST(TaskScheduler, TaskBelongsToOneListOnly)
{
    QZTaskScheduler first;
    QZTaskScheduler second;
    Probe task;
    first.AddTask(&task);
    EXPECT_QZ_THROW(second.AddTask(&task), 1280);
    first.RemoveTask(&task);
    EXPECT_EQ(task.IsDisposable(), 1);
}

TEST(TaskScheduler, TaskWithoutIntervalRunsOnceAtTheFirstPass)
{
    QZTaskScheduler scheduler;
    Probe task;
    scheduler.AddTask(&task);
    scheduler.Start();
    ASSERT_TRUE(Eventually([&] { return task.runs == 1; }));
    EXPECT_EQ(task.GetStstus(), QZTask::StatusHaveExecuted);
    QZThread::Sleep(20);
    EXPECT_EQ(task.runs, 1);
    scheduler.Stop();
    ASSERT_TRUE(Eventually([&] { return scheduler.GetStatus() == 32; }));
    scheduler.RemoveTask(&task);
}

TEST(TaskScheduler, RepeatingTaskRunsAgainAndStaysNotExecuted)
{
    QZTaskScheduler scheduler;
    Probe task;
    task.SetInterval(2);
    scheduler.AddTask(&task);
    scheduler.Start();
    ASSERT_TRUE(Eventually([&] { return task.runs >= 3; }));
    EXPECT_EQ(task.GetStstus(), QZTask::StatusNotExecuted);
    scheduler.Stop();
    ASSERT_TRUE(Eventually([&] { return scheduler.GetStatus() == 32; }));
    scheduler.RemoveTask(&task);
}

TEST(TaskScheduler, TaskDueLaterWaits)
{
    QZTaskScheduler scheduler;
    Probe later;
    later.SetExecTime(QZEnvironment::GetCurrentTimestamp() + 3600000);
    scheduler.AddTask(&later);
    scheduler.Start();
    QZThread::Sleep(20);
    EXPECT_EQ(later.runs, 0);
    scheduler.Stop();
    ASSERT_TRUE(Eventually([&] { return scheduler.GetStatus() == 32; }));
    scheduler.RemoveTask(&later);
}

TEST(TaskScheduler, PauseHoldsTheTasksUntilResume)
{
    // The scheduler runs the first task when it is paused; the second is still to run.
    Probe first;
    Probe task;
    first.held = true;
    QZTaskScheduler scheduler;
    scheduler.AddTask(&first);
    scheduler.AddTask(&task);
    scheduler.Start();
    ASSERT_TRUE(Eventually([&] { return first.runs == 1; }));
    scheduler.Pause();
    EXPECT_EQ(scheduler.GetStatus(), 4);
    first.held = false;
    QZThread::Sleep(20);
    EXPECT_EQ(task.runs, 0);
    scheduler.Pause();
    EXPECT_EQ(scheduler.GetStatus(), 4);
    scheduler.Resume();
    EXPECT_EQ(scheduler.GetStatus(), 2);
    // A resume while running is no error.
    scheduler.Resume();
    ASSERT_TRUE(Eventually([&] { return task.runs == 1; }));
    EXPECT_EQ(first.runs, 1);
    scheduler.Stop();
    ASSERT_TRUE(Eventually([&] { return scheduler.GetStatus() == 32; }));
    scheduler.RemoveTask(&first);
    scheduler.RemoveTask(&task);
}

TEST(TaskScheduler, InvalidTransitionsThrow)
{
    const char* message = " TaskSchedulerUnexpectedStatus";
    QZTaskScheduler scheduler;
    EXPECT_QZ_THROW_MESSAGE(scheduler.Pause(), 256, message);
    EXPECT_QZ_THROW_MESSAGE(scheduler.Resume(), 256, message);
    EXPECT_EQ(scheduler.GetStatus(), 1);
    scheduler.Start();
    EXPECT_QZ_THROW_MESSAGE(scheduler.Start(), 256, message);
    EXPECT_EQ(scheduler.GetStatus(), 2);
    scheduler.Stop();
    EXPECT_QZ_THROW_MESSAGE(scheduler.Pause(), 256, message);
    EXPECT_QZ_THROW_MESSAGE(scheduler.Resume(), 256, message);
    EXPECT_QZ_THROW_MESSAGE(scheduler.Start(), 256, message);
    bool domain = false;
    try
    {
        scheduler.Start();
    }
    catch (QZTaskException* e)
    {
        domain = true;
        QZExceptionFactory::Recycle(&e);
    }
    EXPECT_TRUE(domain);
}

TEST(TaskScheduler, StopOfAWaitingSchedulerEndsItUntilReset)
{
    QZTaskScheduler scheduler;
    scheduler.Stop();
    EXPECT_EQ(scheduler.GetStatus(), 32);
    EXPECT_QZ_THROW(scheduler.Start(), 256);
    scheduler.Stop();
    EXPECT_EQ(scheduler.GetStatus(), 40);
    scheduler.Stop();
    EXPECT_EQ(scheduler.GetStatus(), 40);
    scheduler.Reset();
    EXPECT_EQ(scheduler.GetStatus(), 1);
    scheduler.Start();
    EXPECT_EQ(scheduler.GetStatus(), 2);
}

TEST(TaskScheduler, ResetStopsARunningSchedulerAndKeepsFinishedTasksExecuted)
{
    QZTaskScheduler scheduler;
    Probe task;
    scheduler.AddTask(&task);
    scheduler.Start();
    ASSERT_TRUE(Eventually([&] { return task.runs == 1; }));
    scheduler.Reset();
    EXPECT_EQ(scheduler.GetStatus(), 1);
    EXPECT_EQ(task.GetStstus(), QZTask::StatusHaveExecuted);
    scheduler.Start();
    QZThread::Sleep(20);
    EXPECT_EQ(task.runs, 1);
    scheduler.Stop();
    ASSERT_TRUE(Eventually([&] { return scheduler.GetStatus() == 32; }));
    scheduler.RemoveTask(&task);
}

TEST(TaskScheduler, ExceptionIsReportedAndTheSchedulerContinues)
{
    Reporter reporter;
    QZTaskScheduler scheduler(&reporter);
    Probe bad;
    bad.throws = true;
    Probe good;
    scheduler.AddTask(&bad);
    scheduler.AddTask(&good);
    scheduler.Start();
    ASSERT_TRUE(Eventually([&] { return good.runs == 1; }));
    scheduler.Stop();
    ASSERT_TRUE(Eventually([&] { return scheduler.GetStatus() == 32; }));
    // The task was marked as executed before it threw, so it ran and threw once.
    EXPECT_EQ(reporter.count, 1);
    EXPECT_EQ(reporter.message, "task ArgumentOutOfRange");
    EXPECT_EQ(reporter.stackTrace, "QZTaskScheduler::Thread(QZPVoid)");
    scheduler.RemoveTask(&bad);
    scheduler.RemoveTask(&good);
}

/// Removes another task from the scheduler while the scheduler runs this one.
class Remover : public QZTask
{
public:
    Remover(QZTaskScheduler* scheduler, QZTask* other) : m_scheduler(scheduler), m_other(other) {}
    void Execute() override { m_scheduler->RemoveTask(m_other); }

private:
    QZTaskScheduler* m_scheduler;
    QZTask* m_other;
};

TEST(TaskScheduler, RemovingTheLastTaskDuringAPassReportsABadIndex)
{
    Reporter reporter;
    QZTaskScheduler scheduler(&reporter);
    Probe last;
    Remover remover(&scheduler, &last);
    scheduler.AddTask(&remover);
    scheduler.AddTask(&last);
    scheduler.Start();
    // The pass counted two tasks at its start, so it reads a missing index.
    ASSERT_TRUE(Eventually([&] { return reporter.count == 1; }));
    scheduler.Stop();
    ASSERT_TRUE(Eventually([&] { return scheduler.GetStatus() == 32; }));
    EXPECT_EQ(reporter.message, " ArgumentOutOfRange");
    EXPECT_EQ(last.runs, 0);
    scheduler.RemoveTask(&remover);
}

TEST(TaskScheduler, ExceptionsWithoutAReporterAreDropped)
{
    QZTaskScheduler scheduler;
    Probe bad;
    bad.throws = true;
    bad.SetInterval(1);
    scheduler.AddTask(&bad);
    scheduler.Start();
    ASSERT_TRUE(Eventually([&] { return bad.runs >= 2; }));
    scheduler.Stop();
    ASSERT_TRUE(Eventually([&] { return scheduler.GetStatus() == 32; }));
    EXPECT_EQ(bad.GetStstus(), QZTask::StatusNotExecuted);
    scheduler.RemoveTask(&bad);
}

TEST(TaskScheduler, DestructionWaitsForTheRunningTask)
{
    Probe task;
    task.held = true;
    {
        QZTaskScheduler scheduler;
        scheduler.AddTask(&task);
        scheduler.Start();
        ASSERT_TRUE(Eventually([&] { return task.runs == 1; }));
        scheduler.RemoveTask(&task);
        std::thread release([&] {
            QZThread::Sleep(30);
            task.held = false;
        });
        release.detach();
    }
    EXPECT_FALSE(task.held);
}

/// Lets schedulers sleep up to so many milliseconds, for the time of a scope.
class LongPause
{
public:
    explicit LongPause(QZInt64 pause) { QZTaskScheduler::LongestPause = pause; }
    ~LongPause() { QZTaskScheduler::LongestPause = 1; }
    LongPause(const LongPause&) = delete;
    LongPause& operator=(const LongPause&) = delete;
};

TEST(TaskScheduler, WithALongPauseATaskStillRunsWhenItIsDue)
{
    const LongPause pause(60000);
    QZTaskScheduler scheduler;
    Probe task;
    const QZInt64 start = QZEnvironment::GetCurrentTimestamp();
    task.SetExecTime(start + 100);
    task.SetInterval(50);
    scheduler.AddTask(&task);
    scheduler.Start();
    // A sleep lasts 1000 ms at most, whatever the pause: with the due times it takes 150 ms to the second
    // run.
    ASSERT_TRUE(Eventually([&] { return task.runs >= 2; }));
    EXPECT_GE(QZEnvironment::GetCurrentTimestamp() - start, 150);
    EXPECT_LT(QZEnvironment::GetCurrentTimestamp() - start, 900);
    scheduler.Reset();
    scheduler.RemoveTask(&task);
}

TEST(TaskScheduler, AStopTakesEffectAfterThePauseAtTheLatest)
{
    const LongPause pause(100);
    QZTaskScheduler scheduler;
    scheduler.Start();
    QZThread::Sleep(20);
    scheduler.Stop();
    EXPECT_TRUE(Eventually([&] { return scheduler.GetStatus() == Status::TaskSchedulerDispose; }));
}

TEST(ThreadPool, GrowsWithTheTasksThatRunAtTheSameTime)
{
    QZThreadPool pool;
    EXPECT_EQ(pool.Count(), 0);
    Probe tasks[3];
    for (Probe& task : tasks)
    {
        task.held = true;
        pool.ExecOnceASync(&task);
    }
    ASSERT_TRUE(Eventually([&] { return tasks[0].runs + tasks[1].runs + tasks[2].runs == 3; }));
    EXPECT_EQ(pool.Count(), 3);
    EXPECT_EQ(pool.WorkingCount(), 3);
    // While all workers are busy, a collection changes nothing.
    pool.Collect();
    EXPECT_EQ(pool.Count(), 3);
    tasks[1].held = false;
    ASSERT_TRUE(Eventually([&] { return pool.WorkingCount() == 2; }));
    EXPECT_EQ(tasks[1].GetStstus(), QZTask::StatusHaveExecuted);
    pool.Collect();
    EXPECT_EQ(pool.Count(), 2);
    tasks[0].held = tasks[2].held = false;
    ASSERT_TRUE(Eventually([&] { return pool.WorkingCount() == 0; }));
    pool.Collect();
    EXPECT_EQ(pool.Count(), 0);
}

TEST(ThreadPool, CanBeCountedWhileItWaitsForATask)
{
    QZThreadPool pool;
    Probe busy;
    busy.held = true;
    pool.ExecOnceASync(&busy);
    Probe taken;
    ASSERT_TRUE(taken.Lock(7));
    std::atomic<bool> handing{false};
    std::thread caller([&] {
        handing = true;
        pool.ExecOnceASync(&taken);
    });
    ASSERT_TRUE(Eventually([&] { return handing.load(); }));
    QZThread::Sleep(20);
    EXPECT_EQ(pool.WorkingCount(), 1);
    EXPECT_EQ(pool.Count(), 1);
    EXPECT_EQ(taken.runs, 0);
    taken.Unlock();
    caller.join();
    ASSERT_TRUE(Eventually([&] { return taken.runs == 1; }));
    EXPECT_EQ(pool.Count(), 2);
    busy.held = false;
    ASSERT_TRUE(Eventually([&] { return pool.WorkingCount() == 0; }));
}

TEST(ThreadPool, FinishedTaskCanRunAgain)
{
    QZThreadPool pool;
    Probe task;
    for (int run = 1; run <= 5; ++run)
    {
        pool.ExecOnceASync(&task);
        ASSERT_TRUE(Eventually([&] { return task.runs == run && pool.WorkingCount() == 0; }));
        // A worker that gets a task just before it suspends itself runs it only after the next resume.
        QZThread::Sleep(10);
    }
    EXPECT_LE(pool.Count(), 5);
}

TEST(ThreadPool, RunsAllTasksOfAList)
{
    QZThreadPool pool;
    QZList<QZTask> list;
    pool.ExecOnceASync(&list);
    EXPECT_EQ(pool.Count(), 0);
    Probe a;
    Probe b;
    list.Push(&a);
    list.Push(&b);
    pool.ExecOnceASync(&list);
    ASSERT_TRUE(Eventually([&] { return a.runs == 1 && b.runs == 1 && pool.WorkingCount() == 0; }));
    list.Pop();
    list.Pop();
}

TEST(ThreadPool, ExceptionOfATaskIsDroppedAndTheTaskCountsAsExecuted)
{
    QZThreadPool pool;
    Probe task;
    task.throws = true;
    pool.ExecOnceASync(&task);
    ASSERT_TRUE(Eventually([&] { return task.GetStstus() == QZTask::StatusHaveExecuted; }));
    EXPECT_EQ(task.runs, 1);
    ASSERT_TRUE(Eventually([&] { return pool.WorkingCount() == 0; }));
}
}  // namespace
