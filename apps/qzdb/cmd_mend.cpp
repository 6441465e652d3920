#include <algorithm>

#include "check.h"
#include "marks.h"
#include "nodes.h"
#include "text.h"
#include "text_list.h"

namespace qzdb
{

namespace
{

/// Shows the progress of the library's operation, and its findings afterwards.
class Report : public QZDbReport
{
public:
    Report(const Console& console, const char* what) : m_bar(console.err, console.terminal), m_what(what) {}

    QZBool Progress(QZInt64 done, QZInt64 total) override
    {
        const double now = Seconds();
        if (m_bar.IsSilent() || now < m_next || total <= 0) return 1;
        constexpr double kInterval = 0.1;
        m_next = now + kInterval;
        m_bar.ShowBar(static_cast<int>(done / (total / 100 + 1)), m_what);
        return 1;
    }

    void Print(std::FILE* out)
    {
        for (QZInt64 i = 0; i < Count(); ++i)
        {
            std::fprintf(out, "%lld: %s: %s: %s\n", GetAddress(i), KindName(GetKind(i)),
                         GetOutcome(i) == LEFT_OUT ? "left out" : "mended", GetReason(i));
        }
        const QZInt64 more = LeftOut() + Mended() - Count();
        if (more > 0) std::fprintf(out, "... and %lld more\n", more);
    }

private:
    qzapp::ProgressBar m_bar;
    const char* m_what;
    double m_next = 0;
};

/// How files are opened, for the time of an operation.
class OpenedAs
{
public:
    explicit OpenedAs(QZByte* flag) : m_flag(flag), m_before(*flag) { *flag = 1; }
    ~OpenedAs() { *m_flag = m_before; }
    OpenedAs(const OpenedAs&) = delete;
    OpenedAs& operator=(const OpenedAs&) = delete;

private:
    QZByte* m_flag;
    QZByte m_before;
};

QZString PathText(const std::string& path) { return QZString(path.c_str()); }

void RequireFile(const std::string& path)
{
    try
    {
        if (QZFileDirectory::Exists(path.c_str()))
            throw Failure{kExitAccess, path + ": a folder, not a file"};
        if (!QZFile::Exists(path.c_str())) throw Failure{kExitAccess, path + ": no such file"};
    }
    catch (QZException* e)
    {
        throw Failure{kExitAccess, path + ": cannot open: " + TakeMessage(e)};
    }
}

void RequireNew(const std::string& path)
{
    try
    {
        if (QZFile::Exists(path.c_str()) || QZFileDirectory::Exists(path.c_str()))
            throw Failure{kExitAccess, path + ": the file exists already"};
    }
    catch (QZException* e)
    {
        throw Failure{kExitAccess, path + ": cannot create: " + TakeMessage(e)};
    }
}

/// Runs an operation of the library that makes a file. Its exceptions become Failures.
template <typename Operation>
bool Make(const std::string& path, Operation operation)
{
    try
    {
        return operation() != 0;
    }
    catch (QZDatabaseException* e)
    {
        const bool none = e->GetCode() == QZDatabaseInfo::BAD_STRUCT;
        const int code = e->GetCode() == QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT ? kExitAccess : kExitFaults;
        const std::string reason = none ? "not a database" : CodeName(e->GetCode());
        QZException* exception = e;
        const std::string text = TakeMessage(exception);
        throw Failure{code, path + ": " + reason + (none ? "" : ": " + text)};
    }
    catch (QZException* e)
    {
        throw Failure{kExitAccess, path + ": " + TakeMessage(e)};
    }
}

struct CompactOptions
{
    std::string path;
    std::string target;
    std::vector<std::string> marks;
};

CompactOptions ParseCompact(const Arguments& arguments)
{
    CompactOptions options;
    bool keep = false;
    for (const std::string& word : arguments)
    {
        if (word == "--keep")
        {
            keep = true;
        }
        else if (keep)
        {
            options.marks.push_back(word);
        }
        else if (word.size() > 1 && word[0] == '-')
        {
            throw Failure{kExitUsage, "compact: unknown option " + Visible(word)};
        }
        else if (options.path.empty() || options.target.empty())
        {
            (options.path.empty() ? options.path : options.target) = word;
        }
        else
        {
            throw Failure{kExitUsage, "compact: one file and one new file, not also " + Visible(word)};
        }
    }
    if (options.path.empty()) throw Failure{kExitUsage, "compact: no file given"};
    if (keep && options.marks.empty()) throw Failure{kExitUsage, "compact: --keep needs a mark"};
    return options;
}

/// The addresses of the marks that are kept, and how many marks there are.
QZInt64 FindMarks(const CompactOptions& options, QZCollection* kept)
{
    Database database(options.path);
    const bool logged = database.RollbackOn();
    if (!logged && options.marks.empty()) return 0;
    std::vector<Mark> all;
    if (options.marks.empty())
    {
        try
        {
            all = ReadMarks(database, OpenLog(database).marks);
        }
        catch (const Failure&)
        {
            // They are not kept, so what is wrong with them does not matter.
        }
        return static_cast<QZInt64>(all.size());
    }
    database.RequireSound();
    all = ReadMarks(database, OpenLog(database).marks);
    for (const std::string& words : options.marks)
    {
        const auto address = static_cast<QZUInt64>(RequireMark(database, all, words).address);
        if (kept->FindElement(address) < 0) kept->Push(address);
    }
    return static_cast<QZInt64>(all.size());
}

/// Makes the lists of lines and the tables of a repaired file readable where something was left out of them.
class ContentMender
{
public:
    ContentMender(Database& database, std::FILE* out) : m_database(database), m_out(out), m_pause(database) {}

    QZInt64 Run()
    {
        Nodes(m_database.Root(QZDatabaseInfo::TREESSN), 0);
        m_pause.End();
        return m_changes;
    }

private:
    void Nodes(QZInt64 hd, int depth)
    {
        constexpr int kDeepest = 1000;
        if (depth > kDeepest) return;
        std::vector<QZInt64> nodes;
        m_database.Walk(hd, [&](QZInt64 record, QZInt64 kind) {
            if (kind == QZDatabaseInfo::DATA_PD) nodes.push_back(record);
            return true;
        });
        for (const QZInt64 pd : nodes) One(pd, depth);
    }

    void One(QZInt64 pd, int depth)
    {
        if (!ListName(m_database, pd).empty())
        {
            Changed(pd, MendList(m_database, pd), "lines of the list numbered again or left out");
            return;
        }
        const Node node = ReadNode(m_database, pd);
        const QZInt64 hd = node.kind == 0 ? 0 : ChildList(m_database, pd);
        if (hd == 0) return;
        if (!IsTable(m_database, node)) return Nodes(hd, depth + 1);
        std::vector<QZInt64> bad;
        m_database.Walk(hd, [&](QZInt64 record, QZInt64) {
            if (ReadNode(m_database, record).kind != LDTYPE::FLDTYPE) bad.push_back(record);
            return true;
        });
        for (const QZInt64 row : bad) m_database.Channel()->D_DATA(row, QZDatabaseInfo::DELETE_PD);
        Changed(pd, static_cast<QZInt64>(bad.size()), "rows of the table left out: they are none any more");
    }

    void Changed(QZInt64 pd, QZInt64 count, const char* text)
    {
        if (count == 0) return;
        m_changes += count;
        std::fprintf(m_out, "node %lld of the new file: %lld %s\n", pd, count, text);
    }

    Database& m_database;
    std::FILE* m_out;
    LogPause m_pause;
    QZInt64 m_changes = 0;
};

}  // namespace

int RepairCommand(const Arguments& arguments, const Console& console)
{
    const double start = Seconds();
    const std::string& path = arguments[0];
    const std::string& made = arguments[1];
    RequireFile(path);
    RequireNew(made);
    Report report(console, "repairing");
    QZString from = PathText(path);
    QZString to = PathText(made);
    const auto repair = [&] {
        const OpenedAs readOnly(&QZFileBuffer::ReadOnly);
        return QZDatabase::Repair(&from, &to, &report);
    };
    if (!Make(path, repair)) throw Failure{kExitAccess, made + ": the file exists already"};
    report.Print(console.out);
    QZInt64 faults = 0;
    {
        Database database(made);
        if (report.LeftOut() + report.Mended() != 0) ContentMender(database, console.out).Run();
        faults = CountFaults(database, console.out);
        database.Close();
    }
    std::fprintf(console.out, "%s: %lld records, %lld bytes of %lld, %lld left out, %lld mended, %.3f s\n",
                 made.c_str(), report.Records, report.SizeAfter, report.SizeBefore, report.LeftOut(),
                 report.Mended(), Seconds() - start);
    if (faults != 0) throw Failure{kExitFaults, made + ": " + std::to_string(faults) + " faults are left"};
    if (report.LeftOut() == 0) return kExitGood;
    throw Failure{kExitFaults, path + ": " + std::to_string(report.LeftOut()) + " records or parts left out"};
}

int CompactCommand(const Arguments& arguments, const Console& console)
{
    const CompactOptions options = ParseCompact(arguments);
    const double start = Seconds();
    RequireFile(options.path);
    if (!options.target.empty()) RequireNew(options.target);
    QZCollection kept;
    const QZInt64 marks = FindMarks(options, &kept);
    Report report(console, "compacting");
    QZString from = PathText(options.path);
    QZString to = PathText(options.target);
    const bool made = Make(options.path, [&] {
        // What another program writes meanwhile would be lost.
        const OpenedAs alone(&QZFileBuffer::Exclusive);
        return QZDatabase::Compact(&from, options.target.empty() ? nullptr : &to, &kept, &report);
    });
    if (!made)
    {
        report.Print(console.out);
        throw Failure{kExitFaults, options.path + ": damaged, nothing has changed; see qzdb repair"};
    }
    const std::string& name = options.target.empty() ? options.path : options.target;
    std::fprintf(console.out, "%s: %lld records, %lld bytes of %lld, %lld of %lld marks, %.3f s\n",
                 name.c_str(), report.Records, report.SizeAfter, report.SizeBefore, report.States, marks,
                 Seconds() - start);
    return kExitGood;
}

}  // namespace qzdb
