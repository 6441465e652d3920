#ifndef QZLIB_APPS_QZDB_TOOL_H
#define QZLIB_APPS_QZDB_TOOL_H

#include <qzlib.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "common/command_line.h"

namespace qzdb
{

// The exit codes: those of every tool, and this tool's own.
using qzapp::kExitAccess;
using qzapp::kExitGood;
using qzapp::kExitUsage;
constexpr int kExitFaults = 1;  ///< the database has faults, or the file is none
constexpr int kExitInput = 4;   ///< a file of comma separated values that cannot be taken

using qzapp::Arguments;
using qzapp::Failure;

/// The streams of a run; a test brings its own.
struct Console
{
    std::FILE* in;
    std::FILE* out;
    std::FILE* err;
    /// err is a terminal, so a progress bar makes sense.
    bool terminal;
};

/// Runs the program. `arguments` begins with the command; the library is running.
int RunTool(const Arguments& arguments, const Console& console);

// The commands. Each returns the exit code, and throws Failure or a QZException*.
int CreateCommand(const Arguments& arguments, const Console& console);
int InfoCommand(const Arguments& arguments, const Console& console);
int ImportCommand(const Arguments& arguments, const Console& console);
int ExportCommand(const Arguments& arguments, const Console& console);
int TreeCommand(const Arguments& arguments, const Console& console);
int ShowCommand(const Arguments& arguments, const Console& console);
int CheckCommand(const Arguments& arguments, const Console& console);
int SnapshotCommand(const Arguments& arguments, const Console& console);
int LogCommand(const Arguments& arguments, const Console& console);
int RestoreCommand(const Arguments& arguments, const Console& console);
int NodesCommand(const Arguments& arguments, const Console& console);
int TablesCommand(const Arguments& arguments, const Console& console);
int CreateTableCommand(const Arguments& arguments, const Console& console);
int AddFieldCommand(const Arguments& arguments, const Console& console);
int ImportCsvCommand(const Arguments& arguments, const Console& console);
int ExportCsvCommand(const Arguments& arguments, const Console& console);
int SelectCommand(const Arguments& arguments, const Console& console);
int SetCommand(const Arguments& arguments, const Console& console);
int RemoveCommand(const Arguments& arguments, const Console& console);
int MoveCommand(const Arguments& arguments, const Console& console);
int RepairCommand(const Arguments& arguments, const Console& console);
int CompactCommand(const Arguments& arguments, const Console& console);

}  // namespace qzdb

#endif
