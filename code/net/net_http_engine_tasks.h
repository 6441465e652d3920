#ifndef QZLIB_NET_HTTP_ENGINE_TASKS_H
#define QZLIB_NET_HTTP_ENGINE_TASKS_H

#include "fw/fw_container.h"
#include "os/os_task.h"

class QZCriticalSection;
class QZData;
class QZHttpConnect;
class QZHttpServerEngine;
class QZHttpServerTaskPool;

namespace http
{
class StrictServer;
}

/// One piece of received bytes that a worker will process. After it has run, it puts itself back into its
/// pool.
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
    friend class http::StrictServer;

    QZHttpServerTaskPool* m_pool;
    QZData* m_data;
    QZHttpServerEngine* m_engine;
    QZInt64 m_clientId;
    QZInt64 m_offset;
    QZUInt64 m_serial;
    QZUInt64 m_piece;
    /// In strict mode the connection whose receive block holds the bytes, marked as in use; else null.
    QZHttpConnect* m_connect;
    QZUInt32 m_bytes;
};

/// The process tasks of an engine. Free tasks belong to the pool, the others to the caller of GetTask. Any
/// thread may call.
class QZ_API QZHttpServerTaskPool : public QZObject
{
public:
    static const QZInt64 Type = 0x8310023;

    explicit QZHttpServerTaskPool(QZHttpServerEngine* engine);
    /// Every task that was taken must be back, or its worker must have ended.
    ~QZHttpServerTaskPool() override;
    QZHttpServerTaskPool(const QZHttpServerTaskPool&) = delete;
    QZHttpServerTaskPool& operator=(const QZHttpServerTaskPool&) = delete;

    QZInt64 GetType() override;

    /// A free or a new task, locked with the pool's id. The worker that ran it last may still be inside it;
    /// the next worker waits for the lock of the task.
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

/// The task of an engine's scheduler that closes connections.
class QZ_API QZTaskConnectClose : public QZTask
{
public:
    explicit QZTaskConnectClose(QZHttpServerEngine* engine) : m_engine(engine) {}
    void Execute() override;

private:
    QZHttpServerEngine* m_engine;
};

/// The task that finds connections that have been idle too long.
class QZ_API QZTaskConnectCheck : public QZTask
{
public:
    explicit QZTaskConnectCheck(QZHttpServerEngine* engine) : m_engine(engine) {}
    void Execute() override;

private:
    QZHttpServerEngine* m_engine;
};

/// The task that collects the library's caches.
class QZ_API QZTaskCacheCollect : public QZTask
{
public:
    explicit QZTaskCacheCollect(QZHttpServerEngine* engine) : m_engine(engine) {}
    void Execute() override;

private:
    QZHttpServerEngine* m_engine;
};

#endif
