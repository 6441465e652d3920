#ifndef QZLIB_NET_NET_JSON_PARSER_H
#define QZLIB_NET_NET_JSON_PARSER_H

#include "fw/fw_collection.h"

/// What the first look at a JSON text finds: its symbols (quotation marks, commas, colons, brackets) in
/// order, and for each opening bracket which symbol closes it. Internal.
///
/// With it the reader walks from symbol to symbol instead of from character to character, and steps over a
/// nested value in one jump.
class QZJsonSymbalPair : public QZObject
{
public:
    QZJsonSymbalPair();
    ~QZJsonSymbalPair() override;
    QZJsonSymbalPair(const QZJsonSymbalPair&) = delete;
    QZJsonSymbalPair& operator=(const QZJsonSymbalPair&) = delete;

    static constexpr QZInt64 kNone = -1;

    /// Looks at the whole text.
    /// @return the index of a symbol that must not stand where it stands, or kNone
    QZInt64 Scan(const QZWChar* text, QZInt64 length);

    QZInt64 Count() const { return m_count; }

    /// Where the symbol stands in the text.
    QZInt64 Index(QZInt64 symbol) const { return static_cast<QZInt64>(m_indexWords[symbol]); }

    /// The closing symbol of an opening one.
    QZInt64 ClosingOf(QZInt64 symbol) const { return static_cast<QZInt64>(m_closingWords[symbol]); }

    /// The opening symbol of the pair that was closed last, the outermost one where there is one; kNone
    /// without pairs.
    QZInt64 LastPair() const { return m_lastPair; }

    /// Where the first bracket stands that nothing closes; kNone when all are closed.
    QZInt64 FirstUnclosed() const { return m_firstUnclosed; }

private:
    void Reserve(QZInt64 capacity);

    QZCollection* m_indexes;
    QZCollection* m_closings;
    QZUInt64* m_indexWords = nullptr;
    QZUInt64* m_closingWords = nullptr;
    QZInt64 m_count = 0;
    QZInt64 m_capacity = 0;
    QZInt64 m_lastPair = kNone;
    QZInt64 m_firstUnclosed = kNone;
};

#endif
