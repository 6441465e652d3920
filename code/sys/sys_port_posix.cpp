#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_port.h"
#include "sys/internal/sys_posix.h"
#include "sys/internal/sys_thread.h"

namespace os
{

namespace
{

// No descriptor has these values with any generation.
constexpr QZUInt64 kPosted = ~QZUInt64{0};
constexpr QZUInt64 kClosed = kPosted - 1;

/// The errors of a wait that timed out, and of a wait on a closed port.
constexpr int kTimeout = ETIMEDOUT;
constexpr int kGone = EBADF;

/// A one-shot epoll, an event that counts wake-ups, and one that stays set when the port is closed.
struct Port
{
    int epoll = -1;
    int posts = -1;
    int end = -1;

    Port() = default;
    ~Port()
    {
        for (int descriptor : {epoll, posts, end})
            if (descriptor >= 0) close(descriptor);
    }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    bool Open()
    {
        epoll = epoll_create1(EPOLL_CLOEXEC);
        posts = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE);
        end = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        return epoll >= 0 && posts >= 0 && end >= 0 && Watch(posts, kPosted) && Watch(end, kClosed);
    }

    bool Watch(int descriptor, QZUInt64 token) const
    {
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.u64 = token;
        return epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) == 0;
    }
};

/// The state of a descriptor at its port. A slot is never freed once a descriptor of its number was
/// associated.
struct Slot
{
    std::mutex lock;
    std::shared_ptr<Port> port;
    QZInt64 key = 0;
    PortBlock* block = nullptr;  ///< null while no receive is outstanding
    QZUInt32 turn = 0;           ///< tells the sockets apart that had this descriptor one after another
    bool known = false;          ///< the port's epoll has the descriptor
};

constexpr int kChunk = 1024;
constexpr int kChunks = 1024;
std::atomic<Slot*> g_slots[kChunks];

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

std::shared_ptr<Port> PortOf(QZInt64 handle)
{
    PortTable& table = Ports();
    TerminationHold hold;
    std::lock_guard<std::mutex> guard(table.lock);
    auto found = table.ports.find(handle);
    if (found != table.ports.end()) return found->second;
    errno = kGone;
    return nullptr;
}

Slot* SlotOf(QZInt64 descriptor)
{
    if (descriptor <= 0 || descriptor >= QZInt64{kChunk} * kChunks) return nullptr;
    Slot* chunk = g_slots[descriptor / kChunk].load(std::memory_order_acquire);
    return chunk != nullptr ? chunk + descriptor % kChunk : nullptr;
}

Slot* SlotMade(QZInt64 descriptor)
{
    if (Slot* slot = SlotOf(descriptor)) return slot;
    if (descriptor <= 0 || descriptor >= QZInt64{kChunk} * kChunks) return nullptr;
    Slot* made = new (std::nothrow) Slot[kChunk];
    if (made == nullptr) return nullptr;
    Slot* before = nullptr;
    if (!g_slots[descriptor / kChunk].compare_exchange_strong(before, made, std::memory_order_acq_rel))
        delete[] made;
    return SlotOf(descriptor);
}

bool Failed(int error)
{
    errno = static_cast<int>(SocketNumberOf(error));
    return false;
}

// Called with the slot's lock held.
bool Arm(Slot* slot, int descriptor)
{
    epoll_event event = {};
    event.events = EPOLLIN | EPOLLRDHUP | EPOLLONESHOT;
    event.data.u64 = static_cast<QZUInt64>(slot->turn) << 32 | static_cast<QZUInt32>(descriptor);
    if (epoll_ctl(slot->port->epoll, slot->known ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, descriptor, &event) != 0)
        return false;
    slot->known = true;
    return true;
}

void Detach(Slot* slot, int descriptor)
{
    if (slot->known) epoll_ctl(slot->port->epoll, EPOLL_CTL_DEL, descriptor, nullptr);
    slot->port.reset();
    slot->block = nullptr;
    slot->known = false;
    ++slot->turn;
}

enum class Outcome
{
    Nothing,
    Received,
    Broken,
};

// The event may belong to a socket that was closed in the meantime, or there may be no bytes after all.
Outcome Complete(QZUInt64 token, PortCompletion* completion)
{
    const int descriptor = static_cast<int>(token & 0xFFFFFFFF);
    Slot* slot = SlotOf(descriptor);
    TerminationHold hold;
    std::lock_guard<std::mutex> guard(slot->lock);
    PortBlock* block = slot->block;
    if (block == nullptr || slot->turn != static_cast<QZUInt32>(token >> 32)) return Outcome::Nothing;
    QZInt64 size = block->Length;
    ssize_t count = -1;
    if (Gate(Op::SocketReceive, &size))
    {
        do count = recv(descriptor, block->Buffer, static_cast<size_t>(size), MSG_DONTWAIT);
        while (count < 0 && errno == EINTR);
        if (count < 0 && errno == EAGAIN && Arm(slot, descriptor)) return Outcome::Nothing;
        if (count < 0) Failed(errno);
    }
    slot->block = nullptr;
    completion->Key = slot->key;
    completion->Bytes = count < 0 ? 0 : static_cast<QZUInt32>(count);
    // The owner may reset the field at any time.
    std::atomic_ref<QZUInt32>(block->Received).store(completion->Bytes, std::memory_order_relaxed);
    return count < 0 ? Outcome::Broken : Outcome::Received;
}

bool TakePost(const Port& port)
{
    QZUInt64 one;
    return read(port.posts, &one, sizeof(one)) == sizeof(one);
}

int LeftUntil(QZInt64 end)
{
    const QZInt64 left = end - MonotonicMicros();
    return left > 0 ? static_cast<int>((left + 999) / 1000) : 0;
}

}  // namespace

void PortDetach(QZInt64 socket)
{
    Slot* slot = SlotOf(socket);
    if (slot == nullptr) return;
    TerminationHold hold;
    std::lock_guard<std::mutex> guard(slot->lock);
    if (slot->port != nullptr) Detach(slot, static_cast<int>(socket));
}

QZInt64 PortOpen(int)
{
    if (!Gate(Op::Port)) return 0;
    TerminationHold hold;
    auto port = std::make_shared<Port>();
    if (!port->Open())
    {
        Failed(errno);
        return 0;
    }
    PortTable& table = Ports();
    std::lock_guard<std::mutex> guard(table.lock);
    const QZInt64 handle = 4 * table.next++;
    table.ports.emplace(handle, std::move(port));
    return handle;
}

bool PortClose(QZInt64 handle)
{
    TerminationHold hold;
    std::shared_ptr<Port> port;
    {
        PortTable& table = Ports();
        std::lock_guard<std::mutex> guard(table.lock);
        auto found = table.ports.find(handle);
        if (found == table.ports.end()) return Failed(kGone);
        port = std::move(found->second);
        table.ports.erase(found);
    }
    Notify(Event::HandleClose, handle);
    // The event is never read, so it ends all waits one after another. The last waiter frees the rest.
    eventfd_write(port->end, 1);
    return true;
}

bool PortAssociate(QZInt64 handle, QZInt64 socket, QZInt64 key)
{
    if (!Gate(Op::Port)) return false;
    TerminationHold hold;
    std::shared_ptr<Port> port = PortOf(handle);
    if (port == nullptr) return Failed(kGone);
    if (socket <= 0 || socket >= QZInt64{kChunk} * kChunks) return Failed(EBADF);
    const int descriptor = static_cast<int>(socket);
    if (fcntl(descriptor, F_GETFD) < 0) return Failed(errno);
    Slot* slot = SlotMade(descriptor);
    if (slot == nullptr) return Failed(ENOMEM);
    std::lock_guard<std::mutex> guard(slot->lock);
    // Removes the state of a socket that was closed without this layer.
    if (slot->port != nullptr) Detach(slot, static_cast<int>(socket));
    slot->port = std::move(port);
    slot->key = key;
    return true;
}

bool PortReceive(QZInt64 socket, PortBlock* block)
{
    if (!Gate(Op::PortReceive)) return false;
    Slot* slot = SlotOf(socket);
    if (slot == nullptr) return Failed(EINVAL);
    TerminationHold hold;
    std::lock_guard<std::mutex> guard(slot->lock);
    if (slot->port == nullptr || slot->block != nullptr) return Failed(EINVAL);
    slot->block = block;
    if (Arm(slot, static_cast<int>(socket))) return true;
    slot->block = nullptr;
    return Failed(errno);
}

bool PortWait(QZInt64 handle, QZUInt32 milliseconds, PortCompletion* completion)
{
    ThreadGate();
    std::shared_ptr<Port> port = PortOf(handle);
    if (port == nullptr) return false;
    const QZInt64 end = MonotonicMicros() + static_cast<QZInt64>(milliseconds) * 1000;
    for (;;)
    {
        epoll_event event;
        const int count = epoll_wait(port->epoll, &event, 1, LeftUntil(end));
        if (count < 0 && errno != EINTR) return false;
        if (count == 0)
        {
            errno = kTimeout;
            return false;
        }
        if (count < 0) continue;
        if (event.data.u64 == kClosed)
        {
            errno = kGone;
            return false;
        }
        if (event.data.u64 == kPosted)
        {
            if (!TakePost(*port)) continue;
            *completion = {};
            return true;
        }
        const Outcome outcome = Complete(event.data.u64, completion);
        if (outcome != Outcome::Nothing) return outcome == Outcome::Received;
    }
}

bool PortPost(QZInt64 handle)
{
    if (!Gate(Op::Port)) return false;
    std::shared_ptr<Port> port = PortOf(handle);
    return port != nullptr && eventfd_write(port->posts, 1) == 0;
}

}  // namespace os
