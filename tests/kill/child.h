#ifndef QZLIB_TESTS_KILL_CHILD_H
#define QZLIB_TESTS_KILL_CHILD_H

/// A child process with a pipe in both directions.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

extern char** environ;

namespace qztest
{

class Child
{
public:
    /// Starts a program. Without a path it is this program again.
    Child(const std::string& program, std::vector<std::string> arguments)
    {
        if (pipe2(m_from, O_CLOEXEC) != 0 || pipe2(m_to, O_CLOEXEC) != 0) return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, m_from[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, m_to[0], STDIN_FILENO);
        std::string path = program.empty() ? "/proc/self/exe" : program;
        std::vector<char*> words{path.data()};
        for (std::string& argument : arguments) words.push_back(argument.data());
        words.push_back(nullptr);
        if (posix_spawn(&m_id, path.c_str(), &actions, nullptr, words.data(), environ) != 0) m_id = 0;
        posix_spawn_file_actions_destroy(&actions);
        close(m_from[1]);
        close(m_to[0]);
    }

    ~Child()
    {
        if (m_id != 0) Kill();
        Wait();
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool Started() const { return m_id != 0; }

    /// Reads one byte of its output; -1 at the end.
    int Read()
    {
        unsigned char byte = 0;
        return read(m_from[0], &byte, 1) == 1 ? byte : -1;
    }

    /// Writes one byte to its input.
    void Go() const
    {
        if (write(m_to[1], "g", 1) != 1) return;
    }

    void Kill() const { kill(m_id, SIGKILL); }

    /// Waits for its end; returns the exit code, -1 for a child that was killed.
    int Wait()
    {
        if (m_id == 0) return m_status;
        int status = 0;
        waitpid(m_id, &status, 0);
        m_id = 0;
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        close(m_from[0]);
        close(m_to[1]);
        return m_status;
    }

private:
    pid_t m_id = 0;
    int m_status = -1;
    int m_from[2] = {-1, -1};
    int m_to[2] = {-1, -1};
};

/// The roles of this program as a child: runs the one that the arguments name, and returns its exit code, or
/// -1.
int RunLargeWriter(const std::string& role, const std::vector<std::string>& arguments);

}  // namespace qztest

#endif
