#include "net/net_http_connection.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <string_view>

#include "fw/fw_collection.h"
#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_lock.h"
#include "fw/fw_memory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_characters.h"
#include "net/internal/net_http_connection_access.h"
#include "net/internal/net_http_give_back.h"
#include "net/internal/net_http_strict_connection.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "os/os_ip_address.h"
#include "os/os_thread.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_socket.h"
#include "sys/internal/sys_thread.h"
#include "sys/sys_bytes.h"

const QZInt64 QZHttpConnect::Type;
const QZInt64 QZHttpConnect::HttpHeadSizeLimitDefault;

namespace
{

constexpr std::string_view kEmptyLine = "\r\n\r\n";
constexpr std::string_view kContentLength = "Content-Length";

/// Set when a connection in a list got another id. It keeps its position in the index of the list, so from
/// then on a search that finds nothing in the index goes through the whole list. An engine never changes the
/// id of a connection in a list; a host may.
std::atomic<bool> g_renamed{false};

// How often a piece yields, and then sleeps for a millisecond, while it waits for the pieces before it.
constexpr int kTurnYields = 100;
constexpr int kTurnSleeps = 5000;

using http::kBadFirstByte;
using http::kHeadTooLarge;
using http::kNoError;
using http::Now;

QZInt64 AddressOf(const void* p) { return static_cast<QZInt64>(reinterpret_cast<QZUInt64>(p)); }

/// The number after the words "Content-Length".
/// @param text  the bytes after the words
QZInt64 LengthIn(const unsigned char* text, QZInt64 size)
{
    const unsigned char* const end = text + size;
    const unsigned char* begin = std::find(text, end, ':');
    if (begin != end) ++begin;
    // Each byte that is no digit moves the start of the number by one, wherever the byte stands. So blanks
    // before the number are skipped, and a number with another byte inside is read from a wrong start.
    QZInt64 digits = 0;
    for (const unsigned char* at = begin; at != end && *at != '\r'; ++at)
    {
        if (net::IsDigit(*at))
            ++digits;
        else
            ++begin;
    }
    return QZConvert::StringToInt64(reinterpret_cast<const char*>(begin), digits);
}

}  // namespace

/// Holds the cache lock for a scope, or longer when Keep is called.
class QZHttpConnect::CacheHold
{
public:
    explicit CacheHold(QZHttpConnect* connect) : m_lock(connect->m_cacheLock) { m_lock->Lock(); }
    ~CacheHold()
    {
        if (!m_kept) m_lock->Unlock();
    }
    CacheHold(const CacheHold&) = delete;
    CacheHold& operator=(const CacheHold&) = delete;

    void Keep() { m_kept = true; }

private:
    QZCriticalSection* m_lock;
    bool m_kept = false;
};

QZHttpConnect::QZHttpConnect()
    : m_cacheCount(0),
      m_cacheSize(0),
      m_clientId(0),
      m_handle(nullptr),
      m_useCount(0),
      m_socketOpen(false),
      m_serial(0),
      m_pieces(0),
      m_turn(0),
      m_place(kNotListed),
      m_chained(nullptr),
      m_strict(nullptr)
{
    MemAlloc(os::kPortBlockSize);
    const QZUInt64 key = QZObject::GetObjectID();
    m_cache = new QZData();
    m_cache->SetDisposable(key, 0);
    m_request = QZHttpFactory::CreateRequest();
    m_request->SetDisposable(key, 0);
    m_ip = new QZIPAddress();
    m_ip->SetDisposable(key, 0);
    m_useLock = new QZCriticalSection();
    m_cacheLock = new QZCriticalSection();
    QZHttpConnect::Reset();
}

QZHttpConnect::~QZHttpConnect()
{
    while (!QZHttpConnect::IsUseComplete()) QZThread::Sleep(10);
    m_cacheLock->Lock();
    const QZUInt64 key = QZObject::GetObjectID();
    m_cache->SetDisposable(key, 1);
    delete m_cache;
    m_request->SetDisposable(key, 1);
    QZHttpFactory::Recycle(&m_request);
    m_ip->SetDisposable(key, 1);
    delete m_ip;
    MemFree(os::kPortBlockSize);
    delete m_strict;
    m_cacheLock->Unlock();
    delete m_cacheLock;
    delete m_useLock;
}

QZInt64 QZHttpConnect::GetType() { return Type; }

QZObject* QZHttpConnect::NewObject() { return new QZHttpConnect(); }

void QZHttpConnect::DeleteObject(QZObject* connect) { delete static_cast<QZHttpConnect*>(connect); }

void QZHttpConnect::MemAlloc(QZInt64 size)
{
    m_handle = static_cast<os::PortBlock*>(QZMemory::CreateBuffer(size));
    if (m_handle == nullptr)
    {
        QZRaise(QZExceptionCode::OutOfMemory, QZ_W("QZHttpConnect"), QZ_W("QZHttpConnect")).Throw();
    }
    QZMemClean(m_handle, size);
    m_handle->Length = os::kPortDataSize;
    m_handle->Buffer = m_handle->Data;
}

void QZHttpConnect::MemFree(QZInt64)
{
    QZMemory::RecycleBuffer(m_handle);
    m_handle = nullptr;
}

long long QZHttpConnect::AppendRequestData(const void* data, long long offset, long long size,
                                           QZHttpRequest** out)
{
    CacheHold hold(this);
    *out = nullptr;
    try
    {
        if (offset < 0 || size < 0 || offset > std::numeric_limits<QZInt64>::max() - size)
            throw QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange);
        if (!Put(data, offset, size)) return kBadFirstByte;
        bool complete = false;
        const QZInt64 result = Examine(&complete);
        if (!complete) return result;
        HandOut(out);
        hold.Keep();
        return kNoError;
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZHttpConnect"), QZ_W("AppendRequestData"))
            .Argument(QZ_W("QZPVoid"), AddressOf(data))
            .Argument(QZ_W("QZInt64"), QZInt64{offset})
            .Argument(QZ_W("QZInt64"), QZInt64{size})
            .Argument(QZ_W("QZPVoid"), AddressOf(out));
        throw;
    }
}

/// Copies a piece into the cache. False when the piece begins a message and does not begin with a letter.
bool QZHttpConnect::Put(const void* data, QZInt64 offset, QZInt64 size)
{
    const QZInt64 before = m_cache->GetSize();
    bool good = true;
    if (before == 0)
    {
        m_recvBegin.store(Now(), std::memory_order_relaxed);
        good = size > 0 && net::IsLetter(*static_cast<const unsigned char*>(data));
    }
    if (before < offset + size)
    {
        m_cache->NewSize(offset + size);
        // The gap belongs to pieces that have not arrived yet.
        if (before < offset) QZMemClean(QZAt(m_cache->GetPointer(), before), offset - before);
        m_cacheSize.store(offset + size, std::memory_order_relaxed);
    }
    if (size > 0) QZMemCopy(QZAt(m_cache->GetPointer(), offset), data, size);
    m_cacheCount += size;
    return good;
}

/// Sets *complete when the whole message has arrived. Returns kNoError or kHeadTooLarge.
QZInt64 QZHttpConnect::Examine(bool* complete)
{
    // An earlier piece has not been appended yet.
    if (m_cache->GetSize() != m_cacheCount) return kNoError;
    const QZInt64 limit = m_headLimit.load(std::memory_order_relaxed);
    const QZInt64 emptyLine = m_cache->Find(kEmptyLine.data(), static_cast<QZInt64>(kEmptyLine.size()));
    if (emptyLine < 0) return m_cacheCount <= limit ? kNoError : kHeadTooLarge;
    if (m_recvEmptyLine.load(std::memory_order_relaxed) == 0)
        m_recvEmptyLine.store(Now(), std::memory_order_relaxed);
    if (emptyLine > limit) return kHeadTooLarge;
    *complete = BodyIsThere(emptyLine);
    return kNoError;
}

/// True when the body is as long as the head says. A head without a length has no body.
bool QZHttpConnect::BodyIsThere(QZInt64 emptyLine)
{
    // The words count wherever they stand, also in the body. Clients that send no body do not send them.
    const QZInt64 words = static_cast<QZInt64>(kContentLength.size());
    const QZInt64 at = m_cache->Find(kContentLength.data(), words);
    if (at < 0) return true;
    const QZInt64 size = m_cache->GetSize();
    const auto* rest = static_cast<const unsigned char*>(QZAt(m_cache->GetPointer(), at + words));
    return LengthIn(rest, size - at - words) <= size - emptyLine - static_cast<QZInt64>(kEmptyLine.size());
}

void QZHttpConnect::HandOut(QZHttpRequest** out)
{
    m_request->Set(m_cache);
    BufferReset();
    const QZInt64 now = Now();
    QZHttpStamps& stamps = http::StampsOf(m_request);
    stamps.begin = stamps.process = m_recvBegin.load(std::memory_order_relaxed);
    stamps.ready = stamps.end = now;
    m_lastUse.store(now, std::memory_order_relaxed);
    *out = m_request;
}

void QZHttpConnect::BufferReset()
{
    m_cache->NewSize(0);
    m_cacheSize.store(0, std::memory_order_relaxed);
    m_cacheCount = 0;
    // The next receive may already write to the block.
    std::atomic_ref<QZUInt32>(m_handle->Received).store(0, std::memory_order_relaxed);
    std::atomic_ref<QZUInt32>(m_handle->Offset).store(0, std::memory_order_relaxed);
}

/// Counts a received piece: *piece becomes its number. Returns the offset of its bytes in the request.
QZUInt32 QZHttpConnect::Advance(QZUInt32 bytes, QZUInt64* piece)
{
    *piece = m_pieces++;
    return std::atomic_ref<QZUInt32>(m_handle->Offset).fetch_add(bytes, std::memory_order_relaxed);
}

/// Waits until all earlier pieces have been appended.
void QZHttpConnect::AwaitTurn(QZUInt64 piece)
{
    // Workers take the pieces in their order, so this wait is almost always short. A worker that was killed
    // never passes its turn on; for that case the wait has a limit.
    for (int i = 0; i < kTurnYields + kTurnSleeps && m_turn.load(std::memory_order_acquire) < piece; ++i)
        os::Sleep(i < kTurnYields ? 0 : 1);
}

/// Ends the turn of a piece: the next piece may be appended now.
void QZHttpConnect::PassTurn(QZUInt64 piece)
{
    QZUInt64 turn = m_turn.load(std::memory_order_relaxed);
    while (turn <= piece && !m_turn.compare_exchange_weak(turn, piece + 1, std::memory_order_release))
    {}
}

long long QZHttpConnect::GetClientID() { return m_clientId.load(std::memory_order_relaxed); }

void QZHttpConnect::SetClientID(long long id)
{
    if (m_place != kNotListed) g_renamed.store(true, std::memory_order_relaxed);
    m_clientId.store(id, std::memory_order_relaxed);
    m_serial.fetch_add(1, std::memory_order_relaxed);
    m_pieces = 0;
    m_turn.store(0, std::memory_order_relaxed);
    m_socketOpen.store(true);
    m_request->SetHandle(id);
}

void* QZHttpConnect::GetHandle() { return m_handle; }

void QZHttpConnect::Clear()
{
    CacheHold hold(this);
    BufferReset();
    m_ip->SetValue(0);
    m_request->Clear();
    m_lastUse.store(Now(), std::memory_order_relaxed);
    m_recvBegin.store(0, std::memory_order_relaxed);
    m_recvEmptyLine.store(0, std::memory_order_relaxed);
    QZCriticalGuard guard(m_useLock);
    m_useCount = 0;
}

void QZHttpConnect::Reset()
{
    const QZInt64 now = Now();
    m_createTime.store(now, std::memory_order_relaxed);
    m_lastUse.store(now, std::memory_order_relaxed);
    m_recvBegin.store(0, std::memory_order_relaxed);
    m_recvEmptyLine.store(0, std::memory_order_relaxed);
    m_peerClosed.store(0, std::memory_order_relaxed);
    m_closing.store(0, std::memory_order_relaxed);
    m_keepAlive.store(1, std::memory_order_relaxed);
    m_headLimit.store(HttpHeadSizeLimitDefault, std::memory_order_relaxed);
    m_useCount = 0;
    m_cacheCount = 0;
}

void QZHttpConnect::Recycle(QZHttpRequest** request)
{
    if (*request != m_request || m_request == nullptr) return;
    *request = nullptr;
    m_cacheLock->Unlock();
}

void QZHttpConnect::Recycle(QZIPAddress** address)
{
    if (*address == m_ip) *address = nullptr;
}

void QZHttpConnect::Recycle(QZData** data)
{
    if (*data == m_cache) *data = nullptr;
}

long long QZHttpConnect::GetCacheSize()
{
    CacheHold hold(this);
    return m_cache->GetSize();
}

QZData* QZHttpConnect::GetCache() { return m_cache; }

long long QZHttpConnect::FindFromRequest(const void* pattern, long long size)
{
    CacheHold hold(this);
    return m_cache->Find(pattern, size);
}

void QZHttpConnect::SetIP(unsigned int address, unsigned short port)
{
    CacheHold hold(this);
    for (QZIPAddress* ip : {m_request->GetClientIP(), m_ip})
    {
        ip->SetValue(address);
        ip->SetThePort(port);
    }
}

QZIPAddress* QZHttpConnect::GetIP() { return m_ip; }

void QZHttpConnect::InUse()
{
    QZCriticalGuard guard(m_useLock);
    ++m_useCount;
    m_lastUse.store(Now(), std::memory_order_relaxed);
}

void QZHttpConnect::UseComplete()
{
    QZCriticalGuard guard(m_useLock);
    if (m_useCount > 0) --m_useCount;
    m_lastUse.store(Now(), std::memory_order_relaxed);
}

unsigned char QZHttpConnect::IsUseComplete()
{
    QZCriticalGuard guard(m_useLock);
    return m_useCount == 0;
}

/// Starts a receive, unless the socket is closed. False when the connection is broken.
bool QZHttpConnect::Receive()
{
    // The socket is marked as closed under this lock. After that its handle may belong to another socket.
    QZCriticalGuard guard(m_useLock);
    if (!m_socketOpen.load()) return true;
    m_handle->Length = os::kPortDataSize;
    m_handle->Buffer = m_handle->Data;
    return os::PortReceive(GetClientID(), m_handle);
}

/// Ends all traffic and closes the socket as soon as no response is being sent. Only the first call has an
/// effect.
void QZHttpConnect::CloseSocket()
{
    {
        QZCriticalGuard guard(m_useLock);
        if (!m_socketOpen.exchange(false)) return;
    }
    const QZInt64 socket = GetClientID();
    m_closing.store(1, std::memory_order_relaxed);
    m_peerClosed.store(1, std::memory_order_relaxed);
    // The shutdown makes a send that is under way fail. The handle is closed after that send has ended,
    // because the system may at once give the handle to another client, who must not get the rest of the
    // response.
    os::SocketShutdown(socket, os::SocketSide::Both);
    CacheHold hold(this);
    os::SocketClose(socket);
}

/// Called when the handle belongs to another socket now: this connection must not close it.
void QZHttpConnect::ForgetSocket()
{
    QZCriticalGuard guard(m_useLock);
    m_socketOpen.store(false);
    m_closing.store(1, std::memory_order_relaxed);
}

/// Ends the sending side: the peer reads the end of the stream.
void QZHttpConnect::ShutdownSend()
{
    QZCriticalGuard guard(m_useLock);
    if (m_socketOpen.load()) os::SocketShutdown(GetClientID(), os::SocketSide::Send);
}

// ---- The factory's part for connections

QZHttpConnect* QZHttpFactory::CreateConnect()
{
    QZHttpConnect* connect = QZTake<QZHttpConnect>(m_connectCache);
    connect->Reset();
    return connect;
}

void QZHttpFactory::Recycle(QZHttpConnect** connect)
{
    http::GiveBack(m_connectCache, connect, QZ_W("QZHttpConnect**"),
                   [](QZHttpConnect* object) { object->Clear(); });
}

// ---- The collection

const QZInt64 QZHttpConnectCollection::Type;
const QZInt64 QZHttpConnectCollection::DefaultFreeConnectKeepAliveTime;

QZHttpConnectCollection::QZHttpConnectCollection()
    : m_freeTime(DefaultFreeConnectKeepAliveTime),
      m_list(new QZList<QZHttpConnect>()),
      m_lock(new QZCriticalSection()),
      m_count(0),
      m_index{}
{}

QZHttpConnectCollection::~QZHttpConnectCollection()
{
    delete m_list;
    delete m_lock;
}

QZInt64 QZHttpConnectCollection::GetType() { return Type; }

int QZHttpConnectCollection::PlaceOf(QZInt64 id)
{
    // Handles are small numbers, and on some systems multiples of 4. Both kinds spread over all positions.
    return static_cast<int>((id ^ id >> 2) & (kPlaces - 1));
}

/// Adds the connection to the index. The caller holds the lock and has just put the connection into the list.
void QZHttpConnectCollection::Enter(QZHttpConnect* connect)
{
    connect->m_place = PlaceOf(connect->GetClientID());
    connect->m_chained = m_index[connect->m_place];
    m_index[connect->m_place] = connect;
    m_count.store(m_list->Count(), std::memory_order_relaxed);
}

/// Takes the connection out of the index. The caller holds the lock and has just taken the connection out of
/// the list.
void QZHttpConnectCollection::Leave(QZHttpConnect* connect)
{
    QZHttpConnect** link = &m_index[connect->m_place];
    while (*link != connect) link = &(*link)->m_chained;
    *link = connect->m_chained;
    connect->m_place = QZHttpConnect::kNotListed;
    m_count.store(m_list->Count(), std::memory_order_relaxed);
}

QZHttpConnect* QZHttpConnectCollection::Find(QZInt64 id)
{
    QZHttpConnect* connect = m_index[PlaceOf(id)];
    while (connect != nullptr && connect->GetClientID() != id) connect = connect->m_chained;
    if (connect != nullptr || !g_renamed.load(std::memory_order_relaxed)) return connect;
    connect = m_list->GetFirst();
    while (connect != nullptr && connect->GetClientID() != id)
        connect = static_cast<QZHttpConnect*>(connect->LinkNext());
    return connect;
}

/// The caller holds the lock.
QZByte QZHttpConnectCollection::IsConnectExists(QZInt64 id) { return Find(id) != nullptr; }

unsigned char QZHttpConnectCollection::EnQueue(QZHttpConnect* connect)
{
    QZCriticalGuard guard(m_lock);
    if (IsConnectExists(connect->GetClientID())) return 0;
    m_list->EnQueue(connect);
    Enter(connect);
    return 1;
}

QZHttpConnect* QZHttpConnectCollection::GetElement(long long index)
{
    QZCriticalGuard guard(m_lock);
    return m_list->GetElement(index);
}

QZHttpConnect* QZHttpConnectCollection::DeQueue()
{
    if (m_count.load(std::memory_order_relaxed) == 0) return nullptr;
    QZCriticalGuard guard(m_lock);
    QZHttpConnect* connect = m_list->DeQueue();
    if (connect != nullptr) Leave(connect);
    return connect;
}

QZHttpConnect* QZHttpConnectCollection::PopFreeConnect(unsigned char checkTime)
{
    QZCriticalGuard guard(m_lock);
    const QZInt64 now = Now();
    const auto isOld = [=, this](const std::atomic<QZInt64>& time) {
        return time.load(std::memory_order_relaxed) + m_freeTime < now;
    };
    const auto mayGo = [&](QZHttpConnect* connect) {
        const bool peerClosed = connect->m_peerClosed.load(std::memory_order_relaxed) != 0;
        if (peerClosed && connect->m_closing.load(std::memory_order_relaxed) != 0) return true;
        const bool unused = connect->IsUseComplete() != 0;
        if (unused && (peerClosed || checkTime == 0 || isOld(connect->m_lastUse))) return true;
        const QZInt64 begin = connect->m_recvBegin.load(std::memory_order_relaxed);
        if (begin == 0) return isOld(connect->m_createTime);
        return connect->m_recvEmptyLine.load(std::memory_order_relaxed) == 0 && isOld(connect->m_recvBegin);
    };
    for (QZHttpConnect* connect = m_list->GetLast(); connect != nullptr;
         connect = static_cast<QZHttpConnect*>(connect->LinkPrevious()))
    {
        if (!mayGo(connect)) continue;
        m_list->RemoveElement(connect);
        Leave(connect);
        return connect;
    }
    return nullptr;
}

QZHttpConnect* QZHttpConnectCollection::GetByClientID(long long id)
{
    QZCriticalGuard guard(m_lock);
    QZHttpConnect* connect = Find(id);
    if (connect != nullptr) connect->InUse();
    return connect;
}

void QZHttpConnectCollection::Recycle(QZHttpConnect** connect)
{
    QZCriticalGuard guard(m_lock);
    (*connect)->UseComplete();
    *connect = nullptr;
}

QZHttpConnect* QZHttpConnectCollection::RemoveByClientID(long long id)
{
    QZCriticalGuard guard(m_lock);
    QZHttpConnect* connect = Find(id);
    if (connect != nullptr) Remove(connect);
    return connect;
}

void QZHttpConnectCollection::Remove(QZHttpConnect* connect) { TakeOut(connect); }

bool QZHttpConnectCollection::TakeOut(QZHttpConnect* connect)
{
    QZCriticalGuard guard(m_lock);
    const bool removed = m_list->RemoveElement(connect) != 0;
    if (removed) Leave(connect);
    return removed;
}

void QZHttpConnectCollection::SetPeerClosed(QZInt64 id)
{
    QZCriticalGuard guard(m_lock);
    if (QZHttpConnect* connect = Find(id)) connect->m_peerClosed.store(1, std::memory_order_relaxed);
}

long long QZHttpConnectCollection::Count()
{
    QZCriticalGuard guard(m_lock);
    return m_list->Count();
}

unsigned char QZHttpConnectCollection::IsExists(long long id)
{
    QZCriticalGuard guard(m_lock);
    return IsConnectExists(id);
}
