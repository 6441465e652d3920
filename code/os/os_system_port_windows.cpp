#include <winsock2.h>

#include <windows.h>

#include <memory>
#include <mutex>
#include <unordered_map>

#include "os/os_system.h"

namespace os
{

namespace
{

static_assert(sizeof(OVERLAPPED) <= sizeof(PortBlock::System));
static_assert(offsetof(PortBlock, Buffer) - offsetof(PortBlock, Length) == offsetof(WSABUF, buf));

/// The system's port, kept open until the last waiter has left, so that its handle means nothing else before.
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

/// Open ports. Never destroyed: threads may still use it while the process ends.
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

}  // namespace

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
    // Not every system ends the waits when the handle goes.
    for (int left = port->waiters; left > 0; --left) PostQueuedCompletionStatus(port->handle, 0, 0, nullptr);
    return true;
}

bool PortAssociate(QZInt64 handle, QZInt64 socket, QZInt64 key)
{
    if (!Gate(Op::Port)) return false;
    std::shared_ptr<Port> port = PortOf(handle, 0);
    return port != nullptr && CreateIoCompletionPort(reinterpret_cast<HANDLE>(socket), port->handle,
                                                     static_cast<ULONG_PTR>(key), 0) != nullptr;
}

bool PortReceive(QZInt64 socket, PortBlock* block)
{
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
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* block = nullptr;
    const bool done = GetQueuedCompletionStatus(port->handle, &bytes, &key, &block, milliseconds) != 0;
    --port->waiters;
    if (block == nullptr && (!done || port->closed)) return false;
    completion->Key = static_cast<QZInt64>(key);
    completion->Bytes = done ? bytes : 0;
    return done;
}

bool PortPost(QZInt64 handle)
{
    if (!Gate(Op::Port)) return false;
    std::shared_ptr<Port> port = PortOf(handle, 0);
    return port != nullptr && PostQueuedCompletionStatus(port->handle, 0, 0, nullptr) != 0;
}

}  // namespace os
