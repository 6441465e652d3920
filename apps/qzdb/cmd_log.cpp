#include <map>
#include <set>

#include "marks.h"
#include "text.h"
#include "text_list.h"

namespace qzdb
{

namespace
{

/// How many levels of branches `log` follows.
constexpr int kDeepestLevel = 1000;

/// Whether a record of the log is at the address: each of them is a state, the one right after it.
bool IsState(Database& database, const Log& log, QZInt64 address)
{
    std::set<QZInt64> seen;
    std::vector<QZInt64> positions{log.base};
    bool found = false;
    while (!positions.empty() && !found)
    {
        const QZInt64 position = positions.back();
        positions.pop_back();
        if (!seen.insert(position).second) database.FailDamaged(position, "a branch that leads back");
        database.Walk(position, [&](QZInt64 record, QZInt64 kind) {
            if (kind == QZDatabaseInfo::DATA_AD)
                positions.push_back(database.Field(record, QZDatabaseInfo::AD_FREE));
            found = record == address;
            return !found;
        });
    }
    return found;
}

/// What `restore` goes to.
struct Target
{
    QZInt64 point = 0;
    std::string text;
};

Target FindTarget(Database& database, const Log& log, const std::string& words)
{
    QZInt64 address = 0;
    if (words[0] == '@' && ParseNumber(words.substr(1), &address))
    {
        if (!IsState(database, log, address))
            database.Fail(kExitUsage, "no state " + Visible(words) + " in the log; see qzdb log --states");
        return {address, "state @" + std::to_string(address)};
    }
    const Mark mark = RequireMark(database, ReadMarks(database, log.marks), words);
    const QZInt64 kind = database.Kind(mark.point);
    if (kind != QZDatabaseInfo::DATA_RD && kind != QZDatabaseInfo::DATA_AD)
        database.FailDamaged(mark.address, "a mark that names no record of the log");
    return {mark.point, MarkText(mark)};
}

class LogPrinter
{
public:
    /// @param states  each change on a line of its own
    LogPrinter(Database& database, const Log& log, const std::vector<Mark>& marks, bool states,
               std::FILE* out)
        : m_database(database), m_log(log), m_states(states), m_out(out)
    {
        for (const Mark& mark : marks) m_marks[mark.point].push_back(&mark);
    }

    void Print(QZInt64 position, int depth)
    {
        if (!m_seen.insert(position).second) m_database.FailDamaged(position, "a branch that leads back");
        std::fprintf(m_out, "%*swrite position %lld%s%s\n", 2 * depth, "", position,
                     position == m_log.base ? ", base" : "", position == m_log.current ? ", current" : "");
        Changes changes;
        m_database.Walk(position, [&](QZInt64 record, QZInt64 kind) {
            PrintStep(record, kind, depth + 1, &changes);
            return true;
        });
        PrintChanges(&changes, depth + 1);
    }

private:
    /// Changes that follow each other.
    struct Changes
    {
        QZInt64 count = 0;
        QZInt64 first = 0;
        QZInt64 last = 0;
    };

    void PrintStep(QZInt64 record, QZInt64 kind, int depth, Changes* changes)
    {
        if (kind == QZDatabaseInfo::DATA_RD)
        {
            if (changes->count++ == 0) changes->first = record;
            changes->last = record;
            if (m_states) PrintChanges(changes, depth);
        }
        else if (kind == QZDatabaseInfo::DATA_AD)
        {
            PrintChanges(changes, depth);
            const QZInt64 branch = m_database.Field(record, QZDatabaseInfo::AD_FREE);
            std::fprintf(m_out, "%*sbranch %lld\n", 2 * depth, "", record);
            if (depth < kDeepestLevel) Print(branch, depth + 1);
            if (depth >= kDeepestLevel) std::fprintf(m_out, "%*s...\n", 2 * depth + 2, "");
        }
        else
        {
            m_database.FailDamaged(record, "neither RD nor AD in the log");
        }
        const auto here = m_marks.find(record);
        if (here == m_marks.end()) return;
        PrintChanges(changes, depth);
        for (const Mark* mark : here->second)
            std::fprintf(m_out, "%*s* %s\n", 2 * depth, "", MarkText(*mark).c_str());
    }

    void PrintChanges(Changes* changes, int depth)
    {
        const int indent = 2 * depth;
        if (changes->count == 1) std::fprintf(m_out, "%*s1 change, @%lld\n", indent, "", changes->first);
        if (changes->count > 1)
            std::fprintf(m_out, "%*s%lld changes, @%lld to @%lld\n", indent, "", changes->count,
                         changes->first, changes->last);
        *changes = Changes();
    }

    Database& m_database;
    const Log& m_log;
    bool m_states;
    std::FILE* m_out;
    std::map<QZInt64, std::vector<const Mark*>> m_marks;
    std::set<QZInt64> m_seen;
};

}  // namespace

int SnapshotCommand(const Arguments& arguments, const Console& console)
{
    const std::string label = arguments.size() > 1 ? Utf8FromNarrow(arguments[1]) : std::string();
    Database database(arguments[0]);
    database.RequireSound();
    CheckLabel(label, ReadMarks(database, OpenLog(database).marks));
    Mark mark;
    try
    {
        mark = TakeMark(database, label);
    }
    catch (QZException* e)
    {
        database.Fail(kExitAccess, "cannot write: " + TakeMessage(e));
    }
    database.Close();
    std::fprintf(console.out, "%s: %s\n", arguments[0].c_str(), MarkText(mark).c_str());
    return kExitGood;
}

int LogCommand(const Arguments& arguments, const Console& console)
{
    const bool states = arguments.size() > 1;
    if (states && arguments[1] != "--states")
        throw Failure{kExitUsage, "log: unknown option " + Visible(arguments[1])};
    Database database(arguments[0]);
    database.RequireSound();
    const Log log = OpenLog(database);
    const std::vector<Mark> marks = ReadMarks(database, log.marks);
    LogPrinter(database, log, marks, states, console.out).Print(log.base, 0);
    return kExitGood;
}

int RestoreCommand(const Arguments& arguments, const Console& console)
{
    Database database(arguments[0]);
    database.RequireSound();
    const Log log = OpenLog(database);
    const Target target = FindTarget(database, log, arguments[1]);
    const double start = Seconds();
    try
    {
        GoToPoint(database, target.point);
    }
    catch (QZException* e)
    {
        database.Fail(kExitAccess, "cannot write: " + TakeMessage(e));
    }
    database.Close();
    std::fprintf(console.out, "%s: restored %s, %.3f s\n", arguments[0].c_str(), target.text.c_str(),
                 Seconds() - start);
    return kExitGood;
}

}  // namespace qzdb
