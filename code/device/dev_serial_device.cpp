#include "device/dev_serial_device.h"

#include <algorithm>
#include <atomic>

#include "device/internal/dev_call.h"
#include "device/internal/dev_protocol.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_memory.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "os/os_thread.h"
#include "sys/internal/sys_thread.h"

using namespace serialdevice;

/// What copies of a device object share.
struct QZSerialDevice::Shared
{
    explicit Shared(QZUInt64 id);
    ~Shared();
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    QZUInt64 owner;
    QZString* model;
    QZString* sn;
    QZString* version;
    QZMutex* mutex;
    QZList<QZSerialFunData>* queue;
    QZList<QZSerialFunData>* unused;
    QZCriticalSection* lock;
    /// Set when a request is queued or the queue thread is to end.
    void* queued;
};

/// The flags of the queue thread, which are read in loops without a lock.
struct QZSerialDevice::Worker
{
    std::atomic<QZByte> stop{0};
    std::atomic<QZByte> alive{1};
};

namespace
{

/// Time between two looks of a thread that waits for its call, in microseconds.
constexpr int kPauseMicros = 100;

/// The queue thread looks at the library's abort flag this often, in milliseconds.
constexpr QZUInt32 kIdleWait = 100;

/// Sets the caller's word, on which another thread waits.
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

// ---- Life

QZSerialDevice::Shared::Shared(QZUInt64 id)
    : owner(id),
      model(QZStringFactory::CreateString()),
      sn(QZStringFactory::CreateString()),
      version(QZStringFactory::CreateString()),
      mutex(new QZMutex),
      queue(new QZList<QZSerialFunData>),
      unused(new QZList<QZSerialFunData>),
      lock(new QZCriticalSection),
      queued(os::EventCreate())
{
    for (QZString* text : {model, sn, version}) text->SetDisposable(owner, 0);
}

QZSerialDevice::Shared::~Shared()
{
    for (QZString** text : {&model, &sn, &version})
    {
        (*text)->SetDisposable(owner, 1);
        QZStringFactory::Recycle(text);
    }
    os::EventClose(queued);
    delete lock;
    for (QZList<QZSerialFunData>* list : {queue, unused})
    {
        while (const QZSerialFunData* data = list->DeQueue()) delete data;
        delete list;
    }
    delete mutex;
}

QZSerialDevice::QZSerialDevice()
    : m_shared(std::make_shared<Shared>(QZObject::GetObjectID())), m_worker(std::make_unique<Worker>())
{
    const long long thread = QZThread::Create(&QZSerialDevice::DataProcessThread, this);
    if (thread == 0)
        m_worker.reset();
    else
        QZThread::Close(thread);
}

QZSerialDevice::QZSerialDevice(const QZSerialDevice& other)
    : QZSerial(other),
      m_mirrorCount(other.m_mirrorCount),
      m_bulk(other.m_bulk),
      m_queued(other.m_queued),
      m_shared(other.m_shared),
      m_checksum(other.m_checksum)
{
    static_assert(QZInt64{sizeof(m_mirror)} == kBufferSize,
                  "the installed header writes the size as a number");
    QZMemCopy(m_mirror, other.m_mirror, kBufferSize);
}

QZSerialDevice& QZSerialDevice::operator=(const QZSerialDevice& other)
{
    if (this == &other) return *this;
    // The queue thread of this object uses the old queue, so it ends before the queue is replaced.
    StopWorker();
    QZSerial::operator=(other);
    m_bulk = other.m_bulk;
    m_queued = other.m_queued;
    m_shared = other.m_shared;
    QZMemCopy(m_mirror, other.m_mirror, kBufferSize);
    m_mirrorCount = other.m_mirrorCount;
    m_checksum = other.m_checksum;
    return *this;
}

QZSerialDevice::~QZSerialDevice()
{
    Close();
    StopWorker();
}

void QZSerialDevice::StopWorker()
{
    if (m_worker == nullptr) return;
    m_worker->stop = 1;
    os::EventSet(m_shared->queued);
    while (m_worker->alive != 0) QZThread::Sleep(5);
    m_worker.reset();
}

QZMutex* QZSerialDevice::Mutex() const { return m_shared->mutex; }

// ---- Connection and identification

void QZSerialDevice::Connect(QZString* path, QZInt64 baud)
{
    Locked(
        Mutex(), QZ_W("Connect"),
        [&] {
            QZSerial::Connect(path, baud);
            ReadSN();
            ReadVersion();
            ReadModel();
        },
        Arg(QZ_W("QZString*"), path), Arg(QZ_W("QZInt64"), baud));
}

void QZSerialDevice::Reconnect()
{
    Locked(Mutex(), QZ_W("Reconnect"), [&] {
        Close();
        Connect(QZSerial::GetPath(), Baud());
    });
}

void QZSerialDevice::Close()
{
    const MutexGuard guard(Mutex());
    for (QZString* text : {m_shared->model, m_shared->sn, m_shared->version}) text->Clear();
    QZSerial::Close();
}

QZString* QZSerialDevice::GetSN() { return m_shared->sn; }
QZString* QZSerialDevice::GetModel() { return m_shared->model; }
QZString* QZSerialDevice::GetVersion() { return m_shared->version; }
QZString* QZSerialDevice::GetPath() { return QZSerial::GetPath(); }

QZString* QZSerialDevice::GetSeries(QZString* model)
{
    if (model == nullptr)
        QZRaise(QZExceptionCode::NullPointer, kClass, QZ_W("GetSeries"))
            .Argument(QZ_W("QZString*"), model)
            .Throw();
    const QZInt64 length = model->GetLength();
    QZInt64 end = 0;
    for (bool digit = false; end < length; ++end)
    {
        const QZWChar unit = model->CharAt(end);
        if (unit >= '0' && unit <= '9') digit = true;
        if (digit && unit >= 'A' && unit <= 'Z') break;
    }
    return model->SubString(0, end);
}

void QZSerialDevice::Recycle(QZString** text) { QZStringFactory::Recycle(text); }
void QZSerialDevice::Recycle(QZStringCollection** collection) { QZSerial::Recycle(collection); }
void QZSerialDevice::Recycle(QZList<QZString>** list) { QZSerial::Recycle(list); }
void QZSerialDevice::Recycle(QZData** data) { QZDataFactory::Recycle(data); }

// ---- Raw access

QZInt64 QZSerialDevice::ReadData(void* buffer, QZInt64 length)
{
    return Locked(
        Mutex(), QZ_W("ReadData"), [&]() -> QZInt64 { return Read(buffer, static_cast<int>(length)); },
        Arg(QZ_W("QZPVoid"), AddressOf(buffer)), Arg(QZ_W("QZInt64"), length));
}

QZInt64 QZSerialDevice::WriteData(const void* buffer, QZInt64 length)
{
    return Locked(
        Mutex(), QZ_W("WriteData"), [&]() -> QZInt64 { return Write(buffer, static_cast<int>(length)); },
        Arg(QZ_W("QZPVoid"), AddressOf(buffer)), Arg(QZ_W("QZInt64"), length));
}

void QZSerialDevice::SetTimeout(int milliseconds) { QZSerial::SetTimeout(milliseconds); }

void QZSerialDevice::Checksum(unsigned char check) { m_checksum = check; }

// ---- Function calls through the queue

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
    FunExec(function, arguments, size, result, sizeof(QZSerialDeviceBuffer));
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
            // The queue thread waits for the mutex that is held here, so a queued call never returns.
            while (!IsDone(done)) QZThread::SleepUs(kPauseMicros);
            if (failure != nullptr) throw failure;
        },
        Arg(QZ_W("QZInt16"), function), Arg(QZ_W("QZPVoid"), AddressOf(arguments)),
        Arg(QZ_W("QZInt64"), size), Arg(QZ_W("QZSerialDeviceBuffer*"), AddressOf(result)),
        Arg(QZ_W("QZInt64"), resultSize), Arg(QZ_W("QZInt32"), priority));
}

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
    os::EventSet(m_shared->queued);
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
            os::EventWait(m_shared->queued, kIdleWait);
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
        // Equal requests are searched before SetDone: once the caller sees its call done, it may free the
        // arguments that the search compares.
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
            // The copy goes from the waiting request to the served one. Callers rely on this direction.
            const QZInt64 size = std::clamp<QZInt64>(served->ResultSize, 0, sizeof(QZSerialDeviceBuffer));
            QZMemory::Copy(served->Result->Bytes, waiting->Result->Bytes, size);
        }
        m_shared->queue->RemoveElement(waiting);
        SetDone(waiting->Done);
        DelateFunData(&waiting);
    }
}
