#include "net/internal/net_json_symbols.h"

#include <algorithm>
#include <array>

#include "fw/fw_data_factory.h"

namespace
{
/// The characters that are symbols.
constexpr std::array<bool, 128> MakeTable()
{
    std::array<bool, 128> table{};
    for (char unit : {'"', ',', ':', '[', ']', '{', '}'}) table[static_cast<std::size_t>(unit)] = true;
    return table;
}
constexpr std::array<bool, 128> kSymbols = MakeTable();

bool IsSymbol(QZWChar unit) { return unit < kSymbols.size() && kSymbols[static_cast<std::size_t>(unit)]; }

/// Finds a string that directly follows a string. It only sees quotation marks, commas, colons and opening
/// braces, also those inside strings, and after the first comma of the text it finds nothing more. Texts that
/// are read today rely on all of that.
class QuotationWatch
{
public:
    void Comma() { m_comma = true; }
    void Colon() { m_colon = true; }
    void Brace() { m_state = kAfterBrace; }

    /// False for a string that directly follows a string.
    bool Quotation()
    {
        if (m_state == kClosedString)
        {
            if (!m_comma && !m_colon) return false;
            m_colon = false;
        }
        m_state = m_state == kOpenString ? kClosedString : kOpenString;
        return true;
    }

private:
    enum State
    {
        kNothing,
        kOpenString,
        kClosedString,
        kAfterBrace
    };
    State m_state = kNothing;
    bool m_comma = false;
    bool m_colon = false;
};
}  // namespace

JsonSymbols::JsonSymbols()
    : m_indexes(QZDataFactory::CreateCollection()), m_closings(QZDataFactory::CreateCollection())
{}

JsonSymbols::~JsonSymbols()
{
    QZDataFactory::Recycle(&m_indexes);
    QZDataFactory::Recycle(&m_closings);
}

/// Makes room for exactly the symbols of the text: doubling would take more memory than a second count takes
/// time.
void JsonSymbols::Reserve(const QZWChar* text, QZInt64 length)
{
    m_isPacked = length <= 0x7FFFFFFF;
    const QZInt64 count = std::count_if(text, text + length, IsSymbol);
    m_indexes->NewLength(count);
    if (!m_isPacked) m_closings->NewLength(count);
    m_indexWords = m_indexes->GetPointer() + 1;
    m_closingWords = m_closings->GetPointer() + 1;
}

void JsonSymbols::SetIndex(QZInt64 symbol, QZInt64 index)
{
    // The high half is kNone until SetClosing.
    m_indexWords[symbol] =
        static_cast<QZUInt64>(m_isPacked ? index | static_cast<QZInt64>(~QZUInt64{0} << 32) : index);
    if (!m_isPacked) m_closingWords[symbol] = static_cast<QZUInt64>(kNone);
}

void JsonSymbols::SetClosing(QZInt64 symbol, QZInt64 closing)
{
    if (m_isPacked)
        m_indexWords[symbol] = (m_indexWords[symbol] & 0xFFFFFFFF) | static_cast<QZUInt64>(closing) << 32;
    else
        m_closingWords[symbol] = static_cast<QZUInt64>(closing);
}

QZInt64 JsonSymbols::Scan(const QZWChar* text, QZInt64 length)
{
    Reserve(text, length);
    QuotationWatch watch;
    // Open brackets form a chain through their closing words, innermost first.
    QZInt64 open = kNone;
    for (QZInt64 i = 0; i < length; ++i)
    {
        const QZWChar unit = text[i];
        if (!IsSymbol(unit)) continue;
        const QZInt64 symbol = m_count++;
        SetIndex(symbol, i);
        switch (unit)
        {
            case '"':
                if (!watch.Quotation()) return i;
                break;
            case ',': watch.Comma(); break;
            case ':': watch.Colon(); break;
            case '{': watch.Brace(); [[fallthrough]];
            case '[':
                SetClosing(symbol, open);
                open = symbol;
                break;
            default:
                // A brace may close a square bracket, and the other way round.
                if (open == kNone) return i;
                m_lastPair = open;
                open = ClosingOf(m_lastPair);
                SetClosing(m_lastPair, symbol);
                break;
        }
    }
    for (; open != kNone; open = ClosingOf(open)) m_firstUnclosed = Index(open);
    return kNone;
}
