#ifndef QZLIB_APPS_QZDEVICE_TOOL_H
#define QZLIB_APPS_QZDEVICE_TOOL_H

#include <atomic>
#include <cstdio>
#include <string>
#include <vector>

#include "common/command_line.h"

namespace qzdevice
{

// The exit codes: those of every tool, and this tool's own.
using qzapp::kExitAccess;
using qzapp::kExitGood;
using qzapp::kExitUsage;
constexpr int kExitRefused = 1;  ///< the device answered with a failure

using qzapp::Arguments;
using qzapp::Failure;

/// The streams of a run; a test brings its own.
struct Console
{
    std::FILE* out;
    std::FILE* err;
    /// err is a terminal, so a progress bar makes sense.
    bool terminal;
    /// A signal handler sets it to end a simulation.
    const std::atomic<bool>* stop;
    /// Where a person answers a question; null when nobody does.
    std::FILE* in = nullptr;
};

/// The values of the options.
struct Options
{
    long long baud = 115200;
    int timeout = 2000;
    bool checksum = true;
    bool verify = true;
    bool yes = false;
    bool force = false;
};

/// Runs the program. `arguments` begins with the command; the library is running.
int RunTool(const Arguments& arguments, const Console& console);

// The commands. Each returns the exit code, and throws Failure or a QZException*.
int ListCommand(const Arguments& arguments, const Options& options, const Console& console);
int ShowCommand(const Arguments& arguments, const Options& options, const Console& console);
int GetCommand(const Arguments& arguments, const Options& options, const Console& console);
int SetCommand(const Arguments& arguments, const Options& options, const Console& console);
int CallCommand(const Arguments& arguments, const Options& options, const Console& console);
int ReadCommand(const Arguments& arguments, const Options& options, const Console& console);
int WriteCommand(const Arguments& arguments, const Options& options, const Console& console);
int OrderCommand(const Arguments& arguments, const Options& options, const Console& console);
/// This command has its own options, so it takes all words after its name.
int SimulateCommand(const Arguments& arguments, const Console& console);

/// A number in decimal or 0x form that fills the text and lies in the range.
/// @throws Failure with `what` in its text
long long ParseInteger(const std::string& text, long long least, long long most, const char* what);

/// One of the speeds of a line.
long long ParseBaud(const std::string& text);

/// A number that fills the text and fits a float. @throws Failure with `what` in its text
float ParseFloat(const std::string& text, const char* what);

/// A number from 0 on that fills the text. @throws Failure with `what` in its text
double ParseSeconds(const std::string& text, const char* what);

}  // namespace qzdevice

#endif
