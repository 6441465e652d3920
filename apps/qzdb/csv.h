#ifndef QZLIB_APPS_QZDB_CSV_H
#define QZLIB_APPS_QZDB_CSV_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qzlib.h>

#include "values.h"

namespace qzdb
{

/// How a file of comma separated values is written: line ends, quotes, byte order mark, the forms of times.
struct CsvStyle
{
    bool crlf = true;
    bool quoteAll = false;
    bool lastLineEnded = true;
    bool byteOrderMark = false;
    /// The forms in which the file has its times, by the number of the table's field.
    std::map<QZInt64, TimeForm> times = {};
    /// The style was stored by a version that did not store the forms: it took a DATETIME with a blank and a
    /// TIMESTAMP as a number, and nothing else.
    bool withoutTimes = false;

    /// The form of a field of a type for times.
    std::optional<TimeForm> FormOfField(QZInt64 field, QZInt64 type) const;

    /// The style as words, for storing it, and back. FromText ignores a text that ToText has not made.
    std::string ToText() const;
    void FromText(const std::string& text);
};

/// A field of a record, with the place where it begins. Lines and columns count from 1, columns in
/// characters.
struct CsvField
{
    std::string text;
    bool quoted = false;
    QZInt64 line = 0;
    QZInt64 column = 0;
};

/// Splits a text into records as RFC 4180 describes: commas separate fields, CR LF or LF ends a record. A
/// field in quotes may hold all of these, and each quote in it is written twice.
///
/// The text is UTF-8. A byte order mark at its begin is skipped. A Failure names line and column.
class CsvReader
{
public:
    /// @param name  of the file, for messages
    CsvReader(std::string_view text, std::string name);

    /// The next record; false at the end.
    bool Next(std::vector<CsvField>* record);

    /// Bytes taken so far.
    QZInt64 Position() const { return static_cast<QZInt64>(m_at); }

    [[noreturn]] void Fail(QZInt64 line, QZInt64 column, const std::string& text) const;

private:
    bool AtEnd() const { return m_at == m_text.size(); }
    bool AtLineEnd() const;
    void Advance();
    void ReadQuoted(std::string* text);
    void ReadPlain(std::string* text);
    std::size_t CharacterLength() const;

    std::string_view m_text;
    std::string m_name;
    std::size_t m_at = 0;
    QZInt64 m_line = 1;
    QZInt64 m_column = 1;
};

/// The style of a text, judged by its first records and its end.
CsvStyle StyleOf(std::string_view text, const std::string& name);

/// Appends a record in a style, with its line end.
void AppendRecord(const std::vector<std::string>& record, const CsvStyle& style, std::string* out);

/// Appends what comes before the first record: the byte order mark, if the style has one.
void AppendFront(const CsvStyle& style, std::string* out);

}  // namespace qzdb

#endif
