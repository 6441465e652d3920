#ifndef QZLIB_TESTS_DEVICE_DEVICE_SETUP_H
#define QZLIB_TESTS_DEVICE_DEVICE_SETUP_H

/// A device object with the simulated controller at the far end of its line.

#include <mutex>
#include <string>

#include "device/dev_serial_device.h"
#include "fw/fw_lock.h"
#include "qzdevice/controller.h"
#include "support/qz_line.h"
#include "support/qz_test.h"

using qzdevice::Controller;
using qzdevice::Fault;

/// Makes the protected members of the class public.
class OpenDevice : public QZSerialDevice
{
public:
    using QZSerialDevice::ChecksumFromParamBuffer;
    using QZSerialDevice::ChecksumFromReturnBuffer;
    using QZSerialDevice::CleanLastError;
    using QZSerialDevice::CreateFunData;
    using QZSerialDevice::DelateFunData;
    using QZSerialDevice::Exec;
    using QZSerialDevice::ExecCommand;
    using QZSerialDevice::GetLastError;
    using QZSerialDevice::QueueAdd;
    using QZSerialDevice::ReadFromReturnBuffer;
    using QZSerialDevice::WriteByteToParamBuffer;
    using QZSerialDevice::WriteParamBuffer;
    void SetBulk() { m_bulk = 1; }
    const QZByte* HostCopy() const { return m_mirror; }

    /// Holds the queue while `call` adds requests, so that the queue thread gets all of them at once.
    template <typename Call>
    void Hold(Call call)
    {
        const QZCriticalGuard guard(QueueLock());
        call();
    }
};

/// Numbers that tests expect.
constexpr QZInt64 kSerialType = 0x931003B;
constexpr QZInt64 kVerifyFailed = 210;
constexpr QZInt64 kLineFailed = 5632;
constexpr QZInt64 kLineTimeout = 6144;
constexpr QZInt64 kPortClosed = 1792;
constexpr QZInt64 kNullPointer = 1792;

class DeviceSetup
{
public:
    DeviceSetup()
        : peer([this](unsigned char byte) {
              const std::lock_guard<std::mutex> guard(m_lock);
              return controller.Take(byte);
          })
    {
        device.SetTimeout(60000);
    }

    /// A connected device and an empty log.
    void Connect()
    {
        QZString path(peer.Path().c_str());
        device.Connect(&path, 115200);
        peer.ClearLog();
    }

    std::string Log() { return peer.Log(); }

    void Inject(int command, Fault::Kind kind, unsigned char value = 0, int occurrence = 1, bool ever = false)
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        controller.Inject({command, occurrence, kind, value, ever});
    }

    /// Makes the controller not answer a command, and the host wait only briefly.
    void Mute(int command)
    {
        Inject(command, Fault::Kind::Mute);
        device.SetTimeout(30);
    }

    Controller controller;
    qztest::LinePeer peer;
    OpenDevice device;

private:
    std::mutex m_lock;
};

/// The log of sending parameter bytes: "01 C0" is "31>00 30>00 30>00 3C>00 ".
inline std::string Nibbles(const std::string& hex)
{
    std::string log;
    const std::string bytes = qztest::Bytes(hex);
    for (const char byte : bytes)
    {
        const std::string digits = qztest::Hex(&byte, 1);
        log += std::string("3") + digits[1] + ">00 3" + digits[0] + ">00 ";
    }
    return log;
}

/// The log of reading `count` bytes of the return buffer: the given ones, then zeros.
inline std::string ReturnBytes(const std::string& hex, int count = 16)
{
    std::string bytes = qztest::Bytes(hex);
    bytes.resize(static_cast<std::size_t>(count));
    std::string log;
    for (int i = 0; i < count; ++i)
    {
        const char command = static_cast<char>(0x40 + i);
        log += qztest::Hex(&command, 1) + ">" + qztest::Hex(&bytes[static_cast<std::size_t>(i)], 1) + " ";
    }
    return log;
}

inline std::string Text(QZString* text)
{
    std::string utf8 = qztest::Utf8(text);
    QZSerialDevice::Recycle(&text);
    return utf8;
}

/// Expects a status as the device class throws it, with type, code and message.
#define EXPECT_STATUS(statement, status, text)                   \
    do {                                                         \
        const qztest::Thrown thrown_ = QZ_TEST_CATCH(statement); \
        EXPECT_TRUE(thrown_.thrown) << #statement;               \
        EXPECT_EQ(thrown_.code, status) << #statement;           \
        EXPECT_EQ(thrown_.type, kSerialType) << #statement;      \
        EXPECT_EQ(thrown_.message, text) << #statement;          \
    } while (false)

/// Expects the exception of an update that the device refused: it has a message and no code.
#define EXPECT_UPDATE_FAILURE(statement, text)                   \
    do {                                                         \
        const qztest::Thrown thrown_ = QZ_TEST_CATCH(statement); \
        EXPECT_EQ(thrown_.code, 0) << #statement;                \
        EXPECT_EQ(thrown_.type, 0x81B0000) << #statement;        \
        EXPECT_EQ(thrown_.message, text) << #statement;          \
    } while (false)

#endif
