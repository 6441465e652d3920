#include <winsock2.h>

#include <windows.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_port.h"

namespace os
{

namespace
{

static_assert(sizeof(OVERLAPPED) <= sizeof(PortBlock::System));
static_assert(offsetof(PortBlock, Buffer) - offsetof(PortBlock, Length) == offsetof(WSABUF, buf));

/// The system's port. It stays open until the last waiter has left, so that its handle is not reused before.
struct Port
{
    explicit Port(HANDLE system) : handle(system) {}
    ~Port() { CloseHandle(handle); }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    HANDLE handle;
    std::atomic<int> waiters{0};
    std::atomic<bool> closed{false};
};

/// The open ports. Never destroyed: threads may use the table while the process ends.
struct PortTable
{
    std::mutex lock;
    std::unordered_map<QZInt64, std::shared_ptr<Port>> ports;
    QZInt64 next = 1;
};

PortTable& Ports()
{
    static PortTable* table = new PortTable;
    return *table;
}

std::shared_ptr<Port> PortOf(QZInt64 handle, int waiters)
{
    PortTable& table = Ports();
    std::lock_guard<std::mutex> guard(table.lock);
    auto found = table.ports.find(handle);
    if (found == table.ports.end())
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    found->second->waiters += waiters;
    return found->second;
}

/// The associated sockets by handle. Handles have 32 significant bits; the upper half of the system's key
/// distinguishes sockets that had the same handle at different times.
struct SocketTable
{
    struct Entry
    {
        QZUInt32 turn;
        QZInt64 key;
    };

    std::mutex lock;
    std::unordered_map<QZUInt32, Entry> sockets;
    QZUInt32 next = 1;
};

SocketTable& Sockets()
{
    static SocketTable* table = new SocketTable;
    return *table;
}

/// The key of the socket of a completion; false when the socket was closed.
bool KeyOf(ULONG_PTR system, QZInt64* key)
{
    SocketTable& table = Sockets();
    std::lock_guard<std::mutex> guard(table.lock);
    auto found = table.sockets.find(static_cast<QZUInt32>(system));
    if (found == table.sockets.end() || found->second.turn != static_cast<QZUInt32>(system >> 32))
        return false;
    *key = found->second.key;
    return true;
}

}  // namespace

void PortDetach(QZInt64 socket)
{
    SocketTable& table = Sockets();
    std::lock_guard<std::mutex> guard(table.lock);
    table.sockets.erase(static_cast<QZUInt32>(socket));
}

QZInt64 PortOpen(int concurrency)
{
    if (!Gate(Op::Port)) return 0;
    HANDLE system = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, static_cast<DWORD>(concurrency));
    if (system == nullptr) return 0;
    PortTable& table = Ports();
    std::lock_guard<std::mutex> guard(table.lock);
    const QZInt64 handle = 4 * table.next++;
    table.ports.emplace(handle, std::make_shared<Port>(system));
    return handle;
}

bool PortClose(QZInt64 handle)
{
    std::shared_ptr<Port> port;
    {
        PortTable& table = Ports();
        std::lock_guard<std::mutex> guard(table.lock);
        auto found = table.ports.find(handle);
        if (found == table.ports.end())
        {
            SetLastError(ERROR_INVALID_HANDLE);
            return false;
        }
        port = std::move(found->second);
        table.ports.erase(found);
    }
    Notify(Event::HandleClose, handle);
    port->closed = true;
    // Not every system ends the waits when the handle is closed.
    for (int left = port->waiters; left > 0; --left) PostQueuedCompletionStatus(port->handle, 0, 0, nullptr);
    return true;
}

bool PortAssociate(QZInt64 handle, QZInt64 socket, QZInt64 key)
{
    if (!Gate(Op::Port)) return false;
    std::shared_ptr<Port> port = PortOf(handle, 0);
    if (port == nullptr) return false;
    SocketTable& table = Sockets();
    std::lock_guard<std::mutex> guard(table.lock);
    const QZUInt32 number = static_cast<QZUInt32>(socket);
    const QZUInt32 turn = table.next++;
    const ULONG_PTR system = static_cast<ULONG_PTR>(turn) << 32 | number;
    if (CreateIoCompletionPort(reinterpret_cast<HANDLE>(socket), port->handle, system, 0) == nullptr)
        return false;
    table.sockets.insert_or_assign(number, SocketTable::Entry{turn, key});
    return true;
}

bool PortReceive(QZInt64 socket, PortBlock* block)
{
    if (!Gate(Op::PortReceive)) return false;
    DWORD* received = reinterpret_cast<DWORD*>(&block->Received);
    DWORD* flags = reinterpret_cast<DWORD*>(&block->Flags);
    return WSARecv(static_cast<SOCKET>(socket), reinterpret_cast<WSABUF*>(&block->Length), 1, received, flags,
                   reinterpret_cast<OVERLAPPED*>(block->System), nullptr) == 0 ||
           WSAGetLastError() == WSA_IO_PENDING;
}

bool PortWait(QZInt64 handle, QZUInt32 milliseconds, PortCompletion* completion)
{
    std::shared_ptr<Port> port = PortOf(handle, 1);
    if (port == nullptr) return false;
    const QZInt64 end = MonotonicMicros() + static_cast<QZInt64>(milliseconds) * 1000;
    QZInt64 left = milliseconds;
    for (;;)
    {
        DWORD bytes = 0;
        ULONG_PTR system = 0;
        OVERLAPPED* block = nullptr;
        const bool done =
            GetQueuedCompletionStatus(port->handle, &bytes, &system, &block, static_cast<DWORD>(left)) != 0;
        const bool stale = block != nullptr && !KeyOf(system, &completion->Key);
        if (stale && !port->closed)
        {
            left = std::max<QZInt64>((end - MonotonicMicros()) / 1000, 0);
            continue;
        }
        --port->waiters;
        if (stale || (block == nullptr && (!done || port->closed))) return false;
        if (block == nullptr) completion->Key = 0;
        completion->Bytes = done ? bytes : 0;
        return done;
    }
}

bool PortPost(QZInt64 handle)
{
    if (!Gate(Op::Port)) return false;
    std::shared_ptr<Port> port = PortOf(handle, 0);
    return port != nullptr && PostQueuedCompletionStatus(port->handle, 0, 0, nullptr) != 0;
}

}  // namespace os
