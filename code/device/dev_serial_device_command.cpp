// The line, the commands and the settings of the device.

#include <algorithm>
#include <cstring>

#include "device/dev_serial_device.h"
#include "device/internal/dev_call.h"
#include "device/internal/dev_protocol.h"
#include "fw/fw_encoding.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hooks.h"
#include "sys/sys_bytes.h"

using namespace serialdevice;

namespace
{

constexpr const QZWChar* kDataSend = QZ_W("Device update failed on data send.");

/// The getters of numbers: `read` brings the bytes of the number into the buffer.
template <typename Read>
float LockedNumber(QZMutex* mutex, const QZWChar* method, int index, Read read)
{
    return Locked(
        mutex, method,
        [&] {
            QZSerialDeviceBuffer buffer{};
            read(&buffer, QZInt64{sizeof(float)});
            return QZLoad<float>(buffer.Bytes + kNumberAt);
        },
        Arg(QZ_W("QZInt32"), index));
}

}  // namespace

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
            // Byte by byte there is one answer for each command, whatever receiveCount says.
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
        // The copy is cleared first, so it is clear even when the device refuses.
        QZMemClean(m_mirror, kBufferSize);
        m_mirrorCount = 0;
    }
    QZByte status = kStatusDone;
    Traced(
        QZ_W("ExecCommand"),
        [&] {
            Exec(&command, 1, &status, 1);
            if (status != kStatusDone) throw new QZSerialException(status);
        },
        Arg(QZ_W("QZUInt8"), static_cast<int>(command)));
}

void QZSerialDevice::WriteByteToParamBuffer(QZByte byte)
{
    m_mirror[m_mirrorCount % kBufferSize] = byte;
    ++m_mirrorCount;
    Traced(
        QZ_W("WriteByteToParamBuffer"),
        [&] {
            for (const QZByte command : {LowNibble(byte), HighNibble(byte)})
            {
                QZByte status = kStatusDone;
                Exec(&command, 1, &status, 1);
                if (status != kStatusDone) throw QZExceptionFactory::CreateException(kDataSend);
            }
        },
        Arg(QZ_W("QZUInt8"), static_cast<int>(byte)));
}

void QZSerialDevice::WriteParamBuffer(const QZByte* bytes, QZInt64 count)
{
    // The trace names WriteByteToParamBuffer for both forms.
    Traced(
        QZ_W("WriteByteToParamBuffer"),
        [&] {
            if (count > kBufferSize)
                throw QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange);
            QZByte commands[2 * kBufferSize];
            QZByte answers[2 * kBufferSize] = {};
            for (QZInt64 i = 0; i < count; ++i)
            {
                m_mirror[m_mirrorCount % kBufferSize] = bytes[i];
                ++m_mirrorCount;
                commands[2 * i] = LowNibble(bytes[i]);
                commands[2 * i + 1] = HighNibble(bytes[i]);
            }
            if (count > 0) Exec(commands, 2 * count, answers, 2 * count);
            // Only the first answer is checked.
            if (answers[0] != kStatusDone) throw QZExceptionFactory::CreateException(kDataSend);
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
    const QZInt64 size = std::min(count, kBufferSize);
    Traced(
        QZ_W("ReadFromReturnBuffer"),
        [&] {
            if (buffer != nullptr && size >= 1)
            {
                QZMemClean(buffer->Bytes, sizeof(QZSerialDeviceBuffer));
                QZByte commands[kBufferSize];
                for (QZInt64 i = 0; i < size; ++i) commands[i] = static_cast<QZByte>(ReturnByte + i);
                Exec(commands, size, buffer->Bytes, size);
                // The device's checksum covers all 16 bytes of its buffer, also those that were not read.
                if (m_checksum != 0 && !ChecksumFromReturnBuffer(buffer->Bytes, kBufferSize))
                    throw new QZSerialException(kStatusVerifyFailed);
            }
        },
        Arg(QZ_W("QZSerialDeviceBuffer*"), AddressOf(buffer)), Arg(QZ_W("QZInt64"), count));
}

bool QZSerialDevice::ChecksumFromParamBuffer(const QZByte* bytes)
{
    const QZByte command = ParameterChecksum;
    QZByte crc = 0;
    Exec(&command, 1, &crc, 1);
    return crc == Crc8(bytes, kBufferSize);
}

bool QZSerialDevice::ChecksumFromReturnBuffer(const QZByte* bytes, QZInt64 count)
{
    const QZByte command = ReturnChecksum;
    QZByte crc = 0;
    Exec(&command, 1, &crc, 1);
    return crc == Crc8(bytes, static_cast<QZUInt16>(count));
}

void QZSerialDevice::RequireParamChecksum()
{
    if (!ChecksumFromParamBuffer(m_mirror)) throw new QZSerialException(kStatusVerifyFailed);
}

QZByte QZSerialDevice::GetLastError()
{
    return Locked(Mutex(), QZ_W("GetLastError"), [&] {
        QZSerialDeviceBuffer buffer{};
        ExecCommand(CleanReturn);
        ExecCommand(AskLastError);
        ReadFromReturnBuffer(&buffer, sizeof(buffer));
        return buffer.Bytes[kLastErrorAt];
    });
}

void QZSerialDevice::CleanLastError()
{
    Locked(Mutex(), QZ_W("CleanLastError"), [&] { ExecCommand(ForgetLastError); });
}

// ---- Identification

void QZSerialDevice::ReadSN() { ReadText(LoadSN, GetSN(), QZ_W("ReadSN")); }
void QZSerialDevice::ReadVersion() { ReadText(LoadVersion, GetVersion(), QZ_W("ReadVersion")); }
void QZSerialDevice::ReadModel() { ReadText(LoadModel, GetModel(), QZ_W("ReadModel")); }

void QZSerialDevice::ReadText(QZByte command, QZString* text, const QZWChar* method)
{
    Locked(Mutex(), method, [&] {
        QZByte status = kStatusDone;
        Exec(&command, 1, &status, 1);
        if (status != kStatusDone) throw new QZSerialException(status);
        QZSerialDeviceBuffer buffer{};
        ReadFromReturnBuffer(&buffer, sizeof(buffer));
        text->Clear();
        text->Append(reinterpret_cast<const char*>(buffer.Bytes + kTextAt));
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
                QZByte status = kStatusDone;
                Exec(&command, 1, &status, 1);
                if (status != kStatusDone) throw QZExceptionFactory::CreateException(message);
            };
            send(CleanParameters, QZ_W("Device update failed on clean device buffer."));
            for (QZInt64 i = 0; i < text->GetLength(); ++i)
            {
                // Only the low byte of a character is sent. m_mirror does not change.
                const QZByte byte = static_cast<QZByte>(text->CharAt(i));
                send(LowNibble(byte), kDataSend);
                send(HighNibble(byte), kDataSend);
            }
            send(StoreSN, QZ_W("Device update failed on copy device buffer."));
            send(CleanParameters, QZ_W("Device update failed on final clean."));
        },
        Arg(QZ_W("QZString*"), text));
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
    Locked(Mutex(), QZ_W("Earse"), [&] { RunKeyWord(kEraseWord, Erase); });
}

void QZSerialDevice::Sync()
{
    Locked(Mutex(), QZ_W("Sync"), [&] { RunKeyWord(kSynchroniseWord, Synchronise); });
}

void QZSerialDevice::Restart()
{
    Locked(Mutex(), QZ_W("Restart"), [&] { RunKeyWord(kResetWord, Reset); });
}

void QZSerialDevice::InitDevice()
{
    Locked(Mutex(), QZ_W("InitDevice"), [&] { RunKeyWord(kInitWord, Init); });
}

QZBool QZSerialDevice::IsDeviceInit()
{
    return Locked(Mutex(), QZ_W("IsDeviceInit"), [&]() -> QZBool {
        QZSerialDeviceBuffer buffer{};
        ExecCommand(CleanReturn);
        ExecCommand(LoadInit);
        ReadFromReturnBuffer(&buffer, sizeof(buffer));
        // This check does not depend on Checksum(), so with checksums on the device is asked twice.
        if (!ChecksumFromReturnBuffer(buffer.Bytes, kBufferSize))
            throw new QZSerialException(kStatusVerifyFailed);
        return buffer.Bytes[kInitialisedAt] == kInitialised;
    });
}

void QZSerialDevice::SetNumber(QZByte command, int index, float value)
{
    ExecCommand(CleanParameters);
    WriteParameters(&index, sizeof(index));
    // In bulk mode SetValue sends the index a second time instead of the value. Callers rely on these bytes.
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
            // The buffer is larger than a key, so a key that is cut within a character keeps the bytes that
            // fit.
            QZByte bytes[4 * kKeySize] = {};
            QZEncoding::GetBytes(QZEncodingType::UTF8, key, bytes, sizeof(bytes));
            ExecCommand(CleanParameters);
            WriteParameters(&index, sizeof(index));
            WriteParameters(bytes, kKeySize);
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
    return LockedNumber(Mutex(), QZ_W("GetIncremental"), index, [&](auto* buffer, QZInt64 size) {
        ReadNumbered(TakeIncremental, index, buffer, size);
    });
}

float QZSerialDevice::GetMagnification(int index)
{
    return LockedNumber(Mutex(), QZ_W("GetMagnification"), index, [&](auto* buffer, QZInt64 size) {
        ReadNumbered(TakeMagnification, index, buffer, size);
    });
}

float QZSerialDevice::GetValue(int index)
{
    return LockedNumber(Mutex(), QZ_W("GetValue"), index,
                        [&](auto* buffer, QZInt64 size) { ReadNumbered(TakeValue, index, buffer, size); });
}

QZString* QZSerialDevice::GetKey(int index)
{
    return Locked(
        Mutex(), QZ_W("GetKey"),
        [&] {
            QZSerialDeviceBuffer buffer{};
            ReadNumbered(TakeKey, index, &buffer, sizeof(buffer));
            // All four bytes, zeros among them.
            return QZStringFactory::CreateString(reinterpret_cast<const char*>(buffer.Bytes + kKeyAt),
                                                 kKeySize);
        },
        Arg(QZ_W("QZInt32"), index));
}

// ---- Functions

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
            WriteParameters(&function, kFunctionSize);
            const QZInt64 count = std::min(size, kArgumentSizeMax);
            if (arguments != nullptr && count >= 1) WriteParameters(arguments, count);
            if (m_checksum != 0) RequireParamChecksum();
            const QZByte command = Execute;
            QZByte status = kStatusDone;
            Exec(&command, 1, &status, 1);
            if (status != kStatusDone) throw new QZSerialException(status);
            if (wanted) ReadFromReturnBuffer(result, resultSize);
        },
        Arg(QZ_W("QZInt16"), function), Arg(QZ_W("QZPVoid"), AddressOf(arguments)),
        Arg(QZ_W("QZInt64"), size), Arg(QZ_W("QZSerialDeviceBuffer*"), AddressOf(result)),
        Arg(QZ_W("QZInt64"), resultSize));
}
