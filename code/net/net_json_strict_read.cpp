// Reading JSON by RFC 8259. The text is read once, unit by unit; arrays and objects that are open stand on a
// stack of the reader's own.

#include <charconv>
#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_characters.h"
#include "net/internal/net_json_access.h"
#include "net/internal/net_json_list.h"
#include "net/net_json_strict.h"

namespace
{
/// Longer texts of numbers are not read by QZConvert::ParseDouble.
constexpr QZInt64 kLongestNumber = 4096;

using Text = std::basic_string<QZWChar>;

bool IsHighSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(unsigned unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
bool IsBlank(unsigned unit) { return unit == ' ' || unit == '\t' || unit == '\n' || unit == '\r'; }

/// The value of a hexadecimal digit, or -1.
int HexDigit(unsigned unit)
{
    if (!net::IsHexDigit(unit)) return -1;
    return static_cast<int>(net::IsDigit(unit) ? unit - '0' : (unit | 32) - 'a' + 10);
}

/// The names of one large object, sorted. An ordered set stays fast for every choice of names, which a hash
/// table does not.
class NameSet
{
public:
    explicit NameSet(const JsonAttributes* attributes) : m_set(Less{attributes})
    {
        for (QZInt64 i = 0; i < attributes->Count(); ++i) m_set.insert(i);
    }

    void Add(QZInt64 index) { m_set.insert(index); }

    /// The index of the name, or -1.
    QZInt64 Find(JsonView name) const
    {
        const auto found = m_set.find(name);
        return found == m_set.end() ? -1 : *found;
    }

private:
    struct Less
    {
        using is_transparent = void;
        const JsonAttributes* Names;
        bool operator()(QZInt64 a, QZInt64 b) const { return Names->NameAt(a) < Names->NameAt(b); }
        bool operator()(QZInt64 a, JsonView b) const { return Names->NameAt(a) < b; }
        bool operator()(JsonView a, QZInt64 b) const { return a < Names->NameAt(b); }
    };
    std::set<QZInt64, Less> m_set;
};

/// @tparam Unit  unsigned char for UTF-8, QZWChar for UTF-16
template <typename Unit>
class Reader
{
public:
    Reader(const Unit* text, QZInt64 length, const QZJsonReadOptions& options)
        : m_text(text), m_length(length), m_options(options)
    {}

    ~Reader()
    {
        // When the text is refused, the values made so far are deleted; they do not return to the caches.
        if (m_root != nullptr) QZJsonAccess::Discard(m_root);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// The value, or null and the error.
    QZJsonValue* Read(QZJsonError* error)
    {
        if (!ReadText())
        {
            if (error != nullptr) *error = m_error;
            return nullptr;
        }
        QZJsonValue* root = m_root;
        m_root = nullptr;
        return root;
    }

private:
    /// An array or object that is open. It stands in its parent already. A text may open one with every
    /// unit, so a level is only the address and two bits.
    class Level
    {
    public:
        explicit Level(QZJsonObject* object)
            : m_word(reinterpret_cast<std::uintptr_t>(static_cast<QZJsonValue*>(object)) | kObject)
        {}
        explicit Level(QZJsonValueCollection* list)
            : m_word(reinterpret_cast<std::uintptr_t>(static_cast<QZJsonValue*>(list)))
        {}

        bool IsObject() const { return (m_word & kObject) != 0; }
        bool IsEmpty() const { return (m_word & kFilled) == 0; }
        void SetFilled() { m_word |= kFilled; }
        QZJsonObject* Object() const { return static_cast<QZJsonObject*>(Value()); }
        QZJsonValueCollection* List() const { return static_cast<QZJsonValueCollection*>(Value()); }

    private:
        static constexpr std::uintptr_t kObject = 1;
        static constexpr std::uintptr_t kFilled = 2;

        QZJsonValue* Value() const { return reinterpret_cast<QZJsonValue*>(m_word & ~(kObject | kFilled)); }

        std::uintptr_t m_word;
    };

    /// The sorted names of an open object that has many.
    struct Sorted
    {
        std::size_t depth;  ///< of its level, from 1
        NameSet names;
    };

    /// Objects with fewer names are searched from the front.
    static constexpr QZInt64 kWorthSorting = 16;

    bool AtEnd() const { return m_position >= m_length; }
    unsigned Current() const { return static_cast<unsigned>(m_text[m_position]); }

    bool ReadText()
    {
        if (m_options.MaxLength >= 0 && m_length > m_options.MaxLength)
            return Fail(QZJsonErrorCode::Length, 0, QZ_W("the text is longer than the limit"));
        const QZInt64 mark = MarkLength();
        if (mark > 0 && !m_options.ByteOrderMark)
            return Fail(QZJsonErrorCode::ByteOrderMark, 0, QZ_W("a byte order mark is not allowed"));
        m_begin = mark;
        m_position = mark;
        SkipBlanks();
        if (!ReadValue()) return false;
        while (!m_levels.empty())
            if (!Step()) return false;
        SkipBlanks();
        if (!AtEnd()) return Fail(QZJsonErrorCode::Trailing, QZ_W("the text continues behind its value"));
        return true;
    }

    /// Units of the byte order mark in front of the text.
    QZInt64 MarkLength() const
    {
        if constexpr (sizeof(Unit) == 1)
            return m_length >= 3 && m_text[0] == 0xEF && m_text[1] == 0xBB && m_text[2] == 0xBF ? 3 : 0;
        else
            return m_length >= 1 && m_text[0] == 0xFEFF ? 1 : 0;
    }

    void SkipBlanks()
    {
        while (!AtEnd() && IsBlank(Current())) ++m_position;
    }

    /// The next item of the innermost array or object, or its end.
    bool Step()
    {
        Level& level = m_levels.back();
        const bool isObject = level.IsObject();
        SkipBlanks();
        if (AtEnd())
            return FailAtEnd(isObject ? QZ_W("the text ends inside an object")
                                      : QZ_W("the text ends inside an array"));
        if (Current() == (isObject ? '}' : ']'))
        {
            ++m_position;
            if (SortedNames() != nullptr) m_sorted.pop_back();
            m_levels.pop_back();
            return true;
        }
        if (!level.IsEmpty())
        {
            if (Current() != ',')
                return Fail(QZJsonErrorCode::Syntax,
                            isObject ? QZ_W("',' or '}' is expected") : QZ_W("',' or ']' is expected"));
            ++m_position;
            SkipBlanks();
        }
        level.SetFilled();
        return (!isObject || ReadName(level.Object())) && ReadValue();
    }

    /// Reads the name of a pair into m_name, and the colon.
    bool ReadName(QZJsonObject* object)
    {
        if (AtEnd()) return FailAtEnd(QZ_W("the text ends inside an object"));
        if (Current() != '"')
            return Fail(QZJsonErrorCode::Syntax, QZ_W("a name in quotation marks is expected"));
        const QZInt64 begin = m_position;
        if (!ReadString(&m_name)) return false;
        m_index = IndexOfName(object);
        if (m_index >= 0 && m_options.Duplicates == QZJsonDuplicates::Refuse)
            return Fail(QZJsonErrorCode::DuplicateName, begin, QZ_W("the object has this name already"));
        SkipBlanks();
        if (AtEnd()) return FailAtEnd(QZ_W("the text ends inside an object"));
        if (Current() != ':') return Fail(QZJsonErrorCode::Syntax, QZ_W("':' is expected"));
        ++m_position;
        SkipBlanks();
        return true;
    }

    /// The index of m_name in the object, or -1 for a new name.
    QZInt64 IndexOfName(QZJsonObject* object)
    {
        if (m_options.Duplicates == QZJsonDuplicates::KeepAll) return -1;
        if (const NameSet* names = SortedNames()) return names->Find(m_name);
        const JsonAttributes* attributes = QZJsonAccess::FindAttributes(object);
        return attributes != nullptr ? attributes->FindExact(m_name) : -1;
    }

    /// The sorted names of the innermost level; null while it has few.
    NameSet* SortedNames()
    {
        return !m_sorted.empty() && m_sorted.back().depth == m_levels.size() ? &m_sorted.back().names
                                                                             : nullptr;
    }

    /// Reads a value and places it; an array or object is only opened.
    bool ReadValue()
    {
        if (AtEnd()) return FailAtEnd(QZ_W("the text ends where a value is expected"));
        const unsigned unit = Current();
        switch (unit)
        {
            case '{': return OpenObject();
            case '[': return OpenArray();
            case '"':
                if (!ReadString(&m_string)) return false;
                Place(QZJsonAccess::NewString());
                QZJsonAccess::SetText(m_placed, m_string);
                return true;
            case 't': return ReadWord("true") && Place(QZJsonFactory::CreateBool(1));
            case 'f': return ReadWord("false") && Place(QZJsonFactory::CreateBool(0));
            case 'n': return ReadWord("null") && Place(QZJsonFactory::CreateNull());
            default: break;
        }
        if (unit == '-' || net::IsDigit(unit)) return ReadNumber();
        return Fail(QZJsonErrorCode::Syntax, QZ_W("a value is expected"));
    }

    /// Puts a new value where it belongs: into the innermost array or object, or in front of everything as
    /// the root.
    bool Place(QZJsonValue* value)
    {
        m_placed = value;
        if (m_levels.empty())
        {
            m_root = value;
            return true;
        }
        const Level level = m_levels.back();
        if (!level.IsObject())
        {
            JsonList::AddLast(level.List(), value, QZ_W("Push"));
            return true;
        }
        JsonAttributes* attributes = QZJsonAccess::AttributesOf(level.Object());
        if (m_index >= 0)
        {
            QZJsonAccess::Discard(attributes->Exchange(m_index, value));
            return true;
        }
        attributes->Append(m_name, value);
        if (m_options.Duplicates == QZJsonDuplicates::KeepAll) return true;
        if (NameSet* names = SortedNames())
            names->Add(attributes->Count() - 1);
        else if (attributes->Count() == kWorthSorting)
            m_sorted.push_back({m_levels.size(), NameSet(attributes)});
        return true;
    }

    bool CheckDepth()
    {
        if (m_options.MaxDepth < 0 || static_cast<QZInt64>(m_levels.size()) < m_options.MaxDepth) return true;
        return Fail(QZJsonErrorCode::Depth, QZ_W("the values are nested deeper than the limit"));
    }

    bool OpenObject()
    {
        if (!CheckDepth()) return false;
        ++m_position;
        QZJsonObject* object = QZJsonAccess::NewSmallObject();
        Place(object);
        m_levels.emplace_back(object);
        return true;
    }

    bool OpenArray()
    {
        if (!CheckDepth()) return false;
        ++m_position;
        QZJsonValueCollection* list = QZJsonFactory::CreateValueCollection();
        Place(list);
        m_levels.emplace_back(list);
        return true;
    }

    bool ReadWord(const char* word)
    {
        const QZInt64 begin = m_position;
        for (; *word != '\0'; ++word, ++m_position)
        {
            if (AtEnd()) return FailAtEnd(QZ_W("the text ends where a value is expected"));
            if (Current() != static_cast<unsigned char>(*word))
                return Fail(QZJsonErrorCode::Syntax, begin, QZ_W("a value is expected"));
        }
        return true;
    }

    // ---- Numbers

    bool ReadNumber()
    {
        const QZInt64 begin = m_position;
        if (Current() == '-') ++m_position;
        const QZInt64 digits = m_position;
        if (!SkipDigits()) return false;
        if (m_text[digits] == '0' && m_position - digits > 1)
            return Fail(QZJsonErrorCode::Number, begin, QZ_W("a number has no leading zeros"));
        bool isWhole = true;
        if (!AtEnd() && Current() == '.')
        {
            isWhole = false;
            ++m_position;
            if (!SkipDigits()) return false;
        }
        if (!AtEnd() && (Current() == 'e' || Current() == 'E'))
        {
            isWhole = false;
            ++m_position;
            if (!AtEnd() && (Current() == '+' || Current() == '-')) ++m_position;
            if (!SkipDigits()) return false;
        }
        return PlaceNumber(begin, isWhole);
    }

    /// One digit or more.
    bool SkipDigits()
    {
        if (AtEnd()) return FailAtEnd(QZ_W("the text ends where a digit is expected"));
        if (!net::IsDigit(Current())) return Fail(QZJsonErrorCode::Number, QZ_W("a digit is expected"));
        while (!AtEnd() && net::IsDigit(Current())) ++m_position;
        return true;
    }

    bool PlaceNumber(QZInt64 begin, bool isWhole)
    {
        if (m_position - begin > kLongestNumber)
            return Fail(QZJsonErrorCode::Number, begin, QZ_W("the number has more than 4096 characters"));
        m_number.assign(m_text + begin, m_text + m_position);
        if (isWhole && IsWhole64(m_number))
        {
            QZJsonDecimal* whole = QZJsonFactory::CreateDecimal(0);
            Place(whole);
            m_string.assign(m_number.begin(), m_number.end());
            QZJsonAccess::SetText(whole, m_string);
            return true;
        }
        double value = 0;
        if (!QZConvert::ParseDouble(m_number.c_str(), &value))
            return Fail(QZJsonErrorCode::Number, begin, QZ_W("the number is too large"));
        return Place(QZJson::CreateNumber(value));
    }

    /// True when the number fits a signed or an unsigned 64-bit number. Minus zero has a sign as a double
    /// only.
    static bool IsWhole64(std::string_view number)
    {
        if (number == "-0") return false;
        QZInt64 negative = 0;
        QZUInt64 positive = 0;
        const char* end = number.data() + number.size();
        const std::errc error = number[0] == '-' ? std::from_chars(number.data(), end, negative).ec
                                                 : std::from_chars(number.data(), end, positive).ec;
        return error == std::errc();
    }

    // ---- Strings

    /// Reads a string from its quotation mark on.
    bool ReadString(Text* string)
    {
        string->clear();
        ++m_position;
        for (;;)
        {
            if (AtEnd()) return FailAtEnd(QZ_W("the text ends inside a string"));
            const unsigned unit = Current();
            if (unit == '"') break;
            if (unit < 0x20)
                return Fail(QZJsonErrorCode::String,
                            QZ_W("a control character in a string has to be escaped"));
            if (unit == '\\')
            {
                if (!ReadEscape(string)) return false;
            }
            else if (unit < 0x80)
            {
                string->push_back(static_cast<QZWChar>(unit));
                ++m_position;
            }
            else if (!ReadCharacter(string))
            {
                return Fail(QZJsonErrorCode::Encoding, sizeof(Unit) == 1
                                                           ? QZ_W("the bytes are no character of UTF-8")
                                                           : QZ_W("a surrogate stands alone"));
            }
        }
        ++m_position;
        return true;
    }

    bool ReadEscape(Text* string)
    {
        const QZInt64 begin = m_position++;
        if (AtEnd()) return FailAtEnd(QZ_W("the text ends inside a string"));
        const unsigned unit = Current();
        if (unit == 'u') return ReadUnitEscape(begin, string);
        static constexpr std::string_view kNames = "\"\\/bfnrt";
        static constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
        const std::size_t index = unit < 0x80 ? kNames.find(static_cast<char>(unit)) : std::string_view::npos;
        if (index == std::string_view::npos)
            return Fail(QZJsonErrorCode::Escape, begin, QZ_W("the escape does not exist"));
        string->push_back(static_cast<QZWChar>(kMeanings[index]));
        ++m_position;
        return true;
    }

    /// \uXXXX, or two of them that are a surrogate pair.
    bool ReadUnitEscape(QZInt64 begin, Text* string)
    {
        unsigned first = 0;
        if (!ReadHex(&first)) return false;
        if (IsLowSurrogate(first))
            return Fail(QZJsonErrorCode::Escape, begin, QZ_W("an escaped surrogate stands alone"));
        string->push_back(static_cast<QZWChar>(first));
        if (!IsHighSurrogate(first)) return true;
        unsigned second = 0;
        if (m_length - m_position < 2 || Current() != '\\' || m_text[m_position + 1] != 'u')
            return Fail(QZJsonErrorCode::Escape, begin, QZ_W("an escaped surrogate stands alone"));
        ++m_position;
        if (!ReadHex(&second)) return false;
        if (!IsLowSurrogate(second))
            return Fail(QZJsonErrorCode::Escape, begin, QZ_W("an escaped surrogate stands alone"));
        string->push_back(static_cast<QZWChar>(second));
        return true;
    }

    /// The four digits behind the "u" at the position.
    bool ReadHex(unsigned* unit)
    {
        ++m_position;
        unsigned value = 0;
        for (int i = 0; i < 4; ++i, ++m_position)
        {
            if (AtEnd()) return FailAtEnd(QZ_W("the text ends inside a string"));
            const int digit = HexDigit(Current());
            if (digit < 0)
                return Fail(QZJsonErrorCode::Escape, QZ_W("four hexadecimal digits are expected behind \\u"));
            value = value * 16 + static_cast<unsigned>(digit);
        }
        *unit = value;
        return true;
    }

    /// A character outside ASCII.
    bool ReadCharacter(Text* string)
    {
        if constexpr (sizeof(Unit) == 1)
            return ReadUtf8(string);
        else
            return ReadUtf16(string);
    }

    bool ReadUtf16(Text* string)
    {
        const unsigned unit = Current();
        if (IsLowSurrogate(unit)) return false;
        if (!IsHighSurrogate(unit))
        {
            string->push_back(static_cast<QZWChar>(unit));
            ++m_position;
            return true;
        }
        if (m_length - m_position < 2 || !IsLowSurrogate(static_cast<unsigned>(m_text[m_position + 1])))
            return false;
        string->push_back(static_cast<QZWChar>(unit));
        string->push_back(static_cast<QZWChar>(m_text[m_position + 1]));
        m_position += 2;
        return true;
    }

    /// The second byte has a range of its own after E0, ED, F0 and F4: there lie the forms that are too long,
    /// the surrogates, and what is above U+10FFFF.
    bool ReadUtf8(Text* string)
    {
        const unsigned first = Current();
        if (first < 0xC2 || first > 0xF4) return false;
        const int count = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
        if (m_length - m_position <= count) return false;
        unsigned low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
        unsigned high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
        unsigned character = first & (0x3Fu >> count);
        for (int i = 1; i <= count; ++i)
        {
            const unsigned byte = static_cast<unsigned>(m_text[m_position + i]);
            if (byte < low || byte > high) return false;
            character = character << 6 | (byte & 0x3F);
            low = 0x80;
            high = 0xBF;
        }
        m_position += count + 1;
        if (character >= 0x10000)
        {
            string->push_back(static_cast<QZWChar>(0xD7C0 + (character >> 10)));
            character = 0xDC00 | (character & 0x3FF);
        }
        string->push_back(static_cast<QZWChar>(character));
        return true;
    }

    // ---- Failures; all answer false.

    bool Fail(QZJsonErrorCode code, const QZWChar* reason) { return Fail(code, m_position, reason); }
    bool FailAtEnd(const QZWChar* reason) { return Fail(QZJsonErrorCode::UnexpectedEnd, m_length, reason); }

    bool Fail(QZJsonErrorCode code, QZInt64 offset, const QZWChar* reason)
    {
        m_error = {code, offset, 1, 1, reason};
        for (QZInt64 i = m_begin; i < offset; ++i)
        {
            const unsigned unit = static_cast<unsigned>(m_text[i]);
            const bool isPair = unit == '\r' && i + 1 < m_length && m_text[i + 1] == '\n';
            if (unit == '\n' || (unit == '\r' && !isPair))
            {
                ++m_error.Line;
                m_error.Column = 1;
            }
            else if (sizeof(Unit) == 1 ? (unit & 0xC0) != 0x80 : !IsLowSurrogate(unit))
            {
                ++m_error.Column;
            }
        }
        return false;
    }

    const Unit* m_text;
    QZInt64 m_length;
    const QZJsonReadOptions m_options;
    QZInt64 m_begin = 0;
    QZInt64 m_position = 0;
    QZJsonValue* m_root = nullptr;
    /// The value that was placed last.
    QZJsonValue* m_placed = nullptr;
    /// The name whose value is read next, and its index when the object has it already.
    Text m_name;
    QZInt64 m_index = -1;
    Text m_string;
    std::string m_number;
    std::deque<Level> m_levels;
    std::vector<Sorted> m_sorted;
    QZJsonError m_error;
};

void CheckLength(QZInt64 length, const QZWChar* method)
{
    if (length >= 0) return;
    throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange), QZ_W("QZJson"),
                  method)
        .Argument(QZ_W("QZInt64"), length)
        .Exception();
}

QZJsonValue* ReadBytes(const void* utf8, QZInt64 size, const QZJsonReadOptions& options, QZJsonError* error)
{
    const auto* bytes = static_cast<const unsigned char*>(utf8);
    return Reader<unsigned char>(bytes, utf8 == nullptr ? 0 : size, options).Read(error);
}

QZJsonValue* ReadUnits(const QZWChar* text, QZInt64 length, const QZJsonReadOptions& options,
                       QZJsonError* error)
{
    return Reader<QZWChar>(text, text == nullptr ? 0 : length, options).Read(error);
}

QZJsonValue* ReadString(QZString* text, const QZJsonReadOptions& options, QZJsonError* error)
{
    return text == nullptr ? ReadUnits(nullptr, 0, options, error)
                           : ReadUnits(text->GetPointer(), text->GetLength(), options, error);
}

QZJsonValue* ReadData(QZData* utf8, const QZJsonReadOptions& options, QZJsonError* error)
{
    return utf8 == nullptr ? ReadBytes(nullptr, 0, options, error)
                           : ReadBytes(utf8->GetPointer(), utf8->GetSize(), options, error);
}

/// Throws the error of a text that gave no value.
QZJsonValue* ValueOrThrow(QZJsonValue* value, const QZJsonError& error)
{
    if (value != nullptr) return value;
    QZJsonException* exception =
        QZTrace(QZExceptionFactory::CreateJsonException(QZJsonExceptionCode::JsonFormatException),
                QZ_W("QZJson"), QZ_W("Parse"))
            .Exception();
    QZString* message = exception->GetMsg();
    message->Append(QZ_W(" at line "));
    message->Append(error.Line);
    message->Append(QZ_W(", column "));
    message->Append(error.Column);
    message->Append(QZ_W(" (offset "));
    message->Append(error.Offset);
    message->Append(QZ_W("): "));
    message->Append(error.Reason);
    throw exception;
}

QZBool Answer(QZJsonValue* value, QZJsonValue** variable)
{
    if (value == nullptr) return 0;
    *variable = value;
    return 1;
}
}  // namespace

QZJsonValue* QZJson::Parse(const char* utf8, QZInt64 size, const QZJsonReadOptions& options)
{
    CheckLength(size, QZ_W("Parse"));
    QZJsonError error;
    return ValueOrThrow(ReadBytes(utf8, size, options, &error), error);
}

QZJsonValue* QZJson::Parse(const QZWChar* text, QZInt64 length, const QZJsonReadOptions& options)
{
    CheckLength(length, QZ_W("Parse"));
    QZJsonError error;
    return ValueOrThrow(ReadUnits(text, length, options, &error), error);
}

QZJsonValue* QZJson::Parse(QZString* text, const QZJsonReadOptions& options)
{
    QZJsonError error;
    return ValueOrThrow(ReadString(text, options, &error), error);
}

QZJsonValue* QZJson::Parse(QZData* utf8, const QZJsonReadOptions& options)
{
    QZJsonError error;
    return ValueOrThrow(ReadData(utf8, options, &error), error);
}

QZBool QZJson::TryParse(const char* utf8, QZInt64 size, QZJsonValue** value, QZJsonError* error,
                        const QZJsonReadOptions& options)
{
    CheckLength(size, QZ_W("TryParse"));
    return Answer(ReadBytes(utf8, size, options, error), value);
}

QZBool QZJson::TryParse(const QZWChar* text, QZInt64 length, QZJsonValue** value, QZJsonError* error,
                        const QZJsonReadOptions& options)
{
    CheckLength(length, QZ_W("TryParse"));
    return Answer(ReadUnits(text, length, options, error), value);
}

QZBool QZJson::TryParse(QZString* text, QZJsonValue** value, QZJsonError* error,
                        const QZJsonReadOptions& options)
{
    return Answer(ReadString(text, options, error), value);
}

QZBool QZJson::TryParse(QZData* utf8, QZJsonValue** value, QZJsonError* error,
                        const QZJsonReadOptions& options)
{
    return Answer(ReadData(utf8, options, error), value);
}
