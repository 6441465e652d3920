// Connections of a server: how received pieces become requests, and which connections may be closed.

#include <atomic>
#include <limits>
#include <string>
#include <string_view>
#include <thread>

#include "fw/fw_data.h"
#include "net/net_http_connection.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "os/os_ip_address.h"
#include "os/os_thread.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_thread.h"

namespace
{

using qztest::Hooks;

/// A connection from the factory, recycled at the end of its scope.
class Connection
{
public:
    Connection() : m_connect(QZHttpFactory::CreateConnect()) {}
    ~Connection()
    {
        if (m_request != nullptr) m_connect->Recycle(&m_request);
        QZHttpFactory::Recycle(&m_connect);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    QZHttpConnect* operator->() const { return m_connect; }
    QZHttpConnect* Get() const { return m_connect; }

    long long Append(std::string_view bytes, long long offset)
    {
        return m_connect->AppendRequestData(bytes.data(), offset, static_cast<long long>(bytes.size()),
                                            &m_request);
    }
    /// Appends after the bytes that this overload has appended so far.
    long long Append(std::string_view bytes)
    {
        const long long offset = m_end;
        m_end += static_cast<long long>(bytes.size());
        return Append(bytes, offset);
    }

    QZHttpRequest* Request() const { return m_request; }
    void RecycleRequest()
    {
        m_connect->Recycle(&m_request);
        m_end = 0;
    }

    std::string Content() const
    {
        QZData* content = m_request->GetContent();
        return {static_cast<const char*>(content->GetPointer()),
                static_cast<std::size_t>(content->GetSize())};
    }

private:
    QZHttpConnect* m_connect;
    QZHttpRequest* m_request = nullptr;
    long long m_end = 0;
};

std::string Head(std::size_t size)
{
    std::string head = "GET /x HTTP/1.1\r\nX-Fill: ";
    head.append(size - head.size(), 'f');
    return head;
}

TEST(HttpConnection, TypesAndLimitsHaveTheirValues)
{
    Connection connect;
    EXPECT_EQ(connect->GetType(), 0x831001A);
    EXPECT_EQ(QZHttpConnect::Type, 0x831001A);
    EXPECT_EQ(QZHttpConnect::HttpHeadSizeLimitDefault, 4096);
    QZHttpConnectCollection list;
    EXPECT_EQ(list.GetType(), 0x831001B);
    EXPECT_EQ(QZHttpConnectCollection::DefaultFreeConnectKeepAliveTime, 60000);
}

TEST(HttpConnection, CompleteRequestIsReturned)
{
    Connection connect;
    EXPECT_EQ(connect.Append("GET /a?b=c HTTP/1.1\r\nHost: h\r\n\r\n"), 0);
    ASSERT_NE(connect.Request(), nullptr);
    EXPECT_QZ_TEXT(connect.Request()->GetUrl()->GetPath(), "/a");
    EXPECT_EQ(connect->GetCache()->GetSize(), 0);
}

TEST(HttpConnection, RequestInSingleBytesIsReturnedWithTheLastByte)
{
    const std::string_view text = "POST /p HTTP/1.1\r\nContent-Length: 3\r\n\r\nxyz";
    Connection connect;
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
    {
        ASSERT_EQ(connect.Append(text.substr(i, 1)), 0);
        ASSERT_EQ(connect.Request(), nullptr) << i;
    }
    EXPECT_EQ(connect.Append(text.substr(text.size() - 1)), 0);
    ASSERT_NE(connect.Request(), nullptr);
    EXPECT_EQ(connect.Content(), "xyz");
}

TEST(HttpConnection, PiecesOutOfOrderAreJoined)
{
    Connection connect;
    EXPECT_EQ(connect.Append("GET / HTTP/1.1\r\n", 0), 0);
    EXPECT_EQ(connect.Append("\r\n\r\n", 24), 0);
    EXPECT_EQ(connect.Request(), nullptr);
    EXPECT_EQ(connect->GetCacheSize(), 28);
    EXPECT_EQ(connect.Append("Host: hh", 16), 0);
    ASSERT_NE(connect.Request(), nullptr);
    EXPECT_EQ(connect.Request()->GetHeaders()->Count(), 1);
}

TEST(HttpConnection, MissingPiecesAreZeros)
{
    Connection connect;
    EXPECT_EQ(connect.Append("GET ", 0), 0);
    EXPECT_EQ(connect.Append("zz", 6), 0);
    EXPECT_BYTES(connect->GetCache()->GetPointer(), connect->GetCache()->GetSize(),
                 "47 45 54 20 00 00 7A 7A");
}

TEST(HttpConnection, PiecesWithInvalidOffsetsThrow)
{
    Connection connect;
    EXPECT_QZ_THROW(connect.Append("GET", -1), 256);
    EXPECT_QZ_THROW(connect.Append("GET", std::numeric_limits<long long>::max() - 2), 256);
    EXPECT_EQ(connect->GetCacheSize(), 0);
}

TEST(HttpConnection, FirstByteThatIsNoLetterReturns512)
{
    for (std::string_view first : {"0", "@", "[", "`", "{", " ", "\r\n", "\x16\x03\x01"})
    {
        Connection connect;
        EXPECT_EQ(connect.Append(first), 512) << first;
        EXPECT_EQ(connect.Request(), nullptr);
        EXPECT_EQ(connect->GetCacheSize(), static_cast<long long>(first.size()));
    }
    for (std::string_view first : {"A", "Z", "a", "z"})
    {
        Connection connect;
        EXPECT_EQ(connect.Append(first), 0) << first;
    }
}

TEST(HttpConnection, FirstPieceReceivedMustBeginWithALetterAtAnyOffset)
{
    Connection connect;
    EXPECT_EQ(connect.Append("1.1\r\n\r\n", 11), 512);
    Connection letter;
    EXPECT_EQ(letter.Append("TTP/1.1\r\n\r\n", 7), 0);
    EXPECT_EQ(letter.Append("GET / H", 0), 0);
    EXPECT_NE(letter.Request(), nullptr);
}

TEST(HttpConnection, HeadOf4096BytesIsAcceptedAnd4097IsTooLarge)
{
    Connection fits;
    EXPECT_EQ(fits.Append(Head(4096) + "\r\n\r\n"), 0);
    EXPECT_NE(fits.Request(), nullptr);
    Connection large;
    EXPECT_EQ(large.Append(Head(4097) + "\r\n\r\n"), 547);
    EXPECT_EQ(large.Request(), nullptr);
}

TEST(HttpConnection, UnfinishedHeadAboveTheLimitIsTooLarge)
{
    Connection connect;
    EXPECT_EQ(connect.Append(Head(4096)), 0);
    EXPECT_EQ(connect.Append("f"), 547);
    EXPECT_EQ(connect.Append("f"), 547);
}

TEST(HttpConnection, RequestIsCompleteOnlyWithItsBody)
{
    Connection connect;
    EXPECT_EQ(connect.Append("POST / HTTP/1.1\r\nContent-Length: 12\r\n\r\nhello world"), 0);
    EXPECT_EQ(connect.Request(), nullptr);
    EXPECT_EQ(connect.Append("!"), 0);
    ASSERT_NE(connect.Request(), nullptr);
    EXPECT_EQ(connect.Content(), "hello world!");
}

TEST(HttpConnection, BytesAfterTheBodyBelongToIt)
{
    Connection connect;
    EXPECT_EQ(connect.Append("POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\nabGET / HTTP/1.1\r\n\r\n"), 0);
    ASSERT_NE(connect.Request(), nullptr);
    EXPECT_EQ(connect.Content(), "abGET / HTTP/1.1\r\n\r\n");
}

TEST(HttpConnection, ContentLengthInABodyIsReadAsTheHeader)
{
    Connection connect;
    EXPECT_EQ(connect.Append("POST / HTTP/1.1\r\n\r\nContent-Length: 99\r\n"), 0);
    EXPECT_EQ(connect.Request(), nullptr);
    EXPECT_EQ(connect.Append(std::string(99, 'b')), 0);
    EXPECT_NE(connect.Request(), nullptr);
}

TEST(HttpConnection, ContentLengthIsMatchedWithCase)
{
    Connection connect;
    EXPECT_EQ(connect.Append("POST / HTTP/1.1\r\ncontent-length: 50\r\n\r\n"), 0);
    EXPECT_NE(connect.Request(), nullptr);
}

TEST(HttpConnection, BlanksBeforeTheLengthAreSkipped)
{
    Connection connect;
    EXPECT_EQ(connect.Append("POST / HTTP/1.1\r\nContent-Length   :  \t 4\r\n\r\nabc"), 0);
    EXPECT_EQ(connect.Request(), nullptr);
    EXPECT_EQ(connect.Append("d"), 0);
    EXPECT_NE(connect.Request(), nullptr);
}

TEST(HttpConnection, LengthWithoutDigitsThrowsAndUnlocksTheConnection)
{
    Connection connect;
    EXPECT_QZ_THROW(connect.Append("POST / HTTP/1.1\r\nContent-Length: x\r\n\r\n"), 256);
    // Another thread can use the connection now.
    std::atomic<bool> free{false};
    std::thread other([&] { free = connect->GetCacheSize() > 0; });
    other.join();
    EXPECT_TRUE(free);
}

TEST(HttpConnection, MalformedRequestThrowsAndUnlocksTheConnection)
{
    Connection connect;
    EXPECT_QZ_THROW(connect.Append("GET\r\n\r\n"), 800);
    EXPECT_EQ(connect.Request(), nullptr);
    std::thread other([&] { EXPECT_EQ(connect->GetCacheSize(), 7); });
    other.join();
}

TEST(HttpConnection, ConnectionStaysLockedUntilTheRequestIsRecycled)
{
    Connection connect;
    ASSERT_EQ(connect.Append("GET / HTTP/1.1\r\n\r\n"), 0);
    ASSERT_NE(connect.Request(), nullptr);
    std::atomic<bool> through{false};
    std::thread other([&] {
        connect->GetCacheSize();
        through = true;
    });
    os::Sleep(30);
    EXPECT_FALSE(through);
    connect.RecycleRequest();
    EXPECT_EQ(connect.Request(), nullptr);
    other.join();
    EXPECT_TRUE(through);
}

TEST(HttpConnection, RecycleIgnoresObjectsOfOthers)
{
    Connection connect;
    QZHttpRequest* foreign = QZHttpFactory::CreateRequest();
    QZHttpRequest* variable = foreign;
    connect->Recycle(&variable);
    EXPECT_EQ(variable, foreign);
    QZHttpFactory::Recycle(&foreign);
    QZIPAddress address;
    QZIPAddress* ip = &address;
    connect->Recycle(&ip);
    EXPECT_EQ(ip, &address);
    ip = connect->GetIP();
    connect->Recycle(&ip);
    EXPECT_EQ(ip, nullptr);
    QZData* cache = connect->GetCache();
    connect->Recycle(&cache);
    EXPECT_EQ(cache, nullptr);
}

TEST(HttpConnection, RequestObjectIsReused)
{
    Connection connect;
    ASSERT_EQ(connect.Append("GET /1 HTTP/1.1\r\n\r\n"), 0);
    QZHttpRequest* first = connect.Request();
    connect.RecycleRequest();
    ASSERT_EQ(connect.Append("GET /2 HTTP/1.1\r\n\r\n"), 0);
    EXPECT_EQ(connect.Request(), first);
    EXPECT_QZ_TEXT(connect.Request()->GetUrl()->GetPath(), "/2");
}

TEST(HttpConnection, LargeBodyIsJoinedFromItsPieces)
{
    constexpr std::size_t kSize = 30 << 20;
    constexpr std::size_t kPiece = 131072;
    std::string body(kSize, '\0');
    for (std::size_t i = 0; i < kSize; i += 4093) body[i] = static_cast<char>('a' + i % 23);
    Connection connect;
    ASSERT_EQ(connect.Append("POST / HTTP/1.1\r\nContent-Length: " + std::to_string(kSize) + "\r\n\r\n"), 0);
    for (std::size_t i = 0; i < kSize; i += kPiece)
    {
        ASSERT_EQ(connect.Request(), nullptr);
        ASSERT_EQ(connect.Append(std::string_view(body).substr(i, kPiece)), 0);
    }
    ASSERT_NE(connect.Request(), nullptr);
    EXPECT_TRUE(connect.Content() == body);
}

TEST(HttpConnection, ReceiveBlockHasThePlatformsLayout)
{
    Connection connect;
    auto* block = static_cast<os::PortBlock*>(connect->GetHandle());
    auto* bytes = static_cast<unsigned char*>(connect->GetHandle());
    EXPECT_EQ(sizeof(*block), 0x20040u);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(&block->Length) - bytes, 32);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(&block->Buffer) - bytes, 40);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(&block->Received) - bytes, 48);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(&block->Offset) - bytes, 52);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(&block->Flags) - bytes, 56);
    EXPECT_EQ(block->Data - bytes, 60);
    EXPECT_EQ(block->Length, 131072u);
    EXPECT_EQ(block->Buffer, block->Data);
}

TEST(HttpConnection, CompleteRequestResetsTheOffsetsOfTheBlock)
{
    Connection connect;
    auto* block = static_cast<os::PortBlock*>(connect->GetHandle());
    block->Received = 18;
    block->Offset = 18;
    ASSERT_EQ(connect.Append("GET / HTTP/1.1\r\n\r\n"), 0);
    EXPECT_EQ(block->Received, 0u);
    EXPECT_EQ(block->Offset, 0u);
}

TEST(HttpConnection, RequestHasTheClientIdAndAddress)
{
    Connection connect;
    connect->SetClientID(4711);
    EXPECT_EQ(connect->GetClientID(), 4711);
    connect->SetIP(0x0100007F, 0x5000);
    EXPECT_EQ(connect->GetIP()->GetValue(), 0x0100007Fu);
    EXPECT_EQ(connect->GetIP()->GetThePort(), 0x5000);
    ASSERT_EQ(connect.Append("GET / HTTP/1.1\r\n\r\n"), 0);
    EXPECT_EQ(connect.Request()->GetHandle(), 4711);
    EXPECT_EQ(connect.Request()->GetClientIP()->GetValue(), 0x0100007Fu);
    EXPECT_EQ(connect.Request()->GetClientIP()->GetThePort(), 0x5000);
}

TEST(HttpConnection, UseCountNeverDropsBelowZero)
{
    Connection connect;
    EXPECT_TRUE(connect->IsUseComplete());
    connect->UseComplete();
    connect->InUse();
    EXPECT_FALSE(connect->IsUseComplete());
    connect->InUse();
    connect->UseComplete();
    EXPECT_FALSE(connect->IsUseComplete());
    connect->UseComplete();
    EXPECT_TRUE(connect->IsUseComplete());
}

TEST(HttpConnection, FindFromRequestReturnsThePosition)
{
    Connection connect;
    ASSERT_EQ(connect.Append("GET /needle"), 0);
    EXPECT_EQ(connect->FindFromRequest("needle", 6), 5);
    EXPECT_EQ(connect->FindFromRequest("thread", 6), -1);
}

TEST(HttpConnection, LockedConnectionIsRefused)
{
    QZHttpConnect* connect = QZHttpFactory::CreateConnect();
    connect->SetDisposable(1, 0);
    EXPECT_QZ_THROW(QZHttpFactory::Recycle(&connect), 1280);
    ASSERT_NE(connect, nullptr);
    connect->SetDisposable(1, 1);
    QZHttpFactory::Recycle(&connect);
    EXPECT_EQ(connect, nullptr);
}

TEST(HttpConnection, RecycledConnectionIsReusedEmpty)
{
    QZHttpConnect* connect = QZHttpFactory::CreateConnect();
    QZHttpConnect* first = connect;
    QZHttpRequest* request = nullptr;
    EXPECT_EQ(connect->AppendRequestData("GET ", 0, 4, &request), 0);
    connect->SetIP(1, 2);
    connect->InUse();
    QZHttpFactory::Recycle(&connect);
    connect = QZHttpFactory::CreateConnect();
    ASSERT_EQ(connect, first);
    EXPECT_EQ(connect->GetCacheSize(), 0);
    EXPECT_EQ(connect->GetIP()->GetValue(), 0u);
    EXPECT_TRUE(connect->IsUseComplete());
    QZHttpFactory::Recycle(&connect);
}

// ---- The collection

/// A list of connections, with the clock under control of the test.
class ConnectionList : public testing::Test
{
protected:
    static constexpr QZInt64 kStart = 63000000000000;

    void SetUp() override { m_hooks.SetClock(kStart); }
    void TearDown() override
    {
        while (QZHttpConnect* connect = m_list.DeQueue())
        {
            while (!connect->IsUseComplete()) connect->UseComplete();
            QZHttpFactory::Recycle(&connect);
        }
    }

    QZHttpConnect* Add(long long id)
    {
        QZHttpConnect* connect = QZHttpFactory::CreateConnect();
        connect->SetClientID(id);
        EXPECT_EQ(m_list.EnQueue(connect), 1);
        return connect;
    }

    void Later(QZInt64 milliseconds) { m_hooks.SetClock(kStart + milliseconds); }

    /// Returns the id of the connection that PopFreeConnect removes, 0 for none, and recycles the connection.
    long long Pop(unsigned char checkTime = 1)
    {
        QZHttpConnect* connect = m_list.PopFreeConnect(checkTime);
        if (connect == nullptr) return 0;
        const long long id = connect->GetClientID();
        while (!connect->IsUseComplete()) connect->UseComplete();
        QZHttpFactory::Recycle(&connect);
        return id;
    }

    static void Send(QZHttpConnect* connect, std::string_view bytes, long long offset = 0)
    {
        QZHttpRequest* request = nullptr;
        connect->AppendRequestData(bytes.data(), offset, static_cast<long long>(bytes.size()), &request);
        if (request != nullptr) connect->Recycle(&request);
    }

    Hooks m_hooks;
    QZHttpConnectCollection m_list;
};

TEST_F(ConnectionList, EnQueueAppendsAndDeQueueTakesTheFirst)
{
    QZHttpConnect* first = Add(1);
    QZHttpConnect* second = Add(2);
    EXPECT_EQ(m_list.Count(), 2);
    EXPECT_EQ(m_list.GetElement(0), first);
    EXPECT_EQ(m_list.GetElement(1), second);
    EXPECT_QZ_THROW(m_list.GetElement(2), 256);
    QZHttpConnect* out = m_list.DeQueue();
    EXPECT_EQ(out, first);
    QZHttpFactory::Recycle(&out);
    EXPECT_EQ(m_list.Count(), 1);
}

TEST_F(ConnectionList, EmptyListReturnsNull)
{
    EXPECT_EQ(m_list.DeQueue(), nullptr);
    EXPECT_EQ(m_list.PopFreeConnect(0), nullptr);
    EXPECT_EQ(m_list.GetByClientID(1), nullptr);
    EXPECT_EQ(m_list.RemoveByClientID(1), nullptr);
}

TEST_F(ConnectionList, DuplicateIdIsRefused)
{
    Add(1);
    QZHttpConnect* twin = QZHttpFactory::CreateConnect();
    twin->SetClientID(1);
    EXPECT_EQ(m_list.EnQueue(twin), 0);
    EXPECT_EQ(m_list.Count(), 1);
    QZHttpFactory::Recycle(&twin);
    // The list is not left locked.
    std::thread other([&] { EXPECT_EQ(m_list.IsExists(1), 1); });
    other.join();
}

TEST_F(ConnectionList, FindsEachOfManyById)
{
    for (long long id = 64; id <= 64000; id += 64) Add(id);
    for (long long id = 16; id <= 64000; id += 16) ASSERT_EQ(m_list.IsExists(id), id % 64 == 0) << id;
    for (long long id = 128; id <= 64000; id += 128)
    {
        QZHttpConnect* taken = m_list.RemoveByClientID(id);
        ASSERT_NE(taken, nullptr) << id;
        QZHttpFactory::Recycle(&taken);
    }
    for (long long id = 64; id <= 64000; id += 64) ASSERT_EQ(m_list.IsExists(id), id % 128 != 0) << id;
}

TEST_F(ConnectionList, ConnectionIsFoundByAnIdChangedInTheList)
{
    QZHttpConnect* connect = Add(1);
    connect->SetClientID(5);
    EXPECT_FALSE(m_list.IsExists(1));
    EXPECT_TRUE(m_list.IsExists(5));
    EXPECT_EQ(m_list.RemoveByClientID(5), connect);
    EXPECT_EQ(m_list.Count(), 0);
    QZHttpFactory::Recycle(&connect);
}

TEST_F(ConnectionList, GetByClientIDMarksTheConnectionInUse)
{
    Add(1);
    QZHttpConnect* connect = Add(2);
    EXPECT_TRUE(m_list.IsExists(2));
    EXPECT_FALSE(m_list.IsExists(3));
    QZHttpConnect* found = m_list.GetByClientID(2);
    EXPECT_EQ(found, connect);
    EXPECT_FALSE(connect->IsUseComplete());
    m_list.Recycle(&found);
    EXPECT_EQ(found, nullptr);
    EXPECT_TRUE(connect->IsUseComplete());
}

TEST_F(ConnectionList, RemovesByIdAndByObject)
{
    QZHttpConnect* first = Add(1);
    QZHttpConnect* second = Add(2);
    EXPECT_EQ(m_list.RemoveByClientID(1), first);
    EXPECT_EQ(m_list.RemoveByClientID(1), nullptr);
    m_list.Remove(second);
    EXPECT_EQ(m_list.Count(), 0);
    m_list.Remove(second);
    QZHttpFactory::Recycle(&first);
    QZHttpFactory::Recycle(&second);
}

TEST_F(ConnectionList, IdleConnectionIsFreeAfter60Seconds)
{
    QZHttpConnect* connect = Add(1);
    Send(connect, "GET / HTTP/1.1\r\n\r\n");
    Later(60000);
    EXPECT_EQ(Pop(), 0);
    Later(60001);
    EXPECT_EQ(Pop(), 1);
    EXPECT_EQ(m_list.Count(), 0);
}

TEST_F(ConnectionList, EveryIdleConnectionIsFreeWithoutTheTimeCheck)
{
    Add(1);
    QZHttpConnect* busy = Add(2);
    busy->InUse();
    EXPECT_EQ(Pop(0), 1);
    EXPECT_EQ(Pop(0), 0);
}

TEST_F(ConnectionList, LastFreeConnectionIsReturnedFirst)
{
    Add(1);
    Add(2);
    EXPECT_EQ(Pop(0), 2);
    EXPECT_EQ(Pop(0), 1);
}

TEST_F(ConnectionList, ConnectionInUseIsNotFree)
{
    QZHttpConnect* connect = Add(1);
    Send(connect, "GET / HTTP/1.1\r\n\r\n");
    connect->InUse();
    Later(10000000);
    EXPECT_EQ(Pop(), 0);
}

TEST_F(ConnectionList, UnfinishedHeadFreesTheConnectionEvenInUse)
{
    QZHttpConnect* connect = Add(1);
    Later(1000);
    Send(connect, "GET /");
    connect->InUse();
    Later(61000);
    EXPECT_EQ(Pop(), 0);
    Later(61001);
    EXPECT_EQ(Pop(), 1);
}

TEST_F(ConnectionList, UnfinishedBodyDoesNotFreeAConnectionInUse)
{
    QZHttpConnect* connect = Add(1);
    Send(connect, "POST / HTTP/1.1\r\nContent-Length: 10\r\n\r\nabc");
    connect->InUse();
    Later(70000);
    EXPECT_EQ(Pop(), 0);
}

TEST_F(ConnectionList, SilentClientFreesTheConnectionEvenInUse)
{
    QZHttpConnect* connect = Add(1);
    connect->InUse();
    Later(60000);
    EXPECT_EQ(Pop(), 0);
    Later(60001);
    EXPECT_EQ(Pop(), 1);
}

TEST_F(ConnectionList, EachUseRestartsTheTime)
{
    QZHttpConnect* connect = Add(1);
    Send(connect, "GET / HTTP/1.1\r\n\r\n");
    Later(50000);
    connect->InUse();
    connect->UseComplete();
    Later(110000);
    EXPECT_EQ(Pop(), 0);
    Later(110001);
    EXPECT_EQ(Pop(), 1);
}

}  // namespace
