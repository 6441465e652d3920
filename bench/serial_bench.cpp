/// One exchange with a device: a byte is sent, the response is received. It runs on a pseudo-terminal beside
/// the bare system calls, and on a line in memory, where the library spends all the time. Times are
/// wall-clock times, because most of an exchange is waiting.

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "bench_support.h"
#include "device/dev_serial_device.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_line.h"

namespace
{
/// A pseudo-terminal whose far end replies to every byte with 0.
class Terminal
{
public:
    Terminal()
    {
        m_master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0) std::abort();
        m_path = ptsname(m_master);
        m_slave = open(m_path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios state{};
        tcgetattr(m_slave, &state);
        cfmakeraw(&state);
        tcsetattr(m_slave, TCSANOW, &state);
        m_server = std::thread([this] { Serve(); });
    }
    ~Terminal()
    {
        const char stop = 'x';
        if (write(m_slave, &stop, 1) != 1) std::abort();
        m_server.join();
        close(m_slave);
        close(m_master);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    const std::string& Path() const { return m_path; }

private:
    void Serve()
    {
        char byte;
        while (read(m_master, &byte, 1) == 1 && byte != 'x')
        {
            byte = 0;
            if (write(m_master, &byte, 1) != 1) return;
        }
    }

    int m_master;
    int m_slave;
    std::string m_path;
    std::thread m_server;
};

/// Replies to every byte with 0, at once and without a system call.
class MemoryLine : public os::Line
{
public:
    bool Setup(QZInt64) override { return true; }
    bool SetSpeed(QZInt64) override { return true; }
    bool WatchInput() override { return true; }
    os::LineResult Read(void* buffer, QZInt64 size, QZInt64, QZInt64* count) override
    {
        for (QZInt64 i = 0; i < size; ++i) static_cast<char*>(buffer)[i] = 0;
        *count = size;
        return os::LineResult::Done;
    }
    os::LineResult Write(const void*, QZInt64 size, QZInt64, QZInt64* count) override
    {
        *count = size;
        return os::LineResult::Done;
    }
    bool Queued(QZInt64* count) override
    {
        *count = 0;
        return true;
    }
    void CleanInput() override {}
};

class Device : public QZSerialDevice
{
public:
    void Open(const std::string& path) { QZSerial::Connect(path.c_str(), 115200); }
    QZByte Exchange()
    {
        const QZByte command = 'R';
        QZByte answer = 1;
        Exec(&command, 1, &answer, 1);
        return answer;
    }
};

void Exchanges(benchmark::State& state, Device* device)
{
    for (auto _ : state) benchmark::DoNotOptimize(device->Exchange());
    state.SetItemsProcessed(state.iterations());
}

void OnATerminal(benchmark::State& state)
{
    const Terminal terminal;
    Device device;
    device.Open(terminal.Path());
    Exchanges(state, &device);
}

void InMemory(benchmark::State& state)
{
    const os::TestHooks hooks{nullptr, nullptr,
                              nullptr, nullptr,
                              nullptr, [](void*, const QZWChar*) -> os::Line* { return new MemoryLine; }};
    Device device;
    os::SetTestHooks(&hooks);
    device.Open("memory");
    os::SetTestHooks(nullptr);
    Exchanges(state, &device);
}

/// The system calls of an exchange: discard the input, write, wait, read.
void BareCalls(benchmark::State& state)
{
    const Terminal terminal;
    const int line = open(terminal.Path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    for (auto _ : state)
    {
        char byte = 'R';
        tcflush(line, TCIFLUSH);
        if (write(line, &byte, 1) != 1) std::abort();
        pollfd entry{line, POLLIN, 0};
        poll(&entry, 1, 2000);
        if (read(line, &byte, 1) != 1) std::abort();
        benchmark::DoNotOptimize(byte);
    }
    close(line);
    state.SetItemsProcessed(state.iterations());
}
}  // namespace

int main(int argc, char** argv)
{
    benchmark::RegisterBenchmark("Terminal", OnATerminal)->UseRealTime();
    benchmark::RegisterBenchmark("Bare", BareCalls)->UseRealTime();
    benchmark::RegisterBenchmark("Memory", InMemory)->UseRealTime();
    qzbench::Rate("exchanges per second / bare system calls", "items_per_second", "Terminal", "Bare");
    qzbench::Compare("an exchange / bare system calls", "Terminal", "Bare");
    qzbench::Limit("an exchange, the library alone", "Memory", "", 0);
    qzbench::Compare("the library's part of an exchange (ratio: 1 by the share)", "Memory", "Terminal", 10);
    return qzbench::Main(argc, argv);
}
