#include <winsock2.h>

#include <windows.h>

#include "os/os_system.h"

namespace os
{

namespace
{

HANDLE ToHandle(QZInt64 value) { return reinterpret_cast<HANDLE>(value); }

static_assert(sizeof(OVERLAPPED) <= sizeof(PortBlock::System));
static_assert(offsetof(PortBlock, Buffer) - offsetof(PortBlock, Length) == offsetof(WSABUF, buf));

}  // namespace

QZInt64 PortOpen(int concurrency)
{
    if (!Gate(Op::Port)) return 0;
    return reinterpret_cast<QZInt64>(
        CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, static_cast<DWORD>(concurrency)));
}

bool PortClose(QZInt64 port)
{
    if (!CloseHandle(ToHandle(port))) return false;
    Notify(Event::HandleClose, port);
    return true;
}

bool PortAssociate(QZInt64 port, QZInt64 socket, QZInt64 key)
{
    if (!Gate(Op::Port)) return false;
    return CreateIoCompletionPort(ToHandle(socket), ToHandle(port), static_cast<ULONG_PTR>(key), 0) !=
           nullptr;
}

bool PortReceive(QZInt64 socket, PortBlock* block)
{
    DWORD* received = reinterpret_cast<DWORD*>(&block->Received);
    DWORD* flags = reinterpret_cast<DWORD*>(&block->Flags);
    return WSARecv(static_cast<SOCKET>(socket), reinterpret_cast<WSABUF*>(&block->Length), 1, received, flags,
                   reinterpret_cast<OVERLAPPED*>(block->System), nullptr) == 0 ||
           WSAGetLastError() == WSA_IO_PENDING;
}

bool PortWait(QZInt64 port, QZUInt32 milliseconds, PortCompletion* completion)
{
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* block = nullptr;
    const bool done = GetQueuedCompletionStatus(ToHandle(port), &bytes, &key, &block, milliseconds) != 0;
    if (!done && block == nullptr) return false;
    completion->Key = static_cast<QZInt64>(key);
    completion->Bytes = done ? bytes : 0;
    return done;
}

bool PortPost(QZInt64 port)
{
    if (!Gate(Op::Port)) return false;
    return PostQueuedCompletionStatus(ToHandle(port), 0, 0, nullptr) != 0;
}

}  // namespace os
