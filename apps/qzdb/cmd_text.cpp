#include "text.h"
#include "text_list.h"

namespace qzdb
{

namespace
{

/// The name in the form that is stored. Throws Failure when it is too short or too long.
std::string CheckedName(const std::string& narrow)
{
    const std::string name = Utf8FromNarrow(narrow);
    if (name.empty() || name.size() > 1024) throw Failure{kExitUsage, "a name has 1 to 1024 bytes"};
    return name;
}

/// How many bytes are left in a stream; 0 when that is unknown.
QZInt64 BytesLeft(std::FILE* in)
{
    const long at = std::ftell(in);
    if (at < 0 || std::fseek(in, 0, SEEK_END) != 0) return 0;
    const long end = std::ftell(in);
    if (std::fseek(in, at, SEEK_SET) != 0 || end < at) return 0;
    return end - at;
}

/// Splits a stream into lines at line feeds.
class LineReader
{
public:
    LineReader(std::FILE* in, ListWriter& writer, Progress& progress)
        : m_in(in), m_writer(writer), m_progress(progress)
    {}

    void Run()
    {
        std::string chunk(65536, '\0');
        for (;;)
        {
            const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), m_in);
            if (count == 0) break;
            m_bytes += static_cast<QZInt64>(count);
            Take(std::string_view(chunk.data(), count));
        }
        if (std::ferror(m_in)) throw Failure{kExitAccess, "cannot read standard input"};
        if (!m_rest.empty()) m_writer.Add(m_rest, false);
    }

    QZInt64 Bytes() const { return m_bytes; }

private:
    void Take(std::string_view chunk)
    {
        for (;;)
        {
            const std::size_t end = chunk.find('\n');
            if (end == std::string_view::npos) break;
            if (m_rest.empty())
            {
                m_writer.Add(chunk.substr(0, end), true);
            }
            else
            {
                m_rest += chunk.substr(0, end);
                m_writer.Add(m_rest, true);
                m_rest.clear();
            }
            chunk.remove_prefix(end + 1);
            m_progress.Show(m_bytes, m_writer.Count());
        }
        m_rest += chunk;
    }

    std::FILE* m_in;
    ListWriter& m_writer;
    Progress& m_progress;
    std::string m_rest;
    QZInt64 m_bytes = 0;
};

}  // namespace

int ImportCommand(const Arguments& arguments, const Console& console)
{
    const std::string name = CheckedName(arguments[1]);
    Database database(arguments[0]);
    database.RequireSound();

    const double start = Seconds();
    QZInt64 lines = 0;
    QZInt64 bytes = 0;
    try
    {
        Progress progress(console.err, console.terminal, BytesLeft(console.in));
        ListWriter writer(database, name);
        LineReader reader(console.in, writer, progress);
        reader.Run();
        writer.Commit();
        lines = writer.Count();
        bytes = reader.Bytes();
    }
    catch (QZException* e)
    {
        database.Fail(kExitAccess, "cannot write: " + TakeMessage(e));
    }
    database.Close();
    std::fprintf(console.out, "%s: %lld lines, %lld bytes in \"%s\", %.3f s\n", arguments[0].c_str(), lines,
                 bytes, Visible(name).c_str(), Seconds() - start);
    return kExitGood;
}

int ExportCommand(const Arguments& arguments, const Console& console)
{
    const std::string name = CheckedName(arguments[1]);
    Database database(arguments[0]);
    database.RequireSound();
    const QZInt64 pd = FindList(database, name);
    if (pd == 0) database.Fail(kExitUsage, "no list named \"" + Visible(name) + "\"");
    ReadLines(database, pd, [&](const std::string& text, bool ended) {
        std::fwrite(text.data(), 1, text.size(), console.out);
        if (ended) std::fputc('\n', console.out);
        if (std::ferror(console.out)) throw Failure{kExitAccess, "cannot write to standard output"};
    });
    return kExitGood;
}

}  // namespace qzdb
