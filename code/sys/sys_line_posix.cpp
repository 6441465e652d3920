#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <string>
#include <vector>

#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_line.h"
#include "sys/internal/sys_posix.h"

namespace os
{

namespace
{

constexpr std::u16string_view kPrefix = u"\\\\.\\";
constexpr const char* kDevices = "/dev/";
constexpr const char* kTtyClass = "/sys/class/tty";

struct Speed
{
    QZInt64 baud;
    speed_t code;
};

/// All speeds that the C library can set.
constexpr Speed kSpeeds[] = {
    {50, B50},           {75, B75},           {110, B110},         {134, B134},         {150, B150},
    {200, B200},         {300, B300},         {600, B600},         {1200, B1200},       {1800, B1800},
    {2400, B2400},       {4800, B4800},       {9600, B9600},       {19200, B19200},     {38400, B38400},
    {57600, B57600},     {115200, B115200},   {230400, B230400},   {460800, B460800},   {500000, B500000},
    {576000, B576000},   {921600, B921600},   {1000000, B1000000}, {1152000, B1152000}, {1500000, B1500000},
    {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000}, {3500000, B3500000}, {4000000, B4000000},
};

bool PutSpeed(termios* state, QZInt64 baud)
{
    for (const Speed& speed : kSpeeds)
    {
        if (speed.baud == baud)
            return cfsetispeed(state, speed.code) == 0 && cfsetospeed(state, speed.code) == 0;
    }
    errno = EINVAL;
    return false;
}

/// The rest of a timeout.
class Deadline
{
public:
    explicit Deadline(QZInt64 milliseconds)
        : m_limited(milliseconds >= 0), m_end(m_limited ? MonotonicMicros() + milliseconds * 1000 : 0)
    {}

    /// As poll expects it: -1 without a limit, milliseconds rounded up.
    int Left() const
    {
        if (!m_limited) return -1;
        const QZInt64 left = m_end - MonotonicMicros();
        if (left <= 0) return 0;
        return left / 1000 < INT_MAX ? static_cast<int>((left + 999) / 1000) : INT_MAX;
    }

private:
    bool m_limited;
    QZInt64 m_end;
};

class Terminal : public Line
{
public:
    explicit Terminal(int descriptor) : m_descriptor(descriptor) {}
    ~Terminal() override
    {
        Notify(Event::HandleClose, m_descriptor + 1);
        close(m_descriptor);
    }

    bool Setup(QZInt64 speed) override
    {
        termios state{};
        if (tcgetattr(m_descriptor, &state) != 0) return false;
        cfmakeraw(&state);
        state.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS);
        state.c_cflag |= CLOCAL | CREAD;
        state.c_iflag &= ~static_cast<tcflag_t>(IXOFF);
        // A read without received bytes then fails with EAGAIN, and 0 means that the line was hung up.
        state.c_cc[VMIN] = 1;
        state.c_cc[VTIME] = 0;
        return PutSpeed(&state, speed) && tcsetattr(m_descriptor, TCSANOW, &state) == 0;
    }

    bool SetSpeed(QZInt64 speed) override
    {
        termios state{};
        return tcgetattr(m_descriptor, &state) == 0 && PutSpeed(&state, speed) &&
               tcsetattr(m_descriptor, TCSANOW, &state) == 0;
    }

    bool WatchInput() override { return true; }

    LineResult Read(void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) override
    {
        return Move(POLLIN, size, milliseconds, count, [&](QZInt64 done, size_t rest) {
            return read(m_descriptor, static_cast<char*>(buffer) + done, rest);
        });
    }

    LineResult Write(const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) override
    {
        const LineResult result = Move(POLLOUT, size, milliseconds, count, [&](QZInt64 done, size_t rest) {
            return write(m_descriptor, static_cast<const char*>(buffer) + done, rest);
        });
        return result == LineResult::Done && *count < size ? LineResult::Timeout : result;
    }

    bool Queued(QZInt64* count) override
    {
        int queued = 0;
        if (ioctl(m_descriptor, FIONREAD, &queued) != 0) return false;
        *count = queued;
        return true;
    }

    void CleanInput() override { tcflush(m_descriptor, TCIFLUSH); }

private:
    /// Waits and transfers until all bytes are transferred or the time is over. A read waits first, since the
    /// answer to a command is rarely there at once; a write tries first, since there nearly always is room.
    template <typename Transfer>
    LineResult Move(short event, QZInt64 size, QZInt64 milliseconds, QZInt64* count, Transfer transfer)
    {
        *count = 0;
        if (size <= 0) return LineResult::Done;
        const Deadline deadline(milliseconds);
        bool wait = event == POLLIN;
        for (;;)
        {
            if (wait && !Wait(event, deadline.Left()))
                return *count > 0 ? LineResult::Done : LineResult::Timeout;
            const ssize_t moved = transfer(*count, static_cast<size_t>(size - *count));
            if (moved > 0) *count += moved;
            if (*count == size) return LineResult::Done;
            if (moved == 0) errno = EIO;
            const bool again = moved > 0 || (moved < 0 && (errno == EAGAIN || errno == EINTR));
            if (!again) return *count > 0 && event == POLLIN ? LineResult::Done : LineResult::Failed;
            wait = true;
        }
    }

    /// Waits for the event; false when the time is over. The following transfer reports an error of the line.
    bool Wait(short event, int milliseconds) const
    {
        pollfd entry{m_descriptor, event, 0};
        const int ready = poll(&entry, 1, milliseconds);
        return ready != 0;
    }

    int m_descriptor;
};

/// True for a tty that is a port of the machine: consoles and pseudo-terminals have no device, and unused
/// slots of the serial driver have the type 0.
bool IsPort(const std::string& name)
{
    const std::string folder = std::string(kTtyClass) + "/" + name;
    if (access((folder + "/device").c_str(), F_OK) != 0) return false;
    std::FILE* file = std::fopen((folder + "/type").c_str(), "re");
    if (file == nullptr) return true;
    int type = 0;
    const bool known = std::fscanf(file, "%d", &type) == 1;
    std::fclose(file);
    return !known || type != 0;
}

}  // namespace

Line* SystemLineOpen(const QZWChar* path)
{
    TerminationHold hold;
    std::u16string_view name(path);
    if (name.substr(0, kPrefix.size()) == kPrefix) name.remove_prefix(kPrefix.size());
    std::string bytes = ToBytes(name.data(), static_cast<QZInt64>(name.size()));
    if (bytes.empty() || bytes[0] != '/') bytes.insert(0, kDevices);
    int descriptor;
    do descriptor = open(bytes.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    while (descriptor < 0 && errno == EINTR);
    return descriptor < 0 ? nullptr : new Terminal(descriptor);
}

struct LineWalk
{
    std::vector<std::u16string> names;
    size_t next = 0;
};

LineWalk* LineWalkOpen()
{
    if (!Gate(Op::Line)) return nullptr;
    TerminationHold hold;
    DIR* folder = opendir(kTtyClass);
    if (folder == nullptr) return nullptr;
    LineWalk* walk = new LineWalk;
    while (const dirent* entry = readdir(folder))
    {
        const std::string name(entry->d_name);
        if (name[0] != '.' && IsPort(name)) walk->names.push_back(ToText(name));
    }
    closedir(folder);
    return walk;
}

bool LineNext(LineWalk* walk, const QZWChar** name)
{
    if (walk->next == walk->names.size()) return false;
    *name = walk->names[walk->next++].c_str();
    return true;
}

void LineWalkClose(LineWalk* walk)
{
    TerminationHold hold;
    delete walk;
}

}  // namespace os
