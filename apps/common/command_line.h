#ifndef QZLIB_APPS_COMMON_COMMAND_LINE_H
#define QZLIB_APPS_COMMON_COMMAND_LINE_H

#include <cstdio>
#include <string>
#include <vector>

#include "common/text.h"

// What the command line tools qzdb and qzdevice have in common: a command, its arguments, and a line that
// says why it ended early.

namespace qzapp
{

// Exit codes that mean the same in every tool. Each tool has some of its own beside them.
constexpr int kExitGood = 0;
constexpr int kExitUsage = 2;   ///< unknown command or option, or an argument that cannot be read
constexpr int kExitAccess = 3;  ///< something cannot be read or written

/// What ends a command early: the exit code and one line that says why.
struct Failure
{
    int code;
    std::string text;
};

/// The words after the command.
using Arguments = std::vector<std::string>;

inline bool IsHelp(const std::string& word) { return word == "--help" || word == "-h" || word == "help"; }

inline Failure WrongCount(const std::string& command, const std::string& tool)
{
    return Failure{kExitUsage, command + ": wrong number of arguments; see " + tool + " --help"};
}

/// Finds a command by its `name`. Throws Failure when there is none.
template <typename Command, std::size_t N>
const Command& FindCommand(const Command (&commands)[N], const std::string& name, const std::string& tool)
{
    for (const Command& command : commands)
    {
        if (name == command.name) return command;
    }
    throw Failure{kExitUsage, "unknown command \"" + Visible(name) + "\"; see " + tool + " --help"};
}

/// Throws Failure unless a command takes that many arguments: from its `least` to its `most`.
template <typename Command>
void CheckCount(const Command& command, const Arguments& arguments, const std::string& tool)
{
    if (arguments.size() < command.least || arguments.size() > command.most)
        throw WrongCount(command.name, tool);
}

/// Writes out what a command printed. Throws Failure when that fails.
inline void Flush(std::FILE* out)
{
    if (std::fflush(out) != 0 || std::ferror(out) != 0)
        throw Failure{kExitAccess, "cannot write to standard output"};
}

/// Runs a tool and returns its exit code. Prints the text of a Failure as "<tool>: <text>".
template <typename Run>
int ReportFailure(const char* tool, std::FILE* err, Run run)
{
    try
    {
        return run();
    }
    catch (const Failure& failure)
    {
        std::fprintf(err, "%s: %s\n", tool, failure.text.c_str());
        return failure.code;
    }
}

}  // namespace qzapp

#endif
