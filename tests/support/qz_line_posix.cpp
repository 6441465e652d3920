#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "support/qz_line.h"

namespace qztest
{

/// A pseudo-terminal and the thread that serves its remote end.
struct LinePeer::Platform
{
    explicit Platform(LinePeer* peer) : owner(peer)
    {
        master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) abort();
        path = ptsname(master);
        // The slave side stays open, so that the terminal remains when a test closes its port.
        slave = open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios state{};
        tcgetattr(slave, &state);
        cfmakeraw(&state);
        tcsetattr(slave, TCSANOW, &state);
        if (pipe2(wake, O_CLOEXEC) != 0) abort();
        server = std::thread([this] { Serve(); });
    }

    ~Platform()
    {
        StopServer();
        CloseEnds();
        close(wake[0]);
        close(wake[1]);
    }

    void StopServer()
    {
        if (!server.joinable()) return;
        const char stop = 0;
        if (write(wake[1], &stop, 1) != 1) abort();
        server.join();
    }

    void CloseEnds()
    {
        for (int* end : {&master, &slave})
        {
            if (*end >= 0) close(*end);
            *end = -1;
        }
    }

    void Serve()
    {
        pollfd entries[2] = {{master, POLLIN, 0}, {wake[0], POLLIN, 0}};
        for (;;)
        {
            if (poll(entries, 2, -1) < 0) continue;
            if (entries[1].revents != 0) return;
            unsigned char bytes[256];
            const ssize_t count = read(master, bytes, sizeof(bytes));
            for (ssize_t i = 0; i < count; ++i) Put(owner->Take(bytes[i]));
        }
    }

    void Put(const std::string& bytes)
    {
        size_t done = 0;
        while (done < bytes.size())
        {
            const ssize_t count = write(master, bytes.data() + done, bytes.size() - done);
            if (count > 0) done += static_cast<size_t>(count);
        }
    }

    LinePeer* owner;
    int master = -1;
    int slave = -1;
    int wake[2] = {-1, -1};
    std::string path;
    std::thread server;
};

LinePeer::LinePeer(Answer answer) : m_answer(std::move(answer)), m_platform(std::make_unique<Platform>(this))
{}

LinePeer::~LinePeer() = default;

std::string LinePeer::Path() const { return m_platform->path; }

void LinePeer::Send(const std::string& bytes) { m_platform->Put(bytes); }

QZInt64 LinePeer::Speed() const
{
    termios state{};
    tcgetattr(m_platform->slave, &state);
    struct Speed
    {
        speed_t code;
        QZInt64 baud;
    };
    const Speed speeds[] = {{B2400, 2400},     {B4800, 4800},     {B9600, 9600},      {B19200, 19200},
                            {B38400, 38400},   {B57600, 57600},   {B115200, 115200},  {B230400, 230400},
                            {B460800, 460800}, {B921600, 921600}, {B2000000, 2000000}};
    for (const Speed& speed : speeds)
    {
        if (cfgetospeed(&state) == speed.code && cfgetispeed(&state) == speed.code) return speed.baud;
    }
    return -1;
}

void LinePeer::Hold() { m_platform->StopServer(); }

void LinePeer::HangUp()
{
    m_platform->StopServer();
    m_platform->CloseEnds();
}

}  // namespace qztest
