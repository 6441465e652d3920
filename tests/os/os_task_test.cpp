#include "os/os_task.h"

#include "fw/fw_time.h"
#include "support/qz_test.h"

namespace
{

TEST(Task, NewTaskIsDueAtOnceAndRunsOnce)
{
    QZTask task;
    EXPECT_EQ(task.GetExecTime()->ToTimestamp(), 0);
    EXPECT_EQ(task.GetStstus(), 2);
    EXPECT_EQ(task.GetInterval(), 0);
    EXPECT_EQ(task.GetType(), 0x81FFF10);
    EXPECT_EQ(QZTask::StatusHaveExecuted, 1);
    EXPECT_EQ(QZTask::StatusNotExecuted, 2);
    task.Execute();
}

TEST(Task, ExecTimeIsLockedWithTheTasksId)
{
    QZTask task;
    EXPECT_EQ(task.GetExecTime()->IsDisposable(), 0);
    EXPECT_EQ(task.GetExecTime()->SetDisposable(task.GetObjectID() + 1, 1), 0);
}

TEST(Task, ExecTimeIsCopiedIntoTheTasksOwnObject)
{
    QZTask task;
    QZDateTime* own = task.GetExecTime();
    QZDateTime time(2024, 3, 5, 6, 7, 8, 9);
    task.SetExecTime(&time);
    EXPECT_EQ(task.GetExecTime(), own);
    EXPECT_EQ(own->ToTimestamp(), time.ToTimestamp());
    EXPECT_EQ(own->IsDisposable(), 0);
    task.SetExecTime(1234LL);
    EXPECT_EQ(own->ToTimestamp(), 1234);
}

TEST(Task, StatusAndIntervalAreStored)
{
    QZTask task;
    task.SetStatus(QZTask::StatusHaveExecuted);
    EXPECT_EQ(task.GetStstus(), 1);
    task.SetInterval(-7);
    EXPECT_EQ(task.GetInterval(), -7);
}

TEST(Task, HasOneOwnerAtATime)
{
    QZTask task;
    EXPECT_EQ(task.Lock(5), 1);
    EXPECT_EQ(task.Lock(5), 0);
    EXPECT_EQ(task.Lock(6), 0);
    task.Unlock();
    EXPECT_EQ(task.Lock(6), 1);
    task.Unlock();
    task.Unlock();
    EXPECT_EQ(task.Lock(1), 1);
}

TEST(Task, IntervalConstants)
{
    EXPECT_EQ(QZTaskInterval::Hourly, 3600000);
    EXPECT_EQ(QZTaskInterval::Daily, 86400000);
    EXPECT_EQ(QZTaskInterval::Weekly, 604800000);
}

}  // namespace
