#ifndef QZLIB_NET_HTTP_STRICT_CONNECTION_H
#define QZLIB_NET_HTTP_STRICT_CONNECTION_H

#include <atomic>
#include <mutex>

#include "net/internal/net_http_reader.h"
#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_socket.h"

namespace http
{
/// Milliseconds of a clock that never goes back. Internal.
inline QZInt64 Ticks() { return os::MonotonicMicros() / 1000; }

/// The state of a connection of a server in strict mode. Internal.
///
/// One piece of the connection is processed at a time: the next receive starts after it. So the bytes after a
/// request wait in the system until the request is answered, and the end of the client's stream is noticed
/// after the last response.
struct StrictConnection
{
    /// What the connection waits for. Each stage has its own limit of time.
    enum class Stage
    {
        Idle,     ///< the first byte of a request
        Head,     ///< the end of a head
        Body,     ///< the end of a body
        Page,     ///< CreatePage
        Sending,  ///< the client, which takes a response
        Ended,    ///< the end of the client's stream; its bytes are dropped
    };

    /// Changes the stage. Its limit of time begins now, except when the stage stays.
    void Enter(Stage to)
    {
        if (stage.load(std::memory_order_relaxed) == to) return;
        since.store(Ticks(), std::memory_order_relaxed);
        stage.store(to, std::memory_order_release);
    }
    Stage At() const { return stage.load(std::memory_order_acquire); }
    QZInt64 Age() const { return Ticks() - since.load(std::memory_order_relaxed); }

    /// Held while bytes are processed, from the reader to the last byte of the responses, and while the
    /// housekeeping ends the connection. It comes before the other locks, except that the housekeeping tries
    /// it under the lock of the connections.
    std::recursive_mutex turn;
    RequestReader reader;
    std::atomic<Stage> stage{Stage::Idle};
    std::atomic<QZInt64> since{0};
    os::SocketAddress peer = {};
    /// The connection is in the count of its address. Changes under the lock of the connections.
    bool counted = false;
    /// The client was refused with the status 503. Changes under the lock of the connections.
    bool refused = false;
};
}  // namespace http

#endif
