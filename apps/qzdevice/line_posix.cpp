#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include "line.h"

namespace qzdevice
{

namespace
{

class Terminal : public Line
{
public:
    Terminal(int master, std::string name) : m_master(master), m_name(std::move(name))
    {
        // The host's end stays open here, so that the line remains when a host closes it. Echo is off before
        // the first host opens it.
        m_host = open(m_name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios state{};
        if (tcgetattr(m_host, &state) != 0) return;
        cfmakeraw(&state);
        tcsetattr(m_host, TCSANOW, &state);
    }

    ~Terminal() override
    {
        close(m_master);
        if (m_host >= 0) close(m_host);
    }

    std::string Name() const override { return m_name; }

    std::string Take() override
    {
        pollfd entry{m_master, POLLIN, 0};
        char bytes[256];
        if (poll(&entry, 1, 20) <= 0) return {};
        const ssize_t count = read(m_master, bytes, sizeof(bytes));
        return count > 0 ? std::string(bytes, static_cast<std::size_t>(count)) : std::string();
    }

    void Put(const std::string& bytes) override
    {
        // When a host does not read, bytes that do not fit are lost, as on a real line.
        if (write(m_master, bytes.data(), bytes.size()) < 0) return;
    }

private:
    int m_master;
    int m_host;
    std::string m_name;
};

}  // namespace

std::unique_ptr<Line> MakeTerminal()
{
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    char name[128];
    if (master < 0) return nullptr;
    if (grantpt(master) == 0 && unlockpt(master) == 0 && ptsname_r(master, name, sizeof(name)) == 0)
        return std::make_unique<Terminal>(master, name);
    close(master);
    return nullptr;
}

}  // namespace qzdevice
