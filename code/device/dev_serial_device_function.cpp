// Function calls and the queue.

#include <algorithm>

#include "device/internal/dev_serial_device_internal.h"
#include "fw/fw_memory.h"
#include "sys/sys_bytes.h"

using namespace serialdevice;

namespace
{

constexpr QZInt64 kArgumentRoom = 14;
constexpr int kPauseMicros = 100;

/// The caller's word, which another thread waits upon.
void SetDone(int* done)
{
    if (done != nullptr) std::atomic_ref<int>(*done).store(1, std::memory_order_release);
}

bool IsDone(int& done) { return std::atomic_ref<int>(done).load(std::memory_order_acquire) != 0; }

bool IsSameCall(const QZSerialFunData* a, const QZSerialFunData* b)
{
    return a->Function == b->Function && a->ParamSize == b->ParamSize &&
           (a->ParamSize < 1 || QZMemory::Equals(a->Param, b->Param, a->ParamSize));
}

}  // namespace

void QZSerialDevice::FunExec(short function, short value, QZSerialDeviceBuffer* result)
{
    FunExec(function, &value, sizeof(value), result);
}

void QZSerialDevice::FunExec(short function, int value, QZSerialDeviceBuffer* result)
{
    FunExec(function, &value, sizeof(value), result);
}

void QZSerialDevice::FunExec(short function, float value, QZSerialDeviceBuffer* result)
{
    FunExec(function, &value, sizeof(value), result);
}

void QZSerialDevice::FunExec(short function, const void* arguments, QZInt64 size,
                             QZSerialDeviceBuffer* result)
{
    FunExec(function, arguments, size, result, ResultRoom);
}

void QZSerialDevice::FunExec(short function, const void* arguments, QZInt64 size,
                             QZSerialDeviceBuffer* result, QZInt64 resultSize)
{
    FunExec(function, arguments, size, result, resultSize, 0);
}

void QZSerialDevice::FunExec(short function, const void* arguments, QZInt64 size,
                             QZSerialDeviceBuffer* result, QZInt64 resultSize, int priority)
{
    Locked(
        Mutex(), QZ_W("FunExec"),
        [&] {
            if (m_queued == 0)
            {
                FunExecAsync(function, arguments, size, result, resultSize);
                return;
            }
            int done = 0;
            QZException* failure = nullptr;
            QZSerialFunData* data = CreateFunData(static_cast<QZUInt16>(function), arguments, size, result,
                                                  resultSize, &done, &failure);
            data->Priority = priority;
            QueueAdd(data);
            // The mutex is held, and the queue thread wants it: a queued call never comes back.
            while (!IsDone(done)) QZThread::SleepUs(kPauseMicros);
            if (failure != nullptr) throw failure;
        },
        Arg(QZ_W("QZInt16"), function), Arg(QZ_W("QZPVoid"), AddressOf(arguments)),
        Arg(QZ_W("QZInt64"), size), Arg(QZ_W("QZSerialDeviceBuffer*"), AddressOf(result)),
        Arg(QZ_W("QZInt64"), resultSize), Arg(QZ_W("QZInt32"), priority));
}

void QZSerialDevice::FunExecAsync(short function, const void* arguments, QZInt64 size,
                                  QZSerialDeviceBuffer* result, QZInt64 resultSize)
{
    const QZWChar* method = QZ_W("FunExecAsync");
    Locked(
        Mutex(), method,
        [&] {
            const bool wanted = result != nullptr && resultSize >= 1;
            ExecCommand(CleanParameters);
            if (wanted) ExecCommand(CleanReturn);
            WriteParameters(&function, sizeof(function));
            const QZInt64 count = std::min(size, kArgumentRoom);
            if (arguments != nullptr && count >= 1) WriteParameters(arguments, count);
            if (m_checksum != 0) RequireParamChecksum();
            const QZByte command = Execute;
            QZByte status = 0;
            Exec(&command, 1, &status, 1);
            if (status != 0) throw new QZSerialException(status);
            if (wanted) ReadFromReturnBuffer(result, resultSize);
        },
        Arg(QZ_W("QZInt16"), function), Arg(QZ_W("QZPVoid"), AddressOf(arguments)),
        Arg(QZ_W("QZInt64"), size), Arg(QZ_W("QZSerialDeviceBuffer*"), AddressOf(result)),
        Arg(QZ_W("QZInt64"), resultSize));
}

// ---- The queue

QZSerialFunData* QZSerialDevice::CreateFunData(QZUInt16 function, const void* param, QZInt64 paramSize,
                                               QZSerialDeviceBuffer* result, QZInt64 resultSize, int* done,
                                               QZException** exception)
{
    const QZCriticalGuard guard(m_shared->lock);
    QZSerialFunData* data = m_shared->unused->DeQueue();
    if (data == nullptr) data = new QZSerialFunData;
    data->Function = function;
    data->Param = param;
    data->ParamSize = paramSize;
    data->Result = result;
    data->ResultSize = resultSize;
    data->Priority = 0;
    data->Done = done;
    data->Exception = exception;
    return data;
}

void QZSerialDevice::DelateFunData(QZSerialFunData** data)
{
    const QZCriticalGuard guard(m_shared->lock);
    m_shared->unused->EnQueue(*data);
    *data = nullptr;
}

QZCriticalSection* QZSerialDevice::QueueLock() { return m_shared->lock; }

void QZSerialDevice::QueueAdd(QZSerialFunData* data)
{
    const QZCriticalGuard guard(m_shared->lock);
    m_shared->queue->EnQueue(data);
}

void QZSerialDevice::DataProcessThread(void* device)
{
    QZSerialDevice* self = static_cast<QZSerialDevice*>(device);
    Worker* worker = self->m_worker.get();
    self->ServeQueue();
    worker->alive = 0;
}

void QZSerialDevice::ServeQueue()
{
    const Worker* worker = m_worker.get();
    while (QZThread::IsThreadsAbort() == 0 && worker->stop == 0)
    {
        QZSerialFunData* data = TakeRequest();
        if (data == nullptr)
        {
            QZThread::SleepUs(kPauseMicros);
            continue;
        }
        try
        {
            FunExecAsync(static_cast<short>(data->Function), data->Param, data->ParamSize, data->Result,
                         data->ResultSize);
        }
        catch (QZException* e)
        {
            if (data->Exception != nullptr)
                *data->Exception = e;
            else
                QZExceptionFactory::Recycle(&e);
        }
        // The equal ones are looked for while this one's arguments are known to be there: its caller may go
        // as soon as it is told.
        const QZCriticalGuard guard(m_shared->lock);
        AnswerEqualRequests(data);
        SetDone(data->Done);
        DelateFunData(&data);
    }
}

QZSerialFunData* QZSerialDevice::TakeRequest()
{
    const QZCriticalGuard guard(m_shared->lock);
    QZSerialFunData* best = m_shared->queue->GetFirst();
    if (best == nullptr) return nullptr;
    for (QZObject* at = best; at != nullptr; at = at->LinkNext())
    {
        QZSerialFunData* data = static_cast<QZSerialFunData*>(at);
        if (data->Priority > best->Priority) best = data;
    }
    m_shared->queue->RemoveElement(best);
    return best;
}

void QZSerialDevice::AnswerEqualRequests(const QZSerialFunData* served)
{
    QZObject* next;
    for (QZObject* at = m_shared->queue->GetFirst(); at != nullptr; at = next)
    {
        next = at->LinkNext();
        QZSerialFunData* waiting = static_cast<QZSerialFunData*>(at);
        if (!IsSameCall(waiting, served)) continue;
        const bool bothWant = waiting->Result != nullptr && served->Result != nullptr;
        const bool noneWants = waiting->Result == nullptr && served->Result == nullptr;
        if (!noneWants && (!bothWant || waiting->ResultSize != served->ResultSize)) continue;
        if (bothWant)
        {
            // From the waiting place to the one that was served: callers have seen their results go this way.
            const QZInt64 size = std::clamp<QZInt64>(served->ResultSize, 0, ResultRoom);
            QZMemory::Copy(served->Result->Bytes, waiting->Result->Bytes, size);
        }
        m_shared->queue->RemoveElement(waiting);
        SetDone(waiting->Done);
        DelateFunData(&waiting);
    }
}
