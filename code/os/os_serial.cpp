#include "os/os_serial.h"

#include <algorithm>
#include <new>
#include <vector>

#include "fw/fw_library.h"
#include "fw/fw_memory.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_path_text.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_trace.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_line.h"

namespace
{

constexpr const QZWChar* kClass = QZ_W("QZSerial");
constexpr const QZWChar* kPrefix = QZ_W("\\\\.\\");
/// The accepted speeds. 38400 and 57600 are refused.
constexpr QZInt64 kSpeeds[] = {2400, 4800, 9600, 19200, 115200, 230400, 460800, 921600, 2000000};

/// The content of the port record.
struct PortRecord
{
    os::Line* line;
};

template <typename Name>
QZString* WithPrefix(Name name)
{
    QZString* text = QZStringFactory::CreateString(name);
    if (!text->StartsWith(kPrefix)) text->Prepend(kPrefix);
    return text;
}

template <typename E>
E* TracedConnect(E* exception, QZString* path, QZInt64 baud)
{
    return QZTrace(exception, kClass, QZ_W("Connect"))
        .Argument(QZ_W("QZString*"), path)
        .Argument(QZ_W("QZInt64"), baud)
        .Exception();
}

template <typename E>
E* TracedTransfer(E* exception, const QZWChar* method, const void* buffer, int length)
{
    return QZTrace(exception, kClass, method)
        .Argument(QZ_W("QZPVoid"), static_cast<QZInt64>(reinterpret_cast<QZUInt64>(buffer)))
        .Argument(QZ_W("QZInt32"), length)
        .Exception();
}

}  // namespace

/// The path, locked with the object id of the port that made it.
struct QZSerial::Path
{
    explicit Path(QZUInt64 id) : owner(id), text(QZStringFactory::CreateString())
    {
        text->SetDisposable(owner, 0);
    }
    ~Path()
    {
        text->SetDisposable(owner, 1);
        QZStringFactory::Recycle(&text);
    }
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;

    QZUInt64 owner;
    QZString* text;
};

/// The port record, which copies share. Null while the port is closed.
struct QZSerial::Port
{
    explicit Port(PortRecord* open) : record(open) {}
    ~Port() { Close(); }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    void Close()
    {
        if (record == nullptr) return;
        delete record->line;
        QZMemory::RecycleBuffer(record);
        record = nullptr;
    }

    PortRecord* record;
};

QZSerial::QZSerial() : m_path(std::make_shared<Path>(QZObject::GetObjectID())) {}

QZSerial::QZSerial(const QZSerial& other) = default;
QZSerial& QZSerial::operator=(const QZSerial& other) = default;

QZSerial::~QZSerial() { Close(); }

void QZSerial::Connect(QZString* path, QZInt64 baud)
{
    const QZScopedString device(WithPrefix(path));
    // The old record is removed first, so that the port is closed when the system refuses.
    if (OpenLine() != nullptr) m_left.push_back(m_port);
    m_port.reset();
    void* record = QZMemory::CreateBuffer(sizeof(PortRecord));
    if (record == nullptr)
        throw TracedConnect(QZExceptionFactory::CreateException(QZLastErrorOr(QZExceptionCode::OutOfMemory)),
                            path, baud);
    os::Line* line = os::LineOpen(device.Get()->GetPointer());
    if (line == nullptr)
    {
        const QZUInt32 error = os::LastError();
        QZMemory::RecycleBuffer(record);
        throw TracedConnect(QZExceptionFactory::CreateIOException(QZIOExceptionCode::DeviceOpenFailed, error),
                            path, baud);
    }
    m_port = std::make_shared<Port>(new (record) PortRecord{line});

    // The speed is tested only after the port was opened: callers see the port being opened and closed.
    if (std::find(std::begin(kSpeeds), std::end(kSpeeds), baud) == std::end(kSpeeds))
    {
        Close();
        throw TracedConnect(QZExceptionFactory::CreateException(QZExceptionCode::InvalidArgument), path,
                            baud);
    }
    m_baud = static_cast<QZInt32>(baud);
    if (!os::LineSetup(line, baud) || !os::LineWatchInput(line))
    {
        const QZUInt32 error = os::LastError();
        Close();
        throw TracedConnect(
            QZExceptionFactory::CreateIOException(QZIOExceptionCode::DeviceOperationFailed, error), path,
            baud);
    }
    m_path->text->Set(device.Get());
}

template <typename Unit>
void QZSerial::ConnectText(const Unit* path, QZInt64 baud)
{
    QZString text(path);
    try
    {
        Connect(&text, baud);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Connect"))
            .Argument(QZTextTypeName(path), path)
            .Argument(QZ_W("QZInt64"), baud);
        throw;
    }
}

void QZSerial::Connect(const QZWChar* path, QZInt64 baud) { ConnectText(path, baud); }
void QZSerial::Connect(const char* path, QZInt64 baud) { ConnectText(path, baud); }

void QZSerial::Reconnect()
{
    Close();
    Connect(m_path->text, m_baud);
}

void QZSerial::Close()
{
    if (m_port != nullptr) m_port->Close();
}

os::Line* QZSerial::RequireLine(const QZWChar* method, const void* buffer, int length) const
{
    if (os::Line* line = OpenLine()) return line;
    throw TracedTransfer(QZExceptionFactory::CreateException(QZExceptionCode::NullPointer), method, buffer,
                         length);
}

os::Line* QZSerial::OpenLine() const
{
    return m_port != nullptr && m_port->record != nullptr ? m_port->record->line : nullptr;
}

int QZSerial::Read(void* buffer, int length)
{
    const QZWChar* method = QZ_W("Read");
    os::Line* line = RequireLine(method, buffer, length);
    QZInt64 count = 0;
    switch (os::LineRead(line, buffer, length, m_timeout, &count))
    {
        case os::LineResult::Done: return static_cast<int>(count);
        case os::LineResult::Timeout:
            throw TracedTransfer(QZExceptionFactory::CreateIOException(QZIOExceptionCode::OperationTimeout),
                                 method, buffer, length);
        default:
            throw TracedTransfer(
                QZExceptionFactory::CreateIOException(QZIOExceptionCode::DeviceOperationFailed), method,
                buffer, length);
    }
}

int QZSerial::Write(const void* buffer, int length)
{
    const QZWChar* method = QZ_W("Write");
    os::Line* line = RequireLine(method, buffer, length);
    QZInt64 count = 0;
    const os::LineResult result = os::LineWrite(line, buffer, length, m_timeout, &count);
    if (result == os::LineResult::Done && count == length) return length;
    const QZUInt32 error = os::LastError();
    QZIOException* failure =
        result == os::LineResult::Done
            ? QZExceptionFactory::CreateIOException(QZIOExceptionCode::OperationFailed, error)
            : QZExceptionFactory::CreateIOException(result == os::LineResult::Timeout
                                                        ? QZIOExceptionCode::OperationTimeout
                                                        : QZIOExceptionCode::DeviceOperationFailed);
    throw TracedTransfer(failure, method, buffer, length);
}

int QZSerial::TryRead(void* buffer, int length)
{
    os::Line* line = OpenLine();
    QZInt64 queued = 0;
    if (line == nullptr || !os::LineQueued(line, &queued)) return 0;
    try
    {
        // Returns the requested count, not the count of Read.
        const int amount = queued <= length ? static_cast<int>(queued) : length;
        Read(buffer, amount);
        return amount;
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        return 0;
    }
}

int QZSerial::TryWrite(const void* buffer, int length)
{
    try
    {
        Write(buffer, length);
        return length;
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        return 0;
    }
}

int QZSerial::WriteByte(unsigned char byte) { return Write(&byte, 1); }

int QZSerial::ReadByte(unsigned char* byte) { return Read(byte, 1); }

QZBool QZSerial::SetBaud(unsigned short baud)
{
    os::Line* line = OpenLine();
    // The line gets its current speed again; only the next connection uses the new one.
    if (line == nullptr || !os::LineSetSpeed(line, m_baud)) return 0;
    m_baud = baud;
    return 1;
}

QZString* QZSerial::GetPath() { return m_path->text; }

void QZSerial::SetTimeout(int milliseconds) { m_timeout = milliseconds; }

int QZSerial::GetTimeout() { return m_timeout; }

void QZSerial::RecvBufferClean()
{
    if (os::Line* line = OpenLine()) line->CleanInput();
}

QZList<QZString>* QZSerial::GetDeviceList()
{
    os::LineWalk* walk = os::LineWalkOpen();
    if (walk == nullptr)
    {
        const QZUInt32 error = os::LastError();
        if (error == os::ErrorNotFound()) return new QZList<QZString>();
        QZRaise(QZGeneralFailure(QZExceptionCode::SystemError, error), kClass, QZ_W("GetDeviceList")).Throw();
    }
    QZList<QZString>* list = new QZList<QZString>();
    const QZWChar* name;
    while (os::LineNext(walk, &name)) list->AddLast(WithPrefix(name));
    os::LineWalkClose(walk);
    return list;
}

QZStringCollection* QZSerial::GetDeviceList(QZString*) { return QZStringFactory::CreateStringCollection(); }

void QZSerial::Recycle(QZStringCollection** collection) { QZStringFactory::Recycle(collection); }

void QZSerial::Recycle(QZList<QZString>** list)
{
    if (*list == nullptr)
    {
        QZLibAssert(false);
        return;
    }
    while (QZString* text = (*list)->DeQueue()) QZStringFactory::Recycle(&text);
    delete *list;
    *list = nullptr;
}
