#ifndef QZLIB_NET_HTTP_ENGINE_TASKS_H
#define QZLIB_NET_HTTP_ENGINE_TASKS_H

#include "fw/fw_container.h"
#include "os/os_task.h"

class QZCriticalSection;
class QZData;
class QZHttpServerEngine;
class QZHttpServerTaskPool;

/// One piece of received bytes on its way to a worker. It goes back to its pool by itself when it has run.
class QZ_API QZHttpServerProcessTask : public QZTask
{
public:
    static const QZInt64 Type = 0x8310024;

    QZHttpServerProcessTask(QZHttpServerTaskPool* pool, QZHttpServerEngine* engine);
    ~QZHttpServerProcessTask() override;

    QZInt64 GetType() override;
    void Execute() override;

    /// Copies the bytes.
    void SetProcessData(long long id, const void* data, long long offset, long long size);

private:
    friend class QZHttpServerEngine;

    QZHttpServerTaskPool* m_pool;
    QZData* m_data;
    QZHttpServerEngine* m_engine;
    QZInt64 m_clientId;
    QZInt64 m_offset;
    QZUInt64 m_serial;
    QZUInt64 m_piece;
};

/// The process tasks of an engine. Free ones belong to the pool, the others to whoever took them. Any thread.
class QZ_API QZHttpServerTaskPool : public QZObject
{
public:
    static const QZInt64 Type = 0x8310023;

    explicit QZHttpServerTaskPool(QZHttpServerEngine* engine);
    /// Every task that was taken must be back, or its worker gone.
    ~QZHttpServerTaskPool() override;
    QZHttpServerTaskPool(const QZHttpServerTaskPool&) = delete;
    QZHttpServerTaskPool& operator=(const QZHttpServerTaskPool&) = delete;

    QZInt64 GetType() override;

    /// A free task, or a new one, locked with the pool's id. The worker that ran it last may still be on its
    /// way out; the lock of the task makes the next one wait.
    QZHttpServerProcessTask* GetTask();
    /// Takes a task back and clears the variable.
    void Recycle(QZHttpServerProcessTask** task);
    /// Deletes the free tasks.
    void Collect();

private:
    QZCriticalSection* m_lock;
    QZList<QZHttpServerProcessTask>* m_tasks;
    QZHttpServerEngine* m_engine;
};

/// The housekeeping of an engine, for its scheduler.
class QZ_API QZTaskConnectClose : public QZTask
{
public:
    explicit QZTaskConnectClose(QZHttpServerEngine* engine) : m_engine(engine) {}
    void Execute() override;

private:
    QZHttpServerEngine* m_engine;
};

/// Looks for connections that are idle too long.
class QZ_API QZTaskConnectCheck : public QZTask
{
public:
    explicit QZTaskConnectCheck(QZHttpServerEngine* engine) : m_engine(engine) {}
    void Execute() override;

private:
    QZHttpServerEngine* m_engine;
};

/// Collects the library's caches.
class QZ_API QZTaskCacheCollect : public QZTask
{
public:
    explicit QZTaskCacheCollect(QZHttpServerEngine* engine) : m_engine(engine) {}
    void Execute() override;

private:
    QZHttpServerEngine* m_engine;
};

#endif
