// Reading JSON text. The first pass (JsonSymbols) finds the symbols of the whole text; then the values are
// read from symbol to symbol. Open arrays and objects lie on the reader's own stack, so a text may be nested
// to any depth.

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <vector>

#include "fw/fw_string.h"
#include "fw/internal/fw_number_text.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_characters.h"
#include "net/internal/net_json_access.h"
#include "net/internal/net_json_list.h"
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
/// JsonAttributes::Find, which compares all names. Names that were chosen to meet in the table move to a
/// sorted set.
class NameIndex
{
public:
    /// Smaller objects use JsonAttributes::Find.
    static constexpr QZInt64 kWorthwhile = 16;

    explicit NameIndex(const JsonAttributes* names) : m_names(names), m_sorted(Less{names})
    {
        for (QZInt64 i = 0; i < m_names->Count(); ++i) Add(i);
    }

    QZInt64 Find(JsonView name)
    {
        if (m_isSorted) return FindSorted(name);
        const std::size_t mask = m_slots.size() - 1;
        std::size_t slot = Hash(name) & mask;
        for (std::size_t steps = 0; steps < kManySteps; ++steps, slot = (slot + 1) & mask)
        {
            const QZInt64 index = m_slots[slot];
            if (index < 0 || JsonSameName(m_names->NameAt(index), name)) return index;
        }
        Sort();
        return FindSorted(name);
    }

    /// Adds the name at the index; names are added in the order of their indexes.
    void Add(QZInt64 index)
    {
        if (!m_isSorted && static_cast<std::size_t>(index) * 2 >= m_slots.size()) Grow(index);
        if (!m_isSorted && !Put(index)) Sort();
        if (m_isSorted) m_sorted.insert(index);
    }

private:
    /// More steps than a table that is half full needs for names that nobody chose.
    static constexpr std::size_t kManySteps = 256;

    /// Orders names by their lower-case units.
    struct Less
    {
        using is_transparent = void;
        const JsonAttributes* Names;

        bool operator()(QZInt64 a, QZInt64 b) const { return Compare(Names->NameAt(a), Names->NameAt(b)); }
        bool operator()(QZInt64 a, JsonView b) const { return Compare(Names->NameAt(a), b); }
        bool operator()(JsonView a, QZInt64 b) const { return Compare(a, Names->NameAt(b)); }

        static bool Compare(JsonView a, JsonView b)
        {
            return std::lexicographical_compare(
                a.begin(), a.end(), b.begin(), b.end(),
                [](QZWChar x, QZWChar y) { return net::Lower(x) < net::Lower(y); });
        }
    };

    void Grow(QZInt64 count)
    {
        m_slots.assign(std::max<std::size_t>(m_slots.size() * 4, 64), -1);
        for (QZInt64 i = 0; i < count && !m_isSorted; ++i)
            if (!Put(i)) return SortUpTo(count);
    }

    /// False when the name finds no place within the steps.
    bool Put(QZInt64 index)
    {
        const std::size_t mask = m_slots.size() - 1;
        std::size_t slot = Hash(m_names->NameAt(index)) & mask;
        for (std::size_t steps = 0; steps < kManySteps; ++steps, slot = (slot + 1) & mask)
        {
            if (m_slots[slot] >= 0) continue;
            m_slots[slot] = index;
            return true;
        }
        return false;
    }

    void Sort() { SortUpTo(m_names->Count()); }

    void SortUpTo(QZInt64 count)
    {
        m_isSorted = true;
        m_slots = {};
        for (QZInt64 i = 0; i < count; ++i) m_sorted.insert(i);
    }

    QZInt64 FindSorted(JsonView name) const
    {
        const auto found = m_sorted.find(name);
        return found == m_sorted.end() ? -1 : *found;
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
    std::set<QZInt64, Less> m_sorted;
    bool m_isSorted = false;
};

/// Units of the text from `begin` to `end`, both included.
struct Stretch
{
    QZInt64 begin;
    QZInt64 end;
};

/// @tparam Word  holds the positions of the text
template <typename Word>
class Reader
{
public:
    explicit Reader(QZString* text) : m_text(text->GetPointer()), m_length(text->GetLength()) {}

    ~Reader()
    {
        // When the text cannot be read, the values made so far are deleted; none goes back to a cache.
        if (m_value != nullptr) QZJsonAccess::Discard(m_value);
        for (const Level& level : m_levels) QZJsonAccess::Discard(level.Value());
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
            else if (m_levels.back().IsObject())
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
    /// An array or object that is being read. A stretch is the text between two commas of its level. A text
    /// may open one with every unit, so a level is small: what only objects need is in m_pairs.
    struct Level
    {
        std::uintptr_t word;  ///< the address of the value, and the lowest bit set for an object
        Word closing;         ///< its closing symbol
        Word next;            ///< the symbol at which reading continues; the one before it ends the stretch

        bool IsObject() const { return (word & 1) != 0; }
        QZJsonValue* Value() const { return reinterpret_cast<QZJsonValue*>(word & ~std::uintptr_t{1}); }
        QZJsonObject* Object() const { return static_cast<QZJsonObject*>(Value()); }
        QZJsonValueCollection* Array() const { return static_cast<QZJsonValueCollection*>(Value()); }
    };

    /// Where the reader is in an object. All pairs of one stretch have the name of its first one, so each
    /// replaces the pair before it.
    struct Pairs
    {
        Word colon;      ///< of the current pair; kNoColon between stretches
        Word next;       ///< the colon of the next pair in the stretch, or kNoColon
        Word nameBegin;  ///< of the name, in the text
        Word nameLength;
        Word end;  ///< the last unit of the stretch, without white space at its end
        std::unique_ptr<NameIndex> names;
    };

    static constexpr Word kNoColon = static_cast<Word>(-1);

    /// Units of the text from `begin` up to, but without, `end`.
    JsonView ViewOf(QZInt64 begin, QZInt64 end) const
    {
        return {m_text + begin, static_cast<std::size_t>(end - begin)};
    }

    QZWChar UnitOf(QZInt64 symbol) const { return m_text[m_symbols.Index(symbol)]; }

    /// The first and the last unit of the stretch that are no white space; without any, the end is before the
    /// beginning.
    Stretch Trimmed(Stretch stretch) const
    {
        while (stretch.begin <= stretch.end && IsWhiteSpace(m_text[stretch.begin])) ++stretch.begin;
        while (stretch.end > stretch.begin && IsWhiteSpace(m_text[stretch.end])) --stretch.end;
        return stretch;
    }

    /// Reads one value into m_value, or opens it as a new level.
    /// @param symbol  the first symbol at or after the beginning of the stretch
    void ReadValue(Stretch stretch, QZInt64 symbol)
    {
        ReadTrimmed(Trimmed(stretch), m_text[stretch.end] == '"', symbol);
    }

    /// @param whole      a string ends at the last unit, see ReadString
    /// @param isDropped  a later pair replaces the value: faults are found, but its text is not copied
    void ReadTrimmed(Stretch trimmed, bool whole, QZInt64 symbol, bool isDropped = false)
    {
        if (trimmed.begin > trimmed.end) Throw(QZJsonExceptionCode::UnknwonDataType);
        const QZWChar unit = m_text[trimmed.begin];
        if (unit == '"')
            ReadString(trimmed, whole, symbol, isDropped);
        else if (unit == '[' || unit == '{')
            Open(symbol, unit == '{');
        else if (IsDigit(unit) ||
                 (unit == '-' && trimmed.begin < trimmed.end && IsDigit(m_text[trimmed.begin + 1])))
            ReadNumber(trimmed, isDropped);
        else
            ReadWord(trimmed);
    }

    /// Reads a string. It ends at the last unit of the stretch when that is a quotation mark (`whole`), else
    /// at the next quotation mark.
    void ReadString(Stretch stretch, bool whole, QZInt64 symbol, bool isDropped)
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
        if (!isDropped) QZJsonAccess::SetText(m_value, ViewOf(stretch.begin + 1, end));
    }

    void ReadNumber(Stretch stretch, bool isDropped)
    {
        const double value =
            isDropped ? 0 : number::ReadDouble(m_text + stretch.begin, stretch.end - stretch.begin + 1);
        m_value = QZJsonFactory::CreateDecimal(value);
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
        if (isObject)
            m_value = QZJsonFactory::CreateObject();
        else
            m_value = QZJsonFactory::CreateValueCollection();
        if (!isObject && IsBlankBetween(m_symbols.Index(symbol) + 1, m_symbols.Index(closing))) return;
        if (isObject) m_pairs.push_back({kNoColon, kNoColon, 0, 0, 0, nullptr});
        m_levels.push_back({reinterpret_cast<std::uintptr_t>(m_value) | (isObject ? 1u : 0u),
                            static_cast<Word>(closing), static_cast<Word>(symbol + 1)});
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
        const Level& level = m_levels.back();
        if (!level.IsObject())
        {
            JsonList::AddLast(level.Array(), m_value, QZ_W("Push"));
            m_value = nullptr;
            return;
        }
        Pairs& pairs = m_pairs.back();
        const JsonAttributes* attributes = QZJsonAccess::AttributesOf(level.Object());
        const JsonView name(m_text + pairs.nameBegin, static_cast<std::size_t>(pairs.nameLength));
        const QZInt64 index = pairs.names != nullptr ? pairs.names->Find(name) : attributes->Find(name);
        QZJsonAccess::SetAttr(level.Object(), name, index, m_value);
        m_value = nullptr;
        if (index >= 0) return;
        if (pairs.names != nullptr)
            pairs.names->Add(attributes->Count() - 1);
        else if (attributes->Count() == NameIndex::kWorthwhile)
            pairs.names = std::make_unique<NameIndex>(attributes);
    }

    void Close()
    {
        m_value = m_levels.back().Value();
        if (m_levels.back().IsObject()) m_pairs.pop_back();
        m_levels.pop_back();
    }

    /// Reads the next stretch of an array. Quotation marks are ignored, so a comma inside a string ends the
    /// stretch too.
    void StepArray()
    {
        Level& level = m_levels.back();
        if (level.next > level.closing) return Close();
        const QZInt64 first = level.next;
        const QZInt64 closing = level.closing;
        QZInt64 symbol = first;
        while (symbol < closing && UnitOf(symbol) != ',') symbol = After(symbol);
        level.next = static_cast<Word>(symbol + 1);
        ReadValue({m_symbols.Index(first - 1) + 1, m_symbols.Index(symbol) - 1}, first);
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
        Pairs& pairs = m_pairs.back();
        if (pairs.colon != kNoColon)
            pairs.colon = pairs.next;
        else if (level.next > level.closing)
            return Close();
        else
            TakeStretch(&level, &pairs);
        if (pairs.colon == kNoColon) return;
        // The comma, or the end of the object.
        const QZInt64 last = QZInt64{level.next} - 1;
        pairs.next = static_cast<Word>(NextColon(QZInt64{pairs.colon} + 1, last, nullptr));
        QZInt64 begin = m_symbols.Index(pairs.colon) + 1;
        const QZInt64 end = m_symbols.Index(last) - 1;
        while (begin <= end && IsWhiteSpace(m_text[begin])) ++begin;
        const bool whole = m_text[end] == '"';
        ReadTrimmed({begin, begin > end ? end : std::max<QZInt64>(begin, pairs.end)}, whole,
                    QZInt64{pairs.colon} + 1, pairs.next != kNoColon);
    }

    /// Finds the end of the next stretch, its first colon and its name.
    void TakeStretch(Level* level, Pairs* pairs)
    {
        const QZInt64 first = level->next;
        QZInt64 comma = first;
        pairs->colon = static_cast<Word>(NextColon(first, level->closing, &comma));
        level->next = static_cast<Word>(comma + 1);
        if (pairs->colon == kNoColon) return;
        TakeName(pairs, first);
        const QZInt64 begin = m_symbols.Index(pairs->colon) + 1;
        pairs->end = static_cast<Word>(Trimmed({begin, m_symbols.Index(comma) - 1}).end);
    }

    /// The first colon outside quotation marks from a symbol on, or kNone. Nested values are skipped.
    /// @param comma  becomes the first comma outside quotation marks, or `end`, where the search stops; null
    /// when the search goes on to `end`
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

    /// The name lies between the first two quotation marks of the stretch, before the colon.
    void TakeName(Pairs* pairs, QZInt64 first)
    {
        const QZInt64 colon = pairs->colon;
        QZInt64 opening = first;
        while (opening < colon && UnitOf(opening) != '"') ++opening;
        QZInt64 end = opening + 1;
        while (end < colon && UnitOf(end) != '"') ++end;
        if (end >= colon) Throw(QZJsonExceptionCode::JsonFormatException);
        const QZInt64 begin = m_symbols.Index(opening) + 1;
        pairs->nameBegin = static_cast<Word>(begin);
        pairs->nameLength = static_cast<Word>(m_symbols.Index(end) - begin);
    }

    const QZWChar* m_text;
    QZInt64 m_length;
    JsonSymbols m_symbols;
    QZJsonValue* m_value = nullptr;
    std::deque<Level> m_levels;
    /// One for each object in m_levels.
    std::deque<Pairs> m_pairs;
};
}  // namespace

QZJsonValue* QZJsonFactory::DeserializeObject(QZString* text)
{
    if (QZString::IsNullOrWhiteSpace(text) || text->Equals(QZ_W("null"), 1)) return nullptr;
    if (text->GetLength() < 0x7FFFFFFF) return Reader<QZUInt32>(text).Read();
    return Reader<QZInt64>(text).Read();
}
