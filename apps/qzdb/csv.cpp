#include "csv.h"

#include <utility>

#include "text.h"
#include "tool.h"

namespace qzdb
{

namespace
{

const char kByteOrderMark[] = "\xEF\xBB\xBF";

constexpr TimeForm kForms[] = {TimeForm::Iso, TimeForm::Blank, TimeForm::Number};

char LetterOf(TimeForm form) { return form == TimeForm::Iso ? 'T' : form == TimeForm::Blank ? 'B' : 'N'; }

bool StartsWithMark(std::string_view text) { return text.substr(0, 3) == kByteOrderMark; }

/// The length of the first UTF-8 character, 0 when it is not well-formed.
std::size_t CharacterAt(std::string_view text)
{
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    // Not well-formed: overlong forms, surrogates, and code points after the last character.
    const unsigned second = byte(1);
    if (first == 0xE0 && second < 0xA0) return 0;
    if (first == 0xED && second >= 0xA0) return 0;
    if (first == 0xF0 && second < 0x90) return 0;
    if (first == 0xF4 && second >= 0x90) return 0;
    return length;
}

}  // namespace

std::string CsvStyle::ToText() const
{
    std::string text = crlf ? "csv crlf" : "csv lf";
    if (quoteAll) text += " quoted";
    if (!lastLineEnded) text += " open";
    if (byteOrderMark) text += " mark";
    if (withoutTimes) return text;
    text += " times:";
    for (const auto& [field, form] : times) text += std::to_string(field) + LetterOf(form);
    return text;
}

void CsvStyle::FromText(const std::string& text)
{
    const std::string words = text + " ";
    if (words.compare(0, 4, "csv ") != 0) return;
    const auto has = [&words](const char* word) { return words.find(word) != std::string::npos; };
    crlf = has(" crlf ");
    quoteAll = has(" quoted ");
    lastLineEnded = !has(" open ");
    byteOrderMark = has(" mark ");
    times.clear();
    const std::size_t at = words.find(" times:");
    withoutTimes = at == std::string::npos;
    if (withoutTimes) return;
    QZInt64 field = 0;
    for (std::size_t i = at + 7; words[i] != ' '; ++i)
    {
        if (words[i] >= '0' && words[i] <= '9')
        {
            field = field < 100000 ? field * 10 + (words[i] - '0') : 0;
            continue;
        }
        for (const TimeForm form : kForms)
        {
            if (words[i] == LetterOf(form)) times[field] = form;
        }
        field = 0;
    }
}

std::optional<TimeForm> CsvStyle::FormOfField(QZInt64 field, QZInt64 type) const
{
    if (withoutTimes) return type == QZDataType::TIMESTAMP ? TimeForm::Number : TimeForm::Blank;
    const auto found = times.find(field);
    return found == times.end() ? std::nullopt : std::optional<TimeForm>(found->second);
}

CsvReader::CsvReader(std::string_view text, std::string name) : m_text(text), m_name(std::move(name))
{
    if (StartsWithMark(text)) m_at = 3;
}

void CsvReader::Fail(QZInt64 line, QZInt64 column, const std::string& text) const
{
    throw Failure{kExitInput,
                  m_name + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + text};
}

std::size_t CsvReader::CharacterLength() const
{
    const std::size_t length = CharacterAt(m_text.substr(m_at));
    if (length == 0) Fail(m_line, m_column, "no UTF-8");
    if (m_text[m_at] == '\0') Fail(m_line, m_column, "a byte of value 0");
    return length;
}

bool CsvReader::AtLineEnd() const
{
    return m_text[m_at] == '\n' || (m_text[m_at] == '\r' && m_text.substr(m_at, 2) == "\r\n");
}

/// Skips one character, which may be a line end inside quotes.
void CsvReader::Advance()
{
    const bool line = m_text[m_at] == '\n';
    m_at += CharacterLength();
    m_line += line ? 1 : 0;
    m_column = line ? 1 : m_column + 1;
}

void CsvReader::ReadQuoted(std::string* text)
{
    const QZInt64 line = m_line;
    const QZInt64 column = m_column;
    Advance();
    for (;;)
    {
        if (AtEnd()) Fail(line, column, "the quotes that begin here do not end");
        if (m_text[m_at] == '"')
        {
            Advance();
            if (AtEnd() || m_text[m_at] != '"') break;
        }
        const std::size_t from = m_at;
        Advance();
        text->append(m_text.substr(from, m_at - from));
    }
    if (!AtEnd() && m_text[m_at] != ',' && !AtLineEnd())
        Fail(m_line, m_column, "text behind the closing quotes of a field");
}

void CsvReader::ReadPlain(std::string* text)
{
    const std::size_t from = m_at;
    while (!AtEnd() && m_text[m_at] != ',' && !AtLineEnd())
    {
        if (m_text[m_at] == '"')
            Fail(m_line, m_column, "quotes inside a field that does not begin with them");
        if (m_text[m_at] == '\r') Fail(m_line, m_column, "a carriage return that no line feed follows");
        Advance();
    }
    text->assign(m_text.substr(from, m_at - from));
}

bool CsvReader::Next(std::vector<CsvField>* record)
{
    record->clear();
    if (AtEnd()) return false;
    for (;;)
    {
        CsvField field;
        field.line = m_line;
        field.column = m_column;
        field.quoted = !AtEnd() && m_text[m_at] == '"';
        if (field.quoted)
            ReadQuoted(&field.text);
        else
            ReadPlain(&field.text);
        record->push_back(std::move(field));
        if (AtEnd()) return true;
        if (m_text[m_at] != ',') break;
        Advance();
    }
    m_at += m_text[m_at] == '\r' ? 2 : 1;
    ++m_line;
    m_column = 1;
    return true;
}

CsvStyle StyleOf(std::string_view text, const std::string& name)
{
    CsvStyle style;
    style.byteOrderMark = StartsWithMark(text);
    style.lastLineEnded = !text.empty() && text.back() == '\n';
    CsvReader reader(text, name);
    std::vector<CsvField> record;
    style.quoteAll = true;
    for (int i = 0; i < 2 && reader.Next(&record); ++i)
    {
        const std::size_t end = static_cast<std::size_t>(reader.Position());
        if (i == 0) style.crlf = end >= 2 && text.substr(end - 2, 2) == "\r\n";
        for (const CsvField& field : record) style.quoteAll = style.quoteAll && field.quoted;
    }
    return style;
}

void AppendFront(const CsvStyle& style, std::string* out)
{
    if (style.byteOrderMark) *out += kByteOrderMark;
}

void AppendRecord(const std::vector<std::string>& record, const CsvStyle& style, std::string* out)
{
    // A record of one empty field is written with quotes: without them it would look like no record.
    const bool lone = record.size() == 1 && record[0].empty();
    for (std::size_t i = 0; i < record.size(); ++i)
    {
        if (i > 0) out->push_back(',');
        const std::string& text = record[i];
        if (!style.quoteAll && !lone && text.find_first_of(",\"\r\n") == std::string::npos)
        {
            *out += text;
            continue;
        }
        out->push_back('"');
        for (const char c : text)
        {
            if (c == '"') out->push_back('"');
            out->push_back(c);
        }
        out->push_back('"');
    }
    *out += style.crlf ? "\r\n" : "\n";
}

}  // namespace qzdb
