#include "tool.h"

#include <algorithm>

#include "common/owned.h"
#include "database.h"
#include "text.h"

namespace qzdb
{

namespace
{

const char kHelpText[] =
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
    "  qzdb log FILE [--states]    the tree of write positions, branches and marks;\n"
    "                              with --states each change on a line of its own\n"
    "  qzdb restore FILE MARK      goes to a mark, given by address or label\n"
    "  qzdb restore FILE @ADDRESS  goes to the state after one change of the log\n"
    "  qzdb remove FILE NAME       takes the lines of NAME out; they stay in the log\n"
    "  qzdb repair FILE NEW        brings all that can be reached in a damaged file into a\n"
    "                              new one and lists what it cannot bring; the log and\n"
    "                              the marks stay behind\n"
    "  qzdb compact FILE [NEW] [--keep MARK...]\n"
    "                              writes the present state without the log and without\n"
    "                              dead contents, and with --keep also the states at\n"
    "                              marks; without NEW the new file replaces FILE\n"
    "\n"
    "Tables; TABLE is a name, or a path such as stock/parts:\n"
    "  qzdb tables FILE            the tables with their fields and rows\n"
    "  qzdb nodes FILE             the directory of named nodes: kinds, dates, states\n"
    "  qzdb create-table FILE TABLE [FIELD[:TYPE]]...\n"
    "  qzdb add-field FILE TABLE FIELD [TYPE]\n"
    "                              TYPE is text (as without it), int64, int32, int16,\n"
    "                              int8, byte, bool, double, float, datetime, timestamp,\n"
    "                              int32s, int64s, doubles or binary\n"
    "  qzdb import-csv FILE TABLE CSV [--type FIELD=TYPE]... [--text]\n"
    "                              adds the rows of a file of comma separated values\n"
    "                              (- for standard input); its first line names the\n"
    "                              fields. A missing table is made, with types that the\n"
    "                              values come back from, those given, or text alone.\n"
    "                              All rows or none: a snapshot is taken first\n"
    "  qzdb export-csv FILE TABLE [--crlf|--lf]\n"
    "                              writes the table the way it was imported\n"
    "  qzdb select FILE TABLE [--limit N]\n"
    "                              shows the first N rows, with -N the last, last first\n"
    "  qzdb set FILE TABLE ROW FIELD VALUE\n"
    "  qzdb move FILE TABLE ROW PLACE\n"
    "  qzdb remove FILE TABLE [ROW]\n"
    "                              rows are named by their place, from 1; without ROW\n"
    "                              the table goes\n"
    "Dates and times are read and written as 2024-05-06T07:08:09.123, read with a\n"
    "blank for the T too, and exported the way they were imported.\n"
    "\n"
    "One command at a time may write a database. Commands that only read go together,\n"
    "and are refused while another program has the database open for writing;\n"
    "  qzdb COMMAND FILE ... --while-in-use\n"
    "                              reads a private copy of the state of its last sync\n"
    "\n"
    "  qzdb --help                 this text\n"
    "\n"
    "Exit codes: 0 good, 1 the database has faults, 2 usage (also: no such name,\n"
    "mark, row or record), 3 cannot read or write, or in use, 4 faults in a CSV file (nothing is\n"
    "imported then).\n";

/// What a command does with the database.
enum class Access
{
    Write,
    Read
};

struct Command
{
    const char* name;
    std::size_t least;
    std::size_t most;
    int (*run)(const Arguments&, const Console&);
    Access access = Access::Write;
};

const Command kCommands[] = {
    {"create", 1, 4, CreateCommand},
    {"info", 1, 1, InfoCommand, Access::Read},
    {"import", 2, 2, ImportCommand},
    {"export", 2, 2, ExportCommand, Access::Read},
    {"tree", 1, 1, TreeCommand, Access::Read},
    {"show", 2, 2, ShowCommand, Access::Read},
    {"check", 1, 1, CheckCommand, Access::Read},
    {"log", 1, 2, LogCommand, Access::Read},
    {"snapshot", 1, 2, SnapshotCommand},
    {"restore", 2, 2, RestoreCommand},
    {"nodes", 1, 1, NodesCommand, Access::Read},
    {"tables", 1, 1, TablesCommand, Access::Read},
    {"create-table", 2, 1000, CreateTableCommand},
    {"add-field", 3, 4, AddFieldCommand},
    {"import-csv", 1, 10000, ImportCsvCommand},
    {"export-csv", 2, 4, ExportCsvCommand, Access::Read},
    {"select", 2, 4, SelectCommand, Access::Read},
    {"set", 5, 5, SetCommand},
    {"move", 4, 4, MoveCommand},
    {"remove", 2, 3, RemoveCommand},
    {"repair", 2, 2, RepairCommand},
    {"compact", 1, 10000, CompactCommand},
};

/// Opens databases for the time of a command as the command needs them.
class AccessScope
{
public:
    AccessScope(Access access, bool copies)
    {
        QZFileBuffer::ReadOnly = access == Access::Read && !copies;
        ReadPrivateCopies(copies);
    }
    ~AccessScope()
    {
        QZFileBuffer::ReadOnly = 0;
        ReadPrivateCopies(false);
    }
    AccessScope(const AccessScope&) = delete;
    AccessScope& operator=(const AccessScope&) = delete;
};

/// Names the recovery files that did not belong to their database.
void TellPutAside(std::FILE* err)
{
    QZString* names = QZFileBuffer::TakePutAside();
    if (names == nullptr) return;
    std::fprintf(err, "qzdb: note: did not belong to the database beside it, and was put aside: %s\n",
                 Visible(qzapp::Utf8(qzapp::OwnedString(names).get())).c_str());
}

/// Takes an option out of the words; false when it is not there.
bool TakeOption(Arguments* words, const char* option)
{
    const auto found = std::find(words->begin(), words->end(), option);
    if (found == words->end()) return false;
    words->erase(found);
    return true;
}

int Run(const Arguments& arguments, const Console& console)
{
    if (arguments.empty()) throw Failure{kExitUsage, "no command given; see qzdb --help"};
    if (qzapp::IsHelp(arguments[0]))
    {
        std::fputs(kHelpText, console.out);
        qzapp::Flush(console.out);
        return kExitGood;
    }
    const Command& command = qzapp::FindCommand(kCommands, arguments[0], "qzdb");
    Arguments words(arguments.begin() + 1, arguments.end());
    const bool copies = command.access == Access::Read && TakeOption(&words, "--while-in-use");
    qzapp::CheckCount(command, words, "qzdb");
    const AccessScope scope(command.access, copies);
    try
    {
        const int code = command.run(words, console);
        qzapp::Flush(console.out);
        return code;
    }
    catch (QZException* e)
    {
        throw Failure{kExitAccess, words[0] + ": " + TakeMessage(e)};
    }
}

}  // namespace

int RunTool(const Arguments& arguments, const Console& console)
{
    const int code = qzapp::ReportFailure("qzdb", console.err, [&] { return Run(arguments, console); });
    TellPutAside(console.err);
    return code;
}

}  // namespace qzdb
