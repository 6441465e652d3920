#include <algorithm>
#include <csignal>
#include <map>
#include <optional>

#include "csv.h"
#include "marks.h"
#include "table.h"
#include "text.h"
#include "values.h"

namespace qzdb
{

namespace
{

volatile std::sig_atomic_t g_interrupted = 0;

/// While this object exists, an interrupt from the keyboard sets a flag and does not end the program.
class InterruptGuard
{
public:
    InterruptGuard() : m_before(std::signal(SIGINT, [](int) { g_interrupted = 1; })) {}
    ~InterruptGuard() { std::signal(SIGINT, m_before == SIG_ERR ? SIG_DFL : m_before); }
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

private:
    void (*m_before)(int);
};

struct ImportOptions
{
    std::string database;
    std::string table;
    std::string csv;
    /// The types given with --type, by the name of the field.
    std::vector<std::pair<std::string, QZInt64>> types;
    bool allText = false;
};

ImportOptions ParseImport(const Arguments& arguments)
{
    ImportOptions options;
    std::vector<std::string*> names{&options.database, &options.table, &options.csv};
    std::size_t named = 0;
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        const std::string& word = arguments[i];
        if (word == "--text")
        {
            options.allText = true;
        }
        else if (word == "--type")
        {
            const std::string given = ++i < arguments.size() ? arguments[i] : std::string();
            const std::size_t sign = given.rfind('=');
            QZInt64 type = 0;
            if (sign == std::string::npos || !ParseType(given.substr(sign + 1), &type))
                throw Failure{kExitUsage, "import-csv: --type takes FIELD=TYPE; types are " + TypeNames()};
            options.types.emplace_back(Utf8FromNarrow(given.substr(0, sign)), type);
        }
        else if (word.size() > 1 && word[0] == '-')
        {
            throw Failure{kExitUsage, "import-csv: unknown option " + Visible(word)};
        }
        else if (named < names.size())
        {
            *names[named++] = word;
        }
        else
        {
            throw Failure{kExitUsage, "import-csv: too many names"};
        }
    }
    if (named < names.size()) throw Failure{kExitUsage, "import-csv: needs FILE TABLE CSV"};
    return options;
}

std::string ReadAll(const std::string& path, const Console& console)
{
    std::FILE* file = path == "-" ? console.in : std::fopen(path.c_str(), "rb");
    if (file == nullptr) throw Failure{kExitAccess, path + ": cannot open"};
    std::string text;
    std::string chunk(1 << 16, '\0');
    for (std::size_t count = 1; count > 0;)
    {
        count = std::fread(chunk.data(), 1, chunk.size(), file);
        text.append(chunk, 0, count);
    }
    const bool failed = std::ferror(file) != 0;
    if (file != console.in) std::fclose(file);
    if (failed) throw Failure{kExitAccess, path + ": cannot read"};
    return text;
}

/// A column of the file.
struct Column
{
    std::string name;
    std::optional<QZInt64> type;
    /// The form of its times: the one that the table's field has, or that of the first value.
    std::optional<TimeForm> form;
    TypeGuess guess;

    bool ComesBack(const std::string& text) const
    {
        return qzdb::ComesBack(text, *type, form.value_or(TimeForm::Iso));
    }
};

/// Reads the whole file before the import: it finds every fault, so that none can stop the import half way,
/// and the types of the columns.
class Survey
{
public:
    Survey(const std::string& text, const ImportOptions& options)
        : m_text(text), m_options(options), m_style(StyleOf(text, options.csv))
    {}

    /// @param fields  of the table, when there is one
    void Run(const std::vector<TableField>* fields)
    {
        CsvReader reader(m_text, m_options.csv);
        std::vector<CsvField> record;
        if (!reader.Next(&record)) reader.Fail(1, 1, "no header line: the file is empty");
        for (const CsvField& field : record) AddColumn(reader, field, fields);
        CheckTypeOptions();
        while (reader.Next(&record)) TakeRecord(reader, record);
        for (Column& column : m_columns)
        {
            if (column.type) continue;
            column.type = column.guess.Type();
            column.form = column.guess.Form();
        }
    }

    const std::vector<Column>& Columns() const { return m_columns; }
    const CsvStyle& Style() const { return m_style; }
    QZInt64 Rows() const { return m_rows; }

    /// Says where an export of the imported rows will first differ from the file, and how; "" when it will be
    /// the same bytes.
    std::string Difference() const
    {
        CsvReader reader(m_text, m_options.csv);
        std::vector<CsvField> record;
        std::string out;
        AppendFront(m_style, &out);
        std::size_t at = 0;
        for (bool header = true; reader.Next(&record); header = false)
        {
            std::vector<std::string> texts;
            for (std::size_t i = 0; i < record.size(); ++i)
            {
                if (!header && !m_columns[i].ComesBack(record[i].text))
                    return Place(record[i]) + "\"" + Excerpt(record[i].text, 40) +
                           "\" will come back in another form, as it is stored as " +
                           TypeName(*m_columns[i].type);
                texts.push_back(record[i].text);
            }
            AppendRecord(texts, m_style, &out);
            const std::size_t end = static_cast<std::size_t>(reader.Position());
            if (end == m_text.size() && !m_style.lastLineEnded)
                out.resize(out.size() - (m_style.crlf ? 2 : 1));
            if (m_text.compare(at, end - at, out) != 0)
                return Place(record[0]) +
                       "quotes or line end are not those of the rest, which an export will use";
            at = end;
            out.clear();
        }
        return {};
    }

private:
    std::string Place(const CsvField& field) const
    {
        return m_options.csv + ":" + std::to_string(field.line) + ":" + std::to_string(field.column) + ": ";
    }

    void AddColumn(const CsvReader& reader, const CsvField& field, const std::vector<TableField>* fields)
    {
        const std::string shown = "\"" + Visible(field.text) + "\"";
        if (field.text.empty() || field.text.size() > 1024)
            reader.Fail(field.line, field.column, "the name of a field has 1 to 1024 bytes");
        for (const Column& other : m_columns)
        {
            if (SameField(other.name, field.text))
                reader.Fail(field.line, field.column, "a second field named " + shown);
        }
        Column column;
        column.name = field.text;
        if (m_options.allText) column.type = QZInt64{QZDataType::TEXTUTF16LE};
        for (const auto& [name, type] : m_options.types)
        {
            if (SameField(name, field.text)) column.type = type;
        }
        if (fields != nullptr)
        {
            const auto known = std::find_if(
                fields->begin(), fields->end(),
                [&field](const TableField& candidate) { return SameField(candidate.name, field.text); });
            if (known == fields->end())
                reader.Fail(field.line, field.column, "the table has no field " + shown);
            if (column.type && *column.type != known->type && !m_options.allText)
                throw Failure{kExitUsage,
                              "import-csv: the field " + shown + " is there as " + TypeName(known->type)};
            column.type = known->type;
            column.form = known->form;
        }
        m_columns.push_back(column);
    }

    void CheckTypeOptions() const
    {
        for (const auto& option : m_options.types)
        {
            const std::string& name = option.first;
            const bool there = std::any_of(m_columns.begin(), m_columns.end(), [&name](const Column& column) {
                return SameField(column.name, name);
            });
            if (!there)
                throw Failure{kExitUsage,
                              "import-csv: --type names \"" + Visible(name) + "\", the file does not"};
        }
    }

    void TakeRecord(const CsvReader& reader, const std::vector<CsvField>& record)
    {
        if (record.size() != m_columns.size())
        {
            const CsvField& where =
                record.size() > m_columns.size() ? record[m_columns.size()] : record.back();
            reader.Fail(where.line, where.column,
                        std::to_string(record.size()) + " fields, the header has " +
                            std::to_string(m_columns.size()));
        }
        for (std::size_t i = 0; i < record.size(); ++i)
        {
            Column& column = m_columns[i];
            if (!column.type)
            {
                column.guess.Take(record[i].text);
                continue;
            }
            if (!IsValue(record[i].text, *column.type))
                reader.Fail(record[i].line, record[i].column,
                            "\"" + Excerpt(record[i].text, 40) + "\" in field \"" + Visible(column.name) +
                                "\" is no " + TypeName(*column.type));
            if (!column.form && IsTimeType(*column.type) && !record[i].text.empty())
                column.form = FormOf(record[i].text);
        }
        ++m_rows;
    }

    const std::string& m_text;
    const ImportOptions& m_options;
    CsvStyle m_style;
    std::vector<Column> m_columns;
    QZInt64 m_rows = 0;
};

/// Writes the rows of a file into a table. A Survey has checked the file before.
class Importer
{
public:
    Importer(Database& database, const std::string& text, const ImportOptions& options, const Survey& survey)
        : m_database(database), m_text(text), m_options(options), m_survey(survey)
    {}

    void Run(bool create, Progress& progress)
    {
        if (create) MakeTable(m_database, m_options.table);
        Table table(m_database, m_options.table);
        if (create) MakeFields(table);
        for (const Column& column : m_survey.Columns())
            m_fields.push_back(static_cast<QZInt64>(table.Require(column.name)) + 1);
        KeepStyle(table, create);
        m_key = table->GetKeyIndex();

        CsvReader reader(m_text, m_options.csv);
        std::vector<CsvField> record;
        reader.Next(&record);
        for (QZInt64 rows = 1; reader.Next(&record); ++rows)
        {
            if (g_interrupted) throw Failure{kExitAccess, m_options.csv + ": interrupted"};
            AddRow(table, record);
            progress.Show(reader.Position(), rows);
        }
    }

private:
    void MakeFields(Table& table)
    {
        for (const Column& column : m_survey.Columns()) table.AddField(column.name, *column.type);
    }

    /// Stores how an export is to write the table: of a new one everything, of another one the forms of times
    /// that are not known yet.
    void KeepStyle(Table& table, bool create)
    {
        CsvStyle style = create ? m_survey.Style() : StoredStyle(m_database, table.Types());
        bool news = create;
        for (std::size_t i = 0; i < m_fields.size(); ++i)
        {
            const Column& column = m_survey.Columns()[i];
            if (!IsTimeType(*column.type) || !column.form || style.FormOfField(m_fields[i], *column.type))
                continue;
            style.times[m_fields[i]] = *column.form;
            news = true;
        }
        if (!news) return;
        m_database.Grown(4096);
        const OwnedString text = StringFromUtf8(style.ToText());
        QZSNode::PutText(m_database.Channel(), table.Types().pd, text.get());
    }

    void AddRow(Table& table, const std::vector<CsvField>& record)
    {
        m_database.Grown(65536);
        const QZInt64 row = m_key == 0 ? table->DataAdd() : AddWithKey(table, record);
        if (row <= 0) m_database.FailRefused();
        for (std::size_t i = 0; i < record.size(); ++i)
        {
            if (record[i].text.empty() || m_fields[i] == m_key) continue;
            const OwnedData value = ValueOfText(record[i].text, *m_survey.Columns()[i].type);
            table->DataSetValue(row, m_fields[i], value.get());
        }
        if (m_database.Channel()->G_WS() != 0) m_database.FailRefused();
    }

    QZInt64 AddWithKey(Table& table, const std::vector<CsvField>& record)
    {
        const auto place = std::find(m_fields.begin(), m_fields.end(), m_key);
        const std::size_t i = static_cast<std::size_t>(place - m_fields.begin());
        const OwnedData key = place == m_fields.end()
                                  ? OwnedData(QZDataFactory::CreateData())
                                  : ValueOfText(record[i].text, *m_survey.Columns()[i].type);
        return table->DataAdd(key.get());
    }

    Database& m_database;
    const std::string& m_text;
    const ImportOptions& m_options;
    const Survey& m_survey;
    /// The number of the table's field for each column.
    std::vector<QZInt64> m_fields;
    QZInt64 m_key = 0;
};

/// Imports all rows or none. Without a log there is no way back, so rows written before a failure stay.
void ImportAll(Database& database, Importer& importer, bool create, const std::optional<Mark>& mark,
               Progress& progress)
{
    std::string reason;
    try
    {
        importer.Run(create, progress);
        database.Channel()->SYNC();
        return;
    }
    catch (const Failure& failure)
    {
        reason = failure.text;
    }
    catch (QZException* e)
    {
        reason = database.Path() + ": cannot write: " + TakeMessage(e);
    }
    if (!mark) throw Failure{kExitAccess, reason + "; without a log, the rows written so far stay"};
    // The file then has all rows or none, as soon as it can be written again.
    const std::string stuck =
        "; nor could the import be taken back: when the file can be written again, look whether the rows are "
        "in it "
        "before you repeat the import";
    try
    {
        GoToPoint(database, mark->point);
        database.Channel()->SYNC();
    }
    catch (const Failure&)
    {
        throw Failure{kExitAccess, reason + stuck};
    }
    catch (QZException* e)
    {
        TakeMessage(e);
        throw Failure{kExitAccess, reason + stuck};
    }
    throw Failure{kExitAccess, reason + "; nothing is imported"};
}

void TellImport(const ImportOptions& options, const std::string& text, const Survey& survey, double seconds,
                const Console& console)
{
    std::fprintf(console.out, "%s: %lld rows, %zu fields, %zu bytes in \"%s\", %.3f s\n",
                 options.database.c_str(), survey.Rows(), survey.Columns().size(), text.size(),
                 Visible(options.table).c_str(), seconds);
    for (const Column& column : survey.Columns())
        std::fprintf(console.out, "  %s %s\n", Visible(column.name).c_str(), TypeName(*column.type).c_str());
    const std::string difference = survey.Difference();
    if (!difference.empty()) std::fprintf(console.err, "qzdb: note: %s\n", difference.c_str());
}

}  // namespace

int ImportCsvCommand(const Arguments& arguments, const Console& console)
{
    const ImportOptions options = ParseImport(arguments);
    SplitPath(options.table);
    const double start = Seconds();
    Database database(options.database);
    database.RequireSound();
    const std::string text = ReadAll(options.csv, console);

    const Node there = FindTable(database, options.table);
    if (there.pd == 0 && PathExists(database, options.table))
        database.Fail(kExitUsage, "\"" + Visible(options.table) + "\" is there and is no table");
    Survey survey(text, options);
    const std::vector<TableField> fields =
        there.pd == 0 ? std::vector<TableField>() : FieldsOf(database, there);
    survey.Run(there.pd == 0 ? nullptr : &fields);

    const InterruptGuard guard;
    std::optional<Mark> mark;
    if (database.RollbackOn())
        mark = TakeMark(database, "before import-csv " + Utf8FromNarrow(options.table));
    {
        Progress progress(console.err, console.terminal, static_cast<QZInt64>(text.size()));
        Importer importer(database, text, options, survey);
        ImportAll(database, importer, there.pd == 0, mark, progress);
    }
    database.Close();
    TellImport(options, text, survey, Seconds() - start, console);
    return kExitGood;
}

int ExportCsvCommand(const Arguments& arguments, const Console& console)
{
    Arguments words;
    std::optional<bool> crlf;
    for (const std::string& word : arguments)
    {
        if (word == "--crlf" || word == "--lf")
            crlf = word == "--crlf";
        else
            words.push_back(word);
    }
    if (words.size() != 2) throw qzapp::WrongCount("export-csv", "qzdb");
    Database database(words[0]);
    database.RequireSound();
    Table table(database, words[1]);

    CsvStyle style = StoredStyle(database, table.Types());
    if (crlf) style.crlf = *crlf;

    std::string out;
    const auto flush = [&](bool last) {
        if (last && !style.lastLineEnded) out.resize(out.size() - (style.crlf ? 2 : 1));
        std::fwrite(out.data(), 1, out.size(), console.out);
        out.clear();
        if (std::ferror(console.out)) throw Failure{kExitAccess, "cannot write to standard output"};
    };
    AppendFront(style, &out);
    std::vector<std::string> record;
    for (const TableField& field : table.Fields()) record.push_back(field.name);
    if (record.empty()) database.Fail(kExitUsage, "a table without fields has no header line");
    AppendRecord(record, style, &out);
    table.EachRow([&](QZInt64 row) {
        flush(false);
        record = table.Values(row);
        for (std::size_t i = 0; i < record.size(); ++i)
            record[i] = TextOfValue(record[i], table.Fields()[i].type,
                                    table.Fields()[i].form.value_or(TimeForm::Iso));
        AppendRecord(record, style, &out);
        return true;
    });
    flush(true);
    return kExitGood;
}

}  // namespace qzdb
