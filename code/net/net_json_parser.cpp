#include "net/internal/net_json_parser.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "fw/fw_string.h"
#include "fw/internal/fw_number_text.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_json_internal.h"

// Reading. A first look finds the symbols of the whole text; then the values are read from symbol to symbol.
// Nested arrays and objects go on a stack of this reader's own, so that a text may be nested to any depth.

namespace
{
bool IsWhite(QZWChar unit) { return unit == ' ' || (unit >= 9 && unit <= 13) || unit == 0; }
bool IsBlank(QZWChar unit) { return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n'; }
bool IsDigit(QZWChar unit) { return unit >= '0' && unit <= '9'; }
unsigned Fold(QZWChar unit)
{
    const auto u = static_cast<unsigned>(unit);
    return u - 'A' < 26u ? u + 32 : u;
}

QZTrace<QZJsonException> Failure(QZInt64 code)
{
    return QZTrace(QZExceptionFactory::CreateJsonException(code), QZ_W("QZJsonFactory"),
                   QZ_W("DeserializeObject"));
}

[[noreturn]] void ThrowAt(QZInt64 index)
{
    QZJsonException* exception = Failure(QZJsonExceptionCode::UnexpectedSymbols).Exception();
    exception->GetMsg()->Append(QZ_W(" at index "));
    exception->GetMsg()->Append(index);
    throw exception;
}

[[noreturn]] void Throw(QZInt64 code) { throw Failure(code).Exception(); }

/// The names of one large object while it is read: finds a name as the dictionary's own walk would, without
/// the walk.
class NameIndex
{
public:
    /// Objects below this size are walked.
    static constexpr QZInt64 kWorthwhile = 16;

    explicit NameIndex(const JsonAttributes* names) : m_names(names)
    {
        for (QZInt64 i = 0; i < m_names->Count(); ++i) Add(i);
    }

    QZInt64 Find(JsonView name) const
    {
        for (std::size_t slot = Hash(name) & (m_slots.size() - 1);; slot = (slot + 1) & (m_slots.size() - 1))
        {
            const QZInt64 index = m_slots[slot];
            if (index < 0 || JsonSameName(m_names->NameAt(index), name)) return index;
        }
    }

    /// Takes in the name at the index; names come in order.
    void Add(QZInt64 index)
    {
        if (static_cast<std::size_t>(index) * 2 >= m_slots.size()) Grow(index);
        Put(index);
    }

private:
    void Grow(QZInt64 count)
    {
        m_slots.assign(std::max<std::size_t>(m_slots.size() * 4, 64), -1);
        for (QZInt64 i = 0; i < count; ++i) Put(i);
    }

    void Put(QZInt64 index)
    {
        std::size_t slot = Hash(m_names->NameAt(index)) & (m_slots.size() - 1);
        while (m_slots[slot] >= 0) slot = (slot + 1) & (m_slots.size() - 1);
        m_slots[slot] = index;
    }

    static std::size_t Hash(JsonView name)
    {
        QZUInt64 hash = 14695981039346656037ull;
        for (const QZWChar unit : name) hash = (hash ^ Fold(unit)) * 1099511628211ull;
        return static_cast<std::size_t>(hash ^ (hash >> 32));
    }

    const JsonAttributes* m_names;
    std::vector<QZInt64> m_slots;
};

/// Units of the text from `begin` up to, and with, `end`.
struct Stretch
{
    QZInt64 begin;
    QZInt64 end;
};

class Reader
{
public:
    explicit Reader(QZString* text) : m_text(text->GetPointer()), m_length(text->GetLength()) {}

    ~Reader()
    {
        // Of a text that fails nothing comes back to the caches; what was made is destroyed.
        if (m_value) QZJsonAccess::Discard(m_value);
        for (Level& level : m_levels) QZJsonAccess::Discard(level.value);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    QZJsonValue* Read()
    {
        const QZInt64 wrong = m_symbols.Scan(m_text, m_length);
        if (wrong >= 0) ThrowAt(wrong);
        const QZInt64 root = m_symbols.LastPair();
        if (root < 0)
        {
            // The pair to read is taken out of an empty collection, and that is what callers are told.
            QZCollection().Pop();
        }
        ReadValue({m_symbols.Index(root), m_symbols.Index(m_symbols.ClosingOf(root))}, root);
        while (!m_levels.empty())
        {
            if (m_value)
                Attach();
            else if (m_levels.back().object)
                StepObject();
            else
                StepArray();
        }
        if (m_symbols.FirstUnclosed() >= 0) ThrowAt(m_symbols.FirstUnclosed());
        QZJsonValue* value = m_value;
        m_value = nullptr;
        return value;
    }

private:
    /// An array or object that is being read.
    struct Level
    {
        QZJsonValue* value;
        QZJsonObject* object;  ///< null for an array
        QZInt64 closing;       ///< its closing symbol
        QZInt64 next;          ///< the symbol to go on with
        QZInt64 begin;         ///< arrays: where the next stretch begins
        QZInt64 comma;         ///< objects: the symbol that ends the present stretch
        QZInt64 first;         ///< objects: the first symbol of the present stretch
        QZInt64 colon;         ///< objects: the colon of the present pair; kNone between stretches
        JsonView name;         ///< objects: the name whose value is being read
        std::unique_ptr<NameIndex> names;

        Level(QZJsonValue* v, QZJsonObject* o, QZInt64 opening, QZInt64 end, QZInt64 index)
            : value(v),
              object(o),
              closing(end),
              next(opening + 1),
              begin(index + 1),
              comma(opening),
              first(opening + 1),
              colon(QZJsonSymbalPair::kNone)
        {}
    };

    /// Units of the text from `begin` up to, without, `end`.
    JsonView ViewOf(QZInt64 begin, QZInt64 end) const
    {
        return {m_text + begin, static_cast<std::size_t>(end - begin)};
    }

    QZWChar UnitOf(QZInt64 symbol) const { return m_text[m_symbols.Index(symbol)]; }

    /// Reads one value into m_value, or opens it as a new level.
    /// @param symbol  the first symbol at or behind the beginning of the stretch
    void ReadValue(Stretch stretch, QZInt64 symbol)
    {
        Stretch trimmed = stretch;
        while (trimmed.begin <= trimmed.end && IsWhite(m_text[trimmed.begin])) ++trimmed.begin;
        while (trimmed.end > trimmed.begin && IsWhite(m_text[trimmed.end])) --trimmed.end;
        if (trimmed.begin > trimmed.end) Throw(QZJsonExceptionCode::UnknwonDataType);
        const QZWChar unit = m_text[trimmed.begin];
        if (unit == '"')
            ReadString(trimmed, m_text[stretch.end] == '"', symbol);
        else if (unit == '[' || unit == '{')
            Open(symbol, unit == '{');
        else if (IsDigit(unit) ||
                 (unit == '-' && trimmed.begin < trimmed.end && IsDigit(m_text[trimmed.begin + 1])))
            ReadNumber(trimmed);
        else
            ReadWord(trimmed);
    }

    /// A string up to the last unit of the stretch where that is a quotation mark, up to the next one
    /// elsewhere.
    void ReadString(Stretch stretch, bool whole, QZInt64 symbol)
    {
        QZInt64 end = stretch.end;
        if (!whole)
        {
            QZInt64 next = symbol + 1;
            while (next < m_symbols.Count() && UnitOf(next) != '"') ++next;
            end = next < m_symbols.Count() ? m_symbols.Index(next) : stretch.end + 1;
        }
        if (end <= stretch.begin || end > stretch.end) Throw(QZJsonExceptionCode::JsonFormatException);
        m_value = QZJsonAccess::NewString();
        QZJsonAccess::SetText(m_value, ViewOf(stretch.begin + 1, end));
    }

    void ReadNumber(Stretch stretch)
    {
        m_value = QZJsonFactory::CreateDecimal(
            number::ReadDouble(m_text + stretch.begin, stretch.end - stretch.begin + 1));
    }

    void ReadWord(Stretch stretch)
    {
        if (Is(stretch, "true"))
            m_value = QZJsonFactory::CreateBool(1);
        else if (Is(stretch, "false"))
            m_value = QZJsonFactory::CreateBool(0);
        else if (Is(stretch, "null"))
            m_value = QZJsonFactory::CreateNull();
        else
            Throw(QZJsonExceptionCode::UnknwonDataType);
    }

    bool Is(Stretch stretch, const char* word) const
    {
        for (QZInt64 i = stretch.begin; i <= stretch.end; ++i, ++word)
            if (*word == 0 || Fold(m_text[i]) != static_cast<unsigned>(*word)) return false;
        return *word == 0;
    }

    void Open(QZInt64 symbol, bool isObject)
    {
        const QZInt64 closing = m_symbols.ClosingOf(symbol);
        QZJsonObject* object = nullptr;
        if (isObject)
            m_value = object = QZJsonFactory::CreateObject();
        else
            m_value = QZJsonFactory::CreateValueCollection();
        if (!object && IsBlankBetween(m_symbols.Index(symbol) + 1, m_symbols.Index(closing))) return;
        m_levels.emplace_back(m_value, object, symbol, closing, m_symbols.Index(symbol));
        m_value = nullptr;
    }

    bool IsBlankBetween(QZInt64 begin, QZInt64 end) const
    {
        while (begin < end && IsBlank(m_text[begin])) ++begin;
        return begin == end;
    }

    /// Puts the value that is ready into the innermost level.
    void Attach()
    {
        Level& level = m_levels.back();
        if (!level.object)
        {
            static_cast<QZJsonValueCollection*>(level.value)->Push(m_value);
            m_value = nullptr;
            return;
        }
        const JsonAttributes* attributes = QZJsonAccess::AttributesOf(level.object);
        const QZInt64 index = level.names ? level.names->Find(level.name) : attributes->Find(level.name);
        QZJsonAccess::SetAttr(level.object, level.name, index, m_value);
        m_value = nullptr;
        if (index >= 0) return;
        if (level.names)
            level.names->Add(attributes->Count() - 1);
        else if (attributes->Count() == NameIndex::kWorthwhile)
            level.names = std::make_unique<NameIndex>(attributes);
    }

    void Close()
    {
        m_value = m_levels.back().value;
        m_levels.pop_back();
    }

    /// The next stretch between commas. Quotation marks are not looked at: a comma inside a string ends the
    /// stretch too.
    void StepArray()
    {
        Level& level = m_levels.back();
        if (level.next > level.closing) return Close();
        const QZInt64 first = level.next;
        QZInt64 symbol = first;
        while (symbol < level.closing && UnitOf(symbol) != ',') symbol = Behind(symbol);
        const Stretch stretch{level.begin, m_symbols.Index(symbol) - 1};
        level.begin = stretch.end + 2;
        level.next = symbol + 1;
        ReadValue(stretch, first);
    }

    /// The next symbol on the same level.
    QZInt64 Behind(QZInt64 symbol) const
    {
        const QZWChar unit = UnitOf(symbol);
        return (unit == '[' || unit == '{' ? m_symbols.ClosingOf(symbol) : symbol) + 1;
    }

    /// The next pair: the next colon of the present stretch between commas, or of the one behind it. A
    /// stretch without a colon is passed over.
    void StepObject()
    {
        Level& level = m_levels.back();
        if (level.colon >= 0)
        {
            level.colon = NextColon(level.colon + 1, level.comma, nullptr);
        }
        else if (level.next > level.closing)
        {
            return Close();
        }
        else
        {
            level.first = level.next;
            level.colon = NextColon(level.first, level.closing, &level.comma);
            level.next = level.comma + 1;
        }
        if (level.colon < 0) return;
        TakeName(&level);
        ReadValue({m_symbols.Index(level.colon) + 1, m_symbols.Index(level.comma) - 1}, level.colon + 1);
    }

    /// The first colon outside quotation marks from a symbol on, or kNone; nested values are stepped over.
    /// @param comma  takes the first comma outside, or `end`, and the search for a colon ends there; null
    /// when `end` is it
    QZInt64 NextColon(QZInt64 symbol, QZInt64 end, QZInt64* comma) const
    {
        QZInt64 colon = QZJsonSymbalPair::kNone;
        bool quoted = false;
        while (symbol < end)
        {
            const QZWChar unit = UnitOf(symbol);
            if (unit == '"')
                quoted = !quoted;
            else if (!quoted && unit == ':' && colon < 0)
                colon = symbol;
            else if (!quoted && unit == ',')
                break;
            if (colon >= 0 && !comma) return colon;
            symbol = quoted ? symbol + 1 : Behind(symbol);
        }
        if (comma) *comma = symbol;
        return colon;
    }

    /// The name stands between the first two quotation marks in front of the colon.
    void TakeName(Level* level)
    {
        QZInt64 opening = level->first;
        while (opening < level->colon && UnitOf(opening) != '"') ++opening;
        QZInt64 end = opening + 1;
        while (end < level->colon && UnitOf(end) != '"') ++end;
        if (end >= level->colon) Throw(QZJsonExceptionCode::JsonFormatException);
        const QZInt64 begin = m_symbols.Index(opening) + 1;
        level->name = ViewOf(begin, m_symbols.Index(end));
    }

    const QZWChar* m_text;
    QZInt64 m_length;
    QZJsonSymbalPair m_symbols;
    QZJsonValue* m_value = nullptr;
    std::vector<Level> m_levels;
};
}  // namespace

QZJsonValue* QZJsonFactory::DeserializeObject(QZString* text)
{
    if (QZString::IsNullOrWhiteSpace(text) || text->Equals(QZ_W("null"), 1)) return nullptr;
    return Reader(text).Read();
}
