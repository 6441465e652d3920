#include "device/dev_serial_device.h"

#include <algorithm>
#include <cstring>

#include "device/internal/dev_serial_device_internal.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hooks.h"
#include "sys/sys_bytes.h"

using namespace serialdevice;

namespace
{

constexpr const QZWChar* kDataSend = QZ_W("Device update failed on data send.");

}  // namespace

QZByte serialdevice::Crc(const QZByte* bytes, QZUInt16 length)
{
    QZByte crc = 0xFF;
    for (QZByte i = 0; i != static_cast<QZByte>(length); ++i)
    {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) crc = static_cast<QZByte>(crc & 0x80 ? crc << 1 ^ 0x31 : crc << 1);
    }
    return crc;
}

// ---- Life

QZSerialDevice::Shared::Shared(QZUInt64 id)
    : owner(id),
      model(QZStringFactory::CreateString()),
      sn(QZStringFactory::CreateString()),
      version(QZStringFactory::CreateString()),
      mutex(new QZMutex),
      queue(new QZList<QZSerialFunData>),
      unused(new QZList<QZSerialFunData>),
      lock(new QZCriticalSection)
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
    QZMemCopy(m_mirror, other.m_mirror, BufferSize);
}

QZSerialDevice& QZSerialDevice::operator=(const QZSerialDevice& other)
{
    if (this == &other) return *this;
    // The own thread works on the own queue, which goes here.
    StopWorker();
    QZSerial::operator=(other);
    m_bulk = other.m_bulk;
    m_queued = other.m_queued;
    m_shared = other.m_shared;
    QZMemCopy(m_mirror, other.m_mirror, BufferSize);
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

void QZSerialDevice::ReadSN() { ReadText(LoadSN, m_shared->sn, QZ_W("ReadSN")); }
void QZSerialDevice::ReadVersion() { ReadText(LoadVersion, m_shared->version, QZ_W("ReadVersion")); }
void QZSerialDevice::ReadModel() { ReadText(LoadModel, m_shared->model, QZ_W("ReadModel")); }

void QZSerialDevice::ReadText(QZByte command, QZString* text, const QZWChar* method)
{
    Locked(Mutex(), method, [&] {
        QZByte status = 0;
        Exec(&command, 1, &status, 1);
        if (status != 0) throw new QZSerialException(status);
        QZSerialDeviceBuffer buffer{};
        ReadFromReturnBuffer(&buffer, ResultRoom);
        text->Clear();
        text->Append(reinterpret_cast<const char*>(buffer.Bytes));
    });
}

void QZSerialDevice::UpdateSN(QZString* text)
{
    const QZWChar* method = QZ_W("UpdateSN");
    Locked(
        Mutex(), method,
        [&] {
            if (text == nullptr) throw QZExceptionFactory::CreateException(QZExceptionCode::NullPointer);
            const auto send = [&](QZByte command, const QZWChar* message) {
                QZByte status = 0;
                Exec(&command, 1, &status, 1);
                if (status != 0) throw QZExceptionFactory::CreateException(message);
            };
            send(CleanParameters, QZ_W("Device update failed on clean device buffer."));
            for (QZInt64 i = 0; i < text->GetLength(); ++i)
            {
                // Only the low byte of a character goes out, and the host's own copy of the buffer stays as
                // it is.
                const QZByte byte = static_cast<QZByte>(text->CharAt(i));
                send(LowNibble(byte), kDataSend);
                send(HighNibble(byte), kDataSend);
            }
            send(StoreSN, QZ_W("Device update failed on copy device buffer."));
            send(CleanParameters, QZ_W("Device update failed on final clean."));
        },
        Arg(QZ_W("QZString*"), text));
}

QZString* QZSerialDevice::GetSeries(QZString* model)
{
    if (model == nullptr)
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::NullPointer), Class,
                      QZ_W("GetSeries"))
            .Argument(QZ_W("QZString*"), model)
            .Exception();
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

// ---- The line

QZInt64 QZSerialDevice::Exec(const QZByte* send, QZInt64 sendCount, QZByte* receive, QZInt64 receiveCount)
{
    return Traced(
        QZ_W("Exec"),
        [&]() -> QZInt64 {
            RecvBufferClean();
            if (m_bulk != 0)
            {
                const int count = static_cast<int>(std::min(sendCount, receiveCount));
                Write(send, count);
                return Read(receive, count);
            }
            // One by one the answers are as many as the commands, whatever room the caller names.
            QZInt64 received = 0;
            for (QZInt64 i = 0; i < sendCount; ++i)
            {
                Write(send + i, 1);
                received += Read(receive + i, 1);
            }
            return received;
        },
        Arg(QZ_W("QZUInt8*"), AddressOf(send)), Arg(QZ_W("QZInt64"), sendCount),
        Arg(QZ_W("QZUInt8*"), AddressOf(receive)), Arg(QZ_W("QZInt64"), receiveCount));
}

void QZSerialDevice::ExecCommand(QZByte command)
{
    if (command == CleanParameters)
    {
        // Before the device is asked: the copy is clean even where the device refuses.
        QZMemClean(m_mirror, BufferSize);
        m_mirrorCount = 0;
    }
    QZByte status = 0;
    Traced(
        QZ_W("ExecCommand"),
        [&] {
            Exec(&command, 1, &status, 1);
            if (status != 0) throw new QZSerialException(status);
        },
        Arg(QZ_W("QZUInt8"), static_cast<int>(command)));
}

void QZSerialDevice::WriteByteToParamBuffer(QZByte byte)
{
    m_mirror[m_mirrorCount & 15] = byte;
    ++m_mirrorCount;
    Traced(
        QZ_W("WriteByteToParamBuffer"),
        [&] {
            for (const QZByte command : {LowNibble(byte), HighNibble(byte)})
            {
                QZByte status = 0;
                Exec(&command, 1, &status, 1);
                if (status != 0) throw QZExceptionFactory::CreateException(kDataSend);
            }
        },
        Arg(QZ_W("QZUInt8"), static_cast<int>(byte)));
}

void QZSerialDevice::WriteParamBuffer(const QZByte* bytes, QZInt64 count)
{
    // Traces name the single form.
    Traced(
        QZ_W("WriteByteToParamBuffer"),
        [&] {
            if (count > BufferSize)
                throw QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange);
            QZByte commands[2 * BufferSize];
            QZByte answers[2 * BufferSize] = {};
            for (QZInt64 i = 0; i < count; ++i)
            {
                m_mirror[m_mirrorCount & 15] = bytes[i];
                ++m_mirrorCount;
                commands[2 * i] = LowNibble(bytes[i]);
                commands[2 * i + 1] = HighNibble(bytes[i]);
            }
            if (count > 0) Exec(commands, 2 * count, answers, 2 * count);
            // The answers behind the first are not looked at.
            if (answers[0] != 0) throw QZExceptionFactory::CreateException(kDataSend);
        },
        Arg(QZ_W("QZUInt8*"), AddressOf(bytes)), Arg(QZ_W("QZInt64"), count));
}

void QZSerialDevice::WriteParameters(const void* bytes, QZInt64 count)
{
    const QZByte* byte = static_cast<const QZByte*>(bytes);
    if (m_bulk != 0)
    {
        WriteParamBuffer(byte, count);
        return;
    }
    for (QZInt64 i = 0; i < count; ++i) WriteByteToParamBuffer(byte[i]);
}

void QZSerialDevice::ReadFromReturnBuffer(QZSerialDeviceBuffer* buffer, QZInt64 count)
{
    const QZInt64 size = std::min(count, BufferSize);
    Traced(
        QZ_W("ReadFromReturnBuffer"),
        [&] {
            if (buffer != nullptr && size >= 1)
            {
                QZMemClean(buffer->Bytes, ResultRoom);
                QZByte commands[BufferSize];
                for (QZInt64 i = 0; i < size; ++i) commands[i] = static_cast<QZByte>(ReturnByte + i);
                Exec(commands, size, buffer->Bytes, size);
                // Whatever was read, the check is over all 16 bytes of the device's buffer.
                if (m_checksum != 0 && !ChecksumFromReturnBuffer(buffer->Bytes, BufferSize))
                    throw new QZSerialException(VerifyFailed);
            }
        },
        Arg(QZ_W("QZSerialDeviceBuffer*"), AddressOf(buffer)), Arg(QZ_W("QZInt64"), count));
}

bool QZSerialDevice::ChecksumFromParamBuffer(const QZByte* bytes)
{
    const QZByte command = ParameterChecksum;
    QZByte crc = 0;
    Exec(&command, 1, &crc, 1);
    return crc == Crc(bytes, BufferSize);
}

bool QZSerialDevice::ChecksumFromReturnBuffer(const QZByte* bytes, QZInt64 count)
{
    const QZByte command = ReturnChecksum;
    QZByte crc = 0;
    Exec(&command, 1, &crc, 1);
    return crc == Crc(bytes, static_cast<QZUInt16>(count));
}

void QZSerialDevice::RequireParamChecksum()
{
    if (!ChecksumFromParamBuffer(m_mirror)) throw new QZSerialException(VerifyFailed);
}

QZByte QZSerialDevice::GetLastError()
{
    return Locked(Mutex(), QZ_W("GetLastError"), [&] {
        QZSerialDeviceBuffer buffer{};
        ExecCommand(CleanReturn);
        ExecCommand(AskLastError);
        ReadFromReturnBuffer(&buffer, ResultRoom);
        return buffer.Bytes[0];
    });
}

void QZSerialDevice::CleanLastError()
{
    Locked(Mutex(), QZ_W("CleanLastError"), [&] { ExecCommand(ForgetLastError); });
}

// ---- Settings and key words

void QZSerialDevice::RunKeyWord(const char* word, QZByte command)
{
    ExecCommand(CleanParameters);
    WriteParameters(word, static_cast<QZInt64>(std::strlen(word)));
    RequireParamChecksum();
    ExecCommand(command);
    ExecCommand(CleanParameters);
}

void QZSerialDevice::Earse()
{
    Locked(Mutex(), QZ_W("Earse"), [&] { RunKeyWord("ERASE", Erase); });
}

void QZSerialDevice::Sync()
{
    Locked(Mutex(), QZ_W("Sync"), [&] { RunKeyWord("SYNC", Synchronise); });
}

void QZSerialDevice::Restart()
{
    Locked(Mutex(), QZ_W("Restart"), [&] { RunKeyWord("RESTART", Reset); });
}

void QZSerialDevice::InitDevice()
{
    Locked(Mutex(), QZ_W("InitDevice"), [&] { RunKeyWord("INIT", Init); });
}

QZBool QZSerialDevice::IsDeviceInit()
{
    return Locked(Mutex(), QZ_W("IsDeviceInit"), [&]() -> QZBool {
        QZSerialDeviceBuffer buffer{};
        ExecCommand(CleanReturn);
        ExecCommand(LoadInit);
        ReadFromReturnBuffer(&buffer, ResultRoom);
        // Checked here in any case, and so twice as a rule.
        if (!ChecksumFromReturnBuffer(buffer.Bytes, BufferSize)) throw new QZSerialException(VerifyFailed);
        return buffer.Bytes[0] == 1;
    });
}

void QZSerialDevice::SetNumber(QZByte command, int index, float value)
{
    ExecCommand(CleanParameters);
    WriteParameters(&index, sizeof(index));
    // In groups a value goes out as its index once more: the count is right and the value is not, as it has
    // been.
    if (m_bulk != 0 && command == PutValue)
        WriteParameters(&index, sizeof(index));
    else
        WriteParameters(&value, sizeof(value));
    RequireParamChecksum();
    ExecCommand(command);
    ExecCommand(CleanParameters);
}

void QZSerialDevice::SetIncremental(int index, float value)
{
    Locked(
        Mutex(), QZ_W("SetIncremental"), [&] { SetNumber(PutIncremental, index, value); },
        Arg(QZ_W("QZInt32"), index), Arg(QZ_W("QZFloat"), value));
}

void QZSerialDevice::SetMagnification(int index, float value)
{
    Locked(
        Mutex(), QZ_W("SetMagnification"), [&] { SetNumber(PutMagnification, index, value); },
        Arg(QZ_W("QZInt32"), index), Arg(QZ_W("QZFloat"), value));
}

void QZSerialDevice::SetValue(int index, float value)
{
    Locked(
        Mutex(), QZ_W("SetValue"), [&] { SetNumber(PutValue, index, value); }, Arg(QZ_W("QZInt32"), index),
        Arg(QZ_W("QZFloat"), value));
}

void QZSerialDevice::SetKey(int index, QZString* key)
{
    Locked(
        Mutex(), QZ_W("SetKey"),
        [&] {
            // More room than a key has: one that ends within a character keeps the bytes that fit.
            QZByte bytes[4 * KeySize] = {};
            QZEncoding::GetBytes(QZEncodingType::UTF8, key, bytes, sizeof(bytes));
            ExecCommand(CleanParameters);
            WriteParameters(&index, sizeof(index));
            WriteParameters(bytes, KeySize);
            RequireParamChecksum();
            ExecCommand(PutKey);
            ExecCommand(CleanParameters);
        },
        Arg(QZ_W("QZInt32"), index), Arg(QZ_W("QZString*"), key));
}

void QZSerialDevice::ReadNumbered(QZByte command, int index, QZSerialDeviceBuffer* buffer, QZInt64 count)
{
    ExecCommand(CleanParameters);
    ExecCommand(CleanReturn);
    WriteParameters(&index, sizeof(index));
    RequireParamChecksum();
    ExecCommand(command);
    ExecCommand(CleanParameters);
    ReadFromReturnBuffer(buffer, count);
    ExecCommand(CleanReturn);
}

float QZSerialDevice::GetIncremental(int index)
{
    return Locked(
        Mutex(), QZ_W("GetIncremental"),
        [&] {
            QZSerialDeviceBuffer buffer{};
            ReadNumbered(TakeIncremental, index, &buffer, sizeof(float));
            return QZLoad<float>(buffer.Bytes);
        },
        Arg(QZ_W("QZInt32"), index));
}

float QZSerialDevice::GetMagnification(int index)
{
    return Locked(
        Mutex(), QZ_W("GetMagnification"),
        [&] {
            QZSerialDeviceBuffer buffer{};
            ReadNumbered(TakeMagnification, index, &buffer, sizeof(float));
            return QZLoad<float>(buffer.Bytes);
        },
        Arg(QZ_W("QZInt32"), index));
}

float QZSerialDevice::GetValue(int index)
{
    return Locked(
        Mutex(), QZ_W("GetValue"),
        [&] {
            QZSerialDeviceBuffer buffer{};
            ReadNumbered(TakeValue, index, &buffer, sizeof(float));
            return QZLoad<float>(buffer.Bytes);
        },
        Arg(QZ_W("QZInt32"), index));
}

QZString* QZSerialDevice::GetKey(int index)
{
    return Locked(
        Mutex(), QZ_W("GetKey"),
        [&] {
            QZSerialDeviceBuffer buffer{};
            ReadNumbered(TakeKey, index, &buffer, ResultRoom);
            // All four bytes, zeros among them.
            return QZStringFactory::CreateString(reinterpret_cast<const char*>(buffer.Bytes), KeySize);
        },
        Arg(QZ_W("QZInt32"), index));
}

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
