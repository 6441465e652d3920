#include "os/os_socket.h"

#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "fw/fw_data.h"
#include "fw/fw_string_factory.h"
#include "os/os_ip_address.h"
#include "os/os_socket_client.h"
#include "os/os_socket_server.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_file.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_socket.h"

namespace
{

using qztest::Hooks;
using Code = QZSocketExceptionCode;

constexpr QZUInt32 kLoopback = 0x0100007F;

// ---- Addresses

std::string TextOf(QZIPAddress& address)
{
    QZString* text = address.ToString();
    std::string result = qztest::Utf8(text);
    QZIPAddress::Recycle(&text);
    EXPECT_EQ(text, nullptr);
    return result;
}

std::string HexOf(QZIPAddress& address)
{
    QZData* data = address.ToData();
    std::string result = qztest::Hex(data->GetPointer(), static_cast<std::size_t>(data->GetSize()));
    QZIPAddress::Recycle(&data);
    EXPECT_EQ(data, nullptr);
    return result;
}

TEST(IPAddress, NewAddressIsAllZero)
{
    QZIPAddress address;
    EXPECT_EQ(address.GetValue(), 0u);
    EXPECT_EQ(address.GetThePort(), 0);
    EXPECT_EQ(address.GetType(), 0x8310001);
    EXPECT_EQ(QZIPAddress::Type, 0x8310001);
    EXPECT_EQ(TextOf(address), "0.0.0.0");
}

TEST(IPAddress, FirstNumberIsTheLowestByte)
{
    QZIPAddress address(10, 20, 30, 40);
    EXPECT_EQ(address.GetValue(), 0x281E140Au);
    EXPECT_EQ(address.ToUInt32(), 0x281E140Au);
    EXPECT_EQ(address.GetAddr1(), 10);
    EXPECT_EQ(address.GetAddr2(), 20);
    EXPECT_EQ(address.GetAddr3(), 30);
    EXPECT_EQ(address.GetAddr4(), 40);
    address.SetAddr1(1);
    address.SetAddr2(2);
    address.SetAddr3(3);
    address.SetAddr4(255);
    EXPECT_EQ(address.GetValue(), 0xFF030201u);
}

TEST(IPAddress, ValueAndCopyConstructors)
{
    QZIPAddress value(kLoopback);
    EXPECT_EQ(TextOf(value), "127.0.0.1");
    EXPECT_EQ(value.GetThePort(), 0);
    value.SetThePort(81);
    QZIPAddress copy(&value);
    EXPECT_EQ(TextOf(copy), "127.0.0.1:81");
    EXPECT_NE(copy.GetObjectID(), value.GetObjectID());
    copy.Set(0x04030201u);
    EXPECT_EQ(TextOf(copy), "1.2.3.4:81");
    copy.SetValue(0);
    EXPECT_EQ(TextOf(copy), "0.0.0.0:81");
}

TEST(IPAddress, TextOfEveryKindIsTaken)
{
    QZString* text = QZStringFactory::CreateString("10.0.0.1:8080");
    QZIPAddress string(text);
    QZIPAddress narrow("10.0.0.1:8080");
    QZIPAddress wide(QZ_W("10.0.0.1:8080"));
    for (QZIPAddress* address : {&string, &narrow, &wide})
    {
        EXPECT_EQ(address->GetValue(), 0x0100000Au);
        EXPECT_EQ(address->GetThePort(), 8080);
    }
    string.Set("1.2.3.4");
    narrow.Set(QZ_W("5.6.7.8"));
    wide.SetValue(0);
    wide.Set(text);
    // A text without a port keeps the port.
    EXPECT_EQ(TextOf(string), "1.2.3.4:8080");
    EXPECT_EQ(TextOf(narrow), "5.6.7.8:8080");
    EXPECT_EQ(TextOf(wide), "10.0.0.1:8080");
    EXPECT_QZ_TEXT(text, "10.0.0.1:8080");
    QZStringFactory::Recycle(&text);
}

TEST(IPAddress, TextOmitsPorts0And80)
{
    QZIPAddress address("10.0.0.1:80");
    EXPECT_EQ(address.GetThePort(), 80);
    EXPECT_EQ(TextOf(address), "10.0.0.1");
    address.SetThePort(0);
    EXPECT_EQ(TextOf(address), "10.0.0.1");
    address.SetThePort(65535);
    EXPECT_EQ(TextOf(address), "10.0.0.1:65535");
}

TEST(IPAddress, NumbersAreCutToTheirLowBits)
{
    QZIPAddress address("300.1.256.511:65537");
    EXPECT_EQ(address.GetAddr1(), 44);
    EXPECT_EQ(address.GetAddr3(), 0);
    EXPECT_EQ(address.GetAddr4(), 255);
    EXPECT_EQ(address.GetThePort(), 1);
}

TEST(IPAddress, PartsAfterASecondColonAreIgnored)
{
    QZIPAddress address("1.2.3.4:5:6");
    EXPECT_EQ(TextOf(address), "1.2.3.4:5");
}

TEST(IPAddress, OtherThanFourNumbersThrowsAndClearsTheAddress)
{
    for (const char* text : {"1.2.3", "1.2.3.4.5", "", "localhost", "1.2.3:90"})
    {
        QZIPAddress address("9.9.9.9:99");
        EXPECT_QZ_THROW(address.Set(text), QZExceptionCode::InvalidArgument);
        EXPECT_EQ(address.GetValue(), 0u) << text;
        EXPECT_EQ(address.GetThePort(), 0) << text;
    }
    EXPECT_QZ_THROW(QZIPAddress("1.2.3"), 8192);
    EXPECT_QZ_THROW(QZIPAddress(QZ_W("1.2.3")), 8192);
    EXPECT_QZ_THROW(QZIPAddress(static_cast<const char*>(nullptr)), 8192);
}

TEST(IPAddress, EmptyNumberIsRefusedByTheConversion)
{
    QZIPAddress address("9.9.9.9:99");
    EXPECT_QZ_THROW(address.Set("1..2.3"), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_QZ_THROW(address.Set("1.2.3.4:"), QZExceptionCode::ArgumentOutOfRange);
}

TEST(IPAddress, DataHoldThePortUnlessItIs80)
{
    QZIPAddress address("1.2.3.4:80");
    EXPECT_EQ(HexOf(address), qztest::Hex(qztest::Bytes("04000000 01000000 02000000 03000000 04000000")));
    address.SetThePort(0);
    EXPECT_EQ(HexOf(address),
              qztest::Hex(qztest::Bytes("05000000 01000000 02000000 03000000 04000000 00000000")));
    address.SetThePort(8080);
    EXPECT_EQ(HexOf(address),
              qztest::Hex(qztest::Bytes("05000000 01000000 02000000 03000000 04000000 901F0000")));
}

TEST(IPAddress, Port80IsReadFromDataAs0)
{
    QZIPAddress address("1.2.3.4:80");
    QZData* data = address.ToData();
    EXPECT_EQ(data->GetSize(), 20);
    QZIPAddress back(data);
    EXPECT_EQ(back.GetValue(), 0x04030201u);
    EXPECT_EQ(back.GetThePort(), 0);
    QZIPAddress::Recycle(&data);

    address.SetThePort(443);
    data = address.ToData();
    QZIPAddress other(data);
    EXPECT_EQ(TextOf(other), "1.2.3.4:443");
    QZIPAddress::Recycle(&data);
}

TEST(IPAddress, DataOfAnotherSizeGiveZeroAndTheCountIsIgnored)
{
    QZData shorter("\x04\0\0\0\x01\0\0\0\x02\0\0\0\x03\0\0\0", 16);
    QZIPAddress zero(&shorter);
    EXPECT_EQ(zero.GetValue(), 0u);
    QZData strange("\x77\0\0\0\x01\x01\0\0\x02\0\0\0\x03\0\0\0\x04\0\0\0", 20);
    QZIPAddress cut(&strange);
    EXPECT_EQ(cut.GetValue(), 0x04030201u);
}

// ---- Sockets

QZUInt16 PortOf(long long handle)
{
    QZUInt32 address = 0;
    QZUInt16 port = 0;
    EXPECT_TRUE(os::SocketLocalName(handle, &address, &port));
    return port;
}

QZUInt16 Swapped(QZUInt16 port) { return static_cast<QZUInt16>(port << 8 | port >> 8); }

/// A server and a client that it has accepted, over the loopback.
struct Pair
{
    explicit Pair(int timeout = 5000, unsigned char blocking = 1)
        : server(0, timeout, timeout, 1, 5), address(127, 0, 0, 1)
    {
        address.SetThePort(PortOf(server.GetHandle()));
        client.Connect(&address, address.GetThePort(), timeout, timeout, 1);
        server.Accept(&peer);
        if (!blocking) os::SocketSetBlocking(client.GetHandle(), false);
    }
    ~Pair() { peer.Close(); }

    std::string Receive(std::size_t size)
    {
        std::string result(size, '\0');
        std::size_t got = 0;
        while (got < size)
            got += static_cast<std::size_t>(peer.Recv(&result[got], static_cast<long long>(size - got)));
        return result;
    }

    QZSocketServer server;
    QZIPAddress address;
    QZSocketClient client;
    QZSocket peer;
};

/// A port on which no socket listens.
QZUInt16 FreePort()
{
    QZSocketServer server(0, 100, 100, 1, 1);
    return PortOf(server.GetHandle());
}

/// Exposes the protected members.
struct OpenSocket : QZSocket
{
    static QZInt64 CodeOf(int number, std::string* message)
    {
        QZSocketException* e = SysErrCodeToException(number);
        const QZInt64 code = e->GetCode();
        EXPECT_EQ(e->GetType(), QZSocketException::Type);
        *message = qztest::Utf8(e->GetMsg());
        QZExceptionFactory::Recycle(&e);
        return code;
    }
};

TEST(Socket, ConstantsAndTypes)
{
    EXPECT_EQ(QZSocket::Timeout, 2000);
    EXPECT_EQ(QZSocketClient::DefaultTimeout, 60000);
    EXPECT_EQ(QZSocketProtocol::TCP, 1);
    EXPECT_EQ(QZSocketProtocol::UDP, 2);
    EXPECT_EQ(QZSocket().GetType(), 0x8310006);
    EXPECT_EQ(QZSocketClient().GetType(), 0x8310007);
    QZSocketServer server(0, 100, 100, 1, 1);
    EXPECT_EQ(server.GetType(), 0x8310008);
}

TEST(Socket, NewSocketIsClosedWithALockedZeroAddress)
{
    QZSocket socket;
    EXPECT_EQ(socket.GetHandle(), 0);
    ASSERT_NE(socket.GetIPAddress(), nullptr);
    EXPECT_EQ(socket.GetIPAddress()->GetValue(), 0u);
    EXPECT_FALSE(socket.GetIPAddress()->IsDisposable());
    socket.Close();
    EXPECT_EQ(socket.GetHandle(), 0);
}

TEST(Socket, TransfersOfAClosedSocketReturnMinusOne)
{
    QZSocket socket;
    QZSocketClient client;
    char byte = 0;
    EXPECT_EQ(socket.Send(&byte, 1), -1);
    EXPECT_EQ(socket.Recv(&byte, 1), -1);
    EXPECT_EQ(client.Send(&byte, 1), -1);
    EXPECT_EQ(client.Recv(&byte, 1), -1);
    EXPECT_EQ(client.Send(&byte, 0), -1);
    client.Close();
    EXPECT_EQ(client.GetHandle(), 0);
}

TEST(Socket, NegativeSizeIsAPlainException)
{
    QZSocketClient client;
    char byte = 0;
    qztest::Thrown send = QZ_TEST_CATCH(client.Send(&byte, -1));
    EXPECT_EQ(send.code, 256);
    EXPECT_EQ(send.type, QZException::Type);
    qztest::Thrown receive = QZ_TEST_CATCH(client.Recv(&byte, -1));
    EXPECT_EQ(receive.code, 256);
    EXPECT_EQ(receive.type, QZException::Type);
}

TEST(Socket, SizeZeroNeverTouchesTheSocket)
{
    Hooks hooks;
    hooks.Fail(os::Op::SocketSend, 10054, 1, true);
    hooks.Fail(os::Op::SocketReceive, 10054, 1, true);
    char byte = 0;
    EXPECT_EQ(QZSocket::Send(12345678, &byte, 0), 0);
    EXPECT_EQ(QZSocket::Recv(12345678, &byte, 0), 0);
}

TEST(Socket, BytesPassInBothDirections)
{
    Pair pair;
    EXPECT_EQ(pair.client.Send("hello", 5), 5);
    EXPECT_EQ(pair.Receive(5), "hello");
    EXPECT_EQ(QZSocket::Send(pair.peer.GetHandle(), "back", 4), 4);
    char buffer[16] = {};
    EXPECT_EQ(pair.client.Recv(buffer, 16), 4);
    EXPECT_STREQ(buffer, "back");
}

/// Records the sizes that Send passes to the platform.
struct Sizes
{
    std::vector<QZInt64> asked;
    os::TestHooks table{this, nullptr, &Sizes::OnGate, nullptr};
    Sizes() { os::SetTestHooks(&table); }
    ~Sizes() { os::SetTestHooks(nullptr); }
    static bool OnGate(void* context, os::Op operation, QZInt64* size, QZUInt32*)
    {
        if (operation == os::Op::SocketSend) static_cast<Sizes*>(context)->asked.push_back(*size);
        return true;
    }
};

TEST(Socket, SendUsesPiecesOf4096)
{
    Pair pair;
    std::string bytes(5000, 'a');
    bytes[4096] = 'b';
    {
        Sizes sizes;
        EXPECT_EQ(pair.client.Send(bytes.data(), 5000), 5000);
        EXPECT_EQ(sizes.asked, (std::vector<QZInt64>{4096, 904}));
    }
    EXPECT_EQ(pair.Receive(5000), bytes);
}

TEST(Socket, ShortSendsAreContinued)
{
    Pair pair;
    Hooks hooks;
    hooks.Shorten(os::Op::SocketSend, 3);
    EXPECT_EQ(pair.client.Send("hello", 5), 5);
    EXPECT_EQ(pair.Receive(5), "hello");
}

TEST(Socket, EndOfTheStreamIsAnException)
{
    Pair pair;
    pair.peer.Close();
    char byte = 0;
    qztest::Thrown thrown = QZ_TEST_CATCH(pair.client.Recv(&byte, 1));
    EXPECT_EQ(thrown.code, Code::SocketErrorConnectionClose);
    EXPECT_EQ(thrown.type, QZSocketException::Type);
}

TEST(Socket, BlockingReceiveEndsWithATimeout)
{
    Pair pair(100);
    char byte = 0;
    EXPECT_QZ_THROW(pair.client.Recv(&byte, 1), Code::SocketErrorTimeout);
}

TEST(Socket, BlockingSendEndsWithATimeout)
{
    Pair pair(100);
    std::vector<char> bytes(64 << 20);
    EXPECT_QZ_THROW(pair.client.Send(bytes.data(), static_cast<long long>(bytes.size())),
                    Code::SocketErrorTimeout);
}

TEST(Socket, SetTimeoutHoldsForTheOpenSocket)
{
    Pair pair(60000);
    pair.client.SetTimeout(0x100000064);
    char byte = 0;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_QZ_THROW(pair.client.Recv(&byte, 1), Code::SocketErrorTimeout);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(Socket, ReceiveWithoutDataOnANonBlockingSocket)
{
    Pair pair(5000, 0);
    char byte = 0;
    // Windows reports this with an error of its own, which is not one of the special ones.
    if (os::PathSeparator() == '\\')
        EXPECT_QZ_THROW(pair.client.Recv(&byte, 1), Code::SystemError);
    else
        EXPECT_EQ(pair.client.Recv(&byte, 1), 0);
}

TEST(Socket, ReceiveReturnsZeroForTryAgain)
{
    Hooks hooks;
    hooks.Fail(os::Op::SocketReceive, 11002);
    char byte = 0;
    EXPECT_EQ(QZSocket::Recv(12345678, &byte, 1), 0);
    hooks.Fail(os::Op::SocketReceive, 10055);
    EXPECT_QZ_THROW(QZSocket::Recv(12345678, &byte, 1), Code::SystemError);
}

TEST(Socket, SendRetriesWhenThereIsNoRoom)
{
    for (QZUInt32 error : {10055u, 11002u})
    {
        Pair pair;
        Hooks hooks;
        hooks.Fail(os::Op::SocketSend, error);
        EXPECT_EQ(pair.client.Send("hello", 5), 5);
        EXPECT_EQ(pair.Receive(5), "hello");
    }
}

/// A system that never has room to send, and a clock that advances one second at each call.
struct NoRoom
{
    int attempts = 0;
    QZInt64 clock = 0;
    os::TestHooks table{this, &NoRoom::OnClock, &NoRoom::OnGate, nullptr};
    NoRoom() { os::SetTestHooks(&table); }
    ~NoRoom() { os::SetTestHooks(nullptr); }
    static QZInt64 OnClock(void* context) { return static_cast<NoRoom*>(context)->clock += 1000; }
    static bool OnGate(void* context, os::Op operation, QZInt64*, QZUInt32* error)
    {
        if (operation != os::Op::SocketSend) return true;
        ++static_cast<NoRoom*>(context)->attempts;
        *error = 10055;
        return false;
    }
};

TEST(Socket, SendChecksItsTimeoutEvery255Attempts)
{
    NoRoom system;
    // The clock is read after every 255 attempts: 1000, 2000 (not more than Timeout) and 3000 ms after the
    // start.
    EXPECT_QZ_THROW(QZSocket::Send(12345678, "x", 1), Code::SocketErrorTimeout);
    EXPECT_EQ(system.attempts, 3 * 255);
    system.attempts = 0;
    QZSocket::Timeout = 0;
    EXPECT_QZ_THROW(QZSocket::Send(12345678, "x", 1), Code::SocketErrorTimeout);
    EXPECT_EQ(system.attempts, 255);
    QZSocket::Timeout = 2000;
}

TEST(Socket, SendOfZeroBytesMeansConnectionClosed)
{
    Pair pair;
    Hooks hooks;
    hooks.Shorten(os::Op::SocketSend, 0);
    EXPECT_QZ_THROW(pair.client.Send("x", 1), Code::SocketErrorConnectionClose);
}

TEST(Socket, SystemErrorsHaveTheirCodes)
{
    const std::pair<int, QZInt64> table[] = {
        {10038, 1296}, {10057, 1296}, {10052, 1568}, {10054, 1568}, {10053, 1584}, {10058, 4096},
        {10060, 512},  {10061, 1552}, {10048, 4352}, {10055, 4352}, {1, 4352},
    };
    std::string message;
    for (const auto& [number, code] : table) EXPECT_EQ(OpenSocket::CodeOf(number, &message), code) << number;
    std::string other;
    OpenSocket::CodeOf(10048, &message);
    OpenSocket::CodeOf(10013, &other);
    EXPECT_NE(message, other) << "the message must show the system error";

    Hooks hooks;
    char byte = 0;
    for (const auto& [number, code] : table)
    {
        hooks.Fail(os::Op::SocketReceive, static_cast<QZUInt32>(number));
        EXPECT_QZ_THROW(QZSocket::Recv(12345678, &byte, 1), code) << number;
        if (number == 10055) continue;
        hooks.Fail(os::Op::SocketSend, static_cast<QZUInt32>(number));
        EXPECT_QZ_THROW(QZSocket::Send(12345678, &byte, 1), code) << number;
    }
}

TEST(Socket, HandleThatIsNoSocketIsNotConnected)
{
    char byte = 0;
    EXPECT_QZ_THROW(QZSocket::Recv(12345678, &byte, 1), Code::SocketErrorNotConnect);
    EXPECT_QZ_THROW(QZSocket::Send(12345678, &byte, 1), Code::SocketErrorNotConnect);
}

TEST(Socket, PlainSocketLeavesItsHandleOpen)
{
    Pair pair;
    {
        QZSocket other(pair.peer.GetHandle());
        EXPECT_EQ(other.GetHandle(), pair.peer.GetHandle());
    }
    EXPECT_EQ(pair.client.Send("x", 1), 1);
    EXPECT_EQ(pair.Receive(1), "x");
}

TEST(Socket, CopiesCloseTheHandleOnce)
{
    Pair pair;
    Hooks hooks;
    {
        QZSocket copy(pair.peer);
        EXPECT_EQ(copy.GetIPAddress(), pair.peer.GetIPAddress());
        pair.peer.Close();
        EXPECT_NE(copy.GetHandle(), 0);
        char byte = 0;
        EXPECT_QZ_THROW(copy.Recv(&byte, 1), Code::SocketErrorNotConnect);
        copy.Close();
        EXPECT_EQ(copy.GetHandle(), 0);
    }
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 1);
}

TEST(Socket, TraceNamesEveryFrame)
{
    QZSocketClient client;
    client.SetHandle(12345678);
    const QZBool traced = QZException::IsStackTrace;
    QZException::IsStackTrace = 1;
    Hooks hooks;
    hooks.Fail(os::Op::SocketSend, 10054);
    qztest::Thrown thrown = QZ_TEST_CATCH(client.Send("x", 1));
    QZException::IsStackTrace = traced;
    client.SetHandle(0);
    EXPECT_EQ(thrown.stackTrace,
              "QZSocket::Send(QZInt64, QZPVoid, QZInt64)\r\nQZSocket::Send(QZPVoid, QZInt64)\r\n"
              "QZSocketClient::Send(QZPVoid, QZInt64)");
    EXPECT_NE(thrown.argumentTrace.find("QZSocket::Send(12345678, "), std::string::npos);
}

// ---- Client

TEST(SocketClient, ConnectFormsReachTheServer)
{
    QZSocketServer server(0, 5000, 5000, 1, 5);
    QZIPAddress address(127, 0, 0, 1);
    const QZUInt16 port = PortOf(server.GetHandle());
    address.SetThePort(port);
    auto talk = [&](auto connect) {
        QZSocketClient client;
        connect(client);
        QZSocket peer;
        server.Accept(&peer);
        EXPECT_NE(peer.GetHandle(), 0);
        char byte = 0;
        EXPECT_EQ(client.Send("y", 1), 1);
        EXPECT_EQ(peer.Recv(&byte, 1), 1);
        EXPECT_EQ(byte, 'y');
        peer.Close();
    };
    talk([&](QZSocketClient& client) { client.Connect(&address); });
    talk([&](QZSocketClient& client) { client.Connect(&address, port); });
    talk([&](QZSocketClient& client) { client.Connect(&address, port, 1000, 1000, 1); });
    talk([&](QZSocketClient& client) {
        client.Connect(&address, port, 1000, 1000, 1, QZSocketProtocol::TCP);
    });
}

TEST(SocketClient, RefusedConnectThrowsAndKeepsTheClosedHandle)
{
    QZIPAddress address(127, 0, 0, 1);
    QZSocketClient client;
    Hooks hooks;
    EXPECT_QZ_THROW(client.Connect(&address, FreePort(), 500, 500, 1), Code::SocketConnectFailed);
    EXPECT_NE(client.GetHandle(), 0);
    char byte = 0;
    EXPECT_QZ_THROW(client.Send(&byte, 1), Code::SocketErrorNotConnect);
    client.Close();
    EXPECT_EQ(client.GetHandle(), 0);
    // One close by the server in FreePort, one by the client.
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 2);
}

TEST(SocketClient, ConnectSucceedsAfterAFailure)
{
    QZIPAddress address(127, 0, 0, 1);
    QZSocketClient client;
    EXPECT_QZ_THROW(client.Connect(&address, FreePort(), 500, 500, 1), Code::SocketConnectFailed);
    QZSocketServer server(0, 5000, 5000, 1, 5);
    client.Connect(&address, PortOf(server.GetHandle()));
    QZSocket peer;
    server.Accept(&peer);
    EXPECT_EQ(client.Send("z", 1), 1);
    char byte = 0;
    EXPECT_EQ(peer.Recv(&byte, 1), 1);
    peer.Close();
}

TEST(SocketClient, ConnectClosesTheOldConnection)
{
    Pair pair;
    pair.client.Connect(&pair.address);
    char byte = 0;
    EXPECT_QZ_THROW(pair.peer.Recv(&byte, 1), Code::SocketErrorConnectionClose);
}

TEST(SocketClient, DestructorClosesTheHandle)
{
    QZSocketServer server(0, 5000, 5000, 1, 5);
    QZIPAddress address(127, 0, 0, 1);
    QZSocket peer;
    {
        QZSocketClient client;
        client.Connect(&address, PortOf(server.GetHandle()));
        server.Accept(&peer);
    }
    char byte = 0;
    EXPECT_QZ_THROW(peer.Recv(&byte, 1), Code::SocketErrorConnectionClose);
    peer.Close();
}

TEST(SocketClient, NonBlockingConnectFails)
{
    QZSocketServer server(0, 500, 500, 1, 5);
    QZIPAddress address(127, 0, 0, 1);
    QZSocketClient client;
    EXPECT_QZ_THROW(client.Connect(&address, PortOf(server.GetHandle()), 500, 500, 0),
                    Code::SocketConnectFailed);
}

TEST(SocketClient, UnknownProtocolIsAnInvalidSocket)
{
    QZIPAddress address(127, 0, 0, 1);
    QZSocketClient client;
    EXPECT_QZ_THROW(client.Connect(&address, 1, 100, 100, 1, 3), Code::SocketErrorInvalidSocket);
    EXPECT_QZ_THROW(client.Connect(&address, 1, 100, 100, 1, 0), Code::SocketErrorInvalidSocket);
    EXPECT_EQ(client.GetHandle(), 0);
}

TEST(SocketClient, DatagramSocketIsCreatedAndNotConnected)
{
    QZIPAddress address(127, 0, 0, 1);
    QZSocketClient client;
    client.Connect(&address, 9, 100, 100, 1, QZSocketProtocol::UDP);
    EXPECT_NE(client.GetHandle(), 0);
    QZ_SKIP_ON_WINE("a send on such a socket fails with another number");
    EXPECT_QZ_THROW(client.Send("x", 1), Code::SocketErrorNotConnect);
}

TEST(SocketClient, SystemFailuresHaveTheirCodes)
{
    QZIPAddress address(127, 0, 0, 1);
    QZSocketClient client;
    Hooks hooks;
    hooks.Fail(os::Op::Socket, 10024, 1);
    EXPECT_QZ_THROW(client.Connect(&address, 1, 100, 100, 1), Code::SocketErrorInvalidSocket);
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 0);
    hooks.Fail(os::Op::Socket, 10022, 2);
    EXPECT_QZ_THROW(client.Connect(&address, 1, 100, 100, 1), Code::SocketErrorOnOperation);
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 1);
    hooks.Fail(os::Op::Socket, 10060, 3);
    EXPECT_QZ_THROW(client.Connect(&address, 1, 100, 100, 1), Code::SocketConnectFailed);
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 2);
}

// ---- Server

TEST(SocketServer, AcceptReturnsThePeerWithSwappedPortBytes)
{
    Pair pair;
    EXPECT_EQ(pair.peer.GetIPAddress()->GetValue(), kLoopback);
    EXPECT_EQ(pair.peer.GetIPAddress()->GetThePort(), Swapped(PortOf(pair.client.GetHandle())));
}

TEST(SocketServer, FailedAcceptDoesNotChangeTheTarget)
{
    QZSocketServer server(0, 500, 500, 0, 5);
    QZSocket target(77);
    target.GetIPAddress()->SetThePort(5);
    server.Accept(&target);
    EXPECT_EQ(target.GetHandle(), 77);
    EXPECT_EQ(target.GetIPAddress()->GetThePort(), 5);
}

TEST(SocketServer, ReceiveTimeoutDoesNotLimitAccept)
{
    QZSocketServer server(0, 50, 50, 1, 5);
    QZIPAddress address(127, 0, 0, 1);
    const QZUInt16 port = PortOf(server.GetHandle());
    QZSocketClient client;
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        client.Connect(&address, port);
    });
    QZSocket peer;
    server.Accept(&peer);
    later.join();
    EXPECT_NE(peer.GetHandle(), 0);
    peer.Close();
}

TEST(SocketServer, PortInUseCannotBeBound)
{
    QZSocketServer server(0, 500, 500, 1, 5);
    const QZUInt16 port = PortOf(server.GetHandle());
    qztest::Thrown thrown = QZ_TEST_CATCH(QZSocketServer(port, 500, 500, 1, 5));
    EXPECT_EQ(thrown.code, Code::SocketBindFailed);
    EXPECT_EQ(thrown.type, QZSocketException::Type);
    // The text of the system error follows the text of the code.
    EXPECT_GT(thrown.message.size(), std::strlen(" socket bind failed "));
    EXPECT_QZ_THROW(QZSocketServer{port}, Code::SocketBindFailed);
}

TEST(SocketServer, PortIsFreeAgainAfterCloseServer)
{
    QZSocketServer first(0, 500, 500, 1, 5);
    const QZUInt16 port = PortOf(first.GetHandle());
    const long long handle = first.GetHandle();
    first.CloseServer();
    EXPECT_EQ(first.GetHandle(), handle);
    QZSocketServer second(port);
    EXPECT_EQ(PortOf(second.GetHandle()), port);
}

TEST(SocketServer, HandleIsClosedOnce)
{
    Hooks hooks;
    {
        QZSocketServer server(0, 500, 500, 1, 5);
        server.CloseServer();
        server.CloseServer();
        QZSocket target;
        server.Accept(&target);
        EXPECT_EQ(target.GetHandle(), 0);
    }
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 1);
}

TEST(SocketServer, CloseServerEndsAWaitingAccept)
{
    QZSocketServer server(0, 500, 500, 1, 5);
    QZSocket target;
    std::thread waiting([&] { server.Accept(&target); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    server.CloseServer();
    waiting.join();
    EXPECT_EQ(target.GetHandle(), 0);
}

TEST(SocketServer, DatagramServerBindsOnly)
{
    QZSocketServer server(0, 500, 500, 1, 5, QZSocketProtocol::UDP);
    EXPECT_NE(PortOf(server.GetHandle()), 0);
    QZSocket target;
    server.Accept(&target);
    EXPECT_EQ(target.GetHandle(), 0);
}

TEST(SocketServer, SystemFailuresHaveTheirCodes)
{
    EXPECT_QZ_THROW(QZSocketServer(0, 500, 500, 1, 5, 3), Code::SocketErrorInvalidSocket);
    Hooks hooks;
    hooks.Fail(os::Op::Socket, 10024, 1);
    EXPECT_QZ_THROW(QZSocketServer(0, 500, 500, 1, 5), Code::SocketErrorInvalidSocket);
    hooks.Fail(os::Op::Socket, 10022, 2);
    EXPECT_QZ_THROW(QZSocketServer(0, 500, 500, 1, 5), Code::SocketErrorOnOperation);
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 1);
    hooks.Fail(os::Op::Socket, 10013, 3);
    EXPECT_QZ_THROW(QZSocketServer(0, 500, 500, 1, 5), Code::SocketBindFailed);
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 2);
    hooks.Fail(os::Op::Socket, 10045, 4);
    EXPECT_QZ_NO_THROW(QZSocketServer(0, 500, 500, 1, 5));
}

}  // namespace
