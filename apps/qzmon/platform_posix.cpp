#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/text.h"
#include "platform.h"

namespace qzmon
{

namespace
{

std::atomic<bool>* g_stop = nullptr;

void Stop(int) { g_stop->store(true); }

/// The number in a line such as "VmRSS:     1234 kB".
long long FigureIn(const std::string& line)
{
    const char* const digits = "0123456789";
    const std::size_t first = std::min(line.find_first_of(digits), line.size());
    QZInt64 value = 0;
    qzapp::ParseInteger(line.substr(first, line.find_first_not_of(digits, first) - first), &value);
    return value;
}

}  // namespace

std::string UserDataFolder()
{
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && data[0] == '/') return std::string(data) + "/qzmon";
    const char* home = std::getenv("HOME");
    return std::string(home != nullptr && *home != 0 ? home : ".") + "/.local/share/qzmon";
}

void CatchSignals(std::atomic<bool>* stop)
{
    g_stop = stop;
    struct sigaction action = {};
    action.sa_handler = Stop;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaction(number, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

bool TakeLock(const std::string& path)
{
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    // Where not even this file can be made, the first file of the monitor fails and reports the reason.
    if (file < 0) return true;
    return flock(file, LOCK_EX | LOCK_NB) == 0;
}

bool FillRandom(void* bytes, std::size_t count)
{
    return getrandom(bytes, count, 0) == static_cast<ssize_t>(count);
}

ProcessFigures MeasureProcess()
{
    ProcessFigures figures;
    if (std::FILE* status = std::fopen("/proc/self/status", "re"))
    {
        char line[256];
        while (std::fgets(line, sizeof line, status) != nullptr)
        {
            if (std::strncmp(line, "VmRSS:", 6) == 0) figures.memory = FigureIn(line) * 1024;
            if (std::strncmp(line, "Threads:", 8) == 0) figures.threads = FigureIn(line);
        }
        std::fclose(status);
    }
    if (DIR* folder = opendir("/proc/self/fd"))
    {
        // Three do not count: ".", ".." and the descriptor that reads this folder.
        figures.descriptors = -3;
        while (readdir(folder) != nullptr) ++figures.descriptors;
        closedir(folder);
    }
    return figures;
}

}  // namespace qzmon
