#ifndef QZLIB_NET_JSON_SYMBOLS_H
#define QZLIB_NET_JSON_SYMBOLS_H

#include "fw/fw_collection.h"

/// The result of the first pass over a JSON text: its symbols (quotation marks, commas, colons, brackets) in
/// order, and for each opening bracket the symbol that closes it. Internal.
///
/// With it the reader goes from symbol to symbol instead of from character to character, and skips a nested
/// value in one step.
class JsonSymbols : public QZObject
{
public:
    JsonSymbols();
    ~JsonSymbols() override;
    JsonSymbols(const JsonSymbols&) = delete;
    JsonSymbols& operator=(const JsonSymbols&) = delete;

    static constexpr QZInt64 kNone = -1;

    /// Finds the symbols of the whole text.
    /// @return the position of the first misplaced symbol, or kNone
    QZInt64 Scan(const QZWChar* text, QZInt64 length);

    QZInt64 Count() const { return m_count; }

    /// The position of the symbol in the text.
    QZInt64 Index(QZInt64 symbol) const
    {
        const QZUInt64 word = m_indexWords[symbol];
        return m_isPacked ? static_cast<QZInt32>(word) : static_cast<QZInt64>(word);
    }

    /// The closing symbol of an opening one.
    QZInt64 ClosingOf(QZInt64 symbol) const
    {
        return m_isPacked ? static_cast<QZInt64>(m_indexWords[symbol]) >> 32
                          : static_cast<QZInt64>(m_closingWords[symbol]);
    }

    /// The opening symbol of the pair that was closed last, which is the outermost pair of a complete text;
    /// kNone without pairs.
    QZInt64 LastPair() const { return m_lastPair; }

    /// The position of the first bracket that nothing closes; kNone when all are closed.
    QZInt64 FirstUnclosed() const { return m_firstUnclosed; }

private:
    void Reserve(const QZWChar* text, QZInt64 length);
    void SetIndex(QZInt64 symbol, QZInt64 index);
    void SetClosing(QZInt64 symbol, QZInt64 closing);

    /// The words of a text with less than 2^31 units hold the index in their low half and the closing symbol
    /// in their high half; the second collection is then empty. Hosts see both collections in the figures of
    /// QZDataFactory.
    bool m_isPacked = true;
    QZCollection* m_indexes;
    QZCollection* m_closings;
    QZUInt64* m_indexWords = nullptr;
    QZUInt64* m_closingWords = nullptr;
    QZInt64 m_count = 0;
    QZInt64 m_lastPair = kNone;
    QZInt64 m_firstUnclosed = kNone;
};

#endif
