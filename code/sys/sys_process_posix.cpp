#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_memory.h"
#include "sys/internal/sys_posix.h"
#include "sys/internal/sys_process.h"

namespace os
{

namespace
{

/// Calls line(text) for each line of a system file; false when it cannot be read.
template <typename Line>
bool ForEachLine(const char* path, Line line)
{
    std::FILE* file = std::fopen(path, "re");
    if (file == nullptr) return false;
    char text[512];
    while (std::fgets(text, sizeof(text), file) != nullptr) line(text);
    std::fclose(file);
    return true;
}

/// Reads "<name> <number>" into *value; false for a line with another name.
bool ReadNumber(const char* line, const char* name, QZUInt64* value)
{
    std::size_t length = std::strlen(name);
    if (std::strncmp(line, name, length) != 0) return false;
    *value = std::strtoull(line + length, nullptr, 10);
    return true;
}

std::string PathOf(QZInt64 pid, const char* name) { return "/proc/" + std::to_string(pid) + name; }

/// The figures that the system gives of a process.
struct Status
{
    std::string name;
    char state = 0;
    QZUInt64 group = 0;
    QZUInt64 residentKb = 0;
    QZUInt64 swapKb = 0;
};

/// False with ESRCH for a process that does not exist. That includes zombies and the ids of threads.
bool ReadStatus(QZInt64 pid, Status* status)
{
    bool found =
        pid > 0 && pid <= INT_MAX && ForEachLine(PathOf(pid, "/status").c_str(), [&](const char* line) {
            if (std::strncmp(line, "State:\t", 7) == 0) status->state = line[7];
            if (std::strncmp(line, "Name:\t", 6) == 0)
                status->name.assign(line + 6, std::strcspn(line + 6, "\n"));
            ReadNumber(line, "Tgid:", &status->group);
            ReadNumber(line, "VmRSS:", &status->residentKb);
            ReadNumber(line, "VmSwap:", &status->swapKb);
        });
    if (found && status->state != 'Z' && status->state != 'X' && status->group == static_cast<QZUInt64>(pid))
        return true;
    errno = ESRCH;
    return false;
}

/// The target of a link; empty on failure.
std::string ReadLink(const char* path)
{
    char target[PATH_MAX];
    ssize_t size = readlink(path, target, sizeof(target));
    return size > 0 ? std::string(target, static_cast<std::size_t>(size)) : std::string();
}

}  // namespace

// ---- Processes

QZInt64 ProcessCurrentId() { return getpid(); }

QZInt64 ProcessOpen(QZInt64 pid)
{
    if (!Gate(Op::System)) return 0;
    if (pid <= 0 || pid > INT_MAX)
    {
        errno = ESRCH;
        return 0;
    }
    // The handle is the descriptor + 1, as for files.
    return syscall(SYS_pidfd_open, static_cast<pid_t>(pid), 0) + 1;
}

void ProcessClose(QZInt64 process)
{
    if (process <= 0 || process > INT_MAX) return;
    Notify(Event::HandleClose, process);
    close(static_cast<int>(process - 1));
}

QZInt64 ProcessMemoryRead(QZInt64, QZUInt32, void*, QZInt64)
{
    if (Gate(Op::System)) errno = EBADF;
    return 0;
}

QZInt64 ProcessMemoryWrite(QZInt64, QZUInt32, const void*, QZInt64)
{
    if (Gate(Op::System)) errno = EBADF;
    return 0;
}

namespace
{

/// The message of the helper processes of a start to the starter.
struct StartReport
{
    pid_t pid;
    int error;
};

void TellStarter(int channel, StartReport report)
{
    ssize_t written;
    do written = write(channel, &report, sizeof(report));
    while (written < 0 && errno == EINTR);
}

// Runs in the new process, where only functions that a signal handler may call are allowed.
[[noreturn]] void BecomeProgram(const char* path, int channel)
{
    // The program gets a session of its own and no standard streams: it inherits nothing.
    setsid();
    int none = open("/dev/null", O_RDWR);
    for (int stream = 0; stream <= 2 && none >= 0; ++stream) dup2(none, stream);
#ifdef SYS_close_range
    constexpr unsigned kCloseAtExec = 4;
    syscall(SYS_close_range, 3u, ~0u, kCloseAtExec);
#endif
    sigset_t nothing;
    sigemptyset(&nothing);
    pthread_sigmask(SIG_SETMASK, &nothing, nullptr);
    char* arguments[] = {const_cast<char*>(path), nullptr};
    execv(path, arguments);
    TellStarter(channel, {0, errno});
    _exit(127);
}

// Starts the program as the child of a helper process that ends at once, so that the system adopts it and no
// zombie is left when it ends.
[[noreturn]] void StartAndLeave(const char* path, int channel)
{
    pid_t program = fork();
    if (program == 0) BecomeProgram(path, channel);
    TellStarter(channel, {program > 0 ? program : 0, program < 0 ? errno : 0});
    _exit(0);
}

}  // namespace

QZInt64 ProcessStart(const char* path)
{
    if (!Gate(Op::System)) return 0;
    TerminationHold hold;
    int channel[2];
    if (pipe2(channel, O_CLOEXEC) != 0) return 0;
    pid_t helper = fork();
    if (helper == 0) StartAndLeave(path, channel[1]);
    int error = helper < 0 ? errno : 0;
    close(channel[1]);
    // Both ends of the channel are closed when the helper has ended and the program runs.
    pid_t pid = 0;
    StartReport report;
    for (;;)
    {
        ssize_t size = read(channel[0], &report, sizeof(report));
        if (size < 0 && errno == EINTR) continue;
        if (size != sizeof(report)) break;
        if (report.pid != 0) pid = report.pid;
        if (report.error != 0) error = report.error;
    }
    close(channel[0]);
    while (helper > 0 && waitpid(helper, nullptr, 0) < 0 && errno == EINTR)
    {}
    if (error == 0) return pid;
    errno = error;
    return 0;
}

bool ProcessTerminate(QZInt64 pid)
{
    if (!Gate(Op::System)) return false;
    TerminationHold hold;
    Status status;
    return ReadStatus(pid, &status) && kill(static_cast<pid_t>(pid), SIGKILL) == 0;
}

bool ProcessMemoryGet(QZInt64 pid, ProcessMemory* memory)
{
    if (!Gate(Op::System)) return false;
    TerminationHold hold;
    Status status;
    if (!ReadStatus(pid, &status)) return false;
    *memory = {status.residentKb * 1024, status.swapKb * 1024};
    return true;
}

struct ProcessWalk
{
    DIR* list;
    QZInt64 pid;
    Status status;
    std::u16string name;
};

ProcessWalk* ProcessWalkOpen()
{
    if (!Gate(Op::System)) return nullptr;
    TerminationHold hold;
    DIR* list = opendir("/proc");
    if (list == nullptr) return nullptr;
    return new ProcessWalk{list, 0, {}, {}};
}

bool ProcessNext(ProcessWalk* walk, QZInt64* pid)
{
    TerminationHold hold;
    while (const dirent* entry = readdir(walk->list))
    {
        char* end;
        walk->pid = std::strtoll(entry->d_name, &end, 10);
        walk->status = {};
        if (*end != 0 || !ReadStatus(walk->pid, &walk->status)) continue;
        *pid = walk->pid;
        return true;
    }
    return false;
}

const QZWChar* ProcessName(ProcessWalk* walk)
{
    TerminationHold hold;
    std::string path = ReadLink(PathOf(walk->pid, "/exe").c_str());
    constexpr std::string_view kDeleted = " (deleted)";
    if (path.ends_with(kDeleted)) path.resize(path.size() - kDeleted.size());
    // The program of another user's process cannot be read; then, and for kernel threads, only the short name
    // is known.
    walk->name = ToText(path.empty() ? walk->status.name : path.substr(path.rfind('/') + 1));
    return walk->name.c_str();
}

bool ProcessIsProgram(ProcessWalk* walk, const QZWChar* name)
{
    TerminationHold hold;
    std::u16string_view program = ProcessName(walk);
    constexpr std::u16string_view kEnding = u".exe";
    if (program.ends_with(kEnding)) program.remove_suffix(kEnding.size());
    return program == name;
}

void ProcessWalkClose(ProcessWalk* walk)
{
    if (walk == nullptr) return;
    TerminationHold hold;
    closedir(walk->list);
    delete walk;
}

bool ProcessImagePath(QZWChar* path, QZInt64 capacity)
{
    if (!Gate(Op::System)) return false;
    TerminationHold hold;
    std::u16string text = ToText(ReadLink("/proc/self/exe"));
    if (text.empty() || capacity <= 0) return false;
    std::size_t units = std::min(text.size(), static_cast<std::size_t>(capacity) - 1);
    std::memcpy(path, text.c_str(), units * sizeof(QZWChar));
    path[units] = 0;
    return true;
}

bool ProcessWorkingSet(QZUInt64* bytes)
{
    if (!Gate(Op::System)) return false;
    TerminationHold hold;
    std::FILE* file = std::fopen("/proc/self/statm", "re");
    if (file == nullptr) return false;
    unsigned long long total = 0;
    unsigned long long resident = 0;
    bool read = std::fscanf(file, "%llu %llu", &total, &resident) == 2;
    std::fclose(file);
    if (read) *bytes = resident * static_cast<QZUInt64>(MemoryPageSize());
    return read;
}

// ---- The machine

bool ComputerName(QZWChar* name, QZInt64 capacity)
{
    if (!Gate(Op::System)) return false;
    TerminationHold hold;
    char bytes[256] = {};
    if (gethostname(bytes, sizeof(bytes) - 1) != 0) return false;
    std::u16string text = ToText(bytes);
    if (static_cast<QZInt64>(text.size()) >= capacity)
    {
        errno = EOVERFLOW;
        return false;
    }
    std::memcpy(name, text.c_str(), (text.size() + 1) * sizeof(QZWChar));
    return true;
}

void MemoryStatusGet(MemoryStatus* status)
{
    *status = {};
    if (!Gate(Op::System)) return;
    TerminationHold hold;
    ForEachLine("/proc/meminfo", [&](const char* line) {
        QZUInt64 kb;
        if (ReadNumber(line, "MemTotal:", &kb)) status->TotalPhys = kb * 1024;
        if (ReadNumber(line, "MemAvailable:", &kb)) status->AvailPhys = kb * 1024;
        if (ReadNumber(line, "SwapTotal:", &kb)) status->TotalSwap = kb * 1024;
        if (ReadNumber(line, "SwapFree:", &kb)) status->AvailSwap = kb * 1024;
    });
    if (status->TotalPhys > status->AvailPhys)
        status->Load = static_cast<int>((status->TotalPhys - status->AvailPhys) * 100 / status->TotalPhys);
}

bool SystemTimesGet(SystemTimes* times)
{
    if (!Gate(Op::System)) return false;
    TerminationHold hold;
    unsigned long long user = 0, nice = 0, system = 0, idle = 0, wait = 0, hard = 0, soft = 0, steal = 0;
    bool read = false;
    ForEachLine("/proc/stat", [&](const char* line) {
        if (std::strncmp(line, "cpu ", 4) == 0)
            read = std::sscanf(line, "cpu %llu %llu %llu %llu %llu %llu %llu %llu", &user, &nice, &system,
                               &idle, &wait, &hard, &soft, &steal) >= 4;
    });
    if (!read) return false;
    *times = {idle + wait, system + hard + soft + steal + idle + wait, user + nice};
    return true;
}

}  // namespace os
