// The serial port, over a pseudo-terminal where the platform has one (see support/qz_line.h).

#include "os/os_serial.h"

#include <memory>
#include <thread>

#include "fw/fw_exception_code.h"
#include "fw/fw_string_factory.h"
#include "support/qz_line.h"
#include "support/qz_test.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_thread.h"

using qztest::LinePeer;

namespace
{

constexpr QZInt64 kOpenFailed = 5376;
constexpr QZInt64 kOperationFailed = 5632;
constexpr QZInt64 kTimeout = 6144;
constexpr QZInt64 kShort = 5888;
constexpr QZInt64 kClosed = 1792;
constexpr QZInt64 kBadSpeed = 8192;
constexpr QZInt64 kIOType = 0x81B1000;
constexpr QZInt64 kGenericType = 0x81B0000;

/// Long enough for a slow machine; no test waits that long.
constexpr int kPatience = 60000;

std::string Connected(QZSerial& port, const LinePeer& peer, QZInt64 baud = 115200)
{
    port.Connect(peer.Path().c_str(), baud);
    port.SetTimeout(kPatience);
    return peer.Path();
}

std::string ReadText(QZSerial& port, int length)
{
    std::string bytes(static_cast<std::size_t>(length), '?');
    bytes.resize(static_cast<std::size_t>(port.Read(bytes.data(), length)));
    return bytes;
}

}  // namespace

TEST(Serial, NewPortIsClosedWithDefaultTimeoutAndNoPath)
{
    QZSerial port;
    EXPECT_EQ(port.GetTimeout(), 2000);
    EXPECT_QZ_TEXT(port.GetPath(), "");
    EXPECT_EQ(port.GetType(), 0x8100000);
    port.Close();
    port.RecvBufferClean();
    port.SetTimeout(-5);
    EXPECT_EQ(port.GetTimeout(), -5);
}

TEST(Serial, StoredPathHasThePrefixOnce)
{
    LinePeer peer;
    const std::string prefixed = "\\\\.\\" + peer.Path();
    QZSerial port;
    port.Connect(peer.Path().c_str(), 115200);
    EXPECT_QZ_TEXT(port.GetPath(), prefixed);
    port.Close();
    EXPECT_QZ_TEXT(port.GetPath(), prefixed);
    port.Connect(qztest::Wide(prefixed).c_str(), 115200);
    EXPECT_QZ_TEXT(port.GetPath(), prefixed);
    QZString text(prefixed.c_str());
    port.Connect(&text, 9600);
    EXPECT_QZ_TEXT(port.GetPath(), prefixed);
    EXPECT_QZ_TEXT(text, prefixed);
    port.Reconnect();
    EXPECT_QZ_TEXT(port.GetPath(), prefixed);
}

TEST(Serial, ConnectSetsEachOfTheNineSpeeds)
{
    LinePeer peer;
    for (const QZInt64 speed : {2400, 4800, 9600, 19200, 115200, 230400, 460800, 921600, 2000000})
    {
        QZSerial port;
        port.Connect(peer.Path().c_str(), speed);
        EXPECT_EQ(peer.Speed(), speed);
    }
}

TEST(Serial, OtherSpeedsAreRefusedAfterOpeningThePort)
{
    LinePeer peer;
    for (const QZInt64 speed : {QZInt64{38400}, QZInt64{57600}, QZInt64{0}, QZInt64{-9600}, QZInt64{115201},
                                (QZInt64{1} << 32) + 9600})
    {
        QZSerial port;
        const qztest::Thrown thrown = QZ_TEST_CATCH(port.Connect(peer.Path().c_str(), speed));
        EXPECT_EQ(thrown.code, kBadSpeed) << speed;
        EXPECT_EQ(thrown.type, kGenericType);
        EXPECT_QZ_TEXT(port.GetPath(), "");
        char byte = 0;
        EXPECT_QZ_THROW(port.Read(&byte, 1), kClosed);
    }
    // A missing port is reported before a wrong speed.
    QZSerial port;
    EXPECT_QZ_THROW(port.Connect("no-such-port", 38400), kOpenFailed);
}

TEST(Serial, WrongSpeedClosesThePortAndKeepsTheStoredSpeed)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer, 9600);
    EXPECT_QZ_THROW(port.Connect(peer.Path().c_str(), 38400), kBadSpeed);
    EXPECT_QZ_THROW(port.WriteByte(1), kClosed);
    port.Reconnect();
    EXPECT_EQ(peer.Speed(), 9600);
    EXPECT_EQ(port.WriteByte(1), 1);
}

TEST(Serial, OpenFailureIsAnIOExceptionWithTheSystemsText)
{
    QZSerial port;
    qztest::Thrown thrown = QZ_TEST_CATCH(port.Connect("no-such-port", 115200));
    EXPECT_EQ(thrown.code, kOpenFailed);
    EXPECT_EQ(thrown.type, kIOType);
    EXPECT_GT(thrown.message.size(), std::string("DeviceOpenFailed").size());
    EXPECT_QZ_THROW(port.Connect(static_cast<const char*>(nullptr), 115200), kOpenFailed);
    EXPECT_QZ_THROW(port.Connect(static_cast<QZString*>(nullptr), 115200), kOpenFailed);
    EXPECT_QZ_TEXT(port.GetPath(), "");

    LinePeer peer;
    peer.Faults().Fail(os::Op::Line, 5);
    EXPECT_QZ_THROW(port.Connect(peer.Path().c_str(), 115200), kOpenFailed);
    port.Connect(peer.Path().c_str(), 115200);
}

TEST(Serial, RefusedSettingsCloseThePortAndKeepTheOldPath)
{
    LinePeer peer;
    for (const int operation : {2, 3})  // 1 opens the line, 2 sets it up, 3 requests input events
    {
        QZSerial port;
        peer.Faults().Fail(os::Op::Line, 5, operation);
        const qztest::Thrown thrown = QZ_TEST_CATCH(port.Connect(peer.Path().c_str(), 9600));
        EXPECT_EQ(thrown.code, kOperationFailed);
        EXPECT_EQ(thrown.type, kIOType);
        EXPECT_QZ_TEXT(port.GetPath(), "");
        EXPECT_QZ_THROW(port.WriteByte(0), kClosed);
    }
}

TEST(Serial, FileIsNoSerialLine)
{
    const qztest::TempDir folder;
    folder.Write("file", "text");
    QZSerial port;
    EXPECT_QZ_THROW(port.Connect(folder.Name("file").c_str(), 115200), kOperationFailed);
}

TEST(Serial, BytesPassUnchangedInBothDirections)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    std::string all;
    for (int i = 0; i < 256; ++i) all.push_back(static_cast<char>(i));
    EXPECT_EQ(port.Write(all.data(), 256), 256);
    EXPECT_TRUE(qztest::Eventually([&] { return peer.Received().size() == 256; }));
    EXPECT_EQ(qztest::Hex(peer.Received()), qztest::Hex(all));
    peer.Send(all);
    EXPECT_EQ(qztest::Hex(ReadText(port, 256)), qztest::Hex(all));

    unsigned char byte = 0;
    peer.Send("\x7F");
    EXPECT_EQ(port.ReadByte(&byte), 1);
    EXPECT_EQ(byte, 0x7F);
    EXPECT_EQ(port.WriteByte(0x1A), 1);
    EXPECT_TRUE(qztest::Eventually([&] { return peer.Received().size() == 257; }));
    EXPECT_EQ(peer.Received().back(), '\x1A');
}

TEST(Serial, ReadWaitsForLaterBytes)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    std::thread late([&] {
        os::Sleep(30);
        peer.Send("ab");
        os::Sleep(30);
        peer.Send("cd");
    });
    EXPECT_EQ(ReadText(port, 4), "abcd");
    late.join();
}

TEST(Serial, ReadReturnsTheBytesReceivedBeforeTheTimeout)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    peer.Send("four");
    port.SetTimeout(300);
    EXPECT_EQ(ReadText(port, 10), "four");
}

TEST(Serial, ReadWithoutBytesTimesOutAndLosesNoLaterBytes)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    port.SetTimeout(30);
    char bytes[10];
    const qztest::Thrown thrown = QZ_TEST_CATCH(port.Read(bytes, 10));
    EXPECT_EQ(thrown.code, kTimeout);
    EXPECT_EQ(thrown.type, kIOType);
    port.SetTimeout(kPatience);
    port.RecvBufferClean();
    peer.Send("later");
    EXPECT_EQ(ReadText(port, 5), "later");
}

TEST(Serial, TimeoutOfZeroReturnsOnlyQueuedBytes)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    port.SetTimeout(0);
    char byte = 0;
    EXPECT_QZ_THROW(port.Read(&byte, 1), kTimeout);
    peer.Send("x");
    EXPECT_TRUE(qztest::Eventually([&] { return port.TryRead(&byte, 1) == 1; }));
    EXPECT_EQ(byte, 'x');
}

TEST(Serial, RecvBufferCleanDropsQueuedBytes)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    peer.Send("old");
    char byte = 0;
    EXPECT_TRUE(qztest::Eventually([&] { return port.TryRead(&byte, 1) == 1; }));
    port.RecvBufferClean();
    port.SetTimeout(0);
    EXPECT_QZ_THROW(port.Read(&byte, 1), kTimeout);
}

TEST(Serial, FailedTransferThrowsOperationFailed)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    char byte = 0;
    peer.Faults().Fail(os::Op::LineRead, 5);
    qztest::Thrown thrown = QZ_TEST_CATCH(port.Read(&byte, 1));
    EXPECT_EQ(thrown.code, kOperationFailed);
    EXPECT_EQ(thrown.type, kIOType);
    peer.Faults().Fail(os::Op::LineWrite, 5);
    thrown = QZ_TEST_CATCH(port.Write(&byte, 1));
    EXPECT_EQ(thrown.code, kOperationFailed);
    EXPECT_EQ(thrown.type, kIOType);
}

TEST(Serial, ClosedPeerThrowsOperationFailed)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    peer.HangUp();
    char byte = 0;
    EXPECT_QZ_THROW(port.Read(&byte, 1), kOperationFailed);
    EXPECT_QZ_THROW(port.Write(&byte, 1), kOperationFailed);
    EXPECT_EQ(port.TryRead(&byte, 1), 0);
    EXPECT_EQ(port.TryWrite(&byte, 1), 0);
}

TEST(Serial, ShortWriteHasItsOwnError)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    peer.Faults().Shorten(os::Op::LineWrite, 3);
    const qztest::Thrown thrown = QZ_TEST_CATCH(port.Write("12345", 5));
    EXPECT_EQ(thrown.code, kShort);
    EXPECT_EQ(thrown.type, kIOType);
    EXPECT_TRUE(qztest::Eventually([&] { return peer.Received() == "123"; }));
}

TEST(Serial, WriteWithoutRoomTimesOut)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    peer.Hold();
    port.SetTimeout(50);
    const std::string much(1 << 20, 'x');
    const qztest::Thrown thrown = QZ_TEST_CATCH(port.Write(much.data(), 1 << 20));
    EXPECT_EQ(thrown.code, kTimeout);
    EXPECT_EQ(thrown.type, kIOType);
    EXPECT_EQ(port.TryWrite(much.data(), 1 << 20), 0);
}

TEST(Serial, ClosedPortRefusesTransfersAndTryFormsReturnZero)
{
    QZSerial port;
    unsigned char byte = 0;
    const qztest::Thrown thrown = QZ_TEST_CATCH(port.Read(&byte, 1));
    EXPECT_EQ(thrown.code, kClosed);
    EXPECT_EQ(thrown.type, kGenericType);
    EXPECT_QZ_THROW(port.Write(&byte, 1), kClosed);
    EXPECT_QZ_THROW(port.ReadByte(&byte), kClosed);
    EXPECT_QZ_THROW(port.WriteByte(byte), kClosed);
    EXPECT_EQ(port.TryRead(&byte, 1), 0);
    EXPECT_EQ(port.TryWrite(&byte, 1), 0);
    EXPECT_EQ(port.SetBaud(9600), 0);
    EXPECT_QZ_THROW(port.Reconnect(), kOpenFailed);
}

TEST(Serial, TryReadReturnsQueuedBytesUpToTheLength)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    char bytes[8] = {};
    EXPECT_EQ(port.TryRead(bytes, 8), 0);
    peer.Send("abcde");
    EXPECT_TRUE(qztest::Eventually([&] { return port.TryRead(bytes, 1) == 1; }));
    // All five bytes arrive together, because the peer sent them with one write.
    EXPECT_TRUE(qztest::Eventually([&] { return port.TryRead(bytes + 1, 2) == 2; }));
    EXPECT_EQ(port.TryRead(bytes + 3, 5), 2);
    EXPECT_EQ(std::string(bytes), "abcde");
    EXPECT_EQ(port.TryRead(bytes, 8), 0);
}

TEST(Serial, TryReadWithNothingQueuedReadsZeroBytes)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    char byte = 0;
    // The armed failure is used up here, which shows that a read of zero bytes reached the line.
    peer.Faults().Fail(os::Op::LineRead, 5);
    EXPECT_EQ(port.TryRead(&byte, 1), 0);
    EXPECT_QZ_NO_THROW(port.SetTimeout(0));
    EXPECT_QZ_THROW(port.Read(&byte, 1), kTimeout);
    EXPECT_EQ(port.Read(&byte, 0), 0);
}

TEST(Serial, TryReadReturnsTheRequestedLengthAfterAShortRead)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    char bytes[4] = {};
    peer.Send("abcd");
    EXPECT_TRUE(qztest::Eventually([&] { return port.TryRead(bytes, 1) == 1; }));
    peer.Faults().Shorten(os::Op::LineRead, 1);
    EXPECT_EQ(port.TryRead(bytes + 1, 3), 3);
    EXPECT_EQ(std::string(bytes, 4), std::string("ab\0\0", 4));
    peer.Faults().Fail(os::Op::Line, 5);
    EXPECT_EQ(port.TryRead(bytes, 1), 0);
}

TEST(Serial, TryWriteReturnsTheLengthOrZero)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    EXPECT_EQ(port.TryWrite("abc", 3), 3);
    EXPECT_TRUE(qztest::Eventually([&] { return peer.Received() == "abc"; }));
    peer.Faults().Shorten(os::Op::LineWrite, 1);
    EXPECT_EQ(port.TryWrite("abc", 3), 0);
}

TEST(Serial, SetBaudTakesEffectAtTheNextConnection)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer, 115200);
    EXPECT_EQ(port.SetBaud(9600), 1);
    EXPECT_EQ(peer.Speed(), 115200);
    port.Reconnect();
    EXPECT_EQ(peer.Speed(), 9600);
}

TEST(Serial, SetBaudSetsTheLineToThePreviousSpeed)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer, 115200);
    EXPECT_EQ(port.SetBaud(9600), 1);
    EXPECT_EQ(port.SetBaud(4800), 1);
    EXPECT_EQ(peer.Speed(), 9600);
}

TEST(Serial, RefusedSetBaudKeepsTheSpeed)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer, 19200);
    peer.Faults().Fail(os::Op::Line, 5);
    EXPECT_EQ(port.SetBaud(9600), 0);
    port.Reconnect();
    EXPECT_EQ(peer.Speed(), 19200);
}

TEST(Serial, SetBaudAcceptsAnySpeedAndReconnectRefusesIt)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    EXPECT_EQ(port.SetBaud(38400), 1);
    EXPECT_QZ_THROW(port.Reconnect(), kBadSpeed);
}

TEST(Serial, ConnectOfAnOpenPortClosesTheOldLine)
{
    LinePeer first;
    QZSerial port;
    Connected(port, first);
    EXPECT_QZ_THROW(port.Connect("no-such-port", 115200), kOpenFailed);
    char byte = 0;
    EXPECT_QZ_THROW(port.Read(&byte, 1), kClosed);
    port.Connect(first.Path().c_str(), 115200);
    port.Connect(first.Path().c_str(), 115200);
    EXPECT_EQ(port.Write("x", 1), 1);
}

TEST(Serial, CopiesShareThePort)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    QZSerial assigned;
    {
        QZSerial copy(port);
        assigned = port;
        EXPECT_EQ(copy.Write("a", 1), 1);
        EXPECT_EQ(assigned.Write("b", 1), 1);
        EXPECT_EQ(port.Write("c", 1), 1);
        EXPECT_TRUE(qztest::Eventually([&] { return peer.Received() == "abc"; }));
        EXPECT_QZ_TEXT(copy.GetPath(), "\\\\.\\" + peer.Path());
    }
    // The first destructor closed the port for all copies.
    EXPECT_QZ_THROW(port.Write("d", 1), kClosed);
    EXPECT_QZ_THROW(assigned.Write("e", 1), kClosed);
    assigned.Close();
    EXPECT_QZ_TEXT(assigned.GetPath(), "\\\\.\\" + peer.Path());
}

TEST(Serial, PortsAreListedWithThePrefix)
{
    QZList<QZString>* ports = QZSerial::GetDeviceList();
    for (QZObject* at = ports->GetFirst(); at != nullptr; at = at->LinkNext())
        EXPECT_TRUE(static_cast<QZString*>(at)->StartsWith("\\\\.\\"));
    QZSerial::Recycle(&ports);
    EXPECT_EQ(ports, nullptr);
}

TEST(Serial, MissingPortListIsAnEmptyList)
{
    qztest::Hooks hooks;
    hooks.Fail(os::Op::Line, os::ErrorNotFound());
    QZList<QZString>* ports = QZSerial::GetDeviceList();
    ASSERT_NE(ports, nullptr);
    EXPECT_EQ(ports->Count(), 0);
    QZSerial::Recycle(&ports);

    hooks.Fail(os::Op::Line, 5);
    const qztest::Thrown thrown = QZ_TEST_CATCH(QZSerial::GetDeviceList());
    EXPECT_EQ(thrown.code, 16);
    EXPECT_EQ(thrown.type, kGenericType);
}

TEST(Serial, DeviceListByTextIsAlwaysEmpty)
{
    QZString text("COM1");
    QZStringCollection* ports = QZSerial::GetDeviceList(&text);
    ASSERT_NE(ports, nullptr);
    EXPECT_EQ(ports->Count(), 0);
    QZSerial::Recycle(&ports);
    EXPECT_EQ(ports, nullptr);
}

TEST(Serial, CopyOfAClosedPortStaysClosedWhenTheOriginalConnects)
{
    LinePeer peer;
    QZSerial port;
    QZSerial copy(port);
    Connected(port, peer, 9600);
    EXPECT_QZ_THROW(copy.Write("x", 1), kClosed);
    // Both share the path; each has its own speed.
    EXPECT_QZ_TEXT(copy.GetPath(), "\\\\.\\" + peer.Path());
    copy.Reconnect();
    EXPECT_EQ(peer.Speed(), 115200);
    EXPECT_EQ(copy.Write("x", 1), 1);
    copy.Close();
    EXPECT_EQ(port.Write("y", 1), 1);
}

TEST(Serial, CopyKeepsThePortThatTheOriginalReplaced)
{
    LinePeer peer;
    QZSerial port;
    Connected(port, peer);
    QZSerial copy(port);
    EXPECT_QZ_THROW(port.Connect("no-such-port", 115200), kOpenFailed);
    EXPECT_QZ_THROW(port.Write("x", 1), kClosed);
    EXPECT_EQ(copy.Write("y", 1), 1);
}

TEST(Serial, TracesNameTheOperationAndItsArguments)
{
    QZSerial port;
    QZString text("no-such-port");
    qztest::Thrown thrown = QZ_TEST_CATCH(port.Connect(&text, 9600));
    EXPECT_EQ(thrown.stackTrace, "QZSerial::Connect(QZString*, QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZSerial::Connect(no-such-port, 9600)");
    thrown = QZ_TEST_CATCH(port.Reconnect());
    EXPECT_EQ(thrown.stackTrace, "QZSerial::Connect(QZString*, QZInt64)");
    unsigned char byte = 0;
    thrown = QZ_TEST_CATCH(port.ReadByte(&byte));
    EXPECT_EQ(thrown.stackTrace, "QZSerial::Read(QZPVoid, QZInt32)");
}

TEST(Serial, ConnectOverloadsAddTheirFrameToTheTraces)
{
    QZSerial port;
    qztest::Thrown thrown = QZ_TEST_CATCH(port.Connect("no-such-port", 9600));
    EXPECT_EQ(thrown.stackTrace,
              "QZSerial::Connect(QZString*, QZInt64)\r\nQZSerial::Connect(QZChar*, QZInt64)");
    EXPECT_EQ(thrown.argumentTrace,
              "QZSerial::Connect(no-such-port, 9600)\r\nQZSerial::Connect(no-such-port, 9600)");
    thrown = QZ_TEST_CATCH(port.Connect(QZ_W("no-such-port"), 9600));
    EXPECT_EQ(thrown.stackTrace,
              "QZSerial::Connect(QZString*, QZInt64)\r\nQZSerial::Connect(QZWChar*, QZInt64)");
}
