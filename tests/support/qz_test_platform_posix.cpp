#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>

#include "support/qz_test.h"

namespace qztest
{

bool OnWine() { return false; }

#if defined(QZ_TEST_EMULATED) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMeasured = false;
#elif defined(__has_feature)
constexpr bool kMeasured = !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
constexpr bool kMeasured = true;
#endif

namespace
{
/// A figure of this process, in bytes; -1 when the system does not tell it.
long long MemoryFigure(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(name + ":", 0) == 0) return std::atoll(line.c_str() + name.size() + 1) * 1024;
    return -1;
}

/// The growth in this process, which has no other work.
long long MeasuredGrowth(const std::function<void()>& work)
{
    // The peak starts again from what the process has now.
    std::ofstream("/proc/self/clear_refs") << "5";
    const long long before = MemoryFigure("VmRSS");
    work();
    const long long peak = MemoryFigure("VmHWM");
    return before < 0 || peak < 0 ? -1 : peak - before;
}
}  // namespace

long long PeakMemoryOf(const std::function<void()>& work)
{
    int ends[2];
    if (!kMeasured || pipe(ends) != 0) return -1;
    long long growth = -1;
    const pid_t child = fork();
    if (child == 0)
    {
        growth = MeasuredGrowth(work);
        _exit(write(ends[1], &growth, sizeof growth) == sizeof growth ? 0 : 1);
    }
    close(ends[1]);
    if (child < 0 || read(ends[0], &growth, sizeof growth) != sizeof growth) growth = -1;
    close(ends[0]);
    int status = 0;
    if (child > 0) waitpid(child, &status, 0);
    return growth;
}

void SetVariable(const char* name, const char* value)
{
    if (value != nullptr)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

Program::Program(const std::string& line) : m_input(popen(line.c_str(), "w")) {}

int Program::End()
{
    if (m_input == nullptr) return -1;
    const int status = pclose(static_cast<FILE*>(std::exchange(m_input, nullptr)));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace qztest
