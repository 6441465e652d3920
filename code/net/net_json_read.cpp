// Reading JSON text. The first pass (JsonSymbols) finds the symbols of the whole text; then the values are
// read from symbol to symbol. Open arrays and objects lie on the reader's own stack, so a text may be nested
// to any depth.

#include <algorithm>
#include <memory>
#include <vector>

#include "fw/fw_string.h"
#include "fw/internal/fw_number_text.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_characters.h"
#include "net/internal/net_json_access.h"
#include "net/internal/net_json_symbols.h"

namespace
{
using net::IsDigit;
using net::IsWhiteSpace;

bool IsBlank(QZWChar unit) { return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n'; }

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

/// A hash table of the names of one large object while it is read. It finds the same name as
/// JsonAttributes::Find, which compares all names.
class NameIndex
{
public:
    /// Smaller objects use JsonAttributes::Find.
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

    /// Adds the name at the index; names are added in the order of their indexes.
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
        // FNV-1a of the lower-case units.
        QZUInt64 hash = 14695981039346656037ull;
        for (const QZWChar unit : name) hash = (hash ^ net::Lower(unit)) * 1099511628211ull;
        return static_cast<std::size_t>(hash ^ (hash >> 32));
    }

    const JsonAttributes* m_names;
    std::vector<QZInt64> m_slots;
};

/// Units of the text from `begin` to `end`, both included.
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
        // When the text cannot be read, the values made so far are deleted; none goes back to a cache.
        if (m_value != nullptr) QZJsonAccess::Discard(m_value);
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
            // Hosts get the exception of Pop on an empty collection for a text without a pair.
            QZCollection().Pop();
        }
        ReadValue({m_symbols.Index(root), m_symbols.Index(m_symbols.ClosingOf(root))}, root);
        while (!m_levels.empty())
        {
            if (m_value != nullptr)
                Attach();
            else if (m_levels.back().object != nullptr)
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
    /// An array or object that is being read. A stretch is the text between two commas of its level.
    struct Level
    {
        QZJsonValue* value;
        QZJsonObject* object;  ///< null for an array
        QZInt64 closing;       ///< its closing symbol
        QZInt64 next;          ///< the symbol at which reading continues
        QZInt64 begin;         ///< arrays: the beginning of the next stretch
        QZInt64 comma;         ///< objects: the symbol that ends the current stretch
        QZInt64 first;         ///< objects: the first symbol of the current stretch
        QZInt64 colon;         ///< objects: the colon of the current pair; kNone between stretches
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
              colon(JsonSymbols::kNone)
        {}
    };

    /// Units of the text from `begin` up to, but without, `end`.
    JsonView ViewOf(QZInt64 begin, QZInt64 end) const
    {
        return {m_text + begin, static_cast<std::size_t>(end - begin)};
    }

    QZWChar UnitOf(QZInt64 symbol) const { return m_text[m_symbols.Index(symbol)]; }

    /// Reads one value into m_value, or opens it as a new level.
    /// @param symbol  the first symbol at or after the beginning of the stretch
    void ReadValue(Stretch stretch, QZInt64 symbol)
    {
        Stretch trimmed = stretch;
        while (trimmed.begin <= trimmed.end && IsWhiteSpace(m_text[trimmed.begin])) ++trimmed.begin;
        while (trimmed.end > trimmed.begin && IsWhiteSpace(m_text[trimmed.end])) --trimmed.end;
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

    /// Reads a string. It ends at the last unit of the stretch when that is a quotation mark (`whole`), else
    /// at the next quotation mark.
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
            if (*word == 0 || net::Lower(m_text[i]) != static_cast<QZWChar>(*word)) return false;
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
        if (object == nullptr && IsBlankBetween(m_symbols.Index(symbol) + 1, m_symbols.Index(closing)))
            return;
        m_levels.emplace_back(m_value, object, symbol, closing, m_symbols.Index(symbol));
        m_value = nullptr;
    }

    bool IsBlankBetween(QZInt64 begin, QZInt64 end) const
    {
        while (begin < end && IsBlank(m_text[begin])) ++begin;
        return begin == end;
    }

    /// Puts m_value into the innermost level.
    void Attach()
    {
        Level& level = m_levels.back();
        if (level.object == nullptr)
        {
            static_cast<QZJsonValueCollection*>(level.value)->Push(m_value);
            m_value = nullptr;
            return;
        }
        const JsonAttributes* attributes = QZJsonAccess::AttributesOf(level.object);
        const QZInt64 index =
            level.names != nullptr ? level.names->Find(level.name) : attributes->Find(level.name);
        QZJsonAccess::SetAttr(level.object, level.name, index, m_value);
        m_value = nullptr;
        if (index >= 0) return;
        if (level.names != nullptr)
            level.names->Add(attributes->Count() - 1);
        else if (attributes->Count() == NameIndex::kWorthwhile)
            level.names = std::make_unique<NameIndex>(attributes);
    }

    void Close()
    {
        m_value = m_levels.back().value;
        m_levels.pop_back();
    }

    /// Reads the next stretch of an array. Quotation marks are ignored, so a comma inside a string ends the
    /// stretch too.
    void StepArray()
    {
        Level& level = m_levels.back();
        if (level.next > level.closing) return Close();
        const QZInt64 first = level.next;
        QZInt64 symbol = first;
        while (symbol < level.closing && UnitOf(symbol) != ',') symbol = After(symbol);
        const Stretch stretch{level.begin, m_symbols.Index(symbol) - 1};
        level.begin = stretch.end + 2;
        level.next = symbol + 1;
        ReadValue(stretch, first);
    }

    /// The next symbol on the same level.
    QZInt64 After(QZInt64 symbol) const
    {
        const QZWChar unit = UnitOf(symbol);
        return (unit == '[' || unit == '{' ? m_symbols.ClosingOf(symbol) : symbol) + 1;
    }

    /// Reads the next pair of an object. A pair has a colon; a stretch may hold several pairs or none.
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

    /// The first colon outside quotation marks from a symbol on, or kNone. Nested values are skipped.
    /// @param comma  becomes the first comma outside quotation marks, or `end`, where the search stops; null
    /// when the
    ///               search goes on to `end`
    QZInt64 NextColon(QZInt64 symbol, QZInt64 end, QZInt64* comma) const
    {
        QZInt64 colon = JsonSymbols::kNone;
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
            if (colon >= 0 && comma == nullptr) return colon;
            symbol = quoted ? symbol + 1 : After(symbol);
        }
        if (comma != nullptr) *comma = symbol;
        return colon;
    }

    /// The name lies between the first two quotation marks before the colon.
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
    JsonSymbols m_symbols;
    QZJsonValue* m_value = nullptr;
    std::vector<Level> m_levels;
};
}  // namespace

QZJsonValue* QZJsonFactory::DeserializeObject(QZString* text)
{
    if (QZString::IsNullOrWhiteSpace(text) || text->Equals(QZ_W("null"), 1)) return nullptr;
    return Reader(text).Read();
}
