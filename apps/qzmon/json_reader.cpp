#include "json_reader.h"

namespace qzmon
{

namespace
{

void AppendUtf8(std::string* text, unsigned point)
{
    const auto next = [&](int shift) { text->push_back(static_cast<char>(0x80 | (point >> shift & 0x3F))); };
    if (point < 0x80)
    {
        text->push_back(static_cast<char>(point));
    }
    else if (point < 0x800)
    {
        text->push_back(static_cast<char>(0xC0 | point >> 6));
        next(0);
    }
    else if (point < 0x10000)
    {
        text->push_back(static_cast<char>(0xE0 | point >> 12));
        next(6);
        next(0);
    }
    else
    {
        text->push_back(static_cast<char>(0xF0 | point >> 18));
        next(12);
        next(6);
        next(0);
    }
}

class Reader
{
public:
    explicit Reader(std::string_view text) : m_text(text) {}

    Fields Run()
    {
        Fields fields;
        Blanks();
        Expect('{');
        Blanks();
        if (!Taken('}'))
        {
            do {
                TakePair(&fields);
                Blanks();
            } while (Taken(','));
            Expect('}');
        }
        Blanks();
        if (m_at < m_text.size()) Fail("nothing may follow the object");
        return fields;
    }

private:
    [[noreturn]] void Fail(const std::string& what) const
    {
        throw Failure{400, "The body of the request is no JSON object of plain values: at byte " +
                               std::to_string(m_at) + ", " + what + "."};
    }

    char Look() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

    void Blanks()
    {
        while (Look() == ' ' || Look() == '\t' || Look() == '\r' || Look() == '\n') ++m_at;
    }

    bool Taken(char c)
    {
        if (Look() != c || m_at == m_text.size()) return false;
        ++m_at;
        return true;
    }

    void Expect(char c)
    {
        if (!Taken(c)) Fail(std::string("'") + c + "' is missing");
    }

    void TakePair(Fields* fields)
    {
        Blanks();
        const std::string name = TakeText();
        Blanks();
        Expect(':');
        Blanks();
        std::string value;
        if (!TakeValue(&value)) return;
        if (!fields->emplace(name, value).second) Fail("\"" + name + "\" occurs twice");
    }

    /// False for null.
    bool TakeValue(std::string* value)
    {
        if (Look() == '"')
        {
            *value = TakeText();
            return true;
        }
        if (Look() == '-' || IsDigit())
        {
            *value = TakeNumber();
            return true;
        }
        for (const std::string_view word : {"true", "false", "null"})
        {
            if (m_text.substr(m_at, word.size()) != word) continue;
            m_at += word.size();
            *value = word;
            return word != "null";
        }
        Fail("a text, a number, true, false or null is missing");
    }

    bool IsDigit() const { return Look() >= '0' && Look() <= '9'; }

    void Digits()
    {
        if (!IsDigit()) Fail("a digit is missing");
        while (IsDigit()) ++m_at;
    }

    std::string TakeNumber()
    {
        const std::size_t begin = m_at;
        Taken('-');
        if (!Taken('0')) Digits();
        if (Taken('.')) Digits();
        if (Taken('e') || Taken('E'))
        {
            if (!Taken('+')) Taken('-');
            Digits();
        }
        return std::string(m_text.substr(begin, m_at - begin));
    }

    std::string TakeText()
    {
        std::string text;
        Expect('"');
        while (!Taken('"'))
        {
            if (m_at == m_text.size()) Fail("the text does not end");
            if (static_cast<unsigned char>(Look()) < 0x20) Fail("a control character needs an escape");
            if (Taken('\\'))
            {
                TakeEscape(&text);
                continue;
            }
            unsigned point = 0;
            const std::size_t length = TakeUtf8(m_text.substr(m_at), &point);
            if (length == 0) Fail("no UTF-8");
            text += m_text.substr(m_at, length);
            m_at += length;
        }
        return text;
    }

    void TakeEscape(std::string* text)
    {
        constexpr std::string_view kShort = "\"\\/bfnrt";
        constexpr std::string_view kMeaning = "\"\\/\b\f\n\r\t";
        const std::size_t index = Look() == '\0' ? std::string_view::npos : kShort.find(Look());
        if (index != std::string_view::npos)
        {
            text->push_back(kMeaning[index]);
            ++m_at;
            return;
        }
        unsigned point = TakeUnit();
        if (point >= 0xD800 && point < 0xDC00)
        {
            Expect('\\');
            const unsigned low = TakeUnit();
            if (low < 0xDC00 || low >= 0xE000) Fail("half a surrogate pair");
            point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
        }
        else if (point >= 0xDC00 && point < 0xE000)
        {
            Fail("half a surrogate pair");
        }
        AppendUtf8(text, point);
    }

    /// The four digits behind "u".
    unsigned TakeUnit()
    {
        constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
        if (!Taken('u')) Fail("no such escape");
        unsigned unit = 0;
        for (int i = 0; i < 4; ++i, ++m_at)
        {
            const std::size_t digit = Look() == '\0' ? std::string_view::npos : kDigits.find(Look());
            if (digit == std::string_view::npos) Fail("four hexadecimal digits are missing");
            unit = unit << 4 | static_cast<unsigned>(digit & 15);
        }
        return unit;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
};

}  // namespace

Fields ReadJsonObject(std::string_view text) { return Reader(text).Run(); }

}  // namespace qzmon
