#include "tool.h"

#include "text.h"

namespace qzdb
{

namespace
{

const char HelpText[] =
    "qzdb - looks after database files\n"
    "\n"
    "  qzdb create FILE [--addresses 32|64] [--no-rollback]\n"
    "                              makes an empty database (64, with rollback)\n"
    "  qzdb info FILE              version, modes, sizes, counts of records, state\n"
    "  qzdb import FILE NAME       puts the lines of standard input under NAME;\n"
    "                              what NAME held before stays in the log\n"
    "  qzdb export FILE NAME       writes NAME to standard output, byte for byte\n"
    "  qzdb tree FILE              shows the five trees\n"
    "  qzdb show FILE ADDRESS      shows one record: every field, content as hex\n"
    "  qzdb check FILE             checks every record and names each fault\n"
    "  qzdb snapshot FILE [LABEL]  marks the present state\n"
    "  qzdb log FILE               the tree of write positions, branches and marks\n"
    "  qzdb restore FILE MARK      goes to a mark, given by address or label\n"
    "  qzdb --help                 this text\n"
    "\n"
    "Exit codes: 0 good, 1 the database has faults, 2 usage (also: no such name,\n"
    "mark or record), 3 cannot read or write.\n";

struct Command
{
    const char* name;
    std::size_t least;
    std::size_t most;
    int (*run)(const Arguments&, const Console&);
};

const Command Commands[] = {
    {"create", 1, 4, CreateCommand},   {"info", 1, 1, InfoCommand}, {"import", 2, 2, ImportCommand},
    {"export", 2, 2, ExportCommand},   {"tree", 1, 1, TreeCommand}, {"show", 2, 2, ShowCommand},
    {"check", 1, 1, CheckCommand},     {"log", 1, 1, LogCommand},   {"snapshot", 1, 2, SnapshotCommand},
    {"restore", 2, 2, RestoreCommand},
};

const Command* FindCommand(const std::string& name)
{
    for (const Command& command : Commands)
    {
        if (name == command.name) return &command;
    }
    return nullptr;
}

int Run(const Command& command, const Arguments& arguments, const Console& console)
{
    if (arguments.size() < command.least || arguments.size() > command.most)
        throw Failure{ExitUsage, std::string(command.name) + ": wrong number of arguments; see qzdb --help"};
    try
    {
        const int code = command.run(arguments, console);
        if (std::fflush(console.out) != 0 || std::ferror(console.out) != 0)
            throw Failure{ExitAccess, "cannot write to standard output"};
        return code;
    }
    catch (QZException* e)
    {
        throw Failure{ExitAccess, arguments[0] + ": " + TakeMessage(e)};
    }
}

}  // namespace

int RunTool(const Arguments& arguments, const Console& console)
{
    try
    {
        if (arguments.empty()) throw Failure{ExitUsage, "no command given; see qzdb --help"};
        if (arguments[0] == "--help" || arguments[0] == "-h" || arguments[0] == "help")
        {
            std::fputs(HelpText, console.out);
            if (std::fflush(console.out) != 0) throw Failure{ExitAccess, "cannot write to standard output"};
            return ExitGood;
        }
        const Command* command = FindCommand(arguments[0]);
        if (!command)
            throw Failure{ExitUsage, "unknown command \"" + Visible(arguments[0]) + "\"; see qzdb --help"};
        return Run(*command, Arguments(arguments.begin() + 1, arguments.end()), console);
    }
    catch (const Failure& failure)
    {
        std::fprintf(console.err, "qzdb: %s\n", failure.text.c_str());
        return failure.code;
    }
}

}  // namespace qzdb
