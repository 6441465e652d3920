#ifndef QZLIB_TESTS_NET_HTTP_SCRIPT_H
#define QZLIB_TESTS_NET_HTTP_SCRIPT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "net/internal/net_http_retry.h"
#include "sys/internal/sys_socket.h"
#include "sys/internal/sys_thread.h"

namespace qztest
{

constexpr QZUInt32 kLoopback = 0x0100007F;

/// The server's side of one connection.
class Peer
{
public:
    explicit Peer(QZInt64 socket) : m_socket(socket) {}
    ~Peer() { os::SocketClose(m_socket); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// Returns one request, head and content; empty when the client has closed.
    std::string Read()
    {
        std::string all;
        std::size_t head = std::string::npos;
        while ((head = all.find("\r\n\r\n")) == std::string::npos)
            if (!More(&all)) return {};
        const std::size_t length = all.find("Content-Length: ");
        const std::size_t total = head + 4 + std::stoul(all.substr(length + 16));
        while (all.size() < total)
            if (!More(&all)) return {};
        return all;
    }

    void Send(std::string_view bytes)
    {
        while (!bytes.empty())
        {
            const QZInt64 sent = os::SocketSend(m_socket, bytes.data(), static_cast<QZInt64>(bytes.size()));
            if (sent < 1) return;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
    }

    /// Sends the bytes in pieces of `size` bytes, with a pause after each.
    void SendPieces(std::string_view bytes, std::size_t size)
    {
        for (; !bytes.empty(); bytes.remove_prefix(std::min(size, bytes.size())))
        {
            Send(bytes.substr(0, size));
            os::Sleep(1);
        }
    }

    /// Reads a request and sends the response.
    void Answer(std::string_view response)
    {
        if (!Read().empty()) Send(response);
    }

    /// Returns when the client has closed.
    void WaitForEnd()
    {
        std::string rest;
        while (More(&rest)) continue;
    }

private:
    bool More(std::string* all)
    {
        char bytes[4096];
        const QZInt64 count = os::SocketReceive(m_socket, bytes, sizeof(bytes));
        if (count < 1) return false;
        all->append(bytes, static_cast<std::size_t>(count));
        return true;
    }

    QZInt64 m_socket;
};

/// A server on the loopback interface. The n-th connection runs the n-th script and is closed at its end;
/// connections without a script are closed at once.
class ScriptedServer
{
public:
    using Script = std::function<void(Peer&)>;

    explicit ScriptedServer(std::vector<Script> scripts) : m_scripts(std::move(scripts))
    {
        m_listener = os::SocketOpen(os::SocketKind::Stream);
        EXPECT_TRUE(os::SocketBind(m_listener, 0, kLoopback));
        EXPECT_TRUE(os::SocketListen(m_listener, 16));
        QZUInt32 address = 0;
        EXPECT_TRUE(os::SocketLocalName(m_listener, &address, &m_port));
        m_thread = std::thread([this] { Serve(); });
    }

    ~ScriptedServer() { Stop(); }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    /// Accepts no more connections and waits for the scripts.
    void Stop()
    {
        if (!m_thread.joinable()) return;
        m_stopping = true;
        // A last connection ends the waiting accept on every platform.
        const QZInt64 last = os::SocketOpen(os::SocketKind::Stream);
        os::SocketConnect(last, kLoopback, m_port);
        m_thread.join();
        os::SocketClose(last);
        os::SocketClose(m_listener);
        for (std::thread& thread : m_threads) thread.join();
        m_threads.clear();
    }

    QZUInt16 Port() const { return m_port; }
    int Connections() const { return m_connections; }
    std::string Url(std::string_view path) const
    {
        return "http://127.0.0.1:" + std::to_string(m_port) + std::string(path);
    }

private:
    void Serve()
    {
        for (;;)
        {
            QZUInt32 address = 0;
            QZUInt16 port = 0;
            const QZInt64 socket = os::SocketAccept(m_listener, &address, &port);
            if (m_stopping)
            {
                if (socket != 0) os::SocketClose(socket);
                return;
            }
            const auto index = static_cast<std::size_t>(m_connections++);
            if (index >= m_scripts.size())
            {
                os::SocketClose(socket);
                continue;
            }
            m_threads.emplace_back([script = m_scripts[index], socket] {
                Peer peer(socket);
                script(peer);
            });
        }
    }

    std::vector<Script> m_scripts;
    QZInt64 m_listener = 0;
    QZUInt16 m_port = 0;
    std::atomic<bool> m_stopping = false;
    std::atomic<int> m_connections = 0;
    std::thread m_thread;
    std::vector<std::thread> m_threads;
};

/// While it lives, sets the pauses before the retries of clients, in milliseconds.
class Pauses
{
public:
    Pauses(int first, int second, int third)
    {
        std::memcpy(m_usual, http::g_retryPauses, sizeof(m_usual));
        http::g_retryPauses[0] = first;
        http::g_retryPauses[1] = second;
        http::g_retryPauses[2] = third;
    }
    Pauses() : Pauses(1, 1, 1) {}
    ~Pauses() { std::memcpy(http::g_retryPauses, m_usual, sizeof(m_usual)); }
    Pauses(const Pauses&) = delete;
    Pauses& operator=(const Pauses&) = delete;

private:
    int m_usual[http::kRetries];
};

}  // namespace qztest

#endif
